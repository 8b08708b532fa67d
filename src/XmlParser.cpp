// The envelope parser: server XML documents streamed through expat into
// message records.
#include "XmlParser.h"

#include <expat.h>

#include <climits>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <vector>

#include "internal/Chain.h"
#include "internal/Report.h"

namespace {

constexpr char kSourceFile[] = "XmlParser";
constexpr char kStartElementHandler[] = "startElementHandler";
constexpr char kEndElementHandler[] = "endElementHandler";
constexpr char kCharacterDataHandler[] = "characterDataHandler";
constexpr char kHandleNewStart[] = "handleNewStart";

struct ExpatParserFree {
    void operator()(XML_Parser parser) const noexcept { XML_ParserFree(parser); }
};
using ExpatParser = std::unique_ptr<XML_ParserStruct, ExpatParserFree>;

struct MemoryFree {
    void operator()(void *block) const noexcept { std::free(block); }
};

// Stores a new copy of text (NULL for NULL) in field, freeing the copy the
// field held.
void replaceString(char *&field, const char *text) noexcept {
    char *copy = zov::dupCString(text);
    std::free(field);
    field = copy;
}

// Releasing a record nobody received: the parser's string copies, then the
// record with its own free function.
void release(ZovResultStruct *result) noexcept {
    if (result != nullptr) std::free(result->guid);
    freeZovResultStruct(result);
}

void release(ZovEventResultStruct *eventResult) noexcept {
    if (eventResult != nullptr) {
        std::free(eventResult->assetLevel);
        std::free(eventResult->nextAssetReportSeconds);
    }
    freeZovEventResultStruct(eventResult);
}

void release(ZovNoCommandStruct *noCommand) noexcept { freeZovNoCommandStruct(noCommand); }

void release(ZovDialogStruct *dialog) noexcept {
    if (dialog != nullptr) std::free(dialog->dialogGuid);
    freeZovDialogStruct(dialog);
}

// A whole command chain, through its first record.
void release(ZovCommandStruct *chain) noexcept {
    for (ZovCommandStruct *command = chain; command != nullptr; command = command->next) {
        std::free(command->commandName);
        std::free(command->commandGuid);
    }
    freeZovCommandStruct(chain);
}

// The rightmost path of a record's tree, kept while the tree grows: entry k is
// the last node of level k (level 0 is the list that starts at the root).
// Adding at a level then costs O(1) and builds exactly the tree that
// addNewZovSubNodeDepth, which walks the path from the root, would build.
class OpenPath {
public:
    // Forgets the path; the next add reads it from the tree once.
    void reset() noexcept { last_.clear(); }

    // As addNewZovSubNodeDepth(root, name, NULL, level): the new node, or NULL
    // when it cannot be made or placed. root is not NULL.
    ZovNode *add(ZovNode *root, const char *name, int level) {
        if (last_.empty()) readFrom(root);
        const std::size_t levels = last_.size();
        if (level < 0 || static_cast<std::size_t>(level) > levels) {
            // Only reached below a node that could not be made: the walk from
            // the root gives the report. Should it place the node after all,
            // the tree no longer matches the path.
            ZovNode *node = addNewZovSubNodeDepth(root, name, nullptr, level);
            if (node != nullptr) reset();
            return node;
        }
        const auto at = static_cast<std::size_t>(level);
        const bool deeper = at == levels;
        if (deeper) last_.push_back(nullptr);  // may throw, before the tree changes
        ZovNode *node = newZovNode(name, nullptr);
        if (node == nullptr) {
            if (deeper) last_.pop_back();
            return nullptr;
        }
        if (deeper) {
            last_[at - 1]->subNode = node;
        } else {
            last_[at]->nextNode = node;
            last_.resize(at + 1);
        }
        last_[at] = node;
        return node;
    }

private:
    void readFrom(ZovNode *root) {
        try {
            for (ZovNode *list = root; list != nullptr; list = list->subNode) {
                while (list->nextNode != nullptr) list = list->nextNode;
                last_.push_back(list);
            }
        } catch (...) {
            last_.clear();  // never a partial path
            throw;
        }
    }

    std::vector<ZovNode *> last_;
};

// The context: the public fields, then the parser's working state.
struct Parser final : XmlParserStruct {
    Parser() : XmlParserStruct{} {}
    ~Parser() { releaseUnreceived(); }
    Parser(const Parser &) = delete;
    Parser &operator=(const Parser &) = delete;

    void startElement(const char *name, const char **attributes);
    void endElement(const char *name);
    void characterData(const char *text, int length);
    void parse(const char *document, int size);

private:
    void startTopLevel(const char *name);
    template <typename Record>
    void openRecord(Record *record, int32_t openState);
    void openCommandEnvelope();
    ZovNode *handleNewStart(ZovNode **slot, const char *name, int treeDepth);

    void endCommandChild(const char *name);
    void endResultChild(const char *name);
    void endEventResultChild(const char *name);
    void endDialogChild(const char *name);
    void closeCommandEnvelope(const char *name);
    template <typename Record>
    void closeEnvelope(const char *name, const char *envelopeName,
                       void (*callBack)(void *, Record *));
    template <typename Record>
    void deliver(void (*callBack)(void *, Record *), Record *record) noexcept;

    void makeFreeStandingNode(const char *name);
    void storeText();
    void letGoOfCurrentNode();
    const char *currentText() const noexcept {
        return currentNode == nullptr ? nullptr : currentNode->contents;
    }
    void releaseUnreceived() noexcept;

public:
    ExpatParser expat;

private:
    OpenPath path_;
    // Text delivered for currentNode, stored into it once: when a sub-element
    // starts, when the element ends, or when the document stops.
    std::string text_;
    bool currentNodeFreeStanding_ = false;
    ZovCommandStruct *commandTail_ = nullptr;
    bool chainHandedOver_ = false;  // some record of commandList's chain reached commandCallBack
};

void Parser::parse(const char *document, int size) {
    XML_Parse(expatParser, document, size, 1);
    storeText();  // an element a cut-off document left open keeps its text
}

void Parser::startElement(const char *name, const char **attributes) {
    if (state == XML_PARSER_STATE_NONE) {
        startTopLevel(name);
        return;
    }
    ++depth;
    letGoOfCurrentNode();
    if (attributes != nullptr && attributes[0] != nullptr) {
        for (const char **pair = attributes; pair[0] != nullptr; pair += 2)
            ZOV_REPORT_AS(kStartElementHandler, 2, "%s='%s'", pair[0], pair[1]);
        ZOV_REPORT_AS(kStartElementHandler, 1, "Atts found, not yet supported");
    }
    if (depth >= 2) {
        currentNode = handleNewStart(rootNodeSlot, name, depth - 1);
    } else {
        makeFreeStandingNode(name);
    }
}

void Parser::startTopLevel(const char *name) {
    letGoOfCurrentNode();  // a "deviceGuid" with sub-elements gives no text
    const std::string_view element(name);
    if (element == "commandEnvelope") {
        openCommandEnvelope();
    } else if (element == "resultEnvelope") {
        openRecord(newZovResultStruct(), XML_PARSER_STATE_RESULT);
    } else if (element == "eventResultSet") {
        openRecord(newZovEventResultStruct(), XML_PARSER_STATE_EVENT_RESULT);
    } else if (element == "noCommands") {
        openRecord(newZovNoCommandStruct(), XML_PARSER_STATE_NO_COMMANDS);
    } else if (element == "dialog") {
        openRecord(newZovDialogStruct(), XML_PARSER_STATE_DIALOG);
    } else if (element == "deviceGuid") {
        makeFreeStandingNode(name);  // its text becomes deviceGuid at its end tag
    } else {
        currentRecord = nullptr;
        state = XML_PARSER_STATE_NONE;
        rootNodeSlot = nullptr;
    }
    depth = 0;
}

template <typename Record>
void Parser::openRecord(Record *record, int32_t openState) {
    currentRecord = record;
    state = openState;
    rootNodeSlot = record == nullptr ? nullptr : &record->rootNode;
    path_.reset();
}

void Parser::openCommandEnvelope() {
    ZovCommandStruct *command = newZovCommandStruct();
    if (command != nullptr) {
        if (rootNodeSlot == nullptr || commandList == nullptr) {
            if (!chainHandedOver_) release(commandList);  // nobody received it
            commandList = command;
            chainHandedOver_ = false;
        } else {
            while (commandTail_->next != nullptr) commandTail_ = commandTail_->next;
            commandTail_->next = command;
        }
        commandTail_ = command;
    }
    openRecord(command, XML_PARSER_STATE_COMMAND);
}

ZovNode *Parser::handleNewStart(ZovNode **slot, const char *name, int treeDepth) {
    if (slot == nullptr) {
        ZOV_REPORT_AS(kHandleNewStart, 1, "Unexpected NULL rootNode");
        return nullptr;
    }
    if (*slot == nullptr) {
        *slot = newZovNode(name, nullptr);
        path_.reset();
        return *slot;
    }
    return zov::guarded<ZovNode *>(nullptr, [&] { return path_.add(*slot, name, treeDepth); });
}

void Parser::makeFreeStandingNode(const char *name) {
    currentNode = newZovNode(name, nullptr);
    currentNodeFreeStanding_ = currentNode != nullptr;
}

void Parser::characterData(const char *text, int length) {
    if (currentNode == nullptr) return;
    try {
        text_.append(text, static_cast<std::size_t>(length));
    } catch (const std::bad_alloc &) {
        // The text gathered for the node is lost; it stays without contents.
        std::string().swap(text_);
        ZOV_REPORT_AS(kCharacterDataHandler, 1, "Error while memory allocation");
    }
}

void Parser::storeText() {
    // expat never delivers an empty chunk: no text means no chunk arrived.
    if (currentNode == nullptr || text_.empty()) return;
    char *contents = zov::dupString(text_);
    text_.clear();
    if (contents == nullptr) {
        ZOV_REPORT_AS(kCharacterDataHandler, 1, "Error while memory allocation");
        return;
    }
    std::free(currentNode->contents);  // a node gets its contents only here, once
    currentNode->contents = contents;
}

void Parser::letGoOfCurrentNode() {
    if (currentNodeFreeStanding_) {
        freeZovNode(currentNode);
        text_.clear();
    } else {
        storeText();  // a tree node keeps the text before its first sub-element
    }
    currentNode = nullptr;
    currentNodeFreeStanding_ = false;
}

void Parser::endElement(const char *name) {
    storeText();
    if (currentNode != nullptr && currentNode->name != nullptr && currentNode->contents == nullptr) {
        currentNode->contents = zov::dupString("");
        if (currentNode->contents == nullptr)
            ZOV_REPORT_AS(kEndElementHandler, 1, "Error while memory allocation.");
    }
    if (state == XML_PARSER_STATE_NONE) {
        // Only a top-level "deviceGuid" has a node here.
        if (currentNodeFreeStanding_ && currentText() != nullptr)
            replaceString(deviceGuid, currentText());
    } else if (depth == 1) {
        switch (state) {
            case XML_PARSER_STATE_COMMAND: endCommandChild(name); break;
            case XML_PARSER_STATE_RESULT: endResultChild(name); break;
            case XML_PARSER_STATE_EVENT_RESULT: endEventResultChild(name); break;
            case XML_PARSER_STATE_DIALOG: endDialogChild(name); break;
            default: break;  // the children of "noCommands" fill nothing
        }
    } else if (depth == 0) {
        switch (state) {
            case XML_PARSER_STATE_COMMAND: closeCommandEnvelope(name); break;
            case XML_PARSER_STATE_RESULT:
                closeEnvelope(name, "resultEnvelope", resultCallBack);
                break;
            case XML_PARSER_STATE_EVENT_RESULT:
                closeEnvelope(name, "eventResultSet", eventResultCallBack);
                break;
            case XML_PARSER_STATE_NO_COMMANDS:
                closeEnvelope(name, "noCommands", noCommandCallBack);
                break;
            case XML_PARSER_STATE_DIALOG: closeEnvelope(name, "dialog", dialogCallBack); break;
            default: break;
        }
    }
    letGoOfCurrentNode();  // a tree node stays in its tree
    --depth;
}

void Parser::endCommandChild(const char *name) {
    auto *command = static_cast<ZovCommandStruct *>(currentRecord);
    if (std::strcmp(name, "commandGuid") == 0) {
        const char *guid = currentText();
        if (guid == nullptr)
            ZOV_REPORT_AS(kEndElementHandler, 1, "Unexpected null contents getting commandGuid");
        if (command != nullptr) replaceString(command->commandGuid, guid);
        return;
    }
    if (command == nullptr) return;
    replaceString(command->commandName, name);
    if (command->commandName == nullptr) {
        ZOV_REPORT_AS(kEndElementHandler, 1, "Got unknown command tag '%s'", name);
        replaceString(command->commandName, name);
    }
    if (commandCallBack != nullptr) {
        chainHandedOver_ = true;
        deliver(commandCallBack, command);
    }
}

void Parser::endResultChild(const char *name) {
    auto *result = static_cast<ZovResultStruct *>(currentRecord);
    const std::string_view element(name);
    if (element == "eventGuid" || element == "commandGuid") {
        const char *guid = currentText();
        if (guid == nullptr)
            ZOV_REPORT_AS(kEndElementHandler, 1, "Unexpected null contents getting eventGuid");
        if (result != nullptr) replaceString(result->guid, guid);
    } else if (element == "success") {
        if (result != nullptr) result->success = 1;
    } else if (element == "error") {
        if (result != nullptr) result->success = 0;
    } else {
        ZOV_REPORT_AS(kEndElementHandler, 1, "Unexpected tag '%s' received", name);
    }
}

void Parser::endEventResultChild(const char *name) {
    auto *eventResult = static_cast<ZovEventResultStruct *>(currentRecord);
    const std::string_view element(name);
    char *ZovEventResultStruct::*field = nullptr;
    if (element == "assetLevel") {
        field = &ZovEventResultStruct::assetLevel;
    } else if (element == "nextAssetReportSeconds") {
        field = &ZovEventResultStruct::nextAssetReportSeconds;
    } else if (element != "eventResultEnvelope") {
        ZOV_REPORT_AS(kEndElementHandler, 1, "Expected %s end tag, got '%s'", "eventResultEnvelope",
                      name);
    }
    const char *text = currentText();
    if (field != nullptr && eventResult != nullptr && text != nullptr)
        replaceString(eventResult->*field, text);
}

void Parser::endDialogChild(const char *name) {
    if (std::strcmp(name, "dialogGuid") != 0) return;
    auto *dialog = static_cast<ZovDialogStruct *>(currentRecord);
    const char *guid = currentText();
    if (guid == nullptr)
        ZOV_REPORT_AS(kEndElementHandler, 1, "Unexpected null contents getting dialogGuid");
    if (dialog != nullptr) replaceString(dialog->dialogGuid, guid);
}

void Parser::closeCommandEnvelope(const char *name) {
    // The record went to commandCallBack at the end of its command element.
    if (std::strcmp(name, "commandEnvelope") != 0)
        ZOV_REPORT_AS(kEndElementHandler, 1, "Expected %s end tag, got '%s'", "commandEnvelope", name);
    state = XML_PARSER_STATE_NONE;
    currentRecord = nullptr;
}

template <typename Record>
void Parser::closeEnvelope(const char *name, const char *envelopeName,
                           void (*callBack)(void *, Record *)) {
    // Closed by its depth whatever its name: a different name is only reported.
    if (std::strcmp(name, envelopeName) != 0)
        ZOV_REPORT_AS(kEndElementHandler, 1, "Expected %s end tag, got '%s'", envelopeName, name);
    auto *record = static_cast<Record *>(currentRecord);
    state = XML_PARSER_STATE_NONE;
    currentRecord = nullptr;  // forgotten before the callee owns it
    if (record == nullptr) return;
    if (callBack != nullptr) {
        deliver(callBack, record);
    } else {
        release(record);
    }
}

// An exception thrown by a C++ callee ends here, so that the parser still
// finishes the element and goes on with the document.
template <typename Record>
void Parser::deliver(void (*callBack)(void *, Record *), Record *record) noexcept {
    zov::guardedVoid([&] { callBack(userData, record); });
}

void Parser::releaseUnreceived() noexcept {
    if (currentNodeFreeStanding_) freeZovNode(currentNode);
    currentNode = nullptr;
    currentNodeFreeStanding_ = false;
    switch (state) {  // an envelope left open; an open command is part of the chain
        case XML_PARSER_STATE_RESULT: release(static_cast<ZovResultStruct *>(currentRecord)); break;
        case XML_PARSER_STATE_EVENT_RESULT:
            release(static_cast<ZovEventResultStruct *>(currentRecord));
            break;
        case XML_PARSER_STATE_NO_COMMANDS:
            release(static_cast<ZovNoCommandStruct *>(currentRecord));
            break;
        case XML_PARSER_STATE_DIALOG: release(static_cast<ZovDialogStruct *>(currentRecord)); break;
        default: break;
    }
    currentRecord = nullptr;
    state = XML_PARSER_STATE_NONE;
    if (!chainHandedOver_) release(commandList);
    commandList = nullptr;
    std::free(deviceGuid);
    deviceGuid = nullptr;
}

Parser *contextOf(void *userData) noexcept {
    return static_cast<Parser *>(static_cast<XmlParserStruct *>(userData));
}

// The expat handlers: nothing may be thrown back into expat.
void XMLCALL startElementHandler(void *userData, const XML_Char *name, const XML_Char **attributes) {
    zov::guardedVoid([&] { contextOf(userData)->startElement(name, attributes); });
}

void XMLCALL endElementHandler(void *userData, const XML_Char *name) {
    zov::guardedVoid([&] { contextOf(userData)->endElement(name); });
}

void XMLCALL characterDataHandler(void *userData, const XML_Char *text, int length) {
    zov::guardedVoid([&] { contextOf(userData)->characterData(text, length); });
}

}  // namespace

extern "C" {

ZOV_API XmlParserStruct *initXmlParser(void) {
    std::unique_ptr<Parser> parser(new (std::nothrow) Parser());
    if (parser == nullptr) return nullptr;
    parser->expat.reset(XML_ParserCreate(nullptr));
    if (parser->expat == nullptr) return nullptr;
    parser->expatParser = parser->expat.get();
    XML_SetUserData(parser->expatParser, static_cast<XmlParserStruct *>(parser.get()));
    XML_SetElementHandler(parser->expatParser, startElementHandler, endElementHandler);
    XML_SetCharacterDataHandler(parser->expatParser, characterDataHandler);
    return parser.release();
}

ZOV_API void setXmlParserUserData(XmlParserStruct *parser, void *userData) {
    if (parser != nullptr) parser->userData = userData;
}

ZOV_API void setXmlParserCommandCallBack(XmlParserStruct *parser, XmlParserCommandCallBack callBack) {
    if (parser != nullptr) parser->commandCallBack = callBack;
}

ZOV_API void setXmlParserResultCallBack(XmlParserStruct *parser, XmlParserResultCallBack callBack) {
    if (parser != nullptr) parser->resultCallBack = callBack;
}

ZOV_API void setXmlParserEventResultCallBack(XmlParserStruct *parser,
                                             XmlParserEventResultCallBack callBack) {
    if (parser != nullptr) parser->eventResultCallBack = callBack;
}

ZOV_API void setXmlParserNoCommandCallBack(XmlParserStruct *parser,
                                           XmlParserNoCommandCallBack callBack) {
    if (parser != nullptr) parser->noCommandCallBack = callBack;
}

ZOV_API void setXmlParserDialogCallBack(XmlParserStruct *parser, XmlParserDialogCallBack callBack) {
    if (parser != nullptr) parser->dialogCallBack = callBack;
}

ZOV_API int xmlParserParseCharBuffer(XmlParserStruct *parser, CharBuffer *xmlBody) {
    if (parser == nullptr) return -1;
    const auto total = static_cast<std::size_t>(getTotalBufferLength(xmlBody));
    std::unique_ptr<char, MemoryFree> document(static_cast<char *>(std::malloc(total + 1)));
    if (document == nullptr) return -1;
    zov::ChainReader reader(xmlBody);
    // A chain of more than INT_MAX bytes reads as INT_MAX and is not whole.
    if (reader.read(document.get(), total) != total || !reader.atEnd()) {
        ZOV_REPORT(1, "Error, length received from xmlBody charbuffer doesn't match");
        return -1;
    }
    static_cast<Parser *>(parser)->parse(document.get(), static_cast<int>(total));
    return 0;
}

ZOV_API int xmlParserParseChar(XmlParserStruct *parser, const char *xml) {
    if (parser == nullptr) return -1;
    const char *document = xml == nullptr ? "" : xml;
    const std::size_t size = std::strlen(document);
    if (size <= static_cast<std::size_t>(INT_MAX))
        static_cast<Parser *>(parser)->parse(document, static_cast<int>(size));
    return 0;
}

ZOV_API void endXmlParser(XmlParserStruct *parser) {
    if (parser == nullptr) return;
    parser->userData = nullptr;
    delete static_cast<Parser *>(parser);  // releases what nobody received, then expat's parser
}

}  // extern "C"
