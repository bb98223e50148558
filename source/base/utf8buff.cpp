/*
 * utf8buff.cpp - the counting byte output. One storing step serves every
 * byte: store while there is room, count always. The byte held back at init
 * is released only for the terminator, so a truncated text is still closed.
 */
#include "utf8buff.h"

namespace {

void b_utf8BuffEmit(ZEL_OUTPUT_BUFF *info, uint8_t byte) {
    if (!info->done && info->used_elems + 1 > info->size) info->done = ZEL_TRUE;
    if (!info->done) {
        info->buff[info->used_elems] = static_cast<char>(byte);
        info->used_elems++;
        info->used_chars++;
    }
    info->needed_elems++;
    info->needed_chars++;
}

}  // namespace

extern "C" {

void b_utf8BuffInit(ZEL_OUTPUT_BUFF *info, char *buff, size_t size) {
    *info = ZEL_OUTPUT_BUFF{};
    // A buffer of no bytes cannot even take the terminator: measure only.
    info->buff = size != 0 ? buff : nullptr;
    info->size = info->buff != nullptr ? size - 1 : 0;
}

ZEL_RETCODE b_emitCharAsUtf8(B_OUTPUT_CTX ctx, uint32_t uchar) {
    b_utf8BuffEmit(static_cast<ZEL_OUTPUT_BUFF *>(ctx), static_cast<uint8_t>(uchar));
    return sOKAY;
}

void b_utf8BuffTerm(ZEL_OUTPUT_BUFF *info) {
    if (info->buff != nullptr) {
        info->size++;
        info->done = ZEL_FALSE;
    }
    b_utf8BuffEmit(info, 0);
}

}  // extern "C"
