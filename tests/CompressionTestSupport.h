// Test helpers for the image compression tests: temp dirs, files, test data and
// an independent, strict gunzip.
#pragma once

#include <zlib.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <random>
#include <sstream>
#include <string>

struct FileCloser { void operator()(FILE *file) const { std::fclose(file); } };
using File = std::unique_ptr<FILE, FileCloser>;

inline File openFile(const std::string &path, const char *mode) { return File(std::fopen(path.c_str(), mode)); }

inline void writeFile(const std::string &path, const std::string &data) {
    std::ofstream(path, std::ios::binary) << data;
}

inline std::string readFile(const std::string &path) {
    std::ostringstream all;
    all << std::ifstream(path, std::ios::binary).rdbuf();
    return all.str();
}

// Blocks of text-like and of random bytes, alternating at uneven lengths.
inline std::string mixedData(std::size_t size, unsigned seed = 7) {
    std::mt19937 random(seed);
    std::string data;
    for (bool text = true; data.size() < size; text = !text) {
        const std::size_t end = std::min<std::size_t>(size, data.size() + 1000 + random() % 9000);
        while (data.size() < end)
            data.push_back(text ? "the quick brown fox jumps\n"[random() % 26] : static_cast<char>(random()));
    }
    return data;
}

// data deflated with the given window bits (31 gzip, 15 zlib, -15 raw).
inline std::string zlibStream(const std::string &data, int windowBits) {
    z_stream stream{};
    deflateInit2(&stream, 6, Z_DEFLATED, windowBits, 8, Z_DEFAULT_STRATEGY);
    std::string out(deflateBound(&stream, data.size()), '\0');
    stream.next_in = reinterpret_cast<Bytef *>(const_cast<char *>(data.data()));
    stream.avail_in = static_cast<uInt>(data.size());
    stream.next_out = reinterpret_cast<Bytef *>(out.data());
    stream.avail_out = static_cast<uInt>(out.size());
    deflate(&stream, Z_FINISH);
    out.resize(stream.total_out);
    deflateEnd(&stream);
    return out;
}

// The content of exactly one complete gzip member and nothing after it.
inline std::optional<std::string> gunzipMember(const std::string &gz) {
    z_stream stream{};
    inflateInit2(&stream, 31);
    stream.next_in = reinterpret_cast<Bytef *>(const_cast<char *>(gz.data()));
    stream.avail_in = static_cast<uInt>(gz.size());
    std::string out;
    int status = Z_OK;
    for (char chunk[16384]; status == Z_OK; out.append(chunk, sizeof chunk - stream.avail_out)) {
        stream.next_out = reinterpret_cast<Bytef *>(chunk);
        stream.avail_out = sizeof chunk;
        status = inflate(&stream, Z_NO_FLUSH);
    }
    inflateEnd(&stream);
    return status == Z_STREAM_END && stream.avail_in == 0 ? std::optional<std::string>(out) : std::nullopt;
}

// A fresh directory, removed with everything in it.
struct TempDir {
    std::string path = [] {
        char pattern[] = "/tmp/zovgzXXXXXX";
        return std::string(mkdtemp(pattern));
    }();
    TempDir() = default;
    TempDir(const TempDir &) = delete;  // one owner: the destructor removes the directory
    TempDir &operator=(const TempDir &) = delete;
    ~TempDir() { std::filesystem::remove_all(path); }
    std::string operator/(const std::string &name) const { return path + "/" + name; }
};
