// Exhausted memory in the constructors, the chain and list operations and the
// configuration parser: each ends as specified (NULL, -1, a shorter copy, a
// dropped entry, the reports) or succeeds, and leaves no block behind.
#include <gtest/gtest.h>

#include <type_traits>

#include "Allocations.h"
#include "ConfigCommands.h"
#include "PlatformData.h"
#include "ServerList.h"

using namespace torture;

namespace {

std::string treeOf(const ZovNode *root) { return root != nullptr ? dumpTree(root) : "no root\n"; }

// A record constructor: NULL (reported as name when report is set) or a
// record without its root node, when that node cannot be made.
template <typename Record>
Operation record(const std::string &name, Record *(*make)(), void (*release)(Record *), bool report = true) {
    return {name,
            [=] {
                Record *made = armed(make);
                std::string out = made != nullptr ? treeOf(made->rootNode) : "NULL";
                release(made);
                return out;
            },
            oneOf({{"NULL", report ? name + ": Error while memory allocation\n" : ""}, {"no root\n", ""}})};
}

// An add operation on a list that holds one entry: a second entry at its
// tail, or NULL with the list unchanged (and the report, if it has one).
template <typename Owner, typename Entry>
Operation add(const std::string &name, Entry *(*append)(Owner *), Entry *Owner::*list, const char *report = nullptr) {
    return {name,
            [=] {
                Platform platform(newPlatformData());
                Owner *owner;
                if constexpr (std::is_same_v<Owner, PlatformData>) owner = platform.get();
                else owner = addNetworkInterface(platform.get());
                append(owner);
                Entry *added = armed([&] { return append(owner); }), *last = nullptr;
                int entries = 0;
                for (Entry *entry = owner->*list; entry != nullptr; entry = entry->next) ++entries, last = entry;
                return std::to_string(entries) + (added != nullptr && added != last ? " not at the tail" : "");
            },
            oneOf({{"1", report ? name + ": " + report + "\n" : ""}})};
}

using Chain = std::unique_ptr<CharBuffer, decltype(&freeAllCharBuffers)>;
Chain chain(std::string_view text) { return Chain(chainOf(text), freeAllCharBuffers); }

int links(const CharBuffer *chain) {
    int count = 0;
    for (; chain != nullptr; chain = chain->next) ++count;
    return count;
}

std::string headersText(const HttpHeader *list) {
    std::string out;
    for (const auto &[name, value] : pairsOf(list)) out += name + "=" + value + ";";
    return out;
}

// 2500 letters: three links, no NUL byte (a copy stops at one).
const std::string kText = [] {
    std::string text;
    for (int i = 0; i < 2500; ++i) text += static_cast<char>('a' + i % 26);
    return text;
}();

}  // namespace

TEST(Torture, Constructors) {
    failEachAllocation("constructors", {
        {"createCharBuffer", [] {
             CharBuffer *link = armed(createCharBuffer);
             std::string out = link ? std::to_string(link->length) : "NULL";
             return freeAllCharBuffers(link), out;
         }, oneOf({{"NULL", ""}})},
        {"newZovNode", [] {
             ZovNode *node = armed([] { return newZovNode("name", "text"); });
             std::string out = node ? treeOf(node) : "NULL";
             return freeZovNode(node), out;
         }, oneOf({{"NULL", ""}})},
        record("newZovCommandStruct", newZovCommandStruct, freeZovCommandStruct, false),
        // A sub-node that cannot be made leaves its field NULL.
        {"newZovCommandStructWithNameAndGuid", [] {
             ZovCommandStruct *command = armed([] { return newZovCommandStructWithNameAndGuid("reboot", "g-1"); });
             if (command == nullptr) return std::string("NULL");
             std::string out =
                 str(command->commandName) + " " + str(command->commandGuid) + "\n" + treeOf(command->rootNode);
             if (command->commandName != getSubNodeContentByName(command->rootNode, "commandName") ||
                 command->commandGuid != getSubNodeContentByName(command->rootNode, "commandGuid"))
                 out += "fields outside the tree\n";
             return freeZovCommandStruct(command), out;
         }, oneOf({{"NULL", ""}, {"(null) (null)\nno root\n", ""}, {"(null) g-1\nCommand\n  commandGuid=g-1\n", ""},
                   {"reboot (null)\nCommand\n  commandName=reboot\n", ""}})},
        record("newZovResultStruct", newZovResultStruct, freeZovResultStruct),
        record("newZovEventResultStruct", newZovEventResultStruct, freeZovEventResultStruct),
        record("newZovNoCommandStruct", newZovNoCommandStruct, freeZovNoCommandStruct),
        record("newZovDialogStruct", newZovDialogStruct, freeZovDialogStruct),
        {"newAllZovStructs", [] {
             AllZovStructs *all = armed(newAllZovStructs);
             std::string out = all ? "bundle" : "NULL";
             if (all) freeAllZovStructs(all);
             return out;
         }, oneOf({{"NULL", "newAllZovStructs: Error while memory allocation\n"}})},
        {"newPlatformData", [] { return Platform(armed(newPlatformData)) ? "record" : "NULL"; }, oneOf({{"NULL", ""}})},
        add("addNetworkInterface", addNetworkInterface, &PlatformData::networkInterfaces,
            "Error while memory allocation"),
        add("addApplication", addApplication, &PlatformData::applications,
            "Failed to allocate memory for new application structure"),
        add("addStorage", addStorage, &PlatformData::storages),
        add("addPort", addPort, &PlatformData::ports, "Error while memoy allocation"),
        add("addCustomData", addCustomData, &PlatformData::customData),
        add("addWriteableMedia", addWriteableMedia, &PlatformData::writeableMedia),
        add("addAssetTag", addAssetTag, &PlatformData::assetTags),
        add("addDnsServer", addDnsServer, &NetworkInterfaceStruct::dnsServers),
        add("addWinsServer", addWinsServer, &NetworkInterfaceStruct::winsServers),
        add("addDnsSuffix", addDnsSuffix, &NetworkInterfaceStruct::dnsSuffixes),
        {"addServerToList", [] {
             ServerList *head = addServerToList(nullptr, "http://a/");
             ServerList *got = armed([&] { return addServerToList(head, "http://b/"); });
             std::string out = got == nullptr ? "NULL" : got == head ? "head" : "other";
             for (ServerList *entry = head; entry != nullptr; entry = entry->next) out += std::string(" ") + entry->url;
             return freeServerList(head), out;
         }, oneOf({{"NULL http://a/", "addServerToList: malloc error\n"}})},
        {"httpPayloadAddHeader", [] {
             Headers list(HeaderPairs{{"A", "1"}});
             int rc = armed([&] { return httpPayloadAddHeader(&list.head, "B", "2"); });
             return std::to_string(rc) + " " + headersText(list.head);
         }, oneOf({{"-1 A=1;", ""}})},
        {"initXmlParser", [] {
             XmlParserStruct *parser = armed(initXmlParser);
             endXmlParser(parser);
             return std::string(parser ? "parser" : "NULL");
         }, oneOf({{"NULL", ""}})},
    });
}

TEST(Torture, ChainsAndCopies) {
    std::vector<Outcome> shorterCopies;  // the first links of the source, then the copy ends
    for (std::size_t copied = 0; copied < 3; ++copied)
        shorterCopies.push_back({std::to_string(copied) + " " + kText.substr(0, 1000 * copied), ""});
    Headers three({{"A", "1"}, {"B", "2"}, {"C", "3"}});
    const auto counts = failEachAllocation("chains", {
        {"charBufferCopy", [] {
             Chain source = chain(kText);
             Chain copy(armed([&] { return charBufferCopy(source.get()); }), freeAllCharBuffers);
             return std::to_string(links(copy.get())) + " " + (copy ? textOf(copy.get()) : "");
         }, oneOf(shorterCopies)},
        {"charBufferToChar", [] {
             Chain source = chain(kText);
             char *text = armed([&] { return charBufferToChar(source.get()); });
             std::string out = text ? std::to_string(std::strlen(text)) : "NULL";
             return std::free(text), out;
         }, oneOf({{"NULL", ""}})},
        {"addCharBufferToCharBuffer", [] {
             Chain dest = chain(std::string(990, '-')), source = chain(kText);
             armed([&] { addCharBufferToCharBuffer(dest.get(), source.get()); });
             return textOf(dest.get());
         }, loses({"addDataToCharBuffer: Error in adding CharBuffer\n"})},
        {"getCharBufferLine", [] {
             Chain source = chain(std::string(300, 'x') + "\r\nrest");
             int position = 0;
             char *line = armed([&] { return getCharBufferLine(source.get(), &position); });
             std::string out = (line ? line : "NULL") + std::string(" ") + std::to_string(position);
             return std::free(line), out;
         }, oneOf({{"NULL 0", ""}})},
        {"httpPayloadCopyHeaders", [&] {
             HttpHeader *copy = armed([&] { return httpPayloadCopyHeaders(three.head); });
             std::string out = headersText(copy);
             return httpPayloadFreeHeaders(&copy), out;
         }, oneOf({{"", ""}, {"A=1;", ""}, {"A=1;B=2;", ""}})},
    });
    EXPECT_EQ(counts.at("charBufferCopy"), 3);
}

// A configuration that cannot be parsed whole yields nothing, after the report
// of the allocation and of the section; only an asset tag is dropped by itself.
TEST(Torture, ConfigurationCommand) {
    const auto parse = [](const char *configuration) {
        auto delivered = std::make_shared<Delivered>();
        EXPECT_EQ(delivered->parse(envelopes({configuration})), 0);
        return [delivered] {
            Platform record(armed([&] { return parseConfigurationCommand(delivered->commands.at(0).record); }));
            return describe(record.get());
        };
    };
    const Accept failsOrDropsATag = [](const Outcome &got, const Outcome &clean) {
        if (got.value == "(none)") {
            const std::size_t last = got.reports.rfind('\n', got.reports.size() - 2) + 1;
            return got.reports.find(": Error while memory allocation\n") != std::string::npos &&
                   got.reports.compare(last, 27, "parseConfigurationCommand: ") == 0;
        }
        return got.reports == "parsePair: Error while memory allocation\n" && isSubsequence(got.value, clean.value);
    };
    const auto counts = failEachAllocation("configuration", {{"wired", parse(kWired), failsOrDropsATag},
                                                             {"wireless", parse(kWireless), failsOrDropsATag}});
    // record, adapter, 2 suffixes, 2 DNS servers, 1 WINS server, 2 tags
    EXPECT_EQ(counts.at("wired"), 9);
    // record, adapter, 2 profiles, 2 WEP keys
    EXPECT_EQ(counts.at("wireless"), 6);
}
