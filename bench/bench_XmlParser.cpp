// The envelope parser on a large pretty-printed command envelope (200000
// sibling leaf elements, 10.0 MB), next to expat alone with empty handlers on
// the same document, plus the heap the parse needs.
//
// The records a parse makes (600000 small blocks) are released untimed after
// each iteration. How the C library's heap is left by that release matters
// to the next parse: BM_ParserAgainstExpat times both on the same document in
// each iteration, once on a warm heap (the released blocks merged and kept
// for reuse) and once on a cold one (returned to the system with malloc_trim,
// so every record lands on a fresh page, as in a new process).
//
// Heap use is measured by a counting allocator: this program replaces malloc
// and its relatives, forwards them to the C library and adds up the usable
// size of every live block (library, expat and C++ allocations alike). The
// memory benchmarks report, per input byte: the peak of live heap during the
// parse above what was live before it, and what is still live after
// endXmlParser (the records handed to the callee). The input itself is not
// counted.
#include <benchmark/benchmark.h>

#include <expat.h>
#include <malloc.h>

#include <cstdint>
#include <cstdio>
#include <ctime>
#include <cstring>
#include <map>
#include <string>

#include "CharBuffer.h"
#include "XmlFunctions.h"
#include "XmlParser.h"
#include "ZovLogger.h"

extern "C" {
void *__libc_malloc(size_t size);
void *__libc_calloc(size_t count, size_t size);
void *__libc_realloc(void *block, size_t size);
void *__libc_memalign(size_t alignment, size_t size);
void __libc_free(void *block);
}

namespace {

struct HeapCounter {
    bool on = false;
    int64_t live = 0;
    int64_t peak = 0;
    int64_t allocations = 0;

    void added(void *block) {
        if (!on || block == nullptr) return;
        live += static_cast<int64_t>(malloc_usable_size(block));
        ++allocations;
        if (live > peak) peak = live;
    }
    void removed(void *block) {
        if (on && block != nullptr) live -= static_cast<int64_t>(malloc_usable_size(block));
    }
} heap;

}  // namespace

extern "C" {
void *malloc(size_t size) {
    void *block = __libc_malloc(size);
    heap.added(block);
    return block;
}
void *calloc(size_t count, size_t size) {
    void *block = __libc_calloc(count, size);
    heap.added(block);
    return block;
}
void *realloc(void *old, size_t size) {
    heap.removed(old);
    void *block = __libc_realloc(old, size);
    heap.added(block != nullptr ? block : (size != 0 ? old : nullptr));
    return block;
}
void free(void *block) {
    heap.removed(block);
    __libc_free(block);
}
void *memalign(size_t alignment, size_t size) {
    void *block = __libc_memalign(alignment, size);
    heap.added(block);
    return block;
}
void *aligned_alloc(size_t alignment, size_t size) { return memalign(alignment, size); }
int posix_memalign(void **out, size_t alignment, size_t size) {
    *out = memalign(alignment, size);
    return *out == nullptr ? 12 /* ENOMEM */ : 0;
}
}

namespace {

// A command envelope as the server writes it, indented, with `leaves` leaf
// elements in the command element (50 bytes each).
const std::string &commandDocument(std::size_t leaves) {
    static std::map<std::size_t, std::string> made;
    std::string &xml = made[leaves];
    if (!xml.empty()) return xml;
    xml =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<zovMessage>\n"
        "  <deviceGuid>6f1c2a9e-0d3b-4e57-9a1f-2b8c7d4e5f60</deviceGuid>\n"
        "  <commandSet>\n    <commandEnvelope>\n"
        "      <commandGuid>c0ffee01-0000-4000-8000-000000000001</commandGuid>\n"
        "      <bulkConfiguration>\n";
    char line[80];
    for (std::size_t i = 0; i < leaves; ++i) {
        int n = std::snprintf(line, sizeof line, "        <setting>value %07zu of payload</setting>\n", i);
        xml.append(line, static_cast<std::size_t>(n));
    }
    xml += "      </bulkConfiguration>\n    </commandEnvelope>\n  </commandSet>\n</zovMessage>\n";
    return xml;
}

constexpr std::size_t kLeaves = 200000;

void XMLCALL noStart(void *, const XML_Char *, const XML_Char **) {}
void XMLCALL noEnd(void *, const XML_Char *) {}
void XMLCALL noText(void *, const XML_Char *, int) {}

void rawExpat(const std::string &xml) {
    XML_Parser parser = XML_ParserCreate(nullptr);
    XML_SetElementHandler(parser, noStart, noEnd);
    XML_SetCharacterDataHandler(parser, noText);
    benchmark::DoNotOptimize(XML_Parse(parser, xml.data(), static_cast<int>(xml.size()), 1));
    XML_ParserFree(parser);
}

void BM_RawExpatEmptyHandlers(benchmark::State &state) {
    const std::string &xml = commandDocument(static_cast<std::size_t>(state.range(0)));
    for (auto _ : state) rawExpat(xml);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * xml.size()));
}
BENCHMARK(BM_RawExpatEmptyHandlers)->Arg(kLeaves)->Unit(benchmark::kMillisecond);

// The callee: keeps the chain it received and releases it afterwards.
struct Callee {
    ZovCommandStruct *chain = nullptr;
    static void take(void *self, ZovCommandStruct *record) {
        auto *callee = static_cast<Callee *>(self);
        if (callee->chain == nullptr) callee->chain = record;
        benchmark::DoNotOptimize(record->rootNode);
    }
    void release() {
        for (ZovCommandStruct *c = chain; c != nullptr; c = c->next) {
            free(c->commandName);
            free(c->commandGuid);
        }
        freeZovCommandStruct(chain);
        chain = nullptr;
    }
};

// Parses xml (or chain, when given) into records.
void parseIntoRecords(const std::string &xml, CharBuffer *chain, Callee &callee) {
    XmlParserStruct *parser = initXmlParser();
    setXmlParserUserData(parser, &callee);
    setXmlParserCommandCallBack(parser, Callee::take);
    if (chain != nullptr) {
        xmlParserParseCharBuffer(parser, chain);
    } else {
        xmlParserParseChar(parser, xml.c_str());
    }
    endXmlParser(parser);
}

// Releases the records; on a warm heap their blocks are merged for reuse (a
// request above the small sizes does that), on a cold one returned.
void releaseRecords(Callee &callee, bool cold) {
    callee.release();
    if (cold) {
        malloc_trim(0);
    } else {
        free(malloc(4096));
    }
}

CharBuffer *chainOf(const std::string &xml) {
    CharBuffer *chain = createCharBuffer();
    addDataToCharBuffer(chain, xml.data(), static_cast<int>(xml.size()));
    return chain;
}

void BM_ParseIntoRecords(benchmark::State &state) {
    const std::string &xml = commandDocument(static_cast<std::size_t>(state.range(0)));
    const bool fromChain = state.range(1) != 0;
    CharBuffer *chain = fromChain ? chainOf(xml) : nullptr;
    for (auto _ : state) {
        Callee callee;
        parseIntoRecords(xml, chain, callee);
        state.PauseTiming();
        if (callee.chain == nullptr) state.SkipWithError("no command delivered");
        releaseRecords(callee, false);
        state.ResumeTiming();
    }
    freeAllCharBuffers(chain);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * xml.size()));
    state.SetLabel(fromChain ? "from a chain" : "from a string");
}
// Two sizes show the time is proportional to the size.
BENCHMARK(BM_ParseIntoRecords)
    ->Args({kLeaves / 4, 0})
    ->Args({kLeaves, 0})
    ->Args({kLeaves, 1})
    ->Unit(benchmark::kMillisecond);

double cpuSeconds() {
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

// Expat alone and the parser, one after the other in every iteration.
void BM_ParserAgainstExpat(benchmark::State &state) {
    const std::string &xml = commandDocument(kLeaves);
    const bool cold = state.range(0) != 0;
    double expatSeconds = 0, parserSeconds = 0;
    for (auto _ : state) {
        double start = cpuSeconds();
        rawExpat(xml);
        expatSeconds += cpuSeconds() - start;
        Callee callee;
        start = cpuSeconds();
        parseIntoRecords(xml, nullptr, callee);
        parserSeconds += cpuSeconds() - start;
        releaseRecords(callee, cold);
    }
    const double bytes = static_cast<double>(state.iterations() * xml.size());
    state.counters["expat_MBps"] = bytes / expatSeconds / 1e6;
    state.counters["parser_MBps"] = bytes / parserSeconds / 1e6;
    state.counters["parser_to_expat"] = expatSeconds / parserSeconds;
    state.SetLabel(cold ? "cold heap" : "warm heap");
}
BENCHMARK(BM_ParserAgainstExpat)->Arg(0)->Arg(1)->Iterations(15)->Unit(benchmark::kMillisecond);

void BM_PeakHeap(benchmark::State &state) {
    const std::string &xml = commandDocument(kLeaves);
    const int mode = static_cast<int>(state.range(0));  // 0 string, 1 chain, 2 raw expat
    CharBuffer *chain = mode == 1 ? chainOf(xml) : nullptr;
    const auto input = static_cast<double>(xml.size());
    for (auto _ : state) {
        Callee callee;
        heap.on = true;
        heap.live = heap.peak = heap.allocations = 0;
        if (mode == 2) {
            rawExpat(xml);
        } else {
            parseIntoRecords(xml, chain, callee);
        }
        const int64_t retained = heap.live;
        callee.release();
        heap.on = false;
        state.counters["peak_bytes_per_input_byte"] = static_cast<double>(heap.peak) / input;
        state.counters["records_bytes_per_input_byte"] = static_cast<double>(retained) / input;
        state.counters["allocations"] = static_cast<double>(heap.allocations);
        state.counters["input_bytes"] = input;
    }
    freeAllCharBuffers(chain);
    state.SetLabel(mode == 0 ? "parser, string" : mode == 1 ? "parser, chain" : "raw expat");
}
BENCHMARK(BM_PeakHeap)->Arg(0)->Arg(1)->Arg(2)->Iterations(1)->Unit(benchmark::kMillisecond);

// Extreme shapes, each at two sizes 8x apart (equal elements per second
// show that parse, write-back and release stay linear): a command element nested
// `levels` deep, or holding `siblings` leaf elements. Each iteration parses,
// writes the tree back as XML and releases the records.
std::string nestedDocument(std::size_t levels) {
    std::string xml = "<commandEnvelope><commandGuid>g</commandGuid><c>";
    for (std::size_t i = 0; i < levels; ++i) xml += "<n>";
    xml += "tip";
    for (std::size_t i = 0; i < levels; ++i) xml += "</n>";
    return xml + "</c></commandEnvelope>";
}

std::string siblingDocument(std::size_t siblings) {
    std::string xml = "<commandEnvelope><commandGuid>g</commandGuid><c>";
    for (std::size_t i = 0; i < siblings; ++i) xml += "<s>" + std::to_string(i) + "</s>";
    return xml + "</c></commandEnvelope>";
}

void parseWriteRelease(benchmark::State &state, const std::string &xml) {
    for (auto _ : state) {
        Callee callee;
        parseIntoRecords(xml, nullptr, callee);
        CharBuffer *written = createCharBuffer();
        addSubNodeStringsRecursive(written, callee.chain != nullptr ? callee.chain->rootNode : nullptr);
        benchmark::DoNotOptimize(getTotalBufferLength(written));
        freeAllCharBuffers(written);
        callee.release();
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void BM_NestedEnvelope(benchmark::State &state) {
    parseWriteRelease(state, nestedDocument(static_cast<std::size_t>(state.range(0))));
}
BENCHMARK(BM_NestedEnvelope)->Arg(12500)->Arg(100000)->Unit(benchmark::kMillisecond);

void BM_SiblingEnvelope(benchmark::State &state) {
    parseWriteRelease(state, siblingDocument(static_cast<std::size_t>(state.range(0))));
}
BENCHMARK(BM_SiblingEnvelope)->Arg(125000)->Arg(1000000)->Unit(benchmark::kMillisecond);

// The logger's dump of the sibling tree, into /dev/null.
void BM_DumpSiblingTree(benchmark::State &state) {
    Callee callee;
    parseIntoRecords(siblingDocument(static_cast<std::size_t>(state.range(0))), nullptr, callee);
    zovLoggerSetLogFileName("/dev/null");
    zovLoggerSetLogToFile(1);
    for (auto _ : state) dumpZovNode("tree", 1, 1, callee.chain->rootNode);
    zovLoggerSetLogToFile(0);
    callee.release();
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_DumpSiblingTree)->Arg(125000)->Arg(1000000)->Unit(benchmark::kMillisecond);

// One element holding 8 MB of text in short lines (expat hands it over in
// about a million chunks).
void BM_LargeText(benchmark::State &state) {
    std::string xml = "<dialog><d><text>";
    while (xml.size() < (8u << 20)) xml += "a line of text &amp;\n";
    xml += "</text></d></dialog>";
    for (auto _ : state) {
        XmlParserStruct *parser = initXmlParser();  // no callback: the record is released
        xmlParserParseChar(parser, xml.c_str());
        endXmlParser(parser);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * xml.size()));
}
BENCHMARK(BM_LargeText)->Unit(benchmark::kMillisecond);

}  // namespace
