#!/usr/bin/env python3
"""Vectors for the name patterns of the directory scan.

Run once from this directory; the output is committed beside it:
  good-path-match.txt  name<TAB>pattern<TAB>1 or 0

The reference is the pattern rule written as it reads, recursively: "*" at
the end matches anything; otherwise the character after "*" is taken
literally (whatever it is), and at each place it stands in the name the rest
of the name is tried against the rest of the pattern. "?" takes any one
character, "#" one of 0-9 and capital A-F, anything else itself with ASCII
letter case ignored. fnmatch is no oracle: it has classes, escapes and a
different "*". The library answers the same without the recursion.
"""
import random


def fold(c):
    return c.lower() if "A" <= c <= "Z" else c


def match(n, p):
    if not p:
        return not n
    if p[0] == "*":
        if len(p) == 1:
            return True
        return any(fold(n[i]) == fold(p[1]) and match(n[i + 1:], p[2:]) for i in range(len(n)))
    if not n:
        return False
    if p[0] == "?":
        ok = True
    elif p[0] == "#":
        ok = n[0] in "0123456789ABCDEF"
    else:
        ok = fold(p[0]) == fold(n[0])
    return ok and match(n[1:], p[1:])


rng = random.Random(20261123)
NAME_CHARS = "aAbB09fF.x#?*_"
PAT_CHARS = "aAbB09fF.x" + "*" * 4 + "?" * 2 + "#" * 2


def name_for(pattern):
    """A name built to come close to the pattern, then mutated a little."""
    out = []
    for c in pattern:
        if c == "*":
            out.append("".join(rng.choice(NAME_CHARS) for _ in range(rng.randrange(4))))
        elif c == "?":
            out.append(rng.choice(NAME_CHARS))
        elif c == "#":
            out.append(rng.choice("0123456789ABCDEFaf"))
        else:
            out.append(rng.choice([c, c.swapcase()]))
    s = list("".join(out))
    for _ in range(rng.randrange(3)):
        if s and rng.random() < 0.5:
            del s[rng.randrange(len(s))]
        else:
            s.insert(rng.randrange(len(s) + 1), rng.choice(NAME_CHARS))
    return "".join(s)


cases = [
    ("DB01.TXT", "db##.*"), ("db0a.txt", "db##.*"), ("DB0A.TXT", "db##.*"),
    ("", ""), ("", "*"), ("a", ""), ("abc", "*"), ("abc", "a*"), ("abc", "*c"),
    ("a?c", "a*?c"), ("abc", "a*?c"), ("a#c", "*#c"), ("a1c", "*#c"), ("a*b", "**b"),
    ("ab", "**b"), ("x.tmp", "*.TMP"), ("x.tmp.tmp", "*.tmp"), ("aab", "*ab"),
    ("abab", "*ab*ab"), ("Temp_0001.tmp", "temp_####.tmp"), ("ff", "##"), ("FF", "##"),
    ("a", "?"), ("", "?"), ("ab", "?"), ("a" * 30 + "b", "*a*a*a*b"),
    ("a" * 30, "*a*a*a*b"),
]
for _ in range(1500):
    pattern = "".join(rng.choice(PAT_CHARS) for _ in range(rng.randrange(9)))
    cases.append((name_for(pattern), pattern))

with open("good-path-match.txt", "w") as f:
    for name, pattern in cases:
        f.write(f"{name}\t{pattern}\t{int(match(name, pattern))}\n")
