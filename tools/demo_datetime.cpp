// The date and time section of `zelbase demo`: day numbers, weekdays, leap
// years, the lenient 31 February, zone shifts and the text forms.
#include <cstdio>
#include <initializer_list>

#include "datetime.h"
#include "zelbase_cmds.h"

int zb_demo_datetime(FILE *out);

namespace {

bool zb_dt_ok(ZEL_RETCODE rc, FILE *out, const char *what) {
    if (rc >= 0) return true;
    std::fprintf(out, "  %s failed: %d\n", what, static_cast<int>(rc));
    return false;
}

}  // namespace

int zb_demo_datetime(FILE *out) {
    char a[64], b[64];
    ZEL_PACKED_DATE_T d1, d2;
    if (!zb_dt_ok(zel_dateFromString("2000-01-01", ZEL_YYYYMMDD, &d1), out, "date") ||
        !zb_dt_ok(zel_dateFromString("Jul20, 1969", ZEL_YYYYMMDD, &d2), out, "date")) {
        return 1;
    }
    std::fprintf(out,
                 "  A date is a day number: 2000-01-01 is day %u, a %s (weekday %u, 1 = Sunday).\n",
                 d1, zel_dateDayName(d1), zel_dateDayOfWeek(d1));
    if (!zb_dt_ok(zel_dateToString(d2, ZEL_DDMMYYYY, '.', a, sizeof a, nullptr), out, "print")) {
        return 1;
    }
    std::fprintf(out, "  \"Jul20, 1969\" reads as %s, day %u: %u days before the millennium.\n", a,
                 d2, d1 - d2);

    std::fprintf(out, "  February has");
    for (int32_t y : {1900, 2000, 2023, 2024, 2100}) {
        ZEL_DATE_T f{y, 2, 1}, m{y, 3, 1};
        ZEL_PACKED_DATE_T pf, pm;
        if (!zb_dt_ok(zel_datePack(&f, &pf), out, "pack") ||
            !zb_dt_ok(zel_datePack(&m, &pm), out, "pack")) {
            return 1;
        }
        std::fprintf(out, " %u days in %d%s", pm - pf, y, y == 2100 ? ".\n" : ",");
    }

    ZEL_PACKED_DATE_T feb31;
    if (!zb_dt_ok(zel_dateFromString("2023-02-31", ZEL_YYYYMMDD, &feb31), out, "date") ||
        !zb_dt_ok(zel_dateToString(feb31, ZEL_YYYYMMDD, '-', a, sizeof a, nullptr), out, "print")) {
        return 1;
    }
    std::fprintf(out, "  2023-02-31 is counted on, not refused: it is %s.\n", a);
    std::fprintf(out, "  Weeks run from 1 January: 2023-12-31 is in week %u, day %u of the year.\n",
                 zel_dateWeek(feb31 + 303), zel_dateDayOfYear(feb31 + 303));

    ZEL_PACKED_TIMESTAMPTZ_T tsz;
    if (!zb_dt_ok(zel_timestamptzFromString("2021-01-01 00:30:00 +01:00", ZEL_YYYYMMDD, &tsz), out,
                  "timestamp") ||
        !zb_dt_ok(zel_timestamptzToString(tsz, ZEL_YYYYMMDD, '-', ZEL_HHMMSS, a, sizeof a, nullptr),
                  out, "print")) {
        return 1;
    }
    ZEL_PACKED_TIMESTAMPTZ_T utc = tsz;
    utc.tz = 0;
    if (!zb_dt_ok(zel_timestamptzToString(utc, ZEL_YYYYMMDD, '-', ZEL_HHMMSS, b, sizeof b, nullptr),
                  out, "print")) {
        return 1;
    }
    std::fprintf(out, "  %s is kept as the instant %s, so zoned values sort as instants.\n", a, b);

    ZEL_PACKED_TIME_T t;
    if (!zb_dt_ok(zel_timeFromString("01:15:30.5pm", &t), out, "time")) return 1;
    std::fprintf(out, "  \"01:15:30.5pm\" is %u units (the .5 is five ten-thousandths):", t);
    for (int f = ZEL_HHMMSS; f <= ZEL_HHMMSSFFFF; f++) {
        if (!zb_dt_ok(zel_timeToString(t, static_cast<ZEL_TIME_FORMAT>(f), a, sizeof a, nullptr),
                      out, "print")) {
            return 1;
        }
        std::fprintf(out, " %s", a);
    }
    std::fprintf(out, "\n");
    return 0;
}
