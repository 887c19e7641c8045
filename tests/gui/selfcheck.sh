#!/usr/bin/env bash
# Checks that run_gui_games.sh tells good engines from bad ones: a faithful
# engine must pass, and each kind of misbehaviour of fake_bad_engine.py
# (illegal move, crash, silent exit, time loss, no handshake, crash on quit,
# deadlock between games, dead adapter) and a hung game must fail with the
# right diagnosis. Also
# checks that no process or temporary directory is left behind.
#
#   tests/gui/selfcheck.sh
#
# Uses stockfish as the engine behind the fake one; installs it (and
# python3) with apt-get when missing. Takes about two minutes.

set -u

here=$(cd "$(dirname "$0")" && pwd)
runner=$here/run_gui_games.sh
fake=$here/fake_bad_engine.py
export PATH="/usr/games:/usr/local/games:$PATH"

source "$here/../../scripts/packages.sh"
need_packages python3 stockfish || { echo "selfcheck: could not install python3 and stockfish" >&2; exit 2; }
export FAKE_INNER_ENGINE
FAKE_INNER_ENGINE=$(command -v stockfish)

scratch=$(mktemp -d "${TMPDIR:-/tmp}/orvo-gui-selfcheck.XXXXXX")
trap 'rm -rf "$scratch"' EXIT

ok=0
bad=0

# check NAME EXPECTED_STATUS PATTERNS [VAR=VALUE ...] -- ENGINE GAMES
# Runs the game test with a private TMPDIR and compares its exit status and
# output with what is expected. PATTERNS holds one or more extended regular
# expressions separated by ';;', each of which some output line must match.
check() {
    local name=$1 want_rc=$2 pattern=$3
    shift 3
    local envs=()
    while [ "$1" != -- ]; do
        envs+=("$1")
        shift
    done
    shift
    local tmp=$scratch/$name out=$scratch/$name.out rc why='' p
    mkdir -p "$tmp"
    env TMPDIR="$tmp" "${envs[@]}" "$runner" "$@" </dev/null >"$out" 2>&1
    rc=$?

    if [ "$rc" != "$want_rc" ]; then
        why="exit status $rc, expected $want_rc"
    fi
    while [ -z "$why" ] && [ -n "$pattern" ]; do
        p=${pattern%%;;*}
        if [ "$p" = "$pattern" ]; then pattern=; else pattern=${pattern#*;;}; fi
        grep -Eq -- "$p" "$out" || why="output does not match /$p/"
    done
    if [ -n "$why" ]; then
        :
    elif [ "$want_rc" != 2 ] && ! tail -n 1 "$out" | grep -Eq '^[0-9]+ passed, [0-9]+ failed$'; then
        why="last line is not the 'N passed, N failed' summary"
    elif [ -n "$(ls -A "$tmp")" ]; then
        why="left files behind in its temporary directory"
    elif grep -lsF "$tmp" /proc/[0-9]*/cmdline >/dev/null 2>&1; then
        why="left processes running"
    fi

    if [ -z "$why" ]; then
        ok=$((ok + 1))
        echo "ok   $name"
    else
        bad=$((bad + 1))
        echo "FAIL $name: $why"
        sed 's/^/     | /' "$out"
    fi
}

check good        0 '^2 passed, 0 failed$'               FAKE_ENGINE_MODE=good          -- "$fake" 2
check illegal     1 'FAIL - illegal move by the engine'  FAKE_ENGINE_MODE=illegal:2     -- "$fake" 1
check crash       1 'FAIL - engine under test died'      FAKE_ENGINE_MODE=crash:3       -- "$fake" 1
check exit        1 'FAIL - engine under test died'      FAKE_ENGINE_MODE=exit:3        -- "$fake" 1
check timeloss    1 'FAIL - engine under test lost on time;;^--- xboard and the engine under test, last exchanges:;;^--- polyglot and Orvo, last searches:;;Adapter->Engine: go ' FAKE_ENGINE_MODE=timeloss:3 -- "$fake" 1
check mute        1 '^game 1: FAIL'                      FAKE_ENGINE_MODE=mute          -- "$fake" 1
check badquit     1 'FAIL - engine under test exited with signal 6' FAKE_ENGINE_MODE=badquit -- "$fake" 1
check stall       1 '^game 1: ok;;^game 2: FAIL - engine under test lost on time' FAKE_ENGINE_MODE=stall:3 -- "$fake" 2
check killadapter 1 '^game 1: FAIL'                      FAKE_ENGINE_MODE=killadapter:3 -- "$fake" 1
check hang        1 'FAIL - hang'                        GUI_GAME_TIMEOUT=3             -- "$FAKE_INNER_ENGINE" 1
check usage       2 'usage:'                                                            -- "$fake" 1 extra

echo "$ok passed, $bad failed"
[ "$bad" -eq 0 ]
