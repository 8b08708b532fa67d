// zovtool: inspect captured server responses, package agent messages, and
// compress, decompress or estimate disk images with libZovCommon.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <iterator>
#include <limits>
#include <new>

#include "Logging.h"
#include "Tool.h"

namespace zovtool {

std::string readInput(const std::string &path) {
    if (path == "-") return std::string(std::istreambuf_iterator<char>(std::cin), {});
    std::ifstream in(path, std::ios::binary);
    if (!in) throw Refused("cannot read " + path);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

void writeOutput(const std::string &path, const std::string &bytes) {
    if (path == "-") {
        std::cout.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        std::cout.flush();
        return;
    }
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    out.close();
    if (!out) throw Refused("cannot write " + path);
}

}  // namespace zovtool

int main(int argc, char **argv) {
    using namespace zovtool;
    CLI::App app{"zovtool: inspect server responses, package agent messages, and handle disk images"};
    app.require_subcommand(1);
    app.fallthrough();  // the logger options may also follow the command
    app.footer("Every command also takes --log-level N and --log-file PATH.\n"
               "Exit status: 0 success, 1 refused input (reason on stderr), 2 usage error.");
    LoggerSettings logger;
    app.add_option("--log-level", logger.level, "Library log level: 0 silent, 1 errors, 2 notable facts, 3 trace")
        ->capture_default_str();
    app.add_option("--log-file", logger.file, "Append the library's reports to this file instead of stderr");

    InspectOptions inspectOptions;
    CLI::App *inspectCommand = app.add_subcommand(
        "inspect", "Decode a captured HTTP response (status line, headers, empty line, body) and print its records");
    inspectCommand->add_option("FILE", inspectOptions.input, "The capture, or - for stdin")->required();
    inspectCommand->add_option("--save-attachments", inspectOptions.saveAttachmentsDir,
                               "Write every attachment into this directory");
    inspectCommand->add_flag("--json", inspectOptions.json, "Print JSON instead of text");

    PackageOptions packageOptions;
    CLI::App *packageCommand = app.add_subcommand(
        "package", "Package an envelope and attachments as the agent sends them (headers, empty line, body)");
    packageCommand->add_option("ENVELOPE", packageOptions.envelope, "The XML envelope")->required();
    packageCommand->add_option("ATTACHMENT", packageOptions.attachments, "Files to attach");
    packageCommand->add_option("-o,--output", packageOptions.output, "Where to write the message")
        ->capture_default_str();

    CompressOptions compressOptions;
    CLI::App *compressCommand = app.add_subcommand("compress", "Compress a file or device into a gzip image");
    compressCommand->add_option("SRC", compressOptions.source, "File or device to read")->required();
    compressCommand->add_option("DEST", compressOptions.destination, "Image to write")->required();
    compressCommand->add_option("--level", compressOptions.level, "Compression level, -1 to 9")
        ->capture_default_str()
        ->check(CLI::Range(-1, 9));
    compressCommand->add_option("--split", compressOptions.split,
                                "Write pieces DEST.000, DEST.001, ... of this many input bytes each (rounded up "
                                "to whole 32768-byte reads)")
        ->check(CLI::Range(1LL, std::numeric_limits<long long>::max()));

    DecompressOptions decompressOptions;
    CLI::App *decompressCommand =
        app.add_subcommand("decompress", "Restore an image, or the pieces of a split image in order");
    decompressCommand->add_option("SRC", decompressOptions.sources, "The image or its pieces, then DEST")
        ->required()
        ->expected(2, -1);
    std::string estimatePath;
    CLI::App *estimateCommand = app.add_subcommand("estimate", "Estimate the compressed size of a file or device");
    estimateCommand->add_option("PATH", estimatePath, "File or device")->required();

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError &error) {
        return app.exit(error) == 0 ? kSuccess : kUsage;
    }

    applyLoggerSettings(logger);
    try {
        if (inspectCommand->parsed()) return inspect(inspectOptions);
        if (packageCommand->parsed()) return package(packageOptions);
        if (compressCommand->parsed()) return compress(compressOptions);
        if (decompressCommand->parsed()) {
            decompressOptions.destination = decompressOptions.sources.back();
            decompressOptions.sources.pop_back();
            return decompress(decompressOptions);
        }
        if (estimateCommand->parsed()) return estimate(estimatePath);
    } catch (const Refused &refused) {
        std::cerr << "zovtool: " << refused.what() << '\n';
        return kRefused;
    } catch (const std::bad_alloc &) {
        std::cerr << "zovtool: out of memory\n";
        return kRefused;
    } catch (const std::exception &error) {
        std::cerr << "zovtool: " << error.what() << '\n';
        return kRefused;
    }
    return kUsage;
}
