#pragma once
// PLC -> robot telegram as an observer on the link decodes it (the client itself only encodes
// this direction). Used by the tools that show what a PLC sends.
#include <cstddef>
#include <cstdint>
#include <string>

#include "srci_plc/plc_telegram.hpp"

namespace srci_plc {

size_t plc_block_size(unsigned bit);  // optional P->R cyclic data; 0 for reserved bits

// Decodes len bytes. The ToolNo/FrameNo bytes 18-19 travel when the PLC requests the cyclic
// Cartesian position, and with tool_frame_always also without it, as some clients send them.
// Returns false and sets error on malformed input; out.tool_frame_always tells the layout used.
bool read_plc_telegram(const uint8_t* data, size_t len, bool tool_frame_always, PlcTelegram& out,
                       std::string& error);

}  // namespace srci_plc
