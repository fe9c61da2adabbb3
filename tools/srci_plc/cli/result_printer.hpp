// SPDX-License-Identifier: Apache-2.0
#pragma once
// One line per command: plain text for people, JSON for scripts.
#include <string>

#include "command_runner.hpp"

namespace srci_plc::cli {

std::string format_text(const Outcome& o);
std::string format_json(const Outcome& o);
// One line per second of a long wait: state, real progress and distance to go of a move.
std::string format_progress(const AcrEntry& e, double elapsed_ms);
// Whether the once-a-second line is printed: always, except for an enable the robot keeps
// refusing, which gets one line every 5 s after the first.
bool progress_line_due(const AcrEntry& e, double elapsed_ms);
// Robot messages (ReadMessages) as one text line or one JSON object.
std::string format_message_text(const RobotMessage& m);
std::string format_message_json(const RobotMessage& m);
std::string hex_dump(const char* title, const std::vector<uint8_t>& bytes);

}  // namespace srci_plc::cli
