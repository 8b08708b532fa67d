// Exhausted memory in the image compressors and decompressors: zlib's stream
// set-up and the transfer buffers fail in turn. Each run ends with zlib's
// memory status, an empty transfer or a refused first block, or succeeds,
// and leaves no block behind once the caller has released the context.
#include <gtest/gtest.h>

#include <utility>

#include "Allocations.h"
#include "Compression.h"
#include "CompressionTestSupport.h"

using namespace torture;

namespace {

const std::string kData = mixedData(100000);

std::string contents(FILE *file) {
    std::string text;
    std::rewind(file);
    for (int c; (c = std::fgetc(file)) != EOF;) text += static_cast<char>(c);
    return text;
}

// Whether gz is one gzip member of expected, or else its size.
std::string restores(const std::string &gz, const std::string &expected) {
    return gunzipMember(gz) == expected ? "restored" : std::to_string(gz.size()) + " bytes";
}

File memoryFile(std::string &bytes) { return File(fmemopen(bytes.data(), bytes.size(), "rb")); }

// The caller's release after a transfer, as Compression.h prescribes.
void release(TransferContext &ctx, int (*end)(z_streamp)) {
    end(&ctx.stream);
    std::free(std::exchange(ctx.buffer, nullptr));
    if (ctx.file != nullptr) std::fclose(std::exchange(ctx.file, nullptr));
}

// An upload pulled through the read callback, 16384 bytes a call.
std::string upload(TransferContext &ctx) {
    std::string body, dest(16384, '\0');
    for (std::size_t placed; body.size() < 2 * kData.size(); body.append(dest, 0, placed)) {
        placed = armed([&] { return CrulReadCallBack_CompressData(dest.data(), 1, dest.size(), &ctx); });
        if (placed == 0) break;
    }
    release(ctx, deflateEnd);
    return "body " + restores(body, kData.substr(0, ctx.splitMode ? 65536 : kData.size()));
}

// A download pushed through a write callback in blocks of 4096 bytes; the
// first block refused, if any, and what reached the target.
std::string download(size_t (*callback)(char *, size_t, size_t, void *), TransferContext &ctx, std::string gz,
                     const std::function<std::string()> &target) {
    std::string out = "taken";
    for (std::size_t at = 0; at < gz.size(); at += 4096) {
        const std::size_t length = std::min<std::size_t>(4096, gz.size() - at);
        const std::size_t taken = armed([&] { return callback(gz.data() + at, 1, length, &ctx); });
        if (taken != length) {
            out = "refused " + std::to_string(taken) + " at " + std::to_string(at);
            break;
        }
    }
    std::string written = target();
    release(ctx, inflateEnd);
    return out + "\n" + (written == kData ? "restored" : std::to_string(written.size()) + " bytes");
}

}  // namespace

TEST(Torture, Compression) {
    TempDir dir;
    const std::string source = dir / "source", target = dir / "target";
    writeFile(source, kData);
    const std::string image = zlibStream(kData, 31);
    // Every allocation is a zlib stream's state or window, or a transfer
    // buffer, all made before the first output: a failure leaves none.
    const Accept outOfMemory = oneOf({{"rc -4\n0 bytes", ""}});
    failEachAllocation("compression", {
        {"CompressAndWrite", [] {
             std::string data = kData;
             File in = memoryFile(data), out(std::tmpfile());
             CompressionProgress progress{nullptr, nullptr, kData.size(), 0};
             const int rc = armed([&] { return CompressAndWrite(in.get(), out.get(), 6, &progress); });
             const std::string gz = contents(out.get());
             return "rc " + std::to_string(rc) + "\n" + (gz.empty() ? "0 bytes" : restores(gz, kData));
         }, outOfMemory},
        {"CompressAndSplitWrite", [] {
             std::string data = kData;
             File in = memoryFile(data), out(std::tmpfile());
             const int rc = armed([&] { return CompressAndSplitWrite(in.get(), out.get(), 6, nullptr, 40000); });
             const std::string gz = contents(out.get());
             return "rc " + std::to_string(rc) + "\n" + (gz.empty() ? "0 bytes" : restores(gz, kData.substr(0, 65536)));
         }, outOfMemory},
        {"CalculateCompressedSize", [source] {
             CompressionProgress progress{nullptr, nullptr, kData.size(), -1};
             const int rc = armed([&] { return CalculateCompressedSize(source.c_str(), &progress); });
             return "rc " + std::to_string(rc) + " size " + std::to_string(progress.compressedSize);
         }, oneOf({{"rc 0 size -1", ""}})},
        {"CalculateCompressedSplitiSize", [] {
             std::string data = kData;
             File in = memoryFile(data);
             return std::to_string(armed([&] { return CalculateCompressedSplitiSize(in.get(), 40000, 6, nullptr); }));
         }, oneOf({{"-4", ""}})},
        {"UnCompressAndWrite", [image] {
             std::string data = image;
             File in = memoryFile(data), out(std::tmpfile());
             const int rc = armed([&] { return UnCompressAndWrite(in.get(), out.get(), nullptr); });
             const std::string written = contents(out.get());
             return "rc " + std::to_string(rc) + "\n" +
                    (written == kData ? "restored" : std::to_string(written.size()) + " bytes");
         }, outOfMemory},
        {"upload", [source] {
             TransferContext ctx{};
             ctx.filePath = const_cast<char *>(source.c_str());
             ctx.level = 6;
             return upload(ctx);
         }, oneOf({{"body 0 bytes", ""}})},
        {"split upload", [source] {
             TransferContext ctx{};
             ctx.file = std::fopen(source.c_str(), "rb");
             ctx.level = 6;
             ctx.splitMode = 1;
             ctx.pieceLimit = 65536;
             return upload(ctx);
         }, oneOf({{"body 0 bytes", ""}})},
        {"download", [image, target] {
             std::remove(target.c_str());
             TransferContext ctx{};
             ctx.filePath = const_cast<char *>(target.c_str());
             return download(download_file_and_Uncompress, ctx, image, [&] {
                 if (ctx.file != nullptr) std::fflush(ctx.file);
                 return readFile(target);
             });
         }, oneOf({{"refused 0 at 0\n0 bytes", ""}})},
        {"split download", [image] {
             TransferContext ctx{};
             ctx.file = std::tmpfile();  // the caller's target; the library closes it after a stream failure
             return download(download_Split_file_and_Uncompress, ctx, image,
                             [&] { return ctx.file != nullptr ? contents(ctx.file) : std::string(); });
         }, oneOf({{"refused 0 at 0\n0 bytes", "download_Split_file_and_Uncompress: Return value is 0\n"}})},
    });
}
