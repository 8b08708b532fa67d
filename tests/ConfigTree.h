// Test helpers for configuration commands: command trees written as
// outlines, edits addressed by path, report checks, and owners that release
// what the library hands out.
#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <memory>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "CommandParser.h"
#include "LogCapture.h"
#include "PlatformData.h"
#include "ZovNode.h"

// The end of a report line: the function-name column and the message.
inline std::string reportLine(const char *function, const std::string &message) {
    char prefix[64];
    std::snprintf(prefix, sizeof prefix, "[%-25s] :", function);
    return prefix + message + "\n";
}

using Report = std::pair<const char *, std::string>;  // function name, message

// The log holds exactly these reports, in this order.
inline void expectReports(const LogCapture &log, const std::vector<Report> &reports) {
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

// One element of an outline: one element per line, indented two blanks per
// level, "name" (no text) or "name=text".
struct OutlineLine {
    std::size_t depth;
    std::string name, text;
    bool hasText;
};

inline std::vector<OutlineLine> outlineLines(const char *outline) {
    std::vector<OutlineLine> lines;
    std::istringstream in(outline);
    for (std::string line; std::getline(in, line);) {
        std::size_t indent = line.find_first_not_of(' '), equals = line.find('=');
        if (indent == std::string::npos) continue;
        bool hasText = equals != std::string::npos;
        lines.push_back({indent / 2, line.substr(indent, hasText ? equals - indent : equals),
                         hasText ? line.substr(equals + 1) : "", hasText});
    }
    return lines;
}

// Adds the elements of an outline below parent.
inline void addOutline(ZovNode *parent, const char *outline) {
    std::vector<ZovNode *> open{parent};
    for (const OutlineLine &line : outlineLines(outline)) {
        open.resize(line.depth + 1);
        open.push_back(addNewZovSubNode(open.back(), line.name.c_str(), line.hasText ? line.text.c_str() : nullptr));
    }
}

struct CommandFree {
    void operator()(ZovCommandStruct *command) const { freeZovCommandStruct(command); }
};
using Command = std::unique_ptr<ZovCommandStruct, CommandFree>;

inline Command commandFrom(const char *outline) {
    Command command(newZovCommandStructWithNameAndGuid("deviceConfiguration", "guid-1"));
    addOutline(command->rootNode, outline);
    return command;
}

struct PlatformDataFree {
    void operator()(PlatformData *record) const {
        freePlatformData(record);
        std::free(record);
    }
};
using Platform = std::unique_ptr<PlatformData, PlatformDataFree>;

inline Platform parse(const Command &command) { return Platform(parseConfigurationCommand(command.get())); }

// The node at a '/'-separated path of sub-node names below node; NULL when a step is missing.
inline ZovNode *at(ZovNode *node, const std::string &path) {
    std::istringstream steps(path);
    for (std::string step; node != nullptr && std::getline(steps, step, '/');) {
        node = getSubNodeByName(node, step.c_str());
    }
    return node;
}

// Unlinks and frees the node at path.
inline void removeAt(ZovNode *root, const std::string &path) {
    std::size_t slash = path.rfind('/');
    ZovNode *parent = slash == std::string::npos ? root : at(root, path.substr(0, slash));
    ZovNode *node = at(root, path);
    for (ZovNode **slot = &parent->subNode; *slot != nullptr; slot = &(*slot)->nextNode) {
        if (*slot == node) {
            *slot = node->nextNode;
            node->nextNode = nullptr;
            freeZovNode(node);
            return;
        }
    }
}

inline void setAt(ZovNode *root, const std::string &path, const char *text) {
    ZovNode *node = at(root, path);
    std::free(node->contents);
    node->contents = text == nullptr ? nullptr : strdup(text);
}

// Makes a node the first sub-node of the node at path.
inline void prependAt(ZovNode *root, const std::string &path, const char *name, const char *text) {
    ZovNode *parent = at(root, path);
    ZovNode *node = newZovNode(name, text);
    node->nextNode = parent->subNode;
    parent->subNode = node;
}

// Builds the command from outline, applies edit to its tree and parses it.
template <typename Edit>
Platform parseEdited(const char *outline, Edit edit) {
    Command command = commandFrom(outline);
    edit(command->rootNode);
    return parse(command);
}

// The texts of a list, in list order: listTexts(adapter->dnsServers, &IpValueStruct::value).
template <typename Entry, std::size_t Size>
std::vector<std::string> listTexts(const Entry *list, const char (Entry::*field)[Size]) {
    std::vector<std::string> out;
    for (; list != nullptr; list = list->next) out.emplace_back(list->*field);
    return out;
}

// Paths into the configurations below.
#define ADAPTER "deviceConfiguration/networkAdapterConfigurationSet/networkAdapterConfiguration"
#define SETTINGS ADAPTER "/networkAdapterSettings"
#define PROFILES SETTINGS "/physicalConnection/wireless/wirelessProfileSet"

// A full wired configuration: static addressing, static DNS with suffixes and
// servers, static WINS, 100/full, host name, locale and two asset tags.
constexpr char kWired[] = R"(
deviceConfiguration
  deviceSettings
    locale=de_DE
    hostName
      static
        name=kiosk-12
  networkAdapterConfigurationSet
    networkAdapterConfiguration
      macAddress=00:11:22:33:44:55
      networkAdapterSettings
        wolEnabled=true
        addressAssignment
          static
            ipAddress=10.0.0.5
            subnetMask=255.255.255.0
            gateway=10.0.0.1
        dnsSettings
          static
            dnsSuffixSet
              dnsSuffix=corp.example
              dnsSuffix=example
            dnsServerSet
              dnsServer=10.0.0.2
              dnsServer=10.0.0.3
        winsSettings
          static
            winsServerSet
              winsServer=10.0.0.4
        physicalConnection
          wired
            speed=100
            duplex=full
  assetTagSet
    assetTag
      key=room
      value=12
    assetTag
      key=floor
      value=3
)";

// Dynamic addressing, DNS and WINS and two wireless profiles: "home" (WEP,
// two keys, open) and "guest" (no encryption, wpa-psk).
constexpr char kWireless[] = R"(
deviceConfiguration
  networkAdapterConfigurationSet
    networkAdapterConfiguration
      macAddress=66:77:88:99:AA:BB
      networkAdapterSettings
        wolEnabled=false
        addressAssignment
          dhcp
        dnsSettings
          dynamic
        winsSettings
          dynamic
        physicalConnection
          wireless
            wirelessProfileSet
              wirelessProfile
                ssid=home
                encryption
                  wep
                    key=0123456789
                    key=ABCDEF0123
                authentication=open
              wirelessProfile
                ssid=guest
                encryption
                  none
                authentication=wpa-psk
)";

// What kWired yields.
inline void expectWiredRecord(const PlatformData *record) {
    using Strings = std::vector<std::string>;
    ASSERT_NE(record, nullptr);
    EXPECT_EQ(record->hostNameType, HOST_NAME_STATIC);
    EXPECT_STREQ(record->hostName, "kiosk-12");
    EXPECT_STREQ(record->locale, "de_DE");
    const NetworkInterfaceStruct *adapter = record->networkInterfaces;
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
    EXPECT_EQ(listTexts(record->assetTags, &PairStruct::value), (Strings{"12", "3"}));
}

// What kWireless yields.
inline void expectWirelessRecord(const PlatformData *record) {
    using Strings = std::vector<std::string>;
    ASSERT_NE(record, nullptr);
    const NetworkInterfaceStruct *adapter = record->networkInterfaces;
    EXPECT_EQ(adapter->addressAssignment, ADDRESS_ASSIGNMENT_DHCP);
    EXPECT_STREQ(adapter->ipAddress, "");
    EXPECT_EQ(adapter->dnsDynamic, 1);
    EXPECT_EQ(adapter->winsDynamic, 1);
    EXPECT_EQ(adapter->wolEnabled, 0);
    EXPECT_EQ(adapter->speed, 0);
    EXPECT_EQ(adapter->duplex, 0);
    const WirelessSettingsStruct *home = adapter->wirelessProfiles;
    ASSERT_NE(home, nullptr);
    EXPECT_STREQ(home->ssid, "home");
    EXPECT_EQ(home->encryption, WIRELESS_ENCRYPTION_WEP);
    EXPECT_EQ(listTexts(home->wepKeys, &WepKeyStruct::key), (Strings{"0123456789", "ABCDEF0123"}));
    EXPECT_EQ(home->authentication, WIRELESS_AUTHENTICATION_OPEN);
    const WirelessSettingsStruct *guest = home->next;
    ASSERT_NE(guest, nullptr);
    EXPECT_STREQ(guest->ssid, "guest");
    EXPECT_EQ(guest->encryption, WIRELESS_ENCRYPTION_NONE);
    EXPECT_EQ(guest->wepKeys, nullptr);
    EXPECT_EQ(guest->authentication, WIRELESS_AUTHENTICATION_WPA_PSK);
    EXPECT_EQ(guest->next, nullptr);
}
