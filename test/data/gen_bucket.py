#!/usr/bin/env python3
"""Vectors of the stored bucket, chunk and item zero, from a model of the
three formats written here from their description. Python's struct is the
reference for every host-order image (little-endian, as on the machines the
library runs on) and, in native mode, for the layout of a key buffer; the
varint is checked against the known bytes of its description.

Run once from this directory; the output is committed beside it:
  good-bucket-compact.txt   depth <TAB> entries <TAB> compact hex <TAB> reads
      key by_name (name VARCHAR(10), qty INT16, id INT32 not null) of
      fuzz/object_catalog.h; entries: name,qty,id/id1,id2...;... with NULL
      for a null element; reads: "ok", or "corrupt" where the reader's room
      (kept: sized by the total ids alone) cannot hold the ids
  good-bucket-expanded.txt  depth <TAB> entries <TAB> hashes <TAB> compact hex
                            <TAB> expanded hex
      key by_ids (id INT32, big INT64, both not null); entries: id,big/ids;
      hashes: valid:value per entry in use
  good-chunk.txt            owner <TAB> seq <TAB> bytes hex <TAB> compact hex
                            <TAB> expanded hex
  good-iz.txt               next <TAB> total <TAB> encType <TAB> dbKey hex <TAB>
                            drawerKey hex <TAB> roots <TAB> compact hex <TAB>
                            expanded hex
"""
import random
import struct

rng = random.Random(31)

# ---- The variable integer: nine forms, each biased by the sum of the
# ranges below it, the payload big-endian after the pattern bits.
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
assert varint(16511) == b"\xbf\xff" and varint(16512) == b"\xc0\x00\x00"
assert varint((1 << 64) - 1) == bytes.fromhex("fafefef7f7f7dfbf7f")
assert svar(-1) == b"\x01" and svar(300) == b"\x81\xd8"


def text(t):
    b = t.encode()
    return varint(len(b)) + b


def slot():
    return rng.choice([rng.randint(0, 127), rng.randint(0, 1 << 20), rng.randint(0, (1 << 64) - 1)])


# ---- Buckets: 31 entry records of 40 bytes, 31 key buffers, the ids.
ENTRIES, ENTRY_LEN, ID_LEN = 31, 40, 31 * 8
ENTRY = "<QQIIIIQ"  # data, ids (stored as 0), numIds, maxIds, hashIsValid, padding, hashValue
assert struct.calcsize(ENTRY) == ENTRY_LEN
# The compiler lays the record out as Python's native struct does.
assert struct.calcsize("@PPIIiIQ") == ENTRY_LEN


def align8(n):
    return (n + 7) // 8 * 8


def bucket_compact(depth, entries, pairs_of):
    out = varint(depth) + varint(len(entries))
    if entries:
        out += varint(sum(len(ids) for _, ids in entries))
        for key, ids in entries:
            pairs = pairs_of(key)
            out += varint(len(pairs)) + b"".join(varint(c) + v for c, v in pairs)
            out += varint(len(ids)) + b"".join(varint(i) for i in ids)
    return out


def fits(entries):
    """The reader sizes the id room by the larger of the total ids and 31,
    while an entry in use without ids takes room for one: the ids of an entry
    must lie within the room, or the stored bucket is refused."""
    room = max(sum(len(ids) for _, ids in entries), ENTRIES)
    running = 0
    for _, ids in entries:
        if running + len(ids) > room:
            return False
        running += max(len(ids), 1)
    return True


assert fits([((), [])] * 31) and not fits([((), [])] + [((), [1] * 31)])


def by_name_pairs(key):
    """Kept by the writer: an element is written when it has no has-value
    byte or that byte is not 1. A nullable element with a value is skipped;
    a null one goes out from its zeroed bytes (an empty text, a 0)."""
    name, qty, cid = key
    pairs = []
    if name is None:
        pairs.append((1, text("")))
    if qty is None:
        pairs.append((2, svar(0)))
    pairs.append((0, svar(cid)))  # not null: always written
    return pairs


def by_ids_pairs(key):
    cid, big = key
    return [(0, svar(cid)), (4, svar(big))]


KEY_BY_IDS = "@iq"  # id INT32 at 0, big INT64 at 8: 16 bytes
assert struct.calcsize(KEY_BY_IDS) == 16


def bucket_expanded(depth, entries, hashes):
    """The image a bucket read from its compact form writes: maxIds is the
    count or 1, the id room the larger of the ids and 31, rounded to 8."""
    key_len = struct.calcsize(KEY_BY_IDS)
    data_len = align8(ENTRIES * key_len)
    total = sum(len(ids) for _, ids in entries)
    room = align8(max(total * 8, ID_LEN))
    length = ENTRIES * ENTRY_LEN + data_len + room
    recs, keys, slots = b"", b"", bytearray(room)
    running = 0
    for i in range(ENTRIES):
        if i < len(entries):
            (cid, big), ids = entries[i]
            valid, value = hashes[i]
            recs += struct.pack(ENTRY, 0, 0, len(ids), max(len(ids), 1), valid, 0, value)
            keys += struct.pack(KEY_BY_IDS, cid, big)
            slots[running * 8:running * 8 + 8 * len(ids)] = struct.pack("<%dQ" % len(ids), *ids)
            running += max(len(ids), 1)
        else:
            recs += struct.pack(ENTRY, 0, 0, 0, 1, 0, 0, 0)
            keys += bytes(key_len)
            running += 1
    keys += bytes(data_len - len(keys))
    return struct.pack("<IIQ", depth, len(entries), length) + recs + keys + bytes(slots)


def ids_list():
    return [slot() for _ in range(rng.choice([0, 1, 1, 2, 2, 3, rng.randint(3, 40)]))]


def small_name():
    return "".join(rng.choice("abcdefghij XYZ") for _ in range(rng.randint(0, 9)))


with open("good-bucket-compact.txt", "w") as f:
    for n in range(50):
        count = rng.choice([0, 1, 2, rng.randint(3, 31), 31])
        entries = []
        for _ in range(count):
            key = (None if rng.random() < 0.3 else small_name(),
                   None if rng.random() < 0.3 else rng.randint(-32768, 32767),
                   rng.randint(-(1 << 31), (1 << 31) - 1))
            entries.append((key, ids_list()))
        depth = rng.choice([0, 1, rng.randint(0, 40)])
        f.write("%d\t%s\t%s\t%s\n" % (depth, ";".join(
            ",".join("NULL" if x is None else str(x) for x in key) + "/" +
            ",".join(map(str, ids)) for key, ids in entries),
            bucket_compact(depth, entries, by_name_pairs).hex(),
            "ok" if fits(entries) else "corrupt"))

with open("good-bucket-expanded.txt", "w") as f:
    for n in range(30):
        count = rng.choice([0, 1, rng.randint(2, 31), 31])
        entries = None
        while entries is None or not fits(entries):  # images of buckets that read
            entries = [((rng.randint(-(1 << 31), (1 << 31) - 1),
                         rng.randint(-(1 << 63), (1 << 63) - 1)), ids_list()) for _ in range(count)]
        hashes = [(rng.randint(0, 1), rng.randint(0, (1 << 64) - 1)) for _ in range(count)]
        depth = rng.randint(0, 1 << 20)
        f.write("%d\t%s\t%s\t%s\t%s\n" % (
            depth,
            ";".join("%d,%d/%s" % (k[0], k[1], ",".join(map(str, ids))) for k, ids in entries),
            ";".join("%d:%d" % h for h in hashes),
            bucket_compact(depth, entries, by_ids_pairs).hex(),
            bucket_expanded(depth, entries, hashes).hex()))

# ---- Chunks.


def chunk_compact(owner, seq, data):
    return varint(127) + varint(owner) + varint(seq) + varint(len(data)) + data


def chunk_expanded(owner, seq, data):
    head = struct.pack("<HQQI", 127, owner, seq, len(data))
    assert len(head) == 22
    return head + data


with open("good-chunk.txt", "w") as f:
    for n in range(30):
        data = bytes(rng.randint(0, 255) for _ in range(rng.choice([0, 1, rng.randint(2, 300)])))
        owner, seq = slot(), rng.choice([0, rng.randint(0, 1000), (1 << 64) - 1])
        f.write("%d\t%d\t%s\t%s\t%s\n" % (owner, seq, data.hex(), chunk_compact(owner, seq, data).hex(),
                                          chunk_expanded(owner, seq, data).hex()))

# ---- Item zero.


def iz_compact(nxt, total, enc, db, dr, roots):
    return (varint(nxt) + varint(total) + varint(enc) + db + dr + varint(len(roots)) +
            b"".join(varint(r) for r in roots))


def iz_expanded(nxt, total, enc, db, dr, roots):
    head = struct.pack("<QQI16s16sH", nxt, total, enc, db, dr, len(roots))
    assert len(head) == 54
    return head + struct.pack("<%dQ" % len(roots), *roots)


# iz_init: next 1, the rest zero.
assert iz_compact(1, 0, 0, bytes(16), bytes(16), []) == b"\x01\x00\x00" + bytes(32) + b"\x00"

with open("good-iz.txt", "w") as f:
    for n in range(30):
        roots = [slot() for _ in range(rng.choice([0, 1, rng.randint(2, 40)]))]
        nxt, total, enc = slot(), slot(), rng.choice([0, 1, 2, 3, 4, 5, rng.randint(6, 0x7FFFFFFF)])
        db = bytes(rng.randint(0, 255) for _ in range(16))
        dr = bytes(rng.choice([0, rng.randint(0, 255)]) for _ in range(16))
        f.write("%d\t%d\t%d\t%s\t%s\t%s\t%s\t%s\n" % (
            nxt, total, enc, db.hex(), dr.hex(), ",".join(map(str, roots)),
            iz_compact(nxt, total, enc, db, dr, roots).hex(),
            iz_expanded(nxt, total, enc, db, dr, roots).hex()))
