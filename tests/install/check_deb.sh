#!/usr/bin/env bash
# Orvo's Debian package, checked as a Debian maintainer would:
#   1. packaging/build_deb.sh builds it from a copy of the source tree. It
#      holds the files that the manual page and the README name, none in
#      /usr/bin, the link to the tables relative; its binaries are stripped,
#      PIE, with RELRO, BIND_NOW, the stack protector and fortified calls;
#      every hardening flag that dpkg-buildflags gives on amd64 (but its -O2
#      and -g) is on the compile and link lines of both engine builds; and
#      no file names the folders it was built in;
#   2. lintian --pedantic finds no error and no warning (E: or W:);
#   3. a second build, from a copy of the tree in other folders, gives a
#      package equal to the first, byte for byte;
#   4. apt-get installs it. The installed orvo starts the engine built for
#      this processor (x86-64-v2 when it has popcnt and SSE4.2) and
#      ORVO_CPU=x86-64 the baseline one; the banner's date is the build's;
#      both search as the local build does (the same node count on bench)
#      and their speed is printed beside the local build's; "test N" reads
#      its suite from /usr/share/orvo/epd;
#   5. on an emulated baseline processor (qemu-x86_64 -cpu qemu64, from
#      Debian's qemu-user; skipped, saying so, where it cannot be installed):
#      the x86-64-v2 build dies of an illegal instruction, the installed
#      orvo chooses the baseline build, which answers bench with the same
#      node count as natively and plays a game against fairymax under
#      cutechess-cli (when cutechess-cli is there);
#   6. xboard, under Xvfb, takes Orvo into its engine list from the
#      package's plugin file as at its first start after the installation,
#      then plays a game against fairymax with Orvo loaded from that list
#      ("-fe orvo", as Engine > Load New Engine does), run and judged by
#      tests/gui/run_gui_games.sh; xboard's log shows Orvo started from the
#      plugin's folder with its bitbases.
#
#   tests/install/check_deb.sh [LOCAL_ORVO]
#
# LOCAL_ORVO is an engine built locally (test.sh passes build/engine/orvo)
# whose node count and speed the package's builds are put beside. Installs
# the packages it needs (and the .deb) with apt-get, as root or through
# sudo; leaves Orvo's package installed. JOBS sets the build's parallel
# jobs. The last line is "N passed, N failed"; the exit status is 0 only
# when everything passed.
set -u -o pipefail

me=$(basename "$0")
[ $# -le 1 ] || { echo "usage: $me [LOCAL_ORVO]" >&2; exit 2; }
local_orvo=${1:-}
[ -z "$local_orvo" ] || [ -x "$local_orvo" ] || { echo "$me: '$local_orvo' is not an executable" >&2; exit 2; }
src=$(cd "$(dirname "$0")/../.." && pwd)
source "$src/scripts/packages.sh"
sudo=""
[ "$(id -u)" -ne 0 ] && sudo=sudo

work=$(mktemp -d "${TMPDIR:-/tmp}/orvo-check-deb.XXXXXX") || exit 2
epd_suite=
xvfb_pid=
cleanup() {
  [ -n "$epd_suite" ] && $sudo rm -f "$epd_suite"
  [ -n "$xvfb_pid" ] && kill "$xvfb_pid" 2>/dev/null
  rm -rf "$work"
}
trap cleanup EXIT

source "$src/scripts/checks.sh"
finish() {
  report
  exit
}
note() { echo "$me: $*"; }
die() { echo "$me: $*" >&2; exit 2; }

# The source tree as it stands (committed or not, without build folders),
# copied to DIR. Both builds are dated by the last commit.
copy_tree() {
  mkdir -p "$1" || return 1
  if git -C "$src" rev-parse --git-dir >/dev/null 2>&1; then
    # Tracked files deleted in the tree are left out.
    (cd "$src" && git ls-files -co --exclude-standard -z |
      xargs -0 sh -c 'for f; do [ -e "$f" ] && printf "%s\0" "$f"; done' _ |
      tar --null -T - -cf -) | (cd "$1" && tar -xf -)
  else
    (cd "$src" && tar --exclude='./build*' -cf - .) | (cd "$1" && tar -xf -)
  fi
}
if [ -z "${SOURCE_DATE_EPOCH:-}" ]; then
  SOURCE_DATE_EPOCH=$(git -C "$src" log -1 --format=%ct 2>/dev/null) || SOURCE_DATE_EPOCH=
fi
if [ -n "$SOURCE_DATE_EPOCH" ]; then export SOURCE_DATE_EPOCH; else unset SOURCE_DATE_EPOCH; fi

# Runs ORVO [ARGS...] bench DEPTH: prints its last line, "N nodes M nps".
bench_line() {
  local depth=$1
  shift
  "$@" bench "$depth" 2>/dev/null | tail -1
}

# ---------------------------------------------------------------- 1. build
version=$(sed -n '1s/^orvo (\([^)]*\)).*/\1/p' "$src/packaging/changelog")
copy_tree "$work/first/src" || die "cannot copy the source tree"
note "building the package (version $version) from a copy of the tree in $work/first"
if ! "$work/first/src/packaging/build_deb.sh" "$work/first/build" "$work/first/out" >"$work/first.log" 2>&1; then
  tail -30 "$work/first.log"
  die "the package build failed"
fi
deb=$(ls "$work"/first/out/orvo_*.deb)
check "the package is orvo_${version}_amd64.deb" test "$(basename "$deb")" = "orvo_${version}_amd64.deb"
dpkg-deb -c "$deb" | awk '{ print $6 ($7 ? " " $7 " " $8 : "") }' >"$work/contents"
for path in ./usr/games/orvo ./usr/lib/orvo/orvo-x86-64 ./usr/lib/orvo/orvo-x86-64-v2 \
    ./usr/lib/orvo/egbb/egbbdll.dll ./usr/share/orvo/Orvo214.ini ./usr/share/orvo/epd/README \
    ./usr/share/games/plugins/xboard/orvo.eng ./usr/share/games/plugins/logos/orvo.png \
    ./usr/share/man/man6/orvo.6.gz ./usr/share/doc/orvo/copyright \
    ./usr/share/doc/orvo/changelog.Debian.gz ./usr/share/lintian/overrides/orvo; do
  check "the package holds $path" grep -qx -- "$path" "$work/contents"
done
check "the package has nothing in /usr/bin" sh -c "! grep -q '^\./usr/bin/' '$work/contents'"
check "the link to the tables is relative" \
  grep -qx -- './usr/lib/orvo/egbb/gaviota -> ../../../share/gaviotatb/gtb4' "$work/contents"
check "the package's section is games" test "$(dpkg-deb -f "$deb" Section)" = games
depends=$(dpkg-deb -f "$deb" Depends)
note "Depends: $depends"
check "the package depends on libgaviotatb1 and gaviotatb" \
  sh -c "echo '$depends' | grep -q 'libgaviotatb1' && echo '$depends' | grep -qw 'gaviotatb'"
check "the maintainer is the project's list" \
  test "$(dpkg-deb -f "$deb" Maintainer)" = "Orvo developers <orvo-devel@lists.orvo-chess.org>"

x=$work/first/x
dpkg-deb -x "$deb" "$x"
for f in usr/games/orvo usr/lib/orvo/orvo-x86-64 usr/lib/orvo/orvo-x86-64-v2 usr/lib/orvo/egbb/egbbdll.dll; do
  check "$f is stripped" sh -c "! readelf -SW '$x/$f' | grep -q -e '\.symtab' -e '\.debug_' -e '\.comment'"
  check "$f binds now (BIND_NOW)" sh -c "readelf -dW '$x/$f' | grep -q 'BIND_NOW'"
  check "$f has RELRO" sh -c "readelf -lW '$x/$f' | grep -q GNU_RELRO"
  check "$f uses the stack protector" sh -c "nm -D '$x/$f' | grep -q __stack_chk_fail"
  check "$f uses the fortified calls" sh -c "nm -D '$x/$f' | grep -q '__[a-z]*_chk@'"
done
for f in usr/games/orvo usr/lib/orvo/orvo-x86-64 usr/lib/orvo/orvo-x86-64-v2; do
  check "$f is a PIE" sh -c "readelf -hW '$x/$f' | grep -q 'Type:.*DYN'"
done
check "the package's example settings name /usr/lib/orvo/egbb/" \
  grep -qx 'egbb_path=/usr/lib/orvo/egbb/' "$x/usr/share/orvo/Orvo214.ini"
check "the logo is the one make_logo.py draws (100 by 50, RGB)" \
  python3 "$src/packaging/make_logo.py" --check "$x/usr/share/games/plugins/logos/orvo.png"
check "the xboard plugin file runs /usr/games/orvo in /usr/share/orvo" \
  test "$(sed -n 2p "$x/usr/share/games/plugins/xboard/orvo.eng")" = "cd /usr/share/orvo;/usr/games/orvo"
check "no file of the package names the folders it was built in" \
  sh -c "! grep -rlaF '$work' '$x'"

# The hardening flags that dpkg-buildflags gives (with hardening=+all, as
# Debian's packages are built) are on every compile and link line of both
# engine builds, but -O2 and -g (the build type's level; no debug
# information) and -ffile-prefix-map (the build's own prefix maps instead).
flags=$(DEB_BUILD_MAINT_OPTIONS=hardening=+all dpkg-buildflags --get CXXFLAGS)
flags="$flags $(DEB_BUILD_MAINT_OPTIONS=hardening=+all dpkg-buildflags --get CPPFLAGS)"
ldflags=$(DEB_BUILD_MAINT_OPTIONS=hardening=+all dpkg-buildflags --get LDFLAGS)
note "dpkg-buildflags: $flags | $ldflags"
for build in "$work/first/build" "$work/first/build/v2/build"; do
  commands=$build/compile_commands.json
  check "$build has its compile commands" test -s "$commands"
  engine_lines=$(grep '"command"' "$commands" | grep -c -e '/engine/' -e '/search/')
  check "$build compiled the engine" test "$engine_lines" -gt 0
  for flag in $flags; do
    case $flag in -O* | -g | -g[0-9] | -ffile-prefix-map=*) continue ;; esac
    check "$flag on every compile line of $build" \
      test "$(grep '"command"' "$commands" | grep -c -e "[[:space:]]$flag[[:space:]]" -e "[[:space:]]$flag\"")" \
        -eq "$(grep -c '"command"' "$commands")"
  done
  for flag in $ldflags; do
    check "$flag on the engine's link line in $build" \
      grep -qF -- " $flag " "$build/engine/CMakeFiles/orvo.dir/link.txt"
  done
done

# ---------------------------------------------------------------- 2. lintian
need_packages lintian >/dev/null || die "cannot install lintian"
lintian --pedantic --display-info --show-overrides "$deb" >"$work/lintian.txt" 2>/dev/null
note "lintian --pedantic --display-info --show-overrides:"
sed 's/^/    /' "$work/lintian.txt"
for kind in E W I P X O; do
  printf '%s %s  ' "$kind:" "$(grep -c "^$kind: " "$work/lintian.txt")"
done
echo
check "lintian --pedantic: no error" sh -c "! grep -q '^E: ' '$work/lintian.txt'"
check "lintian --pedantic: no warning" sh -c "! grep -q '^W: ' '$work/lintian.txt'"

# ---------------------------------------------------------- 3. reproducible
second=$work/second/somewhere/else
copy_tree "$second/orvo" || die "cannot copy the source tree"
note "building it again from $second/orvo"
if ! "$second/orvo/packaging/build_deb.sh" "$second/b" "$second/debs" >"$work/second.log" 2>&1; then
  tail -30 "$work/second.log"
  die "the second package build failed"
fi
deb2=$(ls "$second"/debs/orvo_*.deb)
if cmp "$deb" "$deb2"; then
  note "the two builds gave the same package: $(sha256sum <"$deb" | cut -c1-16)..."
else
  note "the two packages differ:"
  diff <(dpkg-deb -c "$deb") <(dpkg-deb -c "$deb2") | head -20
fi
check "two builds in other folders give the same package, byte for byte" cmp -s "$deb" "$deb2"

# ---------------------------------------------------------------- 4. install
installed=$work/installed.deb
cp "$deb" "$installed"
$sudo apt-get install -y -qq --reinstall --allow-downgrades "$installed" >"$work/apt.log" 2>&1 ||
  { tail -20 "$work/apt.log"; die "apt-get could not install the package"; }
check "apt-get installed version $version" \
  test "$(dpkg-query -W -f='${Version}' orvo 2>/dev/null)" = "$version"

v2_flags="popcnt sse4_2 sse4_1 ssse3 pni cx16 lahf_lm"
level=x86-64-v2
for f in $v2_flags; do grep -qw "$f" /proc/cpuinfo || level=x86-64; done
when=
[ -n "${SOURCE_DATE_EPOCH:-}" ] && when="$(date -u -d "@$SOURCE_DATE_EPOCH" '+%Y-%m-%d %H:%M:%S UTC') "
banner=$(printf 'quit\n' | /usr/games/orvo 2>/dev/null | sed -n 2p)
note "/usr/games/orvo: $banner"
check "on this processor /usr/games/orvo starts the $level build" \
  sh -c "printf '%s\n' '$banner' | grep -q '^built ${when}for $level with '"
banner=$(printf 'quit\n' | ORVO_CPU=x86-64 /usr/games/orvo 2>/dev/null | sed -n 2p)
check "ORVO_CPU=x86-64 starts the baseline build" \
  sh -c "printf '%s\n' '$banner' | grep -q '^built ${when}for x86-64 with '"
ORVO_CPU=486 /usr/games/orvo </dev/null >/dev/null 2>"$work/bad-cpu"
status=$?
check "ORVO_CPU=486 is refused" sh -c "[ $status -eq 1 ] && grep -q 'ORVO_CPU must be' '$work/bad-cpu'"

# The two builds and the local one search alike; their speed side by side.
v2_line="(not on this processor)"
[ "$level" = x86-64-v2 ] && v2_line=$(bench_line 8 env ORVO_CPU=x86-64-v2 /usr/games/orvo)
base_line=$(bench_line 8 env ORVO_CPU=x86-64 /usr/games/orvo)
note "bench, package, x86-64-v2 build: $v2_line"
note "bench, package, x86-64 build:    $base_line"
check "the baseline build answers bench" sh -c "echo '$base_line' | grep -q '^[0-9]* nodes [0-9]* nps$'"
[ "$level" = x86-64-v2 ] &&
  check "both builds of the package search the same tree" test "${v2_line%% nodes*}" = "${base_line%% nodes*}"
if [ -n "$local_orvo" ]; then
  local_line=$(bench_line 8 "$local_orvo")
  note "bench, local build ($(printf 'quit\n' | "$local_orvo" 2>/dev/null | sed -n 2p)): $local_line"
  check "the package searches the same tree as the local build" test "${base_line%% nodes*}" = "${local_line%% nodes*}"
fi

# "test N" reads /usr/share/orvo/epd/suiteN.epd: a suite of one mate in one
# under the first free name.
for n in 1 2 3 4 5 6 7 8 9; do
  [ -e "/usr/share/orvo/epd/suite$n.epd" ] && continue
  epd_suite=/usr/share/orvo/epd/suite$n.epd
  echo '6k1/5ppp/8/8/8/8/8/R5K1 w - - bm Ra8#; id "back rank";' | $sudo tee "$epd_suite" >/dev/null
  epd_out=$(printf 'xboard\nsd 3\ntest %s\n' "$n" | timeout 60 /usr/games/orvo 2>/dev/null)
  check "test $n reads $epd_suite" sh -c "printf '%s\n' \"\$1\" | grep -qx '$epd_suite'" _ "$epd_out"
  check "test $n solves its suite" sh -c "printf '%s\n' \"\$1\" | grep -q 'total test: 1 solved: 1 '" _ "$epd_out"
  $sudo rm -f "$epd_suite"
  epd_suite=
  break
done

# -------------------------------------------------- 5. a baseline processor
if need_packages qemu-user >/dev/null 2>&1 && command -v qemu-x86_64 >/dev/null; then
  qemu=(qemu-x86_64 -cpu qemu64)
  "${qemu[@]}" /usr/lib/orvo/orvo-x86-64-v2 bench 1 >/dev/null 2>&1
  status=$?
  note "qemu-x86_64 -cpu qemu64 /usr/lib/orvo/orvo-x86-64-v2 bench 1: exit status $status"
  check "the emulated processor has no x86-64-v2: that build dies of an illegal instruction" test "$status" -eq 132
  banner=$(printf 'quit\n' | "${qemu[@]}" /usr/games/orvo 2>/dev/null | sed -n 2p)
  note "qemu-x86_64 -cpu qemu64 /usr/games/orvo: $banner"
  check "on the emulated processor /usr/games/orvo starts the baseline build" \
    sh -c "printf '%s\n' '$banner' | grep -q 'for x86-64 with '"
  qemu_line=$(bench_line 5 "${qemu[@]}" /usr/lib/orvo/orvo-x86-64)
  native_line=$(bench_line 5 /usr/lib/orvo/orvo-x86-64)
  note "qemu-x86_64 -cpu qemu64 /usr/lib/orvo/orvo-x86-64 bench 5: $qemu_line (natively: $native_line)"
  check "the baseline build answers bench on the emulated processor as natively" \
    sh -c "[ -n '${qemu_line%% nodes*}' ] && [ '${qemu_line%% nodes*}' = '${native_line%% nodes*}' ]"

  source "$src/scripts/cutechess.sh"
  if find_cutechess "the game on the emulated processor"; then
    need_packages fairymax >/dev/null || die "cannot install fairymax"
    opponent_args fairymax
    games=$work/qemu-games
    mkdir -p "$games/orvo" "$games/opponent"
    printf '#!/bin/sh\nexec qemu-x86_64 -cpu qemu64 /usr/lib/orvo/orvo-x86-64 "$@"\n' >"$games/orvo-qemu64"
    chmod +x "$games/orvo-qemu64"
    note "a game of the baseline build on the emulated processor against fairymax (cutechess-cli, xboard protocol, 10+0.1)"
    run_cutechess "$games" 300 \
      -engine name=Orvo cmd="$games/orvo-qemu64" dir="$games/orvo" proto=xboard stderr="$games/orvo.stderr" \
      -engine "${opponent[@]}" dir="$games/opponent" -each tc=10+0.1 -games 1
    rc=$?
    report=$(python3 "$src/tests/gui/cutechess_report.py" "qemu64 vs fairymax" 10+0.1 1 \
      "$games/games.pgn" "$games/cutechess.log" "$rc")
    report_status=$?
    echo "$report"
    grep -m1 '^Finished game' "$games/cutechess.log"
    check "the baseline build played its game on the emulated processor to the end" test "$report_status" -eq 0
  fi
else
  note "skipping the baseline-processor checks: qemu-user (qemu-x86_64) cannot be installed here"
fi

# ------------------------------------------------------ 6. xboard's engine list
need_packages xboard xvfb fairymax polyglot >/dev/null || die "cannot install xboard"
export PATH="/usr/games:$PATH"
xb=$work/xboard
mkdir -p "$xb/home" "$xb/fairymax"
source "$src/scripts/xvfb.sh"
source "$src/scripts/opponents.sh"
fairymax=$(opponent_command fairymax)
# xboard's first start after the installation: with no settings file yet it
# reads every plugin file and adds their engines to its list, which it
# saves on leaving. It leaves after a one-game match of fairymax against
# itself from a mate in one.
echo '6k1/5ppp/8/8/8/8/8/R5K1 w - - 0 1' >"$xb/mate.fen"
settings=$xb/xboardrc
(
  work=$xb
  start_xvfb
  (cd "$xb" && HOME=$xb/home exec setsid xboard -settingsFile "$settings" -saveSettingsFile "$settings" \
    -saveSettingsOnExit true -fcp "$fairymax" -fd "$xb/fairymax" -scp "$fairymax" -sd "$xb/fairymax" \
    -matchGames 1 -loadPositionFile "$xb/mate.fen" -popupExitMessage false -soundMove "") \
    </dev/null >"$xb/first-start.log" 2>&1 &
  xb_pid=$!
  for _ in $(seq 1 240); do
    kill -0 "$xb_pid" 2>/dev/null || break
    sleep 0.5
  done
  stop_group "$xb_pid"
  wait "$xb_pid" 2>/dev/null
  kill "$xvfb_pid" 2>/dev/null
)
entry=$(sed -n '/^-firstChessProgramNames {/,/^}/p' "$settings" 2>/dev/null | grep orvo)
note "xboard's engine list after its first start: ${entry:-no Orvo}"
check "xboard took Orvo into its engine list from the plugin file" \
  test "$entry" = "/usr/games/orvo -fd /usr/share/orvo"

note "a game against fairymax with Orvo loaded from xboard's engine list (-fe orvo)"
GUI_FROM_LIST="orvo:$settings" GUI_ARTIFACTS="$xb/game" \
  "$src/tests/gui/run_gui_games.sh" /usr/games/orvo 1 </dev/null
gui_status=$?
check "Orvo from xboard's engine list played its game against fairymax" test "$gui_status" -eq 0
debug=$xb/game/xboard.debug
check "xboard started /usr/games/orvo in /usr/share/orvo, as the plugin says" \
  grep -qF 'StartChildProcess (dir="/usr/share/orvo") /usr/games/orvo' "$debug"
check "Orvo read the package's settings there and loaded its bitbases" \
  grep -q '<first *: EgbbProbe Loaded!' "$debug"
check "xboard played Orvo (its name in the PGN)" grep -q '^\[White "Orvo' "$xb/game/games.pgn"

finish
