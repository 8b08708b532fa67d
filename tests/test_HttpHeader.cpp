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
    int add(const std::string &name, const char *value) { return httpPayloadAddHeader(&head, name.c_str(), value); }
};

}  // namespace

TEST(HttpHeader, AddUpdatesInPlaceAndTrims) {
    List list;
    EXPECT_EQ(list.add("Content-Type", "text/xml"), 0);
    EXPECT_EQ(list.add("  X", "  one"), 0);
    EXPECT_EQ(list.add("X", "two"), 0);
    char *shown = httpPayloadGetHeader(list.head, "Content-Type");
    EXPECT_EQ(list.add("Content-Type", "text/plain"), 0);
    EXPECT_EQ(list.add("Empty", ""), 0);
    EXPECT_EQ(list.add(std::string(100, 'n'), std::string(200, 'v').c_str()), 0);
    EXPECT_EQ(list.add(std::string(79, 'n') + "other", "w"), 0);  // same first 79 characters
    EXPECT_EQ(pairsOf(list.head), (HeaderPairs{{"Content-Type", "text/plain"},
                                               {"X", "two"},
                                               {"Empty", ""},
                                               {std::string(79, 'n'), "w"}}));
    EXPECT_STREQ(shown, "text/plain");
    EXPECT_STREQ(httpPayloadGetHeader(list.head, "Empty"), "");
    EXPECT_EQ(httpPayloadGetHeader(list.head, "content-type"), nullptr);
    EXPECT_EQ(httpPayloadGetHeader(list.head, std::string(100, 'n').c_str()), nullptr);
    EXPECT_EQ(httpPayloadGetHeader(list.head, nullptr), nullptr);
    EXPECT_EQ(httpPayloadAddHeader(&list.head, nullptr, "v"), -1);
}

TEST(HttpHeader, NullValueRemoves) {
    List list;
    for (const char *name : {"A", "B", "C"}) list.add(name, "v");
    EXPECT_EQ(list.add("Z", nullptr), 0);
    EXPECT_EQ(list.add(" B", nullptr), 0);
    EXPECT_EQ(pairsOf(list.head), (HeaderPairs{{"A", "v"}, {"C", "v"}}));
    EXPECT_EQ(list.add("A", nullptr), 0);
    EXPECT_EQ(list.add("C", nullptr), 0);
    EXPECT_EQ(list.head, nullptr);
}

TEST(HttpHeader, CopyAndFree) {
    EXPECT_EQ(httpPayloadCopyHeaders(nullptr), nullptr);
    // A long list is copied and freed without deep recursion.
    List list;
    HttpHeader **slot = &list.head;
    for (int i = 0; i < 200000; ++i, slot = &(*slot)->next) httpPayloadAddHeader(slot, std::to_string(i).c_str(), "v");
    HttpHeader *copy = httpPayloadCopyHeaders(list.head);
    EXPECT_EQ(pairsOf(copy), pairsOf(list.head));
    httpPayloadAddHeader(&copy, "0", "changed");
    EXPECT_STREQ(list.head->value, "v");
    httpPayloadFreeHeaders(&copy);
    EXPECT_EQ(copy, nullptr);
    httpPayloadFreeHeaders(&copy);
    httpPayloadFreeHeaders(nullptr);
}

TEST(HttpHeader, RequestAndStatusLines) {
    const std::vector<std::pair<const char *, int>> requests{
        {"post /x HTTP/1.1", 1}, {"POSTED", 1}, {"GET / HTTP/1.1", 2}, {"gets", 2},
        {"PUT / HTTP/1.1", 3},   {"PO", 3},     {"", 3},               {nullptr, 3}};
    for (const auto &[line, type] : requests) EXPECT_EQ(getRequestType(line), type) << (line ? line : "NULL");

    const std::vector<std::pair<const char *, int>> responses{
        {"HTTP/1.1 200 OK", 0},  {"HTTP/1.0 \t 200 OK\r\n", 0}, {"HTTP/2 200 OKAY", 0},
        {"HTTP/1.1 404 Not Found", 1}, {"HTTP/1.1 200 ok", 1}, {"HTTP/1.1 200", 1},
        {"HTTP/", 1}, {"http/1.1 200 OK", -1}, {"200 OK", -1}, {nullptr, -1}};
    for (const auto &[line, result] : responses)
        EXPECT_EQ(checkResponseFirstLine(line), result) << (line ? line : "NULL");
}
