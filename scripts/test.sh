#!/usr/bin/env bash
# The whole test suite: installs what it needs, then builds and runs the
# tests in three builds:
#   64-bit      g++, the native build
#   32-bit      g++ -m32 (the target's pointer width; layouts checked at compile
#               time); run natively where the kernel starts 32-bit programs,
#               else under qemu-i386; without the srpolicy tool, which needs a
#               32-bit libpcap
#   sanitizers  clang++ with AddressSanitizer and UndefinedBehaviorSanitizer
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/deps.sh build-essential cmake ninja-build g++-multilib clang googletest libbenchmark-dev binutils \
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
  cmake -S . -B "build/$name" -G Ninja "$@" >/dev/null
  cmake --build "build/$name" -j "$jobs"
  ctest --test-dir "build/$name" -j "$jobs" --timeout 600
}

run_build test64 -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_CXX_COMPILER=g++ -DCMAKE_C_COMPILER=gcc

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

echo "=== all builds passed"
