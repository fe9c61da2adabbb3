// SPDX-License-Identifier: Apache-2.0
// Each stored record reaches srci.ini in one synced replacement of the file, with the bytes the
// key-by-key format gives: a crash leaves a tool, frame, load or dynamics record whole.
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <functional>
#include <sstream>

#include "INI/iniHandler.h"
#include "motion_test_support.h"
#include "srl/edk_helper.h"
#include "watched_ini_disk.h"

using namespace motion_test;

namespace {

TEST(StoreWrites, EachRecordIsOneSyncedReplacementInTheFileFormat) {
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
        ScratchDir dir("record_" + c.section);
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
TEST(StoreWrites, AChangeTheControllerRefusesIsNotWritten) {
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
        ScratchDir dir(std::string("refused_") + c.what);
        EDK_Helper store;
        const std::string before = readFile(dir.file());
        WatchedDisk disk;
        int code = 0;
        try {
            c.write(store);
        } catch (int thrown) {
            code = thrown;
        }
        EXPECT_EQ(code, c.code);
        EXPECT_EQ(disk.replacements, 0);
        EXPECT_EQ(readFile(dir.file()), before);
    }
}

}  // namespace
