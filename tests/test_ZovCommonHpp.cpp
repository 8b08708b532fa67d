// The C++ convenience header; what it releases is checked by the leak sanitizer.
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

}  // namespace

// Owners of every kind release what they hold; strings may hold NULs.
TEST(ZovCommonHpp, OwnersChainsAndStrings) {
    std::string bytes(2500, 'x');
    bytes[1200] = '\0';
    zov::CharBufferPtr chain = zov::toCharBuffer(bytes);
    EXPECT_EQ(zov::toString(chain.get()), bytes);
    EXPECT_EQ(zov::toString(nullptr), "");
    EXPECT_EQ(std::string(zov::CStringPtr(charBufferToChar(chain.get())).get()), std::string(1200, 'x'));
    zov::CommandPtr command(newZovCommandStructWithNameAndGuid("n", "g"));
    command->next = newZovCommandStruct();
    zov::PlatformDataPtr data(newPlatformData());
    addDnsServer(addNetworkInterface(data.get()));
    zov::AllStructsPtr all(newAllZovStructs());
    all->resultStruct = newZovResultStruct();
    all->dialogStruct = newZovDialogStruct();
    zov::NetworkInterfacePtr adapter(static_cast<NetworkInterfaceStruct *>(std::calloc(1, sizeof *adapter)));
    addDnsServer(adapter.get());
    zov::WirelessSettingsPtr profile(static_cast<WirelessSettingsStruct *>(std::calloc(1, sizeof *profile)));
    EXPECT_TRUE(zov::XmlParserPtr(initXmlParser()));
}

// onCommand sees each command as it ends, onCommandChain each chain once the document is done.
TEST(ZovCommonHpp, ParserHandsOverRecordsUntilAHandlerThrows) {
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

    // Nothing more is handed over after a handler failed.
    zov::EnvelopeParser thrower;
    int results = 0;
    thrower.onCommand = [](const ZovCommandStruct &) { throw std::runtime_error("handler failed"); };
    thrower.onResult = [&](zov::ParsedResultPtr) { ++results; };
    EXPECT_THROW(thrower.parse(std::string_view(kDocument)), std::runtime_error);
    EXPECT_EQ(results, 0);
}
