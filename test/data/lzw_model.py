#!/usr/bin/env python3
"""A plain model of zelbase's LZ stream (b_lzCompress, b_lzDecompress),
written from its definition with a Python dict for the string table: the
codes written do not depend on how the table is hashed, so the model is
exact without the coder's probing.

The stream: codes of 9 to 15 bits, most significant bit first, each byte
filled from its top bit, the last byte padded with zero bits. Codes 0-255
are bytes, 256 widens the codes by one bit, 257 forgets the table, 258 is
the first string code. After a new string takes code N, N + 1 reaching
32768 writes 257 (at the old width) and starts over at 9 bits; otherwise N
+ 1 above 511, 1023, ... writes 256 at the old width and widens.

Usage:
  lzw_model.py --check    round trips, the hand-worked vectors, the shape of
                          the random stream, and that lzw_vectors.txt is what
                          the model writes
  lzw_model.py --write    rewrites lzw_vectors.txt beside this script

Vector lines (tab separated): name, input, output. The input is hex=<bytes>,
random=<seed>/<size>, text=<seed>/<size> or run=<byte>/<size> (gen_input()
below, mirrored by test/lz_test.cpp); the output hex=<bytes> or
sha256=<digest>/<length>.
"""
import hashlib
import os
import sys

HERE = os.path.dirname(os.path.abspath(__file__))
VECTORS = os.path.join(HERE, "lzw_vectors.txt")
M64 = (1 << 64) - 1

BUMP, FLUSH, FIRST = 256, 257, 258
MIN_BITS, MAX_CODE = 9, 32768


# ------------------------------------------------------------ inputs
def lcg(seed):
    """64-bit LCG (Knuth's MMIX constants); yields the state after each step."""
    state = seed & M64
    while True:
        state = (state * 6364136223846793005 + 1442695040888963407) & M64
        yield state


WORDS = ("the of and to in is that for it as with was on be by at this from or "
         "which table index row column value page key node store commit read "
         "write").split()
assert len(WORDS) == 32


def gen_input(spec):
    family, _, args = spec.partition("=")
    if family == "hex":
        return bytes.fromhex(args)
    a, b = (int(x) for x in args.split("/"))
    if family == "run":
        return bytes([a]) * b
    rng = lcg(a)
    if family == "random":
        return bytes(next(rng) >> 56 for _ in range(b))
    if family == "text":
        # Words chosen by the top 5 bits; every 12th word ends a line.
        out = bytearray()
        n = 0
        while len(out) < b:
            out += WORDS[next(rng) >> 59].encode()
            n += 1
            out += b"\n" if n % 12 == 0 else b" "
        return bytes(out[:b])
    raise ValueError(spec)


# ------------------------------------------------------------ coder
def compress(data, trace=None):
    """The stream of `data`; `trace` (a list) gets (code, width) pairs."""
    out = bytearray()
    acc = nacc = 0

    def put(code, width):
        nonlocal acc, nacc
        if trace is not None:
            trace.append((code, width))
        acc = (acc << width) | code
        nacc += width
        while nacc >= 8:
            nacc -= 8
            out.append((acc >> nacc) & 0xFF)
        acc &= (1 << nacc) - 1

    if not data:
        return b""
    table = {}
    next_code, bits, bump_at = FIRST, MIN_BITS, 511
    string = data[0]
    for byte in data[1:]:
        child = table.get((string, byte))
        if child is not None:
            string = child
            continue
        table[(string, byte)] = next_code
        next_code += 1
        put(string, bits)
        string = byte
        if next_code >= MAX_CODE:
            put(FLUSH, bits)
            table = {}
            next_code, bits, bump_at = FIRST, MIN_BITS, 511
        elif next_code > bump_at:
            put(BUMP, bits)
            bits += 1
            bump_at = bump_at * 2 + 1
    put(string, bits)
    if nacc:
        out.append((acc << (8 - nacc)) & 0xFF)
    return bytes(out)


def codes_of(stream):
    """The codes of a stream with their widths, read as the decoder does."""
    codes = []
    bits = MIN_BITS
    acc = nacc = 0
    for byte in stream:
        acc = (acc << 8) | byte
        nacc += 8
        while nacc >= bits:
            nacc -= bits
            code = acc >> nacc
            acc &= (1 << nacc) - 1
            codes.append((code, bits))
            if code == BUMP:
                bits += 1
            elif code == FLUSH:
                bits = MIN_BITS
    return codes


def decompress(stream):
    out = bytearray()
    strings = {}
    next_code, prev = FIRST, None
    for code, _ in codes_of(stream):
        if code == FLUSH:
            strings, next_code, prev = {}, FIRST, None
            continue
        if code == BUMP:
            continue
        if prev is None:
            s = bytes([code])
        elif code < 256:
            s = bytes([code])
        elif code < next_code:
            s = strings[code]
        else:  # the string being entered: the previous one and its first byte
            s = prev + prev[:1]
        if prev is not None:
            strings[next_code] = prev + s[:1]
            next_code += 1
        out += s
        prev = s
    return bytes(out)


# ------------------------------------------------------------ vectors
CASES = [
    ("empty", "hex="),
    ("one-byte", "hex=41"),
    ("aaaa", "hex=61616161"),
    ("tobeornot", "hex=" + b"TOBEORNOTTOBEORTOBEORNOT".hex()),
    ("all-bytes", "hex=" + bytes(range(256)).hex()),
    ("run-zero-100000", "run=0/100000"),
    ("text-1-200000", "text=1/200000"),
    ("random-1-120000", "random=1/120000"),
    ("random-7-300000", "random=7/300000"),
]


def output_field(stream):
    if len(stream) <= 64:
        return "hex=" + stream.hex()
    return "sha256=%s/%d" % (hashlib.sha256(stream).hexdigest(), len(stream))


def vector_lines():
    lines = ["# zelbase LZ streams written by lzw_model.py (--write); do not edit.",
             "# name <TAB> input <TAB> output",
             "#   input:  hex=<bytes> | random=<seed>/<size> | text=<seed>/<size> | run=<byte>/<size>",
             "#   output: hex=<bytes> | sha256=<digest>/<length>"]
    for name, spec in CASES:
        lines.append("%s\t%s\t%s" % (name, spec, output_field(compress(gen_input(spec)))))
    return lines


def check():
    failures = []

    def expect(what, ok):
        if not ok:
            failures.append(what)

    # Hand-worked: 'A' = 0x41 in 9 bits, 001000001, then 7 zero bits.
    expect("A", compress(b"A").hex() == "2080")
    # 'a' 258 'a' = 001100001 100000010 001100001 + 5 zero bits.
    expect("aaaa", compress(b"aaaa").hex() == "30c08c20")
    expect("tobeornot", compress(b"TOBEORNOTTOBEORTOBEORNOT").hex() ==
           "2a13c8445279489c4f2a40a090685c160f09")
    expect("empty", compress(b"") == b"")
    # Random bytes: six bumps (9 -> 15 bits), then the flush at 15 bits
    # after exactly 32510 new strings, then 9 bits again.
    trace = []
    stream = compress(gen_input("random=1/120000"), trace)
    specials = [(i, c, w) for i, (c, w) in enumerate(trace) if c in (BUMP, FLUSH)]
    expect("random specials", [c for _, c, _ in specials[:7]] == [BUMP] * 6 + [FLUSH])
    expect("bump widths", [w for _, _, w in specials[:6]] == list(range(9, 15)))
    first_flush = specials[6][0]
    expect("flush width", trace[first_flush][1] == 15)
    expect("width after flush", trace[first_flush + 1][1] == 9)
    new_strings = sum(1 for c, _ in trace[:first_flush] if c not in (BUMP, FLUSH))
    expect("32510 new strings", new_strings == 32510)
    expect("codes read back", codes_of(stream)[:len(trace)] == trace)
    # Round trips.
    for name, spec in CASES:
        data = gen_input(spec)
        expect("round trip " + name, decompress(compress(data)) == data)
    # The committed vectors.
    try:
        with open(VECTORS) as f:
            committed = f.read().splitlines()
    except OSError:
        committed = []
    expect("lzw_vectors.txt is current", committed == vector_lines())
    for f in failures:
        print("FAILED:", f)
    print("lzw model: %d failure(s)" % len(failures))
    return 1 if failures else 0


def main():
    if "--write" in sys.argv:
        with open(VECTORS, "w") as f:
            f.write("\n".join(vector_lines()) + "\n")
        return 0
    if "--check" in sys.argv:
        return check()
    print(__doc__)
    return 2


if __name__ == "__main__":
    sys.exit(main())
