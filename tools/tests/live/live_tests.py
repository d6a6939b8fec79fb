#!/usr/bin/env python3
"""End-to-end runs of srpolicy listen and announce on loopback addresses: with
gobgpd between them (eBGP, so routes pass through it) and against a scripted
peer. Usage: live_tests.py SRPOLICY CASE. Exit status 0 passed, 1 failed,
77 skipped (the kernel refuses what the case needs)."""
import json
import os
import signal
import socket
import struct
import subprocess
import sys
import threading
import time

from harness import (KEEPALIVE, LOOPBACK, Gobgpd, ScriptedPeer, Srpolicy, accepts, dump_rib, expected_table, free_port,
                     open_message, read_jsonl, sr_policy_tunnel, srpolicy_nlri_v4, table_of, update_v4, wait_for,
                     workdir)

SKIP = 77
AS_GOBGPD, AS_ANNOUNCE, AS_LISTEN = 65000, 65001, 65002
ANNOUNCER, LISTENER = "127.0.0.2", "127.0.0.3"


def route(endpoint, color, preference, labels, weight=None, bsid=None, distinguisher=1):
    """A configured route with MPLS segments only: what SR Policy receivers
    following RFC 9830 keep whole."""
    seglist = {"segments": [{"label": label} for label in labels]}
    if weight is not None:
        seglist["weight"] = weight
    r = {"endpoint": endpoint, "color": color, "distinguisher": distinguisher, "preference": preference,
         "segment_lists": [seglist]}
    if bsid is not None:
        r["binding_sid"] = {"label": bsid}
    return r


def write_config(path, routes):
    with open(path, "w") as f:
        json.dump({"defaults": {"next_hop": ANNOUNCER}, "routes": routes}, f)


def dump_table(proc, rib_out):
    """Asks a listen run for its table (SIGUSR1): key -> attribute hex."""
    return table_of(dump_rib(proc, rib_out))


def wait_table(proc, rib_out, want, timeout, what):
    """Polls the listen table until it equals want."""
    last = {}

    def check():
        nonlocal last
        last = dump_table(proc, rib_out)
        return last == want
    try:
        wait_for(check, timeout, what, interval=0.5)
    except AssertionError:
        missing = set(want) - set(last)
        extra = set(last) - set(want)
        changed = [k for k in want if k in last and last[k] != want[k]]
        raise AssertionError("%s: missing %d %s, extra %d %s, changed %d %s" % (
            what, len(missing), sorted(missing)[:3], len(extra), sorted(extra)[:3], len(changed), changed[:3]))


def gobgpd_between(wd):
    """gobgpd with the announcer and the listener as its eBGP peers; both
    srpolicy runs connect to it from their own loopback addresses."""
    return Gobgpd(wd, AS_GOBGPD, [dict(address=ANNOUNCER, asn=AS_ANNOUNCE), dict(address=LISTENER, asn=AS_LISTEN)])


def listen(tool, wd, args, name="listen", pipe=False):
    return Srpolicy(tool, wd, name, ["listen", "--as", str(AS_LISTEN)] + list(args), stdout_pipe=pipe)


def start_listen(tool, wd, g, connect_suffix=""):
    rib_out = os.path.join(wd, "rib.json")
    return listen(tool, wd, ["--connect", "%s:%d%s" % (LOOPBACK, g.port, connect_suffix), "--source", LISTENER,
                             "--json", "--rib-out", rib_out, "--retry", "1"]), rib_out


def established(proc, timeout=20):
    """Waits for a run's session; only then does it take signals."""
    wait_for(lambda: "session established" in proc.stderr(), timeout, proc.name + "'s session")


def start_announce(tool, wd, g, config):
    return announce(tool, wd, config, ["--peer-as", str(AS_GOBGPD), "--connect", "%s:%d" % (LOOPBACK, g.port),
                                       "--source", ANNOUNCER, "--retry", "1"])


def announce(tool, wd, config, args):
    return Srpolicy(tool, wd, "announce", ["announce", config, "--as", str(AS_ANNOUNCE)] + args)


def case_gobgpd_table(tool, wd):
    """announce -> gobgpd -> listen: the table equals the configuration; then
    a SIGHUP with one route removed, one changed and one added is seen at the
    far end; at exit announce withdraws everything."""
    config = os.path.join(wd, "routes.json")
    first = [route("10.0.0.%d" % i, 100 + i, 100 + i, [16000 + i, 17000 + i], weight=i, bsid=24000 + i)
             for i in range(1, 7)]
    first.append(route("2001:db8::7", 7, 7, [16007]))
    write_config(config, first)
    want = expected_table(tool, config)
    assert len(want) == 7, want
    with gobgpd_between(wd) as g:
        lis, rib_out = start_listen(tool, wd, g)
        ann = start_announce(tool, wd, g, config)
        established(lis)
        established(ann)
        wait_table(lis, rib_out, want, 60, "the configured routes at the far end")

        second = [r for r in first if r["endpoint"] != "10.0.0.2"]
        second[0] = route("10.0.0.1", 101, 555, [16001, 17001, 18001], weight=1, bsid=24001)
        second.append(route("10.0.0.9", 109, 109, [16009]))
        write_config(config, second)
        want2 = expected_table(tool, config)
        ann.send_signal(signal.SIGHUP)
        wait_table(lis, rib_out, want2, 60, "the reloaded configuration at the far end")
        assert "configuration reloaded: 2 route(s) announced, 1 withdrawn, 5 unchanged" in ann.stderr(), ann.stderr()

        assert ann.stop() == 0, "announce did not end cleanly"
        wait_table(lis, rib_out, {}, 60, "every route withdrawn after announce ended")
        assert lis.stop() == 0, "listen did not end cleanly"
        assert "peer %s (AS %d): session established" % (LOOPBACK, AS_GOBGPD) in lis.stderr(), lis.stderr()


def case_announce_passive(tool, wd):
    """announce waits with --bind and gobgpd connects to it; the routes reach
    the far end as when announce connects."""
    config = os.path.join(wd, "routes.json")
    write_config(config, [route("10.0.0.%d" % i, 7, 100, [16000 + i], weight=1) for i in range(1, 4)])
    want = expected_table(tool, config)
    port = free_port(ANNOUNCER)
    g = Gobgpd(wd, AS_GOBGPD, [dict(address=ANNOUNCER, asn=AS_ANNOUNCE, remote_port=port),
                               dict(address=LISTENER, asn=AS_LISTEN)])
    with g:
        ann = announce(tool, wd, config, ["--bind", "%s:%d" % (ANNOUNCER, port), "--peer",
                                          "%s,as=%d" % (LOOPBACK, AS_GOBGPD)])
        lis, rib_out = start_listen(tool, wd, g)
        established(lis)
        established(ann, 40)
        wait_table(lis, rib_out, want, 60, "the routes of the waiting announce at the far end")
        assert ann.stop() == 0, "announce did not end cleanly"
        assert lis.stop() == 0, "listen did not end cleanly"


def listen_alone(tool, wd, extra=(), table=True, pipe=False, bind=LOOPBACK):
    """listen waiting on a free port of 127.0.0.1 (with --json and its table
    in rib.json unless told)."""
    port = free_port()
    rib_out = os.path.join(wd, "rib.json")
    lis = listen(tool, wd, ["--bind", "%s:%d" % (bind, port)] + (["--json", "--rib-out", rib_out] if table else [])
                 + list(extra), pipe=pipe)
    wait_for(lambda: accepts(port), 10, "listen to accept on port %d" % port)
    return lis, port, rib_out


def announce_one(peer, endpoint, color, preference, labels):
    peer.send(update_v4(srpolicy_nlri_v4(1, color, endpoint), sr_policy_tunnel(preference, labels), peer.asn))


def no_notification(peer, seconds):
    """The session is still up: only keepalives (or nothing) for a while.
    Returns the number of keepalives that came."""
    end = time.monotonic() + seconds
    keepalives = 0
    while time.monotonic() < end:
        try:
            msg_type, body = peer.read_message(timeout=max(0.1, end - time.monotonic()))
        except socket.timeout:
            break
        assert msg_type is not None, "the session was closed"
        assert msg_type != 3, "NOTIFICATION %d/%d" % (body[0], body[1])
        keepalives += msg_type == 4
    return keepalives


def case_malformed_attribute(tool, wd):
    """A broken Tunnel Encapsulation attribute removes the route it came with
    (treat-as-withdraw) and neither this session nor another one ends."""
    lis, port, rib_out = listen_alone(tool, wd)
    a = ScriptedPeer(port, "127.0.0.4")
    a.establish()
    b = ScriptedPeer(port, "127.0.0.5")
    b.establish("127.0.0.10")
    announce_one(a, "10.1.0.1", 1, 100, [16001])
    announce_one(a, "10.1.0.2", 2, 100, [16002])
    # The SR Policy tunnel claims 200 bytes of sub-TLVs and carries 10.
    broken = struct.pack("!HH", 15, 200) + bytes(10)
    a.send(update_v4(srpolicy_nlri_v4(1, 1, "10.1.0.1"), broken, a.asn))
    announce_one(a, "10.1.0.3", 3, 100, [16003])
    announce_one(b, "10.2.0.1", 1, 100, [16004])
    a.send(KEEPALIVE)
    no_notification(a, 1.5)
    table = wait_for(lambda: (lambda t: t if len(t) == 3 else None)(dump_table(lis, rib_out)), 10, "three routes")
    assert set(table) == {(1, 2, "10.1.0.2"), (1, 3, "10.1.0.3"), (1, 1, "10.2.0.1")}, table
    assert "treated as withdrawn" in lis.stderr(), lis.stderr()
    no_notification(b, 0.5)
    a.close()
    b.close()
    assert lis.stop() == 0, "listen did not end cleanly"


def case_hold_timer(tool, wd):
    """A peer that falls silent gets hold timer expired after the hold time."""
    lis, port, _ = listen_alone(tool, wd, ["--hold-time", "3"])
    p = ScriptedPeer(port, "127.0.0.4", hold=3)
    p.establish()
    start = time.monotonic()
    note = p.notification(timeout=10)
    waited = time.monotonic() - start
    assert note == (4, 0), note
    assert 2.0 <= waited <= 6.0, waited
    wait_for(lambda: "hold timer expired" in lis.stderr(), 5, "the expiry reported")
    assert lis.stop() == 0, "listen did not end cleanly"


def case_reset_mid_message(tool, wd):
    """A peer that resets in the middle of an UPDATE ends its session only;
    its routes leave the table and the next session starts afresh."""
    lis, port, rib_out = listen_alone(tool, wd)
    p = ScriptedPeer(port, "127.0.0.4")
    p.establish()
    announce_one(p, "10.1.0.1", 1, 100, [16001])
    wait_for(lambda: len(dump_table(lis, rib_out)) == 1, 10, "the first route")
    half = update_v4(srpolicy_nlri_v4(1, 2, "10.1.0.2"), sr_policy_tunnel(100, [16002]), p.asn)
    p.send(half[:len(half) // 2])
    time.sleep(0.2)
    p.reset()
    wait_for(lambda: "session down" in lis.stderr(), 10, "the session to end")
    assert dump_table(lis, rib_out) == {}
    q = ScriptedPeer(port, "127.0.0.4")
    q.establish()
    announce_one(q, "10.1.0.3", 3, 100, [16003])
    wait_for(lambda: set(dump_table(lis, rib_out)) == {(1, 3, "10.1.0.3")}, 10, "the route of the new session")
    q.close()
    assert lis.stop() == 0, "listen did not end cleanly"


def case_garbage(tool, wd):
    """Bytes that are no BGP message end that session with a header error
    (connection not synchronized); another session goes on."""
    lis, port, rib_out = listen_alone(tool, wd)
    good = ScriptedPeer(port, "127.0.0.4")
    good.establish()
    bad = ScriptedPeer(port, "127.0.0.5")
    bad.establish("127.0.0.10")
    bad.send(bytes(range(64)))
    assert bad.notification() == (1, 1)
    # Before any OPEN, a bad length: bad message length with the length.
    early = ScriptedPeer(port, "127.0.0.6")
    early.send(b"\xff" * 16 + struct.pack("!HB", 5000, 1))
    assert early.notification() == (1, 2)
    announce_one(good, "10.1.0.1", 1, 100, [16001])
    wait_for(lambda: set(dump_table(lis, rib_out)) == {(1, 1, "10.1.0.1")}, 10, "the good peer's route")
    no_notification(good, 0.5)
    for p in (good, bad, early):
        p.close()
    assert lis.stop() == 0, "listen did not end cleanly"


def case_slow_output(tool, wd, count=20000):
    """Nobody reads standard output for a while: listen holds at most its
    output buffer, says so, stops reading the peer and keeps its keepalives
    going, so the session outlives several hold times; then everything is
    printed."""
    lis, port, _ = listen_alone(tool, wd, ["--json", "--hold-time", "3", "--out-buffer", "1"], table=False, pipe=True)
    p = ScriptedPeer(port, "127.0.0.4", hold=3)
    p.establish()
    updates = b"".join(update_v4(srpolicy_nlri_v4(1, i, "10.3.%d.%d" % (i >> 8, i & 255)),
                                 sr_policy_tunnel(100, [16000 + i % 1000]), p.asn) for i in range(count))

    def sender():
        # Keepalives go on while the updates wait in the socket.
        p.sock.sendall(updates)
    t = threading.Thread(target=sender, daemon=True)
    t.start()
    wait_for(lambda: "standard output is slow" in lis.stderr(), 30, "listen to say its output is slow")
    end = time.monotonic() + 8
    keepalives = 0
    while time.monotonic() < end:
        p.send(KEEPALIVE)
        keepalives += no_notification(p, 1.0)
    assert keepalives >= 5, "%d keepalives in 8 s from a hold time of 3 s" % keepalives
    assert lis.alive()
    printed = 0
    lis.proc.stdout.flush()
    while printed < count:
        line = lis.proc.stdout.readline()
        assert line, "output ended after %d routes" % printed
        printed += b'"withdrawn":false' in line
        if printed % 2000 == 0:
            p.send(KEEPALIVE)
    t.join(30)
    no_notification(p, 0.5)
    assert "reading again" in lis.stderr(), lis.stderr()
    p.close()
    lis.proc.stdout.close()
    assert lis.stop() == 0, "listen did not end cleanly"


def case_known_peers(tool, wd):
    """With --peer only the peers named get a session (on an IPv4-mapped
    listener too): another address is closed at once, a named one with the
    wrong AS gets bad peer AS; SIGTERM ceases the session that is up."""
    # On an IPv6 socket of the IPv4-mapped loopback address: peers are told
    # and named by their IPv4 addresses.
    lis, port, _ = listen_alone(tool, wd, ["--peer", "127.0.0.4,as=65010", "--peer", "127.0.0.5,as=65099"], table=False,
                                bind="[::ffff:127.0.0.1]")
    stranger = ScriptedPeer(port, "127.0.0.6")
    assert stranger.read_message()[0] is None, "a stranger got an answer"
    wrong_as = ScriptedPeer(port, "127.0.0.5")
    wrong_as.send(open_message(65010, 90, "127.0.0.9"))
    assert wrong_as.notification() == (2, 2)
    known = ScriptedPeer(port, "127.0.0.4")
    known.establish()
    no_notification(known, 0.5)
    twin = ScriptedPeer(port, "127.0.0.4")  # one session per peer: the one that is up stays
    twin.send(open_message(65010, 90, "127.0.0.9"))
    assert twin.notification() == (6, 5)
    assert "refused a connection from 127.0.0.6: not a configured peer" in lis.stderr(), lis.stderr()
    # Shutting down ends the session with a Cease (administrative shutdown).
    lis.send_signal(signal.SIGTERM)
    assert known.notification() == (6, 2)
    for p in (stranger, wrong_as, known, twin):
        p.close()
    assert lis.stop() == 0, "listen did not end cleanly"
    assert "summary: sessions 1, " in lis.stderr(), lis.stderr()  # established ones only


def attributes(body):
    """(code, value) of each attribute of an UPDATE without withdrawn routes."""
    attrs = body[4:4 + struct.unpack("!H", body[2:4])[0]]
    while attrs:  # flags, code, length (2 bytes with the extended-length flag), value
        start = 4 if attrs[0] & 0x10 else 3
        end = start + (struct.unpack("!H", attrs[2:4])[0] if start == 4 else attrs[2])
        yield attrs[1], attrs[start:end]
        attrs = attrs[end:]


def case_announce_withdraws(tool, wd):
    """announce keeps one session to the peer it connects to, puts its AS
    first on the AS path of an eBGP peer, and ending on SIGTERM withdraws
    its routes (MP_UNREACH_NLRI with the NLRI, not End-of-RIB) before it
    ceases the session."""
    config = os.path.join(wd, "routes.json")
    write_config(config, [route("10.0.0.1", 7, 100, [16001])])
    with socket.create_server((LOOPBACK, 0)) as srv:
        srv.settimeout(10)
        ann = announce(tool, wd, config, ["--connect", "%s:%d" % (LOOPBACK, srv.getsockname()[1]), "--retry", "1"])
        peer = ScriptedPeer(0, None, sock=srv.accept()[0])
        peer.establish()
        established(ann)
        as_path = None
        while as_path is None:
            msg_type, body = peer.read_message()
            as_path = dict(attributes(body)).get(2) if msg_type == 2 else None
        assert as_path == b"\x02\x01" + struct.pack("!I", AS_ANNOUNCE), as_path  # eBGP: our AS first
        no_notification(peer, 1.0)
        srv.settimeout(0.5)  # no second connection while the session is up
        try:
            assert not srv.accept(), "a second connection"
        except socket.timeout:
            pass
    ann.send_signal(signal.SIGTERM)
    withdrawn = False
    while True:
        msg_type, body = peer.read_message()
        assert msg_type is not None and (msg_type != 3 or withdrawn), "ceased without withdrawing: %r" % (body,)
        if msg_type == 3:
            assert body[:2] == b"\x06\x02", body
            break
        withdrawn |= msg_type == 2 and any(code == 15 and len(value) > 3 for code, value in attributes(body))
    assert ann.stop() == 0, "announce did not end cleanly"


def case_connect_retry(tool, wd):
    """A session that cannot be opened (an IPv6 source for an IPv4 peer) is
    tried again every --retry seconds, not at once."""
    lis = listen(tool, wd, ["--connect", "%s:%d" % (LOOPBACK, free_port()), "--source", "::1", "--retry", "1"])
    time.sleep(2.5)
    assert lis.stop() == 0, "listen did not end cleanly"
    assert 2 <= lis.stderr().count("cannot connect") <= 4, lis.stderr()


def cpu_seconds(pid):
    with open("/proc/%d/stat" % pid) as f:
        fields = f.read().rsplit(")", 1)[1].split()
    return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


def case_bulk(tool, wd, count=100000):
    """100,000 routes through gobgpd: all arrive (count and content). Prints
    listen's processor time per route beside decode's on the same routes."""
    config = os.path.join(wd, "bulk.json")
    routes = [route("10.%d.%d.%d" % (i >> 16, (i >> 8) & 255, i & 255), 1 + i % 7, 100, [16000 + i % 1000, 17000])
              for i in range(count)]
    write_config(config, routes)
    want = expected_table(tool, config)
    assert len(want) == count
    with gobgpd_between(wd) as g:
        lis, rib_out = start_listen(tool, wd, g)
        ann = start_announce(tool, wd, g, config)

        seen = {"offset": 0, "routes": 0}

        def arrived():
            """Routes announced so far, reading only what was added."""
            with open(lis.out_path, "rb") as f:
                f.seek(seen["offset"])
                data = f.read()
            whole = data.rfind(b"\n") + 1
            seen["offset"] += whole
            seen["routes"] += data[:whole].count(b'"withdrawn":false')
            return seen["routes"] >= count
        wait_for(arrived, 900, "%d routes at the far end" % count, interval=1.0)
        listen_cpu = cpu_seconds(lis.proc.pid)
        assert lis.stop(timeout=300) == 0, "listen did not end cleanly"
        table = table_of(read_jsonl(rib_out))
        ann.stop()
    assert len(table) == count, len(table)
    assert table == want, "content differs"
    events = [e for e in read_jsonl(lis.out_path) if "nlri" in e]
    assert len(events) == count, len(events)
    spread = [e["time"] for e in events[:: count - 1]]

    # decode --json of the same UPDATEs as a raw stream (what a session
    # delivers), written five times over so that its processor time is long
    # enough to measure; both write their JSON into a file of the work directory.
    repeat = 5
    raw = subprocess.run([tool, "encode", "--out", "raw", config], capture_output=True, check=True,
                         timeout=300).stdout
    stream = os.path.join(wd, "bulk.raw")
    with open(stream, "wb") as f:
        f.write(raw * repeat)
    start = os.times()
    with open(os.path.join(wd, "decode.out"), "wb") as out:
        subprocess.run([tool, "decode", "--json", "--in", "raw", stream], stdout=out, stderr=subprocess.DEVNULL,
                       check=True, timeout=300)
    end = os.times()
    decode_cpu = ((end.children_user - start.children_user) + (end.children_system - start.children_system)) / repeat
    print("listen: %d routes, %.2f us processor time per route (session, walk, describe, JSON, table)"
          % (count, 1e6 * listen_cpu / count))
    print("routes arrived from %s to %s (gobgpd's pace)" % tuple(spread))
    print("decode --json: %.2f us per route on the same UPDATEs from a raw stream; listen/decode %.2f"
          % (1e6 * decode_cpu / count, listen_cpu / decode_cpu if decode_cpu else float("nan")))


def case_md5(tool, wd):
    """TCP MD5: the session comes up with gobgpd's auth-password, and does not
    with a wrong one; both when listen connects and when gobgpd does."""
    passive_port = free_port()
    g = Gobgpd(wd, AS_GOBGPD, [dict(address=LISTENER, asn=AS_LISTEN, password="s3cret-pw"),
                               dict(address="127.0.0.6", asn=AS_LISTEN, password="s3cret-pw"),
                               dict(address="127.0.0.7", asn=AS_LISTEN, password="s3cret-pw",
                                    remote_port=passive_port)])
    with g:
        # gobgpd connects to a listen that holds the key for its address.
        passive = listen(tool, wd, ["--bind", "127.0.0.7:%d" % passive_port, "--peer",
                                    "%s,as=%d,md5=s3cret-pw" % (LOOPBACK, AS_GOBGPD)], "passive")
        time.sleep(0.5)
        if "refused by the kernel" in passive.stderr():
            print("skipped: " + passive.stderr().strip())
            passive.stop()
            return SKIP
        wait_for(lambda: "session established" in passive.stderr(), 30, "gobgpd's session to the listening side")
        assert passive.stop() == 0, "listen did not end cleanly"
        lis, _ = start_listen(tool, wd, g, connect_suffix=",md5=s3cret-pw")
        time.sleep(0.5)
        if "refused by the kernel" in lis.stderr():
            print("skipped: " + lis.stderr().strip())
            lis.stop()
            return SKIP
        wait_for(lambda: "session established" in lis.stderr(), 20, "the session with the right password")
        assert lis.stop() == 0, "listen did not end cleanly"
        wrong = listen(tool, wd, ["--connect", "%s:%d,md5=not-the-one" % (LOOPBACK, g.port), "--source", "127.0.0.6",
                                  "--retry", "1"], "wrong")
        time.sleep(6)
        assert "session established" not in wrong.stderr(), wrong.stderr()
        assert g.neighbor_state("127.0.0.6") != "established"
        wrong.stop()
    return 0


CASES = {
    "gobgpd_table": case_gobgpd_table,
    "announce_passive": case_announce_passive,
    "malformed_attribute": case_malformed_attribute,
    "hold_timer": case_hold_timer,
    "reset_mid_message": case_reset_mid_message,
    "garbage": case_garbage,
    "slow_output": case_slow_output,
    "known_peers": case_known_peers,
    "announce_withdraws": case_announce_withdraws,
    "connect_retry": case_connect_retry,
    "bulk": case_bulk,
    "md5": case_md5,
}


def main():
    if len(sys.argv) != 3 or sys.argv[2] not in CASES:
        print("usage: live_tests.py SRPOLICY {%s}" % ",".join(CASES), file=sys.stderr)
        return 2
    wd = workdir()
    print("work directory: " + wd)
    try:
        return CASES[sys.argv[2]](os.path.abspath(sys.argv[1]), wd) or 0
    except AssertionError as e:
        print("FAILED: %s" % e)
        for name in sorted(os.listdir(wd)):
            if name.endswith((".err", ".log")):
                with open(os.path.join(wd, name)) as f:
                    print("---- %s (end)\n%s" % (name, f.read()[-3000:]))
        return 1


if __name__ == "__main__":
    sys.exit(main())
