#!/usr/bin/env python3
"""Live runs of `srpolicy bmp` on loopback, and decode of BMP files and
captures: bmp_tests.py TOOL CONFIGS SCENARIO (one of SCENARIOS below). Every
port is picked at run time (port 0); every run is bounded by an alarm and
stops what it started."""
import json
import os
import re
import signal
import socket
import struct
import subprocess
import sys
import threading

import harness

LIMIT_SECONDS = 90
PEER_TIME = 1700000000


def bmp(msg_type, body):
    return struct.pack("!BIB", 3, 6 + len(body), msg_type) + body


def peer_header(addr, asn, flags=0, peer_type=0):
    return struct.pack("!BBQ12s4sIIII", peer_type, flags, 0, b"\0" * 12, socket.inet_aton(addr), asn,
                       0x0A0000FF, PEER_TIME, 250)


def tlv(tlv_type, value):
    return struct.pack("!HH", tlv_type, len(value)) + value


def initiation(name):
    return bmp(4, tlv(2, name.encode()) + tlv(1, b"scripted router"))


def router_stream(name, updates, addr="10.0.0.9", asn=65009):
    """Initiation, Peer Up of the peer and a Route Monitoring per UPDATE."""
    fixed = b"\0" * 12 + socket.inet_aton("127.0.0.1") + struct.pack("!HH", 179, 50000)
    return (initiation(name) + bmp(3, peer_header(addr, asn) + fixed + harness.open_message(65000, 90, "127.0.0.1") +
                                   harness.open_message(asn, 90, addr)) +
            b"".join(bmp(0, peer_header(addr, asn) + u) for u in updates))


def encode(tool, configs, name, *args):
    return [bytes.fromhex(line) for line in harness.encode(tool, os.path.join(configs, name), *args).decode().split()]


def pcap(frames, link=1):
    """A classic pcap file (microseconds) holding the frames."""
    return struct.pack("<IHHiIII", 0xA1B2C3D4, 2, 4, 0, 0, 65535, link) + b"".join(
        struct.pack("<IIII", 1000 + i, 0, len(frame), len(frame)) + frame for i, frame in enumerate(frames))


def tcp_frame(src, dst, sport, dport, seq, flags, payload=b""):
    """Ethernet, IPv4 and TCP (checksums left zero) carrying the payload."""
    tcp = struct.pack("!HHIIBBHHH", sport, dport, seq, 0, 5 << 4, flags, 65535, 0, 0) + payload
    ip = struct.pack("!BBHHHBBH4s4s", 0x45, 0, 20 + len(tcp), 0, 0x4000, 64, 6, 0, socket.inet_aton(src),
                     socket.inet_aton(dst))
    return bytes(12) + b"\x08\x00" + ip + tcp


class Station(harness.Srpolicy):
    """`srpolicy bmp` on a port of its own (read from --port-file once written)."""

    def __init__(self, tool, workdir, extra=(), bind="127.0.0.1:0", pipe=False):
        port_file = os.path.join(workdir, "port")
        self.rib = os.path.join(workdir, "rib.jsonl")
        if os.path.exists(port_file):
            os.unlink(port_file)
        super().__init__(tool, workdir, "station", ["bmp", "--bind", bind, "--port-file", port_file, "--json"] +
                         ([] if pipe else ["--rib-out", self.rib, "--verbose"]) + list(extra), pipe)
        wait_for(lambda: os.path.exists(port_file) or self.proc.poll() is not None, "the station's port")
        assert os.path.exists(port_file), "the station listens on " + bind + ": " + self.stderr()
        with open(port_file) as f:
            self.port = int(f.read())

    def events(self):
        return harness.read_jsonl(self.out_path)

    def table(self):
        return harness.signalled_table(self, self.rib)


def wait_stderr(station, pattern, what):
    wait_for(lambda: re.search(pattern, station.stderr()), what + " (stderr: " + pattern + ")")


def wait_for(cond, what, seconds=20):
    return harness.wait_for(cond, seconds, what, 0.05)


def routes_of(station, name):
    return [e for e in station.events() if e.get("router") == name and "nlri" in e]


def events(station, name, peer=""):
    """The station's events of that name (of a monitored peer whose text starts with peer)."""
    return [e for e in station.events() if e.get("event") == name and e.get("peer", "").startswith(peer)]


WITHDRAWN = (1, 100, "10.0.0.2")  # the route of bmp_withdraw.json


def run_malformed(tool, configs, workdir):
    """Broken routers are reported and closed alone, their routes removed; a
    router outside --allow is refused; the good router's table is kept."""
    updates = encode(tool, configs, "bmp_routes.json")
    withdraw = encode(tool, configs, "bmp_withdraw.json", "--withdraw")
    station = Station(tool, workdir, ["--allow", "127.0.0.1/32", "--allow", "::1"])
    try:
        good = harness.connect_from("127.0.0.1", station.port)
        assert subprocess.run([tool, "bmp", "--bind", "127.0.0.1:%d" % station.port], capture_output=True,
                              timeout=10).returncode == 2, "a second station on a port in use: status 2"
        good.sendall(router_stream("good", updates))
        good_name = "127.0.0.1:%d" % good.getsockname()[1]
        wait_for(lambda: len(routes_of(station, good_name)) == 3, "the good router's three routes")
        rm = bmp(0, peer_header("10.0.0.8", 65008) + updates[1])
        cases = [
            ("wrong version", b"\x01" + rm[1:], r"BMP version 1, expected 3"),
            ("a length that lies", rm[:1] + struct.pack("!I", len(rm) + 10) + rm[5:] + initiation("next"),
             r"Route Monitoring: \d+ bytes after the UPDATE"),
            ("a cut message", rm[:len(rm) // 2],
             r"cut BMP message: the session ended %d bytes into it" % (len(rm) // 2)),
        ]
        for what, data, pattern in cases:
            bad = harness.connect_from("127.0.0.1", station.port)
            name = "127.0.0.1:%d" % bad.getsockname()[1]
            bad.sendall(router_stream("bad", [updates[1]], "10.0.0.8", 65008))
            wait_for(lambda: routes_of(station, name), what + ": the broken router's route before the fault")
            bad.sendall(data)
            if what == "a cut message":
                bad.shutdown(socket.SHUT_WR)
            wait_stderr(station, r"error: router %s: [^\n]*%s; session closed" % (re.escape(name), pattern), what)
            wait_stderr(station, r"router %s disconnected, 1 routes removed" % re.escape(name), what + ": closed")

        outsider = harness.connect_from("127.0.0.2", station.port)
        wait_stderr(station, r"refused router 127\.0\.0\.2:\d+: not in an allowed prefix", "the refused router")
        assert outsider.recv(1) == b"", "a router outside --allow is refused"
        outsider.close()

        # The good router is still served: a withdrawal and a statistics report go through.
        good.sendall(bmp(0, peer_header("10.0.0.9", 65009) + withdraw[0]) +
                     bmp(1, peer_header("10.0.0.9", 65009) + struct.pack("!I", 1) + tlv(7, struct.pack("!Q", 2))))
        wait_for(lambda: any(e.get("withdrawn") for e in routes_of(station, good_name)), "the good router's withdrawal")
        wait_for(lambda: events(station, "Statistics Report"), "the statistics")
        stored = station.table()
        expected = harness.expected_table(tool, os.path.join(configs, "bmp_routes.json"))
        del expected[WITHDRAWN]
        assert harness.table_of(stored) == expected, "the good router's table: its routes less the withdrawn one"
        assert (all(e["router"] == good_name and e["peer"] == "10.0.0.9 AS 65009" and e["view"] == "pre-policy" and
                  e.get("time") == "2023-11-14T22:13:20.000250Z" for e in stored)), (
              "every stored route names its router, peer, view and the per-peer time stamp")
        good.sendall(bmp(2, peer_header("10.0.0.9", 65009) + b"\x04"))
        wait_for(lambda: [e for e in events(station, "Peer Down") if e["routes_removed"] == 2],
                 "the peer down clearing two routes")
        assert station.table() == [], "peer down empties that peer's table"
    finally:
        rc = station.stop()
    err = station.stderr()
    assert rc == 0 and "cannot write" not in err and "paused" not in err, (
          "the station stops on SIGTERM with status 0, every dump written, its reading never paused")
    assert (re.search(r"summary: sessions 4, messages \d+, updates \d+, routes \d+, withdrawals 1, statistics 1, "
                    r"skipped \d+, failed 3\n", err) is not None), "the summary counts sessions and failures: " + err
    # The sessions it closed wait out their time on its port; a new station binds it at once.
    assert Station(tool, workdir, bind="127.0.0.1:%d" % station.port).stop() == 0, "a station starts again on the port"


def run_ipv6(tool, configs, workdir):
    """The station on ::1: an IPv6 router is allowed by its prefix, named as [ADDR]:PORT, and its table kept.
    On an IPv6 socket of the IPv4-mapped loopback address, IPv4 routers come as mapped addresses, are checked
    against IPv4 prefixes and named as IPv4."""
    updates = encode(tool, configs, "bmp_routes.json")
    for bind, allow, source in (("[::1]:0", "::1/128", "::1"), ("[::ffff:127.0.0.1]:0", "127.0.0.0/8", "127.0.0.1")):
        station = Station(tool, workdir, ["--allow", allow], bind=bind)
        try:
            router = harness.connect_from(source, station.port)
            name = ("[%s]:%d" if ":" in source else "%s:%d") % (source, router.getsockname()[1])
            router.sendall(router_stream("r", updates[:1]))
            wait_for(lambda: routes_of(station, name), "the route of router " + name)
            assert [e["router"] for e in station.table()] == [name], bind + ": the router's table, named " + name
            router.close()
        finally:
            rc = station.stop()
        assert rc == 0, "the station on %s stops with status 0" % bind


def run_slow_output(tool, configs, workdir, count=3000):
    """A standard output nobody reads pauses reading from the routers; once it is read they are read again and
    no route is lost."""
    stream = router_stream("r1", encode(tool, configs, "bmp_routes.json") * count)
    station = Station(tool, workdir, ["--out-buffer", "1"], pipe=True)
    routes = [0]

    def read():
        for line in station.proc.stdout:
            routes[0] += b'"nlri"' in line
    reader = threading.Thread(target=read)
    try:
        router = harness.connect_from("127.0.0.1", station.port)
        sender = threading.Thread(target=lambda: (router.sendall(stream), router.shutdown(socket.SHUT_WR)))
        sender.start()
        wait_stderr(station, "reading from the routers paused", "the station to pause its routers")
        reader.start()
        wait_stderr(station, "reading from the routers again", "the station to read again")
        wait_for(lambda: routes[0] == 3 * count, "every route on standard output", 60)
        sender.join(10)
        router.close()
    finally:
        rc = station.stop()
    reader.join(10)
    assert rc == 0 and routes[0] == 3 * count and "routes %d," % (3 * count) in station.stderr(), (
          "the station stops with every route printed once and counted")


def pcap_file(stream, sport, dport, chunk=500, lost=0):
    """A classic pcap of one TCP direction carrying the stream in segments
    of `chunk` bytes, Ethernet and IPv4, 192.0.2.1 -> 192.0.2.2; the last
    two segments swapped to show the reassembly at work; `lost` segments
    left out after the second."""
    def frame(seq, flags, data=b""):
        return tcp_frame("192.0.2.1", "192.0.2.2", sport, dport, seq, flags, data)
    frames = [frame(999, 0x02)] + [frame(1000 + i, 0x18, stream[i:i + chunk]) for i in range(0, len(stream), chunk)]
    frames[-1], frames[-2] = frames[-2], frames[-1]
    return pcap(frames[:3] + frames[3 + lost:])


def decode(tool, workdir, name, data, *args):
    """srpolicy decode --json of the data written to a file: status, JSON lines, standard error."""
    path = os.path.join(workdir, name)
    with open(path, "wb") as f:
        f.write(data)
    run = subprocess.run([tool, "decode", "--json", *args, path], capture_output=True, text=True, timeout=30)
    return run.returncode, [json.loads(line) for line in run.stdout.splitlines() if line.strip()], run.stderr


def run_decode(tool, configs, workdir):
    updates = encode(tool, configs, "bmp_routes.json")
    withdraw = encode(tool, configs, "bmp_withdraw.json", "--withdraw")
    peer = peer_header("10.0.0.9", 65009)
    stream = (router_stream("r1", updates + withdraw) +
              bmp(1, peer + struct.pack("!I", 1) + tlv(0, struct.pack("!I", 3))) +
              bmp(6, peer + tlv(0, updates[0]) + tlv(1, struct.pack("!H", 1))) + bmp(2, peer + b"\x04") +
              bmp(5, tlv(1, struct.pack("!H", 0))))
    expected = set(harness.expected_table(tool, os.path.join(configs, "bmp_routes.json")))
    # (number, offset) of each message in the stream; a message's routes share them.
    numbered, offset = [], 0
    while offset < len(stream):
        numbered.append((len(numbered) + 1, offset))
        offset += struct.unpack_from("!I", stream, offset + 1)[0]
    for name, data, args in (("stream.bmp", stream, ()), ("bmp.pcap", pcap_file(stream, 40000, 11019), ()),
                             ("bmp_port.pcap", pcap_file(stream, 40000, 5000), ("--port", "5000"))):
        rc, lines, err = decode(tool, workdir, name, data, *args)
        events = [e.get("event") for e in lines if "event" in e]
        routes = [e for e in lines if "nlri" in e]
        assert rc == 0 and events == ["Initiation", "Peer Up", "Route Mirroring", "Peer Down", "Termination"], (
              name + ": the BMP events in order (status %d, %s, %s)" % (rc, events, err.strip()))
        assert [e.get("information") for e in lines if e.get("event") == "Route Mirroring"] == [[1]], (
              name + ": the mirroring information codes")
        assert ["time" in e for e in lines if "event" in e] == [False, True, True, True, False], (
              name + ": events of a monitored peer carry its time stamp, the others none")
        assert ({harness.route_key(e) for e in routes if e["view"] == "pre-policy" and not e["withdrawn"]} == expected and
              [harness.route_key(e) for e in routes if e["withdrawn"]] == [WITHDRAWN] and
              [e["view"] for e in routes].count("mirrored") == 1), (
              name + ": the routes of Route Monitoring and Route Mirroring")
        assert all(e["peer"] == "10.0.0.9 AS 65009" and e["time"] == "2023-11-14T22:13:20.000250Z" for e in routes), (
              name + ": every route names its peer and time stamp")
        pairs = [(e["message"], e["offset"]) for e in lines]
        assert pairs == sorted(pairs) and set(pairs) <= set(numbered) and len(set(pairs)) == len(numbered) - 1, (
              name + ": every line names its message by number and offset in the stream")
        assert "summary: messages 10, updates 5, routes 5, withdrawals 1, skipped 8, failed 0\n" in err, (
              name + ": the summary counts the BMP stream's messages: " + err.strip())
    path = os.path.join(workdir, "stream.bmp")
    text = subprocess.run([tool, "decode", path], capture_output=True, text=True, timeout=30).stdout
    assert ("bmp Initiation (message 1, router %s, %s offset 0)\n  initiation: sysName r1, sysDescr scripted router\n"
          "bmp Peer Up (message 2, 2023-11-14T22:13:20.000250Z, router %s, peer 10.0.0.9 AS 65009, global pre-policy, "
          "%s offset 31)\n  peer up: BGP ID 10.0.0.255, local 127.0.0.1 port 179, remote port 50000, 4-octet AS yes, "
          "families 1/73 2/73\n" % (path, path, path, path) in text), "the BMP events in text: " + text[:600]
    # Without --port, the flow on another port is named.
    rc, _, err = decode(tool, workdir, "bmp_port.pcap", pcap_file(stream, 40000, 5000))
    assert rc == 1 and "give --port N" in err, "a BMP flow on another port is named without --port"
    # An MRT RIB entry whose attribute value (a type 14 tunnel) is refused.
    value = bytes.fromhex("000e00030e0105")
    attrs = bytes([0x40, 1, 1, 0, 0xC0, 23, len(value)]) + value
    body = (struct.pack("!IHBBII4s", 1, 1, 73, 96, 1, 100, socket.inet_aton("10.0.0.1")) +
            struct.pack("!HHIH", 1, 0, 0, len(attrs)) + attrs)
    rc, _, err = decode(tool, workdir, "rib.mrt", struct.pack("!IHHI", PEER_TIME, 13, 6, len(body)) + body)
    assert rc == 1 and "message 1 at offset 0 (+7): Tunnel Encapsulation attribute" in err, (
          "a RIB entry's refused attribute is named by its place among the entry's attributes: " + err.strip())
    rc, lines, err = decode(tool, workdir, "lost.pcap", pcap_file(stream, 40000, 11019, lost=1))
    assert rc == 1 and "message 5 at offset 497: 500 bytes of the BMP stream lost; the rest of it is passed over" in err, (
          "a BMP flow with a segment lost: reported, the rest passed over: " + err.strip())
    rc, _, err = decode(tool, workdir, "cut.bmp", stream[:-3])
    assert rc == 1 and re.search(r"cut BMP message: the stream ended 9 bytes into it", err), (
          "a cut stream file: reported, status 1: " + err.strip())
    rc, lines, err = decode(tool, workdir, "broken.bmp", initiation("r1") + bmp(0, b"") + initiation("r2"))
    assert rc == 1 and "no room for its per-peer header" in err and [e.get("sysName") for e in lines] == ["r1", "r2"], (
          "a malformed message in a file is reported and the stream goes on: " + err.strip())


SCENARIOS = {"malformed": run_malformed, "decode": run_decode, "ipv6": run_ipv6, "slow_output": run_slow_output}


if __name__ == "__main__":
    sys.exit(harness.main(SCENARIOS, LIMIT_SECONDS))
