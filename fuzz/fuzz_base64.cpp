// Base64 decoding of server text: the input as a NUL-terminated string, as a
// counted run of characters, and as a chain split at arbitrary link
// boundaries, with output buffers exactly as large as the decoders document.
#include <string>
#include <vector>

#include "FuzzSupport.h"

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
    fuzz::quietLogger();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size > 1 << 20) return 0;
    const std::string text(fuzz::bytes(data, size));
    const int length = static_cast<int>(size);

    // 3 bytes per complete group; the string decoder writes one NUL more.
    std::vector<unsigned char> out(3 * (size / 4) + 1);
    const int counted = base64DecodeN(out.data(), text.data(), length);
    const int terminated = base64Decode(out.data(), text.c_str());
    if (counted > 3 * length / 4 || terminated > 3 * length / 4) abort();
    if (text.find('\0') == std::string::npos && counted != terminated) abort();

    CharBuffer *src = fuzz::chainOf(text, static_cast<unsigned>(size));
    CharBuffer *dest = createCharBuffer();
    if (src != nullptr && dest != nullptr) {
        const int decoded = base64DecodeCharBuffer(dest, src);
        if (decoded != getTotalBufferLength(dest) || decoded > 3 * length / 4) abort();
        fuzz::touch(dest);
    }
    freeAllCharBuffers(src);
    freeAllCharBuffers(dest);
    return 0;
}
