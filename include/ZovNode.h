/*
 * ZovNode.h - the named node tree and the five server message records.
 *
 * A ZovNode knows its first sub-node and its next sibling, so each level of a
 * tree is a singly linked list in document order. A node owns its name, its
 * contents, its spare block, the whole list below it and every sibling after
 * it: free a tree through its root with freeZovNode.
 *
 * Each message record holds a few fixed fields and a tree under a root node
 * named after its kind ("Command", "Result", "EventResult", "NoCommands",
 * "Dialog"). The free functions release the tree, a command's MIME parts and
 * the record, never the string fields: whoever filled a string field releases
 * it with free() (for records made by the envelope parser, the callee).
 *
 * Reports go through zovLogger at level 1 with the source file "ZovNode".
 */
#ifndef ZOVCOMMON_ZOVNODE_H
#define ZOVCOMMON_ZOVNODE_H

#include <stdint.h>

#include "ZovApi.h"
#include "MimeTools.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct ZovNode {
    char *name;               /* element name, owned; may be NULL */
    char *contents;           /* element text, owned; may be NULL */
    void *spare;              /* owned; never filled by the library, freed with the node */
    struct ZovNode *subNode;  /* first sub-node (child), NULL when none */
    struct ZovNode *nextNode; /* next sibling, NULL for the last */
} ZovNode;

/* A new node with copies of name and contents (NULL stays NULL); NULL when
 * memory is exhausted. */
ZOV_API ZovNode *newZovNode(const char *name, const char *contents);

/* Appends node (with any nodes already linked after it) at the end of parent's
 * sub-node list; the tree owns it from then on. 0, or -1 for a NULL parent. */
ZOV_API int addZovSubNode(ZovNode *parent, ZovNode *node);

/* Makes a node and appends it as addZovSubNode does; NULL on failure. */
ZOV_API ZovNode *addNewZovSubNode(ZovNode *parent, const char *name, const char *contents);

/* Appends node at the end of the list at level depth of the tree's rightmost
 * path (level 0 is the list that starts at rootNode), or makes it the first
 * sub-node of the path's deepest node when depth is one below it.
 * Returns 0, or -1: "trying to add a node with NULL rootNode", "trying to add
 * at a depth greater than possible in current tree", or silently for a
 * negative depth. */
ZOV_API int addZovSubNodeDepth(ZovNode *rootNode, ZovNode *node, int depth);

/* Makes a node and adds it as addZovSubNodeDepth does; NULL on failure. */
ZOV_API ZovNode *addNewZovSubNodeDepth(ZovNode *rootNode, const char *name, const char *contents,
                                       int depth);

/* The first direct sub-node of node named name (exact, case-sensitive);
 * nameless sub-nodes are skipped. NULL when none or an argument is NULL.
 * The result points into the tree; do not free it. */
ZOV_API ZovNode *getSubNodeByName(ZovNode *node, const char *name);

/* The contents of the sub-node getSubNodeByName finds; NULL when there is
 * none or it has no contents. */
ZOV_API const char *getSubNodeContentByName(ZovNode *node, const char *name);

/* Frees node, its sub-nodes and every node after it in its list; NULL is a no-op. */
ZOV_API void freeZovNode(ZovNode *node);

/* ------------------------------------------------------------------------- */
/* Message records                                                           */
/* ------------------------------------------------------------------------- */

typedef struct ZovCommandStruct {
    char *commandName;              /* name of the command's element */
    char *commandGuid;              /* text of its "commandGuid" element */
    ZovNode *rootNode;              /* "Command", owned */
    void *spare;                    /* the agent's; never read or freed by the library */
    MimeStruct *mime;               /* MIME parts of the command, owned; never set by the library */
    struct ZovCommandStruct *next;  /* next command of the list, owned */
} ZovCommandStruct;

typedef struct ZovResultStruct {
    char *guid;        /* text of "eventGuid" or "commandGuid" */
    void *spare;       /* the agent's */
    int32_t success;   /* 1 after "success", 0 after "error" (0 when neither) */
    ZovNode *rootNode; /* "Result", owned */
} ZovResultStruct;

typedef struct ZovEventResultStruct {
    char *assetLevel;             /* text of "assetLevel" */
    char *nextAssetReportSeconds; /* text of "nextAssetReportSeconds" */
    ZovNode *rootNode;            /* "EventResult", owned */
} ZovEventResultStruct;

typedef struct ZovNoCommandStruct {
    ZovNode *rootNode; /* "NoCommands", owned */
} ZovNoCommandStruct;

typedef struct ZovDialogStruct {
    char *dialogGuid;  /* text of "dialogGuid" */
    ZovNode *rootNode; /* "Dialog", owned */
} ZovDialogStruct;

typedef struct AllZovStructs {
    void *spare;                              /* the agent's; not freed with the bundle */
    ZovDialogStruct *dialogStruct;            /* owned */
    ZovCommandStruct *commandStruct;          /* head of a command list, owned */
    ZovResultStruct *resultStruct;            /* owned */
    ZovEventResultStruct *eventResultStruct;  /* owned */
    ZovNoCommandStruct *noCommandStruct;      /* owned */
} AllZovStructs;

/* A command with every field NULL except rootNode, a new node "Command"
 * (NULL when that node cannot be made). NULL when the record cannot be
 * allocated, without a report. */
ZOV_API ZovCommandStruct *newZovCommandStruct(void);

/* A command whose root holds a "commandName" and a "commandGuid" sub-node with
 * copies of the arguments; the two fields point at those sub-nodes' contents
 * and are released with the tree. A NULL argument gives a sub-node without
 * contents and a NULL field. NULL when the record cannot be allocated. */
ZOV_API ZovCommandStruct *newZovCommandStructWithNameAndGuid(const char *commandName,
                                                             const char *commandGuid);

/* Zeroed records with a root node of their kind; NULL with "Error while memory
 * allocation" when the record cannot be allocated. */
ZOV_API ZovResultStruct *newZovResultStruct(void);
ZOV_API ZovEventResultStruct *newZovEventResultStruct(void);
ZOV_API ZovNoCommandStruct *newZovNoCommandStruct(void);
ZOV_API ZovDialogStruct *newZovDialogStruct(void);
ZOV_API AllZovStructs *newAllZovStructs(void);

/* Frees the command and every command after it: trees, MIME parts, records.
 * String fields are not released. NULL is a no-op. */
ZOV_API void freeZovCommandStruct(ZovCommandStruct *command);

/* Free the tree and the record (not the string fields); NULL is a no-op. */
ZOV_API void freeZovResultStruct(ZovResultStruct *result);
ZOV_API void freeZovEventResultStruct(ZovEventResultStruct *eventResult);
ZOV_API void freeZovNoCommandStruct(ZovNoCommandStruct *noCommand);
ZOV_API void freeZovDialogStruct(ZovDialogStruct *dialog);

/* Frees the five records the bundle holds, then the bundle; spare is left
 * alone. NULL is a no-op. */
ZOV_API void freeAllZovStructs(AllZovStructs *all);

#ifdef __cplusplus
}
#endif

#endif /* ZOVCOMMON_ZOVNODE_H */
