/*
 * ServerList.h - the list of management server URLs, and splitting a URL.
 *
 * A ServerList is a singly linked list of URLs in the order they were added,
 * known by its first entry (the head); an empty list is NULL. The holder of
 * the head owns every entry and releases them with freeServerList.
 *
 * Reports go through zovLogger at level 1 with the source file "ServerList".
 */
#ifndef ZOVCOMMON_SERVERLIST_H
#define ZOVCOMMON_SERVERLIST_H

#include <stdint.h>

#include "ZovApi.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Size of an entry's URL field: at most 1023 characters and the terminator. */
#define SERVER_URL_SIZE 1024

typedef struct ServerList {
    char url[SERVER_URL_SIZE]; /* the URL as added, cut to 1023 characters, terminated */
    struct ServerList *next;   /* the following entry, NULL in the last */
} ServerList;

/* Appends a copy of url at the end of list, which may be NULL (an empty list);
 * the same URL may be added more than once. A URL of more than 1023
 * characters is stored cut to its first 1023, without a report. Returns the
 * head of the list: the new entry when list was NULL, list otherwise, so
 *     head = addServerToList(head, url);
 * keeps the list. Returns NULL, with the list unchanged, when the entry cannot
 * be allocated ("malloc error") or url is NULL ("bad arguments"); a caller
 * that must keep its list through such a failure checks before assigning:
 *     ServerList *grown = addServerToList(head, url); if (grown) head = grown; */
ZOV_API ServerList *addServerToList(ServerList *list, const char *url);

/* The entry after entry; NULL after the last one (the walk does not wrap
 * around) or for NULL. */
ZOV_API ServerList *getNextServer(ServerList *entry);

/* The entry's url field itself (not a copy; valid as long as the entry), or
 * NULL for NULL. */
ZOV_API char *getServerUrl(ServerList *entry);

/* Releases every entry from list on; NULL is a no-op. */
ZOV_API void freeServerList(ServerList *list);

/* Splits a URL of the form scheme://host[:port][/path] for an HTTP transfer.
 *
 * Buffers: host and path are the caller's and are written without a length
 * limit; each receives at most the characters of url after "://" plus the
 * terminator, and path always receives the default "/" first, so buffers of
 * strlen(url) + 1 bytes (path at least 2) always suffice; for the URL of a
 * list entry (getServerUrl) that is SERVER_URL_SIZE bytes each. The URL
 * itself has no length limit here.
 *
 * *port is set to 80 and path to "/" first (so both hold these after a
 * failure too; 80 whatever the scheme). The host runs from after the first
 * "://" to the first of ':', ' ', '/', '\t', '\n', '\r' or the end; the scheme
 * is not checked. After a ':' the port is read as atoi does (blanks, a sign,
 * digits; no digits gives 0; values beyond the int range are clamped), and
 * reading skips to the next character of that set. When that character is a
 * '/', the path runs from it to the first blank, tab, line feed, carriage
 * return or the end; otherwise the path stays "/". "?" and "#" stay in the
 * path, user information stays in the host.
 *
 * Returns 0; -1 without a report when there is no "://" or the host is empty
 * (host then not written); -1 with "bad arguments" when an argument is NULL
 * (nothing written). */
ZOV_API int parseServerUrl(const char *url, char *host, int32_t *port, char *path);

#ifdef __cplusplus
}
#endif

#endif /* ZOVCOMMON_SERVERLIST_H */
