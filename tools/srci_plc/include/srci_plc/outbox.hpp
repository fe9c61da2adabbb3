// SPDX-License-Identifier: Apache-2.0
#pragma once
// Command payloads waiting for transmission, cut into fragments that fill the
// sequence area of successive telegrams.
#include <cstddef>
#include <cstdint>
#include <deque>
#include <vector>

#include "srci_plc/plc_telegram.hpp"

namespace srci_plc {

class Outbox {
public:
    static constexpr size_t kMaxFragmentsPerSequence = 9;

    // update = parameter update of a running command (Clear instead of Reset).
    void push(uint16_t cmd_id, std::vector<uint8_t> payload, bool update);

    // Fragments for one new SEQ, at most capacity bytes including fragment
    // headers. A payload that does not fit is split; the rest follows later.
    std::vector<Fragment> take(size_t capacity);

    bool empty() const { return items_.empty(); }
    bool has_pending(uint16_t cmd_id) const;

private:
    struct Item {
        uint16_t cmd_id;
        std::vector<uint8_t> payload;
        bool update;
        size_t sent = 0;
    };
    std::deque<Item> items_;
};

}  // namespace srci_plc
