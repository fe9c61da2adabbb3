// SPDX-License-Identifier: Apache-2.0
#include "srci_plc/response.hpp"

#include "srci_plc/byte_order.hpp"
#include "srci_plc/wire_constants.hpp"

namespace srci_plc {

bool decode_response_header(const std::vector<uint8_t>& payload, ResponseHeader& out) {
    if (payload.size() < 4) return false;
    out.state = payload[0] & 0x0F;
    out.par_seq = payload[0] >> 4;
    out.severity = static_cast<int8_t>(payload[1]);
    out.code = get_u16be(&payload[2]);
    return true;
}

bool ResponseAssembler::feed(const Fragment& f, std::vector<uint8_t>& complete, std::string& error) {
    auto& buf = partial_[f.cmd_id];
    if ((f.action & fragment_action::kClear) || f.pointer == 0) buf.clear();
    if (f.pointer != buf.size()) {
        error = "response fragment of CmdID " + std::to_string(f.cmd_id) + " at offset " + std::to_string(f.pointer) +
                " does not continue the " + std::to_string(buf.size()) + " bytes received";
        partial_.erase(f.cmd_id);
        return false;
    }
    buf.insert(buf.end(), f.data.begin(), f.data.end());
    if (!(f.action & fragment_action::kComplete)) return false;
    complete = std::move(buf);
    partial_.erase(f.cmd_id);
    return true;
}

}  // namespace srci_plc
