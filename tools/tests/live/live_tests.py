#!/usr/bin/env python3
"""End-to-end runs of srpolicy listen and announce on loopback addresses: with
gobgpd between them (eBGP, so routes pass through it) and against scripted
peers. Usage: live_tests.py SRPOLICY CASE. Exit status 0 passed, 1 failed,
77 skipped (the kernel refuses what the case needs)."""
import datetime
import json
import os
import signal
import socket
import struct
import sys
import threading
import time

from harness import (KEEPALIVE, LOOPBACK, Gobgpd, ScriptedPeer, Srpolicy, accepts, dump_rib, expected_table, free_port,
                     message, open_message, read_jsonl, sr_policy_tunnel, srpolicy_nlri_v4, table_of, update_v4,
                     wait_for, main)

SKIP = 77
AS_GOBGPD, AS_ANNOUNCE, AS_LISTEN = 65000, 65001, 65002
ANNOUNCER, LISTENER = "127.0.0.2", "127.0.0.3"


def route(endpoint, color, preference, labels, weight=None, bsid=None):
    """A configured route with MPLS segments only: what receivers following RFC 9830 keep whole."""
    seglist = {"segments": [{"label": label} for label in labels]}
    if weight is not None:
        seglist["weight"] = weight
    r = {"endpoint": endpoint, "color": color, "distinguisher": 1, "preference": preference,
         "segment_lists": [seglist]}
    if bsid is not None:
        r["binding_sid"] = {"label": bsid}
    return r


def write_config(wd, routes, name="routes.json"):
    path = os.path.join(wd, name)
    with open(path, "w") as f:
        json.dump({"defaults": {"next_hop": ANNOUNCER}, "routes": routes}, f)
    return path


def wait_table(proc, rib_out, want, timeout, what):
    """Polls the listen table (SIGUSR1) until it equals want."""
    wait_for(lambda: dump_rib(proc, rib_out) == want, timeout, what, interval=0.5)


def listen(tool, wd, args, name="listen", pipe=False):
    return Srpolicy(tool, wd, name, ["listen", "--as", str(AS_LISTEN)] + list(args), pipe=pipe)


def start_listen(tool, wd, g, connect_suffix="", source=LISTENER, name="listen"):
    rib_out = os.path.join(wd, name + ".rib")
    return listen(tool, wd, ["--connect", "%s:%d%s" % (LOOPBACK, g.port, connect_suffix), "--source", source,
                             "--json", "--rib-out", rib_out, "--retry", "1"], name), rib_out


def listen_alone(tool, wd, extra=(), pipe=False, bind=LOOPBACK):
    """listen waiting on a free port of 127.0.0.1, its table in rib.json."""
    port = free_port()
    rib_out = os.path.join(wd, "rib.json")
    lis = listen(tool, wd, ["--bind", "%s:%d" % (bind, port), "--json", "--rib-out", rib_out] + list(extra), pipe=pipe)
    wait_for(lambda: accepts(port), 10, "listen to accept on port %d" % port)
    return lis, port, rib_out


def established(proc, timeout=20):
    """Waits for a run's session; only then does it take signals."""
    wait_for(lambda: "session established" in proc.stderr(), timeout, proc.name + "'s session")


def announce(tool, wd, config, args):
    return Srpolicy(tool, wd, "announce", ["announce", config, "--as", str(AS_ANNOUNCE), "--retry", "1"] + args)


def ends_cleanly(*runs):
    for run in runs:
        assert run.stop(timeout=300) == 0, run.name + " did not end cleanly"


def case_gobgpd_table(tool, wd, passive=False):
    """announce -> gobgpd -> listen (announce connecting, or waiting with --bind
    for gobgpd): the table equals the configuration; a SIGHUP with one route
    removed, one changed and one added is seen at the far end; at exit announce
    withdraws everything."""
    first = [route("10.0.0.%d" % i, 100 + i, 100 + i, [16000 + i, 17000 + i], weight=i, bsid=24000 + i)
             for i in range(1, 7)] + [route("2001:db8::7", 7, 7, [16007])]
    config = write_config(wd, first)
    want = expected_table(tool, config)
    assert len(want) == 7, want
    port = free_port(ANNOUNCER)
    with Gobgpd(wd, AS_GOBGPD, [dict(address=ANNOUNCER, asn=AS_ANNOUNCE, remote_port=passive and port),
                                dict(address=LISTENER, asn=AS_LISTEN)]) as g:
        lis, rib_out = start_listen(tool, wd, g)
        ann = announce(tool, wd, config, ["--bind", "%s:%d" % (ANNOUNCER, port), "--peer",
                                          "%s,as=%d" % (LOOPBACK, AS_GOBGPD)] if passive else
                       ["--peer-as", str(AS_GOBGPD), "--connect", "%s:%d" % (LOOPBACK, g.port), "--source", ANNOUNCER])
        established(lis)
        established(ann, 40)
        wait_table(lis, rib_out, want, 60, "the configured routes at the far end")
        second = [r for r in first if r["endpoint"] != "10.0.0.2"]
        second[0] = route("10.0.0.1", 101, 555, [16001, 17001, 18001], weight=1, bsid=24001)
        write_config(wd, second + [route("10.0.0.9", 109, 109, [16009])])
        ann.send_signal(signal.SIGHUP)
        wait_table(lis, rib_out, expected_table(tool, config), 60, "the reloaded configuration at the far end")
        assert "configuration reloaded: 2 route(s) announced, 1 withdrawn, 5 unchanged" in ann.stderr(), ann.stderr()
        ends_cleanly(ann)
        wait_table(lis, rib_out, {}, 60, "every route withdrawn after announce ended")
        ends_cleanly(lis)
        assert "peer %s (AS %d): session established" % (LOOPBACK, AS_GOBGPD) in lis.stderr(), lis.stderr()


def announce_one(peer, endpoint, color, labels, distinguisher=1):
    peer.send(update_v4(srpolicy_nlri_v4(distinguisher, color, endpoint), sr_policy_tunnel(100, labels), peer.asn))


def case_faults(tool, wd):
    """Faults of one peer end at most its own session, never another one: a
    broken Tunnel Encapsulation attribute removes its route (treat-as-withdraw)
    and the session goes on; bytes that are no BGP message get a header error;
    a reset in the middle of an UPDATE removes that peer's routes and its next
    session starts afresh."""
    lis, port, rib_out = listen_alone(tool, wd)
    a, b, c = (ScriptedPeer(port, "127.0.0.%d" % n) for n in (4, 5, 6))
    for peer, router_id in ((a, "127.0.0.9"), (b, "127.0.0.10"), (c, "127.0.0.11")):
        peer.establish(router_id)
    sent_at = time.time()
    announce_one(a, "10.1.0.1", 1, [16001])
    announce_one(a, "10.1.0.1", 2, [16002])
    broken = struct.pack("!HH", 15, 200) + bytes(10)  # claims 200 bytes of sub-TLVs, carries 10
    a.send(update_v4(srpolicy_nlri_v4(1, 1, "10.1.0.1"), broken, a.asn) + KEEPALIVE)
    announce_one(a, "10.1.0.1", 3, [16003])
    announce_one(b, "10.2.0.1", 1, [16004])
    announce_one(c, "10.3.0.1", 1, [16005])
    want = {(1, 2, "10.1.0.1"), (1, 3, "10.1.0.1"), (1, 1, "10.2.0.1"), (1, 1, "10.3.0.1")}
    wait_for(lambda: set(dump_rib(lis, rib_out)) == want, 10, "the routes but the broken one")
    assert lis.stderr().count("treated as withdrawn") == 1, lis.stderr()
    stamps = [datetime.datetime.strptime(e["time"], "%Y-%m-%dT%H:%M:%S.%fZ").replace(
        tzinfo=datetime.timezone.utc).timestamp() for e in read_jsonl(lis.out_path) if "time" in e]
    assert stamps and all(sent_at - 0.001 <= t <= time.time() for t in stamps), (sent_at, stamps)
    a.quiet(1.0)
    b.send(bytes(range(64)))
    assert b.notification() == (1, 1)  # connection not synchronized
    half = update_v4(srpolicy_nlri_v4(1, 2, "10.3.0.2"), sr_policy_tunnel(100, [16002]), c.asn)
    c.send(half[:len(half) // 2])
    time.sleep(0.2)
    c.reset()
    wait_for(lambda: "127.0.0.6: session down" in lis.stderr(), 10, "the reset session to end")
    again = ScriptedPeer(port, "127.0.0.6")
    again.establish("127.0.0.11")
    announce_one(again, "10.3.0.3", 3, [16003])
    want = {(1, 2, "10.1.0.1"), (1, 3, "10.1.0.1"), (1, 3, "10.3.0.3")}
    wait_for(lambda: set(dump_rib(lis, rib_out)) == want, 10, "the routes of the peers that are still up")
    os.unlink(rib_out)
    ends_cleanly(lis)
    assert set(table_of(read_jsonl(rib_out))) == want, "the table is not written at exit"
    assert ", treated as withdraw 1, " in lis.stderr(), lis.stderr()


def case_hold_timer(tool, wd):
    """A peer that falls silent gets hold timer expired after the hold time."""
    lis, port, _ = listen_alone(tool, wd, ["--hold-time", "3"])
    p = ScriptedPeer(port, "127.0.0.4", hold=3)
    p.establish()
    start = time.monotonic()
    assert p.notification() == (4, 0)
    assert 2.0 <= time.monotonic() - start <= 6.0
    wait_for(lambda: "hold timer expired" in lis.stderr(), 5, "the expiry reported")
    ends_cleanly(lis)


def case_slow_output(tool, wd, count=20000):
    """Nobody reads standard output for a while: listen holds at most its output
    buffer, says so, stops reading the peer and keeps its keepalives going, so
    the session outlives several hold times; then everything is printed."""
    lis, port, _ = listen_alone(tool, wd, ["--hold-time", "3", "--out-buffer", "1"], pipe=True)
    p = ScriptedPeer(port, "127.0.0.4", hold=3)
    p.establish()
    updates = b"".join(update_v4(srpolicy_nlri_v4(1, i, "10.3.%d.%d" % (i >> 8, i & 255)),
                                 sr_policy_tunnel(100, [16000 + i % 1000]), p.asn) for i in range(count))
    sender = threading.Thread(target=p.send, args=(updates,), daemon=True)  # waits in the socket meanwhile
    sender.start()
    wait_for(lambda: "standard output is slow" in lis.stderr(), 30, "listen to say its output is slow")
    end = time.monotonic() + 8
    keepalives = 0
    while time.monotonic() < end:
        p.send(KEEPALIVE)
        keepalives += p.quiet(1.0).count(4)
    assert keepalives >= 5, "%d keepalives in 8 s from a hold time of 3 s" % keepalives
    assert lis.proc.poll() is None
    printed = 0
    while printed < count:
        line = lis.proc.stdout.readline()
        assert line, "output ended after %d routes" % printed
        printed += b'"withdrawn":false' in line
        if printed % 2000 == 0:
            p.send(KEEPALIVE)
    sender.join(30)
    p.quiet(0.5)
    assert "reading again" in lis.stderr(), lis.stderr()
    lis.proc.stdout.close()
    ends_cleanly(lis)


def case_known_peers(tool, wd):
    """With --peer only the peers named get a session (on an IPv4-mapped IPv6
    listener, peers named by their IPv4 addresses): another address is closed
    at once, a named one with the wrong AS gets bad peer AS; SIGTERM ceases the
    session that is up."""
    srv = socket.create_server((LOOPBACK, 0))
    srv.settimeout(10)
    lis, port, _ = listen_alone(tool, wd, ["--peer", "127.0.0.4,as=65010", "--peer", "127.0.0.5,as=65099",
                                           "--connect", "%s:%d,as=65099" % (LOOPBACK, srv.getsockname()[1])],
                                bind="[::ffff:127.0.0.1]")
    dialled = ScriptedPeer(0, None, sock=srv.accept()[0])  # a connected peer of the wrong AS
    assert dialled.read_message()[0] == 1
    dialled.send(open_message(65010, 90, "127.0.0.8"))
    assert dialled.notification() == (2, 2)
    srv.close()
    assert ScriptedPeer(port, "127.0.0.6").read_message()[0] is None, "a stranger got an answer"
    wrong_as = ScriptedPeer(port, "127.0.0.5")
    wrong_as.send(open_message(65010, 90, "127.0.0.9"))
    assert wrong_as.notification() == (2, 2)
    known = ScriptedPeer(port, "127.0.0.4")
    known.establish()
    known.quiet(0.5)
    assert "refused a connection from 127.0.0.6: not a configured peer" in lis.stderr(), lis.stderr()
    lis.send_signal(signal.SIGTERM)
    assert known.notification() == (6, 2)  # administrative shutdown
    ends_cleanly(lis)


def case_collision(tool, wd):
    """listen connects to a peer that connects to it as well: when the second
    OPEN arrives, the connection opened by the side with the higher BGP
    identifier stays and the other gets Cease 7 (connection collision
    resolution), unless the other session is up already; a third connection
    while the session is up gets it too, and listen opens no new one meanwhile."""
    # The peer's identifier (listen's is 127.0.0.50), whether the first connection to get an OPEN is up before
    # the OPEN on the other one, whether that first one is the peer's, and which connection stays.
    for peer_id, up_first, theirs_first, stays in (("127.0.0.99", False, False, "theirs"),
                                                   ("127.0.0.20", False, False, "ours"),
                                                   ("127.0.0.20", False, True, "ours"),
                                                   ("127.0.0.99", True, False, "ours")):
        with socket.create_server((LOOPBACK, 0)) as srv:
            srv.settimeout(10)
            lis, port, _ = listen_alone(tool, wd, ["--router-id", "127.0.0.50", "--retry", "1", "--connect",
                                                   "%s:%d" % (LOOPBACK, srv.getsockname()[1])])
            ours = ScriptedPeer(0, None, sock=srv.accept()[0])  # opened by listen
            theirs = ScriptedPeer(port, LOOPBACK)
            assert ours.read_message()[0] == 1 and theirs.read_message()[0] == 1
            first, second = (theirs, ours) if theirs_first else (ours, theirs)
            first.send(open_message(65010, 90, peer_id) + KEEPALIVE * up_first)
            assert first.read_message()[0] == 4
            second.send(open_message(65010, 90, peer_id))
            winner, loser = (theirs, ours) if stays == "theirs" else (ours, theirs)
            assert loser.notification() == (6, 7), peer_id
            winner.send(KEEPALIVE)
            winner.quiet(0.5)
            wait_for(lambda: lis.stderr().count("session established") == 1, 5, "one session")
            third = ScriptedPeer(port, LOOPBACK)
            third.send(open_message(65010, 90, peer_id))
            assert third.notification() == (6, 7), peer_id
            srv.settimeout(1.5)
            try:
                assert not srv.accept(), "a new connection while the session is up"
            except socket.timeout:
                pass
            winner.quiet(0.5)
            ends_cleanly(lis)


def attributes(body):
    """(code, value) of each attribute of an UPDATE without withdrawn routes."""
    attrs = body[4:4 + struct.unpack("!H", body[2:4])[0]]
    while attrs:  # flags, code, length (2 bytes with the extended-length flag), value
        start = 4 if attrs[0] & 0x10 else 3
        end = start + (struct.unpack("!H", attrs[2:4])[0] if start == 4 else attrs[2])
        yield attrs[1], attrs[start:end]
        attrs = attrs[end:]


def case_announce_scripted(tool, wd, keep=False):
    """announce to a scripted peer: one session, its AS first on the AS path of
    an eBGP peer, each family's routes then End-of-RIB; a ROUTE-REFRESH brings
    that family's routes again, the same bytes; SIGTERM withdraws the routes
    (MP_UNREACH_NLRI with the NLRI) before the Cease, or with --keep-on-exit
    sends the Cease alone."""
    config = write_config(wd, [route("10.0.0.1", 7, 100, [16001]), route("10.0.0.2", 7, 100, [16002]),
                               route("2001:db8::1", 7, 100, [16003])])
    with socket.create_server((LOOPBACK, 0)) as srv:
        srv.settimeout(10)
        ann = announce(tool, wd, config, ["--connect", "%s:%d" % (LOOPBACK, srv.getsockname()[1])]
                       + ["--keep-on-exit"] * keep)
        peer = ScriptedPeer(0, None, sock=srv.accept()[0])
        peer.establish()
        established(ann)

        def routes_until_end_of_rib(afi):
            """The UPDATEs of one family up to its End-of-RIB (an MP_UNREACH_NLRI of 3 bytes)."""
            got = []
            while True:
                msg_type, body = peer.read_message()
                assert msg_type == 2, (msg_type, body)
                attrs = dict(attributes(body))
                if attrs.get(15) == struct.pack("!HB", afi, 73):
                    return got
                assert attrs[14][:2] == struct.pack("!H", afi), attrs
                assert attrs[2] == b"\x02\x01" + struct.pack("!I", AS_ANNOUNCE), attrs[2]  # eBGP: our AS first
                got.append(body)
        sent = {afi: routes_until_end_of_rib(afi) for afi in (1, 2)}
        assert [len(sent[afi]) for afi in (1, 2)] == [2, 1], sent
        for afi, safi in ((1, 1), (2, 73), (1, 73)):  # IPv4 unicast was not agreed: nothing
            peer.send(message(5, struct.pack("!HBB", afi, 0, safi)))
        again = [peer.read_message() for _ in range(3)]
        assert again == [(2, body) for body in sent[2] + sent[1]], "not the routes of the families asked for"
        peer.send(KEEPALIVE)
        assert 2 not in peer.quiet(1.0), "more than the routes asked for"
        assert "route refresh of AFI 1 SAFI 73: 2 route(s) sent again" in ann.stderr(), ann.stderr()
    ann.send_signal(signal.SIGTERM)
    withdrawn = set()
    while True:
        msg_type, body = peer.read_message()
        assert msg_type in (2, 3), "ended without a Cease"
        if msg_type == 3:
            assert body[:2] == b"\x06\x02", body
            break
        assert not keep, "an UPDATE before the Cease with --keep-on-exit"
        withdrawn |= {value[:2] for code, value in attributes(body) if code == 15 and len(value) > 3}
    assert withdrawn == (set() if keep else {b"\x00\x01", b"\x00\x02"}), withdrawn
    ends_cleanly(ann)


def bulk_routes(count):
    """count routes of one UPDATE each, label stacks varying."""
    return [route("10.%d.%d.%d" % (i >> 16, (i >> 8) & 255, i & 255), 1 + i % 7, 100, [16000 + i % 1000, 17000])
            for i in range(count)]


def case_bulk(tool, wd, count=100000):
    """100,000 routes through gobgpd: all arrive (count and content). Its
    speed is measured by scripts/bench_listen.py."""
    config = write_config(wd, bulk_routes(count), "bulk.json")
    want = expected_table(tool, config)
    assert len(want) == count
    with Gobgpd(wd, AS_GOBGPD, [dict(address=ANNOUNCER, asn=AS_ANNOUNCE), dict(address=LISTENER, asn=AS_LISTEN)]) as g:
        lis, rib_out = start_listen(tool, wd, g)
        ann = announce(tool, wd, config, ["--peer-as", str(AS_GOBGPD), "--connect", "%s:%d" % (LOOPBACK, g.port),
                                          "--source", ANNOUNCER])
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
        ends_cleanly(lis)
        ann.stop()
    table = table_of(read_jsonl(rib_out))
    assert len(table) == count, len(table)
    assert table == want, "content differs"
    events = [e for e in read_jsonl(lis.out_path) if "nlri" in e]
    assert len(events) == count, len(events)


def case_md5(tool, wd):
    """TCP MD5: the session comes up with gobgpd's auth-password, both when
    gobgpd connects and when listen does, and not with a wrong one."""
    passive_port = free_port()
    pw = "s3cret-pw"
    with Gobgpd(wd, AS_GOBGPD, [dict(address=a, asn=AS_LISTEN, password=pw, remote_port=rp) for a, rp in
                                ((LISTENER, None), ("127.0.0.6", None), ("127.0.0.7", passive_port))]) as g:
        runs = [(listen(tool, wd, ["--bind", "127.0.0.7:%d" % passive_port, "--peer",
                                   "%s,as=%d,md5=%s" % (LOOPBACK, AS_GOBGPD, pw)], "passive"), True),
                (start_listen(tool, wd, g, ",md5=" + pw)[0], True),
                (start_listen(tool, wd, g, ",md5=not-the-one", "127.0.0.6", "wrong")[0], False)]
        for run, right in runs:
            time.sleep(0.5)
            if "refused by the kernel" in run.stderr():
                print("skipped: " + run.stderr().strip())
                return SKIP
            if right:
                wait_for(lambda: "session established" in run.stderr(), 30, run.name + "'s session")
                ends_cleanly(run)
        time.sleep(6)
        assert "session established" not in runs[2][0].stderr(), runs[2][0].stderr()
        runs[2][0].stop()


CASES = {
    "gobgpd_table": case_gobgpd_table,
    "announce_passive": lambda tool, wd: case_gobgpd_table(tool, wd, passive=True),
    "faults": case_faults,
    "hold_timer": case_hold_timer,
    "slow_output": case_slow_output,
    "known_peers": case_known_peers,
    "collision": case_collision,
    "announce_withdraws": case_announce_scripted,
    "announce_keep": lambda tool, wd: case_announce_scripted(tool, wd, keep=True),
    "bulk": case_bulk,
    "md5": case_md5,
}


if __name__ == "__main__":
    sys.exit(main(CASES))
