#!/usr/bin/env python3
"""Vectors for the decimal module, from Python's decimal module as the oracle.

Run once from this directory: python3 gen_bcd.py
Writes good-bcd-arith.txt, good-bcd-text.txt, good-bcd-divmethod.txt,
good-bcd-workrcp.txt and good-bcd-fromdouble.txt (fixed seed, so re-running
gives the same files).

good-bcd-arith.txt, one case per line, fields separated by one blank:
    op mode a b result code
  op      add, sub, mul, div
  mode    0 nearest/ties to even, 1 nearest/ties away from zero,
          2 towards +infinity, 3 towards -infinity, 4 towards zero
  a, b    operands as plain text (at most 32 significant digits, 32 places)
  result  the expected result in plain notation, fraction zeros stripped
  code    OK, LOSS (digits were lost), RANGE (more than 32 integer digits)

good-bcd-text.txt:  text | value | code   (the text may hold blanks)

good-bcd-divmethod.txt: lines as in good-bcd-arith.txt, quotients from a
model of the library's reciprocal method (reciprocal_method below), to be
matched digit for digit and code for code.

good-bcd-fromdouble.txt: hex-double text -- a double of the top decade
[1e31, 1e32) (or just outside it) as float.hex(), and the decimal the library
must make of it: "%.*f" with 14 less the truncated logarithm as the scale
(0 here), which carries at most 32 integer digits; RANGE from 1e32 on.

good-bcd-workrcp.txt: rcp x r -- r the 40-digit reciprocal of x (up to 40
digits) in the work form, from the same model, with the digits the work
record keeps (a cut can leave a zero last).

How the library computes, and so how the oracle is built:
  * add, sub, mul: the exact result is cut (not rounded) to 40 significant
    digits and to 40 places, then rounded once to 32 significant digits and
    at most 32 places under the mode. The oracle does exactly that with
    ROUND_DOWN followed by the mode, so these cases compare exactly, the code
    included. A product whose exact value is below 10^-40 is thus 0 with OK.
  * div is a multiplication by a 40-digit reciprocal, so the quotient can be
    one unit off in the 32nd digit: the test accepts a difference of one unit
    in the last place of the expected result, and only RANGE is compared as a
    code (an exact quotient such as 6/3 may come out as LOSS).
  * The modes map onto Python's by their definitions: ties to even is
    ROUND_HALF_EVEN; ties away from zero is ROUND_HALF_UP (Python's HALF_UP
    rounds ties away from zero); "up" is towards +infinity, ROUND_CEILING;
    "down" is towards -infinity, ROUND_FLOOR; towards zero is ROUND_DOWN.
    (Python's ROUND_UP and ROUND_DOWN are away from / towards zero, not the
    library's UP and DOWN.)

Excluded cases, and why:
  * Division by zero: no oracle value; eDIVBY0 is tested by hand.
  * Quotients of 10^31 or more: the reciprocal's last-place error can move a
    quotient across the 32-integer-digit limit, so RANGE is not decidable
    from the exact value there; tested by hand.
  * Quotients below 10^-30: one unit in the last place is then a large share
    of the few digits left, and the reciprocal's error is measured relative
    to the 40-digit work form, not to 10^-32.
  * Texts whose exponent wraps the parser's 8-bit exponent, or which give
    more than 32 integer digits: the library keeps those quirks on purpose;
    they are tested by hand, not against Decimal.
"""
import random
from decimal import (Decimal, getcontext, ROUND_HALF_EVEN, ROUND_HALF_UP, ROUND_CEILING,
                     ROUND_FLOOR, ROUND_DOWN)

getcontext().prec = 400
getcontext().Emin = -999999
getcontext().Emax = 999999

MODES = [ROUND_HALF_EVEN, ROUND_HALF_UP, ROUND_CEILING, ROUND_FLOOR, ROUND_DOWN]
rng = random.Random(20261122)


def plain(d):
    """Plain notation with fraction zeros stripped, as the library prints."""
    if d == 0:
        return "0"
    s = format(d, "f")
    if "." in s:
        s = s.rstrip("0").rstrip(".")
    return s


def cut(d, digits, places):
    """Truncate to `digits` significant digits and at most `places` places."""
    if d == 0:
        return d
    q = max(d.adjusted() - (digits - 1), -places)
    return d.quantize(Decimal(1).scaleb(q), rounding=ROUND_DOWN)


def reduce32(exact, mode):
    """The library's reduction of an exact result: (value, code)."""
    t = cut(exact, 40, 40)
    if t == 0:
        return Decimal(0), "OK"
    if t.adjusted() + 1 > 32:
        return Decimal(0), "RANGE"
    q = max(t.adjusted() - 31, -32)
    r = t.quantize(Decimal(1).scaleb(q), rounding=MODES[mode])
    if abs(r) >= Decimal(10) ** 32:
        return Decimal(0), "RANGE"
    return r, ("OK" if r == t else "LOSS")


def rand_operand():
    """A decimal of 1 to 32 digits with a scale of 0 to 32."""
    kind = rng.random()
    if kind < 0.5:
        ndig = rng.randint(20, 32)  # the range the benchmark uses
    else:
        ndig = rng.randint(1, 32)
    digits = str(rng.randint(10 ** (ndig - 1), 10 ** ndig - 1))
    if rng.random() < 0.15:  # runs of nines and zeros find carries
        digits = rng.choice("90") * (ndig - 1) + digits[-1]
        digits = digits.lstrip("0") or "1"
    scale = rng.randint(0, 32)
    # keep at most 32 places and at most 32 digits in all
    d = Decimal(digits).scaleb(-scale)
    d = cut(d, 32, 32)
    if d == 0:
        d = Decimal(1).scaleb(-rng.randint(0, 32))
    if rng.random() < 0.5:
        d = -d
    return d


def ties(a_digits):
    """Operand pairs whose sum lands exactly on a half unit of the 32nd digit."""
    base = Decimal(rng.randint(10 ** 31, 10 ** 32 - 1)).scaleb(-rng.randint(0, 31))
    half = Decimal(5).scaleb(base.as_tuple().exponent - 1)
    return base, half


def arith_cases():
    lines = []
    for _ in range(2400):
        a, b = rand_operand(), rand_operand()
        op = rng.choice(["add", "sub", "mul", "div"])
        mode = rng.randint(0, 4)
        if op == "div":
            if b == 0:
                continue
            exact = a / b
            if abs(exact) >= Decimal(10) ** 31 or abs(exact) < Decimal(10) ** -30:
                continue
            q = max(exact.adjusted() - 31, -32)
            r = exact.quantize(Decimal(1).scaleb(q), rounding=MODES[mode])
            code = "RANGE" if abs(r) >= Decimal(10) ** 32 else ("OK" if r == exact else "LOSS")
        else:
            exact = {"add": a + b, "sub": a - b, "mul": a * b}[op]
            r, code = reduce32(exact, mode)
        lines.append(f"{op} {mode} {plain(a)} {plain(b)} {plain(r)} {code}")
    # exact ties, each mode, both signs
    for _ in range(60):
        base, half = ties(None)
        for mode in range(5):
            for sa in (1, -1):
                a, b = base * sa, half * sa
                r, code = reduce32(a + b, mode)
                lines.append(f"add {mode} {plain(a)} {plain(b)} {plain(r)} {code}")
    return lines


def text_cases():
    out = []
    for _ in range(400):
        ndig = rng.randint(1, 32)
        digits = str(rng.randint(0, 10 ** ndig - 1)).zfill(ndig)
        point = rng.randint(0, ndig)
        ip, fp = digits[:point], digits[point:]
        lead = "0" * rng.choice([0, 0, 1, 3])
        text = lead + ip
        if fp or rng.random() < 0.3:
            text += "." + fp
        if not ip and not fp:
            text = "0"
        value = Decimal(text)
        exp = 0
        if rng.random() < 0.3:
            exp = rng.randint(-5, 5)
            e = rng.choice(["e", "E"])
            text += f"{e}{exp:+d}" if rng.random() < 0.5 else f"{e}{exp}"
            value = value.scaleb(exp)
        if value != 0 and (value.adjusted() + 1 > 32 or -value.as_tuple().exponent > 32):
            continue  # past the limits: handled by the cut cases below
        if exp != 0:
            # The parser first widens its digit count to cover the exponent
            # (by -exp for a negative one); past 32 that is RANGE or a cut.
            stored = (lead + ip).lstrip("0") + fp
            intc = len((lead + ip).lstrip("0"))
            prec = max(intc, len(stored.rstrip("0")))
            e8 = intc + exp
            prec = max(prec, e8) if e8 >= 0 else prec - e8
            if prec >= 33 or prec - e8 >= 33:
                continue
        sign = rng.choice(["", "", "+", "-"])
        text = sign + text
        if sign == "-":
            value = -value
        text = " " * rng.choice([0, 0, 2]) + text + " " * rng.choice([0, 0, 1])
        out.append(f"{text}|{plain(value)}|OK")
    # fraction digits past 32 places are cut, not rounded
    for _ in range(60):
        ip = str(rng.randint(0, 10 ** rng.randint(0, 5)))
        fp = "".join(rng.choice("0123456789") for _ in range(rng.randint(33, 40)))
        text = ip + "." + fp
        # a zero integer part drops out; zeros behind the point count
        sig_int = len(ip.lstrip("0"))
        allowed_frac = 32 - sig_int
        value = Decimal(ip + "." + fp[:allowed_frac]) if allowed_frac > 0 else Decimal(ip)
        out.append(f"{text}|{plain(value)}|LOSS")
    return out


def work_record(v):
    """The digits a 40-digit work record keeps of an exact value: fraction
    zeros stripped first, then cut to 40 digits and 40 places, so that a
    zero can end up last again."""
    if v == 0:
        return Decimal(0)
    s = v.normalize()
    if s.as_tuple().exponent > 0:
        s = s.quantize(Decimal(1))  # integer zeros stay
    q = max(s.adjusted() - 39, -40)
    if s.as_tuple().exponent < q:
        s = s.quantize(Decimal(1).scaleb(q), rounding=ROUND_DOWN)
    return s


def reciprocal_method(x):
    """A model of the library's division: Newton's iteration for 1/x in the
    40-digit work form, every step cut (not rounded) to 40 digits and 40
    places. Not an oracle but the method itself, written independently, so
    that the quotients can be compared digit for digit."""
    e = x.adjusted() + 1
    c = abs(x).scaleb(-e)  # 0.1 <= c < 1
    digits = c.as_tuple().digits
    n = digits[0] * 10 + (digits[1] if len(digits) > 1 else 0)
    r = (Decimal(100) / (Decimal(n) + Decimal("0.5"))).quantize(Decimal("0.000001"),
                                                                 rounding=ROUND_HALF_EVEN)
    r = work_record(r)
    while True:
        t = cut(r * c, 40, 40)
        if t == 1:
            break
        u = cut(1 - t, 40, 40)
        t = cut(r * u, 40, 40)
        u = work_record(r + t)
        if u == r:
            break
        r = u
    r = r.scaleb(-e)
    return -r if x < 0 else r


def division_method_cases():
    lines = []
    for _ in range(500):
        a, b = rand_operand(), rand_operand()
        if b == 0:
            continue
        mode = rng.randint(0, 4)
        r, code = reduce32(a * reciprocal_method(b), mode)
        lines.append(f"div {mode} {plain(a)} {plain(b)} {plain(r)} {code}")
    return lines


def work_reciprocal_cases():
    """1/x in the 40-digit work form, for operands of up to 40 digits."""
    lines = []
    for _ in range(200):
        nd = rng.randint(1, 40)
        x = Decimal(rng.randint(10 ** (nd - 1), 10 ** nd - 1)).scaleb(-rng.randint(0, 40))
        x = cut(x, 40, 40)
        if rng.random() < 0.5:
            x = -x
        lines.append(f"rcp {plain(x)} {format(reciprocal_method(x), 'f')}")
    return lines


def from_double_cases():
    import math
    rng = random.Random(31)
    values = [1e31, 3e31, 2.0**104, 9.999999999999999e31, 1e32, 9.99e31, -3e31,
              math.nextafter(1e31, 0), math.nextafter(1e32, 0), 1.5e32]
    values += [rng.uniform(1e31, 1e32) * rng.choice((1, -1)) for _ in range(200)]
    lines = []
    for d in values:
        mag = int(math.log10(abs(d)))  # truncated towards zero, as the library
        if mag > 31:
            lines.append(f"{d.hex()} RANGE")
        else:
            lines.append(f"{d.hex()} {'%.*f' % (max(0, 14 - mag), d)}")
    return lines


if __name__ == "__main__":
    with open("good-bcd-fromdouble.txt", "w") as f:
        f.write("\n".join(from_double_cases()) + "\n")
    with open("good-bcd-arith.txt", "w") as f:
        f.write("\n".join(arith_cases()) + "\n")
    with open("good-bcd-text.txt", "w") as f:
        f.write("\n".join(text_cases()) + "\n")
    with open("good-bcd-divmethod.txt", "w") as f:
        f.write("\n".join(division_method_cases()) + "\n")
    with open("good-bcd-workrcp.txt", "w") as f:
        f.write("\n".join(work_reciprocal_cases()) + "\n")
