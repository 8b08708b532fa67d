#include <gtest/gtest.h>

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

    // No GUID, no commandGuid; no name, the sub-nodes stand in the envelope; empty leaves are left out.
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

TEST(HandlerLookup, FirstEntryWithAHandlerBeforeTheEndMarker) {
    const CommandHandlerEntry table[] = {{"reboot", nullptr}, {"reboot", handlerA}, {"Reboot", handlerB},
                                         {"reboot", handlerB}, {"", handlerB},      {"after", handlerB}};
    const CommandHandlerEntry empty[] = {{"", handlerB}, {"reboot", handlerB}};
    LogCapture log(1);
    // Hits, then misses (the out-argument left alone): past the end marker, the marker, bad arguments.
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
