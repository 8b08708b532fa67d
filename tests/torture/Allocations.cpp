// The counting allocator of the torture program and the driver that fails
// each allocation of an operation in turn.
#include "Allocations.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <new>
#include <sstream>

#include "LogCapture.h"

extern "C" {
void *__real_malloc(std::size_t size), *__real_calloc(std::size_t count, std::size_t size);
void *__real_realloc(void *block, std::size_t size);
void __real_free(void *block);
}

namespace {

struct Injection {
    int armedDepth = 0;
    long counted = 0;  // allocations made while armed in this run
    long failAt = 0;   // the one to fail, counted from 1; 0 for none
    bool hit = false;
} state;

// The blocks made while armed and not freed yet: following them allocates nothing.
void *live[1 << 14];
std::size_t liveCount = 0;

void follow(void *block) noexcept {
    if (liveCount == std::size(live)) std::abort();  // too many blocks in one run
    live[liveCount++] = block;
}

// Stops following block; whether it was followed.
bool forget(void *block) noexcept {
    void **end = live + liveCount, **found = std::find(live, end, block);
    if (found == end) return false;
    *found = live[--liveCount];
    return true;
}

// Counts an allocation; true when it is the one to fail.
bool failThis() noexcept {
    if (state.armedDepth == 0 || ++state.counted != state.failAt) return false;
    return state.hit = true;
}

void *made(void *block) noexcept {
    if (block != nullptr && state.armedDepth > 0) follow(block);
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

torture::Outcome runOnce(const torture::Operation &operation, long failAt, const LogCapture &log) {
    log.clear();
    liveCount = 0;
    state = {0, 0, failAt, false};
    std::string value = operation.run();
    EXPECT_EQ(state.armedDepth, 0) << operation.name;
    EXPECT_EQ(liveCount, 0u) << operation.name << ": blocks left behind, failing allocation " << failAt;
    return {std::move(value), reportsOf(log.text())};
}

// Whether each report line begins with one of starts or is a clean one (and with
// some, whether one at least begins so).
bool reportsKnown(const std::string &reports, const std::vector<std::string> &starts, const std::string &clean,
                  bool some = false) {
    bool found = false;
    std::istringstream lines(reports);
    for (std::string line; std::getline(lines, line);) {
        line += '\n';
        const bool known = std::any_of(starts.begin(), starts.end(),
                                       [&](const std::string &start) { return line.rfind(start, 0) == 0; });
        if (!known && clean.find(line) == std::string::npos) return false;
        found = found || known;
    }
    return found || !some;
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
    if (moved != nullptr && (forget(block) || state.armedDepth > 0)) follow(moved);
    return moved;
}
void __wrap_free(void *block) { release(block); }
}

// Every form but the aligned ones (no over-aligned type is used): a form left
// to the sanitizer runtime would hand out blocks these could not release.
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

Scope::Scope(bool arm) noexcept : saved(state.armedDepth) { state.armedDepth = arm ? saved + 1 : 0; }
Scope::~Scope() { state.armedDepth = saved; }

bool isSubsequence(std::string_view part, std::string_view whole) {
    std::size_t at = 0;
    for (char c : part)
        if ((at = whole.find(c, at) + 1) == 0) return false;  // npos + 1 is 0
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
        const std::string_view rest(clean.value.data() + status, clean.value.size() - status);
        return got.value.compare(0, status, clean.value, 0, status) == 0 &&
               isSubsequence(std::string_view(got.value).substr(status), rest) &&
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
    return counts;
}

}  // namespace torture
