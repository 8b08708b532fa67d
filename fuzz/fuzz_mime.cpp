// MIME decoding of a server response: the first input line is the value of
// the message's Content-Type header, the rest is the body. The body goes
// through processMime and, as a chain, through decodeMimeCharBuffer; the
// decoded parts are read, packaged again and released.
#include <string>

#include "FuzzSupport.h"

namespace {

size_t touchParts(MimeStruct *part) {
    size_t sum = 0;
    for (; part != nullptr; part = part->next) {
        for (HttpHeader *header = part->headers; header != nullptr; header = header->next)
            sum += std::strlen(header->name) + std::strlen(header->value);
        sum += fuzz::touch(part->body);
    }
    return sum;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
    fuzz::quietLogger();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const std::string_view input = fuzz::bytes(data, size);
    const size_t lineEnd = input.find('\n');
    if (lineEnd == std::string_view::npos) return 0;
    const std::string contentType(input.substr(0, lineEnd));
    const std::string body(input.substr(lineEnd + 1));

    HttpHeader *headers = nullptr;
    httpPayloadAddHeader(&headers, "Content-Type", contentType.c_str());
    httpPayloadAddHeader(&headers, "Content-Length", std::to_string(body.size()).c_str());

    char *text = nullptr;
    MimeStruct *rest = nullptr;
    if (processMime(headers, body.data(), &text, &rest) == 0) {
        touchParts(rest);
        std::free(text);
        freeMimeStruct(rest);
    }

    CharBuffer *chain = fuzz::chainOf(body, static_cast<unsigned>(size));
    auto *parts = static_cast<MimeStruct *>(std::calloc(1, sizeof(MimeStruct)));
    if (chain != nullptr && parts != nullptr) {
        decodeMimeCharBuffer(headers, chain, parts);
        touchParts(parts);
        MimeStruct *packaged = packageMime(parts);
        touchParts(packaged);
        freeMimeStruct(packaged);
    }
    freeMimeStruct(parts);
    freeAllCharBuffers(chain);
    httpPayloadFreeHeaders(&headers);
    return 0;
}
