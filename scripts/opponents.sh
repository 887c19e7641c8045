# How the test scripts start an opponent engine, sourced by them.
#
# Debian's fairymax (5.0b) crashes at random on the "computer" command that
# xboard sends before a game, depending on where address space
# randomisation puts it: on some machines six starts in ten die with a
# segmentation fault, and the game breaks off at the first move. Started
# with randomisation off (setarch -R, from util-linux) it never does.
# cutechess-cli does not send "computer" and its games have not been seen
# to crash; it starts fairymax the same way all the same, so that no game
# of the tests depends on where the kernel places it.

# The command line that starts opponent NAME (a command on the PATH), as
# xboard's -fcp and -scp take it.
opponent_command() {
    case $1 in
        fairymax) echo "setarch -R fairymax" ;;
        *) echo "$1" ;;
    esac
}
