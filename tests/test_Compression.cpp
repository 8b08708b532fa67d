// gzip images: file to file, size estimates, and the upload and download
// callbacks driven the way a transfer library drives them.
#include <gtest/gtest.h>

#include <optional>
#include <tuple>
#include <utility>
#include <vector>

#include "Compression.h"
#include "CompressionTestSupport.h"
#include "LogCapture.h"

namespace {

// The last progress call, and whether every opaque pointer pointed at a 0.
struct { bool scratchZero = true; double dlTotal = -1, dlNow = -1, ulTotal = -1, ulNow = -1; } seen;

CompressionProgress newProgress(uint64_t totalSize) {
    seen = {};
    return {nullptr, [](void *opaque, double dlTotal, double dlNow, double ulTotal, double ulNow) {
                seen = {seen.scratchZero && *static_cast<int *>(opaque) == 0, dlTotal, dlNow, ulTotal, ulNow};
                return 1;
            }, totalSize, 0};
}

int restore(const std::string &image, const std::string &target, CompressionProgress *progress = nullptr) {
    File in = openFile(image, "rb"), out = openFile(target, "wb");
    return UnCompressAndWrite(in.get(), out.get(), progress);
}

// Item size 1 and the same count on every call, until a call returns 0 (a
// body that does not end stops at 64 MB and fails its checks).
std::string pullBody(TransferContext &ctx, std::size_t count) {
    std::string body, dest(count, '\0');
    for (std::size_t placed = 1; placed != 0 && body.size() < (64u << 20); body.append(dest, 0, placed)) {
        placed = CrulReadCallBack_CompressData(dest.data(), 1, count, &ctx);
        EXPECT_LE(placed, count);
    }
    return body;
}

// Delivers data in blocks of at most `block` bytes; the first result that
// refuses a block, or nothing when every block was taken.
std::optional<std::size_t> pushBody(size_t (*callback)(char *, size_t, size_t, void *), TransferContext &ctx,
                                    const std::string &data, std::size_t block) {
    for (std::size_t offset = 0; offset < data.size(); offset += block) {
        const std::size_t length = std::min(block, data.size() - offset);
        const std::size_t taken = callback(const_cast<char *>(data.data()) + offset, 1, length, &ctx);
        if (taken != length) return taken;
    }
    return std::nullopt;
}

// The caller's release after a transfer (or piece), as the header prescribes.
void release(TransferContext &ctx, int (*end)(z_streamp), bool closeFile) {
    end(&ctx.stream);
    std::free(std::exchange(ctx.buffer, nullptr));
    if (closeFile && ctx.file != nullptr) std::fclose(std::exchange(ctx.file, nullptr));
}

class CompressionRoundTrip : public testing::TestWithParam<std::size_t> {};

// Every compressor (file to file, gzip, whole uploads pulled in two buffer
// sizes) writes one gzip member, and every decompressor (file to file, gzip,
// a whole download in blocks of some size, junk after the member ignored)
// restores it. A split upload sends one member per piece, which a split
// download joins again.
TEST_P(CompressionRoundTrip, EveryCompressorMeetsEveryDecompressor) {
    TempDir dir;
    LogCapture log(3);
    std::string input = mixedData(GetParam()), source = dir / "in", image = dir / "gz", target = dir / "out";
    writeFile(source, input);
    CompressionProgress progress = newProgress(input.size());
    ASSERT_EQ(CalculateCompressedSize(source.c_str(), &progress), 0);
    const int64_t estimate = progress.compressedSize;
    File in = openFile(source, "rb"), out = openFile(image, "wb");
    ASSERT_EQ(CompressAndWrite(in.get(), out.get(), 6, &progress), 0);
    out.reset();
    std::vector<std::string> images = {readFile(image)};
    if (input.empty()) EXPECT_EQ(images[0].size(), 20u);
    // The estimate is exact and serves as the total of the upload progress.
    EXPECT_TRUE(estimate == static_cast<int64_t>(images[0].size()) && progress.compressedSize == estimate);
    EXPECT_TRUE(seen.scratchZero && seen.dlTotal == 0 && seen.dlNow == 0 && seen.ulTotal == estimate &&
                seen.ulNow == estimate);
    const std::string gzip = "gzip -dc " + image + " > " + target + "; gzip -c " + source + " > " + image;
    ASSERT_EQ(std::system(gzip.c_str()), 0);
    EXPECT_EQ(readFile(target), input);
    images.push_back(readFile(image));
    for (const std::size_t count : {16384, 1000}) {
        TransferContext up{source.data(), {}, 6};
        images.push_back(pullBody(up, count));
        release(up, deflateEnd, true);
    }
    // With repeat set one call deflates to the end and returns only its last round, the next call 0.
    TransferContext again{source.data(), {}, 6, nullptr, 0, 1};
    const std::string last = pullBody(again, 1000), &whole = images.back();
    release(again, deflateEnd, true);
    EXPECT_TRUE(!last.empty() && last.size() <= 1000 && whole.substr(whole.size() - last.size()) == last);

    const std::size_t blocks[] = {1 << 30, 4096, 7, input.size() < (1 << 20) ? 1u : 7u};  // not 3 MB bytewise
    for (std::size_t i = 0; i < images.size(); ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(gunzipMember(images[i]), input);
        writeFile(image, images[i]);
        progress = newProgress(input.size());
        ASSERT_EQ(restore(image, target, &progress), 0);
        EXPECT_EQ(readFile(target), input);
        EXPECT_TRUE(seen.dlNow == input.size() && seen.dlTotal == input.size() && seen.ulTotal == 0 &&
                    seen.ulNow == 0);
        TransferContext down{target.data()};
        EXPECT_EQ(pushBody(download_file_and_Uncompress, down, images[i] + "junk", blocks[i]), std::nullopt);
        release(down, inflateEnd, true);
        EXPECT_EQ(readFile(target), input);
    }

    // A split upload in pieces of alternately 16384 input bytes (the first read
    // reaches the limit) and 20000 (the second read is cut short).
    TransferContext up{nullptr, {}, 6}, down{};
    up.file = in.get();
    up.splitMode = 1;
    down.file = std::fopen(target.c_str(), "wb");
    std::rewind(in.get());
    for (std::size_t done = 0; done < input.size(); done += up.pieceLimit) {
        up.bytesRead = 0;
        up.pieceLimit = up.pieceLimit == 16384 ? 20000 : 16384;
        const std::string piece = pullBody(up, 16384);
        release(up, deflateEnd, false);
        EXPECT_EQ(gunzipMember(piece), input.substr(done, up.pieceLimit)) << done;
        down.splitMode = 0;
        EXPECT_EQ(pushBody(download_Split_file_and_Uncompress, down, piece, 999), std::nullopt) << done;
        release(down, inflateEnd, false);
    }
    release(down, inflateEnd, true);
    EXPECT_EQ(readFile(target), input);
    for (const char *report : {"download_Split_file_and_Uncompress: Return value is 0",
                               "UpgradedCompression: Nothing to be done right now",
                               "UpgradedCompression: Calling zfinish"})
        EXPECT_TRUE(log.has(report) || input.size() <= 16384) << report;
}

INSTANTIATE_TEST_SUITE_P(Sizes, CompressionRoundTrip, testing::Values(0, 1, 32767, 32768, 32769, 3 << 20));

// Each piece is first estimated, then written from the same position: the
// estimate stops at the limit without the final flush (so it leaves out
// deflate's pending output and the trailer) and is exact for the last piece.
TEST(CompressionSplit, FilePiecesAreWholeReadsUpToTheLimit) {
    TempDir dir;
    const std::string input = mixedData(200000), piece = dir / "piece";
    writeFile(dir / "in", input);
    // The piece limit, and the input bytes of every piece but the last.
    const std::pair<int64_t, std::size_t> limits[] = {
        {40000, 65536}, {1, 32768}, {32768, 32768}, {1 << 20, 200000}};
    for (const auto &[limit, pieceInput] : limits) {
        File in = openFile(dir / "in", "rb");
        for (std::size_t offset = 0; offset < input.size();) {
            SCOPED_TRACE("limit " + std::to_string(limit) + " offset " + std::to_string(offset));
            const std::size_t covered = std::min(pieceInput, input.size() - offset);
            const bool last = offset + covered == input.size();
            LogCapture log(1);
            CompressionProgress progress = newProgress(input.size());
            const int64_t estimate = CalculateCompressedSplitiSize(in.get(), limit, 6, &progress);
            EXPECT_TRUE(progress.compressedSize == estimate && seen.ulTotal == limit && seen.ulNow == estimate);
            EXPECT_TRUE(log.has("CalculateCompressedSplitiSize: Read File Size " + std::to_string(limit)));
            EXPECT_EQ(log.contains(":Total Byte Written " + std::to_string(estimate) + "\n"), last);
            ASSERT_EQ(std::fseek(in.get(), static_cast<long>(offset), SEEK_SET), 0);
            progress = newProgress(input.size());
            File out = openFile(piece, "wb");
            ASSERT_EQ(CompressAndSplitWrite(in.get(), out.get(), 6, &progress, limit), 0);
            out.reset();
            const std::string gz = readFile(piece);
            EXPECT_EQ(gunzipMember(gz), input.substr(offset, covered));
            EXPECT_TRUE(progress.compressedSize == static_cast<int64_t>(gz.size()) && seen.ulTotal == limit &&
                        seen.ulNow == covered);
            EXPECT_TRUE(last ? estimate == progress.compressedSize
                             : estimate > 0 && estimate + 8 < progress.compressedSize);
            offset += covered;
            EXPECT_EQ(std::ftell(in.get()), static_cast<long>(offset));
        }
    }
}

TEST(CompressionFailures, FileToFileStatusForBadPathsStreamsRecordsAndImages) {
    TempDir dir;
    const std::string missing = dir / "missing", small = dir / "small";
    writeFile(small, "small input, small input");
    LogCapture log(3);
    CompressionProgress progress{nullptr, nullptr, 5, 77};
    EXPECT_EQ(CalculateCompressedSize(missing.c_str(), &progress), -1);
    EXPECT_EQ(CalculateCompressedSize(small.c_str(), nullptr), -1);
    // A device that opens but cannot be read: still 0, and the record keeps its size.
    EXPECT_EQ(CalculateCompressedSize((dir / "").c_str(), &progress), 0);
    EXPECT_EQ(progress.compressedSize, 77);
    for (const std::string &line : {"Device Location " + missing + " ", "Error in Opening Device File " + missing,
                                    std::string("Disk Size is 5"), std::string("Compressed Size is 77")})
        EXPECT_TRUE(log.has("CalculateCompressedSize: " + line)) << line;
    File in = openFile(small, "rb"), out = openFile(dir / "out.gz", "wb");
    EXPECT_EQ(CompressAndWrite(in.get(), out.get(), 42, nullptr), Z_STREAM_ERROR);
    EXPECT_EQ(std::ftell(in.get()), 0);
    // A missing record is refused after the first chunk, which here is the whole member.
    EXPECT_EQ(CompressAndWrite(in.get(), out.get(), 6, nullptr), -1);
    std::fflush(out.get());
    EXPECT_EQ(gunzipMember(readFile(dir / "out.gz")), "small input, small input");

    File random = openFile("/dev/urandom", "rb"), full = openFile("/dev/full", "wb");
    EXPECT_EQ(CompressAndWrite(random.get(), full.get(), 6, &progress), -1);
    EXPECT_EQ(CompressAndSplitWrite(random.get(), full.get(), 6, nullptr, 1 << 20), -1);
    File directory = openFile(dir / "", "rb");  // opens, but every read fails
    EXPECT_EQ(CompressAndWrite(directory.get(), out.get(), 6, &progress), -1);
    EXPECT_EQ(CalculateCompressedSplitiSize(directory.get(), 1, 6, nullptr), -1);
    EXPECT_EQ(UnCompressAndWrite(directory.get(), out.get(), nullptr), -1);
    EXPECT_EQ(CompressAndWrite(nullptr, out.get(), 6, &progress), -1);

    const std::string input = mixedData(200000), gz = zlibStream(input, 31);
    // An image, its status, and how many bytes at least it restores (all of them a prefix of the input).
    const std::tuple<std::string, int, std::size_t> images[] = {
        {"", Z_DATA_ERROR, 0},
        {"this is not gzip data", Z_DATA_ERROR, 0},
        {zlibStream(input, 15), Z_DATA_ERROR, 0},
        {zlibStream(input, -15), Z_DATA_ERROR, 0},
        {gz.substr(0, gz.size() - 6) + "\x55\x55\x55\x55\x55\x55", Z_DATA_ERROR, 0},  // a corrupt trailer
        {gz.substr(0, gz.size() / 2), 0, 1},  // a cut-off image keeps what could be inflated
        {gz + "data after the member", 0, input.size()},
    };
    for (const auto &[image, status, least] : images) {
        writeFile(dir / "image", image);
        EXPECT_EQ(restore(dir / "image", dir / "out"), status) << image.size();
        const std::string restored = readFile(dir / "out");
        EXPECT_TRUE(restored == input.substr(0, restored.size()) && restored.size() >= least) << image.size();
    }
    EXPECT_EQ(restore(dir / "image", "/dev/full"), -1);  // the last image is whole
}

TEST(CompressionFailures, CallbacksEndTheTransfer) {
    TempDir dir;
    char dest[256];
    std::string missing = dir / "missing", directory = dir / "";
    TransferContext ctx{missing.data()};
    EXPECT_EQ(CrulReadCallBack_CompressData(dest, 1, sizeof dest, &ctx), 0u);
    ctx.filePath = directory.data();  // opens, but reading fails
    EXPECT_EQ(CrulReadCallBack_CompressData(dest, 1, sizeof dest, &ctx), 0u);
    release(ctx, deflateEnd, true);
    // No context, a length that overflows, nothing set up (no path, no file).
    for (const auto callback : {CrulReadCallBack_CompressData, UpgradedCompression, UnCompressDataAndWrite,
                                download_file_and_Uncompress, download_Split_file_and_Uncompress}) {
        TransferContext none{};
        EXPECT_EQ(callback(dest, 1, sizeof dest, nullptr), 0u);
        EXPECT_EQ(callback(dest, SIZE_MAX / 2, 3, &none), 0u);
        EXPECT_EQ(callback(dest, 1, sizeof dest, &none), 0u);
        none.pieceLimit = none.splitMode = 1;  // a split upload piece without a source
        EXPECT_EQ(callback(dest, 1, sizeof dest, &none), 0u);
        release(none, inflateEnd, true);
    }
    ctx = TransferContext{missing.data()};
    EXPECT_EQ(download_file_and_Uncompress(dest, 1, 0, &ctx), 0u);  // taken, nothing set up
    EXPECT_EQ(ctx.file, nullptr);

    // A target that cannot be created, corrupt data, a write error: the library
    // ends the stream, frees the buffer and closes the file.
    std::tuple<std::string, std::string, std::size_t> cases[] = {
        {dir / "no/such/dir", "\x1f\x8b", 0},
        {missing, "not gzip at all", 0},
        {missing, zlibStream("zlib, not gzip", 15), 0},
        {"/dev/full", zlibStream(mixedData(300000), 31), SIZE_MAX},
    };
    for (auto &[path, data, result] : cases) {
        ctx = TransferContext{path.data()};
        EXPECT_EQ(pushBody(download_file_and_Uncompress, ctx, data, 4096), result) << path;
        EXPECT_TRUE(ctx.file == nullptr && ctx.buffer == nullptr) << path;
        release(ctx, inflateEnd, true);  // still safe
    }
}

}  // namespace
