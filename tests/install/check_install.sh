#!/usr/bin/env bash
# Installs Orvo as a user would and plays with the installed engine:
#   1. cmake --install of BUILD into a scratch prefix; the files are where
#      the manual page and the README say, and the example settings file
#      names the installed bitbase folder;
#   2. the installed orvo, started from its installed path (games/orvo)
#      with a copy of the installed example settings file, plays bitbase
#      games against fairymax under cutechess-cli in UCI mode, the
#      bitbases loaded: two endings of king and queen and of king and
#      rook and one of each kind of pawn ending; twenty, twenty, ten and
#      ten with ORVO_LONG_TESTS=1.
# The Debian package has a check of its own: tests/install/check_deb.sh.
#
#   tests/install/check_install.sh BUILD
#
# The last line is "N passed, N failed"; the exit status is 0 only when
# everything passed.
set -u -o pipefail

me=$(basename "$0")
[ $# -eq 1 ] || { echo "usage: $me BUILD" >&2; exit 2; }
build=$(cd "$1" && pwd) || exit 2
src=$(cd "$(dirname "$0")/../.." && pwd)

prefix=$(mktemp -d "${TMPDIR:-/tmp}/orvo-prefix.XXXXXX") || exit 2
trap 'rm -rf "$prefix"' EXIT

source "$src/scripts/checks.sh"

echo "$me: cmake --install into $prefix"
cmake --install "$build" --prefix "$prefix" >/dev/null || { echo "$me: install failed"; exit 1; }
check "bin/orvo is an executable" test -x "$prefix/bin/orvo"
check "games/orvo links to bin/orvo" test "$(readlink -f "$prefix/games/orvo")" = "$prefix/bin/orvo"
check "the manual page is in section 6" gzip -t "$prefix/share/man/man6/orvo.6.gz"
check "the manual page names the ini keys" \
  sh -c "gzip -dc '$prefix/share/man/man6/orvo.6.gz' | grep -q egbb_path"
check "the bitbase library is installed" test -f "$prefix/lib/orvo/egbb/egbbdll.dll"
check "the tables are linked beside it" \
  sh -c "ls '$prefix/lib/orvo/egbb/gaviota/' | grep -q 'krk.gtb.cp4'"
check "the example ini names the bitbase folder" \
  grep -qx "egbb_path=$prefix/lib/orvo/egbb/" "$prefix/share/orvo/Orvo214.ini"

n=2
[ "${ORVO_LONG_TESTS:-0}" = 1 ] && n=20
echo "$me: games of the installed $prefix/games/orvo"
games_out=$("$src/tests/tools/egbb_games.sh" "$prefix/games/orvo" \
  "$build/tests/tools/egbb_positions" "$prefix/share/orvo/Orvo214.ini" "$n")
games_status=$?
echo "$games_out"
check "the installed orvo played its bitbase games as the tables say" test "$games_status" -eq 0

report
