// Allocation failure injection: malloc, calloc, realloc and free are wrapped and operator new
// and delete replaced, so each allocation of the library, expat and zlib goes through one counter.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace torture {

// While armed (scopes nest), allocations are counted and followed until freed; Scope(false) suspends that.
struct Scope {
    explicit Scope(bool arm) noexcept;
    ~Scope();
    int saved;
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
// Whether a failing run ended acceptably, given the clean run.
using Accept = std::function<bool(const Outcome &got, const Outcome &clean)>;
// run() calls the library armed, releases what it got and describes the result; a failing run
// must end as the clean one or as one of accepts allows.
struct Operation {
    std::string name;
    std::function<std::string()> run;
    std::vector<Accept> accepts;
};

// The run ended as one of these outcomes.
Accept oneOf(std::vector<Outcome> outcomes);
// Report lines each begin with one of starts or are clean ones. fails: the value is value and a
// line begins so; loses: the first line is the clean one's, the rest a subsequence of the clean rest.
Accept fails(std::string value, std::vector<std::string> starts);
Accept loses(std::vector<std::string> starts);
bool isSubsequence(std::string_view part, std::string_view whole);

// Runs each operation cleanly, then failing each of its allocations in turn: no run may leave a
// block behind and each failing run must be accepted. Returns the allocation counts by name.
std::map<std::string, long> failEachAllocation(const char *group, const std::vector<Operation> &operations);

}  // namespace torture
