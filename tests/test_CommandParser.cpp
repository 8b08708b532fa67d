#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "CommandParser.h"
#include "ConfigTree.h"
#include "LogCapture.h"

namespace {

using Strings = std::vector<std::string>;
using Report = std::pair<const char *, std::string>;  // function name, message

// The log holds exactly these reports, in this order.
void expectReports(const LogCapture &log, std::initializer_list<Report> reports) {
    constexpr std::size_t kSourceAndLine = 26;  // "[CommandParser  ][123    ]"
    std::string text = log.text();
    std::size_t at = 0;
    for (const Report &report : reports) {
        std::string line = reportLine(report.first, report.second);
        std::size_t found = text.find(line, at);
        EXPECT_EQ(found, at + kSourceAndLine) << "missing or out of order: " << line << "in:\n" << text;
        if (found == std::string::npos) return;
        at = found + line.size();
    }
    EXPECT_EQ(at, text.size()) << "unexpected reports:\n" << text.substr(at);
}

class CommandParser : public ::testing::Test {
protected:
    LogCapture log{1};

    // The wired command with one change applied to its tree.
    template <typename Edit>
    Command editedWired(Edit edit) {
        Command command = commandWith({wiredConfiguration()});
        edit(command->rootNode);
        return command;
    }
    template <typename Edit>
    Command editedWireless(Edit edit) {
        Command command = commandWith({wirelessConfiguration()});
        edit(command->rootNode);
        return command;
    }

    // The command yields nothing, after exactly these reports in this order.
    void expectRejected(const Command &command, std::initializer_list<Report> reports) {
        log.clear();
        EXPECT_EQ(parse(command), nullptr);
        expectReports(log, reports);
    }
};

ZovNode *adapterNode(ZovNode *root) {
    return nodeAt(root, {"deviceConfiguration", "networkAdapterConfigurationSet",
                         "networkAdapterConfiguration"});
}
ZovNode *settingsNode(ZovNode *root) { return getSubNodeByName(adapterNode(root), "networkAdapterSettings"); }
ZovNode *dnsStaticNode(ZovNode *root) { return nodeAt(settingsNode(root), {"dnsSettings", "static"}); }
ZovNode *wiredNode(ZovNode *root) { return nodeAt(settingsNode(root), {"physicalConnection", "wired"}); }
ZovNode *profileSetNode(ZovNode *root) {
    return nodeAt(settingsNode(root), {"physicalConnection", "wireless", "wirelessProfileSet"});
}
ZovNode *hostNameNode(ZovNode *root) {
    return nodeAt(root, {"deviceConfiguration", "deviceSettings", "hostName"});
}

const Report kBadAdapter{"parseConfigurationCommand", "bad networkAdapterConfigurationSet"};
const Report kBadSettings{"parseConfigurationCommand", "bad deviceSettings"};

}  // namespace

TEST_F(CommandParser, FullWiredConfiguration) {
    Command command = commandWith({wiredConfiguration()});
    Platform record = parse(command);
    ASSERT_NE(record, nullptr);
    EXPECT_EQ(log.text(), "");  // no fault of level 1

    EXPECT_EQ(record->hostNameType, HOST_NAME_STATIC);
    EXPECT_STREQ(record->hostName, "kiosk-12");
    EXPECT_STREQ(record->locale, "de_DE");
    NetworkInterfaceStruct *adapter = record->networkInterfaces;
    ASSERT_NE(adapter, nullptr);
    EXPECT_EQ(adapter->next, nullptr);
    EXPECT_STREQ(adapter->macAddress, "00:11:22:33:44:55");
    EXPECT_EQ(adapter->wolEnabled, 1);
    EXPECT_EQ(adapter->addressAssignment, ADDRESS_ASSIGNMENT_STATIC);
    EXPECT_STREQ(adapter->ipAddress, "10.0.0.5");
    EXPECT_STREQ(adapter->subnetMask, "255.255.255.0");
    EXPECT_STREQ(adapter->gateway, "10.0.0.1");
    EXPECT_EQ(adapter->dnsDynamic, 0);
    EXPECT_EQ(adapter->winsDynamic, 0);
    EXPECT_EQ(listTexts(adapter->dnsSuffixes, &DnsSuffixStruct::suffix), (Strings{"corp.example", "example"}));
    EXPECT_EQ(listTexts(adapter->dnsServers, &IpValueStruct::value), (Strings{"10.0.0.2", "10.0.0.3"}));
    EXPECT_EQ(listTexts(adapter->winsServers, &IpValueStruct::value), (Strings{"10.0.0.4"}));
    EXPECT_EQ(adapter->speed, SPEED_100);
    EXPECT_EQ(adapter->duplex, DUPLEX_FULL);
    EXPECT_EQ(adapter->wirelessProfiles, nullptr);

    EXPECT_EQ(listTexts(record->assetTags, &PairStruct::key), (Strings{"room", "floor"}));
    EXPECT_STREQ(findPairKeyValue(record->assetTags, "floor"), "3");
    EXPECT_STREQ(findPairKeyValue(record->assetTags, "room"), "12");
    EXPECT_EQ(findPairKeyValue(record->assetTags, "desk"), nullptr);
    EXPECT_EQ(findPairKeyValue(record->assetTags, "Room"), nullptr);
    EXPECT_EQ(findPairKeyValue(nullptr, "room"), nullptr);
    EXPECT_EQ(findPairKeyValue(record->assetTags, nullptr), nullptr);
}

TEST_F(CommandParser, WirelessConfigurationWithTwoProfiles) {
    Command command = commandWith({wirelessConfiguration()});
    Platform record = parse(command);
    ASSERT_NE(record, nullptr);
    EXPECT_EQ(log.text(), "");
    NetworkInterfaceStruct *adapter = record->networkInterfaces;
    EXPECT_EQ(adapter->addressAssignment, ADDRESS_ASSIGNMENT_DHCP);
    EXPECT_STREQ(adapter->ipAddress, "");
    EXPECT_EQ(adapter->dnsDynamic, 1);
    EXPECT_EQ(adapter->winsDynamic, 1);
    EXPECT_EQ(adapter->wolEnabled, 0);
    EXPECT_EQ(adapter->speed, 0);
    EXPECT_EQ(adapter->duplex, 0);
    EXPECT_EQ(adapter->dnsServers, nullptr);

    WirelessSettingsStruct *home = adapter->wirelessProfiles;
    ASSERT_NE(home, nullptr);
    EXPECT_STREQ(home->ssid, "home");
    EXPECT_EQ(home->encryption, WIRELESS_ENCRYPTION_WEP);
    EXPECT_EQ(listTexts(home->wepKeys, &WepKeyStruct::key), (Strings{"0123456789", "ABCDEF0123"}));
    EXPECT_EQ(home->authentication, WIRELESS_AUTHENTICATION_OPEN);
    WirelessSettingsStruct *guest = home->next;
    ASSERT_NE(guest, nullptr);
    EXPECT_STREQ(guest->ssid, "guest");
    EXPECT_EQ(guest->encryption, WIRELESS_ENCRYPTION_NONE);
    EXPECT_EQ(guest->wepKeys, nullptr);
    EXPECT_EQ(guest->authentication, WIRELESS_AUTHENTICATION_WPA_PSK);
    EXPECT_EQ(guest->next, nullptr);
}

TEST_F(CommandParser, EmptyConfigurationAndMissingConfiguration) {
    zovLoggerSetLogLevel(3);
    Command command = commandWith({Element("deviceConfiguration")});
    Platform record = parse(command);
    ASSERT_NE(record, nullptr);
    static const PlatformData zero{};
    EXPECT_EQ(std::memcmp(record.get(), &zero, sizeof zero), 0);
    expectReports(log, {{"parseDeviceSettings", "Empty deviceSettings node"},
                        {"parseNetworkAdapterConfigurationSet", "No networkSet passed in"},
                        {"parseAssetTagSet", "Empty assetTagSetNode"}});
    zovLoggerSetLogLevel(1);

    Report missing{"parseConfigurationCommand", "unable to find deviceConfiguration in command->rootNode"};
    expectRejected(commandWith({Element("wrapper", {Element("deviceConfiguration")})}), {missing});
    log.clear();
    EXPECT_EQ(parseConfigurationCommand(nullptr), nullptr);
    EXPECT_TRUE(log.contains(reportLine(missing.first, missing.second)));
}

TEST_F(CommandParser, HostNameTypes) {
    struct Case {
        std::vector<Element> types;
        int32_t type;
        const char *name;
    };
    for (const Case &c : {Case{{Element("macDerived"), Element("static", {Element("name", "n1")})}, 1, "n1"},
                          Case{{Element("macDerived", "ignored")}, 2, ""},
                          Case{{Element("dnsReverseLookup"), Element("dhcpAssigned")}, 3, ""},
                          Case{{Element("dnsReverseLookup")}, 4, ""}}) {
        Command command = commandWith(
            {Element("deviceConfiguration", {Element("deviceSettings", {Element("hostName", c.types)})})});
        Platform record = parse(command);
        ASSERT_NE(record, nullptr);
        EXPECT_EQ(record->hostNameType, c.type);
        EXPECT_STREQ(record->hostName, c.name);
        EXPECT_STREQ(record->locale, "");
    }
    EXPECT_EQ(log.text(), "");

    expectRejected(editedWired([](ZovNode *root) {
                       removeSubNode(getSubNodeByName(hostNameNode(root), "static"), "name");
                   }),
                   {{"parseDeviceSettings", "Bad hostName"}, kBadSettings});
    expectRejected(editedWired([](ZovNode *root) {
                       ZovNode *hostName = hostNameNode(root);
                       removeSubNode(hostName, "static");
                       addNewZovSubNode(hostName, "Static", nullptr);
                   }),
                   {{"parseHostName", "hostName type not found"},
                    {"parseDeviceSettings", "Bad hostName"},
                    kBadSettings});
}

TEST_F(CommandParser, AssetTags) {
    Command command = commandWith({Element(
        "deviceConfiguration",
        {Element("assetTagSet", {Element("assetTag", {Element("key", "a"), Element("value", "1")}),
                                 Element("assetTag", {Element("value", "lost")}),
                                 Element("assetTag", {Element("key", ""), Element("value", "lost")}),
                                 Element("assetTag", {Element("key", "b")})})})});
    Platform record = parse(command);
    ASSERT_NE(record, nullptr);
    EXPECT_EQ(listTexts(record->assetTags, &PairStruct::key), (Strings{"a", "b"}));
    EXPECT_EQ(listTexts(record->assetTags, &PairStruct::value), (Strings{"1", ""}));
    expectReports(log, {{"parsePair", "Warning, key empty in parsePair"},
                        {"parsePair", "Warning, key empty in parsePair"}});

    // Any other sub-node fails the whole command, even after valid tags.
    for (const char *odd : {"note", static_cast<const char *>(nullptr)}) {
        expectRejected(editedWired([odd](ZovNode *root) {
                           addNewZovSubNode(nodeAt(root, {"deviceConfiguration", "assetTagSet"}), odd, "x");
                       }),
                       {{"parseAssetTagSet", std::string("unexpected tempNode in parseAssetTagSet, name='") +
                                                 (odd ? odd : "(null)") + "'"},
                        {"parseConfigurationCommand", "bad assetTagSet"}});
    }
}

TEST_F(CommandParser, AdapterSet) {
    // No set: no adapters. Only the first adapter of a set is read.
    {
        Platform record = parse(editedWired([](ZovNode *root) {
            removeSubNode(getSubNodeByName(root, "deviceConfiguration"), "networkAdapterConfigurationSet");
        }));
        ASSERT_NE(record, nullptr);
        EXPECT_EQ(record->networkInterfaces, nullptr);
        Command two = editedWired([](ZovNode *root) {
            ZovNode *set = nodeAt(root, {"deviceConfiguration", "networkAdapterConfigurationSet"});
            addElement(set, Element("networkAdapterConfiguration", {Element("macAddress", "second")}));
        });
        record = parse(two);
        ASSERT_NE(record, nullptr);
        EXPECT_STREQ(record->networkInterfaces->macAddress, "00:11:22:33:44:55");
        EXPECT_EQ(record->networkInterfaces->next, nullptr);
        // An empty MAC address, IP address or subnet mask is still one.
        record = parse(editedWired([](ZovNode *root) {
            setContents(getSubNodeByName(adapterNode(root), "macAddress"), "");
            ZovNode *fixed = nodeAt(settingsNode(root), {"addressAssignment", "static"});
            setContents(getSubNodeByName(fixed, "ipAddress"), "");
            removeSubNode(fixed, "gateway");
        }));
        ASSERT_NE(record, nullptr);
        EXPECT_STREQ(record->networkInterfaces->macAddress, "");
        EXPECT_STREQ(record->networkInterfaces->ipAddress, "");
        EXPECT_STREQ(record->networkInterfaces->subnetMask, "255.255.255.0");
        EXPECT_STREQ(record->networkInterfaces->gateway, "");
        EXPECT_EQ(log.text(), "");
    }
    expectRejected(editedWired([](ZovNode *root) {
                       removeSubNode(nodeAt(root, {"deviceConfiguration", "networkAdapterConfigurationSet"}),
                                     "networkAdapterConfiguration");
                   }),
                   {{"parseNetworkAdapterConfiguration", "unexpected null networkConfiguration"}, kBadAdapter});
    expectRejected(editedWired([](ZovNode *root) { removeSubNode(adapterNode(root), "macAddress"); }),
                   {{"parseNetworkAdapterConfiguration", "error getting macAddress"}, kBadAdapter});
    expectRejected(editedWired([](ZovNode *root) { removeSubNode(adapterNode(root), "networkAdapterSettings"); }),
                   {{"parseNetworkAdapterSettings", "unexpected null networkAdapterSettings"}, kBadAdapter});
}

TEST_F(CommandParser, WakeOnLanFaultsAreOnlyReported) {
    {
        Platform record = parse(editedWired([](ZovNode *root) { removeSubNode(settingsNode(root), "wolEnabled"); }));
        ASSERT_NE(record, nullptr);
        EXPECT_EQ(record->networkInterfaces->wolEnabled, 0);
        expectReports(log, {{"parseBool", "wolEnabled not found"}});
    }
    log.clear();
    Platform record = parse(editedWired([](ZovNode *root) {
        setContents(getSubNodeByName(settingsNode(root), "wolEnabled"), "TRUE");
    }));
    ASSERT_NE(record, nullptr);
    EXPECT_EQ(record->networkInterfaces->wolEnabled, 0);
    EXPECT_TRUE(log.contains(reportLine(
        "parseBool", "unexpected value for wolEnabled found, expected 'true or false', got 'TRUE'")));
}

TEST_F(CommandParser, AddressAssignment) {
    Platform record = parse(editedWired([](ZovNode *root) {
        ZovNode *assignment = getSubNodeByName(settingsNode(root), "addressAssignment");
        ZovNode *fixed = assignment->subNode;
        assignment->subNode = newZovNode("dhcp", nullptr);
        assignment->subNode->nextNode = fixed;  // dhcp first, static second
    }));
    ASSERT_NE(record, nullptr);
    EXPECT_EQ(record->networkInterfaces->addressAssignment, ADDRESS_ASSIGNMENT_DHCP);
    EXPECT_STREQ(record->networkInterfaces->ipAddress, "");

    auto firstSubNode = [](const char *name) {
        return [name](ZovNode *root) {
            ZovNode *assignment = getSubNodeByName(settingsNode(root), "addressAssignment");
            ZovNode *rest = assignment->subNode;
            assignment->subNode = newZovNode(name, nullptr);
            assignment->subNode->nextNode = rest;
        };
    };
    record = parse(editedWired(firstSubNode("bootp")));
    ASSERT_NE(record, nullptr);
    EXPECT_EQ(record->networkInterfaces->addressAssignment, ADDRESS_ASSIGNMENT_BOOTP);

    expectRejected(editedWired(firstSubNode("DHCP")),
                   {{"parseAddressAssignment", "unknown addressAssignment subNode found 'DHCP'"}, kBadAdapter});
    expectRejected(editedWired(firstSubNode(nullptr)),
                   {{"parseAddressAssignment", "subNode without name in addressAssignment"}, kBadAdapter});
    expectRejected(editedWired([](ZovNode *root) {
                       removeSubNode(getSubNodeByName(settingsNode(root), "addressAssignment"), "static");
                   }),
                   {{"parseAddressAssignment", "no subNodes in addressAssignment"}, kBadAdapter});
    expectRejected(editedWired([](ZovNode *root) { removeSubNode(settingsNode(root), "addressAssignment"); }),
                   {{"parseAddressAssignment", "null topNode in parseAddressAssignment"}, kBadAdapter});
    for (const char *missing : {"ipAddress", "subnetMask"}) {
        expectRejected(editedWired([missing](ZovNode *root) {
                           removeSubNode(nodeAt(settingsNode(root), {"addressAssignment", "static"}), missing);
                       }),
                       {{"parseStaticAddressAssignment", std::string("Error in ") + missing}, kBadAdapter});
    }
}

TEST_F(CommandParser, DnsAndWinsSettings) {
    {
        // dynamic wins over static.
        Platform record = parse(editedWired([](ZovNode *root) {
            addNewZovSubNode(getSubNodeByName(settingsNode(root), "dnsSettings"), "dynamic", nullptr);
        }));
        ASSERT_NE(record, nullptr);
        EXPECT_EQ(record->networkInterfaces->dnsDynamic, 1);
        EXPECT_EQ(record->networkInterfaces->dnsServers, nullptr);
        EXPECT_EQ(record->networkInterfaces->dnsSuffixes, nullptr);
    }
    {
        // Every sub-node with text from the first dnsSuffix on is a suffix;
        // one without text is skipped; an empty text is a suffix.
        Platform record = parse(editedWired([](ZovNode *root) {
            ZovNode *set = getSubNodeByName(dnsStaticNode(root), "dnsSuffixSet");
            ZovNode *first = set->subNode;
            set->subNode = newZovNode("comment", "before");
            set->subNode->nextNode = first;
            addNewZovSubNode(set, "other", "third");
            addNewZovSubNode(set, "dnsSuffix", nullptr);
            addNewZovSubNode(set, "dnsSuffix", "");
        }));
        ASSERT_NE(record, nullptr);
        EXPECT_EQ(listTexts(record->networkInterfaces->dnsSuffixes, &DnsSuffixStruct::suffix),
                  (Strings{"corp.example", "example", "third", ""}));
        EXPECT_EQ(log.text(), "");
    }
    {
        // The servers are read up to the first sub-node of another name.
        Platform record = parse(editedWired([](ZovNode *root) {
            ZovNode *set = getSubNodeByName(dnsStaticNode(root), "dnsServerSet");
            addNewZovSubNode(set, "note", "x");
            addNewZovSubNode(set, "dnsServer", "10.0.0.9");
        }));
        ASSERT_NE(record, nullptr);
        EXPECT_EQ(listTexts(record->networkInterfaces->dnsServers, &IpValueStruct::value),
                  (Strings{"10.0.0.2", "10.0.0.3"}));
        EXPECT_EQ(log.text(), "");
    }
    {
        // Server set faults are reported and fail nothing: an empty server
        // stays as an empty entry and stops the walk.
        Platform record = parse(editedWired([](ZovNode *root) {
            ZovNode *set = getSubNodeByName(dnsStaticNode(root), "dnsServerSet");
            setContents(set->subNode->nextNode, "");
            addNewZovSubNode(set, "dnsServer", "10.0.0.9");
            removeSubNode(nodeAt(settingsNode(root), {"winsSettings", "static"}), "winsServerSet");
        }));
        ASSERT_NE(record, nullptr);
        EXPECT_EQ(listTexts(record->networkInterfaces->dnsServers, &IpValueStruct::value),
                  (Strings{"10.0.0.2", ""}));
        EXPECT_EQ(record->networkInterfaces->winsServers, nullptr);
        EXPECT_TRUE(log.contains(reportLine("parseServerSet", "Error in dnsServer contents")));
        EXPECT_TRUE(log.contains(reportLine("parseServerSet", "null winsServerSet")));
    }
    log.clear();
    {
        Platform record = parse(editedWired([](ZovNode *root) {
            removeSubNode(dnsStaticNode(root), "dnsServerSet");
            ZovNode *set = nodeAt(settingsNode(root), {"winsSettings", "static", "winsServerSet"});
            ZovNode *first = set->subNode;
            set->subNode = newZovNode("dnsServer", "1.2.3.4");
            set->subNode->nextNode = first;
        }));
        ASSERT_NE(record, nullptr);
        EXPECT_EQ(record->networkInterfaces->dnsServers, nullptr);
        EXPECT_EQ(record->networkInterfaces->winsServers, nullptr);
        EXPECT_TRUE(log.contains(reportLine("parseServerSet", "null dnsServerSet")));
        EXPECT_TRUE(log.contains(reportLine("parseServerSet", "no winsServer nodes found")));
    }

    expectRejected(editedWired([](ZovNode *root) { removeSubNode(dnsStaticNode(root), "dnsSuffixSet"); }),
                   {{"parseDnsSuffixes", "null dnsSuffixSet"}, kBadAdapter});
    expectRejected(editedWired([](ZovNode *root) {
                       removeSubNode(getSubNodeByName(settingsNode(root), "dnsSettings"), "static");
                   }),
                   {{"parseDnsSettings", "no static or dynamic dnsSettings subnode"}, kBadAdapter});
    expectRejected(editedWired([](ZovNode *root) {
                       removeSubNode(getSubNodeByName(settingsNode(root), "winsSettings"), "static");
                   }),
                   {{"parseWinsSettings", "no static or dynamic winsSettings subnode"}, kBadAdapter});
    expectRejected(editedWired([](ZovNode *root) { removeSubNode(settingsNode(root), "dnsSettings"); }),
                   {{"parseDnsSettings", "null dnsSettings"}, kBadAdapter});
    expectRejected(editedWired([](ZovNode *root) { removeSubNode(settingsNode(root), "winsSettings"); }),
                   {{"parseWinsSettings", "null winsSettings"}, kBadAdapter});
}

TEST_F(CommandParser, WiredSettings) {
    auto withWired = [](const char *speed, const char *duplex) {
        return [speed, duplex](ZovNode *root) {
            ZovNode *wired = wiredNode(root);
            setContents(getSubNodeByName(wired, "speed"), speed);
            setContents(getSubNodeByName(wired, "duplex"), duplex);
        };
    };
    struct Case {
        const char *speed, *duplex;
        int32_t speedValue, duplexValue;
    };
    for (const Case &c : {Case{"auto", "auto", 1, 3}, Case{"10", "half", 10, 1}, Case{"1000", "full", 1000, 2}}) {
        Platform record = parse(editedWired(withWired(c.speed, c.duplex)));
        ASSERT_NE(record, nullptr);
        EXPECT_EQ(record->networkInterfaces->speed, c.speedValue);
        EXPECT_EQ(record->networkInterfaces->duplex, c.duplexValue);
    }
    {
        // wired decides when both kinds are present.
        Command both = commandWith({wirelessConfiguration()});
        addElement(getSubNodeByName(settingsNode(both->rootNode), "physicalConnection"),
                   Element("wired", {Element("speed", "10"), Element("duplex", "half")}));
        Platform record = parse(both);
        ASSERT_NE(record, nullptr);
        EXPECT_EQ(record->networkInterfaces->speed, SPEED_10);
        EXPECT_EQ(record->networkInterfaces->wirelessProfiles, nullptr);
    }
    EXPECT_EQ(log.text(), "");

    for (const char *speed : {"1G", "Auto", " 100", ""}) {
        expectRejected(editedWired(withWired(speed, "full")),
                       {{"parseWiredSpeedSetting", std::string("bad speed value '") + speed + "' found"},
                        kBadAdapter});
    }
    expectRejected(editedWired(withWired(nullptr, "full")),
                   {{"parseWiredSpeedSetting", "no speed value found"}, kBadAdapter});
    expectRejected(editedWired(withWired("100", nullptr)),
                   {{"parseDuplexSetting", "no duplex value found"}, kBadAdapter});
    expectRejected(editedWired(withWired("100", "quarter")), {kBadAdapter});
    expectRejected(editedWired([](ZovNode *root) { removeSubNode(wiredNode(root), "speed"); }),
                   {{"parseWiredSpeedSetting", "unexpected null speed"}, kBadAdapter});
    expectRejected(editedWired([](ZovNode *root) { removeSubNode(wiredNode(root), "duplex"); }),
                   {{"parseDuplexSetting", "unexpected null duplex"}, kBadAdapter});
    expectRejected(editedWired([](ZovNode *root) {
                       removeSubNode(getSubNodeByName(settingsNode(root), "physicalConnection"), "wired");
                   }),
                   {kBadAdapter});
    expectRejected(editedWired([](ZovNode *root) { removeSubNode(settingsNode(root), "physicalConnection"); }),
                   {{"parsePhysicalConnectionSettings", "unexpected null physicalConnection"}, kBadAdapter});
}

TEST_F(CommandParser, WirelessProfiles) {
    auto firstProfile = [](ZovNode *root) { return profileSetNode(root)->subNode; };
    {
        // wep decides over none; an empty key is a key; the profile's own
        // text carries the authentication when it has no element for it.
        Platform record = parse(editedWireless([&](ZovNode *root) {
            ZovNode *profile = firstProfile(root);
            addNewZovSubNode(getSubNodeByName(profile, "encryption"), "none", nullptr);
            addNewZovSubNode(nodeAt(profile, {"encryption", "wep"}), "key", "");
            removeSubNode(profile, "authentication");
            setContents(profile, "shared");
        }));
        ASSERT_NE(record, nullptr);
        WirelessSettingsStruct *home = record->networkInterfaces->wirelessProfiles;
        EXPECT_EQ(home->encryption, WIRELESS_ENCRYPTION_WEP);
        EXPECT_EQ(listTexts(home->wepKeys, &WepKeyStruct::key), (Strings{"0123456789", "ABCDEF0123", ""}));
        EXPECT_EQ(home->authentication, WIRELESS_AUTHENTICATION_SHARED);
        EXPECT_EQ(log.text(), "");
    }
    {
        Platform record = parse(editedWireless([&](ZovNode *root) {
            setContents(getSubNodeByName(firstProfile(root)->nextNode, "authentication"), "wpa");
        }));
        ASSERT_NE(record, nullptr);
        EXPECT_EQ(record->networkInterfaces->wirelessProfiles->next->authentication, WIRELESS_AUTHENTICATION_WPA);
    }

    expectRejected(editedWireless([&](ZovNode *root) {
                       setContents(getSubNodeByName(firstProfile(root), "authentication"), "WPA2");
                   }),
                   {{"parseAuthentication", "bad authentication type 'WPA2'"}, kBadAdapter});
    expectRejected(editedWireless([&](ZovNode *root) {
                       removeSubNode(firstProfile(root), "authentication");  // and no text of its own
                   }),
                   {kBadAdapter});
    expectRejected(editedWireless([&](ZovNode *root) { removeSubNode(firstProfile(root)->nextNode, "ssid"); }),
                   {kBadAdapter});
    expectRejected(editedWireless([&](ZovNode *root) { removeSubNode(firstProfile(root), "encryption"); }),
                   {{"parseEncryption", "unexpected null encryption"}, kBadAdapter});
    expectRejected(editedWireless([&](ZovNode *root) {
                       removeSubNode(getSubNodeByName(firstProfile(root)->nextNode, "encryption"), "none");
                   }),
                   {kBadAdapter});
    expectRejected(editedWireless([&](ZovNode *root) {
                       ZovNode *wep = nodeAt(firstProfile(root), {"encryption", "wep"});
                       freeZovNode(wep->subNode);
                       wep->subNode = newZovNode("Key", "x");
                   }),
                   {{"parseWep", "no wep keys found"}, kBadAdapter});
    expectRejected(editedWireless([&](ZovNode *root) {
                       addNewZovSubNode(nodeAt(firstProfile(root), {"encryption", "wep"}), "comment", nullptr);
                   }),
                   {{"parseWep", "unexpected null key value"}, kBadAdapter});
    // Every sub-node after the first profile is read as a profile.
    expectRejected(editedWireless([&](ZovNode *root) { addNewZovSubNode(profileSetNode(root), "note", "x"); }),
                   {kBadAdapter});
    expectRejected(editedWireless([&](ZovNode *root) {
                       ZovNode *set = profileSetNode(root);
                       freeZovNode(set->subNode);
                       set->subNode = nullptr;
                   }),
                   {{"parseWirelessProfile", "unexpected null wirelessProfile"}, kBadAdapter});
    expectRejected(editedWireless([&](ZovNode *root) {
                       removeSubNode(nodeAt(settingsNode(root), {"physicalConnection", "wireless"}),
                                     "wirelessProfileSet");
                   }),
                   {{"parseWirelessProfileSet", "unexpected null wirelessProfileSet"}, kBadAdapter});
}

// Texts fill at most 1023 characters of their 1024-byte fields.
TEST_F(CommandParser, LongTextsAreCut) {
    const std::string fits(1023, 'l');
    const std::string tooLong(5000, 'k');
    Platform record = parse(editedWireless([&](ZovNode *root) {
        addElement(getSubNodeByName(root, "deviceConfiguration"),
                   Element("deviceSettings", {Element("locale", fits.c_str())}));
        setContents(nodeAt(profileSetNode(root)->subNode, {"encryption", "wep", "key"}), tooLong.c_str());
        setContents(getSubNodeByName(settingsNode(root), "wolEnabled"), "truetruetrue");
    }));
    ASSERT_NE(record, nullptr);
    EXPECT_EQ(record->locale, fits);
    EXPECT_EQ(record->networkInterfaces->wirelessProfiles->wepKeys->key, tooLong.substr(0, 1023));
    EXPECT_EQ(record->networkInterfaces->wolEnabled, 0);
    EXPECT_TRUE(log.contains(reportLine("copyContents", "truncating charArray = '" + tooLong + "'")));
    EXPECT_TRUE(log.contains(reportLine(
        "parseBool", "unexpected value for wolEnabled found, expected 'true or false', got 'truetruet'")));
    EXPECT_FALSE(log.contains("'" + fits + "'"));
}

// Long lists from the server are read in full, and released without recursion.
TEST_F(CommandParser, LongLists) {
    constexpr int kCount = 20000;
    Command command = commandWith({wiredConfiguration()});
    ZovNode *servers = getSubNodeByName(dnsStaticNode(command->rootNode), "dnsServerSet");
    ZovNode *tags = nodeAt(command->rootNode, {"deviceConfiguration", "assetTagSet"});
    ZovNode *lastServer = servers->subNode->nextNode;
    ZovNode *lastTag = tags->subNode->nextNode;
    for (int i = 0; i < kCount; ++i) {
        std::string text = std::to_string(i);
        lastServer = lastServer->nextNode = newZovNode("dnsServer", text.c_str());
        ZovNode *tag = newZovNode("assetTag", nullptr);
        addNewZovSubNode(tag, "key", text.c_str());
        lastTag = lastTag->nextNode = tag;
    }
    Platform record = parse(command);
    ASSERT_NE(record, nullptr);
    Strings dnsServers = listTexts(record->networkInterfaces->dnsServers, &IpValueStruct::value);
    ASSERT_EQ(dnsServers.size(), kCount + 2u);
    EXPECT_EQ(dnsServers.back(), std::to_string(kCount - 1));
    Strings keys = listTexts(record->assetTags, &PairStruct::key);
    ASSERT_EQ(keys.size(), kCount + 2u);
    EXPECT_STREQ(findPairKeyValue(record->assetTags, "19999"), "");
}
