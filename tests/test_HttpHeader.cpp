#include <gtest/gtest.h>

#include "HttpHeader.h"
#include "TransportData.h"

TEST(HttpHeader, AddUpdateRemoveCopyAndFree) {
    // Names and values trimmed and cut (two names with the same first 79
    // characters are one header); an update keeps the record's place.
    const std::string cut(79, 'n'), longName(100, 'n');
    Headers list(HeaderPairs{{"Content-Type", "text/xml"}, {"  X", "  one"}, {"X", "two"},
                             {"Content-Type", "text/plain"}, {"Empty", ""}, {"Long", std::string(200, 'v')},
                             {longName, "v"}, {cut + "other", "w"}});
    EXPECT_EQ(pairsOf(list.head), (HeaderPairs{{"Content-Type", "text/plain"}, {"X", "two"}, {"Empty", ""},
                                               {"Long", std::string(131, 'v')}, {cut, "w"}}));
    EXPECT_STREQ(httpPayloadGetHeader(list.head, "Empty"), "");
    EXPECT_EQ(httpPayloadGetHeader(list.head, "content-type"), nullptr);
    EXPECT_EQ(httpPayloadGetHeader(list.head, longName.c_str()), nullptr);
    EXPECT_EQ(httpPayloadGetHeader(list.head, nullptr), nullptr);
    EXPECT_EQ(httpPayloadAddHeader(&list.head, nullptr, "v"), -1);

    // A null value removes: an absent name, an inner record, the head, the last.
    for (const char *name : {"Absent", " X", "Content-Type", "Empty"})
        EXPECT_EQ(httpPayloadAddHeader(&list.head, name, nullptr), 0);
    EXPECT_EQ(pairsOf(list.head), (HeaderPairs{{"Long", std::string(131, 'v')}, {cut, "w"}}));
    for (const char *name : {cut.c_str(), "Long"}) EXPECT_EQ(httpPayloadAddHeader(&list.head, name, nullptr), 0);
    EXPECT_EQ(list.head, nullptr);

    // A long list is copied and freed without deep recursion.
    EXPECT_EQ(httpPayloadCopyHeaders(nullptr), nullptr);
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
    const std::vector<std::pair<const char *, int>> requests{{"post /x HTTP/1.1", 1}, {"POSTED", 1},
        {"GET / HTTP/1.1", 2}, {"gets", 2}, {"PUT / HTTP/1.1", 3}, {"PO", 3}, {"", 3}, {nullptr, 3}};
    for (const auto &[line, type] : requests) EXPECT_EQ(getRequestType(line), type) << (line ? line : "NULL");
    const std::vector<std::pair<const char *, int>> responses{{"HTTP/1.1 200 OK", 0}, {"HTTP/1.0 \t 200 OK\r\n", 0},
        {"HTTP/2 200 OKAY", 0}, {"HTTP/1.1 404 Not Found", 1}, {"HTTP/1.1 200 ok", 1}, {"HTTP/1.1 200", 1},
        {"HTTP/", 1}, {"http/1.1 200 OK", -1}, {"200 OK", -1}, {nullptr, -1}};
    for (const auto &[line, result] : responses)
        EXPECT_EQ(checkResponseFirstLine(line), result) << (line ? line : "NULL");
}
