#!/usr/bin/env python3
"""Numbers of key/value strings and the "%f" text they are kept as, from
Python's printf-style formatting (the C locale's bytes).

Run once from this directory; the output is committed beside it:
  good-keyvalue-fixed.txt  one line per number: the number as written in
                           "a=NUMBER", a tab, and '%f' % float(NUMBER)

The numbers are written as the lexer reads them: digits with an optional
point and exponent, no sign (a sign is a token of its own), at most 15
significant digits without an exponent (more would make a decimal token).
The lexer converts with a correctly rounded reader, as float() does; an
overflow is an infinity on both sides.
"""
import random

rng = random.Random(8324)

FIXED = ["0.0", "1.5", "0.1", "2.5e-6", "1e-7", "0.0000005", "0.0000015", "1e300",
         "1.7976931348623157e308", "1e400", "123456789012345.0", "18446744073709551616",
         "1234567890123456789e0", ".5", "5.", "3.14159265358979", "1e15", "9.999999e-1",
         "0.125", "0.0625e1", "2.5e+3", "1E5"]


def rand_number():
    digits = "".join(rng.choice("0123456789") for _ in range(rng.randrange(1, 16)))
    point = rng.randrange(0, len(digits) + 1)
    text = digits[:point] + "." + digits[point:] if rng.random() < 0.7 else digits
    if text.startswith("."):
        text = "0" + text
    if rng.random() < 0.4:
        text += "e" + rng.choice(["", "-", "+"]) + str(rng.randrange(0, 40))
    elif "." not in text:
        text += ".0"
    return text


def main():
    numbers = FIXED + [rand_number() for _ in range(300)]
    with open("good-keyvalue-fixed.txt", "w") as out:
        for text in numbers:
            out.write("%s\t%s\n" % (text, "%f" % float(text)))


main()
