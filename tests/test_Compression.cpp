// File-to-file compression, size estimates and decompression.
#include <gtest/gtest.h>

#include <vector>

#include "Compression.h"
#include "CompressionTestSupport.h"
#include "LogCapture.h"

namespace {

struct ProgressSeen {
    int calls = 0;
    bool scratchZero = true;
    double dlTotal = -1, dlNow = -1, ulTotal = -1, ulNow = -1;
} seen;

int recordProgress(void *clientp, double dlTotal, double dlNow, double ulTotal, double ulNow) {
    seen.calls++;
    seen.scratchZero = seen.scratchZero && *static_cast<int *>(clientp) == 0;
    seen.dlTotal = dlTotal, seen.dlNow = dlNow, seen.ulTotal = ulTotal, seen.ulNow = ulNow;
    return 1;
}

CompressionProgress newProgress(uint64_t totalSize) {
    seen = {};
    return {nullptr, recordProgress, totalSize, 0};
}

std::string shell(const std::string &command) { return std::system(command.c_str()) == 0 ? "ok" : command; }

class CompressionRoundTrip : public testing::TestWithParam<std::size_t> {};

TEST_P(CompressionRoundTrip, RestoresInputAndInteroperatesWithGzip) {
    TempDir dir;
    const std::string input = mixedData(GetParam());
    writeFile(dir / "in", input);
    CompressionProgress progress = newProgress(input.size());
    ASSERT_EQ(CalculateCompressedSize((dir / "in").c_str(), &progress), 0);
    const int64_t estimate = progress.compressedSize;
    {
        File in = openFile(dir / "in", "rb"), out = openFile(dir / "ours.gz", "wb");
        ASSERT_EQ(CompressAndWrite(in.get(), out.get(), 6, &progress), 0);
    }
    const std::string gz = readFile(dir / "ours.gz");
    EXPECT_EQ(progress.compressedSize, static_cast<int64_t>(gz.size()));
    EXPECT_EQ(estimate, progress.compressedSize);
    EXPECT_EQ(seen.ulTotal, estimate);  // the estimate serves as the total
    EXPECT_EQ(seen.ulNow, gz.size());
    EXPECT_TRUE(seen.scratchZero && seen.dlTotal == 0 && seen.dlNow == 0);
    EXPECT_EQ(gunzipMember(gz), input);
    if (input.empty()) EXPECT_EQ(gz.size(), 20u);

    EXPECT_EQ(shell("gzip -dc " + dir / "ours.gz" + " > " + dir / "gzip.out"), "ok");
    EXPECT_EQ(readFile(dir / "gzip.out"), input);
    EXPECT_EQ(shell("gzip -c " + dir / "in" + " > " + dir / "gzip.gz"), "ok");
    for (const char *image : {"ours.gz", "gzip.gz"}) {
        progress = newProgress(input.size());
        {
            File in = openFile(dir / image, "rb"), out = openFile(dir / "restored", "wb");
            ASSERT_EQ(UnCompressAndWrite(in.get(), out.get(), &progress), 0) << image;
        }
        EXPECT_EQ(readFile(dir / "restored"), input) << image;
        EXPECT_EQ(seen.dlNow, input.size());
        EXPECT_TRUE(seen.dlTotal == input.size() && seen.ulTotal == 0 && seen.ulNow == 0);
    }
}

INSTANTIATE_TEST_SUITE_P(Sizes, CompressionRoundTrip,
                         testing::Values(0, 1, 32767, 32768, 32769, 3 << 20));

struct SplitCase {
    int64_t limit;
    std::size_t pieceInput;  // input bytes of every piece but the last
};

void PrintTo(const SplitCase &split, std::ostream *os) { *os << "limit" << split.limit; }

class CompressionSplit : public testing::TestWithParam<SplitCase> {};

TEST_P(CompressionSplit, PiecesAreWholeReadsUpToTheLimit) {
    TempDir dir;
    const std::string input = mixedData(200000);
    writeFile(dir / "in", input);
    File in = openFile(dir / "in", "rb");
    std::size_t offset = 0;
    for (int piece = 0; std::feof(in.get()) == 0; ++piece) {
        ASSERT_LT(piece, 10);
        const std::string name = dir / ("piece" + std::to_string(piece));
        CompressionProgress progress = newProgress(input.size());
        {
            File out = openFile(name, "wb");
            ASSERT_EQ(CompressAndSplitWrite(in.get(), out.get(), 6, &progress, GetParam().limit), 0);
        }
        const std::string gz = readFile(name);
        const std::size_t covered = std::min(GetParam().pieceInput, input.size() - offset);
        EXPECT_EQ(gunzipMember(gz), input.substr(offset, covered)) << piece;
        EXPECT_EQ(progress.compressedSize, static_cast<int64_t>(gz.size()));
        EXPECT_TRUE(seen.ulTotal == GetParam().limit && seen.ulNow == covered);
        offset += covered;
        EXPECT_EQ(std::ftell(in.get()), static_cast<long>(offset));
    }
    EXPECT_EQ(offset, input.size());
}

INSTANTIATE_TEST_SUITE_P(Limits, CompressionSplit,
                         testing::Values(SplitCase{40000, 65536}, SplitCase{1, 32768},
                                         SplitCase{1 << 20, 200000}));

TEST(CompressionEstimate, PieceEstimateStopsAtTheLimitOrFinishesAtTheEnd) {
    TempDir dir;
    writeFile(dir / "in", mixedData(200000));
    LogCapture log(1);
    File in = openFile(dir / "in", "rb");
    const int64_t partial = CalculateCompressedSplitiSize(in.get(), 65536, 6, nullptr);
    EXPECT_EQ(std::ftell(in.get()), 65536);
    EXPECT_TRUE(log.contains("[CalculateCompressedSplitiSize] :Read File Size 65536\n"));
    EXPECT_FALSE(log.contains("Total Byte Written"));

    std::rewind(in.get());
    File out = openFile(dir / "piece", "wb");
    ASSERT_EQ(CompressAndSplitWrite(in.get(), out.get(), 6, nullptr, 65536), 0);
    out.reset();
    // Without the final flush the estimate leaves out deflate's pending output and the trailer.
    EXPECT_GT(partial, 0);
    EXPECT_LT(partial + 8, static_cast<int64_t>(readFile(dir / "piece").size()));

    std::rewind(in.get());
    CompressionProgress progress = newProgress(200000);
    const int64_t whole = CalculateCompressedSplitiSize(in.get(), 1 << 20, 6, &progress);
    std::rewind(in.get());
    out = openFile(dir / "whole", "wb");
    ASSERT_EQ(CompressAndSplitWrite(in.get(), out.get(), 6, nullptr, 1 << 20), 0);
    out.reset();
    EXPECT_EQ(whole, static_cast<int64_t>(readFile(dir / "whole").size()));
    EXPECT_TRUE(progress.compressedSize == whole && seen.ulTotal == (1 << 20) && seen.ulNow == whole);
    EXPECT_TRUE(log.contains(":Total Byte Written " + std::to_string(whole) + "\n"));
}

TEST(CompressionFailures, CompressingRefusesBadPathsStreamsAndRecords) {
    TempDir dir;
    const std::string missing = dir / "missing";
    writeFile(dir / "small", "small input, small input");
    writeFile(dir / "random", mixedData(300000));
    {
        LogCapture log(3);
        CompressionProgress progress = newProgress(5);
        progress.compressedSize = 77;
        EXPECT_EQ(CalculateCompressedSize(missing.c_str(), &progress), -1);
        EXPECT_EQ(progress.compressedSize, 77);
        EXPECT_TRUE(log.contains("[CalculateCompressedSize  ] :Device Location " + missing + " \n"));
        EXPECT_TRUE(log.contains("[CalculateCompressedSize  ] :Error in Opening Device File " + missing + "\n"));
        EXPECT_EQ(CalculateCompressedSize((dir / "small").c_str(), nullptr), -1);
        // A device that opens but cannot be read: still 0, and the record keeps its size.
        EXPECT_EQ(CalculateCompressedSize((dir / "").c_str(), &progress), 0);
        EXPECT_EQ(progress.compressedSize, 77);
        EXPECT_TRUE(log.contains("[CalculateCompressedSize  ] :Disk Size is 5\n"));
        EXPECT_TRUE(log.contains("[CalculateCompressedSize  ] :Compressed Size is 77\n"));
    }
    File small = openFile(dir / "small", "rb");
    File out = openFile(dir / "out.gz", "wb");
    EXPECT_EQ(CompressAndWrite(small.get(), out.get(), 42, nullptr), Z_STREAM_ERROR);
    EXPECT_EQ(std::ftell(small.get()), 0);
    // A missing record is refused after the first chunk, which here is the whole member.
    EXPECT_EQ(CompressAndWrite(small.get(), out.get(), 6, nullptr), -1);
    out.reset();
    EXPECT_EQ(gunzipMember(readFile(dir / "out.gz")), "small input, small input");

    File full = openFile("/dev/full", "wb");
    File random = openFile(dir / "random", "rb");
    CompressionProgress progress = newProgress(0);
    EXPECT_EQ(CompressAndWrite(random.get(), full.get(), 6, &progress), -1);
    std::rewind(random.get());
    EXPECT_EQ(CompressAndSplitWrite(random.get(), full.get(), 6, nullptr, 1 << 20), -1);

    File directory = openFile(dir / "", "rb");  // opens, but every read fails
    out = openFile(dir / "out.gz", "wb");
    EXPECT_EQ(CompressAndWrite(directory.get(), out.get(), 6, &progress), -1);
    EXPECT_EQ(CompressAndSplitWrite(directory.get(), out.get(), 6, nullptr, 1), -1);
    EXPECT_EQ(CalculateCompressedSplitiSize(directory.get(), 1, 6, nullptr), -1);
    EXPECT_EQ(UnCompressAndWrite(directory.get(), out.get(), nullptr), -1);
    EXPECT_EQ(CompressAndWrite(nullptr, out.get(), 6, &progress), -1);
}

TEST(CompressionFailures, DecompressionStatusForBadImages) {
    TempDir dir;
    const std::string input = mixedData(200000);
    const std::string gz = zlibStream(input, 31);
    std::string badCrc = gz;
    badCrc[gz.size() - 6] ^= 0x55;
    struct Case {
        std::string image;
        int status;
    };
    const std::vector<Case> cases = {
        {"", Z_DATA_ERROR},
        {"this is not gzip data", Z_DATA_ERROR},
        {zlibStream(input, 15), Z_DATA_ERROR},
        {zlibStream(input, -15), Z_DATA_ERROR},
        {zlibStream(input, 15, "preset dictionary"), Z_DATA_ERROR},
        {badCrc, Z_DATA_ERROR},
        {gz.substr(0, gz.size() / 2), 0},
        {gz + "data after the member", 0},
        {gz + gz, 0},
    };
    for (std::size_t i = 0; i < cases.size(); ++i) {
        writeFile(dir / "image", cases[i].image);
        {
            File in = openFile(dir / "image", "rb"), out = openFile(dir / "out", "wb");
            EXPECT_EQ(UnCompressAndWrite(in.get(), out.get(), nullptr), cases[i].status) << i;
        }
        const std::string restored = readFile(dir / "out");
        if (cases[i].status == 0) EXPECT_EQ(restored, input.substr(0, restored.size())) << i;
        if (cases[i].status == 0 && i != 6) EXPECT_EQ(restored.size(), input.size()) << i;
        if (i == 6) EXPECT_GT(restored.size(), 0u);
    }
    writeFile(dir / "image", gz);
    File in = openFile(dir / "image", "rb"), full = openFile("/dev/full", "wb");
    EXPECT_EQ(UnCompressAndWrite(in.get(), full.get(), nullptr), -1);
}

}  // namespace
