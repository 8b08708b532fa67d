#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "HandlerTools.h"
#include "XmlParserHarness.h"

namespace {

std::string messageOf(ZovCommandStruct *command) {
    CharBuffer *chain = getCharBufferFromCommandStruct(command);
    const std::string text = chain ? textOf(chain) : "<NULL>";
    freeAllCharBuffers(chain);
    return text;
}

std::string inEnvelope(const std::string &inner) {
    return "<zovMessage><commandSet><commandEnvelope>" + inner + "</commandEnvelope></commandSet></zovMessage>";
}

void handlerA() {}
void handlerB() {}
void untouched() {}

}  // namespace

TEST(CommandMessage, Layout) {
    LogCapture log(1);
    // The record's string fields are never freed by the library.
    ZovCommandStruct *command = newZovCommandStruct();
    command->commandName = const_cast<char *>("N");
    command->commandGuid = const_cast<char *>("G");
    EXPECT_EQ(messageOf(command), inEnvelope("<commandGuid>G</commandGuid><N></N>"));
    addNewZovSubNode(command->rootNode, "S", "c");
    addNewZovSubNode(addNewZovSubNode(command->rootNode, "T", "not written"), "U", "d");
    EXPECT_EQ(messageOf(command), inEnvelope("<commandGuid>G</commandGuid><N><S>c</S><T><U>d</U></T></N>"));

    // No GUID: no commandGuid element. No name: the sub-nodes stand directly
    // in commandEnvelope. A leaf without contents is left out.
    command->commandName = command->commandGuid = nullptr;
    addNewZovSubNode(command->rootNode, "empty", nullptr);
    EXPECT_EQ(messageOf(command), inEnvelope("<S>c</S><T><U>d</U></T>"));
    EXPECT_EQ(messageOf(nullptr), "<NULL>");
    freeZovNode(command->rootNode);
    command->rootNode = nullptr;
    EXPECT_EQ(messageOf(command), "<NULL>");
    const char *leaf = "addStringElement: bad arguments", *bad = "getCharBufferFromCommandStruct: bad arguments";
    expectReports(log, {leaf, leaf, bad, bad});
    freeZovCommandStruct(command);
}

TEST(CommandMessage, ParsesBackToTheSameCommand) {
    // A random tree of up to 12 levels, with texts the writer escapes, empty
    // and blank texts; its message spans many links.
    ZovCommandStruct *command = newZovCommandStructWithNameAndGuid("inventory", "g<&>'\"1");
    const char *texts[] = {"x<y & 'z' \"q\" >", "", "  two  words ", "&amp;", "512"};
    std::mt19937 random(7);
    std::vector<ZovNode *> path{command->rootNode};  // the rightmost path
    for (int i = 0; i < 2000; ++i) {
        const std::size_t level = 1 + random() % std::min<std::size_t>(path.size(), 12);
        ZovNode *parent = path[level - 1];
        std::free(parent->contents);  // a node with sub-nodes has its contents dropped
        parent->contents = nullptr;
        path.resize(level);
        path.push_back(addNewZovSubNode(parent, ("n" + std::to_string(random() % 50)).c_str(), texts[random() % 5]));
    }
    CharBuffer *message = getCharBufferFromCommandStruct(command);
    Delivered d;
    EXPECT_EQ(d.parse(message), 0);
    EXPECT_EQ(d.summary(), "c device (null)\ncommand inventory g<&>'\"1\n" + dumpTree(command->rootNode));
    freeAllCharBuffers(message);
    freeZovCommandStruct(command);
}

TEST(HandlerLookup, FirstEntryWithAHandlerBeforeTheEndMarker) {
    const CommandHandlerEntry table[] = {{"reboot", nullptr}, {"reboot", handlerA}, {"Reboot", handlerB},
                                         {"reboot", handlerB}, {"", handlerB},      {"after", handlerB}};
    const CommandHandlerEntry empty[] = {{"", handlerB}, {"reboot", handlerB}};
    LogCapture log(1);
    // Hits, then misses, which leave the out-argument alone: unknown names,
    // names past the end marker, the empty name itself, three bad arguments.
    const struct { const char *name; const CommandHandlerEntry *table; ZovCommandHandler found; } cases[] = {
        {"reboot", table, handlerA}, {"Reboot", table, handlerB}, {"REBOOT", table}, {"after", table},
        {"", table}, {"reboot", empty}, {nullptr, table}, {"reboot", nullptr}};
    for (const auto &c : cases) {
        ZovCommandHandler found = untouched;
        EXPECT_EQ(findCommandHandler(c.name, c.table, &found), c.found ? 0 : -1) << str(c.name);
        EXPECT_EQ(found, c.found ? c.found : untouched) << str(c.name);
    }
    EXPECT_EQ(findCommandHandler("reboot", table, nullptr), -1);
    expectReports(log, std::vector<std::string>(3, "findCommandHandler: bad arguments"));
}
