// MIME decoding of a large multipart body: a small XML envelope followed by a
// binary attachment in base64, wrapped at 76 characters (the usual form).
// Bytes per second count the HTTP body; the time per body size shows whether
// decoding stays linear.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <string>

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

// Argument: decoded size of the attachment in MiB (6 gives a body of about
// 8 MiB, 48 one of about 64 MiB).
void BM_ProcessMime(benchmark::State &state) {
    const std::string body = multipartBody(static_cast<std::size_t>(state.range(0)) << 20);
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
        state.PauseTiming();
        std::free(text);
        freeMimeStruct(rest);
        state.ResumeTiming();
    }
    httpPayloadFreeHeaders(&headers);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * body.size()));
    state.counters["body_MiB"] = static_cast<double>(body.size()) / (1 << 20);
}
BENCHMARK(BM_ProcessMime)->Arg(6)->Arg(48)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
