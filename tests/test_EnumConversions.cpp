#include <gtest/gtest.h>

#include <string>

#include "ConfigTree.h"
#include "EnumConversions.h"
#include "LogCapture.h"

namespace {

struct Conversions {
    const char *(*toWord)(int32_t);
    int32_t (*toValue)(const char *);
    std::initializer_list<int32_t> accepted;  // values whose words read back
    const char *refusedWord;                  // a word that reads as 0
    int32_t valueWithoutWord;
    const char *toWordName, *toValueName, *typeName;
};

const Conversions kAll[] = {
    {addressAssignmentTypeToString, stringToAddressAssignmentType, {1, 2, 3}, "DHCP", 0,
     "addressAssignmentTypeToString", "stringToAddressAssignmentType", "addressAssignmentType"},
    {hostNameAssignmentTypeToString, stringToHostNameAssignmentType, {1, 2, 3, 4}, "", 5,
     "hostNameAssignmentTypeToString", "stringToHostNameAssignmentType", "hostNameAssignmentType"},
    {physicalConnectionTypeToString, StringToPhysicalConnectionType, {1, 2}, "unknown", 3,
     "physicalConnectionTypeToString", "StringToPhysicalConnectionType", "physicalConnectionType"},
    {speedTypeToString, StringToSpeedType, {1, 10, 100, 1000}, "unknown", 2, "speedTypeToString",
     "StringToSpeedType", "speedType"},
    {duplexTypeToString, StringToDuplexType, {1, 2, 3}, " full", -1, "duplexTypeToString", "StringToDuplexType",
     "duplexType"},
    {wirelessEnetAuthenticationTypeToString, StringToWirelessEnetAuthenticationType, {1, 2, 3, 4}, "WPA-PSK", 0,
     "wirelessEnetAuthenticationTypeToString", "StringToWirelessEnetAuthenticationType",
     "wirelessEnetAuthenticationType"},
    {wirelessEnetEncryptionTypeToString, StringToWirelessEnetEncryptionType, {1, 2}, nullptr, 0,
     "wirelessEnetEncryptionTypeToString", "StringToWirelessEnetEncryptionType", "wirelessEnetEncryptionType"},
};

}  // namespace

// Every named value survives the round trip; values without a word and words
// that are not accepted (case, blanks, "unknown", NULL) are reported.
TEST(EnumConversions, RoundTripsAndRefusals) {
    LogCapture log(1);
    for (const Conversions &c : kAll) {
        for (int32_t value : c.accepted) EXPECT_EQ(c.toValue(c.toWord(value)), value) << c.typeName;
        EXPECT_EQ(log.text(), "");
        EXPECT_EQ(c.toWord(c.valueWithoutWord), nullptr);
        EXPECT_EQ(c.toValue(c.refusedWord), 0);
        std::string word = c.refusedWord != nullptr ? c.refusedWord : "(null)";
        expectReports(log, {{c.toWordName, "Unknown " + std::string(c.typeName) + " '" +
                                               std::to_string(c.valueWithoutWord) + "'"},
                            {c.toValueName, "Unknown " + std::string(c.typeName) + " '" + word + "'"}});
        log.clear();
    }
    EXPECT_STREQ(hostNameAssignmentTypeToString(HOST_NAME_DNS_REVERSE_LOOKUP), "dnsReverseLookup");
    EXPECT_STREQ(speedTypeToString(SPEED_1000), "1000");
    EXPECT_STREQ(duplexTypeToString(DUPLEX_AUTO), "auto");
    EXPECT_STREQ(wirelessEnetAuthenticationTypeToString(WIRELESS_AUTHENTICATION_WPA_PSK), "wpa-psk");
    // "unknown" exists in this direction only.
    EXPECT_STREQ(physicalConnectionTypeToString(0), "unknown");
    EXPECT_STREQ(duplexTypeToString(0), "unknown");
    EXPECT_EQ(log.text(), "");
}

TEST(EnumConversions, SpeedInMegabits) {
    LogCapture log(1);
    EXPECT_EQ(speedTypeToInt(SPEED_10), 10);
    EXPECT_EQ(speedTypeToInt(SPEED_1000), 1000);
    EXPECT_EQ(speedTypeToInt(SPEED_AUTO), -1);
    EXPECT_EQ(speedTypeToInt(SPEED_UNKNOWN), -1);
    expectReports(log, {{"speedTypeToInt", "Bad speedType '1' for int conversion"},
                        {"speedTypeToInt", "Bad speedType '0' for int conversion"}});
}
