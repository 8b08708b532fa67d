// Shared pieces of zovtool's commands.
#pragma once

#include <stdexcept>
#include <string>
#include <vector>

namespace zovtool {

// Exit statuses.
constexpr int kSuccess = 0;
constexpr int kRefused = 1;  // the input was refused; the reason is on stderr
constexpr int kUsage = 2;

// Input the tool refuses: reported on stderr, exit status kRefused.
struct Refused : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// The whole content of a file, or of stdin for "-".
std::string readInput(const std::string &path);

// Writes bytes to a file (created or truncated), or to stdout for "-".
void writeOutput(const std::string &path, const std::string &bytes);

struct InspectOptions {
    std::string input;
    std::string saveAttachmentsDir;
    bool json = false;
};
int inspect(const InspectOptions &options);

struct PackageOptions {
    std::string envelope;
    std::vector<std::string> attachments;
    std::string output = "-";
};
int package(const PackageOptions &options);

struct CompressOptions {
    std::string source;
    std::string destination;
    int level = 6;
    long long split = 0;  // input bytes per piece; 0 writes one image
};
int compress(const CompressOptions &options);

struct DecompressOptions {
    std::vector<std::string> sources;
    std::string destination;
};
int decompress(const DecompressOptions &options);

int estimate(const std::string &path);

}  // namespace zovtool
