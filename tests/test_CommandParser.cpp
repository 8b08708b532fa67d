// Configuration commands through the envelope parser, then parseConfigurationCommand.
#include <gtest/gtest.h>

#include "ConfigCommands.h"

namespace {

const std::string kBadAdapter = "parseConfigurationCommand: bad networkAdapterConfigurationSet";
const std::string kBadSettings = "parseConfigurationCommand: bad deviceSettings";
const std::string kBadTags = "parseConfigurationCommand: bad assetTagSet";
const std::string kEmptyKey = "parsePair: Warning, key empty in parsePair";

std::string recordOf(const char *configuration) { return configuration == kWired ? kWiredRecord : kWirelessRecord; }

// Sends the edited configuration after the unedited one, which must still be read whole.
void check(const LogCapture &log, const char *configuration, const Edits &edits, const std::string &record,
           const std::vector<std::string> &reports) {
    log.clear();
    std::vector<Platform> records = configure(envelopes({configuration, edited(configuration, edits)}));
    EXPECT_EQ(describe(records.at(0).get()), recordOf(configuration));
    EXPECT_EQ(describe(records.at(1).get()), record);
    expectReports(log, reports);
}

}  // namespace

// An empty configuration gives an empty record; one a level deeper, or no command, gives nothing.
TEST(CommandParser, EmptyOrMissingConfiguration) {
    LogCapture log(3);
    std::vector<Platform> records = configure(envelopes({"<deviceConfiguration/>", "<w><deviceConfiguration/></w>"}));
    static const PlatformData zero{};
    ASSERT_NE(records.at(0), nullptr);
    EXPECT_EQ(std::memcmp(records[0].get(), &zero, sizeof zero), 0);
    EXPECT_EQ(records.at(1), nullptr);
    EXPECT_EQ(parseConfigurationCommand(nullptr), nullptr);
    const std::string missing = "parseConfigurationCommand: unable to find deviceConfiguration in command->rootNode";
    expectReports(log, {"parseDeviceSettings: Empty deviceSettings node",
                        "parseNetworkAdapterConfigurationSet: No networkSet passed in",
                        "parseAssetTagSet: Empty assetTagSetNode", missing, missing});
}

// Variations the sections accept: reported (or silent), the rest is read.
TEST(CommandParser, ToleratedVariations) {
    LogCapture log(1);
    const struct { const char *configuration; Edits edits, recordEdits; std::vector<std::string> reports; } cases[] = {
        // The host name types are tried in a fixed order.
        {kWired, {{"<hostName>", "<hostName><macDerived>x</macDerived>"}}, {}, {}},
        {kWired, {{"<static><name>kiosk-12</name></static>", "<dnsReverseLookup/><dhcpAssigned/>"}},
         {{"host 1 'kiosk-12'", "host 3 ''"}}, {}},
        // Tags without key are dropped; one without value has an empty value.
        {kWired, {{"<key>room</key><value>12</value>", "<value>v</value></assetTag><assetTag><key/>"},
          {"<value>3</value>", ""}},
         {{"'room' 'floor' values '12' '3'", "'floor' values ''"}}, {kEmptyKey, kEmptyKey}},
        // Only the first adapter is read; empty texts are texts.
        {kWired,
         {{"</networkAdapterConfigurationSet>", "<networkAdapterConfiguration/></networkAdapterConfigurationSet>"},
          {"00:11:22:33:44:55", ""}, {"10.0.0.5", ""}, {"<gateway>10.0.0.1</gateway>", ""}},
         {{"00:11:22:33:44:55", ""}, {"10.0.0.5", ""}, {"10.0.0.1", ""}}, {}},
        // A flag is read into 10 bytes: a longer one is cut, then unexpected.
        {kWireless, {{">false<", ">truetruetrue<"}}, {},
         {"copyContents: truncating charArray = 'truetruetrue'",
          "parseBool: unexpected value for wolEnabled found, expected 'true or false', got 'truetruet'"}},
        // A missing wolEnabled is reported only; the first addressing node decides; dynamic beats static.
        {kWired, {{"<wolEnabled>true</wolEnabled>", ""}, {"<addressAssignment>", "<addressAssignment><bootp/>"},
          {"</dnsSettings>", "<dynamic/></dnsSettings>"}, {">100<", ">auto<"}, {">full<", ">auto<"}},
         {{"wol 1 address 1 '10.0.0.5' '255.255.255.0' '10.0.0.1' link 100 2", "wol 0 address 3 '' '' '' link 1 3"},
          {"0 'corp.example' 'example' servers '10.0.0.2' '10.0.0.3'", "1 servers"}},
         {"parseBool: wolEnabled not found"}},
        // Suffixes: every sub-node with text from the first dnsSuffix on.
        {kWired, {{"<dnsSuffixSet>", "<dnsSuffixSet><comment>before</comment>"},
          {"</dnsSuffixSet>", "<other>third</other><dnsSuffix><x/></dnsSuffix><dnsSuffix/></dnsSuffixSet>"}},
         {{"'example'", "'example' 'third' ''"}}, {}},
        // Servers: up to the first sub-node of another name or without text (kept empty).
        {kWired, {{"</dnsServerSet>", "<note>x</note><dnsServer>10.0.0.9</dnsServer></dnsServerSet>"},
          {"</winsServerSet>", "<winsServer/><winsServer>10.0.0.9</winsServer></winsServerSet>"}},
         {{"'10.0.0.4'", "'10.0.0.4' ''"}}, {"parseServerSet: Error in winsServer contents"}},
        {kWired, {{"dnsServerSet>", "x>"}, {"<winsServerSet>", "<winsServerSet><dnsServer>1.2.3.4</dnsServer>"}},
         {{" '10.0.0.2' '10.0.0.3'", ""}, {" '10.0.0.4'", ""}},
         {"parseServerSet: null dnsServerSet", "parseServerSet: no winsServer nodes found"}},
        // wired decides when both kinds are present.
        {kWireless, {{"<wireless>", "<wired><speed>10</speed><duplex>half</duplex></wired><wireless>"}},
         {{"link 0 0", "link 10 1"}, {kWirelessProfiles, ""}}, {}},
        // wep beats none; an empty key is a key; without authentication the profile's text holds it.
        {kWireless,
         {{"</wep>", "<key/></wep><none/>"}, {"<wirelessProfile><ssid>home", "<wirelessProfile>shared<ssid>home"},
          {"<authentication>open</authentication>", ""}, {"wpa-psk", "wpa"}},
         {{"'ABCDEF0123' authentication 1", "'ABCDEF0123' '' authentication 2"}, {"4\n", "3\n"}}, {}},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(&c - cases);
        check(log, c.configuration, c.edits, edited(recordOf(c.configuration), c.recordEdits), c.reports);
    }
    // Tags are found by their exact key.
    std::vector<Platform> wired = configure(envelopes({kWired}));
    EXPECT_STREQ(findPairKeyValue(wired.at(0)->assetTags, "floor"), "3");
    EXPECT_EQ(findPairKeyValue(wired[0]->assetTags, "Room"), nullptr);
}

// A bad section fails its whole command only, reported by each enclosing reader that reports.
TEST(CommandParser, RejectedCommands) {
    LogCapture log(1);
    const struct { const char *configuration; Edits edits; std::vector<std::string> reports; } cases[] = {
        {kWired, {{"<name>kiosk-12</name>", ""}}, {"parseDeviceSettings: Bad hostName", kBadSettings}},
        {kWired, {{"<static><name>kiosk-12</name></static>", "<Static/>"}},
         {"parseHostName: hostName type not found", "parseDeviceSettings: Bad hostName", kBadSettings}},
        {kWired, {{"</assetTagSet>", "<note>x</note></assetTagSet>"}},
         {"parseAssetTagSet: unexpected tempNode in parseAssetTagSet, name='note'", kBadTags}},
        {kWired, {{"networkAdapterConfiguration>", "x>"}},
         {"parseNetworkAdapterConfiguration: unexpected null networkConfiguration", kBadAdapter}},
        {kWired, {{"macAddress>", "x>"}}, {"parseNetworkAdapterConfiguration: error getting macAddress", kBadAdapter}},
        {kWired, {{"<addressAssignment>", "<addressAssignment><DHCP/>"}},
         {"parseAddressAssignment: unknown addressAssignment subNode found 'DHCP'", kBadAdapter}},
        {kWireless, {{"dhcp", "unnamed"}},
         {"parseAddressAssignment: subNode without name in addressAssignment", kBadAdapter}},
        {kWireless, {{"<dhcp/>", ""}}, {"parseAddressAssignment: no subNodes in addressAssignment", kBadAdapter}},
        {kWired, {{"ipAddress>", "x>"}}, {"parseStaticAddressAssignment: Error in ipAddress", kBadAdapter}},
        {kWired, {{"subnetMask>", "x>"}}, {"parseStaticAddressAssignment: Error in subnetMask", kBadAdapter}},
        {kWired, {{"dnsSuffixSet>", "x>"}}, {"parseDnsSuffixes: null dnsSuffixSet", kBadAdapter}},
        {kWireless, {{"<winsSettings><dynamic/>", "<winsSettings><x/>"}},
         {"parseWinsSettings: no static or dynamic winsSettings subnode", kBadAdapter}},
        {kWireless, {{"dnsSettings>", "x>"}}, {"parseDnsSettings: null dnsSettings", kBadAdapter}},
        // Texts are compared as they stand.
        {kWired, {{">100<", "> 100 <"}}, {"parseWiredSpeedSetting: bad speed value ' 100 ' found", kBadAdapter}},
        {kWired, {{">100<", "><x/><"}}, {"parseWiredSpeedSetting: no speed value found", kBadAdapter}},
        {kWired, {{"<speed>100</speed>", ""}}, {"parseWiredSpeedSetting: unexpected null speed", kBadAdapter}},
        {kWired, {{">full<", ">quarter<"}}, {kBadAdapter}},
        {kWired, {{">full<", "><x/><"}}, {"parseDuplexSetting: no duplex value found", kBadAdapter}},
        {kWired, {{"wired>", "x>"}}, {kBadAdapter}},
        {kWired, {{"Connection>", "x>"}},
         {"parsePhysicalConnectionSettings: unexpected null physicalConnection", kBadAdapter}},
        {kWireless, {{">open<", ">WPA2<"}}, {"parseAuthentication: bad authentication type 'WPA2'", kBadAdapter}},
        {kWireless, {{"<authentication>open</authentication>", ""}}, {kBadAdapter}},
        {kWireless, {{"<ssid>guest</ssid>", ""}}, {kBadAdapter}},
        {kWireless, {{"<none/>", ""}}, {kBadAdapter}},
        {kWireless, {{"key>", "Key>"}}, {"parseWep: no wep keys found", kBadAdapter}},
        {kWireless, {{"</wep>", "<c><x/></c></wep>"}}, {"parseWep: unexpected null key value", kBadAdapter}},
        // Every sub-node after the first profile is read as a profile.
        {kWireless, {{"</wirelessProfileSet>", "<note>x</note></wirelessProfileSet>"}}, {kBadAdapter}},
        {kWireless, {{"Profile>", "x>"}}, {"parseWirelessProfile: unexpected null wirelessProfile", kBadAdapter}},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(&c - cases);
        check(log, c.configuration, c.edits, "(none)", c.reports);
    }
}
