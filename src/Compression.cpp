// gzip disk images: file-to-file compression (whole or in pieces), size
// estimates, the upload read callbacks and the decompressors.
#include "Compression.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>

#include "internal/Report.h"

namespace {

constexpr char kSourceFile[] = "Compression";

constexpr std::size_t kChunk = 32768;
constexpr int kGzipWindowBits = 31;  // 15 window bits plus 16: gzip header and trailer
constexpr int kMemoryLevel = 8;
constexpr char kZlibVersion[] = "1.2.7";
constexpr int kEstimateLevel = 6;
constexpr std::size_t kCallbackFailed = static_cast<std::size_t>(-1);

// Input bytes read for the piece CompressAndSplitWrite is writing; feeds its
// progress reports and is reset at the start of each call.
int64_t pieceCounter = 0;

int initDeflate(z_stream &stream, int level) {
    return deflateInit2_(&stream, level, Z_DEFLATED, kGzipWindowBits, kMemoryLevel,
                         Z_DEFAULT_STRATEGY, kZlibVersion, static_cast<int>(sizeof(z_stream)));
}

int initInflate(z_stream &stream) {
    return inflateInit2_(&stream, kGzipWindowBits, kZlibVersion, static_cast<int>(sizeof(z_stream)));
}

// A zlib stream of one call: zero-initialised (default allocator, no input)
// and ended on every way out once its init succeeded.
template <int (*End)(z_streamp)>
class ScopedStream {
public:
    ScopedStream() = default;
    ScopedStream(const ScopedStream &) = delete;
    ScopedStream &operator=(const ScopedStream &) = delete;
    ~ScopedStream() {
        if (live_) End(&stream_);
    }

    // Records the init call's status and passes it on.
    int started(int status) noexcept {
        live_ = status == Z_OK;
        return status;
    }
    z_stream &get() noexcept { return stream_; }

private:
    z_stream stream_{};
    bool live_ = false;
};
using ScopedDeflate = ScopedStream<deflateEnd>;
using ScopedInflate = ScopedStream<inflateEnd>;

struct FileCloser {
    void operator()(FILE *file) const { std::fclose(file); }
};
using ScopedFile = std::unique_ptr<FILE, FileCloser>;

bool writeAll(FILE *out, const void *data, std::size_t length) {
    return std::fwrite(data, 1, length, out) == length && std::ferror(out) == 0;
}

// One progress call; the opaque pointer carries nothing but a scratch 0.
void reportProgress(const CompressionProgress *progress, double downloadTotal, double downloadNow,
                    double uploadTotal, double uploadNow) {
    if (progress == nullptr || progress->progressCallBack == nullptr) return;
    int scratch = 0;
    progress->progressCallBack(&scratch, downloadTotal, downloadNow, uploadTotal, uploadNow);
}

double asDouble(int64_t value) { return static_cast<double>(value); }
double asDouble(uint64_t value) { return static_cast<double>(value); }

// ---------------------------------------------------------------------------
// File-to-file compression. Every compressor runs the same rounds: read a
// 32768-byte chunk, deflate it into a 32768-byte chunk as often as deflate
// fills it, and stop after the round that finished the stream. A job decides
// what a read counts for, whether a round is the last, and where the output
// goes.

enum class Rounds { Finished, Stopped, Failed };

// The defaults of a job that reads its input to the end.
struct ToEndOfInput {
    static bool stopBeforeRead() { return false; }
    // Takes note of a read; true when the piece is complete after it.
    static bool consumed(std::size_t) { return false; }
};

template <typename Job>
Rounds deflateRounds(z_stream &stream, FILE *in, Job &job) {
    unsigned char input[kChunk];
    unsigned char output[kChunk];
    for (;;) {
        if (job.stopBeforeRead()) return Rounds::Stopped;
        const std::size_t got = std::fread(input, 1, kChunk, in);
        if (std::ferror(in) != 0) return Rounds::Failed;
        const bool last = job.consumed(got) || std::feof(in) != 0;
        const int flush = last ? Z_FINISH : Z_NO_FLUSH;
        stream.next_in = input;
        stream.avail_in = static_cast<uInt>(got);
        do {
            stream.next_out = output;
            stream.avail_out = kChunk;
            deflate(&stream, flush);
            if (!job.emit(output, kChunk - stream.avail_out)) return Rounds::Failed;
        } while (stream.avail_out == 0);
        if (last) return Rounds::Finished;
    }
}

// Sets up a deflate stream and runs the job's rounds: the init status when it
// fails, else -1 for a failed round and 0 when the rounds ended.
template <typename Job>
int compressWith(FILE *in, int level, Job &job) {
    ScopedDeflate stream;
    if (const int status = stream.started(initDeflate(stream.get(), level)); status != Z_OK)
        return status;
    return deflateRounds(stream.get(), in, job) == Rounds::Failed ? -1 : 0;
}

// A whole image: written to out, reported against the expected total that
// the record holds; a missing record stops after the first chunk.
struct WholeImageJob : ToEndOfInput {
    FILE *out;
    CompressionProgress *progress;
    int64_t written = 0;

    bool emit(const unsigned char *data, std::size_t length) {
        if (!writeAll(out, data, length)) return false;
        written += static_cast<int64_t>(length);
        if (progress == nullptr) return false;
        reportProgress(progress, 0, 0, asDouble(progress->compressedSize), asDouble(written));
        return true;
    }
};

// One piece of a split image: whole reads until the piece limit is reached.
struct ImagePieceJob {
    FILE *out;
    CompressionProgress *progress;
    int64_t pieceLimit;
    int64_t read = 0;
    int64_t written = 0;

    static bool stopBeforeRead() { return false; }
    bool consumed(std::size_t got) {
        read += static_cast<int64_t>(got);
        pieceCounter += static_cast<int64_t>(got);
        return read >= pieceLimit;
    }
    bool emit(const unsigned char *data, std::size_t length) {
        if (!writeAll(out, data, length)) return false;
        written += static_cast<int64_t>(length);
        reportProgress(progress, 0, 0, asDouble(pieceLimit), asDouble(pieceCounter));
        return true;
    }
};

// The size of a whole image, output dropped; needs the progress record.
struct ImageSizeJob : ToEndOfInput {
    CompressionProgress *progress;
    int64_t count = 0;

    bool emit(const unsigned char *, std::size_t length) {
        count += static_cast<int64_t>(length);
        if (progress == nullptr) return false;
        reportProgress(progress, 0, 0, asDouble(progress->totalSize), asDouble(count));
        return true;
    }
};

// The size of one piece, output dropped: counting stops as soon as the read
// limit is reached, before the stream is finished.
struct PieceSizeJob {
    CompressionProgress *progress;
    int64_t readLimit;
    int64_t read = 0;
    int64_t count = 0;

    bool stopBeforeRead() const { return read >= readLimit; }
    bool consumed(std::size_t got) {
        read += static_cast<int64_t>(got);
        return false;
    }
    bool emit(const unsigned char *, std::size_t length) {
        count += static_cast<int64_t>(length);
        reportProgress(progress, 0, 0, asDouble(readLimit), asDouble(count));
        return true;
    }
};

int compressAndCount(FILE *in, int level, CompressionProgress *progress) {
    ImageSizeJob job{};
    job.progress = progress;
    const int status = compressWith(in, level, job);
    if (status == 0) progress->compressedSize = job.count;
    return status;
}

int uncompressFile(FILE *in, FILE *out, const CompressionProgress *progress) {
    ScopedInflate inflater;
    z_stream &stream = inflater.get();
    if (const int status = inflater.started(initInflate(stream)); status != Z_OK) return status;
    unsigned char input[kChunk];
    unsigned char output[kChunk];
    int64_t done = 0;
    int last = Z_OK;
    // A read that finds the input already at its end counts as the end of the
    // member, so a cut-off image is accepted with what could be inflated.
    while (last != Z_STREAM_END) {
        if (std::feof(in) != 0) last = Z_STREAM_END;
        const std::size_t got = std::fread(input, 1, kChunk, in);
        if (std::ferror(in) != 0) return -1;
        if (got == 0) break;
        stream.next_in = input;
        stream.avail_in = static_cast<uInt>(got);
        do {
            stream.next_out = output;
            stream.avail_out = kChunk;
            last = inflate(&stream, Z_NO_FLUSH);
            if (last == Z_MEM_ERROR || last == Z_DATA_ERROR) return last;
            if (last == Z_NEED_DICT) return Z_DATA_ERROR;
            const std::size_t produced = kChunk - stream.avail_out;
            if (!writeAll(out, output, produced)) return -1;
            done += static_cast<int64_t>(produced);
            if (progress != nullptr)
                reportProgress(progress, asDouble(progress->totalSize), asDouble(done), 0, 0);
        } while (stream.avail_out == 0);
    }
    return last == Z_STREAM_END ? 0 : Z_DATA_ERROR;
}

// ---------------------------------------------------------------------------
// Transfer callbacks. The context's stream, buffer and file outlive each call
// and belong to the caller between transfers; whatever the library releases
// itself it leaves NULL, so the caller's release is always safe.

// size times count, or false when that does not fit in size_t.
bool blockLength(std::size_t size, std::size_t count, std::size_t &length) {
    return !__builtin_mul_overflow(size, count, &length);
}

uInt clampToUInt(uint64_t length) {
    return static_cast<uInt>(std::min<uint64_t>(length, UINT_MAX));
}

void closeFile(TransferContext &ctx) {
    if (ctx.file != nullptr) std::fclose(ctx.file);
    ctx.file = nullptr;
}

void freeBuffer(TransferContext &ctx) {
    std::free(ctx.buffer);
    ctx.buffer = nullptr;
    ctx.bufferSize = 0;
}

bool allocateBuffer(TransferContext &ctx, std::size_t length) {
    ctx.buffer = static_cast<unsigned char *>(std::malloc(length));
    if (ctx.buffer == nullptr) return false;
    ctx.bufferSize = length;
    return true;
}

void useDefaultAllocator(z_stream &stream) {
    stream.zalloc = Z_NULL;
    stream.zfree = Z_NULL;
    stream.opaque = Z_NULL;
}

bool splitUpload(const TransferContext &ctx) { return ctx.splitMode != 0; }

// Reads the next upload input into the buffer: as many bytes as the
// destination holds, never more than the buffer or than the stream's 32-bit
// input counter takes, and in split mode never past the piece limit (the
// caller keeps bytesRead <= pieceLimit).
std::size_t readUploadInput(TransferContext &ctx, std::size_t want) {
    uint64_t room = std::min<uint64_t>({want, ctx.bufferSize, UINT_MAX});
    if (splitUpload(ctx)) room = std::min(room, ctx.pieceLimit - ctx.bytesRead);
    const std::size_t got = std::fread(ctx.buffer, 1, static_cast<std::size_t>(room), ctx.file);
    if (splitUpload(ctx)) ctx.bytesRead += got;
    return got;
}

// First call of a whole upload or of a piece: buffer, first input, stream.
bool startUpload(TransferContext &ctx, std::size_t want) {
    useDefaultAllocator(ctx.stream);
    if (!allocateBuffer(ctx, want)) {
        closeFile(ctx);
        return false;
    }
    const std::size_t got = readUploadInput(ctx, want);
    if (splitUpload(ctx) && got == 0) {
        // The source is at its end (or the limit is 0): the piece is empty.
        // Nothing stays set up, so later calls of this piece find it the same.
        freeBuffer(ctx);
        return false;
    }
    ctx.stream.next_in = ctx.buffer;
    ctx.stream.avail_in = static_cast<uInt>(got);
    return initDeflate(ctx.stream, ctx.level) == Z_OK;
}

// Gives the stream its next input; false on a read error.
bool refillUpload(TransferContext &ctx, std::size_t want, int &flush) {
    const bool split = splitUpload(ctx);
    std::size_t got = 0;
    if (!split || ctx.bytesRead < ctx.pieceLimit)
        got = readUploadInput(ctx, want);
    else
        ZOV_REPORT_AS("UpgradedCompression", 3, "Nothing to be done right now");
    if (std::ferror(ctx.file) != 0) return false;
    flush = std::feof(ctx.file) != 0 ? Z_FINISH : Z_NO_FLUSH;
    if (split && ctx.bytesRead >= ctx.pieceLimit) {
        ZOV_REPORT_AS("UpgradedCompression", 1, "Calling zfinish");
        flush = Z_FINISH;
    }
    ctx.stream.next_in = ctx.buffer;
    ctx.stream.avail_in = static_cast<uInt>(got);
    return true;
}

std::size_t upgradedCompression(char *dest, std::size_t want, TransferContext &ctx) {
    if (ctx.file == nullptr || ctx.buffer == nullptr || ctx.bufferSize == 0) return 0;
    z_stream &stream = ctx.stream;
    const uInt space = clampToUInt(want);
    int flush = Z_NO_FLUSH;
    int status = Z_OK;
    do {
        stream.next_out = reinterpret_cast<Bytef *>(dest);
        stream.avail_out = space;
        do {
            if (stream.avail_in == 0 && !refillUpload(ctx, want, flush)) return 0;
            status = deflate(&stream, flush);
            // No stream set up, or one that cannot go on.
            if (status != Z_OK && status != Z_STREAM_END) return 0;
        } while (stream.avail_out != 0 && status != Z_STREAM_END);
    } while (status != Z_STREAM_END && ctx.repeat != 0);
    return space - stream.avail_out;
}

std::size_t compressDataCallback(char *dest, std::size_t size, std::size_t count, TransferContext *ctx) {
    std::size_t want = 0;
    if (ctx == nullptr || dest == nullptr || !blockLength(size, count, want) || want == 0) return 0;
    if (!splitUpload(*ctx)) {
        if (ctx->file == nullptr) {
            if (ctx->filePath == nullptr) return 0;
            ctx->file = std::fopen(ctx->filePath, "rb");
            if (ctx->file == nullptr || !startUpload(*ctx, want)) return 0;
        }
    } else {
        // No source, or the piece is complete.
        if (ctx->file == nullptr || ctx->bytesRead > ctx->pieceLimit) return 0;
        if (ctx->bytesRead == 0 && !startUpload(*ctx, want)) return 0;
    }
    return upgradedCompression(dest, want, *ctx);
}

// Ends the stream, frees the buffer and closes the file after a download
// failure.
void releaseDownload(TransferContext &ctx) {
    inflateEnd(&ctx.stream);
    freeBuffer(ctx);
    closeFile(ctx);
}

// A new inflate stream for a download (or a piece of one), no input yet.
bool startInflate(TransferContext &ctx) {
    useDefaultAllocator(ctx.stream);
    ctx.stream.next_in = Z_NULL;
    ctx.stream.avail_in = 0;
    return initInflate(ctx.stream) == Z_OK;
}

std::size_t uncompressData(const char *data, std::size_t length, TransferContext &ctx) {
    if (ctx.file == nullptr || ctx.buffer == nullptr || ctx.bufferSize == 0) return 0;
    if (data == nullptr && length != 0) return 0;
    z_stream &stream = ctx.stream;
    const uInt room = clampToUInt(ctx.bufferSize);
    std::size_t offset = 0;
    do {  // a block longer than zlib's 32-bit counters goes in slices
        const uInt slice = clampToUInt(length - offset);
        stream.next_in = reinterpret_cast<Bytef *>(const_cast<char *>(data)) + offset;
        stream.avail_in = slice;
        offset += slice;
        do {
            stream.next_out = ctx.buffer;
            stream.avail_out = room;
            const int status = inflate(&stream, Z_NO_FLUSH);
            if (status == Z_MEM_ERROR || status == Z_DATA_ERROR || status == Z_NEED_DICT ||
                status == Z_STREAM_ERROR) {
                releaseDownload(ctx);
                return 0;
            }
            if (!writeAll(ctx.file, ctx.buffer, room - stream.avail_out)) {
                releaseDownload(ctx);
                return kCallbackFailed;
            }
        } while (stream.avail_out == 0);
    } while (offset < length);
    return length;
}

std::size_t downloadWholeCallback(const char *data, std::size_t size, std::size_t count,
                                  TransferContext *ctx) {
    std::size_t length = 0;
    if (ctx == nullptr || !blockLength(size, count, length)) return 0;
    if (length == 0) return 0;  // taken as it is; the buffer is sized by a block with data
    if (ctx->file == nullptr) {
        if (ctx->filePath == nullptr) return 0;
        ctx->file = std::fopen(ctx->filePath, "wb");
        if (ctx->file == nullptr || !startInflate(*ctx)) return 0;
        if (!allocateBuffer(*ctx, length)) {
            closeFile(*ctx);
            return 0;
        }
    }
    return uncompressData(data, length, *ctx);
}

std::size_t downloadSplitCallback(const char *data, std::size_t size, std::size_t count,
                                  TransferContext *ctx) {
    std::size_t length = 0;
    if (ctx == nullptr || !blockLength(size, count, length)) return 0;
    if (length == 0) return 0;
    if (ctx->splitMode == 0) {
        ZOV_REPORT_AS("download_Split_file_and_Uncompress", 1, "Return value is %d", ctx->splitMode);
        ctx->splitMode = 1;
        if (!startInflate(*ctx) || !allocateBuffer(*ctx, length)) return 0;
    }
    return uncompressData(data, length, *ctx);
}

std::size_t uncompressDataCallback(const char *data, std::size_t size, std::size_t count,
                                   TransferContext *ctx) {
    std::size_t length = 0;
    if (ctx == nullptr || !blockLength(size, count, length)) return 0;
    return uncompressData(data, length, *ctx);
}

const char *shownPath(const char *path) { return path != nullptr ? path : "(null)"; }

}  // namespace

extern "C" {

ZOV_API int CompressAndWrite(FILE *in, FILE *out, int level, CompressionProgress *progress) {
    return zov::guarded(-1, [&] {
        if (in == nullptr || out == nullptr) return -1;
        WholeImageJob job{};
        job.out = out;
        job.progress = progress;
        const int status = compressWith(in, level, job);
        if (status == 0 && progress != nullptr) progress->compressedSize = job.written;
        return status;
    });
}

ZOV_API int CompressAndSplitWrite(FILE *in, FILE *out, int level, CompressionProgress *progress,
                                  int64_t pieceLimit) {
    return zov::guarded(-1, [&] {
        pieceCounter = 0;
        if (in == nullptr || out == nullptr) return -1;
        ImagePieceJob job{out, progress, pieceLimit};
        const int status = compressWith(in, level, job);
        if (status == 0 && progress != nullptr) progress->compressedSize = job.written;
        return status;
    });
}

ZOV_API int CalculateCompressedSize(const char *path, CompressionProgress *progress) {
    constexpr char kName[] = "CalculateCompressedSize";
    return zov::guarded(-1, [&] {
        ZOV_REPORT_AS(kName, 2, "Device Location %s ", shownPath(path));
        if (progress == nullptr) {
            ZOV_REPORT_AS(kName, 1, "Progress record cannot be NULL");
            return -1;
        }
        ScopedFile device(path != nullptr ? std::fopen(path, "rb") : nullptr);
        if (device == nullptr) {
            ZOV_REPORT_AS(kName, 1, "Error in Opening Device File %s", shownPath(path));
            return -1;
        }
        compressAndCount(device.get(), kEstimateLevel, progress);
        device.reset();
        ZOV_REPORT_AS(kName, 3, "Disk Size is %lld", static_cast<long long>(progress->totalSize));
        ZOV_REPORT_AS(kName, 3, "Compressed Size is %lld",
                      static_cast<long long>(progress->compressedSize));
        return 0;
    });
}

ZOV_API int64_t CalculateCompressedSplitiSize(FILE *in, int64_t readLimit, int level,
                                              CompressionProgress *progress) {
    constexpr char kName[] = "CalculateCompressedSplitiSize";
    return zov::guarded<int64_t>(-1, [&]() -> int64_t {
        if (in == nullptr) return -1;
        PieceSizeJob job{progress, readLimit};
        ScopedDeflate stream;
        if (const int status = stream.started(initDeflate(stream.get(), level)); status != Z_OK)
            return status;
        ZOV_REPORT_AS(kName, 1, "Read File Size %lld", static_cast<long long>(readLimit));
        const Rounds rounds = deflateRounds(stream.get(), in, job);
        if (rounds == Rounds::Failed) return -1;
        if (rounds == Rounds::Finished)
            ZOV_REPORT_AS(kName, 1, "Total Byte Written %lld", static_cast<long long>(job.count));
        if (progress != nullptr) progress->compressedSize = job.count;
        return job.count;
    });
}

ZOV_API int UnCompressAndWrite(FILE *in, FILE *out, CompressionProgress *progress) {
    return zov::guarded(-1, [&] {
        return in == nullptr || out == nullptr ? -1 : uncompressFile(in, out, progress);
    });
}

ZOV_API size_t CrulReadCallBack_CompressData(char *buffer, size_t size, size_t nitems,
                                             void *userPointer) {
    return zov::guarded<std::size_t>(0, [&] {
        return compressDataCallback(buffer, size, nitems, static_cast<TransferContext *>(userPointer));
    });
}

ZOV_API size_t UpgradedCompression(char *buffer, size_t size, size_t nitems, void *userPointer) {
    return zov::guarded<std::size_t>(0, [&]() -> std::size_t {
        auto *ctx = static_cast<TransferContext *>(userPointer);
        std::size_t want = 0;
        if (ctx == nullptr || buffer == nullptr || !blockLength(size, nitems, want) || want == 0) return 0;
        return upgradedCompression(buffer, want, *ctx);
    });
}

ZOV_API size_t download_file_and_Uncompress(char *data, size_t size, size_t nitems,
                                            void *userPointer) {
    return zov::guarded<std::size_t>(0, [&] {
        return downloadWholeCallback(data, size, nitems, static_cast<TransferContext *>(userPointer));
    });
}

ZOV_API size_t download_Split_file_and_Uncompress(char *data, size_t size, size_t nitems,
                                                  void *userPointer) {
    return zov::guarded<std::size_t>(0, [&] {
        return downloadSplitCallback(data, size, nitems, static_cast<TransferContext *>(userPointer));
    });
}

ZOV_API size_t UnCompressDataAndWrite(char *data, size_t size, size_t nitems, void *userPointer) {
    return zov::guarded<std::size_t>(0, [&] {
        return uncompressDataCallback(data, size, nitems, static_cast<TransferContext *>(userPointer));
    });
}

}  // extern "C"
