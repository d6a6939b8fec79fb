#!/usr/bin/env bash
# The main job: builds the plug-in with the default platform and runs the
# example host, which constructs the plug-in, prints the type codes of its
# procedure table and destructs it.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/deps.sh build-essential cmake ninja-build

cmake -S . -B build/run -G Ninja -DCMAKE_BUILD_TYPE=Release -DBOL_BUILD_TESTS=OFF >/dev/null
cmake --build build/run --target example_host >/dev/null
./build/run/example_host "$@"
