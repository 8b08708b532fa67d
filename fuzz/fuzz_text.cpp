// The small readers of server text: XML tag search, HTTP header lists and
// first lines, server URLs, and the string helpers they rely on. Caller
// buffers are exactly as large as the headers document.
#include <fuzzer/FuzzedDataProvider.h>

#include <string>
#include <vector>

#include "FuzzSupport.h"

namespace {

// Walks every element named tag with both searches.
void searchTags(const std::string &xml, const std::string &tag) {
    for (const char *at = xml.c_str(); at != nullptr;) {
        char *contents = nullptr;
        at = getXmlTagPosition(at, tag.c_str(), &contents);
        if (contents != nullptr && std::strlen(contents) == 0) abort();
        std::free(contents);
    }
    char contents[1024];
    for (const char *at = xml.c_str(); at != nullptr;) at = getSimpleXmlTagPosition(at, tag.c_str(), contents);
}

// Builds a header list from "name: value" lines (a line without a colon
// removes that header), then reads, copies and frees it.
void headerList(const std::string &lines) {
    HttpHeader *list = nullptr;
    std::vector<std::string> names;
    for (size_t start = 0; start < lines.size();) {
        const size_t end = std::min(lines.find('\n', start), lines.size());
        const std::string line = lines.substr(start, end - start);
        start = end + 1;
        const size_t colon = line.find(':');
        names.push_back(line.substr(0, colon));
        httpPayloadAddHeader(&list, names.back().c_str(),
                             colon == std::string::npos ? nullptr : line.c_str() + colon + 1);
        getRequestType(line.c_str());
        checkResponseFirstLine(line.c_str());
    }
    HttpHeader *copy = httpPayloadCopyHeaders(list);
    for (const std::string &name : names) {
        const char *value = httpPayloadGetHeader(list, name.c_str());
        const char *copied = httpPayloadGetHeader(copy, name.c_str());
        if ((value == nullptr) != (copied == nullptr) || (value != nullptr && std::strcmp(value, copied) != 0)) abort();
    }
    httpPayloadFreeHeaders(&copy);
    httpPayloadFreeHeaders(&list);
}

// Splits a URL into buffers of strlen(url) + 1 bytes (path at least 2) and
// keeps it in a server list.
void serverUrl(const std::string &url) {
    std::vector<char> host(url.size() + 1), path(std::max<size_t>(url.size() + 1, 2));
    int32_t port = 0;
    parseServerUrl(url.c_str(), host.data(), &port, path.data());
    ServerList *list = addServerToList(nullptr, url.c_str());
    addServerToList(list, host.data());
    for (ServerList *entry = list; entry != nullptr; entry = getNextServer(entry))
        if (std::strlen(getServerUrl(entry)) >= SERVER_URL_SIZE) abort();
    freeServerList(list);
}

// The string helpers on text of any content.
void strings(std::string text, const std::string &set) {
    std::free(xmlEscape(text.c_str()));
    std::free(zovRemoveAllAppearanceOfCharFromString(text.c_str(), set.empty() ? ' ' : set[0]));
    std::vector<char> trimmed(text.size() + 1);
    stringTrim(text.c_str(), trimmed.data(), static_cast<int>(trimmed.size()));
    convertSecurityKey(text.c_str());
    std::string copy = text;
    zovStringTrim(copy.data(), set.c_str());
    ltrim(text.data());
    zovToLower(text.data());
    converToupper(text.data());
    chomp(text.data());
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
    fuzz::quietLogger();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    FuzzedDataProvider input(data, size);
    const std::string tag = input.ConsumeRandomLengthString(130);
    const std::string url = input.ConsumeRandomLengthString(2100);
    const std::string set = input.ConsumeRandomLengthString(8);
    const std::string rest = input.ConsumeRemainingBytesAsString();
    searchTags(rest, tag);
    headerList(rest);
    serverUrl(url);
    strings(rest, set);
    return 0;
}
