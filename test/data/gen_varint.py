#!/usr/bin/env python3
"""Big-endian IEEE 754 vectors for the stream encoder and decoder, from
Python's struct module.

Run once from this directory; the output is committed beside it:
  good-varint-float.txt   f|d <TAB> value as float.hex() <TAB> bytes in hex
                          (struct.pack('>f') for f, struct.pack('>d') for d)
Values that are not finite are written as inf, -inf and nan.
"""
import math
import random
import struct

rng = random.Random(20261122)


def text(v):
    if math.isnan(v):
        return "nan"
    if math.isinf(v):
        return "inf" if v > 0 else "-inf"
    return v.hex()


singles = [0.0, -0.0, 1.0, -1.0, 0.5, 2.0, 3.14159274101257324, 1e-45, -1e-45,
           1.17549435e-38, 3.4028234663852886e38, -3.4028234663852886e38, 16777216.0,
           float("inf"), float("-inf"), float("nan")]
for _ in range(24):
    bits = rng.getrandbits(32)
    v = struct.unpack(">f", bits.to_bytes(4, "big"))[0]
    if not math.isnan(v):
        singles.append(v)

doubles = [0.0, -0.0, 1.0, -1.0, 0.1, -2.5, math.pi, 5e-324, -5e-324, 2.2250738585072014e-308,
           1.7976931348623157e308, -1.7976931348623157e308, 9007199254740993.0,
           float("inf"), float("-inf"), float("nan")]
for _ in range(24):
    bits = rng.getrandbits(64)
    v = struct.unpack(">d", bits.to_bytes(8, "big"))[0]
    if not math.isnan(v):
        doubles.append(v)

with open("good-varint-float.txt", "w") as f:
    for v in singles:
        # Round to single precision first so that the text is the stored value.
        v = struct.unpack(">f", struct.pack(">f", v))[0]
        f.write(f"f\t{text(v)}\t{struct.pack('>f', v).hex()}\n")
    for v in doubles:
        f.write(f"d\t{text(v)}\t{struct.pack('>d', v).hex()}\n")
