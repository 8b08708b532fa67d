#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <stdexcept>
#include <string>

#include "LogCapture.h"
#include "XmlParserHarness.h"

namespace {

std::string commandSet(const std::string &envelopes) {
    return "<zovMessage><commandSet>" + envelopes + "</commandSet></zovMessage>";
}

// The end of a report line of the parser: function column and message.
std::string report(const char *function, const std::string &message) {
    char column[40];
    std::snprintf(column, sizeof column, "[%-25s] :", function);
    return column + message + "\n";
}

long lines(const std::string &text) { return std::count(text.begin(), text.end(), '\n'); }

}  // namespace

TEST(XmlParser, CommandEnvelopesAndChains) {
    LogCapture log(1);
    Delivered d;
    // A "commandGuid" after the command element, a second command element, a
    // second envelope, a top-level "deviceGuid" (same chain), a new wrapper
    // (new chain), then an envelope after a result (still that chain).
    d.parse("<zovMessage><commandSet><commandEnvelope><X><a>1</a></X><commandGuid>g1</commandGuid>"
            "<Z><b>2</b></Z><commandGuid>g2</commandGuid></commandEnvelope>"
            "<deviceGuid>dev-1</deviceGuid><commandEnvelope><B/></commandEnvelope></commandSet>"
            "<commandSet><commandEnvelope><C/></commandEnvelope></commandSet>"
            "<resultEnvelope/><commandEnvelope><D/></commandEnvelope></zovMessage>");
    ASSERT_EQ(d.commands.size(), 5u);
    auto &c = d.commands;
    EXPECT_EQ(c[0].record, c[1].record);
    EXPECT_EQ(c[0].name + c[0].guid + " " + c[1].name + c[1].guid, "X(null) Zg1");
    EXPECT_EQ(str(c[0].record->commandName) + str(c[0].record->commandGuid), "Zg2");
    EXPECT_EQ(dumpTree(c[0].record->rootNode), "Command\n  a=1\n  b=2\n");
    EXPECT_EQ(c[2].chainHead, c[0].record);
    EXPECT_EQ(c[0].record->next, c[2].record);
    EXPECT_EQ(c[3].chainHead, c[3].record);
    EXPECT_EQ(c[4].chainHead, c[3].record);
    EXPECT_EQ(c[3].record->next, c[4].record);
    EXPECT_EQ(d.deviceGuid, "dev-1");
    EXPECT_EQ(log.text(), "");

    // Only the text of a top-level "deviceGuid" counts, the last one wins.
    Delivered guids;
    guids.parse("<m><deviceGuid>one</deviceGuid><deviceGuid><x/>two</deviceGuid><commandEnvelope>"
                "<deviceGuid>inner</deviceGuid></commandEnvelope></m>");
    EXPECT_EQ(guids.deviceGuid, "one");
    EXPECT_EQ(guids.commands.at(0).name, "deviceGuid");  // a command element there
}

TEST(XmlParser, ResultEventResultNoCommandsAndDialog) {
    LogCapture log(1);
    Delivered d;
    d.parse("<m><resultEnvelope><commandGuid>g2</commandGuid><success/></resultEnvelope>"
            "<resultEnvelope><eventGuid>e1</eventGuid><error>x</error><detail><m>ok</m></detail>"
            "<dialog><dialogGuid>no</dialogGuid></dialog></resultEnvelope>"
            "<resultEnvelope><commandGuid><sub/></commandGuid><success/></resultEnvelope><resultEnvelope/>"
            "<eventResultSet><assetLevel>a</assetLevel><nextAssetReportSeconds>900</nextAssetReportSeconds>"
            "<eventResultEnvelope><eventGuid>e1</eventGuid><success/></eventResultEnvelope></eventResultSet>"
            "<eventResultSet><assetLevel><x>1</x></assetLevel><other/></eventResultSet>"
            "<noCommands><pollIntervalSeconds>300</pollIntervalSeconds></noCommands>"
            "<dialog><dialogGuid>d1</dialogGuid><prompt><title>T</title></prompt></dialog>"
            "<dialog><dialogGuid><x/></dialogGuid></dialog></m>");
    EXPECT_EQ(d.kinds, "rrrreendd");
    auto &r = d.results;
    EXPECT_EQ(str(r[0]->guid) + std::to_string(r[0]->success), "g21");
    EXPECT_EQ(str(r[1]->guid) + std::to_string(r[1]->success), "e10");
    EXPECT_EQ(dumpTree(r[1]->rootNode), "Result\n  m=ok\n  dialogGuid=no\n");
    EXPECT_EQ(r[2]->guid, nullptr);
    EXPECT_EQ(dumpTree(r[2]->rootNode), "Result\n  sub=\n");
    EXPECT_EQ(r[3]->success, 0);  // neither "success" nor "error"
    auto &e = d.eventResults;
    EXPECT_EQ(str(e[0]->assetLevel) + "," + str(e[0]->nextAssetReportSeconds), "a,900");
    EXPECT_EQ(dumpTree(e[0]->rootNode), "EventResult\n  eventGuid=e1\n  success=\n");
    EXPECT_EQ(e[1]->assetLevel, nullptr);  // it had a sub-element: no copy, no report
    EXPECT_EQ(dumpTree(e[1]->rootNode), "EventResult\n  x=1\n");
    EXPECT_EQ(dumpTree(d.noCommands[0]->rootNode), "NoCommands\n");
    EXPECT_EQ(str(d.dialogs[0]->dialogGuid) + " " + str(d.dialogs[1]->dialogGuid), "d1 (null)");
    EXPECT_EQ(dumpTree(d.dialogs[0]->rootNode), "Dialog\n  title=T\n");

    const std::string logged = log.text();
    EXPECT_EQ(logged.rfind("[XmlParser      ][", 0), 0u);
    for (const char *message :
         {"Unexpected tag 'detail' received", "Unexpected tag 'dialog' received",
          "Unexpected null contents getting eventGuid", "Expected eventResultEnvelope end tag, got 'other'",
          "Unexpected null contents getting dialogGuid"})
        EXPECT_NE(logged.find(report("endElementHandler", message)), std::string::npos) << message;
    EXPECT_EQ(lines(logged), 5);
}

TEST(XmlParser, NodeContentsFromText) {
    // A parent keeps the text before its first sub-element (or none), a leaf
    // all of its text; text directly in an envelope or at the top level is dropped.
    LogCapture quiet(0);
    Delivered d;
    d.parse("<?xml version=\"1.0\"?>\n<m>top\n <noCommands>\n  dropped\n  <detail>\n    <a>  spaced  </a>\n"
            "    <b/><c></c>\n    <d>x &amp; y &lt;z&gt;<![CDATA[ <raw> ]]>&#65;\nline2</d>\n  </detail>\n"
            "  <x><p>\n   <q>1</q>tail</p><r><s/></r></x>\n </noCommands>\n</m>\n");
    EXPECT_EQ(dumpTree(d.noCommands.at(0)->rootNode),
              "NoCommands\n  a=  spaced  \n  b=\n  c=\n  d=x & y <z> <raw> A\nline2\n"
              "  p=\n   \n    q=1\n  r\n    s=\n");
}

TEST(XmlParser, TreeMatchesAddByDepth) {
    // A random document under a command element; the expected tree is built
    // with addNewZovSubNodeDepth in document order.
    std::mt19937 random(7);
    ZovNode *expected = newZovNode("Command", nullptr);
    std::vector<std::pair<std::string, ZovNode *>> open;
    std::string body, lead;
    auto close = [&] {
        ZovNode *node = open.back().second;
        if (node->subNode == nullptr) node->contents = strdup(lead.c_str());
        body += "</" + open.back().first + ">";
        open.pop_back();
        lead.clear();
    };
    for (int i = 0; i < 3000; ++i) {
        if (random() % 3 != 0 && open.size() < 12) {
            std::string name = "n" + std::to_string(random() % 50);
            if (!open.empty() && !lead.empty() && open.back().second->subNode == nullptr)
                open.back().second->contents = strdup(lead.c_str());
            lead = random() % 2 ? "t" + std::to_string(i) : "";
            body += "<" + name + ">" + lead;
            const int level = static_cast<int>(open.size()) + 1;
            open.push_back({name, addNewZovSubNodeDepth(expected, name.c_str(), nullptr, level)});
        } else if (!open.empty()) {
            close();
        }
    }
    while (!open.empty()) close();
    Delivered d;
    d.parse(commandSet("<commandEnvelope><cmd>" + body + "</cmd></commandEnvelope>"));
    EXPECT_EQ(dumpTree(d.commands.at(0).record->rootNode), dumpTree(expected));
    freeZovNode(expected);
}

TEST(XmlParser, AttributesAreReportedInsideEnvelopesOnly) {
    LogCapture log(2);
    Delivered d;
    d.parse("<m a='1'><noCommands b='2'><p x='1' y='two'>t</p></noCommands></m>");
    const std::string logged = log.text();
    std::size_t at = 0;
    for (const char *message : {"x='1'", "y='two'", "Atts found, not yet supported"}) {
        at = logged.find(report("startElementHandler", message), at);
        ASSERT_NE(at, std::string::npos) << message;
    }
    EXPECT_EQ(lines(logged), 3);
    EXPECT_EQ(d.kinds, "n");
}

TEST(XmlParser, ChainInputAndOneDocumentPerContext) {
    std::string envelopes;
    for (int i = 0; i < 100; ++i)
        envelopes += "<commandEnvelope><commandGuid>g" + std::to_string(i) + "</commandGuid><cmd><v>" +
                     std::string(40, 'v') + "</v></cmd></commandEnvelope>\n";
    Delivered fromString, fromChain;
    EXPECT_EQ(fromString.parse(commandSet(envelopes)), 0);
    EXPECT_EQ(fromChain.parse(commandSet(envelopes), true), 0);
    ASSERT_EQ(fromChain.commands.size(), 100u);
    for (std::size_t i = 0; i < 100; ++i) {
        EXPECT_EQ(fromChain.commands[i].guid, "g" + std::to_string(i));
        EXPECT_EQ(dumpTree(fromChain.commands[i].record->rootNode),
                  dumpTree(fromString.commands[i].record->rootNode));
    }

    Delivered twice;
    XmlParserStruct *parser = twice.makeParser();
    EXPECT_EQ(xmlParserParseCharBuffer(parser, nullptr), 0);  // an empty document
    EXPECT_EQ(xmlParserParseChar(parser, "<noCommands/>"), 0);
    endXmlParser(parser);
    EXPECT_EQ(twice.kinds, "");
    EXPECT_EQ(xmlParserParseChar(nullptr, "<a/>"), -1);
    EXPECT_EQ(xmlParserParseCharBuffer(nullptr, nullptr), -1);
}

TEST(XmlParser, MalformedAndCutOffDocuments) {
    LogCapture quiet(0);
    Delivered d;
    EXPECT_EQ(d.parse("<m><noCommands/><dialog/><resultEnvelope><success/><bad></resultEnvelope></m>"), 0);
    EXPECT_EQ(d.kinds, "nd");  // the open envelope is not delivered

    // Every prefix of a document with every kind: no crash, no leak, no
    // double release, and deliveries only grow with the prefix.
    const std::string xml =
        "<m><deviceGuid>dev</deviceGuid><commandSet><commandEnvelope><commandGuid>g</commandGuid>"
        "<cmd a='1'><x>1<y>2</y></x></cmd><commandGuid>h</commandGuid></commandEnvelope>"
        "<commandEnvelope><c2><z/></c2></commandEnvelope></commandSet>"
        "<resultEnvelope><eventGuid>e</eventGuid><success/><r><s>t</s></r></resultEnvelope>"
        "<eventResultSet><assetLevel>1</assetLevel><eventResultEnvelope><k>v</k></eventResultEnvelope>"
        "</eventResultSet><noCommands><p>q</p></noCommands>"
        "<dialog><dialogGuid>d</dialogGuid><w/></dialog></m>";
    std::string previous;
    for (std::size_t cut = 0; cut <= xml.size(); ++cut) {
        Delivered part;
        EXPECT_EQ(part.parse(xml.substr(0, cut), cut % 2 == 0), 0);
        EXPECT_EQ(part.kinds.rfind(previous, 0), 0u) << cut;
        previous = part.kinds;
    }
    EXPECT_EQ(previous, "ccrend");
}

TEST(XmlParser, WhatNobodyReceivedIsReleasedByTheParser) {
    // Without callbacks everything goes back with endXmlParser (leaks show
    // under AddressSanitizer), an envelope left open included.
    XmlParserStruct *parser = initXmlParser();
    xmlParserParseChar(parser, "<m><deviceGuid>dev</deviceGuid><commandSet><commandEnvelope><commandGuid>g"
                               "</commandGuid><cmd><x>1</x></cmd></commandEnvelope></commandSet><commandSet>"
                               "<commandEnvelope><c/></commandEnvelope></commandSet><resultEnvelope><eventGuid>e"
                               "</eventGuid></resultEnvelope><eventResultSet><assetLevel>1</assetLevel>"
                               "</eventResultSet><noCommands/><dialog><dialogGuid>d</dialogGuid></dialog>"
                               "<dialog><dialogGuid>open</dialogGuid><x>");
    EXPECT_STREQ(parser->deviceGuid, "dev");
    endXmlParser(parser);

    // A chain is the callee's once any record of it was handed over, also a
    // record before it or one appended and left open afterwards.
    Delivered d;
    d.parse(commandSet("<commandEnvelope><commandGuid>g</commandGuid></commandEnvelope>"
                       "<commandEnvelope><cmd/></commandEnvelope><commandEnvelope><open>"));
    ASSERT_EQ(d.commands.size(), 1u);
    ZovCommandStruct *head = d.commands[0].chainHead;
    EXPECT_STREQ(head->commandGuid, "g");
    EXPECT_EQ(head->next, d.commands[0].record);
    ASSERT_NE(head->next->next, nullptr);
}

TEST(XmlParser, HostileShapes) {
    LogCapture quiet(0);
    // Envelopes inside envelopes are ordinary elements.
    Delivered nested;
    nested.parse("<commandEnvelope><commandEnvelope><resultEnvelope><noCommands/></resultEnvelope>"
                 "</commandEnvelope></commandEnvelope>");
    EXPECT_EQ(nested.kinds, "c");
    EXPECT_EQ(nested.commands[0].name, "commandEnvelope");
    EXPECT_EQ(dumpTree(nested.commands[0].record->rootNode), "Command\n  resultEnvelope\n    noCommands=\n");

    // Deep nesting, a huge attribute list and 1 MB of text that expat hands
    // over in many chunks (it splits at line ends and references).
    constexpr int kLevels = 100000;
    std::string attributes, large, expected;
    for (int i = 0; i < 2000; ++i) attributes += " a" + std::to_string(i) + "='v'";
    for (int i = 0; large.size() < (1u << 20); ++i) {
        large += "line " + std::to_string(i) + " &amp;\n";
        expected += "line " + std::to_string(i) + " &\n";
    }
    std::string xml = "<dialog><c><big" + attributes + ">" + large + "</big>";
    for (int i = 0; i < kLevels; ++i) xml += "<n>";
    xml += "tip";
    for (int i = 0; i < kLevels; ++i) xml += "</n>";
    Delivered d;
    d.parse(xml + "</c></dialog>");
    const ZovNode *node = d.dialogs.at(0)->rootNode->subNode;
    EXPECT_EQ(str(node->contents), expected);
    int levels = 0;
    for (node = node->nextNode; node->subNode != nullptr; node = node->subNode) ++levels;
    EXPECT_EQ(levels, kLevels - 1);
    EXPECT_STREQ(node->contents, "tip");

    // A C++ callee that throws must not unwind through expat, nor leave the
    // parser behind in the document.
    Delivered thrown;
    XmlParserStruct *parser = thrown.makeParser();
    setXmlParserCommandCallBack(parser, [](void *self, ZovCommandStruct *record) {
        Delivered::keep(self, record);
        throw std::runtime_error("callee");
    });
    setXmlParserNoCommandCallBack(parser, [](void *self, ZovNoCommandStruct *record) {
        Delivered::keep(self, record);
        throw std::runtime_error("callee");
    });
    EXPECT_EQ(xmlParserParseChar(parser, "<m><noCommands/><commandEnvelope><c1><a>1</a></c1></commandEnvelope>"
                                         "<commandEnvelope><c2/></commandEnvelope><noCommands/></m>"),
              0);
    endXmlParser(parser);
    EXPECT_EQ(thrown.kinds, "nccn");
    ASSERT_EQ(thrown.commands.size(), 2u);
    EXPECT_EQ(thrown.commands[1].name, "c2");
    EXPECT_EQ(thrown.commands[0].record->next, thrown.commands[1].record);
    EXPECT_EQ(dumpTree(thrown.commands[0].record->rootNode), "Command\n  a=1\n");
}
