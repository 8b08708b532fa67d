#include <gtest/gtest.h>

#include <climits>

#include "XmlFunctions.h"
#include "XmlParserHarness.h"

TEST(XmlEscape, TableAndEscapedCopies) {
    // 66 bytes: each character, its replacement NUL-padded to 10, a zero end marker.
    static_assert(sizeof(xmlEscapes) == 66, "six packed entries");
    const char table[67] = "<&lt;\0\0\0\0\0\0>&gt;\0\0\0\0\0\0&&amp;\0\0\0\0\0\"&quot;\0\0\0\0'&apos;\0\0\0\0"
                           "\0\0\0\0\0\0\0\0\0\0\0";
    EXPECT_EQ(std::memcmp(xmlEscapes, table, 66), 0);
    EXPECT_EQ(getXmlEscape('"'), xmlEscapes[3].replacement);

    LogCapture log(1);
    std::string many, manyEscaped;  // one growth per special character
    for (int i = 0; i < 100000; ++i) many += '&', manyEscaped += "&amp;";
    for (auto [text, escaped] : {std::pair<std::string, std::string>{"plain text", "plain text"}, {"", ""},
                                 {"<a b=\"x\">it's & </a>", "&lt;a b=&quot;x&quot;&gt;it&apos;s &amp; &lt;/a&gt;"},
                                 {many, manyEscaped}}) {
        char *copy = xmlEscape(text.c_str());
        EXPECT_EQ(str(copy), escaped);
        std::free(copy);
    }
    EXPECT_EQ(xmlEscape(nullptr), nullptr);
    EXPECT_EQ(getXmlEscape('a'), nullptr);
    expectReports(log, {"getXmlEscape: Could not find XML replacement for 'a'"});
    EXPECT_EQ(getXmlEscape('\0'), nullptr);  // not the end marker's empty replacement
}

TEST(XmlWriter, ElementsNodeListsChainsAndRefusedArguments) {
    LogCapture log(1);
    CharBuffer *c = createCharBuffer();
    addStringElement(c, "a", "x<y & \"z\" it's>");
    addStringElement(c, "a", "");
    addStringElement(c, "a&b", ">");  // names are not escaped
    addStringElementNotEmpty(c, "a", "");
    addStringElementNotEmpty(c, "a", "&");
    addOpeningTag(c, "m");
    addEmptyElement(c, "x");
    addIntegerElement(c, "n", -42);
    addIntegerElement(c, "n", INT_MIN);
    addBoolElement(c, "b", 7);
    addBoolElement(c, "b", 0);
    addClosingTag(c, "m");
    // Without a tag name the value stands alone, and NULL tags write nothing.
    addIntegerElement(c, nullptr, 5);
    addBoolElement(c, nullptr, 1);
    addOpeningTag(c, nullptr);
    addClosingTag(c, nullptr);
    EXPECT_EQ(addXmlHeader(c), 0);

    // A leaf with "" is an empty element; a nameless parent writes no tags of its own; a nameless leaf is left out.
    ZovNode *group = newZovNode(nullptr, "ignored");
    addNewZovSubNode(group, "q", "");
    addNewZovSubNode(group, nullptr, "lost");
    addNewZovSubNode(addNewZovSubNode(group, "y", nullptr), "z", "1 < 2");
    addSubNodeStringsRecursive(c, group);
    freeZovNode(group);
    const std::string all = "<a>x&lt;y &amp; &quot;z&quot; it&apos;s&gt;</a><a></a><a&b>&gt;</a&b><a>&amp;</a>"
                            "<m><x/><n>-42</n><n>-2147483648</n><b>true</b><b>false</b></m>5true"
                            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>"
                            "<q></q><y><z>1 &lt; 2</z></y>";
    EXPECT_EQ(textOf(c), all);

    // Refusals append nothing; a NULL buffer fails each tag's append; chains check tag, source, destination.
    addStringElement(c, "a", nullptr);
    addStringElement(c, nullptr, "v");
    addStringElement(nullptr, "a", "v");
    addStringElementNotEmpty(c, "a", nullptr);
    addStringElementNotEmpty(nullptr, "a", "");
    addEmptyElement(c, nullptr);
    EXPECT_EQ(addXmlHeader(nullptr), -1);
    addOpeningTag(nullptr, "a");
    addCharBufferElement(nullptr, nullptr, nullptr);
    addCharBufferElement(nullptr, "t", nullptr);
    addCharBufferElement(nullptr, "t", c);
    addCharBufferRawData(nullptr, nullptr);
    addCharBufferRawData(nullptr, c);
    EXPECT_EQ(textOf(c), all);
    const char *bad = "addStringElement: bad arguments", *notEmpty = "addStringElementNotEmpty: bad arguments",
               *noBuffer = "addDataToCharBuffer: bufferPointer and data cannot be NULL";
    expectReports(log, {bad, bad, bad, bad, notEmpty, notEmpty, "addEmptyElement: unexpected empty tagName",
                        noBuffer, noBuffer, noBuffer, noBuffer, "addCharBufferElement: NULL tagName",
                        "addCharBufferElement: NULL srcBuffer", "addCharBufferElement: NULL destBuffer",
                        "addCharBufferRawData: NULL srcBuffer", "addCharBufferRawData: NULL destBuffer"});
    freeAllCharBuffers(c);

    // Writing fills the tail links; chains go out unescaped, one appended to itself as it was at the call.
    const std::string filler(2998, 'f'), half(750, 'v');
    CharBuffer *chain = chainOf(filler), *copy = createCharBuffer();
    addStringElement(chain, "tag", (half + '<' + half).c_str());
    const std::string text = filler + "<tag>" + half + "&lt;" + half + "</tag>";
    EXPECT_EQ(textOf(chain), text);
    addCharBufferElement(copy, "raw", chain);
    addCharBufferRawData(copy, chain);
    const std::string copied = "<raw>" + text + "</raw>" + text;
    EXPECT_EQ(textOf(copy), copied);
    addCharBufferRawData(chain, chain);
    EXPECT_EQ(textOf(chain), text + text);
    addCharBufferElement(copy, "e", copy);
    EXPECT_EQ(textOf(copy), copied + "<e>" + copied + "</e>");
    freeAllCharBuffers(copy);
    freeAllCharBuffers(chain);
}

TEST(XmlTagSearch, MatchingAndBadArguments) {
    LogCapture log(1);
    const char *walk = "<a>x</a><a>y</a>";
    // The text (NULL: none or empty) and the offset after the match (-1: not found). Only a plain
    // opening tag matches, then the first closing tag after it.
    const struct { const char *xml, *text; std::ptrdiff_t after; } cases[] = {
        {walk, "x", 8}, {walk + 8, "y", 8}, {"<a></a>", nullptr, 7}, {"<a>open only", nullptr, -1},
        {"</a> then <a>x</a>", "x", 18}, {"<a><a>x</a></a>", "<a>x", 11}, {"<a id=\"1\">x</a>", nullptr, -1},
        {"<a >x</a>", nullptr, -1}, {"<a/>", nullptr, -1}, {"<ab>x</ab>", nullptr, -1}};
    for (const auto &c : cases) {
        char *text = reinterpret_cast<char *>(1);
        char buffer[1024] = "stale";
        const char *expected = c.after < 0 ? nullptr : c.xml + c.after;
        EXPECT_EQ(getXmlTagPosition(c.xml, "a", &text), expected) << c.xml;
        EXPECT_EQ(getSimpleXmlTagPosition(c.xml, "a", buffer), expected) << c.xml;
        EXPECT_EQ(str(text), str(c.text)) << c.xml;
        EXPECT_STREQ(buffer, c.text ? c.text : "") << c.xml;
        std::free(text);
    }

    // NULL arguments clear *contents.
    const std::pair<const char *, const char *> refused[] = {{"<a>x</a>", nullptr}, {nullptr, "a"}};
    for (auto [text, tag] : refused) {
        char buffer[8], *copy = buffer;
        EXPECT_EQ(getSimpleXmlTagPosition(text, tag, buffer), nullptr);
        EXPECT_TRUE(getXmlTagPosition(text, tag, &copy) == nullptr && copy == nullptr);
    }
    const char *simple = "getSimpleXmlTagPosition: bad arguments", *copying = "getXmlTagPosition: bad arguments";
    expectReports(log, {simple, copying, simple, copying});
}
