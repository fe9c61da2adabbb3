// SPDX-License-Identifier: Apache-2.0
// Golden telegrams written by hand from the SRCI telegram tables (a common PLC client that always
// sends bytes 18-19, R->P without optional data). Every expected byte is given with its meaning.
#include <gtest/gtest.h>

#include <cstring>

#include "fake_handlers.h"

namespace srltest {
namespace {

using Pieces = std::initializer_list<std::pair<int, std::string>>;

// A telegram from (offset, hex) pieces over `base`, all other bytes 0, with the lifesign in byte 1 and
// the footer.
Tel telegram(Pieces base, Pieces pieces, uint8_t life) {
    Tel t{};
    for (const Pieces& layer : {base, pieces}) {
        for (const auto& [off, h] : layer) {
            const Bytes b = hex(h);
            std::copy(b.begin(), b.end(), t.begin() + off);
        }
    }
    t[1] = t[255] = life;
    return t;
}

// P->R: version 1.3; FastStop 0 / LifeSign `life` in byte 1 and the footer; lengths 256/256; group 0 /
// Control NONE unless `pieces` say otherwise.
Tel request(uint8_t life, Pieces pieces) { return telegram({{0, "23 00 01 00 01 00 00 00"}}, pieces, life); }

// R->P while initialised: version 1.3; LifeSign `life` (hi nibble) in byte 1 and the footer; reserved;
// TelegramState 255; status (LE) idle, disabled, operation mode 4 (bits 10-12) unless `pieces` say
// otherwise; override 100.00 %.
Tel reply(uint8_t life, Pieces pieces) {
    return telegram({{0, "23 00 00 FF"}, {4, "00 10 00 00"}, {8, "27 10"}}, pieces, static_cast<uint8_t>(life << 4));
}

void expect_telegram(const Tel& expected, const Tel& actual, const char* what) {
    for (int i = 0; i < 256; ++i) EXPECT_EQ(expected[i], actual[i]) << what << ": byte " << i;
}

Tel exchange(const Tel& in) { return Plc().send_raw(in).raw; }

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
        handshake();
    }

    void handshake() {
        expect_telegram(reply(1, {}),
                        exchange(request(1,
                                         {
                                             {6, "01"},                  // INITIALIZE
                                             {12, "31 F0 02 93 2E 00"},  // 2025-01-01, 12:00:00.000
                                             {18, "00 00"},              // ToolNo/FrameNo
                                             {20, "00 00 00 00"},        // SEQ 0, nothing follows
                                         })),
                        "INITIALIZE");
        expect_telegram(
            reply(2,
                  {
                      {10, "00 02 00 B2"},              // ACK 2, 178 bytes follow
                      {14, "00 01 00 05 00 00 00 AA"},  // CmdID 1, Complete+Clear, pointer 0, 170 bytes
                      {22, "14 00 00 00"},              // ParSeq 1 / State 4 Active, no alarm
                      {26, "00 01 00 00"},              // MsgID 0, Enabled, 0 errors, 0 warnings; rest zeros
                  }),
            exchange(request(2,
                             {
                                 {12, "31 F0 02 93 2E 00"},
                                 {20, "00 02 00 0F"},              // SEQ 2, 15 bytes follow
                                 {24, "00 01 00 03 00 00 00 07"},  // CmdID 1, Reset+Complete, pointer 0, 7 bytes
                                 {32, "23 29 02 13 00 01 14"},     // ReadMessages, ExecMode 2, ParSeq 1/Prio 3,
                                                                   // MsgID 0, Enable, level 20
                             })),
            "ReadMessages");
        expect_telegram(reply(3,
                              {
                                  {10, "00 03 00 26"},              // ACK 3, 38 bytes
                                  {14, "00 02 00 05 00 00 00 1E"},  // CmdID 2, Complete+Clear, 30 bytes
                                  {22, "14 00 00 00"},              // ParSeq 1 / Active
                                  {26, "01 00 00 32"},              // Enabled; reserved; LengthACR 50
                                  {30, "13 13 13 00"},              // highest tool/frame/load 19, work area 0
                                  {34, "00 00 00 00 00 00"},        // DataInSync, reserved, change indices
                                  {40, "00 00 00 00"},              // RA working hours
                                  {44, "40 00"},                    // AcceleratingSupported only
                                  {46, "00 00 00 00 00 00"},        // RC working hours, NumberOfServerLogs
                              }),
                        exchange(request(3,
                                         {
                                             {12, "31 F0 02 93 2E 00"},
                                             {20, "00 03 00 16"},              // SEQ 3, 22 bytes follow
                                             {24, "00 02 00 03 00 00 00 0E"},  // CmdID 2, Reset+Complete, 14
                                                                               // bytes (tail dropped)
                                             {32, "23 28 02 13 14 02 00 00 00 00 00 32 00 00"},
                                             // ExchangeConfiguration; LogLevel 20; Enable (bit 1);
                                             // DelayTime 0; WaitForNrOfCmd 0; LifeSignTimeOut 50 ms; SyncDelay 0
                                         })),
                        "ExchangeConfiguration");
        expect_telegram(reply(4,
                              {
                                  {10, "00 04 00 8E"},                     // ACK 4, 142 bytes
                                  {14, "00 03 00 05 00 00 00 86"},         // CmdID 3, 134 bytes
                                  {22, "1A 00 00 00"},                     // ParSeq 1 / State 10 Done
                                  {26, "74 65 73 74 52 43 4D"},            // RCManufacturer "testRCM"
                                  {110, "01 00 00"},                       // RCInterpreterVersion 1.0.0
                                  {114, "7E 00 00 00"},                    // joints 1..6 used, no externals
                                  {118, "FE FF FF 0F 00 00 80 01 00 0E"},  // RCSupportedFunctions from the
                                  // registrations: no MoveCircular*, MoveLinearAbsoluteJ, digital I/O or
                                  // software-limit write; work areas
                                  {138, "53 52 4C 5F 49 6E 74 65 72 70 52 6F 62"},  // RobotID
                                  {154, "00 04"},                                   // InterpreterCycleTime 4 ms
                              }),
                        exchange(request(4,
                                         {
                                             {20, "00 04 00 0C"},              // SEQ 4, 12 bytes
                                             {24, "00 03 00 03 00 00 00 04"},  // CmdID 3, 4 bytes
                                             {32, "23 2A 02 13"},              // ReadRobotData
                                         })),
                        "ReadRobotData");
    }
};

TEST_F(Golden, InitialisationHandshake) {
    EXPECT_EQ(received<uint8_t>("exchange_config", 4), 20);     // LogLevel
    EXPECT_EQ(received<uint8_t>("exchange_config", 5), 0x02);   // Enable bit
    EXPECT_EQ(received<uint16_t>("exchange_config", 10), 50);   // LifeSignTimeOut, host order
    EXPECT_EQ(received<uint16_t>("exchange_config", 0), 9000);  // CmdType, host order
    EXPECT_EQ(fakes().count("robot_data"), 1);
}

TEST_F(Golden, EnableRobotBecomesEnabledWithTheDrives) {
    const Tel enable = request(5, {
                                      {20, "00 05 00 10"},              // SEQ 5, 16 bytes
                                      {24, "00 04 00 03 00 00 00 08"},  // CmdID 4, Reset+Complete, 8 bytes
                                      {32, "03 E8 02 13 01 00 00 00"},  // EnableRobot, Enable 1, StepMode 0
                                  });
    expect_telegram(reply(5,
                          {
                              {10, "00 05 00 0D"},              // ACK 5, 13 bytes
                              {14, "00 04 00 05 00 00 00 05"},  // CmdID 4, 5 bytes
                              {22, "14 00 00 00 00"},           // Active, Enabled 0 (drives still off)
                          }),
                    exchange(enable), "EnableRobot");
    EXPECT_EQ(received<uint8_t>("robot_enable", 4) & 1, 1);
    EXPECT_NE(received<uint8_t>("robot_enable", 255), 0);

    srl_set_ra_state(209);
    expect_telegram(reply(6,
                          {
                              {4, "80 10 00 00"},  // status bit 7 Enabled
                              {10, "00 06 00 0D"},
                              {14, "00 04 00 05 00 00 00 05"},
                              {22, "14 00 00 00 01"},  // Active, Enabled 1
                          }),
                    exchange(request(6, {{20, "00 06 00 00"}})), "Enabled");
}

TEST_F(Golden, MoveAxesAbsoluteBufferedActiveDone) {
    const Tel move = request(5, {
                                    {20, "00 05 00 58"},              // SEQ 5, 88 bytes
                                    {24, "00 05 00 03 00 00 00 50"},  // CmdID 5, Reset+Complete, 80 bytes
                                    {32, "08 35 00 13"},  // MoveAxesAbsolute, ExecMode 0 (buffered), ParSeq 1/Prio 3
                                    {36, "00 00 00 00 00 00"},        // EmitterID, ListenerID, reserved
                                    {42, "27 10 13 88 FF FF FF FF"},  // velocity 100 %, acceleration 50 %, dec/jerk
                                                                      // not set
                                    {50, "01 00"},                    // ToolNo 1, BlendingMode 0
                                    {52, "00 00 00 00 00 00 00 00"},  // blending parameters
                                    {60, "41 20 00 00 C2 B4 00 00 3F 80 00 00"},  // J1 10.0, J2 -90.0, J3 1.0
                                });
    const Tel out = exchange(move);
    const auto cmd = received<LRob_typeServerCmdMoveAxesAbs>("move_axes");
    EXPECT_EQ(cmd.Header.CmdType, 2101);
    EXPECT_EQ(cmd.DynamicParameter.VelocityRate, 10000);
    EXPECT_EQ(cmd.DynamicParameter.AccelerationRate, 5000);
    EXPECT_EQ(cmd.DynamicParameter.DecelerationRate, 0xFFFF);
    EXPECT_EQ(cmd.ToolNo, 1);
    EXPECT_FLOAT_EQ(cmd.Joint.J1, 10.0f);
    EXPECT_FLOAT_EQ(cmd.Joint.J2, -90.0f);
    EXPECT_FLOAT_EQ(cmd.Joint.J3, 1.0f);
    const int id = received<uint8_t>("move_axes", 255);
    EXPECT_GE(id, 1);
    expect_telegram(reply(5,
                          {
                              {4, "00 11 00 00"},               // sequence executing (bits 8-9 = 1)
                              {10, "00 05 00 12"},              // ACK 5, 18 bytes
                              {14, "00 05 00 05 00 00 00 0A"},  // CmdID 5, 10 bytes
                              {22, "12 00 00 00"},              // ParSeq 1 / State 2 Buffered
                          }),
                    out, "Buffered");

    srl_set_robot_motion_state_1(id, 3, 0, 0);
    expect_telegram(
        reply(
            6,
            {{4, "00 11 00 00"}, {10, "00 06 00 12"}, {14, "00 05 00 05 00 00 00 0A"}, {22, "14 00 00 00"}}),  // Active
        exchange(request(6, {{20, "00 06 00 00"}})), "Active");

    srl_set_robot_motion_state_1(id, 1, 0, 0);
    expect_telegram(reply(7, {{10, "00 07 00 12"},
                              {14, "00 05 00 05 00 00 00 0A"},
                              {22, "1A 00 00 00"},          // Done
                              {26, "00 00 00 00 27 10"}}),  // InvocationCounter, OriginID, Progress 100 %
                    exchange(request(7, {{20, "00 07 00 00"}})), "Done");
}

TEST_F(Golden, ReadActualPosition) {
    // The handler answers joint E1 1.0 and J1 2.0: they travel at 40 and 44 of the payload.
    LRob_typeServerRspReadActualPosition rsp{};
    rsp.CoordinateSystem = {3, 4};
    rsp.Cartesian.X = 1.0f;
    rsp.Joint.J1 = 2.0f;
    rsp.Joint.E1 = -90.0f;
    answer("read_position", rsp);
    const Tel read = request(5, {
                                    {20, "00 05 00 14"},                          // SEQ 5, 20 bytes
                                    {24, "00 06 00 03 00 00 00 0C"},              // CmdID 6, 12 bytes
                                    {32, "13 EC 02 13 00 00 00 00 00 00 03 04"},  // ReadActualPosition, ToolNo 3,
                                                                                  // FrameNo 4
                                });
    expect_telegram(reply(5,
                          {
                              {10, "00 05 00 78"},              // ACK 5, 120 bytes
                              {14, "00 06 00 05 00 00 00 70"},  // CmdID 6, 112 bytes
                              {22, "1A 00 00 00"},              // Done
                              {30, "03 04"},                    // ToolNoReturn, FrameNoReturn
                              {32, "3F 80 00 00"},              // X 1.0
                              {62, "00 00 00 00 40 00 00 00"},  // Cartesian E1 0; J1 2.0
                              {110, "C2 B4 00 00"},             // joint E1 -90.0 at payload 88
                          }),
                    exchange(read), "ReadActualPosition");
    EXPECT_EQ(received<uint8_t>("read_position", 10), 3);
    EXPECT_EQ(received<uint8_t>("read_position", 11), 4);
}

TEST_F(Golden, CommandSplitOverTwoTelegrams) {
    LRob_typeServerRspReadToolData rsp{};
    rsp.ToolNo = 5;
    answer("read_tool", rsp);
    const Tel first = request(5, {
                                     {20, "00 05 00 0B"},              // SEQ 5, 11 bytes
                                     {24, "00 07 00 02 00 00 00 03"},  // CmdID 7, Reset (no Complete), 3 bytes
                                     {32, "13 F3 02"},                 // ReadToolData, ExecMode 2 ...
                                 });
    expect_telegram(reply(5, {{10, "00 05 00 00"}}),  // ACK 5, nothing to answer yet
                    exchange(first), "first part");
    EXPECT_EQ(fakes().count("read_tool"), 0);
    const Tel second = request(6, {
                                      {20, "00 06 00 0A"},              // SEQ 6, 10 bytes
                                      {24, "00 07 00 01 00 03 00 02"},  // CmdID 7, Complete, pointer 3, 2 bytes
                                      {32, "13 05"},                    // ... ParSeq 1/Prio 3, ToolNo 5
                                  });
    expect_telegram(reply(6,
                          {
                              {10, "00 06 00 30"},              // ACK 6, 48 bytes
                              {14, "00 07 00 05 00 00 00 28"},  // CmdID 7, 40 bytes
                              {22, "1A 00 00 00"},              // Done
                              {60, "05"},                       // ToolNo
                          }),
                    exchange(second), "second part");
    EXPECT_EQ(fakes().count("read_tool"), 1);
    EXPECT_EQ(received<uint8_t>("read_tool", 4), 5);
}

// The client asked for 50 ms in the handshake. What the loss does and how a RESET recovers is
// Connection.LifesignTimeoutStopsTheArmAndResetRecovers.
TEST_F(Golden, LifesignTimeoutFromTheHandshake) {
    const Tel frozen = request(4, {{20, "00 04 00 00"}});
    Tel out{};
    int cycles = 0;
    for (; cycles < 30 && (cycles == 0 || out[3] == 0xFF); ++cycles) out = exchange(frozen);
    EXPECT_EQ(out[3], 0xA5);  // 165: client lifesign stopped changing
    EXPECT_GE(cycles, 12);    // not before 50 ms at 4 ms per telegram
}

}  // namespace
}  // namespace srltest
