/*
 * Utils.h - small string operations offered to the agent.
 *
 * The arguments must not be NULL unless a NULL case is described.
 * Reports go through zovLogger with the source file "Utils".
 */
#ifndef ZOVCOMMON_UTILS_H
#define ZOVCOMMON_UTILS_H

#include <stdint.h>

#include "ZovApi.h"

#ifdef __cplusplus
extern "C" {
#endif

/* A new copy of str without any occurrence of c; the caller frees it.
 * NULL when str is NULL or the copy cannot be allocated. */
ZOV_API char *zovRemoveAllAppearanceOfCharFromString(const char *str, char c);

/* Every character through tolower, in place; returns str. */
ZOV_API char *zovToLower(char *str);

/* Every character through toupper, in place. */
ZOV_API void converToupper(char *str);

/* Removes leading white space (isspace) in place, moving the rest to the start;
 * returns str. NULL and "" are returned as they are. */
ZOV_API char *ltrim(char *str);

/* Cuts str at its first '\n' or '\r' and returns a pointer to the cut, which
 * is the end of the shortened string, not its start. */
ZOV_API char *chomp(char *str);

/* The value of one upper-case hexadecimal digit: 'A'..'F' give 10..15, every
 * other byte gives itself minus '0' (so '0'..'9' give 0..9, and other
 * characters give values outside 0..15). Only the low 8 bits of c count. */
ZOV_API int GetDecimal(int c);

/* The 32-bit value of an eight-digit upper-case hexadecimal key, read
 * big-endian: "12345678" gives 0x12345678. A NULL key or one whose length is
 * not 8 gives 1. Each pair of digits is formed with GetDecimal modulo 256. */
ZOV_API uint64_t convertSecurityKey(const char *key);

#ifdef __cplusplus
}
#endif

#endif /* ZOVCOMMON_UTILS_H */
