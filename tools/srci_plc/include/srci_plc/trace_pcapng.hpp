// SPDX-License-Identifier: Apache-2.0
#pragma once
// Reads a pcapng file from outside: every block length, option length and packet length is
// checked before it is used; anything that does not add up is refused with TraceFileError naming
// the byte offset, never read past.
#include <cstdint>
#include <functional>
#include <istream>
#include <stdexcept>
#include <vector>

namespace srci_plc {

class TraceFileError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

struct CapturedPacket {
    uint64_t time_us = 0;  // microseconds since the Unix epoch
    uint32_t link_type = 0;
    std::vector<uint8_t> data;
};

// Calls each for every packet (enhanced and simple packet blocks) in file order; other blocks
// are skipped. Throws TraceFileError for a file that is not pcapng or is damaged; the packets
// before the damage have been delivered by then.
void read_pcapng(std::istream& in, const std::function<void(const CapturedPacket&)>& each);

// Blocks larger than this are refused as damage (a telegram trace never comes close).
constexpr uint32_t kMaxPcapngBlock = 16u << 20;

}  // namespace srci_plc
