/*
 * XmlFunctions.h - the XML writer, the plain-text XML tag search and zovStringTrim.
 *
 * The writer appends compact XML to a CharBuffer chain, one element or tag at
 * a time: no declaration unless asked for (addXmlHeader), no blanks or line
 * breaks, no attributes, no empty-element tags except addEmptyElement. Only the
 * element text written by addStringElement, addStringElementNotEmpty and
 * addSubNodeStringsRecursive is escaped; tag names, numbers and chain contents
 * go out as they are. A tag is three appends ("<" or "</", the name, ">").
 *
 * Every byte goes out through the chain's append (addDataToCharBuffer's rules
 * and reports); the writer does not stop when an append fails, so a chain
 * whose memory ran out can end in an incomplete element. A NULL buffer makes
 * each append report "bufferPointer and data cannot be NULL".
 *
 * Reports go through zovLogger at level 1 with the source file "XmlFunctions"
 * and the operation's own name.
 */
#ifndef ZOVCOMMON_XMLFUNCTIONS_H
#define ZOVCOMMON_XMLFUNCTIONS_H

#include "ZovApi.h"
#include "CharBuffer.h"
#include "ZovNode.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ------------------------------------------------------------------------- */
/* Escaping                                                                  */
/* ------------------------------------------------------------------------- */

/* One entry of xmlEscapes: 11 bytes, no padding. */
typedef struct XmlEscapeEntry {
    char character;       /* the character replaced in element text; 0 ends the table */
    char replacement[10]; /* its replacement, NUL-terminated and NUL-padded */
} XmlEscapeEntry;

/* The characters escaped in element text and their replacements, in this
 * order: '<' "&lt;", '>' "&gt;", '&' "&amp;", '"' "&quot;", '\'' "&apos;",
 * then an end marker of 11 zero bytes (six entries, 66 bytes). Read-only. */
ZOV_API extern const XmlEscapeEntry xmlEscapes[6];

/* The replacement of c from xmlEscapes (points into the table: do not free or
 * change it). For any other character, 0 included: NULL with the report
 * "Could not find XML replacement for '%c'". */
ZOV_API const char *getXmlEscape(char c);

/* A new string holding text with each of the five special characters replaced;
 * the caller frees it. The allocation is exactly the escaped length plus one.
 * NULL for NULL text or when memory is exhausted (no report). */
ZOV_API char *xmlEscape(const char *text);

/* ------------------------------------------------------------------------- */
/* Writer                                                                    */
/* ------------------------------------------------------------------------- */

/* Appends "<", tagName, ">". A NULL tagName appends nothing, silently. The
 * name is neither checked nor escaped (nor in any other writer operation). */
ZOV_API void addOpeningTag(CharBuffer *buffer, const char *tagName);

/* Appends "</", tagName, ">". A NULL tagName appends nothing, silently. */
ZOV_API void addClosingTag(CharBuffer *buffer, const char *tagName);

/* Appends "<", tagName, "/>". A NULL tagName: "unexpected empty tagName",
 * nothing appended. */
ZOV_API void addEmptyElement(CharBuffer *buffer, const char *tagName);

/* Appends the opening tag, value escaped, the closing tag: an empty value gives
 * "<a></a>". A NULL buffer, tagName or value: "bad arguments", nothing
 * appended. When escaping runs out of memory: "Error, could not escape XML
 * data '%s'" with the value, and the element is written empty. */
ZOV_API void addStringElement(CharBuffer *buffer, const char *tagName, const char *value);

/* As addStringElement, but an empty value appends nothing and reports nothing.
 * A NULL buffer, tagName or value: "bad arguments", nothing appended. */
ZOV_API void addStringElementNotEmpty(CharBuffer *buffer, const char *tagName, const char *value);

/* Appends the opening tag, value in decimal ("-42"), the closing tag. A NULL
 * tagName leaves the number without tags. */
ZOV_API void addIntegerElement(CharBuffer *buffer, const char *tagName, int value);

/* Appends the opening tag, "true" (value non-zero) or "false", the closing
 * tag. A NULL tagName leaves the word without tags. */
ZOV_API void addBoolElement(CharBuffer *buffer, const char *tagName, int value);

/* Appends every data byte of srcBuffer, unchanged and unescaped; srcBuffer is
 * not changed. The bytes are those srcBuffer holds when the call starts, so a
 * chain can be appended to itself. "NULL srcBuffer" / "NULL destBuffer"
 * (checked in this order): nothing appended. */
ZOV_API void addCharBufferRawData(CharBuffer *destBuffer, CharBuffer *srcBuffer);

/* Appends the opening tag, every data byte of srcBuffer unescaped (the caller
 * hands in valid XML content), the closing tag. "NULL tagName",
 * "NULL srcBuffer", "NULL destBuffer" (checked in this order): nothing
 * appended. */
ZOV_API void addCharBufferElement(CharBuffer *destBuffer, const char *tagName,
                                  CharBuffer *srcBuffer);

/* Appends the 38 bytes <?xml version="1.0" encoding="UTF-8"?> without any line
 * break. Returns 0, or -1 when the append failed. */
ZOV_API int addXmlHeader(CharBuffer *buffer);

/* Writes node and every node after it in its list, depth first in document
 * order: a node with sub-nodes becomes its opening tag, its sub-node list
 * written the same way, its closing tag (its own contents are not written; a
 * nameless one writes no tags, so its sub-nodes stand in its place); a node
 * without sub-nodes becomes addStringElement(buffer, name, contents), so a
 * leaf with empty contents gives "<a></a>" and a leaf without contents or
 * without a name is left out with the report "bad arguments" (from
 * addStringElement). A NULL node writes nothing. Any depth is written without
 * deep recursion; if memory for the walk runs out: "Error while memory
 * allocation", and the writing stops there. */
ZOV_API void addSubNodeStringsRecursive(CharBuffer *buffer, ZovNode *node);

/* ------------------------------------------------------------------------- */
/* Tag search                                                                */
/* ------------------------------------------------------------------------- */

/* Both searches find the first "<tagName>" in xml (a literal match: tags with
 * attributes or blanks, and "<tagName/>", are not found), then the first
 * "</tagName>" from that opening tag on; the element's text lies between the
 * two. They return the position just after that closing tag, inside xml (the
 * terminating NUL when it ends the text), so repeated elements are walked by
 * calling again from there; NULL when either tag is missing (no report). The
 * two tags are built in 128-byte buffers, so tagName holds at most 124
 * characters: a longer one is refused with "bad arguments" and NULL, before
 * any search. */

/* Stores a new copy of the element's text, of any length, in *contents (the
 * caller frees it); an empty text leaves *contents NULL. NULL contents: "bad
 * arguments", NULL. Otherwise *contents is set to NULL first; NULL xml or
 * tagName, or a tagName of more than 124 characters: "bad arguments", NULL.
 * When the copy cannot be allocated: "Error while allocation memory",
 * *contents stays NULL and the position is still returned. */
ZOV_API char *getXmlTagPosition(const char *xml, const char *tagName, char **contents);

/* Copies the element's text into contents, a caller's buffer of at least 1024
 * bytes: at most 1023 bytes of text and the terminator, nothing written past
 * them. The buffer is made empty before the search. A text of more than 1023
 * bytes is not copied: NULL, silently, with contents empty (getXmlTagPosition
 * has no such limit). NULL xml, tagName or contents, or a tagName of more than
 * 124 characters: "bad arguments", NULL, contents untouched. */
ZOV_API char *getSimpleXmlTagPosition(const char *xml, const char *tagName, char *contents);

/* ------------------------------------------------------------------------- */
/* Text                                                                      */
/* ------------------------------------------------------------------------- */

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
