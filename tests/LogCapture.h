// Test helpers: LogCapture points the logger at a temporary file for the life
// of the object and reads back what was written; expectReports checks the
// exact sequence of reports.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include <unistd.h>

#include "ZovLogger.h"

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
    std::string text() const {  // everything logged so far
        std::ifstream in(path_, std::ios::binary);
        return {std::istreambuf_iterator<char>(in), {}};
    }
    bool contains(const std::string &needle) const { return text().find(needle) != std::string::npos; }
    void clear() const { std::ofstream(path_, std::ios::trunc); }

private:
    int savedLevel_;
    std::string path_;
};

// One expected report: its function-name column and its message, given apart
// or as "function: message".
struct Report {
    Report(std::string functionName, std::string text)
        : function(std::move(functionName)), message(std::move(text)) {}
    Report(const std::string &line) : Report(line.substr(0, line.find(": ")), line.substr(line.find(": ") + 2)) {}
    Report(const char *line) : Report(std::string(line)) {}
    std::string function, message;
};

// The end of a report line: the function-name column and the message.
inline std::string reportLine(std::string function, const std::string &message) {
    if (function.size() < 25) function.resize(25, ' ');
    return "[" + function + "] :" + message + "\n";
}

// The log holds exactly these reports, in this order (the source file and line
// columns aside).
inline void expectReports(const LogCapture &log, const std::vector<Report> &reports) {
    constexpr std::size_t kSourceAndLine = 26;  // "[CommandParser  ][123    ]"
    std::string expected, logged, text = log.text();
    for (const Report &report : reports) expected += reportLine(report.function, report.message);
    for (std::size_t at = 0, end; at < text.size(); at = end + 1) {
        end = std::min(text.find('\n', at), text.size());
        logged += text.substr(at + kSourceAndLine, end - at - kSourceAndLine + 1);
    }
    EXPECT_EQ(logged, expected);
}
