#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "HandlerTools.h"
#include "XmlParser.h"
#include "LogCapture.h"

namespace {

std::string messageOf(ZovCommandStruct *command) {
    CharBuffer *chain = getCharBufferFromCommandStruct(command);
    if (chain == nullptr) return "<NULL>";
    char *text = charBufferToChar(chain);
    std::string result(text, static_cast<std::size_t>(getTotalBufferLength(chain)));
    std::free(text);
    freeAllCharBuffers(chain);
    return result;
}

const std::string kOpen = "<zovMessage><commandSet><commandEnvelope>";
const std::string kClose = "</commandEnvelope></commandSet></zovMessage>";

// The record's string fields are never freed by the library.
ZovCommandStruct *bareCommand(const char *name, const char *guid) {
    ZovCommandStruct *command = newZovCommandStruct();
    command->commandName = const_cast<char *>(name);
    command->commandGuid = const_cast<char *>(guid);
    return command;
}

std::size_t countOf(const std::string &text, const std::string &needle) {
    std::size_t n = 0;
    for (auto at = text.find(needle); at != std::string::npos; at = text.find(needle, at + 1)) ++n;
    return n;
}

void handlerA() {}
void handlerB() {}

}  // namespace

TEST(CommandMessage, Layout) {
    LogCapture log(1);
    ZovCommandStruct *command = bareCommand("N", "G");
    EXPECT_EQ(messageOf(command), kOpen + "<commandGuid>G</commandGuid><N></N>" + kClose);

    addNewZovSubNode(command->rootNode, "S", "c");
    ZovNode *t = addNewZovSubNode(command->rootNode, "T", "not written");
    addNewZovSubNode(t, "U", "d");
    EXPECT_EQ(messageOf(command),
              kOpen + "<commandGuid>G</commandGuid><N><S>c</S><T><U>d</U></T></N>" + kClose);
    EXPECT_EQ(log.text(), "");
    freeZovCommandStruct(command);

    // A command made with its name and GUID carries both in its tree too;
    // text is escaped, names are not.
    command = newZovCommandStructWithNameAndGuid("reboot", "g<1>&'2'");
    addNewZovSubNode(command->rootNode, "delay", "\"5\"");
    EXPECT_EQ(messageOf(command),
              kOpen + "<commandGuid>g&lt;1&gt;&amp;&apos;2&apos;</commandGuid><reboot>"
                      "<commandName>reboot</commandName>"
                      "<commandGuid>g&lt;1&gt;&amp;&apos;2&apos;</commandGuid>"
                      "<delay>&quot;5&quot;</delay></reboot>" + kClose);
    EXPECT_EQ(log.text(), "");
    freeZovCommandStruct(command);
}

TEST(CommandMessage, MissingPieces) {
    LogCapture log(1);
    // No GUID: no commandGuid element. No name: the sub-nodes stand directly
    // in commandEnvelope. A leaf without contents is left out.
    ZovCommandStruct *command = bareCommand(nullptr, nullptr);
    addNewZovSubNode(command->rootNode, "a", "1");
    addNewZovSubNode(command->rootNode, "empty", nullptr);
    EXPECT_EQ(messageOf(command), kOpen + "<a>1</a>" + kClose);
    EXPECT_EQ(countOf(log.text(), "[addStringElement         ] :bad arguments\n"), 2u);
    freeZovCommandStruct(command);

    log.clear();
    EXPECT_EQ(getCharBufferFromCommandStruct(nullptr), nullptr);
    command = bareCommand("N", "G");
    freeZovNode(command->rootNode);
    command->rootNode = nullptr;
    EXPECT_EQ(getCharBufferFromCommandStruct(command), nullptr);
    EXPECT_EQ(countOf(log.text(), "[getCharBufferFromCommandStruct] :bad arguments\n"), 2u);
    freeZovCommandStruct(command);
}

TEST(HandlerLookup, FindsTheFirstEntryWithAHandler) {
    const CommandHandlerEntry table[] = {
        {"reboot", nullptr},
        {"reboot", handlerA},
        {"Reboot", handlerB},
        {"reboot", handlerB},
        {"", handlerB},
        {"after", handlerB},
    };
    LogCapture log(1);
    ZovCommandHandler found = nullptr;
    EXPECT_EQ(findCommandHandler("reboot", table, &found), 0);
    EXPECT_EQ(found, handlerA);
    EXPECT_EQ(findCommandHandler("Reboot", table, &found), 0);
    EXPECT_EQ(found, handlerB);

    // Misses leave the out-argument alone: unknown names, names past the end
    // marker, and the empty name itself.
    found = handlerA;
    EXPECT_EQ(findCommandHandler("REBOOT", table, &found), -1);
    EXPECT_EQ(findCommandHandler("after", table, &found), -1);
    EXPECT_EQ(findCommandHandler("", table, &found), -1);
    const CommandHandlerEntry empty[] = {{"", handlerB}, {"reboot", handlerB}};
    EXPECT_EQ(findCommandHandler("reboot", empty, &found), -1);
    EXPECT_EQ(found, handlerA);
    EXPECT_EQ(log.text(), "");

    EXPECT_EQ(findCommandHandler(nullptr, table, &found), -1);
    EXPECT_EQ(findCommandHandler("reboot", nullptr, &found), -1);
    EXPECT_EQ(findCommandHandler("reboot", table, nullptr), -1);
    EXPECT_EQ(found, handlerA);
    EXPECT_EQ(countOf(log.text(), "[findCommandHandler       ] :bad arguments\n"), 3u);
}

namespace {

// name, contents (or NULL), then the sub-nodes in brackets; siblings follow.
std::string describe(const ZovNode *node) {
    std::string text;
    for (; node != nullptr; node = node->nextNode) {
        text += std::string(node->name ? node->name : "<NULL>") + "=" +
                (node->contents ? "'" + std::string(node->contents) + "'" : "NULL");
        if (node->subNode != nullptr) text += "[" + describe(node->subNode) + "]";
        text += ";";
    }
    return text;
}

void keepCommand(void *userData, ZovCommandStruct *record) {
    *static_cast<ZovCommandStruct **>(userData) = record;
}

}  // namespace

TEST(CommandMessage, ParsesBackToTheSameCommand) {
    ZovCommandStruct *command = newZovCommandStructWithNameAndGuid("inventory", "g<&>'\"1");
    ZovNode *root = command->rootNode;
    addNewZovSubNode(root, "text", "x<y & 'z' \"q\" >");
    addNewZovSubNode(root, "empty", "");
    addNewZovSubNode(root, "blanks", "  two  words ");
    ZovNode *branch = addNewZovSubNode(root, "disks", nullptr);
    addNewZovSubNode(addNewZovSubNode(branch, "disk", nullptr), "size", "512");
    addNewZovSubNode(addNewZovSubNode(branch, "disk", nullptr), "size", "1024");
    ZovNode *deep = root;
    for (int level = 0; level < 100; ++level) deep = addNewZovSubNode(deep, "level", nullptr);
    addNewZovSubNode(deep, "bottom", "&amp;");

    CharBuffer *message = getCharBufferFromCommandStruct(command);
    ZovCommandStruct *parsed = nullptr;
    XmlParserStruct *parser = initXmlParser();
    setXmlParserUserData(parser, &parsed);
    setXmlParserCommandCallBack(parser, keepCommand);
    EXPECT_EQ(xmlParserParseCharBuffer(parser, message), 0);
    endXmlParser(parser);

    ASSERT_NE(parsed, nullptr);
    EXPECT_STREQ(parsed->commandName, "inventory");
    EXPECT_STREQ(parsed->commandGuid, "g<&>'\"1");
    EXPECT_EQ(parsed->next, nullptr);
    EXPECT_EQ(describe(parsed->rootNode), describe(command->rootNode));
    std::free(parsed->commandName);
    std::free(parsed->commandGuid);
    freeZovCommandStruct(parsed);
    freeAllCharBuffers(message);
    freeZovCommandStruct(command);
}
