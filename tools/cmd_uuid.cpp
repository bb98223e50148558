// `zelbase uuid [--braces]`: prints a new random UUID (version 4).
#include <cstdio>

#include "uuid.h"
#include "zelbase_cmds.h"

int zb_cmd_uuid(int argc, char **argv);

int zb_cmd_uuid(int argc, char **argv) {
    const ZEL_CMDLINE_OPT opts[] = {{"b", "braces", nullptr, "Put braces around the UUID"},
                                    {nullptr, nullptr, nullptr, nullptr}};
    ZEL_CMDLINE cmd;
    if (int code = zb_cmdline(&cmd, argc, argv, "Print a new random UUID (version 4).", opts);
        code != kZbGoOn)
        return code;
    ZEL_BOOL_T braces = ZEL_FALSE;
    for (const char *name; (name = zel_cmdlineNextLongOption(&cmd, nullptr)) != nullptr;)
        braces = ZEL_TRUE;  // --braces is the only row
    ZEL_UUID_T u;
    char text[ZEL_UUID_TEXT_LEN_BRACES + 1];
    ZEL_RETCODE rc = zel_uuidCreate(&u);
    if (rc == sOKAY) rc = zel_uuidToString(&u, text, sizeof text, braces);
    if (rc != sOKAY) return zb_exitCode(rc, argv[0]);
    std::printf("%s\n", text);
    return 0;
}
