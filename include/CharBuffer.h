/*
 * CharBuffer.h - the chained byte buffer in which libZovCommon moves text.
 *
 * A chain is a singly linked list of links of 1000 data bytes each, known by
 * its first link (the head), which owns the rest. Data is appended at the end;
 * a new link is added only when the last one is full, so every link but the
 * last holds exactly 1000 bytes. Data is bytes, not a string: it may hold NUL
 * and carries no terminator. The creator of a chain frees it with
 * freeAllCharBuffers; strings handed out by charBufferToChar and
 * getCharBufferLine are released with free().
 *
 * Reports go through zovLogger at level 1 with the source file "CharBuffer".
 */
#ifndef ZOVCOMMON_CHARBUFFER_H
#define ZOVCOMMON_CHARBUFFER_H

#include <stddef.h>
#include <stdint.h>

#include "ZovApi.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Capacity of one link in bytes. */
#define CHAR_BUFFER_SIZE 1000

typedef struct CharBuffer {
    int32_t length;               /* bytes used in this link, 0 to 1000 */
    char data[CHAR_BUFFER_SIZE];  /* the first `length` bytes are data */
    struct CharBuffer *next;      /* following link, NULL in the last */
} CharBuffer;

/* A new zero-filled link (a new, empty chain); NULL when memory is exhausted. */
ZOV_API CharBuffer *createCharBuffer(void);

/* The number of data bytes from this link to the end of the chain; 0 for NULL. */
ZOV_API int getTotalBufferLength(CharBuffer *bufferPointer);

/* The last link of the chain; NULL for NULL. */
ZOV_API CharBuffer *findLastCharBuffer(CharBuffer *bufferPointer);

/* Appends dataLength bytes at the end of the chain, adding links as needed.
 * Returns 0, or -1 with a report when bufferPointer or data is NULL ("bufferPointer
 * and data cannot be NULL") or a link cannot be allocated ("Error in adding
 * CharBuffer"; the bytes that already fitted stay). A length below 1 appends
 * nothing and returns 0. */
ZOV_API int addDataToCharBuffer(CharBuffer *bufferPointer, const void *data, int dataLength);

/* Frees this link and every link after it; always returns 0 (also for NULL). */
ZOV_API int freeAllCharBuffers(CharBuffer *bufferPointer);

/* Link iteration: stores the link's data address and length through the two
 * out-arguments and returns the next link. For a NULL link returns NULL and
 * leaves the out-arguments unchanged. The data address stays valid until the
 * chain is freed. */
ZOV_API CharBuffer *getBufferContent(CharBuffer *link, char **data, int *dataLength);

/* Copies up to maxLength bytes starting at byte offset startingCharacter into
 * dest (room for maxLength bytes) and returns the number copied; no
 * terminator is written. An empty chain
 * writes one NUL to dest and returns 0. An offset past the end reports
 * "Reached last charBuffer before startingCharacter found" and returns 0 with
 * dest untouched. */
ZOV_API size_t getDataFromCharBuffer(CharBuffer *bufferPointer, char *dest, size_t maxLength,
                                     size_t startingCharacter);

/* The line that starts at byte offset *position, as a new string the caller
 * frees: it keeps its ending '\n' (absent on a last line without one), every
 * '\r' is dropped, and lines of any length are returned whole. *position moves
 * past the line. NULL when no byte is left, for a NULL chain or position or a
 * negative offset, and when memory is exhausted (*position then unchanged). */
ZOV_API char *getCharBufferLine(CharBuffer *bufferPointer, int *position);

/* Removes every '\n' and '\r' from text in place and returns text (not NULL). */
ZOV_API char *removeNewLines(char *text);

/* All data of the chain followed by a NUL, in a new string the caller frees;
 * NULL for a NULL chain or when memory is exhausted. */
ZOV_API char *charBufferToChar(CharBuffer *bufferPointer);

/* Appends all data of src to the chain dest (a chain appended to itself is
 * copied once); src is unchanged. A NULL dest or src reports "bufferPointer
 * and data cannot be NULL" and appends nothing. */
ZOV_API void addCharBufferToCharBuffer(CharBuffer *dest, CharBuffer *src);

/* A new chain with the same links. Each link's data is copied up to its first
 * NUL byte and zero-filled after it, while its length is kept. NULL for NULL
 * or when the first link cannot be allocated; a later failed allocation ends
 * the copy there. Free the copy with freeAllCharBuffers. */
ZOV_API CharBuffer *charBufferCopy(CharBuffer *bufferPointer);

/* Copies src without its leading blanks (' ' only; tabs stay, and trailing
 * blanks are kept) into dest, a buffer of size bytes: the first size - 1
 * characters at most (a longer text is cut, silently), always terminated, the
 * rest of dest NUL-filled. The blanks are skipped before the cut, so they do
 * not count against size. A NULL src gives the empty text; a NULL dest or a
 * size below 1 writes nothing. httpPayloadAddHeader trims names into
 * HTTP_HEADER_NAME_SIZE and values into HTTP_HEADER_VALUE_SIZE bytes this
 * way. */
ZOV_API void stringTrim(const char *src, char *dest, int size);

#ifdef __cplusplus
}
#endif

#endif /* ZOVCOMMON_CHARBUFFER_H */
