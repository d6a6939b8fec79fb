#!/usr/bin/env bash
# The whole test suite: installs what it needs, then builds and runs the
# tests in five builds:
#   64-bit      g++, the native build; the test programs also run under
#               valgrind memcheck
#   32-bit      g++ -m32 (the target's pointer width; layouts checked at compile
#               time); run natively where the kernel starts 32-bit programs,
#               else under qemu-i386; without the srpolicy tool, which needs a
#               32-bit libpcap
#   sanitizers  clang++ with AddressSanitizer and UndefinedBehaviorSanitizer
#   arm         32-bit little-endian ARM, under qemu-arm
#   ppc         32-bit big-endian PowerPC, under qemu-ppc
# The cross builds use clang with Debian's cross binutils, C library and
# libstdc++ (cmake/toolchain-*.cmake): Debian's g++ cross compiler packages
# conflict with g++-multilib, which the 32-bit x86 build needs.
# then a Release build with its install and Debian packages checked
# (scripts/package_check.sh), the static analysis of src/ and platform/ and a
# fuzz smoke run. Every build treats warnings as errors (BOL_WERROR).
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/deps.sh build-essential cmake ninja-build g++-multilib clang googletest libbenchmark-dev binutils \
  valgrind qemu-user clang-tidy cppcheck libclang-rt-14-dev \
  binutils-arm-linux-gnueabihf libc6-dev-armhf-cross libgcc-12-dev-armhf-cross libstdc++-12-dev-armhf-cross \
  binutils-powerpc-linux-gnu libc6-dev-powerpc-cross libgcc-12-dev-powerpc-cross libstdc++-12-dev-powerpc-cross \
  libpcap-dev nlohmann-json3-dev libcli11-dev
# Optional: tshark dissects the captures the srpolicy tool writes. Installed
# only when that works without questions; the check is skipped otherwise.
if ! command -v tshark >/dev/null 2>&1; then
  DEBIAN_FRONTEND=noninteractive scripts/deps.sh tshark </dev/null ||
    echo "tshark not available: the capture dissection check is skipped"
fi

jobs=$(nproc)
export CTEST_OUTPUT_ON_FAILURE=1

run_build() {
  local name=$1
  shift
  echo "=== build: $name"
  cmake -S . -B "build/$name" -G Ninja -DBOL_WERROR=ON "$@" >/dev/null
  cmake --build "build/$name" -j "$jobs"
  ctest --test-dir "build/$name" -j "$jobs" --timeout 600
}

run_build test64 -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_CXX_COMPILER=g++ -DCMAKE_C_COMPILER=gcc

echo "=== valgrind memcheck: test programs of the 64-bit build"
for prog in bol_unit_tests bol_default_platform_tests bol_c_host_test; do
  valgrind --error-exitcode=1 --leak-check=full --errors-for-leak-kinds=definite,indirect,possible \
    --show-leak-kinds=definite,indirect,possible --suppressions=tests/valgrind.supp -q \
    "build/test64/tests/$prog" >"build/test64/valgrind-$prog.log" 2>&1 \
    || { cat "build/test64/valgrind-$prog.log"; echo "valgrind: errors in $prog"; exit 1; }
  echo "$prog: no memcheck errors"
done

# Can this machine start a 32-bit x86 program?
probe_dir=$(mktemp -d)
trap 'rm -rf "$probe_dir"' EXIT
echo 'int main(void){return 0;}' > "$probe_dir/probe.c"
emulator=()
gcc -m32 "$probe_dir/probe.c" -o "$probe_dir/probe"
if ! "$probe_dir/probe" 2>/dev/null; then
  echo "32-bit programs cannot start natively here: running them under qemu-i386"
  scripts/deps.sh qemu-user
  emulator=(-DCMAKE_CROSSCOMPILING_EMULATOR=/usr/bin/qemu-i386)
fi
run_build test32 -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_CXX_COMPILER=g++ -DCMAKE_C_COMPILER=gcc \
  -DCMAKE_C_FLAGS=-m32 -DCMAKE_CXX_FLAGS=-m32 -DBOL_BUILD_BENCH=OFF "${emulator[@]}"

run_build sanitize -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_C_COMPILER=clang \
  -DBOL_SANITIZE=ON -DBOL_BUILD_BENCH=OFF

# The real targets: 32-bit little-endian ARM and 32-bit big-endian PowerPC,
# cross-compiled (GoogleTest too) and run under qemu-user; the plug-in and its
# tests, without the srpolicy tool (no libpcap of the target).
run_build arm -DCMAKE_BUILD_TYPE=RelWithDebInfo -DBOL_BUILD_BENCH=OFF -DBOL_BUILD_TOOLS=OFF \
  -DCMAKE_TOOLCHAIN_FILE=cmake/toolchain-arm-linux-gnueabihf.cmake
run_build ppc -DCMAKE_BUILD_TYPE=RelWithDebInfo -DBOL_BUILD_BENCH=OFF -DBOL_BUILD_TOOLS=OFF \
  -DCMAKE_TOOLCHAIN_FILE=cmake/toolchain-powerpc-linux-gnu.cmake

# Release (-O3) with tests; install, out-of-tree hosts, Debian packages, lintian.
bash scripts/package_check.sh

# Static analysis of src/ and platform/: clang-tidy and cppcheck.
bash scripts/lint.sh

# Fuzz smoke run: every target for 10 s from its seed corpus (about 60 s).
bash scripts/fuzz.sh 10

echo "=== all builds passed"
