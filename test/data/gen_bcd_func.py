#!/usr/bin/env python3
"""Vectors for the decimal functions, from mpmath at 60 digits as the oracle.

Run once from this directory: python3 gen_bcd_func.py
Writes good-bcd-funcs.txt (fixed seed, so re-running gives the same file).

One case per line, fields separated by one blank:
    fn x y tol r0 r1 r2 r3 r4
  fn     ln log10 exp sqrt pow powint sin cos tan csc sec cot
  x, y   operands in plain notation (at most 32 digits and 32 places); y is
         "-" for a function of one operand, an integer for powint
  tol    0: the result must match exactly; 1: within one unit of the last
         place (trigonometry beyond 2 pi, where the argument is reduced by a
         40-digit 2 pi)
  rN     the exact value rounded to the decimal grid (32 significant digits,
         at most 32 places) in rounding mode N, plain notation; "-" where the
         exact value lies within 1e-6 of a unit of the last place from the
         mode's rounding boundary (a grid point for the directed modes, a
         midpoint for the nearest ones): a 40-digit method cannot decide those.

Modes: 0 nearest/ties to even, 1 nearest/ties away from zero, 2 towards
+infinity, 3 towards -infinity, 4 towards zero (Python's ROUND_HALF_EVEN,
ROUND_HALF_UP, ROUND_CEILING, ROUND_FLOOR, ROUND_DOWN).

Domains, and why:
  * Results of more than 32 integer digits are left out (eRANGE is tested by
    hand and by the method vectors), and so are arguments past about 75 for
    exp, where the result has no more digits than the grid allows anyway.
  * tan, sec: |cos x| at least 1e-3; cot, csc: |sin x| at least 1e-3. Near a
    pole the quotient magnifies the 10^-40 of the work form past a unit of
    the last place.
  * Trigonometry beyond 2 pi: arguments up to 1000 (tol 1).
  * pow with a fractional y: x positive and |y ln x| below 70; integer
    powers: results below 10^32.
"""
import random
from decimal import (Decimal, getcontext, ROUND_HALF_EVEN, ROUND_HALF_UP, ROUND_CEILING,
                     ROUND_FLOOR, ROUND_DOWN)

import mpmath

mpmath.mp.dps = 60
getcontext().prec = 200
getcontext().Emin = -999999
getcontext().Emax = 999999
MODES = [ROUND_HALF_EVEN, ROUND_HALF_UP, ROUND_CEILING, ROUND_FLOOR, ROUND_DOWN]
rng = random.Random(20261124)
D = Decimal


def plain(d):
    if d == 0:
        return "0"
    s = format(d, "f")
    if "." in s:
        s = s.rstrip("0").rstrip(".")
    return s


def operand(int_max=32, positive=False, digits_max=32):
    """A decimal of 1 to 32 digits, at most 32 places and int_max integer digits."""
    nd = rng.randint(1, digits_max)
    d = D(rng.randint(10 ** (nd - 1), 10 ** nd - 1))
    intd = rng.randint(-(32 - nd), min(int_max, nd))
    d = d.scaleb(intd - nd)
    if -d.as_tuple().exponent > 32:
        d = d.quantize(D(1).scaleb(-32), rounding=ROUND_DOWN)
    if d == 0:
        d = D(1).scaleb(-rng.randint(1, 32))
    if not positive and rng.random() < 0.5:
        d = -d
    return d


def mp(d):
    return mpmath.mpf(str(d))


def exact(fn, x, y):
    """The function's value at 60 digits, as a Decimal."""
    X = mp(x)
    if fn == "ln":
        v = mpmath.log(X)
    elif fn == "log10":
        v = mpmath.log10(X)
    elif fn == "exp":
        v = mpmath.exp(X)
    elif fn == "sqrt":
        v = mpmath.sqrt(X)
    elif fn == "pow":
        v = mpmath.power(X, mp(y))
    elif fn == "powint":
        v = mpmath.power(X, int(y))
    else:
        v = {"sin": mpmath.sin, "cos": mpmath.cos, "tan": mpmath.tan,
             "csc": mpmath.csc, "sec": mpmath.sec, "cot": mpmath.cot}[fn](X)
    return D(mpmath.nstr(v, 60, strip_zeros=False, min_fixed=-mpmath.inf, max_fixed=mpmath.inf))


def rounded(v, mode):
    """v rounded to the grid in `mode`, or "-" near the mode's boundary."""
    if v == 0:
        return "0"
    q = max(v.adjusted() - 31, -32)
    ulp = D(1).scaleb(q)
    frac = (abs(v) / ulp) % 1
    near = (min(frac, 1 - frac) if mode >= 2 else abs(frac - D("0.5"))) < D("1e-6")
    if near:
        return "-"
    return plain(v.quantize(ulp, rounding=MODES[mode]))


def case(fn, x, y=None, tol="0"):
    v = exact(fn, x, y)
    if v != 0 and v.adjusted() + 1 > 32:
        return None
    rs = [rounded(v, m) for m in range(5)]
    return " ".join([fn, plain(x), "-" if y is None else str(y), tol] + rs)


def cases():
    out = []

    def add(*args, **kw):
        line = case(*args, **kw)
        if line is not None:
            out.append(line)

    two_pi = 2 * mpmath.pi
    for _ in range(150):
        add("ln", operand(positive=True))
        add("log10", operand(positive=True))
        add("sqrt", operand(positive=True))
        x = operand(int_max=2)
        if abs(x) < 73:
            add("exp", x)
        for fn in ("sin", "cos", "tan", "csc", "sec", "cot"):
            x = operand(int_max=1)
            while abs(mp(x)) >= two_pi:
                x = operand(int_max=1)
            s, c = mpmath.sin(mp(x)), mpmath.cos(mp(x))
            if fn in ("tan", "sec") and abs(c) < 1e-3:
                continue
            if fn in ("cot", "csc") and abs(s) < 1e-3:
                continue
            add(fn, x)
        # beyond 2 pi, up to 1000
        for fn in ("sin", "cos"):
            x = D(rng.randint(7, 999)) + operand(int_max=0, positive=True).scaleb(0)
            x = x.quantize(D(1).scaleb(-29), rounding=ROUND_DOWN)
            if rng.random() < 0.5:
                x = -x
            add(fn, x, tol="1")
        # powers
        x = operand(int_max=3, positive=True)
        y = operand(int_max=1, digits_max=8)
        if y != y.to_integral_value() and abs(y * D(str(mpmath.log(mp(x))))) < 70:
            add("pow", x, y)
        x = operand(int_max=2)
        n = rng.randint(-30, 30)
        if x != 0:
            add("powint", x, n)
    return out


if __name__ == "__main__":
    with open("good-bcd-funcs.txt", "w") as f:
        f.write("\n".join(cases()) + "\n")
