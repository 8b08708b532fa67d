// The inbound road end to end: a raw HTTP response through processMime and
// the envelope parser to records, the envelope read as it is from a string
// and compacted from a chain, with a base64 attachment as the second part.
#include <gtest/gtest.h>

#include <regex>
#include <sstream>
#include <string>

#include "CompressionTestSupport.h"
#include "MimeTools.h"
#include "XmlParserHarness.h"

namespace {

std::string captured(const std::string &file) {
    const std::string response =
        readFile((std::filesystem::path(__FILE__).parent_path() / "../examples/responses" / file).string());
    return response.substr(response.find("\r\n\r\n") + 4);
}

std::string withAttachment(const std::string &xml) {
    const std::string body = "preamble\r\n--b0undary\r\nContent-Type: text/xml\r\n\r\n" + xml +
                             "\r\n--b0undary\r\nContent-Transfer-Encoding: base64\r\n\r\n"
                             "YXR0YWNobWVudCBieXRlcwAB/w==\r\n--b0undary--\r\n";
    return "HTTP/1.1 200 OK\r\nContent-Type: multipart/mixed; boundary=\"b0undary\"\r\nContent-Length: " +
           std::to_string(body.size()) + "\r\n\r\n" + body;
}

// The response's header lines into a list, its body decoded: the text part,
// and the one further part's bytes in attachment.
std::string receive(const std::string &response, std::string &attachment) {
    std::istringstream lines(response.substr(0, response.find("\r\n\r\n") + 2));
    std::string line;
    std::getline(lines, line);  // the status line
    HeaderPairs pairs;
    while (std::getline(lines, line)) {
        const std::size_t colon = line.find(':');
        pairs.emplace_back(line.substr(0, colon), line.substr(colon + 1, line.size() - colon - 2));
    }
    Headers headers(pairs);
    char *text = nullptr;
    MimeStruct *rest = nullptr;
    EXPECT_EQ(processMime(headers.head, response.c_str() + response.find("\r\n\r\n") + 4, &text, &rest), 0);
    EXPECT_TRUE(rest != nullptr && rest->next == nullptr);
    attachment = rest ? textOf(rest->body) : "";
    const std::string envelope = str(text);
    std::free(text);
    freeMimeStruct(rest);
    return envelope;
}

}  // namespace

TEST(EndToEndInbound, EveryRecordKindFromAMultipartBody) {
    LogCapture quiet(0);
    // Three command envelopes over about 60 links of 1000 bytes.
    std::string bulk = "<?xml version=\"1.0\"?>\n<zovMessage>\n  <commandSet>\n", settings, bulkRecords = "ccc";
    for (int i = 0; i < 450; ++i) settings += "        <setting>value " + std::to_string(i) + "</setting>\n";
    for (const std::string guid : {"g0", "g1", "g2"}) {
        bulk += "    <commandEnvelope>\n      <commandGuid>" + guid + "</commandGuid>\n      <bulk>\n" + settings +
                "      </bulk>\n    </commandEnvelope>\n";
        bulkRecords += (guid == "g0" ? " device (null)\n" : "") + ("command bulk " + guid + "\nCommand\n") +
                       std::regex_replace(settings, std::regex(" *<setting>(.*)</setting>"), "  setting=$1");
    }
    const std::pair<std::string, std::string> samples[] = {
        {captured("config-wired.http"),
         "c device 6f1c2a9e-0d3b-4e57-9a1f-2b8c7d4e5f60\ncommand configureDevice c0ffee01-0000-4000-8000-000000000001\n"},
        {captured("result.http"), "r device (null)\nresult c0ffee01-0000-4000-8000-000000000001 1\nResult\n"},
        {captured("event-result.http"), "eventResult 2 900\nEventResult\n  eventGuid=e0e0e0e0-0000-4000-8000-0000000"},
        {captured("no-commands.http"), "n device (null)\nNoCommands\n"},
        {captured("dialog.http"), "  text=The device restarts at 22:00 & updates its image.\n  button=OK\n"},
        {bulk + "  </commandSet>\n</zovMessage>\n", bulkRecords},
    };
    for (const auto &[xml, expected] : samples) {
        std::string summaries[2], attachment;
        for (bool compact : {false, true}) {
            const std::string layout = compact ? std::regex_replace(xml, std::regex(">\\s+<"), "><") : xml;
            const std::string envelope = receive(withAttachment(layout), attachment);
            EXPECT_EQ(attachment, std::string("attachment bytes\0\1\xff", 19));
            std::unique_ptr<CharBuffer, decltype(&freeAllCharBuffers)> chain(chainOf(envelope), freeAllCharBuffers);
            Delivered d;
            EXPECT_EQ(compact ? d.parse(chain.get()) : d.parse(envelope), 0);
            summaries[compact] = d.summary();
        }
        EXPECT_NE(summaries[0].find(expected), std::string::npos) << summaries[0];
        EXPECT_EQ(summaries[1], summaries[0]);
    }
}
