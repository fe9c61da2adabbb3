// SPDX-License-Identifier: Apache-2.0
// Log client: record layout, level and tag filters, channel routing, drop accounting.
#include <gtest/gtest.h>

#include <regex>
#include <string>

#include "qxutil/dualbuff.h"
#include "test_support.h"
#include "zlog/zlog_client.h"

namespace {

using namespace zlog;
using zlog_test::drain;

class ZLogClientTest : public testing::Test {
protected:
    zlog_test::ShmScope scope{ZLOG_SYS_CHANNEL, ZLOG_ERR_CHANNEL};
    qxutil::DualBuffReader sysReader{ZLOG_SYS_CHANNEL};
    qxutil::DualBuffReader errReader{ZLOG_ERR_CHANNEL};
    ZLogClient* log = ZLogClient::get();

    void SetUp() override {
        log->reopen_channels();
        log->set_lv_filter(ZLogLvTrace);
        for (const char* tag : {"SRCI", "BUS"}) log->set_tag_lv_filter(tag, ZLogLvTrace, false);
    }
    void TearDown() override { log->reopen_channels(); }
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

// Every level is logged under SRCI and then under BUS; the level letters of what reaches the
// system channel show which filter let what through.
TEST_F(ZLogClientTest, TagFilterTightensOnlyItsTagAndOnlyWhileEnabledAndNeverWidensTheGlobalOne) {
    const struct {
        const char* what;
        int global, srciLevel;
        bool srciEnabled;
        const char* letters;
    } rows[] = {
        {"global filter alone", ZLogLvInfo, ZLogLvTrace, false, "EWIEWI"},
        {"global filter disabled", ZLogLvDisable, ZLogLvTrace, false, ""},
        {"tag filter tightens its tag only", ZLogLvTrace, ZLogLvDebug, true, "EWIDEWIDT"},
        {"looser tag filter under a tighter global one", ZLogLvWarn, ZLogLvTrace, true, "EWEW"},
        {"tag filter switched off again", ZLogLvTrace, ZLogLvError, false, "EWIDTEWIDT"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        log->set_lv_filter(row.global);
        EXPECT_EQ(log->lv_filter(), row.global);
        log->set_tag_lv_filter("SRCI", row.srciLevel, row.srciEnabled);
        for (const char* tag : {"SRCI", "BUS"})
            for (int lv = ZLogLvError; lv <= ZLogLvTrace; ++lv) log->do_log(lv, tag, "f", 1, std::string("x"));
        std::string letters;
        for (const auto& line : zlog_test::splitLines(drain(sysReader))) letters += line.substr(24, 1);
        EXPECT_EQ(letters, row.letters);
    }
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
    for (int i = 0; i < attempts; ++i) log->do_log(ZLogLvInfo, "SRCI", "f", i, text);
    size_t accepted = zlog_test::splitLines(drain(sysReader)).size();
    EXPECT_GT(log->dropped(), before);
    EXPECT_EQ(accepted + (log->dropped() - before), static_cast<size_t>(attempts));
}

TEST_F(ZLogClientTest, StdoutEchoCarriesTheSameRecord) {
    testing::internal::CaptureStdout();
    log->enableStdout(true);
    log->do_log(ZLogLvInfo, "SRCI", "f", 3, std::string("echoed\n"));
    log->enableStdout(false);
    log->do_log(ZLogLvInfo, "SRCI", "f", 4, std::string("quiet\n"));
    const std::string echoed = testing::internal::GetCapturedStdout();
    EXPECT_EQ(drain(sysReader).substr(0, echoed.size()), echoed);
    EXPECT_NE(echoed.find("f:3 echoed\n"), std::string::npos);
    EXPECT_EQ(echoed.find("quiet"), std::string::npos);
}

}  // namespace
