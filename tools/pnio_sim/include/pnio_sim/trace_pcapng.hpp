// SPDX-License-Identifier: Apache-2.0
#pragma once
// pcapng blocks for the telegram trace: a section header, one Ethernet interface with
// microsecond timestamps, and enhanced packet blocks that wrap a payload in Ethernet/IPv4/UDP on
// 127.0.0.1 (see srci_plc/trace_format.hpp for why). Every block is appended whole, so a file
// cut after any block is still a valid capture.
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace pnio_sim::trace {

void append_section_header(std::vector<uint8_t>& out, const std::string& application);
void append_interface(std::vector<uint8_t>& out);
// ts_us: microseconds since the Unix epoch.
void append_udp_packet(std::vector<uint8_t>& out, uint64_t ts_us, uint16_t src_port, uint16_t dst_port,
                       const uint8_t* payload, size_t size, uint16_t ip_id);

}  // namespace pnio_sim::trace
