#!/usr/bin/env python3
"""Vectors of the compact row stream and the compact index node, from a model
of the two formats written here from their description, with Python's
struct (big-endian doubles) and datetime (day numbers: date.toordinal, 1 for
0001-01-01) as the references for the values.

Run once from this directory; the output is committed beside it:
  good-row-compact.txt   id|a|name|s|ok|day|x|u|b|t <TAB> stream in hex
  good-node-compact.txt  children <TAB> ids <TAB> entries <TAB> node in hex
                         entries: s,name,id;s,name,id;...
NULL marks a null. The table of both (test/row_vectors in row_test.cpp):
  0 id INT64 not null   1 a INT32        2 name VARCHAR(10)  3 s INT16
  4 ok BOOL             5 day DATE       6 x DOUBLE          7 u UINT32
  8 gone VARCHAR(5), retired             9 b INT32 not null
  10 r ROWID            11 t TIMESTAMP
and the key k (s, name, id) of the nodes.
"""
import datetime
import random
import string
import struct

rng = random.Random(20240229)

# ---- The variable integer: nine forms, each biased by the sum of the
# ranges below it, the payload big-endian after the pattern bits.
FORMS = [  # (total bytes, first byte pattern, payload bits in the first byte)
    (1, 0x00, 7), (2, 0x80, 6), (3, 0xC0, 5), (4, 0xE0, 3), (5, 0xE8, 3),
    (6, 0xF0, 3), (7, 0xF8, 0), (8, 0xF9, 0), (9, 0xFA, 0)]


def varint(u):
    assert 0 <= u < 1 << 64
    bias = 0
    for size, first, bits in FORMS:
        span = 1 << (bits + 8 * (size - 1))
        if u - bias < span or size == 9:
            pay = (u - bias).to_bytes(size, "big")  # the pattern bits are clear in pay[0]
            return bytes([first | pay[0]]) + pay[1:]
        bias += span
    raise AssertionError


def svar(v):
    return varint(2 * v if v >= 0 else -2 * v - 1)


# Known bytes of the description, as a check of the model itself.
assert varint(127) == b"\x7f" and varint(128) == b"\x80\x00"
assert varint(16511) == b"\xbf\xff" and varint(16512) == b"\xc0\x00\x00"
assert varint((1 << 64) - 1) == bytes.fromhex("fafefef7f7f7dfbf7f")
assert svar(-1) == b"\x01" and svar(1) == b"\x02" and svar(300) == b"\x81\xd8"

EPOCH = datetime.datetime(1, 1, 1)


def day_number(d):
    return d.toordinal()


# ---- Columns: (name, make a random value as text, pack that text).
def text_int(bits):
    return lambda: str(rng.randint(-(1 << (bits - 1)), (1 << (bits - 1)) - 1)
                       if rng.random() < 0.5 else rng.randint(-300, 300))


def pack_text(t):
    b = t.encode()
    return varint(len(b)) + b


def make_name(n):
    return lambda: "".join(rng.choice(string.ascii_letters + " .-") for _ in range(rng.randint(0, n)))


def make_day():
    return (datetime.date(1900, 1, 1) + datetime.timedelta(days=rng.randint(0, 73000))).isoformat()


def make_double():
    v = rng.choice([rng.uniform(-1e6, 1e6), rng.random(), float(rng.randint(-5, 5)),
                    rng.uniform(-1, 1) * 10 ** rng.randint(-300, 300)])
    return "%.17g" % v


def make_ts():
    d = datetime.datetime(1970, 1, 1) + datetime.timedelta(seconds=rng.randint(0, 4 * 10**9))
    return d.strftime("%Y-%m-%d %H:%M:%S") + ".%04d" % rng.randint(0, 9999)


def pack_ts(t):
    d = datetime.datetime.strptime(t[:19], "%Y-%m-%d %H:%M:%S")
    units = (d.hour * 3600 + d.minute * 60 + d.second) * 10000 + int(t[20:])
    return varint(day_number(d.date())) + varint(units)


COLS = [  # id, name, value maker, packer, nullable
    (0, "id", text_int(64), lambda t: svar(int(t)), False),
    (1, "a", text_int(32), lambda t: svar(int(t)), True),
    (2, "name", make_name(10), pack_text, True),
    (3, "s", text_int(16), lambda t: svar(int(t)), True),
    (4, "ok", lambda: rng.choice(["true", "false"]), lambda t: svar(1 if t == "true" else 0), True),
    (5, "day", make_day, lambda t: varint(day_number(datetime.date.fromisoformat(t))), True),
    (6, "x", make_double, lambda t: struct.pack(">d", float(t)), True),
    (7, "u", lambda: str(rng.randint(0, (1 << 32) - 1)), lambda t: varint(int(t)), True),
    (9, "b", text_int(32), lambda t: svar(int(t)), False),
    (11, "t", make_ts, pack_ts, True),
]


def row_stream(values):
    """values: id -> text or None. Groups are runs of stored columns whose ids
    follow one another; the retired 8 and the rowid 10 are never stored."""
    out = bytearray(b"\x00\x00")  # no AVL keys, no joins
    run = []
    for cid, _, _, pack, _ in COLS:
        text = values[cid]
        if text is not None and run and cid == run[-1][0] + 1:
            run.append((cid, pack(text)))
            continue
        if run:
            out += varint(len(run)) + varint(run[0][0]) + b"".join(p for _, p in run)
        run = [(cid, pack(text))] if text is not None else []
    if run:
        out += varint(len(run)) + varint(run[0][0]) + b"".join(p for _, p in run)
    return bytes(out + b"\x00")


with open("good-row-compact.txt", "w") as f:
    for n in range(160):
        vals = {}
        for cid, _, make, _, nullable in COLS:
            vals[cid] = None if nullable and rng.random() < (n % 4) / 4 else make()
        f.write("|".join("NULL" if vals[c[0]] is None else vals[c[0]] for c in COLS))
        f.write("\t" + row_stream(vals).hex() + "\n")


# ---- Index nodes of k (s INT16, name VARCHAR(10), id INT64 not null): an
# entry is the count of elements holding a value, then column id and value
# of each, in key order.
def node(children, ids, entries):
    out = bytearray(varint(len(entries)))
    if entries:
        for c in children:
            out += varint(c)
        for i in ids:
            out += varint(i)
    for s, name, cid in entries:
        pairs = [(3, svar(int(s))) if s is not None else None,
                 (2, pack_text(name)) if name is not None else None,
                 (0, svar(int(cid)))]
        pairs = [p for p in pairs if p]
        out += varint(len(pairs)) + b"".join(varint(c) + v for c, v in pairs)
    return bytes(out)


with open("good-node-compact.txt", "w") as f:
    for n in range(60):
        used = rng.choice([0, 1, 2, rng.randint(3, 33)])
        children = [rng.choice([rng.randint(0, 200), rng.randint(0, 1 << 40)]) for _ in range(used + 1)]
        ids = [rng.randint(0, 1 << 20) for _ in range(used)]
        entries = [(None if rng.random() < 0.3 else text_int(16)(),
                    None if rng.random() < 0.3 else make_name(10)(),
                    text_int(64)()) for _ in range(used)]
        if used == 0:
            children = [0]  # kept: an empty compact node loses its child
        f.write(",".join(map(str, children)) + "\t" + ",".join(map(str, ids)) + "\t")
        f.write(";".join(",".join("NULL" if x is None else x for x in e) for e in entries))
        f.write("\t" + node(children, ids, entries).hex() + "\n")
