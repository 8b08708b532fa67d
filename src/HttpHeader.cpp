// HTTP header lists and HTTP message first lines.
#include "HttpHeader.h"

#include <cstdlib>
#include <cstring>
#include <strings.h>

#include "CharBuffer.h"

namespace {

struct TrimmedName {
    char text[HTTP_HEADER_NAME_SIZE];
    explicit TrimmedName(const char *name) noexcept { stringTrim(name, text, sizeof text); }
};

// Copies at most size - 1 characters of a record field into a zero-filled one.
void copyField(char *dest, const char *src, std::size_t size) noexcept {
    std::memcpy(dest, src, strnlen(src, size - 1));
}

bool sameName(const HttpHeader *header, const char *name) noexcept {
    return std::strncmp(header->name, name, HTTP_HEADER_NAME_SIZE) == 0;
}

// The link that points at the first header named name (the head pointer or a
// next field), or the final NULL link when there is none.
HttpHeader **findLink(HttpHeader **list, const char *name) noexcept {
    HttpHeader **link = list;
    while (*link != nullptr && !sameName(*link, name)) link = &(*link)->next;
    return link;
}

// Unlinks and frees the first header with the (trimmed) name; 0 also when
// there is none.
int httpPayloadRemoveHeaderValue(HttpHeader **list, const char *name) noexcept {
    TrimmedName key(name);
    HttpHeader **link = findLink(list, key.text);
    if (HttpHeader *found = *link) {
        *link = found->next;
        std::free(found);
    }
    return 0;
}

}  // namespace

extern "C" {

ZOV_API int httpPayloadAddHeader(HttpHeader **list, const char *name, const char *value) {
    if (list == nullptr || name == nullptr) return -1;
    if (value == nullptr) return httpPayloadRemoveHeaderValue(list, name);
    TrimmedName key(name);
    HttpHeader **link = findLink(list, key.text);
    HttpHeader *header = *link;
    if (header == nullptr) {
        header = static_cast<HttpHeader *>(std::calloc(1, sizeof(HttpHeader)));
        if (header == nullptr) return -1;
        std::memcpy(header->name, key.text, sizeof header->name);
        *link = header;
    }
    stringTrim(value, header->value, sizeof header->value);
    return 0;
}

ZOV_API char *httpPayloadGetHeader(HttpHeader *list, const char *name) {
    if (name == nullptr) return nullptr;
    HttpHeader *header = *findLink(&list, name);
    return header == nullptr ? nullptr : header->value;
}

ZOV_API HttpHeader *httpPayloadCopyHeaders(const HttpHeader *list) {
    HttpHeader *head = nullptr;
    HttpHeader **slot = &head;
    for (const HttpHeader *header = list; header != nullptr; header = header->next) {
        auto *copy = static_cast<HttpHeader *>(std::calloc(1, sizeof(HttpHeader)));
        if (copy == nullptr) break;
        copyField(copy->name, header->name, sizeof copy->name);
        copyField(copy->value, header->value, sizeof copy->value);
        *slot = copy;
        slot = &copy->next;
    }
    return head;
}

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

ZOV_API int getRequestType(const char *line) {
    if (line == nullptr) return 3;
    if (strncasecmp(line, "POST", 4) == 0) return 1;
    if (strncasecmp(line, "GET", 3) == 0) return 2;
    return 3;
}

ZOV_API int checkResponseFirstLine(const char *line) {
    static constexpr char kProtocol[] = "HTTP/";
    static constexpr char kSuccess[] = "200 OK";
    if (line == nullptr || std::strncmp(line, kProtocol, sizeof kProtocol - 1) != 0) return -1;
    const char *status = line + sizeof kProtocol - 1;
    status += std::strcspn(status, " \t");  // the version
    status += std::strspn(status, " \t");
    return std::strncmp(status, kSuccess, sizeof kSuccess - 1) == 0 ? 0 : 1;
}

}  // extern "C"
