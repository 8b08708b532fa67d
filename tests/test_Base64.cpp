#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Base64.h"
#include "TransportData.h"
#include "LogCapture.h"

namespace {

// base64DecodeN of text; the bytes written, or "<-1>" for a failure.
std::string decoded(const std::string &text) {
    std::vector<unsigned char> out(text.size() / 4 * 3 + 1);
    int n = base64DecodeN(out.data(), text.data(), static_cast<int>(text.size()));
    if (n < 0) return "<-1>";
    return std::string(out.begin(), out.begin() + n);
}

std::string allBytes(std::size_t size) {
    std::string bytes(size, '\0');
    for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<char>(i * 7 + i / 256);
    return bytes;
}

}  // namespace

TEST(Base64, CharacterValues) {
    const std::string alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    for (std::size_t i = 0; i < alphabet.size(); ++i) EXPECT_EQ(convertCharToVal(alphabet[i]), static_cast<int>(i));
    EXPECT_EQ(convertCharToVal('='), 64);
    for (char c : {'\0', ' ', '\n', '-', '_', '.', '@', '[', '`', '{', static_cast<char>(0xC3)})
        EXPECT_EQ(convertCharToVal(c), -1) << static_cast<int>(c);
}

TEST(Base64, DecodeChunkPositions) {
    LogCapture log(1);
    const int man[4] = {19, 22, 5, 46};  // "TWFu"
    EXPECT_EQ(decodeChunk(man, 0), 'M');
    EXPECT_EQ(decodeChunk(man, 1), 'a');
    EXPECT_EQ(decodeChunk(man, 2), 'n');
    const int padded[4] = {19, 16, 64, 64};  // "TQ=="
    EXPECT_EQ(decodeChunk(padded, 1), 0);
    EXPECT_EQ(decodeChunk(padded, 2), 0);
    const int high[4] = {63, 63, 0, 0};
    EXPECT_EQ(decodeChunk(high, 0), 255);  // (63 << 2) + 3, not masked
    EXPECT_EQ(decodeChunk(man, 3), -1);
    EXPECT_EQ(log.text().rfind("[Base64         ][", 0), 0u);
    EXPECT_TRUE(log.contains("][decodeChunk              ] :decodeChunk: unexpected position input - '3'\n\n"));
}

TEST(Base64, DecodesGroupsAndPads) {
    EXPECT_EQ(decoded("TWFu"), "Man");
    EXPECT_EQ(decoded("TWE="), "Ma");
    EXPECT_EQ(decoded("TQ=="), "M");
    EXPECT_EQ(decoded(""), "");
    EXPECT_EQ(decoded("TWFuTQ"), "Man");  // incomplete last group: checked, not decoded
    EXPECT_EQ(decoded("TQ==TWFu"), "MMan");
    // Pads in odd places follow the per-position rules.
    EXPECT_EQ(decoded("A=AA"), std::string("\x04\x00", 2));
    EXPECT_EQ(decoded("=AAA"), std::string("\x00\x00\x00", 3));
    EXPECT_EQ(decoded("AA=A"), std::string("\x00", 1));

    unsigned char out[8] = {'x', 'x', 'x', 'x', 'x'};
    EXPECT_EQ(base64Decode(out, "TWE="), 2);
    EXPECT_EQ(std::string(reinterpret_cast<char *>(out)), "Ma");
    EXPECT_EQ(base64Decode(out, ""), 0);
    EXPECT_EQ(out[0], '\0');

    const std::string bytes = allBytes(3001);
    EXPECT_EQ(decoded(base64Text(bytes)), bytes);
}

TEST(Base64, RejectsIllegalCharacters) {
    LogCapture log(1);
    EXPECT_EQ(decoded("TW Fu"), "<-1>");
    EXPECT_TRUE(log.contains("[base64DecodeN            ] :Illegal value found in input ' '\n"));
    EXPECT_EQ(decoded("TWFu\nTWFu"), "<-1>");
    EXPECT_TRUE(log.contains(":Illegal value found in input '\n'\n"));
    EXPECT_EQ(decoded("TWFuTW-"), "<-1>");  // in the incomplete last group too

    // Groups completed before the illegal character are already written.
    unsigned char out[16] = {};
    EXPECT_EQ(base64DecodeN(out, "TWFuTWFuTW*u", 12), -1);
    EXPECT_EQ(std::string(reinterpret_cast<char *>(out), 6), "ManMan");
    EXPECT_EQ(base64Decode(out, "T*=="), -1);
}

TEST(Base64, ChainsDecodeSliceBySlice) {
    LogCapture log(1);
    const std::string bytes = allBytes(1875);  // 2500 characters: slices of 1000, 1000, 500
    const std::string text = base64Text(bytes);
    ASSERT_EQ(text.size(), 2500u);
    CharBuffer *src = chainOf(text);
    CharBuffer *dest = chainOf("keep");
    EXPECT_EQ(base64DecodeCharBuffer(dest, src), 4 + 1875);
    EXPECT_EQ(textOf(dest), "keep" + bytes);
    EXPECT_EQ(textOf(src), text);
    // Decoding onto the end of the text's own chain reads the text only.
    EXPECT_EQ(base64DecodeCharBuffer(src, src), 2500 + 1875);
    EXPECT_EQ(textOf(src), text + bytes);
    freeAllCharBuffers(src);
    freeAllCharBuffers(dest);

    // An illegal character drops its whole slice only.
    std::string bad = base64Text(allBytes(900));
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
    // A chain built by hand, with links shorter than 1000 bytes: the slices
    // are still 1000 characters of the text.
    const std::string bytes = allBytes(1500);
    const std::string text = base64Text(bytes);
    CharBuffer *head = createCharBuffer();
    CharBuffer *link = head;
    for (std::size_t at = 0; at < text.size(); at += 333) {
        if (at > 0) link = link->next = createCharBuffer();
        std::string piece = text.substr(at, 333);
        piece.copy(link->data, piece.size());
        link->length = static_cast<int32_t>(piece.size());
    }
    CharBuffer *dest = createCharBuffer();
    EXPECT_EQ(base64DecodeCharBuffer(dest, head), 1500);
    EXPECT_EQ(textOf(dest), bytes);
    freeAllCharBuffers(head);
    freeAllCharBuffers(dest);
}
