// Configuration commands as the agent receives them: an XML command envelope
// through the envelope parser, then parseConfigurationCommand on the record
// its callback received.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ConfigTree.h"
#include "XmlParserHarness.h"

namespace {

// A document with one "configureDevice" command envelope per outline, laid
// out with line breaks and indentation as the server sends it.
std::string envelopesFor(std::initializer_list<const char *> outlines) {
    std::string xml = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<zovMessage>\n<commandSet>\n";
    int guid = 0;
    for (const char *outline : outlines) {
        xml += "<commandEnvelope>\n  <commandGuid>guid-" + std::to_string(++guid) + "</commandGuid>\n"
               "  <configureDevice>";
        std::vector<OutlineLine> lines = outlineLines(outline);
        std::vector<const OutlineLine *> open;
        auto indent = [](std::size_t depth) { return "\n" + std::string(2 * depth + 4, ' '); };
        auto closeTo = [&](std::size_t depth) {
            for (; open.size() > depth; open.pop_back()) {
                xml += indent(open.back()->depth) + "</" + open.back()->name + ">";
            }
        };
        for (std::size_t i = 0; i < lines.size(); ++i) {
            const OutlineLine &line = lines[i];
            closeTo(line.depth);
            xml += indent(line.depth) + "<" + line.name;
            if (i + 1 < lines.size() && lines[i + 1].depth > line.depth) {
                xml += ">";
                open.push_back(&line);
            } else {
                xml += line.hasText ? ">" + line.text + "</" + line.name + ">" : "/>";
            }
        }
        closeTo(0);
        xml += "\n  </configureDevice>\n</commandEnvelope>\n";
    }
    return xml + "</commandSet>\n</zovMessage>\n";
}

// Runs the document through the parser and each received command through
// parseConfigurationCommand.
std::vector<Platform> configure(const std::string &xml) {
    Delivered delivered;
    EXPECT_EQ(delivered.parse(xml), 0);
    std::vector<Platform> records;
    for (const Delivered::CommandCall &call : delivered.commands) {
        EXPECT_EQ(call.name, "configureDevice");
        records.emplace_back(parseConfigurationCommand(call.record));
    }
    return records;
}

// text with the last occurrence of from replaced.
std::string replaced(std::string text, const std::string &from, const std::string &to) {
    std::size_t at = text.rfind(from);
    EXPECT_NE(at, std::string::npos) << from;
    return at == std::string::npos ? text : text.replace(at, from.size(), to);
}

}  // namespace

TEST(ConfigurationEndToEnd, WiredAndWirelessCommandsInOneDocument) {
    LogCapture log(1);
    std::vector<Platform> records = configure(envelopesFor({kWired, kWireless}));
    ASSERT_EQ(records.size(), 2u);
    expectWiredRecord(records[0].get());
    expectWirelessRecord(records[1].get());
    EXPECT_STREQ(findPairKeyValue(records[0]->assetTags, "floor"), "3");
    EXPECT_EQ(findPairKeyValue(records[0]->assetTags, "Room"), nullptr);
    EXPECT_EQ(log.text(), "");  // no fault reported
}

// Bad sections from the wire fail their whole command, and only that one.
TEST(ConfigurationEndToEnd, BadSectionsFailTheWholeCommand) {
    LogCapture log(1);
    // Each fault goes into the second command of its document.
    const std::string wiredSecond = envelopesFor({kWireless, kWired});
    const std::string wirelessSecond = envelopesFor({kWired, kWireless});
    const Report kBadAdapter{"parseConfigurationCommand", "bad networkAdapterConfigurationSet"};
    struct Case {
        std::string xml;
        std::vector<Report> reports;
    };
    const Case cases[] = {
        {replaced(wiredSecond, "<speed>100</speed>", "<speed> 100 </speed>"),
         {{"parseWiredSpeedSetting", "bad speed value ' 100 ' found"}, kBadAdapter}},
        {replaced(wiredSecond, "<name>kiosk-12</name>", ""),
         {{"parseDeviceSettings", "Bad hostName"}, {"parseConfigurationCommand", "bad deviceSettings"}}},
        {replaced(wiredSecond, "</assetTagSet>", "<note>x</note></assetTagSet>"),
         {{"parseAssetTagSet", "unexpected tempNode in parseAssetTagSet, name='note'"},
          {"parseConfigurationCommand", "bad assetTagSet"}}},
        {replaced(wirelessSecond, "<authentication>open", "<authentication>WPA2"),
         {{"parseAuthentication", "bad authentication type 'WPA2'"}, kBadAdapter}},
        {replaced(replaced(wirelessSecond, "<deviceConfiguration>", "<wrapper><deviceConfiguration>"),
                  "</deviceConfiguration>", "</deviceConfiguration></wrapper>"),
         {{"parseConfigurationCommand", "unable to find deviceConfiguration in command->rootNode"}}},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(&c - cases);
        log.clear();
        std::vector<Platform> records = configure(c.xml);
        ASSERT_EQ(records.size(), 2u);
        EXPECT_NE(records[0], nullptr);
        EXPECT_EQ(records[1], nullptr);
        expectReports(log, c.reports);
    }
}
