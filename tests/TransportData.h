// Test and benchmark helpers for the transport families: chains from and to
// strings, pseudo-random bytes, and standard base64 text of some bytes.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "CharBuffer.h"

// A new chain holding text (free it with freeAllCharBuffers).
inline CharBuffer *chainOf(std::string_view text) {
    CharBuffer *chain = createCharBuffer();
    addDataToCharBuffer(chain, text.data(), static_cast<int>(text.size()));
    return chain;
}

// All data of a chain.
inline std::string textOf(const CharBuffer *chain) {
    std::string text;
    for (; chain != nullptr; chain = chain->next) text.append(chain->data, static_cast<std::size_t>(chain->length));
    return text;
}

// size pseudo-random bytes (xorshift), the same for every call.
inline std::string randomBytes(std::size_t size) {
    std::string bytes(size, '\0');
    unsigned state = 2463534242u;
    for (char &c : bytes) {
        state ^= state << 13;
        state ^= state >> 17;
        state ^= state << 5;
        c = static_cast<char>(state);
    }
    return bytes;
}

// Base64 of bytes; with lineWidth > 0 the text is cut into lines of that many
// characters, each followed by lineEnd (the last one too).
inline std::string base64Text(std::string_view bytes, std::size_t lineWidth = 0,
                              std::string_view lineEnd = "\r\n") {
    static constexpr char kAlphabet[] =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        std::size_t n = bytes.size() - i < 3 ? bytes.size() - i : 3;
        unsigned word = 0;
        for (std::size_t k = 0; k < 3; ++k)
            word = word << 8 | (k < n ? static_cast<unsigned char>(bytes[i + k]) : 0u);
        for (std::size_t k = 0; k < 4; ++k)
            text += k <= n ? kAlphabet[(word >> (18 - 6 * k)) & 63] : '=';
    }
    if (lineWidth == 0) return text;
    std::string wrapped;
    wrapped.reserve(text.size() + text.size() / lineWidth * lineEnd.size() + lineEnd.size());
    for (std::size_t i = 0; i < text.size(); i += lineWidth) {
        wrapped.append(text, i, lineWidth);
        wrapped.append(lineEnd);
    }
    return wrapped;
}
