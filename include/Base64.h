/*
 * Base64.h - strict base64 decoding.
 *
 * The decoder accepts the 64 characters of the standard alphabet (A-Z, a-z,
 * 0-9, '+', '/', in that order of value) and the pad character '='; anything
 * else, line breaks and blanks included, fails the decoding. Input is taken in
 * groups of four characters counted from the start of the input of one call;
 * each group yields up to three bytes. A pad does not end the input: a group
 * after a padded group is decoded like any other. Characters after the last
 * complete group are checked but produce nothing.
 *
 * Reports go through zovLogger at level 1 with the source file "Base64". A
 * NULL values array, output or input is refused with "bad arguments" and -1
 * (an empty input, length 0 or less, decodes to 0 bytes whatever the
 * pointers); NULL chains are read as empty.
 */
#ifndef ZOVCOMMON_BASE64_H
#define ZOVCOMMON_BASE64_H

#include "ZovApi.h"
#include "CharBuffer.h"

#ifdef __cplusplus
extern "C" {
#endif

/* The value of one character: 'A'..'Z' 0..25, 'a'..'z' 26..51, '0'..'9'
 * 52..61, '+' 62, '/' 63, '=' 64, any other character (bytes of 128 and more
 * included) -1. */
ZOV_API int convertCharToVal(char c);

/* The byte at position 0, 1 or 2 of the group whose four character values are
 * given (w, x, y, z):
 *   0: (w << 2) + (x >> 4), not masked (callers keep the low 8 bits);
 *   1: 0 when x or y is 64 (a pad), else ((x << 4) & 255) + (y >> 2);
 *   2: 0 when y or z is 64, else ((y << 6) & 255) + z.
 * Any other position reports "decodeChunk: unexpected position input - '%d'\n"
 * and returns -1. */
ZOV_API int decodeChunk(const int values[4], int position);

/* Decodes the first length characters of in into out and returns the number of
 * bytes written. Every complete group writes its byte 0, its byte 1 unless x or
 * y is a pad, and its byte 2 unless y or z is a pad. out needs room for 3 bytes
 * per complete group (length / 4). An illegal character reports "Illegal value
 * found in input '%c'" and gives -1; the bytes of the groups completed before it
 * are already in out. */
ZOV_API int base64DecodeN(unsigned char *out, const char *in, int length);

/* base64DecodeN over the NUL-terminated string in; on success a NUL is written
 * after the bytes (out needs one byte more). Returns the number of bytes
 * without that NUL, or -1 (then no NUL is written). */
ZOV_API int base64Decode(unsigned char *out, const char *in);

/* Decodes all data of the chain src and appends the bytes to the chain dest
 * (appended to, not cleared; src is only read). The text is decoded in slices
 * of 1000 characters, each by base64DecodeN: groups line up across slices as in
 * one pass, and a slice holding an illegal character contributes no bytes at
 * all (after one report) while decoding goes on with the next slice.
 * Returns the total length of dest afterwards. Memory use does not grow with
 * the input beyond the appended bytes. */
ZOV_API int base64DecodeCharBuffer(CharBuffer *dest, CharBuffer *src);

#ifdef __cplusplus
}
#endif

#endif /* ZOVCOMMON_BASE64_H */
