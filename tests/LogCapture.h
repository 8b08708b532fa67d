// Test helper: points the logger at a temporary file for the life of the
// object and reads back what was written.
#pragma once

#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>

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
