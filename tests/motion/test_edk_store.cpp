// SPDX-License-Identifier: Apache-2.0
// The parameter store against the simulated arm: first start, read-back, fallbacks, the rules
// its setters enforce and how its records reach the file.
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>

#include "INI/iniHandler.h"
#include "itf_rc/rcitf.h"
#include "motion_test_support.h"
#include "srl/edk_helper.h"
#include "watched_ini_disk.h"

using namespace motion_test;

namespace {

srci::RcItf* rc() { return srci::RcItf::get(true); }

void expectPoseNear(const srci::POSE& a, const srci::POSE& b, double tol = 1e-3) {
    for (unsigned int i = 0; i < 6; ++i) EXPECT_NEAR(a[i], b[i], tol) << "component " << i;
}

class StoreTest : public ::testing::Test {
protected:
    void SetUp() override {
        sim().reset();
        Log::clear();
    }
};

// ---------------------------------------------------------------- first and second start

TEST_F(StoreTest, FirstStartCreatesCompleteFileAndSecondStartReadsItBackUnchanged) {
    ScratchDir dir;
    const double tool4[6] = {1, 2, 30, 0, 0, 90};
    sim().setToolOffset(tool4, 4);

    EDK_Helper first;
    INI ini(dir.file().string());
    for (int i = 1; i <= 15; ++i) {  // every record down to its last key
        EXPECT_TRUE(ini.hasKey("tool" + std::to_string(i), "physicalToolId"));
        EXPECT_TRUE(ini.hasKey("userFrame" + std::to_string(i), "refIndex"));
        EXPECT_TRUE(ini.hasKey("load" + std::to_string(i), "iz"));
    }
    EXPECT_FALSE(ini.hasSection("tool0"));
    EXPECT_FALSE(ini.hasSection("tool16"));
    for (const auto& [section, rate] : {std::pair{"refDyn", 300.0}, {"defaultDyn", 0.9}}) {
        const std::pair<const char*, double> keys[] = {{"vel", rate}, {"acc", rate}, {"dec", -1.0}, {"jerk", -1.0}};
        for (const auto& [key, value] : keys) EXPECT_NEAR(ini.getDouble(section, key), value, 1e-6) << section << key;
    }

    // Missing sections are logged: two dynamics lines and one code per tool, frame and load.
    EXPECT_EQ(Log::count("fail to read ini refDyn, use default"), 1u);
    EXPECT_EQ(Log::count("fail to read ini defaultDyn, use default"), 1u);
    EXPECT_EQ(Log::count("\n10002\n"), 45u);

    // Tools fell back to the controller's poses with the default load id.
    const srci::ToolData t4 = first.getStoredTool(4);
    expectPoseNear(t4.pose, srci::POSE(tool4));
    EXPECT_EQ(t4.loadId, 1);
    EXPECT_FALSE(t4.fixed_tool);
    EXPECT_EQ(ini.getInt("tool4", "loadId"), 1);
    EXPECT_NEAR(ini.getDouble("tool4", "z"), 30.0, 1e-6);

    const std::string written = readFile(dir.file());
    Log::clear();
    EDK_Helper second;
    EXPECT_EQ(readFile(dir.file()), written);
    EXPECT_EQ(Log::count("fail to read ini"), 0u);
    EXPECT_EQ(Log::count("\n10002\n"), 0u);
    expectPoseNear(second.getStoredTool(4).pose, t4.pose);
    EXPECT_NEAR(second.getStoredDefaultDyn().vel_rate, 0.9, 1e-6);
}

TEST_F(StoreTest, FileValuesWinOverTheControllerAndArePushedToIt) {
    ScratchDir dir;
    {
        EDK_Helper seed;
        srci::ToolData tool;
        tool.pose = srci::POSE(0, 0, 55, 0, 0, 0);
        tool.fixed_tool = true;
        tool.loadId = 3;
        tool.physicalToolId = 9;
        seed.setStoredTool(5, tool);
    }
    sim().reset();
    EDK_Helper store;
    const srci::ToolData t5 = store.getStoredTool(5);
    EXPECT_TRUE(t5.fixed_tool);
    EXPECT_EQ(t5.loadId, 3);
    EXPECT_EQ(t5.physicalToolId, 9);
    expectPoseNear(rc()->getTool(5), srci::POSE(0, 0, 55, 0, 0, 0));
}

TEST_F(StoreTest, PartlyReadableToolSectionIsReplacedWholeFromTheController) {
    ScratchDir dir;
    { EDK_Helper seed; }
    INI ini(dir.file().string());
    // Rewrite tool3 without its last key.
    std::string text = readFile(dir.file());
    const size_t at = text.find("[tool3]");
    ASSERT_NE(at, std::string::npos);
    const size_t key = text.find("physicalToolId", at);
    text.erase(key, text.find('\n', key) - key + 1);
    std::ofstream(dir.file()) << text;
    ini.put("tool3", "fixTCP", true);
    ini.put("tool3", "loadId", 7);
    ini.put("tool3", "z", 99.0);
    ASSERT_FALSE(ini.hasKey("tool3", "physicalToolId"));

    const double controllerTool3[6] = {0, 0, 12, 0, 0, 0};
    sim().setToolOffset(controllerTool3, 3);
    Log::clear();
    EDK_Helper store;
    const srci::ToolData t3 = store.getStoredTool(3);
    expectPoseNear(t3.pose, srci::POSE(controllerTool3));
    EXPECT_EQ(t3.loadId, 1);
    EXPECT_FALSE(t3.fixed_tool);
    EXPECT_EQ(t3.physicalToolId, 0);
    EXPECT_EQ(Log::count("\n10003\n"), 1u);
    EXPECT_EQ(ini.getInt("tool3", "physicalToolId"), 0);
    EXPECT_FALSE(ini.getBool("tool3", "fixTCP"));
}

TEST_F(StoreTest, DefaultDynamicsReadOnlyVelAndAccAndMissingKeyFailsConstruction) {
    ScratchDir dir;
    { EDK_Helper seed; }
    INI ini(dir.file().string());
    ini.put("defaultDyn", "vel", 0.5);
    ini.put("defaultDyn", "acc", 0.25);
    ini.put("defaultDyn", "dec", 5.0);
    ini.put("defaultDyn", "jerk", 7.0);
    {
        EDK_Helper store;
        const srci::DefaultDynamic dd = store.getStoredDefaultDyn();
        EXPECT_NEAR(dd.vel_rate, 0.5, 1e-6);
        EXPECT_NEAR(dd.acc_rate, 0.25, 1e-6);
        EXPECT_DOUBLE_EQ(dd.dec_rate, -1.0);
        EXPECT_DOUBLE_EQ(dd.jerk_rate, -1.0);
        EXPECT_NEAR(ini.getDouble("defaultDyn", "dec"), -1.0, 1e-6);
    }
    // A dynamics section without "vel" or "acc" is not replaced by the fallback: construction
    // fails, and one line on stderr names the file, the section and the key.
    const std::string complete = readFile(dir.file());
    for (const std::string section : {"refDyn", "defaultDyn"}) {
        for (const std::string missing : {"vel", "acc"}) {
            std::string text = complete;
            const size_t key = text.find("\n" + missing + "=", text.find("[" + section + "]")) + 1;
            text.erase(key, text.find('\n', key) - key + 1);
            std::ofstream(dir.file()) << text;
            testing::internal::CaptureStderr();
            EXPECT_EQ(thrownCode([] { EDK_Helper broken; }), srci::err_ini_no_key) << section << " " << missing;
            const std::string said = testing::internal::GetCapturedStderr();
            EXPECT_NE(said.find("srci.ini: section [" + section + "] has no key \"" + missing + "\""),
                      std::string::npos)
                << said;
        }
    }
}

// ---------------------------------------------------------------- setters

TEST_F(StoreTest, IndexesOutsideTheTablesAreRefused) {
    ScratchDir dir;
    EDK_Helper store;
    for (int bad : {-1, 16}) {
        EXPECT_EQ(thrownCode([&] { store.getStoredTool(bad); }), srci::err_tools_index);
        EXPECT_EQ(thrownCode([&] { store.setStoredTool(bad, srci::POSE()); }), srci::err_tools_index);
        EXPECT_EQ(thrownCode([&] { store.getStoredFrame(bad); }), srci::err_frames_index);
        EXPECT_EQ(thrownCode([&] { store.getStoredLoad(bad); }), srci::err_load_index);
        EXPECT_EQ(thrownCode([&] { store.setStoredLoad(bad, srci::LoadData{}); }), srci::err_load_index);
    }
    EXPECT_NO_THROW(store.getStoredTool(0));
    EXPECT_NO_THROW(store.getStoredLoad(15));
}

TEST_F(StoreTest, FramesReferToTheBaseOrToAFrameReferringToTheBaseOnly) {
    ScratchDir dir;
    EDK_Helper store;
    store.setStoredFrame(1, srci::FrameData{srci::POSE(100, 0, 0, 0, 0, 0), 0});
    store.setStoredFrame(2, srci::FrameData{srci::POSE(0, 50, 0, 0, 0, 0), 1});
    // The controller gets base coordinates, the store keeps the relative pose.
    expectPoseNear(rc()->getUsrFrame(2), srci::POSE(100, 50, 0, 0, 0, 0));
    expectPoseNear(store.getStoredFrame(2).pose, srci::POSE(0, 50, 0, 0, 0, 0));

    // A two-level chain is refused and changes nothing.
    store.setStoredFrame(1, srci::FrameData{srci::POSE(10, 0, 0, 0, 0, 0), 3});
    EXPECT_EQ(thrownCode([&] {
                  store.setStoredFrame(2, srci::FrameData{srci::POSE(0, 70, 0, 0, 0, 0), 1});
              }),
              srci::err_frame_ref);
    expectPoseNear(store.getStoredFrame(2).pose, srci::POSE(0, 50, 0, 0, 0, 0));
    INI ini(dir.file().string());
    EXPECT_NEAR(ini.getDouble("userFrame2", "y"), 50.0, 1e-6);
}

TEST_F(StoreTest, ReferenceDynamicsLimitsAndUnusedDecJerk) {
    ScratchDir dir;
    EDK_Helper store;
    auto codeOf = [&](srci::ReferenceDynamic rd) { return thrownCode([&] { store.setStoredRefDyn_linear(rd); }); };
    EXPECT_EQ(codeOf({2000.0, -1.0, -1.0, -1.0}), 0);
    EXPECT_DOUBLE_EQ(store.getStoredRefDyn_linear().vel, 2000.0);
    EXPECT_DOUBLE_EQ(store.getStoredRefDyn_linear().acc, 300.0);  // negative keeps the value
    EXPECT_EQ(codeOf({2000.0001, 10.0, -1.0, -1.0}), srci::err_refDyn_vel);
    EXPECT_EQ(codeOf({-1.0, 5000.5, -1.0, -1.0}), srci::err_refDyn_acc);
    EXPECT_EQ(codeOf({2500.0, 6000.0, -1.0, -1.0}), srci::err_refDyn_vel);  // vel is tested first
    EXPECT_EQ(codeOf({100.0, 100.0, -0.9995, -1.0}), 0);
    EXPECT_EQ(codeOf({100.0, 100.0, -0.998, -1.0}), srci::err_refDyn_dec);
    EXPECT_EQ(codeOf({100.0, 100.0, -0.998, 3.0}), srci::err_refDyn_dec);
    EXPECT_EQ(codeOf({100.0, 100.0, -1.0, 3.0}), srci::err_refDyn_jerk);
    EXPECT_EQ(codeOf({0.0, 0.0, -1.0, -1.0}), 0);  // zero is a value, not "keep"
    EXPECT_DOUBLE_EQ(store.getStoredRefDyn_linear().vel, 0.0);

    EXPECT_EQ(codeOf({150.0, 250.0, -1.0, -1.0}), 0);
    const srci::ReferenceDynamic stored = store.getStoredRefDyn_linear();
    EXPECT_DOUBLE_EQ(stored.acc, 250.0);
    EXPECT_DOUBLE_EQ(stored.dec, -1.0);
    EXPECT_DOUBLE_EQ(stored.jerk, -1.0);
    INI ini(dir.file().string());
    EXPECT_NEAR(ini.getDouble("refDyn", "vel"), 150.0, 1e-6);
    EXPECT_NEAR(ini.getDouble("refDyn", "dec"), -1.0, 1e-6);
    EXPECT_NEAR(rc()->getReferenceDynamic().vel, 150.0, 1e-6);
}

// ---------------------------------------------------------------- writes

// Each record reaches srci.ini in one synced replacement of the file, with the bytes the
// key-by-key format gives: a crash leaves a tool, frame, load or dynamics record whole.
TEST_F(StoreTest, EachRecordIsOneSyncedReplacementInTheFileFormat) {
    const srci::ToolData tool{srci::POSE(10.5, -20.25, 130, 1, 2, 3), true, 4, 7};
    const srci::FrameData frame{srci::POSE(100, 200, 0, 0, 0, 45), 0};
    const srci::LoadData load{2.5, 0.1, 0.2, 0.3, 0, 0, 0, 0.01, 0.02, 0.03};
    const struct {
        std::function<void(EDK_Helper&)> write;
        std::string section, keys;  // "key=text" in the order of the file format
    } cases[] = {
        {[&](EDK_Helper& h) { h.setStoredTool(3, tool); }, "tool3",
         "x=10.500000 y=-20.250000 z=130.000000 rx=1.000000 ry=2.000000 rz=3.000000 fixTCP=true loadId=4 "
         "physicalToolId=7"},
        {[&](EDK_Helper& h) { h.setStoredFrame(2, frame); }, "userFrame2",
         "x=100.000000 y=200.000000 z=0.000000 rx=0.000000 ry=0.000000 rz=45.000000 refIndex=0"},
        {[&](EDK_Helper& h) { h.setStoredLoad(4, load); }, "load4",
         "mass=2.500000 x=0.100000 y=0.200000 z=0.300000 rx=0.000000 ry=0.000000 rz=0.000000 ix=0.010000 "
         "iy=0.020000 iz=0.030000"},
        {[](EDK_Helper& h) {
             h.setStoredRefDyn_linear({500.0, 600.0, -1.0, -1.0});
         },
         "refDyn", "vel=500.000000 acc=600.000000 dec=-1.000000 jerk=-1.000000"},
        {[](EDK_Helper& h) {
             h.setStoredDefaultDyn({0.5, 0.75, -1.0, -1.0});
         },
         "defaultDyn", "vel=0.500000 acc=0.750000 dec=-1.000000 jerk=-1.000000"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.section);
        sim().reset();
        ScratchDir dir;
        EDK_Helper store;
        const std::string keyByKey = (dir.path() / "keys.ini").string();
        std::filesystem::copy_file(dir.file(), keyByKey);
        minIni expected(keyByKey);
        std::istringstream keys(c.keys);
        for (std::string kv; keys >> kv;) {
            const size_t eq = kv.find('=');
            ASSERT_TRUE(expected.put(c.section, kv.substr(0, eq), kv.substr(eq + 1)));
        }

        WatchedDisk disk;
        c.write(store);
        EXPECT_EQ(disk.replacements, 1);
        EXPECT_EQ(disk.fileSyncs, 1);
        EXPECT_EQ(readFile(dir.file()), readFile(keyByKey));
    }
}

// The file follows the controller: a tool or frame the controller refuses is never written.
TEST_F(StoreTest, AChangeTheControllerRefusesIsNotWritten) {
    const double nan = std::nan("");
    const struct {
        const char* what;
        std::function<void(EDK_Helper&)> write;
        int code;
    } cases[] = {
        {"tool",
         [&](EDK_Helper& h) {
             h.setStoredTool(3, srci::ToolData{srci::POSE(nan, 0, 0, 0, 0, 0), false, 0, 0});
         },
         srci::err_tools_setting},
        {"frame",
         [&](EDK_Helper& h) {
             h.setStoredFrame(2, srci::FrameData{srci::POSE(nan, 0, 0, 0, 0, 0), 0});
         },
         srci::err_frames_setting},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        sim().reset();
        ScratchDir dir;
        EDK_Helper store;
        const std::string before = readFile(dir.file());
        WatchedDisk disk;
        EXPECT_EQ(thrownCode([&] { c.write(store); }), c.code);
        EXPECT_EQ(disk.replacements, 0);
        EXPECT_EQ(readFile(dir.file()), before);
    }
}

}  // namespace
