// The upload read callbacks and the download write callbacks, driven the way
// a transfer library drives them.
#include <gtest/gtest.h>

#include <optional>
#include <vector>

#include "Compression.h"
#include "CompressionTestSupport.h"
#include "LogCapture.h"

namespace {

using Callback = size_t (*)(char *, size_t, size_t, void *);

// Item size 1 and the same count on every call, until a call returns 0.
std::string pullBody(TransferContext &ctx, std::size_t count) {
    std::string body;
    std::vector<char> dest(count);
    for (int calls = 0; calls < 100000; ++calls) {
        const std::size_t placed = CrulReadCallBack_CompressData(dest.data(), 1, count, &ctx);
        EXPECT_LE(placed, count);
        if (placed == 0) return body;
        body.append(dest.data(), placed);
    }
    ADD_FAILURE() << "the body does not end";
    return body;
}

// Delivers data in blocks of at most `block` bytes; the first result that
// refuses a block, or nothing when every block was taken.
std::optional<std::size_t> pushBody(Callback callback, TransferContext &ctx, const std::string &data,
                                    std::size_t block) {
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
    std::free(ctx.buffer);
    ctx.buffer = nullptr;
    if (closeFile && ctx.file != nullptr) std::fclose(ctx.file);
    if (closeFile) ctx.file = nullptr;
}

TEST(CompressionUpload, WholeUploadIsOneGzipMemberOfTheFile) {
    TempDir dir;
    for (const std::size_t size : {0, 32769, 1 << 20}) {
        const std::string input = mixedData(size);
        writeFile(dir / "in", input);
        for (const std::size_t count : {16384, 1000}) {
            TransferContext ctx{};
            std::string path = dir / "in";
            ctx.filePath = path.data();
            ctx.level = 6;
            EXPECT_EQ(gunzipMember(pullBody(ctx, count)), input) << size << " " << count;
            char extra[64];
            EXPECT_EQ(CrulReadCallBack_CompressData(extra, 1, sizeof extra, &ctx), 0u);
            release(ctx, deflateEnd, true);
        }
    }
}

TEST(CompressionUpload, SplitUploadSendsOneMemberPerPiece) {
    TempDir dir;
    const std::string input = mixedData(200000);
    writeFile(dir / "in", input);
    for (const uint64_t limit : {16384, 49152, 20000}) {
        LogCapture log(3);
        TransferContext ctx{};
        ctx.file = std::fopen((dir / "in").c_str(), "rb");
        ctx.splitMode = 1;
        ctx.level = 6;
        ctx.pieceLimit = limit;
        std::string restored;
        for (int piece = 0; piece < 20; ++piece) {
            ctx.bytesRead = 0;
            const std::string body = pullBody(ctx, 16384);
            release(ctx, deflateEnd, false);
            if (body.empty()) break;  // the source was already at its end
            const std::optional<std::string> content = gunzipMember(body);
            ASSERT_TRUE(content.has_value()) << limit << " " << piece;
            EXPECT_EQ(content->size(), std::min<std::size_t>(limit, input.size() - restored.size()));
            restored += *content;
        }
        EXPECT_EQ(restored, input) << limit;
        if (limit == 16384) {  // each piece's first read already reaches the limit
            EXPECT_TRUE(log.contains("[UpgradedCompression      ] :Nothing to be done right now\n"));
            EXPECT_TRUE(log.contains("[UpgradedCompression      ] :Calling zfinish\n"));
        }
        release(ctx, deflateEnd, true);
    }
}

TEST(CompressionUpload, RepeatDeflatesToTheEndAndReturnsTheLastRound) {
    TempDir dir;
    writeFile(dir / "in", mixedData(100000));
    std::string path = dir / "in";
    TransferContext plain{};
    plain.filePath = path.data();
    plain.level = 6;
    const std::string whole = pullBody(plain, 512);
    release(plain, deflateEnd, true);

    TransferContext ctx{};
    ctx.filePath = path.data();
    ctx.level = 6;
    ctx.repeat = 1;
    char dest[512];
    const std::size_t last = CrulReadCallBack_CompressData(dest, 1, sizeof dest, &ctx);
    ASSERT_GT(last, 0u);
    EXPECT_EQ(std::string(dest, last), whole.substr(whole.size() - last));
    EXPECT_EQ(CrulReadCallBack_CompressData(dest, 1, sizeof dest, &ctx), 0u);
    release(ctx, deflateEnd, true);
}

TEST(CompressionUpload, FailuresEndTheBody) {
    TempDir dir;
    char dest[256];
    std::string missing = dir / "missing", directory = dir / "";
    TransferContext ctx{};
    ctx.filePath = missing.data();
    EXPECT_EQ(CrulReadCallBack_CompressData(dest, 1, sizeof dest, &ctx), 0u);
    EXPECT_EQ(ctx.file, nullptr);
    ctx.filePath = directory.data();  // opens, but reading fails
    EXPECT_EQ(CrulReadCallBack_CompressData(dest, 1, sizeof dest, &ctx), 0u);
    release(ctx, deflateEnd, true);
    ctx.filePath = nullptr;
    EXPECT_EQ(CrulReadCallBack_CompressData(dest, 1, sizeof dest, &ctx), 0u);
    EXPECT_EQ(CrulReadCallBack_CompressData(dest, 1, sizeof dest, nullptr), 0u);
    EXPECT_EQ(CrulReadCallBack_CompressData(dest, SIZE_MAX / 2, 3, &ctx), 0u);
    EXPECT_EQ(UpgradedCompression(dest, 1, sizeof dest, &ctx), 0u);  // nothing set up
}

TEST(CompressionDownload, WholeDownloadInBlocksOfAnySize) {
    TempDir dir;
    const std::string input = mixedData(100000);
    writeFile(dir / "in", input);
    {
        File in = openFile(dir / "in", "rb"), out = openFile(dir / "in.gz", "wb");
        CompressionProgress progress{nullptr, nullptr, 0, 0};
        ASSERT_EQ(CompressAndWrite(in.get(), out.get(), 6, &progress), 0);
    }
    const std::string gz = readFile(dir / "in.gz") + "blocks after the member are taken and ignored";
    std::string path = dir / "out";
    for (const std::size_t block : {std::size_t{1}, std::size_t{7}, std::size_t{4096}, gz.size()}) {
        TransferContext ctx{};
        ctx.filePath = path.data();
        EXPECT_EQ(pushBody(download_file_and_Uncompress, ctx, gz, block), std::nullopt) << block;
        release(ctx, inflateEnd, true);
        EXPECT_EQ(readFile(path), input) << block;
    }
}

TEST(CompressionDownload, SplitDownloadRestoresPiecesInOrder) {
    TempDir dir;
    const std::string input = mixedData(200000);
    writeFile(dir / "in", input);
    std::vector<std::string> pieces;
    File in = openFile(dir / "in", "rb");
    while (std::feof(in.get()) == 0) {
        File out = openFile(dir / "piece", "wb");
        ASSERT_EQ(CompressAndSplitWrite(in.get(), out.get(), 6, nullptr, 40000), 0);
        out.reset();
        pieces.push_back(readFile(dir / "piece"));
    }
    LogCapture log(1);
    TransferContext ctx{};
    ctx.file = std::fopen((dir / "target").c_str(), "wb");
    for (const std::string &piece : pieces) {
        ctx.splitMode = 0;
        EXPECT_EQ(pushBody(download_Split_file_and_Uncompress, ctx, piece, 999), std::nullopt);
        release(ctx, inflateEnd, false);
    }
    release(ctx, inflateEnd, true);
    EXPECT_EQ(pieces.size(), 4u);
    EXPECT_EQ(readFile(dir / "target"), input);
    EXPECT_TRUE(log.contains("[download_Split_file_and_Uncompress] :Return value is 0\n"));
}

TEST(CompressionDownload, FailuresReleaseTheTransfer) {
    TempDir dir;
    std::string unwritable = dir / "no/such/dir", path = dir / "out";
    const std::string gz = zlibStream(mixedData(300000), 31);
    TransferContext ctx{};
    ctx.filePath = unwritable.data();
    EXPECT_EQ(pushBody(download_file_and_Uncompress, ctx, gz, 4096), 0u);
    EXPECT_EQ(ctx.file, nullptr);

    // Corrupt data: the library ends the stream, frees the buffer, closes the file.
    for (const std::string &bad : {std::string("not gzip at all"), zlibStream("abc", 15, "dictionary")}) {
        ctx = TransferContext{};
        ctx.filePath = path.data();
        EXPECT_EQ(pushBody(download_file_and_Uncompress, ctx, bad, 4096), 0u);
        EXPECT_TRUE(ctx.file == nullptr && ctx.buffer == nullptr);
        release(ctx, inflateEnd, true);  // still safe
    }
    ctx = TransferContext{};
    ctx.file = std::fopen("/dev/full", "wb");
    EXPECT_EQ(pushBody(download_Split_file_and_Uncompress, ctx, gz, 16384), SIZE_MAX);
    EXPECT_TRUE(ctx.file == nullptr && ctx.buffer == nullptr);

    ctx = TransferContext{};
    ctx.filePath = path.data();
    char byte = 0;
    EXPECT_EQ(download_file_and_Uncompress(&byte, 1, 0, &ctx), 0u);  // taken, nothing set up
    EXPECT_EQ(ctx.file, nullptr);
    EXPECT_EQ(download_file_and_Uncompress(&byte, 1, 1, nullptr), 0u);
    EXPECT_EQ(download_file_and_Uncompress(&byte, SIZE_MAX / 2, 3, &ctx), 0u);
    EXPECT_EQ(UnCompressDataAndWrite(&byte, 1, 1, &ctx), 0u);
}

}  // namespace
