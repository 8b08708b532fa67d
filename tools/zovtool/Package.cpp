// zovtool package: an envelope and its attachments, packaged as the agent
// sends them (headers, Content-Length, empty line, body).
#include <cstdlib>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "Tool.h"
#include "ZovCommon.hpp"

namespace zovtool {

namespace {

using HeaderPairs = std::vector<std::pair<std::string, std::string>>;

zov::MimePtr makePart(const std::string &content, const HeaderPairs &headers) {
    zov::MimePtr part(static_cast<MimeStruct *>(std::calloc(1, sizeof(MimeStruct))));
    if (!part) throw std::bad_alloc();
    part->body = zov::toCharBuffer(content).release();
    for (const auto &[name, value] : headers)
        if (httpPayloadAddHeader(&part->headers, name.c_str(), value.c_str()) != 0) throw std::bad_alloc();
    return part;
}

std::string baseName(const std::string &path) {
    std::size_t slash = path.find_last_of('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

}  // namespace

int package(const PackageOptions &options) {
    zov::MimePtr parts = makePart(readInput(options.envelope), {});
    MimeStruct *last = parts.get();
    for (const std::string &path : options.attachments) {
        last->next = makePart(readInput(path), {{"Content-Type", "application/octet-stream"},
                                                {"Content-ID", baseName(path)}})
                         .release();
        last = last->next;
    }

    zov::MimePtr message(packageMime(parts.get()));
    if (!message) throw std::bad_alloc();
    std::string body = zov::toString(message->body);
    std::string out;
    for (const HttpHeader *h = message->headers; h; h = h->next)
        out.append(h->name).append(": ").append(h->value).append("\r\n");
    out.append("Content-Length: ").append(std::to_string(body.size())).append("\r\n\r\n").append(body);
    writeOutput(options.output, out);
    return kSuccess;
}

}  // namespace zovtool
