/*
 * sort.h - external sort of fixed-size records that may not fit in memory.
 * Records stay where they were stored, in a paged record file; a second
 * paged file holds the array of record numbers that a quicksort permutes,
 * each with an 8-byte prefix of its keys that settles most compares.
 * Both are paged through block caches of `maxentries` pages each, spilling
 * to two temporary files only when the pages outgrow them. Sorted reading
 * follows the index. Records with equal keys come out in no guaranteed
 * order.
 *
 * Order: b_sortInit; then any number of times b_sortStart, b_sortStore per
 * record, b_sortComplete, b_sortRead until sNODATA; b_sortTerm.
 * Threads: a sort has one user at a time. Two sorts may share a directory:
 * their file names carry the address of their counters.
 */
#ifndef SORT_H
#define SORT_H

#include <stdint.h>

#include "cache.h"
#include "psptypes.h"
#include "zeltypes.h"

ZEL_EXTERN_C_BEGIN

typedef uint64_t SORT_INDEX; /* a record number from 0 */

typedef enum SORT_STATE_E { SORT_COMPLETED = 0, SORT_STARTED = 1, SORT_ERROR = 2 } SORT_STATE;

/* Field types, valued as the column types where one corresponds. */
typedef enum SORTCOL_TYPE_E {
    SORT_TYPE_NOVAL = 0,
    SORT_TYPE_CHAR = 8,
    SORT_TYPE_WCHAR = 264, /* no compare: refused */
    SORT_TYPE_INT8 = 2,
    SORT_TYPE_UINT8 = 32770,
    SORT_TYPE_INT16 = 258,
    SORT_TYPE_UINT16 = 33026,
    SORT_TYPE_INT32 = 514,
    SORT_TYPE_UINT32 = 33282,
    SORT_TYPE_INT64 = 770,
    SORT_TYPE_UINT64 = 33538,
    SORT_TYPE_FLOAT = 515,
    SORT_TYPE_DOUBLE = 771,
    SORT_TYPE_ROWID = 7,
    SORT_TYPE_DATE = 260,
    SORT_TYPE_TIME = 516,
    SORT_TYPE_TIMETZ = 1028,
    SORT_TYPE_TIMESTAMP = 772,
    SORT_TYPE_TIMESTAMPTZ = 1284,
    SORT_TYPE_BCD = 5,
    SORT_TYPE_UUID = 9,
    SORT_TYPE_BYTES = 65535
} SORTCOL_TYPE;

/* Compares return exactly ZEL_LT, ZEL_EQ or ZEL_GT. */
typedef ZEL_COMPARE (*CMPFUNCTION)(const void *pv1, uint32_t len1, const void *pv2, uint32_t len2);
typedef ZEL_COMPARE (*GCMPFUNCTION)(const void *pv1, const void *pv2, void *ctxt);
typedef ZEL_COMPARE (*STRCMPFUNCTION)(const void *pv1, const void *pv2, uint32_t len);

/* One field of the record. keyno 1 is the most significant key, 0 a field
 * that is no key. A field with `ctxt` non-null gives in pCmpFcn a
 * GCMPFUNCTION cast to CMPFUNCTION, called with ctxt. */
typedef struct SORTDESCR_S {
    CMPFUNCTION pCmpFcn; /* may be null: the type's compare */
    void *ctxt;
    uint32_t keyno;
    uint32_t len;
    uint32_t offset;
    char desc; /* non-zero: descending */
    SORTCOL_TYPE type;
} SORTDESCR;

/* The environment: entries up to one with a null attrName. "char compare"
 * gives the compare of CHAR keys; any other name the one used for INT8 keys.
 * The ending entry's puFileNo counts the temporary names. */
typedef struct B_SORTATTR_S {
    const char *attrName;
    STRCMPFUNCTION attrValue;
    uint32_t *puFileNo;
} B_SORTATTR;

typedef struct SORT_KEY_DESCR_S {
    CMPFUNCTION pCmpFcn;
    GCMPFUNCTION pGCmpFcn;
    void *ctxt;
    uint32_t len;
    uint32_t offset;
    ZEL_BOOL_T desc;
    uint32_t index; /* row of the type table */
} SORT_KEY_DESCR;

/* A page in memory: 8 bytes of header, not on file, then the page's bytes. */
typedef struct SORT_PAGE_S {
    ZEL_BOOL_T modified;
    char filler[4];
    unsigned char data[];
} SORT_PAGE;

typedef struct CACHE_INFO_S {
    B_CACHE_T cache;
    uint32_t perPage; /* slots in a page */
    uint32_t size;    /* bytes per slot */
} CACHE_INFO;

typedef struct SORT_TEMP_FILE_S {
    PSP_FILE_T fh;
    ZEL_BOOL_T fh_open;
    char *name;
    uint32_t len;     /* page length on file */
    B_CACHE_ID maxid; /* pages on file */
    B_TAG_SUB subTag;
    uint64_t loads;  /* statistics: pages read from the file */
    uint64_t writes; /* and written to it */
} SORT_TEMP_FILE;

typedef struct SORT_LIST_S {
    SORT_INDEX lo, hi;
} SORT_LIST;

typedef struct SLOT_INFO_S {
    uint64_t page; /* all ones for none */
    B_CACHE_HANDLE handle;
    SORT_PAGE *entry;
} SLOT_INFO;

typedef struct B_SORT_S {
    SORT_STATE state;
    uint16_t numkeyfields;
    SORT_INDEX nextSlot;
    SORT_INDEX nextToRead;
    uint32_t recSize;
    SORT_KEY_DESCR *keyinfo; /* by keyno - 1 */
    CACHE_INFO icache;
    CACHE_INFO rcache;
    B_TAG_SUB subTag;
    SORT_TEMP_FILE recFile;
    SORT_TEMP_FILE indFile;
    STRCMPFUNCTION pStrncmp;
    STRCMPFUNCTION pWStrncmp;
    SORT_LIST *list; /* the quicksort's stack of ranges */
    uint32_t list_len;
    uint32_t list_next;
} B_SORT_T;

/* Prepares both caches (maxentries pages each) and both file names in
 * pszTmpDir (null: the root). Nothing is created on disk yet. sOKAY;
 * eINVNULLARG (sort, env, the counter or subTag null); eNOMEMORY; the mutex's
 * failure. */
ZEL_NODISCARD ZEL_RETCODE b_sortInit(B_SORT_T *sort, const B_SORTATTR *env, uint32_t maxentries,
                                     const char *pszTmpDir, B_TAG_SUB subTag);
/* Defines the records by `nofields` fields, the record being as long as the
 * furthest field's end. Empties both caches of an earlier sort. sOKAY;
 * eINVFCNSEQ (a sort is under way); eINVNULLARG; eNOMEMORY; eINVFCNARG, the
 * state SORT_ERROR, for: a keyno above nofields or repeated, keys not
 * numbered 1 up, a type without a compare, overlapping fields, a record of
 * 0 bytes or one whose pages would pass 32 bits, a NOVAL key without a
 * compare. */
ZEL_NODISCARD ZEL_RETCODE b_sortStart(B_SORT_T *sort, uint32_t nofields, const SORTDESCR *descr);
/* Copies one record of recSize bytes in. sOKAY; eINVFCNSEQ (not started);
 * eINVNULLARG; a page's failure (eNOMEMORY, file codes), the state
 * SORT_ERROR. */
ZEL_NODISCARD ZEL_RETCODE b_sortStore(B_SORT_T *sort, const void *sortrec);
/* Sorts what was stored. Codes as b_sortStore. */
ZEL_NODISCARD ZEL_RETCODE b_sortComplete(B_SORT_T *sort);
/* Copies up to norows next records in order to rowbuf, recSize bytes each,
 * and their count to *actualrows (may be null). sOKAY; sNODATA, with a count
 * of 0, when norows is 0 or all were read; eINVNULLARG; a page's failure,
 * *actualrows untouched. */
ZEL_NODISCARD ZEL_RETCODE b_sortRead(B_SORT_T *sort, uint32_t norows, void *rowbuf,
                                     uint32_t *actualrows);
/* Frees the pages, removes the files, frees names, keys and stack. */
void b_sortTerm(B_SORT_T *sort);

ZEL_EXTERN_C_END

#endif /* SORT_H */
