// MIME decoding of a large multipart body: a small XML envelope followed by a
// binary attachment in base64, wrapped at 76 characters (the usual form); and
// of extreme shapes, many parts or one long line.
// Bytes per second count the HTTP body; the time per body size shows whether
// decoding stays linear.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <string>

#include "LargeBlocks.h"
#include "../tests/TransportData.h"
#include "MimeTools.h"

namespace {

std::string multipartBody(std::size_t attachmentSize) {
    std::string envelope = "<zovMessage>";
    for (int i = 0; i < 40; ++i) envelope += "<command><name>c" + std::to_string(i) + "</name></command>";
    envelope += "</zovMessage>";
    return "--B\r\nContent-Type: text/xml; charset=UTF-8\r\nContent-ID: zovMessage.xml\r\n\r\n" + envelope +
           "\r\n--B\r\nContent-Type: application/octet-stream\r\nContent-Transfer-Encoding: base64\r\n\r\n" +
           base64Text(randomBytes(attachmentSize), 76) + "--B--\r\n";
}

// Decodes body with processMime in every iteration and releases the result,
// timed with the decoding or (timeRelease false) outside it.
void decodeAndRelease(benchmark::State &state, const std::string &body, bool timeRelease = true) {
    HttpHeader *headers = nullptr;
    httpPayloadAddHeader(&headers, "Content-Type", "multipart/mixed; boundary=\"B\"");
    httpPayloadAddHeader(&headers, "Content-Length", std::to_string(body.size()).c_str());
    for (auto _ : state) {
        char *text = nullptr;
        MimeStruct *rest = nullptr;
        if (processMime(headers, body.data(), &text, &rest) != 0 || rest == nullptr) {
            state.SkipWithError("processMime failed");
            break;
        }
        if (!timeRelease) state.PauseTiming();
        std::free(text);
        freeMimeStruct(rest);
        if (!timeRelease) state.ResumeTiming();
    }
    httpPayloadFreeHeaders(&headers);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * body.size()));
}

// Argument: decoded size of the attachment in MiB (6 gives a body of about
// 8 MiB, 48 one of about 64 MiB).
void BM_ProcessMime(benchmark::State &state) {
    const std::string body = multipartBody(static_cast<std::size_t>(state.range(0)) << 20);
    decodeAndRelease(state, body, false);
    state.counters["body_MiB"] = static_cast<double>(body.size()) / (1 << 20);
}
BENCHMARK(BM_ProcessMime)->Arg(6)->Arg(48)->Unit(benchmark::kMillisecond)->UseRealTime();

// Extreme shapes at two sizes 8x apart, decoded and released: a body of many
// small parts, and one part whose content is a single line.

void BM_ManyParts(benchmark::State &state) {
    keepLargeBlocksOnTheHeap();
    std::string body = "--B\r\n\r\nenvelope\r\n";
    for (int64_t i = 1; i < state.range(0); ++i)
        body += "--B\r\nN: " + std::to_string(i) + "\r\n\r\n" + std::to_string(i) + "\r\n";
    decodeAndRelease(state, body + "--B--\r\n");
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_ManyParts)->Arg(12500)->Arg(100000)->Unit(benchmark::kMillisecond);

// Argument: the line's length in MB.
void BM_OneLinePart(benchmark::State &state) {
    keepLargeBlocksOnTheHeap();
    const std::string line(static_cast<std::size_t>(state.range(0)) << 20, 'x');
    decodeAndRelease(state, "--B\r\n\r\nenvelope\r\n--B\r\n\r\n" + line + "\r\n--B--\r\n");
}
BENCHMARK(BM_OneLinePart)->Arg(12)->Arg(96)->Unit(benchmark::kMillisecond);

}  // namespace
