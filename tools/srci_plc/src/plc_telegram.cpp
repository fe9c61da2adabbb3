// SPDX-License-Identifier: Apache-2.0
#include "srci_plc/plc_telegram.hpp"

#include <stdexcept>

#include "srci_plc/byte_order.hpp"

namespace srci_plc {

size_t plc_sequence_offset(const PlcTelegram& t) {
    if (t.tn_plc_to_rob != 0) throw std::invalid_argument("optional P->R cyclic data is not supported by this client");
    if (t.tn_rob_to_plc & telegram_number::kTwoSequences)
        throw std::invalid_argument("two sequences are not supported by this client");
    const bool tool_frame = t.tool_frame_always || (t.tn_rob_to_plc & telegram_number::kCartesian);
    return 18 + (tool_frame ? 2 : 0);
}

size_t plc_sequence_capacity(const PlcTelegram& t) {
    const size_t start = plc_sequence_offset(t) + kSequenceHeaderSize;
    const size_t footer = 1;
    if (t.length_plc_to_rob < start + footer) throw std::invalid_argument("telegram too short for the sequence header");
    return t.length_plc_to_rob - start - footer;
}

std::vector<uint8_t> encode_plc_telegram(const PlcTelegram& t) {
    const size_t seq_off = plc_sequence_offset(t);
    const size_t capacity = plc_sequence_capacity(t);
    if (t.lifesign > 15) throw std::invalid_argument("lifesign must be 0..15");

    size_t payload = 0;
    for (const auto& f : t.fragments) payload += kFragmentHeaderSize + f.data.size();
    if (payload > capacity) throw std::invalid_argument("fragments exceed the sequence area");

    std::vector<uint8_t> b(t.length_plc_to_rob, 0);
    b[0] = t.version;
    b[1] = static_cast<uint8_t>(((t.fast_stop & 0x0F) << 4) | t.lifesign);
    put_u16be(&b[2], t.length_plc_to_rob);
    put_u16be(&b[4], t.length_rob_to_plc);
    b[6] = static_cast<uint8_t>(((t.axes_group & 0x0F) << 4) | (static_cast<uint8_t>(t.control) & 0x0F));
    put_u16be(&b[8], t.tn_plc_to_rob);
    put_u16be(&b[10], t.tn_rob_to_plc);
    put_u16be(&b[12], t.client_date);
    put_u32be(&b[14], t.client_time);
    if (seq_off == 20) {
        b[18] = t.tool_no;
        b[19] = t.frame_no;
    }
    put_u16be(&b[seq_off], t.seq);
    put_u16be(&b[seq_off + 2], static_cast<uint16_t>(payload));
    size_t pos = seq_off + kSequenceHeaderSize;
    for (const auto& f : t.fragments) {
        put_u16be(&b[pos], f.cmd_id);
        b[pos + 3] = f.action;
        put_u16be(&b[pos + 4], f.pointer);
        put_u16be(&b[pos + 6], static_cast<uint16_t>(f.data.size()));
        pos += kFragmentHeaderSize;
        for (uint8_t v : f.data) b[pos++] = v;
    }
    b.back() = t.lifesign;
    return b;
}

}  // namespace srci_plc
