#!/usr/bin/env bash
# Builds Orvo (release) and starts the engine on this terminal. Installs
# missing build packages with apt-get.
set -euo pipefail
cd "$(dirname "$0")"
source ./scripts/packages.sh
need_packages g++ cmake make
cmake -S . -B build-engine -DCMAKE_BUILD_TYPE=Release -DORVO_TESTS=OFF -DORVO_BENCH=OFF >/dev/null
cmake --build build-engine -j"$(nproc 2>/dev/null || echo 2)" >/dev/null
exec ./build-engine/engine/orvo
