#!/usr/bin/env bash
# Builds Orvo (release) and starts the engine on this terminal. Installs
# missing build packages with apt-get.
set -euo pipefail
cd "$(dirname "$0")"
source ./scripts/packages.sh
need_packages g++ cmake make
# The configurations are in CMakePresets.json.
cmake --preset engine >/dev/null
cmake --build --preset engine -j"$(nproc 2>/dev/null || echo 2)" >/dev/null
exec ./build-engine/engine/orvo
