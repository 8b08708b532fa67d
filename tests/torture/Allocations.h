// Allocation failure injection for the torture program. The program is built
// from every library source with the static expat and zlib, malloc, calloc,
// realloc and free wrapped (-Wl,--wrap) and operator new and delete replaced,
// so that each allocation of the library, of expat and of zlib goes through
// one counter that can fail it. The library takes no memory from libc calls
// that allocate for their caller (strdup, getline and the like): every block
// it frees came through the counter. Blocks that libc makes and releases
// itself (a FILE of fopen) are not counted.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace torture {

// Allocations made while a scope is armed are counted, the one chosen for the
// run fails, and the blocks they make are followed until they are freed.
// Scopes nest; Unarmed suspends them (test code called back by the library).
class Armed {
public:
    Armed() noexcept;
    ~Armed();
    Armed(const Armed &) = delete;
    Armed &operator=(const Armed &) = delete;
};

class Unarmed {
public:
    Unarmed() noexcept;
    ~Unarmed();
    Unarmed(const Unarmed &) = delete;
    Unarmed &operator=(const Unarmed &) = delete;

private:
    int saved_;
};

template <typename Call>
decltype(auto) armed(Call &&call) {
    Armed scope;
    return call();
}

// What a run produced: its result as text, and its reports of level 1, one
// "function: message" line each.
struct Outcome {
    std::string value, reports;
    bool operator==(const Outcome &other) const { return value == other.value && reports == other.reports; }
};

// Whether a run whose allocation failed ended acceptably, given the outcome
// of the run in which nothing failed (a run that ends as that one always is).
using Accept = std::function<bool(const Outcome &got, const Outcome &clean)>;

// One operation: run() calls the library inside armed scopes, releases all it
// got with the documented free functions and describes the result.
struct Operation {
    std::string name;
    std::function<std::string()> run;
    Accept accept;
};

// The run ended as one of these outcomes.
Accept oneOf(std::vector<Outcome> outcomes);
// The run ended with this value and reported it with a line beginning with one
// of these texts; any other report line is one of the clean run's.
Accept fails(std::string value, std::vector<std::string> reports);
// The run lost part of the result: the first line of its value (the status)
// is the clean one's, the rest a subsequence of the clean rest. It reported
// only what the clean run reported and lines beginning with one of these texts.
Accept loses(std::vector<std::string> reports);
Accept anyOf(std::vector<Accept> accepts);

bool isSubsequence(std::string_view part, std::string_view whole);

// Runs each operation once without a failure and then once per allocation it
// made, failing that allocation. Every run must leave no block made while
// armed behind, and every failing run must be accepted. Prints the numbers of
// allocations as one line for the group and returns them by operation.
std::map<std::string, long> failEachAllocation(const char *group, const std::vector<Operation> &operations);

}  // namespace torture
