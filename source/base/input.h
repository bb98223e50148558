/*
 * input.h - B_INPUT_T, a character source with rewind points for the lexer
 * and the loaders, over memory or over a B_FILE_T. The source gives bytes as
 * B_CHAR values; at its end it gives character 0 with sOKAY, again and again,
 * and callers take 0 as the end. A rewind point is a position: creating one
 * stores it, rewinding goes back to it. The file source reads in blocks of
 * 1024 bytes and does not refill on a rewind, so a rewind is safe within the
 * present block or to a block boundary.
 */
#ifndef INPUT_H
#define INPUT_H

#include <stddef.h>
#include <stdint.h>

#include "file_types.h"
#include "tag_types.h"
#include "zeltypes.h"

ZEL_EXTERN_C_BEGIN

/* A source over `size` bytes at `buffer`, which the caller keeps alive. */
void b_inputInitFromMemory(B_INPUT_T *obj, const void *buffer, size_t size, B_TAG_SUB subTag);
/* A source over an open file from its present position `off` to its `size`. */
void b_inputInitFromFile(B_INPUT_T *obj, B_FILE_T *file, B_TAG_SUB subTag);
/* Nothing to release. */
void b_inputClose(B_INPUT_T *obj);

/* The readFcn of each kind. The file source reads its block by b_fileRead:
 * the file's code, or eBADREAD when the file is shorter than `size`. */
ZEL_NODISCARD ZEL_RETCODE b_inputReadFromFile(B_INPUT_T *obj, B_CHAR *ch);
ZEL_NODISCARD ZEL_RETCODE b_inputReadFromMemory(B_INPUT_T *obj, B_CHAR *ch);
/* The rewindFcn of each kind; a null point is the start. The file source
 * moves the file's position to the boundary after the point (before the
 * first read, to the point), and its own position only when the file has
 * not failed; the file's code otherwise. */
ZEL_NODISCARD ZEL_RETCODE b_inputRewindFile(B_INPUT_T *obj, const B_REWIND_POINT *point);
ZEL_NODISCARD ZEL_RETCODE b_inputRewindMemory(B_INPUT_T *obj, const B_REWIND_POINT *point);
/* The createRewindPointFcn of each kind: the present position. */
void b_inputCreateRewindPointInFile(B_INPUT_T *obj, B_REWIND_POINT *point);
void b_inputCreateRewindPointInMemory(B_INPUT_T *obj, B_REWIND_POINT *point);

ZEL_EXTERN_C_END

#endif /* INPUT_H */
