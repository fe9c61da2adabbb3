// SPDX-License-Identifier: Apache-2.0
// Log client: record layout, level and tag filters, channel routing, drop accounting.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <regex>
#include <string>
#include <vector>

#include "qxutil/dualbuff.h"
#include "test_support.h"
#include "zlog/zlog_client.h"

namespace {

using namespace zlog;

class ZLogClientTest : public testing::Test {
protected:
    zlog_test::ShmScope scope{ZLOG_SYS_CHANNEL, ZLOG_ERR_CHANNEL};
    qxutil::DualBuffReader sysReader{ZLOG_SYS_CHANNEL};
    qxutil::DualBuffReader errReader{ZLOG_ERR_CHANNEL};
    ZLogClient* log = ZLogClient::get();

    void SetUp() override {
        log->reopen_channels();
        log->set_lv_filter(ZLogLvTrace);
        for (const char* tag : {"SRCI", "BUS"}) {
            log->set_tag_lv_filter(tag, ZLogLvTrace, false);
        }
    }
    void TearDown() override { log->reopen_channels(); }

    static std::string drain(qxutil::DualBuffReader& reader) {
        std::vector<char> buf(qxutil::DUAL_BUFF_MAX_SIZE);
        int n = reader.read(buf.data());
        return std::string(buf.data(), static_cast<size_t>(n));
    }
    // The level letters of the records pending on the system channel, in order.
    std::string sysLetters() {
        std::string letters;
        for (const auto& line : zlog_test::splitLines(drain(sysReader))) {
            letters += line.substr(24, 1);
        }
        return letters;
    }
    void logEveryLevel(const char* tag) {
        for (int lv = ZLogLvError; lv <= ZLogLvTrace; ++lv) {
            log->do_log(lv, tag, "f", 1, std::string("x"));
        }
    }
};

const std::string STAMP = R"(\d{4}-\d{2}-\d{2} \d{2}:\d{2}:\d{2}\.\d{3} )";

TEST_F(ZLogClientTest, RecordCarriesTimeLevelTagPlaceAndVerbatimText) {
    log->do_log(ZLogLvWarn, "SRCI", "monitorTime", 77, std::string("\nload 100%s\n"));
    log->do_log(ZLogLvInfo, "SRCI", "cycle", 5, "%d ms over", 51);
    log->do_log(ZLogLvInfo, 0, std::string("relayed"));
    std::string all = drain(sysReader);
    std::regex expected(STAMP + R"(W \[SRCI\] monitorTime:77 \nload 100%s\n)" + STAMP +
                        R"(I \[SRCI\] cycle:5 51 ms over\n)" + STAMP + R"(I \[-\] -:0 relayed\n)");
    EXPECT_TRUE(std::regex_match(all, expected)) << all;
}

TEST_F(ZLogClientTest, OverlongTextIsCutAndMarkedWithinOneRecord) {
    log->do_log(ZLogLvInfo, "SRCI", "f", 1, std::string(100000, 'z'));
    std::string all = drain(sysReader);
    EXPECT_LT(all.size(), 20000u);
    EXPECT_EQ(all.substr(all.size() - 13), " [truncated]\n");
    EXPECT_EQ(all.find('\n'), all.size() - 1);
}

TEST_F(ZLogClientTest, GlobalFilterKeepsLevelsUpToItAndDisableDropsAll) {
    log->set_lv_filter(ZLogLvInfo);
    EXPECT_EQ(log->lv_filter(), ZLogLvInfo);
    logEveryLevel("SRCI");
    EXPECT_EQ(sysLetters(), "EWI");
    log->set_lv_filter(ZLogLvDisable);
    logEveryLevel("SRCI");
    EXPECT_EQ(sysLetters(), "");
}

TEST_F(ZLogClientTest, TagFilterTightensOnlyItsTagAndOnlyWhileEnabled) {
    log->set_tag_lv_filter("SRCI", ZLogLvDebug, true);
    logEveryLevel("SRCI");
    logEveryLevel("BUS");
    EXPECT_EQ(sysLetters(), "EWIDEWIDT");

    log->set_lv_filter(ZLogLvWarn);  // a looser tag filter does not widen the global one
    log->set_tag_lv_filter("SRCI", ZLogLvTrace, true);
    logEveryLevel("SRCI");
    EXPECT_EQ(sysLetters(), "EW");

    log->set_lv_filter(ZLogLvTrace);
    log->set_tag_lv_filter("SRCI", ZLogLvError, false);
    logEveryLevel("SRCI");
    EXPECT_EQ(sysLetters(), "EWIDT");
}

TEST_F(ZLogClientTest, ErrorsAlsoGoToTheErrorChannel) {
    log->do_log(ZLogLvWarn, "SRCI", "f", 1, std::string("warn"));
    log->do_log(ZLogLvError, "SRCI", "f", 2, std::string("fail"));
    EXPECT_EQ(zlog_test::splitLines(drain(sysReader)).size(), 2u);
    auto errLines = zlog_test::splitLines(drain(errReader));
    ASSERT_EQ(errLines.size(), 1u);
    EXPECT_NE(errLines[0].find("f:2 fail"), std::string::npos);
}

TEST_F(ZLogClientTest, FullChannelCountsEveryRefusedRecord) {
    const uint64_t before = log->dropped();
    const std::string text(1000, 'q');
    const int attempts = 1500;  // about 1.5 MiB: more than one half can hold
    for (int i = 0; i < attempts; ++i) {
        log->do_log(ZLogLvInfo, "SRCI", "f", i, text);
    }
    size_t accepted = zlog_test::splitLines(drain(sysReader)).size();
    EXPECT_GT(log->dropped(), before);
    EXPECT_EQ(accepted + (log->dropped() - before), static_cast<size_t>(attempts));
}

TEST_F(ZLogClientTest, StdoutEchoCarriesTheSameRecord) {
    zlog_test::TempDir dir;
    std::string path = (dir.path() / "stdout").string();
    fflush(stdout);
    int saved = dup(STDOUT_FILENO);
    int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    ASSERT_GE(fd, 0);
    dup2(fd, STDOUT_FILENO);
    log->enableStdout(true);
    log->do_log(ZLogLvInfo, "SRCI", "f", 3, std::string("echoed\n"));
    log->enableStdout(false);
    log->do_log(ZLogLvInfo, "SRCI", "f", 4, std::string("quiet\n"));
    fflush(stdout);
    dup2(saved, STDOUT_FILENO);
    close(saved);
    close(fd);
    std::string echoed = zlog_test::readFile(path);
    std::string channel = drain(sysReader);
    EXPECT_EQ(channel.substr(0, echoed.size()), echoed);
    EXPECT_NE(echoed.find("f:3 echoed\n"), std::string::npos);
    EXPECT_EQ(echoed.find("quiet"), std::string::npos);
}

}  // namespace
