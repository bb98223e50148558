// `zelbase uuid [--braces]`: prints a new random UUID (version 4).
#include <cstdio>
#include <cstring>

#include "uuid.h"
#include "zelbase_cmds.h"

int zb_cmd_uuid(int argc, char **argv);

int zb_cmd_uuid(int argc, char **argv) {
    ZEL_BOOL_T braces = ZEL_FALSE;
    if (argc == 1 && (std::strcmp(argv[0], "--braces") == 0 || std::strcmp(argv[0], "-b") == 0)) {
        braces = ZEL_TRUE;
    } else if (argc != 0) {
        std::fprintf(stderr, "usage: zelbase uuid [--braces]\n");
        return 2;
    }
    ZEL_UUID_T u;
    char text[ZEL_UUID_TEXT_LEN_BRACES + 1];
    if (zel_uuidCreate(&u) != sOKAY || zel_uuidToString(&u, text, sizeof text, braces) != sOKAY) {
        std::fprintf(stderr, "zelbase uuid: cannot make a UUID\n");
        return 1;
    }
    std::printf("%s\n", text);
    return 0;
}
