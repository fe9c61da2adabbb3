// SPDX-License-Identifier: Apache-2.0
// Golden telegrams written by hand from the SRCI telegram tables (a common PLC client that always
// sends bytes 18-19, R->P without optional data). Every expected byte is given with its meaning.
#include <gtest/gtest.h>

#include <cstring>

#include "fake_handlers.h"

namespace srltest {
namespace {

void expect_telegram(const Tel& expected, const Tel& actual, const char* what) {
    for (int i = 0; i < 256; ++i) {
        EXPECT_EQ(expected[i], actual[i]) << what << ": byte " << i;
    }
}

Tel exchange(const Tel& in) {
    Tel tin = in, out{};
    srl_interpreter(tin.data(), out.data());
    g_now_ms += 4;
    return out;
}

template <typename T>
T host_at(const Call& c, size_t off) {
    T v;
    std::memcpy(&v, c.in.data() + off, sizeof v);
    return v;
}

class Golden : public ::testing::Test {
protected:
    void SetUp() override {
        reset_interpreter();
        // The adapter's configuration-exchange handler announces only AcceleratingSupported.
        std::vector<uint8_t> cfg(28, 0);
        cfg[22] = 0x40;
        fakes().answer["exchange_config"] = cfg;
        std::vector<uint8_t> data(134, 0);
        std::memcpy(&data[4], "testRCM", 7);
        data[88] = 1;     // interpreter version 1.0.0
        data[92] = 0x7E;  // joints 1..6 used
        std::memcpy(&data[116], "SRL_InterpRob", 13);
        data[132] = 4;  // cycle time 4 ms (host order)
        fakes().answer["robot_data"] = data;
    }

    void handshake() {
        const Tel init = telegram({
            {0, "23 01 01 00 01 00 01 00"},  // version 1.3; FastStop 0 / LifeSign 1; 256/256; group 0 / INITIALIZE
            {8, "00 00 00 00"},              // no optional cyclic data
            {12, "31 F0 02 93 2E 00"},       // 2025-01-01, 12:00:00.000
            {18, "00 00"},                   // ToolNo/FrameNo
            {20, "00 00 00 00"},             // SEQ 0, nothing follows
            {255, "01"},                     // footer LifeSign
        });
        expect_telegram(telegram({
                            {0, "23 10 00 FF"},   // version 1.3; LifeSign 1 (hi nibble); reserved; state 255
                            {4, "00 10 00 00"},   // status LE: idle, disabled, operation mode 4 (bits 10-12)
                            {8, "27 10"},         // override 100.00 %
                            {10, "00 00 00 00"},  // ACK 0, no response
                            {255, "10"},          // footer LifeSign (hi nibble)
                        }),
                        exchange(init), "INITIALIZE");

        const Tel read_messages = telegram({
            {0, "23 02 01 00 01 00 00 00"},  // LifeSign 2; Control NONE
            {12, "31 F0 02 93 2E 00"},
            {18, "00 00"},
            {20, "00 02 00 0F"},              // SEQ 2, 15 bytes follow
            {24, "00 01 00 03 00 00 00 07"},  // CmdID 1, Reset+Complete, pointer 0, 7 bytes
            {32, "23 29 02 13 00 01 14"},     // ReadMessages, ExecMode 2, ParSeq 1/Prio 3, MsgID 0, Enable, level 20
            {255, "02"},
        });
        expect_telegram(telegram({
                            {0, "23 20 00 FF"},
                            {4, "00 10 00 00"},
                            {8, "27 10"},
                            {10, "00 02 00 B2"},              // ACK 2, 178 bytes follow
                            {14, "00 01 00 05 00 00 00 AA"},  // CmdID 1, Complete+Clear, pointer 0, 170 bytes
                            {22, "14 00 00 00"},              // ParSeq 1 / State 4 Active, no alarm
                            {26, "00 01 00 00"},              // MsgID 0, Enabled, 0 errors, 0 warnings
                            {255, "20"},                      // rest of the 170 bytes: zeros
                        }),
                        exchange(read_messages), "ReadMessages");

        const Tel exchange_cfg = telegram({
            {0, "23 03 01 00 01 00 00 00"},
            {12, "31 F0 02 93 2E 00"},
            {20, "00 03 00 16"},              // SEQ 3, 22 bytes follow
            {24, "00 02 00 03 00 00 00 0E"},  // CmdID 2, Reset+Complete, 14 bytes (tail dropped by the client)
            {32, "23 28 02 13 14 02 00 00 00 00 00 32 00 00"},  // ExchangeConfiguration; LogLevel 20;
                                                                // Enable (bit 1); DelayTime 0; WaitForNrOfCmd 0;
                                                                // LifeSignTimeOut 50 ms; SyncDelay 0
            {255, "03"},
        });
        expect_telegram(telegram({
                            {0, "23 30 00 FF"},
                            {4, "00 10 00 00"},
                            {8, "27 10"},
                            {10, "00 03 00 26"},              // ACK 3, 38 bytes
                            {14, "00 02 00 05 00 00 00 1E"},  // CmdID 2, Complete+Clear, 30 bytes
                            {22, "14 00 00 00"},              // ParSeq 1 / Active
                            {26, "01 00 00 32"},              // Enabled; reserved; LengthACR 50
                            {30, "13 13 13 00"},              // highest tool/frame/load 19, work area 0
                            {34, "00 00 00 00 00 00"},        // DataInSync, reserved, change indices
                            {40, "00 00 00 00"},              // RA working hours
                            {44, "40 00"},                    // AcceleratingSupported only
                            {46, "00 00 00 00 00 00"},        // RC working hours, NumberOfServerLogs
                            {255, "30"},
                        }),
                        exchange(exchange_cfg), "ExchangeConfiguration");

        const Tel robot_data = telegram({
            {0, "23 04 01 00 01 00 00 00"},
            {20, "00 04 00 0C"},              // SEQ 4, 12 bytes
            {24, "00 03 00 03 00 00 00 04"},  // CmdID 3, 4 bytes
            {32, "23 2A 02 13"},              // ReadRobotData
            {255, "04"},
        });
        expect_telegram(
            telegram({
                {0, "23 40 00 FF"},
                {4, "00 10 00 00"},
                {8, "27 10"},
                {10, "00 04 00 8E"},                     // ACK 4, 142 bytes
                {14, "00 03 00 05 00 00 00 86"},         // CmdID 3, 134 bytes
                {22, "1A 00 00 00"},                     // ParSeq 1 / State 10 Done
                {26, "74 65 73 74 52 43 4D"},            // RCManufacturer "testRCM"
                {110, "01 00 00"},                       // RCInterpreterVersion 1.0.0
                {114, "7E 00 00 00"},                    // joints 1..6 used, no externals, units
                {118, "FE FF FF 0F 00 00 80 01 00 0E"},  // RCSupportedFunctions from the
                                                         // registrations: no MoveCircular*, MoveLinearAbsoluteJ,
                                                         // digital I/O or software-limit write; work areas
                {138, "53 52 4C 5F 49 6E 74 65 72 70 52 6F 62"},  // RobotID
                {154, "00 04"},                                   // InterpreterCycleTime 4 ms
                {255, "40"},
            }),
            exchange(robot_data), "ReadRobotData");
    }
};

TEST_F(Golden, InitialisationHandshake) {
    handshake();
    const Call* cfg = fakes().last("exchange_config");
    ASSERT_NE(cfg, nullptr);
    EXPECT_EQ(host_at<uint8_t>(*cfg, 4), 20);     // LogLevel
    EXPECT_EQ(host_at<uint8_t>(*cfg, 5), 0x02);   // Enable bit
    EXPECT_EQ(host_at<uint16_t>(*cfg, 10), 50);   // LifeSignTimeOut, host order
    EXPECT_EQ(host_at<uint16_t>(*cfg, 0), 9000);  // CmdType, host order
    EXPECT_EQ(fakes().count("robot_data"), 1);
}

TEST_F(Golden, EnableRobotBecomesEnabledWithTheDrives) {
    handshake();
    const Tel enable = telegram({
        {0, "23 05 01 00 01 00 00 00"},
        {20, "00 05 00 10"},              // SEQ 5, 16 bytes
        {24, "00 04 00 03 00 00 00 08"},  // CmdID 4, Reset+Complete, 8 bytes
        {32, "03 E8 02 13 01 00 00 00"},  // EnableRobot, Enable 1, StepMode 0, no HoldToRun/ManualStep
        {255, "05"},
    });
    expect_telegram(telegram({
                        {0, "23 50 00 FF"},
                        {4, "00 10 00 00"},
                        {8, "27 10"},
                        {10, "00 05 00 0D"},              // ACK 5, 13 bytes
                        {14, "00 04 00 05 00 00 00 05"},  // CmdID 4, 5 bytes
                        {22, "14 00 00 00 00"},           // Active, Enabled 0 (drives still off)
                        {255, "50"},
                    }),
                    exchange(enable), "EnableRobot");
    const Call* h = fakes().last("robot_enable");
    ASSERT_NE(h, nullptr);
    EXPECT_EQ(h->in[4] & 1, 1);
    EXPECT_NE(h->in[255], 0);

    srl_set_ra_state(209);
    const Tel next = telegram({{0, "23 06 01 00 01 00 00 00"}, {20, "00 06 00 00"}, {255, "06"}});
    expect_telegram(telegram({
                        {0, "23 60 00 FF"},
                        {4, "80 10 00 00"},  // status bit 7 Enabled
                        {8, "27 10"},
                        {10, "00 06 00 0D"},
                        {14, "00 04 00 05 00 00 00 05"},
                        {22, "14 00 00 00 01"},  // Active, Enabled 1
                        {255, "60"},
                    }),
                    exchange(next), "Enabled");
}

TEST_F(Golden, MoveAxesAbsoluteBufferedActiveDone) {
    handshake();
    const Tel move = telegram({
        {0, "23 05 01 00 01 00 00 00"},
        {20, "00 05 00 58"},                          // SEQ 5, 88 bytes
        {24, "00 05 00 03 00 00 00 50"},              // CmdID 5, Reset+Complete, 80 bytes
        {32, "08 35 00 13"},                          // MoveAxesAbsolute, ExecMode 0 (buffered), ParSeq 1/Prio 3
        {36, "00 00 00 00 00 00"},                    // EmitterID, ListenerID, reserved
        {42, "27 10 13 88 FF FF FF FF"},              // velocity 100 %, acceleration 50 %, dec/jerk not set
        {50, "01 00"},                                // ToolNo 1, BlendingMode 0
        {52, "00 00 00 00 00 00 00 00"},              // blending parameters
        {60, "41 20 00 00 C2 B4 00 00 3F 80 00 00"},  // J1 10.0, J2 -90.0, J3 1.0; J4..E1 0
        {255, "05"},
    });
    const Tel out = exchange(move);
    const Call* h = fakes().last("move_axes");
    ASSERT_NE(h, nullptr);
    const LRob_typeServerCmdMoveAxesAbs cmd = host_at<LRob_typeServerCmdMoveAxesAbs>(*h, 0);
    EXPECT_EQ(cmd.Header.CmdType, 2101);
    EXPECT_EQ(cmd.DynamicParameter.VelocityRate, 10000);
    EXPECT_EQ(cmd.DynamicParameter.AccelerationRate, 5000);
    EXPECT_EQ(cmd.DynamicParameter.DecelerationRate, 0xFFFF);
    EXPECT_EQ(cmd.ToolNo, 1);
    EXPECT_FLOAT_EQ(cmd.Joint.J1, 10.0f);
    EXPECT_FLOAT_EQ(cmd.Joint.J2, -90.0f);
    EXPECT_FLOAT_EQ(cmd.Joint.J3, 1.0f);
    const int id = h->in[255];
    EXPECT_GE(id, 1);

    expect_telegram(telegram({
                        {0, "23 50 00 FF"},
                        {4, "00 11 00 00"},  // sequence executing (bits 8-9 = 1)
                        {8, "27 10"},
                        {10, "00 05 00 12"},              // ACK 5, 18 bytes
                        {14, "00 05 00 05 00 00 00 0A"},  // CmdID 5, 10 bytes
                        {22, "12 00 00 00"},              // ParSeq 1 / State 2 Buffered
                        {255, "50"},
                    }),
                    out, "Buffered");

    srl_set_robot_motion_state_1(id, 3, 0, 0);
    Tel t = telegram({{0, "23 06 01 00 01 00 00 00"}, {20, "00 06 00 00"}, {255, "06"}});
    expect_telegram(telegram({{0, "23 60 00 FF"},
                              {4, "00 11 00 00"},
                              {8, "27 10"},
                              {10, "00 06 00 12"},
                              {14, "00 05 00 05 00 00 00 0A"},
                              {22, "14 00 00 00"},  // Active
                              {255, "60"}}),
                    exchange(t), "Active");

    srl_set_robot_motion_state_1(id, 1, 0, 0);
    t = telegram({{0, "23 07 01 00 01 00 00 00"}, {20, "00 07 00 00"}, {255, "07"}});
    expect_telegram(telegram({{0, "23 70 00 FF"},
                              {4, "00 10 00 00"},
                              {8, "27 10"},
                              {10, "00 07 00 12"},
                              {14, "00 05 00 05 00 00 00 0A"},
                              {22, "1A 00 00 00"},        // Done
                              {26, "00 00 00 00 27 10"},  // InvocationCounter, OriginID, Progress 100 %
                              {255, "70"}}),
                    exchange(t), "Done");
}

TEST_F(Golden, ReadActualPosition) {
    handshake();
    // The handler answers joint E1 1.0 and J1 2.0: they travel at 40 and 44 of the payload.
    LRob_typeServerRspReadActualPosition rsp{};
    rsp.CoordinateSystem = {3, 4};
    rsp.Cartesian.X = 1.0f;
    rsp.Joint.J1 = 2.0f;
    rsp.Joint.E1 = -90.0f;
    std::vector<uint8_t> a(sizeof rsp);
    std::memcpy(a.data(), &rsp, sizeof rsp);
    fakes().answer["read_position"] = a;
    const Tel read = telegram({
        {0, "23 05 01 00 01 00 00 00"},
        {20, "00 05 00 14"},                          // SEQ 5, 20 bytes
        {24, "00 06 00 03 00 00 00 0C"},              // CmdID 6, 12 bytes
        {32, "13 EC 02 13 00 00 00 00 00 00 03 04"},  // ReadActualPosition, ToolNo 3, FrameNo 4
        {255, "05"},
    });
    expect_telegram(telegram({
                        {0, "23 50 00 FF"},
                        {4, "00 10 00 00"},
                        {8, "27 10"},
                        {10, "00 05 00 78"},              // ACK 5, 120 bytes
                        {14, "00 06 00 05 00 00 00 70"},  // CmdID 6, 112 bytes
                        {22, "1A 00 00 00"},              // Done
                        {30, "03 04"},                    // ToolNoReturn, FrameNoReturn
                        {32, "3F 80 00 00"},              // X 1.0
                        {62, "00 00 00 00 40 00 00 00"},  // Cartesian E1 0; J1 2.0
                        {110, "C2 B4 00 00"},             // joint E1 -90.0 at payload 88
                        {255, "50"},
                    }),
                    exchange(read), "ReadActualPosition");
    const Call* h = fakes().last("read_position");
    ASSERT_NE(h, nullptr);
    EXPECT_EQ(h->in[10], 3);
    EXPECT_EQ(h->in[11], 4);
}

TEST_F(Golden, CommandSplitOverTwoTelegrams) {
    handshake();
    LRob_typeServerRspReadToolData rsp{};
    rsp.ToolNo = 5;
    std::vector<uint8_t> a(sizeof rsp);
    std::memcpy(a.data(), &rsp, sizeof rsp);
    fakes().answer["read_tool"] = a;
    const Tel first = telegram({
        {0, "23 05 01 00 01 00 00 00"},
        {20, "00 05 00 0B"},              // SEQ 5, 11 bytes
        {24, "00 07 00 02 00 00 00 03"},  // CmdID 7, Reset (no Complete), pointer 0, 3 bytes
        {32, "13 F3 02"},                 // ReadToolData, ExecMode 2 ...
        {255, "05"},
    });
    expect_telegram(telegram({{0, "23 50 00 FF"},
                              {4, "00 10 00 00"},
                              {8, "27 10"},
                              {10, "00 05 00 00"},  // ACK 5, nothing to answer yet
                              {255, "50"}}),
                    exchange(first), "first part");
    EXPECT_EQ(fakes().count("read_tool"), 0);
    const Tel second = telegram({
        {0, "23 06 01 00 01 00 00 00"},
        {20, "00 06 00 0A"},              // SEQ 6, 10 bytes
        {24, "00 07 00 01 00 03 00 02"},  // CmdID 7, Complete, pointer 3, 2 bytes
        {32, "13 05"},                    // ... ParSeq 1/Prio 3, ToolNo 5
        {255, "06"},
    });
    expect_telegram(telegram({{0, "23 60 00 FF"},
                              {4, "00 10 00 00"},
                              {8, "27 10"},
                              {10, "00 06 00 30"},              // ACK 6, 48 bytes
                              {14, "00 07 00 05 00 00 00 28"},  // CmdID 7, 40 bytes
                              {22, "1A 00 00 00"},              // Done
                              {60, "05"},                       // ToolNo
                              {255, "60"}}),
                    exchange(second), "second part");
    ASSERT_EQ(fakes().count("read_tool"), 1);
    EXPECT_EQ(fakes().last("read_tool")->in[4], 5);
}

TEST_F(Golden, UnsupportedCommand) {
    handshake();
    const Tel t = telegram({
        {0, "23 05 01 00 01 00 00 00"},
        {20, "00 05 00 0C"},              // SEQ 5, 12 bytes
        {24, "00 08 00 03 00 00 00 04"},  // CmdID 8, Reset+Complete, 4 bytes
        {32, "08 3E 00 13"},              // MoveLinearRelative (not served), tail dropped
        {255, "05"},
    });
    expect_telegram(telegram({{0, "23 50 00 FF"},
                              {4, "00 10 00 00"},
                              {8, "27 10"},
                              {10, "00 05 00 0C"},              // ACK 5, 12 bytes
                              {14, "00 08 00 05 00 00 00 04"},  // CmdID 8, 4 bytes
                              {22, "1F 1C 8F 11"},              // ParSeq 1 / Error; severity 28; 0x8F11
                              {255, "50"}}),
                    exchange(t), "unsupported");
}

TEST_F(Golden, ParameterUpdate) {
    handshake();
    const Tel t = telegram({
        {0, "23 05 01 00 01 00 00 00"},
        {20, "00 05 00 16"},                                // SEQ 5, 22 bytes
        {24, "00 02 00 05 00 00 00 0E"},                    // CmdID 2, Clear+Complete: replacement payload
        {32, "23 28 02 23 14 02 00 00 00 00 00 64 00 00"},  // ParSeq 2, LifeSignTimeOut 100 ms
        {255, "05"},
    });
    expect_telegram(telegram({{0, "23 50 00 FF"},
                              {4, "00 10 00 00"},
                              {8, "27 10"},
                              {10, "00 05 00 26"},
                              {14, "00 02 00 05 00 00 00 1E"},
                              {22, "24 00 00 00"},  // ParSeq 2 / Active
                              {26, "01 00 00 32"},
                              {30, "13 13 13 00"},
                              {44, "40 00"},
                              {255, "50"}}),
                    exchange(t), "update");
    EXPECT_EQ(fakes().count("exchange_config"), 2);
    EXPECT_EQ(host_at<uint16_t>(*fakes().last("exchange_config"), 10), 100);
}

TEST_F(Golden, LifesignTimeoutAndRecovery) {
    handshake();  // the client asked for 50 ms
    const Tel frozen = telegram({{0, "23 04 01 00 01 00 00 00"}, {20, "00 04 00 00"}, {255, "04"}});
    Tel out{};
    int cycles = 0;
    for (; cycles < 30 && (cycles == 0 || out[3] == 0xFF); ++cycles) out = exchange(frozen);
    EXPECT_EQ(out[3], 0xA5);  // 165: client lifesign stopped changing
    EXPECT_GE(cycles, 12);    // not before 50 ms at 4 ms per telegram
    EXPECT_EQ(fakes().count("group_stop"), 1);
    EXPECT_EQ(fakes().count("clear_cmd"), 1);
    out = exchange(telegram({{0, "23 05 01 00 01 00 03 00"}, {20, "00 04 00 00"}, {255, "05"}}));
    EXPECT_EQ(out[3], 0xFE);  // RESET -> 254
    out = exchange(telegram({{0, "23 06 01 00 01 00 01 00"}, {20, "00 04 00 00"}, {255, "06"}}));
    EXPECT_EQ(out[3], 0xFF);  // INITIALIZE -> 255
}

}  // namespace
}  // namespace srltest
