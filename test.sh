#!/usr/bin/env bash
# Builds Orvo and runs every test: the release build with its unit and
# end-to-end tests, games and an analysis under real front ends (the xboard
# GUI and cutechess-cli), the installation (cmake --install into a scratch
# prefix) with bitbase games of the installed engine under cutechess-cli,
# the Debian package (lintian, built twice and compared, on an emulated
# baseline processor, from xboard's engine list), then the same tests
# under AddressSanitizer and UndefinedBehaviorSanitizer. Installs missing packages with apt-get.
#
#   ORVO_LONG_TESTS=1       adds the deep perft runs and sixty bitbase games
#   ORVO_FRONTEND_GAMES=N   plays N games in every front-end configuration
#                           (default: a quick set of a few games)
#   ORVO_SOAK=1             adds the long soak under cutechess-cli and xboard
#                           (ORVO_SOAK_GAMES games in all, default 1000)
#   ORVO_FUZZ_SECONDS=N     seconds per fuzz target (default 60)
#   ORVO_FUZZ_LONG=1        10,000,000 executions per fuzz target instead
set -euo pipefail
cd "$(dirname "$0")"
source ./scripts/packages.sh
need_packages g++ cmake make libgtest-dev libgmock-dev python3
# The bitbase library and its tables; the .deb; the bitbase games.
need_packages libgaviotatb-dev gaviotatb dpkg-dev file fairymax libqt5core5a

jobs=$(nproc 2>/dev/null || echo 2)
games=${ORVO_FRONTEND_GAMES:-}

# The build configurations are in CMakePresets.json.
echo "== release build"
cmake --preset release
cmake --build --preset release -j"$jobs"
(cd build && ctest --output-on-failure -j"$jobs")

echo "== the search's signature: orvo bench"
signature=$(build/engine/orvo bench | tail -1)
echo "$signature"
case $signature in
  "19249141 nodes "*) ;;
  *) echo "orvo bench: the node total is not the search's signature 19249141"; exit 1 ;;
esac

orvo=$PWD/build/engine/orvo
echo "== front end: Orvo (UCI, through polyglot) against fairymax under xboard"
./tests/gui/run_gui_games.sh "$orvo" "${games:-4}" </dev/null
echo "== front end: Orvo (xboard, started by xboard itself, pondering) against fairymax under xboard"
GUI_PROTOCOL=xboard GUI_PONDER=1 ./tests/gui/run_gui_games.sh "$orvo" "${games:-2}" </dev/null
echo "== front end: Orvo analyses a game in xboard's analysis mode"
./tests/gui/run_gui_analysis.sh "$orvo" </dev/null
echo "== front end: the same analysis on the UCI side through polyglot, with MultiPV 4"
GUI_PROTOCOL=uci GUI_FIRST_OPTIONS="MultiPV=4" ./tests/gui/run_gui_analysis.sh "$orvo" </dev/null
echo "== front end: cutechess-cli, xboard and UCI, against fairymax and phalanx"
./tests/gui/cutechess_games.sh "$orvo" $games </dev/null
echo "== front end: a game against fairymax from a book Orvo builds itself with create"
./tests/book/gui_book_game.sh "$orvo" </dev/null
if [ "${ORVO_SOAK:-0}" = 1 ]; then
  echo "== soak: ${ORVO_SOAK_GAMES:-1000} games at 2+0.02 under cutechess-cli and xboard"
  ./tests/gui/soak.sh "$orvo" "${ORVO_SOAK_GAMES:-1000}" </dev/null
fi

echo "== installation, and bitbase games of the installed engine under cutechess-cli"
./tests/install/check_install.sh build </dev/null
echo "== the Debian package: contents, lintian, two builds compared, installed, on a baseline processor (qemu), from xboard's engine list"
./tests/install/check_deb.sh "$PWD/build/engine/orvo" </dev/null
echo "== the README's installing section, followed in a scratch clone"
./tests/install/readme_install.sh </dev/null
echo "== the build of engine-testing frameworks: make EXE=NAME, then NAME bench"
./tests/install/framework_build.sh </dev/null

echo "== sanitizer build (ASan + UBSan)"
cmake --preset sanitize
cmake --build --preset sanitize -j"$jobs"
(cd build-asan && ASAN_OPTIONS=detect_leaks=0 UBSAN_OPTIONS=print_stacktrace=1 \
   ctest --output-on-failure -j"$jobs")

echo "== ThreadSanitizer build: the threaded tests (helper searches, Threads, MultiPV)"
cmake --preset tsan
cmake --build --preset tsan -j"$jobs" --target orvo search_thread_tests threads_e2e_tests
# A report ends the process at once, so the test that caused it fails.
(cd build-tsan && TSAN_OPTIONS="halt_on_error=1 abort_on_error=1 second_deadlock_stack=1" \
   ctest --output-on-failure -j"$jobs" -L threads)

echo "== fuzzing (clang, libFuzzer, ASan + UBSan): every target for 60 s, one per core at a time"
./fuzz/run_fuzzers.sh </dev/null
