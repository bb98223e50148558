#!/usr/bin/env python3
"""Vectors for the date and time tests, with Python's datetime as the oracle.

Run from this directory:  python3 gen_datetime.py
Writes good-datetime-dates.txt, good-datetime-times.txt,
good-datetime-zones.txt and good-datetime-text.txt. The seed is fixed, so
running it again gives the same files.

date.toordinal() counts days exactly as the library does (1 January of year 1
is day 1). Left out on purpose, because the library departs from Python there:
  - day 31 of a short month and 29 February of a common year: the library packs
    them by counting on into the next month, Python refuses them;
  - years above 9999: the library packs them to numbers past its calendar;
  - fraction text: the library reads ".5" as 5 ten-thousandths (a whole
    number of units), not as half a second, so only four-digit fractions,
    where both readings agree, are written here;
  - the library's own textual forms: a month word glued to the day
    ("Jan5, 2021"), am/pm directly after the time, mixed separators, and the
    ISO "T" between date and time, which the library refuses;
  - day of week and week of year follow the library's numbering (1 is Sunday;
    week 1 is days 1-7 of the year whatever their weekday), derived here from
    isoweekday() and the day of the year, not from isocalendar();
  - zone shifts that leave the calendar (before year 1, after 9999).
"""
import random
from datetime import date, datetime, time, timedelta, timezone

random.seed(20261122)
UNIT = timedelta(microseconds=100)  # one ten-thousandth of a second


def day_line(d):
    """day-number year month day weekday(1=Sunday) day-of-year week quarter"""
    n = d.toordinal()
    dow = d.isoweekday() % 7 + 1
    doy = d.timetuple().tm_yday
    return "%d %d %d %d %d %d %d %d" % (
        n, d.year, d.month, d.day, dow, doy, (doy - 1) // 7 + 1, (d.month + 2) // 3)


def month_ends(year):
    for m in range(1, 13):
        if m == 12:
            yield date(year, 12, 31)
        else:
            yield date(year, m + 1, 1) - timedelta(days=1)


def gen_dates():
    days = set()
    # Every year: the last day of February and 1 March (every leap-year
    # boundary of the whole range).
    for y in range(1, 10000):
        days.add(date(y, 3, 1) - timedelta(days=1))
        days.add(date(y, 3, 1))
    # Every month end in dense stretches: the start, the Gregorian reform,
    # the century years 1900, 2000, 2100 and the end of the range.
    dense = (list(range(1, 41)) + list(range(1575, 1605)) + list(range(1895, 1905)) +
             list(range(1965, 2110)) + list(range(2395, 2405)) + list(range(9960, 10000)))
    for y in dense:
        days.update(month_ends(y))
    for _ in range(3000):
        days.add(date.fromordinal(random.randint(1, date.max.toordinal())))
    with open("good-datetime-dates.txt", "w") as f:
        f.write("# day-number year month day weekday(1=Sunday) day-of-year week quarter\n")
        for d in sorted(days):
            f.write(day_line(d) + "\n")


def gen_times():
    """text units, then the text printed at each of the seven formats"""
    cases = [(0, 0, 0, 0), (23, 59, 59, 9999), (12, 0, 0, 0), (0, 0, 0, 1), (9, 5, 7, 1230),
             (13, 45, 0, 9), (23, 0, 0, 90), (1, 2, 3, 999)]
    for _ in range(400):
        cases.append((random.randint(0, 23), random.randint(0, 59), random.randint(0, 59),
                      random.randint(0, 9999)))
    with open("good-datetime-times.txt", "w") as f:
        f.write("# text|units|HH|HH:MM|HH:MM:SS|HH:MM:SS.F|HH:MM:SS.FF|HH:MM:SS.FFF|"
                "HH:MM:SS.FFFF\n")
        for h, m, s, frac in cases:
            t = time(h, m, s, frac * 100)
            units = (datetime.combine(date(2000, 1, 1), t) -
                     datetime(2000, 1, 1)) // UNIT
            us = "%06d" % t.microsecond
            text = t.strftime("%H:%M:%S.") + us[:4]
            prints = [t.strftime("%H"), t.strftime("%H:%M"), t.strftime("%H:%M:%S")]
            prints += [t.strftime("%H:%M:%S.") + us[:k] for k in (1, 2, 3, 4)]
            f.write("|".join([text, str(units)] + prints) + "\n")


def tz_text(minutes):
    a = abs(minutes)
    return "%s%02d:%02d" % ("+" if minutes >= 0 else "-", a // 60, a % 60)


def gen_zones():
    """local-text zone minutes, then the UTC day number and time units"""
    zones = [0, 60, -60, 330, 345, -570, 840, -840, 765, -1, 1, 599, -599]
    locals_ = [datetime(2021, 1, 1, 0, 30), datetime(2020, 12, 31, 23, 30),
               datetime(2000, 2, 29, 23, 59, 59, 999900), datetime(1900, 3, 1, 0, 0),
               datetime(2100, 2, 28, 22, 15), datetime(1582, 10, 15, 1, 0),
               datetime(1970, 1, 1, 0, 0), datetime(9999, 12, 31, 9, 0),
               datetime(1, 1, 1, 15, 0)]
    for _ in range(300):
        d = date.fromordinal(random.randint(2, date.max.toordinal() - 1))
        locals_.append(datetime(d.year, d.month, d.day, random.randint(0, 23),
                                random.randint(0, 59), random.randint(0, 59),
                                random.randint(0, 9999) * 100))
    with open("good-datetime-zones.txt", "w") as f:
        f.write("# local-timestamp|zone|zone-minutes|utc-day-number|utc-units\n")
        for i, local in enumerate(locals_):
            for z in (zones if i < 9 else [random.choice(zones + [random.randint(-840, 840)])]):
                try:
                    utc = local.replace(tzinfo=timezone(timedelta(minutes=z))).astimezone(
                        timezone.utc)
                except OverflowError:
                    continue  # leaves the calendar
                units = (utc.replace(tzinfo=None) -
                         datetime.combine(utc.date(), time())) // UNIT
                # %Y of strftime drops the leading zeros of small years.
                text = "%04d-%02d-%02d %02d:%02d:%02d.%04d" % (
                    local.year, local.month, local.day, local.hour, local.minute,
                    local.second, local.microsecond // 100)
                f.write("%s|%s|%d|%d|%d\n" % (text, tz_text(z), z, utc.toordinal(), units))


def gen_text():
    """text|date-format(1 MDY, 2 YMD, 3 DMY)|day-number: the numeric forms with
    each separator, and month words (full and short, any case) as the library
    writes them, the day glued to the word."""
    lines = []
    for _ in range(400):
        d = date.fromordinal(random.randint(1, date.max.toordinal()))
        n = d.toordinal()
        sep = random.choice("-/.")
        y = "%04d" % d.year
        lines.append(("%s%s%02d%s%02d" % (y, sep, d.month, sep, d.day), 2, n))
        lines.append(("%02d%s%02d%s%s" % (d.month, sep, d.day, sep, y), 1, n))
        lines.append(("%d%s%d%s%d" % (d.day, sep, d.month, sep, d.year), 3, n))
        word = d.strftime(random.choice(["%B", "%b"]))
        word = random.choice([word, word.upper(), word.lower()])
        form = random.choice(["%s%d, %d", "%s%d %d", "%s%d,%d"])
        lines.append((form % (word, d.day, d.year), random.randint(1, 3), n))
    with open("good-datetime-text.txt", "w") as f:
        f.write("# text|date-format|day-number\n")
        for text, fmt, n in lines:
            f.write("%s|%d|%d\n" % (text, fmt, n))


if __name__ == "__main__":
    gen_dates()
    gen_times()
    gen_zones()
    gen_text()
