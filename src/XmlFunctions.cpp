// The XML writer, the plain-text XML tag search and zovStringTrim.
#include "XmlFunctions.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <vector>

#include "internal/Chain.h"
#include "internal/Report.h"
#include "internal/XmlWriter.h"

namespace {

constexpr char kSourceFile[] = "XmlFunctions";

// The characters replaced in element text, in the order of xmlEscapes.
constexpr char kSpecialCharacters[] = "<>&\"'";

constexpr std::string_view kXmlHeader = R"(<?xml version="1.0" encoding="UTF-8"?>)";
static_assert(kXmlHeader.size() == 38);

// The search patterns "<name>" and "</name>" are built in buffers of this
// size, so a tag name may have at most 124 characters.
constexpr std::size_t kPatternSize = 128;
constexpr std::size_t kMaxTagName = kPatternSize - 4;
// getSimpleXmlTagPosition's caller buffer: text plus terminator.
constexpr std::size_t kSimpleContentsSize = 1024;

// The xmlEscapes entry of c; NULL when c is not in the table (0 included,
// as the end marker is never matched).
const XmlEscapeEntry *findEscape(char c) noexcept {
    for (const XmlEscapeEntry *entry = xmlEscapes; entry->character != '\0'; ++entry) {
        if (entry->character == c) return entry;
    }
    return nullptr;
}

// The bytes that end a run of ordinary text: the special characters and the
// terminator.
struct RunEnds {
    bool stop[256];
    constexpr RunEnds() : stop{} {
        stop[0] = true;
        for (const char *c = kSpecialCharacters; *c != '\0'; ++c)
            stop[static_cast<unsigned char>(*c)] = true;
    }
};
constexpr RunEnds kRunEnds{};

// The length of the run of ordinary characters at the start of text.
std::size_t plainRun(const char *text) noexcept {
    const char *end = text;
    while (!kRunEnds.stop[static_cast<unsigned char>(*end)]) ++end;
    return static_cast<std::size_t>(end - text);
}

// Feeds text to sink(const char *, size_t) as runs of ordinary characters and
// replacements of special ones; stops and returns false when sink does.
template <typename Sink>
bool escapeInto(const char *text, Sink &&sink) noexcept {
    for (;;) {
        std::size_t run = plainRun(text);
        if (run > 0 && !sink(text, run)) return false;
        text += run;
        if (*text == '\0') return true;
        if (const XmlEscapeEntry *entry = findEscape(*text)) {
            if (!sink(entry->replacement, std::strlen(entry->replacement))) return false;
        }
        ++text;
    }
}

// The escaped text in a new allocation of exactly its length plus one, its
// length stored in *length; NULL when memory is exhausted.
char *escapedCopy(const char *text, std::size_t *length) noexcept {
    std::size_t size = plainRun(text);
    bool plain = text[size] == '\0';  // the usual case: one scan, one copy
    if (!plain) {
        size = 0;
        bool fits = escapeInto(text, [&size](const char *, std::size_t n) {
            if (n > SIZE_MAX - 1 - size) return false;
            size += n;
            return true;
        });
        if (!fits) return nullptr;
    }
    auto *copy = static_cast<char *>(std::malloc(size + 1));
    if (copy == nullptr) return nullptr;
    if (plain) {
        std::memcpy(copy, text, size);
    } else {
        char *end = copy;
        escapeInto(text, [&end](const char *bytes, std::size_t n) {
            std::memcpy(end, bytes, n);
            end += n;
            return true;
        });
    }
    copy[size] = '\0';
    *length = size;
    return copy;
}

// Data bytes of a chain, counted before anything is appended, so that a chain
// appended to itself (or to a chain it is part of) is copied once.
std::size_t chainDataLength(const CharBuffer *chain) noexcept {
    std::size_t total = 0;
    for (; chain != nullptr; chain = chain->next) total += zov::linkLength(chain);
    return total;
}

// Appends the first length data bytes of src, one append per link.
void appendChainData(zov::XmlWriter &writer, const CharBuffer *src, std::size_t length) noexcept {
    for (; src != nullptr && length > 0; src = src->next) {
        std::size_t n = std::min(zov::linkLength(src), length);
        if (n > 0) writer.raw({src->data, n});
        length -= n;
    }
}

// Where a tag search found its element: the text between the tags and the
// position just after the closing tag.
struct FoundElement {
    const char *text;
    std::ptrdiff_t length;  // no text unless positive
    const char *after;
};

bool tagNameFits(const char *tagName) noexcept {
    return strnlen(tagName, kMaxTagName + 1) <= kMaxTagName;
}

// The literal search shared by both tag searches; tagName fits the patterns.
bool findElement(const char *xml, const char *tagName, FoundElement &found) noexcept {
    char open[kPatternSize];
    char close[kPatternSize];
    int openLength = std::snprintf(open, sizeof open, "<%s>", tagName);
    int closeLength = std::snprintf(close, sizeof close, "</%s>", tagName);
    const char *start = std::strstr(xml, open);
    if (start == nullptr) return false;
    const char *end = std::strstr(start, close);
    if (end == nullptr) return false;
    found.text = start + openLength;
    found.length = end - found.text;
    found.after = end + closeLength;
    return true;
}

}  // namespace

namespace zov {

void XmlWriter::tag(std::string_view open, const char *tagName, std::string_view close) noexcept {
    out_.append(open);
    out_.append(tagName, std::strlen(tagName));
    out_.append(close);
}

void XmlWriter::openTag(const char *tagName) noexcept {
    if (tagName != nullptr) tag("<", tagName, ">");
}

void XmlWriter::closeTag(const char *tagName) noexcept {
    if (tagName != nullptr) tag("</", tagName, ">");
}

void XmlWriter::stringElement(const char *tagName, const char *value) noexcept {
    if (tagName == nullptr || !out_.valid() || value == nullptr) {
        ZOV_REPORT_AS("addStringElement", 1, "bad arguments");
        return;
    }
    openTag(tagName);
    std::size_t length = 0;
    if (char *escaped = escapedCopy(value, &length)) {
        out_.append(escaped, length);
        std::free(escaped);
    } else {
        ZOV_REPORT_AS("addStringElement", 1, "Error, could not escape XML data '%s'", value);
    }
    closeTag(tagName);
}

bool XmlWriter::nodeList(const ZovNode *node) noexcept {
    try {
        std::vector<const ZovNode *> open;  // nodes whose closing tag is due
        for (;;) {
            while (node == nullptr) {
                if (open.empty()) return true;
                const ZovNode *parent = open.back();
                open.pop_back();
                closeTag(parent->name);
                node = parent->nextNode;
            }
            if (node->subNode != nullptr) {
                open.push_back(node);
                openTag(node->name);
                node = node->subNode;
            } else {
                stringElement(node->name, node->contents);
                node = node->nextNode;
            }
        }
    } catch (const std::bad_alloc &) {
        return false;
    }
}

}  // namespace zov

namespace {

// Reports a missing source, then a missing destination chain, under the
// calling writer's name; true when both are given.
bool chainsGiven(const CharBuffer *destBuffer, const CharBuffer *srcBuffer, const char *function) {
    if (srcBuffer == nullptr) {
        ZOV_REPORT_AS(function, 1, "NULL srcBuffer");
        return false;
    }
    if (destBuffer == nullptr) {
        ZOV_REPORT_AS(function, 1, "NULL destBuffer");
        return false;
    }
    return true;
}

}  // namespace

extern "C" {

// Exported through its declaration in XmlFunctions.h.
const XmlEscapeEntry xmlEscapes[6] = {
    {'<', "&lt;"}, {'>', "&gt;"}, {'&', "&amp;"}, {'"', "&quot;"}, {'\'', "&apos;"}, {'\0', ""},
};
static_assert(sizeof(XmlEscapeEntry) == 11 && sizeof(xmlEscapes) == 66,
              "xmlEscapes is six packed entries of 11 bytes");

ZOV_API const char *getXmlEscape(char c) {
    const XmlEscapeEntry *entry = findEscape(c);
    if (entry == nullptr) {
        ZOV_REPORT(1, "Could not find XML replacement for '%c'", c);
        return nullptr;
    }
    return entry->replacement;
}

ZOV_API char *xmlEscape(const char *text) {
    if (text == nullptr) return nullptr;
    std::size_t length = 0;
    return escapedCopy(text, &length);
}

ZOV_API void addOpeningTag(CharBuffer *buffer, const char *tagName) {
    if (tagName != nullptr) zov::XmlWriter(buffer).openTag(tagName);
}

ZOV_API void addClosingTag(CharBuffer *buffer, const char *tagName) {
    if (tagName != nullptr) zov::XmlWriter(buffer).closeTag(tagName);
}

ZOV_API void addEmptyElement(CharBuffer *buffer, const char *tagName) {
    if (tagName == nullptr) {
        ZOV_REPORT(1, "unexpected empty tagName");
        return;
    }
    zov::XmlWriter(buffer).tag("<", tagName, "/>");
}

ZOV_API void addStringElement(CharBuffer *buffer, const char *tagName, const char *value) {
    zov::XmlWriter(buffer).stringElement(tagName, value);
}

ZOV_API void addStringElementNotEmpty(CharBuffer *buffer, const char *tagName, const char *value) {
    if (buffer == nullptr || tagName == nullptr || value == nullptr) {
        ZOV_REPORT(1, "bad arguments");
        return;
    }
    if (*value != '\0') zov::XmlWriter(buffer).stringElement(tagName, value);
}

ZOV_API void addIntegerElement(CharBuffer *buffer, const char *tagName, int value) {
    char text[16];  // an int always fits
    const char *end = std::to_chars(text, text + sizeof text, value).ptr;
    zov::XmlWriter writer(buffer);
    writer.openTag(tagName);
    writer.raw({text, static_cast<std::size_t>(end - text)});
    writer.closeTag(tagName);
}

ZOV_API void addBoolElement(CharBuffer *buffer, const char *tagName, int value) {
    zov::XmlWriter writer(buffer);
    writer.openTag(tagName);
    writer.raw(value != 0 ? "true" : "false");
    writer.closeTag(tagName);
}

ZOV_API void addCharBufferRawData(CharBuffer *destBuffer, CharBuffer *srcBuffer) {
    if (!chainsGiven(destBuffer, srcBuffer, __func__)) return;
    std::size_t length = chainDataLength(srcBuffer);
    zov::XmlWriter writer(destBuffer);
    appendChainData(writer, srcBuffer, length);
}

ZOV_API void addCharBufferElement(CharBuffer *destBuffer, const char *tagName,
                                  CharBuffer *srcBuffer) {
    if (tagName == nullptr) {
        ZOV_REPORT(1, "NULL tagName");
        return;
    }
    if (!chainsGiven(destBuffer, srcBuffer, __func__)) return;
    std::size_t length = chainDataLength(srcBuffer);
    zov::XmlWriter writer(destBuffer);
    writer.openTag(tagName);
    appendChainData(writer, srcBuffer, length);
    writer.closeTag(tagName);
}

ZOV_API int addXmlHeader(CharBuffer *buffer) {
    return zov::XmlWriter(buffer).raw(kXmlHeader) ? 0 : -1;
}

ZOV_API void addSubNodeStringsRecursive(CharBuffer *buffer, ZovNode *node) {
    if (!zov::XmlWriter(buffer).nodeList(node)) ZOV_REPORT(1, "Error while memory allocation");
}

ZOV_API char *getXmlTagPosition(const char *xml, const char *tagName, char **contents) {
    if (contents == nullptr) {
        ZOV_REPORT(1, "bad arguments");
        return nullptr;
    }
    *contents = nullptr;
    if (xml == nullptr || tagName == nullptr || !tagNameFits(tagName)) {
        ZOV_REPORT(1, "bad arguments");
        return nullptr;
    }
    FoundElement found{};
    if (!findElement(xml, tagName, found)) return nullptr;
    if (found.length > 0) {
        *contents = zov::dupString({found.text, static_cast<std::size_t>(found.length)});
        if (*contents == nullptr) ZOV_REPORT(1, "Error while allocation memory");
    }
    return const_cast<char *>(found.after);
}

ZOV_API char *getSimpleXmlTagPosition(const char *xml, const char *tagName, char *contents) {
    if (xml == nullptr || tagName == nullptr || contents == nullptr || !tagNameFits(tagName)) {
        ZOV_REPORT(1, "bad arguments");
        return nullptr;
    }
    contents[0] = '\0';
    FoundElement found{};
    if (!findElement(xml, tagName, found)) return nullptr;
    if (found.length > 0) {
        auto length = static_cast<std::size_t>(found.length);
        if (length >= kSimpleContentsSize) return nullptr;
        std::memcpy(contents, found.text, length);
        contents[length] = '\0';
    }
    return const_cast<char *>(found.after);
}

ZOV_API char *zovStringTrim(char *str, const char *trimChars) {
    if (str == nullptr || trimChars == nullptr) {
        ZOV_REPORT(1, "bad arguments");
        return nullptr;
    }
    if (*str == '\0' || *trimChars == '\0') return str;
    char *first = str + std::strspn(str, trimChars);
    if (*first == '\0') return nullptr;
    char *last = first + std::strlen(first) - 1;
    while (last > first && std::strchr(trimChars, *last) != nullptr) *last-- = '\0';
    return first;
}

}  // extern "C"
