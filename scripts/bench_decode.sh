#!/usr/bin/env bash
# Decoding speed of srpolicy against its peers on one generated capture, in
# one run on this machine, and srpolicy's peak memory on a 2 GB input.
#   bash scripts/bench_decode.sh [ROUTES [PER_UPDATE]]   (defaults 1000000 and 1)
# PER_UPDATE routes share their attributes and so one UPDATE (1: every route
# has its own attributes, as SR policies usually do).
# Peers, where installed: GoBGP's packet parser (Debian golang-github-osrg-gobgp-dev,
# built offline by the tool's CMake) and tshark -T fields. Every figure is a
# rate in routes per second; the ratios are taken between rates of this run.
# srpolicy's two forms and GoBGP's parse-only run are each timed three times
# and the best time counts (the slower peers once). Ratios are given by
# elapsed time and by processor time (user and system, all threads): on a
# machine busy with other work the elapsed ratios move with the load, the
# processor-time ratios much less.
# Work files go to a temporary directory (the 2 GB input too) and are removed.
set -euo pipefail
cd "$(dirname "$0")/.."
routes=${1:-1000000}
per_update=${2:-1}

scripts/deps.sh build-essential cmake ninja-build libpcap-dev nlohmann-json3-dev rapidjson-dev libcli11-dev \
  golang-go golang-github-osrg-gobgp-dev time
echo "building srpolicy (Release) and GoBGP's parser harness in build/bench ..."
cmake -S . -B build/bench -G Ninja -DCMAKE_BUILD_TYPE=Release -DBOL_BUILD_TESTS=OFF -DBOL_BUILD_BENCH=OFF \
  -DBOL_BUILD_EXAMPLES=OFF >/dev/null
cmake --build build/bench --target srpolicy >/dev/null
tool=build/bench/tools/srpolicy
gobgp=""
if cmake --build build/bench --target gobgp_parse >/dev/null 2>&1; then
  gobgp=build/bench/tools/gobgp_parse_harness
fi

work=$(mktemp -d /tmp/srpolicy-bench.XXXXXX)
trap 'rm -rf "$work"' EXIT

# Routes of both families (the family changes every PER_UPDATE routes), each
# with a preference, a binding SID and a segment list of three labels that
# change every PER_UPDATE routes.
echo "generating $routes routes, $per_update to an UPDATE ..."
awk -v n="$routes" -v k="$per_update" 'BEGIN {
  printf "{\"defaults\": {\"next_hop\": \"192.0.2.1\", \"origin\": \"igp\", \"as_path\": [65001]},\n\"routes\": [\n"
  for (i = 0; i < n; i++) {
    if (int(i / k) % 2 == 0) {
      ep = sprintf("10.%d.%d.%d", int(i / 65536) % 256, int(i / 256) % 256, i % 256)
    } else {
      ep = sprintf("2001:db8::%x:%x", int(i / 65536), i % 65536)
      ep = ep "\", \"next_hop\": \"2001:db8::1"
    }
    printf "%s{\"endpoint\": \"%s\", \"color\": %d, \"distinguisher\": %d, \"preference\": %d,", (i ? ",\n" : ""), ep, 100 + i % 7, i, int(i / k)
    printf " \"binding_sid\": {\"label\": %d}, \"segment_lists\": [{\"weight\": 1, \"segments\": [{\"label\": %d}, {\"label\": %d}, {\"label\": 16000}]}]}", 1000 + int(i / k) % 5000, 16 + int(i / k) % 1000, 17 + int(i / k) % 999
  }
  printf "\n]}\n"
}' > "$work/routes.json"
/usr/bin/time -o "$work/peak" -f %M "$tool" encode --out-pcap "$work/routes.pcap" "$work/routes.json" 2>/dev/null
kb=$(tail -1 "$work/peak")
echo "encode: $((kb / 1024)) MB peak, $((kb * 1024 / routes)) bytes per route"
$tool encode --out raw "$work/routes.json" > "$work/routes.raw" 2>/dev/null
rm "$work/routes.json"
echo "capture: $(($(stat -c %s "$work/routes.pcap") / 1000000)) MB, raw: $(($(stat -c %s "$work/routes.raw") / 1000000)) MB"

# seconds CMD... : "ELAPSED CPU" seconds of one run (CPU: user and system
# time of all its threads), output discarded
seconds() {
  /usr/bin/time -o "$work/time" -f "%e %U %S" "$@" >/dev/null 2>&1
  awk '{ printf "%.3f %.3f", $1, $2 + $3 }' "$work/time"
}
rate() { awk -v n="$routes" -v s="$1" 'BEGIN { if (s > 0) printf "%.0f", n / s; else printf "0" }'; }
ratio() { awk -v a="$1" -v b="$2" 'BEGIN { if (b > 0) printf "%.2f", a / b; else printf "-" }'; }

declare -A rates cpu_rates
# measure NAME RUNS CMD... : the best (shortest) of RUNS runs, so that a
# moment of load from other work on the machine does not decide a ratio;
# the rate by elapsed time and the rate by processor time.
measure() {
  local name=$1 runs=$2
  shift 2
  local t best="" best_cpu=""
  for ((i = 0; i < runs; i++)); do
    t=$(seconds "$@")
    best=$(awk -v a="${t% *}" -v b="$best" 'BEGIN { print (b == "" || a < b) ? a : b }')
    best_cpu=$(awk -v a="${t#* }" -v b="$best_cpu" 'BEGIN { print (b == "" || a < b) ? a : b }')
  done
  rates[$name]=$(rate "$best")
  cpu_rates[$name]=$(rate "$best_cpu")
  printf '%-34s %8.3f s %9s routes/s; processor %8.3f s %9s routes/s (best of %d)\n' "$name" "$best" \
    "${rates[$name]}" "$best_cpu" "${cpu_rates[$name]}" "$runs"
}

echo "decoding the capture ($routes routes) ..."
measure "srpolicy decode (text)" 3 "$tool" decode "$work/routes.pcap"
measure "srpolicy decode --json" 3 "$tool" decode --json "$work/routes.pcap"
if [ -n "$gobgp" ]; then
  measure "GoBGP parse only" 3 "$gobgp" parse "$work/routes.raw"
  measure "GoBGP parse + String()" 1 "$gobgp" string "$work/routes.raw"
fi
if command -v tshark >/dev/null 2>&1; then
  measure "tshark -T fields" 1 tshark -r "$work/routes.pcap" -Y bgp -T fields -e bgp.type -e bgp.update.path_attribute.mp_reach_nlri.safi
fi

# ratios LABEL ARRAY: the ratios of the rates in one of the two arrays
ratios() {
  local -n r=$2
  echo "ratios ($1):"
  if [ -n "$gobgp" ]; then
    echo "  text / GoBGP parse only: $(ratio "${r[srpolicy decode (text)]}" "${r[GoBGP parse only]}")"
    echo "  JSON / GoBGP parse only: $(ratio "${r[srpolicy decode --json]}" "${r[GoBGP parse only]}")"
  fi
  if [ -n "${r[tshark -T fields]:-}" ]; then
    echo "  JSON / tshark -T fields: $(ratio "${r[srpolicy decode --json]}" "${r[tshark -T fields]}")"
  fi
}
ratios "elapsed time" rates
ratios "processor time" cpu_rates

# Peak memory on a 2 GB input: the raw stream written over and over.
echo "peak memory of srpolicy decode on a 2 GB input ..."
big="$work/big.raw"
: > "$big"
while [ "$(stat -c %s "$big")" -lt 2000000000 ]; do cat "$work/routes.raw" >> "$big"; done
rm "$work/routes.pcap"
for form in "" --json; do
  /usr/bin/time -o "$work/peak" -f %M "$tool" decode $form --in raw "$big" >/dev/null 2>&1 || true
  kb=$(tail -1 "$work/peak")
  echo "  decode ${form:-(text)}: $((kb / 1024)) MB peak for $(($(stat -c %s "$big") / 1000000)) MB"
done
rm "$big"
