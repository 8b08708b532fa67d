// The logger settings chosen on the command line, and a way to collect the
// library's reports while one call runs.
#pragma once

#include <string>
#include <vector>

namespace zovtool {

struct LoggerSettings {
    int level = 2;
    std::string file;  // empty: stderr
};

// Applies the settings to the library's logger; they stay in force.
void applyLoggerSettings(const LoggerSettings &settings);

// While alive, the library's level-1 reports go to a temporary file instead of
// the chosen stream; messages() gives them as "function: message" lines.
class ReportCapture {
public:
    ReportCapture();
    ~ReportCapture();
    ReportCapture(const ReportCapture &) = delete;
    ReportCapture &operator=(const ReportCapture &) = delete;

    std::vector<std::string> messages() const;

private:
    std::string path_;
};

}  // namespace zovtool
