// SPDX-License-Identifier: Apache-2.0
#include "pnio_sim/trace_pcapng.hpp"

#include "srci_plc/trace_format.hpp"

namespace pnio_sim::trace {

namespace {

// pcapng is written in the host's byte order (the byte-order magic tells readers which);
// packet contents are network order.
void put32(std::vector<uint8_t>& out, uint32_t v) {
    const auto* p = reinterpret_cast<const uint8_t*>(&v);
    out.insert(out.end(), p, p + 4);
}
void put16(std::vector<uint8_t>& out, uint16_t v) {
    const auto* p = reinterpret_cast<const uint8_t*>(&v);
    out.insert(out.end(), p, p + 2);
}
void pad4(std::vector<uint8_t>& out, size_t from) {
    while ((out.size() - from) % 4) out.push_back(0);
}
void option(std::vector<uint8_t>& out, uint16_t code, const void* data, uint16_t len) {
    put16(out, code);
    put16(out, len);
    const auto* p = static_cast<const uint8_t*>(data);
    const size_t start = out.size();
    out.insert(out.end(), p, p + len);
    pad4(out, start);
}
// Writes the block length into both length fields once the body is complete.
void close_block(std::vector<uint8_t>& out, size_t start) {
    pad4(out, start);
    const auto total = static_cast<uint32_t>(out.size() - start + 4);
    put32(out, total);
    const auto* p = reinterpret_cast<const uint8_t*>(&total);
    for (int i = 0; i < 4; ++i) out[start + 4 + static_cast<size_t>(i)] = p[i];
}
void net16(uint8_t* p, uint16_t v) {
    p[0] = static_cast<uint8_t>(v >> 8);
    p[1] = static_cast<uint8_t>(v);
}

}  // namespace

void append_section_header(std::vector<uint8_t>& out, const std::string& application) {
    const size_t start = out.size();
    put32(out, 0x0A0D0D0A);
    put32(out, 0);
    put32(out, 0x1A2B3C4D);
    put16(out, 1);
    put16(out, 0);
    put32(out, 0xFFFFFFFF);  // section length unknown: the file grows while it is read
    put32(out, 0xFFFFFFFF);
    option(out, 4, application.data(), static_cast<uint16_t>(application.size()));  // shb_userappl
    option(out, 0, nullptr, 0);
    close_block(out, start);
}

void append_interface(std::vector<uint8_t>& out) {
    const size_t start = out.size();
    put32(out, 1);
    put32(out, 0);
    put16(out, static_cast<uint16_t>(srci_plc::trace_format::kLinkTypeEthernet));
    put16(out, 0);
    put32(out, 0);  // no snap length limit
    static const char name[] = "srci-gateway";
    option(out, 2, name, sizeof name - 1);  // if_name
    const uint8_t resolution = 6;           // microseconds
    option(out, 9, &resolution, 1);
    option(out, 0, nullptr, 0);
    close_block(out, start);
}

void append_udp_packet(std::vector<uint8_t>& out, uint64_t ts_us, uint16_t src_port, uint16_t dst_port,
                       const uint8_t* payload, size_t size, uint16_t ip_id) {
    constexpr size_t kEth = 14, kIp = 20, kUdp = 8;
    const size_t frame_len = kEth + kIp + kUdp + size;
    const size_t start = out.size();
    put32(out, 6);
    put32(out, 0);
    put32(out, 0);  // interface 0
    put32(out, static_cast<uint32_t>(ts_us >> 32));
    put32(out, static_cast<uint32_t>(ts_us));
    put32(out, static_cast<uint32_t>(frame_len));
    put32(out, static_cast<uint32_t>(frame_len));
    const size_t frame = out.size();
    out.resize(frame + kEth + kIp + kUdp, 0);
    uint8_t* eth = &out[frame];
    // Locally administered addresses: ...:01 is the PLC side, ...:02 the robot side.
    const bool from_robot = src_port == srci_plc::trace_format::kRobotPort;
    eth[0] = 0x02, eth[5] = from_robot ? 1 : 2;
    eth[6] = 0x02, eth[11] = from_robot ? 2 : 1;
    net16(eth + 12, 0x0800);
    uint8_t* ip = eth + kEth;
    ip[0] = 0x45;
    net16(ip + 2, static_cast<uint16_t>(kIp + kUdp + size));
    net16(ip + 4, ip_id);
    net16(ip + 6, 0x4000);  // don't fragment
    ip[8] = 64;
    ip[9] = 17;
    ip[12] = ip[16] = 127;
    ip[15] = ip[19] = 1;
    uint32_t sum = 0;
    for (size_t i = 0; i < kIp; i += 2) sum += static_cast<uint32_t>(ip[i] << 8 | ip[i + 1]);
    while (sum >> 16) sum = (sum & 0xFFFF) + (sum >> 16);
    net16(ip + 10, static_cast<uint16_t>(~sum));
    uint8_t* udp = ip + kIp;
    net16(udp, src_port);
    net16(udp + 2, dst_port);
    net16(udp + 4, static_cast<uint16_t>(kUdp + size));  // checksum 0: none, allowed over IPv4
    out.insert(out.end(), payload, payload + size);
    close_block(out, start);
}

}  // namespace pnio_sim::trace
