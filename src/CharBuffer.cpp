// The chained byte buffer: links of 1000 bytes, appended at the end, read back
// by count, by line or whole.
#include "CharBuffer.h"

#include <climits>
#include <cstdlib>
#include <cstring>
#include <string>

#include "internal/Chain.h"
#include "internal/Report.h"

// The source file name is used by the report macros of this family.
[[maybe_unused]] constexpr char kSourceFile[] = "CharBuffer";

extern "C" {

ZOV_API CharBuffer *createCharBuffer(void) {
    return static_cast<CharBuffer *>(std::calloc(1, sizeof(CharBuffer)));
}

ZOV_API int getTotalBufferLength(CharBuffer *bufferPointer) {
    long long total = 0;
    for (const CharBuffer *link = bufferPointer; link != nullptr; link = link->next) {
        total += static_cast<long long>(zov::linkLength(link));
        if (total >= INT_MAX) return INT_MAX;
    }
    return static_cast<int>(total);
}

ZOV_API CharBuffer *findLastCharBuffer(CharBuffer *bufferPointer) {
    return bufferPointer == nullptr ? nullptr : zov::lastLink(bufferPointer);
}

ZOV_API int addDataToCharBuffer(CharBuffer *bufferPointer, const void *data, int dataLength) {
    if (bufferPointer == nullptr || data == nullptr) {
        ZOV_REPORT(1, "bufferPointer and data cannot be NULL");
        return -1;
    }
    if (dataLength < 1) return 0;
    // The appender fills the last link to 1000 bytes and then adds links; on a
    // failed allocation it reports "Error in adding CharBuffer".
    zov::ChainAppender appender(bufferPointer);
    return appender.append(data, static_cast<std::size_t>(dataLength)) ? 0 : -1;
}

ZOV_API int freeAllCharBuffers(CharBuffer *bufferPointer) {
    while (bufferPointer != nullptr) {
        CharBuffer *next = bufferPointer->next;
        bufferPointer->next = nullptr;
        std::free(bufferPointer);
        bufferPointer = next;
    }
    return 0;
}

ZOV_API CharBuffer *getBufferContent(CharBuffer *link, char **data, int *dataLength) {
    if (link == nullptr) return nullptr;
    if (data != nullptr) *data = link->data;
    if (dataLength != nullptr) *dataLength = static_cast<int>(zov::linkLength(link));
    return link->next;
}

ZOV_API size_t getDataFromCharBuffer(CharBuffer *bufferPointer, char *dest, size_t maxLength,
                                     size_t startingCharacter) {
    if (getTotalBufferLength(bufferPointer) == 0) {
        if (dest != nullptr) dest[0] = '\0';
        return 0;
    }
    // An offset equal to a link's length stays in that link.
    const CharBuffer *link = bufferPointer;
    std::size_t offset = startingCharacter;
    while (zov::linkLength(link) < offset) {
        if (link->next == nullptr) {
            ZOV_REPORT(1, "Reached last charBuffer before startingCharacter found");
            return 0;
        }
        offset -= zov::linkLength(link);
        link = link->next;
    }
    if (dest == nullptr) return 0;
    std::size_t copied = 0;
    while (link != nullptr && copied < maxLength) {
        std::size_t n = std::min(maxLength - copied, zov::linkLength(link) - offset);
        std::memcpy(dest + copied, link->data + offset, n);
        if (offset + n >= zov::linkLength(link)) link = link->next;
        copied += n;
        offset = 0;
    }
    return copied;
}

ZOV_API char *getCharBufferLine(CharBuffer *bufferPointer, int *position) {
    if (bufferPointer == nullptr || position == nullptr || *position < 0) return nullptr;
    return zov::guarded<char *>(nullptr, [&]() -> char * {
        zov::ChainReader reader(bufferPointer, static_cast<std::size_t>(*position));
        std::string line;
        if (!reader.nextLine(line)) return nullptr;
        char *copy = zov::dupString(line);
        if (copy == nullptr) return nullptr;
        std::size_t end = reader.position();
        *position = end > INT_MAX ? INT_MAX : static_cast<int>(end);
        return copy;
    });
}

ZOV_API char *removeNewLines(char *text) {
    if (text == nullptr) return nullptr;
    char *out = text;
    for (const char *in = text; *in != '\0'; ++in) {
        if (*in != '\n' && *in != '\r') *out++ = *in;
    }
    *out = '\0';
    return text;
}

ZOV_API char *charBufferToChar(CharBuffer *bufferPointer) {
    if (bufferPointer == nullptr) return nullptr;
    auto total = static_cast<std::size_t>(getTotalBufferLength(bufferPointer));
    auto *text = static_cast<char *>(std::malloc(total + 1));
    if (text == nullptr) return nullptr;
    zov::ChainReader reader(bufferPointer);
    std::size_t got = reader.read(text, total);
    text[got] = '\0';
    return text;
}

ZOV_API void addCharBufferToCharBuffer(CharBuffer *dest, CharBuffer *src) {
    if (dest == nullptr || src == nullptr) {
        ZOV_REPORT_AS("addDataToCharBuffer", 1, "bufferPointer and data cannot be NULL");
        return;
    }
    // Counted up front, so that appending a chain to itself copies it once.
    auto remaining = static_cast<std::size_t>(getTotalBufferLength(src));
    zov::ChainReader reader(src);
    zov::ChainAppender appender(dest);
    while (remaining > 0) {
        std::string_view span = reader.span();
        if (span.empty()) break;
        std::size_t n = std::min(span.size(), remaining);
        if (!appender.append(span.data(), n)) return;
        reader.consume(n);
        remaining -= n;
    }
}

ZOV_API CharBuffer *charBufferCopy(CharBuffer *bufferPointer) {
    CharBuffer *head = nullptr;
    CharBuffer **slot = &head;
    for (const CharBuffer *link = bufferPointer; link != nullptr; link = link->next) {
        CharBuffer *copy = createCharBuffer();
        if (copy == nullptr) break;
        copy->length = link->length;
        // The data area is copied as a string: bytes from its first NUL on stay zero.
        std::size_t textLength = strnlen(link->data, CHAR_BUFFER_SIZE);
        std::memcpy(copy->data, link->data, textLength);
        *slot = copy;
        slot = &copy->next;
    }
    return head;
}

ZOV_API void stringTrim(const char *src, char *dest, int size) {
    if (dest == nullptr || size <= 0) return;
    if (src == nullptr) src = "";
    while (*src == ' ') ++src;
    std::strncpy(dest, src, static_cast<std::size_t>(size));
    dest[size - 1] = '\0';
}

}  // extern "C"
