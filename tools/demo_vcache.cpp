// The "Versioned cache" section of `zelbase demo`: two savepoints over a
// table drawer and a B-tree drawer, a rollback to the second, a fold of the
// first into the bottom mark, and a commit with its order and add_list flags.
#include <cstdio>

#include "zelbase_cmds.h"

int zb_demo_vcache(FILE *out) {
    static const char script[] =
        "# Two drawers; a first write modifies an entry in place, with no copy.\n"
        "sub T table\n"
        "sub K btree\n"
        "add T 1 w row1\n"
        "write\n"
        "add K 5 w key5\n"
        "write\n"
        "# Savepoint s1: writing an entry that an older mark wrote keeps the old image.\n"
        "mark s1\n"
        "find T 1 w row1-s1\n"
        "write\n"
        "add T 2 w row2\n"
        "write\n"
        "# Savepoint s2: T:1 gets a third image, K:5 a second.\n"
        "mark s2\n"
        "find T 1 w row1-s2\n"
        "write\n"
        "find K 5 w key5-s2\n"
        "write\n"
        "# A rollback to s2 undoes the images written since; s2 stays, empty.\n"
        "rollback s2\n"
        "# Giving s1 up folds it into the bottom mark: T:1's two images become one.\n"
        "releasemark s1\n"
        "# The commit: table drawers (type 4) before B-tree drawers (type 0), ids ascending;\n"
        "# the committed entries join the old end of the age list.\n"
        "commit\n";
    return zb_vcache_run(out, script, 8, false);
}
