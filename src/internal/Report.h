// Report macros and small C-boundary helpers shared by every family.
//
// Each source file defines `kSourceFile` (its family name, no extension)
// before using the macros.
#pragma once

#include <cstdlib>
#include <cstring>
#include <new>
#include <string_view>

#include "ZovLogger.h"

// Reports with the calling function's own name.
#define ZOV_REPORT(level, ...) zovLogger(kSourceFile, __func__, __LINE__, (level), __VA_ARGS__)
// Reports under an explicit function-name string (helpers, lambdas, internal steps).
#define ZOV_REPORT_AS(function, level, ...) \
    zovLogger(kSourceFile, (function), __LINE__, (level), __VA_ARGS__)

namespace zov {

// Runs body and turns any exception into fallback: nothing throws across the C ABI.
template <typename Result, typename Body>
Result guarded(Result fallback, Body &&body) noexcept {
    try {
        return body();
    } catch (...) {
        return fallback;
    }
}

template <typename Body>
void guardedVoid(Body &&body) noexcept {
    try {
        body();
    } catch (...) {
    }
}

// A malloc'ed, NUL-terminated copy of text (callers release it with free);
// NULL when memory is exhausted.
inline char *dupString(std::string_view text) noexcept {
    auto *copy = static_cast<char *>(std::malloc(text.size() + 1));
    if (copy == nullptr) return nullptr;
    if (!text.empty()) std::memcpy(copy, text.data(), text.size());
    copy[text.size()] = '\0';
    return copy;
}

// Same as dupString for a C string that may be NULL (NULL stays NULL).
inline char *dupCString(const char *text) noexcept {
    return text == nullptr ? nullptr : dupString(text);
}

}  // namespace zov
