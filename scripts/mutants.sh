#!/usr/bin/env bash
# Mutation check on a fixed seed: plants small faults one at a time and counts
# the ones the tests miss (../shared/tools/mutants.py, or MUTANTS=path).
#
#   bash scripts/mutants.sh lib  [COUNT] [SEED]   src/ against the plug-in's unit tests (default 300, seed 1)
#   bash scripts/mutants.sh tool [COUNT] [SEED]   tools/ against the tool's tests (default 200, seed 1)
#   bash scripts/mutants.sh recheck lib|tool      only the survivors of the last run, against the tests as they
#                                                 are now (minutes instead of an hour); a survivor whose line no
#                                                 longer reads as it did is skipped and named
#
# The faults are planted in a copy of the working tree (build/mutants/<kind>/tree), never in the sources
# themselves; the survivors and the score are printed at the end and every outcome is written to
# build/mutants/<kind>/outcome.json. Too slow for every run of the test command (an hour or more on two
# cores), so it is not part of it: run it after changing code or tests and compare the score on the same seed.
set -euo pipefail
cd "$(dirname "$0")/.."

recheck=
if [ "${1:-}" = recheck ]; then
  recheck=1
  shift
fi
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
    # their own time bounds. The runs mostly wait on sockets and timers, so six at a time: the
    # slowest (a connection collision and listen with a slow reader, about 10 s each) then set the pace.
    # The unit tests (a second) go first and the first failure ends the run: most faults are caught
    # in a second or two, and only the faults that survive cost the whole run.
    test='cd tools && tests/srpolicy_tool_tests --gtest_brief=1 >/dev/null &&
      ctest -j6 -E "live\.(announce_passive|md5|bulk)" --timeout 20 --stop-on-failure'
    # -O1 without debug information: the heaviest sources compile in about half the time of -O3.
    options=(-DBOL_BUILD_BENCH=OFF -DBOL_BUILD_EXAMPLES=OFF -DCMAKE_BUILD_TYPE=Release
      "-DCMAKE_CXX_FLAGS_RELEASE=-O1 -DNDEBUG" "-DCMAKE_C_FLAGS_RELEASE=-O1 -DNDEBUG")
    ;;
  *)
    sed -n '2,15p' "$0" | sed 's/^# \{0,1\}//'
    exit 2
    ;;
esac

scripts/deps.sh build-essential cmake ninja-build googletest python3

work=build/mutants/$kind
# A recheck has its own copy and build, so it can run beside a full pass.
stage=${recheck:+recheck-}
tree=$work/${stage}tree
# The working tree as it is, uncommitted changes included. Only files whose content differs from
# the copy are written (and so get a new time): the next build recompiles exactly those, also
# when the last run stopped with a planted fault compiled into an object. Files the working tree
# no longer has are removed from the copy (a test file left behind would still be globbed in).
git ls-files -z --cached --others --exclude-standard | python3 -c '
import os, shutil, sys
tree = sys.argv[1]
names = [n for n in sys.stdin.read().split("\0") if n and os.path.isfile(n)]
keep = set(os.path.normpath(n) for n in names)
for root, _, files in os.walk(tree):
    for f in files:
        rel = os.path.normpath(os.path.relpath(os.path.join(root, f), tree))
        if rel not in keep:
            os.remove(os.path.join(root, f))
for name in names:
    dest = os.path.join(tree, name)
    with open(name, "rb") as f:
        data = f.read()
    if os.path.exists(dest):
        with open(dest, "rb") as f:
            if f.read() == data:
                continue
    os.makedirs(os.path.dirname(dest), exist_ok=True)
    with open(dest, "wb") as f:
        f.write(data)
    shutil.copymode(name, dest)
' "$tree"

cmake -S "$tree" -B "$work/${stage}build" -G Ninja "${options[@]}" >/dev/null
extra=()
if [ "$kind" = tool ] && cmake --build "$work/${stage}build" --target help | grep -q '^gobgp_parse:'; then
  extra=(gobgp_parse)  # the independent reader the interoperability checks run
fi
# shellcheck disable=SC2086  # $target is a list of targets
cmake --build "$work/${stage}build" -j "$(nproc)" --target $target "${extra[@]}" >"$work/${stage}build.log" ||
  { tail -20 "$work/${stage}build.log"; echo "mutants.sh: the build without a planted fault fails"; exit 1; }

cd "$tree"
if [ -n "$recheck" ]; then
  [ -f ../outcome.json ] || { echo "mutants.sh: no $work/outcome.json to recheck; run a full pass first"; exit 2; }
  exec python3 - "$test" "$target" <<'PY'
import json, subprocess, sys
test, target = sys.argv[1], sys.argv[2]
build = "cmake --build ../recheck-build --target %s -j2" % target
survivors = [r for r in json.load(open("../outcome.json")) if r["outcome"] == "survived"]
out, counts = [], {"killed": 0, "survived": 0, "skipped": 0, "invalid": 0}
for r in survivors:
    with open(r["file"], encoding="utf-8") as f:
        text = f.read()
    lines = text.split("\n")
    old = lines[r["line"] - 1]
    where = "%s:%d [%s]" % (r["file"], r["line"], r["op"])
    if old.strip() != r["was"]:
        counts["skipped"] += 1
        print("- %s skipped: the line now reads: %s" % (where, old.strip()), flush=True)
        continue
    lines[r["line"] - 1] = old[: len(old) - len(old.lstrip())] + r["now"]
    try:
        with open(r["file"], "w", encoding="utf-8") as f:
            f.write("\n".join(lines))
        if subprocess.run(build, shell=True, capture_output=True).returncode != 0:
            outcome = "invalid"
        else:
            try:
                rc = subprocess.run("cd ../recheck-build && " + test, shell=True, capture_output=True, timeout=120).returncode
            except subprocess.TimeoutExpired:
                rc = 1
            outcome = "survived" if rc == 0 else "killed"
    finally:
        with open(r["file"], "w", encoding="utf-8") as f:
            f.write(text)
    counts[outcome] += 1
    out.append(dict(r, outcome=outcome))
    print("%s %s\n    now: %s" % ({"killed": "K", "survived": "S", "invalid": "-"}[outcome], where, r["now"]), flush=True)
subprocess.run(build, shell=True, capture_output=True)
json.dump(out, open("../recheck.json", "w"), indent=1)
print("\nrecheck of %d survivors: %d killed, %d still survive, %d skipped, %d did not compile"
      % (len(survivors), counts["killed"], counts["survived"], counts["skipped"], counts["invalid"]))
PY
fi
python3 "$tool" --build "../build" --target "$target" --test "cd ../build && $test" \
  --count "$count" --seed "$seed" --json ../outcome.json "${files[@]}"
