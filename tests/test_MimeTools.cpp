#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "LogCapture.h"
#include "MimeTools.h"
#include "TransportData.h"

namespace {

using HeaderPairs = std::vector<std::pair<std::string, std::string>>;
using Contents = std::vector<std::string>;

struct HeadersDeleter {
    void operator()(HttpHeader *list) const { httpPayloadFreeHeaders(&list); }
};
using Headers = std::unique_ptr<HttpHeader, HeadersDeleter>;

struct PartsDeleter {
    void operator()(MimeStruct *parts) const { freeMimeStruct(parts); }
};
using Parts = std::unique_ptr<MimeStruct, PartsDeleter>;

Headers headersOf(const HeaderPairs &pairs) {
    HttpHeader *list = nullptr;
    for (const auto &[name, value] : pairs) httpPayloadAddHeader(&list, name.c_str(), value.c_str());
    return Headers(list);
}

HeaderPairs pairsOf(const HttpHeader *list) {
    HeaderPairs pairs;
    for (; list != nullptr; list = list->next) pairs.emplace_back(list->name, list->value);
    return pairs;
}

Contents contentsOf(const MimeStruct *parts) {
    Contents contents;
    for (; parts != nullptr; parts = parts->next) contents.push_back(textOf(parts->body));
    return contents;
}

Parts newRecord() { return Parts(static_cast<MimeStruct *>(std::calloc(1, sizeof(MimeStruct)))); }

MimeStruct *partOf(const HeaderPairs &headers, const std::string &content) {
    MimeStruct *part = newRecord().release();
    part->headers = headersOf(headers).release();
    part->body = chainOf(content);
    return part;
}

const std::string kMultipart = "multipart/mixed; boundary=\"XyZ\"";

struct Outcome {
    int result = -1;
    Contents contents;  // the first part's text, then the further parts
    Parts rest;
};

// processMime with the given Content-Type (none when empty) and the whole
// body as Content-Length.
Outcome process(const std::string &body, const std::string &contentType = kMultipart) {
    HeaderPairs pairs{{"Content-Length", std::to_string(body.size())}};
    if (!contentType.empty()) pairs.emplace_back("Content-Type", contentType);
    Headers headers = headersOf(pairs);
    char *text = nullptr;
    MimeStruct *rest = nullptr;
    Outcome outcome;
    outcome.result = processMime(headers.get(), body.data(), &text, &rest);
    if (outcome.result != 0) return outcome;
    outcome.rest.reset(rest);
    outcome.contents.push_back(text);
    std::free(text);
    for (const std::string &content : contentsOf(rest)) outcome.contents.push_back(content);
    return outcome;
}

// decodeMimeCharBuffer on a chain holding body; out receives the parts.
int decodeChain(const std::string &body, const std::string &contentType, const Parts &out) {
    Headers headers = headersOf({{"Content-Type", contentType}});
    CharBuffer *input = chainOf(body);
    int result = decodeMimeCharBuffer(headers.get(), input, out.get());
    freeAllCharBuffers(input);
    return result;
}

std::string withEncoding(const std::string &encoding, const std::string &content) {
    return "--XyZ\r\n\r\nenvelope\r\n--XyZ\r\nContent-Transfer-Encoding: " + encoding + "\r\n\r\n" + content +
           "\r\n--XyZ--\r\n";
}

}  // namespace

TEST(MimeDecoding, BodyLayouts) {
    struct Case {
        std::string body, contentType;
        int result;
        Contents contents;
    };
    const std::vector<Case> cases{
        {"<xml>\r\nbody</xml>", "text/xml", 0, {"<xml>\r\nbody</xml>"}},
        {"--XyZ\r\n\r\nx\r\n--XyZ--", "Multipart/mixed; boundary=\"XyZ\"", 0, {"--XyZ\r\n\r\nx\r\n--XyZ--"}},
        {"--XyZ\r\n\r\nx\r\n--XyZ--", "multipart/mixed; boundary=XyZ", -1, {}},
        {"--XyZ\r\n\r\nx\r\n--XyZ--", "multipart/mixed; boundary=\"XyZ", -1, {}},
        {"--\r\n\r\nx\r\n----\r\n", "multipart/mixed; boundary=\"\"", 0, {"x"}},
        // Preamble, text after a delimiter, LF line ends and the epilogue.
        {"pre\r\n--XyZ junk\n\nx\n--XyZ--\nafter\n--XyZ\n\ny\n--XyZ--", kMultipart, 0, {"x"}},
        // A plain delimiter and then the end keeps every part; an unclosed
        // last part is lost; an unclosed only part or no delimiter fails.
        {"--XyZ\r\n\r\none\r\n--XyZ\r\n\r\ntwo\r\n--XyZ\r\n", kMultipart, 0, {"one", "two"}},
        {"--XyZ\r\n\r\none\r\n--XyZ\r\n\r\ntwo\r\n", kMultipart, 0, {"one"}},
        {"--XyZ\r\n\r\nonly\r\n", kMultipart, -1, {}},
        {"no delimiter\r\n", kMultipart, -1, {}},
        // Leading empty lines are lost, inner ones kept; the last line end
        // belongs to the delimiter; a part of headers only is empty.
        {"--XyZ\r\n\r\n\r\n\r\na\r\n\r\nb\r\n\r\n--XyZ\r\nX: 1\r\n--XyZ\r\n\r\n--XyZ--", kMultipart, 0,
         {"a\n\nb\n", "", ""}},
        // Carriage returns anywhere are dropped; lines cross chain links.
        {"--XyZ\r\n\r\n" + std::string(1500, 'a') + "\r\r\nb\rc\n--XyZ\r\n\r\n" + std::string(998, 'd') +
             "\r\n--XyZ--",
         kMultipart, 0, {std::string(1500, 'a') + "\nbc", std::string(998, 'd')}},
        {withEncoding("8bit", "kept\r\nas is"), kMultipart, 0, {"envelope", "kept\nas is"}},
        {withEncoding("7bit", "x"), kMultipart, -1, {}},
        {withEncoding("BASE64", "TWFu"), kMultipart, -1, {}},
        {withEncoding("base64", "TW Fu"), kMultipart, 0, {"envelope", ""}},  // bad base64 is not fatal
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.body);
        Outcome outcome = process(c.body, c.contentType);
        EXPECT_EQ(outcome.result, c.result);
        EXPECT_EQ(outcome.contents, c.contents);
        // A chain holding the same body decodes alike.
        Parts out = newRecord();
        EXPECT_EQ(decodeChain(c.body, c.contentType, out), c.result);
        if (c.result == 0) EXPECT_EQ(contentsOf(out.get()), c.contents);
    }
}

TEST(MimeDecoding, PartHeadersAndBase64Content) {
    const std::string attachment = randomBytes(5000);
    const std::string body =
        "--XyZ\r\n"
        "X-Empty:\r\n"
        "no colon here\r\n"
        "::X-Lead:  v\r\n"
        "X-Twice: first\r\n"
        "X-Long: " + std::string(200, 'v') + "\r\n"
        "X-Twice: second\r\n"
        "X-Times: 10:30\r\n"
        " X-Blank : b\r\n"
        "\r\n"
        "c\r\n"
        "--XyZ\r\n"
        "Content-Transfer-Encoding: base64\r\n"
        "\r\n" + base64Text(attachment, 76) +
        "--XyZ\r\n"
        "Content-Transfer-Encoding: base64\n"
        "\n" + base64Text(attachment.substr(0, 3000), 60, "\n") +
        "--XyZ--\r\n";
    Parts out = newRecord();
    ASSERT_EQ(decodeChain(body, kMultipart, out), 0);
    EXPECT_EQ(pairsOf(out->headers), (HeaderPairs{{"X-Empty", ""},
                                                  {"X-Lead", "v"},
                                                  {"X-Twice", "second"},
                                                  {"X-Long", std::string(131, 'v')},
                                                  {"X-Times", "10:30"},
                                                  {"X-Blank ", "b"}}));
    EXPECT_EQ(contentsOf(out.get()), (Contents{"c", attachment, attachment.substr(0, 3000)}));
}

TEST(MimeDecoding, HeaderLinesActAsRepeatedAdds) {
    // Many header lines, names repeated, with leading blanks or cut to the
    // same 79 characters: the part's list is the one adding them one by one
    // gives.
    std::string body = "--XyZ\r\n";
    HttpHeader *added = nullptr;
    for (int i = 0; i < 3000; ++i) {
        const std::string name = i % 3 == 0   ? "  H" + std::to_string(i % 100)
                                 : i % 3 == 1 ? "H" + std::to_string(i)
                                              : std::string(79, 'n') + std::to_string(i);
        const std::string value = std::to_string(i);
        body += name + ": " + value + "\r\n";
        httpPayloadAddHeader(&added, name.c_str(), value.c_str());
    }
    Headers expected(added);
    Parts out = newRecord();
    ASSERT_EQ(decodeChain(body + "\r\nc\r\n--XyZ--\r\n", kMultipart, out), 0);
    EXPECT_EQ(pairsOf(out->headers), pairsOf(expected.get()));
}

TEST(MimeDecoding, ContentLength) {
    LogCapture log(1);
    const std::string body = "plain text body";
    char *text = nullptr;
    MimeStruct *rest = nullptr;
    Headers missing = headersOf({{"Content-Type", "text/plain"}});
    EXPECT_EQ(processMime(missing.get(), body.c_str(), &text, &rest), -1);
    EXPECT_TRUE(log.contains("[MimeTools      ]"));
    EXPECT_TRUE(log.contains("[processMime              ] :Error, no Content-Length specified\n"));
    Headers huge = headersOf({{"Content-Type", "text/plain"}, {"Content-Length", "99999999999"}});
    EXPECT_EQ(processMime(huge.get(), body.c_str(), &text, &rest), -1);
    EXPECT_TRUE(log.contains(":Error, Content-Length '99999999999' out of range\n"));
    EXPECT_EQ(text, nullptr);

    // atoi rules: blanks before and text after the digits are fine; a
    // negative or unreadable length reads nothing.
    for (const auto &[length, expected] : std::vector<std::pair<std::string, std::string>>{
             {" 5xyz", "plain"}, {"-7", ""}, {"abc", ""}, {"-99999999999999", ""}}) {
        Headers headers = headersOf({{"Content-Type", "text/plain"}, {"Content-Length", length}});
        ASSERT_EQ(processMime(headers.get(), body.c_str(), &text, &rest), 0) << length;
        EXPECT_EQ(std::string(text), expected);
        EXPECT_EQ(rest, nullptr);
        std::free(text);
    }
    // An empty body needs no Content-Type.
    EXPECT_EQ(process("", "").contents, Contents{""});
}

TEST(MimeDecoding, Reports) {
    LogCapture log(3);
    process("--XyZ\r\n\r\nx\r\n", "multipart/mixed; boundary=XyZ");
    process("--XyZ\r\n\r\none\r\n--XyZ\r\n\r\ntwo\r\n");
    process(withEncoding("7bit", "x"));
    for (const char *line : {"[decodeMimeCharBuffer     ] :boundaryToken not found in Content-Type "
                             "header='multipart/mixed; boundary=XyZ'\n",
                             "[decodeMimeCharBuffer     ] :boundaryToken='XyZ'\n",
                             "[getMimePart              ] :getMimePart: Error, couldn't find boundaryToken 'XyZ'\n\n",
                             "[handleDecoding           ] :contentEncoding: '7bit'\n"})
        EXPECT_TRUE(log.contains(line)) << line;
    log.clear();
    EXPECT_EQ(process("--XyZ\r\n\r\n\r\n").result, -1);  // unclosed but empty: no report
    EXPECT_FALSE(log.contains("couldn't find"));

    Parts out = newRecord();
    CharBuffer *input = createCharBuffer();
    Headers headers = headersOf({{"X", "y"}});
    EXPECT_EQ(decodeMimeCharBuffer(nullptr, input, out.get()), -1);
    EXPECT_EQ(decodeMimeCharBuffer(headers.get(), nullptr, out.get()), -1);
    EXPECT_EQ(decodeMimeCharBuffer(headers.get(), input, out.get()), 0);  // empty: no Content-Type needed
    addDataToCharBuffer(input, "x", 1);
    Parts second = newRecord();
    EXPECT_EQ(decodeMimeCharBuffer(headers.get(), input, second.get()), -1);
    for (const char *line : {":decodeMimeCharBuffer: Error, headers is null\n\n",
                             ":decodeMimeCharBuffer: Error, input is null\n\n", ":Empty input buffer\n",
                             ":Content-Type not found in http headers\n"})
        EXPECT_TRUE(log.contains(line)) << line;
    freeAllCharBuffers(input);
}

TEST(MimeDecoding, Base64FailuresReportedOnlyForClosedParts) {
    LogCapture log(3);
    const std::string bytes = randomBytes(2250);  // 3000 characters: three slices
    std::string text = base64Text(bytes);
    text[1500] = '*';
    const std::string part = "--XyZ\r\nContent-Transfer-Encoding: base64\r\n\r\n" + text + "\r\n";
    Outcome decoded = process("--XyZ\r\n\r\nenvelope\r\n" + part + "--XyZ--\r\n");
    // The slice holding the illegal character is left out, the others decode.
    EXPECT_EQ(decoded.contents, (Contents{"envelope", bytes.substr(0, 750) + bytes.substr(1500)}));
    const std::string logged = log.text();
    std::size_t illegal = logged.find("Illegal value found in input '*'");
    ASSERT_NE(illegal, std::string::npos);
    EXPECT_LT(logged.find("contentEncoding: 'base64'"), illegal);
    EXPECT_EQ(illegal, logged.rfind("Illegal value"));

    log.clear();
    EXPECT_EQ(process("--XyZ\r\n\r\nenvelope\r\n" + part).contents, Contents{"envelope"});
    EXPECT_FALSE(log.contains("Illegal value"));
}

TEST(MimeDecoding, LongLinesAndManyParts) {
    const std::string envelope = "<e>" + std::string(300000, 'x') + "</e>";
    std::string body = "--XyZ\r\n\r\n" + envelope + "\r\n";
    Contents expected{envelope};
    for (int i = 0; i < 20000; ++i) {
        expected.push_back(std::to_string(i));
        body += "--XyZ\r\nN: " + expected.back() + "\r\n\r\n" + expected.back() + "\r\n";
    }
    Outcome outcome = process(body + "--XyZ--\r\n");
    EXPECT_EQ(outcome.result, 0);
    EXPECT_TRUE(outcome.contents == expected);
}

TEST(MimePackaging, OnePartGoesWithoutFraming) {
    Parts parts(partOf({{"X-A", "1"}, {"Content-Type", "text/plain"}}, "<m>\r\n</m>"));
    Parts out(packageMime(parts.get()));
    ASSERT_NE(out, nullptr);
    const HeaderPairs expected{{"X-A", "1"}, {"Content-Type", "text/xml; charset=UTF-8"}};
    EXPECT_EQ(pairsOf(parts->headers), expected);  // the caller's record is changed
    EXPECT_EQ(pairsOf(out->headers), expected);
    EXPECT_EQ(textOf(out->body), "<m>\r\n</m>");
    EXPECT_NE(out->body, parts->body);
    EXPECT_EQ(packageMime(nullptr), nullptr);
}

TEST(MimePackaging, SeveralPartsWriteTheMultipartLayout) {
    Parts parts(partOf({}, "<m/>"));
    parts->next = partOf({{"Content-Type", "application/octet-stream"}}, "ABC");
    parts->next->next = partOf({}, std::string("a\0b\r\nc\r", 7));
    parts->next->next->next = newRecord().release();  // no content at all
    const std::string expected =
        "----zov-mime-boundary--\r\n"
        "Content-Type: text/xml; charset=UTF-8\r\n"
        "Content-ID: zovMessage.xml\r\n"
        "\r\n"
        "<m/>\r\n"
        "----zov-mime-boundary--\r\n"
        "Content-Type: application/octet-stream\r\n"
        "\r\n"
        "ABC\r\n"
        "----zov-mime-boundary--\r\n"
        "\r\n" +
        std::string("a\0b\r\nc\r", 7) +
        "\r\n"
        "----zov-mime-boundary--\r\n"
        "\r\n"
        "\r\n"
        "----zov-mime-boundary----\r\n";
    // Packaging twice gives the same output: the envelope headers are replaced.
    LogCapture log(1);
    for (int round = 0; round < 2; ++round) {
        Parts out(packageMime(parts.get()));
        ASSERT_NE(out, nullptr);
        EXPECT_EQ(pairsOf(out->headers),
                  (HeaderPairs{{"Content-Type", "multipart/mixed; boundary=\"--zov-mime-boundary--\""}}));
        EXPECT_EQ(textOf(out->body), expected);
    }
    EXPECT_TRUE(log.contains("[addDataToCharBuffer      ] :bufferPointer and data cannot be NULL\n"));
}

TEST(MimePackaging, RoundTripThroughDecoding) {
    const std::string attachment = randomBytes(4000);
    Parts parts(partOf({{"X-Envelope", "yes"}}, "<m>\r\n  <c>1</c>\r\n</m>"));
    parts->next = partOf({{"Content-Type", "application/octet-stream"}, {"Content-Transfer-Encoding", "base64"}},
                         base64Text(attachment, 76));
    parts->next->next = partOf({{"Content-Type", "text/plain"}}, "\r\nline one\r\n\r\nline two\r\n");
    Parts out(packageMime(parts.get()));
    ASSERT_NE(out, nullptr);

    const std::string body = textOf(out->body);
    HttpHeader *headers = httpPayloadCopyHeaders(out->headers);
    httpPayloadAddHeader(&headers, "Content-Length", std::to_string(body.size()).c_str());
    char *text = nullptr;
    MimeStruct *rest = nullptr;
    ASSERT_EQ(processMime(headers, body.data(), &text, &rest), 0);
    httpPayloadFreeHeaders(&headers);
    Parts decoded(partOf({}, text));
    std::free(text);
    decoded->next = rest;

    // Contents come back without carriage returns and leading empty lines.
    EXPECT_EQ(contentsOf(decoded.get()),
              (Contents{"<m>\n  <c>1</c>\n</m>", attachment, "line one\n\nline two\n"}));
    const MimeStruct *in = parts->next;
    for (const MimeStruct *part = rest; part != nullptr; part = part->next, in = in->next) {
        ASSERT_NE(in, nullptr);
        EXPECT_EQ(pairsOf(part->headers), pairsOf(in->headers));
    }
    EXPECT_EQ(in, nullptr);
    // The envelope's headers, not handed out by processMime, come back from the chain.
    Parts chained = newRecord();
    ASSERT_EQ(decodeChain(body, pairsOf(out->headers)[0].second, chained), 0);
    EXPECT_EQ(pairsOf(chained->headers), pairsOf(parts->headers));
}
