#!/usr/bin/env python3
"""Vectors for the TCP connection strings, from urllib.parse.urlsplit.

Run once from this directory; the output is committed beside it:
  good-connection-tcp.txt  uri<TAB>host<TAB>port<TAB>database

Only the well-formed subset on which urllib and the connection parser agree:
the scheme "gsv-tcp" in lower case, a plain host name (lower case, as
urlsplit's hostname folds it) or a bracketed IPv6 address, a port of 1 to
65535 and one path segment as the database name.
"""
import random
from urllib.parse import urlsplit

rng = random.Random(20261124)
LABEL = "abcdefghijklmnopqrstuvwxyz0123456789"
NAME = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_.-"


def plain_host():
    labels = []
    for _ in range(rng.randrange(1, 4)):
        label = "".join(rng.choice(LABEL) for _ in range(rng.randrange(1, 10)))
        labels.append(label)
    return ".".join(labels)


def ipv6_host():
    groups = [format(rng.randrange(0x10000), "x") for _ in range(8)]
    form = rng.randrange(3)
    if form == 0:
        return ":".join(groups)
    if form == 1:
        return "::" + ":".join(groups[: rng.randrange(1, 4)])
    return ":".join(groups[: rng.randrange(1, 4)]) + "::" + groups[7]


fixed = [
    "gsv-tcp://host:1234/mydb",
    "gsv-tcp://[::1]:1234/x",
    "gsv-tcp://localhost:21553/db",
    "gsv-tcp://127.0.0.1:1/a",
    "gsv-tcp://[fe80::1]:65535/Z",
]
uris = list(fixed)
for i in range(200):
    host = plain_host() if i % 3 else "[" + ipv6_host() + "]"
    port = rng.choice([1, 80, 21553, 65535, rng.randrange(1, 65536)])
    name = "".join(rng.choice(NAME) for _ in range(rng.randrange(1, 16)))
    uris.append(f"gsv-tcp://{host}:{port}/{name}")

with open("good-connection-tcp.txt", "w") as f:
    for uri in uris:
        parts = urlsplit(uri)
        assert parts.scheme == "gsv-tcp" and not parts.query and not parts.fragment
        name = parts.path[1:]
        assert name and "/" not in name
        f.write(f"{uri}\t{parts.hostname}\t{parts.port}\t{name}\n")
