#!/usr/bin/env bash
# Follows the README's "Installing" section literally, in a scratch clone
# of the repository and a scratch prefix and home directory:
#   1. the commands between the README's install markers, with /usr/local
#      and ~/orvo standing for the scratch prefix and directory (and sudo
#      left out where it is not needed); the last of them must show the
#      installed orvo loading its bitbases;
#   2. the installed engine takes the tables' score in a search of king and
#      queen against king;
#   3. the same clone configured as on a machine without libgaviotatb-dev:
#      the configure step says so, no bitbase file is installed, the example
#      settings file leaves egbb_path commented out, and Orvo plays on
#      without bitbases.
#
#   tests/install/readme_install.sh
#
# The last line is "N passed, N failed"; the exit status is 0 only when
# everything passed.
set -u -o pipefail

me=$(basename "$0")
src=$(cd "$(dirname "$0")/../.." && pwd)
scratch=$(mktemp -d "${TMPDIR:-/tmp}/orvo-readme-install.XXXXXX") || exit 2
trap 'rm -rf "$scratch"' EXIT
clone=$scratch/clone prefix=$scratch/prefix home=$scratch/home

source "$src/scripts/checks.sh"

# A fresh clone has what is committed; a copy of the tree stands in where
# the sources are not a git repository.
if git -C "$src" rev-parse --git-dir >/dev/null 2>&1; then
  git clone -q "$src" "$clone" || { echo "$me: git clone failed"; exit 1; }
else
  mkdir -p "$clone" && (cd "$src" && tar --exclude='./build*' -cf - .) | (cd "$clone" && tar -xf -)
fi

# The commands, as the README has them.
commands=$(sed -n '/^<!-- install: the commands/,/^<!-- install: end -->/p' "$clone/README.md" |
  sed -n 's/^    //p')
check "the README's install section holds commands" test -n "$commands"
sudo_free=$commands
if [ "$(id -u)" -eq 0 ]; then
  sudo_free=$(printf '%s\n' "$commands" | sed 's/^sudo //; s/&& sudo /\&\& /')
else
  # The scratch prefix is ours: only the package installation needs root.
  sudo_free=$(printf '%s\n' "$commands" | sed 's/^sudo cmake /cmake /')
fi
script=$(printf '%s\n' "$sudo_free" | sed "s|/usr/local|$prefix|g; s|~/orvo|$home/orvo|g")
echo "$me: following the README in $clone:"
printf '%s\n' "$script" | sed 's/^/    /'
output=$(cd "$clone" && bash -e -c "$script" 2>&1)
status=$?
check "the README's install commands succeed" test "$status" -eq 0
[ "$status" -eq 0 ] || printf '%s\n' "$output" | tail -20
check "the installed orvo loads its bitbases" sh -c "printf '%s\n' \"\$1\" | grep -qx 'EgbbProbe Loaded!'" _ "$output"
check "the example settings file is in the orvo directory" test -f "$home/orvo/Orvo214.ini"
check "games/orvo is the installed engine" test "$(readlink -f "$prefix/games/orvo")" = "$prefix/bin/orvo"
check "the manual page is installed" gzip -t "$prefix/share/man/man6/orvo.6.gz"

# King and queen against king: the score is the tables' (3000 less the
# plies to mate), far above any evaluation.
search=$(cd "$home/orvo" && printf 'uci\nisready\nposition fen 8/8/8/4k3/8/8/2Q5/K7 w - - 0 1\ngo depth 6\n' |
  timeout 60 "$prefix/games/orvo" 2>/dev/null | sed -n '/^bestmove/q;p')
score=$(printf '%s\n' "$search" | sed -n 's/^info depth .* score cp \([0-9-]*\) .*/\1/p' | tail -1)
echo "$me: the installed orvo scores KQK at ${score:-nothing}"
check "the installed orvo takes the tables' score" test "${score:-0}" -gt 2900

# A machine without libgaviotatb-dev: find_path and find_library cannot
# see the system folders, as they would not find the package's files.
without=$scratch/without prefix2=$scratch/prefix-without
configure=$(cd "$clone" && cmake --preset engine -B "$without" \
  "-DCMAKE_IGNORE_PATH=/usr/include;/usr/lib;/usr/lib/x86_64-linux-gnu" 2>&1)
check "without libgaviotatb-dev the configure step says so" \
  sh -c "printf '%s\n' \"\$1\" | grep -q 'libgaviotatb-dev not found: the bitbase library is not built'" _ "$configure"
(cmake --build "$without" -j"$(nproc)" && cmake --install "$without" --prefix "$prefix2") >/dev/null 2>&1
check "without it the engine still builds and installs" test -x "$prefix2/bin/orvo"
check "without it no bitbase library is installed" test ! -e "$prefix2/lib/orvo/egbb/egbbdll.dll"
check "without it the example settings file leaves egbb_path out" \
  sh -c "! grep -q '^egbb_path=' '$prefix2/share/orvo/Orvo214.ini' && grep -q '^#egbb_path=' '$prefix2/share/orvo/Orvo214.ini'"
mkdir -p "$home/without" && cp "$prefix2/share/orvo/Orvo214.ini" "$home/without/"
plain=$(cd "$home/without" && printf 'xboard\nquit\n' | timeout 20 "$prefix2/games/orvo" 2>/dev/null)
check "without it Orvo plays on without bitbases" sh -c "printf '%s\n' \"\$1\" | grep -qx 'EgbbProbe not Loaded!'" _ "$plain"

report
