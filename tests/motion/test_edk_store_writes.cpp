// SPDX-License-Identifier: Apache-2.0
// Each stored record reaches srci.ini in one synced replacement of the file, with the bytes the
// key-by-key format gives: a crash leaves a tool, frame, load or dynamics record whole.
#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <variant>

#include "INI/iniHandler.h"
#include "INI/iniStorage.h"
#include "motion_test_support.h"
#include "srl/edk_helper.h"

using namespace motion_test;

namespace {

class CountingDisk : public DiskIniStorage {
public:
    CountingDisk() { setIniStorage(this); }
    ~CountingDisk() override { setIniStorage(nullptr); }
    int replacements = 0, fileSyncs = 0;

protected:
    void beforeStep(IniStep step) override {
        replacements += step == IniStep::rename ? 1 : 0;
        fileSyncs += step == IniStep::syncFile ? 1 : 0;
    }
};

using Value = std::variant<double, int, bool>;

struct RecordWrite {
    const char* name;
    std::function<void(EDK_Helper&)> write;
    std::string section;
    std::vector<std::pair<std::string, Value>> keys;  // in the order of the file format
};

TEST(StoreWrites, EachRecordIsOneSyncedReplacementInTheFileFormat) {
    srci::ToolData tool;
    tool.pose = srci::POSE(10.5, -20.25, 130, 1, 2, 3);
    tool.fixed_tool = true;
    tool.loadId = 4;
    tool.physicalToolId = 7;
    srci::FrameData frame;
    frame.pose = srci::POSE(100, 200, 0, 0, 0, 45);
    const srci::LoadData load{2.5, 0.1, 0.2, 0.3, 0, 0, 0, 0.01, 0.02, 0.03};

    const RecordWrite cases[] = {
        {"tool",
         [&](EDK_Helper& h) { h.setStoredTool(3, tool); },
         "tool3",
         {{"x", 10.5},
          {"y", -20.25},
          {"z", 130.0},
          {"rx", 1.0},
          {"ry", 2.0},
          {"rz", 3.0},
          {"fixTCP", true},
          {"loadId", 4},
          {"physicalToolId", 7}}},
        {"frame",
         [&](EDK_Helper& h) { h.setStoredFrame(2, frame); },
         "userFrame2",
         {{"x", 100.0}, {"y", 200.0}, {"z", 0.0}, {"rx", 0.0}, {"ry", 0.0}, {"rz", 45.0}, {"refIndex", 0}}},
        {"load",
         [&](EDK_Helper& h) { h.setStoredLoad(4, load); },
         "load4",
         {{"mass", 2.5},
          {"x", 0.1},
          {"y", 0.2},
          {"z", 0.3},
          {"rx", 0.0},
          {"ry", 0.0},
          {"rz", 0.0},
          {"ix", 0.01},
          {"iy", 0.02},
          {"iz", 0.03}}},
        {"refDyn",
         [](EDK_Helper& h) {
             h.setStoredRefDyn_linear({500.0, 600.0, -1.0, -1.0});
         },
         "refDyn",
         {{"vel", 500.0}, {"acc", 600.0}, {"dec", -1.0}, {"jerk", -1.0}}},
        {"defaultDyn",
         [](EDK_Helper& h) {
             h.setStoredDefaultDyn({0.5, 0.75, -1.0, -1.0});
         },
         "defaultDyn",
         {{"vel", 0.5}, {"acc", 0.75}, {"dec", -1.0}, {"jerk", -1.0}}},
    };
    for (const RecordWrite& c : cases) {
        SCOPED_TRACE(c.name);
        sim().reset();
        ScratchDir dir(std::string("record_") + c.name);
        EDK_Helper store;
        const std::string keyByKey = (dir.path() / "keys.ini").string();
        std::filesystem::copy_file(dir.file(), keyByKey);
        INI expected(keyByKey);
        for (const auto& [key, value] : c.keys)
            std::visit([&, k = key](auto v) { ASSERT_TRUE(expected.put(c.section, k, v)); }, value);

        CountingDisk disk;
        c.write(store);
        EXPECT_EQ(disk.replacements, 1);
        EXPECT_EQ(disk.fileSyncs, 1);
        EXPECT_EQ(readFile(dir.file()), readFile(keyByKey));
    }
}

}  // namespace
