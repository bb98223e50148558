#!/usr/bin/env python3
"""A plain model of zelbase's LZMA coder, written from its definition, with
two switches that turn it into the published LZMA model.

zelbase's stream differs from the published model in two coded details:
  * next states after repeats: a short repeat after a literal goes to 8 and
    a long one to 9 (the published model has 9 and 8);
  * one length coder serves matches and repeats (the published model keeps
    a second one for repeats).
Its decoder also stops with the value 2 on a short repeat, which zelbase's
encoder never writes; with `published_states` it copies the byte instead.

Both sides normalise the range before each bit rather than after, so a
stream may be one byte shorter than the published coder's; the published
decoder reads it whole once a 00 is appended.

Framing: the source length as a 5.1 varint, then the coder's bytes (the
first of them the coder's zero byte); no header, properties or end marker.

Usage:
  lzma_model.py --check    checks the model against Python's lzma (liblzma)
                           in published mode, round trips in zelbase mode,
                           and that lzma_vectors.txt is what the model writes
                           (exit 77 when the lzma module is missing)
  lzma_model.py --write    rewrites lzma_vectors.txt beside this script

Vector lines (tab separated): name, input, output. The input is hex=<bytes>
or gen=<family>/<seed>/<size>/<sha256 of the input>; the output hex=<bytes>
or sha256=<digest>/<length>. Generated inputs come from gen_object(), which
test/lzma_corpus.h mirrors byte for byte.
"""
import hashlib
import os
import sys

HERE = os.path.dirname(os.path.abspath(__file__))
VECTORS = os.path.join(HERE, "lzma_vectors.txt")
M64 = (1 << 64) - 1
ALL_ONES = 0xFFFFFFFF

TOP = 1 << 24
BITS = 11
MOVE = 5
PROB_INIT = 1 << (BITS - 1)
DICT_SIZE = 16384
MAX_LEN = 273
LC, LP, PB = 3, 0, 2
PB_MASK = (1 << PB) - 1
LIT_LEN = 0x300 << (LC + LP)

# Next states. zelbase: short repeat 8, long repeat 9 after a literal.
NEXT_LIT = [0, 0, 0, 0, 1, 2, 3, 4, 5, 6, 4, 5]
NEXT_MATCH = [7] * 7 + [10] * 5
NEXT_SHORTREP = [8] * 7 + [11] * 5
NEXT_LONGREP = [9] * 7 + [11] * 5
PUB_NEXT_SHORTREP = [9] * 7 + [11] * 5
PUB_NEXT_LONGREP = [8] * 7 + [11] * 5

LIT, MATCH, SHORTREP, LONGREP = 0, 1, 2, 3


class Corrupted(Exception):
    pass


# ------------------------------------------------------------ the 5.1 varint
VINT_BIAS = [0, 0x80, 0x4080, 0x204080, 0x8204080, 0x808204080, 0x80808204080,
             0x1080808204080, 0x101080808204080]
VINT_MAX = [0x7F, 0x407F, 0x20407F, 0x820407F, 0x80820407F, 0x8080820407F,
            0x108080820407F, 0x10108080820407F, M64]
VINT_FIRST = [0x00, 0x80, 0xC0, 0xE0, 0xE8, 0xF0, 0xF8, 0xF9, 0xFA]


def vint_encode(v):
    form = next(i for i, top in enumerate(VINT_MAX) if v <= top)
    size = form + 1
    payload = v - VINT_BIAS[form]
    if form >= 6:
        return bytes([VINT_FIRST[form]]) + payload.to_bytes(size - 1, "big")
    raw = payload.to_bytes(size, "big")
    return bytes([VINT_FIRST[form] | raw[0]]) + raw[1:]


def vint_decode(data, off):
    """(value, next offset); raises Corrupted when the bytes run out."""
    if off >= len(data):
        raise Corrupted("eEOD")
    first = data[off]
    if first < 0x80:
        return first, off + 1
    if first >= 0xFB:
        raise Corrupted("eINVVARINT")
    if first < 0xC0:
        form, bits = 1, first & 0x3F
    elif first < 0xE0:
        form, bits = 2, first & 0x1F
    elif first < 0xF8:
        form, bits = 3 + ((first - 0xE0) >> 3), first & 0x07
    else:
        form, bits = 6 + first - 0xF8, 0
    if off + form + 1 > len(data):
        raise Corrupted("eEOD")
    for b in data[off + 1:off + form + 1]:
        bits = (bits << 8) | b
    return (bits + VINT_BIAS[form]) & M64, off + form + 1


# ------------------------------------------------------------ range coder
class RangeEncoder:
    def __init__(self):
        self.low = 0
        self.range = ALL_ONES
        self.cache = 0
        self.cache_size = 1
        self.out = bytearray()

    def shift_low(self):
        if self.low < 0xFF000000 or self.low >= 1 << 32:
            carry = self.low >> 32
            temp = self.cache
            while True:
                self.out.append((temp + carry) & 0xFF)
                temp = 0xFF
                self.cache_size -= 1
                if self.cache_size == 0:
                    break
            self.cache = (self.low >> 24) & 0xFF
        self.cache_size += 1
        self.low = (self.low & 0x00FFFFFF) << 8

    def normalize(self):
        # Before each bit, not after: zelbase's coder does it this way.
        if self.range < TOP:
            self.range = (self.range << 8) & ALL_ONES
            self.shift_low()

    def bit(self, probs, i, b):
        self.normalize()
        p = probs[i]
        bound = (self.range >> BITS) * p
        if b == 0:
            self.range = bound
            probs[i] = p + (((1 << BITS) - p) >> MOVE)
        else:
            self.low += bound
            self.range -= bound
            probs[i] = p - (p >> MOVE)

    def direct(self, value, nbits):
        for i in range(nbits - 1, -1, -1):
            self.normalize()
            self.range >>= 1
            if (value >> i) & 1:
                self.low += self.range

    def tree(self, probs, base, nbits, value):
        m = 1
        for i in range(nbits - 1, -1, -1):
            b = (value >> i) & 1
            self.bit(probs, base + m - 1, b)
            m = (m << 1) | b

    def tree_reverse(self, probs, base, nbits, value):
        m = 1
        for i in range(nbits):
            b = (value >> i) & 1
            self.bit(probs, base + m - 1, b)
            m = (m << 1) | b

    def finish(self):
        for _ in range(5):
            self.shift_low()
        return bytes(self.out)


class RangeDecoder:
    """Reads `data` from `off`; past the end it raises EOFError (sEOS)."""

    def __init__(self, data, off):
        self.data = data
        self.off = off
        self.range = ALL_ONES
        self.code = 0
        for _ in range(5):  # the first byte is not checked to be zero
            self.code = ((self.code << 8) | self.next_byte()) & ALL_ONES

    def next_byte(self):
        if self.off >= len(self.data):
            raise EOFError
        b = self.data[self.off]
        self.off += 1
        return b

    def normalize(self):
        if self.range < TOP:
            self.range = (self.range << 8) & ALL_ONES
            self.code = ((self.code << 8) | self.next_byte()) & ALL_ONES

    def bit(self, probs, i):
        self.normalize()
        p = probs[i]
        bound = (self.range >> BITS) * p
        if self.code < bound:
            self.range = bound
            probs[i] = p + (((1 << BITS) - p) >> MOVE)
            return 0
        self.range -= bound
        self.code -= bound
        probs[i] = p - (p >> MOVE)
        return 1

    def direct(self, nbits):
        v = 0
        for _ in range(nbits):
            self.normalize()
            self.range >>= 1
            b = 0
            if self.code >= self.range:
                self.code -= self.range
                b = 1
            v = (v << 1) | b
        return v

    def tree(self, probs, base, nbits):
        m = 1
        for _ in range(nbits):
            m = (m << 1) | self.bit(probs, base + m - 1)
        return m - (1 << nbits)

    def tree_reverse(self, probs, base, nbits):
        m, v = 1, 0
        for i in range(nbits):
            b = self.bit(probs, base + m - 1)
            m = (m << 1) | b
            v |= b << i
        return v


# ------------------------------------------------------------ bit models
class LenModels:
    def __init__(self):
        self.p = [PROB_INIT] * (2 + 128 + 128 + 256)  # choice, choice2, low, mid, high

    CHOICE, CHOICE2, LOW, MID, HIGH = 0, 1, 2, 130, 258


class Models:
    def __init__(self, separate_rep_len):
        self.lit = [PROB_INIT] * LIT_LEN
        self.is_match = [PROB_INIT] * (12 * 16)
        self.rep = [PROB_INIT] * 12
        self.rep0 = [PROB_INIT] * 12
        self.rep0_long = [PROB_INIT] * (12 * 16)
        self.rep1 = [PROB_INIT] * 12
        self.rep2 = [PROB_INIT] * 12
        self.dist_slot = [PROB_INIT] * (4 * 64)
        self.dist_special = [PROB_INIT] * 114
        self.dist_align = [PROB_INIT] * 16
        self.length = LenModels()
        self.rep_length = LenModels() if separate_rep_len else self.length


def dist_slot_of(d):
    if d < 4:
        return d
    n = d.bit_length()
    return 2 * (n - 1) + ((d >> (n - 2)) & 1)


def lit_base(prev_byte, pos):
    return 0x300 * ((prev_byte >> (8 - LC)) + ((pos & ((1 << LP) - 1)) << LC))


# ------------------------------------------------------------ the coder
class Coder:
    def __init__(self, published_states=False, separate_rep_len=False):
        self.published_states = published_states
        self.separate_rep_len = separate_rep_len
        self.next_shortrep = PUB_NEXT_SHORTREP if published_states else NEXT_SHORTREP
        self.next_longrep = PUB_NEXT_LONGREP if published_states else NEXT_LONGREP

    # -------------------------------------------------------- match finder
    def hash_of(self, p):
        if p + 1 >= len(self.data):
            return self.data[p] << 8
        return (self.data[p] << 8) | self.data[p + 1]

    def dict_add(self, p):
        h = self.hash_of(p)
        old = self.hash[h]
        self.chain[p % DICT_SIZE] = old if old < p else ALL_ONES
        self.hash[h] = p

    def find_matches(self, lookup):
        """The list of (pos, len) in chain order and the index of the best."""
        data, n = self.data, len(self.data)
        entries, best = [], -1
        cand = self.hash[self.hash_of(lookup)]
        while cand < lookup and lookup - cand <= DICT_SIZE:
            pos = lookup - 1 - cand
            left = n - lookup
            cap = min(left, MAX_LEN)
            if left < 3:
                ln = cap
            else:
                ln = 2
                while ln < cap and data[cand + ln] == data[lookup + ln]:
                    ln += 1
            if ln >= 2 and not (best >= 0 and ln + 3 < entries[best][1]):
                entries.append((pos, ln))
                if best < 0 or ln > entries[best][1] or \
                        (ln == entries[best][1] and pos < entries[best][0]):
                    best = len(entries) - 1
            cand = self.chain[cand % DICT_SIZE]
        return entries, best

    def best_rep(self, entries):
        rep, rep_len = -1, 0
        for pos, ln in entries:
            for i in range(4):
                if pos == self.reps[i]:
                    if ln > rep_len:
                        rep, rep_len = i, ln
                    break
        return rep, rep_len

    @staticmethod
    def closer(entries, ln, pos):
        while pos // 128 > entries[0][0]:
            limit = pos // 128
            hit = next((e for e in entries if e[0] < limit and e[1] >= ln - 1), None)
            if hit is None:
                break
            pos, ln = hit
        return ln, pos

    def choose(self):
        """(LIT, 1) or (MATCH, pos, len) or (LONGREP, rep, len)."""
        ip = self.input_pos
        if self.lookahead is not None:
            cur, self.lookahead = self.lookahead, None
        else:
            cur = self.find_matches(ip)
        self.dict_add(ip)
        entries, best = cur
        if not entries:
            return (LIT,)
        pos, ln = entries[best]
        rep, rep_len = self.best_rep(entries)
        if ln >= 64:
            return (LONGREP, rep, rep_len) if rep >= 0 else (MATCH, pos, ln)
        ln, pos = self.closer(entries, ln, pos)
        if ln == 2 and pos >= 128:
            ln = 1
        if rep >= 0 and (rep_len + 1 >= ln or (rep_len + 2 >= ln and pos >= 512)):
            return (LONGREP, rep, rep_len)
        if ln < 2:
            return (LIT,)
        nxt = self.find_matches(ip + 1)
        if nxt[0]:
            npos, nlen = nxt[0][nxt[1]]
            if nlen > ln + 1 or (nlen > ln and npos // 128 <= pos) or \
                    (nlen > ln - 1 and npos < pos) or \
                    (nlen > ln - 2 and ln > 2 and npos < pos // 128):
                self.lookahead = nxt
                return (LIT,)
        if rep < 0 or rep_len < ln - 1:
            return (MATCH, pos, ln)
        return (LONGREP, rep, rep_len)

    # -------------------------------------------------------- packets
    def enc_len(self, lm, ln, ps):
        rc, p, v = self.rc, lm.p, ln - 2
        if v < 8:
            rc.bit(p, LenModels.CHOICE, 0)
            rc.tree(p, LenModels.LOW + 8 * ps, 3, v)
        elif v < 16:
            rc.bit(p, LenModels.CHOICE, 1)
            rc.bit(p, LenModels.CHOICE2, 0)
            rc.tree(p, LenModels.MID + 8 * ps, 3, v - 8)
        else:
            rc.bit(p, LenModels.CHOICE, 1)
            rc.bit(p, LenModels.CHOICE2, 1)
            rc.tree(p, LenModels.HIGH, 8, v - 16)

    def enc_distance(self, d, ln):
        rc, m = self.rc, self.m
        slot = dist_slot_of(d)
        rc.tree(m.dist_slot, 64 * min(ln - 2, 3), 6, slot)
        if slot < 4:
            return
        nb = (slot >> 1) - 1
        base = (2 | (slot & 1)) << nb
        if slot < 14:
            rc.tree_reverse(m.dist_special, base - slot, nb, d - base)
        else:
            rc.direct((d - base) >> 4, nb - 4)
            rc.tree_reverse(m.dist_align, 0, 4, (d - base) & 15)

    def enc_literal(self, ip):
        rc, m, data = self.rc, self.m, self.data
        byte = data[ip]
        base = lit_base(data[ip - 1] if ip > 0 else 0, ip)
        if self.state < 7:
            rc.tree(m.lit, base + 1, 8, byte)  # node m at base + m
        else:
            match_byte = data[ip - self.reps[0] - 1]
            symbol, same = 1, True
            for i in range(7, -1, -1):
                b = (byte >> i) & 1
                if same:
                    mb = (match_byte >> i) & 1
                    rc.bit(m.lit, base + ((1 + mb) << 8) + symbol, b)
                    same = mb == b
                else:
                    rc.bit(m.lit, base + symbol, b)
                symbol = (symbol << 1) | b
        self.state = NEXT_LIT[self.state]

    def compress(self, data):
        self.data = bytes(data)
        self.hash = [ALL_ONES] * 65536
        self.chain = [ALL_ONES] * DICT_SIZE
        self.lookahead = None
        self.m = Models(self.separate_rep_len)
        self.state = 0
        self.reps = [0, 0, 0, 0]
        self.rc = RangeEncoder()
        self.input_pos = 0
        self.packets = []
        rc, m = self.rc, self.m
        while self.input_pos < len(self.data):
            ip = self.input_pos
            ps = ip & PB_MASK
            packet = self.choose()
            st = self.state
            if packet[0] == LIT:
                rc.bit(m.is_match, st * 16 + ps, 0)
                self.enc_literal(ip)
                n = 1
            elif packet[0] == MATCH:
                _, d, n = packet
                rc.bit(m.is_match, st * 16 + ps, 1)
                rc.bit(m.rep, st, 0)
                self.enc_len(m.length, n, ps)
                self.enc_distance(d, n)
                self.reps = [d] + self.reps[:3]
                self.state = NEXT_MATCH[st]
            else:
                _, r, n = packet
                rc.bit(m.is_match, st * 16 + ps, 1)
                rc.bit(m.rep, st, 1)
                if r == 0:
                    rc.bit(m.rep0, st, 0)
                    rc.bit(m.rep0_long, st * 16 + ps, 1)
                else:
                    rc.bit(m.rep0, st, 1)
                    if r == 1:
                        rc.bit(m.rep1, st, 0)
                    else:
                        rc.bit(m.rep1, st, 1)
                        rc.bit(m.rep2, st, r - 2)
                self.reps = [self.reps[r]] + self.reps[:r] + self.reps[r + 1:]
                self.enc_len(m.rep_length, n, ps)
                self.state = self.next_longrep[st]
            self.packets.append((ip,) + packet)
            self.input_pos = ip + 1
            for p in range(ip + 1, ip + n):
                self.dict_add(p)
            self.input_pos = ip + n
        return vint_encode(len(self.data)) + rc.finish()

    def encode_packets(self, size, packets):
        """A stream of the given packets, as zelbase's encoder would code
        them, for streams it never writes itself: (LIT, byte), (MATCH, pos,
        len), (LONGREP, rep, len), (SHORTREP,). The size is stated apart."""
        self.m = m = Models(self.separate_rep_len)
        self.state, self.reps, self.rc = 0, [0, 0, 0, 0], RangeEncoder()
        rc, out = self.rc, bytearray()
        for packet in packets:
            ip, st = len(out), self.state
            ps = ip & PB_MASK
            rc.bit(m.is_match, st * 16 + ps, 0 if packet[0] == LIT else 1)
            if packet[0] == LIT:
                self.data = bytes(out) + bytes([packet[1]])
                self.enc_literal(ip)
                out.append(packet[1])
                continue
            rc.bit(m.rep, st, 0 if packet[0] == MATCH else 1)
            if packet[0] == SHORTREP:
                rc.bit(m.rep0, st, 0)
                rc.bit(m.rep0_long, st * 16 + ps, 0)
                self.state = self.next_shortrep[st]
                out.append(out[ip - self.reps[0] - 1] if self.reps[0] < ip else 0)
                continue
            if packet[0] == MATCH:
                _, d, n = packet
                self.enc_len(m.length, n, ps)
                self.enc_distance(d, n)
                self.reps = [d] + self.reps[:3]
                self.state = NEXT_MATCH[st]
            else:
                _, r, n = packet
                rc.bit(m.rep0, st, 0 if r == 0 else 1)
                if r == 0:
                    rc.bit(m.rep0_long, st * 16 + ps, 1)
                else:
                    rc.bit(m.rep1, st, 0 if r == 1 else 1)
                    if r > 1:
                        rc.bit(m.rep2, st, r - 2)
                self.reps = [self.reps[r]] + self.reps[:r] + self.reps[r + 1:]
                self.enc_len(m.rep_length, n, ps)
                self.state = self.next_longrep[st]
            for i in range(n):
                src = ip - self.reps[0] - 1 + i
                out.append(out[src] if 0 <= src < len(out) else 0)
        return vint_encode(size) + rc.finish()

    # -------------------------------------------------------- decoder
    def dec_len(self, lm, ps):
        rd, p = self.rd, lm.p
        if rd.bit(p, LenModels.CHOICE) == 0:
            return 2 + rd.tree(p, LenModels.LOW + 8 * ps, 3)
        if rd.bit(p, LenModels.CHOICE2) == 0:
            return 10 + rd.tree(p, LenModels.MID + 8 * ps, 3)
        return 18 + rd.tree(p, LenModels.HIGH, 8)

    def dec_distance(self, ln):
        rd, m = self.rd, self.m
        slot = rd.tree(m.dist_slot, 64 * min(ln - 2, 3), 6)
        if slot < 4:
            return slot
        nb = (slot >> 1) - 1
        base = (2 | (slot & 1)) << nb
        if slot < 14:
            return base + rd.tree_reverse(m.dist_special, base - slot, nb)
        d = base + (rd.direct(nb - 4) << 4)
        return d + rd.tree_reverse(m.dist_align, 0, 4)

    def decompress(self, stream, size=None):
        """(bytes, result): result 0 (sOKAY, possibly short) or 2 (a short
        repeat in zelbase mode). Raises Corrupted. `size` given: a raw stream
        of that many bytes without the varint (liblzma's)."""
        off = 0
        if size is None:
            size, off = vint_decode(stream, 0)
            if size > ALL_ONES:
                raise Corrupted("eDBCORRUPTED: size")
        out = bytearray()
        self.m = m = Models(self.separate_rep_len)
        state, reps = 0, [0, 0, 0, 0]
        try:
            self.rd = rd = RangeDecoder(stream, off)
            while len(out) < size:
                op = len(out)
                ps = op & PB_MASK
                if rd.bit(m.is_match, state * 16 + ps) == 0:
                    base = lit_base(out[-1] if op else 0, op)
                    if state < 7:
                        byte = rd.tree(m.lit, base + 1, 8)
                    else:
                        match_byte = out[op - reps[0] - 1]
                        symbol, same = 1, True
                        while symbol < 0x100:
                            if same:
                                mb = (match_byte >> 7) & 1
                                match_byte <<= 1
                                b = rd.bit(m.lit, base + ((1 + mb) << 8) + symbol)
                                same = b == mb
                            else:
                                b = rd.bit(m.lit, base + symbol)
                            symbol = (symbol << 1) | b
                        byte = symbol - 0x100
                    out.append(byte)
                    state = NEXT_LIT[state]
                    continue
                if rd.bit(m.rep, state) == 0:
                    ln = self.dec_len(m.length, ps)
                    d = self.dec_distance(ln)
                    reps = [d] + reps[:3]
                    state = NEXT_MATCH[state]
                else:
                    if rd.bit(m.rep0, state) == 0:
                        if rd.bit(m.rep0_long, state * 16 + ps) == 0:
                            if not self.published_states:
                                return bytes(out), 2  # zelbase's decoder stops here
                            if reps[0] >= op:
                                raise Corrupted("eDBCORRUPTED: distance")
                            out.append(out[op - reps[0] - 1])
                            state = self.next_shortrep[state]
                            continue
                        r = 0
                    elif rd.bit(m.rep1, state) == 0:
                        r = 1
                    elif rd.bit(m.rep2, state) == 0:
                        r = 2
                    else:
                        r = 3
                    reps = [reps[r]] + reps[:r] + reps[r + 1:]
                    ln = self.dec_len(m.rep_length, ps)
                    state = self.next_longrep[state]
                if reps[0] >= op:
                    raise Corrupted("eDBCORRUPTED: distance")
                src = op - reps[0] - 1
                for i in range(ln):
                    out.append(out[src + i])
        except EOFError:  # sEOS: the output so far stands
            pass
        return bytes(out), 0


def compress(data):
    return Coder().compress(data)


def decompress(stream):
    return Coder().decompress(stream)


# ------------------------------------------------------------ test objects
class SplitMix64:
    def __init__(self, seed):
        self.state = seed & M64

    def next(self):
        self.state = (self.state + 0x9E3779B97F4A7C15) & M64
        z = self.state
        z = ((z ^ (z >> 30)) * 0xBF58476D1CE4E5B9) & M64
        z = ((z ^ (z >> 27)) * 0x94D049BB133111EB) & M64
        return z ^ (z >> 31)

    def below(self, n):
        return self.next() % n


FIRST = ["Anna", "Bert", "Carla", "Dieter", "Eva", "Frank", "Greta", "Hans",
         "Ines", "Jonas", "Karin", "Lukas", "Maria", "Nils", "Olga", "Paul"]
LAST = ["Schmidt", "Meyer", "Weber", "Wagner", "Becker", "Hoffmann", "Koch",
        "Richter", "Klein", "Wolf", "Neumann", "Braun"]
CITIES = ["Berlin", "Hamburg", "Munich", "Cologne", "Frankfurt", "Stuttgart",
          "Leipzig", "Dresden", "Bremen", "Hanover"]
WORDS = ["the", "of", "and", "a", "to", "in", "is", "was", "that", "for", "it",
         "with", "as", "his", "on", "be", "at", "by", "had", "this", "not",
         "but", "from", "or", "have", "an", "they", "which", "one", "were",
         "her", "all", "she", "there", "would", "their", "we", "him", "been",
         "has", "when", "who", "will", "more", "no", "if", "out", "so", "said",
         "what", "up", "its", "about", "into", "than", "them", "can", "only",
         "other", "new", "some", "could", "time", "these", "two", "may",
         "then", "do", "first", "any", "my", "now", "such", "like", "our",
         "over", "man", "me", "even", "most", "made", "after", "also", "did",
         "many", "before", "must", "through", "back", "years", "where",
         "much", "your", "way", "well", "down", "should", "because", "each",
         "just", "river", "house", "garden", "winter", "morning", "letter",
         "window", "village", "mountain", "silence", "harbour", "question"]
FAMILIES = ["text", "binary", "expanded", "prose", "node"]


def s8(text):
    b = text.encode()
    return bytes([len(b)]) + b


def le(v, n):
    return (v & ((1 << (8 * n)) - 1)).to_bytes(n, "little")


def gen_text(r):
    """Compact rows of text columns: varints and length-prefixed strings."""
    out, rowid = bytearray(), 1000 + r.below(1000)
    while True:
        rowid += 1 + r.below(3)
        first, last = FIRST[r.below(len(FIRST))], LAST[r.below(len(LAST))]
        row = vint_encode(rowid) + s8(first) + s8(last) + s8(CITIES[r.below(len(CITIES))])
        row += s8("%s.%s@example.com" % (first.lower(), last.lower()))
        row += vint_encode(18 + r.below(60))
        row += s8("2024-%02d-%02d" % (1 + r.below(12), 1 + r.below(28)))
        row += s8(["active", "closed", "pending"][r.below(3)])
        out += bytes([0, len(row)]) + row
        yield out


def gen_binary(r):
    """Compact rows of binary columns: a random uuid, big-endian doubles of
    a few prices, varints of scattered sizes, a random 8-byte blob."""
    out, rowid = bytearray(), r.below(1 << 20)
    while True:
        rowid += 1
        row = vint_encode(rowid) + r.next().to_bytes(8, "big") + r.next().to_bytes(8, "big")
        for _ in range(4):
            cents = [199, 250, 999, 1250, 4999][r.below(5)] * (1 + r.below(4))
            row += int(cents * 0x10000).to_bytes(8, "big")
        row += vint_encode(r.below(100)) + vint_encode(r.below(20000))
        row += bytes([8]) + r.next().to_bytes(8, "little")
        out += bytes([0x10]) + row
        yield out


def gen_expanded(r):
    """Expanded row images, host order: int64 rowid, int32 quantity, int32
    flags, int64 price in cents, char[24] name and char[8] code zero padded,
    16 bytes of null marks, int32 day number."""
    out, rowid = bytearray(), r.below(1 << 30)
    while True:
        rowid += 1
        name = (FIRST[r.below(len(FIRST))] + " " + LAST[r.below(len(LAST))]).encode()
        code = ("C%d" % r.below(1000)).encode()
        row = le(rowid, 8) + le(1 + r.below(50), 4) + le(r.below(2), 4)
        row += le([199, 250, 999, 1250, 4999][r.below(5)] * (1 + r.below(4)), 8)
        row += name.ljust(24, b"\0") + code.ljust(8, b"\0") + bytes(16)
        row += le(738000 + r.below(400), 4)
        out += row
        yield out


def gen_prose(r):
    """Sentences of common words, capitalised, with paragraph breaks."""
    out = bytearray()
    while True:
        words = [WORDS[r.below(len(WORDS))] for _ in range(5 + r.below(12))]
        sentence = " ".join(words)
        sentence = sentence[0].upper() + sentence[1:] + ". "
        if r.below(6) == 0:
            sentence += "\n"
        out += sentence.encode()
        yield out


def gen_node(r):
    """Expanded index node images: a 16-byte header (count, level), then
    entries of an int32 key ascending in small steps, an int64 child slot
    and 4 bytes of zeros."""
    out = bytearray()
    key, slot = r.below(100000), r.below(1 << 24)
    while True:
        count = 200
        out += le(count, 4) + le(r.below(3), 4) + bytes(8)
        for _ in range(count):
            key += 1 + r.below(9)
            slot += 1 + r.below(300)
            out += le(key, 4) + le(slot, 8) + bytes(4)
        yield out


GENERATORS = {"text": gen_text, "binary": gen_binary, "expanded": gen_expanded,
              "prose": gen_prose, "node": gen_node}


def gen_object(family, seed, size):
    r = SplitMix64(seed * 0x100 + FAMILIES.index(family))
    for out in GENERATORS[family](r):
        if len(out) >= size:
            return bytes(out[:size])


def gen_random(seed, size):
    r = SplitMix64(seed)
    out = bytearray()
    while len(out) < size:
        out += r.next().to_bytes(8, "little")
    return bytes(out[:size])


# ------------------------------------------------------------ vectors
def hand_inputs():
    """Short inputs shown in hex, each aimed at one path of the coder."""
    return [
        ("empty", b""),
        ("one", b"a"),
        ("two", b"ab"),
        ("run10", b"a" * 10),
        ("hello", b"hello world, hello world, hello!"),
        ("abcabc", b"abcabcabcabcabc"),
        # a 2-byte match at distance 129 is coded as a literal
        ("far2", b"xy" + bytes(range(0x80, 0x80 + 127)) + b"xy"),
        # repeats: the same distance used again after a literal
        ("reps", b"the cat, the hat, the bat, the mat, the rat"),
        ("run300", b"z" * 300),
        ("mixed", b"0123456789" * 3 + b"ABCDEFGHIJ" + b"0123456789" * 2 + b"ABC"),
    ]


def generated_inputs():
    """Longer inputs shown by their generator and SHA-256."""
    out = [("gen-%s" % f, ("gen", f, 1, 4096)) for f in FAMILIES]
    out.append(("random-4k", ("random", 7, 4096)))
    return out


def window_inputs():
    """Matches at the edge of the 16 KiB window: the first 64 bytes of a
    random block again at distance 16384 (found) and 16385 (not found)."""
    base = gen_random(11, 16385)
    return [("window-16384", base[:16384] + base[:64]),
            ("window-16385", base[:16385] + base[:64])]


def input_of(spec):
    if spec[0] == "gen":
        return gen_object(spec[1], spec[2], spec[3])
    return gen_random(spec[1], spec[2])


def vector_lines():
    lines = []
    for name, data in hand_inputs():
        lines.append("%s\thex=%s\thex=%s" % (name, data.hex(), compress(data).hex()))
    for name, spec in generated_inputs():
        data = input_of(spec)
        ident = "gen=%s/%d/%d/%s" % (spec[1], spec[2], spec[3], hashlib.sha256(data).hexdigest()) \
            if spec[0] == "gen" else \
            "random=%d/%d/%s" % (spec[1], spec[2], hashlib.sha256(data).hexdigest())
        out = compress(data)
        lines.append("%s\t%s\tsha256=%s/%d" % (name, ident, hashlib.sha256(out).hexdigest(), len(out)))
    for name, data in window_inputs():
        out = compress(data)
        ident = "window=%d/%s" % (len(data), hashlib.sha256(data).hexdigest())
        lines.append("%s\t%s\tsha256=%s/%d" % (name, ident, hashlib.sha256(out).hexdigest(), len(out)))
    return lines


def decode_inputs():
    """Streams zelbase's encoder never writes, for its decoder: what each
    gives back (ok=<output>, status2=<output> or corrupt)."""
    a = ord("a")
    hello = compress(b"hello world, hello world, hello!")
    return [
        # a short repeat ends decoding with the value 2 and copies nothing
        ("decode-shortrep", Coder().encode_packets(5, [(LIT, a), (SHORTREP,)])),
        # distance 2 with one byte out: beyond the output
        ("decode-far", Coder().encode_packets(4, [(LIT, a), (MATCH, 1, 2)])),
        # rep0 is 0 at first, which reaches before position 0
        ("decode-rep0-at-0", Coder().encode_packets(4, [(LONGREP, 0, 2)])),
        # the last copy runs 2 bytes past the stated size; the output grows
        ("decode-overshoot", Coder().encode_packets(4, [(LIT, a), (MATCH, 0, 5)])),
        # repeats of each of the four distances, then a matched literal
        ("decode-reps", Coder().encode_packets(
            17, [(LIT, a), (LIT, a + 1), (LIT, a + 2), (LIT, a + 3), (MATCH, 3, 2), (MATCH, 1, 2),
                 (MATCH, 0, 2), (LONGREP, 2, 2), (LONGREP, 3, 2), (LONGREP, 1, 2),
                 (LIT, ord("z"))])),
        # cut in the middle: a prefix of the output and sOKAY
        ("decode-truncated", hello[:len(hello) // 2]),
        # only the size and three coder bytes: nothing decoded
        ("decode-no-coder", hello[:4]),
    ]


def decode_lines():
    lines = []
    for name, stream in decode_inputs():
        try:
            out, result = decompress(stream)
            want = ("ok=" if result == 0 else "status2=") + out.hex()
        except Corrupted:
            want = "corrupt"
        lines.append("%s\thex=%s\t%s" % (name, stream.hex(), want))
    return lines


HEADER = """# zelbase LZMA streams written by lzma_model.py (--write); do not edit.
# name <TAB> input <TAB> output
#   input:  hex=<bytes> | gen=<family>/<seed>/<size>/<sha256> (test/lzma_corpus.h)
#           | random=<seed>/<size>/<sha256> | window=<size>/<sha256>
#   output: hex=<bytes> | sha256=<digest>/<length>
# decode-* lines: name <TAB> hex=<stream> <TAB> ok=<output> | status2=<output> | corrupt
"""


# ------------------------------------------------------------ checks
def check_against_liblzma(lzma, inputs):
    """Published mode: the model's streams decode through liblzma, and the
    model decodes liblzma's raw streams."""
    pub = Coder(published_states=True, separate_rep_len=True)
    for name, data in inputs:
        stream = pub.compress(data)
        size, off = vint_decode(stream, 0)
        assert size == len(data)
        alone = b"\x5d\x00\x40\x00\x00" + len(data).to_bytes(8, "little") + stream[off:] + b"\x00"
        d = lzma.LZMADecompressor(format=lzma.FORMAT_ALONE)
        back = d.decompress(alone)
        assert back == data, "liblzma decodes the model's %s differently" % name
        kinds = {p[1] for p in pub.packets}
        for preset in (0, 1, 6):
            raw = lzma.compress(data, format=lzma.FORMAT_RAW,
                                filters=[{"id": lzma.FILTER_LZMA1, "preset": preset}])
            out, result = Coder(True, True).decompress(raw, size=len(data))
            assert result == 0 and out == data, "the model misreads liblzma's %s, preset %d" % (name, preset)
        yield name, len(data), len(stream), kinds


def check(lzma):
    inputs = hand_inputs() + [(n, input_of(s)) for n, s in generated_inputs()]
    inputs += [("prose-16k", gen_object("prose", 3, 16384)), ("node-12k", gen_object("node", 4, 12288))]
    kinds = set()
    for name, n, m, k in check_against_liblzma(lzma, inputs):
        kinds |= k
    assert kinds == {LIT, MATCH, LONGREP}, kinds
    # zelbase mode: round trips; a truncated stream gives a prefix; a short
    # repeat stops with 2.
    for name, data in inputs + window_inputs():
        stream = compress(data)
        assert decompress(stream) == (data, 0), name
        if len(stream) > 8:
            cut, result = decompress(stream[:len(stream) // 2])
            assert result == 0 and data.startswith(cut), name
    # the window reaches 16384 back and no further
    coder = Coder()
    for name, data in window_inputs():
        coder.compress(data)
        far = max(p[2] for p in coder.packets if p[1] == MATCH)
        assert far == (16383 if name == "window-16384" else far) and far < 16384, (name, far)
    with open(VECTORS) as f:
        committed = [l.rstrip("\n") for l in f if not l.startswith("#")]
    assert committed == vector_lines() + decode_lines(), "lzma_vectors.txt is not what the model writes"
    print("lzma model: %d inputs agree with liblzma both ways; vectors current" % len(inputs))


def main():
    if "--write" in sys.argv:
        with open(VECTORS, "w") as f:
            f.write(HEADER)
            for line in vector_lines() + decode_lines():
                f.write(line + "\n")
        return 0
    try:
        import lzma
    except ImportError:
        print("Python's lzma module is missing: skipped")
        return 77
    check(lzma)
    return 0


if __name__ == "__main__":
    sys.exit(main())
