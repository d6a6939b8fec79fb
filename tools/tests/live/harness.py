"""Loopback harness of the live commands: free ports, a gobgpd with its own
configuration and ports, srpolicy runs, and a scripted BGP peer. Everything
listens on and connects to 127.0.0.0/8 only."""
import ctypes
import json
import os
import shutil
import signal
import socket
import struct
import subprocess
import sys
import tempfile
import time

LOOPBACK = "127.0.0.1"


def spawn(args, **kwargs):
    """Popen whose child gets SIGKILL when the test process ends, however it ends."""
    return subprocess.Popen(args, preexec_fn=lambda: ctypes.CDLL(None).prctl(1, int(signal.SIGKILL)), **kwargs)


def free_port(addr=LOOPBACK):
    with socket.socket() as s:
        s.bind((addr, 0))
        return s.getsockname()[1]


def wait_for(check, timeout, what, interval=0.1):
    """Polls check() until it returns a true value, at most timeout seconds."""
    end = time.monotonic() + timeout
    while True:
        value = check()
        if value:
            return value
        if time.monotonic() >= end:
            raise AssertionError("timed out after %.0f s waiting for %s" % (timeout, what))
        time.sleep(interval)


def stop_process(proc, sig=signal.SIGTERM, timeout=10.0):
    if proc.poll() is None:
        proc.send_signal(sig)
        try:
            proc.wait(timeout)
        except subprocess.TimeoutExpired:
            proc.kill()
            proc.wait(5)
    return proc.returncode


def accepts(port, host=LOOPBACK):
    try:
        with socket.create_connection((host, port), timeout=0.5):
            return True
    except OSError:
        return False


class Gobgpd:
    """gobgpd on 127.0.0.1 on free ports; neighbors: dicts of address, asn and
    optionally password and remote_port (gobgpd connects there, else waits)."""

    def __init__(self, workdir, asn, neighbors):
        self.workdir = workdir
        self.asn = asn
        self.neighbors = neighbors
        self.port = free_port()
        self.api_port = free_port()
        self.log = os.path.join(workdir, "gobgpd.log")

    def config(self):
        def neighbor(n):
            transport = {"passive-mode": not n.get("remote_port"), "local-address": LOOPBACK}
            if n.get("remote_port"):
                transport["remote-port"] = n["remote_port"]
            return {"config": {"neighbor-address": n["address"], "peer-as": n["asn"],
                               "auth-password": n.get("password", "")},
                    "transport": {"config": transport}, "timers": {"config": {"connect-retry": 1}},
                    "afi-safis": [{"config": {"afi-safi-name": f}} for f in ("ipv4-srpolicy", "ipv6-srpolicy")]}
        return {"global": {"config": {"as": self.asn, "router-id": LOOPBACK, "port": self.port,
                                      "local-address-list": [LOOPBACK]}},
                "neighbors": [neighbor(n) for n in self.neighbors]}

    def __enter__(self):
        path = os.path.join(self.workdir, "gobgpd.json")
        with open(path, "w") as f:
            json.dump(self.config(), f)
        self.logfile = open(self.log, "w")
        self.proc = spawn([shutil.which("gobgpd") or "/usr/sbin/gobgpd", "-f", path, "-t", "json", "-p",
                           "--pprof-disable", "--api-hosts", "%s:%d" % (LOOPBACK, self.api_port)],
                          stdout=self.logfile, stderr=subprocess.STDOUT)
        wait_for(lambda: self.proc.poll() is None and accepts(self.port), 15, "gobgpd on port %d" % self.port)
        return self

    def __exit__(self, *exc):
        stop_process(self.proc)
        self.logfile.close()


class Srpolicy:
    """An srpolicy run with its output in files (stdout in a pipe with pipe)."""

    def __init__(self, tool, workdir, name, args, pipe=False):
        self.name = name
        self.out_path = os.path.join(workdir, name + ".out")
        self.err_path = os.path.join(workdir, name + ".err")
        self.out = open(self.out_path, "w")
        self.err = open(self.err_path, "w")
        self.proc = spawn([tool] + args, stdout=subprocess.PIPE if pipe else self.out, stderr=self.err)

    def stderr(self):
        with open(self.err_path) as f:
            return f.read()

    def send_signal(self, sig):
        self.proc.send_signal(sig)

    def stop(self, sig=signal.SIGTERM, timeout=20.0):
        rc = stop_process(self.proc, sig, timeout)
        self.out.close()
        self.err.close()
        return rc


# ---- Raw BGP for the scripted peer ------------------------------------------

def message(msg_type, body=b""):
    return b"\xff" * 16 + struct.pack("!HB", 19 + len(body), msg_type) + body


def open_message(asn, hold, router_id, families=((1, 73), (2, 73))):
    caps = b"".join(struct.pack("!BBHBB", 1, 4, afi, 0, safi) for afi, safi in families)
    caps += struct.pack("!BBI", 65, 4, asn) + b"\x02\x00"  # 4-octet AS, route refresh
    params = struct.pack("!BB", 2, len(caps)) + caps
    body = struct.pack("!BHH4sB", 4, asn if asn < 65536 else 23456, hold, socket.inet_aton(router_id), len(params))
    return message(1, body + params)


KEEPALIVE = message(4)


def attribute(flags, code, value):
    if len(value) > 255:
        return struct.pack("!BBH", flags | 0x10, code, len(value)) + value
    return struct.pack("!BBB", flags, code, len(value)) + value


def srpolicy_nlri_v4(distinguisher, color, endpoint):
    return struct.pack("!BII4s", 96, distinguisher, color, socket.inet_aton(endpoint))


def update_v4(nlri, tunnel_value, asn, next_hop="127.0.0.9"):
    """An UPDATE of SR Policy NLRI of AFI 1 with this Tunnel Encapsulation value."""
    mp = struct.pack("!HBB4sB", 1, 73, 4, socket.inet_aton(next_hop), 0) + nlri
    attrs = attribute(0x40, 1, b"\x00")
    attrs += attribute(0x40, 2, struct.pack("!BBI", 2, 1, asn))
    attrs += attribute(0x80, 14, mp)
    attrs += attribute(0xC0, 23, tunnel_value)
    return message(2, struct.pack("!HH", 0, len(attrs)) + attrs)


def sr_policy_tunnel(preference, labels):
    """One SR Policy tunnel (type 15): a preference and one list of MPLS label segments."""
    segs = b"".join(struct.pack("!BBBBI", 1, 6, 0, 0, label << 12) for label in labels)
    seglist = struct.pack("!BHB", 128, len(segs) + 1, 0) + segs
    sub = struct.pack("!BBBBI", 12, 6, 0, 0, preference) + seglist
    return struct.pack("!HH", 15, len(sub)) + sub


def connect_from(source, port):
    """A connection from the source address (any port) to port on the loopback address of its family."""
    s = socket.socket(socket.AF_INET6 if ":" in source else socket.AF_INET)
    s.settimeout(10)
    s.bind((source, 0))
    s.connect((source if ":" in source else LOOPBACK, port))
    return s


class ScriptedPeer:
    """A BGP peer written out byte by byte, on a connection from source to port
    of 127.0.0.1 (or on sock)."""

    def __init__(self, port, source, asn=65010, hold=90, sock=None):
        self.sock = sock or connect_from(source, port)
        self.asn = asn
        self.hold = hold
        self.buf = b""

    def establish(self, router_id="127.0.0.9"):
        self.send(open_message(self.asn, self.hold, router_id) + KEEPALIVE)
        types = [self.read_message()[0] for _ in range(2)]
        assert types == [1, 4], "expected OPEN and KEEPALIVE, got %r" % types

    def send(self, data):
        self.sock.sendall(data)

    def read_message(self, timeout=10):
        """(type, body) of the next message; (None, b"") when the peer closed."""
        self.sock.settimeout(timeout)
        while len(self.buf) < 19 or len(self.buf) < struct.unpack("!H", self.buf[16:18])[0]:
            chunk = self.sock.recv(65536)
            if not chunk:
                return None, b""
            self.buf += chunk
        length = struct.unpack("!H", self.buf[16:18])[0]
        msg, self.buf = self.buf[:length], self.buf[length:]
        return msg[18], msg[19:]

    def notification(self, timeout=10):
        """(code, subcode) of the NOTIFICATION that ends the session, other
        messages skipped; None when the connection closed without one."""
        while True:
            msg_type, body = self.read_message(timeout)
            if msg_type is None:
                return None
            if msg_type == 3:
                return body[0], body[1]

    def quiet(self, seconds):
        """Asserts that the session stays up for a while; the types of the messages that came."""
        end = time.monotonic() + seconds
        types = []
        while time.monotonic() < end:
            try:
                msg_type, body = self.read_message(timeout=max(0.1, end - time.monotonic()))
            except socket.timeout:
                break
            assert msg_type is not None, "the session was closed"
            assert msg_type != 3, "NOTIFICATION %d/%d" % (body[0], body[1])
            types.append(msg_type)
        return types

    def reset(self):
        """Closes with a TCP reset instead of a FIN."""
        self.sock.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
        self.sock.close()


def signalled_table(proc, path, timeout=30):
    """The entries of the table a run writes anew to path on SIGUSR1, once the file is whole."""
    if os.path.exists(path):
        os.unlink(path)
    proc.send_signal(signal.SIGUSR1)

    def read():
        try:
            with open(path) as f:
                text = f.read()
            if text and not text.endswith("\n"):
                return None
            return ([json.loads(line) for line in text.splitlines() if line.strip()],)
        except (OSError, ValueError):
            return None
    return wait_for(read, timeout, "the table in " + path, 0.05)[0]


def dump_rib(proc, path):
    """The listen table: key -> attribute hex."""
    return table_of(signalled_table(proc, path))


def route_key(entry):
    return (entry["nlri"]["distinguisher"], entry["nlri"]["color"], entry["nlri"]["endpoint"])


def table_of(entries):
    """key (distinguisher, color, endpoint) -> attribute hex of table entries."""
    return {route_key(e): (e["attribute"] or {}).get("hex") for e in entries}


def encode(tool, config, *args):
    """The hex lines of the UPDATEs encode builds of a configuration."""
    return subprocess.run([tool, "encode", config, *args], capture_output=True, check=True, timeout=300).stdout


def expected_table(tool, config):
    """The table of a configuration, as encode builds it and decode --rib holds it."""
    rib = subprocess.run([tool, "decode", "--rib", "--json", "--in", "hex", "-"], input=encode(tool, config),
                         capture_output=True, check=True, timeout=300).stdout
    return table_of(json.loads(line) for line in rib.decode().splitlines() if line.strip())


def read_jsonl(path):
    """The complete JSON lines of a file a process may be writing right now."""
    with open(path) as f:
        return [json.loads(line) for line in f if line.endswith("\n") and line.strip()]


def main(cases, limit=0):
    """Runs the case the command line names (SRPOLICY [CONFIGS] CASE) in a work directory of its own, within
    limit seconds when given; on a failure prints the ends of the runs' logs and keeps the directory. Exit
    status 0 passed, 1 failed, 2 usage, or what the case returns (77: skipped)."""
    *args, name = sys.argv[1:] or [""]
    if not args or name not in cases:
        print("usage: %s SRPOLICY [CONFIGS] {%s}" % (sys.argv[0], ",".join(cases)), file=sys.stderr)
        return 2
    if limit:
        signal.signal(signal.SIGALRM, lambda *_: (_ for _ in ()).throw(AssertionError("time limit")))
        signal.alarm(limit)
    wd = tempfile.mkdtemp(prefix="srpolicy-live-")
    try:
        rc = cases[name](os.path.abspath(args[0]), *args[1:], wd) or 0
    except AssertionError as e:
        print("FAILED: %s\nwork directory: %s" % (e, wd))
        for log in sorted(os.listdir(wd)):
            if log.endswith((".err", ".out", ".log")):
                with open(os.path.join(wd, log), errors="replace") as f:
                    print("---- %s (end)\n%s" % (log, f.read()[-3000:]))
        return 1
    shutil.rmtree(wd, ignore_errors=True)
    return rc
