// Test helper: points the logger at a temporary file for the life of the
// object and reads back what was written.
#pragma once

#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>

#include <unistd.h>

#include "ZovLogger.h"

class LogCapture {
public:
    explicit LogCapture(int level = 3) : savedLevel_(zovLoggerGetLogLevel()) {
        char path[] = "/tmp/zovlogXXXXXX";
        int fd = mkstemp(path);
        if (fd >= 0) close(fd);
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
    LogCapture(const LogCapture &) = delete;
    LogCapture &operator=(const LogCapture &) = delete;

    const std::string &path() const { return path_; }

    // Everything logged so far.
    std::string text() const {
        std::ifstream in(path_, std::ios::binary);
        std::stringstream all;
        all << in.rdbuf();
        return all.str();
    }

    bool contains(const std::string &needle) const { return text().find(needle) != std::string::npos; }

    void clear() const { std::ofstream(path_, std::ios::trunc); }

private:
    int savedLevel_;
    std::string path_;
};
