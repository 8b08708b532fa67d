/* A C program built against the installed library through pkg-config. */
#include <ZovCommon.h>

#include <stdio.h>
#include <stdlib.h>

int main(void) {
    CharBuffer *chain = createCharBuffer();
    if (chain == NULL || addDataToCharBuffer(chain, "installed\n", 10) != 0) return 1;
    char *text = charBufferToChar(chain);
    int ok = text != NULL && text[0] == 'i';
    printf("C consumer: %s", text ? text : "(null)\n");
    free(text);
    freeAllCharBuffers(chain);
    return ok ? 0 : 1;
}
