#!/usr/bin/env python3
"""Writes the capture inputs of the end-to-end tests in this folder:
a capture of an 802.11 link, the sample session moved to TCP port 1790,
and a capture of a non-BGP TCP stream on port 179. Run from this folder."""
import os
import struct
import sys

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "live"))
from bmp_tests import pcap, tcp_frame  # noqa: E402

SAMPLE = "../../../samples/policies.pcap"


def frames_of(data):
    pos, frames = 24, []
    while pos < len(data):
        _, _, caplen, _ = struct.unpack_from("<IIII", data, pos)
        frames.append(bytearray(data[pos + 16:pos + 16 + caplen]))
        pos += 16 + caplen
    return frames


# 802.11 (link type 105): one data frame, not read.
open("wifi.pcap", "wb").write(pcap([bytes(24) + b"\xaa\xaa\x03\x00\x00\x00\x08\x00" + bytes(40)], 105))

# The encoder's sample session with port 179 replaced by 1790.
frames = frames_of(open(SAMPLE, "rb").read())
for f in frames:
    for off in (34, 36):
        if struct.unpack_from("!H", f, off)[0] == 179:
            struct.pack_into("!H", f, off, 1790)
open("port1790.pcap", "wb").write(pcap([bytes(f) for f in frames]))

# HTTP text on port 179, joined mid-connection (no SYN).
text = b"GET / HTTP/1.1\r\nHost: 127.0.0.2\r\n\r\n" * 4
open("not_bgp_179.pcap", "wb").write(pcap([tcp_frame("127.0.0.1", "127.0.0.2", 50000, 179, 1, 0x18, text[:70]),
                                            tcp_frame("127.0.0.1", "127.0.0.2", 50000, 179, 71, 0x18, text[70:])]))
