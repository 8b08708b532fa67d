// MIME multipart decoding and packaging.
#include "MimeTools.h"

#include <cstdlib>

extern "C" {

ZOV_API void freeMimeStruct(MimeStruct *part) {
    // Iterative: a hostile body may carry any number of parts.
    while (part != nullptr) {
        MimeStruct *next = part->next;
        httpPayloadFreeHeaders(&part->headers);
        freeAllCharBuffers(part->body);
        std::free(part);
        part = next;
    }
}

}  // extern "C"
