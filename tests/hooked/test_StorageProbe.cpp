// The storage probe, run against scripts the tests write at the path this
// program was built with (ZOV_FIND_DRIVE_SCRIPT).
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <string>

#include <sys/stat.h>

#include "LogCapture.h"
#include "Utils.h"

namespace {

void writeProbe(const std::string &body) {
    std::ofstream(ZOV_FIND_DRIVE_SCRIPT, std::ios::trunc) << "#!/bin/sh\n" << body << "\n";
    chmod(ZOV_FIND_DRIVE_SCRIPT, 0755);
}

}  // namespace

// The first line of the script, read as atoi reads it, as at most 1023
// characters, whatever the exit status; nothing at all gives -1 silently.
TEST(StorageProbe, MapsTheFirstLineOfTheScript) {
    const std::string device = "findStorageType: Found device using New Method",
                      flash = "findStorageType: Found Flash Device using New Method",
                      sata = "findStorageType: Found SATA device using New Method",
                      unknown = "findStorageType: Unable to find FLASH/SATA using new method !!";
    struct Case { const char *body; int number, code; std::string message; };  // number: as read and logged
    for (const Case &c : {Case{"printf '3\\n'", 3, 3, flash}, Case{"printf 4", 4, 4, sata},
                          Case{"echo 2 extra words", 2, 2, device}, Case{"echo ' +1'", 1, 1, device},
                          Case{"echo abc", 0, 0, device}, Case{"echo 1; echo 3", 1, 1, device},
                          Case{"echo 0; exit 3", 0, 0, device}, Case{"echo 7", 7, -1, unknown},
                          Case{"echo -1", -1, -1, unknown}, Case{"echo 99999999999", -1, -1, unknown},
                          Case{"printf '%1022s3\\n' ''", 3, 3, flash}, Case{"printf '%1023s3\\n' ''", 0, 0, device},
                          Case{"exit 0", 0, -1, ""}, Case{"", 0, -1, ""}}) {
        SCOPED_TRACE(c.body);
        if (*c.body != '\0') writeProbe(c.body);
        else std::remove(ZOV_FIND_DRIVE_SCRIPT);  // the shell cannot run it and prints nothing on stdout
        LogCapture log(3);
        EXPECT_EQ(findStorageType(), c.code);
        if (c.message.empty()) EXPECT_EQ(log.text(), "");
        else expectReports(log, {"findStorageType: Return value is " + std::to_string(c.number), c.message});
    }
}
