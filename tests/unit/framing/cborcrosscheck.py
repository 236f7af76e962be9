#!/usr/bin/python3
"""Checks record payloads against cbor2, a CBOR implementation independent of libcbor and of ours.

Frames that qorsimunit writes decode with cbor2 to the expected records and carry exactly cbor2's own
deterministic encoding of them; frames built around cbor2's encoding load through ROMStorage (framepeer)
and are written back unchanged, so they were read with the same values; non-deterministic encodings are
refused. cbor2's pure-Python encoder is used: its C one writes halves of magnitude 32768 to 65504 as
singles.

usage: cborcrosscheck.py QORSIMUNIT FRAMEPEER
"""
import io
import math
import os
import struct
import subprocess
import sys
import zlib

from cbor2.decoder import CBORDecoder
from cbor2.encoder import CBOREncoder
from cbor2.types import undefined

REFERENCE = {"unit": "I123456", "cb": 1234567, "bf": 7654321, "fpgaUid": "0a5f", "com": "ABC123456789",
             "mac": "02:fc:00:00:00:01"}

# qorsimunit fields, and the record that cbor2 must read from the frame that they make.
WRITTEN = [
    (["unit=I123456", "cb=u32:1234567", "bf=u32:7654321", "fpgaUid=0a5f", "com=ABC123456789",
      "mac=02:fc:00:00:00:01"], REFERENCE),
    (["null=null", "empty=str:", "text=Ger\u00e4t \U0001f600 \ufeff \uffff", "bytes=hex:00ff", "yes=bool:true",
      "no=bool:false"],
     {"null": None, "empty": "", "text": "Ger\u00e4t \U0001f600 \ufeff \uffff", "bytes": b"\x00\xff", "yes": True,
      "no": False}),
    (["u32=u32:4294967295", "u64=u64:18446744073709551615", "i32=i32:-2147483648", "i64=i64:-9223372036854775808",
      "i64small=i64:-5", "u64small=u64:24"],
     {"u32": 2**32 - 1, "u64": 2**64 - 1, "i32": -2**31, "i64": -2**63, "i64small": -5, "u64small": 24}),
    (["half=f64:1.5", "minusZero=f64:-0", "largestHalf=f64:65504", "bigHalf=f64:-32768",
      "subnormalHalf=f64:1.7881393432617188e-07", "single=f64:65520", "double=f64:0.1", "tiny=f64:5e-324",
      "inf=f64:inf", "minusInf=f64:-inf", "nan=f64:nan"],
     {"half": 1.5, "minusZero": -0.0, "largestHalf": 65504.0, "bigHalf": -32768.0,
      "subnormalHalf": 1.7881393432617188e-07, "single": 65520.0, "double": 0.1, "tiny": 5e-324,
      "inf": math.inf, "minusInf": -math.inf, "nan": math.nan}),
    (["cal[]=f64:1.5", "cal[]=f64:-0.25", "cal[]=u32:3", "cal[]=null", "serial=u32:42"],
     {"cal": [1.5, -0.25, 3, None], "serial": 42}),
]

# Values that cbor2 writes and ROMStorage must read and write back unchanged.
READ = [record for _, record in WRITTEN] + [
    undefined, None, "", b"", [], {}, 0, -1, 2**64 - 1, -2**63, [[[]]], {"": undefined},
    {"\uff01": 1, "\U0001f600": 2, "aa": 3, "b": 4},
    {"board": {"cal": [1.0, 2.5e-8, {"deep": [math.nan, -math.inf]}], "serial": 7}, "unit": None},
]


def encode(value, canonical=True):
    out = io.BytesIO()
    CBOREncoder(out, canonical=canonical).encode(value)
    return out.getvalue()


def decode(payload):
    source = io.BytesIO(payload)
    value = CBORDecoder(source).decode()
    if source.read():
        raise ValueError("bytes after the item")
    return value


def frame(payload, version=2):
    head = b"QROM" + bytes([version, 0]) + struct.pack("<H", len(payload))
    return head + struct.pack("<I", zlib.crc32(head + payload)) + payload


def same(a, b):
    """Equal values of equal types; floats by their bits, NaN included."""
    if type(a) is not type(b):
        return False
    if isinstance(a, float):
        return struct.pack(">d", a) == struct.pack(">d", b) or (math.isnan(a) and math.isnan(b))
    if isinstance(a, list):
        return len(a) == len(b) and all(map(same, a, b))
    if isinstance(a, dict):
        return a.keys() == b.keys() and all(same(a[k], b[k]) for k in a)
    return a == b


def run(program, *arguments):
    environment = dict(os.environ, LC_ALL="C.UTF-8")
    return subprocess.run([program, *arguments], check=True, capture_output=True, text=True,
                          env=environment).stdout.split()


def main(qorsimunit, framepeer):
    failures = []

    def expect(holds, what):
        if not holds:
            failures.append(what)

    for fields, record in WRITTEN:
        written = bytes.fromhex(run(qorsimunit, "frame", *fields)[0])
        payload = written[12:]
        expect(written == frame(payload), f"{fields}: header or CRC differ from the documented layout")
        expect(same(decode(payload), record), f"{fields}: cbor2 reads {decode(payload)!r}")
        expect(payload == encode(record), f"{fields}: {payload.hex()} is not cbor2's {encode(record).hex()}")

    frames = [frame(encode(value)) for value in READ]
    refused = [frame(encode({"unit": "I1", "bf": 1}, canonical=False)), frame(encode(1.5, canonical=False)),
               frame(encode(REFERENCE), version=1)]
    answers = run(framepeer, *(f.hex() for f in frames + refused))
    for value, sent, answer in zip(READ, frames, answers):
        expect(answer == sent.hex(), f"{value!r}: {sent.hex()} read and written back as {answer}")
    expect(answers[len(frames):] == ["corrupted"] * len(refused), f"not refused: {answers[len(frames):]}")

    for failure in failures:
        print("FAIL:", failure)
    print(f"cborcrosscheck: {len(WRITTEN)} written and {len(READ) + len(refused)} read frames, "
          f"{len(failures)} failures")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
