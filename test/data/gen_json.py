#!/usr/bin/env python3
"""Documents and their pull events, from Python's json module.

Run once from this directory; the output is committed beside it:
  good-json-walks.txt  two lines per document: the document, then its events

Documents are random values dumped by json.dumps, some with ensure_ascii (so
that characters up to U+00FF come as \\u escapes, which the reader stores as
one byte each) and some without (characters of any plane as raw UTF-8, which
the reader keeps as they are). The events come from json.loads of the same
text, walked as the pull reader walks it, one per call, separated by blanks:
  [ ] { }          array and object opened and closed (jvARRAY, jvEND ...)
  K<hex>           a name, its bytes in hex
  S<hex>           a string
  N<int>           an integer, as the reader's signed 64 bits
  D<float.hex()>   a double
  T F Z            true, false, null
The reader's own limits keep the generator in bounds: no sign before a
double, no double of 16 or more significant digits without an exponent (the
lexer would make it a decimal), no zero character in a string.
"""
import json
import random

rng = random.Random(16082)

LATIN = "".join(chr(c) for c in range(1, 256) if c != 0)
WIDE = LATIN + "\u0100\u20ac\u4e2d\U0001F600"


def rand_string(alphabet):
    return "".join(rng.choice(alphabet) for _ in range(rng.randrange(0, 12)))


def rand_double():
    while True:
        d = abs(rng.choice([rng.uniform(0, 1000), rng.uniform(0, 1e-5), rng.uniform(0, 1e30)]))
        d = float("%.*g" % (rng.randrange(1, 16), d))
        text = repr(d)
        if "e" in text or "E" in text:
            return d
        digits = text.replace(".", "").lstrip("0")
        if len(digits) < 16:
            return d


def rand_value(depth, alphabet):
    kind = rng.randrange(9 if depth < 4 else 7)
    if kind == 0:
        return rand_string(alphabet)
    if kind == 1:
        return rng.randrange(-(1 << 63), 1 << 63)
    if kind == 2:
        return rand_double()
    if kind == 3:
        return rng.choice([True, False])
    if kind == 4:
        return None
    if kind == 5:
        return rng.randrange(0, 1000)
    if kind == 6:
        return rand_string("abc")
    if kind == 7:
        return [rand_value(depth + 1, alphabet) for _ in range(rng.randrange(0, 5))]
    return {rand_string(alphabet): rand_value(depth + 1, alphabet) for _ in range(rng.randrange(0, 5))}


def events(value, encode, out):
    if isinstance(value, bool):
        out.append("T" if value else "F")
    elif value is None:
        out.append("Z")
    elif isinstance(value, int):
        out.append("N%d" % value)
    elif isinstance(value, float):
        out.append("D" + value.hex())
    elif isinstance(value, str):
        out.append("S" + encode(value).hex())
    elif isinstance(value, list):
        out.append("[")
        for v in value:
            events(v, encode, out)
        out.append("]")
    else:
        out.append("{")
        for k, v in value.items():
            out.append("K" + encode(k).hex())
            events(v, encode, out)
        out.append("}")


def main():
    with open("good-json-walks.txt", "w", encoding="utf-8", newline="\n") as f:
        for i in range(200):
            ascii_form = i % 2 == 0
            alphabet = LATIN if ascii_form else WIDE
            if i % 5 == 0:
                top = {"database": rand_value(0, alphabet)}
            elif i % 5 == 1:
                top = rand_value(0, alphabet)
            elif i % 5 == 2:
                top = [rand_value(1, alphabet) for _ in range(rng.randrange(1, 8))]
            else:
                top = {rand_string(alphabet): rand_value(1, alphabet) for _ in range(rng.randrange(1, 8))}
            text = json.dumps(top, ensure_ascii=ascii_form)
            assert "\n" not in text
            encode = (lambda s: s.encode("latin-1")) if ascii_form else (lambda s: s.encode("utf-8"))
            ev = []
            events(json.loads(text), encode, ev)
            f.write(text + "\n" + " ".join(ev) + "\n")


if __name__ == "__main__":
    main()
