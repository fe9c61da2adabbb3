#include "srci_plc/trace_plc_decode.hpp"

#include "srci_plc/byte_order.hpp"

namespace srci_plc {

size_t plc_block_size(unsigned bit) {
    switch (bit) {
    case 0: return 26;
    case 1: return 34;
    case 2: return 28;
    case 3: return 24;
    case 9: return 20;
    case 10: return 20;
    default: return 0;
    }
}

bool decode_plc_telegram(const uint8_t* data, size_t len, bool tool_frame_always, PlcTelegramView& out,
                         std::string& error) {
    constexpr size_t kHeader = 18;
    if (len < kHeader + kSequenceHeaderSize + 1) {
        error = "PLC telegram too short (" + std::to_string(len) + " bytes)";
        return false;
    }
    PlcTelegramView t;
    t.version = data[0];
    t.fast_stop = data[1] >> 4;
    t.lifesign = data[1] & 0x0F;
    t.footer_lifesign = data[len - 1] & 0x0F;
    t.length_plc_to_rob = get_u16be(data + 2);
    t.length_rob_to_plc = get_u16be(data + 4);
    t.axes_group = data[6] >> 4;
    t.control = data[6] & 0x0F;
    t.tn_plc_to_rob = get_u16be(data + 8);
    t.tn_rob_to_plc = get_u16be(data + 10);
    if (t.tn_plc_to_rob & telegram_number::kTwoSequences) {
        error = "two sequences are not decoded";
        return false;
    }
    size_t pos = kHeader;
    if (tool_frame_always || (t.tn_rob_to_plc & telegram_number::kCartesian)) pos += 2;
    for (unsigned bit = 0; bit < 16; ++bit) {
        if (!(t.tn_plc_to_rob & (1u << bit))) continue;
        const size_t size = plc_block_size(bit);
        if (size == 0) {
            error = "TelegramNumberPlcToRob bit " + std::to_string(bit) + " is reserved";
            return false;
        }
        pos += size;
    }
    const size_t end = len - 1;  // footer
    if (pos + kSequenceHeaderSize > end) {
        error = "optional cyclic data leaves no room for the sequence";
        return false;
    }
    t.seq = get_u16be(data + pos);
    const size_t payload = get_u16be(data + pos + 2);
    pos += kSequenceHeaderSize;
    if (payload > end - pos) {
        error = "sequence payload length " + std::to_string(payload) + " exceeds the telegram";
        return false;
    }
    const size_t seq_end = pos + payload;
    while (pos < seq_end) {
        if (seq_end - pos < kFragmentHeaderSize) {
            error = "truncated fragment header";
            return false;
        }
        Fragment f;
        f.cmd_id = get_u16be(data + pos);
        f.action = data[pos + 3];
        f.pointer = get_u16be(data + pos + 4);
        const size_t n = get_u16be(data + pos + 6);
        pos += kFragmentHeaderSize;
        if (n > seq_end - pos) {
            error = "fragment of CmdID " + std::to_string(f.cmd_id) + " exceeds the sequence";
            return false;
        }
        f.data.assign(data + pos, data + pos + n);
        pos += n;
        t.fragments.push_back(std::move(f));
    }
    out = std::move(t);
    return true;
}

}  // namespace srci_plc
