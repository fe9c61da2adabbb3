#pragma once
// One line per command: plain text for people, JSON for scripts.
#include <string>

#include "command_runner.hpp"

namespace srci_plc::cli {

std::string format_text(const Outcome& o);
std::string format_json(const Outcome& o);
std::string json_escape(const std::string& s);
std::string hex_dump(const char* title, const std::vector<uint8_t>& bytes);

}  // namespace srci_plc::cli
