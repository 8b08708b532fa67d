// The named node tree and the five server message records.
#include "ZovNode.h"

#include <cstdlib>
#include <cstring>

#include "internal/Report.h"

namespace {

constexpr char kSourceFile[] = "ZovNode";

// Allocates a zeroed record with a root node of its kind (NULL root when the
// node cannot be made); reports and returns NULL when the record cannot be
// allocated.
template <typename Record>
Record *newRecord(const char *rootName, const char *functionName) noexcept {
    auto *record = static_cast<Record *>(std::calloc(1, sizeof(Record)));
    if (record == nullptr) {
        ZOV_REPORT_AS(functionName, 1, "Error while memory allocation");
        return nullptr;
    }
    record->rootNode = newZovNode(rootName, nullptr);
    return record;
}

template <typename Record>
void freeRecord(Record *record) noexcept {
    if (record == nullptr) return;
    freeZovNode(record->rootNode);
    std::free(record);
}

}  // namespace

extern "C" {

ZOV_API ZovNode *newZovNode(const char *name, const char *contents) {
    auto *node = static_cast<ZovNode *>(std::calloc(1, sizeof(ZovNode)));
    if (node == nullptr) return nullptr;
    node->name = zov::dupCString(name);
    node->contents = zov::dupCString(contents);
    if ((name != nullptr && node->name == nullptr) ||
        (contents != nullptr && node->contents == nullptr)) {
        freeZovNode(node);
        return nullptr;
    }
    return node;
}

ZOV_API int addZovSubNode(ZovNode *parent, ZovNode *node) {
    if (parent == nullptr) return -1;
    if (node == nullptr) return 0;
    ZovNode **slot = &parent->subNode;
    while (*slot != nullptr) slot = &(*slot)->nextNode;
    *slot = node;
    return 0;
}

ZOV_API ZovNode *addNewZovSubNode(ZovNode *parent, const char *name, const char *contents) {
    ZovNode *node = newZovNode(name, contents);
    if (addZovSubNode(parent, node) < 0) {
        freeZovNode(node);
        return nullptr;
    }
    return node;
}

ZOV_API int addZovSubNodeDepth(ZovNode *rootNode, ZovNode *node, int depth) {
    if (rootNode == nullptr) {
        ZOV_REPORT(1, "trying to add a node with NULL rootNode");
        return -1;
    }
    ZovNode *current = rootNode;
    for (int level = 0; level <= depth; ++level) {
        while (current->nextNode != nullptr) current = current->nextNode;
        if (level == depth) {
            current->nextNode = node;
            return 0;
        }
        if (current->subNode != nullptr) {
            current = current->subNode;
            continue;
        }
        if (level + 1 == depth) {
            current->subNode = node;
            return 0;
        }
        ZOV_REPORT(1, "trying to add at a depth greater than possible in current tree");
        return -1;
    }
    return -1;  // negative depth
}

ZOV_API ZovNode *addNewZovSubNodeDepth(ZovNode *rootNode, const char *name, const char *contents,
                                       int depth) {
    ZovNode *node = newZovNode(name, contents);
    if (addZovSubNodeDepth(rootNode, node, depth) < 0) {
        freeZovNode(node);
        return nullptr;
    }
    return node;
}

ZOV_API ZovNode *getSubNodeByName(ZovNode *node, const char *name) {
    if (node == nullptr || name == nullptr) return nullptr;
    for (ZovNode *sub = node->subNode; sub != nullptr; sub = sub->nextNode) {
        if (sub->name != nullptr && std::strcmp(sub->name, name) == 0) return sub;
    }
    return nullptr;
}

ZOV_API const char *getSubNodeContentByName(ZovNode *node, const char *name) {
    ZovNode *sub = getSubNodeByName(node, name);
    return sub == nullptr ? nullptr : sub->contents;
}

ZOV_API void freeZovNode(ZovNode *node) {
    // Frees sub-nodes and following nodes without recursion: while a node has
    // a first sub-node, that sub-node is rotated up to take its place, so each
    // node is freed once it has none, and any tree depth uses constant stack.
    while (node != nullptr) {
        ZovNode *sub = node->subNode;
        if (sub != nullptr) {
            node->subNode = sub->nextNode;
            sub->nextNode = node;
            node = sub;
            continue;
        }
        ZovNode *next = node->nextNode;
        std::free(node->name);
        std::free(node->contents);
        std::free(node->spare);
        std::free(node);
        node = next;
    }
}

ZOV_API ZovCommandStruct *newZovCommandStruct(void) {
    auto *command = static_cast<ZovCommandStruct *>(std::calloc(1, sizeof(ZovCommandStruct)));
    if (command == nullptr) return nullptr;
    command->rootNode = newZovNode("Command", nullptr);
    return command;
}

ZOV_API ZovCommandStruct *newZovCommandStructWithNameAndGuid(const char *commandName,
                                                             const char *commandGuid) {
    ZovCommandStruct *command = newZovCommandStruct();
    if (command == nullptr) return nullptr;
    if (ZovNode *name = addNewZovSubNode(command->rootNode, "commandName", commandName))
        command->commandName = name->contents;
    if (ZovNode *guid = addNewZovSubNode(command->rootNode, "commandGuid", commandGuid))
        command->commandGuid = guid->contents;
    command->next = nullptr;
    return command;
}

ZOV_API ZovResultStruct *newZovResultStruct(void) {
    return newRecord<ZovResultStruct>("Result", "newZovResultStruct");
}

ZOV_API ZovEventResultStruct *newZovEventResultStruct(void) {
    return newRecord<ZovEventResultStruct>("EventResult", "newZovEventResultStruct");
}

ZOV_API ZovNoCommandStruct *newZovNoCommandStruct(void) {
    return newRecord<ZovNoCommandStruct>("NoCommands", "newZovNoCommandStruct");
}

ZOV_API ZovDialogStruct *newZovDialogStruct(void) {
    return newRecord<ZovDialogStruct>("Dialog", "newZovDialogStruct");
}

ZOV_API AllZovStructs *newAllZovStructs(void) {
    auto *all = static_cast<AllZovStructs *>(std::calloc(1, sizeof(AllZovStructs)));
    if (all == nullptr) ZOV_REPORT(1, "Error while memory allocation");
    return all;
}

ZOV_API void freeZovCommandStruct(ZovCommandStruct *command) {
    while (command != nullptr) {
        ZovCommandStruct *next = command->next;
        freeZovNode(command->rootNode);
        command->rootNode = nullptr;
        freeMimeStruct(command->mime);
        std::free(command);
        command = next;
    }
}

ZOV_API void freeZovResultStruct(ZovResultStruct *result) { freeRecord(result); }

ZOV_API void freeZovEventResultStruct(ZovEventResultStruct *eventResult) { freeRecord(eventResult); }

ZOV_API void freeZovNoCommandStruct(ZovNoCommandStruct *noCommand) { freeRecord(noCommand); }

ZOV_API void freeZovDialogStruct(ZovDialogStruct *dialog) { freeRecord(dialog); }

ZOV_API void freeAllZovStructs(AllZovStructs *all) {
    if (all == nullptr) return;
    freeZovCommandStruct(all->commandStruct);
    freeZovResultStruct(all->resultStruct);
    freeZovEventResultStruct(all->eventResultStruct);
    freeZovNoCommandStruct(all->noCommandStruct);
    freeZovDialogStruct(all->dialogStruct);
    std::free(all);
}

}  // extern "C"
