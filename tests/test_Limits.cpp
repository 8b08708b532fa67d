// Every fixed-size field at its bound, through the public call that fills it:
// a text one character shorter than the most the field holds, exactly that
// long, and one longer, which is cut or refused as the headers say.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "CharBuffer.h"
#include "CompressionTestSupport.h"
#include "ConfigCommands.h"
#include "MimeTools.h"
#include "ServerList.h"
#include "TransportData.h"
#include "XmlFunctions.h"

namespace {

// length letters, varying, so that a cut shows where it fell.
std::string letters(std::size_t length) {
    std::string text(length, 'a');
    for (std::size_t i = 0; i < length; ++i) text[i] = static_cast<char>('a' + i % 26);
    return text;
}

constexpr char kRefused[] = "(refused)";

// The text handed in and what the field holds afterwards.
using Filled = std::pair<std::string, std::string>;

struct Bound {
    const char *field;
    std::size_t most;         // characters the field holds
    bool refusesLonger;       // a longer text is refused (kRefused) instead of cut
    const char *longerReport; // logged for a longer text only; "" when nothing is ever logged
    std::function<Filled(std::size_t length, const LogCapture &log)> fill;
};

// A copy of a record built by hand, its field filled with length letters
// (at the field's size, without a terminator).
template <std::size_t Size>
Filled copiedField(char (HttpHeader::*field)[Size], std::size_t length) {
    HttpHeader record{};
    const std::string text = letters(length);
    std::memcpy(record.*field, text.data(), length);
    HttpHeader *copy = httpPayloadCopyHeaders(&record);
    Filled filled{text, copy->*field};
    httpPayloadFreeHeaders(&copy);
    return filled;
}

// The header list of the second part of a multipart body whose part header
// lines are these.
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

// A path of exactly length characters in dir, its directories made.
std::string pathOfLength(const TempDir &dir, std::size_t length) {
    std::string path = dir.path;
    while (length - path.size() > 250) std::filesystem::create_directory(path += "/" + std::string(200, 'd'));
    return path + "/" + letters(length - path.size() - 1);
}

const std::vector<Bound> kBounds{
    {"HTTP header name", 79, false, "",
     [](std::size_t length, const LogCapture &) {
         // Leading blanks do not count; a longer name is found by nothing but
         // names the header of its first 79 characters.
         const std::string name = letters(length);
         Headers list({{"  " + name, "v"}, {name + "x", "w"}});
         EXPECT_EQ(httpPayloadGetHeader(list.head, name.c_str()) != nullptr, length <= 79);
         EXPECT_EQ(pairsOf(list.head).size(), length >= 79 ? 1u : 2u);
         return Filled{name, list.head->name};
     }},
    {"HTTP header value", 131, false, "",
     [](std::size_t length, const LogCapture &) {
         const std::string value = letters(length);
         Headers list({{"N", "  " + value}});
         return Filled{value, list.head->value};
     }},
    {"copied header name", 79, false, "",
     [](std::size_t length, const LogCapture &) { return copiedField(&HttpHeader::name, length); }},
    {"copied header value", 131, false, "",
     [](std::size_t length, const LogCapture &) { return copiedField(&HttpHeader::value, length); }},
    {"MIME part header name", 79, false, "",
     [](std::size_t length, const LogCapture &) {
         const std::string name = letters(length);
         const HeaderPairs headers = partHeaders(name + ": v\r\n" + name + "x: w");
         EXPECT_EQ(headers.size(), length >= 79 ? 1u : 2u);
         return Filled{name, headers.at(0).first};
     }},
    {"MIME part header value", 131, false, "",
     [](std::size_t length, const LogCapture &) {
         const std::string value = letters(length);
         return Filled{value, partHeaders("N: " + value).at(0).second};
     }},
    {"server URL", 1023, false, "",
     [](std::size_t length, const LogCapture &) {
         // Buffers of SERVER_URL_SIZE bytes take the parts of any entry's URL.
         const std::string url = "http://" + letters(length - 7);
         ServerList *entry = addServerToList(nullptr, url.c_str());
         Filled filled{url, getServerUrl(entry)};
         char host[SERVER_URL_SIZE], path[SERVER_URL_SIZE];
         int32_t port = 0;
         EXPECT_EQ(parseServerUrl(getServerUrl(entry), host, &port, path), 0);
         EXPECT_EQ(host, filled.second.substr(7));
         freeServerList(entry);
         return filled;
     }},
    {"configuration text", 1023, false, "truncating charArray",
     [](std::size_t length, const LogCapture &) {
         const std::string locale = letters(length);
         std::vector<Platform> records = configure(envelopes({edited(kWired, {{"de_DE", locale}})}));
         return Filled{locale, records.at(0)->locale};
     }},
    {"WEP key", 1023, false, "truncating charArray",
     [](std::size_t length, const LogCapture &) {
         const std::string key = letters(length);
         std::vector<Platform> records = configure(envelopes({edited(kWireless, {{"0123456789", key}})}));
         return Filled{key, records.at(0)->networkInterfaces->wirelessProfiles->wepKeys->key};
     }},
    {"tag name", 124, true, "bad arguments",
     [](std::size_t length, const LogCapture &) {
         // A refused name leaves the caller's buffer alone and clears *contents.
         const std::string name = letters(length), xml = "<" + name + ">ok</" + name + ">";
         char buffer[1024] = "untouched", *copy = buffer;
         const bool found = getSimpleXmlTagPosition(xml.c_str(), name.c_str(), buffer) != nullptr;
         EXPECT_EQ(getXmlTagPosition(xml.c_str(), name.c_str(), &copy) != nullptr, found);
         const std::string copied = copy != nullptr ? copy : "(null)";
         std::free(found ? copy : nullptr);
         EXPECT_EQ(buffer + copied, found ? "okok" : "untouched(null)");
         return Filled{name, found ? name : kRefused};
     }},
    {"tag text", 1023, true, "",
     [](std::size_t length, const LogCapture &) {
         // The caller's 1024 bytes and no more; the copying search has no limit.
         const std::string text = letters(length), xml = "<v>" + text + "</v>";
         char buffer[1025], *copy = nullptr;
         std::memset(buffer, '#', sizeof buffer);
         const char *after = getSimpleXmlTagPosition(xml.c_str(), "v", buffer);
         EXPECT_EQ(buffer[1024], '#');
         EXPECT_EQ(getXmlTagPosition(xml.c_str(), "v", &copy), xml.c_str() + xml.size());
         EXPECT_EQ(std::string(copy), text);
         std::free(copy);
         if (after == nullptr) {
             EXPECT_STREQ(buffer, "");
             return Filled{text, kRefused};
         }
         EXPECT_EQ(after, xml.c_str() + xml.size());
         return Filled{text, buffer};
     }},
    {"stringTrim into 64 bytes", 63, false, "",
     [](std::size_t length, const LogCapture &) {
         const std::string text = letters(length);
         char dest[65];
         std::memset(dest, '#', sizeof dest);
         stringTrim(("  " + text).c_str(), dest, 64);
         EXPECT_TRUE(std::all_of(dest + std::strlen(dest), dest + 64, [](char c) { return c == '\0'; }));
         EXPECT_EQ(dest[64], '#');
         return Filled{text, dest};
     }},
    {"log file name", 1023, true, "to the previous file",
     [](std::size_t length, const LogCapture &log) {
         TempDir dir;
         const std::string path = pathOfLength(dir, length);
         zovLoggerSetLogFileName(path.c_str());
         zovLogger("Limits", "fill", 1, 1, "to the previous file");
         zovLoggerSetLogFileName(log.path().c_str());
         return Filled{path, std::ifstream(path).good() ? path : kRefused};
     }},
};

}  // namespace

TEST(Limits, EveryFixedFieldAtItsBound) {
    for (const Bound &bound : kBounds) {
        for (std::size_t length : {bound.most - 1, bound.most, bound.most + 1}) {
            SCOPED_TRACE(std::string(bound.field) + ", " + std::to_string(length) + " characters");
            LogCapture log(1);
            const auto [given, kept] = bound.fill(length, log);
            ASSERT_EQ(given.size(), length);
            const bool longer = length > bound.most;
            EXPECT_EQ(kept, !longer ? given : bound.refusesLonger ? kRefused : given.substr(0, bound.most));
            if (*bound.longerReport == '\0') {
                EXPECT_EQ(log.text(), "");
            } else {
                EXPECT_EQ(log.contains(bound.longerReport), longer);
            }
        }
    }
}
