#!/usr/bin/env python3
"""Vectors for the external sort, with GNU sort as the oracle of key order.

Run from this directory:  python3 gen_sort.py
Writes, for each vector NAME (wide, three):
  good-sort-NAME.txt     the field layout, then per record its number and a
                         text image of its keys whose byte order is key order
  good-sort-NAME.bin     the records, packed with struct in the host's order
  good-sort-NAME-order.txt  the record numbers in the order
                         `LC_ALL=C sort --parallel=1 -S 1M` puts the images
The seed is fixed, so running it again gives the same files.

The image of a record is its keys' images joined, each of fixed width:
  signed integers       value + 2^(bits-1), hex
  unsigned, dates, rowid  hex
  float, double         IEEE bits with the sign bit set, all bits flipped for
                        a negative value (no -0.0 and no NaN are generated)
  timetz                the UTC time word only (the zone is not compared)
  timestamp(tz)         date word then time word
  decimal               the rank among the distinct values by Python's decimal
  uuid                  the 16 bytes
  char                  the bytes up to the first NUL, then 00 to the width
                        (bytes after a NUL are random and must not count)
  bytes                 per byte "1" and its hex up to the length capped by
                        the room, then "0" to the width (a shorter first)
A descending key has every hex digit complemented. Equal keys give equal
images, so the test compares the images of its output with those of this
order, whatever order equal keys come in.
"""
import random
import struct
import subprocess
from decimal import Decimal

random.seed(20261123)

TYPES = {  # name: (SORTCOL_TYPE value, length)
    "int8": (2, 1), "uint8": (32770, 1), "int16": (258, 2), "uint16": (33026, 2),
    "int32": (514, 4), "uint32": (33282, 4), "int64": (770, 8), "uint64": (33538, 8),
    "float": (515, 4), "double": (771, 8), "rowid": (7, 8), "date": (260, 4),
    "time": (516, 4), "timetz": (1028, 8), "timestamp": (772, 8), "timestamptz": (1284, 16),
    "bcd": (5, 37), "uuid": (9, 16), "char": (8, 6), "bytes": (65535, 10), "payload": (0, 4),
}

DECIMALS = [Decimal(s) for s in ("-12.5", "-7", "0", "0.012", "1.5", "3", "100", "12345678901234567890.5")]
DEC_RANK = {d: i for i, d in enumerate(sorted(set(DECIMALS)))}


def bcd_bytes(d):
    """The 37-byte decimal: prec, exp, flags, sign, data[0] = 0, digits."""
    if d == 0:
        return bytes([0, 0, 0, 1]) + bytes(33)
    sign, digits, _ = d.as_tuple()
    exp = d.adjusted() + 1
    out = bytes([len(digits), exp & 0xFF, 0, 0xFF if sign else 1, 0]) + bytes(digits)
    return out + bytes(37 - len(out))


def hexw(v, width):
    return format(v, "0%dx" % width)


def flip(h):
    return "".join("0123456789abcdef"[15 - int(c, 16)] for c in h)


def float_image(bits, nbits):
    sign = 1 << (nbits - 1)
    return hexw((~bits & ((1 << nbits) - 1)) if bits & sign else bits | sign, nbits // 4)


def value(kind):
    """A random value of a small domain, its packed bytes and its image."""
    if kind in ("int8", "int16", "int32", "int64"):
        bits = {"int8": 8, "int16": 16, "int32": 32, "int64": 64}[kind]
        v = random.choice([-(1 << (bits - 1)), -1, 0, 5, (1 << (bits - 1)) - 1])
        fmt = {"int8": "<b", "int16": "<h", "int32": "<i", "int64": "<q"}[kind]
        return struct.pack(fmt, v), hexw(v + (1 << (bits - 1)), bits // 4)
    if kind in ("uint8", "uint16", "uint32", "uint64", "rowid", "date", "time"):
        bits = {"uint8": 8, "uint16": 16, "uint32": 32, "uint64": 64, "rowid": 64,
                "date": 32, "time": 32}[kind]
        v = random.choice([0, 1, min(1000, (1 << bits) - 2), (1 << bits) - 1])
        fmt = {8: "<B", 16: "<H", 32: "<I", 64: "<Q"}[bits]
        return struct.pack(fmt, v), hexw(v, bits // 4)
    if kind in ("float", "double"):
        v = random.choice([-1e30, -2.5, 0.0, 1.0 / 3, 7.0, 1e30])
        if kind == "float":
            raw = struct.pack("<f", v)
            return raw, float_image(struct.unpack("<I", raw)[0], 32)
        raw = struct.pack("<d", v)
        return raw, float_image(struct.unpack("<Q", raw)[0], 64)
    if kind == "timetz":
        t = random.choice([0, 5000, 863999999])
        return struct.pack("<Ihh", t, random.randint(-840, 840), random.randint(-9, 9)), hexw(t, 8)
    if kind in ("timestamp", "timestamptz"):
        d, t = random.choice([1, 738000]), random.choice([0, 12345])
        raw = struct.pack("<II", d, t)
        if kind == "timestamptz":
            raw += struct.pack("<hhI", random.randint(-840, 840), 0, 0)
        return raw, hexw(d, 8) + hexw(t, 8)
    if kind == "bcd":
        d = random.choice(DECIMALS)
        return bcd_bytes(d), hexw(DEC_RANK[d], 2)
    if kind == "uuid":
        b = bytes(random.choice([0, 0x7F, 0xFF]) for _ in range(16))
        return b, b.hex()
    if kind == "char":
        n = random.randint(0, 6)
        s = bytes(random.choice(b"ab\xe9") for _ in range(n))
        tail = bytes(random.randint(0, 255) for _ in range(6 - n - 1)) if n < 6 else b""
        raw = (s + b"\0" + tail)[:6]
        return raw, s.hex() + "00" * (6 - n)
    if kind == "bytes":
        n = random.randint(0, 9)
        data = bytes(random.choice([0, 1, 0xFF]) for _ in range(6))
        kept = min(n, 6)
        img = "".join("1" + format(c, "02x") for c in data[:kept])
        return struct.pack("<I", n) + data, img + "0" * (3 * 6 + 1 - len(img))
    raise ValueError(kind)


def layout(shape):
    """Fields at 8-aligned-enough offsets: (kind, offset, keyno, desc)."""
    fields, off = [], 0
    for kind, keyno, desc in shape:
        n = TYPES[kind][1]
        align = 4 if n >= 4 else n
        off = (off + align - 1) // align * align
        fields.append((kind, off, keyno, desc))
        off += n
    return fields, off


def write(name, shape, count):
    fields, size = layout(shape)
    keys = sorted((f for f in fields if f[2]), key=lambda f: f[2])
    records, images = [], []
    for no in range(count):
        rec = bytearray(size)
        parts = {}
        for kind, off, keyno, desc in fields:
            if kind == "payload":
                raw, img = struct.pack("<I", no), ""
            else:
                raw, img = value(kind)
            rec[off:off + len(raw)] = raw
            parts[off] = flip(img) if desc else img
        records.append(bytes(rec))
        images.append("".join(parts[f[1]] for f in keys))
    with open("good-sort-%s.bin" % name, "wb") as f:
        f.write(b"".join(records))
    with open("good-sort-%s.txt" % name, "w") as f:
        f.write("# generated by gen_sort.py: fields (type offset len keyno desc), records\n")
        f.write("fields %d recsize %d records %d\n" % (len(fields), size, count))
        for kind, off, keyno, desc in fields:
            f.write("%d %d %d %d %d\n" % (TYPES[kind][0], off, TYPES[kind][1], keyno, desc))
        for no, img in enumerate(images):
            f.write("%d %s\n" % (no, img))
    lines = "".join("%s %d\n" % (img, no) for no, img in enumerate(images))
    out = subprocess.run(["sort", "--parallel=1", "-S", "1M"], input=lines.encode(),
                         capture_output=True, check=True, env={"LC_ALL": "C"}).stdout.decode()
    with open("good-sort-%s-order.txt" % name, "w") as f:
        for line in out.splitlines():
            f.write(line.rsplit(" ", 1)[1] + "\n")


# Every comparable type as a key, small domains so that later keys decide
# among the ties of earlier ones; some descending.
WIDE = [("int8", 3, 0), ("uint8", 4, 1), ("int16", 5, 0), ("uint16", 6, 0), ("int32", 1, 1),
        ("uint32", 7, 0), ("int64", 8, 1), ("uint64", 9, 0), ("float", 10, 0), ("double", 11, 1),
        ("rowid", 12, 0), ("date", 13, 0), ("time", 14, 1), ("timetz", 2, 0),
        ("timestamp", 15, 0), ("timestamptz", 16, 1), ("bcd", 17, 0), ("uuid", 18, 0),
        ("char", 19, 1), ("bytes", 20, 0), ("payload", 0, 0)]
# The benchmark's shape: 32-byte records, three keys.
THREE = [("int32", 2, 1), ("char", 1, 0), ("uint64", 3, 0), ("payload", 0, 0), ("uint32", 0, 0),
         ("uint32", 0, 0)]

write("wide", WIDE, 1000)
write("three", THREE, 3000)
