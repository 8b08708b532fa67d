// Image decompression of downloaded data: the input (after its first four
// bytes, which seed the block lengths) is fed to the split download callback
// in blocks of 1 to 16384 bytes, and read whole by UnCompressAndWrite from
// memory. Output goes to /dev/null.
#include <stdio.h>

#include <memory>

#include "FuzzSupport.h"

namespace {

struct FileCloser {
    void operator()(FILE *file) const { if (file != nullptr) fclose(file); }
};
using File = std::unique_ptr<FILE, FileCloser>;

int noProgress(void *, double, double, double, double) { return 0; }

void download(const uint8_t *data, size_t size, uint32_t seed) {
    TransferContext context{};
    context.file = fopen("/dev/null", "wb");
    if (context.file == nullptr) return;
    for (size_t at = 0; at < size;) {
        seed = seed * 1103515245u + 12345u;
        const size_t block = std::min<size_t>(size - at, 1 + (seed >> 8) % 16384);
        const size_t taken = download_Split_file_and_Uncompress(
            reinterpret_cast<char *>(const_cast<uint8_t *>(data + at)), 1, block, &context);
        if (taken != block) break;  // refused: the transfer would stop here
        at += block;
    }
    inflateEnd(&context.stream);
    std::free(context.buffer);
    if (context.file != nullptr) fclose(context.file);
}

void fromMemory(const uint8_t *data, size_t size) {
    if (size == 0) return;
    File in(fmemopen(const_cast<uint8_t *>(data), size, "rb"));
    File out(fopen("/dev/null", "wb"));
    if (in == nullptr || out == nullptr) return;
    CompressionProgress progress{};
    progress.progressCallBack = noProgress;
    UnCompressAndWrite(in.get(), out.get(), &progress);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
    fuzz::quietLogger();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size < 4) return 0;
    const uint32_t seed = uint32_t(data[0]) | uint32_t(data[1]) << 8 | uint32_t(data[2]) << 16 |
                          uint32_t(data[3]) << 24;
    download(data + 4, size - 4, seed);
    fromMemory(data + 4, size - 4);
    return 0;
}
