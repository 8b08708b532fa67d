// The XML writer, the plain-text XML tag search and zovStringTrim.
#include "XmlFunctions.h"

#include <cstring>

#include "internal/Report.h"

namespace {

constexpr char kSourceFile[] = "XmlFunctions";

}  // namespace

extern "C" {

ZOV_API char *zovStringTrim(char *str, const char *trimChars) {
    if (str == nullptr || trimChars == nullptr) {
        ZOV_REPORT(1, "bad arguments");
        return nullptr;
    }
    if (*str == '\0' || *trimChars == '\0') return str;
    char *first = str + std::strspn(str, trimChars);
    if (*first == '\0') return nullptr;
    char *last = first + std::strlen(first) - 1;
    while (last > first && std::strchr(trimChars, *last) != nullptr) *last-- = '\0';
    return first;
}

}  // extern "C"
