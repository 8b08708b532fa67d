// Slice-by-slice base64 decoding of chain data, shared by the public chain
// decoder and MIME decoding.
#pragma once

#include <cstddef>

#include "CharBuffer.h"
#include "internal/Chain.h"

namespace zov {

// Number of base64 characters decoded together; a multiple of 4, so groups
// line up across slices as in one pass.
constexpr std::size_t kBase64Slice = 1000;

// Reads up to count bytes from src and decodes them in slices of kBase64Slice
// characters with base64DecodeN, appending each slice's bytes to dest (a slice
// with an illegal character adds nothing). With skipLineBreaks, '\r' and '\n'
// are left out of the text before it is cut into slices. Appends report as
// addDataToCharBuffer does (a NULL dest reports once per slice).
void base64DecodeSlices(CharBuffer *dest, ChainReader &src, std::size_t count, bool skipLineBreaks) noexcept;

}  // namespace zov
