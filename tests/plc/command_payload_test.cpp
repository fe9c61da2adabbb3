// SPDX-License-Identifier: Apache-2.0
// Command payloads against hand-built byte arrays from the payload tables.
#include <gtest/gtest.h>

#include "cli_parse.hpp"
#include "srci_plc/command_catalog.hpp"

using namespace srci_plc;

namespace {

const CommandDef& cmd(const char* name) {
    const CommandDef* d = find_command(name);
    if (d == nullptr) throw std::runtime_error(std::string("missing command ") + name);
    return *d;
}

void put(std::vector<uint8_t>& v, size_t off, std::initializer_list<int> bytes) {
    for (int b : bytes) v[off++] = static_cast<uint8_t>(b);
}

}  // namespace

TEST(CommandPayload, MoveAxesAbsoluteMatchesTable) {
    const auto payload = encode_command(
        cmd("move-axes"), {{"j1", 10}, {"j2", -90}, {"j3", 1}, {"vel", 50}, {"acc", 25}, {"tool", 1}}, 1, Timestamp{});
    std::vector<uint8_t> expected(80, 0);
    put(expected, 0, {0x08, 0x35});               // CmdType 2101
    put(expected, 2, {0x00});                     // ExecMode 0 = sequence primary
    put(expected, 3, {0x13});                     // ParSeq 1, priority 3
    put(expected, 10, {0x13, 0x88});              // VelocityRate 50.00 %
    put(expected, 12, {0x09, 0xC4});              // AccelerationRate 25.00 %
    put(expected, 14, {0xFF, 0xFF});              // DecelerationRate not set
    put(expected, 16, {0xFF, 0xFF});              // JerkRate not set
    put(expected, 18, {0x01});                    // ToolNo 1, BlendingMode 0 at 19
    put(expected, 28, {0x41, 0x20, 0x00, 0x00});  // J1 10.0
    put(expected, 32, {0xC2, 0xB4, 0x00, 0x00});  // J2 -90.0
    put(expected, 36, {0x3F, 0x80, 0x00, 0x00});  // J3 1.0
    EXPECT_EQ(payload, expected);
}

TEST(CommandPayload, MoveLinearCarriesOriTurnAndConfigModes) {
    const auto p = encode_command(cmd("move-linear"),
                                  {{"x", 400.5}, {"config", 5}, {"config_s", 3}, {"config_e", 4}, {"config_w", 2}}, 2,
                                  Timestamp{});
    ASSERT_EQ(p.size(), 92u);
    EXPECT_EQ(p[0], 0x08);
    EXPECT_EQ(p[1], 0x37);  // 2103
    EXPECT_EQ(p[3], 0x23);  // ParSeq 2
    EXPECT_EQ(p[21], 1);    // OriMode linear by default
    EXPECT_EQ((std::vector<uint8_t>{p[30], p[31], p[32], p[33]}), (std::vector<uint8_t>{0x43, 0xC8, 0x40, 0x00}));
    EXPECT_EQ(p[54], 5);     // S/E/W bits
    EXPECT_EQ(p[65], 2);     // TurnMode free by default
    EXPECT_EQ(p[66], 0x43);  // shoulder lo nibble, elbow hi nibble
    EXPECT_EQ(p[67], 0x02);  // wrist lo nibble

    const auto d = encode_command(cmd("move-direct"), {}, 1, Timestamp{});
    EXPECT_EQ(d[1], 0x36);  // 2102
    EXPECT_EQ(d[21], 0);    // reserved for direct moves
    EXPECT_THROW(encode_command(cmd("move-direct"), {{"ori_mode", 1}}, 1, Timestamp{}), std::invalid_argument);
}

TEST(CommandPayload, JogSetsDirectionBitsAndSecondarySequence) {
    const auto p = encode_command(cmd("jog"), {{"mode", 2}, {"z-", 1}, {"rot", 5}}, 1, Timestamp{});
    std::vector<uint8_t> expected(23, 0);
    put(expected, 0, {0x08, 0x34, 0x07, 0x13});   // 2100, ExecMode 7, ParSeq 1 / prio 3
    put(expected, 4, {0x01});                     // Enable
    put(expected, 6, {0xFF, 0xFF, 0x02});         // current tool/frame, mode joints
    put(expected, 14, {0x40, 0xA0, 0x00, 0x00});  // IncrementalRotation 5.0
    put(expected, 18, {0x01, 0xF4});              // Override 5.00 %
    put(expected, 21, {0x01});                    // Z/J3- is byte 21 bit 0
    EXPECT_EQ(p, expected);
}

TEST(CommandPayload, ExchangeConfigurationAndStamps) {
    const auto p = encode_command(cmd("exchange-config"), {{"lifesign_timeout", 50}}, 1, Timestamp{});
    ASSERT_EQ(p.size(), 20u);
    EXPECT_EQ(p[4], 20);    // LogLevel
    EXPECT_EQ(p[5], 0x02);  // Enable is bit 1
    EXPECT_EQ(p[10], 0x00);
    EXPECT_EQ(p[11], 0x32);

    // Data records carry a "last changed" stamp; the sender's clock fills it.
    const auto tool = encode_command(cmd("write-tool"), {{"tool", 3}, {"z", 100}}, 1, Timestamp{12784, 43200000});
    ASSERT_EQ(tool.size(), 39u);
    EXPECT_EQ((std::vector<uint8_t>(tool.begin() + 4, tool.begin() + 10)),
              (std::vector<uint8_t>{0x31, 0xF0, 0x02, 0x93, 0x2E, 0x00}));
    EXPECT_EQ(tool[18], 0x42);  // Z 100.0 = 42 C8 00 00
    EXPECT_EQ(tool[19], 0xC8);
    EXPECT_EQ(tool[38], 3);  // ToolNo at the end of the record
}

TEST(CommandPayload, RejectsBadValuesWithClearErrors) {
    const CommandDef& mv = cmd("move-axes");
    EXPECT_THROW(encode_command(mv, {{"vel", 150}}, 1, Timestamp{}), std::invalid_argument);
    EXPECT_THROW(encode_command(mv, {{"tool", 256}}, 1, Timestamp{}), std::invalid_argument);
    EXPECT_THROW(encode_command(mv, {{"tool", 1.5}}, 1, Timestamp{}), std::invalid_argument);
    EXPECT_THROW(encode_command(mv, {{"speed", 1}}, 1, Timestamp{}), std::invalid_argument);
    EXPECT_THROW(encode_command(mv, {{"exec_mode", 16}}, 1, Timestamp{}), std::invalid_argument);
    EXPECT_NE(error_of<std::invalid_argument>([&] {
                  encode_command(mv, {{"acc", 101}}, 1, Timestamp{});
              }).find("acc"),
              std::string::npos);
    const auto p = encode_command(mv, {{"exec_mode", 1}, {"priority", 2}}, 3, Timestamp{});
    EXPECT_EQ(p[2], 1);
    EXPECT_EQ(p[3], 0x32);
}

TEST(CommandPayload, DecodesResponsesFieldByField) {
    std::vector<uint8_t> r(14, 0);
    put(r, 0, {0x1A, 0x00, 0x00, 0x00});   // ParSeq 1, Done
    put(r, 8, {0x27, 0x10});               // Progress 100.00 %
    put(r, 10, {0x40, 0x00, 0x00, 0x00});  // RemainingDistance 2.0
    const auto fields = decode_fields(cmd("move-linear").response, r);
    std::map<std::string, double> got;
    for (const auto& f : fields) got[f.name] = std::get<double>(f.value);
    EXPECT_DOUBLE_EQ(got.at("progress"), 100.0);
    EXPECT_DOUBLE_EQ(got.at("remaining"), 2.0);

    // Fields beyond a short answer are left out rather than invented.
    r.resize(9);
    for (const auto& f : decode_fields(cmd("move-linear").response, r)) EXPECT_NE(f.name, "progress");

    std::vector<uint8_t> rd(134, 0);
    put(rd, 4, {'T', 'e', 's', 't'});
    put(rd, 96, {0xFE, 0xFF});
    for (const auto& f : decode_fields(cmd("read-robot-data").response, rd)) {
        if (f.name == "manufacturer") {
            EXPECT_EQ(std::get<std::string>(f.value), "Test");
        }
        if (f.name == "supported") {
            EXPECT_EQ(std::get<std::string>(f.value).substr(0, 6), "FEFF00");
        }
    }
}
