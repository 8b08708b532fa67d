#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "LogCapture.h"
#include "ServerList.h"

namespace {

struct Split {
    int result;
    std::string host;
    int32_t port;
    std::string path;
};

// Parses into buffers of exactly the documented size: strlen(url) + 1 bytes,
// at least 2 for the path's default "/".
Split split(const std::string &url) {
    std::vector<char> host(url.size() + 1, '#');
    std::vector<char> path(std::max<std::size_t>(url.size() + 1, 2), '#');
    host.back() = '\0';
    int32_t port = -7;
    int result = parseServerUrl(url.c_str(), host.data(), &port, path.data());
    return {result, host.data(), port, path.data()};
}

}  // namespace

TEST(ServerList, KeepsTheOrderOfAddition) {
    ServerList *head = nullptr;
    head = addServerToList(head, "https://one");
    ServerList *first = head;
    head = addServerToList(head, "https://two");
    head = addServerToList(head, "https://one");
    EXPECT_EQ(head, first);

    std::vector<std::string> urls;
    for (ServerList *entry = head; entry != nullptr; entry = getNextServer(entry))
        urls.push_back(getServerUrl(entry));
    EXPECT_EQ(urls, (std::vector<std::string>{"https://one", "https://two", "https://one"}));
    EXPECT_EQ(getServerUrl(head), head->url);
    EXPECT_EQ(getNextServer(nullptr), nullptr);
    EXPECT_EQ(getServerUrl(nullptr), nullptr);
    freeServerList(head);
    freeServerList(nullptr);
}

TEST(ServerList, CutsLongUrlsAndRefusesNull) {
    std::string url(2000, 'u');
    ServerList *head = addServerToList(nullptr, url.c_str());
    EXPECT_EQ(std::string(getServerUrl(head)), url.substr(0, 1023));

    LogCapture log(1);
    EXPECT_EQ(addServerToList(head, nullptr), nullptr);
    EXPECT_EQ(getNextServer(head), nullptr);
    EXPECT_TRUE(log.contains("[ServerList     ]"));
    EXPECT_TRUE(log.contains("[addServerToList          ] :bad arguments\n"));
    freeServerList(head);
}

TEST(ServerUrl, Splits) {
    struct Case {
        const char *url;
        Split expected;
    };
    const Case cases[] = {
        {"http://host1:8443/a/b?c=d", {0, "host1", 8443, "/a/b?c=d"}},
        {"https://host1", {0, "host1", 80, "/"}},
        {"http://host1:/x", {0, "host1", 0, "/x"}},
        {"http://host1:8080:9090/x", {0, "host1", 8080, "/"}},
        {"http://host1/a b", {0, "host1", 80, "/a"}},
        {"http://host1/x\r\n", {0, "host1", 80, "/x"}},
        {"ftp://user@host1:-3/#f", {0, "user@host1", -3, "/#f"}},
        {"x://h:99999999999999/p", {0, "h", INT32_MAX, "/p"}},
        {"a://h\n", {0, "h", 80, "/"}},
    };
    for (const Case &c : cases) {
        Split got = split(c.url);
        EXPECT_EQ(got.result, c.expected.result) << c.url;
        EXPECT_EQ(got.host, c.expected.host) << c.url;
        EXPECT_EQ(got.port, c.expected.port) << c.url;
        EXPECT_EQ(got.path, c.expected.path) << c.url;
    }
}

TEST(ServerUrl, FailuresKeepTheDefaults) {
    LogCapture log(1);
    for (const char *url : {"host1/x", "http:///x", "http://:80/x", ""}) {
        Split got = split(url);
        EXPECT_EQ(got.result, -1) << url;
        EXPECT_EQ(got.port, 80) << url;
        EXPECT_EQ(got.path, "/") << url;
        EXPECT_EQ(got.host.find_first_not_of('#'), std::string::npos) << url;  // not written
    }
    EXPECT_EQ(log.text(), "");

    char host[16], path[16];
    int32_t port = 0;
    EXPECT_EQ(parseServerUrl(nullptr, host, &port, path), -1);
    EXPECT_EQ(parseServerUrl("http://h", nullptr, &port, path), -1);
    EXPECT_EQ(parseServerUrl("http://h", host, nullptr, path), -1);
    EXPECT_EQ(parseServerUrl("http://h", host, &port, nullptr), -1);
    EXPECT_TRUE(log.contains("[parseServerUrl           ] :bad arguments\n"));
}
