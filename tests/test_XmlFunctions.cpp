#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>

#include "LogCapture.h"
#include "XmlFunctions.h"

namespace {

std::string chainText(CharBuffer *chain) {
    char *text = charBufferToChar(chain);
    std::string result(text, static_cast<std::size_t>(getTotalBufferLength(chain)));
    std::free(text);
    return result;
}

// Runs write on a new chain and returns what it appended.
template <typename Write>
std::string written(Write &&write) {
    CharBuffer *chain = createCharBuffer();
    write(chain);
    std::string text = chainText(chain);
    freeAllCharBuffers(chain);
    return text;
}

std::string reportLine(const std::string &function, const std::string &message) {
    std::string padded = function;
    padded.resize(25, ' ');
    return "[" + padded + "] :" + message + "\n";
}

std::size_t count(const std::string &text, const std::string &needle) {
    std::size_t n = 0;
    for (auto at = text.find(needle); at != std::string::npos; at = text.find(needle, at + 1)) ++n;
    return n;
}

}  // namespace

TEST(XmlEscape, TableLayoutAndLookup) {
    // 66 bytes: each character, its replacement NUL-padded to 10, a zero end marker.
    static_assert(sizeof(xmlEscapes) == 66, "six packed entries");
    const char expected[67] =
        "<&lt;\0\0\0\0\0\0>&gt;\0\0\0\0\0\0&&amp;\0\0\0\0\0\"&quot;\0\0\0\0'&apos;\0\0\0\0"
        "\0\0\0\0\0\0\0\0\0\0\0";
    EXPECT_EQ(std::memcmp(xmlEscapes, expected, 66), 0);
    EXPECT_EQ(getXmlEscape('"'), xmlEscapes[3].replacement);

    LogCapture log(1);
    EXPECT_EQ(getXmlEscape('a'), nullptr);
    EXPECT_TRUE(log.contains(reportLine("getXmlEscape", "Could not find XML replacement for 'a'")));
    EXPECT_EQ(getXmlEscape('\0'), nullptr);
}

TEST(XmlEscape, EscapedCopies) {
    LogCapture log(1);
    for (auto [text, escaped] :
         {std::pair{"plain text", "plain text"}, std::pair{"", ""},
          std::pair{"<a href=\"x\">it's & </a>",
                    "&lt;a href=&quot;x&quot;&gt;it&apos;s &amp; &lt;/a&gt;"}}) {
        char *copy = xmlEscape(text);
        EXPECT_STREQ(copy, escaped);
        EXPECT_NE(copy, text);
        std::free(copy);
    }
    EXPECT_EQ(xmlEscape(nullptr), nullptr);

    char *escaped = xmlEscape(std::string(100000, '&').c_str());  // only special characters
    std::string expected;
    for (int i = 0; i < 100000; ++i) expected += "&amp;";
    EXPECT_EQ(std::string(escaped), expected);
    std::free(escaped);
    EXPECT_EQ(log.text(), "");
}

TEST(XmlWriter, StringElements) {
    LogCapture log(1);
    EXPECT_EQ(written([](CharBuffer *c) { addStringElement(c, "a", "x<y & \"z\""); }),
              "<a>x&lt;y &amp; &quot;z&quot;</a>");
    EXPECT_EQ(written([](CharBuffer *c) { addStringElement(c, "a", "it's"); }), "<a>it&apos;s</a>");
    EXPECT_EQ(written([](CharBuffer *c) { addStringElement(c, "a", ""); }), "<a></a>");
    // Tag names are not escaped.
    EXPECT_EQ(written([](CharBuffer *c) { addStringElement(c, "a&b", ">"); }), "<a&b>&gt;</a&b>");
    EXPECT_EQ(written([](CharBuffer *c) { addStringElementNotEmpty(c, "a", ""); }), "");
    EXPECT_EQ(written([](CharBuffer *c) { addStringElementNotEmpty(c, "a", "&"); }),
              "<a>&amp;</a>");
    EXPECT_EQ(log.text(), "");

    EXPECT_EQ(written([](CharBuffer *c) { addStringElement(c, "a", nullptr); }), "");
    EXPECT_EQ(written([](CharBuffer *c) { addStringElement(c, nullptr, "v"); }), "");
    addStringElement(nullptr, "a", "v");
    EXPECT_EQ(count(log.text(), reportLine("addStringElement", "bad arguments")), 3u);
    log.clear();
    EXPECT_EQ(written([](CharBuffer *c) { addStringElementNotEmpty(c, "a", nullptr); }), "");
    addStringElementNotEmpty(nullptr, "a", "");
    EXPECT_EQ(count(log.text(), reportLine("addStringElementNotEmpty", "bad arguments")), 2u);
}

TEST(XmlWriter, TagsNumbersAndHeader) {
    LogCapture log(1);
    EXPECT_EQ(written([](CharBuffer *c) {
                  addOpeningTag(c, "m");
                  addEmptyElement(c, "x");
                  addIntegerElement(c, "n", -42);
                  addIntegerElement(c, "n", INT_MIN);
                  addBoolElement(c, "b", 7);
                  addBoolElement(c, "b", 0);
                  addClosingTag(c, "m");
              }),
              "<m><x/><n>-42</n><n>-2147483648</n><b>true</b><b>false</b></m>");
    // Without a tag name the value stands alone, and NULL tags write nothing.
    EXPECT_EQ(written([](CharBuffer *c) {
                  addIntegerElement(c, nullptr, 5);
                  addBoolElement(c, nullptr, 1);
                  addOpeningTag(c, nullptr);
                  addClosingTag(c, nullptr);
              }),
              "5true");
    EXPECT_EQ(log.text(), "");
    EXPECT_EQ(written([](CharBuffer *c) { addEmptyElement(c, nullptr); }), "");
    EXPECT_TRUE(log.contains(reportLine("addEmptyElement", "unexpected empty tagName")));

    EXPECT_EQ(written([](CharBuffer *c) { EXPECT_EQ(addXmlHeader(c), 0); }),
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>");

    // A NULL buffer: each append of a tag fails on its own.
    log.clear();
    EXPECT_EQ(addXmlHeader(nullptr), -1);
    addOpeningTag(nullptr, "a");
    EXPECT_EQ(count(log.text(), "bufferPointer and data cannot be NULL"), 4u);
}

TEST(XmlWriter, AppendsAcrossLinksOfALongChain) {
    // The writer starts at the tail of a chain of several links and fills
    // every link to 1000 bytes before it adds one.
    CharBuffer *chain = createCharBuffer();
    std::string filler(2998, 'f');
    addDataToCharBuffer(chain, filler.data(), static_cast<int>(filler.size()));
    std::string value(1500, 'v');
    value[700] = '<';
    addStringElement(chain, "tag", value.c_str());
    addIntegerElement(chain, "n", 1);

    std::string expectedValue = value;
    expectedValue.replace(700, 1, "&lt;");
    EXPECT_EQ(chainText(chain), filler + "<tag>" + expectedValue + "</tag><n>1</n>");
    for (CharBuffer *link = chain; link->next != nullptr; link = link->next)
        EXPECT_EQ(link->length, 1000);
    freeAllCharBuffers(chain);
}

TEST(XmlWriter, ChainContents) {
    LogCapture log(1);
    CharBuffer *src = createCharBuffer();
    std::string text = "a<b" + std::string(2497, 'x');
    addDataToCharBuffer(src, text.data(), static_cast<int>(text.size()));
    EXPECT_EQ(written([src](CharBuffer *c) { addCharBufferElement(c, "raw", src); }),
              "<raw>" + text + "</raw>");
    EXPECT_EQ(written([src](CharBuffer *c) { addCharBufferRawData(c, src); }), text);
    EXPECT_EQ(chainText(src), text);  // unchanged

    // A chain appended to itself gets its bytes as they were at the call.
    addCharBufferRawData(src, src);
    EXPECT_EQ(chainText(src), text + text);
    CharBuffer *self = createCharBuffer();
    addDataToCharBuffer(self, "ab", 2);
    addCharBufferElement(self, "e", self);
    EXPECT_EQ(chainText(self), "ab<e>ab</e>");
    freeAllCharBuffers(self);
    EXPECT_EQ(log.text(), "");

    // Arguments are checked in the order tag, source, destination.
    addCharBufferElement(nullptr, nullptr, nullptr);
    addCharBufferElement(nullptr, "t", nullptr);
    addCharBufferRawData(nullptr, nullptr);
    addCharBufferRawData(nullptr, src);
    EXPECT_TRUE(log.contains(reportLine("addCharBufferElement", "NULL tagName")));
    EXPECT_TRUE(log.contains(reportLine("addCharBufferElement", "NULL srcBuffer")));
    EXPECT_TRUE(log.contains(reportLine("addCharBufferRawData", "NULL srcBuffer")));
    EXPECT_TRUE(log.contains(reportLine("addCharBufferRawData", "NULL destBuffer")));
    EXPECT_EQ(count(log.text(), "\n"), 4u);
    freeAllCharBuffers(src);
}

TEST(XmlWriter, NodeLists) {
    LogCapture log(1);
    // P (contents "p") holds R ("r") and S (no contents); Q holds "".
    ZovNode *p = newZovNode("P", "p");
    addNewZovSubNode(p, "R", "r");
    addNewZovSubNode(p, "S", nullptr);
    p->nextNode = newZovNode("Q", "");
    EXPECT_EQ(written([p](CharBuffer *c) { addSubNodeStringsRecursive(c, p); }),
              "<P><R>r</R></P><Q></Q>");
    EXPECT_TRUE(log.contains(reportLine("addStringElement", "bad arguments")));
    EXPECT_EQ(count(log.text(), "bad arguments"), 1u);
    freeZovNode(p);

    // A nameless node with sub-nodes writes none of its own tags; a nameless
    // leaf is left out; escaping applies to contents only.
    log.clear();
    ZovNode *group = newZovNode(nullptr, "ignored");
    addNewZovSubNode(group, "x", "1 < 2");
    addNewZovSubNode(group, nullptr, "lost");
    ZovNode *inner = addNewZovSubNode(group, "y", nullptr);
    addNewZovSubNode(inner, "z", "it's");
    EXPECT_EQ(written([group](CharBuffer *c) { addSubNodeStringsRecursive(c, group); }),
              "<x>1 &lt; 2</x><y><z>it&apos;s</z></y>");
    EXPECT_EQ(count(log.text(), "bad arguments"), 1u);
    freeZovNode(group);

    log.clear();
    EXPECT_EQ(written([](CharBuffer *c) { addSubNodeStringsRecursive(c, nullptr); }), "");
    EXPECT_EQ(log.text(), "");
}

TEST(XmlWriter, DeepAndWideTrees) {
    // 200000 nested levels: written with an explicit stack, not the C stack.
    constexpr int kDepth = 200000;
    ZovNode *root = newZovNode("d", nullptr);
    ZovNode *node = root;
    for (int i = 1; i < kDepth; ++i) node = node->subNode = newZovNode("d", nullptr);
    node->subNode = newZovNode("leaf", "v");
    std::string expected;
    for (int i = 0; i < kDepth; ++i) expected += "<d>";
    expected += "<leaf>v</leaf>";
    for (int i = 0; i < kDepth; ++i) expected += "</d>";
    EXPECT_EQ(written([root](CharBuffer *c) { addSubNodeStringsRecursive(c, root); }), expected);
    freeZovNode(root);
}

TEST(XmlTagSearch, WalksRepeatedElements) {
    const char *xml = "<a>x</a><a>y</a>";
    char *text = nullptr;
    char buffer[1024];
    const char *position = getXmlTagPosition(xml, "a", &text);
    EXPECT_EQ(position, getSimpleXmlTagPosition(xml, "a", buffer));
    EXPECT_EQ(position, xml + 8);
    EXPECT_STREQ(text, "x");
    std::free(text);
    EXPECT_EQ(getSimpleXmlTagPosition(position, "a", buffer), xml + 16);  // the terminating NUL
    EXPECT_STREQ(buffer, "y");
    EXPECT_EQ(getSimpleXmlTagPosition(xml + 16, "a", buffer), nullptr);
    EXPECT_STREQ(buffer, "");
}

TEST(XmlTagSearch, LiteralMatching) {
    LogCapture log(1);
    struct Case {
        const char *xml;
        const char *text;       // NULL: no text (not found or empty)
        std::ptrdiff_t after;   // -1: not found
    };
    const Case cases[] = {
        {"<a></a>", nullptr, 7},
        {"<a>open only", nullptr, -1},
        {"</a> then <a>x</a>", "x", 18},       // a closing tag before the opening one
                                               // does not count
        {"<a><a>x</a></a>", "<a>x", 11},       // nested: up to the first closing tag
        {"<a id=\"1\">x</a>", nullptr, -1},    // attributes
        {"<a >x</a>", nullptr, -1},            // blanks
        {"<a/>", nullptr, -1},                 // empty-element tag
        {"<ab>x</ab>", nullptr, -1},
    };
    for (const Case &c : cases) {
        char *text = reinterpret_cast<char *>(1);
        char buffer[1024] = "stale";
        char *position = getXmlTagPosition(c.xml, "a", &text);
        char *simple = getSimpleXmlTagPosition(c.xml, "a", buffer);
        if (c.after < 0) {
            EXPECT_EQ(position, nullptr) << c.xml;
            EXPECT_EQ(simple, nullptr) << c.xml;
        } else {
            EXPECT_EQ(position, c.xml + c.after) << c.xml;
            EXPECT_EQ(simple, c.xml + c.after) << c.xml;
        }
        if (c.text == nullptr) {
            EXPECT_EQ(text, nullptr) << c.xml;
            EXPECT_STREQ(buffer, "") << c.xml;
        } else {
            EXPECT_STREQ(text, c.text) << c.xml;
            EXPECT_STREQ(buffer, c.text) << c.xml;
        }
        std::free(text);
    }
    EXPECT_EQ(log.text(), "");
}

TEST(XmlTagSearch, LimitsAndBadArguments) {
    // The caller's buffer takes 1023 bytes of text and its terminator, no more.
    std::string text(1023, 't');
    std::string xml = "<v>" + text + "</v>";
    char buffer[1025];
    std::memset(buffer, '#', sizeof buffer);
    EXPECT_EQ(getSimpleXmlTagPosition(xml.c_str(), "v", buffer), xml.c_str() + xml.size());
    EXPECT_EQ(std::string(buffer), text);
    EXPECT_EQ(buffer[1024], '#');
    xml = "<v>" + text + "t</v>";
    EXPECT_EQ(getSimpleXmlTagPosition(xml.c_str(), "v", buffer), nullptr);
    EXPECT_STREQ(buffer, "");
    char *copy = nullptr;
    getXmlTagPosition(xml.c_str(), "v", &copy);
    EXPECT_EQ(std::strlen(copy), 1024u);
    std::free(copy);

    // Tag names of up to 124 characters fit the 128-byte patterns.
    LogCapture log(1);
    std::string name(124, 'n');
    xml = "<" + name + ">ok</" + name + ">";
    EXPECT_NE(getSimpleXmlTagPosition(xml.c_str(), name.c_str(), buffer), nullptr);
    EXPECT_STREQ(buffer, "ok");
    EXPECT_EQ(log.text(), "");

    // Refused: a name that does not fit the patterns, NULL arguments. The
    // caller's buffer is left alone, *contents is cleared.
    std::string tooLong = name + 'n';
    xml = "<" + tooLong + ">ok</" + tooLong + ">";
    std::strcpy(buffer, "untouched");
    for (const char *tag : {tooLong.c_str(), static_cast<const char *>(nullptr)}) {
        EXPECT_EQ(getSimpleXmlTagPosition(xml.c_str(), tag, buffer), nullptr);
        copy = reinterpret_cast<char *>(1);
        EXPECT_EQ(getXmlTagPosition(xml.c_str(), tag, &copy), nullptr);
        EXPECT_EQ(copy, nullptr);
    }
    EXPECT_EQ(getSimpleXmlTagPosition(nullptr, "a", buffer), nullptr);
    EXPECT_EQ(getSimpleXmlTagPosition("<a>x</a>", "a", nullptr), nullptr);
    EXPECT_EQ(getXmlTagPosition(nullptr, "a", &copy), nullptr);
    EXPECT_EQ(getXmlTagPosition("<a>x</a>", "a", nullptr), nullptr);
    EXPECT_STREQ(buffer, "untouched");
    EXPECT_EQ(count(log.text(), reportLine("getXmlTagPosition", "bad arguments")), 4u);
    EXPECT_EQ(count(log.text(), reportLine("getSimpleXmlTagPosition", "bad arguments")), 4u);
}
