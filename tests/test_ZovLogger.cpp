#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <string>

#include "LogCapture.h"
#include "TransportData.h"
#include "ZovLogger.h"
#include "ZovNode.h"

TEST(ZovLogger, ColumnsDumpsSummaryAndStreams) {
    LogCapture log(2);
    std::remove(log.path().c_str());
    zovLogger("A", "f", 1, 3, "dropped");  // filtered, yet the file is created
    EXPECT_TRUE(std::ifstream(log.path()).good());
    zovLogger("Utils", "convertSecurityKey", 42, 1, "value %d", 7);
    zovLogger("AVeryLongSourceFileName", "StringToWirelessEnetAuthenticationType", 12345678, 2, "x");

    // Dumps of trees and chains (a chain as a string, up to a NUL); the summary ignores the level.
    ZovNode *root = newZovNode("Command", nullptr);
    addNewZovSubNode(addNewZovSubNode(root, "commandName", "abc"), "deep", nullptr);
    addNewZovSubNode(root, nullptr, "x");
    dumpZovNode("tree", 9, 2, root);
    dumpZovNode("none", 10, 2, nullptr);
    dumpZovNode("hidden", 11, 3, root);
    freeZovNode(root);
    const std::string text(1500, 'q');
    CharBuffer *chain = chainOf(text);
    dumpZovCharbuffer("buf", 5, 1, chain);
    dumpZovCharbuffer("null", 6, 1, nullptr);
    addDataToCharBuffer(chain, "r\0s", 3);
    dumpZovCharbuffer("nul", 7, 1, chain);
    freeAllCharBuffers(chain);
    zovLoggerSetLogLevel(0);
    zovLoggerUpdateLogSummary("x");
    zovLoggerUpdateLogSummary("y");
    EXPECT_EQ(log.text(),
              "[Utils          ][42     ][convertSecurityKey       ] :value 7\n"
              "[AVeryLongSourceFileName][12345678][StringToWirelessEnetAuthenticationType] :x\n"
              "tree[9]: \n'Command', contents=NULL\n  'commandName', 'abc'\n    'deep', contents=NULL\n"
              "  name=NULL, 'x'\n\n\nnone[10]: \n\n\nbuf[5]: \n" + text + "\n\nnull[6]: \n\n\nnul[7]: \n" + text +
                  "r\n\nxy");

    // A file that cannot be opened sends the error and the line to stderr; level 0 silences lines.
    zovLoggerSetLogLevel(1);
    zovLoggerSetLogFileName("/no/such/dir");
    testing::internal::CaptureStderr();
    zovLogger("A", "f", 3, 1, "msg");
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "Error opening logFile '/no/such/dir'\n[A              ][3      ][f                        ] :msg\n");
    zovLoggerSetLogFileName("");
    zovLoggerSetLogLevel(0);
    testing::internal::CaptureStderr();
    zovLogger("A", "f", 3, 1, "silenced");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Error opening logFile ''\n");
}
