#!/usr/bin/env bash
# End-to-end front-end test: an engine plays complete games against
# fairymax inside the real xboard GUI (on a virtual X server), exactly as a
# user's desktop would: a UCI engine through the polyglot adapter, or an
# xboard engine started by xboard itself (GUI_PROTOCOL=xboard).
#
#   tests/gui/run_gui_games.sh ENGINE_PATH [GAMES]
#
# ENGINE_PATH is the engine executable; GAMES defaults to 4. Colours
# alternate, the engine under test taking white in game 1.
#
# A game fails when the engine under test plays an illegal move, loses on
# time, dies, when the game hangs past its wall-clock limit, or when it ends
# without a proper result. Losing or drawing over the board is fine.
# The last line printed is "N passed, N failed"; the exit status is 0 only
# when every game passed.
#
# Tunables (environment):
#   GUI_TC            xboard -tc value (base time)          default 0:05
#   GUI_INC           xboard -inc value (seconds per move)  default 0.1
#   GUI_GAME_TIMEOUT  wall-clock limit per game, seconds    default 150
#   GUI_OPPONENT      xboard engine used as opponent        default fairymax
#   GUI_PROTOCOL      uci (through polyglot) or xboard      default uci
#   GUI_PONDER        1 lets both engines ponder            default 0
#   GUI_NOGUI         1 passes -noGUI (no board drawing)    default 0
#   GUI_ENGINE_FILES  files (space-separated) copied into the engine's
#                     working directory first, e.g. its ini file; by default
#                     that directory is empty, so the engine runs on defaults
#   GUI_FROM_LIST     NICKNAME:SETTINGS loads the engine under test from
#                     xboard's engine list by its nickname (-fe), the list
#                     read from the xboard settings file SETTINGS, as
#                     Engine > Load New Engine does: the list's entry gives
#                     its command, folder and protocol. ENGINE_PATH is then
#                     only named in the report; the engine's exits are not
#                     recorded (a death still shows in xboard's log)
#   GUI_ARTIFACTS     directory to copy the PGN and logs into before cleanup
#   GUI_VERBOSE       1 prints extra progress information

set -u
set -o pipefail

me=$(basename "$0")

die() {
    echo "$me: $*" >&2
    exit 2
}

usage() {
    echo "usage: $me ENGINE_PATH [GAMES]" >&2
    exit 2
}

[ $# -ge 1 ] && [ $# -le 2 ] || usage
engine_arg=$1
games=${2:-4}

case $games in
    '' | *[!0-9]*) die "GAMES must be a positive integer, got '$games'" ;;
esac
[ "$games" -ge 1 ] || die "GAMES must be at least 1"

[ -f "$engine_arg" ] && [ -x "$engine_arg" ] || die "'$engine_arg' is not an executable file"
engine=$(readlink -f -- "$engine_arg") || die "cannot resolve '$engine_arg'"

tc=${GUI_TC:-0:05}
inc=${GUI_INC:-0.1}
game_timeout=${GUI_GAME_TIMEOUT:-150}
opponent=${GUI_OPPONENT:-fairymax}
ponder=${GUI_PONDER:-0}
protocol=${GUI_PROTOCOL:-uci}
case $protocol in
    uci | xboard) ;;
    *) die "GUI_PROTOCOL must be uci or xboard, got '$protocol'" ;;
esac
nogui=${GUI_NOGUI:-0}
artifacts=${GUI_ARTIFACTS:-}
engine_files=${GUI_ENGINE_FILES:-}
from_list=${GUI_FROM_LIST:-}
if [ -n "$from_list" ]; then
    list_nick=${from_list%%:*}
    list_settings=${from_list#*:}
    [ -n "$list_nick" ] && [ "$list_settings" != "$from_list" ] && [ -f "$list_settings" ] ||
        die "GUI_FROM_LIST must be NICKNAME:SETTINGS_FILE, got '$from_list'"
fi
verbose=${GUI_VERBOSE:-0}

for f in $engine_files; do
    [ -f "$f" ] || die "GUI_ENGINE_FILES: '$f' is not a file"
done

case $game_timeout in
    '' | *[!0-9]*) die "GUI_GAME_TIMEOUT must be a whole number of seconds" ;;
esac

# Debian puts xboard, polyglot and fairymax in /usr/games, which is not on
# root's PATH.
export PATH="/usr/games:/usr/local/games:$PATH"

note() {
    [ "$verbose" = 1 ] && echo "$me: $*"
    return 0
}

# ---------------------------------------------------------------- tools --

ensure_tools() {
    local pair cmd
    source "$(dirname "$0")/../../scripts/packages.sh"
    source "$(dirname "$0")/../../scripts/opponents.sh"
    need_packages xboard polyglot xvfb "$opponent" >/dev/null || die "cannot install the GUI's packages"
    for pair in xboard:xboard polyglot:polyglot Xvfb:xvfb "$opponent":"$opponent"; do
        cmd=${pair%%:*}
        command -v "$cmd" >/dev/null 2>&1 || die "'$cmd' still missing after installation"
    done
}

ensure_tools

# ------------------------------------------------------------ sandbox ----

work=$(mktemp -d "${TMPDIR:-/tmp}/orvo-gui.XXXXXX") || die "mktemp failed"
engine_dir=$work/engine        # the engine under test runs here
opponent_dir=$work/opponent
mkdir -p "$engine_dir" "$opponent_dir" "$work/home"
for f in $engine_files; do
    cp -- "$f" "$engine_dir"/ || die "cannot copy '$f'"
done

pgn=$work/games.pgn
debug_log=$work/xboard.debug
pg_log=$work/polyglot.log
xb_out=$work/xboard.out
exits=$work/engine-exits       # one line per exit of the engine under test
exits_seen=$work/engine-exits-seen
: >"$exits"
: >"$exits_seen"

xvfb_pid=
xb_pid=
source "$(dirname "$0")/../../scripts/xvfb.sh"

cleanup() {
    local rc=$?
    trap - EXIT INT TERM HUP
    [ -n "$xb_pid" ] && stop_group "$xb_pid"
    if [ -n "$xvfb_pid" ]; then
        kill -TERM "$xvfb_pid" 2>/dev/null
        wait "$xvfb_pid" 2>/dev/null
    fi
    if [ -n "$artifacts" ]; then
        mkdir -p "$artifacts" &&
            cp -f "$pgn" "$debug_log" "$pg_log" "$xb_out" "$work/xvfb.log" "$artifacts"/ 2>/dev/null
    fi
    rm -rf "$work"
    exit "$rc"
}
trap cleanup EXIT
trap 'exit 130' INT
trap 'exit 143' TERM HUP

# xboard and polyglot keep settings under $HOME: give them an empty one so
# nothing from the developer's own setup leaks into the test.
export HOME=$work/home
export XDG_CONFIG_HOME=$work/home/.config
export XDG_CACHE_HOME=$work/home/.cache
export NO_AT_BRIDGE=1

# The launcher puts the engine under test in its own working directory and
# records how it exited, so a crash is seen even when nobody else reports it.
launcher=$work/engine-under-test
{
    echo '#!/bin/sh'
    printf 'cd %q || exit 127\n' "$engine_dir"
    printf '%q "$@"\n' "$engine"
    echo 'rc=$?'
    printf 'echo "$rc" >>%q\n' "$exits"
    echo 'exit $rc'
} >"$launcher"
chmod +x "$launcher"

# --------------------------------------------------------- X server ------

start_xvfb

# ---------------------------------------------------------- the match ----

ponder_flag=false
[ "$ponder" = 1 ] && ponder_flag=true

if [ -n "$from_list" ]; then
    # A copy, so that nothing xboard might write reaches the caller's file.
    cp -- "$list_settings" "$work/xboardrc" || die "cannot copy '$list_settings'"
    engine_args=(-settingsFile "$work/xboardrc" -fe "$list_nick")
elif [ "$protocol" = uci ]; then
    engine_args=(-fcp "$launcher" -fUCI -fd "$engine_dir"
        -adapterCommand "polyglot -noini -log true -lf \"$pg_log\" -ec \"%fcp\" -ed \"%fd\"")
else
    # Started by xboard itself, which reads its standard error on the same
    # pipe as its output.
    engine_args=(-fcp "$launcher" -fd "$engine_dir")
fi
xb_args=(
    "${engine_args[@]}"
    -scp "$(opponent_command "$opponent")" -sd "$opponent_dir"
    -matchGames "$games" -matchPause 1000
    -timeControl "$tc" -timeIncrement "$inc"
    -autoCallFlag true
    -ponderNextMove "$ponder_flag"
    -testLegality true -testClaims true -checkMates true -materialDraws true
    -saveGameFile "$pgn" -pgnExtendedInfo true
    -debugMode true -nameOfDebugFile "$debug_log"
    -popupExitMessage false -popupMoveErrors false
    -saveSettingsOnExit false
    -soundMove ""
)
[ "$nogui" = 1 ] && xb_args+=(-noGUI)

[ -n "$from_list" ] && protocol="xboard engine list: $list_nick"
echo "$me: $games game(s), $(basename "$engine") ($protocol) vs $opponent, xboard -tc $tc -inc $inc," \
    "limit ${game_timeout}s per game"

# setsid makes xboard the leader of a fresh process group, so the engines
# it starts can be ended together with it.
(cd "$work" && exec setsid xboard "${xb_args[@]}") </dev/null >"$xb_out" 2>&1 &
xb_pid=$!

declare -A game_start game_end
current=0
hang_game=0
now=$(date +%s)
deadline=$((now + game_timeout))
match_start=$now

# Which game an engine exit belongs to is decided as it happens.
collect_exits() {
    local total seen line
    total=$(wc -l <"$exits")
    seen=$(wc -l <"$exits_seen")
    while [ "$seen" -lt "$total" ]; do
        seen=$((seen + 1))
        line=$(sed -n "${seen}p" "$exits")
        echo "$line ${current:-0}" >>"$exits_seen"
    done
}

while kill -0 "$xb_pid" 2>/dev/null; do
    now=$(date +%s)
    started=0
    [ -f "$debug_log" ] && started=$(grep -c '^New game (' "$debug_log")
    if [ "$started" -gt "$current" ]; then
        [ "$current" -ge 1 ] && game_end[$current]=$now
        current=$started
        game_start[$current]=$now
        deadline=$((now + game_timeout))
        note "game $current started"
    fi
    collect_exits
    if [ "$now" -ge "$deadline" ]; then
        hang_game=$current
        [ "$hang_game" -ge 1 ] || hang_game=1
        break
    fi
    sleep 0.5
done
now=$(date +%s)
[ "$current" -ge 1 ] && [ -z "${game_end[$current]:-}" ] && game_end[$current]=$now

if [ "$hang_game" -ge 1 ]; then
    echo "$me: no progress for ${game_timeout}s in game $hang_game: stopping xboard"
else
    wait "$xb_pid" 2>/dev/null
    # Give the engine a moment to finish quitting, so its exit is recorded.
    for _ in 1 2 3 4 5 6 7 8 9 10; do
        [ -s "$exits" ] && break
        sleep 0.2
    done
fi
# Exits caused by stopping the process group below are not the engine's doing.
collect_exits
stop_group "$xb_pid"
note "match took $((now - match_start))s"

# ------------------------------------------------------------ verdicts ---

# One line per game saved in the PGN, fields separated by \037 (a field may
# be empty, which a whitespace separator would swallow): round, white,
# black, Result tag, result token, final comment, number of moves
pgn_table() {
    [ -f "$pgn" ] || return 0
    awk '
    function flush(   mt, tmp, reason, stripped, s, n, tok) {
        if (!have) return
        mt = movetext
        reason = ""
        tmp = mt
        while (match(tmp, /\{[^}]*\}/)) {
            reason = substr(tmp, RSTART + 1, RLENGTH - 2)
            tmp = substr(tmp, RSTART + RLENGTH)
        }
        # Only a comment standing right before the result is the reason.
        if (tmp !~ /^[ \t\r]*(1-0|0-1|1\/2-1\/2|\*)?[ \t\r]*$/) reason = ""
        stripped = mt
        gsub(/\{[^}]*\}/, " ", stripped)
        n = 0
        s = stripped
        while (match(s, /[0-9]+\./)) {
            n = substr(s, RSTART, RLENGTH - 1) + 0
            s = substr(s, RSTART + RLENGTH)
        }
        tok = ""
        if (match(stripped, /(1-0|0-1|1\/2-1\/2|\*)[ \t\r]*$/)) {
            tok = substr(stripped, RSTART, RLENGTH)
            gsub(/[ \t\r]/, "", tok)
        }
        gsub(/\037/, " ", reason)
        printf "%s\037%s\037%s\037%s\037%s\037%s\037%d\n", tags["Round"], tags["White"], tags["Black"], tags["Result"], tok, reason, n
        have = 0
    }
    /^\[Event / { flush(); have = 1; movetext = ""; split("", tags) }
    /^\[[A-Za-z0-9_]+ "/ {
        name = $1; sub(/^\[/, "", name)
        val = $0; sub(/^\[[A-Za-z0-9_]+ "/, "", val); sub(/"\][ \t\r]*$/, "", val)
        tags[name] = val
        next
    }
    { if (have) movetext = movetext " " $0 }
    END { flush() }
    ' "$pgn"
}

# One line per game seen in xboard's debug log, fields separated by \037:
# game, colour of the engine under test (w/b), end reason, result,
# engine-death evidence, illegal-move evidence
debug_table() {
    [ -f "$debug_log" ] || return 0
    awk -v games="$games" '
    function keep(arr, k, text) { if (arr[k] == "") arr[k] = text }
    {
        line = $0
        sub(/\r$/, "", line)
        # Everything before the first game (engine start-up) counts as game 1.
        g = (k == 0) ? 1 : k
    }
    line ~ /^New game \([0-9]+\): / {
        k = line; sub(/^New game \(/, "", k); sub(/\).*/, "", k); k += 0
        col[k] = (line ~ /\(b\)[ \t]*$/) ? "b" : "w"
        if (k > maxk) maxk = k
        next
    }
    line ~ /^GameEnds\([0-9]+, / {
        r = line; sub(/^GameEnds\([0-9]+, /, "", r); sub(/, -?[0-9]+\)$/, "", r)
        if (r != "(null)") keep(reason, g, r)
        next
    }
    line ~ /^[0-9]+ >(first|second) *: result / {
        r = line; sub(/^.*: result /, "", r)
        split(r, parts, " ")
        keep(result, g, parts[1])
        next
    }
    # polyglot telling xboard that the UCI engine behind it has gone away
    line ~ /<first *: .*(pipex_exit|child terminated|child exited|[Ee]ngine (has )?(exited|died|crashed))/ {
        t = line; sub(/^[0-9]+ <first *: (tellusererror |telluser )?/, "", t)
        keep(crash, g, t)
        next
    }
    # xboard noticing that its first engine process (polyglot) died
    line ~ /first chess program .*exited unexpectedly|[Ff]irst.*program.*(died|crashed)/ {
        keep(crash, g, line)
        next
    }
    line ~ /illegal engine move|Illegal move .* from first|Forfeit due to (illegal|invalid) move/ {
        t = line; sub(/^[0-9]+ [<>][a-z]+ *: /, "", t)
        keep(illegal, g, t)
        next
    }
    END {
        n = (maxk > games) ? maxk : games
        for (i = 1; i <= n; i++) {
            printf "%d\037%s\037%s\037%s\037%s\037%s\n", i, col[i], reason[i], result[i], crash[i], illegal[i]
        }
    }
    ' "$debug_log"
}

declare -A p_res p_tok p_reason p_moves
while IFS=$'\037' read -r round _white _black res tok reason moves; do
    case $round in '' | *[!0-9]*) continue ;; esac
    p_res[$round]=$res
    p_tok[$round]=$tok
    p_reason[$round]=$reason
    p_moves[$round]=$moves
done < <(pgn_table)

declare -A d_col d_reason d_result d_crash d_illegal
while IFS=$'\037' read -r g col reason result crash illegal; do
    d_col[$g]=$col
    d_reason[$g]=$reason
    d_result[$g]=$result
    d_crash[$g]=$crash
    d_illegal[$g]=$illegal
done < <(debug_table)

# Exits of the engine under test: "status game" per line. A status other
# than 0 is a crash.
declare -A x_crash
while read -r status g; do
    [ -n "$status" ] || continue
    [ "$status" = 0 ] && continue
    [ "$g" -ge 1 ] 2>/dev/null || g=1
    [ -n "${x_crash[$g]:-}" ] && continue
    if [ "$status" -gt 128 ]; then
        x_crash[$g]="engine under test exited with signal $((status - 128))"
    else
        x_crash[$g]="engine under test exited with status $status"
    fi
done <"$exits_seen"

# The result of each game: from the PGN when xboard saved the game (it
# does not save games without moves), else from its debug log.
declare -A g_res g_reason
for ((g = 1; g <= games; g++)); do
    res=${p_tok[$g]:-}
    [ -n "$res" ] && [ "$res" != "*" ] || res=${p_res[$g]:-}
    [ -n "$res" ] || res=${d_result[$g]:-}
    reason=${p_reason[$g]:-}
    [ -n "$reason" ] || reason=${d_reason[$g]:-}
    g_res[$g]=$res
    g_reason[$g]=$reason
done

proper_result() {
    case ${g_res[$1]:-} in
        1-0 | 0-1 | 1/2-1/2) return 0 ;;
    esac
    return 1
}

# A game that had already ended when the time ran out did not hang: the
# next one never got going, or xboard failed to quit after the last one.
if [ "$hang_game" -ge 1 ] && proper_result "$hang_game"; then
    if [ "$hang_game" -lt "$games" ]; then
        hang_game=$((hang_game + 1))
    else
        echo "warning: every game ended, but xboard did not quit by itself"
        hang_game=0
    fi
fi

passed=0
failed=0

for ((g = 1; g <= games; g++)); do
    # Colours alternate from game 1, where the engine under test is white.
    col=${d_col[$g]:-}
    if [ -z "$col" ]; then
        if ((g % 2)); then col=w; else col=b; fi
    fi
    [ "$col" = w ] && side=white || side=black

    res=${g_res[$g]}
    reason=${g_reason[$g]}
    moves=${p_moves[$g]:-0}
    secs=
    if [ -n "${game_start[$g]:-}" ] && [ -n "${game_end[$g]:-}" ]; then
        secs=$((game_end[$g] - game_start[$g]))
    fi

    lost=0
    case "$col:$res" in
        w:0-1 | b:1-0) lost=1 ;;
    esac

    verdict=
    remark=
    if [ "$hang_game" -ge 1 ] && [ "$g" -eq "$hang_game" ]; then
        verdict="hang: no result within ${game_timeout}s"
    elif [ "$hang_game" -ge 1 ] && [ "$g" -gt "$hang_game" ]; then
        verdict="not played (match stopped after the hang in game $hang_game)"
    elif [ -n "${d_illegal[$g]:-}" ]; then
        verdict="illegal move by the engine under test: ${d_illegal[$g]}"
    elif [ -n "${d_crash[$g]:-}" ]; then
        verdict="engine under test died: ${d_crash[$g]}"
    elif [ -n "${x_crash[$g]:-}" ]; then
        verdict=${x_crash[$g]}
    elif [ -z "$res" ] && [ -z "$reason" ]; then
        verdict="no game record: xboard never finished this game"
    elif [ "$res" != 1-0 ] && [ "$res" != 0-1 ] && [ "$res" != 1/2-1/2 ]; then
        verdict="no proper result ('${res:-none}'${reason:+: $reason})"
    elif [ -z "$reason" ]; then
        verdict="result $res without a reason"
    else
        case $reason in
            *"flags fell"*)
                verdict="loss on time: $reason" ;;
            *"on time"* | *"flag fell"* | *"time forfeit"*)
                if [ "$lost" = 1 ]; then
                    verdict="engine under test lost on time: $reason"
                else
                    remark="opponent lost on time"
                fi ;;
            *[Ii]llegal* | *[Ii]nvalid\ move* | *[Ff]orfeit* | *[Ff]alse*)
                if [ "$lost" = 1 ]; then
                    verdict="engine under test forfeited: $reason"
                else
                    remark="opponent forfeited: $reason"
                fi ;;
            *"xboard exit"* | *exited* | *crash* | *disconnect* | *abort* | *[Ee]rror*)
                verdict="game broken off: $reason" ;;
        esac
    fi

    desc="engine $side, ${res:-no result}${reason:+ {$reason\}}, $moves moves${secs:+, ${secs}s}"
    if [ -z "$verdict" ]; then
        passed=$((passed + 1))
        echo "game $g: ok   - $desc${remark:+ ($remark)}"
    else
        failed=$((failed + 1))
        echo "game $g: FAIL - $verdict [$desc]"
    fi
done

if [ "$failed" -gt 0 ] && [ -f "$xb_out" ]; then
    echo "--- xboard said:"
    grep -v 'aplay' "$xb_out" | tail -n 15
    echo "---"
fi
# The logs go with the scratch folder: on a failure, the last clocks and
# moves exchanged with the engine under test are kept in the output, so
# that a loss on time or a hang can be read afterwards (xboard's lines
# begin with its milliseconds since the start, polyglot's with the time).
if [ "$failed" -gt 0 ] && [ -s "$debug_log" ]; then
    echo "--- xboard and the engine under test, last exchanges:"
    grep -E '^[0-9]+ [<>]first *: .*(time |otim |go|usermove|move |result)' "$debug_log" | tail -n 16
    echo "---"
fi
if [ "$failed" -gt 0 ] && [ -s "$pg_log" ]; then
    echo "--- polyglot and Orvo, last searches:"
    grep -E 'Adapter->Engine: go |Engine->Adapter: bestmove' "$pg_log" | tail -n 12
    echo "---"
fi
if [ -s "$debug_log" ] && [ "$(grep -c '^New game (' "$debug_log")" -gt "$games" ]; then
    echo "warning: xboard started more games than the $games asked for"
fi

echo "$passed passed, $failed failed"
[ "$failed" -eq 0 ]
