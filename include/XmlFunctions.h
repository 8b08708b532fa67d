/*
 * XmlFunctions.h - the XML writer, the plain-text XML tag search and zovStringTrim.
 *
 * Reports go through zovLogger with the source file "XmlFunctions".
 */
#ifndef ZOVCOMMON_XMLFUNCTIONS_H
#define ZOVCOMMON_XMLFUNCTIONS_H

#include "ZovApi.h"
#include "CharBuffer.h"
#include "ZovNode.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Strips every character of the set trimChars from both ends of str, in place.
 * Returns a pointer to the first kept character, inside str (keep str for
 * freeing); str unchanged when either argument is empty; NULL, leaving str as
 * it was, when only characters of the set remain; NULL with "bad arguments"
 * when an argument is NULL. */
ZOV_API char *zovStringTrim(char *str, const char *trimChars);

#ifdef __cplusplus
}
#endif

#endif /* ZOVCOMMON_XMLFUNCTIONS_H */
