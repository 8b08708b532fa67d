// The inbound road end to end: a raw HTTP response (header lines and body
// bytes) through processMime and the envelope parser to records. The
// envelopes are the captured responses of every record kind and one spanning
// many links, each as it is (pretty-printed, or compact) and compacted, sent
// as the first part of a multipart body with a base64 attachment as the second.
#include <gtest/gtest.h>

#include <regex>
#include <sstream>
#include <string>

#include "CompressionTestSupport.h"
#include "HttpHeader.h"
#include "MimeTools.h"
#include "XmlParserHarness.h"

namespace {

std::string capturedResponse(const std::string &file) {
    return readFile((std::filesystem::path(__FILE__).parent_path() / "../examples/responses" / file).string());
}

std::string bodyOf(const std::string &response) { return response.substr(response.find("\r\n\r\n") + 4); }

std::string envelopeOf(const char *file) { return bodyOf(capturedResponse(file)); }

// A raw response whose body holds xml first and "attachment bytes\0\1\xff" in
// base64 second.
std::string multipartResponse(const std::string &xml) {
    const std::string body = "preamble\r\n--b0undary\r\nContent-Type: text/xml; charset=UTF-8\r\n\r\n" + xml +
                             "\r\n--b0undary\r\nContent-Type: application/octet-stream\r\nContent-Transfer-Encoding: "
                             "base64\r\n\r\nYXR0YWNobWVudCBieXRlcwAB/w==\r\n--b0undary--\r\n";
    return "HTTP/1.1 200 OK\r\nContent-Type: multipart/mixed; boundary=\"b0undary\"\r\nContent-Length: " +
           std::to_string(body.size()) + "\r\n\r\n" + body;
}

// Splits the response into its header list and body, decodes the body and
// returns its text part; the one further part's bytes go to attachment.
std::string receive(const std::string &response, std::string *attachment) {
    HttpHeader *headers = nullptr;
    std::istringstream lines(response.substr(0, response.find("\r\n\r\n") + 2));  // lines end in \r
    std::string line;
    std::getline(lines, line);  // the status line
    while (std::getline(lines, line)) {
        const std::size_t colon = line.find(':');
        const std::string name = line.substr(0, colon), value = line.substr(colon + 1, line.size() - colon - 2);
        httpPayloadAddHeader(&headers, name.c_str(), value.c_str());
    }
    char *text = nullptr;
    MimeStruct *rest = nullptr;
    EXPECT_EQ(processMime(headers, bodyOf(response).c_str(), &text, &rest), 0);
    EXPECT_TRUE(rest != nullptr && rest->next == nullptr);
    *attachment = rest ? textOf(rest->body) : "";
    const std::string envelope = str(text);
    std::free(text);
    freeMimeStruct(rest);
    httpPayloadFreeHeaders(&headers);
    return envelope;
}

}  // namespace

TEST(EndToEndInbound, EveryRecordKindFromAMultipartBody) {
    LogCapture quiet(0);
    std::string attachment;
    // Three command envelopes over about 60 links of 1000 bytes.
    std::string bulk = "<?xml version=\"1.0\"?>\n<zovMessage>\n  <commandSet>\n", settings, bulkRecords = "ccc";
    for (int i = 0; i < 450; ++i) settings += "        <setting>value " + std::to_string(i) + "</setting>\n";
    for (const std::string guid : {"g0", "g1", "g2"}) {
        bulk += "    <commandEnvelope>\n      <commandGuid>" + guid + "</commandGuid>\n      <bulk>\n" + settings +
                "      </bulk>\n    </commandEnvelope>\n";
        bulkRecords += (guid == "g0" ? " device (null)\n" : "") + ("command bulk " + guid + "\nCommand\n") +
                       std::regex_replace(settings, std::regex(" *<setting>(.*)</setting>"), "  setting=$1");
    }
    // Each envelope with a piece of its summary.
    const std::pair<std::string, std::string> samples[] = {
        {envelopeOf("config-wired.http"),
         "c device 6f1c2a9e-0d3b-4e57-9a1f-2b8c7d4e5f60\ncommand configureDevice c0ffee01-0000-4000-8000-000000000001\n"
         "Command\n  deviceConfiguration\n    deviceSettings\n      locale=en_US\n      hostName\n        static\n"
         "          name=kiosk-lobby-01\n"},
        {envelopeOf("config-wireless.http"), "command configureDevice c0ffee02-0000-4000-8000-000000000002\n"},
        {envelopeOf("result.http"),
         "r device (null)\nresult c0ffee01-0000-4000-8000-000000000001 1\nResult\n  message=configuration applied\n"},
        {envelopeOf("event-result.http"),
         "eventResult 2 900\nEventResult\n  eventGuid=e0e0e0e0-0000-4000-8000-000000000007\n  success=\n"},
        {envelopeOf("no-commands.http"), "n device (null)\nNoCommands\n"},
        {envelopeOf("dialog.http"), "dialog d1a10900-0000-4000-8000-000000000003\nDialog\n  title=Maintenance\n"
                                    "  text=The device restarts at 22:00 & updates its image.\n  button=OK\n"},
        {bulk + "  </commandSet>\n</zovMessage>\n", bulkRecords},
    };
    for (const auto &[xml, expected] : samples) {
        // As it is from a string, and compacted from a chain: the same records.
        std::string summaries[2];
        for (bool compact : {false, true}) {
            const std::string layout = compact ? std::regex_replace(xml, std::regex(">\\s+<"), "><") : xml;
            const std::string envelope = receive(multipartResponse(layout), &attachment);
            std::unique_ptr<CharBuffer, decltype(&freeAllCharBuffers)> chain(chainOf(envelope), freeAllCharBuffers);
            Delivered d;
            EXPECT_EQ(compact ? d.parse(chain.get()) : d.parse(envelope), 0);
            EXPECT_EQ(attachment, std::string("attachment bytes\0\1\xff", 19));
            summaries[compact] = d.summary();
        }
        EXPECT_NE(summaries[0].find(expected), std::string::npos) << summaries[0];
        EXPECT_EQ(summaries[1], summaries[0]);
    }

    // A captured multipart response as it came.
    Delivered d;
    d.parse(receive(capturedResponse("multipart-attachment.http"), &attachment));
    EXPECT_EQ(d.summary(), "c device (null)\ncommand installPackage c0ffee03-0000-4000-8000-000000000003\n"
                           "Command\n  packageName=agent-update.bin\n  contentId=package.bin\n");
    EXPECT_EQ(attachment.substr(attachment.size() - 18), "end of attachment\n");
}
