#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "LogCapture.h"
#include "ZovNode.h"

namespace {

// "root" with sub-nodes A and B, B holding C.
ZovNode *sampleTree() {
    ZovNode *root = newZovNode("root", nullptr);
    addNewZovSubNode(root, "A", "a");
    ZovNode *b = addNewZovSubNode(root, "B", nullptr);
    addNewZovSubNode(b, "C", "c");
    return root;
}

}  // namespace

TEST(ZovNode, NewNodeCopiesItsStrings) {
    std::string name = "n", contents = "c";
    ZovNode *node = newZovNode(name.c_str(), contents.c_str());
    ASSERT_NE(node, nullptr);
    EXPECT_NE(node->name, name.c_str());
    EXPECT_STREQ(node->name, "n");
    EXPECT_STREQ(node->contents, "c");
    EXPECT_EQ(node->spare, nullptr);
    EXPECT_EQ(node->subNode, nullptr);
    EXPECT_EQ(node->nextNode, nullptr);
    node->spare = std::malloc(8);  // released with the node
    freeZovNode(node);

    ZovNode *bare = newZovNode(nullptr, nullptr);
    EXPECT_EQ(bare->name, nullptr);
    EXPECT_EQ(bare->contents, nullptr);
    freeZovNode(bare);
}

TEST(ZovNode, AddByDepthFollowsTheRightmostPath) {
    // Each depth on a fresh root -> {A, B -> {C}}.
    LogCapture log(1);
    for (int depth = 0; depth <= 4; ++depth) {
        ZovNode *root = sampleTree();
        ZovNode *b = root->subNode->nextNode;
        ZovNode *c = b->subNode;
        ZovNode *node = addNewZovSubNodeDepth(root, "new", nullptr, depth);
        switch (depth) {
            case 0: EXPECT_EQ(root->nextNode, node); break;
            case 1: EXPECT_EQ(b->nextNode, node); break;
            case 2: EXPECT_EQ(c->nextNode, node); break;
            case 3: EXPECT_EQ(c->subNode, node); break;
            default:
                EXPECT_EQ(node, nullptr);
                EXPECT_TRUE(log.contains("[addZovSubNodeDepth       ] :trying to add at a depth greater than possible in current tree\n"));
        }
        if (depth < 4) {
            ASSERT_NE(node, nullptr);
            EXPECT_EQ(log.text(), "");
        }
        freeZovNode(root);
    }

    // Once a node follows the root, level 1 is that node's sub-node list.
    ZovNode *root = sampleTree();
    ZovNode *after = newZovNode("after", nullptr);
    EXPECT_EQ(addZovSubNodeDepth(root, after, 0), 0);
    EXPECT_EQ(addZovSubNodeDepth(root, newZovNode("x", nullptr), 1), 0);
    EXPECT_STREQ(after->subNode->name, "x");
    freeZovNode(root);
}

TEST(ZovNode, AddByDepthOnALoneRootAndBadArguments) {
    LogCapture log(1);
    ZovNode *root = newZovNode("root", nullptr);
    EXPECT_EQ(addNewZovSubNodeDepth(root, "deeper", nullptr, 2), nullptr);
    EXPECT_TRUE(log.contains("trying to add at a depth greater than possible in current tree"));
    log.clear();
    EXPECT_EQ(addNewZovSubNodeDepth(root, "negative", nullptr, -1), nullptr);
    EXPECT_EQ(log.text(), "");
    EXPECT_NE(addNewZovSubNodeDepth(root, "child", nullptr, 1), nullptr);
    EXPECT_STREQ(root->subNode->name, "child");
    EXPECT_NE(addNewZovSubNodeDepth(root, "sibling", nullptr, 0), nullptr);
    EXPECT_STREQ(root->nextNode->name, "sibling");
    EXPECT_EQ(addZovSubNodeDepth(nullptr, root, 0), -1);
    EXPECT_TRUE(log.contains("[ZovNode        ]"));
    EXPECT_TRUE(log.contains("trying to add a node with NULL rootNode"));
    EXPECT_EQ(addZovSubNode(nullptr, root), -1);
    EXPECT_EQ(addNewZovSubNode(nullptr, "x", nullptr), nullptr);
    freeZovNode(root);
}

TEST(ZovNode, SearchByNameOnlyAmongDirectSubNodes) {
    ZovNode *root = newZovNode("root", nullptr);
    addNewZovSubNode(root, nullptr, "nameless");
    ZovNode *first = addNewZovSubNode(root, "dup", "first");
    addNewZovSubNode(first, "grandchild", "g");
    addNewZovSubNode(root, "dup", "second");
    addNewZovSubNode(root, "empty", nullptr);

    EXPECT_EQ(getSubNodeByName(root, "dup"), first);
    EXPECT_STREQ(getSubNodeContentByName(root, "dup"), "first");
    EXPECT_EQ(getSubNodeByName(root, "grandchild"), nullptr);
    EXPECT_EQ(getSubNodeContentByName(root, "empty"), nullptr);
    EXPECT_EQ(getSubNodeContentByName(root, "missing"), nullptr);
    EXPECT_EQ(getSubNodeByName(root, "DUP"), nullptr);
    EXPECT_EQ(getSubNodeByName(nullptr, "dup"), nullptr);
    EXPECT_EQ(getSubNodeByName(root, nullptr), nullptr);
    freeZovNode(root);
}

TEST(ZovNode, FreeReleasesListsAndDeepTrees) {
    // A list of three heads, each with a subtree; then a very deep chain that
    // must not exhaust the stack (checked under AddressSanitizer for leaks).
    ZovNode *head = newZovNode("1", nullptr);
    for (const char *name : {"2", "3"}) {
        ZovNode *node = newZovNode(name, "x");
        addNewZovSubNode(node, "sub", "y");
        addZovSubNodeDepth(head, node, 0);
    }
    addNewZovSubNode(head, "sub", nullptr);
    freeZovNode(head);

    ZovNode *deep = newZovNode("d", nullptr);
    ZovNode *tip = deep;
    for (int i = 0; i < 200000; ++i) tip = addNewZovSubNode(tip, "d", "t");
    freeZovNode(deep);
    freeZovNode(nullptr);
}

TEST(ZovNode, RecordsStartWithARootOfTheirKind) {
    ZovResultStruct *result = newZovResultStruct();
    ZovEventResultStruct *event = newZovEventResultStruct();
    ZovNoCommandStruct *none = newZovNoCommandStruct();
    ZovDialogStruct *dialog = newZovDialogStruct();
    ZovCommandStruct *command = newZovCommandStruct();
    EXPECT_STREQ(result->rootNode->name, "Result");
    EXPECT_STREQ(event->rootNode->name, "EventResult");
    EXPECT_STREQ(none->rootNode->name, "NoCommands");
    EXPECT_STREQ(dialog->rootNode->name, "Dialog");
    EXPECT_STREQ(command->rootNode->name, "Command");
    for (ZovNode *root : {result->rootNode, event->rootNode, none->rootNode, dialog->rootNode, command->rootNode}) {
        EXPECT_EQ(root->contents, nullptr);
        EXPECT_EQ(root->subNode, nullptr);
    }
    EXPECT_EQ(result->guid, nullptr);
    EXPECT_EQ(result->success, 0);
    EXPECT_EQ(event->assetLevel, nullptr);
    EXPECT_EQ(dialog->dialogGuid, nullptr);
    EXPECT_EQ(command->mime, nullptr);

    AllZovStructs *all = newAllZovStructs();
    EXPECT_EQ(all->commandStruct, nullptr);
    all->resultStruct = result;
    all->eventResultStruct = event;
    all->noCommandStruct = none;
    all->dialogStruct = dialog;
    all->commandStruct = command;
    freeAllZovStructs(all);
    freeAllZovStructs(newAllZovStructs());
    freeZovResultStruct(nullptr);
    freeZovDialogStruct(nullptr);
}

TEST(ZovNode, CommandWithNameAndGuidAndCommandLists) {
    ZovCommandStruct *command = newZovCommandStructWithNameAndGuid("reboot", "G-1");
    ZovNode *name = command->rootNode->subNode;
    ASSERT_NE(name, nullptr);
    EXPECT_STREQ(name->name, "commandName");
    EXPECT_STREQ(name->nextNode->name, "commandGuid");
    EXPECT_EQ(command->commandName, name->contents);
    EXPECT_EQ(command->commandGuid, name->nextNode->contents);
    EXPECT_STREQ(command->commandGuid, "G-1");

    ZovCommandStruct *noGuid = newZovCommandStructWithNameAndGuid("x", nullptr);
    EXPECT_EQ(noGuid->commandGuid, nullptr);
    EXPECT_EQ(getSubNodeContentByName(noGuid->rootNode, "commandGuid"), nullptr);
    EXPECT_NE(getSubNodeByName(noGuid->rootNode, "commandGuid"), nullptr);

    // A list of three, the second with attached MIME parts: all released.
    command->next = noGuid;
    noGuid->next = newZovCommandStruct();
    noGuid->mime = static_cast<MimeStruct *>(std::calloc(1, sizeof(MimeStruct)));
    noGuid->mime->body = createCharBuffer();
    noGuid->mime->next = static_cast<MimeStruct *>(std::calloc(1, sizeof(MimeStruct)));
    freeZovCommandStruct(command);
}
