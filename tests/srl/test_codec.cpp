// SPDX-License-Identifier: Apache-2.0
// Field tables seen from the wire: records whose host layout differs from the SRCI table.
#include <gtest/gtest.h>

#include "fake_handlers.h"
#include "srci_plc/byte_order.hpp"

namespace srltest {
namespace {

using Codec = ConnectedPlc;

TEST_F(Codec, WorkAreaUsesTheStandardLayout) {
    Bytes p = payload(7503, Bytes(150, 0));
    p[5] = 0x03;                        // WorkAreaNo 3 (UINT); both layouts are SafetyWire.WorkAreaNumberInBothLayouts
    p[16] = 5;                          // FrameNo
    srci_plc::put_f32be(&p[17], 1.0f);  // ZeroPointX at the odd offset 17
    p[153] = 1;                         // DataChanged flag: not part of the record
    plc.cycle({command(3, p)});
    const auto w = received<LRob_typeServerCmdWriteWorkArea>("write_workarea");
    EXPECT_EQ(w.WorkAreaData.Data.FrameNo, 5);
    EXPECT_EQ(w.WorkAreaData.Data.DefinitionMode, 0);
    EXPECT_FLOAT_EQ(w.WorkAreaData.Data.ZeroPointX, 1.0f);

    LRob_typeServerRspReadWorkArea rsp{};
    rsp.WorkAreaNo = 3;
    rsp.WorkAreaData.Data.FrameNo = 5;
    rsp.WorkAreaData.Data.Radius = -90.0f;
    rsp.DataChanged = 1;
    answer("read_workarea", rsp);
    const Bytes b = plc.cycle({command(4, payload(7502, {3}))}).find(4).bytes;
    ASSERT_EQ(b.size(), 154u);
    EXPECT_EQ(b[4], 3);
    EXPECT_EQ(b[16], 5);
    EXPECT_EQ(Bytes(b.begin() + 53, b.begin() + 57), hex("C2 B4 00 00"));
    EXPECT_EQ(b[153], 1);
}

TEST_F(Codec, ExchangeConfigurationSyncBytes) {
    Bytes p = payload(9000, Bytes(16, 0), 2, 2);
    p[5] = 0x02;
    p[15] = 0x11;  // DataInSync
    p[17] = 0x03;  // DataEnableSync: tools, frames
    plc.cycle({{2, 0x05, 0, p}});
    const auto c = received<LRob_typeServerCmdExchangeConfiguration>("exchange_config");
    EXPECT_EQ(c.SyncStatePLC[0], 0x11);
    EXPECT_EQ(c.SyncEnable.Tool, 1);
    EXPECT_EQ(c.SyncEnable.Frame, 1);
    EXPECT_EQ(c.SyncEnable.Load, 0);

    srl_set_sync_item_parameters(0, 4, nullptr);  // tool 4 changed on the controller
    const Frag f = wait_for(plc, 2, 4);
    EXPECT_EQ(f.parseq(), 2);  // the update's ParSeq
    ASSERT_EQ(f.bytes.size(), 30u);
    EXPECT_EQ(f.bytes[14], 4);  // ChangeIndexTool
}

TEST_F(Codec, KinematicsRecordsCarryNoHeader) {
    Bytes p = payload(7203, Bytes(50, 0));
    p[4] = 1;                           // ToolNo
    srci_plc::put_f32be(&p[6], 90.0f);  // J1
    LRob_typeServerRobotCartesianPosition pos{};
    pos.Position.X = 1.0f;
    pos.ExtendedPosition.E6 = 2.0f;
    answer("forward_kin", pos);
    uint8_t current[104] = {};
    current[102] = 3;  // tool in use
    current[103] = 2;
    srl_set_current_pos(current, 1.0f);
    const Bytes b = plc.cycle({command(3, p)}).find(3).bytes;
    EXPECT_FLOAT_EQ(received<float>("forward_kin"), 90.0f);
    ASSERT_EQ(b.size(), 60u);
    EXPECT_EQ(b[4], 3);
    EXPECT_EQ(b[5], 2);
    EXPECT_EQ(Bytes(b.begin() + 6, b.begin() + 10), hex("3F 80 00 00"));
    EXPECT_EQ(Bytes(b.begin() + 56, b.begin() + 60), hex("40 00 00 00"));
}

TEST(CodecApi, SerializeCopiesBoundedRecords) {
    uint8_t rec[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    uint8_t buf[256] = {};
    EXPECT_EQ(srl_serialize(rec, buf, 8), 8);
    EXPECT_EQ(buf[7], 8);
    EXPECT_EQ(srl_serialize(rec, buf, 256), -1);
    EXPECT_EQ(srl_deserialize(buf, rec, -1), -1);
    uint8_t back[8] = {};
    EXPECT_EQ(srl_deserialize(buf, back, 8), 8);
    EXPECT_EQ(back[3], 4);
}

TEST(LogQueue, DropsOldestAndCountsOverflow) {
    srl_config_reset();
    for (int i = 0; i < 70; ++i) srl_set_robot_motion_state_1(7, 1, 0, 0);  // unknown id: logged
    char line[256];
    srl_get_log(line);
    EXPECT_STREQ(line, "srl: 6 diagnostic lines dropped (queue full)");
    int lines = 0;
    for (;; ++lines) {
        srl_get_log(line);
        if (line[0] == '\0') break;
        EXPECT_NE(std::string(line).find("dropped (command already final)"), std::string::npos);
    }
    EXPECT_EQ(lines, 64);
}

}  // namespace
}  // namespace srltest
