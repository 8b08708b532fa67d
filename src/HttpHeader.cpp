// HTTP header lists.
#include "HttpHeader.h"

#include <cstdlib>

extern "C" {

ZOV_API void httpPayloadFreeHeaders(HttpHeader **list) {
    if (list == nullptr || *list == nullptr) return;
    HttpHeader *header = *list;
    *list = nullptr;
    while (header != nullptr) {
        HttpHeader *next = header->next;
        std::free(header);
        header = next;
    }
}

}  // extern "C"
