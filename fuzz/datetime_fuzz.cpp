// Fuzz target of the date and time text parsers. Every parser runs on the
// input; a value that parses is printed in the library's own form and parsed
// again, and must come back equal. The first byte picks the date format.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include "datetime.h"

namespace {

void dt_fuzzCheck(bool ok) {
    if (!ok) __builtin_trap();
}

// Dates past the calendar print as day 1, and day 0 not at all: no round trip.
bool dt_fuzzInCalendar(ZEL_PACKED_DATE_T d) {
    return d >= 1 && d <= ZEL_DATE_MAX;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size == 0) return 0;
    const auto fmt = static_cast<ZEL_DATE_FORMAT>(data[0] % 4);  // 0 is an invalid format
    std::vector<char> text(data + 1, data + size);
    text.push_back('\0');
    const char *s = text.data();
    const ZEL_DATE_FORMAT pf = fmt == 0 ? ZEL_YYYYMMDD : fmt;  // the format to print and reread
    char buf[96];
    size_t n;

    ZEL_PACKED_DATE_T d, d2;
    if (zel_dateFromString(s, fmt, &d) == sOKAY && dt_fuzzInCalendar(d)) {
        dt_fuzzCheck(zel_dateToString(d, pf, '/', buf, sizeof buf, &n) == sOKAY);
        dt_fuzzCheck(zel_dateFromString(buf, pf, &d2) == sOKAY && d2 == d);
    }

    ZEL_PACKED_TIME_T t, t2;
    if (zel_timeFromString(s, &t) == sOKAY) {
        dt_fuzzCheck(t < ZEL_TIME_UNITS_PER_DAY);
        dt_fuzzCheck(zel_timeToString(t, ZEL_HHMMSSFFFF, buf, sizeof buf, &n) == sOKAY);
        dt_fuzzCheck(zel_timeFromString(buf, &t2) == sOKAY && t2 == t);
    }

    ZEL_PACKED_TIMETZ_T tz, tz2;
    if (zel_timetzFromString(s, &tz) == sOKAY) {
        dt_fuzzCheck(zel_timetzToString(tz, ZEL_HHMMSSFFFF, buf, sizeof buf, &n) == sOKAY);
        dt_fuzzCheck(zel_timetzFromString(buf, &tz2) == sOKAY && tz2.time == tz.time &&
                     tz2.tz == tz.tz);
    }

    ZEL_PACKED_TIMESTAMP_T ts, ts2;
    if (zel_timestampFromString(s, fmt, &ts) == sOKAY && dt_fuzzInCalendar(ts.date)) {
        dt_fuzzCheck(zel_timestampToString(ts, pf, '-', ZEL_HHMMSSFFFF, buf, sizeof buf, &n) ==
                     sOKAY);
        dt_fuzzCheck(zel_timestampFromString(buf, pf, &ts2) == sOKAY && ts2.date == ts.date &&
                     ts2.time == ts.time);
    }

    ZEL_PACKED_TIMESTAMPTZ_T tsz, tsz2;
    if (zel_timestamptzFromString(s, fmt, &tsz) == sOKAY) {
        ZEL_PACKED_TIMESTAMP_T local;
        dt_fuzzCheck(zel_timestamptzToTimestamp(tsz, tsz.tz, &local) == sOKAY);
        if (dt_fuzzInCalendar(tsz.date) && dt_fuzzInCalendar(local.date)) {
            dt_fuzzCheck(zel_timestamptzToString(tsz, pf, '.', ZEL_HHMMSSFFFF, buf, sizeof buf,
                                                 &n) == sOKAY);
            dt_fuzzCheck(zel_timestamptzFromString(buf, pf, &tsz2) == sOKAY &&
                         tsz2.date == tsz.date && tsz2.time == tsz.time && tsz2.tz == tsz.tz);
        }
    }

    int16_t zone;
    (void)zel_timezoneFromString(s, &zone);
    ZEL_DATE_FORMAT df;
    char sep;
    if (zel_dateParseFormatString(s, &df, &sep) == sOKAY) {
        dt_fuzzCheck(zel_dateValidateFormat(df) == sOKAY &&
                     zel_dateValidateSeparator(sep) == sOKAY);
    }
    ZEL_TIME_FORMAT tf;
    if (zel_timeParseFormatString(s, &tf) == sOKAY)
        dt_fuzzCheck(zel_timeValidateFormat(tf) == sOKAY);
    return 0;
}
