/*
 * MimeTools.h - MIME multipart decoding and packaging.
 *
 * Layout read (decoding): a body is multipart when the message's "Content-Type"
 * header contains "multipart" (case-sensitive) and names its token as
 * boundary="<token>" (a token of at most 198 characters, in double quotes).
 * The body is read line by line; a line ends at a line feed and every carriage
 * return is dropped, so LF and CR LF read alike. Lines of any length are read
 * whole.
 *   - Lines before the first delimiter line ("--" + token at the start of the
 *     line; the rest of the line is ignored) are skipped.
 *   - Each part starts with header lines "name: value" (name before the first
 *     colon, leading colons skipped; value after it; both lose their leading
 *     blanks, while a blank before the colon stays part of the name). They
 *     are added to the part's list as httpPayloadAddHeader adds them: the
 *     name cut to 79 characters and the value to 131 (the fixed fields of
 *     HttpHeader), silently, so a later header whose name agrees with an
 *     earlier one in its first 79 characters replaces that one's value. A
 *     line without a colon, or whose colon is its last character, adds
 *     nothing. The header lines end at an empty line.
 *   - The content is rebuilt from the following lines: each line without its
 *     line end, with a line feed between a line and the previous one once the
 *     content holds a byte. Empty lines at the very start are lost; the line
 *     end before the next delimiter line belongs to that delimiter.
 *   - A part ends at the next delimiter line; the closing delimiter
 *     ("--" + token + "--") ends the message. A part not closed by a delimiter
 *     line is dropped.
 *   - "Content-Transfer-Encoding: base64" content is decoded after its line
 *     breaks are removed (so the usual 76-character lines decode whole); "8bit"
 *     or no such header keeps the content; any other value fails the call.
 *
 * Layout written (packaging): the boundary token "--zov-mime-boundary--", CR LF
 * line ends, the message header
 *   Content-Type: multipart/mixed; boundary="--zov-mime-boundary--"
 * and one part per record: "----zov-mime-boundary--", its header lines, an
 * empty line, its content unchanged, CR LF; after the last part the closing
 * line "----zov-mime-boundary----". The envelope (first part) carries
 * "Content-Type: text/xml; charset=UTF-8" and "Content-ID: zovMessage.xml".
 *
 * Reports go through zovLogger with the source file "MimeTools".
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

/* Decodes the HTTP body data of the message whose header list is headers.
 *
 * Exactly "Content-Length" bytes of data are read (decimal, leading blanks and
 * a sign allowed, anything else reads as 0; 0 or less reads nothing); data must
 * hold that many bytes. On success returns 0, *text is the first part's content
 * as a new NUL-terminated string (free it with free) and *rest the chain of the
 * further parts, NULL when there are none (release it with freeMimeStruct).
 * A plain (not multipart) body comes back whole in *text, an empty body as "".
 * When memory runs out for that string, *text is NULL and the result still 0;
 * for the rest, see decodeMimeCharBuffer.
 *
 * Returns -1, leaving *text and *rest untouched, when:
 *   - there is no "Content-Length": "Error, no Content-Length specified";
 *   - its value does not fit a signed 32-bit count:
 *     "Error, Content-Length '%s' out of range";
 *   - text or rest is NULL, or data is NULL for a non-zero length: "bad arguments";
 *   - the record that receives the parts cannot be allocated:
 *     "Error while memory allocation";
 *   - decodeMimeCharBuffer fails (see there). */
ZOV_API int processMime(HttpHeader *headers, const char *data, char **text, MimeStruct **rest);

/* Splits the chain input, the body of the message whose header list is headers,
 * into parts. out must be a heap-allocated, zero-filled record: it receives the
 * first part and, through its next, the further parts. The caller releases out
 * with freeMimeStruct after success and failure alike (after a failure it holds
 * the parts decoded so far).
 *
 *   - an empty input gives 0 and a part with no headers and an empty content
 *     ("Empty input buffer", level 3);
 *   - a "Content-Type" without "multipart" gives 0 and a part holding a copy of
 *     headers and of input (charBufferCopy) ("not a MIME message", level 3);
 *   - a multipart body gives 0 and one record per part, up to the closing
 *     delimiter or the first part left unclosed ("boundaryToken='%s'", level 3).
 *
 * Returns -1 with a level-1 report for a NULL headers ("decodeMimeCharBuffer:
 * Error, headers is null\n"), input ("decodeMimeCharBuffer: Error, input is
 * null\n") or out ("decodeMimeCharBuffer: Error, out is null\n"), a missing
 * "Content-Type" ("Content-Type not found in http headers") or boundary token
 * ("boundaryToken not found in Content-Type header='%s'"); and, without a
 * further report, for a multipart body whose first part is missing or unclosed,
 * or a part whose transfer encoding is neither "base64" nor "8bit".
 *
 * When memory runs out the result is what the data that could be held gives:
 * a part record that cannot be made ("Error while memory allocation" from
 * getMimePart) or a line that cannot be held ends the input there, so the
 * part being read is dropped (-1 when it is the first); a header that cannot
 * be stored is left out of its part; content bytes that cannot be appended
 * are lost with "Error in adding CharBuffer"; the copies of a plain body end
 * where memory ran out (a NULL body when not even its first link could be
 * made, as for an empty input). */
ZOV_API int decodeMimeCharBuffer(HttpHeader *headers, CharBuffer *input, MimeStruct *out);

/* Packages the chain parts, the XML envelope first, as one new record holding
 * the HTTP headers and body to send (next is NULL; release it with
 * freeMimeStruct). It shares nothing with parts.
 *
 * The first record's "Content-Type" is set to "text/xml; charset=UTF-8" (an
 * existing header keeps its place) and stays so. A single part is sent as it
 * is: the output holds a copy of its headers and of its content
 * (charBufferCopy; an empty chain when it has none), without framing.
 * Several parts: the first record also gets "Content-ID: zovMessage.xml", and
 * the output holds the single header "Content-Type" with multipart/mixed;
 * boundary="--zov-mime-boundary--" and the multipart body described above,
 * contents written byte for byte. No "Content-Length" is set: the sender adds
 * it.
 *
 * NULL when parts is NULL or the output record cannot be allocated, without a
 * report; other allocation failures leave out the header or bytes concerned. */
ZOV_API MimeStruct *packageMime(MimeStruct *parts);

/* Releases the chain of parts from part on: header lists, contents, records.
 * NULL is a no-op. */
ZOV_API void freeMimeStruct(MimeStruct *part);

#ifdef __cplusplus
}
#endif

#endif /* ZOVCOMMON_MIMETOOLS_H */
