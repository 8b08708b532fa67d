// A captured HTTP response: status line, header lines, empty line, body.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace zovtool {

struct Capture {
    std::optional<std::string> statusLine;  // absent when the text starts with headers
    std::vector<std::pair<std::string, std::string>> headers;
    std::string body;
};

// Splits a capture; lines end with LF or CR LF. Header lines without a colon
// are refused.
Capture parseCapture(std::string_view raw);

}  // namespace zovtool
