#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "CharBuffer.h"
#include "LogCapture.h"
#include "internal/Chain.h"

namespace {

struct ChainDeleter {
    void operator()(CharBuffer *chain) const { freeAllCharBuffers(chain); }
};
using Chain = std::unique_ptr<CharBuffer, ChainDeleter>;

Chain chainOf(const std::string &text) {
    Chain chain(createCharBuffer());
    addDataToCharBuffer(chain.get(), text.data(), static_cast<int>(text.size()));
    return chain;
}

std::vector<int> linkLengths(const CharBuffer *chain) {
    std::vector<int> lengths;
    for (; chain != nullptr; chain = chain->next) lengths.push_back(chain->length);
    return lengths;
}

std::string takeString(char *text) {
    std::string copy = text ? text : "<null>";
    std::free(text);
    return copy;
}

std::string patterned(std::size_t size) {
    std::string text(size, '\0');
    for (std::size_t i = 0; i < size; ++i) text[i] = static_cast<char>('a' + i % 26);
    return text;
}

}  // namespace

TEST(CharBuffer, AppendFillsLinksToTheirCapacity) {
    Chain chain = chainOf(patterned(2500));
    EXPECT_EQ(linkLengths(chain.get()), (std::vector<int>{1000, 1000, 500}));
    EXPECT_EQ(getTotalBufferLength(chain.get()), 2500);
    EXPECT_EQ(findLastCharBuffer(chain.get())->length, 500);

    Chain exact = chainOf(std::string(1000, 'x'));
    EXPECT_EQ(linkLengths(exact.get()), (std::vector<int>{1000}));
    addDataToCharBuffer(exact.get(), "y", 1);
    EXPECT_EQ(linkLengths(exact.get()), (std::vector<int>{1000, 1}));
    EXPECT_EQ(takeString(charBufferToChar(exact.get())), std::string(1000, 'x') + "y");
}

TEST(CharBuffer, AppendArguments) {
    LogCapture log(1);
    Chain chain(createCharBuffer());
    EXPECT_EQ(addDataToCharBuffer(chain.get(), "abc", 0), 0);
    EXPECT_EQ(addDataToCharBuffer(chain.get(), "abc", -5), 0);
    EXPECT_EQ(chain->length, 0);
    EXPECT_EQ(log.text(), "");
    EXPECT_EQ(addDataToCharBuffer(chain.get(), nullptr, 0), -1);
    EXPECT_EQ(addDataToCharBuffer(nullptr, "abc", 3), -1);
    EXPECT_TRUE(log.contains("[addDataToCharBuffer      ] :bufferPointer and data cannot be NULL\n"));
    EXPECT_TRUE(log.contains("[CharBuffer     ]"));
    EXPECT_EQ(getTotalBufferLength(nullptr), 0);
    EXPECT_EQ(findLastCharBuffer(nullptr), nullptr);
    EXPECT_EQ(freeAllCharBuffers(nullptr), 0);
}

TEST(CharBuffer, LinkIteration) {
    Chain chain = chainOf(patterned(1200));
    char *data = nullptr;
    int length = -1;
    CharBuffer *next = getBufferContent(chain.get(), &data, &length);
    EXPECT_EQ(data, chain->data);
    EXPECT_EQ(length, 1000);
    EXPECT_EQ(getBufferContent(next, &data, &length), nullptr);
    EXPECT_EQ(length, 200);
    EXPECT_EQ(getBufferContent(nullptr, &data, &length), nullptr);
    EXPECT_EQ(length, 200);
}

TEST(CharBuffer, GetDataAcrossLinksAndOffsets) {
    LogCapture log(1);
    std::string text = patterned(2500);
    Chain chain = chainOf(text);
    std::vector<char> dest(3000, '#');
    EXPECT_EQ(getDataFromCharBuffer(chain.get(), dest.data(), 1500, 900), 1500u);
    EXPECT_EQ(std::string(dest.data(), 1500), text.substr(900, 1500));
    EXPECT_EQ(dest[1500], '#');  // no terminator

    EXPECT_EQ(getDataFromCharBuffer(chain.get(), dest.data(), 10, 1000), 10u);
    EXPECT_EQ(std::string(dest.data(), 10), text.substr(1000, 10));
    EXPECT_EQ(getDataFromCharBuffer(chain.get(), dest.data(), 100, 2495), 5u);

    EXPECT_EQ(getDataFromCharBuffer(chain.get(), dest.data(), 10, 2500), 0u);
    EXPECT_EQ(log.text(), "");
    dest[0] = '#';
    EXPECT_EQ(getDataFromCharBuffer(chain.get(), dest.data(), 10, 2501), 0u);
    EXPECT_EQ(dest[0], '#');
    EXPECT_TRUE(log.contains("Reached last charBuffer before startingCharacter found"));

    Chain empty(createCharBuffer());
    EXPECT_EQ(getDataFromCharBuffer(empty.get(), dest.data(), 10, 0), 0u);
    EXPECT_EQ(dest[0], '\0');
}

TEST(CharBuffer, LinesDropCarriageReturnsAndKeepNewlines) {
    Chain chain = chainOf(std::string("ab\r\ncd", 6));
    int position = 0;
    EXPECT_EQ(takeString(getCharBufferLine(chain.get(), &position)), "ab\n");
    EXPECT_EQ(position, 4);
    EXPECT_EQ(takeString(getCharBufferLine(chain.get(), &position)), "cd");
    EXPECT_EQ(position, 6);
    EXPECT_EQ(getCharBufferLine(chain.get(), &position), nullptr);

    Chain trailing = chainOf("x\n\ny\n");
    position = 0;
    EXPECT_EQ(takeString(getCharBufferLine(trailing.get(), &position)), "x\n");
    EXPECT_EQ(takeString(getCharBufferLine(trailing.get(), &position)), "\n");
    EXPECT_EQ(takeString(getCharBufferLine(trailing.get(), &position)), "y\n");
    EXPECT_EQ(getCharBufferLine(trailing.get(), &position), nullptr);

    Chain empty(createCharBuffer());
    position = 0;
    EXPECT_EQ(getCharBufferLine(empty.get(), &position), nullptr);
    position = -1;
    EXPECT_EQ(getCharBufferLine(chain.get(), &position), nullptr);
    EXPECT_EQ(getCharBufferLine(chain.get(), nullptr), nullptr);
}

TEST(CharBuffer, LongLinesAcrossLinksAreReturnedWhole) {
    std::string line = patterned(5000);
    Chain chain = chainOf(std::string(995, 'p') + "\n" + line + "\r\nend");
    int position = 996;
    EXPECT_EQ(takeString(getCharBufferLine(chain.get(), &position)), line + "\n");
    EXPECT_EQ(position, 996 + 5002);
    EXPECT_EQ(takeString(getCharBufferLine(chain.get(), &position)), "end");
}

TEST(CharBuffer, WholeTextAndJoins) {
    Chain empty(createCharBuffer());
    EXPECT_EQ(takeString(charBufferToChar(empty.get())), "");
    EXPECT_EQ(charBufferToChar(nullptr), nullptr);

    std::string text = patterned(1999);
    Chain dest = chainOf("head:");
    Chain src = chainOf(text);
    addCharBufferToCharBuffer(dest.get(), src.get());
    EXPECT_EQ(takeString(charBufferToChar(dest.get())), "head:" + text);
    EXPECT_EQ(getTotalBufferLength(src.get()), 1999);
    EXPECT_EQ(linkLengths(dest.get()), (std::vector<int>{1000, 1000, 4}));

    addCharBufferToCharBuffer(src.get(), src.get());
    EXPECT_EQ(takeString(charBufferToChar(src.get())), text + text);

    LogCapture log(1);
    addCharBufferToCharBuffer(dest.get(), nullptr);
    EXPECT_TRUE(log.contains("bufferPointer and data cannot be NULL"));
}

TEST(CharBuffer, CopyTreatsEachLinkAsAString) {
    Chain chain = chainOf(std::string("a\0b", 3));
    Chain copy(charBufferCopy(chain.get()));
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(copy->length, 3);
    EXPECT_EQ(std::string(copy->data, 3), std::string("a\0\0", 3));

    std::string text = patterned(2345);
    Chain big = chainOf(text);
    Chain bigCopy(charBufferCopy(big.get()));
    EXPECT_EQ(linkLengths(bigCopy.get()), linkLengths(big.get()));
    EXPECT_EQ(takeString(charBufferToChar(bigCopy.get())), text);
    EXPECT_EQ(charBufferCopy(nullptr), nullptr);
}

TEST(CharBuffer, RemoveNewLinesAndStringTrim) {
    char text[] = "a\r\nb\nc\r";
    EXPECT_EQ(removeNewLines(text), text);
    EXPECT_STREQ(text, "abc");

    char dest[80];
    stringTrim("  ab", dest, sizeof dest);
    EXPECT_STREQ(dest, "ab");
    stringTrim("\tab", dest, sizeof dest);
    EXPECT_STREQ(dest, "\tab");
    stringTrim("   ", dest, sizeof dest);
    EXPECT_STREQ(dest, "");
    stringTrim("ab  ", dest, sizeof dest);
    EXPECT_STREQ(dest, "ab  ");
    char small[4] = {'#', '#', '#', '#'};
    stringTrim(" abcdef", small, sizeof small);
    EXPECT_STREQ(small, "abc");
}

TEST(ChainInternals, AppenderAndReaderMatchThePublicFunctions) {
    // Pieces of awkward sizes, lines of every length, CRs everywhere.
    std::string text;
    for (int i = 0; i < 400; ++i) text += std::string(static_cast<std::size_t>(i * 7 % 1300), 'a' + i % 26) + (i % 3 ? "\r\n" : "\n");
    text += "tail\rend";

    Chain viaPublic(createCharBuffer());
    Chain viaAppender(createCharBuffer());
    zov::ChainAppender appender(viaAppender.get());
    for (std::size_t at = 0; at < text.size(); at += 37) {
        std::size_t n = std::min<std::size_t>(37, text.size() - at);
        addDataToCharBuffer(viaPublic.get(), text.data() + at, static_cast<int>(n));
        ASSERT_TRUE(appender.append(text.data() + at, n));
    }
    EXPECT_EQ(linkLengths(viaAppender.get()), linkLengths(viaPublic.get()));
    EXPECT_EQ(takeString(charBufferToChar(viaAppender.get())), text);

    zov::ChainReader reader(viaAppender.get());
    int position = 0;
    std::string line;
    while (true) {
        char *expected = getCharBufferLine(viaPublic.get(), &position);
        bool got = reader.nextLine(line);
        ASSERT_EQ(got, expected != nullptr);
        if (!got) break;
        EXPECT_EQ(line, takeString(expected));
        EXPECT_EQ(reader.position(), static_cast<std::size_t>(position));
    }

    zov::ChainReader fromMiddle(viaAppender.get(), 1000);
    std::vector<char> bytes(50);
    EXPECT_EQ(fromMiddle.read(bytes.data(), bytes.size()), 50u);
    EXPECT_EQ(std::string(bytes.data(), 50), text.substr(1000, 50));
    zov::ChainReader pastEnd(viaAppender.get(), text.size() + 5);
    EXPECT_TRUE(pastEnd.atEnd());
}

TEST(ChainInternals, HandBuiltChainsWithOddLengthsAreReadSafely) {
    Chain chain(createCharBuffer());
    chain->length = -20;
    chain->next = createCharBuffer();
    chain->next->length = 5000;  // clamps to the link's capacity
    std::memset(chain->next->data, 'z', CHAR_BUFFER_SIZE);
    EXPECT_EQ(getTotalBufferLength(chain.get()), 1000);
    EXPECT_EQ(takeString(charBufferToChar(chain.get())), std::string(1000, 'z'));
}

TEST(ChainInternals, AppenderFollowsLinksAddedBehindItsBack) {
    Chain chain(createCharBuffer());
    zov::ChainAppender appender(chain.get());
    ASSERT_TRUE(appender.append(std::string(1000, 'a')));
    addDataToCharBuffer(chain.get(), std::string(1500, 'b').data(), 1500);
    ASSERT_TRUE(appender.append("c", 1));
    EXPECT_EQ(linkLengths(chain.get()), (std::vector<int>{1000, 1000, 501}));
    EXPECT_EQ(takeString(charBufferToChar(chain.get())),
              std::string(1000, 'a') + std::string(1500, 'b') + "c");
}
