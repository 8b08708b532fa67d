// Test helper: runs the envelope parser with every callback set, keeps what
// was delivered and releases it as the callee must.
#pragma once

#include <cstdlib>
#include <set>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "CharBuffer.h"
#include "XmlParser.h"

// One line per node in document order, indented by level: "name=contents", or
// "name" without contents. Iterative, for very deep trees.
inline std::string dumpTree(const ZovNode *root) {
    std::string out;
    std::vector<std::pair<const ZovNode *, std::size_t>> stack{{root, 0}};
    while (!stack.empty()) {
        auto [node, level] = stack.back();
        stack.pop_back();
        if (node == nullptr) continue;
        out += std::string(2 * level, ' ') + node->name;
        out += (node->contents ? std::string("=") + node->contents : "") + "\n";
        stack.push_back({node->nextNode, level});
        stack.push_back({node->subNode, level + 1});
    }
    return out;
}

inline std::string str(const char *s) { return s ? s : "(null)"; }

struct Delivered {
    struct CommandCall {  // fields as they were at the call
        ZovCommandStruct *record, *chainHead;
        std::string name, guid;
    };
    std::vector<CommandCall> commands;
    std::vector<ZovResultStruct *> results;
    std::vector<ZovEventResultStruct *> eventResults;
    std::vector<ZovNoCommandStruct *> noCommands;
    std::vector<ZovDialogStruct *> dialogs;
    std::string kinds;        // one letter per delivery: c r e n d
    std::string deviceGuid;   // the context's, before endXmlParser
    XmlParserStruct *parser = nullptr;

    Delivered() = default;
    Delivered(const Delivered &) = delete;
    Delivered &operator=(const Delivered &) = delete;
    ~Delivered() {
        std::set<ZovCommandStruct *> heads;
        for (const CommandCall &call : commands) heads.insert(call.chainHead);
        for (ZovCommandStruct *head : heads) {
            for (ZovCommandStruct *c = head; c != nullptr; c = c->next) {
                std::free(c->commandName);
                std::free(c->commandGuid);
            }
            freeZovCommandStruct(head);
        }
        for (ZovResultStruct *r : results) std::free(r->guid), freeZovResultStruct(r);
        for (ZovEventResultStruct *e : eventResults) {
            std::free(e->assetLevel);
            std::free(e->nextAssetReportSeconds);
            freeZovEventResultStruct(e);
        }
        for (ZovNoCommandStruct *n : noCommands) freeZovNoCommandStruct(n);
        for (ZovDialogStruct *d : dialogs) std::free(d->dialogGuid), freeZovDialogStruct(d);
    }

    template <typename Record>
    static void keep(void *self, Record *record) {
        auto &d = *static_cast<Delivered *>(self);
        if constexpr (std::is_same_v<Record, ZovCommandStruct>) {
            d.commands.push_back(
                {record, d.parser->commandList, str(record->commandName), str(record->commandGuid)});
            d.kinds += 'c';
        } else if constexpr (std::is_same_v<Record, ZovResultStruct>) {
            d.results.push_back(record), d.kinds += 'r';
        } else if constexpr (std::is_same_v<Record, ZovEventResultStruct>) {
            d.eventResults.push_back(record), d.kinds += 'e';
        } else if constexpr (std::is_same_v<Record, ZovNoCommandStruct>) {
            d.noCommands.push_back(record), d.kinds += 'n';
        } else {
            d.dialogs.push_back(record), d.kinds += 'd';
        }
    }

    XmlParserStruct *makeParser() {
        parser = initXmlParser();
        setXmlParserUserData(parser, this);
        setXmlParserCommandCallBack(parser, keep<ZovCommandStruct>);
        setXmlParserResultCallBack(parser, keep<ZovResultStruct>);
        setXmlParserEventResultCallBack(parser, keep<ZovEventResultStruct>);
        setXmlParserNoCommandCallBack(parser, keep<ZovNoCommandStruct>);
        setXmlParserDialogCallBack(parser, keep<ZovDialogStruct>);
        return parser;
    }

    // Parses one document, from a string or (asChain) from a chain.
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
        deviceGuid = str(parser->deviceGuid);
        endXmlParser(parser);
        return rc;
    }
};
