// The storage probe, run against scripts the tests write at the path this
// program was built with (ZOV_FIND_DRIVE_SCRIPT).
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <string>

#include <sys/stat.h>

#include "ConfigTree.h"
#include "LogCapture.h"
#include "Utils.h"

namespace {

void writeProbe(const std::string &body) {
    {
        std::ofstream script(ZOV_FIND_DRIVE_SCRIPT, std::ios::trunc);
        script << "#!/bin/sh\n" << body << "\n";
    }
    chmod(ZOV_FIND_DRIVE_SCRIPT, 0755);
}

std::string probeReport(const std::string &message) {
    return reportLine("findStorageType", message);
}

const std::string kDevice = probeReport("Found device using New Method");
const std::string kFlash = probeReport("Found Flash Device using New Method");
const std::string kSata = probeReport("Found SATA device using New Method");
const std::string kUnknown = probeReport("Unable to find FLASH/SATA using new method !!");

}  // namespace

TEST(StorageProbe, MapsTheFirstLineOfTheScript) {
    struct Case {
        const char *body;
        int number;  // as read and logged
        int code;
        const std::string &message;
    };
    for (const Case &c : {Case{"printf '3\\n'", 3, 3, kFlash}, Case{"printf 4", 4, 4, kSata},
                          Case{"echo 2 extra words", 2, 2, kDevice}, Case{"echo ' +1'", 1, 1, kDevice},
                          Case{"echo abc", 0, 0, kDevice}, Case{"echo 1; echo 3", 1, 1, kDevice},
                          Case{"echo 0; exit 3", 0, 0, kDevice}, Case{"echo 7", 7, -1, kUnknown},
                          Case{"echo -1", -1, -1, kUnknown}, Case{"echo 99999999999", -1, -1, kUnknown}}) {
        writeProbe(c.body);
        LogCapture log(3);
        EXPECT_EQ(findStorageType(), c.code) << c.body;
        std::string expected = probeReport("Return value is " + std::to_string(c.number)) + c.message;
        EXPECT_EQ(log.text().size(), expected.size() + 2 * 26) << c.body;
        EXPECT_TRUE(log.contains(probeReport("Return value is " + std::to_string(c.number)))) << c.body;
        EXPECT_TRUE(log.contains(c.message)) << c.body;
    }
}

// Only the first 1023 characters of the line are read.
TEST(StorageProbe, ReadsAtMost1023Characters) {
    writeProbe("printf '%1023s3\\n' ''");
    LogCapture log(3);
    EXPECT_EQ(findStorageType(), 0);
    writeProbe("printf '%1022s3\\n' ''");
    EXPECT_EQ(findStorageType(), 3);
}

TEST(StorageProbe, NoOutputGivesMinusOneSilently) {
    LogCapture log(3);
    writeProbe("exit 0");
    EXPECT_EQ(findStorageType(), -1);
    std::remove(ZOV_FIND_DRIVE_SCRIPT);  // the shell cannot run it and prints nothing on stdout
    EXPECT_EQ(findStorageType(), -1);
    EXPECT_EQ(log.text(), "");
}
