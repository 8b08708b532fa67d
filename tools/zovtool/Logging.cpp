#include "Logging.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>

#include "ZovCommon.h"

namespace zovtool {

namespace {

LoggerSettings current;

}  // namespace

void applyLoggerSettings(const LoggerSettings &settings) {
    current = settings;
    zovLoggerSetLogLevel(settings.level);
    zovLoggerSetLogFileName(settings.file.c_str());
    zovLoggerSetLogToFile(settings.file.empty() ? 0 : 1);
}

ReportCapture::ReportCapture() {
    const char *tmp = std::getenv("TMPDIR");
    std::string pattern = std::string(tmp && *tmp ? tmp : "/tmp") + "/zovtool-reportsXXXXXX";
    int fd = mkstemp(pattern.data());
    if (fd < 0) return;  // nothing captured: reports stay where they go
    close(fd);
    path_ = pattern;
    zovLoggerSetLogFileName(path_.c_str());
    zovLoggerSetLogToFile(1);
    zovLoggerSetLogLevel(1);
}

ReportCapture::~ReportCapture() {
    if (path_.empty()) return;
    applyLoggerSettings(current);
    std::remove(path_.c_str());
}

std::vector<std::string> ReportCapture::messages() const {
    // Report lines read "[source][line][function] :message"; the line number
    // is left out so that the text does not depend on the library's build.
    std::vector<std::string> out;
    std::ifstream in(path_);
    std::string line;
    while (std::getline(in, line)) {
        std::size_t functionStart = line.find("][", line.find("][") + 2);
        std::size_t separator = line.find("] :");
        if (functionStart == std::string::npos || separator == std::string::npos) {
            out.push_back(line);
            continue;
        }
        std::string function = line.substr(functionStart + 2, separator - functionStart - 2);
        function.erase(function.find_last_not_of(' ') + 1);
        out.push_back(function + ": " + line.substr(separator + 3));
    }
    return out;
}

}  // namespace zovtool
