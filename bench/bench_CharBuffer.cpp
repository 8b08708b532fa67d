// Appending and reading back chains: the internal appender and reader (linear)
// next to the public addDataToCharBuffer, which walks the chain per append;
// and one very long line through the public line reader.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <string>

#include "LargeBlocks.h"
#include "CharBuffer.h"
#include "internal/Chain.h"

namespace {

constexpr std::size_t kPiece = 16;

// 16-byte pieces that form lines of 80 bytes.
std::string pieceText() {
    std::string text(80 * kPiece, 'x');
    for (std::size_t i = 79; i < text.size(); i += 80) text[i] = '\n';
    return text;
}

void BM_AppenderThenReaderLines(benchmark::State &state) {
    const auto total = static_cast<std::size_t>(state.range(0));
    const std::string text = pieceText();
    for (auto _ : state) {
        CharBuffer *chain = createCharBuffer();
        zov::ChainAppender appender(chain);
        for (std::size_t done = 0; done < total; done += kPiece)
            appender.append(text.data() + done % text.size(), kPiece);
        zov::ChainReader reader(chain);
        std::string line;
        std::size_t lines = 0;
        while (reader.nextLine(line)) ++lines;
        benchmark::DoNotOptimize(lines);
        freeAllCharBuffers(chain);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * total));
}
BENCHMARK(BM_AppenderThenReaderLines)->Arg(8 << 20)->Arg(64 << 20)->Unit(benchmark::kMillisecond);

void BM_PublicAddDataToCharBuffer(benchmark::State &state) {
    const auto total = static_cast<std::size_t>(state.range(0));
    const std::string text = pieceText();
    for (auto _ : state) {
        CharBuffer *chain = createCharBuffer();
        for (std::size_t done = 0; done < total; done += kPiece)
            addDataToCharBuffer(chain, text.data() + done % text.size(), static_cast<int>(kPiece));
        freeAllCharBuffers(chain);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * total));
}
BENCHMARK(BM_PublicAddDataToCharBuffer)->Arg(1 << 20)->Arg(8 << 20)->Unit(benchmark::kMillisecond);

// One line of the given length in MB read with the public getCharBufferLine,
// at two sizes 8x apart.
void BM_OneLongLine(benchmark::State &state) {
    keepLargeBlocksOnTheHeap();
    const std::size_t length = static_cast<std::size_t>(state.range(0)) << 20;
    CharBuffer *chain = createCharBuffer();
    zov::ChainAppender(chain).append(std::string(length, 'x') + "\n");
    for (auto _ : state) {
        int position = 0;
        char *line = getCharBufferLine(chain, &position);
        if (line == nullptr || static_cast<std::size_t>(position) != length + 1) state.SkipWithError("line not read");
        std::free(line);
    }
    freeAllCharBuffers(chain);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * length));
}
BENCHMARK(BM_OneLongLine)->Arg(12)->Arg(96)->Unit(benchmark::kMillisecond);

}  // namespace
