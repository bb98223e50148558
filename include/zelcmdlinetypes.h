/*
 * zelcmdlinetypes.h - the records of the command-line processor: a tool's
 * table of options and positional arguments, the selection of shared
 * options, what the shared options found, and the state of one command line.
 * The operations are in cmdline.h.
 *
 * A row's `arg` descriptor: character 0 is the kind, character 1 a separator
 * that is not looked at, the rest the name shown in the usage ("s:NAME").
 *   i  option with an integer: an optional "-", then at least one digit
 *   s  option with any text
 *   c  option with exactly one byte
 *   #  positional, exactly one, mandatory
 *   ?  positional, at most one, optional
 *   *  positional, any number; it comes last
 */
#ifndef ZELCMDLINETYPES_H
#define ZELCMDLINETYPES_H

#include <stdint.h>

#include "zeltypes.h"

/* One row of a tool's table; the table ends at a row with a null optShort. */
typedef struct ZEL_CMDLINE_OPT_S {
    /* Its first character is the option letter, or the value handed back for
     * a positional; "" for no short form. */
    const char *optShort;
    const char *optLong; /* without the dashes; may be null */
    const char *arg;     /* null: no argument; else the descriptor above */
    const char *desc;    /* the usage line; null hides the row */
} ZEL_CMDLINE_OPT;

/* Which shared options a tool takes besides -h. */
typedef struct _ZEL_CMDLINE_DEFAULTS {
    uint8_t no_encryption; /* no --key */
    uint8_t no_docroot;    /* no --docroot */
} ZEL_CMD_DEFAULTS;

/* What the shared options found; the texts point into argv. */
typedef struct _ZEL_CMDLINE_STATUS {
    ZEL_BOOL_T quiet;
    const char *enc_key;
    const char *docroot;
} ZEL_CMDLINE_STATUS;

typedef struct ZEL_CMDLINE_S {
    uint32_t ii;                /* the argv element at hand */
    uint32_t ii_next;           /* the next element to take */
    uint32_t kk;                /* position in a cluster of short options; 0 outside one */
    uint32_t argument_ind_next; /* table row of the next positional */
    const ZEL_CMDLINE_OPT *opts;
    int32_t argc;
    char **argv;                      /* element 0 is the tool */
    const char *banner;               /* printed ahead of usage and errors; null for none */
    const char *description;          /* the tool's purpose, for the usage; may be null */
    const ZEL_CMD_DEFAULTS *defaults; /* null: only -h */
} ZEL_CMDLINE;

#endif /* ZELCMDLINETYPES_H */
