/* A separate project linking the installed zelbase through find_package. */
#include <stdio.h>

#include "tag_master_psp.h"
#include "tag_sub.h"

int main(void) {
    B_TAG_MASTER master = NULL;
    B_TAG_SUB sub = NULL;
    void *buf = NULL;
    if (b_tag_masterCreate(NULL, 0, &master) != sOKAY) return 1;
    if (b_tag_subCreate(master, &sub) != sOKAY) return 1;
    if (b_tag_subAlloc(sub, 100, &buf) != sOKAY) return 1;
    b_tag_subFree(sub, buf);
    b_tag_subDestroy(sub);
    b_tag_masterDestroy(master);
    puts("consumer: ok");
    return 0;
}
