// The decimal section of `zelbase demo`: a small invoice computed exactly in
// decimal, with the same sums in double beside it to show where binary
// floating point drifts.
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "bcd.h"
#include "zelbase_cmds.h"

int zb_demo_bcd(FILE *out);

namespace {

constexpr ZEL_BCD_ROUNDING_MODE kMode = ZEL_BCD_ROUND_NEAREST_TIES_TO_EVEN;

struct Line {
    int qty;
    const char *item;
    const char *price;
};

const Line kLines[] = {
    {3, "notebook", "19.99"},  {10, "pencil", "0.10"}, {7, "eraser", "0.35"},
    {1, "desk lamp", "44.95"}, {12, "folder", "1.15"}, {2, "ink cartridge", "27.30"},
};

bool zb_bcd_ok(ZEL_RETCODE rc) {
    return rc == sOKAY;
}

const char *zb_bcd_text(const ZEL_BCD_T &b, char *buf, uint32_t len) {
    if (zel_bcdToStringWithScale(&b, 2, ZEL_FALSE, buf, len, nullptr) < 0) return "?";
    return buf;
}

// Half a cent up, then cut to cents: rounding half away from zero for the
// positive amounts of an invoice.
bool zb_bcd_cents(const ZEL_BCD_T &x, ZEL_BCD_T *res) {
    ZEL_BCD_T half, t, hundredth;
    if (!zb_bcd_ok(zel_bcdFromString("0.005", &half)) ||
        !zb_bcd_ok(zel_bcdFromString("0.01", &hundredth)) ||
        !zb_bcd_ok(zel_bcdAdd(&x, &half, kMode, &t)) ||
        !zb_bcd_ok(zel_bcdMultInt32(&t, 100, kMode, &t)) || !zb_bcd_ok(zel_bcdFloor(&t, &t)))
        return false;
    return zb_bcd_ok(zel_bcdMult(&t, &hundredth, kMode, res));
}

}  // namespace

int zb_demo_bcd(FILE *out) {
    std::fprintf(out, "Exact decimals: an invoice in decimal and, beside it, in double\n");
    std::fprintf(out, "  %3s  %-14s %8s %12s %22s\n", "qty", "item", "price", "decimal",
                 "double (17 digits)");
    ZEL_BCD_T total;
    if (!zb_bcd_ok(zel_bcdFromInt32(0, &total))) return 1;
    double dtotal = 0.0;
    char b1[64], b2[64];
    for (const Line &l : kLines) {
        ZEL_BCD_T price, line;
        if (!zb_bcd_ok(zel_bcdFromString(l.price, &price)) ||
            !zb_bcd_ok(zel_bcdMultInt32(&price, l.qty, kMode, &line)) ||
            !zb_bcd_ok(zel_bcdAdd(&total, &line, kMode, &total)))
            return 1;
        // The double invoice adds the price once per item, as a till would.
        double dprice = std::strtod(l.price, nullptr), dline = 0.0;
        for (int i = 0; i < l.qty; ++i) dline += dprice;
        dtotal += dline;
        std::fprintf(out, "  %3d  %-14s %8s %12s %22.17g\n", l.qty, l.item, l.price,
                     zb_bcd_text(line, b1, sizeof b1), dline);
    }
    std::fprintf(out, "  %-28s %12s %22.17g\n", "subtotal", zb_bcd_text(total, b1, sizeof b1),
                 dtotal);

    ZEL_BCD_T rate, vat, vat_cents, gross;
    if (!zb_bcd_ok(zel_bcdFromString("0.19", &rate)) ||
        !zb_bcd_ok(zel_bcdMult(&total, &rate, kMode, &vat)) || !zb_bcd_cents(vat, &vat_cents) ||
        !zb_bcd_ok(zel_bcdAdd(&total, &vat_cents, kMode, &gross)))
        return 1;
    double dvat = dtotal * 0.19;
    double dvat_cents = std::floor(dvat * 100.0 + 0.5) / 100.0, dgross = dtotal + dvat_cents;
    char exact[64];
    if (zel_bcdToString(&vat, ZEL_FALSE, exact, sizeof exact, nullptr) != sOKAY) return 1;
    std::fprintf(out, "  %-28s %12s %22.17g   (exactly %s)\n", "VAT 19%, to the cent",
                 zb_bcd_text(vat_cents, b1, sizeof b1), dvat_cents, exact);
    std::fprintf(out, "  %-28s %12s %22.17g\n", "total", zb_bcd_text(gross, b2, sizeof b2), dgross);

    // Ten pencils at 0.10: the decimal is 1.00 exactly, the double is not 1.
    ZEL_BCD_T one;
    double dten = 0.0;
    for (int i = 0; i < 10; ++i) dten += 0.10;
    if (!zb_bcd_ok(zel_bcdFromInt32(1, &one))) return 1;
    std::fprintf(out, "  ten times 0.10 in double equals 1: %s; in decimal: exactly 1.00\n",
                 dten == 1.0 ? "yes" : "no");

    // One third, rounded to 32 digits, reports the lost digits.
    ZEL_BCD_T third, three;
    if (!zb_bcd_ok(zel_bcdFromInt32(3, &three))) return 1;
    ZEL_RETCODE rc = zel_bcdDiv(&one, &three, kMode, &third);
    if (rc != sPRECISIONLOSS) return 1;
    if (zel_bcdToString(&third, ZEL_FALSE, exact, sizeof exact, nullptr) != sOKAY) return 1;
    std::fprintf(out, "  1 / 3 = %s (status: digits lost, reported as sPRECISIONLOSS)\n", exact);
    return 0;
}
