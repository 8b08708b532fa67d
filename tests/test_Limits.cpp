// Every fixed-size field at its bound, through the public calls that fill it: a text one character
// shorter than the most the field holds, exactly that long, and one longer, cut or refused as documented.
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "CharBuffer.h"
#include "CompressionTestSupport.h"
#include "ConfigCommands.h"
#include "MimeTools.h"
#include "ServerList.h"
#include "TransportData.h"
#include "XmlFunctions.h"

namespace {

constexpr char kRefused[] = "(refused)";
using Text = const std::string &;

struct Bound {
    const char *field;
    std::size_t most;                      // characters the field holds
    bool refusesLonger;                    // a longer text is refused (kRefused) instead of cut
    const char *longerReport;              // logged for a longer text only; "" when nothing is ever logged
    std::function<std::string(Text)> fill; // what the field holds after the text was handed in
};

// The field of a copy of a record whose field holds text, unterminated at its size.
template <std::size_t Size>
std::string copied(char (HttpHeader::*field)[Size], const std::string &text) {
    HttpHeader record{};
    text.copy(record.*field, Size);
    HttpHeader *copy = httpPayloadCopyHeaders(&record);
    const std::string kept = copy->*field;
    httpPayloadFreeHeaders(&copy);
    return kept;
}

// The header list of the second part of a multipart body with these part header lines.
HeaderPairs partHeaders(const std::string &lines) {
    const std::string body = "--B\r\n\r\nenvelope\r\n--B\r\n" + lines + "\r\n\r\nx\r\n--B--\r\n";
    Headers http({{"Content-Type", "multipart/mixed; boundary=\"B\""}, {"Content-Length", std::to_string(body.size())}});
    char *text = nullptr;
    MimeStruct *rest = nullptr;
    EXPECT_EQ(processMime(http.head, body.c_str(), &text, &rest), 0);
    HeaderPairs pairs = rest != nullptr ? pairsOf(rest->headers) : HeaderPairs{{"(no part)", ""}};
    std::free(text);
    freeMimeStruct(rest);
    return pairs;
}

const std::vector<Bound> kBounds{
    {"header name: list, copy, MIME part", 79, false, "", [](Text name) {
         // Leading blanks do not count; a longer name finds nothing, and names a header by its first 79.
         Headers list({{"  " + name, "v"}, {name + "x", "w"}});
         const HeaderPairs part = partHeaders(name + ": v\r\n" + name + "x: w");
         EXPECT_EQ(httpPayloadGetHeader(list.head, name.c_str()) != nullptr, name.size() <= 79);
         EXPECT_EQ(pairsOf(list.head).size(), name.size() >= 79 ? 1u : 2u);
         EXPECT_EQ(part, pairsOf(list.head));
         EXPECT_EQ(copied(&HttpHeader::name, name), list.head->name);
         return std::string(list.head->name);
     }},
    {"header value: list, copy, MIME part", 131, false, "", [](Text value) {
         const std::string kept = Headers({{"N", "  " + value}}).head->value;
         EXPECT_EQ(partHeaders("N: " + value).at(0).second, kept);
         EXPECT_EQ(copied(&HttpHeader::value, value), kept);
         return kept;
     }},
    {"server URL", 1023, false, "", [](Text text) {
         // The text with a scheme in front; a host buffer of SERVER_URL_SIZE bytes suffices.
         ServerList *entry = addServerToList(nullptr, ("http://" + text.substr(7)).c_str());
         char host[SERVER_URL_SIZE], path[SERVER_URL_SIZE];
         int32_t port = 0;
         EXPECT_EQ(parseServerUrl(getServerUrl(entry), host, &port, path), 0);
         freeServerList(entry);
         return text.substr(0, 7) + host;
     }},
    {"configuration text", 1023, false, "truncating charArray", [](Text locale) {
         return std::string(configure(envelopes({edited(kWired, {{"de_DE", locale}})})).at(0)->locale);
     }},
    {"WEP key", 1023, false, "truncating charArray", [](Text key) {
         const auto records = configure(envelopes({edited(kWireless, {{"0123456789", key}})}));
         return std::string(records.at(0)->networkInterfaces->wirelessProfiles->wepKeys->key);
     }},
    {"tag name", 124, true, "bad arguments", [](Text name) {
         // A refused name leaves the caller's buffer alone and clears *contents.
         const std::string xml = "<" + name + ">ok</" + name + ">";
         char buffer[1024] = "untouched", *copy = buffer;
         const bool found = getSimpleXmlTagPosition(xml.c_str(), name.c_str(), buffer) != nullptr;
         EXPECT_EQ(getXmlTagPosition(xml.c_str(), name.c_str(), &copy) != nullptr, found);
         EXPECT_EQ(buffer + str(copy), found ? "okok" : "untouched(null)");
         std::free(found ? copy : nullptr);
         return found ? name : kRefused;
     }},
    {"tag text", 1023, true, "", [](Text text) {
         // The caller's 1024 bytes and no more; the copying search has no limit.
         const std::string xml = "<v>" + text + "</v>";
         std::string buffer(1025, '#');
         char *copy = nullptr;
         const char *end = xml.c_str() + xml.size();
         const char *after = getSimpleXmlTagPosition(xml.c_str(), "v", buffer.data());
         EXPECT_TRUE(buffer[1024] == '#' && (after != nullptr ? after == end : buffer[0] == '\0'));
         EXPECT_TRUE(getXmlTagPosition(xml.c_str(), "v", &copy) == end && str(copy) == text);
         std::free(copy);
         return after != nullptr ? std::string(buffer.c_str()) : kRefused;
     }},
    {"stringTrim into 64 bytes", 63, false, "", [](Text text) {
         std::string dest(65, '#');
         stringTrim(("  " + text).c_str(), dest.data(), 64);
         const std::size_t length = std::strlen(dest.c_str());
         EXPECT_EQ(dest.substr(length), std::string(64 - length, '\0') + "#");  // NUL-filled, nothing past 64 bytes
         return dest.substr(0, length);
     }},
    {"log file name", 1023, true, "to the previous file", [](Text text) {
         TempDir dir;  // a path as long as the text, its directories made, ending in the text's end
         std::string path = dir.path;
         while (text.size() - path.size() > 250) std::filesystem::create_directory(path += "/" + std::string(200, 'd'));
         path += "/" + text.substr(path.size() + 1);
         zovLoggerSetLogFileName(path.c_str());
         zovLogger("Limits", "fill", 1, 1, "to the previous file");
         return std::ifstream(path).good() ? text : kRefused;
     }},
};

}  // namespace

TEST(Limits, EveryFixedFieldAtItsBound) {
    for (const Bound &bound : kBounds) for (std::size_t length : {bound.most - 1, bound.most, bound.most + 1}) {
        SCOPED_TRACE(std::string(bound.field) + ", " + std::to_string(length) + " characters");
        LogCapture log(1);
        std::string given;  // length letters, varying, so that a cut shows where it fell
        while (given.size() < length) given += static_cast<char>('a' + given.size() % 26);
        const std::string kept = bound.fill(given);
        zovLoggerSetLogFileName(log.path().c_str());  // back from where the log file name row moved it
        const bool longer = length > bound.most;
        EXPECT_EQ(kept, !longer ? given : bound.refusesLonger ? kRefused : given.substr(0, bound.most));
        EXPECT_TRUE(*bound.longerReport ? log.contains(bound.longerReport) == longer : log.text() == "") << log.text();
    }
}
