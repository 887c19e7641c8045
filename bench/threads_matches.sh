#!/usr/bin/env bash
# Matches and analyses for the options beyond the original four, under
# cutechess-cli and the xboard GUI: what they are worth in play and what a
# user sees. Not part of the test run (they take from minutes to half an
# hour); each prints its figures and leaves its games and logs in OUT.
#
#   bench/threads_matches.sh smp ORVO [GAMES] [OUT]
#       Threads=2 against Threads=1, GAMES games (default 100) at 5 s +
#       0.05 s, each opening of the shared master games (8 plies, random
#       order) played with both colours; no books. Prints cutechess-cli's
#       score and Elo difference with its error margin.
#   bench/threads_matches.sh overhead ORVO [GAMES] [OUT]
#       Orvo against fairymax at 1 s + 0.01 s, GAMES games (default 100)
#       with Move Overhead 30 and GAMES with the default; prints each score
#       and the games lost on time by either side.
#   bench/threads_matches.sh multipv ORVO [OUT]
#       MultiPV 4 in analysis: under cutechess-cli (a game of Orvo with
#       MultiPV=4 against fairymax, the engine's lines taken from the debug
#       log) and in the xboard GUI through polyglot (an analysis of a short
#       game, the lines taken from xboard's debug log); prints the lines of
#       one search of each.
set -u -o pipefail
me=$(basename "$0")
repo=$(cd "$(dirname "$0")/.." && pwd)
usage() {
    echo "usage: $me smp|overhead ORVO [GAMES] [OUT] | multipv ORVO [OUT]" >&2
    exit 2
}
[ $# -ge 2 ] || usage
mode=$1
orvo=$(readlink -f -- "$2")
[ -x "$orvo" ] || { echo "$me: $2 is not an executable" >&2; exit 2; }
source "$repo/scripts/cutechess.sh"
find_cutechess "$mode" || exit 0
openings=$repo/../shared/data/pgn/masters-korchnoi-carlsen.pgn

# A working directory for the engine: no settings file, no book.
engine_dir() {
    mkdir -p "$1"
}

score_of() {
    # cutechess-cli's last score line and Elo line.
    grep -E '^(Score of|Elo difference)' "$1/cutechess.log" | tail -2
}

time_losses() {
    # Games lost on time, from the PGN's termination comments.
    local n
    n=$(grep -c 'loses on time' "$1/games.pgn" 2>/dev/null) || n=0
    echo "$n"
}

case $mode in
smp)
    games=${3:-100}
    out=${4:-$(mktemp -d "${TMPDIR:-/tmp}/orvo-smp.XXXXXX")}
    engine_dir "$out/engine"
    [ -f "$openings" ] || { echo "$me: no opening games at $openings; skipping"; exit 0; }
    run_cutechess "$out" $((games * 60)) \
        -engine name=orvo-2-threads option.Threads=2 \
        -engine name=orvo-1-thread option.Threads=1 \
        -each cmd="$orvo" dir="$out/engine" proto=uci option.OwnBook=false tc=5+0.05 \
        -openings file="$openings" format=pgn order=random plies=8 -repeat \
        -games 2 -rounds $((games / 2))
    echo "Threads=2 against Threads=1, $games games at 5+0.05 (in $out):"
    score_of "$out"
    echo "games lost on time: $(time_losses "$out")"
    ;;
overhead)
    games=${3:-100}
    out=${4:-$(mktemp -d "${TMPDIR:-/tmp}/orvo-overhead.XXXXXX")}
    opponent_args fairymax || exit 2
    for overhead in 30 default; do
        dir=$out/overhead-$overhead
        mkdir -p "$dir"
        engine_dir "$dir/engine"
        set_overhead=()
        [ "$overhead" = default ] || set_overhead=("option.Move Overhead=$overhead")
        run_cutechess "$dir" $((games * 20)) \
            -engine name=orvo cmd="$orvo" dir="$dir/engine" proto=uci option.OwnBook=false "${set_overhead[@]}" \
            -engine "${opponent[@]}" \
            -each tc=1+0.01 -games 2 -rounds $((games / 2)) -repeat
        echo "Move Overhead $overhead, $games games at 1+0.01 against fairymax (in $dir):"
        score_of "$dir"
        echo "games lost on time: $(time_losses "$dir")"
    done
    ;;
multipv)
    out=${3:-$(mktemp -d "${TMPDIR:-/tmp}/orvo-multipv.XXXXXX")}
    engine_dir "$out/engine"
    opponent_args fairymax || exit 2
    mkdir -p "$out/cutechess"
    run_cutechess "$out/cutechess" 120 \
        -engine name=orvo cmd="$orvo" dir="$out/engine" proto=uci option.OwnBook=false option.MultiPV=4 \
        -engine "${opponent[@]}" -each tc=10+0.1 -games 1 -maxmoves 6
    echo "== under cutechess-cli: Orvo's lines in its second search (MultiPV=4), the last two depths"
    python3 - "$out/cutechess/cutechess.log" <<'EOF'
import re, sys
# cutechess-cli's debug log: "<orvo(0): LINE" for what the engine says.
searches, lines = [], []
for raw in open(sys.argv[1], errors="replace"):
    m = re.match(r"^\d+ <orvo\(\d+\): (.*)$", raw.rstrip())
    if not m:
        continue
    text = m.group(1)
    if " multipv " in text:
        lines.append(text)
    elif text.startswith("bestmove"):
        searches.append(lines)
        lines = []
search = searches[1] if len(searches) > 1 else (searches or [[]])[0]
depth = lambda l: int(re.search(r"depth (\d+)", l).group(1))
last = sorted({depth(l) for l in search})[-2:]
print("\n".join(l for l in search if depth(l) in last))
EOF
    echo "== in the xboard GUI through polyglot (MultiPV=4): the thinking lines of one position"
    GUI_PROTOCOL=uci GUI_FIRST_OPTIONS="MultiPV=4" GUI_ARTIFACTS="$out/xboard" \
        "$repo/tests/gui/run_gui_analysis.sh" "$orvo" 2 >"$out/xboard-analysis.log" 2>&1
    echo "(analysis check: $(tail -1 "$out/xboard-analysis.log"))"
    python3 - "$out/xboard/xboard.debug" <<'EOF'
import re, sys
# xboard's debug log: the engine's output arrives as "<first : LINE". The
# lines polyglot passes on for one position, from the last analysis.
lines = [l.split("<first : ", 1)[1].rstrip() for l in open(sys.argv[1], errors="replace")
         if "<first : " in l]
thinking = [l for l in lines if re.match(r"^\s*\d+\s+[-+]?\d+\s+\d+\s+\d+\s", l)]
print("\n".join(thinking[-12:]))
EOF
    ;;
*) usage ;;
esac
