#!/usr/bin/env bash
# Speed of this tree against an earlier commit, measured side by side in one
# run on this machine, so that only ratios count (a shared machine is
# noisy): each figure is the best of ROUNDS runs, the two builds taking turns.
#
#   bench/compare.sh BASE [ROUNDS]      BASE: a commit (default rounds: 5)
#
# Both trees are built as their release build is made (this tree through
# its "bench" preset when it has one) in build-compare/. Figures:
#   perft     moves per second of perft 6 from the start and perft 5 of
#             Kiwipete (bench/perft_bench), and stockfish's bulk-counting
#             "go perft 6" time from the start in the same run;
#   search    nodes per second of the benchmark (orvo bench 8, or the old
#             search_bench 8), with its node total, which must agree;
#   uci       nodes per second through UCI: the benchmark positions to depth
#             7 from a new game each (bench/protocol_nps.py);
#   xboard    the same through xboard ("sd 7", "go"), the nodes of the last
#             thinking line of each search;
#   eval      full evaluations per second (bench/eval/eval_bench), with its
#             checksum, which must agree.
# "ratio" is this tree's best figure over the base's (for perft time,
# stockfish's time over this tree's: above 0.4 means within 2.5 times);
# "median ratio" is the median over the rounds of the two builds' ratio in
# each round, the steadier figure where the machine's speed drifts.
# Where valgrind is installed, the instructions each build executes for
# perft 5, for orvo bench 5 and for the whole eval_bench follow: exact
# counts, the same on every run.
set -u -o pipefail
me=$(basename "$0")
[ $# -ge 1 ] || { echo "usage: $me BASE [ROUNDS]" >&2; exit 2; }
repo=$(cd "$(dirname "$0")/.." && pwd)
base_rev=$(git -C "$repo" rev-parse --verify "$1^{commit}") || { echo "$me: no commit $1" >&2; exit 2; }
rounds=${2:-5}
out=$repo/build-compare
jobs=$(nproc 2>/dev/null || echo 2)
source "$repo/scripts/packages.sh"
need_packages stockfish python3 >/dev/null || true
export PATH="/usr/games:$PATH"

mkdir -p "$out"
# The base: its own sources at that commit, built as it builds itself.
base_src=$out/base-src
if [ ! -d "$base_src" ] || [ "$(git -C "$base_src" rev-parse HEAD 2>/dev/null)" != "$base_rev" ]; then
    rm -rf "$base_src"
    git -C "$repo" worktree prune
    git -C "$repo" worktree add -f --detach "$base_src" "$base_rev" >/dev/null || exit 1
fi

build() {  # build SRC DIR
    local src=$1 dir=$2
    if grep -q '"name": "bench"' "$src/CMakePresets.json" 2>/dev/null; then
        (cd "$src" && cmake --preset bench -B "$dir" >/dev/null)
    else
        cmake -S "$src" -B "$dir" -DCMAKE_BUILD_TYPE=Release -DORVO_TESTS=OFF -DORVO_BENCH=ON >/dev/null
    fi
    cmake --build "$dir" -j"$jobs" >/dev/null || { echo "$me: the build in $dir failed" >&2; exit 1; }
}
echo "$me: building $base_rev (base) and this tree"
build "$base_src" "$out/base"
build "$repo" "$out/current"

# Each measure prints one number (bigger is better unless noted) and, where
# it has one, a check value that both builds must share.
perft_rate() {  # moves made per second over both perft cases
    "$1/bench/perft_bench" | awk '{ for (i = 1; i <= NF; ++i) if ($i == "moves" && $(i+1) == "made") { m += $(i-1); t += $(i+3) } }
        END { printf "%.0f -\n", m / t }'
}
search_rate() {
    local line
    line=$("$1/engine/orvo" bench 8 </dev/null 2>/dev/null | tail -1)
    if [[ $line =~ ^([0-9]+)\ nodes\ ([0-9]+)\ nps$ ]]; then
        echo "${BASH_REMATCH[2]} ${BASH_REMATCH[1]}"
    else  # a commit from before "orvo bench"
        "$1/bench/search/search_bench" 8 | awk '/^nodes/ { n = $2 } /^nps/ { r = $2 } END { print r, n }'
    fi
}
protocol_rate() {
    python3 "$repo/bench/protocol_nps.py" "$1/engine/orvo" "$2" 7 "$repo/search/bench.cpp" </dev/null 2>/dev/null |
        awk '{ print $7, $3 }'
}
uci_rate() { protocol_rate "$1" uci; }
xboard_rate() { protocol_rate "$1" xboard; }
eval_rate() {
    "$1/bench/eval/eval_bench" | tail -1 | sed -E 's/.* = ([0-9.]+) M evaluations\/s \(checksum (-?[0-9]+)\)/\1 \2/'
}
stockfish_perft() {  # seconds for stockfish's go perft 6 from the start
    command -v stockfish >/dev/null || { echo "0 -"; return; }
    local start end
    start=$(date +%s.%N)
    printf 'position startpos\ngo perft 6\nquit\n' | stockfish >/dev/null 2>&1
    end=$(date +%s.%N)
    echo "$(echo "$end - $start" | bc -l) -"
}
perft6_time() {  # seconds for perft 6 from the start
    "$1/bench/perft_bench" | awk '/start position/ { for (i = 1; i <= NF; ++i) if ($i == "s") print $(i-1) " -" }'
}

declare -A best check ratios
better() {  # better KEY VALUE HIGHER_IS_BETTER
    local cur=${best[$1]:-}
    if [ -z "$cur" ] || { [ "$3" = 1 ] && (( $(echo "$2 > $cur" | bc -l) )); } ||
       { [ "$3" = 0 ] && (( $(echo "$2 < $cur" | bc -l) )); }; then
        best[$1]=$2
    fi
}
for round in $(seq 1 "$rounds"); do
    echo "$me: round $round of $rounds"
    declare -A this_round=()
    for side in base current; do
        dir=$out/$side
        for m in perft search uci xboard eval; do
            read -r value value_check < <(${m}_rate "$dir")
            better "$side.$m" "$value" 1
            this_round[$side.$m]=$value
            [ "$value_check" != - ] && check[$side.$m]=$value_check
        done
        read -r t _ < <(perft6_time "$dir")
        better "$side.perft6" "$t" 0
    done
    # The two builds' figures of one round were taken minutes apart at
    # most: their ratio is steadier than either figure on a busy machine.
    for m in perft search uci xboard eval; do
        ratios[$m]+=" $(echo "${this_round[current.$m]} / ${this_round[base.$m]}" | bc -l)"
    done
    read -r t _ < <(stockfish_perft)
    better stockfish.perft6 "$t" 0
done

median() {  # of the numbers given
    printf '%s\n' "$@" | sort -g | awk '{ v[NR] = $1 } END { print (NR % 2 ? v[(NR + 1) / 2] : (v[NR / 2] + v[NR / 2 + 1]) / 2) }'
}
printf '\n%-10s %16s %16s %8s %14s\n' measure base current ratio "median ratio"
for m in perft search uci xboard eval; do
    b=${best[base.$m]} c=${best[current.$m]}
    # shellcheck disable=SC2086  # the ratios are a list of words
    printf '%-10s %16s %16s %8.2f %14.2f\n' "$m" "$b" "$c" "$(echo "$c / $b" | bc -l)" "$(median ${ratios[$m]})"
done
printf '%-10s %16s %16s %8.2f   (stockfish go perft 6: %s s; its time over ours)\n' "perft6 s" \
    "${best[base.perft6]}" "${best[current.perft6]}" \
    "$(echo "${best[stockfish.perft6]} / ${best[current.perft6]}" | bc -l)" "${best[stockfish.perft6]}"

# Instructions executed, counted by valgrind: the same on every run whatever
# else the machine does, so a change of a few per cent shows, where the
# timings above cannot show it. Startup (tables, the hash table) is taken
# off by subtracting a run of depth 1; eval_bench is counted whole.
instructions() {  # instructions ORVO ARGS... (with standard input from the caller)
    valgrind --tool=cachegrind --cache-sim=no --cachegrind-out-file=/dev/null "$@" 2>&1 >/dev/null |
        awk '/I +refs:/ { gsub(",", "", $NF); print $NF }'
}
perft_instructions() {  # instructions of perft DEPTH from the start, through xboard
    printf 'xboard\nnew\nperft %s\nquit\n' "$2" | (cd "$scratch" && instructions "$1/engine/orvo")
}
bench_instructions() {  # instructions of orvo bench DEPTH (nothing before "orvo bench" existed)
    (cd "$scratch" && "$1/engine/orvo" bench 1 </dev/null 2>/dev/null | tail -1 | grep -q ' nps$') || return 0
    (cd "$scratch" && instructions "$1/engine/orvo" bench "$2" </dev/null)
}
eval_instructions() {  # instructions of the whole eval_bench (its rounds are fixed)
    [ "$2" = 1 ] && { echo 0; return; }  # nothing to take off: its set-up is a few tables
    (cd "$scratch" && instructions "$1/bench/eval/eval_bench" </dev/null)
}
if command -v valgrind >/dev/null; then
    scratch=$(mktemp -d)
    printf '\n%-10s %16s %16s %8s\n' instructions base current "base/current"
    for m in perft bench eval; do
        deep=5 label="$m 5"
        [ "$m" = eval ] && label=eval_bench
        declare -A count=()
        for side in base current; do
            a=$(${m}_instructions "$out/$side" $deep) z=$(${m}_instructions "$out/$side" 1)
            count[$side]=-
            [ -n "$a" ] && [ -n "$z" ] && count[$side]=$((a - z))
        done
        if [ "${count[base]}" = - ] || [ "${count[current]}" = - ]; then
            printf '%-10s %16s %16s %8s\n' "$label" "${count[base]}" "${count[current]}" -
        else
            printf '%-10s %16s %16s %8.3f\n' "$label" "${count[base]}" "${count[current]}" \
                "$(echo "${count[base]} / ${count[current]}" | bc -l)"
        fi
    done
    rm -rf "$scratch"
fi
status=0
for m in search uci eval; do
    if [ "${check[base.$m]:-}" != "${check[current.$m]:-}" ]; then
        echo "$me: $m check differs: base ${check[base.$m]:-?}, current ${check[current.$m]:-?}"
        status=1
    else
        echo "$me: $m check agrees: ${check[current.$m]:-?}"
    fi
done
exit $status
