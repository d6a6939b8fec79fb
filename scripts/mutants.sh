#!/usr/bin/env bash
# Mutation check on a fixed seed: plants small faults one at a time and counts
# the ones the tests miss (../shared/tools/mutants.py, or MUTANTS=path).
#
#   bash scripts/mutants.sh lib  [COUNT] [SEED]   src/ against the plug-in's unit tests (default 300, seed 1)
#   bash scripts/mutants.sh tool [COUNT] [SEED]   tools/ against the tool's tests (default 200, seed 1)
#
# The faults are planted in a copy of the working tree (build/mutants/<kind>/tree), never in the sources
# themselves; the survivors and the score are printed at the end and every outcome is written to
# build/mutants/<kind>/outcome.json. Too slow for every run of the test command (an hour or more on two
# cores), so it is not part of it: run it after changing code or tests and compare the score on the same seed.
set -euo pipefail
cd "$(dirname "$0")/.."

kind=${1:-}
seed=${3:-1}
tool=${MUTANTS:-../shared/tools/mutants.py}
[ -f "$tool" ] || { echo "mutants.sh: no mutation tool at $tool (set MUTANTS)"; exit 2; }
tool=$(realpath "$tool")

case "$kind" in
  lib)
    count=${2:-300}
    # Every source with code, except the 32-bit layout checks (static_asserts only).
    files=(src/*.cpp src/bol_srpolicy_priv.h src/bol_srpolicy_wire.h)
    target=bol_unit_tests
    test='tests/bol_unit_tests --gtest_brief=1'
    options=(-DBOL_BUILD_TOOLS=OFF -DBOL_BUILD_BENCH=OFF -DBOL_BUILD_EXAMPLES=OFF -DCMAKE_BUILD_TYPE=RelWithDebInfo)
    ;;
  tool)
    count=${2:-200}
    mapfile -t files < <(git ls-files 'tools/*.cpp' | grep -v '^tools/tests/' | grep -v '^tools/bench/')
    # Only what a fault in tools/ changes is rebuilt: the binary and the tool's unit tests.
    target='srpolicy srpolicy_tool_tests'
    # The tool's unit tests, its end-to-end runs of the binary, the live sessions with a scripted peer or
    # router and one session through gobgpd (announce, listen, a reload): seconds each. The other runs
    # through gobgpd and the 100,000-route run are left out (tens of seconds to minutes each). A unit or
    # end-to-end test still running after 20 s is a fault that made the binary loop; the live tests keep
    # their own time bounds.
    test='cd tools && ctest -j2 -E "live\.(announce_passive|md5|bulk)|bmp\.gobgpd" --timeout 20'
    # Release: no debug information to write and link into three binaries for every mutant.
    options=(-DBOL_BUILD_BENCH=OFF -DBOL_BUILD_EXAMPLES=OFF -DCMAKE_BUILD_TYPE=Release)
    ;;
  *)
    sed -n '2,12p' "$0" | sed 's/^# \{0,1\}//'
    exit 2
    ;;
esac

scripts/deps.sh build-essential cmake ninja-build googletest python3

work=build/mutants/$kind
tree=$work/tree
rm -rf "$tree"
mkdir -p "$tree"
# The working tree as it is, uncommitted changes included.
git ls-files -z --cached --others --exclude-standard | xargs -0 cp --parents -t "$tree"

cmake -S "$tree" -B "$work/build" -G Ninja "${options[@]}" >/dev/null
extra=()
if [ "$kind" = tool ] && cmake --build "$work/build" --target help | grep -q '^gobgp_parse:'; then
  extra=(gobgp_parse)  # the independent reader the interoperability checks run
fi
# shellcheck disable=SC2086  # $target is a list of targets
cmake --build "$work/build" -j "$(nproc)" --target $target "${extra[@]}" >/dev/null

cd "$tree"
python3 "$tool" --build "../build" --target "$target" --test "cd ../build && $test" \
  --count "$count" --seed "$seed" --json ../outcome.json "${files[@]}"
