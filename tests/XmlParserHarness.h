// Test helper: runs the envelope parser with every callback set and keeps
// what was delivered, releasing it as the callee must.
#pragma once

#include <cstdlib>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "CharBuffer.h"
#include "XmlParser.h"
#include "ZovNode.h"

// One line per node in document order, indented two blanks per level:
// "name=contents", or just "name" for a node without contents. Iterative, so
// that very deep trees can be dumped.
inline std::string dumpTree(const ZovNode *root) {
    std::string out;
    std::vector<std::pair<const ZovNode *, std::size_t>> stack;
    if (root != nullptr) stack.push_back({root, 0});
    while (!stack.empty()) {
        auto [node, level] = stack.back();
        stack.pop_back();
        out.append(2 * level, ' ');
        out += node->name ? node->name : "(null)";
        if (node->contents != nullptr) out += std::string("=") + node->contents;
        out += '\n';
        if (node->nextNode != nullptr) stack.push_back({node->nextNode, level});
        if (node->subNode != nullptr) stack.push_back({node->subNode, level + 1});
    }
    return out;
}

inline std::string text(const char *s) { return s ? s : "(null)"; }

struct Delivered {
    // One entry per commandCallBack call, with the fields as they were then.
    struct CommandCall {
        ZovCommandStruct *record;
        ZovCommandStruct *chainHead;
        std::string name, guid;
    };
    std::vector<CommandCall> commandCalls;
    std::vector<ZovResultStruct *> results;
    std::vector<ZovEventResultStruct *> eventResults;
    std::vector<ZovNoCommandStruct *> noCommands;
    std::vector<ZovDialogStruct *> dialogs;
    std::string deviceGuid;  // the context's, just before endXmlParser
    std::vector<std::string> order;  // kinds in delivery order
    XmlParserStruct *parser = nullptr;

    Delivered() = default;
    Delivered(const Delivered &) = delete;
    Delivered &operator=(const Delivered &) = delete;

    ~Delivered() {
        std::set<ZovCommandStruct *> heads;
        for (const CommandCall &call : commandCalls) heads.insert(call.chainHead);
        for (ZovCommandStruct *head : heads) {
            for (ZovCommandStruct *c = head; c != nullptr; c = c->next) {
                std::free(c->commandName);
                std::free(c->commandGuid);
            }
            freeZovCommandStruct(head);
        }
        for (ZovResultStruct *r : results) {
            std::free(r->guid);
            freeZovResultStruct(r);
        }
        for (ZovEventResultStruct *e : eventResults) {
            std::free(e->assetLevel);
            std::free(e->nextAssetReportSeconds);
            freeZovEventResultStruct(e);
        }
        for (ZovNoCommandStruct *n : noCommands) freeZovNoCommandStruct(n);
        for (ZovDialogStruct *d : dialogs) {
            std::free(d->dialogGuid);
            freeZovDialogStruct(d);
        }
    }

    static Delivered &of(void *userData) { return *static_cast<Delivered *>(userData); }
    static void command(void *u, ZovCommandStruct *r) {
        Delivered &d = of(u);
        d.commandCalls.push_back({r, d.parser->commandList, text(r->commandName), text(r->commandGuid)});
        d.order.push_back("command");
    }
    static void result(void *u, ZovResultStruct *r) {
        of(u).results.push_back(r);
        of(u).order.push_back("result");
    }
    static void eventResult(void *u, ZovEventResultStruct *r) {
        of(u).eventResults.push_back(r);
        of(u).order.push_back("eventResult");
    }
    static void noCommand(void *u, ZovNoCommandStruct *r) {
        of(u).noCommands.push_back(r);
        of(u).order.push_back("noCommands");
    }
    static void dialog(void *u, ZovDialogStruct *r) {
        of(u).dialogs.push_back(r);
        of(u).order.push_back("dialog");
    }

    // A context with every callback set and this object as user data.
    XmlParserStruct *makeParser() {
        parser = initXmlParser();
        setXmlParserUserData(parser, this);
        setXmlParserCommandCallBack(parser, command);
        setXmlParserResultCallBack(parser, result);
        setXmlParserEventResultCallBack(parser, eventResult);
        setXmlParserNoCommandCallBack(parser, noCommand);
        setXmlParserDialogCallBack(parser, dialog);
        return parser;
    }

    // Parses one document from a string or, with asChain, from a chain.
    int parse(const std::string &xml, bool asChain = false) {
        makeParser();
        int rc;
        if (asChain) {
            CharBuffer *chain = createCharBuffer();
            addDataToCharBuffer(chain, xml.data(), static_cast<int>(xml.size()));
            rc = xmlParserParseCharBuffer(parser, chain);
            freeAllCharBuffers(chain);
        } else {
            rc = xmlParserParseChar(parser, xml.c_str());
        }
        deviceGuid = text(parser->deviceGuid);
        endXmlParser(parser);
        parser = nullptr;
        return rc;
    }
};
