// Chains and header lists from and to strings, pseudo-random bytes and their base64 text.
#pragma once

#include <algorithm>
#include <random>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "CharBuffer.h"
#include "HttpHeader.h"

// A new chain holding text in links of linkSize bytes (freeAllCharBuffers frees it).
inline CharBuffer *chainOf(std::string_view text, std::size_t linkSize = 1000) {
    CharBuffer *head = createCharBuffer(), *link = head;
    for (std::size_t at = 0; at < text.size(); at += linkSize) {
        if (at > 0) link = link->next = createCharBuffer();
        link->length = static_cast<int32_t>(text.copy(link->data, linkSize, at));
    }
    return head;
}

// All data of a chain.
inline std::string textOf(const CharBuffer *chain) {
    std::string text;
    for (; chain != nullptr; chain = chain->next) text.append(chain->data, static_cast<std::size_t>(chain->length));
    return text;
}

using HeaderPairs = std::vector<std::pair<std::string, std::string>>;

inline HeaderPairs pairsOf(const HttpHeader *list) {
    HeaderPairs pairs;
    for (; list != nullptr; list = list->next) pairs.emplace_back(list->name, list->value);
    return pairs;
}

// Owns a header list, built by adding pairs one by one, for its lifetime.
struct Headers {
    HttpHeader *head = nullptr;
    explicit Headers(const HeaderPairs &pairs = {}) {
        for (const auto &[name, value] : pairs) httpPayloadAddHeader(&head, name.c_str(), value.c_str());
    }
    Headers(const Headers &) = delete;
    ~Headers() { httpPayloadFreeHeaders(&head); }
};

// size pseudo-random bytes, the same for every call.
inline std::string randomBytes(std::size_t size) {
    std::mt19937 generator;
    std::string bytes(size, '\0');
    for (char &c : bytes) c = static_cast<char>(generator());
    return bytes;
}

// Base64 of bytes; with lineWidth > 0 in lines of that width, each ended by lineEnd.
inline std::string base64Text(std::string_view bytes, std::size_t lineWidth = 0, std::string_view lineEnd = "\r\n") {
    static constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text, wrapped;
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        const std::size_t n = std::min<std::size_t>(bytes.size() - i, 3);
        unsigned word = 0;
        for (std::size_t k = 0; k < 3; ++k) word = word << 8 | (k < n ? static_cast<unsigned char>(bytes[i + k]) : 0u);
        for (std::size_t k = 0; k < 4; ++k) text += k <= n ? kAlphabet[(word >> (18 - 6 * k)) & 63] : '=';
    }
    if (lineWidth == 0) return text;
    for (std::size_t i = 0; i < text.size(); i += lineWidth) wrapped.append(text, i, lineWidth).append(lineEnd);
    return wrapped;
}
