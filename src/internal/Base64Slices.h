// Slice-by-slice base64 decoding of text handed in pieces, shared by the
// public chain decoder and MIME decoding.
#pragma once

#include <cstddef>

#include "CharBuffer.h"
#include "internal/Chain.h"

namespace zov {

// Number of base64 characters decoded together; a multiple of 4, so groups
// line up across slices as in one pass.
constexpr std::size_t kBase64Slice = 1000;

// Cuts the text it is given into slices of kBase64Slice characters and
// decodes each by the rules of base64DecodeN, appending the slice's bytes
// through out (a slice with an illegal character adds none, after a report).
// The appends report as addDataToCharBuffer does.
//
// With deferFailures, a slice that does not decode is not reported when it
// comes: from that slice on the text is kept and decoded, with its reports,
// by finish(). A caller that may drop the text before finishing (MIME
// decoding of a part that is never closed) thus decodes as it reads without
// reporting anything for text it then drops.
class Base64SliceDecoder {
public:
    Base64SliceDecoder(ChainAppender out, bool deferFailures) noexcept;
    ~Base64SliceDecoder();
    Base64SliceDecoder(const Base64SliceDecoder &) = delete;
    Base64SliceDecoder &operator=(const Base64SliceDecoder &) = delete;

    void add(const char *text, std::size_t size) noexcept;
    // Decodes the kept text and the last, incomplete slice.
    void finish() noexcept;

private:
    void decodeSlice(bool report) noexcept;

    ChainAppender out_;
    bool defer_;
    std::size_t filled_ = 0;
    CharBuffer *kept_ = nullptr;
    ChainAppender keptOut_{nullptr};
    char slice_[kBase64Slice];
};

}  // namespace zov
