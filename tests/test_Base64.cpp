#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Base64.h"
#include "LogCapture.h"
#include "TransportData.h"

namespace {

// base64DecodeN of text; the bytes written, or "<-1>" for a failure.
std::string decoded(const std::string &text) {
    std::vector<unsigned char> out(text.size() / 4 * 3 + 1);
    int n = base64DecodeN(out.data(), text.data(), static_cast<int>(text.size()));
    return n < 0 ? "<-1>" : std::string(out.begin(), out.begin() + n);
}

}  // namespace

TEST(Base64, CharacterValuesAndChunks) {
    const std::string alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/=";
    for (std::size_t i = 0; i < alphabet.size(); ++i) EXPECT_EQ(convertCharToVal(alphabet[i]), static_cast<int>(i));
    for (char c : {'\0', ' ', '\n', '-', '_', '@', '[', '`', '{', static_cast<char>(0xC3)})
        EXPECT_EQ(convertCharToVal(c), -1) << static_cast<int>(c);

    LogCapture log(1);
    const int high[4] = {63, 63, 64, 0};
    EXPECT_EQ(decodeChunk(high, 0), 255);  // (63 << 2) + 3, not masked
    EXPECT_EQ(decodeChunk(high, 1), 0);
    EXPECT_EQ(decodeChunk(high, 3), -1);
    EXPECT_EQ(log.text().rfind("[Base64         ][", 0), 0u);
    EXPECT_TRUE(log.contains("][decodeChunk              ] :decodeChunk: unexpected position input - '3'\n\n"));

    // Missing pointers are refused rather than followed.
    unsigned char out[8];
    EXPECT_EQ(decodeChunk(nullptr, 0), -1);
    EXPECT_EQ(base64DecodeN(nullptr, "TWFu", 4), -1);
    EXPECT_EQ(base64DecodeN(out, nullptr, 4), -1);
    EXPECT_EQ(base64Decode(out, nullptr), -1);
    EXPECT_EQ(base64Decode(nullptr, "TWFu"), -1);
    EXPECT_TRUE(log.contains("][base64DecodeN            ] :bad arguments\n"));
    EXPECT_EQ(base64DecodeCharBuffer(nullptr, nullptr), 0);
}

TEST(Base64, DecodesGroupsAndPads) {
    const std::vector<std::pair<std::string, std::string>> cases{
        {"TWFu", "Man"}, {"TWE=", "Ma"}, {"TQ==", "M"}, {"", ""},
        {"TWFuTQ", "Man"},     // an incomplete last group is checked, not decoded
        {"TQ==TWFu", "MMan"},  // a pad does not end the input
        {"A=AA", std::string("\x04\x00", 2)}, {"=AAA", std::string(3, '\0')}, {"AA=A", std::string(1, '\0')},
        {"TW Fu", "<-1>"}, {"TWFu\nTWFu", "<-1>"}, {"TWFuTW-", "<-1>"}};
    for (const auto &[text, bytes] : cases) EXPECT_EQ(decoded(text), bytes) << text;
    const std::string bytes = randomBytes(3001);
    EXPECT_EQ(decoded(base64Text(bytes)), bytes);

    unsigned char out[16] = {'x', 'x', 'x'};
    EXPECT_EQ(base64Decode(out, "TWE="), 2);
    EXPECT_STREQ(reinterpret_cast<char *>(out), "Ma");
    EXPECT_EQ(base64Decode(out, ""), 0);
    EXPECT_EQ(out[0], '\0');
    // Groups completed before an illegal character are already written.
    LogCapture log(1);
    EXPECT_EQ(base64Decode(out, "TWFuTWFuTW*u"), -1);
    EXPECT_EQ(std::string(reinterpret_cast<char *>(out), 6), "ManMan");
    EXPECT_EQ(log.text().substr(log.text().find("][base64DecodeN")),
              "][base64DecodeN            ] :Illegal value found in input '*'\n");
}

TEST(Base64, ChainsDecodeSliceBySlice) {
    LogCapture log(1);
    const std::string bytes = randomBytes(1875);  // 2500 characters: slices of 1000, 1000, 500
    const std::string text = base64Text(bytes);
    CharBuffer *src = chainOf(text);
    CharBuffer *dest = chainOf("keep");
    EXPECT_EQ(base64DecodeCharBuffer(dest, src), 4 + 1875);
    EXPECT_EQ(textOf(dest), "keep" + bytes);
    // Decoding onto the end of the text's own chain reads the text only.
    EXPECT_EQ(base64DecodeCharBuffer(src, src), 2500 + 1875);
    EXPECT_EQ(textOf(src), text + bytes);
    freeAllCharBuffers(src);
    freeAllCharBuffers(dest);

    // An illegal character drops its whole slice only, after one report.
    std::string bad = base64Text(randomBytes(900));
    bad[10] = '\n';
    src = chainOf(bad);
    dest = createCharBuffer();
    EXPECT_EQ(base64DecodeCharBuffer(dest, src), 150);
    EXPECT_EQ(textOf(dest), decoded(bad.substr(1000)));
    EXPECT_EQ(log.text().find("Illegal value"), log.text().rfind("Illegal value"));
    freeAllCharBuffers(src);
    freeAllCharBuffers(dest);
}

TEST(Base64, ChainsOfUnevenLinks) {
    // Links shorter than 1000 bytes (a chain built by hand): the slices are
    // still 1000 characters of the text.
    const std::string bytes = randomBytes(1500);
    const std::string text = base64Text(bytes);
    CharBuffer *head = createCharBuffer();
    CharBuffer *link = head;
    for (std::size_t at = 0; at < text.size(); at += 333) {
        if (at > 0) link = link->next = createCharBuffer();
        link->length = static_cast<int32_t>(text.copy(link->data, 333, at));
    }
    CharBuffer *dest = createCharBuffer();
    EXPECT_EQ(base64DecodeCharBuffer(dest, head), 1500);
    EXPECT_EQ(textOf(dest), bytes);
    freeAllCharBuffers(head);
    freeAllCharBuffers(dest);
}
