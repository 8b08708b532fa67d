// The list of management server URLs, and splitting a server URL.
#include "ServerList.h"

#include <climits>
#include <cstdlib>
#include <cstring>

#include "internal/Report.h"

namespace {

constexpr char kSourceFile[] = "ServerList";

constexpr int32_t kDefaultPort = 80;
// Characters that end the host and the port.
constexpr char kHostEnd[] = ": /\t\n\r";
// Characters that end the path.
constexpr char kPathEnd[] = " \t\n\r";

// atoi's reading (leading blanks, a sign, digits; 0 without digits), with
// values beyond the int range clamped instead of undefined.
int32_t readPort(const char *text) noexcept {
    long value = std::strtol(text, nullptr, 10);
    if (value > INT32_MAX) return INT32_MAX;
    if (value < INT32_MIN) return INT32_MIN;
    return static_cast<int32_t>(value);
}

// Copies the n characters at text into dest and terminates them.
void copyPiece(char *dest, const char *text, std::size_t n) noexcept {
    std::memcpy(dest, text, n);
    dest[n] = '\0';
}

}  // namespace

extern "C" {

ZOV_API ServerList *addServerToList(ServerList *list, const char *url) {
    if (url == nullptr) {
        ZOV_REPORT(1, "bad arguments");
        return nullptr;
    }
    auto *entry = static_cast<ServerList *>(std::calloc(1, sizeof(ServerList)));
    if (entry == nullptr) {
        ZOV_REPORT(1, "malloc error");
        return nullptr;
    }
    copyPiece(entry->url, url, strnlen(url, sizeof entry->url - 1));
    if (list == nullptr) return entry;
    ServerList *last = list;
    while (last->next != nullptr) last = last->next;
    last->next = entry;
    return list;
}

ZOV_API ServerList *getNextServer(ServerList *entry) {
    return entry == nullptr ? nullptr : entry->next;
}

ZOV_API char *getServerUrl(ServerList *entry) {
    return entry == nullptr ? nullptr : entry->url;
}

ZOV_API void freeServerList(ServerList *list) {
    while (list != nullptr) {
        ServerList *next = list->next;
        std::free(list);
        list = next;
    }
}

ZOV_API int parseServerUrl(const char *url, char *host, int32_t *port, char *path) {
    if (url == nullptr || host == nullptr || port == nullptr || path == nullptr) {
        ZOV_REPORT(1, "bad arguments");
        return -1;
    }
    *port = kDefaultPort;
    copyPiece(path, "/", 1);

    const char *separator = std::strstr(url, "://");
    if (separator == nullptr) return -1;
    const char *cursor = separator + 3;
    std::size_t hostLength = std::strcspn(cursor, kHostEnd);
    if (hostLength == 0) return -1;
    copyPiece(host, cursor, hostLength);
    cursor += hostLength;

    if (*cursor == ':') {
        ++cursor;
        *port = readPort(cursor);
        cursor += std::strcspn(cursor, kHostEnd);
    }
    if (*cursor == '/') copyPiece(path, cursor, std::strcspn(cursor, kPathEnd));
    return 0;
}

}  // extern "C"
