#!/usr/bin/env python3
"""Vectors for the UUID, UTF-8 and base64 codecs, from Python's own modules.

Run once from this directory; the outputs are committed beside it:
  good-uuid.txt    text|16 bytes in hex|canonical text   (uuid.UUID)
  good-utf8.txt    bytes in hex<TAB>code points in hex, comma-separated
                   (codecs strict UTF-8 decoding)
  bad-utf8.txt     bytes in hex, refused by strict decoding, plus U+FFFE and
                   U+FFFF (accepted by Python, refused by our decoder)
  good-base64.txt  bytes in hex<TAB>standard base64 text (base64.b64encode)
  bad-base64.txt   texts refused by binascii.a2b_base64(strict_mode=True)
"""
import base64
import binascii
import codecs
import random
import uuid

rng = random.Random(20261122)


def hexs(b):
    return b.hex() if b else "-"


# ---------------------------------------------------------------- UUID
with open("good-uuid.txt", "w") as f:
    for i in range(40):
        raw = bytes(rng.getrandbits(8) for _ in range(16))
        u = uuid.UUID(bytes=raw, version=4) if i % 2 else uuid.UUID(bytes=raw)
        canon = str(u)
        forms = [canon, canon.upper(), "{" + canon + "}"]
        # Our parser also skips blanks and tabs anywhere; Python parses the
        # text with them removed, which is what they must give.
        spaced = "".join(c + (rng.choice([" ", "\t", ""]) if rng.random() < 0.2 else "")
                         for c in "{" + canon.upper() + "}")
        forms.append(" " + spaced + "\t")
        for text in forms:
            assert uuid.UUID(text.replace(" ", "").replace("\t", "")) == u
            f.write(f"{text}|{u.bytes.hex()}|{canon}\n")

# ---------------------------------------------------------------- UTF-8
def strict(b):
    try:
        return codecs.decode(b, "utf-8", "strict")
    except UnicodeDecodeError:
        return None


def ours_valid(b):
    s = strict(b)
    return s is not None and "\ufffe" not in s and "\uffff" not in s


good, bad = [], []
samples = ["", "A", "hello, world", "Grüße aus Köln", "Ελληνικά", "Русский текст",
           "日本語のテキスト", "한국어", "עברית", "العربية", "😀🎉👍", "a€b𝄞c",
           "\x00", "\x7f"]
for cp in [0x7F, 0x80, 0x7FF, 0x800, 0xD7FF, 0xE000, 0xFFFD, 0x10000, 0x10FFFF, 0xFFEF]:
    samples.append(chr(cp))
for _ in range(60):
    n = rng.randint(1, 12)
    cps = []
    while len(cps) < n:
        cp = rng.choice([rng.randint(0, 0x7F), rng.randint(0x80, 0x7FF),
                         rng.randint(0x800, 0xFFFF), rng.randint(0x10000, 0x10FFFF)])
        if 0xD800 <= cp <= 0xDFFF or cp in (0xFFFE, 0xFFFF):
            continue
        cps.append(cp)
    samples.append("".join(map(chr, cps)))
for s in samples:
    b = s.encode("utf-8")
    assert strict(b) == s
    good.append(b)

bad = [bytes.fromhex(h) for h in [
    "c080", "c1bf", "e08080", "e09fbf", "f0808080", "f08fbfbf",  # overlong
    "eda080", "edbfbf", "edb080", "f08da080",                      # surrogates
    "c3", "e282", "f09f98", "41e2", "e228a1", "f09f2898",          # truncated / broken
    "f8", "f9", "fa", "fb", "fc", "fd", "fe", "ff", "41f8", "e282f8ac",
    "80", "bf", "4180", "c3a980",                                  # stray continuation
    "f4908080", "f5808080", "f7bfbfbf",                            # above U+10FFFF
    "efbfbe", "efbfbf", "41efbfbf42",                              # U+FFFE, U+FFFF
]]
# Random damage to valid text: keep what strict decoding refuses.
while len(bad) < 120:
    b = bytearray(rng.choice(good[12:]) or b"x")
    for _ in range(rng.randint(1, 3)):
        op = rng.randrange(3)
        at = rng.randrange(len(b) + 1)
        if op == 0 and b:
            del b[min(at, len(b) - 1)]
        elif op == 1:
            b.insert(at, rng.randint(0x80, 0xFF))
        elif b:
            b[min(at, len(b) - 1)] = rng.randint(0x80, 0xFF)
    if not ours_valid(bytes(b)):
        bad.append(bytes(b))
for b in bad:
    assert not ours_valid(b)

with open("good-utf8.txt", "w") as f:
    for b in good:
        cps = ",".join(f"{ord(c):x}" for c in strict(b)) or "-"
        f.write(f"{hexs(b)}\t{cps}\n")
with open("bad-utf8.txt", "w") as f:
    for b in bad:
        f.write(f"{hexs(b)}\n")

# ---------------------------------------------------------------- base64
with open("good-base64.txt", "w") as f:
    lengths = list(range(0, 25)) + [rng.randint(25, 300) for _ in range(25)]
    for n in lengths:
        b = bytes(rng.getrandbits(8) for _ in range(n))
        f.write(f"{hexs(b)}\t{base64.b64encode(b).decode() or '-'}\n")


def py_refuses(t):
    try:
        binascii.a2b_base64(t.encode(), strict_mode=True)
        return False
    except binascii.Error:
        return True


bad64 = ["A", "AB", "ABC", "A===", "=AAA", "A=AA", "AB=A", "ABC==", "AB*D", "AB CD",
         "AB\nCD", "QUJD\n", "QUI=QUI=", "QQ==QQ==", "Q-==", "Q_==", "====", "AAAAA"]
while len(bad64) < 60:
    t = list(base64.b64encode(bytes(rng.getrandbits(8) for _ in range(rng.randint(1, 12)))).decode())
    at = rng.randrange(len(t) + 1)
    t.insert(at, rng.choice("=*.-_ \n\x00é"))
    t = "".join(t)
    if py_refuses(t):
        bad64.append(t)
with open("bad-base64.txt", "w") as f:
    for t in bad64:
        assert py_refuses(t)
        f.write(t.encode("unicode_escape").decode() + "\n")
