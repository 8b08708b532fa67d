#include <gtest/gtest.h>

#include "LogCapture.h"
#include "ZovNode.h"

TEST(ZovNode, AddByDepthAndSearchByName) {
    LogCapture log(1);
    for (int depth = -1; depth <= 4; ++depth) {
        // "root" with sub-nodes A and B, B holding C.
        ZovNode *root = newZovNode("root", nullptr);
        addNewZovSubNode(root, "A", "a");
        ZovNode *b = addNewZovSubNode(root, "B", nullptr), *c = addNewZovSubNode(b, "C", "c");
        ZovNode **const slots[] = {&root->nextNode, &b->nextNode, &c->nextNode, &c->subNode};
        ZovNode *node = addNewZovSubNodeDepth(root, "new", nullptr, depth);
        EXPECT_EQ(node, depth >= 0 && depth < 4 ? *slots[depth] : nullptr) << depth;
        EXPECT_EQ(log.text().empty(), depth != 4) << depth;  // a negative depth fails without a report
        freeZovNode(root);
    }
    EXPECT_TRUE(log.contains("[ZovNode        ][") &&
                log.has("addZovSubNodeDepth: trying to add at a depth greater than possible in current tree"));
    ZovNode *root = newZovNode("root", nullptr);  // once a node follows it, level 1 is that node's sub-nodes
    ZovNode *after = addNewZovSubNodeDepth(root, "after", nullptr, 0);
    EXPECT_EQ(addNewZovSubNodeDepth(root, "x", nullptr, 1), after->subNode);

    EXPECT_EQ(addZovSubNodeDepth(nullptr, root, 0), -1);
    EXPECT_TRUE(log.has("addZovSubNodeDepth: trying to add a node with NULL rootNode"));
    EXPECT_EQ(addZovSubNode(nullptr, root), -1);
    EXPECT_EQ(addNewZovSubNode(nullptr, "x", nullptr), nullptr);
    freeZovNode(root);

    // Search by name looks only among direct sub-nodes.
    root = newZovNode("root", nullptr);
    addNewZovSubNode(root, nullptr, "nameless");
    char name[] = "dup";
    ZovNode *first = addNewZovSubNode(root, name, "first");
    name[0] = 'x';  // the node holds its own copy
    addNewZovSubNode(first, "grandchild", "g");
    addNewZovSubNode(root, "dup", "second");
    addNewZovSubNode(root, "empty", nullptr);
    EXPECT_EQ(getSubNodeByName(root, "dup"), first);
    EXPECT_STREQ(getSubNodeContentByName(root, "dup"), "first");
    for (const char *absent : {"grandchild", "DUP", "root", static_cast<const char *>(nullptr)})
        EXPECT_EQ(getSubNodeByName(root, absent), nullptr) << (absent ? absent : "NULL");
    for (const char *empty : {"empty", "missing"}) EXPECT_EQ(getSubNodeContentByName(root, empty), nullptr) << empty;
    EXPECT_EQ(getSubNodeByName(nullptr, "dup"), nullptr);
    freeZovNode(root);
}

// The fields point at the contents of the root's "commandName" and "commandGuid" sub-nodes.
TEST(ZovNode, CommandWithNameAndGuidAndCommandLists) {
    ZovCommandStruct *command = newZovCommandStructWithNameAndGuid("reboot", "G-1");
    ZovNode *name = command->rootNode->subNode, *guid = name->nextNode;
    EXPECT_EQ(std::string(name->name) + guid->name + command->commandGuid, "commandNamecommandGuidG-1");
    EXPECT_TRUE(command->commandName == name->contents && command->commandGuid == guid->contents);
    ZovCommandStruct *noGuid = newZovCommandStructWithNameAndGuid("x", nullptr);
    guid = getSubNodeByName(noGuid->rootNode, "commandGuid");
    EXPECT_TRUE(noGuid->commandGuid == nullptr && guid != nullptr && guid->contents == nullptr);

    // A list of three, the second with a MIME part: all released.
    command->next = noGuid;
    noGuid->next = newZovCommandStruct();
    noGuid->mime = static_cast<MimeStruct *>(std::calloc(1, sizeof(MimeStruct)));
    noGuid->mime->body = createCharBuffer();
    freeZovCommandStruct(command);
}
