// Decoding a 32 MiB base64 chain, next to the system's `base64 -d` decoding
// the same text from a file in the same run (counter base64_d_MiBps: the best
// of three runs, process start included); and one line of 12 and of 96 MiB.
#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

#include <unistd.h>

#include "LargeBlocks.h"
#include "../tests/TransportData.h"
#include "Base64.h"
#include "internal/Chain.h"

namespace {

// MiB of text per second for `base64 -d` on the text, best of three; 0 when
// it cannot run.
double systemDecoderSpeed(const std::string &text) {
    char path[] = "/tmp/zovb64XXXXXX";
    int fd = mkstemp(path);
    if (fd < 0) return 0;
    close(fd);
    std::ofstream(path, std::ios::binary).write(text.data(), static_cast<std::streamsize>(text.size()));
    const std::string command = std::string("base64 -d < ") + path + " > /dev/null";
    double best = 0;
    for (int run = 0; run < 3; ++run) {
        auto start = std::chrono::steady_clock::now();
        if (std::system(command.c_str()) != 0) break;
        std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
        double speed = static_cast<double>(text.size()) / (1 << 20) / took.count();
        if (speed > best) best = speed;
    }
    std::remove(path);
    return best;
}

void BM_Base64DecodeCharBuffer(benchmark::State &state) {
    const std::string text = base64Text(randomBytes(static_cast<std::size_t>(state.range(0)) / 4 * 3));
    CharBuffer *src = createCharBuffer();
    zov::ChainAppender(src).append(text);
    for (auto _ : state) {
        CharBuffer *dest = createCharBuffer();
        benchmark::DoNotOptimize(base64DecodeCharBuffer(dest, src));
        state.PauseTiming();
        freeAllCharBuffers(dest);
        state.ResumeTiming();
    }
    freeAllCharBuffers(src);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
    state.counters["base64_d_MiBps"] = systemDecoderSpeed(text);
}
BENCHMARK(BM_Base64DecodeCharBuffer)->Arg(32 << 20)->Unit(benchmark::kMillisecond)->UseRealTime();

// One line of base64 text of the given length in MB, at two sizes 8x apart.
void BM_Base64OneLine(benchmark::State &state) {
    keepLargeBlocksOnTheHeap();
    const std::size_t length = static_cast<std::size_t>(state.range(0)) << 20;
    std::string text;
    text.reserve(length);
    while (text.size() < length) text += "YWJj";
    CharBuffer *src = createCharBuffer();
    zov::ChainAppender(src).append(text);
    for (auto _ : state) {
        CharBuffer *dest = createCharBuffer();
        benchmark::DoNotOptimize(base64DecodeCharBuffer(dest, src));
        freeAllCharBuffers(dest);
    }
    freeAllCharBuffers(src);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * length));
}
BENCHMARK(BM_Base64OneLine)->Arg(12)->Arg(96)->Unit(benchmark::kMillisecond);

}  // namespace
