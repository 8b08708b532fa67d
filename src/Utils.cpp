// String utilities offered to the agent.
#include "Utils.h"

#include <cctype>
#include <cstdlib>
#include <cstring>

#include "internal/Report.h"

namespace {

constexpr char kSourceFile[] = "Utils";

// The classification functions are defined for unsigned char values only:
// bytes above 127 are passed as such, never as negative numbers.
int asCharValue(char c) noexcept { return static_cast<unsigned char>(c); }

}  // namespace

extern "C" {

ZOV_API char *zovRemoveAllAppearanceOfCharFromString(const char *str, char c) {
    if (str == nullptr) return nullptr;
    char *copy = zov::dupString(str);
    if (copy == nullptr) return nullptr;
    char *out = copy;
    for (const char *in = copy; *in != '\0'; ++in) {
        if (*in != c) *out++ = *in;
    }
    *out = '\0';
    return copy;
}

ZOV_API char *zovToLower(char *str) {
    if (str == nullptr) return nullptr;
    for (char *p = str; *p != '\0'; ++p) *p = static_cast<char>(std::tolower(asCharValue(*p)));
    return str;
}

ZOV_API void converToupper(char *str) {
    if (str == nullptr) return;
    for (char *p = str; *p != '\0'; ++p) *p = static_cast<char>(std::toupper(asCharValue(*p)));
}

ZOV_API char *ltrim(char *str) {
    if (str == nullptr || *str == '\0') return str;
    char *first = str;
    while (*first != '\0' && std::isspace(asCharValue(*first))) ++first;
    if (first != str) std::memmove(str, first, std::strlen(first) + 1);
    return str;
}

ZOV_API char *chomp(char *str) {
    if (str == nullptr) return nullptr;
    char *cut = str + std::strcspn(str, "\n\r");
    *cut = '\0';
    return cut;
}

ZOV_API int GetDecimal(int c) {
    int byte = c & 0xFF;
    if (byte >= 'A' && byte <= 'F') return byte - 55;
    return byte - 48;
}

ZOV_API uint64_t convertSecurityKey(const char *key) {
    if (key == nullptr || strnlen(key, 9) != 8) return 1;
    uint64_t value = 0;
    for (int pair = 0; pair < 4; ++pair) {
        int high = GetDecimal(key[2 * pair]);
        int low = GetDecimal(key[2 * pair + 1]);
        auto byte = static_cast<uint8_t>(static_cast<unsigned>(16 * high + low) & 0xFFu);
        value = (value << 8) | byte;
    }
    ZOV_REPORT(3, "Convert security key: str: %08X:  %u", static_cast<unsigned>(value),
               static_cast<unsigned>(value));
    return value;
}

}  // extern "C"
