// The C++ convenience header: owners release exactly once, the parser wrapper
// hands every record over, and a throwing handler leaks nothing (checked under
// AddressSanitizer's leak detection).
#include <gtest/gtest.h>

#include <stdexcept>

#include "ZovCommon.hpp"

namespace {

const char *kDocument =
    "<zovMessage><deviceGuid>dev-1</deviceGuid><commandSet>"
    "<commandEnvelope><commandGuid>g1</commandGuid><reboot><delay>5</delay></reboot></commandEnvelope>"
    "<commandEnvelope><commandGuid>g2</commandGuid><ping/></commandEnvelope></commandSet>"
    "<commandSet><commandEnvelope><commandGuid>g3</commandGuid><sleep/></commandEnvelope></commandSet>"
    "<resultEnvelope><eventGuid>r1</eventGuid><success/></resultEnvelope><eventResultSet><assetLevel>2</assetLevel>"
    "<nextAssetReportSeconds>60</nextAssetReportSeconds></eventResultSet><noCommands/>"
    "<dialog><dialogGuid>d1</dialogGuid><text>hi</text></dialog></zovMessage>";

template <typename Record>
Record *zeroed() {
    return static_cast<Record *>(std::calloc(1, sizeof(Record)));
}

}  // namespace

TEST(ZovCommonHpp, OwnersChainsAndStrings) {
    std::string bytes(2500, 'x');
    bytes[1200] = '\0';
    zov::CharBufferPtr chain = zov::toCharBuffer(bytes);
    EXPECT_EQ(zov::toString(chain.get()), bytes);
    EXPECT_EQ(zov::toString(nullptr), "");
    EXPECT_EQ(std::string(zov::CStringPtr(charBufferToChar(chain.get())).get()), std::string(1200, 'x'));

    // A command chain of the constructors (its strings live in its tree), a whole
    // platform-data record, one adapter or profile with what it holds, the bundle
    // of records with and without members.
    zov::CommandPtr command(newZovCommandStructWithNameAndGuid("n", "g"));
    command->next = newZovCommandStruct();
    zov::PlatformDataPtr data(newPlatformData());
    addNetworkInterface(data.get());
    zov::AllStructsPtr all(newAllZovStructs());
    all->resultStruct = newZovResultStruct();
    all->eventResultStruct = newZovEventResultStruct();
    all->noCommandStruct = newZovNoCommandStruct();
    all->dialogStruct = newZovDialogStruct();
    all->commandStruct = newZovCommandStruct();
    zov::AllStructsPtr none(newAllZovStructs());
    zov::NetworkInterfacePtr adapter(zeroed<NetworkInterfaceStruct>());
    addDnsServer(adapter.get());
    adapter->wirelessProfiles = zeroed<WirelessSettingsStruct>();
    zov::WirelessSettingsPtr profile(zeroed<WirelessSettingsStruct>());
    profile->wepKeys = zeroed<WepKeyStruct>();
    EXPECT_TRUE(zov::XmlParserPtr(initXmlParser()));
}

// onCommand sees each command as it ends, onCommandChain each chain once the
// document is done; records nobody asked for are released by the wrapper. (Each
// record kind through the wrapper: the zovtool tests.)
TEST(ZovCommonHpp, ParserHandsOverEveryRecord) {
    zov::EnvelopeParser parser;
    std::vector<std::string> seen;
    std::vector<zov::ParsedCommandPtr> chains;
    parser.onCommand = [&](const ZovCommandStruct &c) { seen.push_back(c.commandName); };
    parser.onCommandChain = [&](zov::ParsedCommandPtr chain) { chains.push_back(std::move(chain)); };
    ASSERT_TRUE(parser.parse(std::string_view(kDocument)));
    EXPECT_EQ(seen, (std::vector<std::string>{"reboot", "ping", "sleep"}));
    ASSERT_EQ(chains.size(), 2u);
    ASSERT_NE(chains[0]->next, nullptr);
    EXPECT_EQ(std::string(chains[0]->commandGuid) + chains[0]->next->commandName + chains[1]->commandName,
              "g1pingsleep");
    EXPECT_EQ(parser.deviceGuid(), "dev-1");
    zov::EnvelopeParser quiet;
    EXPECT_TRUE(quiet.parse(zov::toCharBuffer(kDocument).get()));
}

TEST(ZovCommonHpp, ThrowingHandlersAndCutOffDocuments) {
    // Nothing more is handed over after a handler failed.
    zov::EnvelopeParser thrower;
    int results = 0;
    thrower.onCommand = [](const ZovCommandStruct &) { throw std::runtime_error("handler failed"); };
    thrower.onResult = [&](zov::ParsedResultPtr) { ++results; };
    EXPECT_THROW(thrower.parse(std::string_view(kDocument)), std::runtime_error);
    EXPECT_EQ(results, 0);

    // A chain whose second record is still open when the document stops is
    // handed over; the open result envelope and a lone guid-only command are
    // the parser's to release.
    std::vector<std::size_t> lengths;
    for (const char *document : {"<zovMessage><commandSet><commandEnvelope><commandGuid>g1</commandGuid><reboot/>"
                                 "</commandEnvelope><commandEnvelope><commandGuid>g2</commandGuid><ping><x>1",
                                 "<zovMessage><commandSet><commandEnvelope><commandGuid>g1</commandGuid>"
                                 "</commandEnvelope></commandSet><resultEnvelope><eventGuid>r1</eventGuid>"}) {
        zov::EnvelopeParser parser;
        parser.onResult = [&](zov::ParsedResultPtr) { ++results; };
        parser.onCommandChain = [&](zov::ParsedCommandPtr chain) {
            std::size_t n = 0;
            for (ZovCommandStruct *c = chain.get(); c; c = c->next) ++n;
            lengths.push_back(n);
        };
        EXPECT_TRUE(parser.parse(std::string_view(document)));
    }
    EXPECT_EQ(results, 0);
    EXPECT_EQ(lengths, std::vector<std::size_t>{2});
}
