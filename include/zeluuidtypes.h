/*
 * zeluuidtypes.h - ZEL_UUID_T, the 16-byte UUID. The three multi-byte fields
 * hold their values most significant byte first on every processor (the byte
 * order of RFC 4122), so the record is stored and compared as 16 raw bytes.
 *
 *   OFFSET  SIZE  MEANING
 *        0     4  time_low, big-endian
 *        4     2  time_mid, big-endian
 *        6     2  time_high_and_version, big-endian; version in the top nibble
 *        8     1  clock_seq_high_and_reserved; variant in the top bits
 *        9     1  clock_seq_low
 *       10     6  node
 */
#ifndef ZELUUIDTYPES_H
#define ZELUUIDTYPES_H

#include <stdint.h>

typedef struct ZEL_UUID_S {
    uint32_t time_low;
    uint16_t time_mid;
    uint16_t time_high_and_version;
    uint8_t clock_seq_high_and_reserved;
    uint8_t clock_seq_low;
    uint8_t node[6];
} ZEL_UUID_T;

#endif /* ZELUUIDTYPES_H */
