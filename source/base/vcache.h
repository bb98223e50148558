/*
 * vcache.h - the versioned object cache: decoded objects of `obj_size` bytes
 * keyed by a 64-bit id within a subcache (one per drawer), with savepoints.
 * A caller holds an object for reading or for writing. Writing under a mark
 * (a savepoint) that the object's current image was not written under keeps
 * the earlier image as a version, so that a rollback to any mark restores it;
 * a commit hands the newest image of every modified object to `commitfcn`,
 * in a fixed order, and makes the objects clean again. Modified objects are
 * never evicted: the cache is the transaction's buffer as well.
 *
 * Threads: none. Every call writes, finds included (holds, the age list, the
 * lookaside `last`, the trees' cursors), so callers need an exclusive lock
 * around each call, not a reader-writer one. Callbacks run on the caller's
 * thread; they must not touch the entry in hand.
 *
 * Callbacks answer sOKAY or a failure; any other answer counts as a failure
 * and is handed back as the result of the call that ran them.
 *
 * The cache, its subcaches and its marks hold pointers into one another: a
 * B_VCACHE_T or B_VSUBCACHE_T must stay where it was initialised.
 */
#ifndef VCACHE_H
#define VCACHE_H

#include <stddef.h>
#include <stdint.h>

#include "avl.h"
#include "btree_types.h"
#include "pool.h"
#include "schema_types.h"
#include "tag_types.h"
#include "zeltypes.h"

ZEL_EXTERN_C_BEGIN

/* The head of the engine's drawer record, which a subcache's userdata points
 * at: the cache reads `drawerType` to order the commit and sets `add_list`
 * when a commit reaches the drawer. `drawerType` must not change while the
 * drawer's subcache holds modified entries: it orders them. */
typedef struct ZEL_DRAWER_INFO_S {
    ZEL_DRAWER_TYPE drawerType;
    ZEL_BOOL_T add_list;
} ZEL_DRAWER_INFO;

struct B_VCACHE_S;
struct B_VSUBCACHE_S;
struct B_VCACHE_ENTRY_S;
struct B_VCACHE_VERSION_S;

/* A savepoint: the versions written under it, the caller's name for it
 * (compared by address) and the mark below. */
typedef struct B_VCACHE_MARK_S {
    struct B_VCACHE_VERSION_S *versions;
    const void *markCtx;
    struct B_VCACHE_MARK_S *older;
} B_VCACHE_MARK_T;

/* One image of an object. `mark` is null for a clean image. */
typedef struct B_VCACHE_VERSION_S {
    void *obj;
    B_VCACHE_MARK_T *mark;
    struct B_VCACHE_ENTRY_S *entry;
    struct B_VCACHE_VERSION_S *older, *newer; /* the entry's chain */
    struct B_VCACHE_VERSION_S *next_in_mark, *prev_in_mark;
} B_VCACHE_VERSION_T;

/* One object. `modified`: 0 clean, 1 fetched for writing, 2 written. */
typedef struct B_VCACHE_ENTRY_S {
    struct B_VSUBCACHE_S *subcache;
    struct B_VCACHE_S *cache;
    uint64_t id;
    int16_t hold_count;
    int16_t modified;
    B_VCACHE_VERSION_T *curr_version;
    struct B_VCACHE_ENTRY_S *newer, *older; /* the age list */
} B_VCACHE_ENTRY_T;

/* What a find or add hands back, to end the hold with. */
typedef B_VCACHE_ENTRY_T *B_VCACHE_ITEM_HANDLE;

/* The entries of one drawer. The AVL node comes first: its address is the
 * subcache's. */
typedef struct B_VSUBCACHE_S {
    B_AVL_NODE_T avlSubcachesNode;
    struct B_VCACHE_S *cache;
    const void *userdata;   /* a ZEL_DRAWER_INFO */
    B_VCACHE_ENTRY_T *last; /* the entry found last: a one-entry lookaside */
    B_BTREE_T btree;        /* entries by id */
} B_VSUBCACHE_T;

/* Builds an object: `src` null means a new empty one, else a copy of src. */
typedef ZEL_RETCODE (*B_VCACHE_CSTR)(void *obj, const void *src, const void *user_ctx);
/* Destroys an object's contents. */
typedef void (*B_VCACHE_DSTR)(void *obj, const void *user_ctx);
/* Turns an object into another in-memory form; the second argument is null. */
typedef ZEL_RETCODE (*B_VCACHE_CONVERT)(void *obj, const void *arg);
/* Told that held and modified entries passed 80 percent of max_entries; a
 * failure stops the add. May re-enter the cache, and commit. */
typedef ZEL_RETCODE (*B_VCACHE_FULL)(uint32_t num_modified, const void *user_ctx);
/* Writes out one committed object of the drawer `userdata`. */
typedef ZEL_RETCODE (*B_VCACHE_COMMIT)(const void *userdata, uint64_t id, void *obj,
                                       const void *user_ctx);
/* Whether an image written under the mark `markCtx` is visible at `version`. */
typedef ZEL_BOOL_T (*B_VCACHE_FIND_VERSION)(const void *markCtx, uint64_t version);

typedef enum B_VCACHE_DIRECTION_E {
    B_VCACHE_FORWARD = 0,
    B_VCACHE_BACKWARD = 1
} B_VCACHE_DIRECTION;

typedef struct B_VCACHE_S {
    uint32_t num_entries;  /* entries in all subcaches */
    uint32_t max_entries;  /* the target size; an add never fails for space */
    uint32_t num_held;     /* entries with a non-zero hold_count */
    uint32_t num_modified; /* see b_vcacheClearSubcache */
    size_t obj_size;
    B_TAG_SUB subTag;
    B_BTREE_T btModified;         /* modified entries: drawerType high first, subcache, id */
    B_VCACHE_MARK_T default_mark; /* the bottom of the mark stack, markCtx null */
    B_VCACHE_CONVERT convertfcn;
    B_VCACHE_CSTR cstrfcn;
    B_VCACHE_DSTR dstrfcn;
    B_VCACHE_FULL fullfcn;
    B_VCACHE_COMMIT commitfcn;
    const void *user_ctx;
    B_POOL_T entryPool, verPool, objPool;
    B_VCACHE_ENTRY_T *newest, *oldest; /* the age list of clean entries */
    B_VCACHE_MARK_T *curr_mark;        /* the top of the mark stack */
    B_AVL_T avlSubcaches;              /* the subcaches by address */
} B_VCACHE_T;

/* An empty cache of objects of `obj_size` bytes; max_entries 0 means 1000.
 * cstrfcn, dstrfcn and convertfcn may be null: without cstrfcn a new object
 * is left as the pool gives it and a copy is a copy of its bytes. sOKAY;
 * eINVNULLARG (cache, fullfcn, commitfcn or subTag null); eNOMEMORY. *cache
 * is written only on sOKAY. */
ZEL_NODISCARD ZEL_RETCODE b_vcacheInit(B_VCACHE_T *cache, uint32_t max_entries, size_t obj_size,
                                       B_VCACHE_CSTR cstrfcn, B_VCACHE_DSTR dstrfcn,
                                       B_VCACHE_CONVERT convertfcn, B_VCACHE_FULL fullfcn,
                                       B_VCACHE_COMMIT commitfcn, const void *user_ctx,
                                       B_TAG_SUB subTag);
/* Gives back everything: every entry, clean or modified, held or not (dstrfcn
 * on each image), the marks, the subcaches' trees (the subcaches are left
 * detached, as b_vcacheRemoveSubcache leaves them) and the pools. */
void b_vcacheTerm(B_VCACHE_T *cache);

/* Adds `subcache` for the drawer `userdata` (a ZEL_DRAWER_INFO, the caller's,
 * which must outlive the subcache). sOKAY; eINVNULLARG; eDUPLICATE (already
 * added); eNOMEMORY. *subcache is written only on sOKAY. */
ZEL_NODISCARD ZEL_RETCODE b_vcacheAddSubcache(B_VCACHE_T *cache, const void *userdata,
                                              B_VSUBCACHE_T *subcache);
/* Clears the subcache, takes it out of the cache and frees its tree. */
void b_vcacheRemoveSubcache(B_VCACHE_T *cache, B_VSUBCACHE_T *subcache);
/* Throws away every entry of the subcache, held or not, modified or not.
 * Deliberately leaves num_modified as it was (b_vcacheDiscard lowers it):
 * b_vcacheGetModifiedCount is the true count. */
void b_vcacheClearSubcache(B_VSUBCACHE_T *subcache);
/* convertfcn on the current image of every entry, in id order, stopping at
 * the first failure. sOKAY, failure or not (deliberate: callers depend on
 * it); eINVNULLARG (subcache null or not added). */
ZEL_NODISCARD ZEL_RETCODE b_vcacheConvertSubcache(B_VSUBCACHE_T *subcache);

/* A hold: b_vcacheAdd and the finds hand back the object in *(void **)pobj
 * and the entry in *phandle, both written only on sOKAY. Every hold is ended
 * by one b_vcacheRelease, b_vcacheWrite or b_vcacheDiscard. With for_write
 * the entry is marked modified under the current mark first (which may copy
 * the image), and the object handed back is the one to change.
 * Common codes: eINVNULLARG (subcache, pobj or phandle null, or a subcache not
 * added); eRANGE (32767 holds already); eNOMEMORY; a failure of cstrfcn. */

/* A new entry for `id`, held. May first call fullfcn (its failure is returned)
 * and evict clean entries nobody holds. sOKAY; eDUPLICATE (id present, which
 * is left as it was); with for_write a failure to mark it leaves the entry
 * in the cache, clean and not held. */
ZEL_NODISCARD ZEL_RETCODE b_vcacheAdd(B_VSUBCACHE_T *subcache, uint64_t id, ZEL_BOOL_T for_write,
                                      void *pobj, B_VCACHE_ITEM_HANDLE *phandle);
/* The entry of `id`, held; sNOTFOUND when absent. With `version` non-zero and
 * `fcn`, the image handed back is the oldest of the first unbroken run of
 * images that fcn calls visible, counted from the newest; an image written
 * under no mark (a clean one) is never visible; none visible is sNOTFOUND.
 * With a version and for_write, the image handed back is that image, not the
 * copy that marking may put in front of it. */
ZEL_NODISCARD ZEL_RETCODE b_vcacheFindVersion(B_VSUBCACHE_T *subcache, uint64_t id,
                                              ZEL_BOOL_T for_write, uint64_t version,
                                              B_VCACHE_FIND_VERSION fcn, void *pobj,
                                              B_VCACHE_ITEM_HANDLE *phandle);
/* The entry of `id`, else with ZEL_FORWARD the next above it, with any other
 * dir the next below it; sNOTFOUND when there is none. */
ZEL_NODISCARD ZEL_RETCODE b_vcacheFindOr(B_VSUBCACHE_T *subcache, uint64_t id, ZEL_DIRECTION dir,
                                         ZEL_BOOL_T for_write, void *pobj,
                                         B_VCACHE_ITEM_HANDLE *phandle);
/* The entry after (ZEL_FORWARD) or before (any other dir) the subcache tree's
 * cursor; sNOTFOUND at the end. A find answered from `last` leaves the cursor
 * where it was (deliberate): Next then steps from the tree's last position. */
ZEL_NODISCARD ZEL_RETCODE b_vcacheNext(B_VSUBCACHE_T *subcache, ZEL_DIRECTION dir,
                                       ZEL_BOOL_T for_write, void *pobj,
                                       B_VCACHE_ITEM_HANDLE *phandle);

/* Ends a hold. The last hold of an entry fetched for writing and never
 * confirmed by b_vcacheWrite throws the entry away, every image of it. Null,
 * or an entry not held, is ignored. */
void b_vcacheRelease(B_VCACHE_ITEM_HANDLE handle);
/* Ends a hold and confirms the modification: the entry stays modified after
 * any later release. sOKAY; eINVNULLARG; eINVARG (the entry is not held). */
ZEL_NODISCARD ZEL_RETCODE b_vcacheWrite(B_VCACHE_ITEM_HANDLE handle);
/* Ends a hold; the last hold of a modified entry throws it away. Null, or an
 * entry not held, is ignored. */
void b_vcacheDiscard(B_VCACHE_ITEM_HANDLE handle);

/* Pushes a mark named `markCtx`. sOKAY; eINVNULLARG; eNOMEMORY. */
ZEL_NODISCARD ZEL_RETCODE b_vcacheSetMark(B_VCACHE_T *cache, const void *markCtx);
/* Renames the topmost mark named oldMarkCtx. sOKAY, found or not;
 * eINVNULLARG (any argument null: the bottom mark cannot be renamed). */
ZEL_NODISCARD ZEL_RETCODE b_vcacheUpdateMarkCtx(B_VCACHE_T *cache, const void *oldMarkCtx,
                                                const void *newMarkCtx);
/* Gives up the topmost mark named markCtx without undoing: its images join
 * the mark below, an image there of the same entry giving way to the newer
 * one. sOKAY, found or not; eINVNULLARG. */
ZEL_NODISCARD ZEL_RETCODE b_vcacheReleaseMark(B_VCACHE_T *cache, const void *markCtx);
/* Undoes every image written since the topmost mark named markCtx was set,
 * popping the marks above it; the mark stays, empty, on top. A null markCtx
 * undoes everything. An entry left with no image (its first modification was
 * undone) is thrown away, held or not: the caller loads it again. sOKAY;
 * sNOTFOUND (no such mark, nothing changed); eINVNULLARG (cache null). */
ZEL_NODISCARD ZEL_RETCODE b_vcacheRollback(B_VCACHE_T *cache, const void *markCtx);
/* Hands every modified entry that nobody holds to commitfcn, in the order of
 * btModified (backwards with B_VCACHE_BACKWARD), sets add_list in each drawer
 * reached, and makes the entry clean at the old end of the age list (or
 * evicts it when the cache is over max_entries). Then every mark is folded
 * into the bottom one, which stays. Held entries stay modified. sOKAY;
 * eINVNULLARG; a failure of commitfcn, returned at once: what was committed
 * stays committed, the rest and the marks stay; eSYS_ERROR when an entry
 * cannot be found in btModified (a drawerType changed under it). */
ZEL_NODISCARD ZEL_RETCODE b_vcacheCommit(B_VCACHE_DIRECTION dir, B_VCACHE_T *cache);
/* The entries in btModified: the true count of modified entries, which
 * num_modified may exceed after b_vcacheClearSubcache. 0 for null. */
uint32_t b_vcacheGetModifiedCount(const B_VCACHE_T *cache);

ZEL_EXTERN_C_END

#endif /* VCACHE_H */
