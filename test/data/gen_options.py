#!/usr/bin/env python3
"""Sort cost factors and their "%G" text, from Python's printf-style
formatting (the C locale's bytes: six significant digits, trailing zeros
dropped, an exponent of at least two digits in upper case).

Run once from this directory; the output is committed beside it:
  good-options-sortcost.txt  one line per double: repr(d), a tab, '%G' % d
"""
import random

rng = random.Random(6200)

FIXED = [6.2e-5, 0.0, -0.0, 1.0, 0.5, 1e-4, 1e-5, 0.0001234565, 123456.0, 1234567.0, 999999.5,
         9999995.0, 1e100, 5e-324, 1.7976931348623157e308, 0.1, 1 / 3, 2 / 3, 100.0,
         float("inf"), float("-inf")]


def main():
    values = FIXED + [rng.uniform(0, 1) for _ in range(100)]
    values += [rng.uniform(0, 1) * 10.0 ** rng.randrange(-30, 30) for _ in range(150)]
    values += [float("%.*g" % (rng.randrange(1, 8), rng.uniform(0, 1))) for _ in range(50)]
    with open("good-options-sortcost.txt", "w") as out:
        for d in values:
            out.write("%r\t%s\n" % (d, "%G" % d))


main()
