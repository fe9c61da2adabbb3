// SPDX-License-Identifier: Apache-2.0
// Log server: banners (their time stamp is the log time's format), routing of the three channels
// into their files, drain edge cases.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <regex>
#include <string>

#include "qxutil/dualbuff.h"
#include "test_support.h"
#include "zlog/zlogsvr.h"

namespace {

namespace fs = std::filesystem;
using zlog_test::readFile;
using zlog_test::splitLines;

class ZLogSvrTest : public testing::Test {
protected:
    zlog_test::ShmScope scope{"errorlog", "rvodbg.log", "bus"};
    zlog_test::TempDir dir;
    // A nested directory that does not exist yet: the server must create the whole path.
    std::string base = dir.file("run/x");
    std::string logDir = base + "/log/";

    std::unique_ptr<zlog::ZLogSvr> start() {
        return std::make_unique<zlog::ZLogSvr>("errorlog", "rvodbg.log", "bus", base.c_str());
    }
    static void send(const char* channel, const std::string& text) {
        qxutil::DualBuffWriter(channel).write(text.data(), text.size());
    }
};

bool isBanner(const std::string& line, const std::string& word) {
    return std::regex_match(
        line, std::regex(R"(\*{8} Log )" + word + R"( \(\d{4}\\\d{2}\\\d{2} \d{2}:\d{2}:\d{2} \) \*{8})"));
}

// Errors logged before the server started (during static initialisation) follow the start banner;
// those pending at shutdown come before the end banner.
TEST_F(ZLogSvrTest, ErrorLogIsFramedByStartAndEndBanners) {
    send("errorlog", "logged during static initialisation\n");
    auto svr = start();
    svr->update();
    auto lines = splitLines(readFile(logDir + "errorlog"));
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_TRUE(isBanner(lines[0], "start")) << lines[0];
    EXPECT_EQ(lines[1], "logged during static initialisation");

    send("errorlog", "pending at shutdown\n");
    svr.reset();
    lines = splitLines(readFile(logDir + "errorlog"));
    ASSERT_EQ(lines.size(), 4u);
    EXPECT_EQ(lines[2], "pending at shutdown");
    EXPECT_TRUE(isBanner(lines[3], "end")) << lines[3];
}

TEST_F(ZLogSvrTest, NothingPendingLeavesFilesUntouchedAndEachChannelLandsInItsOwnFile) {
    auto svr = start();
    svr->update();
    struct stat before {};
    ASSERT_EQ(stat((logDir + "rvodbg.log").c_str(), &before), 0);
    svr->update();
    struct stat after {};
    ASSERT_EQ(stat((logDir + "rvodbg.log").c_str(), &after), 0);
    EXPECT_EQ(after.st_size, 0);
    EXPECT_EQ(after.st_mtim.tv_nsec, before.st_mtim.tv_nsec);
    EXPECT_EQ(after.st_mtim.tv_sec, before.st_mtim.tv_sec);

    send("rvodbg.log", "system line\n");
    send("bus", "bus line\n");
    svr->update();
    EXPECT_EQ(readFile(logDir + "rvodbg.log"), "system line\n");
    EXPECT_EQ(readFile(logDir + "bus"), "bus line\n");
    EXPECT_EQ(readFile(logDir + "errorlog").find("line"), std::string::npos);
}

TEST_F(ZLogSvrTest, BusLogRotatesAtItsSmallLimit) {
    auto svr = start();
    send("bus", std::string(8000, 'a'));
    svr->update();
    send("bus", std::string(8000, 'b'));
    svr->update();
    EXPECT_EQ(readFile(logDir + "bus.0"), std::string(8000, 'a'));
    EXPECT_EQ(readFile(logDir + "bus"), std::string(8000, 'b'));
}

TEST_F(ZLogSvrTest, UncreatableDirectoryDisablesFilesWithoutCrashing) {
    std::ofstream(dir.file("plainfile")) << "not a directory";
    const std::string blocked = dir.file("plainfile/sub");
    {
        zlog::ZLogSvr svr("errorlog", "rvodbg.log", "bus", blocked.c_str());
        send("rvodbg.log", "nowhere to go\n");
        svr.update();
    }
    EXPECT_FALSE(fs::exists(blocked));
}

}  // namespace
