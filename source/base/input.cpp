/*
 * input.cpp - the character sources. The memory source is an index into the
 * caller's bytes. The file source keeps one 1024-byte block of the file,
 * indexed by the absolute position modulo 1024: it fills the block when its
 * position reaches a boundary (and at its first read, from wherever it
 * starts up to the next boundary), by b_fileRead from the file's present
 * position. A rewind therefore has to leave the file's position where the
 * next fill must read, which is the boundary after the rewind point.
 */
#include "input.h"

#include <cstring>

#include "file.h"

namespace {

constexpr B_FILE_OFFSET kBlock = B_INPUT_FILE_BLOCK;

void input_setFcns(B_INPUT_T *obj, B_READ_FCN read, B_REWIND_FCN rewind,
                   B_CREATE_REWIND_POINT_FCN create, B_TAG_SUB subTag) {
    obj->readFcn = read;
    obj->rewindFcn = rewind;
    obj->createRewindPointFcn = create;
    obj->subTag = subTag;
}

}  // namespace

void b_inputInitFromMemory(B_INPUT_T *obj, const void *buffer, size_t size, B_TAG_SUB subTag) {
    obj->u.mem.buffer = static_cast<const uint8_t *>(buffer);
    obj->u.mem.pos = 0;
    obj->u.mem.size = buffer != nullptr ? size : 0;
    input_setFcns(obj, b_inputReadFromMemory, b_inputRewindMemory, b_inputCreateRewindPointInMemory,
                  subTag);
}

void b_inputInitFromFile(B_INPUT_T *obj, B_FILE_T *file, B_TAG_SUB subTag) {
    B_FILE_INPUT *in = &obj->u.file;
    in->pFile = file;
    in->pos = file->fileCache.off;
    in->startingPos = file->fileCache.off;
    in->size = file->fileCache.size;
    in->filled = 0;
    input_setFcns(obj, b_inputReadFromFile, b_inputRewindFile, b_inputCreateRewindPointInFile,
                  subTag);
}

void b_inputClose(B_INPUT_T *) {}

ZEL_RETCODE b_inputReadFromFile(B_INPUT_T *obj, B_CHAR *ch) {
    B_FILE_INPUT *in = &obj->u.file;
    if (in->pos >= in->size) {
        *ch = 0;
        return sOKAY;
    }
    const size_t at = size_t(in->pos % kBlock);
    if (at == 0 || in->filled == 0) {
        B_FILE_OFFSET want = kBlock - at;
        if (want > in->size - in->pos) want = in->size - in->pos;
        size_t got = 0;
        ZEL_RETCODE rc;
        ZEL_CHECK(rc = b_fileRead(in->pFile, in->buffer + at, size_t(want), &got));
        if (got != want) return eBADREAD;
        in->filled = 1;
    }
    *ch = in->buffer[at];
    in->pos++;
    return sOKAY;
}

ZEL_RETCODE b_inputReadFromMemory(B_INPUT_T *obj, B_CHAR *ch) {
    B_MEM_INPUT *in = &obj->u.mem;
    *ch = in->pos < in->size ? in->buffer[in->pos++] : 0;
    return sOKAY;
}

ZEL_RETCODE b_inputRewindFile(B_INPUT_T *obj, const B_REWIND_POINT *point) {
    B_FILE_INPUT *in = &obj->u.file;
    const B_FILE_OFFSET p = point != nullptr ? point->file.pos : in->startingPos;
    /* The block of p stays in the buffer; the next fill reads at the boundary
     * after it. Before the first fill nothing is held, and it reads at p. */
    B_FILE_OFFSET to = p;
    if (in->filled != 0 && p % kBlock != 0) to = p - p % kBlock + kBlock;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = b_fileSeek(in->pFile, to, B_FILE_SEEK_SET, nullptr));
    in->pos = p;
    return sOKAY;
}

ZEL_RETCODE b_inputRewindMemory(B_INPUT_T *obj, const B_REWIND_POINT *point) {
    obj->u.mem.pos = point != nullptr ? point->mem.pos : 0;
    return sOKAY;
}

void b_inputCreateRewindPointInFile(B_INPUT_T *obj, B_REWIND_POINT *point) {
    point->file.pos = obj->u.file.pos;
}

void b_inputCreateRewindPointInMemory(B_INPUT_T *obj, B_REWIND_POINT *point) {
    point->mem.pos = obj->u.mem.pos;
}
