#!/usr/bin/python3
"""cborcrosscheck.py FRAMEPEER: frames around cbor2's deterministic encoding of each value load through
ROMStorage and are written back to the same bytes; non-deterministic encodings and version 1 are refused.
cbor2's pure-Python encoder is used: its C one writes halves of magnitude 32768 to 65504 as singles."""
import io
import math
import struct
import subprocess
import sys
import zlib

from cbor2.encoder import CBOREncoder
from cbor2.types import undefined

VALUES = [
    {"unit": "I123456", "cb": 1234567, "fpgaUid": "0a5f", "mac": "02:fc:00:00:00:01", "cal": [1.5, None, 3]},
    {"": undefined, "text": "Ger\u00e4t \U0001f600 \ufeff \uffff", "\uff01": b"\0\xff", "\U0001f600": True},
    [2**64 - 1, 2**32, 2**32 - 1, 65536, 24, 23, 0, -1, -24, -25, -2**31, -2**31 - 1, -2**63],
    [1.5, -0.0, 65504.0, -32768.0, 2**-24, -3 * 2**-24, 65520.0, 0.1, 5e-324, math.inf, -math.inf, math.nan],
    undefined, None, "", b"", [], {}, [[[]]], {"a": {"b": [{}]}}, False,
]


def frame(value, version=2, canonical=True):
    out = io.BytesIO()
    CBOREncoder(out, canonical=canonical).encode(value)
    head = b"QROM" + bytes([version, 0]) + struct.pack("<H", len(out.getvalue()))
    return head + struct.pack("<I", zlib.crc32(head + out.getvalue())) + out.getvalue()


def main(framepeer):
    sent = [frame(value).hex() for value in VALUES]
    refused = [frame({"unit": "I1", "bf": 1}, canonical=False).hex(), frame(1.5, canonical=False).hex(),
               frame(VALUES[0], version=1).hex()]
    answers = subprocess.run([framepeer, *sent, *refused], capture_output=True, text=True).stdout.split()
    failures = [f"{s} came back as {a}" for s, a in zip(sent, answers) if a != s]
    failures += [f"not refused: {a}" for a in answers[len(sent):] if a != "corrupted"]
    print("\n".join(["FAIL: " + failure for failure in failures]
                    + [f"cborcrosscheck: {len(answers)} frames, {len(failures)} failures"]))
    return 1 if failures or len(answers) != len(sent + refused) else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
