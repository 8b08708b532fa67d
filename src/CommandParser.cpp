// The server's device configuration command, read into a PlatformData.
//
// Every section reader takes the element its caller found with
// getSubNodeByName (possibly NULL) and returns kOk or kFailed; a failure
// travels up unchanged and parseConfigurationCommand drops the whole record.
// Lists that the command fills are appended through a remembered tail, so a
// long list costs linear time.
#include "CommandParser.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "internal/PlatformLists.h"
#include "internal/Report.h"

namespace {

constexpr char kSourceFile[] = "CommandParser";
constexpr char kParseConfigurationCommand[] = "parseConfigurationCommand";

constexpr int kOk = 0;
constexpr int kFailed = -1;
// Readers whose other faults are only reported still fail their section when
// memory runs out: they tell this apart with kOutOfMemory.
constexpr int kOutOfMemory = -2;

bool hasName(const ZovNode *node, const char *name) {
    return node->name != nullptr && std::strcmp(node->name, name) == 0;
}

// One word of the command and the value it stands for.
struct WordValue {
    const char *word;
    int32_t value;
};

// Finds text among words (exact, case-sensitive, in table order).
template <std::size_t Count>
bool matchWord(const char *text, const WordValue (&words)[Count], int32_t &value) {
    for (const WordValue &entry : words) {
        if (std::strcmp(text, entry.word) == 0) {
            value = entry.value;
            return true;
        }
    }
    return false;
}

// A section: the element it is read from, its reader, and the report of the
// enclosing reader when it fails (if it has one).
template <typename Target>
struct Section {
    const char *element;
    int (*read)(ZovNode *, Target *);
    const char *failure = nullptr;
};

// Reads each section from node's sub-node of that name, in order; the first
// failure stops the walk and gives its section.
template <typename Target, std::size_t Count>
const Section<Target> *firstFailingSection(ZovNode *node, Target *target,
                                           const Section<Target> (&sections)[Count]) {
    for (const Section<Target> &section : sections) {
        if (section.read(getSubNodeByName(node, section.element), target) != kOk) return &section;
    }
    return nullptr;
}

// A fresh allocation, passed through; NULL (memory ran out) is reported as
// functionName.
template <typename Record>
Record *allocated(Record *record, const char *functionName) {
    if (record == nullptr) ZOV_REPORT_AS(functionName, 1, "Error while memory allocation");
    return record;
}

// ---------------------------------------------------------------------------
// Command readers: bounded text copies and "true"/"false" flags.

void copyContents(const char *source, char *destination, std::size_t size) {
    if (source == nullptr) {
        destination[0] = '\0';
        return;
    }
    std::size_t length = strnlen(source, size);
    if (length == size) {
        ZOV_REPORT(1, "truncating charArray = '%s'", source);
        length = size - 1;
    }
    std::memcpy(destination, source, length);
    std::memset(destination + length, 0, size - length);
}

template <std::size_t Size>
void copyContents(const char *source, char (&destination)[Size]) {
    copyContents(source, destination, Size);
}

template <std::size_t Size>
int copySubNodeContents(ZovNode *node, const char *name, char (&destination)[Size]) {
    const char *contents = getSubNodeContentByName(node, name);
    if (contents == nullptr) {
        destination[0] = '\0';
        return kFailed;
    }
    copyContents(contents, destination);
    return kOk;
}

int parseBool(ZovNode *node, const char *name, int32_t *result) {
    if (node == nullptr || name == nullptr) return kFailed;
    char text[10];
    if (copySubNodeContents(node, name, text) != kOk) {
        ZOV_REPORT(1, "%s not found", name);
        return kFailed;
    }
    static constexpr WordValue kFlags[] = {{"true", 1}, {"false", 0}};
    if (matchWord(text, kFlags, *result)) return kOk;
    ZOV_REPORT(1, "unexpected value for %s found, expected 'true or false', got '%s'", name, text);
    return kFailed;
}

// ---------------------------------------------------------------------------
// Physical connection and wireless settings.

using ProfileTail = zov::ListTail<WirelessSettingsStruct>;
using ProfileOwner = std::unique_ptr<WirelessSettingsStruct, void (*)(WirelessSettingsStruct *)>;

int parseWiredSpeedSetting(ZovNode *node, NetworkInterfaceStruct *adapter) {
    if (node == nullptr) {
        ZOV_REPORT(1, "unexpected null speed");
        return kFailed;
    }
    if (node->contents == nullptr) {
        ZOV_REPORT(1, "no speed value found");
        return kFailed;
    }
    static constexpr WordValue kSpeeds[] = {
        {"auto", SPEED_AUTO}, {"10", SPEED_10}, {"100", SPEED_100}, {"1000", SPEED_1000}};
    if (matchWord(node->contents, kSpeeds, adapter->speed)) return kOk;
    ZOV_REPORT(1, "bad speed value '%s' found", node->contents);
    return kFailed;
}

int parseDuplexSetting(ZovNode *node, NetworkInterfaceStruct *adapter) {
    if (node == nullptr) {
        ZOV_REPORT(1, "unexpected null duplex");
        return kFailed;
    }
    if (node->contents == nullptr) {
        ZOV_REPORT(1, "no duplex value found");
        return kFailed;
    }
    static constexpr WordValue kDuplexModes[] = {
        {"auto", DUPLEX_AUTO}, {"half", DUPLEX_HALF}, {"full", DUPLEX_FULL}};
    return matchWord(node->contents, kDuplexModes, adapter->duplex) ? kOk : kFailed;
}

int parseWiredSettings(ZovNode *node, NetworkInterfaceStruct *adapter) {
    if (node == nullptr) {
        ZOV_REPORT(1, "unexpected null wired");
        return kFailed;
    }
    if (parseWiredSpeedSetting(getSubNodeByName(node, "speed"), adapter) != kOk) return kFailed;
    return parseDuplexSetting(getSubNodeByName(node, "duplex"), adapter);
}

int parseWep(ZovNode *node, WirelessSettingsStruct *profile) {
    if (node == nullptr) {
        ZOV_REPORT(1, "unexpected null wep");
        return kFailed;
    }
    ZovNode *key = getSubNodeByName(node, "key");
    if (key == nullptr) {
        ZOV_REPORT(1, "no wep keys found");
        return kFailed;
    }
    // Every sub-node from the first key on is a key, whatever its name.
    zov::ListTail<WepKeyStruct> keys(&profile->wepKeys);
    for (; key != nullptr; key = key->nextNode) {
        if (key->contents == nullptr) {
            ZOV_REPORT(1, "unexpected null key value");
            return kFailed;
        }
        WepKeyStruct *entry = allocated(keys.appendZeroed(), __func__);
        if (entry == nullptr) return kFailed;
        copyContents(key->contents, entry->key);
    }
    return kOk;
}

int parseEncryption(ZovNode *node, WirelessSettingsStruct *profile) {
    if (node == nullptr) {
        ZOV_REPORT(1, "unexpected null encryption");
        return kFailed;
    }
    profile->wepKeys = nullptr;
    if (ZovNode *wep = getSubNodeByName(node, "wep")) {
        profile->encryption = WIRELESS_ENCRYPTION_WEP;
        return parseWep(wep, profile);
    }
    if (getSubNodeByName(node, "none") != nullptr) {
        profile->encryption = WIRELESS_ENCRYPTION_NONE;
        return kOk;
    }
    return kFailed;
}

int parseAuthentication(ZovNode *node, WirelessSettingsStruct *profile) {
    if (node == nullptr) {
        ZOV_REPORT(1, "unexpected null authentication");
        return kFailed;
    }
    if (node->contents == nullptr) return kFailed;
    static constexpr WordValue kAuthentications[] = {{"open", WIRELESS_AUTHENTICATION_OPEN},
                                                     {"shared", WIRELESS_AUTHENTICATION_SHARED},
                                                     {"wpa", WIRELESS_AUTHENTICATION_WPA},
                                                     {"wpa-psk", WIRELESS_AUTHENTICATION_WPA_PSK}};
    if (matchWord(node->contents, kAuthentications, profile->authentication)) return kOk;
    ZOV_REPORT(1, "bad authentication type '%s'", node->contents);
    return kFailed;
}

// A profile joins the list once its SSID and encryption are read; a profile
// that fails before that is released on the spot.
int parseWirelessProfile(ZovNode *node, ProfileTail &profiles) {
    if (node == nullptr) {
        ZOV_REPORT(1, "unexpected null wirelessProfile");
        return kFailed;
    }
    ProfileOwner profile(allocated(zov::newZeroedEntry<WirelessSettingsStruct>(), __func__),
                         freeWirelessSettingsStruct);
    if (profile == nullptr) return kFailed;
    if (copySubNodeContents(node, "ssid", profile->ssid) != kOk) return kFailed;
    if (parseEncryption(getSubNodeByName(node, "encryption"), profile.get()) != kOk) return kFailed;
    WirelessSettingsStruct *listed = profile.release();
    profiles.append(listed);
    // The word stands in an "authentication" element, or else as the
    // profile's own text.
    ZovNode *authentication = getSubNodeByName(node, "authentication");
    return parseAuthentication(authentication != nullptr ? authentication : node, listed);
}

int parseWirelessProfileSet(ZovNode *node, NetworkInterfaceStruct *adapter) {
    if (node == nullptr) {
        ZOV_REPORT(1, "unexpected null wirelessProfileSet");
        return kFailed;
    }
    // Every sub-node from the first wirelessProfile on is a profile, whatever
    // its name; a set without wirelessProfile fails in parseWirelessProfile.
    ProfileTail profiles(&adapter->wirelessProfiles);
    ZovNode *profile = getSubNodeByName(node, "wirelessProfile");
    do {
        if (parseWirelessProfile(profile, profiles) != kOk) return kFailed;
        profile = profile->nextNode;
    } while (profile != nullptr);
    return kOk;
}

int parseWirelessSettings(ZovNode *node, NetworkInterfaceStruct *adapter) {
    if (node == nullptr) {
        ZOV_REPORT(1, "unexpected null wireless");
        return kFailed;
    }
    return parseWirelessProfileSet(getSubNodeByName(node, "wirelessProfileSet"), adapter);
}

int parsePhysicalConnectionSettings(ZovNode *node, NetworkInterfaceStruct *adapter) {
    if (node == nullptr) {
        ZOV_REPORT(1, "unexpected null physicalConnection");
        return kFailed;
    }
    if (ZovNode *wired = getSubNodeByName(node, "wired")) return parseWiredSettings(wired, adapter);
    if (ZovNode *wireless = getSubNodeByName(node, "wireless")) {
        return parseWirelessSettings(wireless, adapter);
    }
    return kFailed;
}

// ---------------------------------------------------------------------------
// Network adapter configuration.

int parseStaticAddressAssignment(ZovNode *node, NetworkInterfaceStruct *adapter) {
    adapter->ipAddress[0] = '\0';
    adapter->subnetMask[0] = '\0';
    adapter->gateway[0] = '\0';
    if (node == nullptr) {
        ZOV_REPORT(1, "null staticNode in parseStaticAddressAssignment");
        return kFailed;
    }
    if (copySubNodeContents(node, "ipAddress", adapter->ipAddress) != kOk) {
        ZOV_REPORT(1, "Error in ipAddress");
        return kFailed;
    }
    if (copySubNodeContents(node, "subnetMask", adapter->subnetMask) != kOk) {
        ZOV_REPORT(1, "Error in subnetMask");
        return kFailed;
    }
    copySubNodeContents(node, "gateway", adapter->gateway);  // optional
    return kOk;
}

int parseAddressAssignment(ZovNode *node, NetworkInterfaceStruct *adapter) {
    if (node == nullptr) {
        ZOV_REPORT(1, "null topNode in parseAddressAssignment");
        return kFailed;
    }
    // Only the first sub-node counts, by position.
    ZovNode *first = node->subNode;
    if (first == nullptr) {
        ZOV_REPORT(1, "no subNodes in addressAssignment");
        return kFailed;
    }
    if (first->name == nullptr) {
        ZOV_REPORT(1, "subNode without name in addressAssignment");
        return kFailed;
    }
    if (hasName(first, "static")) {
        adapter->addressAssignment = ADDRESS_ASSIGNMENT_STATIC;
        return parseStaticAddressAssignment(first, adapter);
    }
    static constexpr WordValue kDynamicTypes[] = {{"dhcp", ADDRESS_ASSIGNMENT_DHCP},
                                                  {"bootp", ADDRESS_ASSIGNMENT_BOOTP}};
    if (matchWord(first->name, kDynamicTypes, adapter->addressAssignment)) return kOk;
    ZOV_REPORT(1, "unknown addressAssignment subNode found '%s'", first->name);
    return kFailed;
}

// Reads the servers of a set into list: every sub-node from the first on, as
// long as it is named itemName. A server without text stops the walk and
// stays as an empty entry.
int parseServerSet(ZovNode *node, NetworkInterfaceStruct *adapter, const char *setName,
                   const char *itemName, IpValueStruct **list) {
    if (setName == nullptr || itemName == nullptr || adapter == nullptr || list == nullptr) {
        ZOV_REPORT(1, "bad arguments");
        return kFailed;
    }
    if (node == nullptr) {
        ZOV_REPORT(1, "null %s", setName);
        return kFailed;
    }
    ZovNode *item = node->subNode;
    if (item == nullptr || !hasName(item, itemName)) {
        ZOV_REPORT(1, "no %s nodes found", itemName);
        return kFailed;
    }
    zov::ListTail<IpValueStruct> servers(list);
    for (; item != nullptr && hasName(item, itemName); item = item->nextNode) {
        IpValueStruct *server = allocated(servers.appendZeroed(), __func__);
        if (server == nullptr) return kOutOfMemory;
        if (item->contents == nullptr || item->contents[0] == '\0') {
            ZOV_REPORT(1, "Error in %s contents", itemName);
            return kFailed;
        }
        copyContents(item->contents, server->value);
    }
    return kOk;
}

// A server set is optional: its faults are reported by parseServerSet and
// fail nothing, except exhausted memory.
int optionalServerSet(int result) { return result == kOutOfMemory ? kFailed : kOk; }

int parseDnsSuffixes(ZovNode *node, NetworkInterfaceStruct *adapter) {
    if (node == nullptr) {
        ZOV_REPORT(1, "null dnsSuffixSet");
        return kFailed;
    }
    // Every sub-node with text from the first dnsSuffix on is a suffix,
    // whatever its name.
    zov::ListTail<DnsSuffixStruct> suffixes(&adapter->dnsSuffixes);
    for (ZovNode *item = getSubNodeByName(node, "dnsSuffix"); item != nullptr;
         item = item->nextNode) {
        if (item->contents == nullptr) continue;
        DnsSuffixStruct *suffix = allocated(suffixes.appendZeroed(), __func__);
        if (suffix == nullptr) return kFailed;
        copyContents(item->contents, suffix->suffix);
    }
    return kOk;
}

int parseDnsStaticSettings(ZovNode *node, NetworkInterfaceStruct *adapter) {
    if (node == nullptr) {
        ZOV_REPORT(1, "null staticNode");
        return kFailed;
    }
    if (parseDnsSuffixes(getSubNodeByName(node, "dnsSuffixSet"), adapter) != kOk) return kFailed;
    return optionalServerSet(parseServerSet(getSubNodeByName(node, "dnsServerSet"), adapter,
                                            "dnsServerSet", "dnsServer", &adapter->dnsServers));
}

int parseWinsStaticSettings(ZovNode *node, NetworkInterfaceStruct *adapter) {
    if (node == nullptr) {
        ZOV_REPORT(1, "null staticNode");
        return kFailed;
    }
    return optionalServerSet(parseServerSet(getSubNodeByName(node, "winsServerSet"), adapter,
                                            "winsServerSet", "winsServer", &adapter->winsServers));
}

// parseDnsSettings and parseWinsSettings: "dynamic" wins over "static".
int parseDynamicOrStatic(ZovNode *node, NetworkInterfaceStruct *adapter, const char *functionName,
                         const char *element, int32_t NetworkInterfaceStruct::*dynamicFlag,
                         int (*readStatic)(ZovNode *, NetworkInterfaceStruct *)) {
    if (node == nullptr) {
        ZOV_REPORT_AS(functionName, 1, "null %s", element);
        return kFailed;
    }
    if (getSubNodeByName(node, "dynamic") != nullptr) {
        adapter->*dynamicFlag = 1;
        return kOk;
    }
    if (ZovNode *staticNode = getSubNodeByName(node, "static")) {
        adapter->*dynamicFlag = 0;
        return readStatic(staticNode, adapter);
    }
    ZOV_REPORT_AS(functionName, 1, "no static or dynamic %s subnode", element);
    return kFailed;
}

int parseDnsSettings(ZovNode *node, NetworkInterfaceStruct *adapter) {
    return parseDynamicOrStatic(node, adapter, __func__, "dnsSettings",
                                &NetworkInterfaceStruct::dnsDynamic, parseDnsStaticSettings);
}

int parseWinsSettings(ZovNode *node, NetworkInterfaceStruct *adapter) {
    return parseDynamicOrStatic(node, adapter, __func__, "winsSettings",
                                &NetworkInterfaceStruct::winsDynamic, parseWinsStaticSettings);
}

int parseNetworkAdapterSettings(ZovNode *node, NetworkInterfaceStruct *adapter) {
    if (node == nullptr) {
        ZOV_REPORT(1, "unexpected null networkAdapterSettings");
        return kFailed;
    }
    parseBool(node, "wolEnabled", &adapter->wolEnabled);  // reported, never fails the adapter
    static constexpr Section<NetworkInterfaceStruct> kSettings[] = {
        {"addressAssignment", parseAddressAssignment},
        {"dnsSettings", parseDnsSettings},
        {"winsSettings", parseWinsSettings},
        {"physicalConnection", parsePhysicalConnectionSettings}};
    return firstFailingSection(node, adapter, kSettings) == nullptr ? kOk : kFailed;
}

int parseNetworkAdapterConfiguration(ZovNode *node, PlatformData *record) {
    if (node == nullptr) {
        ZOV_REPORT(1, "unexpected null networkConfiguration");
        return kFailed;
    }
    NetworkInterfaceStruct *adapter = addNetworkInterface(record);  // reports exhausted memory
    if (adapter == nullptr) return kFailed;
    if (copySubNodeContents(node, "macAddress", adapter->macAddress) != kOk) {
        ZOV_REPORT(1, "error getting macAddress");
        return kFailed;
    }
    return parseNetworkAdapterSettings(getSubNodeByName(node, "networkAdapterSettings"), adapter);
}

int parseNetworkAdapterConfigurationSet(ZovNode *node, PlatformData *record) {
    record->networkInterfaces = nullptr;
    if (node == nullptr) {
        ZOV_REPORT(3, "No networkSet passed in");
        return kOk;
    }
    // Only the first adapter of the set is read.
    return parseNetworkAdapterConfiguration(getSubNodeByName(node, "networkAdapterConfiguration"),
                                            record);
}

// ---------------------------------------------------------------------------
// Device settings and asset tags.

int parseHostName(ZovNode *node, PlatformData *record) {
    if (record == nullptr) {
        ZOV_REPORT(1, "Unexpected empty platformData");
        return kFailed;
    }
    if (node == nullptr) {
        ZOV_REPORT(3, "Empty hostName node");
        return kOk;
    }
    if (ZovNode *staticNode = getSubNodeByName(node, "static")) {
        record->hostNameType = HOST_NAME_STATIC;
        return copySubNodeContents(staticNode, "name", record->hostName);
    }
    // The other types count by their presence alone.
    static constexpr WordValue kDerivedTypes[] = {
        {"macDerived", HOST_NAME_MAC_DERIVED},
        {"dhcpAssigned", HOST_NAME_DHCP_ASSIGNED},
        {"dnsReverseLookup", HOST_NAME_DNS_REVERSE_LOOKUP}};
    for (const WordValue &type : kDerivedTypes) {
        if (getSubNodeByName(node, type.word) != nullptr) {
            record->hostNameType = type.value;
            return kOk;
        }
    }
    ZOV_REPORT(1, "hostName type not found");
    return kFailed;
}

int parseDeviceSettings(ZovNode *node, PlatformData *record) {
    if (record == nullptr) {
        ZOV_REPORT(1, "Unexpected empty platformData");
        return kFailed;
    }
    record->locale[0] = '\0';
    if (node == nullptr) {
        ZOV_REPORT(3, "Empty deviceSettings node");
        return kOk;
    }
    copySubNodeContents(node, "locale", record->locale);  // optional
    if (parseHostName(getSubNodeByName(node, "hostName"), record) != kOk) {
        ZOV_REPORT(1, "Bad hostName");
        return kFailed;
    }
    return kOk;
}

// One asset tag; NULL when memory runs out or the key is empty (the tag is
// then dropped).
PairStruct *parsePair(ZovNode *node) {
    if (node == nullptr) return nullptr;
    auto *pair = allocated(zov::newZeroedEntry<PairStruct>(), __func__);
    if (pair == nullptr) return nullptr;
    copySubNodeContents(node, "key", pair->key);
    copySubNodeContents(node, "value", pair->value);
    ZOV_REPORT(3, "parsePair key='%s', value='%s'", pair->key, pair->value);
    if (pair->key[0] == '\0') {
        ZOV_REPORT(1, "Warning, key empty in parsePair");
        std::free(pair);
        return nullptr;
    }
    return pair;
}

int parseAssetTagSet(ZovNode *node, PlatformData *record) {
    record->assetTags = nullptr;
    if (node == nullptr) {
        ZOV_REPORT(3, "Empty assetTagSetNode");
        return kOk;
    }
    zov::ListTail<PairStruct> tags(&record->assetTags);
    ZovNode *tag = node->subNode;
    for (; tag != nullptr && hasName(tag, "assetTag"); tag = tag->nextNode) {
        tags.append(parsePair(tag));
    }
    if (tag != nullptr) {
        ZOV_REPORT(1, "unexpected tempNode in parseAssetTagSet, name='%s'",
                   tag->name != nullptr ? tag->name : "(null)");
        return kFailed;
    }
    return kOk;
}

// ---------------------------------------------------------------------------

struct PlatformDataRelease {
    void operator()(PlatformData *record) const noexcept {
        freePlatformData(record);
        std::free(record);
    }
};
using PlatformDataOwner = std::unique_ptr<PlatformData, PlatformDataRelease>;

PlatformData *parseConfiguration(ZovCommandStruct *command) {
    ZovNode *configuration =
        command == nullptr ? nullptr : getSubNodeByName(command->rootNode, "deviceConfiguration");
    if (configuration == nullptr) {
        ZOV_REPORT_AS(kParseConfigurationCommand, 1,
                      "unable to find deviceConfiguration in command->rootNode");
        return nullptr;
    }
    PlatformDataOwner record(allocated(newPlatformData(), kParseConfigurationCommand));
    if (record == nullptr) return nullptr;
    static constexpr Section<PlatformData> kSections[] = {
        {"deviceSettings", parseDeviceSettings, "bad deviceSettings"},
        {"networkAdapterConfigurationSet", parseNetworkAdapterConfigurationSet,
         "bad networkAdapterConfigurationSet"},
        {"assetTagSet", parseAssetTagSet, "bad assetTagSet"}};
    if (const auto *bad = firstFailingSection(configuration, record.get(), kSections)) {
        ZOV_REPORT_AS(kParseConfigurationCommand, 1, "%s", bad->failure);
        return nullptr;
    }
    return record.release();
}

}  // namespace

extern "C" {

ZOV_API PlatformData *parseConfigurationCommand(ZovCommandStruct *command) {
    return zov::guarded<PlatformData *>(nullptr, [&] { return parseConfiguration(command); });
}

ZOV_API char *findPairKeyValue(PairStruct *list, const char *key) {
    if (key == nullptr) return nullptr;
    for (PairStruct *pair = list; pair != nullptr; pair = pair->next) {
        if (std::strncmp(pair->key, key, sizeof pair->key) == 0) return pair->value;
    }
    return nullptr;
}

ZOV_API void freePairStruct(PairStruct *list) { zov::releaseList(list); }

ZOV_API void freeAddressAssignmentStatic(AddressAssignmentStatic *assignment) {
    if (assignment == nullptr) return;
    freeIpValueStruct(assignment->ipAddresses);
    freeIpValueStruct(assignment->subnetMasks);
    freeIpValueStruct(assignment->gateways);
    std::free(assignment);
}

}  // extern "C"
