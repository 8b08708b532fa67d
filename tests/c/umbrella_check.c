/* Compiled as strict C11: every public header must be valid C. */
#include <ZovCommon.h>

#include <stdio.h>

int main(void) {
    CharBuffer *chain = createCharBuffer();
    ZovNode *root = newZovNode("root", NULL);
    int failed = chain == NULL || root == NULL;
    if (!failed) failed = addDataToCharBuffer(chain, "abc", 3) != 0;
    freeZovNode(root);
    freeAllCharBuffers(chain);
    if (failed) fprintf(stderr, "C header check failed\n");
    return failed;
}
