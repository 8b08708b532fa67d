// Strict base64 decoding of strings and chains.
#include "Base64.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cstdint>
#include <cstring>

#include "internal/Base64Slices.h"
#include "internal/Chain.h"
#include "internal/Report.h"

namespace {

constexpr char kSourceFile[] = "Base64";

constexpr int kPad = 64;

// The value of a character by its range in the alphabet (the byte read as a
// signed character, so bytes of 128 and more are illegal).
constexpr int valueOf(char c) noexcept {
    if (c >= 'A' && c <= 'Z') return c - 'A';
    if (c >= 'a' && c <= 'z') return c - 'a' + 26;
    if (c >= '0' && c <= '9') return c - '0' + 52;
    if (c == '+') return 62;
    if (c == '/') return 63;
    if (c == '=') return kPad;
    return -1;
}

// Fast path for whole groups: the four characters' values pre-shifted into
// their places of a 24-bit word, so that a group is four lookups and three
// ORs. A pad or an illegal character sets kSpecial instead, which sends the
// group to the exact per-character rules.
constexpr std::uint32_t kSpecial = 1u << 24;

struct GroupTables {
    std::array<std::array<std::uint32_t, 256>, 4> shifted{};
};

constexpr GroupTables makeGroupTables() {
    GroupTables tables;
    for (int byte = 0; byte < 256; ++byte) {
        int value = valueOf(static_cast<char>(byte));
        for (int place = 0; place < 4; ++place) {
            tables.shifted[place][byte] = (value < 0 || value == kPad)
                                              ? kSpecial
                                              : static_cast<std::uint32_t>(value) << (18 - 6 * place);
        }
    }
    return tables;
}

constexpr GroupTables kTables = makeGroupTables();

// Byte at position 0..2 of a group, as decodeChunk computes it (without the
// position check); unsigned arithmetic keeps odd values defined.
int chunkByte(const int values[4], int position) noexcept {
    auto w = static_cast<unsigned>(values[0]), x = static_cast<unsigned>(values[1]),
         y = static_cast<unsigned>(values[2]), z = static_cast<unsigned>(values[3]);
    switch (position) {
    case 0:
        return static_cast<int>((w << 2) + static_cast<unsigned>(values[1] >> 4));
    case 1:
        if (values[1] == kPad || values[2] == kPad) return 0;
        return static_cast<int>(((x << 4) & 255u) + static_cast<unsigned>(values[2] >> 2));
    default:
        if (values[2] == kPad || values[3] == kPad) return 0;
        return static_cast<int>(((y << 6) & 255u) + z);
    }
}

bool illegal(char c, bool report) noexcept {
    if (valueOf(c) >= 0) return false;
    if (report) ZOV_REPORT_AS("base64DecodeN", 1, "Illegal value found in input '%c'", c);
    return true;
}

// A group holding a pad or an illegal character, decoded character by
// character. Returns the bytes written, or -1 (after the report, if asked).
int decodeSpecialGroup(unsigned char *out, const char *group, bool report) noexcept {
    int values[4];
    for (int i = 0; i < 4; ++i) {
        if (illegal(group[i], report)) return -1;
        values[i] = valueOf(group[i]);
    }
    int written = 0;
    out[written++] = static_cast<unsigned char>(chunkByte(values, 0));
    if (values[1] != kPad && values[2] != kPad)
        out[written++] = static_cast<unsigned char>(chunkByte(values, 1));
    if (values[2] != kPad && values[3] != kPad)
        out[written++] = static_cast<unsigned char>(chunkByte(values, 2));
    return written;
}

// base64DecodeN; report says whether an illegal character is reported.
int decode(unsigned char *out, const char *in, std::size_t length, bool report = true) noexcept {
    const auto *bytes = reinterpret_cast<const unsigned char *>(in);
    const std::size_t groups = length / 4;
    unsigned char *write = out;
    for (std::size_t g = 0; g < groups; ++g, bytes += 4) {
        std::uint32_t word = kTables.shifted[0][bytes[0]] | kTables.shifted[1][bytes[1]] |
                             kTables.shifted[2][bytes[2]] | kTables.shifted[3][bytes[3]];
        if (word & kSpecial) {
            int n = decodeSpecialGroup(write, reinterpret_cast<const char *>(bytes), report);
            if (n < 0) return -1;
            write += n;
            continue;
        }
        write[0] = static_cast<unsigned char>(word >> 16);
        write[1] = static_cast<unsigned char>(word >> 8);
        write[2] = static_cast<unsigned char>(word);
        write += 3;
    }
    // An incomplete last group is checked but produces nothing.
    for (std::size_t i = groups * 4; i < length; ++i) {
        if (illegal(in[i], report)) return -1;
    }
    return static_cast<int>(write - out);
}

}  // namespace

namespace zov {

Base64SliceDecoder::Base64SliceDecoder(ChainAppender out, bool deferFailures) noexcept
    : out_(out), defer_(deferFailures) {}

Base64SliceDecoder::~Base64SliceDecoder() { freeAllCharBuffers(kept_); }

void Base64SliceDecoder::add(const char *text, std::size_t size) noexcept {
    while (size > 0) {
        if (kept_ != nullptr) {
            keptOut_.append(text, size);
            return;
        }
        std::size_t n = std::min(size, kBase64Slice - filled_);
        std::memcpy(slice_ + filled_, text, n);
        filled_ += n;
        text += n;
        size -= n;
        if (filled_ == kBase64Slice) decodeSlice(!defer_);
    }
}

void Base64SliceDecoder::decodeSlice(bool report) noexcept {
    unsigned char decoded[kBase64Slice / 4 * 3];
    int n = decode(decoded, slice_, filled_, report);
    if (n < 0 && !report) {
        // Keep this slice and all later text for finish(); with nowhere to
        // keep it, report now.
        kept_ = createCharBuffer();
        if (kept_ != nullptr) {
            keptOut_ = ChainAppender(kept_);
            keptOut_.append(slice_, filled_);
            filled_ = 0;
            return;
        }
        decode(decoded, slice_, filled_, true);
    }
    out_.append(decoded, n > 0 ? static_cast<std::size_t>(n) : 0);
    filled_ = 0;
}

void Base64SliceDecoder::finish() noexcept {
    if (kept_ != nullptr) {
        Base64SliceDecoder now(out_, false);
        for (const CharBuffer *link = kept_; link != nullptr; link = link->next)
            now.add(link->data, linkLength(link));
        now.finish();
        freeAllCharBuffers(kept_);
        kept_ = nullptr;
    } else if (filled_ > 0) {
        decodeSlice(true);
    }
}

}  // namespace zov

extern "C" {

ZOV_API int convertCharToVal(char c) { return valueOf(c); }

ZOV_API int decodeChunk(const int values[4], int position) {
    if (values == nullptr) {
        ZOV_REPORT(1, "bad arguments");
        return -1;
    }
    if (position < 0 || position > 2) {
        ZOV_REPORT(1, "decodeChunk: unexpected position input - '%d'\n", position);
        return -1;
    }
    return chunkByte(values, position);
}

ZOV_API int base64DecodeN(unsigned char *out, const char *in, int length) {
    if (length <= 0) return 0;
    if (out == nullptr || in == nullptr) {
        ZOV_REPORT(1, "bad arguments");
        return -1;
    }
    return decode(out, in, static_cast<std::size_t>(length));
}

ZOV_API int base64Decode(unsigned char *out, const char *in) {
    if (out == nullptr || in == nullptr) {
        ZOV_REPORT_AS("base64DecodeN", 1, "bad arguments");
        return -1;
    }
    std::size_t length = std::strlen(in);
    int result = base64DecodeN(out, in, length > INT_MAX ? INT_MAX : static_cast<int>(length));
    if (result >= 0) out[result] = '\0';
    return result;
}

ZOV_API int base64DecodeCharBuffer(CharBuffer *dest, CharBuffer *src) {
    // Counted up front, so that decoding a chain onto its own end reads only
    // the text that was there.
    auto remaining = static_cast<std::size_t>(getTotalBufferLength(src));
    zov::Base64SliceDecoder decoder(zov::ChainAppender(dest), false);
    for (const CharBuffer *link = src; link != nullptr && remaining > 0; link = link->next) {
        std::size_t size = std::min(zov::linkLength(link), remaining);
        decoder.add(link->data, size);
        remaining -= size;
    }
    decoder.finish();
    return getTotalBufferLength(dest);
}

}  // extern "C"
