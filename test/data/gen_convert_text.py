#!/usr/bin/env python3
"""Vectors for the text conversions into numbers.

Run once from this directory: python3 gen_convert_text.py
Writes good-convert-text.txt (fixed seed, so re-running gives the same file).

One case per line, fields separated by "|":
    type|code|value|text
  type   int8 uint8 int16 uint16 int32 uint32 int64 uint64 rowid boolean
         float double decimal
  code   OK, TRUNCATE (a fraction was dropped), RANGE, LITERAL, MISMATCH
         (a row id with a fraction); the value is "-" unless the code is OK
         or TRUNCATE
  value  integers in decimal (a row id as the unsigned 64-bit number);
         boolean 0 or 1; float and double as the hexadecimal bit pattern;
         decimal in plain notation, fraction zeros stripped
  text   the source text, with \\t, \\n and \\\\ escaped

The oracles: Python's int() for integer text, glibc's strtod and strtof
(called through ctypes) for floating text and for the integer part of a
number with a fraction of up to 18 integer digits, Python's decimal for
decimal text.

What the library does, and so what the script models around the oracles:
  * The syntax check: [blanks, tabs, newlines][sign]digits[.digits]
    [e|E[sign]digits], where a lone sign or point passes the check and is
    refused by the converter afterwards. The exponent is tested first:
    outside -308..308 it is RANGE even for a bad text. Then the syntax.
  * Integers: more than 19 integer digits (leading zeros count) is RANGE.
    Without a fraction the text must be a plain integer (an exponent makes it
    LITERAL) in the 64-bit range. With a fraction, when the integer digits
    and a minus sign make more than 18 characters the integer part alone is
    converted; otherwise the text goes through strtod and is truncated
    towards zero (so an exponent counts here, and 17 or 18 digit integer
    parts keep only a double's precision). Either way the code is TRUNCATE.
    Then the type's range; the unsigned types judge the value as an unsigned
    64-bit number, so a negative one is RANGE.
  * uint64: more than 20 integer digits is RANGE; a minus sign without a
    fraction is RANGE ("-0" too); with a fraction a truncated value below
    zero is RANGE, -0.5 giving 0.
  * float: an exponent outside -38..38 is RANGE; strtof overflow is RANGE.
  * rowid: a fraction is MISMATCH, otherwise as int64 without fraction.
  * boolean: a number is true when not zero (a fraction through strtod); the
    words TRUE, YES, FALSE, NO in any case; anything else LITERAL.
  * decimal: any bad text is LITERAL; only texts of at most 32 digits are
    generated.
"""

import ctypes
import decimal
import math
import random
import re
import struct

random.seed(20261122)

libc = ctypes.CDLL("libc.so.6", use_errno=True)
libc.strtod.restype = ctypes.c_double
libc.strtod.argtypes = [ctypes.c_char_p, ctypes.POINTER(ctypes.c_char_p)]
libc.strtof.restype = ctypes.c_float
libc.strtof.argtypes = [ctypes.c_char_p, ctypes.POINTER(ctypes.c_char_p)]

BLANKS = " \t\n\r\v\f"  # what the integer and floating converters skip


def c_floating(fn, text):
    """(code, value) from glibc: LITERAL unless the whole text (but blanks)
    is consumed, RANGE on overflow, an underflow keeps its zero."""
    raw = text.encode()
    buf = ctypes.create_string_buffer(raw)
    end = ctypes.c_char_p()
    ctypes.set_errno(0)
    v = fn(buf, ctypes.byref(end))
    used = ctypes.cast(end, ctypes.c_void_p).value - ctypes.addressof(buf)
    rest = raw[used:].decode()
    if used == 0 or rest.strip(BLANKS) != "":
        return "LITERAL", None
    if math.isinf(v):
        return "RANGE", None
    return "OK", v


def parse_number(text):
    """The syntax automaton: (code, sign, mag, scale, expt)."""
    state, i = 0, 0
    sign, mag, scale, expt, esign, bad = 1, 0, 0, 0, 1, False
    while state < 5:
        end = i >= len(text)
        c = "" if end else text[i]
        dig = not end and c.isascii() and c.isdigit()
        if state == 0:
            if c == "+":
                state, i = 1, i + 1
            elif c == "-":
                sign, state, i = -1, 1, i + 1
            elif dig:
                state = 1
            elif c == ".":
                state, i = 2, i + 1
            elif c in (" ", "\t", "\n") and not end:
                i += 1
            else:
                bad, state = True, 5
        elif state == 1:
            if dig:
                mag, i = mag + 1, i + 1
            elif c == ".":
                state, i = 2, i + 1
            elif c in ("e", "E") and not end:
                state, i = 3, i + 1
            elif end:
                state = 5
            else:
                bad, state = True, 5
        elif state == 2:
            if dig:
                scale, i = scale + 1, i + 1
            elif c in ("e", "E") and not end:
                state, i = 3, i + 1
            elif end:
                state = 5
            else:
                bad, state = True, 5
        elif state == 3:
            if c == "+":
                state, i = 4, i + 1
            elif c == "-":
                esign, state, i = -1, 4, i + 1
            elif dig:
                state = 4
            else:
                bad, state = True, 5
        else:
            if dig:
                expt, i = expt * 10 + int(c), i + 1
            elif end:
                expt *= esign
                state = 5
            else:
                bad, state = True, 5
    if expt < -308 or expt > 308:
        return "RANGE", sign, mag, scale, expt
    if bad:
        return "LITERAL", sign, mag, scale, expt
    return "OK", sign, mag, scale, expt


INT_RE = re.compile(r"^[ \t\n\r\v\f]*([+-]?)([0-9]+)[ \t\n\r\v\f]*$")


def strict_int(text, lo, hi):
    m = INT_RE.match(text)
    if not m:
        return "LITERAL", None
    v = int(m.group(1) + m.group(2))  # the oracle
    if m.group(1) == "-" and v == 0:
        v = 0
    if v < lo or v > hi:
        return "RANGE", None
    return "OK", v


def integer_part(text):
    s = text.lstrip(" \t\n")
    return s[: s.index(".")]


def int64_of(text):
    code, sign, mag, scale, _ = parse_number(text)
    if code != "OK":
        return code, None
    if mag > 19:
        return "RANGE", None
    if scale == 0:
        return strict_int(text, -(2**63), 2**63 - 1)
    if mag + (1 if sign < 0 else 0) > 18:
        code, v = strict_int(integer_part(text), -(2**63), 2**63 - 1)
        return (code, v) if code != "OK" else ("TRUNCATE", v)
    code, d = c_floating(libc.strtod, text)
    if code != "OK":
        return code, None
    t = math.trunc(d)
    if not (-(2**63) <= t < 2**63):
        return "RANGE", None
    return "TRUNCATE", t


def narrow(bits, signed):
    def conv(text):
        code, v = int64_of(text)
        if code not in ("OK", "TRUNCATE"):
            return code, None
        if signed:
            if not (-(2 ** (bits - 1)) <= v < 2 ** (bits - 1)):
                return "RANGE", None
        elif v % 2**64 >= 2**bits:
            return "RANGE", None
        return code, v

    return conv


def uint64_of(text):
    code, sign, mag, scale, _ = parse_number(text)
    if code != "OK":
        return code, None
    if mag > 20:
        return "RANGE", None
    if scale > 0:
        if mag > 18:
            part = integer_part(text)
            v = int(part)
            if v < 0 or v >= 2**64:
                return "RANGE", None
            return "TRUNCATE", v
        code, d = c_floating(libc.strtod, text)
        if code != "OK":
            return code, None
        t = math.trunc(d)
        if t < 0 or t >= 2**64:
            return "RANGE", None
        return "TRUNCATE", t
    if sign < 0:
        return "RANGE", None
    return strict_int(text, 0, 2**64 - 1)


def rowid_of(text):
    code, sign, mag, scale, _ = parse_number(text)
    if code != "OK":
        return code, None
    if mag > 19:
        return "RANGE", None
    if scale > 0:
        return "MISMATCH", None
    code, v = strict_int(text, -(2**63), 2**63 - 1)
    return code, (v % 2**64 if v is not None else None)


def boolean_of(text):
    code, sign, mag, scale, _ = parse_number(text)
    if code == "OK":
        if scale == 0:
            code, v = strict_int(text, -(2**63), 2**63 - 1)
            return code, (int(v != 0) if v is not None else None)
        code, d = c_floating(libc.strtod, text)
        return code, (int(d != 0) if d is not None else None)
    if code == "LITERAL":
        w = text.upper()
        if w in ("TRUE", "YES"):
            return "OK", 1
        if w in ("FALSE", "NO"):
            return "OK", 0
    return code, None


def floating(fn, limit, fmt):
    def conv(text):
        code, _, _, _, expt = parse_number(text)
        if code != "OK":
            return code, None
        if expt < -limit or expt > limit:
            return "RANGE", None
        code, v = c_floating(fn, text)
        if code != "OK":
            return code, None
        return "OK", struct.unpack(fmt[0], struct.pack(fmt[1], v))[0]

    return conv


def decimal_of(text):
    try:
        d = decimal.Decimal(text.strip(" "))
    except decimal.InvalidOperation:
        return "LITERAL", None
    s = format(d, "f")
    if "." in s:
        s = s.rstrip("0").rstrip(".")
    if s in ("-0", ""):
        s = "0"
    return "OK", s


CONVERTERS = {
    "int8": narrow(8, True),
    "uint8": narrow(8, False),
    "int16": narrow(16, True),
    "uint16": narrow(16, False),
    "int32": narrow(32, True),
    "uint32": narrow(32, False),
    "int64": int64_of,
    "uint64": uint64_of,
    "rowid": rowid_of,
    "boolean": boolean_of,
    "float": floating(libc.strtof, 38, ("<I", "<f")),
    "double": floating(libc.strtod, 308, ("<Q", "<d")),
}

BOUNDS = {
    "int8": (-(2**7), 2**7 - 1),
    "uint8": (0, 2**8 - 1),
    "int16": (-(2**15), 2**15 - 1),
    "uint16": (0, 2**16 - 1),
    "int32": (-(2**31), 2**31 - 1),
    "uint32": (0, 2**32 - 1),
    "int64": (-(2**63), 2**63 - 1),
    "uint64": (0, 2**64 - 1),
    "rowid": (-(2**63), 2**63 - 1),
}


def integer_texts():
    texts = []
    for lo, hi in BOUNDS.values():
        for v in (lo, hi, lo - 1, hi + 1, 0, 1, -1):
            texts += [str(v), str(v) + ".9", str(v) + ".0"]
        texts += [" " + str(hi), "+" + str(hi), str(hi) + " ", "\t\n" + str(lo)]
    texts += ["12.7", "-12.7", "-0.5", "0.0", "-0", "+0", ".5", "-.5", "5.", "7"]
    texts += ["1e5", "1.5e3", "1.5e300", "2.5e-3", "1E+2", "0" * 19 + "1", "0" * 20 + "1"]
    texts += ["123456789012345678.5", "-123456789012345678.5", "1234567890123456789.5"]
    texts += ["-1234567890123456789.5", "12345678901234567890.5", "99999999999999999999"]
    texts += ["", " ", "+", "-", ".", "+.", "e5", "1e", "1e+", "1.5e+", "1x1e400", "1e400"]
    texts += ["1e-400", "1x", "0x10", "--1", "+-1", "1 2", "１", "1,5", "1_000"]
    for _ in range(300):
        digits = random.randint(1, 21)
        v = random.randint(10 ** (digits - 1), 10**digits - 1) if digits > 1 else random.randint(0, 9)
        t = random.choice(["", "-", "+"]) + str(v)
        r = random.random()
        if r < 0.3:
            t += "." + str(random.randint(0, 999999))
        elif r < 0.35:
            t += "e" + str(random.randint(-5, 5))
        if random.random() < 0.1:
            t = " " * random.randint(1, 3) + t
        texts.append(t)
    return texts


def floating_texts():
    texts = ["0", "-0", "1", "-1", "1.5", "0.1", "3.14159265358979323846", "1e38", "1e39", "1e-38",
             "1e-39", "3.4028234663852886e38", "3.4028235e38", "3.4028236e38",
             "1.1754943508222875e-38", "0." + "0" * 44 + "1", "1" + "0" * 40,
             "1.7976931348623157e308", "1.7976931348623159e308", "2.2250738585072014e-308",
             "4.9e-324", "1e308", "1e309", "1e-308", "1e400", "1x1e400", "1e-400", " 2.5",
             "2.5 ", "+.", ".", "-.", "1e", "1e+", "1.e5", ".5e1", "5.", "nan", "inf",
             "0x1p3", "1e0308", "1e-0038", "100000e-40", "9" * 40, "0.000001e-37"]
    for _ in range(200):
        d = struct.unpack("<d", struct.pack("<Q", random.getrandbits(64)))[0]
        if math.isfinite(d):
            texts.append("%.17g" % d)
    for _ in range(200):
        mant = str(random.randint(1, 10 ** random.randint(1, 20)))
        cut = random.randint(0, len(mant))
        t = mant[:cut] + "." + mant[cut:]
        t += random.choice(["e", "E"]) + str(random.randint(-45, 45))
        texts.append(random.choice(["", "-"]) + t)
    for _ in range(100):
        f = struct.unpack("<f", struct.pack("<I", random.getrandbits(32)))[0]
        if math.isfinite(f):
            texts.append("%.9g" % f)
    return texts


def decimal_texts():
    texts = ["0", "1.5", "-1.5", "0.012", "100", "12345678901234567890123456789012",
             "-0.00000000000000000000000000000001", "3.14159", "  42", "1e5", "-2.5e-3"]
    for _ in range(60):
        digits = random.randint(1, 32)
        v = str(random.randint(0, 10**digits - 1)).zfill(digits)
        cut = random.randint(0, digits)
        t = v[:cut] + ("." + v[cut:] if cut < digits else "")
        texts.append(random.choice(["", "-"]) + (t if t[0] != "." else "0" + t))
    return texts


def escape(text):
    return text.replace("\\", "\\\\").replace("\t", "\\t").replace("\n", "\\n")


def main():
    lines = []
    for name, conv in CONVERTERS.items():
        pool = floating_texts() if name in ("float", "double") else integer_texts()
        if name == "boolean":
            pool += ["yes", "YES", "No", "true", "False", "maybe", "0.0", "0.5", "2.5", "y"]
        for text in dict.fromkeys(pool):  # each text once, in order
            code, v = conv(text)
            value = "-" if v is None else str(v)
            if name in ("float", "double") and v is not None:
                value = "%x" % v
            lines.append("%s|%s|%s|%s" % (name, code, value, escape(text)))
    for text in decimal_texts():
        code, v = decimal_of(text)
        lines.append("decimal|%s|%s|%s" % (code, "-" if v is None else v, escape(text)))
    with open("good-convert-text.txt", "w") as f:
        f.write("\n".join(lines) + "\n")


if __name__ == "__main__":
    main()
