// The C++ convenience header: owners release exactly once, the parser wrapper
// hands every record over, and a throwing handler leaks nothing (checked under
// AddressSanitizer's leak detection).
#include <gtest/gtest.h>

#include <cstdlib>
#include <stdexcept>
#include <string>
#include <vector>

#include "ZovCommon.hpp"

namespace {

const char *kDocument =
    "<zovMessage>"
    "<deviceGuid>dev-1</deviceGuid>"
    "<commandSet>"
    "<commandEnvelope><commandGuid>g1</commandGuid><reboot><delay>5</delay></reboot></commandEnvelope>"
    "<commandEnvelope><commandGuid>g2</commandGuid><ping/></commandEnvelope>"
    "</commandSet>"
    "<commandSet><commandEnvelope><commandGuid>g3</commandGuid><sleep/></commandEnvelope></commandSet>"
    "<resultEnvelope><eventGuid>r1</eventGuid><success/></resultEnvelope>"
    "<eventResultSet><assetLevel>2</assetLevel><nextAssetReportSeconds>60</nextAssetReportSeconds>"
    "</eventResultSet>"
    "<noCommands/>"
    "<dialog><dialogGuid>d1</dialogGuid><text>hi</text></dialog>"
    "</zovMessage>";

// A zeroed record as the library allocates them.
template <typename Record>
Record *zeroed() {
    return static_cast<Record *>(std::calloc(1, sizeof(Record)));
}

}  // namespace

TEST(ZovCommonHpp, ChainsAndStrings) {
    std::string bytes(2500, 'x');
    bytes[1200] = '\0';
    zov::CharBufferPtr chain = zov::toCharBuffer(bytes);
    EXPECT_EQ(getTotalBufferLength(chain.get()), 2500);
    EXPECT_EQ(zov::toString(chain.get()), bytes);
    EXPECT_EQ(zov::toString(nullptr), "");

    zov::CStringPtr text(charBufferToChar(chain.get()));
    EXPECT_EQ(std::string(text.get()), std::string(1200, 'x'));

    zov::NodePtr tree(newZovNode("root", nullptr));
    addNewZovSubNode(tree.get(), "child", "c");
    zov::CommandPtr command(newZovCommandStructWithNameAndGuid("n", "g"));
    command->next = newZovCommandStruct();
    zov::PlatformDataPtr data(newPlatformData());
    addNetworkInterface(data.get());
    zov::ServerListPtr servers(addServerToList(nullptr, "http://a/"));
    addServerToList(servers.get(), "http://b/");
    zov::HeaderListPtr headers;
    HttpHeader *head = nullptr;
    httpPayloadAddHeader(&head, "A", "1");
    headers.reset(head);
    zov::AllStructsPtr all(newAllZovStructs());
    all->resultStruct = newZovResultStruct();

    // Detached platform-data records: one adapter or profile, whole lists.
    zov::NetworkInterfacePtr adapter(zeroed<NetworkInterfaceStruct>());
    addDnsServer(adapter.get());
    adapter->wirelessProfiles = zeroed<WirelessSettingsStruct>();
    zov::WirelessSettingsPtr profile(zeroed<WirelessSettingsStruct>());
    zov::IpValuePtr addresses(zeroed<IpValueStruct>());
    addresses->next = zeroed<IpValueStruct>();
    zov::PairPtr pairs(zeroed<PairStruct>());
    zov::AddressAssignmentStaticPtr assignment(zeroed<AddressAssignmentStatic>());
    assignment->gateways = zeroed<IpValueStruct>();
    zov::XmlParserPtr context(initXmlParser());
    EXPECT_TRUE(context);
}

TEST(ZovCommonHpp, ParserHandsOverEveryRecord) {
    zov::EnvelopeParser parser;
    std::vector<std::string> seen;
    std::vector<zov::ParsedCommandPtr> chains;
    parser.onCommand = [&](const ZovCommandStruct &c) { seen.push_back(c.commandName); };
    parser.onCommandChain = [&](zov::ParsedCommandPtr chain) { chains.push_back(std::move(chain)); };
    zov::ParsedResultPtr result;
    parser.onResult = [&](zov::ParsedResultPtr r) { result = std::move(r); };
    zov::ParsedEventResultPtr event;
    parser.onEventResult = [&](zov::ParsedEventResultPtr r) { event = std::move(r); };
    int noCommands = 0;
    parser.onNoCommand = [&](zov::ParsedNoCommandPtr) { ++noCommands; };
    zov::ParsedDialogPtr dialog;
    parser.onDialog = [&](zov::ParsedDialogPtr r) { dialog = std::move(r); };

    ASSERT_TRUE(parser.parse(std::string_view(kDocument)));
    EXPECT_EQ(seen, (std::vector<std::string>{"reboot", "ping", "sleep"}));
    ASSERT_EQ(chains.size(), 2u);
    EXPECT_STREQ(chains[0]->commandGuid, "g1");
    ASSERT_NE(chains[0]->next, nullptr);
    EXPECT_STREQ(chains[0]->next->commandName, "ping");
    EXPECT_STREQ(chains[1]->commandName, "sleep");
    ASSERT_TRUE(result && event && dialog);
    EXPECT_STREQ(result->guid, "r1");
    EXPECT_EQ(result->success, 1);
    EXPECT_STREQ(event->nextAssetReportSeconds, "60");
    EXPECT_STREQ(dialog->dialogGuid, "d1");
    EXPECT_EQ(noCommands, 1);
    EXPECT_EQ(parser.deviceGuid(), "dev-1");

    // Records nobody asked for are released by the wrapper; a chain parse works too.
    zov::EnvelopeParser quiet;
    zov::CharBufferPtr chain = zov::toCharBuffer(kDocument);
    EXPECT_TRUE(quiet.parse(chain.get()));
}

TEST(ZovCommonHpp, AThrowingHandlerLeaksNothing) {
    zov::EnvelopeParser parser;
    int results = 0;
    parser.onCommand = [](const ZovCommandStruct &) { throw std::runtime_error("handler failed"); };
    parser.onResult = [&](zov::ParsedResultPtr) { ++results; };
    EXPECT_THROW(parser.parse(std::string_view(kDocument)), std::runtime_error);
    EXPECT_EQ(results, 0);  // nothing more is handed over after a failure
}

TEST(ZovCommonHpp, CutOffDocumentsHandOverOpenChains) {
    // The chain's second record is still open when the document stops; the
    // result envelope and the lone guid-only command are the parser's to release.
    const char *cut[] = {
        "<zovMessage><commandSet>"
        "<commandEnvelope><commandGuid>g1</commandGuid><reboot/></commandEnvelope>"
        "<commandEnvelope><commandGuid>g2</commandGuid><ping><x>1",
        "<zovMessage><commandSet><commandEnvelope><commandGuid>g1</commandGuid></commandEnvelope>"
        "</commandSet><resultEnvelope><eventGuid>r1</eventGuid>",
    };
    std::vector<std::size_t> lengths;
    for (const char *document : cut) {
        zov::EnvelopeParser parser;
        int results = 0;
        parser.onResult = [&](zov::ParsedResultPtr) { ++results; };
        parser.onCommandChain = [&](zov::ParsedCommandPtr chain) {
            std::size_t n = 0;
            for (ZovCommandStruct *c = chain.get(); c; c = c->next) ++n;
            lengths.push_back(n);
        };
        EXPECT_TRUE(parser.parse(std::string_view(document)));
        EXPECT_EQ(results, 0);
    }
    EXPECT_EQ(lengths, std::vector<std::size_t>{2});
}
