#!/usr/bin/env python3
"""Vectors for the lexer's numbers, from Python's float, '%.*f' and decimal.

Run once from this directory; the output is committed beside it:
  good-lex-numbers.txt  text<TAB>type<TAB>tokbuf<TAB>consumed<TAB>value

A small model of the number reader walks the text (leading zeros left out, a
"0" before a first point or exponent letter, signs repeated after the
exponent letter, significant digits from the first non-zero digit), and the
oracles decide the rest:
  - INTEGER: no point, no exponent, and the digits fit in 64 bits (value in
    decimal);
  - otherwise float() of the longest prefix of tokbuf that reads as a number
    (value as float.hex());
  - with 16 or more significant digits and no exponent: decimal.Decimal of
    tokbuf, cut as the 32-digit decimal cuts, against the decimal of the
    double printed by '%.*f' with 14 - int(log10|d|) places (0 to 32); if they
    differ the token is DECIMAL (value the plain decimal), else DOUBLE. More
    than 32 integer digits is the error "decimal conversion overflow".
`consumed` counts the characters of the number, so the test sees where it
stopped.
"""
import decimal
import math
import random
import re

decimal.getcontext().prec = 200
rng = random.Random(16081)

MAX_DIGITS = 32


def read_number(text):
    """The model of the number reader: (tokbuf, consumed, point, exponent,
    significant, value or None on overflow)."""
    tok = ""
    value = 0
    overflow = False
    point = exponent = False
    significant = 0
    i = 0
    while i < len(text):
        c = text[i]
        if c.isdigit():
            if not point and not exponent:
                value = value * 10 + int(c)
                if value >= 1 << 64:
                    overflow = True
            if not exponent and (significant > 0 or c != "0"):
                significant += 1
            if c != "0" or tok:
                tok += c
        elif c == "." and not point:
            point = True
            tok = (tok or "0") + c
        elif c in "eE" and not exponent:
            exponent = True
            tok = (tok or "0") + c
        elif exponent and c in "+-":
            tok += c
        else:
            break
        i += 1
    return tok or "0", i, point, exponent, significant, None if overflow else value


def prefix_float(tok):
    m = re.match(r"\d*\.?\d*(?:[eE][+-]?\d+)?", tok)
    try:
        return float(m.group(0))
    except OverflowError:
        return math.inf


def cut32(d):
    """The 32-digit decimal of a non-negative Decimal: more than 32 integer
    digits is None; the fraction keeps 32 places less one per integer digit,
    the rest cut (zeros after the point take places too)."""
    if d == 0:
        return decimal.Decimal(0)
    int_digits = max(d.adjusted() + 1, 0)
    if int_digits > MAX_DIGITS:
        return None
    places = MAX_DIGITS - int_digits
    return d.quantize(decimal.Decimal(1).scaleb(-places), rounding=decimal.ROUND_DOWN)


def from_double(dv):
    if not math.isfinite(dv):
        return None
    scale = 14
    if dv != 0.0:
        mag = int(math.log10(abs(dv)))
        if mag > 31:
            return None
        scale = max(0, min(MAX_DIGITS, 14 - mag))
    return cut32(decimal.Decimal("%.*f" % (scale, dv)))


def classify(text):
    tok, used, point, exponent, significant, value = read_number(text)
    if not point and not exponent and value is not None:
        return "INTEGER", tok, used, str(value)
    dv = prefix_float(tok)
    if significant >= 16 and not exponent:
        exact = cut32(decimal.Decimal(tok))
        if exact is None:
            return "ERROR", tok, used, "decimal conversion overflow"
        back = from_double(dv)
        if back is None or back != exact:
            return "DECIMAL", tok, used, format(exact.normalize(), "f")
    return "DOUBLE", tok, used, dv.hex()


FIXED = [
    "0", "7", "007", "000", "1e5", "1E5", ".5", "0.5", "00.50", "5.", "1.2.3", "1..2",
    "1e5-3", "1e+-+5", "1e5.5", "1e5e6", "0e0", "12abc", "1e", "1e+", "0.0001",
    "18446744073709551615", "18446744073709551616", "18446744073709551617",
    "21000000000000000000", "99999999999999999999", "1234567890.1234567",
    "1234567890.123456", "0.1234567890123456", "0.12345678901234567", "123456789012345678901234567890123",
    "12345678901234567890123456789012", "1234567890123456.5", "1.000000000000000",
    "9007199254740993.0", "9007199254740992.0", "0.000000000000000000000000000001234567890123456",
    "1" + "0" * 40, "1" + "0" * 40 + ".5", "3.14159265358979323846264338327950288",
    "1e999", "1e-999", "0.1000000000000000055511151231257827",
    # all digits past the 32 places: the decimal is 0, the double's '%.32f' is not
    ".0000000000000000000000000000000076866666666666666666666",
]


def random_number():
    kind = rng.randrange(6)
    digits = lambda n: "".join(rng.choice("0123456789") for _ in range(n))
    if kind == 0:
        return digits(rng.randrange(1, 25))
    if kind == 1:
        return digits(rng.randrange(1, 20)) + "." + digits(rng.randrange(0, 20))
    if kind == 2:
        return "0." + "0" * rng.randrange(0, 5) + digits(rng.randrange(10, 25))
    if kind == 3:
        return digits(rng.randrange(1, 6)) + "e" + rng.choice(["", "+", "-"]) + digits(rng.randrange(1, 4))
    if kind == 4:
        d = rng.uniform(0, 10 ** rng.randrange(0, 20))
        return repr(d) if "e" not in repr(d) else digits(17)
    return "0" * rng.randrange(1, 4) + digits(rng.randrange(14, 22)) + "." + digits(rng.randrange(1, 6))


def main():
    texts = FIXED + [random_number() for _ in range(400)]
    with open("good-lex-numbers.txt", "w") as out:
        for t in texts:
            out.write("\t".join(str(x) for x in (t,) + classify(t)) + "\n")


if __name__ == "__main__":
    main()
