#include <gtest/gtest.h>

#include "HttpHeader.h"
#include "TransportData.h"

TEST(HttpHeader, ListsRequestsAndStatusLines) {
    // Names and values trimmed; an update keeps the record's place.
    Headers list(HeaderPairs{{"Content-Type", "text/xml"}, {"  X", "  one"}, {"X", "two"},
                             {"Content-Type", "text/plain"}, {"Empty", ""}, {"Last", "z"}});
    EXPECT_EQ(pairsOf(list.head), (HeaderPairs{{"Content-Type", "text/plain"}, {"X", "two"}, {"Empty", ""},
                                               {"Last", "z"}}));
    EXPECT_STREQ(httpPayloadGetHeader(list.head, "Empty"), "");
    EXPECT_EQ(httpPayloadGetHeader(list.head, "content-type"), nullptr);
    EXPECT_EQ(httpPayloadGetHeader(list.head, nullptr), nullptr);
    EXPECT_EQ(httpPayloadAddHeader(&list.head, nullptr, "v"), -1);

    // The copy is the caller's own.
    EXPECT_EQ(httpPayloadCopyHeaders(nullptr), nullptr);
    HttpHeader *copy = httpPayloadCopyHeaders(list.head);
    EXPECT_EQ(pairsOf(copy), pairsOf(list.head));
    httpPayloadAddHeader(&copy, "X", "changed");
    EXPECT_STREQ(list.head->next->value, "two");
    httpPayloadFreeHeaders(&copy);
    EXPECT_EQ(copy, nullptr);

    // A null value removes: an absent name, an inner record, the head, the last, the only one.
    for (const char *name : {"Absent", " X", "Content-Type"}) EXPECT_EQ(httpPayloadAddHeader(&list.head, name, nullptr), 0);
    EXPECT_EQ(pairsOf(list.head), (HeaderPairs{{"Empty", ""}, {"Last", "z"}}));
    for (const char *name : {"Last", "Empty"}) EXPECT_EQ(httpPayloadAddHeader(&list.head, name, nullptr), 0);
    EXPECT_EQ(list.head, nullptr);

    const std::vector<std::pair<const char *, int>> requests{{"post /x HTTP/1.1", 1}, {"POSTED", 1},
        {"GET / HTTP/1.1", 2}, {"gets", 2}, {"PUT / HTTP/1.1", 3}, {"PO", 3}, {"", 3}, {nullptr, 3}};
    for (const auto &[line, type] : requests) EXPECT_EQ(getRequestType(line), type) << (line ? line : "NULL");
    const std::vector<std::pair<const char *, int>> responses{{"HTTP/1.1 200 OK", 0}, {"HTTP/1.0 \t 200 OK\r\n", 0},
        {"HTTP/2 200 OKAY", 0}, {"HTTP/1.1 404 Not Found", 1}, {"HTTP/1.1 200 ok", 1}, {"HTTP/1.1 200", 1},
        {"HTTP/", 1}, {"http/1.1 200 OK", -1}, {"200 OK", -1}, {nullptr, -1}};
    for (const auto &[line, result] : responses)
        EXPECT_EQ(checkResponseFirstLine(line), result) << (line ? line : "NULL");
}
