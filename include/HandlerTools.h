/*
 * HandlerTools.h - the agent's command message and the lookup of command handlers.
 *
 * Reports go through zovLogger at level 1: findCommandHandler and
 * getCharBufferFromCommandStruct with the source file "HandlerTools", the
 * pieces of a message with the writer's (XmlFunctions.h).
 */
#ifndef ZOVCOMMON_HANDLERTOOLS_H
#define ZOVCOMMON_HANDLERTOOLS_H

#include "ZovApi.h"
#include "CharBuffer.h"
#include "ZovNode.h"

#ifdef __cplusplus
extern "C" {
#endif

/* The handler type stored in a handler table. The library never calls a
 * handler, it only hands the pointer back: the agent stores its handlers cast
 * to this type and casts the pointer it gets back to their real signature,
 * for example
 *     typedef int (*MyHandler)(ZovCommandStruct *command, void *context);
 *     { "reboot", (ZovCommandHandler)handleReboot },
 *     ... ((MyHandler)found)(command, context); */
typedef void (*ZovCommandHandler)(void);

/* One entry of the agent's handler table. The table is an array that ends with
 * an entry whose commandName is "" (a pointer to a NUL byte, not NULL); every
 * entry before it has a valid name. Entries with a NULL handler are skipped. */
typedef struct CommandHandlerEntry {
    const char *commandName; /* the command name the entry handles */
    ZovCommandHandler handler; /* its handler, or NULL */
} CommandHandlerEntry;

/* Looks commandName up in the table, from the first entry up to the end
 * marker: the first entry with exactly that name (case-sensitive) and a
 * handler has its handler stored through handlerOut, and 0 is returned. -1,
 * silently and with *handlerOut unchanged, when no entry qualifies (the empty
 * name never does; an entry with a NULL name is taken as the end of the
 * table). NULL commandName, table or handlerOut: "bad arguments", -1. */
ZOV_API int findCommandHandler(const char *commandName, const CommandHandlerEntry *table,
                               ZovCommandHandler *handlerOut);

/* Writes the command as the agent's message in a new chain, which the caller
 * frees with freeAllCharBuffers:
 *     <zovMessage><commandSet><commandEnvelope><commandGuid>G</commandGuid>
 *     <N>...</N></commandEnvelope></commandSet></zovMessage>
 * on one line, without declaration, blanks or line breaks: G is commandGuid
 * (escaped), N is commandName, and N holds the sub-nodes of rootNode written
 * as addSubNodeStringsRecursive writes them (the root itself is not written).
 * The writer's reports apply to the pieces: a NULL commandGuid gives "bad
 * arguments" and no commandGuid element; a NULL commandName writes no N tags;
 * a leaf without contents is left out. NULL when the chain cannot be made (after
 * the failed appends' reports) or the walk of the tree runs out of memory
 * ("Error while memory allocation"). NULL command or rootNode: "bad
 * arguments", NULL. */
ZOV_API CharBuffer *getCharBufferFromCommandStruct(ZovCommandStruct *command);

#ifdef __cplusplus
}
#endif

#endif /* ZOVCOMMON_HANDLERTOOLS_H */
