#!/usr/bin/env python3
"""Vectors for the text-aware file and the buffered streams.

Run once from this directory; the outputs are committed beside it:
  good-file-utf16.txt   order<TAB>file bytes in hex<TAB>UTF-8 a reader sees
                        order is "le" or "be" (the file starts with its mark)
  good-file-utf16w.txt  UTF-8 bytes written in hex<TAB>units on the file in hex
  good-buffstream.txt   kind<TAB>value<TAB>bytes with byteswap 0<TAB>bytes with byteswap 1

The reader keeps two quirks no codec has: a lone low surrogate reads as "."
and the unit after a high surrogate is taken in little-endian order whatever
the file's order, unchecked. model_read() below holds them; it is checked
against codecs on every input where the two must agree (well-formed text of
either order without supplementary characters, and well-formed little-endian
text with them), and gives the vectors where they part.
"""
import codecs
import random
import struct

rng = random.Random(20261215)


def hexs(b):
    return b.hex() if b else "-"


def model_read(data, big):
    """What b_fileGetc gives, byte by byte, for a UTF-16 file."""
    out = bytearray()
    i = 0
    while i + 2 <= len(data):
        u = int.from_bytes(data[i:i + 2], "big" if big else "little")
        i += 2
        if 0xDC00 <= u <= 0xDFFF:
            out += b"."
            continue
        cp = u
        if 0xD800 <= u <= 0xDBFF:
            if i + 2 > len(data):
                break
            low = int.from_bytes(data[i:i + 2], "little")
            i += 2
            cp = 0x10000 + ((u & 0x3FF) << 10) + (low & 0x3FF)
        out += chr(cp).encode("utf-8", "surrogatepass")
    return bytes(out)


def model_write(utf8):
    """The units b_filePutc writes (host order, little-endian here)."""
    return utf8.decode("utf-8").encode("utf-16-le")


def random_text(supplementary):
    pools = [(0x20, 0x7E), (0xA0, 0x7FF), (0x800, 0xD7FF), (0xE000, 0xFFFD)]
    if supplementary:
        pools.append((0x10000, 0x10FFFF))
    s = []
    for _ in range(rng.randint(0, 40)):
        lo, hi = rng.choice(pools)
        s.append(chr(rng.randint(lo, hi)))
        if rng.random() < 0.1:
            s.append("\n")
    return "".join(s)


with open("good-file-utf16.txt", "w") as f:
    # Well-formed text: the model must agree with codecs.
    for n in range(60):
        big = n % 2 == 1
        text = "\ufeff" + random_text(supplementary=not big)
        data = text.encode("utf-16-be" if big else "utf-16-le")
        want = codecs.decode(data, "utf-16-be" if big else "utf-16-le").encode("utf-8")
        assert model_read(data, big) == want, text
        f.write(f"{'be' if big else 'le'}\t{hexs(data)}\t{hexs(want)}\n")
    # The quirks, from the model alone: lone halves, a high half followed by
    # anything, supplementary characters in big-endian files, an odd last byte.
    specials = [
        ("le", bytes.fromhex("fffe00dc4100")),        # lone low: "." then "A"
        ("le", bytes.fromhex("fffe3dd800de")),        # U+1F600
        ("be", bytes.fromhex("feffd83dde00")),        # low half read little-endian
        ("be", bytes.fromhex("feffd83d00de")),        # ... so this is U+1F600
        ("le", bytes.fromhex("fffe00d84100")),        # high half + "A", unchecked
        ("le", bytes.fromhex("fffe00d8")),            # high half at the end: nothing
        ("le", bytes.fromhex("fffe410042")),          # odd last byte dropped
        ("le", bytes.fromhex("fffe0000")),            # U+0000 reads as byte 0
    ]
    for _ in range(40):
        big = rng.random() < 0.5
        units = [rng.choice([rng.randint(0, 0xFFFF), rng.randint(0xD800, 0xDFFF),
                             rng.randint(0x20, 0x7E)]) for _ in range(rng.randint(1, 20))]
        data = (b"\xfe\xff" if big else b"\xff\xfe") + b"".join(
            u.to_bytes(2, "big" if big else "little") for u in units)
        if rng.random() < 0.2:
            data += bytes([rng.randint(0, 255)])
        specials.append(("be" if big else "le", data))
    for order, data in specials:
        f.write(f"{order}\t{hexs(data)}\t{hexs(model_read(data, order == 'be'))}\n")

with open("good-file-utf16w.txt", "w") as f:
    for _ in range(40):
        text = random_text(supplementary=True)
        utf8 = text.encode("utf-8")
        assert model_write(utf8) == codecs.encode(text, "utf-16-le")
        f.write(f"{hexs(utf8)}\t{hexs(model_write(utf8))}\n")

with open("good-buffstream.txt", "w") as f:
    kinds = [("i16", "h"), ("i32", "i"), ("i64", "q"), ("f32", "f"), ("f64", "d")]
    edges = {
        "i16": [0, 1, -1, 0x1234, -32768, 32767],
        "i32": [0, 1, -1, 0x12345678, -2**31, 2**31 - 1],
        "i64": [0, 1, -1, 0x0123456789ABCDEF, -2**63, 2**63 - 1],
        "f32": [0.0, -0.0, 1.0, -2.5, 3.4028234663852886e38, 1e-45],
        "f64": [0.0, -0.0, 1.0, -2.5, 1.7976931348623157e308, 5e-324],
    }
    for kind, code in kinds:
        values = list(edges[kind])
        for _ in range(10):
            if kind[0] == "i":
                bits = int(kind[1:])
                values.append(rng.randint(-2**(bits - 1), 2**(bits - 1) - 1))
            else:
                values.append(struct.unpack("<" + code,
                                            struct.pack("<" + code, rng.uniform(-1e6, 1e6)))[0])
        for v in values:
            text = repr(v) if kind[0] == "f" else str(v)
            f.write(f"{kind}\t{text}\t{struct.pack('<' + code, v).hex()}\t"
                    f"{struct.pack('>' + code, v).hex()}\n")
    # Strings with length: uint32 length, the bytes; 0xFFFFFFFF is null.
    for s in [b"", b"a", b"hello", bytes(range(1, 40))]:
        f.write(f"str\t{hexs(s)}\t{(struct.pack('<I', len(s)) + s).hex()}\t"
                f"{(struct.pack('>I', len(s)) + s).hex()}\n")
    f.write("str\tnull\tffffffff\tffffffff\n")
