#pragma once
// The PLC's own telegram read back from a trace: the client library only ever encodes it, so the
// trace reader needs the reverse. Layout per the SRCI wire protocol; one sequence only, like the
// client.
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "srci_plc/plc_telegram.hpp"

namespace srci_plc {

struct PlcTelegramView {
    uint8_t version = 0;
    uint8_t fast_stop = 0;
    uint8_t lifesign = 0;
    uint8_t footer_lifesign = 0;
    uint16_t length_plc_to_rob = 0;
    uint16_t length_rob_to_plc = 0;
    uint8_t axes_group = 0;
    uint8_t control = 0;
    uint16_t tn_plc_to_rob = 0;
    uint16_t tn_rob_to_plc = 0;
    uint16_t seq = 0;
    std::vector<Fragment> fragments;
};

size_t plc_block_size(unsigned bit);  // size of an optional P->R cyclic block, 0 for reserved bits

// ToolNo/FrameNo (bytes 18-19) are taken as present when the telegram requests the robot's cyclic
// Cartesian position, or always with tool_frame_always. False with error set for telegrams whose
// lengths do not add up.
bool decode_plc_telegram(const uint8_t* data, size_t len, bool tool_frame_always, PlcTelegramView& out,
                         std::string& error);

}  // namespace srci_plc
