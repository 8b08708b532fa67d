// The counting allocator of the torture program and the driver that fails each allocation in turn.
#include "Allocations.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <new>
#include <sstream>

#include "LogCapture.h"

extern "C" {
void *__real_malloc(std::size_t), *__real_calloc(std::size_t, std::size_t), *__real_realloc(void *, std::size_t);
void __real_free(void *);
}

namespace {

using torture::armedDepth;
long counted = 0, failAt = 0;  // allocations made while armed in this run; the one to fail, from 1

// The blocks made while armed and not freed yet: following them allocates nothing.
void *live[1 << 14];
std::size_t liveCount = 0;

void follow(void *block) noexcept {
    if (liveCount == std::size(live)) std::abort();
    live[liveCount++] = block;
}

// Stops following block; whether it was followed.
bool forget(void *block) noexcept {
    void **end = live + liveCount, **found = std::find(live, end, block);
    if (found == end) return false;
    *found = live[--liveCount];
    return true;
}

bool failThis() noexcept { return armedDepth > 0 && ++counted == failAt; }

void *made(void *block) noexcept {
    if (block != nullptr && armedDepth > 0) follow(block);
    return block;
}

void release(void *block) noexcept {
    forget(block);
    __real_free(block);
}

// Level-1 log lines "[file][line][function] :message" as "function: message".
std::string reportsOf(const std::string &log) {
    std::string reports;
    std::istringstream lines(log);
    for (std::string line; std::getline(lines, line);) {
        const std::size_t close = line.find("] :"), open = line.rfind('[', close);
        if (line[0] != '[' || close == std::string::npos) continue;
        const std::size_t end = line.find_last_not_of(' ', close - 1) + 1;
        reports += line.substr(open + 1, end - open - 1) + ": " + line.substr(close + 3) + "\n";
    }
    return reports;
}

long totalAllocations = 0;

struct Total : testing::Environment {  // prints the total after the last test
    void TearDown() override { std::printf("torture: %ld allocation points in all\n", totalAllocations); }
};
[[maybe_unused]] testing::Environment *const kTotal = testing::AddGlobalTestEnvironment(new Total);

}  // namespace

extern "C" {
void *__wrap_malloc(std::size_t size) { return failThis() ? nullptr : made(__real_malloc(size)); }
void *__wrap_calloc(std::size_t count, std::size_t size) {
    return failThis() ? nullptr : made(__real_calloc(count, size));
}
void *__wrap_realloc(void *block, std::size_t size) {
    if (block == nullptr) return __wrap_malloc(size);
    if (size == 0) return release(block), nullptr;
    if (failThis()) return nullptr;
    void *moved = __real_realloc(block, size);
    if (moved != nullptr && (forget(block) || armedDepth > 0)) follow(moved);
    return moved;
}
void __wrap_free(void *block) { release(block); }
}

// Every form but the aligned ones: a form left to the sanitizer runtime would hand out blocks
// these could not release.
void *operator new(std::size_t size, const std::nothrow_t &) noexcept {
    return failThis() ? nullptr : made(__real_malloc(size == 0 ? 1 : size));
}
void *operator new[](std::size_t size, const std::nothrow_t &) noexcept { return operator new(size, std::nothrow); }
void *operator new(std::size_t size) {
    if (void *block = operator new(size, std::nothrow)) return block;
    throw std::bad_alloc();
}
void *operator new[](std::size_t size) { return operator new(size); }
void operator delete(void *block) noexcept { release(block); }
void operator delete[](void *block) noexcept { release(block); }
void operator delete(void *block, std::size_t) noexcept { release(block); }
void operator delete[](void *block, std::size_t) noexcept { release(block); }
void operator delete(void *block, const std::nothrow_t &) noexcept { release(block); }
void operator delete[](void *block, const std::nothrow_t &) noexcept { release(block); }

namespace torture {

int armedDepth = 0;

int knownReports(const std::string &reports, const std::vector<std::string> &starts, const std::string &clean) {
    int known = 0;
    std::istringstream lines(reports);
    for (std::string line; std::getline(lines, line);) {
        line += '\n';
        const auto begins = [&](const std::string &start) { return line.rfind(start, 0) == 0; };
        if (std::any_of(starts.begin(), starts.end(), begins)) ++known;
        else if (clean.find(line) == std::string::npos) return -1;
    }
    return known;
}

std::map<std::string, long> failEachAllocation(const std::vector<Operation> &operations) {
    LogCapture log(1);
    std::map<std::string, long> counts;
    const auto runOnce = [&](const Operation &operation, long failing) {
        log.clear(), liveCount = 0, counted = 0, failAt = failing;
        std::string value = operation.run();
        EXPECT_EQ(liveCount, 0u) << operation.name << ": blocks left behind, failing allocation " << failing;
        EXPECT_GE(counted, failing) << operation.name << ": allocation " << failing << " not made";
        return Outcome{std::move(value), reportsOf(log.text())};
    };
    for (const Operation &operation : operations) {
        const Outcome clean = runOnce(operation, 0);
        const long count = counts[operation.name] = counted;
        for (long failing = 1; failing <= count; ++failing) {
            const Outcome got = runOnce(operation, failing);
            const auto accepted = [&](const Accept &accept) { return accept(got, clean); };
            EXPECT_TRUE((got.value == clean.value && got.reports == clean.reports) ||
                        std::any_of(operation.accepts.begin(), operation.accepts.end(), accepted))
                << operation.name << ", failing allocation " << failing << " of " << count << "\n got: " << got.value
                << "\n reports:\n" << got.reports << " clean: " << clean.value << "\n reports:\n" << clean.reports;
        }
        totalAllocations += count;
    }
    return counts;
}

}  // namespace torture
