#!/usr/bin/env bash
# Line and branch coverage of the plug-in (src/) and its platform (platform/) by the library's own tests:
# a g++ --coverage build in build/coverage, its ctest run, then gcovr's summary.
#
#   bash scripts/coverage.sh          summary per file and in total
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/deps.sh build-essential cmake ninja-build googletest gcovr

dir=build/coverage
cmake -S . -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_COMPILER=g++ -DCMAKE_C_COMPILER=gcc \
  -DCMAKE_CXX_FLAGS=--coverage -DCMAKE_C_FLAGS=--coverage -DCMAKE_EXE_LINKER_FLAGS=--coverage \
  -DCMAKE_SHARED_LINKER_FLAGS=--coverage \
  -DBOL_BUILD_TOOLS=OFF -DBOL_BUILD_BENCH=OFF -DBOL_BUILD_EXAMPLES=OFF >/dev/null
cmake --build "$dir" -j 2
# Counts from an earlier run would add up with this one's.
find "$dir" -name '*.gcda' -delete
ctest --test-dir "$dir" -j 2 --timeout 600 >"$dir/ctest.log" || { cat "$dir/ctest.log"; exit 1; }

gcovr --root . --object-directory "$dir" --exclude-directories ".*/CMakeFiles/[0-9][^/]*" --filter 'src/' --filter 'platform/' \
  --exclude-unreachable-branches --print-summary --txt "$dir/coverage.txt" | tail -3
cat "$dir/coverage.txt"
