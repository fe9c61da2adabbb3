// SPDX-License-Identifier: Apache-2.0
// Input: two bytes of optional-block selection (TN robot->PLC, big-endian), then robot telegrams
// of up to 256 bytes. Each telegram is decoded as the client does; fragments are reassembled and
// every completed payload is decoded as the response of the command the payload's first byte
// picks from the catalogue, with the header's code named and the status word described.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "srci_plc/command_catalog.hpp"
#include "srci_plc/error_names.hpp"
#include "srci_plc/payload_layout.hpp"
#include "srci_plc/response.hpp"
#include "srci_plc/robot_telegram.hpp"
#include "srci_plc/status_word.hpp"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 2) return 0;
    const uint16_t blocks = static_cast<uint16_t>(data[0] << 8 | data[1]);
    data += 2;
    size -= 2;
    const auto& catalog = srci_plc::command_catalog();
    srci_plc::ResponseAssembler assembler;
    while (size > 0) {
        const size_t len = size < 256 ? size : 256;
        srci_plc::RobotTelegram telegram;
        std::string error;
        if (srci_plc::decode_robot_telegram(data, len, blocks, telegram, error)) {
            size_t carried = 0;
            for (const auto& f : telegram.fragments) carried += f.data.size();
            if (carried > len) {
                std::fprintf(stderr, "fragments carry %zu bytes out of a %zu-byte telegram\n", carried, len);
                std::abort();
            }
            (void)srci_plc::describe_status_word(srci_plc::decode_status_word(telegram.status));
            for (const auto& f : telegram.fragments) {
                std::vector<uint8_t> payload;
                if (!assembler.feed(f, payload, error)) continue;
                srci_plc::ResponseHeader header;
                if (!srci_plc::decode_response_header(payload, header)) continue;
                (void)srci_plc::error_code_name(header.code);
                if (!catalog.empty()) {
                    const auto& def = catalog[payload[0] % catalog.size()];
                    (void)srci_plc::decode_fields(def.response, payload);
                }
            }
        }
        data += len;
        size -= len;
    }
    return 0;
}
