// Shared pieces of the fuzz targets: chains built from input bytes, a logger
// that formats every report but writes it nowhere slow, and a receiver that
// takes every record the envelope parser delivers and releases it exactly as
// a callee must.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <set>
#include <string_view>
#include <vector>

#include "ZovCommon.h"

namespace fuzz {

inline std::string_view bytes(const uint8_t *data, size_t size) {
    return {reinterpret_cast<const char *>(data), size};
}

// Reports are formatted at the most detailed level (so every format runs on
// hostile text) and written to stderr, which the fuzz runs close.
inline void quietLogger() {
    zovLoggerSetLogToFile(0);
    zovLoggerSetLogLevel(3);
}

// A chain holding text, appended in pieces of 1 to 1000 bytes whose lengths
// follow from seed, so that link boundaries fall anywhere.
inline CharBuffer *chainOf(std::string_view text, unsigned seed = 0) {
    CharBuffer *head = createCharBuffer();
    CharBuffer *tail = head;
    for (size_t at = 0; head != nullptr && at < text.size();) {
        seed = seed * 1103515245u + 12345u;
        const size_t piece = std::min<size_t>(text.size() - at, 1 + (seed >> 16) % 1000);
        if (addDataToCharBuffer(tail, text.data() + at, static_cast<int>(piece)) != 0) abort();
        tail = findLastCharBuffer(tail);
        at += piece;
    }
    return head;
}

// Reads every byte of a chain, as a consumer would.
inline size_t touch(CharBuffer *chain) {
    size_t sum = 0;
    char *data = nullptr;
    int length = 0;
    for (CharBuffer *link = chain; link != nullptr;) {
        link = getBufferContent(link, &data, &length);
        for (int i = 0; i < length; ++i) sum += static_cast<unsigned char>(data[i]);
    }
    return sum;
}

// Walks every node of a tree without recursion.
inline size_t touch(ZovNode *root) {
    size_t count = 0;
    std::vector<ZovNode *> pending{root};
    while (!pending.empty()) {
        ZovNode *node = pending.back();
        pending.pop_back();
        if (node == nullptr) continue;
        count += 1 + (node->name ? std::strlen(node->name) : 0) + (node->contents ? std::strlen(node->contents) : 0);
        pending.push_back(node->nextNode);
        pending.push_back(node->subNode);
    }
    return count;
}

// Takes the records of one parse. Command chains are kept until the parse
// has returned, then each record is read, turned into platform data when
// configure is set, and the chain released; every other record is released
// in its callback.
class Receiver {
public:
    explicit Receiver(bool configure) : configure_(configure) {}
    Receiver(const Receiver &) = delete;
    Receiver &operator=(const Receiver &) = delete;

    XmlParserStruct *makeParser() {
        parser_ = initXmlParser();
        if (parser_ == nullptr) return nullptr;
        setXmlParserUserData(parser_, this);
        setXmlParserCommandCallBack(parser_, [](void *self, ZovCommandStruct *) {
            auto *receiver = static_cast<Receiver *>(self);
            receiver->chains_.insert(receiver->parser_->commandList);
        });
        setXmlParserResultCallBack(parser_, [](void *, ZovResultStruct *record) {
            touch(record->rootNode);
            std::free(record->guid);
            freeZovResultStruct(record);
        });
        setXmlParserEventResultCallBack(parser_, [](void *, ZovEventResultStruct *record) {
            touch(record->rootNode);
            std::free(record->assetLevel);
            std::free(record->nextAssetReportSeconds);
            freeZovEventResultStruct(record);
        });
        setXmlParserNoCommandCallBack(parser_, [](void *, ZovNoCommandStruct *record) {
            touch(record->rootNode);
            freeZovNoCommandStruct(record);
        });
        setXmlParserDialogCallBack(parser_, [](void *, ZovDialogStruct *record) {
            touch(record->rootNode);
            std::free(record->dialogGuid);
            freeZovDialogStruct(record);
        });
        return parser_;
    }

    // Ends the parser, then reads and releases the command chains.
    void finish() {
        endXmlParser(parser_);
        for (ZovCommandStruct *head : chains_) {
            for (ZovCommandStruct *record = head; record != nullptr; record = record->next) {
                touch(record->rootNode);
                if (configure_) configureFrom(record);
                std::free(record->commandName);
                std::free(record->commandGuid);
            }
            freeZovCommandStruct(head);
        }
        chains_.clear();
    }

private:
    static void configureFrom(ZovCommandStruct *record) {
        PlatformData *platform = parseConfigurationCommand(record);
        if (platform == nullptr) return;
        freePlatformData(platform);
        std::free(platform);
    }

    bool configure_;
    XmlParserStruct *parser_ = nullptr;
    std::set<ZovCommandStruct *> chains_;
};

}  // namespace fuzz
