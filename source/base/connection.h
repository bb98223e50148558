/*
 * connection.h - connection strings: how to reach the server and which
 * database is meant, parsed into a TX_CONN_CTX (see connection_types.h).
 *
 * With a scheme:  scheme "://" address ["/" database]
 * Without one:    database ["@" TCP address]
 *
 * Schemes, compared exactly (lower case): "gsv" (shared memory), "gsv-tcp",
 * "gsv-shm", "gsv-uuid"; "gsv-nmp" and "gsv-ud" are eNOTIMPLEMENTED, any
 * other eINVGSVSPEC. A TCP address is host[:port][,heartbeat[,tos[,ka_on]]],
 * the host possibly in brackets ("[::1]:1234"). No state, no lock.
 */
#ifndef CONNECTION_H
#define CONNECTION_H

#include "connection_types.h"

ZEL_EXTERN_C_BEGIN

/* Parses `uri` (null counts as "") into a context from `subTag`, which the
 * caller frees with tl_freeConnectionInfo; with `connCtx` null the context is
 * parsed and freed. `*has_location` (may be null) tells whether the string
 * named a server location. eINVGSVSPEC for an unknown scheme or a bad number
 * in a TCP address; eNOTIMPLEMENTED for "gsv-nmp" and "gsv-ud"; the code of
 * zel_uuidFromString for a bad UUID; eNOMEMORY. On failure nothing is left
 * and the outs are untouched. */
ZEL_NODISCARD ZEL_RETCODE tl_parseConnectionUri(const char *uri, B_TAG_SUB subTag,
                                                ZEL_BOOL_T *has_location, TX_CONN_CTX **connCtx);
/* Decimal digits only, at most 65535; "" gives 0. eINVGSVSPEC; eINVNULLARG. */
ZEL_NODISCARD ZEL_RETCODE tl_parsePortNumber(const char *str, uint16_t *port);
/* Frees the entries' strings, the entries, the name, gsvspec and
 * the context itself; null does nothing. */
void tl_freeConnectionInfo(TX_CONN_CTX *ctx);
/* A deep copy from `subTag`, or null (nothing left behind) on failure or for
 * a null ctx. Deliberately partial: a TCP entry keeps host, port and
 * heartbeat while tos and ka_on come out 0, and has_gsvloc comes out false. */
TX_CONN_CTX *tl_copyConnectionInfo(const TX_CONN_CTX *ctx, B_TAG_SUB subTag);
/* 0 when both name the same database at the same place: the names by strcmp
 * (a difference is returned as it is), then some entry of the first equal to
 * some entry of the second: TCP by host (null as "localhost") and port (0 as
 * 21553), shared memory by name (null as the default name); UUID entries never
 * match. -1 without a match, for a null context or name on either side, or
 * when the first has no entries. */
int tl_compareDatabase(const TX_CONN_CTX *connCtx1, const TX_CONN_CTX *connCtx2);
/* gsvspec, the server text, or "" (for a null ctx too). */
const char *tl_connGsvSpec(const TX_CONN_CTX *connCtx);
/* When exactly one entry is of type TX_UUID_INT, copies its UUID; otherwise
 * sNOTFOUND. eINVNULLARG. */
ZEL_NODISCARD ZEL_RETCODE tl_isUuidConnection(const TX_CONN_CTX *connCtx, ZEL_UUID_T *uuid);
/* The database name (owned by the context). eINVDBNAMESPEC when the string
 * named none; eINVNULLARG. */
ZEL_NODISCARD ZEL_RETCODE tl_connDbName(const TX_CONN_CTX *connCtx, const char **dbName);

ZEL_EXTERN_C_END

#endif /* CONNECTION_H */
