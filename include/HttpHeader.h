/*
 * HttpHeader.h - HTTP header lists and HTTP message first lines.
 *
 * A list is a pointer to its first record (NULL for an empty list); whoever
 * holds the head owns every record. Names match byte for byte, case included:
 * "Content-Type" and "content-type" are two different headers. Records hold
 * copies of the caller's strings in fixed fields, always terminated: a name of
 * at most 79 characters and a value of at most 131. Longer names and values
 * are cut to that length without a report, so two names that agree in their
 * first 79 characters are the same header.
 *
 * Nothing in this family writes to the log.
 */
#ifndef ZOVCOMMON_HTTPHEADER_H
#define ZOVCOMMON_HTTPHEADER_H

#include "ZovApi.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Field sizes: the most characters a field holds, plus its terminator. */
#define HTTP_HEADER_NAME_SIZE 80
#define HTTP_HEADER_VALUE_SIZE 132

typedef struct HttpHeader {
    char name[HTTP_HEADER_NAME_SIZE];   /* at most 79 characters, terminated */
    char value[HTTP_HEADER_VALUE_SIZE]; /* at most 131 characters, terminated */
    struct HttpHeader *next;            /* following header, NULL in the last */
} HttpHeader;

/* Sets, adds or removes one header of the list whose head is *list (list
 * itself must not be NULL; *list may be NULL, an empty list).
 *
 * The name loses its leading blanks and is then cut to 79 characters (as
 * stringTrim does with HTTP_HEADER_NAME_SIZE); the result is the key, so a
 * longer name updates the header named by its first 79 characters. With a NULL
 * value the first header with that key is removed (0 also when there is none;
 * removing the head makes its successor the head). Otherwise the value loses
 * its leading blanks and is then cut to 131 characters, silently ("" is stored
 * like any other value): the first header with that key takes the new value in
 * place, without moving, or a new header is appended at the end (becoming the
 * head of an empty list).
 *
 * Returns 0, or -1 with the list unchanged for a NULL name (or list) or when a
 * new record cannot be allocated. */
ZOV_API int httpPayloadAddHeader(HttpHeader **list, const char *name, const char *value);

/* The value of the first header whose name equals name exactly (not trimmed,
 * not cut: a name of more than 79 characters finds nothing), or NULL when
 * there is none, the list is empty or name is NULL. The pointer addresses the
 * record's value field: it stays valid until that header is removed or the
 * list freed, and shows later updates of the header. */
ZOV_API char *httpPayloadGetHeader(HttpHeader *list, const char *name);

/* A deep copy of the list in the same order; the caller frees it with
 * httpPayloadFreeHeaders. Each copy takes at most 79 characters of the name
 * and 131 of the value and is terminated, also when a record built by hand
 * fills a field without a terminator. NULL for an empty list. When memory runs
 * out the copy ends before the record that could not be allocated (NULL if it
 * was the first); nothing is reported. */
ZOV_API HttpHeader *httpPayloadCopyHeaders(const HttpHeader *list);

/* Frees the whole list and sets *list to NULL. A NULL list or an empty list
 * is left alone. */
ZOV_API void httpPayloadFreeHeaders(HttpHeader **list);

/* Classifies an HTTP request line by its beginning, ignoring letter case:
 * 1 for "POST", 2 for "GET", 3 for anything else (the empty line and NULL
 * included). Only the prefix counts: "POSTED" gives 1, "GETS" gives 2. */
ZOV_API int getRequestType(const char *line);

/* Checks the status line of an HTTP response. A line that does not begin with
 * "HTTP/" (case-sensitive), or NULL, gives -1. Otherwise the version after
 * "HTTP/" and the blanks (spaces, tabs) after it are skipped and the next six
 * characters are compared with "200 OK", case-sensitively: 0 when equal,
 * 1 for any other status. */
ZOV_API int checkResponseFirstLine(const char *line);

#ifdef __cplusplus
}
#endif

#endif /* ZOVCOMMON_HTTPHEADER_H */
