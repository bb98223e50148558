// Dates, times and zones: the calendar against Python's datetime (vectors in
// data/good-datetime-*.txt from data/gen_datetime.py) and, exhaustively, against
// a literal transcription of the year-and-month walk; text in and out; zone
// shifts; every parse error with its code.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "datetime.h"
#include "oom.h"
#include "tag_fixture.h"
#include "tag_sub.h"
#include "vectors.h"

namespace {

ZEL_RETCODE Sink(B_OUTPUT_CTX ctx, uint32_t ch) {
    static_cast<std::string *>(ctx)->push_back(static_cast<char>(ch));
    return sOKAY;
}

// The walk over years and months as first designed, kept here as the model
// of the closed-form conversion.
int64_t RefMakeDate(int64_t year, int month, int64_t day) {
    static const int dpm[12] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    auto last = [&](int m) {
        int64_t r = year % 400;
        bool leap = year % 4 == 0 && r != 100 && r != 200 && r != 300;
        return m == 2 && leap ? 29 : dpm[m - 1];
    };
    int64_t n = day;
    for (int m = 1; m < month; m++) n += last(m);
    int64_t y = year - 1;
    return n + 365 * y + y / 4 - y / 100 + y / 400;
}

ZEL_DATE_T RefQueryDate(uint32_t date) {
    if (date > 3652059) date = 1;
    int64_t year = date / 366 + 1;
    while (date >= RefMakeDate(year, 1, 1)) year++;
    year--;
    int month = 1;
    static const int dpm[12] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    for (;; month++) {
        int64_t r = year % 400;
        bool leap = year % 4 == 0 && r != 100 && r != 200 && r != 300;
        int len = month == 2 && leap ? 29 : dpm[month - 1];
        if (RefMakeDate(year, month, len) >= date) break;
    }
    int64_t day = date + 1 - RefMakeDate(year, month, 1);
    return ZEL_DATE_T{static_cast<int32_t>(year), static_cast<uint16_t>(month),
                      static_cast<uint16_t>(day)};
}

std::string DateText(ZEL_PACKED_DATE_T d, ZEL_DATE_FORMAT f = ZEL_YYYYMMDD, char sep = '-') {
    std::string s;
    EXPECT_EQ(dt_dateFormat(d, f, sep, Sink, &s), sOKAY);
    return s;
}

std::string TimeText(ZEL_PACKED_TIME_T t, ZEL_TIME_FORMAT f) {
    std::string s;
    EXPECT_EQ(dt_timeFormat(t, f, Sink, &s), sOKAY);
    return s;
}

// What a parse gives, the parse expected to succeed.
template <class T>
T Parsed(ZEL_RETCODE (*parse)(const char *, T *), const char *text) {
    T out{};
    EXPECT_EQ(parse(text, &out), sOKAY) << text;
    return out;
}
template <class T>
T Parsed(ZEL_RETCODE (*parse)(const char *, ZEL_DATE_FORMAT, T *), const char *text,
         ZEL_DATE_FORMAT f) {
    T out{};
    EXPECT_EQ(parse(text, f, &out), sOKAY) << text;
    return out;
}
ZEL_PACKED_TIME_T Time(const char *s) {
    return Parsed(zel_timeFromString, s);
}
ZEL_PACKED_TIMESTAMP_T Stamp(const char *s, ZEL_DATE_FORMAT f = ZEL_YYYYMMDD) {
    return Parsed(zel_timestampFromString, s, f);
}
ZEL_PACKED_TIMESTAMPTZ_T StampTz(const char *s, ZEL_DATE_FORMAT f = ZEL_YYYYMMDD) {
    return Parsed(zel_timestamptzFromString, s, f);
}

ZEL_PACKED_DATE_T Pack(int32_t y, uint16_t m, uint16_t d) {
    ZEL_DATE_T cd{y, m, d};
    ZEL_PACKED_DATE_T dt = 0;
    EXPECT_EQ(zel_datePack(&cd, &dt), sOKAY);
    return dt;
}

TEST(DateCalendar, MatchesPythonOracle) {
    const auto rows = vectors_read("good-datetime-dates.txt");
    ASSERT_GT(rows.size(), 20000u);
    for (const VectorRow &row : rows) {
        // number y m d day-of-week day-of-year week quarter, and the time
        // stamp's week and year.
        const uint32_t n = std::stoul(row[0]);
        ZEL_DATE_T cd;
        ASSERT_EQ(zel_dateUnpack(n, &cd), sOKAY);
        const ZEL_PACKED_TIMESTAMP_T ts{n, 0};
        std::string got =
            std::to_string(Pack(std::stoi(row[1]), std::stoi(row[2]), std::stoi(row[3])));
        for (int64_t v : std::initializer_list<int64_t>{
                 cd.year, cd.month, cd.day, zel_dateDayOfWeek(n), zel_dateDayOfYear(n),
                 zel_dateWeek(n), zel_dateQuarter(n), zel_timestampWeek(ts), zel_timestampYear(ts)})
            got += " " + std::to_string(v);
        ASSERT_EQ(got, row[0] + " " + row[1] + " " + row[2] + " " + row[3] + " " + row[4] + " " +
                           row[5] + " " + row[6] + " " + row[7] + " " + row[6] + " " + row[1]);
    }
}

TEST(DateCalendar, EveryDayMatchesTheYearAndMonthWalk) {
    // Day 0 and two numbers past the calendar included.
    for (uint32_t n = 0; n <= 3652061; n++) {
        ZEL_DATE_T got, want = RefQueryDate(n);
        ASSERT_EQ(zel_dateUnpack(n, &got), sOKAY);
        ASSERT_TRUE(got.year == want.year && got.month == want.month && got.day == want.day)
            << n << ": " << got.year << "-" << got.month << "-" << got.day;
        if (n >= 1 && n <= 3652059) {
            ASSERT_EQ(RefMakeDate(got.year, got.month, got.day), n);
            ZEL_PACKED_DATE_T back;
            ASSERT_EQ(zel_datePack(&got, &back), sOKAY);
            ASSERT_EQ(back, n);
        }
    }
}

// What the oracle and the walk leave out.
TEST(DateCalendar, EdgeCases) {
    EXPECT_EQ(Pack(9999, 12, 31), 3652059u);
    EXPECT_EQ(zel_dateDayOfWeek(1), 2);  // 1 January of year 1 was a Monday
    EXPECT_STREQ(zel_dateDayName(1), "Monday");
    EXPECT_STREQ(zel_dateDayAbr(7), "Sun");
    for (int y : {1, 1582, 1900, 2000, 2021, 2100, 9999}) EXPECT_EQ(zel_dateWeek(Pack(y, 1, 8)), 2);
    EXPECT_EQ(zel_dateWeek(Pack(2021, 1, 7)), 1);
    // A number past the calendar reads as 1 January of year 1.
    EXPECT_EQ(DateText(3652060), "0001-01-01");
    EXPECT_EQ(DateText(0xFFFFFFFFu), "0001-01-01");
    // Day 0 unpacks to year 0, which printing refuses.
    std::string s;
    EXPECT_EQ(dt_dateFormat(0, ZEL_YYYYMMDD, '-', Sink, &s), eBASE_INVDATE);
    EXPECT_TRUE(s.empty());
    // The day is not held against the month: 31 February counts on.
    EXPECT_EQ(Pack(2021, 2, 31), Pack(2021, 3, 3));
    EXPECT_EQ(Pack(2020, 2, 31), Pack(2020, 3, 2));
    // Years past the calendar count on (and wrap in 32 bits) without overflow.
    EXPECT_EQ(Pack(10000, 1, 1), 3652060u);
    EXPECT_EQ(Pack(INT32_MAX, 12, 31), static_cast<uint32_t>(RefMakeDate(INT32_MAX, 12, 31)));
    EXPECT_STREQ(zel_dateMonthName(Pack(2021, 9, 1)), "September");
    EXPECT_STREQ(zel_timestampMonthAbr(ZEL_PACKED_TIMESTAMP_T{Pack(2021, 12, 9), 0}), "Dec");
}

// The UTC time word decides; the zone is deliberately not compared.
TEST(TimetzCompare, TimeWordOnly) {
    const ZEL_PACKED_TIMETZ_T a{100, 60}, b{100, -300}, c{101, -840};
    EXPECT_EQ(dt_timetzCompare(&a, &b), ZEL_EQ);
    EXPECT_EQ(dt_timetzCompare(&a, &c), ZEL_LT);
    EXPECT_EQ(dt_timetzCompare(&c, &b), ZEL_GT);
}

TEST(DatePack, RefusesFieldsOutOfRange) {
    ZEL_PACKED_DATE_T dt = 77;
    const ZEL_DATE_T bad[] = {{0, 1, 1},     {-5, 1, 1},   {2021, 0, 1},
                              {2021, 13, 1}, {2021, 1, 0}, {2021, 1, 32}};
    for (const auto &cd : bad) EXPECT_EQ(zel_datePack(&cd, &dt), eBASE_INVDATE);
    EXPECT_EQ(dt, 77u);
    EXPECT_EQ(zel_datePack(nullptr, &dt), eINVNULLARG);
    EXPECT_EQ(zel_dateUnpack(1, nullptr), eINVNULLARG);
}

TEST(TimePack, UnitsAndFields) {
    ZEL_TIME_T ct{23, 59, 59, 9999};
    ZEL_PACKED_TIME_T tm = 0;
    ASSERT_EQ(zel_timePack(&ct, &tm), sOKAY);
    EXPECT_EQ(tm, 863999999u);  // (23*3600 + 59*60 + 59) * 10000 + 9999
    const ZEL_TIME_T bad[] = {{24, 0, 0, 0}, {0, 60, 0, 0}, {0, 0, 60, 0}, {0, 0, 0, 10000}};
    for (const auto &b : bad) EXPECT_EQ(zel_timePack(&b, &tm), eINVLITERAL);
    EXPECT_EQ(tm, 863999999u);
    // Unpacking a time of 24 hours or more writes hour and fraction only.
    ZEL_TIME_T out{7, 7, 7, 7};
    EXPECT_EQ(zel_timeUnpack(864000000u + 12, &out), eINVLITERAL);
    auto hms = [](int h, int m, int s, int f) {
        return std::to_string(h) + ":" + std::to_string(m) + ":" + std::to_string(s) + "." +
               std::to_string(f);
    };
    EXPECT_EQ(hms(out.hour, out.minute, out.second, out.fraction), "24:7:7.12");
    for (auto [t, want] : {std::pair{900000000u, "25:0:0.0"}, {863999999u, "23:59:59.9999"}})
        EXPECT_EQ(hms(zel_timeHour(t), zel_timeMinute(t), zel_timeSecond(t), zel_timeFraction(t)),
                  want);
    EXPECT_EQ(zel_timestampFraction(ZEL_PACKED_TIMESTAMP_T{1, 863999999u}), 9999);
}

TEST(TimestampPack, NothingStoredOnFailure) {
    ZEL_TIMESTAMP_T cts{2021, 1, 1, 10, 30, 0, 5};
    ZEL_PACKED_TIMESTAMP_T ts{9, 9};
    ASSERT_EQ(zel_timestampPack(&cts, &ts), sOKAY);
    EXPECT_EQ(ts.date, Pack(2021, 1, 1));
    EXPECT_EQ(ts.time, 378000005u);
    cts.minute = 60;
    EXPECT_EQ(zel_timestampPack(&cts, &ts), eINVLITERAL);
    cts.minute = 0;
    cts.month = 0;
    EXPECT_EQ(zel_timestampPack(&cts, &ts), eBASE_INVDATE);
    EXPECT_EQ(ts.time, 378000005u);
    ZEL_TIMESTAMP_T back{};
    const ZEL_TIMESTAMP_T before = back;
    EXPECT_EQ(zel_timestampUnpack(ZEL_PACKED_TIMESTAMP_T{5, 864000000u}, &back), eINVLITERAL);
    EXPECT_EQ(std::memcmp(&back, &before, sizeof back), 0);
    ASSERT_EQ(zel_timestampUnpack(ts, &back), sOKAY);
    EXPECT_TRUE(back.year == 2021 && back.minute == 30);
}

TEST(ZonePack, ZoneIsCheckedFirstAndCopied) {
    ZEL_TIMETZ_T ctz{10, 0, 0, 0, 841};
    ZEL_PACKED_TIMETZ_T tmz{1, 1};
    EXPECT_EQ(zel_timetzPack(&ctz, &tmz), eBASE_INVTIMEZONE);
    ctz.hour = 24;
    EXPECT_EQ(zel_timetzPack(&ctz, &tmz), eBASE_INVTIMEZONE);
    ctz.tz = -840;
    EXPECT_EQ(zel_timetzPack(&ctz, &tmz), eINVLITERAL);
    ctz.hour = 10;
    ASSERT_EQ(zel_timetzPack(&ctz, &tmz), sOKAY);
    EXPECT_EQ(tmz.time, 360000000u);  // no shift: 10 * 3600 * 10000
    EXPECT_EQ(tmz.tz, -840);
    ZEL_TIMESTAMPTZ_T ctsz{2021, 6, 30, 1, 2, 3, 4, 330};
    ZEL_PACKED_TIMESTAMPTZ_T tsz;
    ASSERT_EQ(zel_timestamptzPack(&ctsz, &tsz), sOKAY);
    ZEL_TIMESTAMPTZ_T back;
    ASSERT_EQ(zel_timestamptzUnpack(tsz, &back), sOKAY);
    EXPECT_TRUE(back.year == 2021 && back.month == 6 && back.day == 30 && back.hour == 1 &&
                back.minute == 2 && back.second == 3 && back.fraction == 4 && back.tz == 330);
    tsz.tz = -841;
    EXPECT_EQ(zel_timestamptzUnpack(tsz, &back), eBASE_INVTIMEZONE);
}

TEST(PackedForms, StoredImage) {
    // 2021-01-01 00:30 +01:00 is 2020-12-31 23:30 UTC: day 737790 = 0x000B41FE,
    // 23.5 h = 846000000 units = 0x326CEF80, tz 60 = 0x003C; host order.
    ZEL_PACKED_TIMESTAMPTZ_T tsz;
    ASSERT_EQ(zel_timestamptzFromString("2021-01-01 00:30:00 +01:00", ZEL_YYYYMMDD, &tsz), sOKAY);
    uint8_t img[12];
    std::memcpy(img, &tsz, sizeof img);
    const uint8_t want[10] = {0xFE, 0x41, 0x0B, 0x00, 0x80, 0xEF, 0x6C, 0x32, 0x3C, 0x00};
    EXPECT_EQ(std::memcmp(img, want, sizeof want), 0);
}

TEST(TimeText, MatchesPythonOracleAtEveryWidth) {
    const auto rows = vectors_read("good-datetime-times.txt", '|');
    ASSERT_GT(rows.size(), 400u);
    for (const VectorRow &f : rows) {
        const std::string &line = f[0];
        ASSERT_EQ(f.size(), 9u);
        ZEL_PACKED_TIME_T tm;
        ASSERT_EQ(zel_timeFromString(f[0].c_str(), &tm), sOKAY) << line;
        ASSERT_EQ(tm, std::stoul(f[1])) << line;
        for (int w = 1; w <= 7; w++) {
            ASSERT_EQ(TimeText(tm, static_cast<ZEL_TIME_FORMAT>(w)), f[1 + w]) << line;
        }
    }
}

TEST(TimeText, LenientForms) {
    // clang-format off
    const std::pair<const char *, uint32_t> cases[] = {
        {"10:30:00", 378000000u},        {"12:00:00am", 0},
        {"01:00:00pm", 13u * 36000000u}, {"01:00:00P", 13u * 36000000u},
        {"12:00:00PM", 12u * 36000000u},  // noon stays 12
        {"01:00:00 pm", 36000000u},  // after a blank: unread
        {"10:30:00.5", 378000005u},  // whole units
        {"10:30:00.5000", 378005000u},   {" \t1:2:3xyz", 37230000u},
        {"00010:00:00", 360000000u},     {"13:00:00am", 13u * 36000000u}
    };  // only 12 moves
    // clang-format on
    for (auto [text, units] : cases) EXPECT_EQ(Time(text), units) << text;
}

TEST(TimeText, Errors) {
    // clang-format off
    const char *bad[] = {"10:30", "", "10", "10-30-00", "x10:30:00", "24:00:00", "10:60:00",
                         "10:00:60", "10:00:00.", "10:00:00.10000", "65536:0:0", "10:30:ab",
                         "99999999999:00:00", ":10:00"};
    // clang-format on
    for (const char *s : bad) {
        ZEL_PACKED_TIME_T tm = 5;
        EXPECT_EQ(zel_timeFromString(s, &tm), eINVLITERAL) << s;
        EXPECT_EQ(tm, 5u);
    }
    ZEL_PACKED_TIME_T tm;
    EXPECT_EQ(zel_timeFromString(nullptr, &tm), eINVNULLARG);
    EXPECT_EQ(zel_timeFromString("1:0:0", nullptr), eINVNULLARG);
    std::string s;
    EXPECT_EQ(dt_timeFormat(864000000u, ZEL_HHMMSS, Sink, &s), eINVLITERAL);
    EXPECT_EQ(dt_timeFormat(5, static_cast<ZEL_TIME_FORMAT>(8), Sink, &s), sOKAY);
    EXPECT_TRUE(s.empty());
}

TEST(DateText, MatchesPythonOracle) {
    const auto rows = vectors_read("good-datetime-text.txt", '|');
    ASSERT_GT(rows.size(), 1000u);
    for (const VectorRow &f : rows) {
        const std::string &line = f[0];
        ASSERT_EQ(f.size(), 3u);
        ZEL_PACKED_DATE_T dt = 0;
        ASSERT_EQ(
            zel_dateFromString(f[0].c_str(), static_cast<ZEL_DATE_FORMAT>(std::stoi(f[1])), &dt),
            sOKAY)
            << line;
        ASSERT_EQ(dt, std::stoul(f[2])) << line;
    }
}

TEST(DateText, PrintsInEveryFormat) {
    const ZEL_PACKED_DATE_T d = Pack(2021, 3, 7);
    EXPECT_EQ(DateText(d, ZEL_YYYYMMDD, '-'), "2021-03-07");
    EXPECT_EQ(DateText(d, ZEL_MMDDYYYY, '/'), "03/07/2021");
    EXPECT_EQ(DateText(d, ZEL_DDMMYYYY, '.'), "07.03.2021");
    EXPECT_EQ(DateText(Pack(5, 1, 2)), "0005-01-02");
    EXPECT_EQ(DateText(d, static_cast<ZEL_DATE_FORMAT>(0)), "");
    std::string s;
    EXPECT_EQ(dt_dateFormat(d, ZEL_YYYYMMDD, ':', Sink, &s), eINVDATESEP);
    ZEL_PACKED_TIMESTAMP_T ts{d, 378000005u};
    s.clear();
    ASSERT_EQ(dt_timestampFormat(ts, ZEL_DDMMYYYY, '/', ZEL_HHMMSSFFF, Sink, &s), sOKAY);
    EXPECT_EQ(s, "07/03/2021 10:30:00.000");
    // The first failure of the output function comes back at once.
    int calls = 0;
    auto failing = [](B_OUTPUT_CTX ctx, uint32_t) -> ZEL_RETCODE {
        return ++*static_cast<int *>(ctx) == 3 ? eNOMEMORY : sOKAY;
    };
    EXPECT_EQ(dt_timestampFormat(ts, ZEL_YYYYMMDD, '-', ZEL_HHMMSS, failing, &calls), eNOMEMORY);
    EXPECT_EQ(calls, 3);
}

TEST(DateText, LenientAndRefusedForms) {
    struct {
        const char *text;
        ZEL_DATE_FORMAT fmt;
        ZEL_RETCODE rc;
        int32_t y;
        uint16_t m, d;
    } cases[] = {
        {"2021-01-31", ZEL_YYYYMMDD, sOKAY, 2021, 1, 31},
        {"  \x01\xC3\xA9"
         "2021/1/31 trailing",
         ZEL_YYYYMMDD, sOKAY, 2021, 1, 31},
        {"2021.01.31", ZEL_MMDDYYYY, eBASE_INVDATE, 0, 0, 0},  // month 2021
        {"01-31-2021", ZEL_MMDDYYYY, sOKAY, 2021, 1, 31},
        {"31/01/2021", ZEL_DDMMYYYY, sOKAY, 2021, 1, 31},
        {"Jan5, 2021", ZEL_YYYYMMDD, sOKAY, 2021, 1, 5},
        {"SEPTEMBER30 , 1999", ZEL_MMDDYYYY, sOKAY, 1999, 9, 30},
        {"dec31 9999", ZEL_DDMMYYYY, sOKAY, 9999, 12, 31},
        {"February30, 2021", ZEL_YYYYMMDD, sOKAY, 2021, 3, 2},
        {"2021-01-01", static_cast<ZEL_DATE_FORMAT>(4), eINVDATEFMT, 0, 0, 0},
        {"2021-01", static_cast<ZEL_DATE_FORMAT>(4), eBASE_INVDATE, 0, 0, 0},  // numbers first
        {"Jan5, 2021", static_cast<ZEL_DATE_FORMAT>(0), sOKAY, 2021, 1, 5},
    };
    for (const auto &c : cases) {
        ZEL_PACKED_DATE_T dt = 42;
        ZEL_RETCODE rc = zel_dateFromString(c.text, c.fmt, &dt);
        EXPECT_EQ(rc, c.rc) << c.text;
        EXPECT_EQ(dt, c.rc == sOKAY ? Pack(c.y, c.m, c.d) : 42u) << c.text;
    }
    // Refused in the first format: a blank after the month word, separators
    // that differ, fields out of range, no day or no year.
    for (const char *text : {"Jan 5, 2021", "Janu5, 2021", "2021/01-01", "2021-01", "2021 01 01",
                             "32768-01-01", "2021-13-01", "2021-00-01", "2021-01-32", "0-01-01", "",
                             "   ", "+2021-01-01", "Jan, 2021", "Jan5,", "Jan5, 99999"}) {
        ZEL_PACKED_DATE_T dt = 42;
        EXPECT_EQ(zel_dateFromString(text, ZEL_YYYYMMDD, &dt), eBASE_INVDATE) << text;
        EXPECT_EQ(dt, 42u);
    }
    // A year above 9999 in the word form packs past the calendar.
    ZEL_PACKED_DATE_T dt;
    ASSERT_EQ(zel_dateFromString("Jan1, 10000", ZEL_YYYYMMDD, &dt), sOKAY);
    EXPECT_EQ(dt, 3652060u);
    EXPECT_EQ(zel_dateFromString(nullptr, ZEL_YYYYMMDD, &dt), eINVNULLARG);
}

TEST(TimestampText, DateAndOrTime) {
    const std::pair<const char *, ZEL_PACKED_TIMESTAMP_T> cases[] = {
        {"", {1, 0}},
        {"10:30:00", {1, 378000000u}},
        {"2021-03-07", {Pack(2021, 3, 7), 0}},
        {"2021-03-07  ", {Pack(2021, 3, 7), 0}},
        {"Mar7, 2021 1:02:03.4pm", {Pack(2021, 3, 7), 13u * 36000000u + 1230000u + 4u}}};
    for (auto [text, want] : cases) {
        const ZEL_PACKED_TIMESTAMP_T ts = Stamp(text);
        EXPECT_EQ(ts.date, want.date) << text;
        EXPECT_EQ(ts.time, want.time) << text;
    }
    ZEL_PACKED_TIMESTAMP_T ts{9, 9};
    for (const char *bad :
         {"2021-03-07T10:00:00", "2021-03-07 10:00", "garbage", "2021-13-07 10:00:00"})
        EXPECT_EQ(zel_timestampFromString(bad, ZEL_YYYYMMDD, &ts), eINVLITERAL) << bad;
    EXPECT_EQ(zel_timestampFromString("2021-03-07", static_cast<ZEL_DATE_FORMAT>(9), &ts),
              eINVDATEFMT);
    EXPECT_EQ(ts.date, 9u);
    EXPECT_EQ(zel_timestampFromString(nullptr, ZEL_YYYYMMDD, &ts), eINVNULLARG);
}

TEST(ZoneShift, MatchesPythonOracle) {
    const auto rows = vectors_read("good-datetime-zones.txt", '|');
    ASSERT_GT(rows.size(), 300u);
    for (const VectorRow &f : rows) {
        const std::string &line = f[0];
        ASSERT_EQ(f.size(), 5u);
        const std::string text = f[0] + " " + f[1];
        ZEL_PACKED_TIMESTAMPTZ_T tsz;
        ASSERT_EQ(zel_timestamptzFromString(text.c_str(), ZEL_YYYYMMDD, &tsz), sOKAY) << line;
        ASSERT_EQ(tsz.tz, std::stoi(f[2])) << line;
        ASSERT_EQ(tsz.date, std::stoul(f[3])) << line;
        ASSERT_EQ(tsz.time, std::stoul(f[4])) << line;
        std::string back;
        ASSERT_EQ(dt_timestamptzFormat(tsz, tsz.tz, ZEL_YYYYMMDD, '-', ZEL_HHMMSSFFFF, Sink, &back),
                  sOKAY);
        ASSERT_EQ(back, text);
        // The time alone as a time with zone: same UTC time, no date.
        const std::string ttext = f[0].substr(11) + " " + f[1];
        ZEL_PACKED_TIMETZ_T tmz;
        ASSERT_EQ(zel_timetzFromString(ttext.c_str(), &tmz), sOKAY) << line;
        ASSERT_EQ(tmz.time, tsz.time) << line;
        ZEL_PACKED_TIME_T local;
        ASSERT_EQ(zel_timetzToTime(tmz, tsz.tz, &local), sOKAY);
        ZEL_PACKED_TIME_T direct;
        ASSERT_EQ(zel_timeFromString(f[0].c_str() + 11, &direct), sOKAY);
        ASSERT_EQ(local, direct) << line;
    }
}

TEST(ZoneShift, EdgeCases) {
    ZEL_PACKED_TIMETZ_T tmz = Parsed(zel_timetzFromString, "23:30:00 -01:00");
    EXPECT_EQ(tmz.time, 5u * 3600000u);  // 00:30 UTC, no date to carry
    EXPECT_EQ(tmz.tz, -60);
    std::string s;
    ASSERT_EQ(dt_timetzFormat(tmz, ZEL_HHMMSS, Sink, &s), sOKAY);
    EXPECT_EQ(s, "23:30:00 -01:00");

    ZEL_PACKED_TIMESTAMPTZ_T tsz = StampTz("2021-01-01 00:30:00 +01:00");
    EXPECT_EQ(tsz.date, Pack(2020, 12, 31));
    EXPECT_EQ(tsz.time, 23u * 36000000u + 30u * 600000u);
    EXPECT_EQ(tsz.tz, 60);
    s.clear();
    ASSERT_EQ(dt_timestamptzFormat(tsz, tsz.tz, ZEL_YYYYMMDD, '-', ZEL_HHMMSS, Sink, &s), sOKAY);
    EXPECT_EQ(s, "2021-01-01 00:30:00 +01:00");
    // Digits of one zone, label of the value's own.
    s.clear();
    ASSERT_EQ(dt_timestamptzFormat(tsz, -120, ZEL_YYYYMMDD, '-', ZEL_HHMM, Sink, &s), sOKAY);
    EXPECT_EQ(s, "2020-12-31 21:30 +01:00");
    ZEL_PACKED_TIMESTAMP_T ts;
    ASSERT_EQ(zel_timestamptzToTimestamp(tsz, 840, &ts), sOKAY);
    EXPECT_EQ(ts.date, Pack(2021, 1, 1));
    EXPECT_EQ(ts.time, 13u * 36000000u + 30u * 600000u);
    EXPECT_EQ(zel_timestamptzToTimestamp(tsz, 841, &ts), eBASE_INVTIMEZONE);
    EXPECT_EQ(zel_timestamptzFromTimestamp(ts, -841, &tsz), eBASE_INVTIMEZONE);
    EXPECT_EQ(zel_timestamptzToTimestamp(tsz, 0, nullptr), eINVNULLARG);
    ZEL_PACKED_TIME_T tm;
    EXPECT_EQ(zel_timetzToTime(tmz, 900, &tm), eBASE_INVTIMEZONE);
    EXPECT_EQ(zel_timetzToTime(tmz, 0, nullptr), sOKAY);
    ZEL_TIME_T ct;
    ASSERT_EQ(zel_timetzToZelTime(tmz, 330, &ct), sOKAY);  // 00:30 UTC + 5:30
    EXPECT_TRUE(ct.hour == 6 && ct.minute == 0);
    EXPECT_EQ(zel_timetzToZelTime(tmz, 330, nullptr), eINVNULLARG);
    // Across the year and a leap day, both ways.
    ZEL_PACKED_TIMESTAMP_T lt{Pack(2000, 2, 28), 23u * 36000000u};
    ASSERT_EQ(zel_timestamptzFromTimestamp(lt, -120, &tsz), sOKAY);
    EXPECT_EQ(tsz.date, Pack(2000, 2, 29));
    EXPECT_EQ(tsz.time, 36000000u);
    lt = ZEL_PACKED_TIMESTAMP_T{Pack(2000, 1, 1), 0};
    ASSERT_EQ(zel_timestamptzFromTimestamp(lt, 1, &tsz), sOKAY);
    EXPECT_EQ(tsz.date, Pack(1999, 12, 31));
    EXPECT_EQ(tsz.time, 864000000u - 600000u);
}

TEST(ZoneText, ParsingAndErrors) {
    // The range is tested by the shifters.
    for (auto [text, zone] :
         {std::pair{" +05:30", 330}, {"-00:01", -1}, {"+14:01", 841}, {"+24:59", 1499}})
        EXPECT_EQ(Parsed(zel_timezoneFromString, text), zone) << text;
    int16_t tz = 7;
    tz = 7;
    const struct {
        const char *text;
        ZEL_RETCODE rc;
    } bad[] = {{"05:30", eRANGE},       {"+", eRANGE},           {"+05", eRANGE},
               {"+05:", eRANGE},        {"+05-30", eRANGE},      {"", eRANGE},
               {"+25:00", eINVLITERAL}, {"-01:60", eINVLITERAL}, {"+99999:00", eRANGE}};
    for (const auto &b : bad) EXPECT_EQ(zel_timezoneFromString(b.text, &tz), b.rc) << b.text;
    EXPECT_EQ(tz, 7);
    ZEL_PACKED_TIMETZ_T tmz{3, 3};
    EXPECT_EQ(zel_timetzFromString("10:00:00 +14:01", &tmz), eBASE_INVTIMEZONE);
    EXPECT_EQ(zel_timetzFromString("10:00:00", &tmz), eRANGE);
    EXPECT_EQ(zel_timetzFromString("10:00 +01:00", &tmz), eINVLITERAL);
    EXPECT_EQ(zel_timetzFromString("10:00:00 +01:75", &tmz), eINVLITERAL);
    EXPECT_EQ(tmz.time, 3u);
    ZEL_PACKED_TIMESTAMPTZ_T tsz{4, 4, 4};
    EXPECT_EQ(zel_timestamptzFromString("10:00:00 +01:00", ZEL_YYYYMMDD, &tsz), eBASE_INVDATE);
    EXPECT_EQ(zel_timestamptzFromString("2021-01-01 +01:00", ZEL_YYYYMMDD, &tsz), eINVLITERAL);
    EXPECT_EQ(zel_timestamptzFromString("2021-01-01 10:00:00", ZEL_YYYYMMDD, &tsz), eRANGE);
    EXPECT_EQ(zel_timestamptzFromString("2021-01-01 10:00:00 -14:30", ZEL_YYYYMMDD, &tsz),
              eBASE_INVTIMEZONE);
    EXPECT_EQ(tsz.date, 4u);
    std::string s;
    ASSERT_EQ(dt_timezoneFormat(0, Sink, &s), sOKAY);
    ASSERT_EQ(dt_timezoneFormat(-765, Sink, &s), sOKAY);
    EXPECT_EQ(s, "+00:00-12:45");
    ZEL_PACKED_TIMETZ_T badtz{0, 900};
    EXPECT_EQ(dt_timetzFormat(badtz, ZEL_HHMM, Sink, &s), eBASE_INVTIMEZONE);
}

TEST(DaysDiff, WholeDaysEitherOrder) {
    const ZEL_PACKED_TIMESTAMP_T a{100, 500}, b{103, 400}, c{103, 600};
    for (auto [x, y, days] : {std::tuple{a, b, 2u}, {c, a, 3u}, {b, c, 0u}}) {
        uint32_t d = 99;
        ASSERT_EQ(zel_timestampDaysDiff(x, y, &d), sOKAY);
        EXPECT_EQ(d, days);
    }
    EXPECT_EQ(zel_timestampDaysDiff(a, b, nullptr), eINVNULLARG);
}

TEST(Formats, ValidateAndParse) {
    const std::pair<ZEL_RETCODE, ZEL_RETCODE> valid[] = {
        {zel_dateValidateFormat(static_cast<ZEL_DATE_FORMAT>(0)), eINVDATEFMT},
        {zel_dateValidateFormat(ZEL_DDMMYYYY), sOKAY},
        {zel_dateValidateFormat(static_cast<ZEL_DATE_FORMAT>(4)), eINVDATEFMT},
        {zel_dateValidateSeparator('/'), sOKAY},
        {zel_dateValidateSeparator(' '), eINVDATESEP},
        {zel_timeValidateFormat(ZEL_HHMMSSFFFF), sOKAY},
        {zel_timeValidateFormat(static_cast<ZEL_TIME_FORMAT>(8)), eINVTIMEFMT}};
    for (auto [got, want] : valid) EXPECT_EQ(got, want);
    ZEL_DATE_FORMAT df = ZEL_MMDDYYYY;
    char sep = 'x';
    for (auto [text, f, c] : {std::tuple{"YYYY-mm-DD", ZEL_YYYYMMDD, '-'},
                              {"dd.MM.yyyy", ZEL_DDMMYYYY, '.'},
                              {"mm/dd/yyyy", ZEL_MMDDYYYY, '/'}}) {
        ASSERT_EQ(zel_dateParseFormatString(text, &df, &sep), sOKAY) << text;
        EXPECT_EQ(df, f);
        EXPECT_EQ(sep, c);
    }
    for (const char *bad : {"yyyy-mm", "yyyy-mm-dd-", "yyyy-dd-mm", "yyyy/mm-dd", "yyyymmdd",
                            "-yyyy-mm", "yyyy--mm", "yy-mm-dd", "", "yyyy-mm-ddd"}) {
        EXPECT_EQ(zel_dateParseFormatString(bad, &df, &sep), eINVDATEFMT) << bad;
    }
    EXPECT_EQ(sep, '/');
    ZEL_TIME_FORMAT tf = ZEL_HH;
    ASSERT_EQ(zel_timeParseFormatString("hh:mm:ss.ff", &tf), sOKAY);
    EXPECT_EQ(tf, ZEL_HHMMSSFF);
    ASSERT_EQ(zel_timeParseFormatString("HH", &tf), sOKAY);
    EXPECT_EQ(tf, ZEL_HH);
    EXPECT_EQ(zel_timeParseFormatString("HH:MM:SS.FFFFF", &tf), eINVTIMEFMT);
    EXPECT_EQ(zel_timeParseFormatString("HH-MM", &tf), eINVTIMEFMT);
    EXPECT_EQ(zel_timeParseFormatString(nullptr, &tf), eINVNULLARG);
}

TEST(Clock, NowAgreesWithTheSystemClock) {
    const time_t now = time(nullptr);
    ZEL_PACKED_TIMESTAMP_T ts;
    ASSERT_EQ(zel_timestampNow(0, &ts), sOKAY);
    const int64_t secs = (static_cast<int64_t>(ts.date) - 719163) * 86400 + ts.time / 10000;
    EXPECT_LE(std::llabs(secs - static_cast<int64_t>(now)), 2);
    ZEL_PACKED_DATE_T d;
    ASSERT_EQ(zel_dateToday(840, &d), sOKAY);
    EXPECT_GE(d, ts.date);
    EXPECT_LE(d, ts.date + 1);
    EXPECT_EQ(zel_dateToday(841, &d), eBASE_INVTIMEZONE);
    EXPECT_EQ(zel_timeNow(-841, nullptr), eBASE_INVTIMEZONE);
    EXPECT_EQ(zel_timeNow(0, nullptr), sOKAY);
    ZEL_PACKED_TIMESTAMPTZ_T tsz;
    ASSERT_EQ(zel_timestamptzNow(-300, &tsz), sOKAY);
    EXPECT_EQ(tsz.tz, -300);
    EXPECT_LE(tsz.date - ts.date, 1u);  // UTC, not shifted
    ZEL_PACKED_TIMETZ_T tmz;
    ASSERT_EQ(zel_timetzNow(60, &tmz), sOKAY);
    EXPECT_EQ(tmz.tz, 60);
    EXPECT_LT(tmz.time, 864000000u);
    const double a = zel_timestampNowAsDouble(), b = zel_timestampNowAsDouble();
    EXPECT_LE(a, b);
}

TEST(TextOut, MeasuresAndTruncates) {
    const ZEL_PACKED_TIMESTAMP_T ts{Pack(2021, 3, 7), 378000005u};
    size_t n = 0;
    // No buffer: the size needed, terminator included.
    ASSERT_EQ(zel_timestampToString(ts, ZEL_YYYYMMDD, '-', ZEL_HHMMSSFFFF, nullptr, 0, &n), sOKAY);
    EXPECT_EQ(n, 25u);  // "2021-03-07 10:30:00.0005" and the terminator
    char buf[32];
    ASSERT_EQ(zel_timestampToString(ts, ZEL_YYYYMMDD, '-', ZEL_HHMMSSFFFF, buf, sizeof buf, &n),
              sOKAY);
    EXPECT_STREQ(buf, "2021-03-07 10:30:00.0005");
    EXPECT_EQ(n, 25u);
    ASSERT_EQ(zel_timestampToString(ts, ZEL_YYYYMMDD, '-', ZEL_HHMMSSFFFF, buf, 25, &n), sOKAY);
    EXPECT_EQ(zel_timestampToString(ts, ZEL_YYYYMMDD, '-', ZEL_HHMMSSFFFF, buf, 24, &n), sTRUNCATE);
    EXPECT_STREQ(buf, "2021-03-07 10:30:00.000");
    EXPECT_EQ(n, 24u);
    EXPECT_EQ(zel_dateToString(ts.date, ZEL_DDMMYYYY, '.', buf, 1, &n), sTRUNCATE);
    EXPECT_STREQ(buf, "");
    ASSERT_EQ(zel_dateToString(ts.date, ZEL_DDMMYYYY, '.', buf, sizeof buf, nullptr), sOKAY);
    EXPECT_STREQ(buf, "07.03.2021");
    ASSERT_EQ(zel_timeToString(ts.time, ZEL_HHMMSSF, buf, sizeof buf, &n), sOKAY);
    EXPECT_STREQ(buf, "10:30:00.0");
    n = 99;
    EXPECT_EQ(zel_dateToString(0, ZEL_YYYYMMDD, '-', buf, sizeof buf, &n), eBASE_INVDATE);
    EXPECT_EQ(zel_timeToString(864000000u, ZEL_HH, buf, sizeof buf, &n), eINVLITERAL);
    EXPECT_EQ(n, 99u);
    const ZEL_PACKED_TIMETZ_T tmz = Parsed(zel_timetzFromString, "23:30:00.25 +05:45");
    ASSERT_EQ(zel_timetzToString(tmz, ZEL_HHMMSSFF, buf, sizeof buf, &n), sOKAY);
    EXPECT_STREQ(buf, "23:30:00.00 +05:45");
    const ZEL_PACKED_TIMESTAMPTZ_T tsz = StampTz("1/2/2000 0:0:0 -00:30", ZEL_MMDDYYYY);
    ASSERT_EQ(zel_timestamptzToString(tsz, ZEL_MMDDYYYY, '/', ZEL_HHMMSS, buf, sizeof buf, &n),
              sOKAY);
    EXPECT_STREQ(buf, "01/02/2000 00:00:00 -00:30");
}

TEST(Clock, NowAsText) {
    char buf[64];
    ASSERT_EQ(zel_dateNowAsString(0, buf, sizeof buf), sOKAY);
    EXPECT_EQ(std::strlen(buf), 10u);
    ZEL_PACKED_DATE_T d;
    EXPECT_EQ(zel_dateFromString(buf, ZEL_YYYYMMDD, &d), sOKAY);
    ASSERT_EQ(zel_timestampNowAsString(330, buf, sizeof buf), sOKAY);
    EXPECT_EQ(std::strlen(buf), 24u);
    ZEL_PACKED_TIMESTAMP_T ts;
    EXPECT_EQ(zel_timestampFromString(buf, ZEL_YYYYMMDD, &ts), sOKAY);
    ASSERT_EQ(zel_timestamptzNowAsString(-90, buf, sizeof buf), sOKAY);
    EXPECT_STREQ(buf + 24, " -01:30");
    ASSERT_EQ(zel_timetzNowAsString(0, buf, sizeof buf), sOKAY);
    EXPECT_STREQ(buf + 13, " +00:00");
    ASSERT_EQ(zel_timeNowAsString(0, buf, 6), sOKAY);  // the formatter's truncation is ignored
    EXPECT_EQ(std::strlen(buf), 5u);
    EXPECT_EQ(zel_timeNowAsString(999, buf, sizeof buf), eBASE_INVTIMEZONE);
    EXPECT_EQ(zel_dateNowAsString(0, nullptr, 0), sOKAY);
}

class FormatStrings : public TaggedTest {};

TEST_F(FormatStrings, CreateOnTheTag) {
    char *f = nullptr;
    ASSERT_EQ(zel_dateCreateFormatString(ZEL_DDMMYYYY, '.', sub, &f), sOKAY);
    EXPECT_STREQ(f, "DD.MM.YYYY");
    ZEL_DATE_FORMAT df;
    char sep;
    ASSERT_EQ(zel_dateParseFormatString(f, &df, &sep), sOKAY);
    EXPECT_EQ(df, ZEL_DDMMYYYY);
    b_tag_subFree(sub, f);
    ASSERT_EQ(zel_dateCreateFormatString(ZEL_MMDDYYYY, '/', sub, &f), sOKAY);
    EXPECT_STREQ(f, "MM/DD/YYYY");
    b_tag_subFree(sub, f);
    f = nullptr;
    EXPECT_EQ(zel_dateCreateFormatString(static_cast<ZEL_DATE_FORMAT>(0), '-', sub, &f),
              eINVDATEFMT);
    EXPECT_EQ(zel_dateCreateFormatString(ZEL_YYYYMMDD, ',', sub, &f), eINVDATESEP);
    EXPECT_EQ(zel_dateCreateFormatString(ZEL_YYYYMMDD, '-', sub, nullptr), eINVNULLARG);
    EXPECT_EQ(f, nullptr);
    for (int tf = 1; tf <= 7; tf++) {
        ASSERT_EQ(zel_timeCreateFormatString(static_cast<ZEL_TIME_FORMAT>(tf), sub, &f), sOKAY);
        ZEL_TIME_FORMAT back;
        ASSERT_EQ(zel_timeParseFormatString(f, &back), sOKAY) << f;
        EXPECT_EQ(back, tf);
        b_tag_subFree(sub, f);
    }
    f = nullptr;
    EXPECT_EQ(zel_timeCreateFormatString(static_cast<ZEL_TIME_FORMAT>(0), sub, &f), eINVTIMEFMT);
    EXPECT_EQ(f, nullptr);
}

TEST_F(FormatStrings, UnderFailingAllocations) {
    for (bool date : {true, false}) {
        EXPECT_EQ(oom_check(master, {sub},
                            [&] {
                                char *f = nullptr;
                                const ZEL_RETCODE rc =
                                    date ? zel_dateCreateFormatString(ZEL_YYYYMMDD, '-', sub, &f)
                                         : zel_timeCreateFormatString(ZEL_HHMMSSFF, sub, &f);
                                if (rc != sOKAY) {
                                    EXPECT_EQ(f, nullptr);
                                    return rc;
                                }
                                EXPECT_STREQ(f, date ? "YYYY-MM-DD" : "HH:MM:SS.FF");
                                b_tag_subFree(sub, f);
                                return rc;
                            }),
                  1);
    }
}

}  // namespace
