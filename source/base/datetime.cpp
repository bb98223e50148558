/*
 * datetime.cpp - dates, times, timestamps and fixed-offset zones.
 *
 * A date is a day number on the proleptic Gregorian calendar (day 1 is
 * 1 January of year 1) and a time a count of ten-thousandths of a second since
 * midnight, so packed values compare as plain integers. The one idea: every
 * calendar question reduces to makeDate (fields to day number, a closed
 * formula) and queryDate (day number to fields, done on a calendar that starts
 * the year on 1 March so that the leap day falls at the end). Zones are fixed
 * offsets in minutes; a shift moves the time and carries at most one day.
 * Nothing here allocates except the two format-string makers.
 */
#include "datetime.h"

#include <cstddef>
#include <cstdint>

#include "format.h"
#include "psp.h"
#include "tag_sub.h"
#include "utf8buff.h"

static_assert(sizeof(ZEL_PACKED_DATE_T) == 4 && sizeof(ZEL_PACKED_TIME_T) == 4);
static_assert(sizeof(ZEL_PACKED_TIMESTAMP_T) == 8);
static_assert(offsetof(ZEL_PACKED_TIMESTAMP_T, date) == 0);
static_assert(offsetof(ZEL_PACKED_TIMESTAMP_T, time) == 4);
static_assert(sizeof(ZEL_PACKED_TIMETZ_T) == 8);
static_assert(offsetof(ZEL_PACKED_TIMETZ_T, time) == 0);
static_assert(offsetof(ZEL_PACKED_TIMETZ_T, tz) == 4);
static_assert(sizeof(ZEL_PACKED_TIMESTAMPTZ_T) == 12);
static_assert(offsetof(ZEL_PACKED_TIMESTAMPTZ_T, date) == 0);
static_assert(offsetof(ZEL_PACKED_TIMESTAMPTZ_T, time) == 4);
static_assert(offsetof(ZEL_PACKED_TIMESTAMPTZ_T, tz) == 8);

namespace {

constexpr uint32_t kUnitsPerHour = 3600u * ZEL_TIME_UNITS_PER_SEC;
constexpr uint32_t kUnitsPerDay = ZEL_TIME_UNITS_PER_DAY;
constexpr uint32_t kUnitsPerMin = ZEL_TIME_UNITS_PER_MIN;
static_assert(24u * kUnitsPerHour == kUnitsPerDay && 60u * ZEL_TIME_UNITS_PER_SEC == kUnitsPerMin);

constexpr uint16_t daysPerMonth[12] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
// Days of a common year before each month.
struct DtMonthStarts {
    uint16_t days[12];
};
constexpr DtMonthStarts daysBeforeMonth = [] {
    DtMonthStarts r{};
    for (int m = 1; m < 12; m++)
        r.days[m] = static_cast<uint16_t>(r.days[m - 1] + daysPerMonth[m - 1]);
    return r;
}();
static_assert(daysBeforeMonth.days[2] == 59 && daysBeforeMonth.days[11] == 334);
constexpr const char *monthNames[12] = {"January",   "February", "March",    "April",
                                        "May",       "June",     "July",     "August",
                                        "September", "October",  "November", "December"};
constexpr const char *monthAbbrev[12] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                         "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
// Indexed by day number modulo 7: day 1 (1 January of year 1) was a Monday.
constexpr const char *dayNames[7] = {"Sunday",   "Monday", "Tuesday", "Wednesday",
                                     "Thursday", "Friday", "Saturday"};
constexpr const char *dayAbbreviations[7] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};

// One row per ZEL_TIME_FORMAT, value 1 at index 0.
struct DtTimeFormat {
    const char *name;   // in timeFormats
    uint8_t fields;     // hours; hours and minutes; hours, minutes and seconds
    uint8_t fracWidth;  // digits after the point, 0 for none
    uint16_t fracDiv;   // fraction / fracDiv is printed, truncating
};
constexpr DtTimeFormat timeFormats[7] = {{"HH", 1, 0, 1},
                                         {"HH:MM", 2, 0, 1},
                                         {"HH:MM:SS", 3, 0, 1},
                                         {"HH:MM:SS.F", 3, 1, 1000},
                                         {"HH:MM:SS.FF", 3, 2, 100},
                                         {"HH:MM:SS.FFF", 3, 3, 10},
                                         {"HH:MM:SS.FFFF", 3, 4, 1}};

// ---- Calendar.

constexpr bool dt_isLeapYear(int64_t year) {
    const int64_t r = year % 400;
    return year % 4 == 0 && r != 100 && r != 200 && r != 300;
}

// Day number of a date; month 1 to 12. Wide so that no year overflows; the
// divisions truncate as in C, which matters only for year 0.
constexpr int64_t dt_makeDate(int64_t year, unsigned month, int64_t day) {
    const int64_t y = year - 1;
    return 365 * y + y / 4 - y / 100 + y / 400 + daysBeforeMonth.days[month - 1] +
           (month > 2 && dt_isLeapYear(year) ? 1 : 0) + day;
}

struct DtYmd {
    int32_t year;
    uint16_t month;
    uint16_t day;
};

// Day number to fields. A number above ZEL_DATE_MAX reads as day 1. Counts
// on a calendar whose years begin on 1 March (day 306 of year 0 is 1 January
// of year 1), so February's length only matters at the end of a year: 400-year
// eras of 146097 days, then centuries and years of a century by exact
// multiply-and-shift forms of the divisions (Neri and Schneider's Euclidean
// affine functions), then the month and day from one product.
constexpr DtYmd dt_queryDate(ZEL_PACKED_DATE_T date) {
    if (date > ZEL_DATE_MAX) date = 1;
    // Day 0 is no date. The year-by-year walk of the original design gives it
    // 30 December of year 0 (year 0 counts as leap in its months but not in
    // its day formula); kept so that day 0 reads back as it always has.
    if (date == 0) return DtYmd{0, 12, 30};
    const uint32_t n = date + 305;  // days since 1 March of year 0
    const uint32_t n1 = 4 * n + 3;
    const uint32_t century = n1 / 146097;
    const uint32_t n2 = (n1 % 146097) | 3;  // 4 * (day of the century) + 3
    const uint64_t p2 = 2939745ull * n2;
    const uint32_t yearOfCentury = static_cast<uint32_t>(p2 >> 32);
    const uint32_t dayOfYear = static_cast<uint32_t>(p2) / 2939745 / 4;  // 0 is 1 March
    const uint32_t n3 = 2141 * dayOfYear + 197913;
    const bool janFeb = dayOfYear >= 306;
    DtYmd r{};
    r.year = static_cast<int32_t>(100 * century + yearOfCentury + (janFeb ? 1 : 0));
    r.month = static_cast<uint16_t>(janFeb ? (n3 >> 16) - 12 : n3 >> 16);
    r.day = static_cast<uint16_t>((n3 & 0xFFFF) / 2141 + 1);
    return r;
}
static_assert(dt_makeDate(1, 1, 1) == 1 && dt_makeDate(1970, 1, 1) == ZEL_DATE_UNIX_EPOCH);
static_assert(dt_makeDate(9999, 12, 31) == ZEL_DATE_MAX);
static_assert(dt_queryDate(1).year == 1 && dt_queryDate(1).month == 1 && dt_queryDate(1).day == 1);
static_assert(dt_makeDate(0, 12, 30) == 0);

// Day number of 1 January of the year holding `date`; a date past the
// calendar is first replaced by day 1, as unpacking reads it.
int64_t dt_startOfYear(ZEL_PACKED_DATE_T &date) {
    if (date > ZEL_DATE_MAX) date = 1;
    return dt_makeDate(dt_queryDate(date).year, 1, 1);
}

// Moves a date by one day either way. Unpacking, stepping the day across the
// month or year end and packing again comes to the same addition, once a
// number past the calendar has been read as day 1, as unpacking does.
ZEL_PACKED_DATE_T dt_setDate(ZEL_PACKED_DATE_T dateVal, int sDateDiff) {
    if (dateVal > ZEL_DATE_MAX) dateVal = 1;
    return dateVal + static_cast<uint32_t>(sDateDiff);
}

// ---- Time and zones.

ZEL_RETCODE dt_timezoneValidate(int32_t tz) {
    return tz < ZEL_TIMEZONE_MIN || tz > ZEL_TIMEZONE_MAX ? eBASE_INVTIMEZONE : sOKAY;
}

// Adds `minutes` to a time and wraps it into the day once; the day change
// (-1, 0, +1) is returned.
int dt_shiftTime(ZEL_PACKED_TIME_T tm, int32_t minutes, ZEL_PACKED_TIME_T *out) {
    int64_t t = static_cast<int64_t>(tm) + static_cast<int64_t>(minutes) * kUnitsPerMin;
    int dd = 0;
    if (t >= static_cast<int64_t>(kUnitsPerDay)) {
        t -= kUnitsPerDay;
        dd = 1;
    } else if (t < 0) {
        t += kUnitsPerDay;
        dd = -1;
    }
    *out = static_cast<ZEL_PACKED_TIME_T>(t);
    return dd;
}

ZEL_RETCODE dt_dateCheck(int32_t year, unsigned month, unsigned day) {
    return year < 1 || month < 1 || month > 12 || day < 1 || day > 31 ? eBASE_INVDATE : sOKAY;
}

ZEL_PACKED_DATE_T dt_datePackChecked(int32_t year, unsigned month, unsigned day) {
    // The year is at least 1 here, so the divisions can be unsigned. Huge
    // years give a number past the calendar; it wraps rather than overflowing,
    // and unpacks as day 1 like any other.
    const uint64_t y = static_cast<uint64_t>(year) - 1;
    const uint32_t yr = static_cast<uint32_t>(year);
    const bool leap = yr % 4 == 0 && (yr % 100 != 0 || yr % 400 == 0);
    return static_cast<ZEL_PACKED_DATE_T>(365 * y + y / 4 - y / 100 + y / 400 +
                                          daysBeforeMonth.days[month - 1] +
                                          (month > 2 && leap ? 1 : 0) + day);
}

ZEL_RETCODE dt_timeCheck(unsigned hour, unsigned minute, unsigned second, unsigned fraction) {
    return hour > 23 || minute > 59 || second > 59 || fraction > 9999 ? eINVLITERAL : sOKAY;
}

ZEL_PACKED_TIME_T dt_timePackChecked(unsigned hour, unsigned minute, unsigned second,
                                     unsigned fraction) {
    return (hour * 3600u + minute * 60u + second) * ZEL_TIME_UNITS_PER_SEC + fraction;
}

// Writes hour and fraction first, then the rest only for a time within the
// day; an unpack that fails leaves minute and second as they were.
ZEL_RETCODE dt_timeUnpack(ZEL_PACKED_TIME_T tm, ZEL_TIME_T *ct) {
    ct->fraction = static_cast<uint16_t>(tm % ZEL_TIME_UNITS_PER_SEC);
    ct->hour = static_cast<uint16_t>(tm / kUnitsPerHour);
    if (ct->hour > 23) return eINVLITERAL;
    ct->minute = static_cast<uint16_t>(tm / kUnitsPerMin % 60);
    ct->second = static_cast<uint16_t>(tm / ZEL_TIME_UNITS_PER_SEC % 60);
    return sOKAY;
}

// The clock: UTC now, as a date and a time of the packed forms.
void dt_getCurrentUTC(ZEL_PACKED_DATE_T *dt, ZEL_PACKED_TIME_T *tm) {
    const uint64_t units = psp_timeUTCNanoSecs() / 100000u;
    const uint64_t days = units / kUnitsPerDay;
    if (dt != nullptr) *dt = static_cast<ZEL_PACKED_DATE_T>(ZEL_DATE_UNIX_EPOCH + days);
    if (tm != nullptr) *tm = static_cast<ZEL_PACKED_TIME_T>(units - days * kUnitsPerDay);
}

// Local date and time in `tz` (already validated).
ZEL_PACKED_TIMESTAMP_T dt_localNow(int32_t tz) {
    ZEL_PACKED_TIMESTAMP_T ts;
    dt_getCurrentUTC(&ts.date, &ts.time);
    ts.date = dt_setDate(ts.date, dt_shiftTime(ts.time, tz, &ts.time));
    return ts;
}

// ---- Printing.

#define DT_EMIT(c)                                         \
    do {                                                   \
        if ((rc = fcn(ctx, (uint32_t)(c))) < 0) return rc; \
    } while (0)

// An unsigned number in at least `width` digits, zero-padded ("%0*u").
ZEL_RETCODE dt_emitUInt(ZEL_OUTPUT_FCN fcn, B_OUTPUT_CTX ctx, uint32_t v, int width) {
    char digits[10];
    int n = 0;
    do {
        digits[n++] = static_cast<char>('0' + v % 10);
        v /= 10;
    } while (v != 0);
    ZEL_RETCODE rc = sOKAY;
    for (int i = n; i < width; i++) DT_EMIT('0');
    while (n > 0) DT_EMIT(digits[--n]);
    return rc;
}

ZEL_RETCODE dt_emitUnpackedTime(const ZEL_TIME_T &t, ZEL_TIME_FORMAT time_fmt, ZEL_OUTPUT_FCN fcn,
                                B_OUTPUT_CTX ctx) {
    if (time_fmt < ZEL_HH || time_fmt > ZEL_HHMMSSFFFF) return sOKAY;
    const DtTimeFormat &f = timeFormats[time_fmt - 1];
    const uint16_t values[3] = {t.hour, t.minute, t.second};
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = dt_emitUInt(fcn, ctx, values[0], 2));
    for (unsigned i = 1; i < f.fields; i++) {
        DT_EMIT(':');
        ZEL_CHECK(rc = dt_emitUInt(fcn, ctx, values[i], 2));
    }
    if (f.fracWidth != 0) {
        DT_EMIT('.');
        ZEL_CHECK(rc = dt_emitUInt(fcn, ctx, t.fraction / f.fracDiv, f.fracWidth));
    }
    return sOKAY;
}

// ---- Parsing.

constexpr bool dt_isDigit(char c) {
    return c >= '0' && c <= '9';
}
constexpr bool dt_isAlpha(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}
constexpr char dt_toLower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
}
constexpr bool dt_isDateSep(char c) {
    return c == '-' || c == '/' || c == '.';
}
constexpr bool dt_isColon(char c) {
    return c == ':';
}

// Case-insensitive equality of `n` bytes of `s` with the whole of `word`.
bool dt_equalsWord(const char *s, size_t n, const char *word) {
    size_t i = 0;
    for (; i < n && word[i] != 0; i++) {
        if (dt_toLower(s[i]) != dt_toLower(word[i])) return false;
    }
    return i == n && word[i] == 0;
}

// Blanks are the bytes 1 to 32.
void dt_skipSpaces(const char **pstr) {
    const char *s = *pstr;
    while (*s != 0 && static_cast<unsigned char>(*s) <= 32) s++;
    *pstr = s;
}

// A run of digits up to 65535; eRANGE for no digit or a larger number.
ZEL_RETCODE dt_parseUInt16(const char **pstr, uint16_t *pnum) {
    const char *s = *pstr;
    if (!dt_isDigit(*s)) return eRANGE;
    uint32_t v = 0;
    do {
        v = v * 10 + static_cast<uint32_t>(*s++ - '0');
        if (v > 65535) return eRANGE;
    } while (dt_isDigit(*s));
    *pnum = static_cast<uint16_t>(v);
    *pstr = s;
    return sOKAY;
}

ZEL_RETCODE dt_getSeparator(const char **pstr, char *psep, bool (*predicate)(char)) {
    if (!predicate(**pstr)) return eRANGE;
    if (psep != nullptr) *psep = **pstr;
    ++*pstr;
    return sOKAY;
}

ZEL_RETCODE dt_convertStringToDatePortion(const char **pstr, ZEL_DATE_FORMAT date_fmt,
                                          ZEL_DATE_T *cd) {
    const char *s = *pstr;
    // Leading control bytes, blanks and bytes of 128 and up (negative as
    // signed char) are all passed over.
    while (*s != 0 && static_cast<signed char>(*s) < 33) s++;
    if (*s == 0) return eBASE_INVDATE;
    uint16_t year = 0, month = 0, day = 0;
    if (dt_isAlpha(*s)) {
        size_t n = 0;
        while (n < 49 && dt_isAlpha(s[n])) n++;
        for (uint16_t m = 0; m < 12 && month == 0; m++) {
            if (dt_equalsWord(s, n, monthNames[m]) || dt_equalsWord(s, n, monthAbbrev[m])) {
                month = static_cast<uint16_t>(m + 1);
            }
        }
        if (month == 0) return eBASE_INVDATE;
        s += n;
        // The day follows the month word at once ("Jan5, 2021"); a blank
        // between them is refused. Deliberate: stored texts rely on it.
        if (dt_parseUInt16(&s, &day) != sOKAY) return eBASE_INVDATE;
        dt_skipSpaces(&s);
        if (*s == ',') s++;
        dt_skipSpaces(&s);
        if (dt_parseUInt16(&s, &year) != sOKAY) return eBASE_INVDATE;
    } else if (dt_isDigit(*s)) {
        uint16_t num[3];
        char sep1 = 0, sep2 = 0;
        for (int i = 0; i < 3; i++) {
            if (i > 0 && dt_getSeparator(&s, i == 1 ? &sep1 : &sep2, dt_isDateSep) != sOKAY) {
                return eBASE_INVDATE;
            }
            if (dt_parseUInt16(&s, &num[i]) != sOKAY || num[i] > 32767) return eBASE_INVDATE;
        }
        if (sep1 != sep2) return eBASE_INVDATE;
        switch (date_fmt) {
            case ZEL_MMDDYYYY:
                month = num[0], day = num[1], year = num[2];
                break;
            case ZEL_YYYYMMDD:
                year = num[0], month = num[1], day = num[2];
                break;
            case ZEL_DDMMYYYY:
                day = num[0], month = num[1], year = num[2];
                break;
            default:
                return eINVDATEFMT;
        }
    } else {
        return eBASE_INVDATE;
    }
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = dt_dateCheck(year, month, day));
    cd->year = year;
    cd->month = month;
    cd->day = day;
    *pstr = s;
    return sOKAY;
}

ZEL_RETCODE dt_convertStringToTimePortion(const char **pstr, ZEL_PACKED_TIME_T *ptm) {
    const char *s = *pstr;
    dt_skipSpaces(&s);
    uint16_t hour, minute, second, fraction = 0;
    if (dt_parseUInt16(&s, &hour) != sOKAY || dt_getSeparator(&s, nullptr, dt_isColon) != sOKAY ||
        dt_parseUInt16(&s, &minute) != sOKAY || dt_getSeparator(&s, nullptr, dt_isColon) != sOKAY ||
        dt_parseUInt16(&s, &second) != sOKAY) {
        return eINVLITERAL;
    }
    if (*s == '.') {
        s++;
        // A whole number of ten-thousandths, not decimal places: ".5" is 5
        // units. Deliberate: this is how stored texts have always been read.
        if (dt_parseUInt16(&s, &fraction) != sOKAY) return eINVLITERAL;
    }
    // am/pm follow at once; after a blank they are left unread.
    const char ap = dt_toLower(*s);
    if (ap == 'p' || ap == 'a') {
        if (ap == 'p' && hour < 12) hour = static_cast<uint16_t>(hour + 12);
        if (ap == 'a' && hour == 12) hour = 0;
        s++;
        if (dt_toLower(*s) == 'm') s++;
    }
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = dt_timeCheck(hour, minute, second, fraction));
    *ptm = dt_timePackChecked(hour, minute, second, fraction);
    *pstr = s;
    return sOKAY;
}

ZEL_RETCODE dt_convertStringToTimezonePortion(const char **pstr, int16_t *ptz) {
    const char *s = *pstr;
    dt_skipSpaces(&s);
    const char sign = *s;
    if (sign != '+' && sign != '-') return eRANGE;
    s++;
    uint16_t hours, minutes;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = dt_parseUInt16(&s, &hours));
    ZEL_CHECK(rc = dt_getSeparator(&s, nullptr, dt_isColon));
    ZEL_CHECK(rc = dt_parseUInt16(&s, &minutes));
    if (minutes > 59 || hours > 24) return eINVLITERAL;
    const int total = hours * 60 + minutes;
    *ptz = static_cast<int16_t>(sign == '-' ? -total : total);
    *pstr = s;
    return sOKAY;
}

bool dt_textRemains(const char *s) {
    dt_skipSpaces(&s);
    return *s != 0;
}

// Case-insensitive equality of two terminated texts.
bool dt_equalsNoCase(const char *a, const char *b) {
    while (*a != 0 && dt_toLower(*a) == dt_toLower(*b)) a++, b++;
    return *a == 0 && *b == 0;
}

// The common ending of the ..ToString functions: runs `format` into a
// counting output over `buf`, terminates the text, and reports sTRUNCATE and
// the size. A failure of the formatter comes back with *puSize untouched.
template <class F>
ZEL_RETCODE dt_toString(char *buf, size_t bufSize, size_t *puSize, F &&format) {
    ZEL_OUTPUT_BUFF ob;
    b_utf8BuffInit(&ob, buf, bufSize);
    ZEL_RETCODE rc = format(b_emitCharAsUtf8, static_cast<B_OUTPUT_CTX>(&ob));
    b_utf8BuffTerm(&ob);
    if (rc < 0) return rc;
    const bool withBuffer = ob.buff != nullptr;
    if (withBuffer && ob.needed_elems > ob.size) rc = sTRUNCATE;
    if (puSize != nullptr) *puSize = withBuffer ? ob.used_elems : ob.needed_elems;
    return rc;
}

}  // namespace

extern "C" {

// ---- Parts of a date.

const char *zel_dateDayAbr(ZEL_PACKED_DATE_T dt) {
    return dayAbbreviations[dt % 7];
}
const char *zel_dateDayName(ZEL_PACKED_DATE_T dt) {
    return dayNames[dt % 7];
}
uint16_t zel_dateDayOfWeek(ZEL_PACKED_DATE_T dt) {
    return static_cast<uint16_t>(dt % 7 + 1);
}
uint16_t zel_dateDayOfMonth(ZEL_PACKED_DATE_T dt) {
    return dt_queryDate(dt).day;
}
uint16_t zel_dateMonth(ZEL_PACKED_DATE_T dt) {
    return dt_queryDate(dt).month;
}
int32_t zel_dateYear(ZEL_PACKED_DATE_T dt) {
    return dt_queryDate(dt).year;
}
uint16_t zel_dateDayOfYear(ZEL_PACKED_DATE_T dt) {
    const int64_t start = dt_startOfYear(dt);
    return static_cast<uint16_t>(dt + 1 - start);
}
const char *zel_dateMonthAbr(ZEL_PACKED_DATE_T dt) {
    return monthAbbrev[dt_queryDate(dt).month - 1];
}
const char *zel_dateMonthName(ZEL_PACKED_DATE_T dt) {
    return monthNames[dt_queryDate(dt).month - 1];
}
uint16_t zel_dateQuarter(ZEL_PACKED_DATE_T dt) {
    return static_cast<uint16_t>((dt_queryDate(dt).month + 2) / 3);
}
uint16_t zel_dateWeek(ZEL_PACKED_DATE_T dt) {
    const int64_t start = dt_startOfYear(dt);
    return static_cast<uint16_t>((dt - start) / 7 + 1);
}

// Each zel_timestamp<X> applies zel_date<X> to the date word, or zel_time<X>
// to the time word.
#define DT_TIMESTAMP_PART(type, X, unit, word)         \
    type zel_timestamp##X(ZEL_PACKED_TIMESTAMP_T ts) { \
        return zel_##unit##X(ts.word);                 \
    }
DT_TIMESTAMP_PART(const char *, DayAbr, date, date)
DT_TIMESTAMP_PART(const char *, DayName, date, date)
DT_TIMESTAMP_PART(uint16_t, DayOfWeek, date, date)
DT_TIMESTAMP_PART(uint16_t, DayOfMonth, date, date)
DT_TIMESTAMP_PART(uint16_t, Month, date, date)
DT_TIMESTAMP_PART(int32_t, Year, date, date)
DT_TIMESTAMP_PART(uint16_t, DayOfYear, date, date)
DT_TIMESTAMP_PART(const char *, MonthAbr, date, date)
DT_TIMESTAMP_PART(const char *, MonthName, date, date)
DT_TIMESTAMP_PART(uint16_t, Quarter, date, date)
DT_TIMESTAMP_PART(uint16_t, Week, date, date)
DT_TIMESTAMP_PART(uint16_t, Hour, time, time)
DT_TIMESTAMP_PART(uint16_t, Minute, time, time)
DT_TIMESTAMP_PART(uint16_t, Second, time, time)
DT_TIMESTAMP_PART(uint16_t, Fraction, time, time)

// ---- Parts of a time.

uint16_t zel_timeHour(ZEL_PACKED_TIME_T tm) {
    return static_cast<uint16_t>(tm / kUnitsPerHour);
}
uint16_t zel_timeMinute(ZEL_PACKED_TIME_T tm) {
    return tm >= kUnitsPerDay ? 0 : static_cast<uint16_t>(tm / kUnitsPerMin % 60);
}
uint16_t zel_timeSecond(ZEL_PACKED_TIME_T tm) {
    return tm >= kUnitsPerDay ? 0 : static_cast<uint16_t>(tm / ZEL_TIME_UNITS_PER_SEC % 60);
}
uint16_t zel_timeFraction(ZEL_PACKED_TIME_T tm) {
    return tm >= kUnitsPerDay ? 0 : static_cast<uint16_t>(tm % ZEL_TIME_UNITS_PER_SEC);
}

// ---- Zero values.

ZEL_PACKED_DATE_T zel_dateZero(void) {
    return 1;
}
ZEL_PACKED_TIME_T zel_timeZero(void) {
    return 0;
}
ZEL_PACKED_TIMETZ_T zel_timetzZero(void) {
    return ZEL_PACKED_TIMETZ_T{0, 0};
}
ZEL_COMPARE dt_timetzCompare(const ZEL_PACKED_TIMETZ_T *a, const ZEL_PACKED_TIMETZ_T *b) {
    return a->time < b->time ? ZEL_LT : (a->time > b->time ? ZEL_GT : ZEL_EQ);
}
ZEL_PACKED_TIMESTAMP_T zel_timestampZero(void) {
    return ZEL_PACKED_TIMESTAMP_T{1, 0};
}
ZEL_PACKED_TIMESTAMPTZ_T zel_timestamptzZero(void) {
    return ZEL_PACKED_TIMESTAMPTZ_T{1, 0, 0};
}

// ---- Pack and unpack.

ZEL_RETCODE zel_datePack(const ZEL_DATE_T *cd, ZEL_PACKED_DATE_T *dt) {
    if (cd == nullptr || dt == nullptr) return eINVNULLARG;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = dt_dateCheck(cd->year, cd->month, cd->day));
    *dt = dt_datePackChecked(cd->year, cd->month, cd->day);
    return sOKAY;
}

ZEL_RETCODE zel_dateUnpack(ZEL_PACKED_DATE_T dt, ZEL_DATE_T *pZelDate) {
    if (pZelDate == nullptr) return eINVNULLARG;
    const DtYmd r = dt_queryDate(dt);
    *pZelDate = ZEL_DATE_T{r.year, r.month, r.day};
    return sOKAY;
}

ZEL_RETCODE zel_timePack(const ZEL_TIME_T *ct, ZEL_PACKED_TIME_T *tm) {
    if (ct == nullptr || tm == nullptr) return eINVNULLARG;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = dt_timeCheck(ct->hour, ct->minute, ct->second, ct->fraction));
    *tm = dt_timePackChecked(ct->hour, ct->minute, ct->second, ct->fraction);
    return sOKAY;
}

ZEL_RETCODE zel_timeUnpack(ZEL_PACKED_TIME_T tm, ZEL_TIME_T *ct) {
    if (ct == nullptr) return eINVNULLARG;
    return dt_timeUnpack(tm, ct);
}

ZEL_RETCODE zel_timestampPack(const ZEL_TIMESTAMP_T *cts, ZEL_PACKED_TIMESTAMP_T *pTsVal) {
    if (cts == nullptr || pTsVal == nullptr) return eINVNULLARG;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = dt_dateCheck(cts->year, cts->month, cts->day));
    ZEL_CHECK(rc = dt_timeCheck(cts->hour, cts->minute, cts->second, cts->fraction));
    pTsVal->date = dt_datePackChecked(cts->year, cts->month, cts->day);
    pTsVal->time = dt_timePackChecked(cts->hour, cts->minute, cts->second, cts->fraction);
    return sOKAY;
}

ZEL_RETCODE zel_timestampUnpack(ZEL_PACKED_TIMESTAMP_T tsVal, ZEL_TIMESTAMP_T *cts) {
    if (cts == nullptr) return eINVNULLARG;
    ZEL_TIME_T t;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = dt_timeUnpack(tsVal.time, &t));
    const DtYmd d = dt_queryDate(tsVal.date);
    *cts = ZEL_TIMESTAMP_T{d.year, d.month, d.day, t.hour, t.minute, t.second, t.fraction};
    return sOKAY;
}

ZEL_RETCODE zel_timetzPack(const ZEL_TIMETZ_T *ctz, ZEL_PACKED_TIMETZ_T *tmz) {
    if (ctz == nullptr || tmz == nullptr) return eINVNULLARG;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = dt_timezoneValidate(ctz->tz));
    ZEL_CHECK(rc = dt_timeCheck(ctz->hour, ctz->minute, ctz->second, ctz->fraction));
    tmz->time = dt_timePackChecked(ctz->hour, ctz->minute, ctz->second, ctz->fraction);
    tmz->tz = ctz->tz;
    return sOKAY;
}

ZEL_RETCODE zel_timetzUnpack(ZEL_PACKED_TIMETZ_T tmzVal, ZEL_TIMETZ_T *ctz) {
    if (ctz == nullptr) return eINVNULLARG;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = dt_timezoneValidate(tmzVal.tz));
    ZEL_TIME_T t;
    ZEL_CHECK(rc = dt_timeUnpack(tmzVal.time, &t));
    *ctz = ZEL_TIMETZ_T{t.hour, t.minute, t.second, t.fraction, tmzVal.tz};
    return sOKAY;
}

ZEL_RETCODE zel_timestamptzPack(const ZEL_TIMESTAMPTZ_T *ctsz, ZEL_PACKED_TIMESTAMPTZ_T *tsz) {
    if (ctsz == nullptr || tsz == nullptr) return eINVNULLARG;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = dt_timezoneValidate(ctsz->tz));
    ZEL_CHECK(rc = dt_dateCheck(ctsz->year, ctsz->month, ctsz->day));
    ZEL_CHECK(rc = dt_timeCheck(ctsz->hour, ctsz->minute, ctsz->second, ctsz->fraction));
    tsz->date = dt_datePackChecked(ctsz->year, ctsz->month, ctsz->day);
    tsz->time = dt_timePackChecked(ctsz->hour, ctsz->minute, ctsz->second, ctsz->fraction);
    tsz->tz = ctsz->tz;
    return sOKAY;
}

ZEL_RETCODE zel_timestamptzUnpack(ZEL_PACKED_TIMESTAMPTZ_T tszVal, ZEL_TIMESTAMPTZ_T *ctsz) {
    if (ctsz == nullptr) return eINVNULLARG;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = dt_timezoneValidate(tszVal.tz));
    ZEL_TIME_T t;
    ZEL_CHECK(rc = dt_timeUnpack(tszVal.time, &t));
    const DtYmd d = dt_queryDate(tszVal.date);
    *ctsz = ZEL_TIMESTAMPTZ_T{d.year,   d.month,  d.day,      t.hour,
                              t.minute, t.second, t.fraction, tszVal.tz};
    return sOKAY;
}

// ---- Zone shifts.

ZEL_RETCODE zel_timetzToTime(ZEL_PACKED_TIMETZ_T timetzVal, int32_t local_timezone,
                             ZEL_PACKED_TIME_T *pTimeVal) {
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = dt_timezoneValidate(local_timezone));
    ZEL_PACKED_TIME_T t;
    (void)dt_shiftTime(timetzVal.time, local_timezone, &t);
    if (pTimeVal != nullptr) *pTimeVal = t;
    return sOKAY;
}

ZEL_RETCODE zel_timetzToZelTime(ZEL_PACKED_TIMETZ_T tmz, int32_t local_timezone, ZEL_TIME_T *ct) {
    ZEL_RETCODE rc;
    ZEL_PACKED_TIME_T t;
    ZEL_CHECK(rc = zel_timetzToTime(tmz, local_timezone, &t));
    return zel_timeUnpack(t, ct);
}

ZEL_RETCODE zel_timestamptzToTimestamp(ZEL_PACKED_TIMESTAMPTZ_T tstzVal, int32_t local_tz,
                                       ZEL_PACKED_TIMESTAMP_T *pTsVal) {
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = dt_timezoneValidate(local_tz));
    if (pTsVal == nullptr) return eINVNULLARG;
    ZEL_PACKED_TIMESTAMP_T ts;
    ts.date = dt_setDate(tstzVal.date, dt_shiftTime(tstzVal.time, local_tz, &ts.time));
    *pTsVal = ts;
    return sOKAY;
}

ZEL_RETCODE zel_timestamptzFromTimestamp(ZEL_PACKED_TIMESTAMP_T tsVal, int32_t tz,
                                         ZEL_PACKED_TIMESTAMPTZ_T *pTszVal) {
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = dt_timezoneValidate(tz));
    if (pTszVal == nullptr) return eINVNULLARG;
    ZEL_PACKED_TIMESTAMPTZ_T r;
    r.date = dt_setDate(tsVal.date, dt_shiftTime(tsVal.time, -tz, &r.time));
    r.tz = static_cast<int16_t>(tz);
    *pTszVal = r;
    return sOKAY;
}

ZEL_RETCODE zel_timestampDaysDiff(ZEL_PACKED_TIMESTAMP_T start, ZEL_PACKED_TIMESTAMP_T end,
                                  uint32_t *diff) {
    if (diff == nullptr) return eINVNULLARG;
    const bool startFirst =
        start.date < end.date || (start.date == end.date && start.time <= end.time);
    const ZEL_PACKED_TIMESTAMP_T &lo = startFirst ? start : end;
    const ZEL_PACKED_TIMESTAMP_T &hi = startFirst ? end : start;
    uint32_t d = hi.date - lo.date;
    if (hi.time < lo.time) d--;
    *diff = d;
    return sOKAY;
}

// ---- Clock.

ZEL_RETCODE zel_dateToday(int32_t time_zone, ZEL_PACKED_DATE_T *pdt) {
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = dt_timezoneValidate(time_zone));
    if (pdt != nullptr) *pdt = dt_localNow(time_zone).date;
    return sOKAY;
}

ZEL_RETCODE zel_timeNow(int32_t time_zone, ZEL_PACKED_TIME_T *ptm) {
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = dt_timezoneValidate(time_zone));
    if (ptm != nullptr) *ptm = dt_localNow(time_zone).time;
    return sOKAY;
}

ZEL_RETCODE zel_timestampNow(int32_t time_zone, ZEL_PACKED_TIMESTAMP_T *pts) {
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = dt_timezoneValidate(time_zone));
    if (pts != nullptr) *pts = dt_localNow(time_zone);
    return sOKAY;
}

ZEL_RETCODE zel_timetzNow(int32_t tzValue, ZEL_PACKED_TIMETZ_T *tmz) {
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = dt_timezoneValidate(tzValue));
    if (tmz == nullptr) return sOKAY;
    ZEL_PACKED_TIMETZ_T r;
    dt_getCurrentUTC(nullptr, &r.time);
    r.tz = static_cast<int16_t>(tzValue);
    *tmz = r;
    return sOKAY;
}

ZEL_RETCODE zel_timestamptzNow(int32_t time_zone, ZEL_PACKED_TIMESTAMPTZ_T *tsz) {
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = dt_timezoneValidate(time_zone));
    if (tsz == nullptr) return sOKAY;
    ZEL_PACKED_TIMESTAMPTZ_T r;
    dt_getCurrentUTC(&r.date, &r.time);
    r.tz = static_cast<int16_t>(time_zone);
    *tsz = r;
    return sOKAY;
}

double zel_timestampNowAsDouble(void) {
    return static_cast<double>(psp_timeMeasureNanoSecs()) / 1e9;
}

// ---- Text out.

ZEL_RETCODE dt_dateFormat(ZEL_PACKED_DATE_T dateVal, ZEL_DATE_FORMAT date_fmt, char date_sep,
                          ZEL_OUTPUT_FCN fcn, B_OUTPUT_CTX ctx) {
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = zel_dateValidateSeparator(date_sep));
    const DtYmd d = dt_queryDate(dateVal);
    ZEL_CHECK(rc = dt_dateCheck(d.year, d.month, d.day));
    uint32_t first, second, third;
    int firstWidth = 2, thirdWidth = 2;
    switch (date_fmt) {
        case ZEL_YYYYMMDD:
            first = d.year, second = d.month, third = d.day, firstWidth = 4;
            break;
        case ZEL_MMDDYYYY:
            first = d.month, second = d.day, third = d.year, thirdWidth = 4;
            break;
        case ZEL_DDMMYYYY:
            first = d.day, second = d.month, third = d.year, thirdWidth = 4;
            break;
        default:
            return sOKAY;
    }
    ZEL_CHECK(rc = dt_emitUInt(fcn, ctx, first, firstWidth));
    DT_EMIT(date_sep);
    ZEL_CHECK(rc = dt_emitUInt(fcn, ctx, second, 2));
    DT_EMIT(date_sep);
    return dt_emitUInt(fcn, ctx, third, thirdWidth);
}

ZEL_RETCODE dt_timeFormat(ZEL_PACKED_TIME_T timeVal, ZEL_TIME_FORMAT time_fmt, ZEL_OUTPUT_FCN fcn,
                          B_OUTPUT_CTX ctx) {
    ZEL_TIME_T t;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = dt_timeUnpack(timeVal, &t));
    return dt_emitUnpackedTime(t, time_fmt, fcn, ctx);
}

ZEL_RETCODE dt_timezoneFormat(int32_t tz, ZEL_OUTPUT_FCN fcn, B_OUTPUT_CTX ctx) {
    ZEL_RETCODE rc;
    DT_EMIT(tz >= 0 ? '+' : '-');
    const uint32_t a = tz >= 0 ? static_cast<uint32_t>(tz) : 0u - static_cast<uint32_t>(tz);
    ZEL_CHECK(rc = dt_emitUInt(fcn, ctx, a / 60, 2));
    DT_EMIT(':');
    return dt_emitUInt(fcn, ctx, a % 60, 2);
}

ZEL_RETCODE dt_timetzFormat(ZEL_PACKED_TIMETZ_T timetzVal, ZEL_TIME_FORMAT time_fmt,
                            ZEL_OUTPUT_FCN fcn, B_OUTPUT_CTX ctx) {
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = dt_timezoneValidate(timetzVal.tz));
    ZEL_PACKED_TIME_T local;
    (void)dt_shiftTime(timetzVal.time, timetzVal.tz, &local);
    ZEL_CHECK(rc = dt_timeFormat(local, time_fmt, fcn, ctx));
    DT_EMIT(' ');
    return dt_timezoneFormat(timetzVal.tz, fcn, ctx);
}

ZEL_RETCODE dt_timestampFormat(ZEL_PACKED_TIMESTAMP_T tmsv, ZEL_DATE_FORMAT date_fmt, char date_sep,
                               ZEL_TIME_FORMAT time_fmt, ZEL_OUTPUT_FCN fcn, B_OUTPUT_CTX ctx) {
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = dt_dateFormat(tmsv.date, date_fmt, date_sep, fcn, ctx));
    DT_EMIT(' ');
    return dt_timeFormat(tmsv.time, time_fmt, fcn, ctx);
}

ZEL_RETCODE dt_timestamptzFormat(ZEL_PACKED_TIMESTAMPTZ_T tstzv, int32_t tz_disp,
                                 ZEL_DATE_FORMAT date_fmt, char date_sep, ZEL_TIME_FORMAT time_fmt,
                                 ZEL_OUTPUT_FCN fcn, B_OUTPUT_CTX ctx) {
    ZEL_RETCODE rc;
    ZEL_PACKED_TIMESTAMP_T local;
    ZEL_CHECK(rc = zel_timestamptzToTimestamp(tstzv, tz_disp, &local));
    ZEL_CHECK(rc = dt_timestampFormat(local, date_fmt, date_sep, time_fmt, fcn, ctx));
    DT_EMIT(' ');
    // The label is the value's own zone even when the digits are another's.
    return dt_timezoneFormat(tstzv.tz, fcn, ctx);
}

ZEL_RETCODE zel_dateToString(ZEL_PACKED_DATE_T dateVal, ZEL_DATE_FORMAT date_fmt, char date_sep,
                             char *buf, size_t bufSize, size_t *puSize) {
    return dt_toString(buf, bufSize, puSize, [&](ZEL_OUTPUT_FCN fcn, B_OUTPUT_CTX ctx) {
        return dt_dateFormat(dateVal, date_fmt, date_sep, fcn, ctx);
    });
}

ZEL_RETCODE zel_timeToString(ZEL_PACKED_TIME_T timeVal, ZEL_TIME_FORMAT time_fmt, char *buf,
                             size_t bufSize, size_t *puSize) {
    return dt_toString(buf, bufSize, puSize, [&](ZEL_OUTPUT_FCN fcn, B_OUTPUT_CTX ctx) {
        return dt_timeFormat(timeVal, time_fmt, fcn, ctx);
    });
}

ZEL_RETCODE zel_timetzToString(ZEL_PACKED_TIMETZ_T timetzVal, ZEL_TIME_FORMAT time_fmt, char *buf,
                               size_t bufSize, size_t *puSize) {
    return dt_toString(buf, bufSize, puSize, [&](ZEL_OUTPUT_FCN fcn, B_OUTPUT_CTX ctx) {
        return dt_timetzFormat(timetzVal, time_fmt, fcn, ctx);
    });
}

ZEL_RETCODE zel_timestampToString(ZEL_PACKED_TIMESTAMP_T tmsv, ZEL_DATE_FORMAT date_fmt,
                                  char date_sep, ZEL_TIME_FORMAT time_fmt, char *buf,
                                  size_t bufSize, size_t *puSize) {
    return dt_toString(buf, bufSize, puSize, [&](ZEL_OUTPUT_FCN fcn, B_OUTPUT_CTX ctx) {
        return dt_timestampFormat(tmsv, date_fmt, date_sep, time_fmt, fcn, ctx);
    });
}

ZEL_RETCODE zel_timestamptzToString(ZEL_PACKED_TIMESTAMPTZ_T tstzv, ZEL_DATE_FORMAT date_fmt,
                                    char date_sep, ZEL_TIME_FORMAT time_fmt, char *buf,
                                    size_t bufSize, size_t *puSize) {
    return dt_toString(buf, bufSize, puSize, [&](ZEL_OUTPUT_FCN fcn, B_OUTPUT_CTX ctx) {
        return dt_timestamptzFormat(tstzv, tstzv.tz, date_fmt, date_sep, time_fmt, fcn, ctx);
    });
}

// ---- Clock as text.

ZEL_RETCODE zel_dateNowAsString(int32_t time_zone, char *datebuf, size_t buflen) {
    ZEL_PACKED_DATE_T d;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = zel_dateToday(time_zone, datebuf != nullptr ? &d : nullptr));
    if (datebuf != nullptr) {
        (void)zel_dateToString(d, ZEL_YYYYMMDD, '-', datebuf, buflen, nullptr);
    }
    return rc;
}

ZEL_RETCODE zel_timeNowAsString(int32_t tzValue, char *timebuf, size_t buflen) {
    ZEL_PACKED_TIME_T t;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = zel_timeNow(tzValue, timebuf != nullptr ? &t : nullptr));
    if (timebuf != nullptr) (void)zel_timeToString(t, ZEL_HHMMSSFFFF, timebuf, buflen, nullptr);
    return rc;
}

ZEL_RETCODE zel_timestampNowAsString(int32_t tzValue, char *tsbuf, size_t buflen) {
    ZEL_PACKED_TIMESTAMP_T ts;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = zel_timestampNow(tzValue, tsbuf != nullptr ? &ts : nullptr));
    if (tsbuf != nullptr) {
        (void)zel_timestampToString(ts, ZEL_YYYYMMDD, '-', ZEL_HHMMSSFFFF, tsbuf, buflen, nullptr);
    }
    return rc;
}

ZEL_RETCODE zel_timetzNowAsString(int32_t tzValue, char *timebuf, size_t buflen) {
    ZEL_PACKED_TIMETZ_T tmz;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = zel_timetzNow(tzValue, timebuf != nullptr ? &tmz : nullptr));
    if (timebuf != nullptr) {
        (void)zel_timetzToString(tmz, ZEL_HHMMSSFFFF, timebuf, buflen, nullptr);
    }
    return rc;
}

ZEL_RETCODE zel_timestamptzNowAsString(int32_t tzValue, char *tszbuf, size_t buflen) {
    ZEL_PACKED_TIMESTAMPTZ_T tsz;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = zel_timestamptzNow(tzValue, tszbuf != nullptr ? &tsz : nullptr));
    if (tszbuf != nullptr) {
        (void)zel_timestamptzToString(tsz, ZEL_YYYYMMDD, '-', ZEL_HHMMSSFFFF, tszbuf, buflen,
                                      nullptr);
    }
    return rc;
}

// ---- Text in.

ZEL_RETCODE dt_dateFromString(const char *str, ZEL_DATE_FORMAT date_fmt, ZEL_PACKED_DATE_T *pdv) {
    ZEL_DATE_T cd;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = dt_convertStringToDatePortion(&str, date_fmt, &cd));
    *pdv = dt_datePackChecked(cd.year, cd.month, cd.day);
    return sOKAY;
}

ZEL_RETCODE zel_dateFromString(const char *str, ZEL_DATE_FORMAT date_fmt, ZEL_PACKED_DATE_T *pdv) {
    if (str == nullptr || pdv == nullptr) return eINVNULLARG;
    return dt_dateFromString(str, date_fmt, pdv);
}

ZEL_RETCODE zel_timeFromString(const char *str, ZEL_PACKED_TIME_T *ptm) {
    if (str == nullptr || ptm == nullptr) return eINVNULLARG;
    return dt_convertStringToTimePortion(&str, ptm);
}

ZEL_RETCODE dt_timetzFromString(const char *str, ZEL_PACKED_TIMETZ_T *ptz) {
    ZEL_PACKED_TIME_T local;
    int16_t tz;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = dt_convertStringToTimePortion(&str, &local));
    ZEL_CHECK(rc = dt_convertStringToTimezonePortion(&str, &tz));
    ZEL_CHECK(rc = dt_timezoneValidate(tz));
    ZEL_PACKED_TIMETZ_T r;
    (void)dt_shiftTime(local, -tz, &r.time);
    r.tz = tz;
    *ptz = r;
    return sOKAY;
}

ZEL_RETCODE zel_timetzFromString(const char *str, ZEL_PACKED_TIMETZ_T *ptz) {
    if (str == nullptr || ptz == nullptr) return eINVNULLARG;
    return dt_timetzFromString(str, ptz);
}

ZEL_RETCODE dt_timestampFromString(const char *str, ZEL_DATE_FORMAT date_fmt,
                                   ZEL_PACKED_TIMESTAMP_T *ptv) {
    const char *s = str;
    ZEL_DATE_T cd;
    ZEL_PACKED_TIMESTAMP_T r{1, 0};
    ZEL_RETCODE rc = dt_convertStringToDatePortion(&s, date_fmt, &cd);
    if (rc == eBASE_INVDATE) {
        s = str;  // no date: day 1, and the whole text may be a time
    } else if (rc != sOKAY) {
        return rc;
    } else {
        r.date = dt_datePackChecked(cd.year, cd.month, cd.day);
    }
    if (dt_textRemains(s)) ZEL_CHECK(rc = dt_convertStringToTimePortion(&s, &r.time));
    *ptv = r;
    return sOKAY;
}

ZEL_RETCODE zel_timestampFromString(const char *str, ZEL_DATE_FORMAT date_fmt,
                                    ZEL_PACKED_TIMESTAMP_T *ptv) {
    if (str == nullptr || ptv == nullptr) return eINVNULLARG;
    return dt_timestampFromString(str, date_fmt, ptv);
}

ZEL_RETCODE dt_timestamptzFromString(const char *str, ZEL_DATE_FORMAT date_fmt,
                                     ZEL_PACKED_TIMESTAMPTZ_T *ptsz) {
    ZEL_DATE_T cd;
    ZEL_PACKED_TIMESTAMP_T local;
    int16_t tz;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = dt_convertStringToDatePortion(&str, date_fmt, &cd));
    local.date = dt_datePackChecked(cd.year, cd.month, cd.day);
    ZEL_CHECK(rc = dt_convertStringToTimePortion(&str, &local.time));
    ZEL_CHECK(rc = dt_convertStringToTimezonePortion(&str, &tz));
    return zel_timestamptzFromTimestamp(local, tz, ptsz);
}

ZEL_RETCODE zel_timestamptzFromString(const char *str, ZEL_DATE_FORMAT date_fmt,
                                      ZEL_PACKED_TIMESTAMPTZ_T *ptsz) {
    if (str == nullptr || ptsz == nullptr) return eINVNULLARG;
    return dt_timestamptzFromString(str, date_fmt, ptsz);
}

ZEL_RETCODE zel_timezoneFromString(const char *str, int16_t *tz_disp) {
    if (str == nullptr || tz_disp == nullptr) return eINVNULLARG;
    return dt_convertStringToTimezonePortion(&str, tz_disp);
}

// ---- Formats.

ZEL_RETCODE zel_dateValidateFormat(ZEL_DATE_FORMAT df) {
    return df < ZEL_MMDDYYYY || df > ZEL_DDMMYYYY ? eINVDATEFMT : sOKAY;
}

ZEL_RETCODE zel_dateValidateSeparator(char date_sep) {
    return dt_isDateSep(date_sep) ? sOKAY : eINVDATESEP;
}

ZEL_RETCODE zel_timeValidateFormat(ZEL_TIME_FORMAT tf) {
    return tf < ZEL_HH || tf > ZEL_HHMMSSFFFF ? eINVTIMEFMT : sOKAY;
}

ZEL_RETCODE zel_dateCreateFormatString(ZEL_DATE_FORMAT df, char ds, B_TAG_SUB subTag,
                                       char **fmtString) {
    if (subTag == nullptr || fmtString == nullptr) return eINVNULLARG;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = zel_dateValidateFormat(df));
    ZEL_CHECK(rc = zel_dateValidateSeparator(ds));
    switch (df) {
        case ZEL_MMDDYYYY:
            return b_makeStr(subTag, fmtString, "MM%cDD%cYYYY", ds, ds);
        case ZEL_YYYYMMDD:
            return b_makeStr(subTag, fmtString, "YYYY%cMM%cDD", ds, ds);
        default:
            return b_makeStr(subTag, fmtString, "DD%cMM%cYYYY", ds, ds);
    }
}

ZEL_RETCODE zel_timeCreateFormatString(ZEL_TIME_FORMAT tf, B_TAG_SUB subTag, char **fmtString) {
    if (subTag == nullptr || fmtString == nullptr) return eINVNULLARG;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = zel_timeValidateFormat(tf));
    return b_tag_subCopyString(subTag, timeFormats[tf - 1].name, fmtString);
}

ZEL_RETCODE zel_dateParseFormatString(const char *format, ZEL_DATE_FORMAT *fmt_type,
                                      char *sep_char) {
    if (format == nullptr || fmt_type == nullptr || sep_char == nullptr) return eINVNULLARG;
    const char *p = format;
    while (*p != 0 && !dt_isDateSep(*p)) p++;
    if (*p == 0) return eINVDATEFMT;
    const char sep = *p;
    // Split at the separator: exactly three fields, none empty.
    const char *field[3];
    size_t len[3];
    int n = 0;
    const char *start = format;
    for (p = format;; p++) {
        if (*p == sep || *p == 0) {
            if (n == 3 || p == start) return eINVDATEFMT;
            field[n] = start;
            len[n++] = static_cast<size_t>(p - start);
            if (*p == 0) break;
            start = p + 1;
        }
    }
    if (n != 3) return eINVDATEFMT;
    // Each field names its part; the order of the parts is the format.
    static constexpr struct {
        ZEL_DATE_FORMAT fmt;
        const char *parts[3];
    } orders[3] = {{ZEL_MMDDYYYY, {"mm", "dd", "yyyy"}},
                   {ZEL_YYYYMMDD, {"yyyy", "mm", "dd"}},
                   {ZEL_DDMMYYYY, {"dd", "mm", "yyyy"}}};
    for (const auto &o : orders) {
        if (dt_equalsWord(field[0], len[0], o.parts[0]) &&
            dt_equalsWord(field[1], len[1], o.parts[1]) &&
            dt_equalsWord(field[2], len[2], o.parts[2])) {
            *fmt_type = o.fmt;
            *sep_char = sep;
            return sOKAY;
        }
    }
    return eINVDATEFMT;
}

ZEL_RETCODE zel_timeParseFormatString(const char *format, ZEL_TIME_FORMAT *fmt_type) {
    if (format == nullptr || fmt_type == nullptr) return eINVNULLARG;
    for (int i = 0; i < 7; i++) {
        if (dt_equalsNoCase(format, timeFormats[i].name)) {
            *fmt_type = static_cast<ZEL_TIME_FORMAT>(i + 1);
            return sOKAY;
        }
    }
    return eINVTIMEFMT;
}

}  // extern "C"
