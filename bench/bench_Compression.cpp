// Image compression on a 64 MB file of mixed text-like and random data: the
// library's file-to-file compressor and decompressor and the upload callback,
// each next to a plain zlib loop with the same parameters (level 6, gzip
// window bits 31, memory level 8, default strategy, 32768-byte chunks).
// Rates are per CPU second. On a shared machine compare pairs from one run
// with --benchmark_enable_random_interleaving=true --benchmark_repetitions=5.
#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "../tests/CompressionTestSupport.h"
#include "Compression.h"

namespace {

constexpr std::size_t kImageSize = std::size_t{64} << 20;
constexpr std::size_t kChunk = 32768;
constexpr std::size_t kUploadRequest = 16384;

// The source file and its gzip image, made once per run.
struct Image {
    TempDir dir;
    std::string source = dir / "source";
    std::string gz = dir / "source.gz";

    Image() {
        writeFile(source, mixedData(kImageSize));
        File in = openFile(source, "rb"), out = openFile(gz, "wb");
        CompressionProgress progress{nullptr, nullptr, kImageSize, 0};
        CompressAndWrite(in.get(), out.get(), 6, &progress);
    }
};

const Image &image() {
    static const Image made;
    return made;
}

int ignoreProgress(void *, double, double, double, double) { return 0; }

void plainDeflate(FILE *in, FILE *out) {
    z_stream stream{};
    deflateInit2(&stream, 6, Z_DEFLATED, 31, 8, Z_DEFAULT_STRATEGY);
    unsigned char input[kChunk];
    unsigned char output[kChunk];
    int flush = Z_NO_FLUSH;
    do {
        stream.avail_in = static_cast<uInt>(std::fread(input, 1, kChunk, in));
        stream.next_in = input;
        flush = std::feof(in) ? Z_FINISH : Z_NO_FLUSH;
        do {
            stream.next_out = output;
            stream.avail_out = kChunk;
            deflate(&stream, flush);
            std::fwrite(output, 1, kChunk - stream.avail_out, out);
        } while (stream.avail_out == 0);
    } while (flush != Z_FINISH);
    deflateEnd(&stream);
}

void plainInflate(FILE *in, FILE *out) {
    z_stream stream{};
    inflateInit2(&stream, 31);
    unsigned char input[kChunk];
    unsigned char output[kChunk];
    int status = Z_OK;
    do {
        stream.avail_in = static_cast<uInt>(std::fread(input, 1, kChunk, in));
        if (stream.avail_in == 0) break;
        stream.next_in = input;
        do {
            stream.next_out = output;
            stream.avail_out = kChunk;
            status = inflate(&stream, Z_NO_FLUSH);
            std::fwrite(output, 1, kChunk - stream.avail_out, out);
        } while (stream.avail_out == 0);
    } while (status != Z_STREAM_END);
    inflateEnd(&stream);
}

// Runs one pass per iteration from `source` into /dev/null and reports the
// uncompressed bytes per second.
template <typename Pass>
void fileToFile(benchmark::State &state, const std::string &source, Pass pass) {
    for (auto _ : state) {
        File in = openFile(source, "rb"), out = openFile("/dev/null", "wb");
        pass(in.get(), out.get());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kImageSize));
}

void BM_CompressAndWrite(benchmark::State &state) {
    fileToFile(state, image().source, [](FILE *in, FILE *out) {
        CompressionProgress progress{nullptr, ignoreProgress, kImageSize, 0};
        if (CompressAndWrite(in, out, 6, &progress) != 0) std::abort();
    });
}

void BM_PlainDeflate(benchmark::State &state) { fileToFile(state, image().source, plainDeflate); }

void BM_UnCompressAndWrite(benchmark::State &state) {
    fileToFile(state, image().gz, [](FILE *in, FILE *out) {
        CompressionProgress progress{nullptr, ignoreProgress, kImageSize, 0};
        if (UnCompressAndWrite(in, out, &progress) != 0) std::abort();
    });
}

void BM_PlainInflate(benchmark::State &state) { fileToFile(state, image().gz, plainInflate); }

// A whole upload pulled as a transfer library pulls it: 16 KB requests of
// item size 1 until the callback returns 0.
void BM_UploadCallback(benchmark::State &state) {
    std::string path = image().source;
    std::vector<char> request(kUploadRequest);
    for (auto _ : state) {
        TransferContext ctx{};
        ctx.filePath = path.data();
        ctx.level = 6;
        while (CrulReadCallBack_CompressData(request.data(), 1, request.size(), &ctx) != 0) {
        }
        deflateEnd(&ctx.stream);
        std::free(ctx.buffer);
        std::fclose(ctx.file);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kImageSize));
}

BENCHMARK(BM_PlainDeflate)->Unit(benchmark::kMillisecond)->Iterations(2);
BENCHMARK(BM_CompressAndWrite)->Unit(benchmark::kMillisecond)->Iterations(2);
BENCHMARK(BM_UploadCallback)->Unit(benchmark::kMillisecond)->Iterations(2);
BENCHMARK(BM_PlainInflate)->Unit(benchmark::kMillisecond)->Iterations(5);
BENCHMARK(BM_UnCompressAndWrite)->Unit(benchmark::kMillisecond)->Iterations(5);

}  // namespace
