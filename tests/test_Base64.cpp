#include <gtest/gtest.h>

#include <algorithm>

#include "Base64.h"
#include "LogCapture.h"
#include "TransportData.h"

namespace {

// What base64DecodeN writes (after a failure, up to the fill's first 'x', then "<-1>"); base64Decode agrees.
std::string decoded(const std::string &text) {
    std::vector<unsigned char> out(text.size() / 4 * 3 + 1, 'x'), terminated(out);
    int n = base64DecodeN(out.data(), text.data(), static_cast<int>(text.size()));
    EXPECT_EQ(base64Decode(terminated.data(), text.c_str()), n);
    if (n < 0) return std::string(out.begin(), std::find(out.begin(), out.end(), 'x')) + "<-1>";
    out[n] = '\0';
    EXPECT_EQ(terminated, out);
    return std::string(out.begin(), out.begin() + n);
}

}  // namespace

TEST(Base64, CharactersGroupsPadsAndChains) {
    const std::string alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/=";
    for (std::size_t i = 0; i < alphabet.size(); ++i) EXPECT_EQ(convertCharToVal(alphabet[i]), static_cast<int>(i));
    for (char c : {'\0', ' ', '\n', '-', '_', '@', '[', '`', '{', static_cast<char>(0xC3)})
        EXPECT_EQ(convertCharToVal(c), -1) << static_cast<int>(c);

    // Groups before an illegal character are written; a short last group is not; a pad does not end the input.
    LogCapture log(1);
    const std::vector<std::pair<std::string, std::string>> cases{
        {"TWFu", "Man"}, {"TWE=", "Ma"}, {"TQ==", "M"}, {"", ""}, {"TWFuTQ", "Man"}, {"TQ==TWFu", "MMan"},
        {"A=AA", std::string("\x04\x00", 2)}, {"=AAA", std::string(3, '\0')}, {"AA=A", std::string(1, '\0')},
        {"TW Fu", "<-1>"}, {"TWFu\nTWFu", "Man<-1>"}, {"TWFuTW-", "Man<-1>"}, {"TWFuTWFuTW*u", "ManMan<-1>"}};
    for (const auto &[text, bytes] : cases) EXPECT_EQ(decoded(text), bytes) << text;
    EXPECT_EQ(log.text().rfind("[Base64         ][", 0), 0u);
    EXPECT_TRUE(log.has("base64DecodeN: Illegal value found in input '*'"));

    const int high[4] = {64, 63, 64, 0}, padX[4] = {0, 64, 16, 0};
    EXPECT_EQ(decodeChunk(high, 0), 259);  // (64 << 2) + 3, not masked
    EXPECT_TRUE(decodeChunk(high, 1) == 0 && decodeChunk(padX, 1) == 0);  // a pad as x or y
    EXPECT_EQ(decodeChunk(high, 3), -1);
    EXPECT_TRUE(log.has("decodeChunk: decodeChunk: unexpected position input - '3'\n"));
    unsigned char out[8];
    for (int result : {decodeChunk(nullptr, 0), base64DecodeN(nullptr, "TWFu", 4), base64DecodeN(out, nullptr, 4),
                       base64Decode(out, nullptr), base64Decode(nullptr, "TWFu")})
        EXPECT_EQ(result, -1);
    EXPECT_TRUE(log.has("base64DecodeN: bad arguments"));
    EXPECT_EQ(base64DecodeCharBuffer(nullptr, nullptr), 0);

    // Links of 333 bytes still decode in slices of 1000 characters; onto its own chain, the text only.
    log.clear();
    const std::string bytes = randomBytes(1875), text = base64Text(bytes);
    CharBuffer *src = chainOf(text, 333), *dest = chainOf("keep");
    EXPECT_EQ(base64DecodeCharBuffer(dest, src), 4 + 1875);
    EXPECT_EQ(textOf(dest), "keep" + bytes);
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
