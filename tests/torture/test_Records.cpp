// Exhausted memory in the constructors, the chain and list operations and the configuration
// parser: NULL, -1, a shorter copy or a dropped entry, as the headers document.
#include <gtest/gtest.h>

#include "Allocations.h"
#include "ConfigCommands.h"
#include "PlatformData.h"
#include "ServerList.h"

using namespace torture;

namespace {

std::string treeOf(const ZovNode *root) { return root != nullptr ? dumpTree(root) : "no root\n"; }

// A constructor: its object as describe shows it, or one of the failures.
template <typename Make, typename Release, typename Describe>
Operation made(const std::string &name, Make make, Release release, Describe describe,
               std::vector<Outcome> failures = {{"NULL", ""}}) {
    return {name, [=] {
                auto *object = armed(make);
                std::string out = object != nullptr ? describe(object) : "NULL";
                release(object);
                return out;
            }, {oneOf(std::move(failures))}};
}

const auto kAny = [](const void *) { return std::string("made"); };

// A record constructor: NULL (reported unless silent), or no root node.
template <typename Record>
Operation record(const std::string &name, Record *(*make)(), void (*release)(Record *), bool silent = false) {
    return made(name, make, release, [](Record *made) { return treeOf(made->rootNode); },
                {{"NULL", silent ? "" : name + ": Error while memory allocation\n"}, {"no root\n", ""}});
}

// An add to a list of one entry, which fails with NULL (and report, if any) and leaves the entry alone.
template <typename Entry>
Operation add(const std::string &name, Entry *(*append)(PlatformData *), Entry *PlatformData::*list,
              std::string report = "") {
    return {name, [=] {
                Platform platform(newPlatformData());
                append(platform.get());
                const bool added = armed([&] { return append(platform.get()); }) != nullptr;
                int entries = 0;
                for (Entry *entry = platform.get()->*list; entry != nullptr; entry = entry->next) ++entries;
                return std::to_string(added) + " " + std::to_string(entries);
            }, {oneOf({{"0 1", report.empty() ? "" : name + ": " + report + "\n"}})}};
}

}  // namespace

TEST(Torture, Constructors) {
    failEachAllocation({
        made("createCharBuffer", createCharBuffer, freeAllCharBuffers, kAny),
        made("newAllZovStructs", newAllZovStructs, freeAllZovStructs, kAny,
             {{"NULL", "newAllZovStructs: Error while memory allocation\n"}}),
        made("newPlatformData", newPlatformData, PlatformDataFree(), kAny),
        made("initXmlParser", initXmlParser, endXmlParser, kAny),
        made("newZovNode", [] { return newZovNode("name", "text"); }, freeZovNode, treeOf),
        // A sub-node that cannot be made leaves its field NULL.
        made("newZovCommandStructWithNameAndGuid", [] { return newZovCommandStructWithNameAndGuid("reboot", "g-1"); },
             freeZovCommandStruct, [](ZovCommandStruct *command) {
                 ZovNode *root = command->rootNode;
                 const bool inTree = command->commandName == getSubNodeContentByName(root, "commandName") &&
                                     command->commandGuid == getSubNodeContentByName(root, "commandGuid");
                 return str(command->commandName) + " " + str(command->commandGuid) + "\n" + treeOf(root) +
                        (inTree ? "" : "fields outside the tree\n");
             }, {{"NULL", ""}, {"(null) (null)\nno root\n", ""}, {"(null) g-1\nCommand\n  commandGuid=g-1\n", ""},
                 {"reboot (null)\nCommand\n  commandName=reboot\n", ""}}),
        record("newZovCommandStruct", newZovCommandStruct, freeZovCommandStruct, true),
        record("newZovResultStruct", newZovResultStruct, freeZovResultStruct),
        record("newZovEventResultStruct", newZovEventResultStruct, freeZovEventResultStruct),
        record("newZovNoCommandStruct", newZovNoCommandStruct, freeZovNoCommandStruct),
        record("newZovDialogStruct", newZovDialogStruct, freeZovDialogStruct),
        add("addNetworkInterface", addNetworkInterface, &PlatformData::networkInterfaces,
            "Error while memory allocation"),
        add("addApplication", addApplication, &PlatformData::applications,
            "Failed to allocate memory for new application structure"),
        add("addPort", addPort, &PlatformData::ports, "Error while memoy allocation"),
        {"addServerToList", [] {
             ServerList *head = addServerToList(nullptr, "http://a/");
             ServerList *got = armed([&] { return addServerToList(head, "http://b/"); });
             std::string out = got == nullptr ? "NULL" : got == head ? "head" : "other";
             for (ServerList *entry = head; entry != nullptr; entry = entry->next) out += " " + str(entry->url);
             freeServerList(head);
             return out;
         }, {oneOf({{"NULL http://a/", "addServerToList: malloc error\n"}})}},
    });
}

TEST(Torture, ChainsAndCopies) {
    std::string text;  // three links, no NUL byte (a copy stops at one)
    for (int i = 0; i < 2500; ++i) text += static_cast<char>('a' + i % 26);
    CharBuffer *source = chainOf(text);
    Headers three({{"A", "1"}, {"B", "2"}, {"C", "3"}});
    const auto counts = failEachAllocation({
        // A copy holds the first links of the source, then ends.
        made("charBufferCopy", [&] { return charBufferCopy(source); }, freeAllCharBuffers, textOf,
             {{"NULL", ""}, {text.substr(0, 1000), ""}, {text.substr(0, 2000), ""}}),
        made("httpPayloadCopyHeaders", [&] { return httpPayloadCopyHeaders(three.head); },
             [](HttpHeader *copy) { httpPayloadFreeHeaders(&copy); },
             [](HttpHeader *copy) { return std::to_string(pairsOf(copy).size()); },
             {{"NULL", ""}, {"1", ""}, {"2", ""}}),
        {"httpPayloadAddHeader", [] {
             Headers list(HeaderPairs{{"A", "1"}});
             const int rc = armed([&] { return httpPayloadAddHeader(&list.head, "B", "2"); });
             return std::to_string(rc) + " " + std::to_string(pairsOf(list.head).size());
         }, {oneOf({{"-1 1", ""}})}},
        {"addCharBufferToCharBuffer", [&] {
             CharBuffer *dest = chainOf(std::string(990, '-'));
             armed([&] { addCharBufferToCharBuffer(dest, source); });
             std::string out = textOf(dest);
             freeAllCharBuffers(dest);
             return out;
         }, {loses({"addDataToCharBuffer: Error in adding CharBuffer\n"})}},
    });
    freeAllCharBuffers(source);
    EXPECT_EQ(counts.at("charBufferCopy"), 3);
}

// A configuration that cannot be parsed whole yields nothing, after the report of the allocation
// and of the section; only an asset tag is dropped by itself.
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
        if (got.value != "(none)")
            return got.reports == "parsePair: Error while memory allocation\n" && isSubsequence(got.value, clean.value);
        const std::size_t last = got.reports.rfind('\n', got.reports.size() - 2) + 1;
        return got.reports.find(": Error while memory allocation\n") != std::string::npos &&
               got.reports.find("parsePair: ") == std::string::npos &&
               got.reports.compare(last, 27, "parseConfigurationCommand: ") == 0;
    };
    const auto counts = failEachAllocation({{"wired", parse(kWired), {failsOrDropsATag}},
                                                             {"wireless", parse(kWireless), {failsOrDropsATag}}});
    EXPECT_EQ(counts.at("wired"), 9);     // record, adapter, 2 suffixes, 2 DNS servers, 1 WINS server, 2 tags
    EXPECT_EQ(counts.at("wireless"), 6);  // record, adapter, 2 profiles, 2 WEP keys
}
