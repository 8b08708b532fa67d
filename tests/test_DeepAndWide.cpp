// Inputs of extreme shape, each on a thread whose stack is far smaller than one frame per element,
// entry or level would take, so that a walk that recursed per node crashes here.
#include <gtest/gtest.h>

#include <pthread.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <utility>

#include "Base64.h"
#include "CommandParser.h"
#include "MimeTools.h"
#include "ServerList.h"
#include "XmlFunctions.h"
#include "XmlParserHarness.h"

namespace {

// Parsing needs some room; a list release that recursed would take 16 bytes an entry at least, 160 KB.
constexpr std::size_t kParseStack = 128 << 10, kListStack = 32 << 10, kEntries = 10000, k100MB = 100 << 20;

// Runs body on a thread whose stack is exactly `stack` bytes of our own (a stack the C library
// cached could be larger), above a page that faults.
template <typename Body>
void onSmallStack(std::size_t stack, Body body) {
    const std::size_t guard = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    void *memory = mmap(nullptr, guard + stack, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(memory, MAP_FAILED);
    mprotect(memory, guard, PROT_NONE);
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstack(&attributes, static_cast<char *>(memory) + guard, stack);
    pthread_t thread;
    const auto run = [](void *f) -> void * { return (*static_cast<Body *>(f))(), nullptr; };
    ASSERT_EQ(pthread_create(&thread, &attributes, run, &body), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
    munmap(memory, guard + stack);
}

template <typename Record>
Record *zeroed() { return static_cast<Record *>(std::calloc(1, sizeof(Record))); }

// kEntries zeroed records linked through next.
template <typename Entry>
Entry *longList() {
    Entry *head = nullptr;
    for (std::size_t i = 0; i < kEntries; ++i) {
        Entry *entry = zeroed<Entry>();
        entry->next = std::exchange(head, entry);
    }
    return head;
}

std::string repeated(const std::string &text, std::size_t count) {
    std::string out;
    while (count-- > 0) out += text;
    return out;
}

}  // namespace

// An envelope 100000 levels deep, written out, and one with 250000 sibling elements, dumped; a MIME
// body of 100000 parts, the last a 100 MB line of base64 text, decoded in place and from a chain;
// that line read from a chain and decoded.
TEST(DeepAndWide, EnvelopesPartsAndALongLine) {
    LogCapture log(1);
    onSmallStack(kParseStack, [&] {
        const std::string open = repeated("<n>", 100000), close = repeated("</n>", 100000);
        Delivered deep;
        ASSERT_EQ(deep.parse("<dialog><c>" + open + "tip" + close + "</c></dialog>"), 0);
        deep.dialogs.at(0)->rootNode->spare = std::malloc(8);  // freed with the tree
        CharBuffer *written = createCharBuffer();  // the tree holds the elements below the envelope's child c
        addSubNodeStringsRecursive(written, deep.dialogs.at(0)->rootNode->subNode);
        EXPECT_TRUE(textOf(written) == open + "tip" + close);
        freeAllCharBuffers(written);
        std::string xml = "<noCommands><c>", dumped = "wide[1]: \n'NoCommands', contents=NULL\n";
        for (int i = 0; i < 250000; ++i) {
            xml += "<s>" + std::to_string(i) + "</s>";
            dumped += "  's', '" + std::to_string(i) + "'\n";
        }
        Delivered wide;
        ASSERT_EQ(wide.parse(xml + "</c></noCommands>"), 0);
        log.clear();
        dumpZovNode("wide", 1, 1, wide.noCommands.at(0)->rootNode);
        EXPECT_TRUE(log.text() == dumped + "\n\n");

        const std::string bytes = "twelve bytes", last = "last twelve!";  // a different last group
        const std::string line = repeated(base64Text(bytes), k100MB / 16 - 1) + base64Text(last);
        std::string body = "--B\r\n\r\nenvelope\r\n";
        for (int i = 1; i < 100000; ++i)
            body += "--B\r\nN: " + std::to_string(i) + "\r\n\r\n" + std::to_string(i) + "\r\n";
        body += "--B\r\n\r\n" + line + "\r\n--B--\r\n";
        const auto check = [&](const MimeStruct *part) {  // the parts after the envelope
            for (int i = 1; i < 100000; ++i, part = part->next)
                ASSERT_TRUE(part != nullptr && std::to_string(i) == textOf(part->body) &&
                            std::to_string(i) == str(httpPayloadGetHeader(part->headers, "N"))) << i;
            EXPECT_TRUE(part != nullptr && part->next == nullptr && textOf(part->body) == line);
        };
        Headers headers({{"Content-Type", "multipart/mixed; boundary=\"B\""},
                         {"Content-Length", std::to_string(body.size())}});
        char *text = nullptr;
        MimeStruct *rest = nullptr, *parts = zeroed<MimeStruct>();
        CharBuffer *input = chainOf(body), *chain = chainOf(line), *decoded = createCharBuffer();
        EXPECT_EQ(processMime(headers.head, body.data(), &text, &rest), 0);
        EXPECT_EQ(decodeMimeCharBuffer(headers.head, input, parts), 0);
        check(rest);
        check(parts->next);
        int position = 0;
        char *whole = getCharBufferLine(chain, &position);
        EXPECT_TRUE(whole != nullptr && whole == line && getCharBufferLine(chain, &position) == nullptr);
        EXPECT_EQ(base64DecodeCharBuffer(decoded, chain), static_cast<int>(k100MB / 16 * 12));
        EXPECT_TRUE(textOf(decoded) == repeated(bytes, k100MB / 16 - 1) + last);
        std::free(text);
        std::free(whole);
        freeMimeStruct(rest);
        freeMimeStruct(parts);
        for (CharBuffer *used : {input, chain, decoded}) freeAllCharBuffers(used);
    });
}

// Long lists of every kind copied and released (node trees are the envelopes' above).
TEST(DeepAndWide, LongLists) {
    onSmallStack(kListStack, [] {
        const auto length = [](auto list) { std::size_t n = 0; for (; list; list = list->next) ++n; return n; };
        HttpHeader *headers = longList<HttpHeader>(), *copy = httpPayloadCopyHeaders(headers);
        CharBuffer *chain = longList<CharBuffer>(), *chainCopy = charBufferCopy(chain);
        EXPECT_TRUE(length(copy) == kEntries && length(chainCopy) == kEntries);
        httpPayloadFreeHeaders(&copy), httpPayloadFreeHeaders(&headers);
        freeAllCharBuffers(chainCopy), freeAllCharBuffers(chain);
        freeServerList(longList<ServerList>()), freeMimeStruct(longList<MimeStruct>());
        freeZovCommandStruct(longList<ZovCommandStruct>()), freePairStruct(longList<PairStruct>());
        freeIpValueStruct(longList<IpValueStruct>());
        auto *assignment = zeroed<AddressAssignmentStatic>();
        assignment->ipAddresses = longList<IpValueStruct>(), assignment->subnetMasks = longList<IpValueStruct>();
        assignment->gateways = longList<IpValueStruct>();
        freeAddressAssignmentStatic(assignment);
        // A record with every list long, and one adapter with long lists of its own.
        PlatformData *platform = newPlatformData();
        platform->applications = longList<ApplicationStruct>(), platform->storages = longList<StorageStruct>();
        platform->ports = longList<PortStruct>(), platform->writeableMedia = longList<WriteableMediaStruct>();
        platform->customData = longList<PairStruct>(), platform->assetTags = longList<PairStruct>();
        NetworkInterfaceStruct *adapter = platform->networkInterfaces = longList<NetworkInterfaceStruct>();
        adapter->dnsServers = longList<IpValueStruct>(), adapter->winsServers = longList<IpValueStruct>();
        adapter->dnsSuffixes = longList<DnsSuffixStruct>();
        (adapter->wirelessProfiles = longList<WirelessSettingsStruct>())->wepKeys = longList<WepKeyStruct>();
        EXPECT_EQ(freePlatformData(platform), 0);
        std::free(platform);
    });
}
