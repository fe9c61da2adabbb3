// SPDX-License-Identifier: Apache-2.0
#include "srci_plc/trace_udp.hpp"

#include "srci_plc/byte_order.hpp"
#include "srci_plc/trace_format.hpp"

namespace srci_plc {

namespace {
constexpr uint32_t kLinkTypeRawIp = 101;
}

bool udp_in_frame(const uint8_t* frame, size_t size, uint32_t link_type, UdpDatagram& out, std::string& why) {
    size_t pos = 0;
    if (link_type == trace_format::kLinkTypeEthernet) {
        if (size < 14 || get_u16be(frame + 12) != 0x0800) {
            why = "not an IPv4 Ethernet frame";
            return false;
        }
        pos = 14;
    } else if (link_type != kLinkTypeRawIp) {
        why = "link type " + std::to_string(link_type) + " is not Ethernet";
        return false;
    }
    if (size - pos < 20 || (frame[pos] >> 4) != 4) {
        why = "not an IPv4 packet";
        return false;
    }
    const size_t ihl = size_t{frame[pos] & 0x0Fu} * 4;
    const size_t ip_total = get_u16be(frame + pos + 2);
    if (ihl < 20 || ip_total < ihl + 8 || ip_total > size - pos) {
        why = "IPv4 lengths do not fit the captured frame";
        return false;
    }
    if (frame[pos + 9] != 17) {
        why = "not UDP";
        return false;
    }
    if ((get_u16be(frame + pos + 6) & 0x3FFF) != 0) {
        why = "fragmented IPv4 packet";
        return false;
    }
    const uint8_t* udp = frame + pos + ihl;
    const size_t udp_len = get_u16be(udp + 4);
    if (udp_len < 8 || udp_len > ip_total - ihl) {
        why = "UDP length does not fit the IPv4 packet";
        return false;
    }
    out.src_port = get_u16be(udp);
    out.dst_port = get_u16be(udp + 2);
    out.payload = udp + 8;
    out.size = udp_len - 8;
    return true;
}

}  // namespace srci_plc
