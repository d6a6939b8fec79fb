#!/usr/bin/env python3
"""Per-route cost of `srpolicy listen --json` against `decode --json` of the
same UPDATEs, in one run on this machine. Usage:
    python3 scripts/bench_listen.py SRPOLICY [ROUTES [PARTS]]
ROUTES 100000 unless given; PARTS a comma-separated choice of the parts below
(all unless given).
- replay: a scripted peer on 127.0.0.1 sends the UPDATEs (`encode --out raw`)
  as fast as loopback takes them to `listen` on the last processor (taskset),
  the sender on the others; `decode --json` reads the same bytes from a file on
  the same processor, and beside it `decode --json --rib`, which builds the same
  table (and prints only the table), so the session's own cost shows. All take
  the burst five times over; three interleaved rounds, the medians count.
- gobgpd: `announce` -> gobgpd -> `listen`, the burst of the live test, with
  `listen` alone on the last processor and gobgpd and `announce` on the others;
  three runs, each printed. Every route of that burst is new to listen's
  table, so beside the ratios above it is set against decode of the burst
  once (--rib: the table built from empty, printed and freed).
- capture: one more run through gobgpd, untimed, with dumpcap recording
  gobgpd's side of the session to listen; `decode --json` of that capture
  (gobgpd's own UPDATEs in its own TCP segments, read from a file) is then set
  against the gobgpd runs, three rounds, the median counts.
- instructions (callgrind): `listen` on a replay of a fifth of the routes and
  `decode` of the same UPDATEs, each less an empty run of itself (plug-in
  construction, start and exit), per route.
Everything listens on and connects to 127.0.0.0/8 only."""
import os
import resource
import shutil
import statistics
import subprocess
import sys
import tempfile

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "tools", "tests", "live"))
from harness import LOOPBACK, Gobgpd, ScriptedPeer, Srpolicy, accepts, free_port, wait_for  # noqa: E402
from live_tests import bulk_routes, write_config  # noqa: E402

CPUS = sorted(os.sched_getaffinity(0))
LAST, OTHERS = {CPUS[-1]}, set(CPUS[:-1] or CPUS)
REPEAT = 5


def on(cpus):
    return ["taskset", "-c", ",".join(map(str, sorted(cpus)))]


def printed(path):
    with open(path, "rb") as f:
        return f.read().count(b'"withdrawn":false')


def cpu_seconds(pid):
    """User and system processor time of a running process (all its threads):
    the total to the nanosecond as the scheduler counts it per thread, split
    between user and system as the clock ticks of /proc/PID/stat split it
    (ticks of 10 ms alone are a tenth of a 100,000-route burst)."""
    total = 0
    for tid in os.listdir("/proc/%d/task" % pid):
        with open("/proc/%d/task/%s/schedstat" % (pid, tid)) as f:
            total += int(f.read().split()[0])
    with open("/proc/%d/stat" % pid) as f:
        fields = f.read().rsplit(")", 1)[1].split()
    user, system = (int(fields[i]) for i in (11, 12))
    total /= 1e9
    system = total * system / (user + system) if user + system else 0.0
    return [total - system, system]


def run_listen(tool, wd, args, feed, count, wrap):
    """listen with args under wrap; feed(port) sends the routes. User and
    system time of listen once count routes are printed (under callgrind:
    its counts are dumped then, before the table listen prints at exit)."""
    port = free_port()
    lis = Srpolicy(wrap[0], wd, "listen", wrap[1:] + [tool, "listen", "--as", "65002", "--json", "--bind",
                                                      "%s:%d" % (LOOPBACK, port)] + args)
    wait_for(lambda: accepts(port), 120, "listen on port %d" % port)
    peer = feed(port)
    wait_for(lambda: printed(lis.out_path) >= count, 3600, "%d routes printed" % count, interval=0.2)
    cpu = cpu_seconds(lis.proc.pid)
    if wrap[0] == "valgrind":
        subprocess.run(["callgrind_control", "--dump", str(lis.proc.pid)], stdout=subprocess.DEVNULL, check=True)
    assert lis.stop(timeout=300) == 0, lis.stderr()
    if peer is not None:
        peer.sock.close()
    return cpu


def replay(raw):
    def feed(port):
        peer = ScriptedPeer(port, LOOPBACK)
        peer.establish()
        peer.send(raw)
        return peer
    return feed


def decode(tool, path, wrap, check=True, extra=(), form="raw"):
    """decode's processor time, its output into a file as listen's."""
    start = resource.getrusage(resource.RUSAGE_CHILDREN)  # to the microsecond, where os.times counts ticks
    with open(path + ".out", "wb") as out:
        subprocess.run(wrap + [tool, "decode", "--json", *extra, "--in", form, path], stdout=out,
                       stderr=subprocess.DEVNULL, check=check)  # an empty input ends with status 1
    end = resource.getrusage(resource.RUSAGE_CHILDREN)
    return [end.ru_utime - start.ru_utime, end.ru_stime - start.ru_stime]


def instructions(path):
    with open(path) as f:
        return next(int(line.split()[1]) for line in f if line.startswith(("summary:", "totals:")))


def callgrind(tool, wd, raw, count):
    """Instructions per route of listen and of decode."""
    per_route = []
    for name in ("listen", "decode"):
        totals = []
        for data, n in ((raw, count), (b"", 0)):
            out = os.path.join(wd, "callgrind.%s.%d" % (name, n))
            wrap = ["valgrind", "--tool=callgrind", "--callgrind-out-file=" + out]
            if name == "listen":
                run_listen(tool, wd, [], replay(data), n, wrap)
            else:
                path = os.path.join(wd, "part.raw")
                with open(path, "wb") as f:
                    f.write(data)
                decode(tool, path, wrap, check=bool(n))
            totals.append(instructions(out + ".1" if name == "listen" else out))
        per_route.append((totals[0] - totals[1]) / count)
    return per_route


def routes_raw(tool, wd, count):
    """The UPDATEs of the live test's burst of count routes (one route each)."""
    config = write_config(wd, bulk_routes(count), "routes%d.json" % count)
    return config, subprocess.run([tool, "encode", "--out", "raw", config], capture_output=True, check=True).stdout


def ratio(a, b):
    """a / b; not a number when b is zero (a run too short for the clock's ticks)."""
    return a / b if b else float("nan")


def median_cpu(runs, times=1):
    """Median user and system time of runs, per pass over the burst when each run took it times over."""
    return [statistics.median(r[i] for r in runs) / times for i in (0, 1)]


def per_route(cpu, count):
    return "%.2f us (system %.2f)" % (sum(cpu) * 1e6 / count, cpu[1] * 1e6 / count)


def through_gobgpd(tool, wd, config, count, pcap=None):
    """announce -> gobgpd -> listen; listen's processor time for the burst and
    gobgpd's port. With pcap, dumpcap records the session to listen there."""
    with Gobgpd(wd, 65000, [dict(address="127.0.0.2", asn=65001), dict(address="127.0.0.3", asn=65002)]) as g:
        announcer, dumper = [], None
        if pcap:
            dumper = subprocess.Popen(on(OTHERS) + ["dumpcap", "-q", "-i", "lo", "-w", pcap, "-f",
                                                    "tcp and host 127.0.0.3 and port %d" % g.port],
                                      stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
            wait_for(lambda: os.path.exists(pcap) and os.path.getsize(pcap) > 0, 30, "dumpcap started")

        def feed(port):
            del port  # listen connects to gobgpd instead
            announcer.append(Srpolicy(tool, wd, "announce", [
                "announce", config, "--as", "65001", "--peer-as", "65000", "--connect",
                "%s:%d" % (LOOPBACK, g.port), "--source", "127.0.0.2"]))
        cpu = run_listen(tool, wd, ["--connect", "%s:%d" % (LOOPBACK, g.port), "--source", "127.0.0.3",
                                    "--router-id", "127.0.0.3"], feed, count, on(LAST))
        announcer[0].stop()
        if dumper:
            dumper.terminate()
            dumper.wait(timeout=30)
    return cpu, g.port


def main():
    here = os.path.dirname(os.path.abspath(__file__))
    subprocess.run(["bash", os.path.join(here, "deps.sh"), "gobgpd", "valgrind", "util-linux", "tshark"], check=True)
    tool = os.path.abspath(sys.argv[1])
    count = int(sys.argv[2]) if len(sys.argv) > 2 else 100000
    parts = sys.argv[3].split(",") if len(sys.argv) > 3 else ["replay", "gobgpd", "capture", "instructions"]
    wd = tempfile.mkdtemp(prefix="srpolicy-bench-listen-", suffix="-%d" % os.getpid())  # removed at the end
    config, raw = routes_raw(tool, wd, count)
    stream, single = os.path.join(wd, "burst.raw"), os.path.join(wd, "single.raw")
    with open(stream, "wb") as f:  # five times over: half a second or more of work to time
        f.write(raw * REPEAT)
    with open(single, "wb") as f:  # once: every route new to the table, as in the burst from gobgpd
        f.write(raw)
    os.sched_setaffinity(0, OTHERS)  # the sender, and what this script starts unless told
    print("%d routes, %d bytes of UPDATEs; listen and decode on processor %s, the rest on %s"
          % (count, len(raw), sorted(LAST), sorted(OTHERS)))
    rounds = {"listen": [], "decode": [], "rib": [], "decode1": [], "rib1": []}
    for _ in range(3):
        if "replay" in parts:
            rounds["listen"].append(run_listen(tool, wd, [], replay(raw * REPEAT), count * REPEAT, on(LAST)))
        rounds["decode"].append(decode(tool, stream, on(LAST)))
        rounds["rib"].append(decode(tool, stream, on(LAST), extra=["--rib"]))
        if "gobgpd" in parts:
            rounds["decode1"].append(decode(tool, single, on(LAST)))
            rounds["rib1"].append(decode(tool, single, on(LAST), extra=["--rib"]))
    dec, rib = (median_cpu(rounds[k], REPEAT) for k in ("decode", "rib"))
    print("decode: %s processor time per route; decode --rib: %s" % (per_route(dec, count), per_route(rib, count)))
    if "gobgpd" in parts:
        dec1, rib1 = (median_cpu(rounds[k]) for k in ("decode1", "rib1"))
        print("one burst, every route new: decode %s per route; decode --rib %s (the table built, printed and "
              "freed)" % (per_route(dec1, count), per_route(rib1, count)))
    if "replay" in parts:
        lis = median_cpu(rounds["listen"], REPEAT)
        print("replay: listen %s per route; listen/decode %.2f (rounds %s); listen/decode --rib %.2f" % (
            per_route(lis, count), ratio(sum(lis), sum(dec)),
            ", ".join("%.2f" % ratio(sum(a), sum(b)) for a, b in zip(rounds["listen"], rounds["decode"])),
            ratio(sum(lis), sum(rib))))
    if "capture" in parts:
        pcap = os.path.join(wd, "gobgpd.pcap")
        port = through_gobgpd(tool, wd, config, count, pcap)[1]
        caps = [decode(tool, pcap, on(LAST), extra=["--port", str(port)], form="pcap") for _ in range(3)]
        cap = median_cpu(caps)
        print("capture of gobgpd's burst (%d routes): decode %s per route (rounds %s)" % (
            printed(pcap + ".out"), per_route(cap, count), ", ".join(per_route(c, count) for c in caps)))
    for _ in range(3 if "gobgpd" in parts else 0):  # its pace and the machine's load vary from run to run
        cpu = through_gobgpd(tool, wd, config, count)[0]
        print("gobgpd: listen %s per route; listen/decode %.2f; listen/decode --rib %.2f; of one burst: "
              "listen/decode %.2f, listen/decode --rib %.2f%s" % (
                  per_route(cpu, count), ratio(sum(cpu), sum(dec)), ratio(sum(cpu), sum(rib)),
                  ratio(sum(cpu), sum(dec1)), ratio(sum(cpu), sum(rib1)),
                  "; listen/decode of its capture %.2f" % ratio(sum(cpu), sum(cap)) if "capture" in parts else ""))
    if "instructions" in parts:
        part = max(1, count // 5)
        lis_i, dec_i = callgrind(tool, wd, routes_raw(tool, wd, part)[1], part)
        print("instructions (%d routes): listen %.0f, decode %.0f per route; listen/decode %.2f"
              % (part, lis_i, dec_i, ratio(lis_i, dec_i)))
    return 0


if __name__ == "__main__":
    try:
        sys.exit(main())
    finally:
        for name in os.listdir(tempfile.gettempdir()):  # the work directories of this run's sizes
            if name.startswith("srpolicy-bench-listen-") and name.endswith(str(os.getpid())):
                shutil.rmtree(os.path.join(tempfile.gettempdir(), name), ignore_errors=True)
