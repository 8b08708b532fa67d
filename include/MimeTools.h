/*
 * MimeTools.h - MIME multipart decoding and packaging.
 */
#ifndef ZOVCOMMON_MIMETOOLS_H
#define ZOVCOMMON_MIMETOOLS_H

#include "ZovApi.h"
#include "CharBuffer.h"
#include "HttpHeader.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct MimeStruct {
    HttpHeader *headers;     /* the part's header list, owned; NULL when none */
    CharBuffer *body;        /* the part's content after transfer decoding, owned */
    struct MimeStruct *next; /* following part, owned; NULL for the last */
} MimeStruct;

/* Releases the chain of parts from part on: header lists, contents, records.
 * NULL is a no-op. */
ZOV_API void freeMimeStruct(MimeStruct *part);

#ifdef __cplusplus
}
#endif

#endif /* ZOVCOMMON_MIMETOOLS_H */
