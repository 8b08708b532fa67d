// Exhausted memory while a configuration is parsed or built: this program
// links the platform-data and parser sources with calloc and free wrapped
// (-Wl,--wrap), so a run can fail one chosen allocation and count blocks.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "ConfigTree.h"

namespace {

long gCallsBeforeFailure = -1;  // -1: no failure armed
long gLiveBlocks = 0;           // blocks from the wrapped calloc not yet released

}  // namespace

extern "C" {
void *__real_calloc(std::size_t count, std::size_t size);
void __real_free(void *block);

void *__wrap_calloc(std::size_t count, std::size_t size) {
    if (gCallsBeforeFailure >= 0 && gCallsBeforeFailure-- == 0) return nullptr;
    void *block = __real_calloc(count, size);
    if (block != nullptr) ++gLiveBlocks;
    return block;
}

void __wrap_free(void *block) {
    if (block != nullptr) --gLiveBlocks;
    __real_free(block);
}
}

namespace {

// Fails each allocation of a parse in turn: every run that hits a failure
// yields nothing (or, for an asset tag, drops just that tag), reports it and
// leaves no block behind. Returns the number of allocations of a whole parse.
long failEachAllocation(const char *outline) {
    Command command = commandFrom(outline);
    for (long failing = 0;; ++failing) {
        LogCapture log(1);
        gLiveBlocks = 0;
        gCallsBeforeFailure = failing;
        Platform record(parseConfigurationCommand(command.get()));
        bool hit = gCallsBeforeFailure < 0;
        gCallsBeforeFailure = -1;
        if (!hit) return failing;
        EXPECT_TRUE(log.contains(":Error while memory allocation\n")) << "allocation " << failing;
        if (record != nullptr) {
            EXPECT_TRUE(log.contains(reportLine("parsePair", "Error while memory allocation")));
            EXPECT_EQ(listTexts(record->assetTags, &PairStruct::key).size(), 1u);
        }
        record.reset();
        EXPECT_EQ(gLiveBlocks, 0) << "allocation " << failing;
    }
}

}  // namespace

TEST(ConfigAllocation, ExhaustedMemoryFailsTheCommandWithoutLeaks) {
    // record, adapter, 2 suffixes, 2 DNS servers, 1 WINS server, 2 tags
    EXPECT_EQ(failEachAllocation(kWired), 9);
    // record, adapter, 2 profiles, 2 WEP keys
    EXPECT_EQ(failEachAllocation(kWireless), 6);
}

TEST(ConfigAllocation, AddOperationsReportExhaustedMemory) {
    Platform record(newPlatformData());
    LogCapture log(1);
    for (auto add : {+[](PlatformData *p) -> void * { return addNetworkInterface(p); },
                     +[](PlatformData *p) -> void * { return addApplication(p); },
                     +[](PlatformData *p) -> void * { return addPort(p); },
                     +[](PlatformData *p) -> void * { return addStorage(p); }}) {
        gCallsBeforeFailure = 0;
        EXPECT_EQ(add(record.get()), nullptr);
    }
    gCallsBeforeFailure = -1;
    EXPECT_EQ(record->networkInterfaces, nullptr);
    EXPECT_EQ(record->applications, nullptr);
    std::string text = log.text();
    EXPECT_NE(text.find(reportLine("addNetworkInterface", "Error while memory allocation")), std::string::npos);
    EXPECT_NE(text.find(reportLine("addApplication", "Failed to allocate memory for new application structure")),
              std::string::npos);
    EXPECT_NE(text.find(reportLine("addPort", "Error while memoy allocation")), std::string::npos);
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 3);
}
