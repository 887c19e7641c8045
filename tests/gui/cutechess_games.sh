#!/usr/bin/env bash
# Orvo under cutechess-cli, the tournament manager engine authors use: games
# against fairymax and phalanx with Orvo in xboard mode, at 10 s + 0.1 s and
# at 40 moves in 20 s, with and without pondering, and in UCI mode for
# comparison. cutechess-cli checks every move, claim and clock.
#
#   tests/gui/cutechess_games.sh ORVO_PATH [GAMES]
#
# Without GAMES a quick set runs: one game in each of five configurations,
# the 40/20 games cut off (as draws) after 45 moves. With GAMES, every one
# of the ten configurations plays GAMES games, to the end.
#
# A game fails when Orvo plays an illegal move, makes a false result claim,
# loses on time, stalls, crashes or disconnects. Losing over the board is
# fine. The report gives per configuration the games, results, failures and
# Orvo's average time per move against the clock. Exit status 0 only when
# no game failed; 0 with a message when cutechess-cli is not there.
#
# Environment: CUTECHESS (path of cutechess-cli; default ../shared/tools/
# beside the repository), CUTECHESS_ARTIFACTS (a directory that receives
# the PGN and logs).

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
games=${2:-}
case $games in
    '' | [1-9] | [1-9][0-9] | [1-9][0-9][0-9]) ;;
    *) die "GAMES must be a number from 1 to 999" ;;
esac

source "$repo/scripts/cutechess.sh"
find_cutechess "the tournament-manager games"
case $? in 0) ;; 1) exit 0 ;; *) die "cutechess-cli does not start" ;; esac
need_packages fairymax phalanx python3 >/dev/null

work=$(mktemp -d "${TMPDIR:-/tmp}/orvo-cutechess.XXXXXX") || die "mktemp failed"
cleanup() {
    local rc=$?
    if [ -n "${CUTECHESS_ARTIFACTS:-}" ]; then
        mkdir -p "$CUTECHESS_ARTIFACTS" && cp -rf "$work"/. "$CUTECHESS_ARTIFACTS"/ 2>/dev/null
    fi
    rm -rf "$work"
    exit "$rc"
}
trap cleanup EXIT
trap 'exit 130' INT
trap 'exit 143' TERM HUP

# name protocol opponent time-control ponder
all_configs=(
    "xb-fairymax-10+0.1 xboard fairymax 10+0.1 no"
    "xb-fairymax-10+0.1-ponder xboard fairymax 10+0.1 yes"
    "xb-phalanx-10+0.1 xboard phalanx 10+0.1 no"
    "xb-phalanx-10+0.1-ponder xboard phalanx 10+0.1 yes"
    "xb-fairymax-40/20 xboard fairymax 40/20 no"
    "xb-fairymax-40/20-ponder xboard fairymax 40/20 yes"
    "xb-phalanx-40/20 xboard phalanx 40/20 no"
    "xb-phalanx-40/20-ponder xboard phalanx 40/20 yes"
    "uci-fairymax-10+0.1 uci fairymax 10+0.1 no"
    "uci-phalanx-40/20-ponder uci phalanx 40/20 yes"
)
quick_configs=(
    "xb-fairymax-10+0.1 xboard fairymax 10+0.1 no"
    "xb-phalanx-10+0.1-ponder xboard phalanx 10+0.1 yes"
    "xb-fairymax-40/20-ponder xboard fairymax 40/20 yes"
    "xb-phalanx-40/20 xboard phalanx 40/20 no"
    "uci-fairymax-10+0.1 uci fairymax 10+0.1 no"
)
if [ -n "$games" ]; then
    configs=("${all_configs[@]}")
    per_config=$games
    cut_40_20=()
else
    configs=("${quick_configs[@]}")
    per_config=1
    cut_40_20=(-maxmoves 45)
fi

failed=0
index=0
for config in "${configs[@]}"; do
    read -r name proto opponent tc ponder <<<"$config"
    index=$((index + 1))
    dir=$work/$index
    mkdir -p "$dir/orvo" "$dir/opponent"
    opponent_args "$opponent"
    each=(tc="$tc")
    maxmoves=()
    [ "$tc" = 40/20 ] && maxmoves=("${cut_40_20[@]}")
    [ "$ponder" = yes ] && each+=(ponder)
    # Colours alternate from game to game; a game's limit on the wall clock
    # is its time control with room to spare.
    run_cutechess "$dir" 900 \
        -engine name=Orvo cmd="$orvo" dir="$dir/orvo" proto="$proto" stderr="$dir/orvo.stderr" \
        -engine "${opponent[@]}" dir="$dir/opponent" \
        -each "${each[@]}" \
        -games "$per_config" ${maxmoves[@]+"${maxmoves[@]}"}
    rc=$?
    if ! python3 "$here/cutechess_report.py" "$name" "$tc" "$per_config" "$dir/games.pgn" "$dir/cutechess.log" "$rc"; then
        failed=$((failed + 1))
    fi
done

if [ "$failed" -gt 0 ]; then
    echo "$me: $failed configuration(s) failed"
    exit 1
fi
echo "$me: all configurations passed"
