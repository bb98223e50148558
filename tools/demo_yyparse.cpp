// What `zelbase demo` shows of the parser driver: the calculator grammar over
// two statements and a broken one between them, which the error rule
// `list: list error ';'` recovers from, then one statement traced in full.
#include "zelbase_cmds.h"

int zb_demo_yyparse(FILE *out);

int zb_demo_yyparse(FILE *out) {
    const char *text = "1 + 2 * 3; 4 - ; (5 - 1) * -2;";
    std::fprintf(out, "calc: \"%s\"\n", text);
    // Rule 3 is the recovery; 4 tokens are shifted after it, so the accept is
    // clean (three are needed).
    if (zb_parse_run(out, "calc", text, false) != 0) return 1;
    std::fprintf(out, "calc, traced: \"2*(3+4);\"\n");
    return zb_parse_run(out, "calc", "2*(3+4);", true);
}
