// The memory tag section of `zelbase demo` (placeholder until the tags land).
#include "zelbase_cmds.h"

int zb_demo_tags(FILE *out) {
    std::fprintf(out, "(memory tags: not built yet)\n");
    return 0;
}
