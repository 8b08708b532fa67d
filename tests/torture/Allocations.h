// Allocation failure injection: malloc, calloc, realloc and free are wrapped and operator new and
// delete replaced, so each allocation of the library, expat and zlib goes through one counter.
#pragma once

#include <algorithm>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace torture {

extern int armedDepth;

// While armed (scopes nest), allocations are counted and followed until freed; Scope(false) suspends that.
struct Scope {
    int saved = armedDepth;
    explicit Scope(bool arm) noexcept { armedDepth = arm ? saved + 1 : 0; }
    ~Scope() { armedDepth = saved; }
};

template <typename Call>
decltype(auto) armed(Call &&call) {
    Scope scope(true);
    return call();
}

// A run's result as text, and its level-1 reports as "function: message" lines.
struct Outcome {
    std::string value, reports;
};
using Accept = std::function<bool(const Outcome &got, const Outcome &clean)>;
// run() calls the library armed, releases what it got and describes the result; a failing run
// must end as the clean one or as one of accepts allows, given the clean run.
struct Operation {
    std::string name;
    std::function<std::string()> run;
    std::vector<Accept> accepts;
};

// Runs each operation cleanly, then failing each of its allocations in turn: no run may leave a
// block behind and each failing run must be accepted. Returns the allocation counts by name.
std::map<std::string, long> failEachAllocation(const std::vector<Operation> &operations);

// How many report lines begin with one of starts; -1 if one neither does nor is a clean one.
int knownReports(const std::string &reports, const std::vector<std::string> &starts, const std::string &clean);

inline bool isSubsequence(std::string_view part, std::string_view whole) {
    std::size_t at = 0;
    for (char c : part)
        if ((at = whole.find(c, at) + 1) == 0) return false;  // npos + 1 is 0
    return true;
}

// The run ended as one of these outcomes.
inline Accept oneOf(std::vector<Outcome> outcomes) {
    return [outcomes](const Outcome &got, const Outcome &) {
        return std::any_of(outcomes.begin(), outcomes.end(), [&](const Outcome &outcome) {
            return got.value == outcome.value && got.reports == outcome.reports;
        });
    };
}

// The run ended with value and a report beginning with one of starts, its other reports clean or so too.
inline Accept fails(std::string value, std::vector<std::string> starts) {
    return [value, starts](const Outcome &got, const Outcome &clean) {
        return got.value == value && knownReports(got.reports, starts, clean.reports) > 0;
    };
}

// The run lost part of the result: its first line is the clean one's, the rest a subsequence of the
// clean rest; its reports are clean ones or begin with one of starts.
inline Accept loses(std::vector<std::string> starts) {
    return [starts](const Outcome &got, const Outcome &clean) {
        const std::string_view value = got.value, whole = clean.value;
        const std::size_t status = whole.find('\n') + 1;
        return value.substr(0, status) == whole.substr(0, status) &&
               isSubsequence(value.substr(status), whole.substr(status)) &&
               knownReports(got.reports, starts, clean.reports) >= 0;
    };
}

}  // namespace torture
