#include <gtest/gtest.h>

#include <algorithm>
#include <tuple>

#include "LogCapture.h"
#include "ServerList.h"

namespace {

using Split = std::tuple<int, std::string, int32_t, std::string>;  // result, host, port, path

// Parses into buffers of the documented size (path at least 2); a host left unwritten reads as '#'s.
Split split(const std::string &url) {
    std::vector<char> host(url.size() + 1, '#'), path(std::max<std::size_t>(url.size() + 1, 2), '#');
    host.back() = '\0';
    int32_t port = -7;
    int result = parseServerUrl(url.c_str(), host.data(), &port, path.data());
    return {result, host.data(), port, path.data()};
}

}  // namespace

TEST(ServerList, KeepsTheOrderAndSplitsUrls) {
    LogCapture log(1);
    const std::vector<std::string> urls{"https://one", "https://two", "https://one"};
    ServerList *head = addServerToList(nullptr, urls[0].c_str());
    for (std::size_t i = 1; i < urls.size(); ++i) EXPECT_EQ(addServerToList(head, urls[i].c_str()), head);
    EXPECT_EQ(addServerToList(head, nullptr), nullptr);
    std::vector<std::string> walked;
    for (ServerList *entry = head; entry != nullptr; entry = getNextServer(entry))
        walked.push_back(getServerUrl(entry));
    EXPECT_EQ(walked, urls);
    EXPECT_EQ(getNextServer(nullptr), nullptr);
    EXPECT_EQ(getServerUrl(nullptr), nullptr);
    EXPECT_TRUE(log.contains("[ServerList     ]") && log.has("addServerToList: bad arguments"));
    freeServerList(head);

    log.clear();
    const std::vector<std::pair<std::string, Split>> cases{
        {"http://host1:8443/a/b?c=d", {0, "host1", 8443, "/a/b?c=d"}}, {"https://host1", {0, "host1", 80, "/"}},
        {"http://host1:/x", {0, "host1", 0, "/x"}}, {"http://host1:8080:9090/x", {0, "host1", 8080, "/"}},
        {"http://host1/a b", {0, "host1", 80, "/a"}}, {"http://host1/x\r\n", {0, "host1", 80, "/x"}},
        {"ftp://user@host1:-3/#f", {0, "user@host1", -3, "/#f"}}, {"a://h\n", {0, "h", 80, "/"}},
        {"x://h:99999999999999/p", {0, "h", INT32_MAX, "/p"}},
        // Failures: nothing logged, the host not written.
        {"host1/x", {-1, std::string(7, '#'), 80, "/"}}, {"http:///x", {-1, std::string(9, '#'), 80, "/"}},
        {"http://:80/x", {-1, std::string(12, '#'), 80, "/"}}, {"", {-1, "", 80, "/"}}};
    for (const auto &[url, expected] : cases) EXPECT_EQ(split(url), expected) << url;
    EXPECT_EQ(log.text(), "");

    char host[16], path[16];
    int32_t port = 0;
    for (int result : {parseServerUrl(nullptr, host, &port, path), parseServerUrl("http://h", nullptr, &port, path),
                       parseServerUrl("http://h", host, nullptr, path),
                       parseServerUrl("http://h", host, &port, nullptr)})
        EXPECT_EQ(result, -1);
    EXPECT_TRUE(log.has("parseServerUrl: bad arguments"));
}
