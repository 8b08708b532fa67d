// Inputs of extreme shape: an envelope 100000 levels deep, one with 250000
// sibling elements, a MIME body of 100000 parts, 100 MB lines, and long lists
// of every kind released. Each case runs on a thread with a small stack,
// much less than one frame per element, entry or level would take, so a walk
// that recursed per node would crash here. Each takes under 2 s with the
// sanitizers; the benchmarks time such inputs at two sizes 8x apart, a million
// siblings included (bench_XmlParser, bench_MimeTools, bench_CharBuffer,
// bench_Base64).
#include <gtest/gtest.h>

#include <pthread.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>
#include <functional>
#include <string>

#include "Base64.h"
#include "CommandParser.h"
#include "MimeTools.h"
#include "ServerList.h"
#include "XmlFunctions.h"
#include "XmlParserHarness.h"

namespace {

// Stacks: parsing needs some room, releasing lists next to none. A release
// that recursed would take 8 bytes per entry at the very least (the entry
// kept across the call), even with calls inlined into each other: 80 KB.
constexpr std::size_t kParseStack = 128 << 10, kListStack = 32 << 10;
constexpr std::size_t kEntries = 10000;

struct Case {
    const char *name;
    std::size_t stack;
    std::function<void()> body;
};

// Runs the case on a thread whose stack is exactly named.stack bytes of our
// own (a stack the C library cached could be larger), above a page that
// faults when the stack runs past its end.
void onSmallStack(const Case &named) {
    const std::size_t guard = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    void *memory = mmap(nullptr, guard + named.stack, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(memory, MAP_FAILED);
    mprotect(memory, guard, PROT_NONE);
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstack(&attributes, static_cast<char *>(memory) + guard, named.stack);
    pthread_t thread;
    auto run = [](void *argument) -> void * {
        const Case &named = *static_cast<const Case *>(argument);
        SCOPED_TRACE(named.name);
        named.body();
        return nullptr;
    };
    ASSERT_EQ(pthread_create(&thread, &attributes, run, const_cast<Case *>(&named)), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
    munmap(memory, guard + named.stack);
}

// count zeroed entries of calloc, linked through next.
template <typename Entry>
Entry *longList(std::size_t count = kEntries) {
    Entry *head = nullptr;
    for (std::size_t i = 0; i < count; ++i) {
        auto *entry = static_cast<Entry *>(std::calloc(1, sizeof(Entry)));
        entry->next = head;
        head = entry;
    }
    return head;
}

template <typename Entry>
std::size_t lengthOf(const Entry *list) {
    std::size_t length = 0;
    for (; list != nullptr; list = list->next) ++length;
    return length;
}

// text repeated count times.
std::string repeated(const std::string &text, std::size_t count) {
    std::string out;
    out.reserve(text.size() * count);
    for (std::size_t i = 0; i < count; ++i) out += text;
    return out;
}

constexpr std::size_t k100MB = 100 << 20;

// A multipart body with boundary B, decoded in place with processMime and
// from a chain with decodeMimeCharBuffer; check sees the parts after the
// first (the envelope) of each.
void decodeBoth(const std::string &body, const std::function<void(const MimeStruct *)> &check) {
    Headers headers({{"Content-Type", "multipart/mixed; boundary=\"B\""}, {"Content-Length", std::to_string(body.size())}});
    char *text = nullptr;
    MimeStruct *rest = nullptr;
    ASSERT_EQ(processMime(headers.head, body.data(), &text, &rest), 0);
    std::free(text);
    check(rest);
    freeMimeStruct(rest);
    CharBuffer *input = chainOf(body);
    auto *parts = static_cast<MimeStruct *>(std::calloc(1, sizeof(MimeStruct)));
    EXPECT_EQ(decodeMimeCharBuffer(headers.head, input, parts), 0);
    freeAllCharBuffers(input);
    check(parts->next);
    freeMimeStruct(parts);
}

const Case kCases[] = {
    {"an envelope 100000 levels deep", kParseStack,
     [] {
         const std::string open = repeated("<n>", 100000), close = repeated("</n>", 100000);
         Delivered delivered;
         ASSERT_EQ(delivered.parse("<dialog><c>" + open + "tip" + close + "</c></dialog>"), 0);
         // The tree holds the elements below the envelope's child c.
         const ZovNode *tip = delivered.dialogs.at(0)->rootNode->subNode;
         std::size_t levels = 1;
         for (; tip->subNode != nullptr; tip = tip->subNode) ++levels;
         EXPECT_EQ(levels, 100000u);
         EXPECT_EQ(str(tip->contents), "tip");
         CharBuffer *written = createCharBuffer();
         addSubNodeStringsRecursive(written, delivered.dialogs[0]->rootNode->subNode);
         EXPECT_TRUE(textOf(written) == open + "tip" + close);
         freeAllCharBuffers(written);
     }},
    {"an envelope with 250000 sibling elements", kParseStack,
     [] {
         std::string xml = "<noCommands><c>";
         for (int i = 0; i < 250000; ++i) xml += "<s>" + std::to_string(i) + "</s>";
         Delivered delivered;
         ASSERT_EQ(delivered.parse(xml + "</c></noCommands>"), 0);
         const ZovNode *list = delivered.noCommands.at(0)->rootNode->subNode;
         int i = 0;
         for (; list != nullptr && std::to_string(i) == str(list->contents); list = list->nextNode) ++i;
         EXPECT_EQ(i, 250000);
         std::string dumped = "wide[1]: \n'NoCommands', contents=NULL\n";
         for (i = 0; i < 250000; ++i) dumped += "  's', '" + std::to_string(i) + "'\n";
         LogCapture log(1);
         dumpZovNode("wide", 1, 1, delivered.noCommands[0]->rootNode);
         EXPECT_TRUE(log.text() == dumped + "\n\n");
     }},
    {"a MIME body of 100000 parts", kParseStack,
     [] {
         std::string body = "--B\r\n\r\nenvelope\r\n";
         for (int i = 1; i < 100000; ++i) body += "--B\r\nN: " + std::to_string(i) + "\r\n\r\n" + std::to_string(i) + "\r\n";
         decodeBoth(body + "--B--\r\n", [](const MimeStruct *part) {
             int i = 1;
             for (; part != nullptr && std::to_string(i) == str(httpPayloadGetHeader(part->headers, "N")) &&
                    std::to_string(i) == textOf(part->body);
                  part = part->next)
                 ++i;
             EXPECT_EQ(i, 100000);
         });
     }},
    {"a MIME part of one 100 MB line", kParseStack,
     [] {
         const std::string line = repeated("0123456789abcdef", k100MB / 16 - 1) + "end of line.....";
         decodeBoth("--B\r\n\r\nenvelope\r\n--B\r\n\r\n" + line + "\r\n--B--\r\n", [&](const MimeStruct *part) {
             ASSERT_NE(part, nullptr);
             EXPECT_EQ(part->next, nullptr);
             EXPECT_TRUE(textOf(part->body) == line);
         });
     }},
    {"a 100 MB line read as a line", kParseStack,
     [] {
         const std::string text = repeated("0123456789abcdef", k100MB / 16);
         CharBuffer *chain = chainOf(text + "\r\nnext");
         int position = 0;
         char *line = getCharBufferLine(chain, &position);
         EXPECT_TRUE(line != nullptr && line == text + "\n");
         std::free(line);
         line = getCharBufferLine(chain, &position);
         EXPECT_EQ(str(line), "next");
         std::free(line);
         freeAllCharBuffers(chain);
     }},
    {"a 100 MB line of base64", kParseStack,
     [] {
         // "abc" in base64 is "YWJj"; the last group is "xyz".
         CharBuffer *chain = chainOf(repeated("YWJj", k100MB / 4 - 1) + "eHl6"), *decoded = createCharBuffer();
         EXPECT_EQ(base64DecodeCharBuffer(decoded, chain), static_cast<int>(k100MB / 4 * 3));
         EXPECT_TRUE(textOf(decoded) == repeated("abc", k100MB / 4 - 1) + "xyz");
         freeAllCharBuffers(decoded);
         freeAllCharBuffers(chain);
     }},
    {"long lists of every kind, copied and released", kListStack,
     [] {
         HttpHeader *headers = longList<HttpHeader>(), *copy = httpPayloadCopyHeaders(headers);
         EXPECT_EQ(lengthOf(copy), kEntries);
         httpPayloadFreeHeaders(&copy);
         httpPayloadFreeHeaders(&headers);
         CharBuffer *chain = longList<CharBuffer>(), *chainCopy = charBufferCopy(chain);
         EXPECT_EQ(lengthOf(chainCopy), kEntries);
         freeAllCharBuffers(chainCopy);
         freeAllCharBuffers(chain);
         freeServerList(longList<ServerList>());
         freeMimeStruct(longList<MimeStruct>());
         freeZovCommandStruct(longList<ZovCommandStruct>());
         freePairStruct(longList<PairStruct>());
         freeIpValueStruct(longList<IpValueStruct>());
         auto *assignment = static_cast<AddressAssignmentStatic *>(std::calloc(1, sizeof(AddressAssignmentStatic)));
         assignment->ipAddresses = longList<IpValueStruct>();
         assignment->subnetMasks = longList<IpValueStruct>();
         assignment->gateways = longList<IpValueStruct>();
         freeAddressAssignmentStatic(assignment);
         // A record with every list long, and one adapter with long lists of its own.
         PlatformData *platform = newPlatformData();
         platform->networkInterfaces = longList<NetworkInterfaceStruct>();
         platform->applications = longList<ApplicationStruct>();
         platform->storages = longList<StorageStruct>();
         platform->ports = longList<PortStruct>();
         platform->customData = longList<PairStruct>();
         platform->assetTags = longList<PairStruct>();
         platform->writeableMedia = longList<WriteableMediaStruct>();
         NetworkInterfaceStruct *adapter = platform->networkInterfaces;
         adapter->dnsServers = longList<IpValueStruct>();
         adapter->winsServers = longList<IpValueStruct>();
         adapter->dnsSuffixes = longList<DnsSuffixStruct>();
         adapter->wirelessProfiles = longList<WirelessSettingsStruct>();
         adapter->wirelessProfiles->wepKeys = longList<WepKeyStruct>();
         EXPECT_EQ(freePlatformData(platform), 0);
         std::free(platform);
     }},
    {"node trees long and deep", kListStack,
     [] {
         // A list of nodes each with a sub-node, then a path of sub-nodes.
         ZovNode *root = newZovNode("root", nullptr), *last = root;
         root->spare = std::malloc(8);
         for (std::size_t i = 0; i < kEntries; ++i) addNewZovSubNode(last = last->nextNode = newZovNode("s", nullptr), "sub", "t");
         for (std::size_t i = 0; i < kEntries; ++i) last = addNewZovSubNode(last, "d", "t");
         freeZovNode(root);
     }},
};

}  // namespace

TEST(DeepAndWide, CasesRunOnASmallStack) {
    LogCapture log(1);
    for (const Case &named : kCases) onSmallStack(named);
}
