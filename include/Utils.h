/*
 * Utils.h - small string operations offered to the agent.
 *
 * The arguments must not be NULL unless a NULL case is described.
 * Reports go through zovLogger with the source file "Utils".
 * Also here: the storage type probe, findStorageType.
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

/*
 * The storage type of the device, as the platform's probe script
 * "/etc/FindDrive.sh" reports it: the script is run through the shell and the
 * first line of its standard output (at most 1023 characters) is read as a
 * decimal number the way atoi reads it (a line that does not begin with a
 * number reads as 0); the rest of the output and the exit status are ignored.
 *
 * Returns 0, 1 or 2 (a storage device), 3 (a flash device) or 4 (a SATA
 * device), each reported at level 3 ("Found device using New Method",
 * "Found Flash Device using New Method", "Found SATA device using New Method")
 * after "Return value is %d". Any other number gives -1 with "Unable to find
 * FLASH/SATA using new method !!". A script that cannot be started or prints
 * nothing gives -1 without a report.
 */
ZOV_API int findStorageType(void);

#ifdef __cplusplus
}
#endif

#endif /* ZOVCOMMON_UTILS_H */
