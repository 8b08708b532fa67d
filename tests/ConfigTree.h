// Test helpers for configuration commands: command trees written as nested
// initialisers, a few edits on them, and owners that release what the
// library hands out.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "CommandParser.h"
#include "PlatformData.h"
#include "ZovNode.h"

// The end of a report line: the function-name column and the message.
inline std::string reportLine(const char *function, const std::string &message) {
    char prefix[64];
    std::snprintf(prefix, sizeof prefix, "[%-25s] :", function);
    return prefix + message + "\n";
}

// One element: a name, optional text, sub-elements.
struct Element {
    const char *name;
    const char *contents = nullptr;
    std::vector<Element> subs;

    Element(const char *n, const char *text = nullptr) : name(n), contents(text) {}
    Element(const char *n, std::vector<Element> children) : name(n), subs(std::move(children)) {}
};

inline void addElement(ZovNode *parent, const Element &element) {
    ZovNode *node = addNewZovSubNode(parent, element.name, element.contents);
    for (const Element &sub : element.subs) addElement(node, sub);
}

struct CommandFree {
    void operator()(ZovCommandStruct *command) const { freeZovCommandStruct(command); }
};
using Command = std::unique_ptr<ZovCommandStruct, CommandFree>;

// A command whose root holds the given elements, as the envelope parser builds it.
inline Command commandWith(std::initializer_list<Element> top) {
    Command command(newZovCommandStructWithNameAndGuid("deviceConfiguration", "guid-1"));
    for (const Element &element : top) addElement(command->rootNode, element);
    return command;
}

struct PlatformDataFree {
    void operator()(PlatformData *record) const {
        freePlatformData(record);
        std::free(record);
    }
};
using Platform = std::unique_ptr<PlatformData, PlatformDataFree>;

inline Platform parse(const Command &command) {
    return Platform(parseConfigurationCommand(command.get()));
}

// The node at the end of a path of sub-node names below node (NULL when a step is missing).
inline ZovNode *nodeAt(ZovNode *node, std::initializer_list<const char *> path) {
    for (const char *name : path) node = getSubNodeByName(node, name);
    return node;
}

// Unlinks and frees the first sub-node of parent named name.
inline void removeSubNode(ZovNode *parent, const char *name) {
    for (ZovNode **slot = &parent->subNode; *slot != nullptr; slot = &(*slot)->nextNode) {
        ZovNode *node = *slot;
        if (node->name != nullptr && std::string(node->name) == name) {
            *slot = node->nextNode;
            node->nextNode = nullptr;
            freeZovNode(node);
            return;
        }
    }
}

// Replaces the text of node.
inline void setContents(ZovNode *node, const char *text) {
    std::free(node->contents);
    node->contents = text == nullptr ? nullptr : strdup(text);
}

// The texts of a list, in list order: listTexts(adapter->dnsServers, &IpValueStruct::value).
template <typename Entry, std::size_t Size>
std::vector<std::string> listTexts(const Entry *list, const char (Entry::*field)[Size]) {
    std::vector<std::string> out;
    for (; list != nullptr; list = list->next) out.emplace_back(list->*field);
    return out;
}

// The full wired configuration: static addressing, static DNS with suffixes
// and servers, static WINS, 100/full, host name, locale and two asset tags.
inline Element wiredConfiguration() {
    return Element(
        "deviceConfiguration",
        {Element("deviceSettings",
                 {Element("locale", "de_DE"),
                  Element("hostName", {Element("static", {Element("name", "kiosk-12")})})}),
         Element(
             "networkAdapterConfigurationSet",
             {Element(
                 "networkAdapterConfiguration",
                 {Element("macAddress", "00:11:22:33:44:55"),
                  Element(
                      "networkAdapterSettings",
                      {Element("wolEnabled", "true"),
                       Element("addressAssignment",
                               {Element("static", {Element("ipAddress", "10.0.0.5"),
                                                   Element("subnetMask", "255.255.255.0"),
                                                   Element("gateway", "10.0.0.1")})}),
                       Element("dnsSettings",
                               {Element("static",
                                        {Element("dnsSuffixSet", {Element("dnsSuffix", "corp.example"),
                                                                  Element("dnsSuffix", "example")}),
                                         Element("dnsServerSet", {Element("dnsServer", "10.0.0.2"),
                                                                  Element("dnsServer", "10.0.0.3")})})}),
                       Element("winsSettings",
                               {Element("static", {Element("winsServerSet",
                                                           {Element("winsServer", "10.0.0.4")})})}),
                       Element("physicalConnection",
                               {Element("wired", {Element("speed", "100"), Element("duplex", "full")})})})})}),
         Element("assetTagSet",
                 {Element("assetTag", {Element("key", "room"), Element("value", "12")}),
                  Element("assetTag", {Element("key", "floor"), Element("value", "3")})})});
}

// A wireless adapter with dynamic addressing, DNS and WINS and two profiles:
// "home" (WEP, two keys, open) and "guest" (no encryption, wpa-psk).
inline Element wirelessConfiguration() {
    return Element(
        "deviceConfiguration",
        {Element(
            "networkAdapterConfigurationSet",
            {Element(
                "networkAdapterConfiguration",
                {Element("macAddress", "66:77:88:99:AA:BB"),
                 Element(
                     "networkAdapterSettings",
                     {Element("wolEnabled", "false"),
                      Element("addressAssignment", {Element("dhcp")}),
                      Element("dnsSettings", {Element("dynamic")}),
                      Element("winsSettings", {Element("dynamic")}),
                      Element("physicalConnection",
                              {Element("wireless",
                                       {Element("wirelessProfileSet",
                                                {Element("wirelessProfile",
                                                         {Element("ssid", "home"),
                                                          Element("encryption",
                                                                  {Element("wep", {Element("key", "0123456789"),
                                                                                   Element("key", "ABCDEF0123")})}),
                                                          Element("authentication", "open")}),
                                                 Element("wirelessProfile",
                                                         {Element("ssid", "guest"),
                                                          Element("encryption", {Element("none")}),
                                                          Element("authentication", "wpa-psk")})})})})})})})});
}
