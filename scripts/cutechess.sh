# Shared by every script that plays games under cutechess-cli (sourced, not
# run): where cutechess-cli is, the opponents from Debian's packages, and one
# way to run a match.
#
#   find_cutechess WHAT           sets $cutechess (CUTECHESS, or cutechess-cli
#                                 in ../shared/tools beside the repository);
#                                 without it, says "skipping WHAT" and returns 1
#   opponent_args NAME            sets the array $opponent to the -engine
#                                 arguments of fairymax, phalanx or glaurung
#   run_cutechess DIR SECONDS ARGS...
#                                 runs cutechess-cli with ARGS and the usual
#                                 output (DIR/games.pgn, one game at a time,
#                                 -debug into DIR/cutechess.log), stopped after
#                                 SECONDS; returns its exit status

_cutechess_repo=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

find_cutechess() {
    cutechess=${CUTECHESS:-$_cutechess_repo/../shared/tools/cutechess-cli}
    if [ ! -x "$cutechess" ]; then
        echo "${me:-cutechess}: cutechess-cli not found at $cutechess; skipping $1"
        return 1
    fi
    # It needs Qt's core library; Debian's engines live in /usr/games.
    source "$_cutechess_repo/scripts/packages.sh"
    need_packages libqt5core5a >/dev/null
    export PATH="/usr/games:/usr/local/games:$PATH"
    if ! "$cutechess" --version >/dev/null 2>&1; then
        echo "${me:-cutechess}: cutechess-cli does not start" >&2
        return 2
    fi
    return 0
}

opponent_args() {
    case $1 in
        # Without address space randomisation: see scripts/opponents.sh.
        fairymax) opponent=(name=fairymax cmd=setarch arg=-R arg=/usr/games/fairymax proto=xboard) ;;
        phalanx) opponent=(name=phalanx cmd=/usr/games/phalanx arg=-l- arg=-b- proto=xboard) ;;
        glaurung) opponent=(name=glaurung cmd=/usr/games/glaurung proto=uci option.Threads=1 option.Hash=16
                            option.OwnBook=false) ;;
        *) echo "opponent_args: unknown opponent $1" >&2; return 2 ;;
    esac
}

run_cutechess() {
    local dir=$1 seconds=$2
    shift 2
    timeout "$seconds" "$cutechess" "$@" -pgnout "$dir/games.pgn" -concurrency 1 -debug \
        >"$dir/cutechess.log" 2>&1 </dev/null
}
