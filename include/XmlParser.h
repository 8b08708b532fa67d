/*
 * XmlParser.h - the envelope parser: the server's XML messages as records.
 *
 * The parser streams one XML document through expat and turns every envelope
 * it meets into a message record (ZovNode.h), handed to the callback of its
 * kind while the parse call runs, in document order:
 *
 *   "commandEnvelope"  -> ZovCommandStruct      at the end of each command element
 *   "resultEnvelope"   -> ZovResultStruct       at the envelope's end tag
 *   "eventResultSet"   -> ZovEventResultStruct  at the envelope's end tag
 *   "noCommands"       -> ZovNoCommandStruct    at the envelope's end tag
 *   "dialog"           -> ZovDialogStruct       at the envelope's end tag
 *
 * Envelopes are recognised at the top level (while no envelope is open),
 * however deeply wrapped; an envelope name inside an open envelope is an
 * ordinary element. Direct children of an envelope fill the record's fixed
 * fields:
 *
 *   command:       "commandGuid" -> commandGuid; any other child is the command
 *                  element: its name -> commandName, and its end tag hands the
 *                  record to commandCallBack
 *   result:        "eventGuid" or "commandGuid" -> guid; "success" sets
 *                  success to 1, "error" to 0 (0 when neither was present)
 *   event result:  "assetLevel", "nextAssetReportSeconds" -> their fields;
 *                  "eventResultEnvelope" is expected, anything else reported
 *   dialog:        "dialogGuid" -> dialogGuid
 *
 * Every element two or more levels below the envelope becomes a node of the
 * record's tree: the sub-elements of the envelope's children are the root
 * node's sub-nodes, in document order, and so on below. A leaf element's node
 * holds all of its text (entities resolved, whitespace kept; "" when empty);
 * an element with sub-elements holds only the text before its first
 * sub-element (NULL when there is none). Attributes are not supported: inside
 * an envelope each one is reported at level 2 as "name='value'", followed by
 * "Atts found, not yet supported" at level 1, and otherwise ignored.
 *
 * Command chains: the records of consecutive "commandEnvelope" elements are
 * linked through their `next` field, and `commandList` holds the first one.
 * Any top-level element other than "deviceGuid" (a new "commandSet", say)
 * starts a new chain with the next command envelope.
 *
 * Ownership (nothing is shared, nothing leaks, nothing is released twice):
 *  - A command chain belongs to the callee from the moment any of its records
 *    has been handed to commandCallBack, every record of it included (also a
 *    record appended later, or one left open by a cut-off document). The
 *    callee releases it through its first record, parser->commandList at the
 *    time of the call, with freeZovCommandStruct, and must keep every record of
 *    it alive and its tree unchanged until the parse call has returned: the
 *    parser goes on filling the same record (a later "commandGuid", a second
 *    command element, which leads to a second call with the same record) and
 *    links later command envelopes to the chain.
 *  - A result, event result, no-commands or dialog record belongs to the callee
 *    from its callback on; the parser keeps no reference to it.
 *  - The string fields of the records (commandName, commandGuid, guid,
 *    assetLevel, nextAssetReportSeconds, dialogGuid) are the parser's copies,
 *    which the record free functions do not release: the callee releases each
 *    with free(). When the parser fills a field again (a second command
 *    element, a later "commandGuid"), it frees the copy it replaces.
 *  - What nobody received is released by the parser: a record whose callback
 *    is not set (a command chain none of whose records was handed over), a
 *    record whose envelope a cut-off or malformed document left open, and the
 *    parser's working nodes.
 *  - When memory runs out for a record, its envelope delivers nothing and each
 *    element two or more levels below it is reported as "Unexpected NULL
 *    rootNode"; a node that cannot be made loses its element's text.
 *
 * Calling order: initXmlParser; setXmlParserUserData and the callback setters;
 * one parse call; endXmlParser. A context parses exactly one document: a
 * second parse call delivers nothing. Callbacks must neither parse with nor end
 * the context they are called from; an exception thrown by a C++ callback is
 * caught and dropped, and the parse goes on. A malformed document is not
 * reported: expat stops at the first error, and the records finished before
 * that point have been delivered.
 *
 * Reports go through zovLogger with the source file "XmlParser".
 */
#ifndef ZOVCOMMON_XMLPARSER_H
#define ZOVCOMMON_XMLPARSER_H

#include <stdint.h>

#include "ZovApi.h"
#include "CharBuffer.h"
#include "ZovNode.h"

#ifdef __cplusplus
extern "C" {
#endif

/* expat's parser object (XML_Parser is a pointer to it). */
struct XML_ParserStruct;

/* The record callbacks: userData is the pointer given to setXmlParserUserData,
 * record the finished record (see the ownership rules above). */
typedef void (*XmlParserCommandCallBack)(void *userData, ZovCommandStruct *record);
typedef void (*XmlParserResultCallBack)(void *userData, ZovResultStruct *record);
typedef void (*XmlParserEventResultCallBack)(void *userData, ZovEventResultStruct *record);
typedef void (*XmlParserNoCommandCallBack)(void *userData, ZovNoCommandStruct *record);
typedef void (*XmlParserDialogCallBack)(void *userData, ZovDialogStruct *record);

/* Values of XmlParserStruct.state: which envelope is open. */
enum {
    XML_PARSER_STATE_NONE = 0,
    XML_PARSER_STATE_COMMAND = 1,
    XML_PARSER_STATE_RESULT = 2,
    XML_PARSER_STATE_NO_COMMANDS = 3,
    XML_PARSER_STATE_DIALOG = 5,
    XML_PARSER_STATE_EVENT_RESULT = 6
};

/* The parser context. Made by initXmlParser, released by endXmlParser; set it
 * up through the functions below. A callback may read commandList (the head of
 * the chain it owns) and deviceGuid; the other fields are the parser's. */
typedef struct XmlParserStruct {
    XmlParserCommandCallBack commandCallBack;         /* end of each command element */
    XmlParserResultCallBack resultCallBack;           /* end of a "resultEnvelope" */
    XmlParserEventResultCallBack eventResultCallBack; /* end of an "eventResultSet" */
    XmlParserNoCommandCallBack noCommandCallBack;     /* end of a "noCommands" */
    XmlParserDialogCallBack dialogCallBack;           /* end of a "dialog" */
    char *deviceGuid;       /* text of the last top-level "deviceGuid" element; owned,
                               released by endXmlParser; NULL until one has ended */
    void *userData;         /* handed to every callback; not owned */
    struct XML_ParserStruct *expatParser; /* owned; its user data is this context */
    void *currentRecord;    /* record of the open envelope; NULL when none */
    int32_t state;          /* XML_PARSER_STATE_...: the open envelope */
    int32_t depth;          /* depth below the open envelope: 0 for the envelope itself */
    ZovNode **rootNodeSlot; /* the open record's rootNode field */
    ZovNode *currentNode;   /* the node receiving text; NULL when text is dropped */
    ZovCommandStruct *commandList; /* first record of the current command chain */
} XmlParserStruct;

/* A new context with every field empty and an expat parser created without a
 * forced encoding. NULL, without a report, when memory is exhausted or the
 * expat parser cannot be created. Release it with endXmlParser. */
ZOV_API XmlParserStruct *initXmlParser(void);

/* Store their argument in the context and nothing else; NULL unsets a
 * callback, and a callback that is not set is skipped. A NULL parser is
 * ignored. */
ZOV_API void setXmlParserUserData(XmlParserStruct *parser, void *userData);
ZOV_API void setXmlParserCommandCallBack(XmlParserStruct *parser, XmlParserCommandCallBack callBack);
ZOV_API void setXmlParserResultCallBack(XmlParserStruct *parser, XmlParserResultCallBack callBack);
ZOV_API void setXmlParserEventResultCallBack(XmlParserStruct *parser,
                                             XmlParserEventResultCallBack callBack);
ZOV_API void setXmlParserNoCommandCallBack(XmlParserStruct *parser,
                                           XmlParserNoCommandCallBack callBack);
ZOV_API void setXmlParserDialogCallBack(XmlParserStruct *parser, XmlParserDialogCallBack callBack);

/* Parses the whole chain xmlBody (a NULL chain reads as empty) as one
 * document, from a contiguous copy released before returning; xmlBody stays
 * the caller's. Returns 0 whatever expat thinks of the document. Returns -1
 * without parsing anything when the chain could not be read back whole:
 * "Error, length received from xmlBody charbuffer doesn't match" for a chain
 * longer than INT_MAX bytes, silently when the copy cannot be allocated or
 * parser is NULL. */
ZOV_API int xmlParserParseCharBuffer(XmlParserStruct *parser, CharBuffer *xmlBody);

/* Parses the NUL-terminated string xml (NULL reads as empty) as one document;
 * xml stays the caller's. Returns 0 whatever expat thinks of the document (a
 * string longer than INT_MAX bytes is not parsed); -1 only for a NULL parser. */
ZOV_API int xmlParserParseChar(XmlParserStruct *parser, const char *xml);

/* Releases what nobody received (see above) and deviceGuid, clears the user
 * data, frees the expat parser and then the context. NULL is a no-op. */
ZOV_API void endXmlParser(XmlParserStruct *parser);

#ifdef __cplusplus
}
#endif

#endif /* ZOVCOMMON_XMLPARSER_H */
