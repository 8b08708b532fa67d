// The counting allocator of the torture program and the driver that fails
// each allocation of an operation in turn.
#include "Allocations.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <new>

#include "LogCapture.h"

extern "C" {
void *__real_malloc(std::size_t size);
void *__real_calloc(std::size_t count, std::size_t size);
void *__real_realloc(void *block, std::size_t size);
void __real_free(void *block);
}

namespace {

// The blocks made while armed and not freed yet, in static storage, so that
// following a block allocates nothing. A run keeps few blocks at a time.
class LiveBlocks {
public:
    void clear() noexcept { size_ = 0; }
    std::size_t size() const noexcept { return size_; }

    void insert(void *block) noexcept {
        if (size_ == std::size(blocks_)) {
            std::fputs("torture: too many blocks in one run\n", stderr);
            std::abort();
        }
        blocks_[size_++] = block;
    }

    bool erase(void *block) noexcept {
        for (std::size_t at = size_; at-- > 0;) {  // the latest blocks go first, as a rule
            if (blocks_[at] == block) {
                blocks_[at] = blocks_[--size_];
                return true;
            }
        }
        return false;
    }

private:
    void *blocks_[1 << 14] = {};
    std::size_t size_ = 0;
};

struct Injection {
    int armedDepth = 0;
    long counted = 0;  // allocations made while armed in this run
    long failAt = 0;   // the one to fail, counted from 1; 0 for none
    bool hit = false;
};

Injection state;
LiveBlocks live;

// Counts an allocation; true when it is the one to fail.
bool failThis() noexcept {
    if (state.armedDepth == 0 || ++state.counted != state.failAt) return false;
    state.hit = true;
    return true;
}

void *made(void *block) noexcept {
    if (block != nullptr && state.armedDepth > 0) live.insert(block);
    return block;
}

void release(void *block) noexcept {
    if (block != nullptr) live.erase(block);
    __real_free(block);
}

void *allocate(std::size_t size) noexcept { return failThis() ? nullptr : made(__real_malloc(size == 0 ? 1 : size)); }

void *allocateAligned(std::size_t size, std::align_val_t alignment) noexcept {
    if (failThis()) return nullptr;
    const auto align = static_cast<std::size_t>(alignment);
    return made(std::aligned_alloc(align, std::max<std::size_t>(1, (size + align - 1) / align) * align));
}

// A level-1 log line "[file][line][function] :message" as "function: message".
std::string reportsOf(const std::string &log) {
    std::string reports;
    for (std::size_t at = 0, end; at < log.size(); at = end + 1) {
        end = std::min(log.find('\n', at), log.size());
        const std::string line = log.substr(at, end - at);
        const std::size_t close = line.find("] :"), open = line.rfind('[', close);
        if (line.empty() || line[0] != '[' || close == std::string::npos) continue;
        std::string function = line.substr(open + 1, close - open - 1);
        function.erase(function.find_last_not_of(' ') + 1);
        reports += function + ": " + line.substr(close + 3) + "\n";
    }
    return reports;
}

torture::Outcome runOnce(const torture::Operation &operation, long failAt, const LogCapture &log) {
    log.clear();
    live.clear();
    state = {0, 0, failAt, false};
    std::string value = operation.run();
    EXPECT_EQ(state.armedDepth, 0) << operation.name;
    EXPECT_EQ(live.size(), 0u) << operation.name << ": blocks left behind, failing allocation " << failAt;
    return {std::move(value), reportsOf(log.text())};
}

// Whether every report line begins with one of the texts or is one of the
// clean reports; with some, whether one line at least begins with one of the texts.
bool reportsKnown(const std::string &reports, const std::vector<std::string> &starts, const std::string &clean,
                  bool some = false) {
    bool found = false;
    for (std::size_t at = 0, end; at < reports.size(); at = end + 1) {
        end = reports.find('\n', at);
        const std::string line = reports.substr(at, end - at + 1);
        const bool known = std::any_of(starts.begin(), starts.end(),
                                       [&](const std::string &start) { return line.rfind(start, 0) == 0; });
        if (!known && clean.find(line) == std::string::npos) return false;
        found = found || known;
    }
    return found || !some;
}

long totalAllocations = 0;

// Prints the total after the last test.
struct Total : testing::Environment {
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
    if (size == 0) {
        release(block);
        return nullptr;
    }
    if (failThis()) return nullptr;
    void *moved = __real_realloc(block, size);
    if (moved != nullptr && (live.erase(block) || state.armedDepth > 0)) live.insert(moved);
    return moved;
}

void __wrap_free(void *block) { release(block); }
}

void *operator new(std::size_t size) {
    if (void *block = allocate(size)) return block;
    throw std::bad_alloc();
}
void *operator new[](std::size_t size) { return operator new(size); }
void *operator new(std::size_t size, std::align_val_t alignment) {
    if (void *block = allocateAligned(size, alignment)) return block;
    throw std::bad_alloc();
}
void *operator new[](std::size_t size, std::align_val_t alignment) { return operator new(size, alignment); }
void *operator new(std::size_t size, const std::nothrow_t &) noexcept { return allocate(size); }
void *operator new[](std::size_t size, const std::nothrow_t &) noexcept { return allocate(size); }
void *operator new(std::size_t size, std::align_val_t alignment, const std::nothrow_t &) noexcept {
    return allocateAligned(size, alignment);
}
void *operator new[](std::size_t size, std::align_val_t alignment, const std::nothrow_t &) noexcept {
    return allocateAligned(size, alignment);
}
void operator delete(void *block) noexcept { release(block); }
void operator delete[](void *block) noexcept { release(block); }
void operator delete(void *block, std::size_t) noexcept { release(block); }
void operator delete[](void *block, std::size_t) noexcept { release(block); }
void operator delete(void *block, const std::nothrow_t &) noexcept { release(block); }
void operator delete[](void *block, const std::nothrow_t &) noexcept { release(block); }
void operator delete(void *block, std::align_val_t) noexcept { release(block); }
void operator delete[](void *block, std::align_val_t) noexcept { release(block); }
void operator delete(void *block, std::size_t, std::align_val_t) noexcept { release(block); }
void operator delete[](void *block, std::size_t, std::align_val_t) noexcept { release(block); }
void operator delete(void *block, std::align_val_t, const std::nothrow_t &) noexcept { release(block); }
void operator delete[](void *block, std::align_val_t, const std::nothrow_t &) noexcept { release(block); }

namespace torture {

Armed::Armed() noexcept { ++state.armedDepth; }
Armed::~Armed() { --state.armedDepth; }
Unarmed::Unarmed() noexcept : saved_(state.armedDepth) { state.armedDepth = 0; }
Unarmed::~Unarmed() { state.armedDepth = saved_; }

bool isSubsequence(std::string_view part, std::string_view whole) {
    std::size_t at = 0;
    for (char c : part) {
        at = whole.find(c, at);
        if (at == std::string_view::npos) return false;
        ++at;
    }
    return true;
}

Accept oneOf(std::vector<Outcome> outcomes) {
    return [outcomes](const Outcome &got, const Outcome &) {
        return std::find(outcomes.begin(), outcomes.end(), got) != outcomes.end();
    };
}

Accept fails(std::string value, std::vector<std::string> reports) {
    return [value, reports](const Outcome &got, const Outcome &clean) {
        return got.value == value && reportsKnown(got.reports, reports, clean.reports, true);
    };
}

Accept loses(std::vector<std::string> reports) {
    return [reports](const Outcome &got, const Outcome &clean) {
        const std::size_t status = clean.value.find('\n') + 1;
        const std::string_view gotRest = std::string_view(got.value).substr(status);
        return got.value.compare(0, status, clean.value, 0, status) == 0 &&
               isSubsequence(gotRest, std::string_view(clean.value).substr(status)) &&
               reportsKnown(got.reports, reports, clean.reports);
    };
}

Accept anyOf(std::vector<Accept> accepts) {
    return [accepts](const Outcome &got, const Outcome &clean) {
        return std::any_of(accepts.begin(), accepts.end(), [&](const Accept &accept) { return accept(got, clean); });
    };
}

std::map<std::string, long> failEachAllocation(const char *group, const std::vector<Operation> &operations) {
    LogCapture log(1);
    std::map<std::string, long> counts;
    std::string line;
    long groupTotal = 0;
    for (const Operation &operation : operations) {
        const Outcome clean = runOnce(operation, 0, log);
        const long count = state.counted;
        for (long failAt = 1; failAt <= count; ++failAt) {
            const Outcome got = runOnce(operation, failAt, log);
            EXPECT_TRUE(state.hit) << operation.name << ": allocation " << failAt << " of " << count << " not made";
            EXPECT_TRUE(got == clean || operation.accept(got, clean))
                << operation.name << ", failing allocation " << failAt << " of " << count << "\n got: " << got.value
                << "\n reports:\n" << got.reports << " clean: " << clean.value << "\n reports:\n" << clean.reports;
        }
        counts[operation.name] = count;
        groupTotal += count;
        line += (line.empty() ? " (" : ", ") + operation.name + " " + std::to_string(count);
    }
    totalAllocations += groupTotal;
    std::printf("torture %s: %ld allocation points in %zu operations%s)\n", group, groupTotal, operations.size(),
                line.c_str());
    testing::Test::RecordProperty("allocationPoints", std::to_string(groupTotal));
    return counts;
}

}  // namespace torture
