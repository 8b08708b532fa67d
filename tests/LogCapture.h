// LogCapture points the logger at a temporary file for its lifetime; reports are "function: message".
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <unistd.h>

#include "ZovLogger.h"

// The end of the log line of a report: the function-name column and the message.
inline std::string reportLine(const std::string &report) {
    std::string function = report.substr(0, report.find(": "));
    function.resize(std::max<std::size_t>(function.size(), 25), ' ');
    return "[" + function + "] :" + report.substr(report.find(": ") + 2) + "\n";
}

class LogCapture {
public:
    explicit LogCapture(int level = 3) : savedLevel_(zovLoggerGetLogLevel()) {
        char path[] = "/tmp/zovlogXXXXXX";
        if (int fd = mkstemp(path); fd >= 0) close(fd);
        path_ = path;
        zovLoggerSetLogFileName(path_.c_str());
        zovLoggerSetLogToFile(1);
        zovLoggerSetLogLevel(level);
    }
    ~LogCapture() {
        zovLoggerSetLogToFile(0);
        zovLoggerSetLogLevel(savedLevel_);
        std::remove(path_.c_str());
    }
    const std::string &path() const { return path_; }
    std::string text() const {
        std::ifstream in(path_, std::ios::binary);
        return {std::istreambuf_iterator<char>(in), {}};
    }
    bool contains(const std::string &needle) const { return text().find(needle) != std::string::npos; }
    bool has(const std::string &report) const { return contains(reportLine(report)); }
    void clear() const { std::ofstream(path_, std::ios::trunc); }

private:
    int savedLevel_;
    std::string path_;
};

// The log holds exactly these reports, in order (source file and line columns aside).
inline void expectReports(const LogCapture &log, const std::vector<std::string> &reports) {
    std::string expected, logged, text = log.text();
    for (const std::string &report : reports) expected += reportLine(report);
    for (std::size_t at = 0, end; at < text.size(); at = end + 1) {
        end = std::min(text.find('\n', at), text.size());
        logged += text.substr(at + 26, end - at - 25);
    }
    EXPECT_EQ(logged, expected);
}
