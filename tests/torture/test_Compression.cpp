// Exhausted memory in the image compressors: every allocation is a zlib stream's state or window or
// a transfer buffer, made before the first output, so a run succeeds or ends with zlib's memory
// status, an empty transfer or a refused first block.
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

}  // namespace

TEST(Torture, Compression) {
    TempDir dir;
    const std::string source = dir / "source", target = dir / "target";
    writeFile(source, kData);
    std::vector<Operation> operations = {
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
    };
    // Uploads of the path, or in split mode of a file, and downloads into the path, or into a file,
    // the caller's, which the library closes after a stream failure.
    for (const bool split : {false, true}) {
        const std::string mode = split ? "split " : "";
        operations.push_back({mode + "upload", [=] {
            TransferContext ctx{};
            if (split) ctx.file = std::fopen(source.c_str(), "rb"), ctx.splitMode = 1;
            else ctx.filePath = const_cast<char *>(source.c_str());
            ctx.level = 6;
            ctx.pieceLimit = 65536;
            std::string body, dest(16384, '\0');
            for (std::size_t placed = 1; placed > 0 && body.size() < 2 * kData.size(); body.append(dest, 0, placed))
                placed = armed([&] { return CrulReadCallBack_CompressData(dest.data(), 1, dest.size(), &ctx); });
            release(ctx, deflateEnd);
            return "body " + restores(body, kData.substr(0, split ? 65536 : kData.size()));
        }, {oneOf({{"body 0 bytes", ""}})}});
        operations.push_back({mode + "download", [=] {
            TransferContext ctx{};
            std::remove(target.c_str());
            if (split) ctx.file = std::fopen(target.c_str(), "wb");
            else ctx.filePath = const_cast<char *>(target.c_str());
            const auto callback = split ? download_Split_file_and_Uncompress : download_file_and_Uncompress;
            std::string gz = zlibStream(kData, 31), out;
            for (std::size_t at = 0, length, taken; at < gz.size() && out.empty(); at += 4096) {
                length = std::min<std::size_t>(4096, gz.size() - at);
                taken = armed([&] { return callback(gz.data() + at, 1, length, &ctx); });
                if (taken != length) out = "refused " + std::to_string(taken) + " at " + std::to_string(at) + "\n";
            }
            if (ctx.file != nullptr) std::fflush(ctx.file);
            const std::string written = readFile(target);
            release(ctx, inflateEnd);
            return out + restores(written, kData, false);
        }, {oneOf({{"refused 0 at 0\n0 bytes", split ? "download_Split_file_and_Uncompress: Return value is 0\n"
                                                      : ""}})}});
    }
    failEachAllocation(operations);
}
