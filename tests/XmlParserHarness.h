// A tree dump, and a harness that keeps what the envelope parser delivers and releases it as the callee must.
#pragma once

#include <cstdlib>
#include <cstring>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "LogCapture.h"
#include "TransportData.h"
#include "XmlParser.h"

// A line "name[=contents]" per node, indented by level; dropLayout hides the blank text of a parent.
inline std::string dumpTree(const ZovNode *root, bool dropLayout = false) {
    std::string out;
    for (std::vector<std::pair<const ZovNode *, std::size_t>> stack{{root, 0}}; !stack.empty();) {
        auto [node, level] = stack.back();
        stack.pop_back();
        if (node == nullptr) continue;
        const char *text = node->contents;
        if (dropLayout && node->subNode && text && text[std::strspn(text, " \r\n\t")] == '\0') text = nullptr;
        out += std::string(2 * level, ' ') + node->name + (text ? "=" + std::string(text) : "") + "\n";
        stack.insert(stack.end(), {{node->nextNode, level}, {node->subNode, level + 1}});
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
    ~Delivered() {
        std::set<ZovCommandStruct *> heads;
        for (const CommandCall &call : commands) heads.insert(call.chainHead);
        for (ZovCommandStruct *head : heads) {
            for (ZovCommandStruct *c = head; c != nullptr; c = c->next)
                std::free(c->commandName), std::free(c->commandGuid);
            freeZovCommandStruct(head);
        }
        for (auto *r : results) std::free(r->guid), freeZovResultStruct(r);
        for (auto *e : eventResults)
            std::free(e->assetLevel), std::free(e->nextAssetReportSeconds), freeZovEventResultStruct(e);
        for (auto *n : noCommands) freeZovNoCommandStruct(n);
        for (auto *d : dialogs) std::free(d->dialogGuid), freeZovDialogStruct(d);
    }

    void take(ZovCommandStruct *r) {
        commands.push_back({r, parser->commandList, str(r->commandName), str(r->commandGuid)}), kinds += 'c';
    }
    void take(ZovResultStruct *r) { results.push_back(r), kinds += 'r'; }
    void take(ZovEventResultStruct *r) { eventResults.push_back(r), kinds += 'e'; }
    void take(ZovNoCommandStruct *r) { noCommands.push_back(r), kinds += 'n'; }
    void take(ZovDialogStruct *r) { dialogs.push_back(r), kinds += 'd'; }
    template <typename Record>
    static void keep(void *self, Record *record) { static_cast<Delivered *>(self)->take(record); }

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

    int parse(CharBuffer *chain) { return finish(xmlParserParseCharBuffer(makeParser(), chain)); }
    int parse(const std::string &xml) { return finish(xmlParserParseChar(makeParser(), xml.c_str())); }
    // Kinds and device GUID, then by kind each record's fields (commands' as at the call) and tree.
    std::string summary() const {
        std::string out = kinds + " device " + deviceGuid + "\n";
        auto add = [&out](const std::string &fields, const ZovNode *root) { out += fields + dumpTree(root, true); };
        for (auto &c : commands) add("command " + c.name + " " + c.guid + "\n", c.record->rootNode);
        for (auto *r : results) add("result " + str(r->guid) + " " + std::to_string(r->success) + "\n", r->rootNode);
        for (auto *e : eventResults)
            add("eventResult " + str(e->assetLevel) + " " + str(e->nextAssetReportSeconds) + "\n", e->rootNode);
        for (auto *n : noCommands) add("", n->rootNode);
        for (auto *g : dialogs) add("dialog " + str(g->dialogGuid) + "\n", g->rootNode);
        return out;
    }
    int finish(int rc) {
        deviceGuid = str(parser->deviceGuid);
        endXmlParser(parser);
        return rc;
    }
};
