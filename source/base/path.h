/*
 * path.h - small file-system operations with exact rules: splitting and
 * completing paths, a directory scan with the engine's own name patterns,
 * temporary file names, the lock on a document root, and a few odds and ends
 * (the catalogue holder, one bit of a byte array, the tags of a server
 * handle). Texts returned in `char **` arguments come from the sub tag given
 * and are freed by the caller on it; out arguments are written only on
 * success. No state, no lock.
 */
#ifndef PATH_H
#define PATH_H

#include "path_types.h"

ZEL_EXTERN_C_BEGIN

/* ---- Paths. */

/* Splits `path` at its last "/". `*file`: a copy of the whole path when it
 * holds no "/", null when it ends in "/", else of what follows the "/".
 * `*dir`: a copy of the path up to and including the "/", or null without
 * one. Either out may be null and is then not made. eINVNULLARG for a null
 * path; the tag's code (a file part already made is freed). */
ZEL_NODISCARD ZEL_RETCODE b_pathSplit(const char *path, char **dir, char **file, B_TAG_SUB subTag);
/* Removes one trailing "/" in place ("/" becomes "", "" stays ""); returns
 * `path` (null stays null). */
char *normalize_path(char *path);
/* An absolute form of `userpath` from the sub tag, or null on any failure.
 * Null, "", "." and "./" give the current directory; a path starting with "/"
 * gives itself less one trailing "/"; any other is joined to the current
 * directory with "/". Nothing else: "." and ".." stay, a relative path keeps
 * its trailing "/". */
char *b_fullpath(const char *userpath, B_TAG_SUB subTag);

/* True when `name` matches `pattern`, ASCII letter case ignored: "*" any run
 * of characters (at the end of the pattern: anything), "?" any one character,
 * "#" one of 0-9 and A-F (capitals only), any other character itself. The
 * character right after a "*" is literal, "?", "#" and "*" included. A null
 * pattern matches every name; a null name matches nothing. Time is at most
 * proportional to the product of the two lengths. */
ZEL_BOOL_T b_pathMatch(const char *name, const char *pattern);

/* ---- Directory scan: the names of `path` that b_pathMatch accepts, "." and
 * ".." left out, in the directory's order. */

/* Opens the scan; `pattern` is kept, not copied. eINVNULLARG for a null dir
 * or path; the platform's code (eFILENOENTRY...); *dir is written only on
 * success. */
ZEL_NODISCARD ZEL_RETCODE b_pathOpen(B_DIR_T *dir, const char *path, const char *pattern);
/* sOKAY with the next accepted name in *pName (valid until the next call on
 * `dir`), or with null after the last; the platform's code on a failure. */
ZEL_NODISCARD ZEL_RETCODE b_pathNext(B_DIR_T *dir, const char **pName);
void b_pathClose(B_DIR_T *dir);

/* ---- Temporary names. */

/* Raises the counter at `puFileNo` and makes, by the format
 * "%s%c%s_%p_%010lu_%03u.%s", the name: `pszTmpDir` or "", "/", `pszBaseName`
 * or "temp", the counter's address, the process number, the counter's old
 * value, `pszExt` or "tmp". The counter is raised even when the name cannot be
 * made. eINVNULLARG for a null counter or ppTmp; the tag's code. */
ZEL_NODISCARD ZEL_RETCODE b_fileCreateTmpName(uint32_t *puFileNo, const char *pszBaseName,
                                              const char *pszExt, const char *pszTmpDir,
                                              B_TAG_SUB subTag, char **ppTmp);

/* ---- Document root. */

/* Checks that `path` is a directory, opens (creating it) the file `marker` in
 * it and locks it without waiting. On success *doc_root holds the open file,
 * `locked` ZEL_TRUE, or ZEL_FALSE where the file system cannot lock (the
 * directory is then in use unprotected). eGSV_DOCROOTUSED when another open
 * holds the lock (a second lock in the same process too) or the marker cannot
 * be opened for access; eGSV_DOCROOTNOTFOUND when the path is absent;
 * eGSV_DOCROOTINVALID when it is no directory; eSTRTOOLONG when path, "/" and
 * marker need 4096 bytes or more; eINVNULLARG; other platform codes as they
 * come. On any failure nothing stays open and *doc_root is untouched. */
ZEL_NODISCARD ZEL_RETCODE b_docrootLock(B_DOCROOT_T *doc_root, const char *path,
                                        const char *marker);
/* Unlocks when `locked`, closes, and leaves the record closed; a closed or
 * null record is left alone. */
void b_docrootUnlock(B_DOCROOT_T *droot);

/* Appends "docroot=<docroot>" to the option string *initStr (tag memory or
 * null), after a ";" when it already holds text. A null `docroot` does
 * nothing. sOKAY even when the string could not grow (it then stands as it
 * was); eNOMEMORY when the text cannot be formatted; eINVNULLARG for a null
 * initStr. */
ZEL_NODISCARD ZEL_RETCODE b_getGSVInitDocroot(const char *docroot, B_TAG_SUB subTag,
                                              char **initStr);

/* ---- Odds and ends. */

/* ZEL_GT, ZEL_LT or ZEL_EQ by the sign of `cmp`. */
ZEL_COMPARE b_intToZelCompare(int cmp);

/* A null `catalog` frees a held catTypeSet text (on the tag recorded in
 * *cip) and leaves catTypeNone with a null text and tag. Otherwise copies
 * `catalog` to `subTag` first, then frees a held catTypeSet text and stores
 * the copy, catTypeSet and `subTag`. eINVNULLARG for a null cip; the tag's
 * code, with *cip as it was. */
ZEL_NODISCARD ZEL_RETCODE b_catalogSet(CAT_INFO *cip, const char *catalog, B_TAG_SUB subTag);
/* A null `catFile` leaves catTypeNone and a null text; otherwise a copy of the
 * name on `subTag` with catTypeSetFromFile. Frees nothing held before and
 * does not record `subTag`: the caller frees the name. eINVNULLARG for a
 * null cip; the tag's code, with *cip as it was. */
ZEL_NODISCARD ZEL_RETCODE b_catalogSetFromFile(CAT_INFO *cip, const char *catFile,
                                               B_TAG_SUB subTag);

/* One bit of a byte array; bit 0 is the top bit of byte 0, bit 7 its low bit,
 * bit 8 the top bit of byte 1 (the opposite order to bitmap.h). */
ZEL_BOOL_T b_bit_read(const uint8_t *bitmap, uint16_t bitpos);
void b_bit_write(uint8_t *bitmap, uint16_t bitpos, ZEL_BOOL_T value);

/* The tags at the head of a server handle (a B_GSV_TAGS_T); null for a null
 * handle. */
B_TAG_SUB gsvGetSubTag(const void *gsv);
B_TAG_MASTER gsvGetMasterTag(const void *gsv);

ZEL_EXTERN_C_END

#endif /* PATH_H */
