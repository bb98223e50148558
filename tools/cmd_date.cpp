// `zelbase date [--format=YYYY-MM-DD] [--zone=+HH:MM] [TEXT]`: without TEXT,
// today's date, time and timestamp in the library's formats; with TEXT, the
// value it reads as (a timestamp or time with a zone, a timestamp, a date or a
// time), printed back with its day number, day of week and week of year.
#include <cstdio>
#include <cstring>
#include <string>

#include "datetime.h"
#include "error.h"
#include "zelbase_cmds.h"

int zb_cmd_date(int argc, char **argv);

namespace {

int zb_date_fail(const char *what, ZEL_RETCODE rc) {
    const char *msg = nullptr, *name = nullptr;
    if (zelErrorCodeDef(rc, &msg, &name) != sOKAY) name = msg = "?";
    std::fprintf(stderr, "zelbase date: %s: %s (%s, %d)\n", what, msg, name, static_cast<int>(rc));
    return 1;
}

void zb_date_dayLine(ZEL_PACKED_DATE_T d) {
    std::printf("  day number   %u%s\n", static_cast<unsigned>(d),
                d > ZEL_DATE_MAX ? " (past 31 December 9999: its parts read as day 1)" : "");
    std::printf("  day of week  %u (%s; 1 is Sunday)\n", zel_dateDayOfWeek(d), zel_dateDayName(d));
    std::printf("  week of year %u (weeks counted from 1 January), day of year %u\n",
                zel_dateWeek(d), zel_dateDayOfYear(d));
}

void zb_date_timeLine(ZEL_PACKED_TIME_T t) {
    std::printf("  time units   %u (ten-thousandths of a second since midnight)\n",
                static_cast<unsigned>(t));
}

struct ZbDateOptions {
    ZEL_DATE_FORMAT fmt = ZEL_YYYYMMDD;
    char sep = '-';
    int16_t zone = 0;
};

int zb_date_now(const ZbDateOptions &o) {
    ZEL_PACKED_TIMESTAMP_T ts;
    ZEL_PACKED_TIMESTAMPTZ_T tsz;
    ZEL_RETCODE rc = zel_timestampNow(o.zone, &ts);
    if (rc == sOKAY) rc = zel_timestamptzNow(o.zone, &tsz);
    if (rc != sOKAY) return zb_date_fail("clock", rc);
    char d[32], t[32], s[48], z[64];
    if (zel_dateToString(ts.date, o.fmt, o.sep, d, sizeof d, nullptr) != sOKAY ||
        zel_timeToString(ts.time, ZEL_HHMMSSFFFF, t, sizeof t, nullptr) != sOKAY ||
        zel_timestampToString(ts, o.fmt, o.sep, ZEL_HHMMSSFFFF, s, sizeof s, nullptr) != sOKAY ||
        zel_timestamptzToString(tsz, o.fmt, o.sep, ZEL_HHMMSSFFFF, z, sizeof z, nullptr) != sOKAY) {
        return zb_date_fail("printing", eFAIL);
    }
    std::printf("date                     %s\n", d);
    std::printf("time                     %s\n", t);
    std::printf("timestamp                %s\n", s);
    std::printf("timestamp with time zone %s\n", z);
    zb_date_dayLine(ts.date);
    return 0;
}

int zb_date_text(const char *text, const ZbDateOptions &o) {
    char out[64];
    // The most specific reading first: with a zone, then without.
    ZEL_PACKED_TIMESTAMPTZ_T tsz;
    if (zel_timestamptzFromString(text, o.fmt, &tsz) == sOKAY) {
        (void)zel_timestamptzToString(tsz, o.fmt, o.sep, ZEL_HHMMSSFFFF, out, sizeof out, nullptr);
        std::printf("timestamp with time zone %s\n", out);
        ZEL_PACKED_TIMESTAMPTZ_T utc = tsz;
        utc.tz = 0;
        (void)zel_timestamptzToString(utc, o.fmt, o.sep, ZEL_HHMMSSFFFF, out, sizeof out, nullptr);
        std::printf("  in UTC       %s (stored: date %u, time %u, tz %d)\n", out, tsz.date,
                    tsz.time, tsz.tz);
        ZEL_PACKED_TIMESTAMP_T local;
        if (zel_timestamptzToTimestamp(tsz, tsz.tz, &local) == sOKAY) zb_date_dayLine(local.date);
        return 0;
    }
    ZEL_PACKED_TIMETZ_T tmz;
    if (zel_timetzFromString(text, &tmz) == sOKAY) {
        (void)zel_timetzToString(tmz, ZEL_HHMMSSFFFF, out, sizeof out, nullptr);
        std::printf("time with time zone %s\n", out);
        std::printf("  stored       time %u in UTC, tz %d\n", tmz.time, tmz.tz);
        return 0;
    }
    ZEL_PACKED_DATE_T d;
    const bool hasDate = zel_dateFromString(text, o.fmt, &d) == sOKAY;
    ZEL_PACKED_TIMESTAMP_T ts;
    const ZEL_RETCODE rc = zel_timestampFromString(text, o.fmt, &ts);
    if (rc != sOKAY) {
        return zb_date_fail(hasDate ? "not a valid timestamp" : "not a date or time", rc);
    }
    if (!hasDate) {
        (void)zel_timeToString(ts.time, ZEL_HHMMSSFFFF, out, sizeof out, nullptr);
        std::printf("time %s\n", out);
        zb_date_timeLine(ts.time);
        return 0;
    }
    if (std::strchr(text, ':') == nullptr &&
        zel_dateToString(d, o.fmt, o.sep, out, sizeof out, nullptr) == sOKAY) {
        std::printf("date %s (%s %s)\n", out, zel_dateMonthName(d), zel_dateDayName(d));
        zb_date_dayLine(d);
        return 0;
    }
    if (zel_timestampToString(ts, o.fmt, o.sep, ZEL_HHMMSSFFFF, out, sizeof out, nullptr) !=
        sOKAY) {
        // A year past 9999 reads but does not print.
        return zb_date_fail("outside the calendar", eBASE_INVDATE);
    }
    std::printf("timestamp %s\n", out);
    zb_date_dayLine(ts.date);
    zb_date_timeLine(ts.time);
    return 0;
}

}  // namespace

int zb_cmd_date(int argc, char **argv) {
    const ZEL_CMDLINE_OPT opts[] = {
        {"f", "format", "s:FORMAT", "YYYY-MM-DD (the default), MM/DD/YYYY or DD.MM.YYYY"},
        {"z", "zone", "s:ZONE", "The zone of today's values, as +HH:MM or -HH:MM"},
        {"T", nullptr, "*:TEXT",
         "A date, time or timestamp, with or without a zone; several words make one text"},
        {nullptr, nullptr, nullptr, nullptr}};
    ZEL_CMDLINE cmd;
    if (int code = zb_cmdline(&cmd, argc, argv,
                              "Without TEXT, today's date, time and timestamp in the library's "
                              "formats;\nwith TEXT, the value it reads as, printed back with "
                              "its day number, day\nof week and week of year.",
                              opts);
        code != kZbGoOn)
        return code;
    ZbDateOptions o;
    std::string text;
    bool haveText = false;
    const char *arg = nullptr;
    for (const char *name; (name = zel_cmdlineNextLongOption(&cmd, &arg)) != nullptr;) {
        if (std::strcmp(name, "format") == 0) {
            if (zel_dateParseFormatString(arg, &o.fmt, &o.sep) != sOKAY)
                return zb_usageError("Unknown date format '%s'", arg);
        } else if (std::strcmp(name, "zone") == 0) {
            ZEL_PACKED_TIMETZ_T probe;
            if (zel_timezoneFromString(arg, &o.zone) != sOKAY ||
                zel_timetzNow(o.zone, &probe) != sOKAY)
                return zb_usageError("Not a time zone: '%s'", arg);
        } else {
            // Several words make one text: `zelbase date Jan5, 2021 10:00:00`.
            if (haveText) text += ' ';
            text += arg;
            haveText = true;
        }
    }
    return haveText ? zb_date_text(text.c_str(), o) : zb_date_now(o);
}
