// SPDX-License-Identifier: Apache-2.0
#pragma once
// The UDP datagram inside one captured Ethernet/IPv4 frame of a telegram trace.
#include <cstddef>
#include <cstdint>
#include <string>

namespace srci_plc {

struct UdpDatagram {
    uint16_t src_port = 0;
    uint16_t dst_port = 0;
    const uint8_t* payload = nullptr;  // points into the frame
    size_t size = 0;
};

// False with why set when the frame is not an unfragmented IPv4/UDP frame or its lengths do not
// fit the captured bytes.
bool udp_in_frame(const uint8_t* frame, size_t size, uint32_t link_type, UdpDatagram& out, std::string& why);

}  // namespace srci_plc
