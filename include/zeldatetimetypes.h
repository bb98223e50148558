/*
 * zeldatetimetypes.h - the date and time types of the engine, packed and
 * unpacked. A packed value is a number (or a pair of numbers) that sorts as
 * the instant it stands for, so rows and indexes compare it without decoding;
 * the unpacked records hold named fields for people.
 * Compiles as C11 and as C++20.
 */
#ifndef ZELDATETIMETYPES_H
#define ZELDATETIMETYPES_H

#include <stdint.h>

#include "zeltypes.h"

/* Day number: day 1 is 1 January of year 1 of the proleptic Gregorian
 * calendar, day 719163 is 1 January 1970, day 3652059 is 31 December 9999. */
typedef uint32_t ZEL_PACKED_DATE_T;
/* Ten-thousandths of a second since midnight, 0 to 863999999. */
typedef uint32_t ZEL_PACKED_TIME_T;

#define ZEL_DATE_MAX 3652059u         /* 31 December 9999 */
#define ZEL_DATE_UNIX_EPOCH 719163u   /* 1 January 1970 */
#define ZEL_TIME_UNITS_PER_SEC 10000u /* one time unit is 100 microseconds */
#define ZEL_TIME_UNITS_PER_MIN 600000u
#define ZEL_TIME_UNITS_PER_DAY 864000000u
/* A zone is a displacement from UTC in minutes, east positive. */
#define ZEL_TIMEZONE_MIN (-840)
#define ZEL_TIMEZONE_MAX 840

/* The packed records are stored as images in expanded rows.
 *
 * ZEL_PACKED_TIMESTAMP_T      ZEL_PACKED_TIMETZ_T        ZEL_PACKED_TIMESTAMPTZ_T
 * OFFSET SIZE MEANING         OFFSET SIZE MEANING        OFFSET SIZE MEANING
 *      0    4 date (local)         0    4 time (UTC)          0    4 date (UTC)
 *      4    4 time (local)         4    2 tz, minutes         4    4 time (UTC)
 *                                  6    2 padding             8    2 tz, minutes
 *                                                            10    2 padding
 * The forms with a zone keep the instant in UTC, so that they compare as
 * instants; tz only says how to show them. */
typedef struct ZEL_PACKED_TIMESTAMP_S {
    ZEL_PACKED_DATE_T date;
    ZEL_PACKED_TIME_T time;
} ZEL_PACKED_TIMESTAMP_T;

typedef struct ZEL_PACKED_TIMETZ_S {
    ZEL_PACKED_TIME_T time;
    int16_t tz;
} ZEL_PACKED_TIMETZ_T;

typedef struct ZEL_PACKED_TIMESTAMPTZ_S {
    ZEL_PACKED_DATE_T date;
    ZEL_PACKED_TIME_T time;
    int16_t tz;
} ZEL_PACKED_TIMESTAMPTZ_T;

/* Unpacked forms. month 1 to 12, day 1 to 31, hour 0 to 23, minute and second
 * 0 to 59, fraction 0 to 9999 ten-thousandths, tz -840 to 840. */
typedef struct ZEL_DATE_S {
    int32_t year;
    uint16_t month;
    uint16_t day;
} ZEL_DATE_T;

typedef struct ZEL_TIME_S {
    uint16_t hour;
    uint16_t minute;
    uint16_t second;
    uint16_t fraction;
} ZEL_TIME_T;

typedef struct ZEL_TIMESTAMP_S {
    int32_t year;
    uint16_t month;
    uint16_t day;
    uint16_t hour;
    uint16_t minute;
    uint16_t second;
    uint16_t fraction;
} ZEL_TIMESTAMP_T;

typedef struct ZEL_TIMETZ_S {
    uint16_t hour;
    uint16_t minute;
    uint16_t second;
    uint16_t fraction;
    int16_t tz;
} ZEL_TIMETZ_T;

typedef struct ZEL_TIMESTAMPTZ_S {
    int32_t year;
    uint16_t month;
    uint16_t day;
    uint16_t hour;
    uint16_t minute;
    uint16_t second;
    uint16_t fraction;
    int16_t tz;
} ZEL_TIMESTAMPTZ_T;

/* Order of the fields of a date in text. The functions refuse other values
 * with a code; the last enumerator makes the type span 32 bits, so that such
 * a value is representable in C++ too. */
typedef enum ZEL_DATE_FORMAT_E {
    ZEL_MMDDYYYY = 1,
    ZEL_YYYYMMDD = 2,
    ZEL_DDMMYYYY = 3,
    ZEL_DATE_FORMAT_FORCE_INT32 = 0x7FFFFFFF
} ZEL_DATE_FORMAT;

/* Fields of a time in text; the F forms print 1 to 4 fraction digits,
 * truncating. */
typedef enum ZEL_TIME_FORMAT_E {
    ZEL_HH = 1,
    ZEL_HHMM = 2,
    ZEL_HHMMSS = 3,
    ZEL_HHMMSSF = 4,
    ZEL_HHMMSSFF = 5,
    ZEL_HHMMSSFFF = 6,
    ZEL_HHMMSSFFFF = 7,
    ZEL_TIME_FORMAT_FORCE_INT32 = 0x7FFFFFFF /* as above */
} ZEL_TIME_FORMAT;

#endif /* ZELDATETIMETYPES_H */
