#!/usr/bin/env python3
"""Writes the capture inputs of the end-to-end tests in this folder:
a capture of an 802.11 link, the sample session moved to TCP port 1790,
and a capture of a non-BGP TCP stream on port 179. Run from this folder."""
import struct

SAMPLE = "../../../samples/policies.pcap"


def pcap(link, frames):
    out = struct.pack("<IHHiIII", 0xA1B2C3D4, 2, 4, 0, 0, 65535, link)
    for i, frame in enumerate(frames):
        out += struct.pack("<IIII", 1000 + i, 0, len(frame), len(frame)) + frame
    return out


def frames_of(data):
    pos, frames = 24, []
    while pos < len(data):
        _, _, caplen, _ = struct.unpack_from("<IIII", data, pos)
        frames.append(bytearray(data[pos + 16:pos + 16 + caplen]))
        pos += 16 + caplen
    return frames


def tcp_frame(sport, dport, seq, flags, payload):
    """Ethernet, IPv4 127.0.0.1 -> 127.0.0.2, TCP (checksums left zero)."""
    tcp = struct.pack("!HHIIBBHHH", sport, dport, seq, 0, 5 << 4, flags, 65535, 0, 0) + payload
    ip = struct.pack("!BBHHHBBH4s4s", 0x45, 0, 20 + len(tcp), 0, 0x4000, 64, 6, 0,
                     bytes([127, 0, 0, 1]), bytes([127, 0, 0, 2]))
    return bytes(6) + bytes(6) + b"\x08\x00" + ip + tcp


# 802.11 (link type 105): one data frame, not read.
open("wifi.pcap", "wb").write(pcap(105, [bytes(24) + b"\xaa\xaa\x03\x00\x00\x00\x08\x00" + bytes(40)]))

# The encoder's sample session with port 179 replaced by 1790.
frames = frames_of(open(SAMPLE, "rb").read())
for f in frames:
    for off in (34, 36):
        if struct.unpack_from("!H", f, off)[0] == 179:
            struct.pack_into("!H", f, off, 1790)
open("port1790.pcap", "wb").write(pcap(1, [bytes(f) for f in frames]))

# HTTP text on port 179, joined mid-connection (no SYN).
text = b"GET / HTTP/1.1\r\nHost: 127.0.0.2\r\n\r\n" * 4
open("not_bgp_179.pcap", "wb").write(pcap(1, [tcp_frame(50000, 179, 1, 0x18, text[:70]),
                                               tcp_frame(50000, 179, 71, 0x18, text[70:])]))
