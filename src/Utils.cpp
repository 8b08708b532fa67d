// String utilities offered to the agent, and the storage type probe.
#include "Utils.h"

#include <cctype>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "internal/Report.h"

namespace {

constexpr char kSourceFile[] = "Utils";

// The classification functions are defined for unsigned char values only:
// bytes above 127 are passed as such, never as negative numbers.
int asCharValue(char c) noexcept { return static_cast<unsigned char>(c); }

// The platform's storage probe. Test builds compile this file with their own
// script in its place.
#ifndef ZOV_FIND_DRIVE_SCRIPT
#define ZOV_FIND_DRIVE_SCRIPT "/etc/FindDrive.sh"
#endif
constexpr char kFindDriveScript[] = ZOV_FIND_DRIVE_SCRIPT;

struct PipeClose {
    void operator()(FILE *pipe) const noexcept { pclose(pipe); }
};

// Runs the probe and reads the first line of its output (without its line
// feed) into line; false when the probe cannot be started or prints nothing.
// Closing the pipe waits for the probe to end.
bool readProbeLine(char (&line)[1024]) noexcept {
    std::unique_ptr<FILE, PipeClose> pipe(popen(kFindDriveScript, "r"));
    if (pipe == nullptr || std::fgets(line, sizeof line, pipe.get()) == nullptr) return false;
    std::size_t length = std::strlen(line);
    if (length > 0 && line[length - 1] == '\n') line[length - 1] = '\0';
    return true;
}

// atoi's reading of a number; a number outside int's range, which atoi leaves
// undefined, reads as -1, an unknown code.
int readCode(const char *line) noexcept {
    long value = std::strtol(line, nullptr, 10);
    return value < INT_MIN || value > INT_MAX ? -1 : static_cast<int>(value);
}

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

ZOV_API int findStorageType(void) {
    char line[1024];
    if (!readProbeLine(line)) return -1;
    int code = readCode(line);
    ZOV_REPORT(3, "Return value is %d", code);
    switch (code) {
        case 0:
        case 1:
        case 2:
            ZOV_REPORT(3, "Found device using New Method");
            return code;
        case 3:
            ZOV_REPORT(3, "Found Flash Device using New Method");
            return code;
        case 4:
            ZOV_REPORT(3, "Found SATA device using New Method");
            return code;
        default:
            ZOV_REPORT(3, "Unable to find FLASH/SATA using new method !!");
            return -1;
    }
}

}  // extern "C"
