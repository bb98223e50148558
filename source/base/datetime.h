/*
 * datetime.h - dates, times, timestamps and fixed-offset zones: packing and
 * unpacking, the calendar, zone shifts, the clock, and the text forms with
 * their parsers. Pure functions over the records of zeldatetimetypes.h and
 * read-only tables; only the clock functions reach the platform.
 */
#ifndef DATETIME_H
#define DATETIME_H

#include <stddef.h>
#include <stdint.h>

#include "stream_types.h"
#include "tag_types.h"
#include "zeldatetimetypes.h"
#include "zeltypes.h"

ZEL_EXTERN_C_BEGIN

/* ---- Parts of a date. None can fail; the date 0 gives meaningless parts.
 * Each zel_timestamp twin applies its zel_date function to the date word. */

/* "Sun".."Sat" / "Sunday".."Saturday" for the weekday of `dt`. */
const char *zel_dateDayAbr(ZEL_PACKED_DATE_T dt);
const char *zel_dateDayName(ZEL_PACKED_DATE_T dt);
/* 1 (Sunday) to 7 (Saturday): dt modulo 7, plus 1. Day 1 is a Monday. */
uint16_t zel_dateDayOfWeek(ZEL_PACKED_DATE_T dt);
uint16_t zel_dateDayOfMonth(ZEL_PACKED_DATE_T dt);
uint16_t zel_dateMonth(ZEL_PACKED_DATE_T dt);
int32_t zel_dateYear(ZEL_PACKED_DATE_T dt);
/* 1 January is day 1. */
uint16_t zel_dateDayOfYear(ZEL_PACKED_DATE_T dt);
const char *zel_dateMonthAbr(ZEL_PACKED_DATE_T dt);
const char *zel_dateMonthName(ZEL_PACKED_DATE_T dt);
/* (month + 2) / 3. */
uint16_t zel_dateQuarter(ZEL_PACKED_DATE_T dt);
/* Weeks counted from 1 January, whatever its weekday: days 1-7 are week 1. */
uint16_t zel_dateWeek(ZEL_PACKED_DATE_T dt);

const char *zel_timestampDayAbr(ZEL_PACKED_TIMESTAMP_T ts);
const char *zel_timestampDayName(ZEL_PACKED_TIMESTAMP_T ts);
uint16_t zel_timestampDayOfWeek(ZEL_PACKED_TIMESTAMP_T ts);
uint16_t zel_timestampDayOfMonth(ZEL_PACKED_TIMESTAMP_T ts);
uint16_t zel_timestampMonth(ZEL_PACKED_TIMESTAMP_T ts);
int32_t zel_timestampYear(ZEL_PACKED_TIMESTAMP_T ts);
uint16_t zel_timestampDayOfYear(ZEL_PACKED_TIMESTAMP_T ts);
const char *zel_timestampMonthAbr(ZEL_PACKED_TIMESTAMP_T ts);
const char *zel_timestampMonthName(ZEL_PACKED_TIMESTAMP_T ts);
uint16_t zel_timestampQuarter(ZEL_PACKED_TIMESTAMP_T ts);
uint16_t zel_timestampWeek(ZEL_PACKED_TIMESTAMP_T ts);

/* ---- Parts of a time. For a time of 24 hours or more, Minute, Second and
 * Fraction give 0 and Hour gives the out-of-range hour. */
uint16_t zel_timeHour(ZEL_PACKED_TIME_T tm);
uint16_t zel_timeMinute(ZEL_PACKED_TIME_T tm);
uint16_t zel_timeSecond(ZEL_PACKED_TIME_T tm);
uint16_t zel_timeFraction(ZEL_PACKED_TIME_T tm);
uint16_t zel_timestampHour(ZEL_PACKED_TIMESTAMP_T ts);
uint16_t zel_timestampMinute(ZEL_PACKED_TIMESTAMP_T ts);
uint16_t zel_timestampSecond(ZEL_PACKED_TIMESTAMP_T ts);
uint16_t zel_timestampFraction(ZEL_PACKED_TIMESTAMP_T ts);

/* ---- Zero values. The zero of a date is day 1, not day 0. */
ZEL_PACKED_DATE_T zel_dateZero(void);
ZEL_PACKED_TIME_T zel_timeZero(void);
ZEL_PACKED_TIMETZ_T zel_timetzZero(void);
ZEL_PACKED_TIMESTAMP_T zel_timestampZero(void);
ZEL_PACKED_TIMESTAMPTZ_T zel_timestamptzZero(void);

/* Orders two times with zone by their UTC time word alone. Deliberate: the
 * zone only says how to show the instant, so it is not compared. */
ZEL_COMPARE dt_timetzCompare(const ZEL_PACKED_TIMETZ_T *a, const ZEL_PACKED_TIMETZ_T *b);

/* ---- Pack and unpack. eINVNULLARG for a null pointer. */

/* eBASE_INVDATE for year below 1, month outside 1-12 or day outside 1-31. The
 * day is not held against the month: 31 February counts on into March. */
ZEL_NODISCARD ZEL_RETCODE zel_datePack(const ZEL_DATE_T *cd, ZEL_PACKED_DATE_T *dt);
/* A day above ZEL_DATE_MAX unpacks as day 1; day 0 unpacks to 30 December of
 * year 0. */
ZEL_NODISCARD ZEL_RETCODE zel_dateUnpack(ZEL_PACKED_DATE_T dt, ZEL_DATE_T *pZelDate);
/* eINVLITERAL for hour > 23, minute or second > 59, fraction > 9999. */
ZEL_NODISCARD ZEL_RETCODE zel_timePack(const ZEL_TIME_T *ct, ZEL_PACKED_TIME_T *tm);
/* eINVLITERAL for a time of 24 hours or more; then only hour and fraction of
 * *ct have been written. */
ZEL_NODISCARD ZEL_RETCODE zel_timeUnpack(ZEL_PACKED_TIME_T tm, ZEL_TIME_T *ct);
/* The date and time functions in sequence; on failure nothing is stored. */
ZEL_NODISCARD ZEL_RETCODE zel_timestampPack(const ZEL_TIMESTAMP_T *cts,
                                            ZEL_PACKED_TIMESTAMP_T *pTsVal);
ZEL_NODISCARD ZEL_RETCODE zel_timestampUnpack(ZEL_PACKED_TIMESTAMP_T tsVal, ZEL_TIMESTAMP_T *cts);
/* Fields as given, no zone shift: eBASE_INVTIMEZONE for tz out of range, then
 * as the time and date functions; tz is copied. */
ZEL_NODISCARD ZEL_RETCODE zel_timetzPack(const ZEL_TIMETZ_T *ctz, ZEL_PACKED_TIMETZ_T *tmz);
ZEL_NODISCARD ZEL_RETCODE zel_timetzUnpack(ZEL_PACKED_TIMETZ_T tmzVal, ZEL_TIMETZ_T *ctz);
ZEL_NODISCARD ZEL_RETCODE zel_timestamptzPack(const ZEL_TIMESTAMPTZ_T *ctsz,
                                              ZEL_PACKED_TIMESTAMPTZ_T *tsz);
ZEL_NODISCARD ZEL_RETCODE zel_timestamptzUnpack(ZEL_PACKED_TIMESTAMPTZ_T tszVal,
                                                ZEL_TIMESTAMPTZ_T *ctsz);

/* ---- Zone shifts. Each gives eBASE_INVTIMEZONE for a zone outside -840 to
 * 840 first. */

/* The time of the record, taken as UTC (its own tz is not used), shown in
 * `local_timezone`, wrapped into one day. A null pointer stores nothing. */
ZEL_NODISCARD ZEL_RETCODE zel_timetzToTime(ZEL_PACKED_TIMETZ_T timetzVal, int32_t local_timezone,
                                           ZEL_PACKED_TIME_T *pTimeVal);
/* As zel_timetzToTime, unpacked; eINVNULLARG for a null `ct`. */
ZEL_NODISCARD ZEL_RETCODE zel_timetzToZelTime(ZEL_PACKED_TIMETZ_T tmz, int32_t local_timezone,
                                              ZEL_TIME_T *ct);
/* The instant shown in `local_tz`; the date moves with the time.
 * eINVNULLARG for a null `pTsVal`. */
ZEL_NODISCARD ZEL_RETCODE zel_timestamptzToTimestamp(ZEL_PACKED_TIMESTAMPTZ_T tstzVal,
                                                     int32_t local_tz,
                                                     ZEL_PACKED_TIMESTAMP_T *pTsVal);
/* `tsVal` taken as local in `tz`, shifted to UTC and stored with tz.
 * eINVNULLARG for a null `pTszVal`. */
ZEL_NODISCARD ZEL_RETCODE zel_timestamptzFromTimestamp(ZEL_PACKED_TIMESTAMP_T tsVal, int32_t tz,
                                                       ZEL_PACKED_TIMESTAMPTZ_T *pTszVal);
/* Whole days between two timestamps, in either order; eINVNULLARG. */
ZEL_NODISCARD ZEL_RETCODE zel_timestampDaysDiff(ZEL_PACKED_TIMESTAMP_T start,
                                                ZEL_PACKED_TIMESTAMP_T end, uint32_t *diff);

/* ---- Clock. `time_zone` is the zone to show in: eBASE_INVTIMEZONE when out
 * of range; a null result pointer makes the call do nothing but that test. */
ZEL_NODISCARD ZEL_RETCODE zel_dateToday(int32_t time_zone, ZEL_PACKED_DATE_T *pdt);
ZEL_NODISCARD ZEL_RETCODE zel_timeNow(int32_t time_zone, ZEL_PACKED_TIME_T *ptm);
ZEL_NODISCARD ZEL_RETCODE zel_timestampNow(int32_t time_zone, ZEL_PACKED_TIMESTAMP_T *pts);
/* UTC time (and date) with tz set to the zone. */
ZEL_NODISCARD ZEL_RETCODE zel_timetzNow(int32_t tzValue, ZEL_PACKED_TIMETZ_T *tmz);
ZEL_NODISCARD ZEL_RETCODE zel_timestamptzNow(int32_t time_zone, ZEL_PACKED_TIMESTAMPTZ_T *tsz);
/* The same as text: YYYY-MM-DD, HH:MM:SS.FFFF, or both with a blank between
 * (the zone forms add a blank and the zone). The code is the clock's; the
 * formatter's is ignored, so a short buffer just holds a truncated text. */
ZEL_NODISCARD ZEL_RETCODE zel_dateNowAsString(int32_t time_zone, char *datebuf, size_t buflen);
ZEL_NODISCARD ZEL_RETCODE zel_timeNowAsString(int32_t tzValue, char *timebuf, size_t buflen);
ZEL_NODISCARD ZEL_RETCODE zel_timestampNowAsString(int32_t tzValue, char *tsbuf, size_t buflen);
ZEL_NODISCARD ZEL_RETCODE zel_timetzNowAsString(int32_t tzValue, char *timebuf, size_t buflen);
ZEL_NODISCARD ZEL_RETCODE zel_timestamptzNowAsString(int32_t tzValue, char *tszbuf, size_t buflen);
/* Seconds of a monotonic clock: for intervals, not a date. */
double zel_timestampNowAsDouble(void);

/* ---- Text out through an output function. The first failure of `fcn` is
 * returned. An unknown date or time format prints nothing of that part. */

/* eINVDATESEP for a separator other than - / .; eBASE_INVDATE for a date that
 * unpacks out of range (day 0). */
ZEL_NODISCARD ZEL_RETCODE dt_dateFormat(ZEL_PACKED_DATE_T dateVal, ZEL_DATE_FORMAT date_fmt,
                                        char date_sep, ZEL_OUTPUT_FCN fcn, B_OUTPUT_CTX ctx);
/* eINVLITERAL for a time of 24 hours or more. */
ZEL_NODISCARD ZEL_RETCODE dt_timeFormat(ZEL_PACKED_TIME_T timeVal, ZEL_TIME_FORMAT time_fmt,
                                        ZEL_OUTPUT_FCN fcn, B_OUTPUT_CTX ctx);
/* The time shown in the record's own zone, a blank, the zone. */
ZEL_NODISCARD ZEL_RETCODE dt_timetzFormat(ZEL_PACKED_TIMETZ_T timetzVal, ZEL_TIME_FORMAT time_fmt,
                                          ZEL_OUTPUT_FCN fcn, B_OUTPUT_CTX ctx);
/* Date, a blank, time. */
ZEL_NODISCARD ZEL_RETCODE dt_timestampFormat(ZEL_PACKED_TIMESTAMP_T tmsv, ZEL_DATE_FORMAT date_fmt,
                                             char date_sep, ZEL_TIME_FORMAT time_fmt,
                                             ZEL_OUTPUT_FCN fcn, B_OUTPUT_CTX ctx);
/* The digits shown in `tz_disp`, a blank, then the label of the record's own
 * tz (not tz_disp's). */
ZEL_NODISCARD ZEL_RETCODE dt_timestamptzFormat(ZEL_PACKED_TIMESTAMPTZ_T tstzv, int32_t tz_disp,
                                               ZEL_DATE_FORMAT date_fmt, char date_sep,
                                               ZEL_TIME_FORMAT time_fmt, ZEL_OUTPUT_FCN fcn,
                                               B_OUTPUT_CTX ctx);
/* "+HH:MM" or "-HH:MM"; + for 0. */
ZEL_NODISCARD ZEL_RETCODE dt_timezoneFormat(int32_t tz, ZEL_OUTPUT_FCN fcn, B_OUTPUT_CTX ctx);

/* ---- Text out into caller memory. The text is always terminated when `buf`
 * has room for at least the terminator. sTRUNCATE when `buf` is too small;
 * *puSize (if not null) gets the bytes stored with a buffer, and the bytes
 * needed, terminator included, without one (buf null or bufSize 0: measure).
 * Otherwise the codes of the dt_ functions. zel_timestamptzToString shows the
 * value in its own zone. */
ZEL_NODISCARD ZEL_RETCODE zel_dateToString(ZEL_PACKED_DATE_T dateVal, ZEL_DATE_FORMAT date_fmt,
                                           char date_sep, char *buf, size_t bufSize,
                                           size_t *puSize);
ZEL_NODISCARD ZEL_RETCODE zel_timeToString(ZEL_PACKED_TIME_T timeVal, ZEL_TIME_FORMAT time_fmt,
                                           char *buf, size_t bufSize, size_t *puSize);
ZEL_NODISCARD ZEL_RETCODE zel_timetzToString(ZEL_PACKED_TIMETZ_T timetzVal,
                                             ZEL_TIME_FORMAT time_fmt, char *buf, size_t bufSize,
                                             size_t *puSize);
ZEL_NODISCARD ZEL_RETCODE zel_timestampToString(ZEL_PACKED_TIMESTAMP_T tmsv,
                                                ZEL_DATE_FORMAT date_fmt, char date_sep,
                                                ZEL_TIME_FORMAT time_fmt, char *buf, size_t bufSize,
                                                size_t *puSize);
ZEL_NODISCARD ZEL_RETCODE zel_timestamptzToString(ZEL_PACKED_TIMESTAMPTZ_T tstzv,
                                                  ZEL_DATE_FORMAT date_fmt, char date_sep,
                                                  ZEL_TIME_FORMAT time_fmt, char *buf,
                                                  size_t bufSize, size_t *puSize);

/* ---- Text in. `str` is a terminated text. The zel_ forms give eINVNULLARG
 * for a null pointer; the dt_ forms require non-null arguments. Text after a
 * valid value is ignored.
 *
 * Dates: "2021-01-31" style numbers in the order of `date_fmt`, with two equal
 * separators from - / . (any of them, whatever date_fmt's own separator), or a
 * month word directly followed by the day: "Jan5, 2021", "january 5 2021" is
 * refused. eBASE_INVDATE for a bad date; eINVDATEFMT for a bad date_fmt with a
 * numeric date. */
ZEL_NODISCARD ZEL_RETCODE zel_dateFromString(const char *str, ZEL_DATE_FORMAT date_fmt,
                                             ZEL_PACKED_DATE_T *pdv);
ZEL_NODISCARD ZEL_RETCODE dt_dateFromString(const char *str, ZEL_DATE_FORMAT date_fmt,
                                            ZEL_PACKED_DATE_T *pdv);
/* HH:MM:SS, then optionally .N (N a whole number of ten-thousandths: ".5" is 5
 * units), then optionally am/pm (a, p, am, pm in either case, no blank before).
 * eINVLITERAL for any bad time. */
ZEL_NODISCARD ZEL_RETCODE zel_timeFromString(const char *str, ZEL_PACKED_TIME_T *ptm);
/* A time, then a zone "+HH:MM"; the time is local to the zone and is stored in
 * UTC. eRANGE for a missing or malformed zone, eINVLITERAL for zone minutes
 * above 59 or hours above 24, eBASE_INVTIMEZONE for a zone beyond 14 hours. */
ZEL_NODISCARD ZEL_RETCODE zel_timetzFromString(const char *str, ZEL_PACKED_TIMETZ_T *ptz);
ZEL_NODISCARD ZEL_RETCODE dt_timetzFromString(const char *str, ZEL_PACKED_TIMETZ_T *ptz);
/* A date, a time, or a date and a time. With no date the date is day 1; with
 * no time the time is 0; an empty text is day 1 at midnight. */
ZEL_NODISCARD ZEL_RETCODE zel_timestampFromString(const char *str, ZEL_DATE_FORMAT date_fmt,
                                                  ZEL_PACKED_TIMESTAMP_T *ptv);
ZEL_NODISCARD ZEL_RETCODE dt_timestampFromString(const char *str, ZEL_DATE_FORMAT date_fmt,
                                                 ZEL_PACKED_TIMESTAMP_T *ptv);
/* Date, time and zone, all required; stored in UTC with the zone. */
ZEL_NODISCARD ZEL_RETCODE zel_timestamptzFromString(const char *str, ZEL_DATE_FORMAT date_fmt,
                                                    ZEL_PACKED_TIMESTAMPTZ_T *ptsz);
ZEL_NODISCARD ZEL_RETCODE dt_timestamptzFromString(const char *str, ZEL_DATE_FORMAT date_fmt,
                                                   ZEL_PACKED_TIMESTAMPTZ_T *ptsz);
/* "+HH:MM" / "-HH:MM" after optional blanks, in minutes. Its range is not
 * tested here (the shifting callers do): eRANGE or eINVLITERAL as above. */
ZEL_NODISCARD ZEL_RETCODE zel_timezoneFromString(const char *str, int16_t *tz_disp);

/* ---- Formats. */
ZEL_NODISCARD ZEL_RETCODE zel_dateValidateFormat(ZEL_DATE_FORMAT df); /* eINVDATEFMT */
ZEL_NODISCARD ZEL_RETCODE zel_dateValidateSeparator(char date_sep);   /* eINVDATESEP */
ZEL_NODISCARD ZEL_RETCODE zel_timeValidateFormat(ZEL_TIME_FORMAT tf); /* eINVTIMEFMT */
/* A fresh text like "YYYY-MM-DD" on `subTag` in *fmtString (the caller frees it
 * on the tag). eINVDATEFMT, eINVDATESEP, eINVNULLARG, or the tag's code. */
ZEL_NODISCARD ZEL_RETCODE zel_dateCreateFormatString(ZEL_DATE_FORMAT df, char ds, B_TAG_SUB subTag,
                                                     char **fmtString);
/* Reads "yyyy-mm-dd" and the like, in any case: the order gives *fmt_type and
 * the separator *sep_char. eINVDATEFMT for anything else, an empty field
 * included; eINVNULLARG. */
ZEL_NODISCARD ZEL_RETCODE zel_dateParseFormatString(const char *format, ZEL_DATE_FORMAT *fmt_type,
                                                    char *sep_char);
/* A fresh copy of the format's name ("HH:MM:SS.FF"...) on `subTag`.
 * eINVTIMEFMT, eINVNULLARG, or the tag's code. */
ZEL_NODISCARD ZEL_RETCODE zel_timeCreateFormatString(ZEL_TIME_FORMAT tf, B_TAG_SUB subTag,
                                                     char **fmtString);
/* The format whose name matches `format`, in any case; eINVTIMEFMT. */
ZEL_NODISCARD ZEL_RETCODE zel_timeParseFormatString(const char *format, ZEL_TIME_FORMAT *fmt_type);

ZEL_EXTERN_C_END

#endif /* DATETIME_H */
