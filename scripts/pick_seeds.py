#!/usr/bin/env python3
"""Adds to a target's seed corpus the few inputs of a long run that reach code
the seeds do not, so that the short run in the test command starts where the
long runs ended.

    scripts/pick_seeds.py fuzz_attr      (after scripts/fuzz.sh, from the top)

libFuzzer's merge writes, per input, the edges it covers into a control file;
starting from the checked-in seeds, the input adding most uncovered edges
(the smaller one on a tie) is taken until none adds any. Picked inputs are
named grown-<sha1 prefix>."""
import hashlib
import os
import shutil
import subprocess
import sys
import tempfile


def edges_per_input(fuzzer, dirs):
    with tempfile.TemporaryDirectory() as tmp:
        ctl = os.path.join(tmp, "control")
        out = os.path.join(tmp, "out")
        os.mkdir(out)
        subprocess.run([fuzzer, "-merge=1", "-merge_control_file=" + ctl, out] + dirs,
                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, check=True)
        with open(ctl) as f:
            lines = f.read().splitlines()
    count = int(lines[0])
    paths = lines[2:2 + count]
    edges = {}
    for line in lines[2 + count:]:
        fields = line.split()
        if fields and fields[0] == "COV":
            edges[paths[int(fields[1])]] = set(int(e) for e in fields[2:])
    return edges


def main():
    target = sys.argv[1]
    seeds = os.path.join("fuzz", "corpus", target)
    grown = os.path.join("build", "fuzz", "corpus", target)
    edges = edges_per_input(os.path.join("build", "fuzz", "fuzz", target), [seeds, grown])
    covered = set()
    for path, cov in edges.items():
        if path.startswith(seeds + os.sep):
            covered |= cov
    candidates = {p: c for p, c in edges.items() if not p.startswith(seeds + os.sep)}
    picked = 0
    while True:
        best = max(candidates.items(), default=None,
                   key=lambda kv: (len(kv[1] - covered), -os.path.getsize(kv[0])))
        if best is None or not best[1] - covered:
            break
        path, cov = best
        covered |= cov
        del candidates[path]
        with open(path, "rb") as f:
            digest = hashlib.sha1(f.read()).hexdigest()[:12]
        shutil.copyfile(path, os.path.join(seeds, "grown-" + digest))
        picked += 1
    print(f"{target}: {picked} inputs added, {len(covered)} edges covered by the seeds")
    return 0


if __name__ == "__main__":
    sys.exit(main())
