// The inbound road end to end: a raw HTTP response (header lines and body
// bytes) through processMime and the envelope parser to records. The
// envelopes are the captured responses of every record kind, as captured
// (pretty-printed, or compact) and compacted, each sent as the first part of a
// multipart body with a base64 attachment as the second.
#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <regex>
#include <sstream>
#include <string>

#include "HttpHeader.h"
#include "LogCapture.h"
#include "MimeTools.h"
#include "XmlParserHarness.h"

namespace {

std::string capturedResponse(const std::string &file) {
    const std::string here = __FILE__;
    std::ifstream in(here.substr(0, here.rfind('/')) + "/../examples/responses/" + file, std::ios::binary);
    std::stringstream all;
    all << in.rdbuf();
    return all.str();
}

std::string bodyOf(const std::string &response) { return response.substr(response.find("\r\n\r\n") + 4); }

// A raw response whose body holds xml first and a base64 attachment second.
std::string multipartResponse(const std::string &xml) {
    const std::string body = "preamble\r\n--b0undary\r\nContent-Type: text/xml; charset=UTF-8\r\n\r\n" + xml +
                             "\r\n--b0undary\r\nContent-Type: application/octet-stream\r\n"
                             "Content-Transfer-Encoding: base64\r\n\r\nYXR0YWNobWVudCBieXRlcwAB/w==\r\n"
                             "--b0undary--\r\n";
    return "HTTP/1.1 200 OK\r\nContent-Type: multipart/mixed; boundary=\"b0undary\"\r\nContent-Length: " +
           std::to_string(body.size()) + "\r\n\r\n" + body;
}

struct Received {
    std::string envelope, attachment;
    int parts = 0;
};

// Splits the response into its header list and body and decodes the body.
Received receive(const std::string &response) {
    HttpHeader *headers = nullptr;
    std::istringstream lines(response.substr(0, response.find("\r\n\r\n")));
    std::string line;
    std::getline(lines, line);  // the status line
    while (std::getline(lines, line)) {
        if (line.back() == '\r') line.pop_back();
        const std::size_t colon = line.find(':');
        httpPayloadAddHeader(&headers, line.substr(0, colon).c_str(), line.substr(colon + 1).c_str());
    }
    Received received;
    char *text = nullptr;
    MimeStruct *rest = nullptr;
    EXPECT_EQ(processMime(headers, bodyOf(response).c_str(), &text, &rest), 0);
    received.envelope = text ? text : "";
    for (MimeStruct *part = rest; part != nullptr; part = part->next) ++received.parts;
    if (rest != nullptr) {
        std::string bytes(static_cast<std::size_t>(getTotalBufferLength(rest->body)), '\0');
        getDataFromCharBuffer(rest->body, bytes.data(), bytes.size(), 0);
        received.attachment = bytes;
    }
    std::free(text);
    freeMimeStruct(rest);
    httpPayloadFreeHeaders(&headers);
    return received;
}

// Drops the indentation a pretty-printed document leaves in nodes with
// sub-nodes, so that both layouts read alike.
void dropLayout(ZovNode *root) {
    for (std::vector<ZovNode *> stack{root}; !stack.empty();) {
        ZovNode *node = stack.back();
        stack.pop_back();
        if (node == nullptr) continue;
        if (node->subNode != nullptr && node->contents != nullptr &&
            node->contents[std::strspn(node->contents, " \r\n\t")] == '\0') {
            std::free(node->contents);
            node->contents = nullptr;
        }
        stack.insert(stack.end(), {node->nextNode, node->subNode});
    }
}

// The delivered records as text: kinds, device GUID, fixed fields and trees.
std::string summary(Delivered &d) {
    std::string out = d.kinds + " device " + d.deviceGuid + "\n";
    auto add = [&out](const std::string &fields, ZovNode *root) {
        dropLayout(root);
        out += fields + dumpTree(root);
    };
    for (auto &call : d.commands) add("command " + call.name + " " + call.guid + "\n", call.record->rootNode);
    for (auto *r : d.results) add("result " + str(r->guid) + " " + std::to_string(r->success) + "\n", r->rootNode);
    for (auto *e : d.eventResults)
        add("eventResult " + str(e->assetLevel) + " " + str(e->nextAssetReportSeconds) + "\n", e->rootNode);
    for (auto *n : d.noCommands) add("", n->rootNode);
    for (auto *g : d.dialogs) add("dialog " + str(g->dialogGuid) + "\n", g->rootNode);
    return out;
}

}  // namespace

TEST(EndToEndInbound, EveryRecordKindFromAMultipartBody) {
    LogCapture quiet(0);
    // Each sample with pieces its summary must hold.
    const std::vector<std::pair<const char *, std::vector<std::string>>> samples = {
        {"config-wired.http",
         {"c device 6f1c2a9e-0d3b-4e57-9a1f-2b8c7d4e5f60\n"
          "command configureDevice c0ffee01-0000-4000-8000-000000000001\nCommand\n  deviceConfiguration\n",
          "\n      locale=en_US\n", "\n                dnsSuffix=lab.example\n", "\n        value=lobby\n"}},
        {"config-wireless.http",
         {"command configureDevice c0ffee02-0000-4000-8000-000000000002\n", "\n                  ssid=guest\n"}},
        {"result.http",
         {"r device (null)\nresult c0ffee01-0000-4000-8000-000000000001 1\nResult\n  message=configuration applied\n"}},
        {"event-result.http",
         {"eventResult 2 900\nEventResult\n  eventGuid=e0e0e0e0-0000-4000-8000-000000000007\n  success=\n"}},
        {"no-commands.http", {"n device (null)\nNoCommands\n"}},
        {"dialog.http",
         {"dialog d1a10900-0000-4000-8000-000000000003\nDialog\n  title=Maintenance\n"
          "  text=The device restarts at 22:00 & updates its image.\n  button=OK\n"}},
    };
    for (const auto &[file, expected] : samples) {
        const std::string xml = bodyOf(capturedResponse(file));
        std::string previous;
        const std::string compacted = std::regex_replace(xml, std::regex(">\\s+<"), "><");
        for (const std::string &layout : {xml, compacted}) {
            SCOPED_TRACE(std::string(file) + (previous.empty() ? " as captured" : " compacted"));
            const Received received = receive(multipartResponse(layout));
            EXPECT_EQ(received.parts, 1);
            EXPECT_EQ(received.attachment, std::string("attachment bytes\0\1\xff", 19));
            Delivered d;
            EXPECT_EQ(d.parse(received.envelope), 0);
            const std::string got = summary(d);
            for (const std::string &part : expected) EXPECT_NE(got.find(part), std::string::npos) << got;
            if (!previous.empty()) EXPECT_EQ(got, previous);
            previous = got;
        }
    }

    // A captured multipart response as it came.
    const Received received = receive(capturedResponse("multipart-attachment.http"));
    EXPECT_EQ(received.parts, 1);
    Delivered d;
    d.parse(received.envelope);
    EXPECT_EQ(summary(d), "c device (null)\ncommand installPackage c0ffee03-0000-4000-8000-000000000003\n"
                          "Command\n  packageName=agent-update.bin\n  contentId=package.bin\n");
}

TEST(EndToEndInbound, EnvelopeSpanningManyLinks) {
    // About 60 links of 1000 bytes: three command envelopes in one chain.
    std::string xml = "<?xml version=\"1.0\"?>\n<zovMessage>\n  <commandSet>\n";
    for (int command = 0; command < 3; ++command) {
        xml += "    <commandEnvelope>\n      <commandGuid>g" + std::to_string(command) +
               "</commandGuid>\n      <bulk>\n";
        for (int i = 0; i < 450; ++i) xml += "        <setting>value " + std::to_string(i) + "</setting>\n";
        xml += "      </bulk>\n    </commandEnvelope>\n";
    }
    xml += "  </commandSet>\n</zovMessage>\n";
    ASSERT_GT(xml.size(), 50000u);
    const Received received = receive(multipartResponse(xml));
    Delivered fromString, fromChain;
    fromString.parse(received.envelope);
    fromChain.parse(received.envelope, true);
    EXPECT_EQ(summary(fromChain), summary(fromString));
    ASSERT_EQ(fromChain.kinds, "ccc");
    EXPECT_EQ(fromChain.commands[0].record->next->next, fromChain.commands[2].record);
    const ZovNode *last = fromChain.commands[2].record->rootNode->subNode;
    int settings = 1;
    for (; last->nextNode != nullptr; last = last->nextNode) ++settings;
    EXPECT_EQ(settings, 450);
    EXPECT_STREQ(last->contents, "value 449");
}
