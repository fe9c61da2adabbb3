// SPDX-License-Identifier: Apache-2.0
#pragma once
// The sequence area both directions share: a 4-byte header (sequence number or acknowledge, payload
// length), then fragments, each with its own 8-byte header.
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "srci_plc/plc_telegram.hpp"

namespace srci_plc {

// Reads the sequence whose header starts at data[pos]; the footer starts at data[end]. The caller has
// checked that the header fits before end. False with error set when a length overruns.
bool decode_sequence(const uint8_t* data, size_t pos, size_t end, uint16_t& number, std::vector<Fragment>& fragments,
                     std::string& error);

}  // namespace srci_plc
