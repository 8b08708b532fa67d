// Images of more than 4 GiB: sizes, the gzip trailer (CRC-32 and ISIZE, the
// size modulo 2^32) and the progress numbers must hold past 2^32. No image is
// stored, and the source is sparse, compressed at level 0 so that compressed
// sizes pass 2^32 too. Opt-in: ZOV_LARGE_TESTS=1 (see README).
#include <gtest/gtest.h>

#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <string>
#include <vector>

#include "Compression.h"
#include "CompressionTestSupport.h"
#include "LogCapture.h"

namespace {

constexpr uint64_t k4GiB = uint64_t{1} << 32, kSize = k4GiB + 98765;  // not a multiple of the 32768-byte reads
constexpr uint64_t kLimit = k4GiB + 1, kEstimate = kSize + 12345;
// What each call compresses: the whole source, or a piece of kLimit bytes
// (uploads) or of whole 32768-byte reads until kLimit is passed (files).
const std::vector<uint64_t> kWhole{kSize}, kUploadPieces{kLimit, kSize - kLimit},
    kFilePieces{k4GiB + 32768, kSize - k4GiB - 32768};

// Counts bytes, checksums them and keeps the last eight (a gzip trailer:
// CRC-32 in the low word, ISIZE in the high one).
struct Tally {
    uint64_t size = 0, tail = 0;
    uLong crc = crc32(0, nullptr, 0);
    std::size_t add(const char *data, std::size_t n) {
        const auto *bytes = reinterpret_cast<const Bytef *>(data);
        crc = crc32(crc, bytes, static_cast<uInt>(n));
        for (std::size_t i = n > 8 ? n - 8 : 0; i < n; ++i) tail = tail >> 8 | uint64_t{bytes[i]} << 56;
        size += n;
        return n;
    }
};

// A stream over pass: a read calls pass(buffer, n) for the bytes it places, a
// write pass(data, n) for the bytes it takes.
template <typename Pass>
File stream(Pass &pass, const char *mode) {
    cookie_io_functions_t io{};
    io.read = [](void *f, char *to, std::size_t n) -> ssize_t { return (*static_cast<Pass *>(f))(to, n); };
    io.write = [](void *f, const char *from, std::size_t n) -> ssize_t {
        return (*static_cast<Pass *>(f))(const_cast<char *>(from), n);
    };
    return File(fopencookie(&pass, mode, io));
}

// The numbers of the last progress call.
using Progress = std::array<uint64_t, 4>;
Progress seen;

CompressionProgress progressRecord(uint64_t totalSize, uint64_t compressedSize = 0) {
    seen = {};
    return {nullptr, [](void *, double dlTotal, double dlNow, double ulTotal, double ulNow) {
                seen = {uint64_t(dlTotal), uint64_t(dlNow), uint64_t(ulTotal), uint64_t(ulNow)};
                return 0;
            }, totalSize, static_cast<int64_t>(compressedSize)};
}

}  // namespace

// The whole image, and two pieces of which the first passes 4 GiB of input: from
// the file compressors into the download callbacks (a whole download goes to
// /dev/null), and from the upload callbacks into the file decompressor.
TEST(LargeImages, CompressAndRestore) {
    const char *enabled = std::getenv("ZOV_LARGE_TESTS");
    if (enabled == nullptr || std::string(enabled) != "1") GTEST_SKIP() << "set ZOV_LARGE_TESTS=1 to run";
    LogCapture log(1);
    // The source, in memory: holes, a marker every 256 MiB, one across 2^32 and one at the end.
    File in(fdopen(memfd_create("zovlarge", 0), "w+b"));
    ASSERT_TRUE(in && ftruncate(fileno(in.get()), static_cast<off_t>(kSize)) == 0);
    const auto mark = [&](uint64_t at) { return pwrite(fileno(in.get()), &at, 8, static_cast<off_t>(at)) == 8; };
    for (uint64_t at = 0; at < kSize; at += uint64_t{1} << 28) ASSERT_TRUE(mark(at));
    ASSERT_TRUE(mark(k4GiB - 5) && mark(kSize - 8));
    Tally source;
    for (char chunk[1 << 16]; std::size_t got = std::fread(chunk, 1, sizeof chunk, in.get());) source.add(chunk, got);
    std::rewind(in.get());
    std::string path = "/proc/self/fd/" + std::to_string(fileno(in.get())), sink = "/dev/null";
    for (const bool upload : {false, true}) for (const bool split : {false, true}) {
        SCOPED_TRACE(std::string(upload ? "upload" : "file") + (split ? " pieces" : " whole"));
        Tally restored;
        auto restore = [&](char *data, std::size_t n) { return restored.add(data, n); };
        File target = stream(restore, "wb");
        TransferContext ctx{};
        if (split) ctx.file = upload ? in.get() : target.get(), ctx.pieceLimit = kLimit;
        else ctx.filePath = upload ? path.data() : sink.data();
        for (uint64_t input : !split ? kWhole : upload ? kUploadPieces : kFilePieces) {
            SCOPED_TRACE(input);
            ctx.bytesRead = 0, ctx.splitMode = upload && split;  // a new upload piece, or download piece not started
            Tally member;
            if (upload) {
                auto receive = [&](char *to, std::size_t n) {
                    return member.add(to, CrulReadCallBack_CompressData(to, 1, n, &ctx));
                };
                File image = stream(receive, "rb");
                CompressionProgress down = progressRecord(kSize);
                EXPECT_EQ(UnCompressAndWrite(image.get(), target.get(), &down), 0);
                EXPECT_EQ(ctx.bytesRead, split ? input : 0);
                EXPECT_EQ(ctx.stream.total_in, input);
                EXPECT_EQ(ctx.stream.total_out, member.size);
                EXPECT_EQ(seen, (Progress{kSize, input, 0, 0}));
                deflateEnd(&ctx.stream);
            } else {
                auto send = [&](char *data, std::size_t n) {
                    member.add(data, n);
                    const auto download = split ? download_Split_file_and_Uncompress : download_file_and_Uncompress;
                    return download(data, 1, n, &ctx);
                };
                File out = stream(send, "wb");
                CompressionProgress up = progressRecord(kSize, kEstimate);
                EXPECT_EQ(split ? CompressAndSplitWrite(in.get(), out.get(), 0, &up, kLimit)
                                : CompressAndWrite(in.get(), out.get(), 0, &up), 0);
                out.reset();
                EXPECT_EQ(up.compressedSize, static_cast<int64_t>(member.size));
                EXPECT_EQ(seen, (Progress{0, 0, split ? kLimit : kEstimate, split ? input : member.size}));
                // The download's stream has checked the trailer and ended.
                Bytef spare;
                ctx.stream.next_out = &spare, ctx.stream.avail_out = 1;
                EXPECT_EQ(inflate(&ctx.stream, Z_FINISH), Z_STREAM_END);
                EXPECT_EQ(ctx.stream.total_out, input);
                inflateEnd(&ctx.stream);
            }
            std::free(ctx.buffer);
            EXPECT_GT(member.size, input);
            EXPECT_EQ(member.tail >> 32, static_cast<uint32_t>(input));
            EXPECT_TRUE(split || static_cast<uint32_t>(member.tail) == source.crc);
        }
        if (!split) std::fclose(ctx.file);
        std::rewind(in.get());
        std::fflush(target.get());
        EXPECT_EQ(restored.size, upload || split ? kSize : 0);  // a whole download went to /dev/null
        EXPECT_EQ(restored.crc, (upload || split ? source : Tally{}).crc);
    }
}
