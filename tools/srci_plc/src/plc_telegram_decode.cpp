// SPDX-License-Identifier: Apache-2.0
#include "srci_plc/byte_order.hpp"
#include "srci_plc/plc_telegram.hpp"
#include "srci_plc/telegram_sequence.hpp"

namespace srci_plc {

size_t plc_block_size(unsigned bit) {
    switch (bit) {
        case 0:
            return 26;
        case 1:
            return 34;
        case 2:
            return 28;
        case 3:
            return 24;
        case 9:
            return 20;
        case 10:
            return 20;
        default:
            return 0;
    }
}

bool decode_plc_telegram(const uint8_t* data, size_t len, bool tool_frame_always, PlcTelegram& out,
                         std::string& error) {
    constexpr size_t kHeader = 18;
    if (len < kHeader + kSequenceHeaderSize + 1) {
        error = "PLC telegram too short (" + std::to_string(len) + " bytes)";
        return false;
    }
    PlcTelegram t;
    t.version = data[0];
    t.fast_stop = data[1] >> 4;
    t.lifesign = data[1] & 0x0F;
    t.length_plc_to_rob = get_u16be(data + 2);
    t.length_rob_to_plc = get_u16be(data + 4);
    t.axes_group = data[6] >> 4;
    t.control = static_cast<Control>(data[6] & 0x0F);
    t.tn_plc_to_rob = get_u16be(data + 8);
    t.tn_rob_to_plc = get_u16be(data + 10);
    t.client_date = get_u16be(data + 12);
    t.client_time = get_u32be(data + 14);
    if (t.tn_plc_to_rob & telegram_number::kTwoSequences) {
        error = "two sequences are not decoded";
        return false;
    }
    t.tool_frame_always = tool_frame_always;
    size_t pos = kHeader;
    const size_t end = len - 1;  // footer
    if (tool_frame_always || (t.tn_rob_to_plc & telegram_number::kCartesian)) {
        t.tool_no = data[pos];
        t.frame_no = data[pos + 1];
        pos += 2;
    }
    for (unsigned bit = 0; bit < 16; ++bit) {
        if (!(t.tn_plc_to_rob & (1u << bit))) continue;
        const size_t size = plc_block_size(bit);
        if (size == 0) {
            error = "TelegramNumberPlcToRob bit " + std::to_string(bit) + " is reserved";
            return false;
        }
        pos += size;
    }
    if (pos + kSequenceHeaderSize > end) {
        error = "optional cyclic data leaves no room for the sequence";
        return false;
    }
    if (!decode_sequence(data, pos, end, t.seq, t.fragments, error)) return false;
    out = std::move(t);
    return true;
}

}  // namespace srci_plc
