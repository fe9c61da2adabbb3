// SPDX-License-Identifier: Apache-2.0
// Log server: banners, routing of the three channels into their files, drain edge cases.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
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
    std::string base = (dir.path() / "run" / "x").string();
    fs::path logDir = fs::path(base) / "log";

    std::unique_ptr<zlog::ZLogSvr> start() {
        return std::make_unique<zlog::ZLogSvr>("errorlog", "rvodbg.log", "bus", base.c_str());
    }
    static void send(const char* channel, const std::string& text) {
        qxutil::DualBuffWriter(channel).write(text.data(), text.size());
    }
};

const std::regex START_BANNER(R"(\*{8} Log start \(\d{4}\\\d{2}\\\d{2} \d{2}:\d{2}:\d{2} \) \*{8})");
const std::regex END_BANNER(R"(\*{8} Log end \(\d{4}\\\d{2}\\\d{2} \d{2}:\d{2}:\d{2} \) \*{8})");

TEST_F(ZLogSvrTest, ErrorLogStartsWithBannerAndEndsWithEndBanner) {
    auto svr = start();
    svr->update();
    auto lines = splitLines(readFile(logDir / "errorlog"));
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_TRUE(std::regex_match(lines[0], START_BANNER)) << lines[0];

    send("errorlog", "pending at shutdown\n");
    svr.reset();
    lines = splitLines(readFile(logDir / "errorlog"));
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_EQ(lines[1], "pending at shutdown");
    EXPECT_TRUE(std::regex_match(lines[2], END_BANNER)) << lines[2];
}

TEST_F(ZLogSvrTest, ErrorsLoggedBeforeTheServerStartedFollowTheBanner) {
    send("errorlog", "logged during static initialisation\n");
    auto svr = start();
    svr->update();
    auto lines = splitLines(readFile(logDir / "errorlog"));
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_TRUE(std::regex_match(lines[0], START_BANNER)) << lines[0];
    EXPECT_EQ(lines[1], "logged during static initialisation");
}

TEST_F(ZLogSvrTest, EachChannelLandsInItsOwnFile) {
    auto svr = start();
    send("rvodbg.log", "system line\n");
    send("bus", "bus line\n");
    svr->update();
    EXPECT_EQ(readFile(logDir / "rvodbg.log"), "system line\n");
    EXPECT_EQ(readFile(logDir / "bus"), "bus line\n");
    EXPECT_EQ(readFile(logDir / "errorlog").find("line"), std::string::npos);
}

TEST_F(ZLogSvrTest, NothingPendingLeavesFilesUntouched) {
    auto svr = start();
    svr->update();
    struct stat before {};
    ASSERT_EQ(stat((logDir / "rvodbg.log").c_str(), &before), 0);
    svr->update();
    struct stat after {};
    ASSERT_EQ(stat((logDir / "rvodbg.log").c_str(), &after), 0);
    EXPECT_EQ(after.st_size, 0);
    EXPECT_EQ(after.st_mtim.tv_nsec, before.st_mtim.tv_nsec);
    EXPECT_EQ(after.st_mtim.tv_sec, before.st_mtim.tv_sec);
}

TEST_F(ZLogSvrTest, BusLogRotatesAtItsSmallLimit) {
    auto svr = start();
    send("bus", std::string(8000, 'a'));
    svr->update();
    send("bus", std::string(8000, 'b'));
    svr->update();
    EXPECT_EQ(readFile(logDir / "bus.0"), std::string(8000, 'a'));
    EXPECT_EQ(readFile(logDir / "bus"), std::string(8000, 'b'));
}

TEST_F(ZLogSvrTest, UncreatableDirectoryDisablesFilesWithoutCrashing) {
    zlog_test::writeFile(dir.path() / "plainfile", "not a directory");
    std::string blocked = (dir.path() / "plainfile" / "sub").string();
    {
        zlog::ZLogSvr svr("errorlog", "rvodbg.log", "bus", blocked.c_str());
        send("rvodbg.log", "nowhere to go\n");
        svr.update();
    }
    EXPECT_FALSE(fs::exists(blocked));
}

}  // namespace
