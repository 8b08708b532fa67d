// Exhausted memory while a configuration is parsed or built: this program
// links the platform-data and parser sources with calloc and free wrapped
// (-Wl,--wrap), so a run can fail one chosen allocation and count blocks.
#include <gtest/gtest.h>

#include "ConfigCommands.h"

namespace {

long gCallsBeforeFailure = -1;  // -1: no failure armed
long gLiveBlocks = 0;           // blocks from the wrapped calloc not yet released

// Fails each allocation of a parse in turn: every run that hits a failure
// yields nothing (or, for an asset tag, drops just that tag), reports it and
// leaves no block behind. Returns the number of allocations of a whole parse.
long failEachAllocation(const char *configuration) {
    Delivered delivered;
    EXPECT_EQ(delivered.parse(envelopes({configuration})), 0);
    for (long failing = 0;; ++failing) {
        LogCapture log(1);
        gLiveBlocks = 0;
        gCallsBeforeFailure = failing;
        Platform record(parseConfigurationCommand(delivered.commands.at(0).record));
        bool hit = gCallsBeforeFailure < 0;
        gCallsBeforeFailure = -1;
        if (!hit) return failing;
        EXPECT_TRUE(log.contains(":Error while memory allocation\n")) << "allocation " << failing;
        if (record != nullptr) {
            EXPECT_TRUE(log.contains(reportLine("parsePair", "Error while memory allocation")));
            EXPECT_TRUE(record->assetTags != nullptr && record->assetTags->next == nullptr);
        }
        record.reset();
        EXPECT_EQ(gLiveBlocks, 0) << "allocation " << failing;
    }
}

}  // namespace

extern "C" {
void *__real_calloc(std::size_t count, std::size_t size);
void __real_free(void *block);

void *__wrap_calloc(std::size_t count, std::size_t size) {
    if (gCallsBeforeFailure >= 0 && gCallsBeforeFailure-- == 0) return nullptr;
    void *block = __real_calloc(count, size);
    gLiveBlocks += block != nullptr;
    return block;
}

void __wrap_free(void *block) {
    gLiveBlocks -= block != nullptr;
    __real_free(block);
}
}

TEST(ConfigAllocation, ExhaustedMemoryFailsTheCommandWithoutLeaks) {
    // record, adapter, 2 suffixes, 2 DNS servers, 1 WINS server, 2 tags
    EXPECT_EQ(failEachAllocation(kWired), 9);
    // record, adapter, 2 profiles, 2 WEP keys
    EXPECT_EQ(failEachAllocation(kWireless), 6);
}

TEST(ConfigAllocation, AddOperationsReportExhaustedMemory) {
    Platform record(newPlatformData());
    LogCapture log(1);
    auto failing = [&](auto add) { return gCallsBeforeFailure = 0, add(record.get()) == nullptr; };
    EXPECT_TRUE(failing(addNetworkInterface) && failing(addApplication) && failing(addPort) && failing(addStorage));
    static const PlatformData zero{};
    EXPECT_EQ(std::memcmp(record.get(), &zero, sizeof zero), 0);
    expectReports(log, {"addNetworkInterface: Error while memory allocation",
                        "addApplication: Failed to allocate memory for new application structure",
                        "addPort: Error while memoy allocation"});
}
