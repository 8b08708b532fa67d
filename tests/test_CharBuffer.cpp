#include <gtest/gtest.h>

#include <memory>
#include <regex>

#include "CharBuffer.h"
#include "LogCapture.h"

namespace {

using Chain = std::unique_ptr<CharBuffer, decltype(&freeAllCharBuffers)>;

Chain chainOf(const std::string &text) {
    Chain chain(createCharBuffer(), freeAllCharBuffers);
    addDataToCharBuffer(chain.get(), text.data(), static_cast<int>(text.size()));
    return chain;
}

std::vector<int> linkLengths(const CharBuffer *chain) {
    std::vector<int> lengths;
    for (; chain != nullptr; chain = chain->next) lengths.push_back(chain->length);
    return lengths;
}

// A string handed out by the chain functions, freed ("<null>" for NULL).
std::string takeString(char *text) {
    std::unique_ptr<char, decltype(&std::free)> owned(text, std::free);
    return text ? text : "<null>";
}

std::string textOf(CharBuffer *chain) { return takeString(charBufferToChar(chain)); }

// a to z, repeated: a misplaced byte shows.
std::string patterned(std::size_t size) {
    std::string text;
    while (text.size() < size) text += static_cast<char>('a' + text.size() % 26);
    return text;
}

}  // namespace

TEST(CharBuffer, AppendJoinCopyAndBadArguments) {
    Chain exact = chainOf(std::string(1000, 'x'));
    EXPECT_EQ(linkLengths(exact.get()), (std::vector<int>{1000}));
    addDataToCharBuffer(exact.get(), "y", 1);
    EXPECT_EQ(linkLengths(exact.get()), (std::vector<int>{1000, 1}));
    EXPECT_EQ(findLastCharBuffer(exact.get()), exact->next);
    char *data = nullptr;
    int length = -1;
    EXPECT_EQ(getBufferContent(exact.get(), &data, &length), exact->next);
    EXPECT_EQ(getBufferContent(nullptr, &data, &length), nullptr);  // leaves the out-arguments alone
    EXPECT_TRUE(data == exact->data && length == 1000);

    EXPECT_EQ(textOf(chainOf("").get()), "");
    const std::string text = patterned(1999);
    Chain dest = chainOf("head:"), src = chainOf(text);
    addCharBufferToCharBuffer(dest.get(), src.get());
    EXPECT_EQ(textOf(dest.get()), "head:" + text);
    EXPECT_EQ(linkLengths(dest.get()), (std::vector<int>{1000, 1000, 4}));
    EXPECT_EQ(getTotalBufferLength(dest.get()), 2004);
    addCharBufferToCharBuffer(src.get(), src.get());  // joined to itself: copied once
    EXPECT_EQ(textOf(src.get()), text + text);
    Chain copy(charBufferCopy(src.get()), freeAllCharBuffers);
    EXPECT_EQ(linkLengths(copy.get()), linkLengths(src.get()));
    EXPECT_EQ(textOf(copy.get()), text + text);
    // Each link is copied as a string: its bytes from the first NUL on are zero.
    Chain withNul(charBufferCopy(chainOf(std::string("a\0b", 3)).get()), freeAllCharBuffers);
    EXPECT_EQ(std::string(withNul->data, withNul->length), std::string("a\0\0", 3));

    char lines[] = "a\r\nb\nc\r";
    EXPECT_EQ(removeNewLines(lines), lines);
    EXPECT_STREQ(lines, "abc");

    LogCapture log(1);
    Chain chain = chainOf("");
    EXPECT_TRUE(addDataToCharBuffer(chain.get(), "abc", 0) == 0 && addDataToCharBuffer(chain.get(), "abc", -5) == 0);
    EXPECT_EQ(log.text(), "");
    EXPECT_TRUE(addDataToCharBuffer(chain.get(), nullptr, 0) == -1 && addDataToCharBuffer(nullptr, "abc", 3) == -1);
    addCharBufferToCharBuffer(chain.get(), nullptr);
    addCharBufferToCharBuffer(nullptr, chain.get());
    EXPECT_TRUE(std::regex_match(log.text(), std::regex(R"((\[CharBuffer     \]\[\d+ *\]\[addDataToCharBuffer      \] )"
                                                         R"(:bufferPointer and data cannot be NULL\n){4})")));
    EXPECT_TRUE(getTotalBufferLength(nullptr) == 0 && findLastCharBuffer(nullptr) == nullptr &&
                charBufferToChar(nullptr) == nullptr && charBufferCopy(nullptr) == nullptr);
    int position = -1;
    EXPECT_TRUE(getCharBufferLine(chain.get(), &position) == nullptr && !getCharBufferLine(chain.get(), nullptr));
}

TEST(CharBuffer, DataAndLinesAcrossLinks) {
    LogCapture log(1);
    const std::string text = patterned(2500);
    Chain chain = chainOf(text);
    std::vector<char> dest(3000, '#');
    const std::size_t reads[][3] = {{1500, 900, 1500}, {10, 1000, 10}, {100, 2495, 5}, {10, 2500, 0}};
    for (auto [maxLength, start, copied] : reads) {
        EXPECT_EQ(getDataFromCharBuffer(chain.get(), dest.data(), maxLength, start), copied);
        EXPECT_EQ(std::string(dest.data(), copied), text.substr(start, copied));
    }
    EXPECT_EQ(dest[1500], '#');  // no terminator
    EXPECT_EQ(log.text(), "");

    EXPECT_EQ(getDataFromCharBuffer(chain.get(), dest.data(), 10, 2501), 0u);
    EXPECT_EQ(dest[0], text[2495]);  // untouched
    EXPECT_TRUE(log.has("getDataFromCharBuffer: Reached last charBuffer before startingCharacter found"));
    EXPECT_EQ(getDataFromCharBuffer(chainOf("").get(), dest.data(), 10, 0), 0u);
    EXPECT_EQ(dest[0], '\0');

    // Lines drop carriage returns and keep newlines; the long line crosses links.
    std::string longLine = patterned(5000), head(995, 'p');
    const std::pair<std::string, std::vector<std::string>> cases[] = {
        {"a\rb\r\ncd", {"ab\n", "cd"}}, {"x\n\ny\n", {"x\n", "\n", "y\n"}}, {"", {}},
        {head + "\n" + longLine + "\r\nend", {head + "\n", longLine + "\n", "end"}}};
    for (const auto &[input, lines] : cases) {
        Chain read = chainOf(input);
        int position = 0;
        for (const std::string &line : lines) EXPECT_EQ(takeString(getCharBufferLine(read.get(), &position)), line);
        EXPECT_EQ(position, static_cast<int>(input.size()));
        EXPECT_EQ(getCharBufferLine(read.get(), &position), nullptr);
    }
}
