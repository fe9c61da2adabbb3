// SPDX-License-Identifier: Apache-2.0
#pragma once
// What the live view knows about the SRCI link and the robot, decoded from the telegrams that
// pass the gateway. The fast part changes with every exchange; the slow part (commands, messages,
// limits) only when something happens, and carries a version so that it is copied and sent on
// change only.
#include <array>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <vector>

namespace pnio_sim::web {

using Millis = int64_t;  // wall-clock milliseconds since the epoch

struct LinkState {
    bool connected = false;
    std::string connection_note;  // who connected / why the client was dropped
    Millis connection_changed = 0;
    uint64_t exchanges = 0;
    uint8_t telegram_state = 0;
    uint8_t control = 0;  // P->R control nibble
    uint8_t plc_version = 0;
    uint8_t robot_version = 0;
    uint8_t plc_lifesign = 0;
    uint8_t robot_lifesign = 0;
    Millis plc_lifesign_changed = 0;
    Millis robot_lifesign_changed = 0;
    uint16_t tn_plc_to_rob = 0;
    uint16_t tn_rob_to_plc = 0;
    uint32_t status = 0;
    uint16_t override_raw = 0;
    uint64_t decode_errors = 0;
    std::string last_decode_error;
    Millis last_exchange = 0;
};

// The cyclic position blocks of the last robot telegram, when the PLC requested them.
struct CyclicRobot {
    std::optional<std::array<float, 6>> joints;
    std::optional<std::array<float, 6>> pose;
    uint8_t used_tool = 0;
    uint8_t used_frame = 0;
};

struct StateStep {
    uint8_t state = 0;
    Millis at = 0;
};

struct CommandRecord {
    uint16_t cmd_id = 0;
    uint16_t cmd_type = 0;
    uint8_t exec_mode = 0;
    uint8_t par_seq = 0;
    unsigned updates = 0;            // parameter updates the PLC sent
    std::vector<StateStep> history;  // consecutive repeats collapsed
    int8_t severity = 0;
    uint16_t code = 0;
    Millis sent = 0;
    Millis finished = 0;
    std::string note;              // why a command ended without a final state
    std::vector<uint8_t> request;  // the complete command payload
};

struct RobotMessage {
    uint8_t msg_id = 0;
    uint8_t type = 0;
    int8_t severity = 0;
    uint32_t code = 0;
    std::string text;
    Millis received = 0;
};

struct JointLimits {
    std::array<std::array<double, 2>, 6> soft{};
    std::string source;
};

struct SlowState {
    std::vector<CommandRecord> in_flight;  // by CmdID
    std::deque<CommandRecord> finished;    // newest first
    std::deque<RobotMessage> messages;     // newest first
    std::optional<JointLimits> limits;     // as last read or written by the PLC
};

constexpr size_t kFinishedKept = 50;
constexpr size_t kMessagesKept = 50;

}  // namespace pnio_sim::web
