#!/usr/bin/env python3
"""JSON catalogues for the catalogue loader's tests and benchmark.

The catalogues are drawn at random from a small model of the catalogue text
(the keys of each object in the order a load needs), written with Python's
json module, and each comes with what a load must give: a dump of the
catalogue as its accessors read it, which this model works out on its own
(narrowed types, drawers and what they serve, key elements and generated key
names, reference targets, table offsets from 1, the row layout of each table).

  good-catalogs.txt  random catalogues, strict JSON, then the same catalogue
                     in relaxed form (comments, unquoted names in any case,
                     no commas), each with its dump
  bad-catalogs.txt   one catalogue holding every key, mutated once per key
                     (wrong JSON type, duplicate, out of bounds, unknown
                     word), each with the code a load must give

Run from anywhere: test/data/gen_catalogs.py writes both files beside itself;
test/data/gen_catalogs.py --bench TABLES COLUMNS FILE writes one catalogue of
that size (the benchmark's) to FILE.
"""
import json
import os
import random
import sys

# The data type words, read from the top: the first row of a word wins.
DATA_TYPES = [
    ("bool", 32769), ("int8", 2), ("uint8", 32770), ("int16", 258), ("uint16", 33026),
    ("int32", 514), ("uint32", 33282), ("int64", 770), ("uint64", 33538), ("float", 515),
    ("double", 771), ("decimal", 5), ("date", 260), ("time", 516), ("timetz", 1028),
    ("timestamp", 772), ("timestamptz", 1284), ("rowid", 7), ("uuid", 9), ("char", 8),
    ("varchar", 2056), ("wchar", 264), ("wchar", 520), ("wvarchar", 2312),
    ("wvarchar", 2568), ("binary", 6), ("varbinary", 2054), ("blob", 4102), ("clob", 4104),
    ("wclob", 4616), ("wclob", 4360),
]
WORDS = sorted({w for w, _ in DATA_TYPES})
LOB = 0x1000
WCHAR, WCHAR_UTF8, WVARCHAR, WVARCHAR_UTF8 = 264, 520, 2312, 2568
DRAWER_TYPES = {"table": 4, "btree": 0, "rtree": 5, "hash": 1, "ref": 2, "blob": 3}
TABLE_TYPES = {"standard": 0, "circular": 1, "virtual": 2, "temporary": 3}
KEY_TYPES = {"noval": 0, "nonunique": 1, "unique": 2, "primary": 3}
KEY_METHODS = {"noval": 0, "rowid": 1, "btree": 2, "hash": 3, "avl": 4, "rtree": 5, "mono": 6,
               "virtual": 7}
REF_ACTIONS = {"noval": 0, "restrict": 1, "cascade": 2, "set null": 3}
ENCRYPTIONS = {"none": 0, "xor": 1, "aes128": 2, "aes192": 3, "aes256": 4}
ORDERS = {"asc": "+", "desc": "-"}


def read_type(word, unicode_enabled):
    t = next(v for w, v in DATA_TYPES if w == word)
    if not unicode_enabled and t == WCHAR:
        t = WCHAR_UTF8
    if not unicode_enabled and t == WVARCHAR:
        t = WVARCHAR_UTF8
    return t


def family(t):
    return t & 15


# Row layout: bytes (elems counted where arrays exist) and the alignment
# enumerator; the boundary of enumerator a is BOUNDARY[a].
BOUNDARY = [1, 2, 4, 4, 4, 8, 8]


def layout_of(t, elems, length):
    e = elems or 1
    fixed = {32769: (4 * e, 3), 2: (e, 0), 32770: (e, 0), 258: (2 * e, 1), 33026: (2 * e, 1),
             514: (4 * e, 3), 33282: (4 * e, 3), 770: (8 * e, 5), 33538: (8 * e, 5),
             515: (4 * e, 4), 771: (8 * e, 6), 5: (37, 0), 260: (4, 3), 516: (4, 3),
             1028: (8, 3), 772: (8, 3), 1284: (12, 3), 7: (8, 5), 9: (16, 3), 6: (length, 0),
             2054: (length + 2, 1)}
    if t & LOB:
        return 0, 5
    if t in fixed:
        return fixed[t]
    return length, 0  # the character types


def align(off, a):
    b = BOUNDARY[a]
    return (off + b - 1) // b * b


class Obj(list):
    """A JSON object as its pairs in order (a name may stand twice)."""

    def __init__(self, kind, pairs=()):
        super().__init__(pairs)
        self.kind = kind

    def add(self, name, value):
        self.append((name, value))
        return self


def strict(v):
    if isinstance(v, Obj):
        return "{" + ",".join(json.dumps(k) + ":" + strict(x) for k, x in v) + "}"
    if isinstance(v, list):
        return "[" + ",".join(strict(x) for x in v) + "]"
    return json.dumps(v)


def relaxed(v, rnd, depth=0):
    """Comments, names unquoted or in another case, no commas."""
    pad = "\n" + " " * depth

    def gap():
        r = rnd.random()
        if r < 0.15:
            return " /* note */ "
        if r < 0.25:
            return " -- a remark" + pad
        return pad if r < 0.6 else " "

    if isinstance(v, Obj):
        out = "{"
        for k, x in v:
            name = k.upper() if rnd.random() < 0.3 else k
            name = name if rnd.random() < 0.5 else json.dumps(name)
            out += gap() + name + gap() + ":" + relaxed(x, rnd, depth + 1)
        return out + gap() + "}"
    if isinstance(v, list):
        return "[" + "".join(gap() + relaxed(x, rnd, depth + 1) for x in v) + gap() + "]"
    return json.dumps(v)


# ---- The model of one catalogue.

class Col:
    def __init__(self, ndx):
        self.ndx = ndx
        self.name = None
        self.word = None  # own type
        self.domid = None
        self.noelts = 0
        self.length = None
        self.scale = None
        self.check = None
        self.dwrid = None
        self.keyid = None
        self.ref = None  # (refid, tabid, colid)
        self.usage = 0
        self.not_null = None
        self.width = 0
        self.format = None
        self.defvalue = None
        self.defnull = None


class Catalog:
    def __init__(self, rnd, unicode_enabled, full=False, bench=None):
        self.rnd = rnd
        self.unicode = unicode_enabled
        self.full = full  # every key of every object at least once
        self.drawers = {}  # number -> [type word, tabid, srcid]
        self.next_drawer = 5
        self.domains = {}
        self.tables = {}
        self.build(bench)

    def new_drawer(self, word, tab, src):
        if self.rnd.random() < 0.1 and not self.full:
            self.next_drawer += 1  # a hole among the numbers
        d = self.next_drawer
        self.next_drawer += 1
        self.drawers[d] = [word, tab, src]
        return d

    def pick_type(self, lob_ok=True):
        while True:
            w = self.rnd.choice(WORDS)
            if lob_ok or not (read_type(w, True) & LOB):
                return w

    def fill_type(self, c, word):
        t = read_type(word, self.unicode)
        c.word = word
        f = family(t)
        if f in (6, 8) and not t & LOB:
            c.length = self.rnd.randint(1, 120)
        elif f == 5:
            c.length = self.rnd.randint(1, 32)
            c.scale = self.rnd.randint(0, c.length)
        elif f == 4 and t != 260 and self.rnd.random() < 0.5:
            c.length = self.rnd.randint(0, 7)
        if f in (1, 2, 3) and self.rnd.random() < 0.3:
            c.noelts = self.rnd.randint(2, 5)
        if self.full or self.rnd.random() < 0.15:
            c.check = ("%s > 0" % (c.name or "value"), "chk_%d" % self.rnd.randint(0, 99))

    def default_for(self, t):
        f = family(t)
        r = self.rnd
        if t & LOB:
            return None
        table = {
            32769: r.choice(["true", "FALSE"]), 2: str(r.randint(-128, 127)),
            32770: str(r.randint(0, 255)), 258: str(r.randint(-32768, 32767)),
            33026: str(r.randint(0, 65535)), 514: str(r.randint(-2**31, 2**31 - 1)),
            33282: str(r.randint(0, 2**32 - 1)), 770: str(r.randint(-2**63, 2**63 - 1)),
            33538: str(r.randint(0, 2**64 - 1)), 515: "1.5", 771: "-2.25", 5: "12.5",
            260: "current_date", 516: "current_time", 1028: "current_time",
            772: "current_timestamp", 1284: "current_timestamp", 7: "auto",
            9: r.choice(["auto", "123e4567-e89b-12d3-a456-426614174000"]),
        }
        if t in table:
            return table[t]
        if f == 6:
            return r.choice(["ABcd", "", "00ff"])
        return r.choice(["abc", "", "a longer default text"])

    def pick_default(self, c, t):
        r = self.rnd.random()
        if self.full:
            c.defvalue, c.defnull = self.default_for(t), False
        elif r < 0.25:
            c.defvalue = self.default_for(t)
        elif r < 0.35:
            c.defnull = True
        elif r < 0.45:
            c.defvalue, c.defnull = self.default_for(t), False  # false changes nothing

    def build(self, bench):
        r = self.rnd
        self.name = "db%d" % r.randint(0, 999)
        self.locale = "C" if self.full or r.random() < 0.5 else None
        self.catver = r.randint(0, 2**32 - 1)
        self.dbver = r.randint(0, 2**32 - 1)
        self.encryption = r.choice(list(ENCRYPTIONS))
        ndom = 0 if bench else (2 if self.full else r.randint(0, 3))
        self.maxdoms = ndom + (1 if ndom and r.random() < 0.5 else 0)
        for i in r.sample(range(self.maxdoms), ndom):
            d = Col(i)
            d.name = "dom%d" % i
            self.fill_type(d, self.pick_type(lob_ok=False))
            d.width = r.randint(0, 255)
            d.format = "fmt%d" % i if self.full or r.random() < 0.5 else None
            self.pick_default(d, read_type(d.word, self.unicode))
            self.domains[i] = d
        ntab = bench[0] if bench else (2 if self.full else r.randint(1, 3))
        ids = list(range(1, ntab + 1))
        if not bench and not self.full and r.random() < 0.5:
            ids = sorted(r.sample(range(1, ntab + 3), ntab))  # holes
        self.next_table = max(ids) + 1 + (1 if r.random() < 0.3 else 0)
        self.max_table = self.next_table + (2 if r.random() < 0.3 else 0)
        for t in ids:
            self.tables[t] = {"ndx": t}
        for t in ids:
            self.build_table(self.tables[t], bench)
        for t in ids:
            self.build_refs(self.tables[t], bench)
        self.max_drawer = self.next_drawer + (3 if r.random() < 0.3 else 0)

    def build_table(self, tb, bench):
        r = self.rnd
        t = tb["ndx"]
        tb["name"] = "tab%d" % t
        tb["type"] = "standard" if bench else r.choice(list(TABLE_TYPES))
        tb["dwrid"] = -1 if not self.full and not bench and r.random() < 0.15 else \
            self.new_drawer("table", t, t)
        tb["check"] = ("id > 0", "tab%d_chk" % t) if self.full or r.random() < 0.2 else None
        tb["maxrows"] = r.randint(0, 10**6)
        # The benchmark's tables get their foreign column on top.
        ncol = bench[1] - 1 if bench else (4 if self.full else r.randint(1, 6))
        cols = []
        for i in range(ncol):
            c = Col(i)
            c.name = "c%d_%d" % (t, i)
            if i == 0:
                self.fill_type(c, r.choice(["int32", "int64", "uint32"]))
                c.noelts = 0
                c.keyid = 0
                c.not_null = "pk_%d" % t if r.random() < 0.5 else ""
            elif self.domains and (r.random() < 0.25 or (self.full and i == 1)):
                c.domid = r.choice(list(self.domains))
            else:
                word = {2: "blob", 3: "decimal"}.get(i) if self.full else None
                word = word or self.pick_type()
                self.fill_type(c, word)
                if read_type(word, True) & LOB:
                    c.dwrid = self.new_drawer("blob", t, i)
            if i and r.random() < 0.2:
                c.not_null = "" if r.random() < 0.5 else "nn_%d_%d" % (t, i)
            if self.full or r.random() < 0.3:
                c.width = r.randint(0, 255)
            if self.full or r.random() < 0.3:
                c.format = "f%d" % i
            ctype = self.col_type(c)
            if not (ctype & LOB):
                self.pick_default(c, ctype)
            cols.append(c)
        tb["cols"] = cols
        # Keys: 0 the primary key on column 0, then some more.
        plain = [c.ndx for c in cols if not (self.col_type(c) & LOB)]
        keys = [{"ndx": 0, "type": "primary", "method": "btree", "elems": [(0, "asc")],
                 "name": "pk%d" % t}]
        for k in range(1, 1 if bench else (3 if self.full else r.randint(1, 3))):
            n = r.randint(1, min(3, len(plain)))
            keys.append({"ndx": k, "type": r.choice(["nonunique", "unique", "noval"]),
                         "method": r.choice(["btree", "hash", "avl", "rtree", "mono"]),
                         "elems": [(c, r.choice(list(ORDERS))) for c in r.sample(plain, n)],
                         "name": "k%d_%d" % (t, k) if r.random() < 0.5 else None})
        if bench and len(plain) > 1:
            keys.append({"ndx": 1, "type": "nonunique", "method": "btree",
                         "elems": [(1, "asc")], "name": None})
        for k in keys:
            m = k["method"]
            k["dwrid"] = self.new_drawer(m, t, k["ndx"]) if m in ("btree", "hash", "rtree") else -1
            k["restrict"] = r.random() < 0.3
            k["refcount"] = r.randint(0, 3)
            for c, _ in k["elems"]:
                cols[c].usage |= 1
        tb["keys"] = keys
        tb["maxkeys"] = len(keys) + (1 if r.random() < 0.3 else 0)

    def col_type(self, c):
        word = c.word if c.domid is None else self.domains[c.domid].word
        return read_type(word, self.unicode)

    def build_refs(self, tb, bench):
        r = self.rnd
        t = tb["ndx"]
        refs = []
        n = 1 if bench or self.full else r.randint(0, 2)
        for ri in range(n):
            targets = [u for u in self.tables if not bench or u == t - 1] or [t]
            u = r.choice(targets)
            fk = Col(len(tb["cols"]))
            fk.name = "fk%d_%d" % (t, ri)
            self.fill_type(fk, "int32")
            fk.noelts = 0
            fk.check = None
            fk.ref = (ri, u, 0)
            fk.usage |= 2
            tb["cols"].append(fk)
            plain = [c.ndx for c in tb["cols"] if not (self.col_type(c) & LOB)]
            sort = [] if bench else [(c, r.choice(list(ORDERS)))
                                     for c in r.sample(plain, r.randint(1 if self.full else 0,
                                                                        min(2, len(plain))))]
            for c, _ in sort:
                tb["cols"][c].usage |= 4
            refs.append({"ndx": ri, "name": "ref%d_%d" % (t, ri), "otabid": u, "pkeyid": 0,
                         "cols": [fk.ndx], "sort": sort,
                         "upd": r.choice(list(REF_ACTIONS)), "del": r.choice(list(REF_ACTIONS)),
                         "dwrid": self.new_drawer("ref", t, ri)})
        tb["refs"] = refs

    # ---- The text.

    def type_obj(self, c):
        o = Obj("type").add("data_type", c.word)
        if c.noelts or (self.full and family(read_type(c.word, True)) in (1, 2, 3)):
            o.add("noelts", c.noelts)
        if c.length is not None:
            o.add("length", c.length)
        if c.scale is not None:
            o.add("scale", c.scale)
        if c.check:
            o.add("checkStr", c.check[0]).add("checkName", c.check[1])
        return o

    def defaults(self, o, c):
        if c.defvalue is not None:
            o.add("defValue", c.defvalue)
        if c.defnull is not None:
            o.add("defNull", c.defnull)

    def text(self):
        db = Obj("database")
        db.add("catver", self.catver).add("dbver", self.dbver).add("name", self.name)
        if self.locale:
            db.add("locale", self.locale)
        db.add("encryption", self.encryption)
        db.add("maxdrawers", self.max_drawer).add("nodrawers", 5 + len(self.drawers))
        db.add("nextdrawer", self.next_drawer)
        db.add("nodoms", len(self.domains)).add("maxdoms", self.maxdoms)
        db.add("maxtabs", self.max_table).add("notabs", 1 + len(self.tables))
        db.add("nexttab", self.next_table)
        drawers = []
        order = sorted(self.drawers)
        self.rnd.shuffle(order)
        for d in order:
            word, tab, src = self.drawers[d]
            drawers.append(Obj("drawer").add("dwrid", d).add("tabid", str(tab))
                           .add("srcid", src).add("type", word))
        db.add("drawers", drawers)
        doms = []
        for i, d in self.domains.items():
            o = Obj("domain").add("domid", i).add("name", d.name).add("type", self.type_obj(d))
            o.add("width", d.width)
            if d.format:
                o.add("format", d.format)
            self.defaults(o, d)
            doms.append(o)
        db.add("domains", doms)
        db.add("tables", [self.table_obj(tb) for tb in self.tables.values()])
        return Obj("top").add("database", db)

    def table_obj(self, tb):
        cols, keys, refs = tb["cols"], tb["keys"], tb["refs"]
        o = Obj("table").add("tabid", tb["ndx"]).add("dwrid", tb["dwrid"])
        o.add("type", tb["type"]).add("name", tb["name"])
        if tb["check"]:
            o.add("checkStr", tb["check"][0]).add("checkName", tb["check"][1])
        o.add("maxrows", tb["maxrows"])
        o.add("nocols", len(cols)).add("nextcol", len(cols)).add("maxcols", len(cols))
        o.add("nokeys", len(keys)).add("nextkey", len(keys)).add("maxkeys", tb["maxkeys"])
        o.add("norefs", len(refs)).add("maxrefs", len(refs))
        o.add("columns", [self.col_obj(c) for c in cols])
        o.add("keys", [self.key_obj(k) for k in keys])
        o.add("refs", [self.ref_obj(rf) for rf in refs])
        return o

    def col_obj(self, c):
        o = Obj("column").add("colid", c.ndx).add("name", c.name)
        if c.domid is not None:
            o.add("domid", str(c.domid))
        else:
            o.add("type", self.type_obj(c))
        if c.dwrid is not None:
            o.add("dwrid", c.dwrid)
        if c.keyid is not None:
            o.add("keyid", c.keyid)
        if c.ref:
            o.add("refid", c.ref[0]).add("r_tabid", str(c.ref[1])).add("r_colid", str(c.ref[2]))
        o.add("usage", c.usage)
        if c.not_null is not None:
            o.add("not_null", c.not_null)
        if c.width:
            o.add("width", c.width)
        if c.format:
            o.add("format", c.format)
        self.defaults(o, c)
        return o

    def key_obj(self, k):
        o = Obj("key").add("keyid", k["ndx"]).add("dwrid", k["dwrid"])
        if k["name"]:
            o.add("name", k["name"])
        o.add("type", k["type"]).add("method", k["method"]).add("restrict", k["restrict"])
        o.add("refcount", k["refcount"]).add("nocols", len(k["elems"]))
        o.add("cols", [Obj("elem").add("colid", str(c)).add("order", d) for c, d in k["elems"]])
        return o

    def ref_obj(self, rf):
        o = Obj("ref").add("refid", rf["ndx"]).add("dwrid", rf["dwrid"]).add("name", rf["name"])
        o.add("otabid", str(rf["otabid"])).add("pkeyid", str(rf["pkeyid"]))
        o.add("on_upd", rf["upd"]).add("on_del", rf["del"])
        o.add("nocols", len(rf["cols"])).add("nosortcols", len(rf["sort"]))
        o.add("cols", [str(c) for c in rf["cols"]])
        o.add("sortcols", [Obj("sort").add("colid", str(c)).add("order", d)
                           for c, d in rf["sort"]])
        return o

    # ---- What a load gives, as the test prints it from the accessors.

    def dump(self):
        out = []
        nrefs = sum(len(tb["refs"]) for tb in self.tables.values())
        out.append("db name=%s locale=%s catver=%d dbver=%d enc=%d drawers=%d,%d,%d "
                   "domains=%d,%d tables=%d,%d,%d refs=%d" % (
                       self.name, self.locale or "-", self.catver, self.dbver,
                       ENCRYPTIONS[self.encryption], self.max_drawer, 5 + len(self.drawers),
                       self.next_drawer, len(self.domains), self.maxdoms, self.max_table,
                       1 + len(self.tables), self.next_table, nrefs))
        served = {}
        table_drawers = {}
        for t, tb in self.tables.items():
            lst = []
            if tb["dwrid"] != -1:
                served[tb["dwrid"]] = "%d" % t
                lst.append(tb["dwrid"])
            for k in tb["keys"]:
                if k["dwrid"] != -1:
                    served[k["dwrid"]] = "%d.%d" % (t, k["ndx"])
                    lst.append(k["dwrid"])
            for rf in tb["refs"]:
                served[rf["dwrid"]] = "%d.%d" % (t, rf["ndx"])
                lst.append(rf["dwrid"])
            for c in tb["cols"]:
                if c.dwrid is not None:
                    served[c.dwrid] = "%d.%d" % (t, c.ndx)
                    lst.append(c.dwrid)
            table_drawers[t] = lst
        for d in sorted(self.drawers):
            word, tab, src = self.drawers[d]
            pos = table_drawers[tab].index(d)
            out.append("drawer %d type=%d src=%d,%d serves=%s pos=%d" % (
                d, DRAWER_TYPES[word], tab, src, served.get(d, "-"), pos))
        for i in sorted(self.domains):
            d = self.domains[i]
            out.append("domain %d name=%s %s width=%d format=%s %s" % (
                i, d.name, self.type_text(d), d.width, d.format or "-",
                self.def_text(d, read_type(d.word, self.unicode))))
        offset = 0
        for t in sorted(self.tables):
            offset += 1
            out += self.table_dump(self.tables[t], offset, table_drawers[t])
        return out

    def type_text(self, c):
        t = read_type(c.word, self.unicode)
        f = family(t)
        size = "-"
        if f in (6, 8) and not t & LOB:
            size = "%d" % c.length
        elif f == 5:
            size = "%d.%d" % (c.length, c.scale)
        elif f == 4 and t != 260:
            size = "%d" % (c.length or 0)
        chk = "%s|%s" % c.check if c.check else "-"
        return "type=%d elems=%d size=%s check=%s" % (t, c.noelts, size, chk)

    def def_text(self, c, t):
        if c.defnull:
            return "def=- st=2"
        if c.defvalue is None:
            return "def=- st=0"
        st = 0 if t == 7 else 1
        return "def=%s st=%d" % (json.dumps(c.defvalue), st)

    def table_dump(self, tb, offset, drawers):
        t = tb["ndx"]
        cols, keys, refs = tb["cols"], tb["keys"], tb["refs"]
        pk = {c for c, _ in keys[0]["elems"]}
        # Row layout.
        byte_len, widest, ptr, hvo = 0, 0, {}, {}
        for c in cols:
            ct = self.col_type(c)
            src = c if c.domid is None else self.domains[c.domid]
            n, a = layout_of(ct, src.noelts, src.length or 0)
            if ct & LOB:
                ptr[c.ndx] = 0
                continue
            ptr[c.ndx] = align(byte_len, a)
            byte_len = ptr[c.ndx] + n
            widest = max(widest, a)
        thvo = byte_len
        for c in cols:
            nullable = c.not_null is None and c.ndx not in pk
            hvo[c.ndx] = byte_len if nullable else 0
            byte_len += 1 if nullable else 0
        byte_len = align(byte_len, widest)
        navl = sum(1 for k in keys if k["method"] == "avl")
        chk = "%s|%s" % tb["check"] if tb["check"] else "-"
        out = ["table %d name=%s offset=%d type=%d drawer=%s maxrows=%d cols=%d,%d,%d "
               "keys=%d,%d,%d refs=%d,%d pkey=0 avls=%d,%d byte_len=%d hvo=%d drawers=%s "
               "check=%s" % (
                   t, tb["name"], offset, TABLE_TYPES[tb["type"]],
                   "-" if tb["dwrid"] == -1 else tb["dwrid"], tb["maxrows"], len(cols),
                   len(cols), len(cols), len(keys), len(keys), tb["maxkeys"], len(refs),
                   len(refs), navl, navl, byte_len, thvo, ",".join(map(str, drawers)) or "-",
                   chk)]
        owner = {}
        for rf in refs:
            for c in rf["cols"]:
                owner[c] = rf
        for c in cols:
            if c.domid is None:
                typ = self.type_text(c)
            else:
                typ = self.type_text(self.domains[c.domid])
            ref = "-"
            if c.ref:
                ref = "%d reftab=%d refcol=%d" % c.ref
            out.append("col %d.%d name=%s %s domain=%s notnull=%d cname=%s width=%d format=%s "
                       "%s keyid=%s key=%s usage=%d ptr=%d hvo=%d drawer=%s ref=%s" % (
                           t, c.ndx, c.name, typ, "-" if c.domid is None else c.domid,
                           c.not_null is not None, c.not_null if c.not_null else "-", c.width,
                           c.format or "-", self.def_text(c, self.col_type(c)),
                           "-" if c.keyid is None else c.keyid,
                           "-" if c.keyid is None else c.keyid, c.usage, ptr[c.ndx],
                           hvo[c.ndx], "-" if c.dwrid is None else c.dwrid, ref))
        avl = 0
        for k in keys:
            name, inline = k["name"], 0
            if not name:
                name, inline = "_".join(cols[c].name for c, _ in k["elems"]), 1
            a = 0
            if k["method"] == "avl":
                a, avl = avl, avl + 1
            out.append("key %d.%d name=%s type=%d method=%d restr=%d refcount=%d drawer=%s "
                       "inline=%d avl=%d elems=%s" % (
                           t, k["ndx"], name, KEY_TYPES[k["type"]], KEY_METHODS[k["method"]],
                           k["restrict"], k["refcount"], "-" if k["dwrid"] == -1 else k["dwrid"],
                           inline, a, ",".join("%d%s" % (c, ORDERS[d]) for c, d in k["elems"])))
        for rf in refs:
            write = {"noval": 0, "restrict": 0, "set null": 1}.get(rf["upd"])
            if write is None:  # cascade
                first = rf["cols"][0]
                write = int(any(cols[c].usage & 1 for c in rf["cols"]) or
                            any(c == first for c, _ in rf["sort"]))
            out.append("ref %d.%d name=%s reftab=%d refkey=%d drawer=%d upd=%d del=%d cols=%s "
                       "sort=%s write=%d" % (
                           t, rf["ndx"], rf["name"], rf["otabid"], rf["pkeyid"], rf["dwrid"],
                           REF_ACTIONS[rf["upd"]], REF_ACTIONS[rf["del"]],
                           ",".join(map(str, rf["cols"])),
                           ",".join("%d%s" % (c, ORDERS[d]) for c, d in rf["sort"]) or "-",
                           write))
        return out


# ---- Mutations: one per key of a catalogue that has them all.

# (object kind, key) -> mutations as (label, function of the object and the
# pair's position giving the new value or None to drop a duplicate in, code).
def bound_cases(cat):
    tb = cat.tables[min(cat.tables)]
    max_col = len(tb["cols"])
    return {
        ("database", "catver"): [2**32], ("database", "dbver"): [2**32],
        ("database", "maxdrawers"): [4], ("database", "nodrawers"): [2**32],
        ("database", "nextdrawer"): [cat.max_drawer + 1], ("database", "nodoms"): [65536],
        ("database", "maxdoms"): [65536], ("database", "maxtabs"): [0, 65536],
        ("database", "notabs"): [65536], ("database", "nexttab"): [cat.max_table + 1],
        ("drawer", "dwrid"): [4294967295, -1, 1, 4], ("drawer", "tabid"): ["65535"],
        ("drawer", "srcid"): [65535], ("domain", "domid"): [65536, -1],
        ("domain", "width"): [256], ("type", "noelts"): [65536], ("type", "length"): [65536],
        ("type", "scale"): [256], ("table", "tabid"): [0, 65536], ("table", "dwrid"): [-2],
        ("table", "nocols"): [65536], ("table", "nextcol"): [65536],
        ("table", "maxcols"): [65536], ("table", "nokeys"): [65536],
        ("table", "nextkey"): [65536], ("table", "maxkeys"): [65536],
        ("table", "norefs"): [65536], ("table", "maxrefs"): [65536],
        ("column", "colid"): [65536, max_col], ("column", "domid"): ["65536", "x1"],
        ("column", "keyid"): [len(tb["keys"])], ("column", "refid"): [65536],
        ("column", "r_tabid"): ["65536"], ("column", "r_colid"): ["65536"],
        ("column", "dwrid"): [-1], ("column", "width"): [256],
        ("key", "keyid"): [65536], ("key", "dwrid"): [-2], ("key", "refcount"): [-1],
        ("key", "nocols"): [65536], ("elem", "colid"): ["65536", "-1"],
        ("ref", "refid"): [65536], ("ref", "dwrid"): [-1], ("ref", "otabid"): ["65536"],
        ("ref", "pkeyid"): ["65536"], ("ref", "nocols"): [65536],
        ("ref", "nosortcols"): [65536], ("sort", "colid"): ["65536"],
    }


# Bounds of the final linking: a column's links past their bounds give eRANGE.
def range_cases(cat):
    return {("column", "refid"): [5], ("column", "r_tabid"): [str(cat.next_table)],
            ("column", "r_colid"): ["999"]}


WORD_KEYS = {("database", "encryption"): "default", ("drawer", "type"): "nosuch",
             ("type", "data_type"): "integer", ("table", "type"): "nosuch",
             ("key", "type"): "nosuch", ("key", "method"): "nosuch", ("elem", "order"): "up",
             ("ref", "on_upd"): "nosuch", ("ref", "on_del"): "nosuch", ("sort", "order"): "up"}


def objects(v, out):
    if isinstance(v, Obj):
        out.append(v)
        for _, x in v:
            objects(x, out)
    elif isinstance(v, list):
        for x in v:
            objects(x, out)
    return out


def first_with(top, kind, key, want=None):
    for o in objects(top, []):
        if o.kind != kind:
            continue
        for i, (k, x) in enumerate(o):
            if k == key and (want is None or want(o, x)):
                return o, i
    return None, None


def wrong_type(x):
    if isinstance(x, bool):
        return "true"
    if isinstance(x, int):
        return str(x)
    if isinstance(x, str):
        return int(x) if x.isdigit() else 1
    return 1


def mutations(cat):
    top = cat.text()
    base = strict(top)
    cases = []
    keys = []
    for o in objects(top, []):
        for k, _ in o:
            if o.kind != "top" and (o.kind, k) not in keys:
                keys.append((o.kind, k))
    assert len(keys) == 90, len(keys)

    def emit(label, kind, key, value, code, dup=False, want=None):
        o, i = first_with(top, kind, key, want)
        assert o is not None, (kind, key)
        saved = list(o)
        if dup:
            o.insert(i + 1, o[i])
        else:
            o[i] = (key, value)
        text = strict(top)
        o[:] = saved
        # As a patch of the unmutated text: the span that differs.
        head = 0
        while head < min(len(base), len(text)) and base[head] == text[head]:
            head += 1
        tail = 0
        while (tail < min(len(base), len(text)) - head and
               base[len(base) - 1 - tail] == text[len(text) - 1 - tail]):
            tail += 1
        cases.append((label, code, head, len(base) - head - tail,
                      text[head:len(text) - tail]))

    bounds, ranges = bound_cases(cat), range_cases(cat)
    for kind, key in keys:
        o, i = first_with(top, kind, key)
        name = "%s.%s" % (kind, key)
        emit(name + " wrong type", kind, key, wrong_type(o[i][1]), "eBADCAT")
        emit(name + " twice", kind, key, None, "eBADCAT", dup=True)
        for v in bounds.get((kind, key), []):
            emit("%s = %s" % (name, json.dumps(v)), kind, key, v, "eBADCAT")
        for v in ranges.get((kind, key), []):
            emit("%s = %s" % (name, json.dumps(v)), kind, key, v, "eRANGE")
        if (kind, key) in WORD_KEYS:
            w = WORD_KEYS[(kind, key)]
            emit("%s = %s" % (name, json.dumps(w)), kind, key, w, "eBADCAT")
    return base, cases


def main():
    here = os.path.dirname(os.path.abspath(__file__))
    if len(sys.argv) == 5 and sys.argv[1] == "--bench":
        cat = Catalog(random.Random(1000), True, bench=(int(sys.argv[2]), int(sys.argv[3])))
        with open(sys.argv[4], "w") as f:
            f.write(strict(cat.text()) + "\n")
        return
    rnd = random.Random(20240518)
    with open(os.path.join(here, "good-catalogs.txt"), "w") as f:
        f.write("# Generated by gen_catalogs.py: a catalogue, its relaxed form, and the\n"
                "# dump of what a load gives. Sections: '== strict|relaxed N unicode U',\n"
                "# the text, '-- dump', the dump lines, '-- end'.\n")
        for n in range(16):
            unicode_enabled = n % 2
            cat = Catalog(random.Random(rnd.random()), unicode_enabled, full=(n == 0))
            dump = "\n".join(cat.dump())
            texts = [("strict", json.dumps(json.loads(strict(cat.text())), indent=1)
                      if n % 4 == 0 else strict(cat.text())),
                     ("relaxed", relaxed(cat.text(), random.Random(n)))]
            for kind, text in texts:
                f.write("== %s %d unicode %d\n%s\n-- dump\n%s\n-- end\n" % (
                    kind, n, unicode_enabled, text, dump))
    full = Catalog(random.Random(7), True, full=True)
    with open(os.path.join(here, "bad-catalogs.txt"), "w") as f:
        base, cases = mutations(full)
        f.write("# Generated by gen_catalogs.py: one mutation per key of the catalogue on\n"
                "# the next line, which holds every key. Then one line per mutation: the\n"
                "# code a load gives, the place and length of the span replaced, the\n"
                "# replacement (a JSON string) and what the mutation is.\n")
        f.write(base + "\n")
        for label, code, at, n, repl in cases:
            f.write("%s %d %d %s %s\n" % (code, at, n, json.dumps(repl), label))


if __name__ == "__main__":
    main()
