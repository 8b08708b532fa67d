// The logger: level filter, stderr or an append-mode log file opened per call,
// the raw summary writer, the progress value and the two dump operations.
#include "ZovLogger.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "CharBuffer.h"
#include "ZovNode.h"

namespace {

constexpr std::size_t kLogFileNameSize = 1024;

int32_t logLevel = 2;
int32_t logToFile = 0;
char logFileName[kLogFileNameSize] = "";
int32_t progressBarValue = 0;

// The stream of one writing call: stderr, or the log file opened in append
// mode for this call only and closed when the call ends.
class LogStream {
public:
    LogStream() noexcept {
        if (logToFile == 0) return;
        FILE *file = std::fopen(logFileName, "a");
        if (file == nullptr) {
            std::fprintf(stderr, "Error opening logFile '%s'\n", logFileName);
            return;
        }
        stream_ = file;
    }
    ~LogStream() {
        if (stream_ != stderr && stream_ != nullptr) std::fclose(stream_);
    }
    LogStream(const LogStream &) = delete;
    LogStream &operator=(const LogStream &) = delete;

    FILE *get() const noexcept { return stream_; }

private:
    FILE *stream_ = stderr;
};

bool printed(int level) noexcept { return level <= logLevel; }

void dumpZovNodeLine(FILE *stream, const ZovNode *node, int depth) {
    if (node == nullptr) return;
    for (int i = 0; i < depth; ++i) std::fputs("  ", stream);
    if (node->name != nullptr)
        std::fprintf(stream, "'%s', ", node->name);
    else
        std::fputs("name=NULL, ", stream);
    if (node->contents != nullptr)
        std::fprintf(stream, "'%s'\n", node->contents);
    else
        std::fputs("contents=NULL\n", stream);
}

// Pre-order: a node, its whole subtree one level deeper, then its siblings at
// the same level. An explicit stack keeps deep trees off the call stack.
void dumpZovNodeRecursive(FILE *stream, const ZovNode *root) noexcept {
    struct Pending {
        const ZovNode *node;
        int depth;
    };
    try {
        std::vector<Pending> pending;
        if (root != nullptr) pending.push_back({root, 0});
        while (!pending.empty()) {
            Pending top = pending.back();
            pending.pop_back();
            dumpZovNodeLine(stream, top.node, top.depth);
            if (top.node->nextNode != nullptr) pending.push_back({top.node->nextNode, top.depth});
            if (top.node->subNode != nullptr) pending.push_back({top.node->subNode, top.depth + 1});
        }
    } catch (...) {
        // Out of memory: the dump stops where it is.
    }
}

}  // namespace

extern "C" {

ZOV_API void zovLogger(const char *sourceFile, const char *functionName, int line, int level,
                       const char *format, ...) {
    LogStream log;
    if (!printed(level)) return;
    std::fprintf(log.get(), "[%-15s][%-7d][%-25s] :", sourceFile ? sourceFile : "(null)", line,
                 functionName ? functionName : "(null)");
    if (format != nullptr) {
        va_list args;
        va_start(args, format);
        std::vfprintf(log.get(), format, args);
        va_end(args);
    }
    std::fputc('\n', log.get());
}

ZOV_API void zovLoggerSetLogLevel(int level) { logLevel = level; }

ZOV_API int zovLoggerGetLogLevel(void) { return logLevel; }

ZOV_API void zovLoggerSetLogToFile(int enabled) { logToFile = enabled; }

ZOV_API void zovLoggerSetLogFileName(const char *name) {
    if (name == nullptr) return;
    std::size_t length = strnlen(name, kLogFileNameSize);
    if (length >= kLogFileNameSize) return;  // does not fit: the previous name stays
    std::memcpy(logFileName, name, length + 1);
}

ZOV_API void zovLoggerUpdateLogSummary(const char *text) {
    LogStream log;
    if (text != nullptr) std::fputs(text, log.get());
}

ZOV_API void zovSetProgressBarValue(int value) { progressBarValue = value; }

ZOV_API int zovGetProgressBarValue(void) { return progressBarValue; }

ZOV_API void dumpZovNode(const char *label, int line, int level, ZovNode *root) {
    LogStream log;
    if (!printed(level)) return;
    std::fprintf(log.get(), "%s[%d]: \n", label ? label : "(null)", line);
    dumpZovNodeRecursive(log.get(), root);
    std::fputs("\n\n", log.get());
}

ZOV_API void dumpZovCharbuffer(const char *label, int line, int level, CharBuffer *buffer) {
    LogStream log;
    if (!printed(level)) return;
    std::fprintf(log.get(), "%s[%d]: \n", label ? label : "(null)", line);
    // The chain's text as a string: every byte up to the first NUL.
    for (CharBuffer *link = buffer; link != nullptr;) {
        char *data = nullptr;
        int length = 0;
        CharBuffer *next = getBufferContent(link, &data, &length);
        const void *nul = std::memchr(data, '\0', static_cast<std::size_t>(length));
        std::size_t size = nul ? static_cast<std::size_t>(static_cast<const char *>(nul) - data)
                               : static_cast<std::size_t>(length);
        std::fwrite(data, 1, size, log.get());
        link = nul ? nullptr : next;
    }
    std::fputs("\n\n", log.get());
}

}  // extern "C"
