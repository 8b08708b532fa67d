// The agent's command message and the lookup of command handlers.
#include "HandlerTools.h"

#include <cstring>
#include <iterator>

#include "internal/Report.h"
#include "internal/XmlWriter.h"

namespace {

constexpr char kSourceFile[] = "HandlerTools";

// The elements around a command in the agent's message, outermost first.
constexpr const char *kEnvelope[] = {"zovMessage", "commandSet", "commandEnvelope"};

}  // namespace

extern "C" {

ZOV_API int findCommandHandler(const char *commandName, const CommandHandlerEntry *table,
                               ZovCommandHandler *handlerOut) {
    if (commandName == nullptr || table == nullptr || handlerOut == nullptr) {
        ZOV_REPORT(1, "bad arguments");
        return -1;
    }
    for (const CommandHandlerEntry *entry = table;
         entry->commandName != nullptr && entry->commandName[0] != '\0'; ++entry) {
        if (entry->handler != nullptr && std::strcmp(entry->commandName, commandName) == 0) {
            *handlerOut = entry->handler;
            return 0;
        }
    }
    return -1;
}

ZOV_API CharBuffer *getCharBufferFromCommandStruct(ZovCommandStruct *command) {
    if (command == nullptr || command->rootNode == nullptr) {
        ZOV_REPORT(1, "bad arguments");
        return nullptr;
    }
    // A chain that cannot be made is written anyway: every piece then fails
    // with its own report, and the result is NULL.
    CharBuffer *chain = createCharBuffer();
    zov::XmlWriter writer(chain);
    for (const char *element : kEnvelope) writer.openTag(element);
    writer.stringElement("commandGuid", command->commandGuid);
    writer.openTag(command->commandName);
    if (!writer.nodeList(command->rootNode->subNode)) {
        ZOV_REPORT(1, "Error while memory allocation");
        freeAllCharBuffers(chain);
        return nullptr;
    }
    writer.closeTag(command->commandName);
    for (auto element = std::rbegin(kEnvelope); element != std::rend(kEnvelope); ++element)
        writer.closeTag(*element);
    return chain;
}

}  // extern "C"
