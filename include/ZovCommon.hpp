// ZovCommon.hpp - header-only C++ conveniences over the C API of libZovCommon.
//
//  * std::unique_ptr aliases whose deleters call the matching free function of
//    every record, chain, tree, list, platform-data record and parser context
//    the library hands out;
//  * conversions between CharBuffer chains and std::string;
//  * EnvelopeParser, which parses one XML envelope document and hands every
//    record over as an owned pointer through std::function callbacks.
//
// Requires C++17. Nothing here changes the C ABI; the library itself is C.
#ifndef ZOVCOMMON_ZOVCOMMON_HPP
#define ZOVCOMMON_ZOVCOMMON_HPP

#include <cstdlib>
#include <exception>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "ZovCommon.h"

namespace zov {

// ---------------------------------------------------------------------------
// Owners
// ---------------------------------------------------------------------------

struct FreeDeleter {
    void operator()(void *block) const noexcept { std::free(block); }
};
struct CharBufferDeleter {
    void operator()(CharBuffer *chain) const noexcept { freeAllCharBuffers(chain); }
};
struct NodeDeleter {
    void operator()(ZovNode *tree) const noexcept { freeZovNode(tree); }
};
struct MimeDeleter {
    void operator()(MimeStruct *parts) const noexcept { freeMimeStruct(parts); }
};
struct HeaderListDeleter {
    void operator()(HttpHeader *list) const noexcept { httpPayloadFreeHeaders(&list); }
};
struct ServerListDeleter {
    void operator()(ServerList *list) const noexcept { freeServerList(list); }
};
struct PlatformDataDeleter {
    void operator()(PlatformData *data) const noexcept {
        if (data == nullptr) return;
        freePlatformData(data);
        std::free(data);
    }
};
struct NetworkInterfaceDeleter {
    void operator()(NetworkInterfaceStruct *adapter) const noexcept { freeNetworkInterfaceStruct(adapter); }
};
struct WirelessSettingsDeleter {
    void operator()(WirelessSettingsStruct *profile) const noexcept { freeWirelessSettingsStruct(profile); }
};
struct IpValueDeleter {
    void operator()(IpValueStruct *list) const noexcept { freeIpValueStruct(list); }
};
struct PairDeleter {
    void operator()(PairStruct *list) const noexcept { freePairStruct(list); }
};
struct AddressAssignmentStaticDeleter {
    void operator()(AddressAssignmentStatic *assignment) const noexcept {
        freeAddressAssignmentStatic(assignment);
    }
};
struct XmlParserDeleter {
    void operator()(XmlParserStruct *parser) const noexcept { endXmlParser(parser); }
};
struct AllStructsDeleter {
    void operator()(AllZovStructs *all) const noexcept { freeAllZovStructs(all); }
};

// Records made with the constructors: their string fields point into their
// trees (or are the caller's), so only the records are released.
struct CommandDeleter {
    void operator()(ZovCommandStruct *chain) const noexcept { freeZovCommandStruct(chain); }
};
struct ResultDeleter {
    void operator()(ZovResultStruct *r) const noexcept { freeZovResultStruct(r); }
};
struct EventResultDeleter {
    void operator()(ZovEventResultStruct *r) const noexcept { freeZovEventResultStruct(r); }
};
struct NoCommandDeleter {
    void operator()(ZovNoCommandStruct *r) const noexcept { freeZovNoCommandStruct(r); }
};
struct DialogDeleter {
    void operator()(ZovDialogStruct *r) const noexcept { freeZovDialogStruct(r); }
};

// Records made by the envelope parser hold their own string copies, which the
// receiver releases together with the record.
struct ParsedCommandDeleter {
    void operator()(ZovCommandStruct *chain) const noexcept {
        for (ZovCommandStruct *c = chain; c != nullptr; c = c->next) {
            std::free(c->commandName);
            std::free(c->commandGuid);
            c->commandName = c->commandGuid = nullptr;
        }
        freeZovCommandStruct(chain);
    }
};
struct ParsedResultDeleter {
    void operator()(ZovResultStruct *r) const noexcept {
        if (r != nullptr) std::free(r->guid);
        freeZovResultStruct(r);
    }
};
struct ParsedEventResultDeleter {
    void operator()(ZovEventResultStruct *r) const noexcept {
        if (r != nullptr) {
            std::free(r->assetLevel);
            std::free(r->nextAssetReportSeconds);
        }
        freeZovEventResultStruct(r);
    }
};
struct ParsedDialogDeleter {
    void operator()(ZovDialogStruct *r) const noexcept {
        if (r != nullptr) std::free(r->dialogGuid);
        freeZovDialogStruct(r);
    }
};

using CStringPtr = std::unique_ptr<char, FreeDeleter>;
using CharBufferPtr = std::unique_ptr<CharBuffer, CharBufferDeleter>;
using NodePtr = std::unique_ptr<ZovNode, NodeDeleter>;
using MimePtr = std::unique_ptr<MimeStruct, MimeDeleter>;
using HeaderListPtr = std::unique_ptr<HttpHeader, HeaderListDeleter>;
using ServerListPtr = std::unique_ptr<ServerList, ServerListDeleter>;
using PlatformDataPtr = std::unique_ptr<PlatformData, PlatformDataDeleter>;
// One adapter or one profile (the ones after it stay); whole address and pair lists.
using NetworkInterfacePtr = std::unique_ptr<NetworkInterfaceStruct, NetworkInterfaceDeleter>;
using WirelessSettingsPtr = std::unique_ptr<WirelessSettingsStruct, WirelessSettingsDeleter>;
using IpValuePtr = std::unique_ptr<IpValueStruct, IpValueDeleter>;
using PairPtr = std::unique_ptr<PairStruct, PairDeleter>;
using AddressAssignmentStaticPtr = std::unique_ptr<AddressAssignmentStatic, AddressAssignmentStaticDeleter>;
using XmlParserPtr = std::unique_ptr<XmlParserStruct, XmlParserDeleter>;
using AllStructsPtr = std::unique_ptr<AllZovStructs, AllStructsDeleter>;
using CommandPtr = std::unique_ptr<ZovCommandStruct, CommandDeleter>;
using ResultPtr = std::unique_ptr<ZovResultStruct, ResultDeleter>;
using EventResultPtr = std::unique_ptr<ZovEventResultStruct, EventResultDeleter>;
using NoCommandPtr = std::unique_ptr<ZovNoCommandStruct, NoCommandDeleter>;
using DialogPtr = std::unique_ptr<ZovDialogStruct, DialogDeleter>;
using ParsedCommandPtr = std::unique_ptr<ZovCommandStruct, ParsedCommandDeleter>;
using ParsedResultPtr = std::unique_ptr<ZovResultStruct, ParsedResultDeleter>;
using ParsedEventResultPtr = std::unique_ptr<ZovEventResultStruct, ParsedEventResultDeleter>;
using ParsedNoCommandPtr = NoCommandPtr;
using ParsedDialogPtr = std::unique_ptr<ZovDialogStruct, ParsedDialogDeleter>;

// ---------------------------------------------------------------------------
// Chains and strings
// ---------------------------------------------------------------------------

// All bytes of a chain (NUL bytes included); empty for NULL.
inline std::string toString(const CharBuffer *chain) {
    std::string text;
    for (const CharBuffer *link = chain; link != nullptr; link = link->next) {
        if (link->length > 0)
            text.append(link->data, static_cast<std::size_t>(
                                        link->length < CHAR_BUFFER_SIZE ? link->length : CHAR_BUFFER_SIZE));
    }
    return text;
}

// A new chain holding bytes; throws std::bad_alloc when memory runs out.
inline CharBufferPtr toCharBuffer(std::string_view bytes) {
    CharBufferPtr chain(createCharBuffer());
    if (!chain) throw std::bad_alloc();
    // Appended in pieces an int can count.
    while (!bytes.empty()) {
        std::size_t piece = bytes.size() < (1u << 30) ? bytes.size() : (1u << 30);
        if (addDataToCharBuffer(chain.get(), bytes.data(), static_cast<int>(piece)) != 0)
            throw std::bad_alloc();
        bytes.remove_prefix(piece);
    }
    return chain;
}

// ---------------------------------------------------------------------------
// Envelope parser
// ---------------------------------------------------------------------------

// Parses one envelope document per call to parse() and hands over every
// record it finished, each as an owned pointer:
//  * results, event results, no-commands and dialogs when their envelope ends;
//  * command chains after the document has been parsed (a chain's records may
//    still grow while the document streams; onCommand sees each command
//    element as it ends, borrowed).
// An exception thrown by a handler stops nothing inside the C parser; it is
// rethrown from parse() once the document is done, and records not yet handed
// over are released.
class EnvelopeParser {
public:
    std::function<void(const ZovCommandStruct &)> onCommand;
    std::function<void(ParsedCommandPtr)> onCommandChain;
    std::function<void(ParsedResultPtr)> onResult;
    std::function<void(ParsedEventResultPtr)> onEventResult;
    std::function<void(ParsedNoCommandPtr)> onNoCommand;
    std::function<void(ParsedDialogPtr)> onDialog;

    // Parses a whole document; returns false when no parser could be made or
    // the chain could not be read back. The device GUID of the document, if
    // any, is kept in deviceGuid().
    bool parse(std::string_view xml) {
        std::string document(xml);
        return run([&](XmlParserStruct *p) { return xmlParserParseChar(p, document.c_str()); });
    }
    bool parse(CharBuffer *chain) {
        return run([&](XmlParserStruct *p) { return xmlParserParseCharBuffer(p, chain); });
    }

    const std::string &deviceGuid() const noexcept { return deviceGuid_; }

private:
    template <typename Parse>
    bool run(Parse &&parseDocument) {
        XmlParserPtr parser(initXmlParser());
        if (!parser) return false;
        chains_.clear();
        failure_ = nullptr;
        setXmlParserUserData(parser.get(), this);
        setXmlParserCommandCallBack(parser.get(), &EnvelopeParser::command);
        setXmlParserResultCallBack(parser.get(), &EnvelopeParser::result);
        setXmlParserEventResultCallBack(parser.get(), &EnvelopeParser::eventResult);
        setXmlParserNoCommandCallBack(parser.get(), &EnvelopeParser::noCommand);
        setXmlParserDialogCallBack(parser.get(), &EnvelopeParser::dialog);
        current_ = parser.get();
        int status = parseDocument(parser.get());
        current_ = nullptr;
        // The chains handed to us are released on every way out from here.
        std::vector<ParsedCommandPtr> chains = std::exchange(chains_, {});
        deviceGuid_ = parser->deviceGuid ? parser->deviceGuid : "";
        parser.reset();
        if (failure_) std::rethrow_exception(std::exchange(failure_, nullptr));
        for (ParsedCommandPtr &chain : chains)
            if (onCommandChain) onCommandChain(std::move(chain));
        return status == 0;
    }

    template <typename Body>
    static void guard(void *self, Body &&body) noexcept {
        auto *me = static_cast<EnvelopeParser *>(self);
        try {
            if (!me->failure_) body(*me);
        } catch (...) {
            me->failure_ = std::current_exception();
        }
    }

    static void command(void *self, ZovCommandStruct *record) {
        auto *me = static_cast<EnvelopeParser *>(self);
        // The record belongs to the chain that is open right now.
        ZovCommandStruct *head = me->current_ ? me->current_->commandList : record;
        if (me->chains_.empty() || me->chains_.back().get() != head) {
            try {
                me->chains_.emplace_back(head);
            } catch (...) {
                if (!me->failure_) me->failure_ = std::current_exception();
            }
        }
        guard(self, [record](EnvelopeParser &p) {
            if (p.onCommand) p.onCommand(*record);
        });
    }
    static void result(void *self, ZovResultStruct *record) {
        ParsedResultPtr owned(record);
        guard(self, [&](EnvelopeParser &p) {
            if (p.onResult) p.onResult(std::move(owned));
        });
    }
    static void eventResult(void *self, ZovEventResultStruct *record) {
        ParsedEventResultPtr owned(record);
        guard(self, [&](EnvelopeParser &p) {
            if (p.onEventResult) p.onEventResult(std::move(owned));
        });
    }
    static void noCommand(void *self, ZovNoCommandStruct *record) {
        ParsedNoCommandPtr owned(record);
        guard(self, [&](EnvelopeParser &p) {
            if (p.onNoCommand) p.onNoCommand(std::move(owned));
        });
    }
    static void dialog(void *self, ZovDialogStruct *record) {
        ParsedDialogPtr owned(record);
        guard(self, [&](EnvelopeParser &p) {
            if (p.onDialog) p.onDialog(std::move(owned));
        });
    }

    XmlParserStruct *current_ = nullptr;
    std::vector<ParsedCommandPtr> chains_;  // every chain handed over while parsing
    std::exception_ptr failure_;
    std::string deviceGuid_;
};

}  // namespace zov

#endif  // ZOVCOMMON_ZOVCOMMON_HPP
