// SPDX-License-Identifier: Apache-2.0
#pragma once
// The commands this client can send, with their wire layouts.
#include <string>
#include <string_view>
#include <vector>

#include "srci_plc/payload_layout.hpp"

namespace srci_plc {

enum class CommandKind : uint8_t {
    Instant,     // one answer, final at once
    Motion,      // Buffered/Active..., final when the move ends
    EnableType,  // stays Active; Enabled flag ends the wait
};

struct CommandDef {
    std::string name;  // CLI name, e.g. "move-axes"
    uint16_t cmd_type = 0;
    uint8_t exec_mode = 2;
    CommandKind kind = CommandKind::Instant;
    Layout request;
    Layout response;
    std::vector<std::string> positional;  // names filled by positional CLI args
    std::string summary;
    int support_bit = -1;      // byte*8+bit in RCSupportedFunctions, -1 = always allowed
    uint8_t enabled_byte = 4;  // response byte whose bit 0 is "Enabled" (enable-type only)
};

// Parameter names of a Cartesian pose, in wire order.
inline constexpr const char* kPoseFieldNames[6] = {"x", "y", "z", "rx", "ry", "rz"};

const std::vector<CommandDef>& command_catalog();
const CommandDef* find_command(std::string_view name);
const CommandDef* find_command(uint16_t cmd_type);

// Complete command payload: header (CmdType, ExecMode, Priority, ParSeq) + fields.
std::vector<uint8_t> encode_command(const CommandDef& def, const ParamValues& values, uint8_t par_seq,
                                    const Timestamp& now);

}  // namespace srci_plc
