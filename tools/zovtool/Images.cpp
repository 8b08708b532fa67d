// zovtool compress, decompress and estimate: the library's image functions
// with a progress display on stderr.
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <cstdio>
#include <iostream>
#include <memory>
#include <string>

#include "Tool.h"
#include "ZovCommon.h"

namespace zovtool {

namespace {

struct FileCloser {
    void operator()(FILE *file) const noexcept {
        if (file) std::fclose(file);
    }
};
using File = std::unique_ptr<FILE, FileCloser>;

File openFile(const std::string &path, const char *mode) {
    File file(std::fopen(path.c_str(), mode));
    if (!file) throw Refused("cannot open " + path + ": " + std::strerror(errno));
    return file;
}

long long sizeOf(FILE *file) {
    struct stat info {};
    if (fstat(fileno(file), &info) == 0 && S_ISREG(info.st_mode)) return info.st_size;
    // A device: its size is where its end is.
    off_t here = ftello(file);
    if (fseeko(file, 0, SEEK_END) != 0) return 0;
    off_t end = ftello(file);
    fseeko(file, here, SEEK_SET);
    return end > 0 ? end : 0;
}

// Shows how far the input has been read: a bar redrawn in place on a
// terminal, a line per tenth otherwise. The library's progress callback
// carries no pointer of ours, so the display in use is module state.
class Progress {
public:
    Progress(std::string label, FILE *input, long long inputSize)
        : label_(std::move(label)), input_(input), total_(inputSize), tty_(isatty(STDERR_FILENO) != 0),
          start_(Clock::now()) {
        active = this;
    }
    ~Progress() {
        active = nullptr;
        if (barShown_) std::fputc('\n', stderr);  // a failure follows on a line of its own
    }
    Progress(const Progress &) = delete;
    Progress &operator=(const Progress &) = delete;

    // The callback registered in CompressionProgress.
    static int onProgress(void *, double, double, double, double) {
        if (active) active->update(false);
        return 0;
    }

    // Switches to the next input stream (decompressing several pieces).
    void follow(FILE *input, long long before) {
        input_ = input;
        before_ = before;
    }

    void finish() {
        update(true);
        if (barShown_) std::fputc('\n', stderr);
        barShown_ = false;
    }

private:
    using Clock = std::chrono::steady_clock;

    void update(bool final) {
        long long done = total_;
        if (!final && input_ != nullptr) {
            off_t position = ftello(input_);
            done = std::min(total_, before_ + (position > 0 ? position : 0));
        }
        double fraction = total_ > 0 ? static_cast<double>(done) / static_cast<double>(total_) : 1.0;
        auto now = Clock::now();
        double seconds = std::chrono::duration<double>(now - start_).count();
        if (tty_) {
            if (!final && now - lastDraw_ < std::chrono::milliseconds(100)) return;
            lastDraw_ = now;
            barShown_ = true;
            double rate = seconds > 0 ? static_cast<double>(done) / 1e6 / seconds : 0.0;
            double left = fraction > 0 ? seconds * (1 - fraction) / fraction : 0.0;
            int filled = static_cast<int>(fraction * 30);
            std::fprintf(stderr, "\r%s [%-30s] %5.1f%% %7.1f MB/s %5.0fs left", label_.c_str(),
                         std::string(static_cast<std::size_t>(filled), '#').c_str(), fraction * 100, rate, left);
        } else {
            int tenth = static_cast<int>(fraction * 10);
            if (tenth <= lastTenth_ && !final) return;
            if (final && lastTenth_ == 10) return;
            lastTenth_ = final ? 10 : tenth;
            std::fprintf(stderr, "%s: %d%% (%lld of %lld bytes)\n", label_.c_str(), lastTenth_ * 10,
                         done, total_);
        }
    }

    static inline Progress *active = nullptr;

    std::string label_;
    FILE *input_;
    long long total_;
    long long before_ = 0;
    bool tty_;
    Clock::time_point start_;
    Clock::time_point lastDraw_{};
    int lastTenth_ = -1;
    bool barShown_ = false;  // the bar's line has not been ended yet
};

bool atEnd(FILE *file) {
    int c = std::fgetc(file);
    if (c == EOF) return true;
    std::ungetc(c, file);
    return false;
}

std::string pieceName(const std::string &destination, int index) {
    char suffix[16];
    std::snprintf(suffix, sizeof suffix, ".%03d", index);
    return destination + suffix;
}

void closeOutput(File &file, const std::string &path) {
    if (std::fclose(file.release()) != 0) throw Refused("cannot write " + path);
}

}  // namespace

int compress(const CompressOptions &options) {
    File in = openFile(options.source, "rb");
    long long size = sizeOf(in.get());
    CompressionProgress record{};
    record.progressCallBack = &Progress::onProgress;
    record.totalSize = static_cast<uint64_t>(size);
    Progress progress("compress", in.get(), size);

    if (options.split <= 0) {
        File out = openFile(options.destination, "wb");
        int status = CompressAndWrite(in.get(), out.get(), options.level, &record);
        if (status != 0) throw Refused("compression failed with status " + std::to_string(status));
        closeOutput(out, options.destination);
        progress.finish();
        std::cout << options.destination << ": " << size << " bytes in, " << record.compressedSize
                  << " bytes out\n";
        return kSuccess;
    }

    int pieces = 0;
    long long written = 0;
    do {
        std::string path = pieceName(options.destination, pieces);
        File out = openFile(path, "wb");
        int status = CompressAndSplitWrite(in.get(), out.get(), options.level, &record, options.split);
        if (status != 0) throw Refused("compression of " + path + " failed with status " + std::to_string(status));
        closeOutput(out, path);
        written += record.compressedSize;
        ++pieces;
    } while (!atEnd(in.get()));
    progress.finish();
    std::cout << options.destination << ": " << size << " bytes in, " << written << " bytes out in " << pieces
              << " pieces (" << pieceName(options.destination, 0) << " to "
              << pieceName(options.destination, pieces - 1) << ")\n";
    return kSuccess;
}

int decompress(const DecompressOptions &options) {
    long long total = 0;
    for (const std::string &source : options.sources) total += sizeOf(openFile(source, "rb").get());
    File out = openFile(options.destination, "wb");
    CompressionProgress record{};
    record.progressCallBack = &Progress::onProgress;
    record.totalSize = static_cast<uint64_t>(total);
    Progress progress("decompress", nullptr, total);
    long long before = 0;
    for (const std::string &source : options.sources) {
        File in = openFile(source, "rb");
        progress.follow(in.get(), before);
        int status = UnCompressAndWrite(in.get(), out.get(), &record);
        if (status != 0) throw Refused(source + ": decompression failed with status " + std::to_string(status));
        before += sizeOf(in.get());
    }
    closeOutput(out, options.destination);
    progress.finish();
    return kSuccess;
}

int estimate(const std::string &path) {
    File probe = openFile(path, "rb");
    CompressionProgress record{};
    record.totalSize = static_cast<uint64_t>(sizeOf(probe.get()));
    record.progressCallBack = [](void *, double, double, double, double) { return 0; };
    if (CalculateCompressedSize(path.c_str(), &record) != 0) throw Refused("cannot open " + path);
    std::cout << path << ": " << record.totalSize << " bytes, about " << record.compressedSize
              << " bytes compressed at level 6\n";
    return kSuccess;
}

}  // namespace zovtool
