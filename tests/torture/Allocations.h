// Allocation failure injection: the torture program holds every library source
// and the static expat and zlib, with malloc, calloc, realloc and free wrapped
// and operator new and delete replaced, so that each of their allocations goes
// through one counter that can fail it (the library takes no memory from strdup
// and the like; the blocks libc keeps for itself, as a FILE's, are not counted).
#pragma once

#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace torture {

// While armed (scopes nest), allocations are counted, the chosen one fails and
// the blocks made are followed until freed; a disarming scope suspends that.
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
    bool operator==(const Outcome &other) const { return value == other.value && reports == other.reports; }
};

// Whether a failing run ended acceptably, given the clean run (always acceptable).
using Accept = std::function<bool(const Outcome &got, const Outcome &clean)>;

// run() calls the library armed, releases what it got and describes the result.
struct Operation {
    std::string name;
    std::function<std::string()> run;
    Accept accept;
};

// The run ended as one of these outcomes.
Accept oneOf(std::vector<Outcome> outcomes);
// The run ended with this value, with a report line beginning with one of these
// texts; its other report lines are the clean run's or begin so too.
Accept fails(std::string value, std::vector<std::string> reports);
// The run lost part of the result: the first line of its value (the status) is
// the clean one's, the rest a subsequence of the clean rest; its report lines
// are the clean run's or begin with one of these texts.
Accept loses(std::vector<std::string> reports);
Accept anyOf(std::vector<Accept> accepts);

bool isSubsequence(std::string_view part, std::string_view whole);

// Runs each operation cleanly, then once per allocation it made, failing that
// one: no run may leave a block behind, and each failing run must be accepted.
// Prints the group's numbers of allocations and returns them by operation.
std::map<std::string, long> failEachAllocation(const char *group, const std::vector<Operation> &operations);

}  // namespace torture
