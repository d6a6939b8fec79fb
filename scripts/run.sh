#!/usr/bin/env bash
# The main job: builds the plug-in with the default platform and the srpolicy
# tool, a BGP host of the plug-in, and decodes the bundled sample: every SR
# Policy route with its key line, attribute text and route check. Extra
# arguments go to `srpolicy decode` (for instance --json).
set -euo pipefail
cd "$(dirname "$0")/.."

echo "srpolicy: checking the build packages (build-essential cmake ninja-build libpcap-dev nlohmann-json3-dev rapidjson-dev libcli11-dev) ..." >&2
scripts/deps.sh build-essential cmake ninja-build libpcap-dev nlohmann-json3-dev rapidjson-dev libcli11-dev

echo "srpolicy: configuring and building the plug-in and the tool in build/run (about a minute the first time) ..." >&2
cmake -S . -B build/run -G Ninja -DCMAKE_BUILD_TYPE=Release -DBOL_BUILD_TESTS=OFF -DBOL_BUILD_BENCH=OFF >/dev/null
cmake --build build/run --target srpolicy 2>&1 |
  awk '/^\[[0-9]+\/[0-9]+\]/ { if (++n % 10 == 1) { print "  compiling: " $1; fflush() } next } { print; fflush() }' >&2
echo "srpolicy: built $(pwd)/build/run/tools/srpolicy; decoding the bundled sample (samples/all_subtlvs.hex):" >&2
echo "srpolicy: on your own files: build/run/tools/srpolicy decode FILE... (hex, raw, pcap/pcapng, MRT; --json, --help)" >&2
./build/run/tools/srpolicy decode --sample "$@"
