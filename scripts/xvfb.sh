# Shared by the xboard GUI scripts (sourced, not run): the virtual X
# server and the end of a process group. Uses the caller's $work, die and
# note; sets DISPLAY and xvfb_pid.

start_xvfb() {
    local dfile=$work/display n
    : >"$dfile"
    Xvfb -displayfd 9 -screen 0 1280x1024x24 -nolisten tcp \
        9>"$dfile" >"$work/xvfb.log" 2>&1 </dev/null &
    xvfb_pid=$!
    for _ in $(seq 1 100); do
        n=$(tr -dc '0-9' <"$dfile")
        if [ -n "$n" ]; then
            export DISPLAY=":$n"
            note "Xvfb running on $DISPLAY"
            return 0
        fi
        kill -0 "$xvfb_pid" 2>/dev/null || break
        sleep 0.1
    done
    cat "$work/xvfb.log" >&2
    die "could not start Xvfb"
}

stop_group() {
    # Ends xboard and everything it started (polyglot, both engines): they
    # all share the process group that setsid gave xboard.
    local pgid=$1
    kill -0 -- "-$pgid" 2>/dev/null || return 0
    kill -TERM -- "-$pgid" 2>/dev/null
    for _ in 1 2 3 4 5 6 7 8 9 10; do
        kill -0 -- "-$pgid" 2>/dev/null || return 0
        sleep 0.2
    done
    kill -KILL -- "-$pgid" 2>/dev/null
    return 0
}

