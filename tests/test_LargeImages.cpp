// Images of more than 4 GiB through the file compressors and decompressor and
// through the transfer callbacks: sizes, the gzip trailer (CRC-32 and ISIZE,
// the size modulo 2^32) and the progress numbers must hold past 2^32. The
// source is a sparse file, compressed at level 0 so that compressed sizes pass
// 2^32 too, and no image is stored: compressed bytes go through a pipe or
// straight into a download callback. Opt-in: ZOV_LARGE_TESTS=1 (see README).
#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "Compression.h"
#include "CompressionTestSupport.h"
#include "LogCapture.h"

namespace {

constexpr uint64_t k4GiB = uint64_t{1} << 32;
constexpr uint64_t kSize = k4GiB + 98765;  // not a multiple of the 32768-byte reads
constexpr uint64_t kPieceLimit = k4GiB + 1;
constexpr std::size_t kBlock = 256 << 10;  // a transfer's block

// The source: holes (zeros) with a marker every 256 MiB, one across 2^32 and
// one at the end; in /dev/shm when there is one, where holes read fastest.
struct Source {
    std::string path;
    uLong crc = crc32(0, nullptr, 0);

    Source() {
        const char *tmp = std::getenv("TMPDIR");
        path = std::string(access("/dev/shm", W_OK) == 0 ? "/dev/shm" : tmp != nullptr ? tmp : "/tmp") +
               "/zovlargeXXXXXX";
        const int fd = mkstemp(path.data());
        bool made = fd >= 0 && ftruncate(fd, static_cast<off_t>(kSize)) == 0;
        std::vector<uint64_t> at{k4GiB - 5, kSize - 8};
        for (uint64_t offset = 0; offset < kSize; offset += uint64_t{1} << 28) at.push_back(offset);
        for (uint64_t offset : at) made = made && pwrite(fd, &offset, 8, static_cast<off_t>(offset)) == 8;
        if (fd >= 0) close(fd);
        EXPECT_TRUE(made) << path;
        if (!made) return;
        File in = openFile(path, "rb");
        std::vector<Bytef> chunk(1 << 20);
        while (std::size_t got = std::fread(chunk.data(), 1, chunk.size(), in.get()))
            crc = crc32(crc, chunk.data(), static_cast<uInt>(got));
    }
    Source(const Source &) = delete;
    Source &operator=(const Source &) = delete;
    ~Source() { std::remove(path.c_str()); }
};

// A write-only stream that counts its bytes, keeps the last eight (a gzip
// member's trailer), checksums them if asked, and passes them on to a pipe.
struct Tally {
    bool checksum = false;
    int pipe = -1;
    uint64_t size = 0;
    uLong crc = crc32(0, nullptr, 0);
    unsigned char tail[8] = {};

    File open() {
        cookie_io_functions_t io{};
        io.write = [](void *self, const char *data, std::size_t n) -> ssize_t {
            return static_cast<Tally *>(self)->add(data, n) ? static_cast<ssize_t>(n) : -1;
        };
        return File(fopencookie(this, "wb", io));
    }
    bool add(const char *data, std::size_t n) {
        const auto *bytes = reinterpret_cast<const Bytef *>(data);
        if (checksum) crc = crc32(crc, bytes, static_cast<uInt>(n));
        for (std::size_t i = n > 8 ? n - 8 : 0; i < n; ++i) std::memmove(tail, tail + 1, 7), tail[7] = bytes[i];
        size += n;
        for (std::size_t done = 0; pipe >= 0 && done < n;) {
            const ssize_t put = write(pipe, data + done, n - done);
            if (put <= 0) return false;
            done += static_cast<std::size_t>(put);
        }
        return true;
    }
    // The trailer's two little-endian words: 0 the CRC-32, 1 ISIZE.
    uint32_t trailer(int word) const {
        uint32_t value = 0;
        for (int i = 3; i >= 0; --i) value = value << 8 | tail[4 * word + i];
        return value;
    }
};

// The last progress call of this thread, and whether "now" never went back.
struct Seen {
    double dlTotal = -1, dlNow = -1, ulTotal = -1, ulNow = -1;
    bool ordered = true;
};
thread_local Seen seen;

CompressionProgress progressRecord(uint64_t totalSize, int64_t compressedSize) {
    seen = {};
    return {nullptr, [](void *, double dlTotal, double dlNow, double ulTotal, double ulNow) {
                seen = {dlTotal, dlNow, ulTotal, ulNow,
                        seen.ordered && dlNow >= seen.dlNow && ulNow >= seen.ulNow};
                return 0;
            }, totalSize, compressedSize};
}

// Runs compress(out) in a thread whose out is counted into compressed and
// passed through a pipe, and decompress(in) here on the pipe's other end.
template <typename Compress, typename Decompress>
void throughPipe(Tally &compressed, Compress compress, Decompress decompress) {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    fcntl(ends[1], F_SETPIPE_SZ, 1 << 20);
    compressed.pipe = ends[1];
    std::thread producer([&] {
        File out = compressed.open();
        compress(out.get());
        out.reset();
        close(ends[1]);
    });
    File in(fdopen(ends[0], "rb"));
    decompress(in.get());
    for (char rest[4096]; std::fread(rest, 1, sizeof rest, in.get()) > 0;) {
    }
    producer.join();
}

double asDouble(uint64_t value) { return static_cast<double>(value); }

class LargeImages : public testing::Test {
protected:
    void SetUp() override {
        const char *enabled = std::getenv("ZOV_LARGE_TESTS");
        if (enabled == nullptr || std::string(enabled) != "1") GTEST_SKIP() << "set ZOV_LARGE_TESTS=1 to run";
        source.emplace();
    }
    std::optional<Source> source;
    LogCapture log{1};
};

}  // namespace

// The whole image, and the image in two pieces of which the first passes 4 GiB
// of input, each member decompressed as it is written.
TEST_F(LargeImages, FileToFile) {
    Tally restored{true};
    File restoredOut = restored.open();
    File in = openFile(source->path, "rb");
    const int64_t estimate = static_cast<int64_t>(kSize + 12345);
    Tally compressed;
    CompressionProgress down = progressRecord(kSize, 0), up{};
    Seen upSeen;
    throughPipe(
        compressed,
        [&](FILE *out) {
            up = progressRecord(kSize, estimate);
            EXPECT_EQ(CompressAndWrite(in.get(), out, 0, &up), 0);
            upSeen = seen;
        },
        [&](FILE *image) { EXPECT_EQ(UnCompressAndWrite(image, restoredOut.get(), &down), 0); });
    EXPECT_GT(compressed.size, kSize);
    EXPECT_EQ(up.compressedSize, static_cast<int64_t>(compressed.size));
    EXPECT_TRUE(upSeen.ordered && upSeen.dlTotal == 0 && upSeen.dlNow == 0 && upSeen.ulTotal == estimate &&
                upSeen.ulNow == asDouble(compressed.size));
    EXPECT_EQ(compressed.trailer(0), source->crc);
    EXPECT_EQ(compressed.trailer(1), static_cast<uint32_t>(kSize));
    EXPECT_TRUE(seen.ordered && seen.dlTotal == asDouble(kSize) && seen.dlNow == asDouble(kSize) &&
                seen.ulTotal == 0 && seen.ulNow == 0);
    std::fflush(restoredOut.get());
    EXPECT_EQ(restored.size, kSize);
    EXPECT_EQ(restored.crc, source->crc);

    // Pieces: whole 32768-byte reads until the limit is passed, then the rest.
    std::rewind(in.get());
    restored = Tally{true};
    const uint64_t pieceInput[] = {k4GiB + 32768, kSize - k4GiB - 32768};
    for (uint64_t input : pieceInput) {
        SCOPED_TRACE(input);
        Tally piece;
        throughPipe(
            piece,
            [&](FILE *out) {
                up = progressRecord(kSize, 0);
                EXPECT_EQ(CompressAndSplitWrite(in.get(), out, 0, &up, kPieceLimit), 0);
                upSeen = seen;
            },
            [&](FILE *image) { EXPECT_EQ(UnCompressAndWrite(image, restoredOut.get(), nullptr), 0); });
        EXPECT_EQ(up.compressedSize, static_cast<int64_t>(piece.size));
        EXPECT_TRUE(upSeen.ordered && upSeen.ulTotal == asDouble(kPieceLimit) && upSeen.ulNow == asDouble(input));
        EXPECT_EQ(piece.trailer(1), static_cast<uint32_t>(input));
    }
    EXPECT_NE(std::feof(in.get()), 0);
    std::fflush(restoredOut.get());
    EXPECT_EQ(restored.size, kSize);
    EXPECT_EQ(restored.crc, source->crc);
}

// A whole upload fed block by block into a whole download, and a split upload
// of two pieces into a split download.
TEST_F(LargeImages, TransferCallbacks) {
    std::string body(kBlock, '\0');
    // Pulls one transfer's body and delivers each block to download; returns
    // the body's size and keeps its last eight bytes.
    const auto transfer = [&](TransferContext &up, TransferContext &down, auto download, Tally &sent) {
        while (std::size_t placed = CrulReadCallBack_CompressData(body.data(), 1, kBlock, &up)) {
            sent.add(body.data(), placed);
            ASSERT_EQ(download(body.data(), 1, placed, &down), placed);
        }
    };

    TransferContext up{source->path.data(), {}, 0}, down{};
    std::string sink = "/dev/null";
    down.filePath = sink.data();
    Tally sent;
    transfer(up, down, download_file_and_Uncompress, sent);
    EXPECT_EQ(up.stream.total_in, kSize);
    EXPECT_EQ(up.stream.total_out, sent.size);
    EXPECT_GT(sent.size, kSize);
    EXPECT_EQ(sent.trailer(0), source->crc);
    EXPECT_EQ(sent.trailer(1), static_cast<uint32_t>(kSize));
    // The download's stream has checked the trailer and ended.
    Bytef spare;
    down.stream.next_out = &spare;
    down.stream.avail_out = 1;
    EXPECT_EQ(inflate(&down.stream, Z_FINISH), Z_STREAM_END);
    EXPECT_EQ(down.stream.total_out, kSize);
    for (TransferContext *ctx : {&up, &down}) {
        (ctx == &up ? deflateEnd : inflateEnd)(&ctx->stream);
        std::free(ctx->buffer);
        if (ctx->file != nullptr) std::fclose(ctx->file);
    }

    Tally restored{true};
    File in = openFile(source->path, "rb"), target = restored.open();
    up = TransferContext{};
    up.file = in.get();
    up.splitMode = 1;
    up.pieceLimit = kPieceLimit;
    down = TransferContext{};
    down.file = target.get();
    const uint64_t pieceInput[] = {kPieceLimit, kSize - kPieceLimit};
    for (uint64_t input : pieceInput) {
        SCOPED_TRACE(input);
        up.bytesRead = 0;
        down.splitMode = 0;
        Tally piece;
        transfer(up, down, download_Split_file_and_Uncompress, piece);
        EXPECT_EQ(up.bytesRead, input);
        EXPECT_EQ(down.stream.total_out, input);
        EXPECT_EQ(piece.trailer(1), static_cast<uint32_t>(input));
        deflateEnd(&up.stream);
        inflateEnd(&down.stream);
        std::free(up.buffer);
        std::free(down.buffer);
    }
    std::fflush(target.get());
    EXPECT_EQ(restored.size, kSize);
    EXPECT_EQ(restored.crc, source->crc);
}
