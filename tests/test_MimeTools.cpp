#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "TransportData.h"
#include "LogCapture.h"
#include "MimeTools.h"

namespace {

using HeaderPairs = std::vector<std::pair<std::string, std::string>>;

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

MimeStruct *partOf(const HeaderPairs &headers, const std::string &content) {
    auto *part = static_cast<MimeStruct *>(std::calloc(1, sizeof(MimeStruct)));
    part->headers = headersOf(headers).release();
    part->body = chainOf(content);
    return part;
}

struct Decoded {
    int result = -1;
    std::string text;
    Parts rest;
};

const std::string kMultipart = "multipart/mixed; boundary=\"XyZ\"";

// processMime with the given Content-Type (omitted when empty) and a
// Content-Length of the whole body.
Decoded process(const std::string &body, const std::string &contentType = kMultipart) {
    HeaderPairs pairs{{"Content-Length", std::to_string(body.size())}};
    if (!contentType.empty()) pairs.emplace_back("Content-Type", contentType);
    Headers headers = headersOf(pairs);
    Decoded decoded;
    char *text = nullptr;
    MimeStruct *rest = nullptr;
    decoded.result = processMime(headers.get(), body.data(), &text, &rest);
    if (text != nullptr) decoded.text = text;
    std::free(text);
    decoded.rest.reset(rest);
    return decoded;
}

std::vector<std::string> contentsOf(const MimeStruct *parts) {
    std::vector<std::string> contents;
    for (; parts != nullptr; parts = parts->next) contents.push_back(textOf(parts->body));
    return contents;
}

}  // namespace

TEST(MimeDecoding, SplitsPartsWithHeadersAndDecodedContents) {
    const std::string attachment = randomBytes(5000);
    const std::string body =
        "preamble line\r\n"
        "--XyZ\r\n"
        "Content-Type: text/xml\r\n"
        "\r\n"
        "<a>\r\n"
        "\r\n"
        "</a>\r\n"
        "--XyZ trailing text is ignored\r\n"
        "Content-Type: application/octet-stream\r\n"
        "Content-Transfer-Encoding: base64\r\n"
        "\r\n" +
        base64Text(attachment, 76) +
        "--XyZ\n"
        "Content-Transfer-Encoding: 8bit\n"
        "\n"
        "plain\n"
        "--XyZ--\r\n"
        "epilogue\r\n";
    Decoded decoded = process(body);
    ASSERT_EQ(decoded.result, 0);
    EXPECT_EQ(decoded.text, "<a>\n\n</a>");
    ASSERT_NE(decoded.rest, nullptr);
    EXPECT_EQ(pairsOf(decoded.rest->headers),
              (HeaderPairs{{"Content-Type", "application/octet-stream"},
                           {"Content-Transfer-Encoding", "base64"}}));
    EXPECT_EQ(contentsOf(decoded.rest.get()), (std::vector<std::string>{attachment, "plain"}));
}

TEST(MimeDecoding, PassesPlainBodiesThrough) {
    Decoded plain = process("<xml>\r\nbody</xml>", "text/xml");
    EXPECT_EQ(plain.result, 0);
    EXPECT_EQ(plain.text, "<xml>\r\nbody</xml>");
    EXPECT_EQ(plain.rest, nullptr);

    // The multipart test is case-sensitive.
    Decoded capital = process("--XyZ\r\n\r\nx\r\n--XyZ--\r\n", "Multipart/mixed; boundary=\"XyZ\"");
    EXPECT_EQ(capital.result, 0);
    EXPECT_EQ(capital.text, "--XyZ\r\n\r\nx\r\n--XyZ--\r\n");

    // An empty body needs no Content-Type.
    Decoded empty = process("", "");
    EXPECT_EQ(empty.result, 0);
    EXPECT_EQ(empty.text, "");
    EXPECT_EQ(empty.rest, nullptr);
}

TEST(MimeDecoding, ContentLengthRules) {
    LogCapture log(1);
    const std::string body = "plain text body";
    char *text = nullptr;
    MimeStruct *rest = nullptr;

    Headers missing = headersOf({{"Content-Type", "text/plain"}});
    EXPECT_EQ(processMime(missing.get(), body.c_str(), &text, &rest), -1);
    EXPECT_TRUE(log.contains("[MimeTools      ]"));
    EXPECT_TRUE(log.contains("[processMime              ] :Error, no Content-Length specified\n"));

    Headers overflowing = headersOf({{"Content-Type", "text/plain"}, {"Content-Length", "99999999999"}});
    EXPECT_EQ(processMime(overflowing.get(), body.c_str(), &text, &rest), -1);
    EXPECT_TRUE(log.contains(":Error, Content-Length '99999999999' out of range\n"));
    EXPECT_EQ(text, nullptr);

    // atoi rules: leading blanks and trailing garbage are fine, a negative
    // or unreadable length reads nothing.
    for (const auto &[length, expected] : std::vector<std::pair<std::string, std::string>>{
             {" 5xyz", "plain"}, {"-7", ""}, {"abc", ""}, {"-99999999999999", ""}}) {
        Headers headers = headersOf({{"Content-Type", "text/plain"}, {"Content-Length", length}});
        ASSERT_EQ(processMime(headers.get(), body.c_str(), &text, &rest), 0) << length;
        EXPECT_EQ(std::string(text), expected);
        std::free(text);
        freeMimeStruct(rest);
    }
}

TEST(MimeDecoding, BoundaryTokenForms) {
    LogCapture log(3);
    Decoded unquoted = process("--XyZ\r\n\r\nx\r\n--XyZ--\r\n", "multipart/mixed; boundary=XyZ");
    EXPECT_EQ(unquoted.result, -1);
    EXPECT_TRUE(log.contains(
        "[decodeMimeCharBuffer     ] :boundaryToken not found in Content-Type header='multipart/mixed; "
        "boundary=XyZ'\n"));

    EXPECT_EQ(process("--XyZ\r\n\r\nx\r\n--XyZ--\r\n", "multipart/mixed; boundary=\"XyZ").result, -1);

    // An empty token makes every line beginning with "--" a delimiter.
    Decoded empty = process("--\r\n\r\nx\r\n----\r\n", "multipart/mixed; boundary=\"\"");
    EXPECT_EQ(empty.result, 0);
    EXPECT_EQ(empty.text, "x");
    EXPECT_TRUE(log.contains(":boundaryToken=''\n"));
}

TEST(MimeDecoding, UnclosedAndMissingDelimiters) {
    LogCapture log(1);
    // A plain delimiter and then the end: every part is kept.
    Decoded open = process("--XyZ\r\n\r\none\r\n--XyZ\r\n\r\ntwo\r\n--XyZ\r\n");
    EXPECT_EQ(open.result, 0);
    EXPECT_EQ(open.text, "one");
    EXPECT_EQ(contentsOf(open.rest.get()), (std::vector<std::string>{"two"}));
    EXPECT_EQ(log.text(), "");

    // The last part runs into the end of the body: it is lost, with a report.
    Decoded lost = process("--XyZ\r\n\r\none\r\n--XyZ\r\n\r\ntwo\r\n");
    EXPECT_EQ(lost.result, 0);
    EXPECT_EQ(lost.text, "one");
    EXPECT_EQ(lost.rest, nullptr);
    EXPECT_TRUE(log.contains("[getMimePart              ] :getMimePart: Error, couldn't find boundaryToken 'XyZ'\n\n"));

    log.clear();
    EXPECT_EQ(process("--XyZ\r\n\r\n\r\n").result, -1);  // no content: no report
    EXPECT_EQ(log.text(), "");
    EXPECT_EQ(process("--XyZ\r\n\r\nonly\r\n").result, -1);
    EXPECT_EQ(process("no delimiter at all\r\n").result, -1);
}

TEST(MimeDecoding, PartHeaderLines) {
    const std::string body =
        "--XyZ\r\n"
        "X-Empty:\r\n"
        "no colon here\r\n"
        "::X-Lead:  v\r\n"
        "X-Twice: first\r\n"
        "X-Long: " + std::string(200, 'v') + "\r\n"
        "X-Twice: second\r\n"
        "X-Times: 10:30\r\n"
        "X-End:\n"
        "\r\n"
        "c\r\n"
        "--XyZ--\r\n";
    Headers headers = headersOf({{"Content-Type", kMultipart}});
    CharBuffer *input = chainOf(body);
    Parts out(static_cast<MimeStruct *>(std::calloc(1, sizeof(MimeStruct))));
    ASSERT_EQ(decodeMimeCharBuffer(headers.get(), input, out.get()), 0);
    freeAllCharBuffers(input);
    EXPECT_EQ(pairsOf(out->headers), (HeaderPairs{{"X-Empty", ""},
                                                  {"X-Lead", "v"},
                                                  {"X-Twice", "second"},
                                                  {"X-Long", std::string(131, 'v')},
                                                  {"X-Times", "10:30"},
                                                  {"X-End", ""}}));
    EXPECT_EQ(textOf(out->body), "c");
}

TEST(MimeDecoding, ContentRebuiltFromLines) {
    // Leading empty lines are lost, inner ones kept, the last line end belongs
    // to the delimiter; a part of headers only has an empty content.
    Decoded decoded = process(
        "--XyZ\r\n\r\n\r\n\r\na\r\n\r\nb\r\n\r\n--XyZ\r\nX: 1\r\n--XyZ\r\n\r\n--XyZ--");
    ASSERT_EQ(decoded.result, 0);
    EXPECT_EQ(decoded.text, "a\n\nb\n");
    EXPECT_EQ(contentsOf(decoded.rest.get()), (std::vector<std::string>{"", ""}));
    EXPECT_EQ(pairsOf(decoded.rest->headers), (HeaderPairs{{"X", "1"}}));
}

TEST(MimeDecoding, TransferEncodings) {
    LogCapture log(3);
    auto withEncoding = [](const std::string &encoding, const std::string &content) {
        return "--XyZ\r\n\r\nenvelope\r\n--XyZ\r\nContent-Transfer-Encoding: " + encoding + "\r\n\r\n" +
               content + "\r\n--XyZ--\r\n";
    };
    EXPECT_EQ(process(withEncoding("7bit", "x")).result, -1);
    EXPECT_EQ(process(withEncoding("BASE64", "TWFu")).result, -1);
    EXPECT_TRUE(log.contains("[handleDecoding           ] :contentEncoding: 'BASE64'\n"));

    // Illegal base64 does not fail the call: the bad slice is left out.
    Decoded bad = process(withEncoding("base64", "TW Fu"));
    EXPECT_EQ(bad.result, 0);
    ASSERT_NE(bad.rest, nullptr);
    EXPECT_EQ(textOf(bad.rest->body), "");
    EXPECT_TRUE(log.contains("[Base64         ]"));

    // Line breaks inside base64 content are removed across slices.
    const std::string bytes = randomBytes(3000);
    Decoded lf = process(withEncoding("base64", base64Text(bytes, 60, "\n")));
    ASSERT_NE(lf.rest, nullptr);
    EXPECT_EQ(textOf(lf.rest->body), bytes);
}

TEST(MimeDecoding, Base64FailuresReportedOnlyForClosedParts) {
    LogCapture log(3);
    const std::string bytes = randomBytes(2250);  // 3000 characters: three slices
    std::string text = base64Text(bytes);
    text[1500] = '*';
    const std::string part = "--XyZ\r\nContent-Transfer-Encoding: base64\r\n\r\n" + text + "\r\n";
    Decoded decoded = process("--XyZ\r\n\r\nenvelope\r\n" + part + "--XyZ--\r\n");
    ASSERT_EQ(decoded.result, 0);
    ASSERT_NE(decoded.rest, nullptr);
    // The slice holding the illegal character is left out, the others decode.
    EXPECT_EQ(textOf(decoded.rest->body), bytes.substr(0, 750) + bytes.substr(1500));
    const std::string logged = log.text();
    std::size_t encoding = logged.find("contentEncoding: 'base64'");
    std::size_t illegal = logged.find("Illegal value found in input '*'");
    ASSERT_NE(illegal, std::string::npos);
    EXPECT_LT(encoding, illegal);
    EXPECT_EQ(illegal, logged.rfind("Illegal value"));

    // A part that is never closed is dropped without decoding reports.
    log.clear();
    Decoded unclosed = process("--XyZ\r\n\r\nenvelope\r\n" + part);
    EXPECT_EQ(unclosed.result, 0);
    EXPECT_EQ(unclosed.rest, nullptr);
    EXPECT_FALSE(log.contains("Illegal value"));
    EXPECT_TRUE(log.contains("couldn't find boundaryToken 'XyZ'"));
}

TEST(MimeDecoding, ChainAndMemoryBodiesDecodeAlike) {
    // processMime reads its bytes in place, decodeMimeCharBuffer reads a
    // chain: lines crossing links, stray carriage returns and a last line
    // without its line feed give the same parts either way.
    const std::vector<std::string> bodies{
        "--XyZ\r\nA: 1\r\n\r\n" + std::string(1500, 'a') + "\r\r\nb\rc\n--XyZ\r\n\r\n" + std::string(998, 'd') +
            "\r\n--XyZ--",
        "pre\r--XyZ\n\r--XyZ\r\n\n\rx\n--XyZ",
        "--XyZ\r\nB:2\r\n\r\ny\r\n--XyZ\r\n\r\nz",
    };
    for (const std::string &body : bodies) {
        Decoded flat = process(body);
        Headers headers = headersOf({{"Content-Type", kMultipart}});
        CharBuffer *input = chainOf(body);
        Parts chained(static_cast<MimeStruct *>(std::calloc(1, sizeof(MimeStruct))));
        int result = decodeMimeCharBuffer(headers.get(), input, chained.get());
        freeAllCharBuffers(input);
        ASSERT_EQ(flat.result, result) << body;
        if (result != 0) continue;
        EXPECT_EQ(flat.text, textOf(chained->body));
        EXPECT_EQ(contentsOf(flat.rest.get()), contentsOf(chained->next));
    }
}

TEST(MimeDecoding, LongLinesAndManyParts) {
    const std::string envelope = "<e>" + std::string(300000, 'x') + "</e>";
    std::string body = "--XyZ\r\n\r\n" + envelope + "\r\n";
    const int parts = 20000;
    for (int i = 0; i < parts; ++i) body += "--XyZ\r\nN: " + std::to_string(i) + "\r\n\r\n" + std::to_string(i) + "\r\n";
    body += "--XyZ--\r\n";
    Decoded decoded = process(body);
    ASSERT_EQ(decoded.result, 0);
    EXPECT_EQ(decoded.text, envelope);
    int count = 0;
    for (const MimeStruct *part = decoded.rest.get(); part != nullptr; part = part->next, ++count) {
        ASSERT_EQ(textOf(part->body), std::to_string(count));
    }
    EXPECT_EQ(count, parts);
}

TEST(MimeDecoding, DecodeArgumentsAndEmptyInput) {
    LogCapture log(3);
    Headers headers = headersOf({{"Content-Type", kMultipart}});
    CharBuffer *input = createCharBuffer();
    Parts out(static_cast<MimeStruct *>(std::calloc(1, sizeof(MimeStruct))));
    EXPECT_EQ(decodeMimeCharBuffer(nullptr, input, out.get()), -1);
    EXPECT_TRUE(log.contains(":decodeMimeCharBuffer: Error, headers is null\n\n"));
    EXPECT_EQ(decodeMimeCharBuffer(headers.get(), nullptr, out.get()), -1);
    EXPECT_TRUE(log.contains(":decodeMimeCharBuffer: Error, input is null\n\n"));

    EXPECT_EQ(decodeMimeCharBuffer(headers.get(), input, out.get()), 0);
    EXPECT_TRUE(log.contains(":Empty input buffer\n"));
    EXPECT_EQ(out->headers, nullptr);
    ASSERT_NE(out->body, nullptr);
    EXPECT_EQ(out->body->length, 0);

    Headers noType = headersOf({{"X", "y"}});
    addDataToCharBuffer(input, "x", 1);
    Parts second(static_cast<MimeStruct *>(std::calloc(1, sizeof(MimeStruct))));
    EXPECT_EQ(decodeMimeCharBuffer(noType.get(), input, second.get()), -1);
    EXPECT_TRUE(log.contains(":Content-Type not found in http headers\n"));
    freeAllCharBuffers(input);
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
    EXPECT_EQ(out->next, nullptr);
    EXPECT_EQ(packageMime(nullptr), nullptr);
}

TEST(MimePackaging, SeveralPartsWriteTheMultipartLayout) {
    Parts parts(partOf({}, "<m/>"));
    parts->next = partOf({{"Content-Type", "application/octet-stream"}}, "ABC");
    parts->next->next = partOf({}, std::string("a\0b\r\nc\r", 7));
    Parts out(packageMime(parts.get()));
    ASSERT_NE(out, nullptr);
    EXPECT_EQ(pairsOf(out->headers),
              (HeaderPairs{{"Content-Type", "multipart/mixed; boundary=\"--zov-mime-boundary--\""}}));
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
        "----zov-mime-boundary----\r\n";
    EXPECT_EQ(textOf(out->body), expected);

    // Packaging again gives the same output: the envelope headers are replaced.
    Parts again(packageMime(parts.get()));
    EXPECT_EQ(textOf(again->body), expected);
    EXPECT_EQ(pairsOf(again->headers), pairsOf(out->headers));
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
    Headers headers(httpPayloadCopyHeaders(out->headers));
    HttpHeader *list = headers.release();
    httpPayloadAddHeader(&list, "Content-Length", std::to_string(body.size()).c_str());
    headers.reset(list);

    CharBuffer *input = chainOf(body);
    Parts decoded(static_cast<MimeStruct *>(std::calloc(1, sizeof(MimeStruct))));
    ASSERT_EQ(decodeMimeCharBuffer(headers.get(), input, decoded.get()), 0);
    freeAllCharBuffers(input);

    std::vector<std::string> expected{"<m>\n  <c>1</c>\n</m>", attachment, "line one\n\nline two\n"};
    EXPECT_EQ(contentsOf(decoded.get()), expected);
    const MimeStruct *in = parts.get();
    for (const MimeStruct *part = decoded.get(); part != nullptr; part = part->next, in = in->next) {
        ASSERT_NE(in, nullptr);
        EXPECT_EQ(pairsOf(part->headers), pairsOf(in->headers));
    }

    char *text = nullptr;
    MimeStruct *rest = nullptr;
    ASSERT_EQ(processMime(headers.get(), body.data(), &text, &rest), 0);
    EXPECT_EQ(std::string(text), expected[0]);
    EXPECT_EQ(contentsOf(rest), (std::vector<std::string>{expected[1], expected[2]}));
    std::free(text);
    freeMimeStruct(rest);
}
