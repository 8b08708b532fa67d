#include <gtest/gtest.h>

#include <string>

#include "ConfigTree.h"
#include "EnumConversions.h"
#include "LogCapture.h"

// Every named value survives the round trip, and each word-to-value function
// tries exactly the words of its own enumeration.
TEST(EnumConversions, WordsRoundTrip) {
    LogCapture log(1);
    for (int32_t value : {1, 2, 3}) {
        EXPECT_EQ(stringToAddressAssignmentType(addressAssignmentTypeToString(value)), value);
    }
    for (int32_t value : {1, 2, 3, 4}) {
        EXPECT_EQ(stringToHostNameAssignmentType(hostNameAssignmentTypeToString(value)), value);
        EXPECT_EQ(StringToWirelessEnetAuthenticationType(wirelessEnetAuthenticationTypeToString(value)),
                  value);
    }
    for (int32_t value : {1, 2}) {
        EXPECT_EQ(StringToPhysicalConnectionType(physicalConnectionTypeToString(value)), value);
        EXPECT_EQ(StringToWirelessEnetEncryptionType(wirelessEnetEncryptionTypeToString(value)), value);
    }
    for (int32_t value : {1, 10, 100, 1000}) {
        EXPECT_EQ(StringToSpeedType(speedTypeToString(value)), value);
    }
    for (int32_t value : {1, 2, 3}) EXPECT_EQ(StringToDuplexType(duplexTypeToString(value)), value);
    EXPECT_EQ(log.text(), "");

    EXPECT_STREQ(addressAssignmentTypeToString(ADDRESS_ASSIGNMENT_BOOTP), "bootp");
    EXPECT_STREQ(hostNameAssignmentTypeToString(HOST_NAME_MAC_DERIVED), "macDerived");
    EXPECT_STREQ(hostNameAssignmentTypeToString(HOST_NAME_DNS_REVERSE_LOOKUP), "dnsReverseLookup");
    EXPECT_STREQ(speedTypeToString(SPEED_AUTO), "auto");
    EXPECT_STREQ(speedTypeToString(SPEED_1000), "1000");
    EXPECT_STREQ(duplexTypeToString(DUPLEX_AUTO), "auto");
    EXPECT_STREQ(wirelessEnetAuthenticationTypeToString(WIRELESS_AUTHENTICATION_WPA), "wpa");
    EXPECT_STREQ(wirelessEnetAuthenticationTypeToString(WIRELESS_AUTHENTICATION_WPA_PSK), "wpa-psk");
    EXPECT_STREQ(wirelessEnetEncryptionTypeToString(WIRELESS_ENCRYPTION_WEP), "wep");
    // The "unknown" words exist only in this direction.
    EXPECT_STREQ(physicalConnectionTypeToString(0), "unknown");
    EXPECT_STREQ(speedTypeToString(0), "unknown");
    EXPECT_STREQ(duplexTypeToString(0), "unknown");
    EXPECT_EQ(log.text(), "");
}

TEST(EnumConversions, UnknownValuesGiveNullAndAReport) {
    LogCapture log(1);
    EXPECT_EQ(addressAssignmentTypeToString(0), nullptr);
    EXPECT_EQ(hostNameAssignmentTypeToString(5), nullptr);
    EXPECT_EQ(physicalConnectionTypeToString(-1), nullptr);
    EXPECT_EQ(speedTypeToString(2), nullptr);
    EXPECT_EQ(duplexTypeToString(4), nullptr);
    EXPECT_EQ(wirelessEnetAuthenticationTypeToString(0), nullptr);
    EXPECT_EQ(wirelessEnetEncryptionTypeToString(0), nullptr);
    std::string text = log.text();
    EXPECT_NE(text.find("[EnumConversions]"), std::string::npos);
    for (const std::string &line :
         {reportLine("addressAssignmentTypeToString", "Unknown addressAssignmentType '0'"),
          reportLine("hostNameAssignmentTypeToString", "Unknown hostNameAssignmentType '5'"),
          reportLine("physicalConnectionTypeToString", "Unknown physicalConnectionType '-1'"),
          reportLine("speedTypeToString", "Unknown speedType '2'"),
          reportLine("duplexTypeToString", "Unknown duplexType '4'"),
          reportLine("wirelessEnetAuthenticationTypeToString",
                     "Unknown wirelessEnetAuthenticationType '0'"),
          reportLine("wirelessEnetEncryptionTypeToString", "Unknown wirelessEnetEncryptionType '0'")}) {
        EXPECT_NE(text.find(line), std::string::npos) << line;
    }
}

// Words are compared whole and exactly; "unknown" and NULL are refused.
TEST(EnumConversions, UnknownWordsGiveZeroAndAReport) {
    LogCapture log(1);
    EXPECT_EQ(stringToAddressAssignmentType("DHCP"), 0);
    EXPECT_EQ(stringToAddressAssignmentType(" dhcp"), 0);
    EXPECT_EQ(stringToAddressAssignmentType("dhcp2"), 0);
    EXPECT_EQ(stringToHostNameAssignmentType(""), 0);
    EXPECT_EQ(StringToPhysicalConnectionType("unknown"), 0);
    EXPECT_EQ(StringToSpeedType("unknown"), 0);
    EXPECT_EQ(StringToSpeedType("10 "), 0);
    EXPECT_EQ(StringToDuplexType("unknown"), 0);
    EXPECT_EQ(StringToWirelessEnetAuthenticationType("WPA-PSK"), 0);
    EXPECT_EQ(StringToWirelessEnetEncryptionType(nullptr), 0);
    std::string text = log.text();
    for (const std::string &line :
         {reportLine("stringToAddressAssignmentType", "Unknown addressAssignmentType 'DHCP'"),
          reportLine("stringToAddressAssignmentType", "Unknown addressAssignmentType ' dhcp'"),
          reportLine("stringToHostNameAssignmentType", "Unknown hostNameAssignmentType ''"),
          reportLine("StringToPhysicalConnectionType", "Unknown physicalConnectionType 'unknown'"),
          reportLine("StringToSpeedType", "Unknown speedType 'unknown'"),
          reportLine("StringToDuplexType", "Unknown duplexType 'unknown'"),
          reportLine("StringToWirelessEnetAuthenticationType",
                     "Unknown wirelessEnetAuthenticationType 'WPA-PSK'"),
          reportLine("StringToWirelessEnetEncryptionType",
                     "Unknown wirelessEnetEncryptionType '(null)'")}) {
        EXPECT_NE(text.find(line), std::string::npos) << line;
    }
}

TEST(EnumConversions, SpeedInMegabits) {
    LogCapture log(1);
    EXPECT_EQ(speedTypeToInt(SPEED_10), 10);
    EXPECT_EQ(speedTypeToInt(SPEED_100), 100);
    EXPECT_EQ(speedTypeToInt(SPEED_1000), 1000);
    EXPECT_EQ(log.text(), "");
    EXPECT_EQ(speedTypeToInt(SPEED_AUTO), -1);
    EXPECT_EQ(speedTypeToInt(SPEED_UNKNOWN), -1);
    EXPECT_EQ(speedTypeToInt(1001), -1);
    EXPECT_TRUE(log.contains(reportLine("speedTypeToInt", "Bad speedType '1' for int conversion")));
    EXPECT_TRUE(log.contains(reportLine("speedTypeToInt", "Bad speedType '1001' for int conversion")));
}
