#include "Capture.h"

#include "Tool.h"

namespace zovtool {

namespace {

// The next line of text from pos on, without its line end; false at the end.
bool nextLine(std::string_view text, std::size_t &pos, std::string_view &line) {
    if (pos >= text.size()) return false;
    std::size_t end = text.find('\n', pos);
    std::size_t next = end == std::string_view::npos ? text.size() : end + 1;
    line = text.substr(pos, (end == std::string_view::npos ? text.size() : end) - pos);
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    pos = next;
    return true;
}

// A line for an error message: at most 60 bytes, anything unprintable as \xNN.
std::string printable(std::string_view line) {
    static constexpr std::size_t kShown = 60;
    std::string out;
    for (unsigned char c : line.substr(0, kShown)) {
        if (c >= 0x20 && c < 0x7f) {
            out += static_cast<char>(c);
        } else {
            static constexpr char kHex[] = "0123456789abcdef";
            out += "\\x";
            out += kHex[c >> 4];
            out += kHex[c & 15];
        }
    }
    if (line.size() > kShown) out += "...";
    return out;
}

// An interim "HTTP/x 1xx" answer (100 Continue) that curl -i saves ahead of
// the real response: its lines up to the empty line.
bool interimResponse(std::string_view line) {
    std::size_t blank = line.find(' ');
    return line.substr(0, 5) == "HTTP/" && blank != std::string_view::npos && line.size() > blank + 1 &&
           line[blank + 1] == '1';
}

}  // namespace

Capture parseCapture(std::string_view raw) {
    Capture capture;
    std::size_t pos = 0;
    std::string_view line;
    // Interim answers come first in some captures: each is skipped through its
    // empty line, and the response after them is read.
    for (std::size_t next = pos; nextLine(raw, next, line) && interimResponse(line);) {
        while (nextLine(raw, next, line) && !line.empty()) {
        }
        pos = next;
    }
    bool first = true;
    while (nextLine(raw, pos, line)) {
        if (line.empty()) {
            capture.body.assign(raw.substr(pos));
            return capture;
        }
        if (first && line.substr(0, 5) == "HTTP/") {
            capture.statusLine.emplace(line);
        } else {
            std::size_t colon = line.find(':');
            if (colon == std::string_view::npos)
                throw Refused("not a header line: '" + printable(line) + "'");
            capture.headers.emplace_back(std::string(line.substr(0, colon)),
                                         std::string(line.substr(colon + 1)));
        }
        first = false;
    }
    throw Refused("no empty line between the headers and the body");
}

}  // namespace zovtool
