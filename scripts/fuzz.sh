#!/usr/bin/env bash
# Builds the libFuzzer targets (clang, AddressSanitizer + UndefinedBehavior-
# Sanitizer) and runs each for a bounded time, one after the other, starting
# from its seed corpus in fuzz/corpus/<target>/. New inputs go to
# build/fuzz/corpus/<target>/, findings to build/fuzz/artifacts/.
#
#   scripts/fuzz.sh                 smoke run: 10 s per target
#   scripts/fuzz.sh 1800            long run: 30 minutes per target
#   scripts/fuzz.sh 60 fuzz_attr    one target
set -euo pipefail
cd "$(dirname "$0")/.."

seconds=${1:-10}
shift || true
targets=("$@")
[ ${#targets[@]} -eq 0 ] && targets=(fuzz_nlri fuzz_attr fuzz_keymsg fuzz_text_raw fuzz_cfg_tnlencap fuzz_attrmsg)

scripts/deps.sh clang libclang-rt-14-dev cmake ninja-build

cmake -S . -B build/fuzz -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_CXX_COMPILER=clang++ \
  -DCMAKE_C_COMPILER=clang -DBOL_WERROR=ON -DBOL_FUZZ=ON -DBOL_BUILD_TESTS=OFF -DBOL_BUILD_BENCH=OFF -DBOL_BUILD_TOOLS=OFF \
  -DBOL_BUILD_EXAMPLES=OFF >/dev/null
cmake --build build/fuzz -j 2

mkdir -p build/fuzz/artifacts
status=0
for t in "${targets[@]}"; do
  mkdir -p "build/fuzz/corpus/$t"
  log="build/fuzz/$t.log"
  echo "=== fuzz: $t for ${seconds} s"
  if ! "build/fuzz/fuzz/$t" -max_total_time="$seconds" -max_len=4096 -timeout=10 -rss_limit_mb=2048 \
      -print_final_stats=1 -artifact_prefix=build/fuzz/artifacts/ \
      "build/fuzz/corpus/$t" "fuzz/corpus/$t" >"$log" 2>&1; then
    echo "FAILED: $t (see $log)"
    grep -E "property violated|ERROR|SUMMARY|runtime error" "$log" | head -5 || true
    status=1
    continue
  fi
  execs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")
  cov=$( (grep -E '^#[0-9]+[[:space:]]+DONE' "$log" || true) | sed -E 's/.*cov: ([0-9]+) ft: ([0-9]+) corp: ([^ ]+).*/edges \1, features \2, corpus \3/')
  echo "$t: $execs executions, $cov"
done
exit $status
