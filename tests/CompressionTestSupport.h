// Test helpers for the image compression tests: files, temp dirs, test data and zlib streams.
#pragma once

#include <zlib.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <optional>
#include <random>
#include <string>

struct FileCloser { void operator()(FILE *file) const { std::fclose(file); } };
using File = std::unique_ptr<FILE, FileCloser>;

inline File openFile(const std::string &path, const char *mode) { return File(std::fopen(path.c_str(), mode)); }

inline void writeFile(const std::string &path, const std::string &data) {
    std::ofstream(path, std::ios::binary) << data;
}

inline std::string readFile(const std::string &path) {
    return {std::istreambuf_iterator<char>(std::ifstream(path, std::ios::binary).rdbuf()), {}};
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

// data deflated with windowBits (31 gzip, 15 zlib, -15 raw), or else inflated as gzip: then the
// content only when the data is exactly one complete member.
inline std::optional<std::string> zlibPass(const std::string &data, bool deflating, int windowBits = 31) {
    z_stream stream{};
    if (deflating) deflateInit2(&stream, 6, Z_DEFLATED, windowBits, 8, Z_DEFAULT_STRATEGY);
    else inflateInit2(&stream, 31);
    stream.next_in = reinterpret_cast<Bytef *>(const_cast<char *>(data.data()));
    stream.avail_in = static_cast<uInt>(data.size());
    std::string out;
    int status = Z_OK;
    for (char chunk[16384]; status == Z_OK; out.append(chunk, sizeof chunk - stream.avail_out)) {
        stream.next_out = reinterpret_cast<Bytef *>(chunk);
        stream.avail_out = sizeof chunk;
        status = deflating ? deflate(&stream, Z_FINISH) : inflate(&stream, Z_NO_FLUSH);
    }
    deflating ? deflateEnd(&stream) : inflateEnd(&stream);
    return status == Z_STREAM_END && stream.avail_in == 0 ? std::optional<std::string>(out) : std::nullopt;
}

inline std::string zlibStream(const std::string &data, int bits) { return *zlibPass(data, true, bits); }

inline std::optional<std::string> gunzipMember(const std::string &gz) { return zlibPass(gz, false); }

// A fresh directory, removed with everything in it; one owner, never copied or moved.
struct TempDir {
    char pattern[17] = "/tmp/zovgzXXXXXX";
    std::string path = mkdtemp(pattern);
    TempDir() = default;
    TempDir(TempDir &&) = delete;
    ~TempDir() { std::filesystem::remove_all(path); }
    std::string operator/(const std::string &name) const { return path + "/" + name; }
};
