/* Plain C11 use of the public headers: every header compiles as C, and a few
 * calls link and behave. */
#include <stdio.h>
#include <string.h>

#include "zelbase_all.h"

static int failures = 0;
#define EXPECT(cond)                                                           \
    do {                                                                       \
        if (!(cond)) {                                                         \
            fprintf(stderr, "%s:%d: failed: %s\n", __FILE__, __LINE__, #cond); \
            failures++;                                                        \
        }                                                                      \
    } while (0)

int main(void) {
    EXPECT(sOKAY == 0 && eFAIL == -1 && eNOMEMORY == -10000);
    EXPECT(psp_strcasecmp("Table", "TABLE") == 0);
    EXPECT(strcmp(zelErrorString(sOKAY), "Normal, successful return") == 0);
    EXPECT(no_zel_errors == 622);

    B_TAG_MASTER master = NULL;
    EXPECT(b_tag_masterCreate(NULL, 0, &master) == sOKAY);
    if (master != NULL) {
        B_TAG_SUB sub = NULL;
        EXPECT(b_tag_subCreate(master, &sub) == sOKAY);
        char *text = NULL;
        EXPECT(b_tag_subCopyString(sub, "zelbase", &text) == sOKAY);
        EXPECT(text != NULL && strcmp(text, "zelbase") == 0);
        b_tag_subFree(sub, text);
        b_tag_subDestroy(sub);
        b_tag_masterDestroy(master);
    }

    printf("%d passed, %d failed\n", failures == 0 ? 1 : 0, failures == 0 ? 0 : 1);
    return failures == 0 ? 0 : 1;
}
