#!/usr/bin/env bash
# The long soak: many fast games (2 s + 0.02 s a move) under cutechess-cli,
# in both protocols, with and without pondering, against fairymax, phalanx
# and glaurung, one Orvo process per match for all its games (restart=off,
# so every state carries from game to game), plus games inside the xboard
# GUI. Orvo's resident memory is sampled through each match; the report
# gives it at the start and at the end.
#
#   tests/gui/soak.sh ORVO_PATH [GAMES]
#
# GAMES (default 1000) is the total: 96 % go to the twelve cutechess-cli
# configurations in equal parts, 4 % to the four xboard-GUI configurations
# (UCI through polyglot and xboard, each with and without pondering,
# against fairymax). Run it from test.sh with ORVO_SOAK=1 (and
# ORVO_SOAK_GAMES=N), or on its own. A 1,000-game soak takes some ninety
# minutes on two cores.
#
# A configuration fails on any crash, hang, illegal move, false claim, time
# forfeit or stall of Orvo, on missing games, on a second Orvo process in a
# cutechess match (a restart), or when Orvo's memory at the end of a match
# exceeds its memory at the start by more than ORVO_SOAK_GROWTH_KB (default
# 8192 kB: the tables are sized and cleared when a protocol starts, so a
# match should not grow beyond allocator noise). The exit status is 0 only
# when every configuration passed; 0 with a message when cutechess-cli or
# an opponent is missing.
#
# Environment: CUTECHESS (default ../shared/tools/cutechess-cli beside the
# repository), SOAK_ARTIFACTS (a directory that receives PGNs, logs and the
# memory samples), SOAK_ONLY (a pattern: only configurations whose name
# matches it), SOAK_TC (default 2+0.02).
set -u
set -o pipefail

me=$(basename "$0")
here=$(cd "$(dirname "$0")" && pwd)
repo=$(cd "$here/../.." && pwd)

die() {
    echo "$me: $*" >&2
    exit 2
}

[ $# -ge 1 ] && [ $# -le 2 ] || die "usage: $me ORVO_PATH [GAMES]"
[ -x "$1" ] || die "'$1' is not an executable file"
orvo=$(readlink -f -- "$1")
total=${2:-1000}
case $total in
    '' | *[!0-9]*) die "GAMES must be a positive number" ;;
esac
[ "$total" -ge 16 ] || die "GAMES must be at least 16 (one per configuration)"
tc=${SOAK_TC:-2+0.02}
growth_limit=${ORVO_SOAK_GROWTH_KB:-8192}
only=${SOAK_ONLY:-}

source "$repo/scripts/cutechess.sh"
find_cutechess "the soak"
case $? in 0) ;; 1) exit 0 ;; *) die "cutechess-cli does not start" ;; esac
need_packages fairymax phalanx glaurung python3 >/dev/null
for engine in fairymax phalanx glaurung; do
    command -v "$engine" >/dev/null || { echo "$me: $engine missing; skipping the soak"; exit 0; }
done

work=$(mktemp -d "${TMPDIR:-/tmp}/orvo-soak.XXXXXX") || die "mktemp failed"
sampler=
cleanup() {
    local rc=$?
    [ -n "$sampler" ] && kill "$sampler" 2>/dev/null
    if [ -n "${SOAK_ARTIFACTS:-}" ]; then
        mkdir -p "$SOAK_ARTIFACTS" && cp -rf "$work"/. "$SOAK_ARTIFACTS"/ 2>/dev/null
    fi
    rm -rf "$work"
    exit "$rc"
}
trap cleanup EXIT
trap 'exit 130' INT
trap 'exit 143' TERM HUP

cute_games=$(( total * 96 / 100 / 12 ))
gui_games=$(( (total - cute_games * 12) / 4 ))
[ "$gui_games" -ge 1 ] || gui_games=1
echo "$me: $((cute_games * 12 + gui_games * 4)) games at $tc: $cute_games in each of 12 cutechess-cli" \
     "configurations, $gui_games in each of 4 xboard-GUI configurations"

# Samples the resident memory (kB) of every Orvo process the launcher
# records, every two seconds, as "seconds pid kB" lines.
sample_memory() {
    local pids=$1 out=$2 start=$SECONDS pid kb
    while sleep 2; do
        while read -r pid; do
            kb=$(awk '/^VmRSS:/ { print $2 }' "/proc/$pid/status" 2>/dev/null)
            [ -n "$kb" ] && echo "$((SECONDS - start)) $pid $kb" >>"$out"
        done <"$pids"
    done
}

pgn_openings=$repo/../shared/data/pgn/masters-korchnoi-carlsen.pgn

# name protocol opponent ponder
configs=()
for proto in xboard uci; do
    for opponent in fairymax phalanx glaurung; do
        for ponder in no yes; do
            name=$proto-$opponent
            [ "$ponder" = yes ] && name+=-ponder
            configs+=("$name $proto $opponent $ponder")
        done
    done
done

failed=0
report=()
index=0
for config in "${configs[@]}"; do
    read -r name proto opponent ponder <<<"$config"
    [ -n "$only" ] && [[ $name != *$only* ]] && continue
    index=$((index + 1))
    dir=$work/$name
    mkdir -p "$dir/orvo" "$dir/opponent"
    # The launcher keeps Orvo's process id (exec keeps it) for the sampler
    # and counts how often cutechess-cli started it.
    launcher=$dir/orvo-launcher
    printf '#!/bin/sh\necho $$ >>%q\nexec %q\n' "$dir/pids" "$orvo" >"$launcher"
    chmod +x "$launcher"
    : >"$dir/pids"
    : >"$dir/memory"
    opponent_args "$opponent"
    each=(tc="$tc")
    [ "$ponder" = yes ] && each+=(ponder)
    # Openings: eight plies of a random game of the shared collection, each
    # played with both colours; without the collection, the start position.
    openings=()
    [ -f "$pgn_openings" ] && openings=(-openings file="$pgn_openings" format=pgn order=random plies=8 -repeat)
    sample_memory "$dir/pids" "$dir/memory" &
    sampler=$!
    start=$SECONDS
    # A game lasts some ten seconds; a hang stops the match at this limit.
    run_cutechess "$dir" $((cute_games * 60 + 120)) \
        -engine name=Orvo cmd="$launcher" dir="$dir/orvo" proto="$proto" restart=off \
            stderr="$dir/orvo.stderr" \
        -engine "${opponent[@]}" dir="$dir/opponent" \
        -each "${each[@]}" \
        -games "$cute_games" ${openings[@]+"${openings[@]}"}
    rc=$?
    kill "$sampler" 2>/dev/null
    wait "$sampler" 2>/dev/null
    sampler=
    seconds=$((SECONDS - start))
    verdict=$(python3 "$here/cutechess_report.py" "$name" "$tc" "$cute_games" "$dir/games.pgn" \
        "$dir/cutechess.log" "$rc")
    ok=$?
    # Memory: the first sample taken after the first game had begun (the
    # tables are in place by then) and the last one.
    starts=$(wc -l <"$dir/pids")
    first=$(awk '$1 >= 4 { print $3; exit }' "$dir/memory")
    last=$(tail -1 "$dir/memory" | awk '{ print $3 }')
    peak=$(awk 'BEGIN { m = 0 } $3 > m { m = $3 } END { print m }' "$dir/memory")
    memory="memory ${first:-?} kB at the start, ${last:-?} kB at the end (peak ${peak:-?} kB)"
    problems=()
    [ "$starts" -eq 1 ] || problems+=("Orvo was started $starts times (restart=off: once)")
    if [ -n "$first" ] && [ -n "$last" ] && [ $((last - first)) -gt "$growth_limit" ]; then
        problems+=("memory grew by $((last - first)) kB")
    fi
    [ -s "$dir/orvo.stderr" ] && grep -qiE "error|sanitizer|runtime" "$dir/orvo.stderr" &&
        problems+=("standard error: $(head -c 300 "$dir/orvo.stderr")")
    echo "$verdict"
    echo "    $memory; $seconds s; Orvo started $starts time(s)"
    for p in "${problems[@]+"${problems[@]}"}"; do echo "    FAIL: $p"; done
    if [ "$ok" -ne 0 ] || [ ${#problems[@]} -gt 0 ]; then
        failed=$((failed + 1))
    fi
    report+=("$(head -1 <<<"$verdict" | sed 's/  */ /g'); $memory")
done

# The xboard GUI: Orvo in UCI mode through polyglot and in xboard mode
# started by xboard itself, each with and without pondering, against
# fairymax. (xboard starts an engine afresh for every game, as Orvo's
# feature line asks with reuse=0.)
gui_tc=$(printf '%d:%02d' $(( ${tc%%+*} / 60 )) $(( ${tc%%+*} % 60 )))
gui_inc=${tc#*+}
[ "$gui_inc" = "$tc" ] && gui_inc=0
for protocol in uci xboard; do
    for ponder in 0 1; do
        name=gui-$protocol
        [ "$ponder" = 1 ] && name+=-ponder
        [ -n "$only" ] && [[ $name != *$only* ]] && continue
        start=$SECONDS
        out=$(GUI_PROTOCOL=$protocol GUI_PONDER=$ponder GUI_TC="$gui_tc" GUI_INC="$gui_inc" \
              GUI_NOGUI=1 GUI_ARTIFACTS="$work/$name" "$here/run_gui_games.sh" "$orvo" "$gui_games" </dev/null 2>&1)
        rc=$?
        summary=$(tail -1 <<<"$out")
        echo "$name: $summary ($((SECONDS - start)) s)"
        grep -E "^game [0-9]+: FAIL" <<<"$out" | sed 's/^/    /'
        [ "$rc" -eq 0 ] || failed=$((failed + 1))
        report+=("$name $summary")
    done
done

echo "== soak summary ($tc)"
printf '%s\n' "${report[@]}"
if [ "$failed" -gt 0 ]; then
    echo "$me: $failed configuration(s) failed"
    exit 1
fi
echo "$me: all configurations passed"
