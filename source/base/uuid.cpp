/*
 * uuid.cpp - the UUID codec. The record keeps its multi-byte fields in
 * network order whatever the host, so every function converts at the edge:
 * creation and parsing compute host numbers and store them big-endian,
 * printing loads them back. Parsing is one pass that collects the digits of
 * up to five groups, skipping blanks and tracking the braces.
 */
#include "uuid.h"

#include <bit>
#include <cstddef>
#include <cstring>

#include "format.h"
#include "psp.h"

static_assert(sizeof(ZEL_UUID_T) == 16);
static_assert(offsetof(ZEL_UUID_T, time_low) == 0);
static_assert(offsetof(ZEL_UUID_T, time_mid) == 4);
static_assert(offsetof(ZEL_UUID_T, time_high_and_version) == 6);
static_assert(offsetof(ZEL_UUID_T, clock_seq_high_and_reserved) == 8);
static_assert(offsetof(ZEL_UUID_T, clock_seq_low) == 9);
static_assert(offsetof(ZEL_UUID_T, node) == 10);

namespace {

// Host order to and from the record's most-significant-first order.
constexpr bool b_uuidHostLittle = std::endian::native == std::endian::little;
constexpr uint32_t b_uuidBig(uint32_t v) {
    return b_uuidHostLittle ? __builtin_bswap32(v) : v;
}
constexpr uint16_t b_uuidBig(uint16_t v) {
    return b_uuidHostLittle ? __builtin_bswap16(v) : v;
}

constexpr int B_UUID_GROUPS = 5;
constexpr int B_UUID_MAX_DIGITS = 12;
constexpr int b_uuidGroupDigits[B_UUID_GROUPS] = {8, 4, 4, 4, 12};

int b_uuidHexValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

}  // namespace

extern "C" {

ZEL_RETCODE zel_uuidCreate(ZEL_UUID_T *uuid) {
    if (uuid == nullptr) return eINVNULLARG;
    uint64_t first = psp_envSeed(0);
    uint64_t second = psp_envSeed(first);
    ZEL_UUID_T u;
    std::memcpy(reinterpret_cast<uint8_t *>(&u), &first, 8);
    std::memcpy(reinterpret_cast<uint8_t *>(&u) + 8, &second, 8);
    u.clock_seq_high_and_reserved =
        static_cast<uint8_t>((u.clock_seq_high_and_reserved & 0x3F) | 0x80);
    u.time_high_and_version = static_cast<uint16_t>((u.time_high_and_version & 0x0FFF) | 0x4000);
    u.time_low = b_uuidBig(u.time_low);
    u.time_mid = b_uuidBig(u.time_mid);
    u.time_high_and_version = b_uuidBig(u.time_high_and_version);
    *uuid = u;
    return sOKAY;
}

ZEL_RETCODE b_uuidFormat(const ZEL_UUID_T *uuid, ZEL_BOOL_T braces, ZEL_OUTPUT_FCN fcn,
                         B_OUTPUT_CTX ctx) {
    if (uuid == nullptr || fcn == nullptr) return eINVNULLARG;
    const char *open = braces ? "{" : "";
    const char *close = braces ? "}" : "";
    return b_fnprintf(fcn, ctx, "%s%8.8x-%4.4x-%4.4x-%2.2x%2.2x-%2.2x%2.2x%2.2x%2.2x%2.2x%2.2x%s",
                      open, static_cast<unsigned>(b_uuidBig(uuid->time_low)),
                      static_cast<unsigned>(b_uuidBig(uuid->time_mid)),
                      static_cast<unsigned>(b_uuidBig(uuid->time_high_and_version)),
                      uuid->clock_seq_high_and_reserved, uuid->clock_seq_low, uuid->node[0],
                      uuid->node[1], uuid->node[2], uuid->node[3], uuid->node[4], uuid->node[5],
                      close);
}

size_t zel_uuidStrLen(const ZEL_UUID_T *uuid, ZEL_BOOL_T braces) {
    if (uuid == nullptr) return SIZE_MAX;
    return (braces ? ZEL_UUID_TEXT_LEN_BRACES : ZEL_UUID_TEXT_LEN) + 1;
}

ZEL_RETCODE zel_uuidToString(const ZEL_UUID_T *uuid, char *str, size_t len, ZEL_BOOL_T braces) {
    if (uuid == nullptr || str == nullptr) return eINVNULLARG;
    if (len < zel_uuidStrLen(uuid, braces)) return sTRUNCATE;
    struct Sink {
        char *at;
        static ZEL_RETCODE put(B_OUTPUT_CTX ctx, uint32_t ch) {
            *static_cast<Sink *>(ctx)->at++ = static_cast<char>(ch);
            return sOKAY;
        }
    } sink{str};
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = b_uuidFormat(uuid, braces, &Sink::put, &sink));
    *sink.at = '\0';
    return sOKAY;
}

ZEL_RETCODE zel_uuidFromString(const char *str, ZEL_UUID_T *uuid) {
    if (str == nullptr || uuid == nullptr) return ePSP_INVUUID;
    uint64_t value[B_UUID_GROUPS] = {};
    int digits[B_UUID_GROUPS] = {};
    int group = 0;
    bool opened = false, closed = false;
    for (const char *s = str; *s != '\0'; ++s) {
        char c = *s;
        if (c == ' ' || c == '\t') continue;
        if (c == '-') {
            if (++group >= B_UUID_GROUPS) return ePSP_INVUUID;
        } else if (int v = b_uuidHexValue(c); v >= 0) {
            if (++digits[group] > B_UUID_MAX_DIGITS) return ePSP_INVUUID;
            value[group] = value[group] << 4 | static_cast<uint64_t>(v);
        } else if (c == '{' && !opened) {
            opened = true;
        } else if (c == '}' && opened && !closed) {
            closed = true;
        } else {
            return ePSP_INVUUID;
        }
    }
    if (opened != closed || group != B_UUID_GROUPS - 1) return ePSP_INVUUID;
    for (int g = 0; g < B_UUID_GROUPS; ++g)
        if (digits[g] != b_uuidGroupDigits[g]) return ePSP_INVUUID;

    ZEL_UUID_T u;
    u.time_low = b_uuidBig(static_cast<uint32_t>(value[0]));
    u.time_mid = b_uuidBig(static_cast<uint16_t>(value[1]));
    u.time_high_and_version = b_uuidBig(static_cast<uint16_t>(value[2]));
    u.clock_seq_high_and_reserved = static_cast<uint8_t>(value[3] >> 8);
    u.clock_seq_low = static_cast<uint8_t>(value[3]);
    for (int i = 0; i < 6; ++i) u.node[i] = static_cast<uint8_t>(value[4] >> (40 - 8 * i));
    *uuid = u;
    return sOKAY;
}

}  // extern "C"
