// The device-configuration enumerations and their wire words.
#include "EnumConversions.h"

#include <cstring>
#include <initializer_list>

#include "internal/Report.h"

namespace {

constexpr char kSourceFile[] = "EnumConversions";

struct WordEntry {
    int32_t value;
    const char *word;
};

// One enumeration: its name as reports spell it, its value/word table (the
// only place where a word stands) and the values whose words are accepted
// when reading a word back, in the order they are tried.
struct Enumeration {
    const char *name;
    std::initializer_list<WordEntry> words;
    std::initializer_list<int32_t> accepted;
};

constexpr Enumeration kAddressAssignment{
    "addressAssignmentType", {{1, "static"}, {2, "dhcp"}, {3, "bootp"}}, {1, 2, 3}};
constexpr Enumeration kHostNameAssignment{
    "hostNameAssignmentType",
    {{1, "static"}, {2, "macDerived"}, {3, "dhcpAssigned"}, {4, "dnsReverseLookup"}},
    {1, 2, 3, 4}};
constexpr Enumeration kPhysicalConnection{
    "physicalConnectionType", {{0, "unknown"}, {1, "wired"}, {2, "wireless"}}, {1, 2}};
constexpr Enumeration kSpeed{
    "speedType",
    {{0, "unknown"}, {1, "auto"}, {10, "10"}, {100, "100"}, {1000, "1000"}},
    {10, 100, 1000, 1}};
constexpr Enumeration kDuplex{
    "duplexType", {{0, "unknown"}, {1, "half"}, {2, "full"}, {3, "auto"}}, {1, 2, 3}};
constexpr Enumeration kWirelessAuthentication{
    "wirelessEnetAuthenticationType",
    {{1, "open"}, {2, "shared"}, {3, "wpa"}, {4, "wpa-psk"}},
    {1, 2, 3, 4}};
constexpr Enumeration kWirelessEncryption{
    "wirelessEnetEncryptionType", {{1, "none"}, {2, "wep"}}, {1, 2}};

const char *wordOf(const Enumeration &enumeration, int32_t value, const char *functionName) {
    for (const WordEntry &entry : enumeration.words) {
        if (entry.value == value) return entry.word;
    }
    ZOV_REPORT_AS(functionName, 1, "Unknown %s '%d'", enumeration.name, value);
    return nullptr;
}

// Finds the word through the enumeration's own value-to-word function, so
// that reading a word back can never disagree with writing it.
int32_t valueOf(const Enumeration &enumeration, const char *(*toWord)(int32_t), const char *text,
                const char *functionName) {
    if (text != nullptr) {
        for (int32_t candidate : enumeration.accepted) {
            const char *word = toWord(candidate);
            if (word != nullptr && std::strcmp(word, text) == 0) return candidate;
        }
    }
    ZOV_REPORT_AS(functionName, 1, "Unknown %s '%s'", enumeration.name,
                  text != nullptr ? text : "(null)");
    return 0;
}

}  // namespace

extern "C" {

ZOV_API const char *addressAssignmentTypeToString(addressAssignmentType value) {
    return wordOf(kAddressAssignment, value, __func__);
}

ZOV_API addressAssignmentType stringToAddressAssignmentType(const char *text) {
    return valueOf(kAddressAssignment, addressAssignmentTypeToString, text, __func__);
}

ZOV_API const char *hostNameAssignmentTypeToString(hostNameAssignmentType value) {
    return wordOf(kHostNameAssignment, value, __func__);
}

ZOV_API hostNameAssignmentType stringToHostNameAssignmentType(const char *text) {
    return valueOf(kHostNameAssignment, hostNameAssignmentTypeToString, text, __func__);
}

ZOV_API const char *physicalConnectionTypeToString(physicalConnectionType value) {
    return wordOf(kPhysicalConnection, value, __func__);
}

ZOV_API physicalConnectionType StringToPhysicalConnectionType(const char *text) {
    return valueOf(kPhysicalConnection, physicalConnectionTypeToString, text, __func__);
}

ZOV_API const char *speedTypeToString(speedType value) { return wordOf(kSpeed, value, __func__); }

ZOV_API speedType StringToSpeedType(const char *text) {
    return valueOf(kSpeed, speedTypeToString, text, __func__);
}

ZOV_API int32_t speedTypeToInt(speedType value) {
    if (value == SPEED_10 || value == SPEED_100 || value == SPEED_1000) return value;
    ZOV_REPORT(1, "Bad speedType '%d' for int conversion", value);
    return -1;
}

ZOV_API const char *duplexTypeToString(duplexType value) {
    return wordOf(kDuplex, value, __func__);
}

ZOV_API duplexType StringToDuplexType(const char *text) {
    return valueOf(kDuplex, duplexTypeToString, text, __func__);
}

ZOV_API const char *wirelessEnetAuthenticationTypeToString(wirelessEnetAuthenticationType value) {
    return wordOf(kWirelessAuthentication, value, __func__);
}

ZOV_API wirelessEnetAuthenticationType StringToWirelessEnetAuthenticationType(const char *text) {
    return valueOf(kWirelessAuthentication, wirelessEnetAuthenticationTypeToString, text, __func__);
}

ZOV_API const char *wirelessEnetEncryptionTypeToString(wirelessEnetEncryptionType value) {
    return wordOf(kWirelessEncryption, value, __func__);
}

ZOV_API wirelessEnetEncryptionType StringToWirelessEnetEncryptionType(const char *text) {
    return valueOf(kWirelessEncryption, wirelessEnetEncryptionTypeToString, text, __func__);
}

}  // extern "C"
