#!/usr/bin/env bash
# Builds Orvo's Debian package, orvo_VERSION-REVISION_amd64.deb, from this
# source tree: the "package" preset of CMakePresets.json (ORVO_PACKAGE: the
# engine for baseline x86-64 and for x86-64-v2 behind a dispatcher, with
# Debian's hardening flags; see packaging/Package.cmake), then cpack.
# Installs missing build packages with apt-get.
#
#   packaging/build_deb.sh [BUILD_DIR [OUT_DIR]]
#
# BUILD_DIR defaults to build-package/ in the source tree, OUT_DIR (where
# the .deb goes) to BUILD_DIR. The build date is SOURCE_DATE_EPOCH's when
# it is set, else the last commit's: two builds of one commit give the same
# package, byte for byte, wherever they are made. JOBS sets the parallel
# jobs (default: the number of processors). The last line printed is
# "package: PATH".
set -euo pipefail
src=$(cd "$(dirname "$0")/.." && pwd)
build=${1:-$src/build-package}
out=${2:-$build}
mkdir -p "$build" "$out"
build=$(cd "$build" && pwd)
out=$(cd "$out" && pwd)

source "$src/scripts/packages.sh"
need_packages g++ cmake make dpkg-dev file libgaviotatb-dev gaviotatb

(cd "$src" && cmake --preset package -B "$build")
# The builds that this one makes at build time configure themselves then:
# the engine for x86-64-v2 and, with ORVO_OPTIMIZE, the profiling builds.
# Any of them not handed the package's compiler and linker flags takes them
# from here, so that every object of the package is hardened alike and a
# profile is read by code compiled as the code that wrote it.
CXXFLAGS=$(sed -n 's/^ORVO_PACKAGE_CXXFLAGS:INTERNAL=//p' "$build/CMakeCache.txt")
LDFLAGS=$(sed -n 's/^ORVO_PACKAGE_LDFLAGS:INTERNAL=//p' "$build/CMakeCache.txt")
export CXXFLAGS LDFLAGS
cmake --build "$build" -j"${JOBS:-$(nproc 2>/dev/null || echo 2)}"
rm -f "$out"/orvo_*.deb
(cd "$build" && cpack -B "$out")
deb=$(ls "$out"/orvo_*_amd64.deb)
echo "package: $deb"
