#!/usr/bin/env bash
# Static analysis of the plug-in and the platform (src/, platform/):
# clang-tidy with the checked-in .clang-tidy, and cppcheck with the checked-in
# .cppcheck-suppressions. Any finding fails.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/deps.sh clang clang-tidy cppcheck cmake ninja-build

cmake -S . -B build/tidy -G Ninja -DCMAKE_EXPORT_COMPILE_COMMANDS=ON -DCMAKE_CXX_COMPILER=clang++ \
  -DCMAKE_C_COMPILER=clang -DBOL_BUILD_TESTS=OFF -DBOL_BUILD_BENCH=OFF -DBOL_BUILD_EXAMPLES=OFF -DBOL_BUILD_TOOLS=OFF >/dev/null

echo "=== clang-tidy: src/ platform/"
# (Its count of warnings it suppressed in system headers is left out.)
set +e
clang-tidy -p build/tidy --quiet src/*.cpp platform/*.cpp 2>&1 | grep -v 'warnings\? generated\.$'
tidy_status=${PIPESTATUS[0]}
set -e
[ "$tidy_status" -eq 0 ] || { echo "clang-tidy: findings"; exit 1; }

echo "=== cppcheck: src/ platform/"
cppcheck --enable=warning,style,performance,portability --std=c++17 --language=c++ --inline-suppr \
  --suppressions-list=.cppcheck-suppressions --error-exitcode=1 --quiet \
  -I include -I platform -I src src platform
echo "=== static analysis: no findings"
