// Configuration commands as compact XML, edited as text, parsed through the envelope parser; records as text.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "CommandParser.h"
#include "LogCapture.h"
#include "XmlParserHarness.h"

struct PlatformDataFree {
    void operator()(PlatformData *record) const { freePlatformData(record), std::free(record); }
};
using Platform = std::unique_ptr<PlatformData, PlatformDataFree>;

// Text edits: every occurrence of each first text (one at least) becomes the second.
using Edits = std::vector<std::pair<std::string, std::string>>;

inline std::string edited(std::string text, const Edits &edits) {
    for (const auto &[from, to] : edits) {
        std::size_t at = text.find(from);
        EXPECT_NE(at, std::string::npos) << from;
        for (; at != std::string::npos; at = text.find(from, at + to.size())) text.replace(at, from.size(), to);
    }
    return text;
}

// A document with one "configureDevice" command envelope per configuration.
inline std::string envelopes(std::initializer_list<std::string> configurations) {
    std::string xml = "<?xml version=\"1.0\"?><zovMessage><commandSet>";
    for (const std::string &configuration : configurations)
        xml += "<commandEnvelope><commandGuid>g</commandGuid><configureDevice>" + configuration +
               "</configureDevice></commandEnvelope>";
    return xml + "</commandSet></zovMessage>";
}

// XML carries no node without a name: elements named "unnamed" lose theirs.
inline void dropNames(ZovNode *node) {
    for (; node != nullptr; node = node->nextNode) {
        if (node->name != nullptr && std::strcmp(node->name, "unnamed") == 0)
            std::free(std::exchange(node->name, nullptr));
        dropNames(node->subNode);
    }
}

// The records parseConfigurationCommand makes of the document's commands.
inline std::vector<Platform> configure(const std::string &xml) {
    Delivered delivered;
    EXPECT_EQ(delivered.parse(xml), 0);
    std::vector<Platform> records;
    for (const Delivered::CommandCall &call : delivered.commands) {
        dropNames(call.record->rootNode);
        records.emplace_back(parseConfigurationCommand(call.record));
    }
    return records;
}

// The texts of a list, each quoted after a blank.
template <typename Entry, std::size_t Size>
std::string texts(const Entry *entry, const char (Entry::*text)[Size]) {
    std::string out;
    for (; entry != nullptr; entry = entry->next) out += " '" + std::string(entry->*text) + "'";
    return out;
}

// What the parser fills in a record: a line for the device, two per adapter, one per profile.
inline std::string describe(const PlatformData *p) {
    if (p == nullptr) return "(none)";
    std::ostringstream out;
    out << "host " << p->hostNameType << " '" << p->hostName << "' locale '" << p->locale << "' tags"
        << texts(p->assetTags, &PairStruct::key) << " values" << texts(p->assetTags, &PairStruct::value) << "\n";
    for (const NetworkInterfaceStruct *a = p->networkInterfaces; a != nullptr; a = a->next) {
        out << "adapter '" << a->macAddress << "' wol " << a->wolEnabled << " address " << a->addressAssignment
            << " '" << a->ipAddress << "' '" << a->subnetMask << "' '" << a->gateway << "' link " << a->speed
            << " " << a->duplex << "\n dns " << a->dnsDynamic << texts(a->dnsSuffixes, &DnsSuffixStruct::suffix)
            << " servers" << texts(a->dnsServers, &IpValueStruct::value) << " wins " << a->winsDynamic
            << texts(a->winsServers, &IpValueStruct::value) << "\n";
        for (const WirelessSettingsStruct *w = a->wirelessProfiles; w != nullptr; w = w->next)
            out << " profile '" << w->ssid << "' encryption " << w->encryption << " keys"
                << texts(w->wepKeys, &WepKeyStruct::key) << " authentication " << w->authentication << "\n";
    }
    return out.str();
}

// Wired: static addressing, DNS (suffixes, servers) and WINS, 100/full, host name, locale, two tags.
constexpr char kWired[] =
    "<deviceConfiguration><deviceSettings><locale>de_DE</locale>"
    "<hostName><static><name>kiosk-12</name></static></hostName></deviceSettings>"
    "<networkAdapterConfigurationSet><networkAdapterConfiguration><macAddress>00:11:22:33:44:55</macAddress>"
    "<networkAdapterSettings><wolEnabled>true</wolEnabled><addressAssignment><static>"
    "<ipAddress>10.0.0.5</ipAddress><subnetMask>255.255.255.0</subnetMask><gateway>10.0.0.1</gateway>"
    "</static></addressAssignment><dnsSettings><static><dnsSuffixSet><dnsSuffix>corp.example</dnsSuffix>"
    "<dnsSuffix>example</dnsSuffix></dnsSuffixSet><dnsServerSet><dnsServer>10.0.0.2</dnsServer>"
    "<dnsServer>10.0.0.3</dnsServer></dnsServerSet></static></dnsSettings><winsSettings><static>"
    "<winsServerSet><winsServer>10.0.0.4</winsServer></winsServerSet></static></winsSettings>"
    "<physicalConnection><wired><speed>100</speed><duplex>full</duplex></wired></physicalConnection>"
    "</networkAdapterSettings></networkAdapterConfiguration></networkAdapterConfigurationSet>"
    "<assetTagSet><assetTag><key>room</key><value>12</value></assetTag>"
    "<assetTag><key>floor</key><value>3</value></assetTag></assetTagSet></deviceConfiguration>";

constexpr char kWiredRecord[] =
    "host 1 'kiosk-12' locale 'de_DE' tags 'room' 'floor' values '12' '3'\n"
    "adapter '00:11:22:33:44:55' wol 1 address 1 '10.0.0.5' '255.255.255.0' '10.0.0.1' link 100 2\n"
    " dns 0 'corp.example' 'example' servers '10.0.0.2' '10.0.0.3' wins 0 '10.0.0.4'\n";

// Dynamic everything, profiles "home" (WEP, two keys, open) and "guest" (no encryption, wpa-psk).
constexpr char kWireless[] =
    "<deviceConfiguration><networkAdapterConfigurationSet><networkAdapterConfiguration>"
    "<macAddress>66:77:88:99:AA:BB</macAddress><networkAdapterSettings><wolEnabled>false</wolEnabled>"
    "<addressAssignment><dhcp/></addressAssignment><dnsSettings><dynamic/></dnsSettings>"
    "<winsSettings><dynamic/></winsSettings><physicalConnection><wireless><wirelessProfileSet>"
    "<wirelessProfile><ssid>home</ssid><encryption><wep><key>0123456789</key><key>ABCDEF0123</key></wep>"
    "</encryption><authentication>open</authentication></wirelessProfile>"
    "<wirelessProfile><ssid>guest</ssid><encryption><none/></encryption>"
    "<authentication>wpa-psk</authentication></wirelessProfile></wirelessProfileSet></wireless>"
    "</physicalConnection></networkAdapterSettings></networkAdapterConfiguration>"
    "</networkAdapterConfigurationSet></deviceConfiguration>";

constexpr char kWirelessProfiles[] =
    " profile 'home' encryption 2 keys '0123456789' 'ABCDEF0123' authentication 1\n"
    " profile 'guest' encryption 1 keys authentication 4\n";
inline const std::string kWirelessRecord = std::string("host 0 '' locale '' tags values\n"
                                                       "adapter '66:77:88:99:AA:BB' wol 0 address 2 '' '' '' link 0 0\n"
                                                       " dns 1 servers wins 1\n") + kWirelessProfiles;
