/*
 * connection_types.h - the transports of a connection and the records of a
 * parsed connection string. The transport values are bits: the option
 * catalogue keeps a set of them as its transport bitmap.
 */
#ifndef CONNECTION_TYPES_H
#define CONNECTION_TYPES_H

#include "tag_types.h"
#include "zeltypes.h"
#include "zeluuidtypes.h"

ZEL_EXTERN_C_BEGIN

typedef enum TX_CONN_TYPE_INT_E {
    TX_NONE_INT = 0,
    TX_TCP_INT = 1,
    TX_SHM_INT = 2,
    TX_NMP_INT = 4,
    TX_UD_INT = 8,
    TX_UUID_INT = 32768
} TX_CONN_TYPE_INT;

/* The server's TCP port when a connection names none (or 0). */
#define GSV_DEFAULT_PORT_INT 21553
/* The host when a connection names none. */
#define GSV_DEFAULT_HOST "localhost"
/* Deliberate: the default shared memory name is the macro's name, not its
 * number; both ends of a connection compare this text. */
#define GSV_DEFAULT_SHM_NAME "GSV_DEFAULT_PORT_INT"

typedef struct TX_TCP_CONN_INFO_S {
    char *hostname; /* null: GSV_DEFAULT_HOST */
    uint16_t port;  /* 0: GSV_DEFAULT_PORT_INT */
    uint32_t heartbeat;
    int32_t tos;
    int32_t ka_on;
} TX_TCP_CONN_INFO;

typedef struct TX_SHM_CONN_INFO_S {
    char *name; /* null: GSV_DEFAULT_SHM_NAME */
    uint32_t seq;
} TX_SHM_CONN_INFO;

typedef struct TX_UUID_CONN_INFO_S {
    ZEL_UUID_T uuid;
} TX_UUID_CONN_INFO;

typedef struct TX_CONN_INFO_S {
    TX_CONN_TYPE_INT connType;
    union {
        TX_TCP_CONN_INFO tcp;
        TX_SHM_CONN_INFO shm;
        TX_UUID_CONN_INFO uuid;
    } info;
} TX_CONN_INFO;

/* A parsed connection string; everything in it, the record included, comes
 * from subTag. */
typedef struct TX_CONN_CTX_S {
    uint32_t num;          /* entries in info */
    ZEL_BOOL_T has_gsvloc; /* the string named a server location */
    TX_CONN_INFO *info;
    char *dbname;  /* null: no database named */
    char *gsvspec; /* the server as "scheme://address/" */
    B_TAG_SUB subTag;
} TX_CONN_CTX;

ZEL_EXTERN_C_END

#endif /* CONNECTION_TYPES_H */
