#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "CommandParser.h"
#include "ConfigTree.h"
#include "LogCapture.h"

namespace {

using Strings = std::vector<std::string>;
using Edit = std::function<void(ZovNode *)>;

const Report kBadAdapter{"parseConfigurationCommand", "bad networkAdapterConfigurationSet"};
const Report kBadSettings{"parseConfigurationCommand", "bad deviceSettings"};

}  // namespace

TEST(CommandParser, EmptyOrMissingConfiguration) {
    LogCapture log(3);
    Platform record = parse(commandFrom("deviceConfiguration"));
    ASSERT_NE(record, nullptr);
    static const PlatformData zero{};
    EXPECT_EQ(std::memcmp(record.get(), &zero, sizeof zero), 0);
    expectReports(log, {{"parseDeviceSettings", "Empty deviceSettings node"},
                        {"parseNetworkAdapterConfigurationSet", "No networkSet passed in"},
                        {"parseAssetTagSet", "Empty assetTagSetNode"}});
    log.clear();
    EXPECT_EQ(parse(commandFrom("wrapper\n  deviceConfiguration")), nullptr);
    EXPECT_EQ(parseConfigurationCommand(nullptr), nullptr);
    Report missing{"parseConfigurationCommand", "unable to find deviceConfiguration in command->rootNode"};
    expectReports(log, {missing, missing});
}

// Faults that some section tolerates: reported (or silent) and the rest is read.
TEST(CommandParser, ToleratedVariations) {
    LogCapture log(1);
    struct Case {
        const char *outline;
        Edit edit;
        std::function<void(const PlatformData *, const NetworkInterfaceStruct *)> check;
        std::initializer_list<Report> reports;
    };
    const Case cases[] = {
        {kWired, [](ZovNode *r) { prependAt(r, "deviceConfiguration/deviceSettings/hostName", "macDerived", "x"); },
         [](auto p, auto) { EXPECT_EQ(p->hostNameType, 1); EXPECT_STREQ(p->hostName, "kiosk-12"); }, {}},
        {"deviceConfiguration\n  deviceSettings\n    hostName\n      dnsReverseLookup\n      dhcpAssigned", {},
         [](auto p, auto) { EXPECT_EQ(p->hostNameType, 3); EXPECT_STREQ(p->locale, ""); }, {}},
        // Tags without key are dropped; one without value has an empty value.
        {"deviceConfiguration\n  assetTagSet\n    assetTag\n      value=v\n    assetTag\n      key=\n"
         "    assetTag\n      key=k", {},
         [](auto p, auto) {
             EXPECT_EQ(listTexts(p->assetTags, &PairStruct::key), Strings{"k"});
             EXPECT_STREQ(p->assetTags->value, "");
         },
         {{"parsePair", "Warning, key empty in parsePair"}, {"parsePair", "Warning, key empty in parsePair"}}},
        // Only the first adapter is read; empty texts are texts.
        {kWired,
         [](ZovNode *r) {
             addNewZovSubNode(at(r, "deviceConfiguration/networkAdapterConfigurationSet"),
                              "networkAdapterConfiguration", nullptr);
             setAt(r, ADAPTER "/macAddress", "");
             setAt(r, SETTINGS "/addressAssignment/static/ipAddress", "");
             removeAt(r, SETTINGS "/addressAssignment/static/gateway");
         },
         [](auto, auto a) {
             EXPECT_EQ(a->next, nullptr);
             EXPECT_STREQ(a->macAddress, "");
             EXPECT_STREQ(a->ipAddress, "");
             EXPECT_STREQ(a->subnetMask, "255.255.255.0");
             EXPECT_STREQ(a->gateway, "");
         }, {}},
        {kWired, [](ZovNode *r) { removeAt(r, SETTINGS "/wolEnabled"); },
         [](auto, auto a) { EXPECT_EQ(a->wolEnabled, 0); },
         {{"parseBool", "wolEnabled not found"}}},
        {kWired, [](ZovNode *r) { setAt(r, SETTINGS "/wolEnabled", "TRUE"); },
         [](auto, auto a) { EXPECT_EQ(a->wolEnabled, 0); },
         {{"parseBool", "unexpected value for wolEnabled found, expected 'true or false', got 'TRUE'"}}},
        // Only the first sub-node of addressAssignment counts.
        {kWired, [](ZovNode *r) { prependAt(r, SETTINGS "/addressAssignment", "bootp", nullptr); },
         [](auto, auto a) { EXPECT_EQ(a->addressAssignment, 3); EXPECT_STREQ(a->ipAddress, ""); },
         {}},
        // dynamic wins over static.
        {kWired, [](ZovNode *r) { addNewZovSubNode(at(r, SETTINGS "/dnsSettings"), "dynamic", nullptr); },
         [](auto, auto a) {
             EXPECT_EQ(a->dnsDynamic, 1);
             EXPECT_EQ(a->dnsServers, nullptr);
             EXPECT_EQ(a->dnsSuffixes, nullptr);
         }, {}},
        // Suffixes: every sub-node with text from the first dnsSuffix on.
        {kWired,
         [](ZovNode *r) {
             ZovNode *set = at(r, SETTINGS "/dnsSettings/static/dnsSuffixSet");
             prependAt(r, SETTINGS "/dnsSettings/static/dnsSuffixSet", "comment", "before");
             addNewZovSubNode(set, "other", "third");
             addNewZovSubNode(set, "dnsSuffix", nullptr);
             addNewZovSubNode(set, "dnsSuffix", "");
         },
         [](auto, auto a) {
             EXPECT_EQ(listTexts(a->dnsSuffixes, &DnsSuffixStruct::suffix),
                       (Strings{"corp.example", "example", "third", ""}));
         }, {}},
        // Servers: up to the first sub-node of another name, or the first
        // without text, which stays as an empty entry.
        {kWired,
         [](ZovNode *r) {
             addNewZovSubNode(at(r, SETTINGS "/dnsSettings/static/dnsServerSet"), "note", "x");
             addNewZovSubNode(at(r, SETTINGS "/dnsSettings/static/dnsServerSet"), "dnsServer", "10.0.0.9");
             ZovNode *wins = at(r, SETTINGS "/winsSettings/static/winsServerSet");
             addNewZovSubNode(wins, "winsServer", "");
             addNewZovSubNode(wins, "winsServer", "10.0.0.9");
         },
         [](auto, auto a) {
             EXPECT_EQ(listTexts(a->dnsServers, &IpValueStruct::value), (Strings{"10.0.0.2", "10.0.0.3"}));
             EXPECT_EQ(listTexts(a->winsServers, &IpValueStruct::value), (Strings{"10.0.0.4", ""}));
         },
         {{"parseServerSet", "Error in winsServer contents"}}},
        {kWired,
         [](ZovNode *r) {
             removeAt(r, SETTINGS "/dnsSettings/static/dnsServerSet");
             prependAt(r, SETTINGS "/winsSettings/static/winsServerSet", "dnsServer", "1.2.3.4");
         },
         [](auto, auto a) {
             EXPECT_EQ(a->dnsServers, nullptr);
             EXPECT_EQ(a->winsServers, nullptr);
         },
         {{"parseServerSet", "null dnsServerSet"}, {"parseServerSet", "no winsServer nodes found"}}},
        {kWired, [](ZovNode *r) { setAt(r, SETTINGS "/physicalConnection/wired/speed", "auto");
                                  setAt(r, SETTINGS "/physicalConnection/wired/duplex", "auto"); },
         [](auto, auto a) { EXPECT_EQ(a->speed, 1); EXPECT_EQ(a->duplex, 3); }, {}},
        // wired decides when both kinds are present.
        {kWireless,
         [](ZovNode *r) {
             addOutline(at(r, SETTINGS "/physicalConnection"), "wired\n  speed=10\n  duplex=half");
         },
         [](auto, auto a) {
             EXPECT_EQ(a->speed, 10);
             EXPECT_EQ(a->duplex, 1);
             EXPECT_EQ(a->wirelessProfiles, nullptr);
         },
         {}},
        // wep wins over none; an empty key is a key; without an
        // authentication element the profile's own text holds the word.
        {kWireless,
         [](ZovNode *r) {
             addNewZovSubNode(at(r, PROFILES "/wirelessProfile/encryption"), "none", nullptr);
             addNewZovSubNode(at(r, PROFILES "/wirelessProfile/encryption/wep"), "key", "");
             removeAt(r, PROFILES "/wirelessProfile/authentication");
             setAt(r, PROFILES "/wirelessProfile", "shared");
             setAt(at(r, PROFILES "/wirelessProfile")->nextNode, "authentication", "wpa");
         },
         [](auto, auto a) {
             const WirelessSettingsStruct *home = a->wirelessProfiles;
             EXPECT_EQ(home->encryption, 2);
             EXPECT_EQ(listTexts(home->wepKeys, &WepKeyStruct::key), (Strings{"0123456789", "ABCDEF0123", ""}));
             EXPECT_EQ(home->authentication, 2);
             EXPECT_EQ(home->next->authentication, 3);
         }, {}},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(&c - cases);
        log.clear();
        Platform record = parseEdited(c.outline, c.edit ? c.edit : [](ZovNode *) {});
        ASSERT_NE(record, nullptr);
        c.check(record.get(), record->networkInterfaces);
        expectReports(log, c.reports);
    }
}

// Every bad section fails the whole command, with the reports of the fault and
// of each enclosing reader that has one.
TEST(CommandParser, RejectedCommands) {
    LogCapture log(1);
    struct Case {
        const char *outline;
        Edit edit;
        std::initializer_list<Report> reports;
    };
    auto setSpeed = [](const char *text) {
        return [text](ZovNode *r) { setAt(r, SETTINGS "/physicalConnection/wired/speed", text); };
    };
    auto firstAddress = [](const char *name) {
        return [name](ZovNode *r) { prependAt(r, SETTINGS "/addressAssignment", name, nullptr); };
    };
    const Case cases[] = {
        {kWired, [](ZovNode *r) { removeAt(r, "deviceConfiguration/deviceSettings/hostName/static/name"); },
         {{"parseDeviceSettings", "Bad hostName"}, kBadSettings}},
        {kWired,
         [](ZovNode *r) {
             removeAt(r, "deviceConfiguration/deviceSettings/hostName/static");
             addNewZovSubNode(at(r, "deviceConfiguration/deviceSettings/hostName"), "Static", nullptr);
         },
         {{"parseHostName", "hostName type not found"}, {"parseDeviceSettings", "Bad hostName"}, kBadSettings}},
        {kWired, [](ZovNode *r) { addNewZovSubNode(at(r, "deviceConfiguration/assetTagSet"), "note", "x"); },
         {{"parseAssetTagSet", "unexpected tempNode in parseAssetTagSet, name='note'"},
          {"parseConfigurationCommand", "bad assetTagSet"}}},
        {kWired, [](ZovNode *r) { prependAt(r, "deviceConfiguration/assetTagSet", nullptr, nullptr); },
         {{"parseAssetTagSet", "unexpected tempNode in parseAssetTagSet, name='(null)'"},
          {"parseConfigurationCommand", "bad assetTagSet"}}},
        {kWired, [](ZovNode *r) { removeAt(r, ADAPTER); },
         {{"parseNetworkAdapterConfiguration", "unexpected null networkConfiguration"}, kBadAdapter}},
        {kWired, [](ZovNode *r) { removeAt(r, ADAPTER "/macAddress"); },
         {{"parseNetworkAdapterConfiguration", "error getting macAddress"}, kBadAdapter}},
        {kWired, firstAddress("DHCP"),
         {{"parseAddressAssignment", "unknown addressAssignment subNode found 'DHCP'"}, kBadAdapter}},
        {kWired, firstAddress(nullptr),
         {{"parseAddressAssignment", "subNode without name in addressAssignment"}, kBadAdapter}},
        {kWired, [](ZovNode *r) { removeAt(r, SETTINGS "/addressAssignment/static"); },
         {{"parseAddressAssignment", "no subNodes in addressAssignment"}, kBadAdapter}},
        {kWired, [](ZovNode *r) { removeAt(r, SETTINGS "/addressAssignment/static/ipAddress"); },
         {{"parseStaticAddressAssignment", "Error in ipAddress"}, kBadAdapter}},
        {kWired, [](ZovNode *r) { removeAt(r, SETTINGS "/addressAssignment/static/subnetMask"); },
         {{"parseStaticAddressAssignment", "Error in subnetMask"}, kBadAdapter}},
        {kWired, [](ZovNode *r) { removeAt(r, SETTINGS "/dnsSettings/static/dnsSuffixSet"); },
         {{"parseDnsSuffixes", "null dnsSuffixSet"}, kBadAdapter}},
        {kWired, [](ZovNode *r) { removeAt(r, SETTINGS "/winsSettings/static"); },
         {{"parseWinsSettings", "no static or dynamic winsSettings subnode"}, kBadAdapter}},
        {kWired, [](ZovNode *r) { removeAt(r, SETTINGS "/dnsSettings"); },
         {{"parseDnsSettings", "null dnsSettings"}, kBadAdapter}},
        {kWired, setSpeed("1G"), {{"parseWiredSpeedSetting", "bad speed value '1G' found"}, kBadAdapter}},
        {kWired, setSpeed(nullptr), {{"parseWiredSpeedSetting", "no speed value found"}, kBadAdapter}},
        {kWired, [](ZovNode *r) { removeAt(r, SETTINGS "/physicalConnection/wired/speed"); },
         {{"parseWiredSpeedSetting", "unexpected null speed"}, kBadAdapter}},
        {kWired, [](ZovNode *r) { setAt(r, SETTINGS "/physicalConnection/wired/duplex", "quarter"); }, {kBadAdapter}},
        {kWired, [](ZovNode *r) { setAt(r, SETTINGS "/physicalConnection/wired/duplex", nullptr); },
         {{"parseDuplexSetting", "no duplex value found"}, kBadAdapter}},
        {kWired, [](ZovNode *r) { removeAt(r, SETTINGS "/physicalConnection/wired"); }, {kBadAdapter}},
        {kWired, [](ZovNode *r) { removeAt(r, SETTINGS "/physicalConnection"); },
         {{"parsePhysicalConnectionSettings", "unexpected null physicalConnection"}, kBadAdapter}},
        {kWireless, [](ZovNode *r) { setAt(r, PROFILES "/wirelessProfile/authentication", "WPA2"); },
         {{"parseAuthentication", "bad authentication type 'WPA2'"}, kBadAdapter}},
        {kWireless, [](ZovNode *r) { removeAt(r, PROFILES "/wirelessProfile/authentication"); }, {kBadAdapter}},
        {kWireless, [](ZovNode *r) { removeAt(at(r, PROFILES "/wirelessProfile")->nextNode, "ssid"); }, {kBadAdapter}},
        {kWireless, [](ZovNode *r) { removeAt(at(r, PROFILES "/wirelessProfile")->nextNode, "encryption/none"); },
         {kBadAdapter}},
        {kWireless,
         [](ZovNode *r) {
             removeAt(r, PROFILES "/wirelessProfile/encryption/wep/key");
             removeAt(r, PROFILES "/wirelessProfile/encryption/wep/key");
             prependAt(r, PROFILES "/wirelessProfile/encryption/wep", "Key", "x");
         },
         {{"parseWep", "no wep keys found"}, kBadAdapter}},
        {kWireless,
         [](ZovNode *r) { addNewZovSubNode(at(r, PROFILES "/wirelessProfile/encryption/wep"), "comment", nullptr); },
         {{"parseWep", "unexpected null key value"}, kBadAdapter}},
        // Every sub-node after the first profile is read as a profile.
        {kWireless, [](ZovNode *r) { addNewZovSubNode(at(r, PROFILES), "note", "x"); }, {kBadAdapter}},
        {kWireless,
         [](ZovNode *r) {
             removeAt(r, PROFILES "/wirelessProfile");
             removeAt(r, PROFILES "/wirelessProfile");
         },
         {{"parseWirelessProfile", "unexpected null wirelessProfile"}, kBadAdapter}},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(&c - cases);
        log.clear();
        EXPECT_EQ(parseEdited(c.outline, c.edit), nullptr);
        expectReports(log, c.reports);
    }
}

// Texts fill at most 1023 characters of their 1024-byte fields; long lists
// from the server are read whole.
TEST(CommandParser, LongTextsAndLists) {
    LogCapture log(1);
    const std::string fits(1023, 'l');
    const std::string tooLong(5000, 'k');
    constexpr int kCount = 20000;
    Platform record = parseEdited(kWireless, [&](ZovNode *r) {
        addOutline(at(r, "deviceConfiguration"), ("deviceSettings\n  locale=" + fits).c_str());
        setAt(r, PROFILES "/wirelessProfile/encryption/wep/key", tooLong.c_str());
        setAt(r, SETTINGS "/wolEnabled", "truetruetrue");
        ZovNode *set = addNewZovSubNode(at(r, "deviceConfiguration"), "assetTagSet", nullptr);
        ZovNode *tag = nullptr;
        for (int i = 0; i < kCount; ++i) {
            ZovNode *next = newZovNode("assetTag", nullptr);
            addNewZovSubNode(next, "key", std::to_string(i).c_str());
            (tag == nullptr ? set->subNode : tag->nextNode) = next;
            tag = next;
        }
    });
    ASSERT_NE(record, nullptr);
    EXPECT_EQ(record->locale, fits);
    EXPECT_EQ(record->networkInterfaces->wirelessProfiles->wepKeys->key, tooLong.substr(0, 1023));
    EXPECT_EQ(record->networkInterfaces->wolEnabled, 0);
    expectReports(log, {{"copyContents", "truncating charArray = 'truetruetrue'"},
                        {"parseBool", "unexpected value for wolEnabled found, expected 'true or false', "
                                      "got 'truetruet'"},
                        {"copyContents", "truncating charArray = '" + tooLong + "'"}});
    Strings keys = listTexts(record->assetTags, &PairStruct::key);
    ASSERT_EQ(keys.size(), static_cast<std::size_t>(kCount));
    EXPECT_EQ(keys.back(), std::to_string(kCount - 1));
}
