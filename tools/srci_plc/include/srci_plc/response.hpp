// SPDX-License-Identifier: Apache-2.0
#pragma once
// Response payloads: header decoding and reassembly of fragmented responses.
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "srci_plc/plc_telegram.hpp"

namespace srci_plc {

struct ResponseHeader {
    uint8_t state = 0;
    uint8_t par_seq = 0;
    int8_t severity = 0;
    uint16_t code = 0;
};

// False if the payload is shorter than the 4-byte header.
bool decode_response_header(const std::vector<uint8_t>& payload, ResponseHeader& out);

// Collects response fragments per CmdID. Robots normally send each response as
// one Clear+Complete fragment, but the SRCI standard allows splitting.
class ResponseAssembler {
public:
    // Returns true and fills complete when f finishes a payload. On a fragment
    // that does not continue the previous one it returns false with error set
    // and drops the partial payload.
    bool feed(const Fragment& f, std::vector<uint8_t>& complete, std::string& error);
    void clear() { partial_.clear(); }

private:
    std::map<uint16_t, std::vector<uint8_t>> partial_;
};

}  // namespace srci_plc
