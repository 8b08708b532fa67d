/* A small tour of the library: a node tree, a chain of text, and the logger. */
#include <ZovCommon.h>

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

int main(void) {
    ZovNode *root = newZovNode("Command", NULL);
    ZovNode *adapter = addNewZovSubNode(root, "networkAdapter", NULL);
    addNewZovSubNode(adapter, "macAddress", "00:11:22:33:44:55");
    addNewZovSubNode(root, "hostName", "device-17");
    dumpZovNode("tree", __LINE__, 1, root);
    printf("hostName = %s\n", getSubNodeContentByName(root, "hostName"));

    CharBuffer *chain = createCharBuffer();
    const char *text = "first line\r\nsecond line\n";
    addDataToCharBuffer(chain, text, (int)strlen(text));
    int position = 0;
    char *line;
    while ((line = getCharBufferLine(chain, &position)) != NULL) {
        printf("line: %s", line);
        free(line);
    }

    freeAllCharBuffers(chain);
    freeZovNode(root);
    return 0;
}
