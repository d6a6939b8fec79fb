#!/usr/bin/env bash
# The main job: builds the plug-in with the default platform and the srpolicy
# tool, a BGP host of the plug-in, and decodes the bundled sample: every SR
# Policy route with its key line, attribute text and route check. Extra
# arguments go to `srpolicy decode` (for instance --json).
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/deps.sh build-essential cmake ninja-build libpcap-dev nlohmann-json3-dev rapidjson-dev libcli11-dev

cmake -S . -B build/run -G Ninja -DCMAKE_BUILD_TYPE=Release -DBOL_BUILD_TESTS=OFF -DBOL_BUILD_BENCH=OFF >/dev/null
cmake --build build/run --target srpolicy >/dev/null
./build/run/tools/srpolicy decode --sample "$@"
