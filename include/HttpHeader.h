/*
 * HttpHeader.h - HTTP header lists.
 *
 * A list is a pointer to its first record (NULL for an empty list); whoever
 * holds the head owns every record. Names match byte for byte, case included.
 */
#ifndef ZOVCOMMON_HTTPHEADER_H
#define ZOVCOMMON_HTTPHEADER_H

#include "ZovApi.h"

#ifdef __cplusplus
extern "C" {
#endif

#define HTTP_HEADER_NAME_SIZE 80
#define HTTP_HEADER_VALUE_SIZE 132

typedef struct HttpHeader {
    char name[HTTP_HEADER_NAME_SIZE];   /* at most 79 characters */
    char value[HTTP_HEADER_VALUE_SIZE]; /* at most 131 characters */
    struct HttpHeader *next;            /* following header, NULL in the last */
} HttpHeader;

/* Frees the whole list and sets *list to NULL. A NULL list or an empty list
 * is left alone. */
ZOV_API void httpPayloadFreeHeaders(HttpHeader **list);

#ifdef __cplusplus
}
#endif

#endif /* ZOVCOMMON_HTTPHEADER_H */
