#!/usr/bin/env python3
"""Test share: non-blank, non-comment lines of C, C++, Python and shell in the tests
(tests/, fuzz/, tools/tests/) against the code (include/, platform/, src/, tools/ without
its tests, bench/, examples/). Counts the files git tracks; run from anywhere. Prints each
folder's count and the share; with a limit as argument (e.g. 0.35), exits 1 when the share is above it."""
import os
import subprocess
import sys

KIND = {".c": "c", ".cpp": "c", ".h": "c", ".hpp": "c", ".cc": "c", ".py": "py", ".sh": "sh"}
TESTS = ["tests", "fuzz", "tools/tests"]
CODE = ["include", "platform", "src", "tools", "bench", "examples"]


def lines_of_code(path):
    kind = KIND.get(os.path.splitext(path)[1])
    if not kind:
        return 0
    count, in_block = 0, False
    with open(path, encoding="utf-8", errors="replace") as f:
        for line in f:
            s = line.strip()
            if kind != "c":
                count += bool(s) and not s.startswith("#")
                continue
            if in_block:
                if "*/" not in s:
                    continue
                s, in_block = s.split("*/", 1)[1].strip(), False
            while "/*" in s:
                before, after = s.split("/*", 1)
                if "*/" not in after:
                    s, in_block = before.strip(), True
                    break
                s = (before + after.split("*/", 1)[1]).strip()
            count += bool(s) and not s.startswith("//")
    return count


def folder(top, skip=()):
    """Lines of the files git tracks under top (build output and scratch files never count)."""
    names = subprocess.run(["git", "ls-files", "--", top], capture_output=True, text=True, check=True).stdout
    return sum(lines_of_code(n) for n in names.split("\n") if n and not n.startswith(tuple(s + "/" for s in skip)))


def main():
    os.chdir(os.path.join(os.path.dirname(os.path.abspath(__file__)), ".."))
    tests = {d: folder(d) for d in TESTS}
    code = {d: folder(d, skip=("tools/tests",)) for d in CODE}
    for name, counts in (("tests", tests), ("code", code)):
        print("%-5s %6d  " % (name, sum(counts.values())) + "  ".join("%s %d" % kv for kv in counts.items()))
    share = sum(tests.values()) / sum(code.values())
    print("share %.3f" % share)
    return 0 if len(sys.argv) < 2 or share <= float(sys.argv[1]) else 1


if __name__ == "__main__":
    sys.exit(main())
