#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>

#include "LogCapture.h"
#include "MimeTools.h"
#include "TransportData.h"

namespace {

using Contents = std::vector<std::string>;

struct PartsDeleter { void operator()(MimeStruct *parts) const { freeMimeStruct(parts); } };
using Parts = std::unique_ptr<MimeStruct, PartsDeleter>;

MimeStruct *newRecord() { return static_cast<MimeStruct *>(std::calloc(1, sizeof(MimeStruct))); }

MimeStruct *partOf(const HeaderPairs &headers, const std::string &content) {
    MimeStruct *part = newRecord();
    for (const auto &[name, value] : headers) httpPayloadAddHeader(&part->headers, name.c_str(), value.c_str());
    part->body = chainOf(content);
    return part;
}

Contents contentsOf(const MimeStruct *parts) {
    Contents all;
    for (; parts != nullptr; parts = parts->next) all.push_back(textOf(parts->body));
    return all;
}

const std::string kMultipart = "multipart/mixed; boundary=\"XyZ\"";

// The parts of body (NULL on failure) by processMime, its text as a first part, and, without an
// explicit Content-Length ("" for none), by decodeMimeCharBuffer too, which must agree.
Parts decode(const std::string &body, const std::string &contentType = kMultipart, const char *length = nullptr) {
    const std::string contentLength = length != nullptr ? length : std::to_string(body.size());
    Headers headers;
    if (!contentLength.empty()) httpPayloadAddHeader(&headers.head, "Content-Length", contentLength.c_str());
    if (!contentType.empty()) httpPayloadAddHeader(&headers.head, "Content-Type", contentType.c_str());
    Parts viaText(newRecord()), viaChain(newRecord()), input(partOf({}, body));
    char *text = nullptr;
    int result = processMime(headers.head, body.data(), &text, &viaText->next);
    if (result == 0) viaText->body = chainOf(text);
    std::free(text);
    if (length != nullptr) return result == 0 ? std::move(viaText) : nullptr;
    EXPECT_EQ(decodeMimeCharBuffer(headers.head, input->body, viaChain.get()), result);
    if (result != 0) return nullptr;
    EXPECT_EQ(contentsOf(viaText.get()), contentsOf(viaChain.get()));
    return viaChain;
}

std::size_t occurrences(const std::string &text, const std::string &part) {
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
    return count;
}

// An envelope and a part of the given encoding, then end.
std::string withEncoding(const std::string &encoding, const std::string &content, const char *end = "\r\n--XyZ--\r\n") {
    return "--XyZ\r\n\r\nenvelope\r\n--XyZ\r\nContent-Transfer-Encoding: " + encoding + "\r\n\r\n" + content + end;
}

}  // namespace

TEST(MimeDecoding, BodyLayoutsAndTheirReports) {
    const std::string bytes = randomBytes(2250);  // 3000 characters: three slices
    std::string badSlice = base64Text(bytes);
    badSlice[1500] = '*';
    const std::string fn = "[decodeMimeCharBuffer     ] :",
                      lost = "[getMimePart              ] :getMimePart: Error, couldn't find boundaryToken 'XyZ'\n\n";
    // contents: none on failure; report: logged once per decoding; unlogged: never logged.
    struct Case { std::string body, contentType; Contents contents; std::string report, unlogged; };
    const std::vector<Case> cases{
        {"<xml>\r\nbody</xml>", "text/xml", {"<xml>\r\nbody</xml>"}, fn + "not a MIME message\n"},
        {"--XyZ\r\n\r\nx\r\n--XyZ--", "Multipart/mixed; boundary=\"XyZ\"", {"--XyZ\r\n\r\nx\r\n--XyZ--"}},
        {"--XyZ\r\n\r\nx\r\n--XyZ--", "multipart/mixed; boundary=XyZ", {},
         fn + "boundaryToken not found in Content-Type header='multipart/mixed; boundary=XyZ'\n"},
        {"--XyZ\r\n\r\nx\r\n--XyZ--", "multipart/mixed; boundary=\"XyZ", {}},
        {"--\r\n\r\nx\r\n----\r\n", "multipart/mixed; boundary=\"\"", {"x"}},
        {"x", "", {}, fn + "Content-Type not found in http headers\n"}, {"", "", {""}, fn + "Empty input buffer\n"},
        // Preamble, text after a delimiter, LF line ends and the epilogue.
        {"pre\r\n--XyZ junk\n\nx\n--XyZ--\nafter\n--XyZ\n\ny\n--XyZ--", kMultipart, {"x"}},
        // An unclosed last part is lost (silently when empty); an unclosed only part or none fails.
        {"--XyZ\r\n\r\none\r\n--XyZ\r\n\r\ntwo\r\n--XyZ\r\n", kMultipart, {"one", "two"}},
        {"--XyZ\r\n\r\none\r\n--XyZ\r\n\r\ntwo\r\n", kMultipart, {"one"}, lost},
        {"--XyZ\r\n\r\none\r\n--XyZ\r\n\r\n\r\n", kMultipart, {"one"}, "", "couldn't find"},
        {"--XyZ\r\n\r\nonly\r\n", kMultipart, {}, lost},
        {"no delimiter\r\n", kMultipart, {}, fn + "boundaryToken='XyZ'\n"},
        // Leading empty lines are lost, the last line end is the delimiter's; headers only: empty.
        {"--XyZ\n\n\r\n\r\na\r\n\r\nb\r\n\r\n--XyZ\r\nX: 1\r\n--XyZ\r\n\r\n--XyZ--", kMultipart, {"a\n\nb\n", "", ""}},
        // Carriage returns anywhere are dropped; lines cross chain links.
        {"--XyZ\r\n\r\n" + std::string(1500, 'a') + "\r\r\nb\rc\n--XyZ\r\n\r\n" + std::string(998, 'd') + "\r\n--XyZ--",
         kMultipart, {std::string(1500, 'a') + "\nbc", std::string(998, 'd')}},
        {withEncoding("8bit", "kept\r\nas is"), kMultipart, {"envelope", "kept\nas is"}},
        {withEncoding("7bit", "x"), kMultipart, {}, "[handleDecoding           ] :contentEncoding: '7bit'\n"},
        {withEncoding("BASE64", "TWFu"), kMultipart, {}},
        // A base64 slice with an illegal character is left out, reported once the part is closed.
        {withEncoding("base64", "TW Fu"), kMultipart, {"envelope", ""}, "Illegal value found in input ' '"},
        {withEncoding("base64", badSlice), kMultipart, {"envelope", bytes.substr(0, 750) + bytes.substr(1500)},
         "[base64DecodeN            ] :Illegal value found in input '*'\n"},
        {withEncoding("base64", badSlice, "\r\n"), kMultipart, {"envelope"}, lost, "Illegal value"},
    };
    LogCapture log(3);
    for (const Case &c : cases) {
        SCOPED_TRACE(c.body.substr(0, 100));
        EXPECT_EQ(contentsOf(decode(c.body, c.contentType).get()), c.contents);
        if (!c.report.empty()) EXPECT_EQ(occurrences(log.text(), c.report), 2u) << c.report;
        if (!c.unlogged.empty()) EXPECT_FALSE(log.contains(c.unlogged)) << c.unlogged;
        log.clear();
    }
}

TEST(MimeDecoding, PartHeadersAndContents) {
    // Header lines added one by one as httpPayloadAddHeader does; base64 content over several lines.
    const std::string bytes = randomBytes(5000);
    Parts parts = decode(
        "--XyZ\r\nX-Empty:\r\nno colon here\r\n::X-Lead:  v\r\nX-Twice: first\r\nX-Times: 10:30\r\n"
        "  X-Twice: second\r\n X-Blank : b\r\n\r\nc\r\n"
        "--XyZ\r\nContent-Transfer-Encoding: base64\r\n\r\n" + base64Text(bytes, 76) + "--XyZ--\r\n");
    ASSERT_NE(parts, nullptr);
    EXPECT_EQ(pairsOf(parts->headers), (HeaderPairs{{"X-Empty", ""}, {"X-Lead", "v"}, {"X-Twice", "second"},
                                                    {"X-Times", "10:30"}, {"X-Blank ", "b"}}));
    EXPECT_EQ(contentsOf(parts.get()), (Contents{"c", bytes}));
}

TEST(MimeDecoding, ContentLengthAndMissingArguments) {
    LogCapture log(1);
    // atoi rules; a negative or unreadable length reads nothing; one beyond int or none fails.
    const std::vector<std::pair<const char *, Contents>> lengths{
        {" 5xyz", {"plain"}}, {"-7", {""}}, {"abc", {""}}, {"-99999999999999", {""}}, {"99999999999", {}}, {"", {}}};
    for (const auto &[length, contents] : lengths)
        EXPECT_EQ(contentsOf(decode("plain text body", "text/plain", length).get()), contents) << length;
    EXPECT_TRUE(log.contains("[MimeTools      ]"));
    EXPECT_TRUE(log.has("processMime: Error, Content-Length '99999999999' out of range"));
    EXPECT_TRUE(log.has("processMime: Error, no Content-Length specified"));

    Parts input(partOf({{"Content-Type", "text/plain"}}, "x")), out(newRecord());
    EXPECT_EQ(decodeMimeCharBuffer(nullptr, input->body, out.get()), -1);
    EXPECT_EQ(decodeMimeCharBuffer(input->headers, nullptr, out.get()), -1);
    EXPECT_TRUE(log.has("decodeMimeCharBuffer: decodeMimeCharBuffer: Error, headers is null\n") &&
                log.has("decodeMimeCharBuffer: decodeMimeCharBuffer: Error, input is null\n"));
}

TEST(MimePackaging, OnePartAloneSeveralInTheMultipartLayout) {
    // One part goes as it is, its Content-Type replaced in place (in the caller's record too).
    EXPECT_EQ(packageMime(nullptr), nullptr);
    Parts parts(partOf({{"X-A", "1"}, {"Content-Type", "text/plain"}}, "<m>\r\n</m>"));
    Parts out(packageMime(parts.get()));
    ASSERT_NE(out, nullptr);
    EXPECT_EQ(pairsOf(out->headers), (HeaderPairs{{"X-A", "1"}, {"Content-Type", "text/xml; charset=UTF-8"}}));
    EXPECT_EQ(pairsOf(out->headers), pairsOf(parts->headers));
    EXPECT_EQ(textOf(out->body), "<m>\r\n</m>");

    const std::string binary("a\0b\r\nc\r", 7), delimiter = "----zov-mime-boundary--\r\n";
    parts->next = partOf({{"Content-Type", "application/octet-stream"}}, "ABC");
    parts->next->next = partOf({}, binary);
    parts->next->next->next = newRecord();  // no content at all
    const std::string expected = delimiter +
        "X-A: 1\r\nContent-Type: text/xml; charset=UTF-8\r\nContent-ID: zovMessage.xml\r\n\r\n<m>\r\n</m>\r\n" +
        delimiter + "Content-Type: application/octet-stream\r\n\r\nABC\r\n" + delimiter + "\r\n" + binary +
        "\r\n" + delimiter + "\r\n\r\n----zov-mime-boundary----\r\n";
    LogCapture log(1);
    out.reset(packageMime(parts.get()));
    Parts again(packageMime(parts.get()));  // the envelope headers are replaced, not added twice
    ASSERT_TRUE(out && again);
    EXPECT_EQ(pairsOf(out->headers),
              (HeaderPairs{{"Content-Type", "multipart/mixed; boundary=\"--zov-mime-boundary--\""}}));
    EXPECT_EQ(textOf(out->body), expected);
    EXPECT_EQ(textOf(again->body), expected);
    EXPECT_TRUE(log.has("addDataToCharBuffer: bufferPointer and data cannot be NULL"));
}
