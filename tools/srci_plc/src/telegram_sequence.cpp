// SPDX-License-Identifier: Apache-2.0
#include "srci_plc/telegram_sequence.hpp"

#include "srci_plc/byte_order.hpp"

namespace srci_plc {

bool decode_sequence(const uint8_t* data, size_t pos, size_t end, uint16_t& number, std::vector<Fragment>& fragments,
                     std::string& error) {
    number = get_u16be(data + pos);
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
        fragments.push_back(std::move(f));
    }
    return true;
}

}  // namespace srci_plc
