#!/usr/bin/env python3
"""Vectors of the stored R-tree node, from a model of the format written here
from its description: boxes of doubles converted to the element type of the
key's array column (truncation to 32 or 64 bits, NaN and out of range giving
the most negative value, then the low bits kept; single precision for
floats) and packed as that column's array value. Python's struct is the
reference for the element bytes wherever a value is in range, for the
single rounding of floats, for the big-endian scalar forms of floats and
doubles, and for the host-order expanded image.

Run once from this directory; the output is committed beside it:
  good-rtree.txt  key <TAB> level <TAB> ids <TAB> boxes <TAB> compact hex <TAB>
                  boxes read back <TAB> expanded hex
  key: a spatial key of fuzz/object_catalog.h (by_i8 ... by_f64x8, by_flags);
  boxes: entries split by ';', 2 x dim values each (lows, then highs),
  written as Python's float.hex (which strtod reads back exactly).
"""
import math
import random
import struct

rng = random.Random(32)

FORMS = [(1, 0x00, 7), (2, 0x80, 6), (3, 0xC0, 5), (4, 0xE0, 3), (5, 0xE8, 3),
         (6, 0xF0, 3), (7, 0xF8, 0), (8, 0xF9, 0), (9, 0xFA, 0)]


def varint(u):
    assert 0 <= u < 1 << 64
    bias = 0
    for size, first, bits in FORMS:
        span = 1 << (bits + 8 * (size - 1))
        if u - bias < span or size == 9:
            pay = (u - bias).to_bytes(size, "big")
            return bytes([first | pay[0]]) + pay[1:]
        bias += span
    raise AssertionError


def svar(v):
    return varint(2 * v if v >= 0 else -2 * v - 1)


assert varint(127) == b"\x7f" and varint(128) == b"\x80\x00"
assert varint((1 << 64) - 1) == bytes.fromhex("fafefef7f7f7dfbf7f")
assert svar(-1) == b"\x01" and svar(300) == b"\x81\xd8"


def trunc(v, bits):
    """Truncation toward zero; NaN or a result out of range: the most
    negative value of that width."""
    lo, hi = -(1 << (bits - 1)), 1 << (bits - 1)
    if math.isnan(v) or not (lo <= v < hi):
        return lo
    return int(v)


def signed(u, bits):
    u &= (1 << bits) - 1
    return u - (1 << bits) if u >> (bits - 1) else u


TOP = float(1 << 63)


def to_u64(v):
    if v >= TOP:
        return (trunc(v - TOP, 64) & ((1 << 64) - 1)) | (1 << 63)
    return trunc(v, 64) & ((1 << 64) - 1)


def to_f32(v):
    try:
        return struct.unpack(">f", struct.pack(">f", v))[0]
    except OverflowError:  # struct refuses what rounds past the largest single
        return math.copysign(math.inf, v)


# Element types: (struct code of the element, its value from a double, the
# scalar packed form, the value read back as a double).
TYPES = {
    "i8": ("b", lambda v: signed(trunc(v, 32), 8), svar, float),
    "u8": ("B", lambda v: trunc(v, 32) & 0xFF, varint, float),
    "i16": ("h", lambda v: signed(trunc(v, 32), 16), svar, float),
    "u16": ("H", lambda v: trunc(v, 32) & 0xFFFF, varint, float),
    "i32": ("i", lambda v: trunc(v, 32), svar, float),
    "u32": ("I", lambda v: trunc(v, 64) & 0xFFFFFFFF, varint, float),
    "i64": ("q", lambda v: trunc(v, 64), svar, float),
    "u64": ("Q", to_u64, varint, float),
    "f32": ("f", to_f32, lambda x: struct.pack(">f", x), float),
    "f64": ("d", lambda v: v, lambda x: struct.pack(">d", x), float),
    "f64x8": ("d", lambda v: v, lambda x: struct.pack(">d", x), float),
    "flags": ("i", lambda v: 0, svar, lambda x: 0.0),  # not a box type: zeros
}
ELEMS = {"f64": 6, "f64x8": 8}  # the others are 4

# The element bytes of the model agree with struct wherever a value is in
# range, and the integer truncation with Python's own.
for code, conv, _, _ in TYPES.values():
    for v in [0.0, 1.7, -2.2, 127.9, -128.5, 255.5, 65535.0, -32768.9, 2.0**31 - 1, -2.0**31]:
        x = conv(v)
        try:
            struct.pack("<" + code, x)
        except struct.error:
            raise AssertionError((code, v, x))
assert trunc(-2.0**31 - 0.5, 32) == -(1 << 31) and trunc(2.0**31, 32) == -(1 << 31)
assert to_u64(2.0**63) == 1 << 63 and to_u64(2.0**64) == 1 << 63 and to_u64(-1.0) == (1 << 64) - 1


def value():
    return rng.choice([
        rng.uniform(-300, 300), float(rng.randint(-5, 5)), rng.uniform(-1, 1) * 10 ** rng.randint(0, 22),
        rng.choice([2.0**31 - 1, 2.0**31, -2.0**31, -2.0**31 - 1, 2.0**63, -2.0**63, 2.0**64,
                    1.5 * 2.0**63, 255.9, -128.5, 65535.5, 3.4028235e38, 3.5e38, -1e300,
                    math.inf, -math.inf, math.nan, 1e-40, -0.0]),
    ])


def node(key, level, ids, boxes):
    code, conv, scalar, back = TYPES[key]
    elems = ELEMS.get(key, 4)
    compact = varint(len(ids)) + varint(level) + b"".join(varint(i) for i in ids)
    read = []
    for box in boxes:
        xs = [conv(v) for v in box] + [0] * (elems - len(box))
        compact += varint(1) + varint(elems) + varint(0) + b"".join(scalar(x) for x in xs)
        read.append([back(x) for x in xs[:len(box)]])
    expanded = struct.pack("<HH", len(ids), level) + struct.pack("<%dQ" % len(ids), *ids)
    expanded += b"".join(struct.pack("<%dd" % len(b), *b) for b in boxes)
    return compact, read, expanded


def boxes_text(boxes):
    return ";".join(",".join(float.hex(v) for v in b) for b in boxes)


# The description's example: INT32[4], id 9, lows (1.7, -2.2), highs (3.9, 4.0).
assert node("i32", 0, [9], [[1.7, -2.2, 3.9, 4.0]])[0] == bytes.fromhex("01000901040002030608")

with open("good-rtree.txt", "w") as f:
    for key in TYPES:
        dim = ELEMS.get(key, 4) // 2
        for n in range(12):
            used = rng.choice([0, 1, 2, rng.randint(3, 32), 32])
            level = rng.choice([0, 1, rng.randint(0, 300)])
            ids = [rng.choice([rng.randint(0, 127), rng.randint(0, (1 << 64) - 1)]) for _ in range(used)]
            boxes = [[value() for _ in range(2 * dim)] for _ in range(used)]
            compact, read, expanded = node(key, level, ids, boxes)
            f.write("%s\t%d\t%s\t%s\t%s\t%s\t%s\n" % (
                key, level, ",".join(map(str, ids)), boxes_text(boxes), compact.hex(),
                boxes_text(read), expanded.hex()))
