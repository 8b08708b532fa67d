// Exhausted memory in the image compressors and decompressors: every allocation is a zlib stream's
// state or window or a transfer buffer, made before the first output, so a run either succeeds or
// ends with zlib's memory status, an empty transfer or a refused first block.
#include <gtest/gtest.h>

#include "Allocations.h"
#include "Compression.h"
#include "CompressionTestSupport.h"

using namespace torture;

namespace {

const std::string kData = mixedData(100000);

// Whether written (gzip: as one gzip member) is expected, or else its size.
std::string restores(const std::string &written, const std::string &expected, bool gzip = true) {
    const bool same = gzip ? gunzipMember(written) == expected : written == expected;
    return same ? "restored" : std::to_string(written.size()) + " bytes";
}

// call from a memory file holding input to a temporary file: its result and what the output restores.
Operation fileToFile(const char *name, int (*call)(FILE *, FILE *), std::string input, const std::string &expected,
                     bool gzip = true) {
    return {name, [=]() mutable {
                File in(fmemopen(input.data(), input.size(), "rb")), out(std::tmpfile());
                const int rc = armed([&] { return call(in.get(), out.get()); });
                std::string written(std::ftell(out.get()), '\0');
                std::rewind(out.get());
                written.resize(std::fread(written.data(), 1, written.size(), out.get()));
                return "rc " + std::to_string(rc) + "\n" + restores(written, expected, gzip);
            }, {oneOf({{"rc -4\n0 bytes", ""}})}};
}

// The caller's release after a transfer, as Compression.h prescribes.
void release(TransferContext &ctx, int (*end)(z_streamp)) {
    end(&ctx.stream);
    std::free(ctx.buffer);
    if (ctx.file != nullptr) std::fclose(ctx.file);
}

// An upload of path, or in split mode of file, through the read callback, 16384 bytes a call.
std::string upload(const char *path, FILE *file = nullptr) {
    TransferContext ctx{};
    ctx.filePath = const_cast<char *>(path);
    ctx.file = file;
    ctx.level = 6;
    ctx.splitMode = file != nullptr;
    ctx.pieceLimit = 65536;
    std::string body, dest(16384, '\0');
    for (std::size_t placed = 1; placed > 0 && body.size() < 2 * kData.size(); body.append(dest, 0, placed))
        placed = armed([&] { return CrulReadCallBack_CompressData(dest.data(), 1, dest.size(), &ctx); });
    release(ctx, deflateEnd);
    return "body " + restores(body, kData.substr(0, file ? 65536 : kData.size()));
}

// A download into target (split: into file, the caller's, which the library closes after a stream
// failure) through the write callback in blocks of 4096 bytes: the first block refused, if any.
std::string download(const std::string &target, bool split) {
    TransferContext ctx{};
    if (split) ctx.file = std::fopen(target.c_str(), "wb");
    else std::remove(target.c_str()), ctx.filePath = const_cast<char *>(target.c_str());
    std::string out = "taken", gz = zlibStream(kData, 31);
    for (std::size_t at = 0; at < gz.size() && out == "taken"; at += 4096) {
        const std::size_t length = std::min<std::size_t>(4096, gz.size() - at);
        const std::size_t taken = armed([&] {
            return (split ? download_Split_file_and_Uncompress : download_file_and_Uncompress)(gz.data() + at, 1,
                                                                                                length, &ctx);
        });
        if (taken != length) out = "refused " + std::to_string(taken) + " at " + std::to_string(at);
    }
    if (ctx.file != nullptr) std::fflush(ctx.file);
    const std::string written = readFile(target);
    release(ctx, inflateEnd);
    return out + "\n" + restores(written, kData, false);
}

}  // namespace

TEST(Torture, Compression) {
    TempDir dir;
    const std::string source = dir / "source", target = dir / "target";
    writeFile(source, kData);
    const Accept emptyBody = oneOf({{"body 0 bytes", ""}});
    failEachAllocation("compression", {
        fileToFile("CompressAndWrite", [](FILE *in, FILE *out) {
            CompressionProgress progress{nullptr, nullptr, kData.size(), 0};
            return CompressAndWrite(in, out, 6, &progress);
        }, kData, kData),
        fileToFile("CompressAndSplitWrite", [](FILE *in, FILE *out) {
            return CompressAndSplitWrite(in, out, 6, nullptr, 40000);
        }, kData, kData.substr(0, 65536)),
        fileToFile("UnCompressAndWrite", [](FILE *in, FILE *out) { return UnCompressAndWrite(in, out, nullptr); },
                   zlibStream(kData, 31), kData, false),
        {"CalculateCompressedSize", [source] {
             CompressionProgress progress{nullptr, nullptr, kData.size(), -1};
             const int rc = armed([&] { return CalculateCompressedSize(source.c_str(), &progress); });
             return "rc " + std::to_string(rc) + " size " + std::to_string(progress.compressedSize);
         }, {oneOf({{"rc 0 size -1", ""}})}},
        {"CalculateCompressedSplitiSize", [source] {
             File in = openFile(source, "rb");
             return std::to_string(armed([&] { return CalculateCompressedSplitiSize(in.get(), 40000, 6, nullptr); }));
         }, {oneOf({{"-4", ""}})}},
        {"upload", [source] { return upload(source.c_str()); }, {emptyBody}},
        {"split upload", [source] { return upload(nullptr, std::fopen(source.c_str(), "rb")); }, {emptyBody}},
        {"download", [target] { return download(target, false); }, {oneOf({{"refused 0 at 0\n0 bytes", ""}})}},
        {"split download", [target] { return download(target, true); },
         {oneOf({{"refused 0 at 0\n0 bytes", "download_Split_file_and_Uncompress: Return value is 0\n"}})}},
    });
}
