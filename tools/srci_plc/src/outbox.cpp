// SPDX-License-Identifier: Apache-2.0
#include "srci_plc/outbox.hpp"

#include <algorithm>

namespace srci_plc {

void Outbox::push(uint16_t cmd_id, std::vector<uint8_t> payload, bool update) {
    // A newer parameter set makes an untransmitted older one pointless.
    if (update) {
        for (auto it = items_.begin(); it != items_.end(); ++it) {
            if (it->cmd_id == cmd_id && it->update && it->sent == 0) {
                it->payload = std::move(payload);
                return;
            }
        }
    }
    items_.push_back(Item{cmd_id, std::move(payload), update, 0});
}

std::vector<Fragment> Outbox::take(size_t capacity) {
    std::vector<Fragment> out;
    while (!items_.empty() && out.size() < kMaxFragmentsPerSequence && capacity > kFragmentHeaderSize) {
        Item& item = items_.front();
        const size_t rest = item.payload.size() - item.sent;
        const size_t n = std::min(rest, capacity - kFragmentHeaderSize);
        Fragment f;
        f.cmd_id = item.cmd_id;
        f.pointer = static_cast<uint16_t>(item.sent);
        if (item.sent == 0) f.action |= item.update ? fragment_action::kClear : fragment_action::kReset;
        if (n == rest) f.action |= fragment_action::kComplete;
        f.data.assign(item.payload.begin() + static_cast<std::ptrdiff_t>(item.sent),
                      item.payload.begin() + static_cast<std::ptrdiff_t>(item.sent + n));
        item.sent += n;
        capacity -= kFragmentHeaderSize + n;
        out.push_back(std::move(f));
        if (item.sent == item.payload.size()) items_.pop_front();
    }
    return out;
}

bool Outbox::has_pending(uint16_t cmd_id) const {
    return std::any_of(items_.begin(), items_.end(), [&](const Item& i) { return i.cmd_id == cmd_id; });
}

}  // namespace srci_plc
