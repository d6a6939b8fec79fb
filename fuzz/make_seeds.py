#!/usr/bin/env python3
"""Writes the seed corpora in fuzz/corpus/<target>/ from the inputs the unit
tests use. Each seed is the target's control byte followed by its input.

The corpora also keep, under descriptive names, inputs the fuzzers found that
showed behaviour the targets' properties had to allow for (binding-SID text
cut to the room left, a Binding SID that no printer can show, private slice
ids of other lengths), and inputs of long runs that fuzz/pick_seeds.py added
(grown-*); this script leaves them alone."""
import os
import sys


def h(text):
    return bytes.fromhex(text.replace(" ", ""))


def sub(t, value):
    if t >= 128:
        return bytes([t, len(value) >> 8, len(value) & 0xFF]) + value
    return bytes([t, len(value)]) + value


def tunnel(subs):
    return bytes([0x00, 0x0F, len(subs) >> 8, len(subs) & 0xFF]) + subs


SID1 = h("20010DB8000000000000000000000001")


def seglist(segs):
    return sub(128, b"\x00" + segs)


def labels(first, count=5):
    out = b""
    for i in range(count):
        out += bytes([0x01, 0x06, 0, 0]) + ((first + i) << 12).to_bytes(4, "big")
    return out


REALISTIC = tunnel(sub(12, h("000000000064")) + sub(13, h("0000003E8000")) +
                   seglist(labels(16001) + h("0906000000000001")) +
                   seglist(labels(16101) + h("0906000000000002")) +
                   sub(129, b"\x00cp1") + sub(130, b"\x00pol1"))
WORKED = h("000F001B0C06FF01000000640D06FF0000012FFF8200057F616263640E0105")
SRV6_BSIDS = tunnel(sub(20, bytes(18)) + sub(130, b"\x00a") + sub(20, bytes(18)))
SRV6_BSID_FULL = tunnel(sub(20, b"\x20\x00" + SID1 + h("0030 0000 20101000")))
EVERY_PRINTER = tunnel(
    h("0C0600000000006 4".replace(" ", "")) + h("7B06000000000009") + h("7F06000000000005") +
    sub(13, h("C000") + SID1) + h("C80002AABB") +
    seglist(h("090600000000000A 0106000000064000 0506000000000000") + b"\x02\x1a\x00\x00" + SID1 +
            h("00300000 20101000 0D06000000 0005DC")) +
    sub(130, b"\x00" + b"p" * 255))
SLICE_IDS = tunnel(sub(123, h("000000000007")) + sub(126, h("000000000009")) + sub(12, h("000000000001")))
EMPTY_TUNNEL = tunnel(b"")

NLRI_V4 = h("60 00000001 00000064 0A000001")
NLRI_V6 = h("C0 00000001 00000064 20010DB8 00000000 00000000 00000001")
HA_V4 = h("60 000000 00000001 00000064 0A000001 00000002 00000003 00000004")
HA_V6 = h("C0 000000 00000001 00000064 20010DB8 00000000 00000000 00000001")


def cfg(kind, v4, is_v6):
    rec = kind.to_bytes(4, "little") + (1).to_bytes(4, "little") + (100).to_bytes(4, "little")
    rec += v4.to_bytes(4, "little") + SID1 + bytes([is_v6]) + b"\xEE" * 56
    assert len(rec) == 89
    return rec


SEEDS = {
    "fuzz_nlri": {
        "v4": b"\x00" + NLRI_V4,
        "v6_unreach": b"\x01" + NLRI_V6,
        "run": b"\x00" + NLRI_V4 + NLRI_V6 + NLRI_V4 + b"\x67" + NLRI_V4[1:],
        "run_alloc2": b"\x04" + NLRI_V4 + NLRI_V6 + NLRI_V4,
        "short": b"\x00" + NLRI_V4[:-1],
    },
    "fuzz_attr": {
        "realistic": b"\x00" + REALISTIC,
        "realistic_alloc6": b"\x06" + REALISTIC,
        "worked": b"\x00" + WORKED,
        "srv6_bsids": b"\x03" + SRV6_BSIDS,
        "srv6_bsid_full": b"\x00" + SRV6_BSID_FULL,
        "every_printer": b"\x00" + EVERY_PRINTER,
        "slice_ids": b"\x02" + SLICE_IDS,
    },
    "fuzz_keymsg": {
        "ha_v4": b"\x00" + HA_V4,
        "ha_v6_type5": b"\x02" + HA_V6 + b"\xEE",
        "ha_alloc": b"\x08" + HA_V4,
        "cfg_v4": b"\x01" + cfg(14, 0x0A000001, 0),
        "cfg_v6": b"\x01" + cfg(14, 0, 7),
        "cfg_padded": b"\x05" + cfg(14, 0x0A000001, 1)[:40],
        "cfg_kind13": b"\x01" + cfg(13, 0x0A000001, 0),
    },
    "fuzz_text_raw": {
        "realistic_small": b"\x06" + REALISTIC,
        "every_printer_320": b"\x0E" + EVERY_PRINTER,
        "lying_length": b"\x0A" + h("000F00FF 0C06000000000001"),
        "segment_past_list": b"\x09" + h("000F001B 800 00C0001060000000640000906 00 0C06000000000002".replace(" ", "")),
        "empty": b"\x00" + EMPTY_TUNNEL,
        "key_v4": b"\x1F" + bytes([96, 0, 0, 0]) + (1).to_bytes(4, "little") + (100).to_bytes(4, "little") +
                  (0x0A000001).to_bytes(4, "little") + bytes(12),
        "key_v6_badlen": b"\xB3" + bytes([192]) + bytes(27),
    },
    # Record bytes in field order of the 64-bit build: BSID label, the four
    # flag bytes, preference, ...; a segment list or SRv6 binding SID node
    # follows for each one the control byte asks for.
    "fuzz_cfg_tnlencap": {
        "nothing": b"\x00",
        "bsid_pref": b"\x00" + h("00100000 01000101 00000064"),
        "seglist": b"\x04" + h("00100000 01000101 00000064") + bytes(60) + bytes(16) + h("0a000000 01 03 01 00") +
                   h("01000000 02000000 03000000"),
        "srv6_bsid_alloc1": b"\x11" + bytes(72) + bytes(16) + h("20 000000") + SID1 + h("0000 3000 20101000"),
    },
    "fuzz_attrmsg": {
        "realistic": b"\x00" + REALISTIC,
        "worked_alloc2": b"\x02" + WORKED,
        "empty": b"\x00",
    },
}


def main():
    root = os.path.join(os.path.dirname(os.path.abspath(__file__)), "corpus")
    for target, seeds in SEEDS.items():
        d = os.path.join(root, target)
        os.makedirs(d, exist_ok=True)
        for name, data in seeds.items():
            with open(os.path.join(d, name), "wb") as f:
                f.write(data)
    return 0


if __name__ == "__main__":
    sys.exit(main())
