#!/usr/bin/env bash
# Orvo analyses a short game inside the real xboard GUI (on a virtual X
# server), started by xboard itself in xboard mode. xboard's "Analyze File"
# mode loads the game and steps through it, sending each move to the engine
# while it analyses ("usermove" during the analysis), then ends with "exit".
#
#   tests/gui/run_gui_analysis.sh ENGINE_PATH [SECONDS_PER_MOVE]
#
#   GUI_PROTOCOL=uci        Orvo's UCI side through the polyglot adapter
#                           instead (default: xboard)
#   GUI_FIRST_OPTIONS=...   engine options xboard sets at the start
#                           (-firstOptions, e.g. "MultiPV=4" for the UCI side)
#   GUI_ARTIFACTS=DIR       keeps xboard's debug log and the game there
#
# It checks, from xboard's debug log, that every position of the game got
# thinking lines, that each line's first move is legal in the position it
# was sent for (replayed by a second orvo as referee), that "exit" was
# answered, and that the engine neither crashed nor stopped answering.
# Exit status 0 when all holds.

set -u
set -o pipefail

me=$(basename "$0")
here=$(cd "$(dirname "$0")" && pwd)

die() {
    echo "$me: $*" >&2
    exit 2
}
note() { :; }

[ $# -ge 1 ] && [ $# -le 2 ] || die "usage: $me ENGINE_PATH [SECONDS_PER_MOVE]"
[ -x "$1" ] || die "'$1' is not an executable file"
engine=$(readlink -f -- "$1")
delay=${2:-1}

export PATH="/usr/games:/usr/local/games:$PATH"
source "$here/../../scripts/packages.sh"
need_packages xboard xvfb python3 >/dev/null
protocol=${GUI_PROTOCOL:-xboard}
case $protocol in
    xboard) ;;
    uci) need_packages polyglot >/dev/null ;;
    *) die "GUI_PROTOCOL must be uci or xboard, got '$protocol'" ;;
esac

work=$(mktemp -d "${TMPDIR:-/tmp}/orvo-analysis.XXXXXX") || die "mktemp failed"
xvfb_pid=
xb_pid=
source "$here/../../scripts/xvfb.sh"
cleanup() {
    local rc=$?
    trap - EXIT INT TERM HUP
    [ -n "$xb_pid" ] && stop_group "$xb_pid"
    if [ -n "$xvfb_pid" ]; then
        kill -TERM "$xvfb_pid" 2>/dev/null
        wait "$xvfb_pid" 2>/dev/null
    fi
    [ -n "${GUI_ARTIFACTS:-}" ] && mkdir -p "$GUI_ARTIFACTS" && cp -f "$work"/*.debug "$work"/*.pgn "$work"/*.log "$GUI_ARTIFACTS"/ 2>/dev/null
    rm -rf "$work"
    exit "$rc"
}
trap cleanup EXIT
trap 'exit 130' INT
trap 'exit 143' TERM HUP

export HOME=$work/home XDG_CONFIG_HOME=$work/home/.config XDG_CACHE_HOME=$work/home/.cache NO_AT_BRIDGE=1
mkdir -p "$work/home" "$work/engine"

# A Ruy Lopez with castling, a capture and an en-passant chance.
cat >"$work/game.pgn" <<'EOF'
[Event "analysis test"]
[Site "?"]
[Date "????.??.??"]
[Round "1"]
[White "?"]
[Black "?"]
[Result "*"]

1. e4 e5 2. Nf3 Nc6 3. Bb5 a6 4. Ba4 Nf6 5. O-O Be7 6. Re1 b5 7. Bb3 d6
8. c3 O-O 9. h3 Nb8 10. d4 Nbd7 11. d5 c5 12. dxc6 *
EOF

launcher=$work/engine-under-test
{
    echo '#!/bin/sh'
    printf 'cd %q || exit 127\n' "$work/engine"
    printf '%q "$@"\n' "$engine"
} >"$launcher"
chmod +x "$launcher"

start_xvfb
debug=$work/xboard.debug
engine_args=(-fcp "$launcher" -fd "$work/engine")
if [ "$protocol" = uci ]; then
    engine_args+=(-fUCI -adapterCommand "polyglot -noini -log true -lf \"$work/polyglot.log\" -ec \"%fcp\" -ed \"%fd\"")
fi
[ -n "${GUI_FIRST_OPTIONS:-}" ] && engine_args+=(-firstOptions "$GUI_FIRST_OPTIONS")
(cd "$work" && exec setsid xboard "${engine_args[@]}" \
    -lgf "$work/game.pgn" -mode AnalyzeFile -timeDelay "$delay" \
    -debugMode true -nameOfDebugFile "$debug" \
    -popupExitMessage false -popupMoveErrors false -saveSettingsOnExit false \
    -soundMove "") </dev/null >"$work/xboard.out" 2>&1 &
xb_pid=$!

# The game has 23 plies: at the given pace it is through in about
# 23 x delay seconds; xboard then sends "exit" and stays open.
limit=$((60 + 30 * delay))
# Orvo answers "exit" with "Analyze stopped"; polyglot answers nothing.
done_pattern='^[0-9]* <first : Analyze stopped'
[ "$protocol" = uci ] && done_pattern='^[0-9]* >first : exit'
check_args=()
[ "$protocol" = uci ] && check_args=(--exit-unanswered)
start=$(date +%s)
while :; do
    if [ -f "$debug" ] && grep -q "$done_pattern" "$debug"; then
        break
    fi
    kill -0 "$xb_pid" 2>/dev/null || break
    [ $(($(date +%s) - start)) -ge "$limit" ] && break
    sleep 0.5
done
sleep 1
stop_group "$xb_pid"
xb_pid=

python3 "$here/check_analysis_log.py" "${check_args[@]}" "$debug" "$engine"
