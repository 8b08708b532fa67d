/*
 * ZovLogger.h - the logger through which every function of libZovCommon reports.
 *
 * A report is one line:
 *
 *     [<sourceFile, 15 wide>][<line, 7 wide>][<function, 25 wide>] :<message>\n
 *
 * Columns are left-justified and padded with blanks, never cut. A message is
 * printed when its level is less than or equal to the current log level
 * (initially 2). The library uses level 1 for errors and refused input, level 2
 * for a few notable facts and level 3 for detail and trace; a log level of 0 or
 * less silences the library.
 *
 * Output goes to stderr, or, once file logging is switched on, is appended to
 * the log file. The file is opened for every call that writes (even when the
 * message is then filtered out) and closed before the call returns, so a new
 * flag or file name takes effect at the next call. When the file cannot be
 * opened, "Error opening logFile '<name>'" goes to stderr and the call's own
 * output follows it there.
 *
 * The settings are process-wide and not guarded by locks.
 */
#ifndef ZOVCOMMON_ZOVLOGGER_H
#define ZOVCOMMON_ZOVLOGGER_H

#include "ZovApi.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct CharBuffer CharBuffer;
typedef struct ZovNode ZovNode;

/* Writes one report: sourceFile, functionName and line identify the caller,
 * level is the message's level, format and the arguments are as for printf. */
ZOV_API void zovLogger(const char *sourceFile, const char *functionName, int line,
                       int level, const char *format, ...)
#if defined(__GNUC__)
    __attribute__((format(printf, 5, 6)))
#endif
    ;

/* The highest level that is printed (initially 2). Any value is accepted. */
ZOV_API void zovLoggerSetLogLevel(int level);
ZOV_API int zovLoggerGetLogLevel(void);

/* Non-zero: append to the log file; zero (the initial state): write to stderr. */
ZOV_API void zovLoggerSetLogToFile(int enabled);

/* Sets the path of the log file, copied into the logger's 1024-byte
 * logFileName: at most 1023 characters. A name of 1024 characters or more is
 * refused, silently, and the previous name stays (a cut name would be another
 * path). NULL is ignored. The name takes effect at the next call that writes. */
ZOV_API void zovLoggerSetLogFileName(const char *name);

/* Writes text to the log stream as it is: no header, no newline, no level test. */
ZOV_API void zovLoggerUpdateLogSummary(const char *text);

/* A process-wide value stored for the agent (initially 0); the library never reads it. */
ZOV_API void zovSetProgressBarValue(int value);
ZOV_API int zovGetProgressBarValue(void);

/* Prints "<label>[<line>]: \n", then one line per node of the tree in pre-order
 * (two blanks of indentation per level, "'name', 'contents'" with
 * "name=NULL, " and "contents=NULL" for absent strings), then "\n\n".
 * A NULL root prints the title and "\n\n" only. Subject to the level filter. */
ZOV_API void dumpZovNode(const char *label, int line, int level, ZovNode *root);

/* Prints "<label>[<line>]: \n", the text of the chain as a string (its bytes up
 * to the first NUL), then "\n\n". The text is written link by link, so the
 * dump needs no memory of its own. A NULL chain prints the title and "\n\n"
 * only. Subject to the level filter. */
ZOV_API void dumpZovCharbuffer(const char *label, int line, int level, CharBuffer *buffer);

#ifdef __cplusplus
}
#endif

#endif /* ZOVCOMMON_ZOVLOGGER_H */
