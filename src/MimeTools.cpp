// MIME multipart decoding and packaging.
#include "MimeTools.h"

#include <algorithm>
#include <cctype>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <string_view>

#include "internal/Base64Slices.h"
#include "internal/Chain.h"
#include "internal/Report.h"

namespace {

constexpr char kSourceFile[] = "MimeTools";

constexpr char kContentType[] = "Content-Type";
constexpr char kContentLength[] = "Content-Length";
constexpr char kTransferEncoding[] = "Content-Transfer-Encoding";
constexpr char kContentId[] = "Content-ID";

// Token of the bodies this library writes, and the headers that go with it.
constexpr std::string_view kPackageToken = "--zov-mime-boundary--";
constexpr char kEnvelopeType[] = "text/xml; charset=UTF-8";
constexpr char kEnvelopeId[] = "zovMessage.xml";
constexpr char kPackageType[] = "multipart/mixed; boundary=\"--zov-mime-boundary--\"";

// Characters after boundary=" searched for the closing quote: tokens have at
// most 198 characters.
constexpr std::size_t kTokenSearch = 199;

struct PartDeleter {
    void operator()(MimeStruct *part) const noexcept { freeMimeStruct(part); }
};
using PartPtr = std::unique_ptr<MimeStruct, PartDeleter>;

// A header value as text, never read past its record field.
std::string_view valueText(const char *value) noexcept {
    return {value, strnlen(value, HTTP_HEADER_VALUE_SIZE)};
}

// A terminated copy of a header value, for reports.
struct ValueCopy {
    char text[HTTP_HEADER_VALUE_SIZE + 1];
    explicit ValueCopy(std::string_view value) noexcept {
        std::size_t size = std::min(value.size(), sizeof text - 1);
        std::memcpy(text, value.data(), size);
        text[size] = '\0';
    }
};

// A new record with no headers, an empty content and no next part; NULL when
// memory runs out.
MimeStruct *newPart() noexcept {
    auto *part = static_cast<MimeStruct *>(std::calloc(1, sizeof(MimeStruct)));
    if (part == nullptr) return nullptr;
    part->body = createCharBuffer();
    if (part->body == nullptr) {
        std::free(part);
        return nullptr;
    }
    return part;
}

// Reads a Content-Length as atoi would (leading white space, optional sign,
// digits, anything else ends the number). False when a positive value does not
// fit in an int; negative values all mean "nothing".
bool parseContentLength(std::string_view text, std::size_t &count) noexcept {
    std::size_t i = 0;
    while (i < text.size() && std::isspace(static_cast<unsigned char>(text[i]))) ++i;
    bool negative = false;
    if (i < text.size() && (text[i] == '+' || text[i] == '-')) negative = text[i++] == '-';
    long long value = 0;
    for (; i < text.size() && text[i] >= '0' && text[i] <= '9'; ++i) {
        value = value * 10 + (text[i] - '0');
        if (!negative && value > INT_MAX) return false;
        if (value > INT_MAX) value = INT_MAX;  // negative: any magnitude reads nothing
    }
    count = negative ? 0 : static_cast<std::size_t>(value);
    return true;
}

// The token of boundary="<token>" in a Content-Type value.
bool getBoundaryToken(std::string_view contentType, std::string &token) noexcept {
    static constexpr std::string_view kParameter = "boundary=\"";
    std::size_t at = contentType.find(kParameter);
    if (at == std::string_view::npos) return false;
    std::string_view after = contentType.substr(at + kParameter.size(), kTokenSearch);
    std::size_t quote = after.find('"');
    if (quote == std::string_view::npos) return false;
    try {
        token.assign(after.substr(0, quote));
    } catch (const std::bad_alloc &) {
        ZOV_REPORT(3, "Error while memory allocation.");
        return false;
    }
    return true;
}

// The delimiter lines of a token: "--" + token begins a part, "--" + token +
// "--" closes the message. Held in place: tokens have at most 198 characters.
class Delimiters {
public:
    explicit Delimiters(const std::string &token) noexcept
        : token_(token.c_str()), size_(2 + std::min(token.size(), kTokenSearch - 1)) {
        std::memcpy(lines_, "--", 2);
        std::memcpy(lines_ + 2, token.data(), size_ - 2);
        std::memcpy(lines_ + size_, "--", 2);
    }

    const char *token() const noexcept { return token_; }
    bool opens(const std::string &line) const noexcept { return startsWith(line, size_); }
    bool closes(const std::string &line) const noexcept { return startsWith(line, size_ + 2); }

private:
    bool startsWith(const std::string &line, std::size_t size) const noexcept {
        return line.compare(0, size, lines_, size) == 0;
    }

    const char *token_;
    std::size_t size_;  // of the opening line
    char lines_[kTokenSearch + 4];
};

// The header list of a part being read. Headers are added by
// httpPayloadAddHeader's rules (trimmed and cut, a repeated name updating its
// record in place), but a name is found through an index and a new header is
// linked at the remembered tail: a part with any number of header lines is
// read in linear time. A header that cannot be stored for want of memory is
// left out, as httpPayloadAddHeader leaves it; when the index itself cannot
// grow, the rest of the part's headers go through httpPayloadAddHeader on
// the whole list.
class PartHeaders {
public:
    explicit PartHeaders(HttpHeader **list) noexcept : list_(list), tail_(list) {}

    // Adds the header of a part header line "name:value\n", if it holds one.
    // The line is read as a C string and cut in place.
    void addLine(std::string &line) noexcept {
        char *name = line.data();
        name += std::strspn(name, ":");
        char *colon = std::strchr(name, ':');
        if (colon == nullptr || colon[1] == '\0') return;
        *colon = '\0';
        char *value = colon + 1;
        value[std::strcspn(value, "\n")] = '\0';
        add(name, value);
    }

private:
    void add(const char *name, const char *value) noexcept {
        char key[HTTP_HEADER_NAME_SIZE];
        stringTrim(name, key, sizeof key);
        if (unindexed_) {
            httpPayloadAddHeader(list_, key, value);
            return;
        }
        auto found = index_.find(std::string_view(key));
        if (found != index_.end()) {
            HttpHeader *header = found->second;  // a list whose head has the name
            httpPayloadAddHeader(&header, key, value);
            return;
        }
        if (httpPayloadAddHeader(tail_, key, value) != 0) return;
        HttpHeader *added = *tail_;
        tail_ = &added->next;
        try {
            index_.emplace(std::string_view(added->name), added);
        } catch (const std::bad_alloc &) {
            unindexed_ = true;
            index_.clear();
        }
    }

    HttpHeader **list_;
    HttpHeader **tail_;
    bool unindexed_ = false;
    // Ordered, so that no choice of names by the sender degrades the lookups.
    std::map<std::string_view, HttpHeader *> index_;
};

// A body given as a caller's chain.
class ChainInput {
public:
    explicit ChainInput(CharBuffer *chain) noexcept : chain_(chain) {}
    bool empty() const noexcept { return zov::ChainReader(chain_).atEnd(); }
    CharBuffer *copy() const noexcept { return charBufferCopy(chain_); }
    zov::ChainReader reader() const noexcept { return zov::ChainReader(chain_); }

private:
    CharBuffer *chain_;
};

// A body given as bytes in memory (processMime's data), read in place with
// the same line rules as a chain: a line ends after its '\n' (or at the end),
// every '\r' is dropped.
class FlatInput {
public:
    class Reader {
    public:
        explicit Reader(std::string_view bytes) noexcept : rest_(bytes) {}
        bool nextLine(std::string &line) {
            line.clear();
            if (rest_.empty()) return false;
            std::size_t end = rest_.find('\n');
            std::string_view taken = rest_.substr(0, end == std::string_view::npos ? rest_.size() : end + 1);
            rest_.remove_prefix(taken.size());
            for (std::size_t cr; (cr = taken.find('\r')) != std::string_view::npos;
                 taken.remove_prefix(cr + 1))
                line.append(taken.data(), cr);
            line.append(taken);
            return true;
        }

    private:
        std::string_view rest_;
    };

    explicit FlatInput(std::string_view bytes) noexcept : bytes_(bytes) {}
    bool empty() const noexcept { return bytes_.empty(); }
    // A chain holding the bytes; when memory runs out it holds those that
    // fitted (reported as a failed append), or is NULL without a first link.
    CharBuffer *copy() const noexcept {
        CharBuffer *chain = createCharBuffer();
        if (chain != nullptr) zov::ChainAppender(chain).append(bytes_);
        return chain;
    }
    Reader reader() const noexcept { return Reader(bytes_); }

private:
    std::string_view bytes_;
};

bool isBase64(const char *encoding) noexcept {
    return encoding != nullptr && std::strcmp(encoding, "base64") == 0;
}

// Rebuilds a part's content from its lines: each line without its line end,
// a line feed between it and the previous one once the content holds data.
// Base64 content is decoded as it comes instead: its line feeds would be
// removed before decoding anyway, so only the lines' text goes to the decoder.
class ContentBuilder {
public:
    explicit ContentBuilder(CharBuffer *body) noexcept : text_(body) {}

    void decodeInto(zov::Base64SliceDecoder *decoder) noexcept { base64_ = decoder; }

    void addLine(const std::string &line) noexcept {
        std::size_t size = line.empty() ? 0 : line.size() - 1;
        if (base64_ != nullptr) {
            base64_->add(line.data(), size);
        } else {
            if (hasData_) text_.append("\n", 1);
            if (size > 0) text_.append(line.data(), size);
        }
        if (size > 0) hasData_ = true;
    }

    // Whether the content (before any decoding) holds a byte.
    bool hasData() const noexcept { return hasData_; }

private:
    zov::ChainAppender text_;
    zov::Base64SliceDecoder *base64_ = nullptr;
    bool hasData_ = false;
};

// Reads the parts of a multipart body line by line.
template <class Reader>
class MultipartReader {
public:
    MultipartReader(Reader reader, const std::string &token) noexcept : reader_(reader), delimiters_(token) {}

    // Skips the lines before the first delimiter line, and that line.
    void skipPreamble() noexcept {
        while (nextLine() && !delimiters_.opens(line_)) {
        }
    }

    // Reads one part: headers, empty line, content, up to and including the
    // next delimiter line; sets last when that line is the closing delimiter.
    // NULL (the part dropped) when the input ends first.
    MimeStruct *getMimePart(bool &last) noexcept {
        last = false;
        base64_.reset();
        PartPtr part(newPart());
        if (!part) {
            ZOV_REPORT(1, "Error while memory allocation");
            return nullptr;
        }
        ContentBuilder content(part->body);
        PartHeaders headers(&part->headers);
        bool inBody = false;
        while (nextLine()) {
            if (delimiters_.opens(line_)) {
                last = delimiters_.closes(line_);
                return part.release();
            }
            if (inBody) {
                content.addLine(line_);
            } else if (line_.size() > 1) {
                headers.addLine(line_);
            } else {
                inBody = true;
                if (isBase64(httpPayloadGetHeader(part->headers, kTransferEncoding)))
                    content.decodeInto(&base64_.emplace(zov::ChainAppender(part->body), true));
            }
        }
        if (content.hasData())
            ZOV_REPORT(1, "getMimePart: Error, couldn't find boundaryToken '%s'\n", delimiters_.token());
        return nullptr;
    }

    // Applies the transfer encoding of the part just read: base64 content
    // (decoded while it was read) is finished, 8bit or none is kept as it
    // is; -1 for any other encoding.
    int handleDecoding(MimeStruct &part) noexcept {
        const char *encoding = httpPayloadGetHeader(part.headers, kTransferEncoding);
        if (encoding == nullptr) return 0;
        ZOV_REPORT(3, "contentEncoding: '%s'", encoding);
        if (std::strcmp(encoding, "8bit") == 0) return 0;
        if (!isBase64(encoding)) return -1;
        if (base64_) base64_->finish();
        base64_.reset();
        return 0;
    }

private:
    // Reads the next line into line_; false at the end of the input. A line
    // that cannot be held for want of memory ends the input there, as a line
    // reader that cannot allocate its line does.
    bool nextLine() noexcept {
        if (exhausted_) return false;
        try {
            return reader_.nextLine(line_);
        } catch (...) {  // std::bad_alloc, or a line beyond std::string's reach
            exhausted_ = true;
            return false;
        }
    }

    Reader reader_;
    bool exhausted_ = false;
    Delimiters delimiters_;
    std::string line_;
    std::optional<zov::Base64SliceDecoder> base64_;  // content decoder of a base64 part
};

template <class Input>
int splitMultipart(const Input &input, const std::string &token, MimeStruct *out) noexcept {
    // out's empty content (NULL when memory ran out) gives way to the first
    // part's.
    out->headers = nullptr;
    out->next = nullptr;
    out->body = createCharBuffer();
    MultipartReader parts(input.reader(), token);
    parts.skipPreamble();
    bool last = false;
    MimeStruct *first = parts.getMimePart(last);
    if (first == nullptr) return -1;
    freeAllCharBuffers(out->body);
    out->headers = first->headers;
    out->body = first->body;
    std::free(first);
    if (parts.handleDecoding(*out) != 0) return -1;

    MimeStruct *tail = out;
    while (!last) {
        PartPtr part(parts.getMimePart(last));
        if (!part) break;
        if (parts.handleDecoding(*part) != 0) return -1;
        tail->next = part.release();
        tail = tail->next;
    }
    return 0;
}

// decodeMimeCharBuffer on a chain or on bytes in memory.
template <class Input>
int decodeMime(HttpHeader *headers, const Input &input, MimeStruct *out) noexcept {
    if (input.empty()) {
        ZOV_REPORT_AS("decodeMimeCharBuffer", 3, "Empty input buffer");
        out->headers = nullptr;
        out->next = nullptr;
        out->body = createCharBuffer();  // NULL when memory ran out
        return 0;
    }
    const char *contentType = httpPayloadGetHeader(headers, kContentType);
    if (contentType == nullptr) {
        ZOV_REPORT_AS("decodeMimeCharBuffer", 1, "Content-Type not found in http headers");
        return -1;
    }
    std::string_view type = valueText(contentType);
    if (type.find("multipart") == std::string_view::npos) {
        ZOV_REPORT_AS("decodeMimeCharBuffer", 3, "not a MIME message");
        // Copies that memory cut short end where it ran out.
        out->headers = httpPayloadCopyHeaders(headers);
        out->body = input.copy();
        return 0;
    }
    std::string token;
    if (!getBoundaryToken(type, token)) {
        ZOV_REPORT_AS("decodeMimeCharBuffer", 1, "boundaryToken not found in Content-Type header='%s'",
                      ValueCopy(type).text);
        return -1;
    }
    ZOV_REPORT_AS("decodeMimeCharBuffer", 3, "boundaryToken='%s'", token.c_str());
    return splitMultipart(input, token, out);
}


// Appends all data of src; a missing src reports as addCharBufferToCharBuffer
// does.
void appendChain(zov::ChainAppender &out, const CharBuffer *src) noexcept {
    if (src == nullptr) out.append(nullptr, 0);
    for (const CharBuffer *link = src; link != nullptr; link = link->next)
        out.append(link->data, zov::linkLength(link));
}

void writeMultipart(zov::ChainAppender &out, const MimeStruct *parts) noexcept {
    for (const MimeStruct *part = parts; part != nullptr; part = part->next) {
        out.append("--");
        out.append(kPackageToken);
        out.append("\r\n");
        for (const HttpHeader *header = part->headers; header != nullptr; header = header->next) {
            out.append(std::string_view(header->name, strnlen(header->name, HTTP_HEADER_NAME_SIZE)));
            out.append(": ");
            out.append(valueText(header->value));
            out.append("\r\n");
        }
        out.append("\r\n");
        appendChain(out, part->body);
        out.append("\r\n");
    }
    out.append("--");
    out.append(kPackageToken);
    out.append("--\r\n");
}

}  // namespace

extern "C" {

ZOV_API int processMime(HttpHeader *headers, const char *data, char **text, MimeStruct **rest) {
    const char *lengthText = httpPayloadGetHeader(headers, kContentLength);
    if (lengthText == nullptr) {
        ZOV_REPORT(1, "Error, no Content-Length specified");
        return -1;
    }
    std::size_t count = 0;
    if (!parseContentLength(valueText(lengthText), count)) {
        ZOV_REPORT(1, "Error, Content-Length '%s' out of range", ValueCopy(valueText(lengthText)).text);
        return -1;
    }
    if (text == nullptr || rest == nullptr || (count > 0 && data == nullptr)) {
        ZOV_REPORT(1, "bad arguments");
        return -1;
    }
    // The body is read in place, with the same result as decodeMimeCharBuffer
    // on a chain holding those bytes.
    PartPtr record(static_cast<MimeStruct *>(std::calloc(1, sizeof(MimeStruct))));
    if (!record) {
        ZOV_REPORT(1, "Error while memory allocation");
        return -1;
    }
    FlatInput body(count > 0 ? std::string_view(data, count) : std::string_view());
    if (decodeMime(headers, body, record.get()) != 0) return -1;
    *text = charBufferToChar(record->body);  // NULL when memory ran out
    *rest = record->next;
    record->next = nullptr;
    return 0;
}

ZOV_API int decodeMimeCharBuffer(HttpHeader *headers, CharBuffer *input, MimeStruct *out) {
    if (headers == nullptr) {
        ZOV_REPORT(1, "decodeMimeCharBuffer: Error, headers is null\n");
        return -1;
    }
    if (input == nullptr) {
        ZOV_REPORT(1, "decodeMimeCharBuffer: Error, input is null\n");
        return -1;
    }
    if (out == nullptr) {
        ZOV_REPORT(1, "decodeMimeCharBuffer: Error, out is null\n");
        return -1;
    }
    return decodeMime(headers, ChainInput(input), out);
}

ZOV_API MimeStruct *packageMime(MimeStruct *parts) {
    if (parts == nullptr) return nullptr;
    PartPtr out(static_cast<MimeStruct *>(std::calloc(1, sizeof(MimeStruct))));
    if (!out) return nullptr;
    httpPayloadAddHeader(&parts->headers, kContentType, kEnvelopeType);
    if (parts->next == nullptr) {
        out->headers = httpPayloadCopyHeaders(parts->headers);
        out->body = parts->body != nullptr ? charBufferCopy(parts->body) : createCharBuffer();
        return out.release();
    }
    httpPayloadAddHeader(&parts->headers, kContentId, kEnvelopeId);
    httpPayloadAddHeader(&out->headers, kContentType, kPackageType);
    out->body = createCharBuffer();
    if (out->body != nullptr) {
        zov::ChainAppender body(out->body);
        writeMultipart(body, parts);
    }
    return out.release();
}

ZOV_API void freeMimeStruct(MimeStruct *part) {
    // Iterative: a hostile body may carry any number of parts.
    while (part != nullptr) {
        MimeStruct *next = part->next;
        httpPayloadFreeHeaders(&part->headers);
        freeAllCharBuffers(part->body);
        std::free(part);
        part = next;
    }
}

}  // extern "C"
