#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "LogCapture.h"
#include "Utils.h"
#include "XmlFunctions.h"

TEST(Utils, ZovStringTrimStripsBothEndsInPlace) {
    char text[] = "xxabcxx";
    char *kept = zovStringTrim(text, "x");
    EXPECT_EQ(kept, text + 2);
    EXPECT_STREQ(kept, "abc");

    char only[] = "xxx";
    EXPECT_EQ(zovStringTrim(only, "x"), nullptr);
    EXPECT_STREQ(only, "xxx");

    char mixed[] = " \t a b\t\n";
    EXPECT_STREQ(zovStringTrim(mixed, " \t\n"), "a b");
    char single[] = "a";
    EXPECT_EQ(zovStringTrim(single, "a"), nullptr);
    char empty[] = "";
    EXPECT_EQ(zovStringTrim(empty, "x"), empty);
    char untouched[] = " y ";
    EXPECT_EQ(zovStringTrim(untouched, ""), untouched);

    LogCapture log(1);
    EXPECT_EQ(zovStringTrim(nullptr, "x"), nullptr);
    EXPECT_EQ(zovStringTrim(text, nullptr), nullptr);
    EXPECT_TRUE(log.contains("[XmlFunctions   ]"));
    EXPECT_TRUE(log.contains("[zovStringTrim            ] :bad arguments\n"));
}

TEST(Utils, RemoveCaseAndTrimInPlace) {
    const char source[] = "a-b-c";
    char *removed = zovRemoveAllAppearanceOfCharFromString(source, '-');
    EXPECT_STREQ(removed, "abc");
    EXPECT_STREQ(source, "a-b-c");
    std::free(removed);

    char mixed[] = "MiXeD 1\xc3";
    EXPECT_EQ(zovToLower(mixed), mixed);
    EXPECT_STREQ(mixed, "mixed 1\xc3");
    converToupper(mixed);
    EXPECT_STREQ(mixed, "MIXED 1\xc3");

    char spaced[] = "\t x";
    EXPECT_EQ(ltrim(spaced), spaced);
    EXPECT_STREQ(spaced, "x");
    char blank[] = "";
    EXPECT_EQ(ltrim(blank), blank);
    EXPECT_EQ(ltrim(nullptr), nullptr);

    char line[] = "ab\r\ncd";
    char *cut = chomp(line);
    EXPECT_EQ(cut, line + 2);
    EXPECT_STREQ(line, "ab");
    char noEnd[] = "abc";
    EXPECT_EQ(chomp(noEnd), noEnd + 3);
}

TEST(Utils, HexDigitsAndSecurityKeys) {
    EXPECT_EQ(GetDecimal('7'), 7);
    EXPECT_EQ(GetDecimal('A'), 10);
    EXPECT_EQ(GetDecimal('F'), 15);
    EXPECT_EQ(GetDecimal('c'), 51);
    EXPECT_EQ(GetDecimal('G'), 23);
    EXPECT_EQ(GetDecimal(' '), -16);
    EXPECT_EQ(GetDecimal(0x100 + 'B'), 11);

    EXPECT_EQ(convertSecurityKey("12345678"), 305419896u);
    EXPECT_EQ(convertSecurityKey("FFFFFFFF"), 4294967295u);
    EXPECT_EQ(convertSecurityKey("ffffffff"), 0x96969696u);
    EXPECT_EQ(convertSecurityKey("0A0B0C0D"), 168496141u);
    EXPECT_EQ(convertSecurityKey("0000000G"), 23u);
    EXPECT_EQ(convertSecurityKey("1234567"), 1u);
    EXPECT_EQ(convertSecurityKey("123456789"), 1u);
    EXPECT_EQ(convertSecurityKey(nullptr), 1u);

    LogCapture log(3);
    convertSecurityKey("0A0B0C0D");
    EXPECT_TRUE(log.contains("[convertSecurityKey       ] :Convert security key: str: 0A0B0C0D:  168496141\n"));
}
