#!/usr/bin/env bash
# The Release build (g++, -O3) with its tests, then what a host or packager
# gets from it:
#   - the reference of the public headers (doxygen): nothing undocumented
#   - an install into a staging prefix; examples/example_host.c built out of
#     tree against it with find_package and with pkg-config, and run
#   - the Debian packages (CPack): their dependencies, lintian's verdict (no
#     errors), and their contents unpacked with dpkg -x into an empty folder:
#     srpolicy runs from there and the example host builds against them
# Nothing is installed into the machine's own folders.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/deps.sh build-essential cmake ninja-build googletest libbenchmark-dev libpcap-dev nlohmann-json3-dev \
  libcli11-dev help2man man-db doxygen pkg-config dpkg-dev fakeroot file lintian

build=build/package
work=$build/check
rm -rf "$work"
mkdir -p "$work"
fail() { echo "package check: $*" >&2; exit 1; }

echo "=== build: Release (g++) with tests"
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DCMAKE_CXX_COMPILER=g++ -DCMAKE_C_COMPILER=gcc \
  -DBOL_WERROR=ON -DCMAKE_INSTALL_PREFIX=/usr >/dev/null
cmake --build "$build" -j "$(nproc)"
ctest --test-dir "$build" -j "$(nproc)" --timeout 600

echo "=== reference of the public headers"
cmake --build "$build" --target docs
[ -s "$build/docs/html/index.html" ] || fail "no HTML reference"
if [ -s "$build/docs/warnings.log" ]; then
  cat "$build/docs/warnings.log"
  fail "doxygen: undocumented or wrongly documented items in the public headers"
fi

# check_example LABEL COMMAND...: the example host runs, decodes the NLRI
# and leaves nothing allocated (else it exits non-zero).
check_example() {
  local label=$1 out
  shift
  out=$("$@") || { echo "$out"; fail "$label failed"; }
  grep -q "Distinguisher\[1\], PolicyColor\[100\], Endpoint\[10.0.0.1\]" <<<"$out" || { echo "$out"; fail "$label: no NLRI"; }
  echo "$label: constructed, decoded an NLRI, destructed"
}

# check_tree ROOT: a host builds against the plug-in installed below ROOT
# (the prefix, /usr of an unpacked package tree), with find_package and with
# pkg-config, and runs.
check_tree() {
  local root=$1 name=$2
  local libdir
  libdir=$(dirname "$(find "$root" -name libbol_srpolicy.so -print -quit)")
  [ -n "$libdir" ] || fail "$name: no libbol_srpolicy.so"

  cmake -S examples -B "$work/$name-cmake" -G Ninja -DCMAKE_PREFIX_PATH="$(realpath "$root")" \
    -DCMAKE_C_FLAGS="-Wall -Wextra -Wpedantic -Werror" >/dev/null
  cmake --build "$work/$name-cmake" >/dev/null
  check_example "$name, find_package, shared" "$work/$name-cmake/example_host"
  check_example "$name, find_package, static" "$work/$name-cmake/example_host_static"
  # The version file refuses another major version.
  mkdir -p "$work/$name-major"
  printf 'cmake_minimum_required(VERSION 3.25)\nproject(major C)\nfind_package(bol_srpolicy 2.0 REQUIRED)\n' \
    >"$work/$name-major/CMakeLists.txt"
  if cmake -S "$work/$name-major" -B "$work/$name-major/build" -DCMAKE_PREFIX_PATH="$(realpath "$root")" \
      >/dev/null 2>&1; then
    fail "$name: find_package(bol_srpolicy 2.0) accepted version $version"
  fi

  local pcpath="$libdir/pkgconfig"
  [ "$(PKG_CONFIG_PATH=$pcpath pkg-config --modversion bol_srpolicy)" = "$version" ] ||
    fail "$name: pkg-config version"
  # shellcheck disable=SC2046
  gcc -std=c99 -Wall -Wextra -Wpedantic -Werror examples/example_host.c -o "$work/$name-pkgconfig" \
    $(PKG_CONFIG_PATH=$pcpath pkg-config --cflags --libs bol_srpolicy bol_srpolicy-platform)
  check_example "$name, pkg-config" env LD_LIBRARY_PATH="$libdir" "$work/$name-pkgconfig"
}

version=$(sed -n 's/^#define BOL_SRPOLICY_VERSION_STRING "\([^"]*\)".*/\1/p' include/bol_srpolicy.h)
echo "=== staging install ($version)"
stage=$work/stage
cmake --install "$build" --prefix "$stage" >/dev/null
(cd "$stage" && find . -type f -o -type l | sort) >"$work/staged.txt"
for f in include/bol_srpolicy/bol_srpolicy.h include/bol_srpolicy/bol_platform.h bin/srpolicy \
    "libbol_srpolicy.so.$version" "libbol_srpolicy.so.${version%%.*}" libbol_srpolicy.so libbol_srpolicy.a \
    libbol_platform.a cmake/bol_srpolicy/bol_srpolicyConfig.cmake cmake/bol_srpolicy/bol_srpolicyConfigVersion.cmake \
    cmake/bol_srpolicy/bol_srpolicyTargets.cmake pkgconfig/bol_srpolicy.pc pkgconfig/bol_srpolicy-platform.pc \
    share/man/man1/srpolicy.1.gz share/doc/srpolicy/README.md share/srpolicy/samples/all_subtlvs.hex; do
  grep -q "/$f\$" "$work/staged.txt" || fail "staged install lacks $f"
done
soname=$(readelf -d "$(find "$stage" -name "libbol_srpolicy.so.$version")")
grep -q "SONAME.*\[libbol_srpolicy.so.${version%%.*}\]" <<<"$soname" || fail "SONAME is not libbol_srpolicy.so.${version%%.*}"
check_tree "$stage" staged

echo "=== Debian packages"
rm -f "$build"/*.deb
(cd "$build" && cpack -G DEB >/dev/null)
debs=("$build"/*.deb)
[ ${#debs[@]} -eq 3 ] || fail "expected 3 packages, found ${#debs[@]}"
for deb in "${debs[@]}"; do
  echo "$(dpkg-deb -f "$deb" Package) $(dpkg-deb -f "$deb" Version): Depends: $(dpkg-deb -f "$deb" Depends)"
done
deb_of() { ls "$build"/"$1"_*.deb; }
dpkg-deb -f "$(deb_of srpolicy)" Depends | grep -q "libpcap0.8" || fail "srpolicy does not depend on libpcap"
dpkg-deb -f "$(deb_of libbol-srpolicy-dev)" Depends | grep -q "libbol-srpolicy${version%%.*} (= $version" ||
  fail "the -dev package does not depend on the runtime package"
runtime_files=$(dpkg-deb -c "$(deb_of "libbol-srpolicy${version%%.*}")")
grep -q "libbol_srpolicy.so.${version%%.*} ->" <<<"$runtime_files" || fail "the runtime package lacks the SONAME link"

echo "=== lintian"
# Status 1 means findings (judged below by their severity); 2 means lintian failed.
lintian_rc=0
lintian --tag-display-limit 0 "${debs[@]}" >"$work/lintian.txt" 2>&1 || lintian_rc=$?
cat "$work/lintian.txt"
[ "$lintian_rc" -le 1 ] || fail "lintian failed ($lintian_rc)"
if grep -q "^E:" "$work/lintian.txt"; then
  fail "lintian reports errors"
fi
echo "lintian: no errors"

echo "=== package contents unpacked into an empty folder"
root=$work/unpacked
mkdir -p "$root"
for deb in "${debs[@]}"; do
  dpkg -x "$deb" "$root"
done
"$root/usr/bin/srpolicy" --version | grep -qx "srpolicy $version" || fail "unpacked srpolicy --version"
"$root/usr/bin/srpolicy" decode --sample >"$work/sample.out" 2>"$work/sample.err" ||
  fail "unpacked srpolicy decode --sample: status $?"
grep -q "Policy Name: to-east" "$work/sample.out" || fail "unpacked srpolicy decode --sample: no routes"
grep -q "routes 6, withdrawals 2, skipped 6, failed 0" "$work/sample.err" || fail "unpacked srpolicy: summary"
echo "unpacked srpolicy: --version and decode --sample"
man -l "$root/usr/share/man/man1/srpolicy.1.gz" >"$work/man.txt" 2>/dev/null || fail "the man page does not render"
grep -q "srpolicy decode \[OPTIONS\]" "$work/man.txt" || fail "the man page lacks the decode usage"
check_tree "$root/usr" unpacked
echo "=== package check passed"
