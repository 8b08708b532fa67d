#include <gtest/gtest.h>

#include "ConfigCommands.h"
#include "EnumConversions.h"

namespace {

// Two conversions, their words in order of the accepted values, a refused word, a value without a word.
struct Conversions {
    const char *(*toWord)(int32_t);
    int32_t (*toValue)(const char *);
    const char *typeName, *toValueName, *words, *refusedWord;
    std::initializer_list<int32_t> accepted;
    int32_t valueWithoutWord;
};

#define CONVERSIONS(type, toValue) type##ToString, toValue, #type, #toValue
const Conversions kAll[] = {
    {CONVERSIONS(addressAssignmentType, stringToAddressAssignmentType), "static dhcp bootp", "DHCP", {1, 2, 3}, 0},
    {CONVERSIONS(hostNameAssignmentType, stringToHostNameAssignmentType),
     "static macDerived dhcpAssigned dnsReverseLookup", "", {1, 2, 3, 4}, 5},
    {CONVERSIONS(physicalConnectionType, StringToPhysicalConnectionType), "wired wireless", "unknown", {1, 2}, 3},
    {CONVERSIONS(speedType, StringToSpeedType), "auto 10 100 1000", "unknown", {1, 10, 100, 1000}, 2},
    {CONVERSIONS(duplexType, StringToDuplexType), "half full auto", " full", {1, 2, 3}, -1},
    {CONVERSIONS(wirelessEnetAuthenticationType, StringToWirelessEnetAuthenticationType), "open shared wpa wpa-psk",
     "WPA-PSK", {1, 2, 3, 4}, 0},
    {CONVERSIONS(wirelessEnetEncryptionType, StringToWirelessEnetEncryptionType), "none wep", nullptr, {1, 2}, 0},
};
#undef CONVERSIONS

}  // namespace

// Every named value survives the round trip; other values and words are reported.
TEST(EnumConversions, RoundTripsAndRefusals) {
    LogCapture log(1);
    for (const Conversions &c : kAll) {
        std::string words;
        for (int32_t value : c.accepted) {
            EXPECT_EQ(c.toValue(c.toWord(value)), value) << c.typeName;
            words += std::string(words.empty() ? "" : " ") + c.toWord(value);
        }
        EXPECT_EQ(words, c.words);
        EXPECT_EQ(log.text(), "");
        EXPECT_EQ(c.toWord(c.valueWithoutWord), nullptr);
        EXPECT_EQ(c.toValue(c.refusedWord), 0);
        std::string unknown = ": Unknown " + std::string(c.typeName) + " '";
        expectReports(log, {c.typeName + ("ToString" + unknown) + std::to_string(c.valueWithoutWord) + "'",
                            c.toValueName + unknown + (c.refusedWord != nullptr ? c.refusedWord : "(null)") + "'"});
        log.clear();
    }
    // "unknown" exists in this direction only; speeds in megabits.
    EXPECT_STREQ(physicalConnectionTypeToString(0), "unknown");
    EXPECT_STREQ(duplexTypeToString(0), "unknown");
    EXPECT_TRUE(speedTypeToInt(SPEED_10) == 10 && speedTypeToInt(SPEED_1000) == 1000 && log.text().empty());
    EXPECT_TRUE(speedTypeToInt(SPEED_AUTO) == -1 && speedTypeToInt(SPEED_UNKNOWN) == -1);
    expectReports(log, {"speedTypeToInt: Bad speedType '1' for int conversion",
                        "speedTypeToInt: Bad speedType '0' for int conversion"});
}
