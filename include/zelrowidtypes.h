/*
 * zelrowidtypes.h - the identifier of a row. A row id is a plain unsigned
 * 64-bit number handed out by the engine; values, packers and the catalogue
 * carry it without interpreting it. Compiles as C11 and as C++20.
 */
#ifndef ZELROWIDTYPES_H
#define ZELROWIDTYPES_H

#include <stdint.h>

/* A row's identifier. */
typedef uint64_t ZEL_ROWID_T;

#endif /* ZELROWIDTYPES_H */
