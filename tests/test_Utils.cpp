#include <gtest/gtest.h>

#include "LogCapture.h"
#include "Utils.h"
#include "XmlFunctions.h"

TEST(Utils, TrimsStringEditsAndSecurityKeys) {
    // zovStringTrim works in place; kept is the offset of its result (-1: NULL, string untouched).
    struct { const char *text, *set; int kept; const char *after; } inPlace[] = {
        {"xxabcxx", "x", 2, "abc"}, {"xxx", "x", -1, "xxx"}, {" \t a b\t\n", " \t\n", 3, "a b"},
        {"", "x", 0, ""},           {" y ", "", 0, " y "}};
    for (const auto &c : inPlace) {
        std::string text = c.text;
        EXPECT_EQ(zovStringTrim(text.data(), c.set), c.kept < 0 ? nullptr : text.data() + c.kept) << c.text;
        EXPECT_STREQ(text.data() + (c.kept > 0 ? c.kept : 0), c.after) << c.text;
    }
    LogCapture log(3);
    EXPECT_TRUE(zovStringTrim(nullptr, "x") == nullptr && zovStringTrim(std::string("x").data(), nullptr) == nullptr);
    EXPECT_TRUE(log.contains("[XmlFunctions   ][") && log.has("zovStringTrim: bad arguments"));

    // stringTrim copies without leading blanks (' ' only); its bound is in test_Limits.
    const std::pair<const char *, const char *> copies[] = {{"  ab", "ab"}, {"\tab", "\tab"}, {"   ", ""}, {"ab  ", "ab  "}};
    for (const auto &[src, expected] : copies) {
        char dest[80];
        stringTrim(src, dest, sizeof dest);
        EXPECT_STREQ(dest, expected) << src;
    }

    char spaced[] = "\t x", blank[] = "";
    EXPECT_EQ(ltrim(spaced), spaced);
    EXPECT_STREQ(spaced, "x");
    EXPECT_TRUE(ltrim(blank) == blank && ltrim(nullptr) == nullptr);

    char *removed = zovRemoveAllAppearanceOfCharFromString("a-b-c", '-');
    EXPECT_STREQ(removed, "abc");
    std::free(removed);

    char mixed[] = "MiXeD 1\xc3", line[] = "ab\r\ncd", noEnd[] = "abc";
    EXPECT_EQ(zovToLower(mixed), mixed);
    EXPECT_STREQ(mixed, "mixed 1\xc3");
    converToupper(mixed);
    EXPECT_STREQ(mixed, "MIXED 1\xc3");
    EXPECT_EQ(chomp(line), line + 2);
    EXPECT_STREQ(line, "ab");
    EXPECT_EQ(chomp(noEnd), noEnd + 3);

    // Only upper-case letters are hex digits; the low 8 bits of the argument count.
    const std::pair<int, int> digits[] = {{'7', 7}, {'A', 10}, {'F', 15}, {'c', 51}, {' ', -16}, {0x100 + 'B', 11}};
    for (auto [c, value] : digits) EXPECT_EQ(GetDecimal(c), value) << c;
    const std::pair<const char *, uint64_t> keys[] = {
        {"12345678", 305419896u}, {"FFFFFFFF", 4294967295u}, {"ffffffff", 0x96969696u}, {"0A0B0C0D", 168496141u},
        {"0000000G", 23u},        {"1234567", 1u},           {"123456789", 1u},       {nullptr, 1u}};
    for (auto [key, value] : keys) EXPECT_EQ(convertSecurityKey(key), value) << (key ? key : "NULL");
    EXPECT_TRUE(log.has("convertSecurityKey: Convert security key: str: 0A0B0C0D:  168496141"));
}
