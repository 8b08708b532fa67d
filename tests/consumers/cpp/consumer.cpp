// A C++ program built against the installed library through find_package.
#include <ZovCommon.h>

#include <cstdio>

int main() {
    ZovNode *root = newZovNode("Command", nullptr);
    addNewZovSubNode(root, "hostName", "device-17");
    const char *host = getSubNodeContentByName(root, "hostName");
    std::printf("C++ consumer: %s\n", host ? host : "(null)");
    bool ok = host != nullptr;
    freeZovNode(root);
    return ok ? 0 : 1;
}
