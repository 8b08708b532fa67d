#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "HttpHeader.h"

namespace {

using HeaderPairs = std::vector<std::pair<std::string, std::string>>;

HeaderPairs pairsOf(const HttpHeader *list) {
    HeaderPairs pairs;
    for (; list != nullptr; list = list->next) pairs.emplace_back(list->name, list->value);
    return pairs;
}

// Owns a list for the length of a test.
struct List {
    HttpHeader *head = nullptr;
    ~List() { httpPayloadFreeHeaders(&head); }
    int add(const char *name, const char *value) { return httpPayloadAddHeader(&head, name, value); }
};

}  // namespace

TEST(HttpHeader, AddKeepsFirstPositionAndUpdatesInPlace) {
    List list;
    EXPECT_EQ(list.add("Content-Type", "text/xml"), 0);
    EXPECT_EQ(list.add("  X", "  one"), 0);  // leading blanks go from both
    EXPECT_EQ(list.add("X", "two"), 0);
    char *shown = httpPayloadGetHeader(list.head, "Content-Type");
    EXPECT_EQ(list.add("Content-Type", "text/plain"), 0);
    EXPECT_EQ(list.add("Empty", ""), 0);
    EXPECT_EQ(pairsOf(list.head), (HeaderPairs{{"Content-Type", "text/plain"}, {"X", "two"}, {"Empty", ""}}));
    EXPECT_STREQ(shown, "text/plain");  // the pointer shows later updates
    EXPECT_STREQ(httpPayloadGetHeader(list.head, "Empty"), "");
    EXPECT_EQ(httpPayloadGetHeader(list.head, "content-type"), nullptr);
    EXPECT_EQ(httpPayloadGetHeader(list.head, nullptr), nullptr);
    EXPECT_EQ(httpPayloadGetHeader(nullptr, "X"), nullptr);
    EXPECT_EQ(list.add(nullptr, "v"), -1);
    EXPECT_EQ(httpPayloadAddHeader(nullptr, "X", "v"), -1);
}

TEST(HttpHeader, LongNamesAndValuesAreCut) {
    List list;
    const std::string name(100, 'n');
    ASSERT_EQ(list.add(name.c_str(), std::string(200, 'v').c_str()), 0);
    EXPECT_EQ(pairsOf(list.head), (HeaderPairs{{std::string(79, 'n'), std::string(131, 'v')}}));
    // Same first 79 characters: the same header.
    ASSERT_EQ(list.add((std::string(79, 'n') + "different").c_str(), "w"), 0);
    EXPECT_EQ(pairsOf(list.head), (HeaderPairs{{std::string(79, 'n'), "w"}}));
    EXPECT_EQ(httpPayloadGetHeader(list.head, name.c_str()), nullptr);
    EXPECT_STREQ(httpPayloadGetHeader(list.head, std::string(79, 'n').c_str()), "w");
}

TEST(HttpHeader, NullValueRemoves) {
    List list;
    list.add("A", "1");
    list.add("B", "2");
    list.add("C", "3");
    EXPECT_EQ(list.add("Z", nullptr), 0);
    EXPECT_EQ(pairsOf(list.head).size(), 3u);
    EXPECT_EQ(list.add(" B", nullptr), 0);  // trimmed like an add
    EXPECT_EQ(pairsOf(list.head), (HeaderPairs{{"A", "1"}, {"C", "3"}}));
    EXPECT_EQ(list.add("A", nullptr), 0);
    EXPECT_EQ(pairsOf(list.head), (HeaderPairs{{"C", "3"}}));
    EXPECT_EQ(list.add("C", nullptr), 0);
    EXPECT_EQ(list.head, nullptr);
}

TEST(HttpHeader, CopyAndFree) {
    EXPECT_EQ(httpPayloadCopyHeaders(nullptr), nullptr);
    List list;
    list.add("A", "1");
    list.add("B", "2");
    HttpHeader *copy = httpPayloadCopyHeaders(list.head);
    EXPECT_EQ(pairsOf(copy), pairsOf(list.head));
    httpPayloadAddHeader(&copy, "A", "changed");
    httpPayloadFreeHeaders(&copy);
    EXPECT_EQ(copy, nullptr);
    httpPayloadFreeHeaders(&copy);
    httpPayloadFreeHeaders(nullptr);
    EXPECT_EQ(pairsOf(list.head), (HeaderPairs{{"A", "1"}, {"B", "2"}}));

    // Long lists are copied and freed without deep recursion.
    List longList;
    HttpHeader **slot = &longList.head;
    for (int i = 0; i < 200000; ++i) {
        httpPayloadAddHeader(slot, "H", "v");
        slot = &(*slot)->next;
    }
    HttpHeader *longCopy = httpPayloadCopyHeaders(longList.head);
    EXPECT_EQ(pairsOf(longCopy).size(), 200000u);
    httpPayloadFreeHeaders(&longCopy);
}

TEST(HttpHeader, RequestAndStatusLines) {
    EXPECT_EQ(getRequestType("post /x HTTP/1.1"), 1);
    EXPECT_EQ(getRequestType("POSTED"), 1);
    EXPECT_EQ(getRequestType("GET / HTTP/1.1"), 2);
    EXPECT_EQ(getRequestType("gets"), 2);
    EXPECT_EQ(getRequestType("PUT / HTTP/1.1"), 3);
    EXPECT_EQ(getRequestType("PO"), 3);
    EXPECT_EQ(getRequestType(""), 3);
    EXPECT_EQ(getRequestType(nullptr), 3);

    EXPECT_EQ(checkResponseFirstLine("HTTP/1.1 200 OK"), 0);
    EXPECT_EQ(checkResponseFirstLine("HTTP/1.0 \t 200 OK\r\n"), 0);
    EXPECT_EQ(checkResponseFirstLine("HTTP/2 200 OKAY"), 0);  // six characters compared
    EXPECT_EQ(checkResponseFirstLine("HTTP/1.1 404 Not Found"), 1);
    EXPECT_EQ(checkResponseFirstLine("HTTP/1.1 200 ok"), 1);
    EXPECT_EQ(checkResponseFirstLine("HTTP/1.1 200"), 1);
    EXPECT_EQ(checkResponseFirstLine("HTTP/"), 1);
    EXPECT_EQ(checkResponseFirstLine("http/1.1 200 OK"), -1);
    EXPECT_EQ(checkResponseFirstLine("200 OK"), -1);
    EXPECT_EQ(checkResponseFirstLine(nullptr), -1);
}
