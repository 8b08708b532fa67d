// gzip images: file to file, size estimates, and the transfer callbacks driven as a transfer library does.
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

// An upload body: item size 1 and the same count on every call, until a call returns 0 (or 64 MB).
std::string pullBody(TransferContext &ctx, std::size_t count) {
    std::string body, dest(count, '\0');
    for (std::size_t placed = 1; placed != 0 && body.size() < (64u << 20); body.append(dest, 0, placed))
        placed = CrulReadCallBack_CompressData(dest.data(), 1, count, &ctx);
    return body;
}

// data in blocks of at most `block` bytes: the first result that refuses a block, if any.
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
void release(TransferContext &ctx, int (*end)(z_streamp), bool closeFile = true) {
    end(&ctx.stream);
    std::free(std::exchange(ctx.buffer, nullptr));
    if (closeFile && ctx.file != nullptr) std::fclose(std::exchange(ctx.file, nullptr));
}

class CompressionRoundTrip : public testing::TestWithParam<std::size_t> {};

// Every compressor (file to file, gzip, a whole upload) writes one gzip member that every
// decompressor (file to file, gunzip, a whole download in blocks) restores.
TEST_P(CompressionRoundTrip, EveryCompressorMeetsEveryDecompressor) {
    TempDir dir;
    LogCapture quiet(1);
    std::string input = mixedData(GetParam()), source = dir / "in", image = dir / "gz", target = dir / "out";
    writeFile(source, input);
    CompressionProgress progress = newProgress(input.size());
    ASSERT_EQ(CalculateCompressedSize(source.c_str(), &progress), 0);
    const int64_t estimate = progress.compressedSize;
    File in = openFile(source, "rb"), out = openFile(image, "wb");
    ASSERT_EQ(CompressAndWrite(in.get(), out.get(), 6, &progress), 0);
    out.reset();
    // The estimate is exact (20 bytes for no input) and serves as the total of the upload progress.
    std::vector<std::string> images = {readFile(image)};
    EXPECT_TRUE(estimate == static_cast<int64_t>(images[0].size()) && (!input.empty() || estimate == 20));
    EXPECT_TRUE(progress.compressedSize == estimate && seen.scratchZero && seen.dlTotal == 0 &&
                seen.dlNow == 0 && seen.ulTotal == estimate && seen.ulNow == estimate);
    ASSERT_EQ(std::system(("gzip -c " + source + " > " + image).c_str()), 0);
    images.push_back(readFile(image));
    TransferContext up{source.data(), {}, 6};  // pulled 1000 bytes a call
    images.push_back(pullBody(up, 1000));
    release(up, deflateEnd);
    // With repeat set one call deflates to the end and returns only its last round, the next call 0.
    TransferContext again{source.data(), {}, 6, nullptr, 0, 1};
    const std::string last = pullBody(again, 1000), &whole = images.back();
    release(again, deflateEnd);
    EXPECT_TRUE(!last.empty() && last.size() <= 1000 && whole.substr(whole.size() - last.size()) == last);
    const std::size_t blocks[] = {1 << 30, 4096, input.size() < (1 << 20) ? 1u : 7u};  // not 3 MB bytewise
    for (std::size_t i = 0; i < images.size(); ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(gunzipMember(images[i]), input);
        writeFile(image, images[i]);
        progress = newProgress(input.size());
        ASSERT_EQ(restore(image, target, &progress), 0);
        EXPECT_TRUE(readFile(target) == input && seen.dlNow == input.size() && seen.dlTotal == input.size() &&
                    seen.ulTotal == 0 && seen.ulNow == 0);
        TransferContext down{target.data()};  // junk after the member is taken and ignored
        EXPECT_EQ(pushBody(download_file_and_Uncompress, down, images[i] + "junk", blocks[i]), std::nullopt);
        release(down, inflateEnd);
        EXPECT_EQ(readFile(target), input);
    }
}

INSTANTIATE_TEST_SUITE_P(Sizes, CompressionRoundTrip, testing::Values(0, 1, 32767, 32768, 32769, 3 << 20));

// A split image from one open source, each piece one gzip member that a split download appends:
// file pieces (estimated first, then written from the same position) or upload pieces.
TEST(CompressionSplit, PiecesFromOneSourceJoinAgain) {
    TempDir dir;
    const std::string input = mixedData(200000), source = dir / "in", piece = dir / "piece";
    writeFile(source, input);
    // The piece limit, the input bytes of every piece but the last, and whether uploaded. An upload
    // pulling 16384 bytes a call reaches a limit of 16384 with its first read.
    const std::tuple<int64_t, std::size_t, bool> limits[] = {{40000, 65536, false}, {1, 32768, false},
        {32768, 32768, false}, {1 << 20, 200000, false}, {16384, 16384, true}, {20000, 20000, true}};
    for (const auto &[limit, pieceInput, upload] : limits) {
        LogCapture log(upload ? 3 : 1);
        File in = openFile(source, "rb");
        TransferContext up{nullptr, {}, 6, nullptr, 0, 0, nullptr, in.get(), 1, 0, uint64_t(limit)}, down{};
        down.file = openFile(dir / "out", "wb").release();
        for (std::size_t offset = 0; offset < input.size();) {
            SCOPED_TRACE("limit " + std::to_string(limit) + " offset " + std::to_string(offset));
            const std::size_t covered = std::min(pieceInput, input.size() - offset);
            const bool last = offset + covered == input.size();
            std::string gz;
            if (upload) {
                up.bytesRead = 0;
                gz = pullBody(up, 16384);
                release(up, deflateEnd, false);
            } else {
                // The estimate stops at the limit without the final flush (leaving out deflate's
                // pending output and the trailer), so it is exact for the last piece only.
                log.clear();
                CompressionProgress progress = newProgress(input.size());
                const int64_t estimate = CalculateCompressedSplitiSize(in.get(), limit, 6, &progress);
                const std::string report = "CalculateCompressedSplitiSize: ";
                EXPECT_TRUE(log.has(report + "Read File Size " + std::to_string(limit)));
                EXPECT_EQ(log.has(report + "Total Byte Written " + std::to_string(estimate)), last);
                EXPECT_TRUE(progress.compressedSize == estimate && seen.ulTotal == limit &&
                            seen.ulNow == estimate);
                ASSERT_EQ(std::fseek(in.get(), static_cast<long>(offset), SEEK_SET), 0);
                progress = newProgress(input.size());
                File out = openFile(piece, "wb");
                ASSERT_EQ(CompressAndSplitWrite(in.get(), out.get(), 6, &progress, limit), 0);
                out.reset();
                gz = readFile(piece);
                EXPECT_EQ(progress.compressedSize, static_cast<int64_t>(gz.size()));
                EXPECT_TRUE(seen.ulTotal == limit && seen.ulNow == covered);
                EXPECT_TRUE(last ? estimate == progress.compressedSize
                                 : estimate > 0 && estimate + 8 < progress.compressedSize);
            }
            EXPECT_EQ(gunzipMember(gz), input.substr(offset, covered));
            offset += covered;
            EXPECT_EQ(std::ftell(in.get()), static_cast<long>(offset));
            down.splitMode = 0;
            EXPECT_EQ(pushBody(download_Split_file_and_Uncompress, down, gz, 999), std::nullopt);
            release(down, inflateEnd, false);
        }
        release(down, inflateEnd);
        EXPECT_EQ(readFile(dir / "out"), input);
        for (const char *report : {"download_Split_file_and_Uncompress: Return value is 0",
                                   "UpgradedCompression: Nothing to be done right now",
                                   "UpgradedCompression: Calling zfinish"})
            EXPECT_EQ(log.has(report), upload || report[0] == 'd') << report;
    }
}

// Every failure of the file to file calls and of the callbacks, with its result.
TEST(Compression, Failures) {
    TempDir dir;
    char dest[256];
    std::string missing = dir / "missing", small = dir / "small";
    writeFile(small, "small input, small input");
    LogCapture log(3);
    CompressionProgress progress{nullptr, nullptr, 5, 77};
    EXPECT_EQ(CalculateCompressedSize(missing.c_str(), &progress), -1);
    EXPECT_EQ(CalculateCompressedSize(small.c_str(), nullptr), -1);
    // A device that opens but cannot be read: still 0, and the record keeps its size.
    EXPECT_EQ(CalculateCompressedSize((dir / "").c_str(), &progress), 0);
    EXPECT_EQ(progress.compressedSize, 77);
    const std::string lines[] = {"Device Location " + missing + " ", "Error in Opening Device File " + missing,
                                 "Disk Size is 5", "Compressed Size is 77"};
    for (const std::string &line : lines) EXPECT_TRUE(log.has("CalculateCompressedSize: " + line)) << line;
    File in = openFile(small, "rb"), written = openFile(dir / "out.gz", "wb");
    EXPECT_EQ(CompressAndWrite(in.get(), written.get(), 42, nullptr), Z_STREAM_ERROR);
    EXPECT_EQ(std::ftell(in.get()), 0);
    // A missing record is refused after the first chunk, which here is the whole member.
    EXPECT_EQ(CompressAndWrite(in.get(), written.get(), 6, nullptr), -1);
    std::fflush(written.get());
    EXPECT_EQ(gunzipMember(readFile(dir / "out.gz")), "small input, small input");
    // Write errors, then read errors (a directory opens, but every read fails).
    File random = openFile("/dev/urandom", "rb"), sink = openFile("/dev/full", "wb");
    EXPECT_EQ(CompressAndWrite(random.get(), sink.get(), 6, &progress), -1);
    EXPECT_EQ(CompressAndSplitWrite(random.get(), sink.get(), 6, nullptr, 1 << 20), -1);
    File directory = openFile(dir / "", "rb");
    EXPECT_EQ(CompressAndWrite(directory.get(), written.get(), 6, &progress), -1);
    EXPECT_EQ(CalculateCompressedSplitiSize(directory.get(), 1, 6, nullptr), -1);
    EXPECT_EQ(UnCompressAndWrite(directory.get(), written.get(), nullptr), -1);
    for (std::string path : {missing, dir / ""}) {  // an upload source that cannot be opened or read
        TransferContext up{path.data()};
        EXPECT_EQ(CrulReadCallBack_CompressData(dest, 1, sizeof dest, &up), 0u);
        release(up, deflateEnd);
    }

    const std::string input = mixedData(200000), gz = zlibStream(input, 31), out = dir / "out";
    const std::string unmade = dir / "no/such/dir", full = "/dev/full";
    // An image, its target, the status restoring it, the least bytes that restores (a prefix of the
    // input), and the first block a whole download refuses, after ending the stream, freeing the
    // buffer and closing the file.
    const std::tuple<std::string, std::string, int, std::size_t, std::optional<std::size_t>> images[] = {
        {"", out, Z_DATA_ERROR, 0, {}},
        {"this is not gzip data", out, Z_DATA_ERROR, 0, 0},
        {zlibStream(input, 15), out, Z_DATA_ERROR, 0, 0},
        {zlibStream(input, -15), out, Z_DATA_ERROR, 0, 0},
        {gz.substr(0, gz.size() - 6) + "\x55\x55\x55\x55\x55\x55", out, Z_DATA_ERROR, 0, 0},  // bad trailer
        {gz.substr(0, gz.size() / 2), out, 0, 1, {}},  // a cut-off image keeps what could be inflated
        {gz + "data after the member", out, 0, input.size(), {}},
        {gz, unmade, -1, 0, 0},
        {gz, full, -1, 0, SIZE_MAX},
    };
    for (const auto &[image, target, status, least, refused] : images) {
        SCOPED_TRACE(target + " " + std::to_string(image.size()));
        writeFile(dir / "image", image);
        EXPECT_EQ(restore(dir / "image", target), status);
        const std::string restored = target == out ? readFile(out) : "";
        EXPECT_TRUE(restored == input.substr(0, restored.size()) && restored.size() >= least);
        TransferContext down{const_cast<char *>(target.c_str())};
        EXPECT_EQ(pushBody(download_file_and_Uncompress, down, image, 4096), refused);
        EXPECT_TRUE(!refused || (down.file == nullptr && down.buffer == nullptr));
        release(down, inflateEnd);
    }
    TransferContext none{missing.data()};  // a first block of nothing is taken, and nothing set up
    EXPECT_TRUE(download_file_and_Uncompress(dest, 1, 0, &none) == 0 && none.file == nullptr);
    // No context, and nothing set up (no path, no file, no split upload source).
    for (const auto callback : {CrulReadCallBack_CompressData, UpgradedCompression, UnCompressDataAndWrite,
                                download_file_and_Uncompress, download_Split_file_and_Uncompress}) {
        none = TransferContext{};
        EXPECT_EQ(callback(dest, 1, sizeof dest, nullptr), 0u);
        EXPECT_EQ(callback(dest, 1, sizeof dest, &none), 0u);
        none.splitMode = 1;
        EXPECT_EQ(callback(dest, 1, sizeof dest, &none), 0u);
        release(none, inflateEnd);
    }
}

}  // namespace
