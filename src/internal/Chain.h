// Linear-time access to CharBuffer chains for the library's own large paths.
//
// The public chain functions walk from the head on every call (an append finds
// the last link, a line read finds the link holding its offset). ChainAppender
// and ChainReader keep their place instead, and produce exactly the bytes,
// lines and reports those public functions would.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string>
#include <string_view>

#include "CharBuffer.h"
#include "ZovLogger.h"

namespace zov {

// Bytes of a link that count as data. A chain built by hand may carry a
// length outside 0..1000; such a link is read as holding what fits.
inline std::size_t linkLength(const CharBuffer *link) noexcept {
    if (link->length <= 0) return 0;
    return link->length > CHAR_BUFFER_SIZE ? CHAR_BUFFER_SIZE
                                            : static_cast<std::size_t>(link->length);
}

inline CharBuffer *lastLink(CharBuffer *link) noexcept {
    while (link->next != nullptr) link = link->next;
    return link;
}

// Appends to a chain while remembering its last link: each append costs only
// the bytes it copies. Failures report as addDataToCharBuffer does.
class ChainAppender {
public:
    explicit ChainAppender(CharBuffer *head) noexcept : tail_(head ? lastLink(head) : nullptr) {}

    bool valid() const noexcept { return tail_ != nullptr; }
    CharBuffer *tail() const noexcept { return tail_; }

    // Same semantics as addDataToCharBuffer on the remembered chain: fills the
    // last link to 1000 bytes, then adds links. On a failed allocation the
    // bytes that fitted stay appended and false is returned.
    bool append(const void *data, std::size_t size) noexcept {
        if (tail_ == nullptr || data == nullptr) {
            zovLogger("CharBuffer", "addDataToCharBuffer", __LINE__, 1,
                      "bufferPointer and data cannot be NULL");
            return false;
        }
        const char *bytes = static_cast<const char *>(data);
        while (size > 0) {
            std::size_t used = linkLength(tail_);
            std::size_t room = CHAR_BUFFER_SIZE - used;
            if (room == 0) {
                if (tail_->next != nullptr) {  // the chain grew behind this appender's back
                    tail_ = lastLink(tail_);
                    continue;
                }
                CharBuffer *link = createCharBuffer();
                if (link == nullptr) {
                    zovLogger("CharBuffer", "addDataToCharBuffer", __LINE__, 1,
                              "Error in adding CharBuffer");
                    return false;
                }
                tail_->next = link;
                tail_ = link;
                continue;
            }
            std::size_t n = std::min(room, size);
            std::memcpy(tail_->data + used, bytes, n);
            tail_->length = static_cast<int32_t>(used + n);
            bytes += n;
            size -= n;
        }
        return true;
    }

    bool append(std::string_view text) noexcept { return append(text.data(), text.size()); }

private:
    CharBuffer *tail_;
};

// Reads a chain front to back from a byte offset, without returning to the
// head: lines follow the rules of getCharBufferLine, spans are the links' data.
class ChainReader {
public:
    // Positions the reader at byte offset start (one walk from the head).
    explicit ChainReader(const CharBuffer *head, std::size_t start = 0) noexcept
        : link_(head), offset_(start), position_(start) {
        settle();
    }

    // Absolute byte offset of the next byte to read.
    std::size_t position() const noexcept { return position_; }

    bool atEnd() noexcept {
        settle();
        return link_ == nullptr;
    }

    // The contiguous bytes at the read position (empty at the end); consume()
    // moves past some of them.
    std::string_view span() noexcept {
        settle();
        if (link_ == nullptr) return {};
        return {link_->data + offset_, linkLength(link_) - offset_};
    }

    void consume(std::size_t n) noexcept {
        offset_ += n;
        position_ += n;
    }

    // Reads up to size bytes into dest; returns the number read.
    std::size_t read(char *dest, std::size_t size) noexcept {
        std::size_t done = 0;
        while (done < size) {
            std::string_view s = span();
            if (s.empty()) break;
            std::size_t n = std::min(s.size(), size - done);
            std::memcpy(dest + done, s.data(), n);
            consume(n);
            done += n;
        }
        return done;
    }

    // Replaces line with the next line: its bytes without any '\r', ending
    // with '\n' unless it is a last line without one. Returns false (line
    // left empty) when no byte is left. May throw std::bad_alloc.
    bool nextLine(std::string &line) {
        line.clear();
        std::string_view s = span();
        if (s.empty()) return false;
        while (!s.empty()) {
            const char *newline = static_cast<const char *>(std::memchr(s.data(), '\n', s.size()));
            std::size_t take = newline ? static_cast<std::size_t>(newline - s.data()) + 1 : s.size();
            appendWithoutCarriageReturns(line, s.substr(0, take));
            consume(take);
            if (newline != nullptr) break;
            s = span();
        }
        return true;
    }

private:
    // Moves past exhausted links (and links without data).
    void settle() noexcept {
        while (link_ != nullptr && offset_ >= linkLength(link_)) {
            offset_ -= linkLength(link_);
            link_ = link_->next;
        }
    }

    static void appendWithoutCarriageReturns(std::string &out, std::string_view bytes) {
        while (!bytes.empty()) {
            const void *cr = std::memchr(bytes.data(), '\r', bytes.size());
            std::size_t keep = cr ? static_cast<std::size_t>(static_cast<const char *>(cr) - bytes.data())
                                  : bytes.size();
            out.append(bytes.data(), keep);
            bytes.remove_prefix(cr ? keep + 1 : keep);
        }
    }

    const CharBuffer *link_;
    std::size_t offset_;  // within link_
    std::size_t position_;
};

}  // namespace zov
