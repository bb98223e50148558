#!/usr/bin/env python3
"""Oracle vectors for the small containers and numeric helpers.

Writes, beside this script:
  good-bitlength.txt   value (hex), int.bit_length(), int.bit_count()
  good-nextprime.txt   num, smallest prime >= num (trial division here)
  good-tablehash.txt   input bytes (hex, '-' for none), table hash (hex)

The table hash is recomputed here from its definition: a 256 x 8 table whose
first four entries are fixed, the rest splitmix64 outputs (state
0x7A656C6261736521, "zelbase!") with 24 to 40 bits set, taken in order;
hash ^= table[byte][position % 8] for each byte.

Run once; the outputs are committed. Deterministic (fixed random seed).
"""
import os
import random

HERE = os.path.dirname(os.path.abspath(__file__))
M64 = (1 << 64) - 1


def is_prime(n):
    if n < 2:
        return False
    if n % 2 == 0:
        return n == 2
    d = 3
    while d * d <= n:
        if n % d == 0:
            return False
        d += 2
    return True


def next_prime(n):
    while not is_prime(n):
        n += 1
    return n


def hash_table():
    first = [0x9A93CC4203A11319, 0x62881F6F8EAB3DFC, 0x9FEED761AC89A737, 0x192DCF230304D346]
    state = 0x7A656C6261736521
    values = list(first)
    while len(values) < 2048:
        state = (state + 0x9E3779B97F4A7C15) & M64
        z = state
        z = ((z ^ (z >> 30)) * 0xBF58476D1CE4E5B9) & M64
        z = ((z ^ (z >> 27)) * 0x94D049BB133111EB) & M64
        z ^= z >> 31
        if 24 <= z.bit_count() <= 40:
            values.append(z)
    assert len(set(values)) == 2048
    return [values[8 * b:8 * b + 8] for b in range(256)]


def table_hash(table, data):
    h = 0
    for pos, byte in enumerate(data):
        h ^= table[byte][pos % 8]
    return h


def main():
    rnd = random.Random(20261122)

    with open(os.path.join(HERE, "good-bitlength.txt"), "w") as f:
        f.write("# value bit_length bit_count (hex value; 64-bit values)\n")
        values = {0, 1, 2, 3, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF, 1 << 32, M64, 1 << 63}
        values |= {1 << k for k in range(64)} | {(1 << k) - 1 for k in range(65)}
        while len(values) < 600:
            bits = rnd.randint(1, 64)
            values.add(rnd.getrandbits(bits))
        for v in sorted(values):
            f.write("%x %d %d\n" % (v, v.bit_length(), v.bit_count()))

    with open(os.path.join(HERE, "good-nextprime.txt"), "w") as f:
        f.write("# num next_prime_at_or_above\n")
        nums = set(range(0, 3001))
        # around squares of primes, where a sieve that stops short shows
        for p in [q for q in range(3, 2000) if is_prime(q)]:
            nums.update({p * p - 2, p * p - 1, p * p, p * p + 1})
        for bits in range(12, 41):
            for _ in range(3):
                nums.add(rnd.getrandbits(bits))
        nums.update({(1 << 32) - 5, 1 << 32, (1 << 31) - 1, 1 << 31, 999999999989, 1000000000000})
        for n in sorted(nums):
            f.write("%d %d\n" % (n, next_prime(n)))

    table = hash_table()
    with open(os.path.join(HERE, "good-tablehash.txt"), "w") as f:
        f.write("# bytes(hex or -) table_hash(hex)\n")
        inputs = [b"", b"\x00", b"a", b"abc", b"zelbase", b"12345678", b"123456789",
                  b"aXXXXXXXa", b"\xff" * 17, bytes(range(256))]
        for _ in range(60):
            inputs.append(bytes(rnd.getrandbits(8) for _ in range(rnd.randint(1, 100))))
        for data in inputs:
            f.write("%s %x\n" % (data.hex() if data else "-", table_hash(table, data)))


if __name__ == "__main__":
    main()
