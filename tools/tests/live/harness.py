"""Loopback test harness of the live commands: free ports, a gobgpd started
with its own configuration and ports and stopped within a time bound, srpolicy
processes, and a scripted BGP peer that sends whatever a test needs.

Everything listens on and connects to 127.0.0.0/8 only."""
import ctypes
import json
import os
import shutil
import signal
import socket
import struct
import subprocess
import tempfile
import time

LOOPBACK = "127.0.0.1"


def _die_with_parent():
    """In a child before exec: SIGKILL when the test process ends, however it
    ends (a CTest timeout kills the test, not what it started)."""
    PR_SET_PDEATHSIG = 1
    ctypes.CDLL(None, use_errno=True).prctl(PR_SET_PDEATHSIG, signal.SIGKILL)


def spawn(args, **kwargs):
    """subprocess.Popen for every process a test starts: none outlives the test."""
    return subprocess.Popen(args, preexec_fn=_die_with_parent, **kwargs)


def free_port(addr=LOOPBACK):
    """A TCP port nobody holds right now (bound once with port 0)."""
    with socket.socket(socket.AF_INET, socket.SOCK_STREAM) as s:
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
    """Signals a process and waits for it; killed when it does not end in time."""
    if proc.poll() is None:
        proc.send_signal(sig)
        try:
            proc.wait(timeout)
        except subprocess.TimeoutExpired:
            proc.kill()
            proc.wait(5)
    return proc.returncode


class Gobgpd:
    """gobgpd on 127.0.0.1 with a generated configuration: its BGP port and gRPC
    port are picked free at run time, its peers are passive (they connect to
    it) and speak the SR Policy families."""

    def __init__(self, workdir, asn, neighbors, bmp_port=None):
        self.workdir = workdir
        self.bmp_port = bmp_port  # a BMP station gobgpd streams its pre-policy routes to
        self.asn = asn
        self.port = free_port()
        self.api_port = free_port()
        # list of dicts: address, asn, and optionally password and remote_port
        # (gobgpd then connects to that port instead of waiting)
        self.neighbors = neighbors
        self.gobgpd = shutil.which("gobgpd") or "/usr/sbin/gobgpd"
        self.gobgp = shutil.which("gobgp") or "/usr/bin/gobgp"
        self.proc = None
        self.log = os.path.join(workdir, "gobgpd.log")

    def config(self):
        """gobgpd's configuration (its JSON form, keys as in its TOML form)."""
        def neighbor(n):
            return {"config": {"neighbor-address": n["address"], "peer-as": n["asn"],
                               "auth-password": n.get("password", "")},
                    "transport": {"config": dict({"passive-mode": not n.get("remote_port"), "local-address": LOOPBACK},
                                                 **({"remote-port": n["remote_port"]} if n.get("remote_port") else {}))},
                    "timers": {"config": {"connect-retry": 1}},
                    "afi-safis": [{"config": {"afi-safi-name": f}} for f in ("ipv4-srpolicy", "ipv6-srpolicy")]}
        conf = {"global": {"config": {"as": self.asn, "router-id": LOOPBACK, "port": self.port,
                                      "local-address-list": [LOOPBACK]}},
                "neighbors": [neighbor(n) for n in self.neighbors]}
        if self.bmp_port is not None:
            conf["bmp-servers"] = [{"config": {"address": LOOPBACK, "port": self.bmp_port,
                                               "route-monitoring-policy": "pre-policy"}}]
        return conf

    def __enter__(self):
        path = os.path.join(self.workdir, "gobgpd.json")
        with open(path, "w") as f:
            json.dump(self.config(), f)
        self.logfile = open(self.log, "w")
        self.proc = spawn(
            [self.gobgpd, "-f", path, "-t", "json", "-p", "--pprof-disable",
             "--api-hosts", "%s:%d" % (LOOPBACK, self.api_port)],
            stdout=self.logfile, stderr=subprocess.STDOUT)
        wait_for(lambda: self._accepts(self.port), 15, "gobgpd to listen on port %d" % self.port)
        return self

    def __exit__(self, *exc):
        stop_process(self.proc, signal.SIGTERM, 10)
        self.logfile.close()

    def _accepts(self, port):
        if self.proc.poll() is not None:
            raise AssertionError("gobgpd ended: " + open(self.log).read()[-2000:])
        return accepts(port)

    def neighbor_state(self, address):
        """The session state gobgp shows for a neighbor, e.g. "established"."""
        out = subprocess.run(
            [self.gobgp, "-u", LOOPBACK, "-p", str(self.api_port), "neighbor", address,
             "-j"], capture_output=True, text=True, timeout=10)
        if out.returncode != 0:
            return ""
        try:
            return json.loads(out.stdout)["state"]["session_state"]
        except (ValueError, KeyError, TypeError):
            return ""


class Srpolicy:
    """An srpolicy listen or announce run with its output in files."""

    def __init__(self, tool, workdir, name, args, stdout_pipe=False):
        """With stdout_pipe the output goes to a pipe the test reads (or
        does not) through self.proc.stdout."""
        self.name = name
        self.out_path = os.path.join(workdir, name + ".out")
        self.err_path = os.path.join(workdir, name + ".err")
        self.out = open(self.out_path, "w")
        self.err = open(self.err_path, "w")
        self.proc = spawn([tool] + args, stdout=subprocess.PIPE if stdout_pipe else self.out,
                                     stderr=self.err)

    def stderr(self):
        with open(self.err_path) as f:
            return f.read()

    def stdout(self):
        with open(self.out_path) as f:
            return f.read()

    def events(self):
        return read_jsonl(self.out_path)

    def send_signal(self, sig):
        self.proc.send_signal(sig)

    def stop(self, sig=signal.SIGTERM, timeout=20.0):
        rc = stop_process(self.proc, sig, timeout)
        self.out.close()
        self.err.close()
        return rc

    def alive(self):
        return self.proc.poll() is None


# ---- Raw BGP for the scripted peer ------------------------------------------

def message(msg_type, body=b""):
    return b"\xff" * 16 + struct.pack("!HB", 19 + len(body), msg_type) + body


def open_message(asn, hold, router_id, families=((1, 73), (2, 73))):
    caps = b"".join(struct.pack("!BBHBB", 1, 4, afi, 0, safi) for afi, safi in families)
    caps += struct.pack("!BBI", 65, 4, asn)
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
    """An UPDATE announcing SR Policy NLRI of AFI 1 with the Tunnel
    Encapsulation attribute value given (tunnel TLVs, any bytes)."""
    mp = struct.pack("!HBB4sB", 1, 73, 4, socket.inet_aton(next_hop), 0) + nlri
    attrs = attribute(0x40, 1, b"\x00")
    attrs += attribute(0x40, 2, struct.pack("!BBI", 2, 1, asn))
    attrs += attribute(0x80, 14, mp)
    attrs += attribute(0xC0, 23, tunnel_value)
    return message(2, struct.pack("!HH", 0, len(attrs)) + attrs)


def sr_policy_tunnel(preference, labels):
    """A Tunnel Encapsulation value: one SR Policy tunnel (type 15) with a
    preference and one segment list of MPLS label segments (type A)."""
    segs = b"".join(struct.pack("!BBBBI", 1, 6, 0, 0, label << 12) for label in labels)
    seglist = struct.pack("!BHB", 128, len(segs) + 1, 0) + segs
    pref = struct.pack("!BBBBI", 12, 6, 0, 0, preference)
    sub = pref + seglist
    return struct.pack("!HH", 15, len(sub)) + sub


class ScriptedPeer:
    """A BGP peer written out byte by byte: connects to a listening srpolicy
    and sends what the test gives it."""

    def __init__(self, port, source, asn=65010, hold=90, sock=None):
        """Connects from source to port, or speaks on sock when given."""
        self.sock = sock or connect(port, source)
        self.asn = asn
        self.hold = hold
        self.buf = b""

    def establish(self, source_id="127.0.0.9"):
        self.sock.sendall(open_message(self.asn, self.hold, source_id) + KEEPALIVE)
        types = [self.read_message()[0] for _ in range(2)]
        assert types == [1, 4], "expected OPEN and KEEPALIVE, got %r" % types

    def send(self, data):
        self.sock.sendall(data)

    def read_message(self, timeout=10):
        """(type, body) of the next message; (None, b"") when the peer closed."""
        self.sock.settimeout(timeout)
        while True:
            if len(self.buf) >= 19:
                length = struct.unpack("!H", self.buf[16:18])[0]
                if len(self.buf) >= length:
                    msg, self.buf = self.buf[:length], self.buf[length:]
                    return msg[18], msg[19:]
            chunk = self.sock.recv(65536)
            if not chunk:
                return None, b""
            self.buf += chunk

    def notification(self, timeout=10):
        """(code, subcode) of the NOTIFICATION that ends the session, skipping
        keepalives and updates; None when the connection closed without one."""
        while True:
            msg_type, body = self.read_message(timeout)
            if msg_type is None:
                return None
            if msg_type == 3:
                return body[0], body[1]

    def reset(self):
        """Closes with a TCP reset instead of a FIN."""
        self.sock.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
        self.sock.close()

    def close(self):
        self.sock.close()


def accepts(port, host=LOOPBACK):
    """Whether something accepts TCP connections on the port."""
    try:
        with socket.create_connection((host, port), timeout=0.5):
            return True
    except OSError:
        return False


def connect(port, source=LOOPBACK, host=LOOPBACK):
    """A TCP connection from the source address (any port) to the port."""
    s = socket.socket(socket.AF_INET6 if ":" in host else socket.AF_INET, socket.SOCK_STREAM)
    s.settimeout(10)
    s.bind((source, 0))
    s.connect((host, port))
    return s


def dump_rib(proc, path, timeout=30):
    """The table a listen or bmp run writes anew to path on SIGUSR1: its
    entries once the file is there and whole."""
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
    return wait_for(read, timeout, "the table in " + path)[0]


def pcap(frames, link=1):
    """A classic pcap file (microseconds) holding the frames."""
    out = struct.pack("<IHHiIII", 0xA1B2C3D4, 2, 4, 0, 0, 65535, link)
    for i, frame in enumerate(frames):
        out += struct.pack("<IIII", 1000 + i, 0, len(frame), len(frame)) + frame
    return out


def tcp_frame(src, dst, sport, dport, seq, flags, payload=b""):
    """Ethernet, IPv4 and TCP (checksums left zero) carrying the payload."""
    tcp = struct.pack("!HHIIBBHHH", sport, dport, seq, 0, 5 << 4, flags, 65535, 0, 0) + payload
    ip = struct.pack("!BBHHHBBH4s4s", 0x45, 0, 20 + len(tcp), 0, 0x4000, 64, 6, 0, socket.inet_aton(src),
                     socket.inet_aton(dst))
    return bytes(12) + b"\x08\x00" + ip + tcp


def key_of(entry):
    n = entry["nlri"]
    return (n["distinguisher"], n["color"], n["endpoint"])


def table_of(entries):
    """key -> attribute hex of table entries."""
    return {key_of(e): (e["attribute"] or {}).get("hex") for e in entries}


def expected_table(tool, config):
    """The table of a configuration, as encode builds it and decode --rib
    holds it."""
    hexes = subprocess.run([tool, "encode", config], capture_output=True, check=True, timeout=300).stdout
    rib = subprocess.run([tool, "decode", "--rib", "--json", "--in", "hex", "-"], input=hexes, capture_output=True,
                         check=True, timeout=300).stdout
    return table_of(json.loads(line) for line in rib.decode().splitlines() if line.strip())


def read_jsonl(path):
    """The complete JSON lines of a file a process may be writing right now:
    a last line without its newline is still being written and is left out."""
    with open(path) as f:
        return [json.loads(line) for line in f if line.endswith("\n") and line.strip()]


def workdir():
    return tempfile.mkdtemp(prefix="srpolicy-live-")
