#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "CharBuffer.h"
#include "LogCapture.h"
#include "ZovLogger.h"
#include "ZovNode.h"

TEST(ZovLogger, HeaderColumnsArePaddedAndNeverCut) {
    LogCapture log(2);
    zovLogger("Utils", "convertSecurityKey", 42, 1, "value %d", 7);
    zovLogger("AVeryLongSourceFileName", "StringToWirelessEnetAuthenticationType", 12345678, 2, "x");
    EXPECT_EQ(log.text(),
              "[Utils          ][42     ][convertSecurityKey       ] :value 7\n"
              "[AVeryLongSourceFileName][12345678][StringToWirelessEnetAuthenticationType] :x\n");
}

TEST(ZovLogger, LevelFilter) {
    LogCapture log(2);
    zovLogger("A", "f", 1, 1, "one");
    zovLogger("A", "f", 1, 2, "two");
    zovLogger("A", "f", 1, 3, "three");
    std::string text = log.text();
    EXPECT_NE(text.find("one"), std::string::npos);
    EXPECT_NE(text.find("two"), std::string::npos);
    EXPECT_EQ(text.find("three"), std::string::npos);

    log.clear();
    zovLoggerSetLogLevel(0);
    zovLogger("A", "f", 1, 1, "silenced");
    EXPECT_EQ(log.text(), "");
    zovLoggerSetLogLevel(3);
    zovLogger("A", "f", 1, 3, "detail");
    EXPECT_TRUE(log.contains("detail"));
}

TEST(ZovLogger, FilteredMessageStillCreatesTheFile) {
    LogCapture log(2);
    std::remove(log.path().c_str());
    zovLogger("A", "f", 1, 3, "dropped");
    FILE *file = std::fopen(log.path().c_str(), "r");
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(std::fgetc(file), EOF);
    std::fclose(file);
}

TEST(ZovLogger, UnopenableFileFallsBackToStderr) {
    LogCapture log(2);
    zovLoggerSetLogFileName("/nonexistent-dir/zov.log");
    testing::internal::CaptureStderr();
    zovLogger("A", "f", 3, 1, "msg");
    std::string err = testing::internal::GetCapturedStderr();
    EXPECT_EQ(err, "Error opening logFile '/nonexistent-dir/zov.log'\n[A              ][3      ][f                        ] :msg\n");

    zovLoggerSetLogFileName("");
    testing::internal::CaptureStderr();
    zovLogger("A", "f", 3, 3, "filtered");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Error opening logFile ''\n");
}

TEST(ZovLogger, OverlongFileNameIsRefused) {
    LogCapture log(2);
    std::string longName(1024, 'x');
    zovLoggerSetLogFileName(longName.c_str());
    zovLogger("A", "f", 1, 1, "still here");
    EXPECT_TRUE(log.contains("still here"));
}

TEST(ZovLogger, SummaryIsWrittenRaw) {
    LogCapture log(0);
    zovLoggerUpdateLogSummary("x");
    zovLoggerUpdateLogSummary("y");
    EXPECT_EQ(log.text(), "xy");
}

TEST(ZovLogger, ProgressValue) {
    EXPECT_EQ(zovGetProgressBarValue(), 0);
    zovSetProgressBarValue(57);
    EXPECT_EQ(zovGetProgressBarValue(), 57);
    zovSetProgressBarValue(0);
}

TEST(ZovLogger, DumpNodePrintsPreOrderWithIndentation) {
    LogCapture log(2);
    ZovNode *root = newZovNode("Command", nullptr);
    ZovNode *a = addNewZovSubNode(root, "commandName", "abc");
    addNewZovSubNode(a, "deep", nullptr);
    addNewZovSubNode(root, nullptr, "x");
    dumpZovNode("tree", 9, 2, root);
    dumpZovNode("none", 10, 2, nullptr);
    dumpZovNode("hidden", 11, 3, root);
    EXPECT_EQ(log.text(),
              "tree[9]: \n"
              "'Command', contents=NULL\n"
              "  'commandName', 'abc'\n"
              "    'deep', contents=NULL\n"
              "  name=NULL, 'x'\n"
              "\n\n"
              "none[10]: \n\n\n");
    freeZovNode(root);
}

TEST(ZovLogger, DumpCharbufferPrintsTextAcrossLinks) {
    LogCapture log(2);
    CharBuffer *chain = createCharBuffer();
    std::string text(1500, 'q');
    addDataToCharBuffer(chain, text.data(), static_cast<int>(text.size()));
    dumpZovCharbuffer("buf", 5, 1, chain);
    dumpZovCharbuffer("null", 6, 1, nullptr);
    addDataToCharBuffer(chain, "r\0s", 3);  // printed as a string: up to the NUL
    dumpZovCharbuffer("nul", 7, 1, chain);
    EXPECT_EQ(log.text(), "buf[5]: \n" + text + "\n\nnull[6]: \n\n\nnul[7]: \n" + text + "r\n\n");
    freeAllCharBuffers(chain);
}
