// SPDX-License-Identifier: Apache-2.0
#include "srci_plc/acr.hpp"

#include <algorithm>

namespace srci_plc {

uint16_t Acr::allocate(const CommandDef& def, const ParamValues& values) {
    for (size_t id = 1; id <= size_; ++id) {
        if (!slots_[id].used) {
            slots_[id] = AcrEntry{};
            slots_[id].used = true;
            slots_[id].def = &def;
            slots_[id].values = values;
            return static_cast<uint16_t>(id);
        }
    }
    return 0;
}

AcrEntry* Acr::find(uint16_t cmd_id) {
    if (cmd_id == 0 || cmd_id > kMaxSize || !slots_[cmd_id].used) return nullptr;
    return &slots_[cmd_id];
}

void Acr::release_finished() {
    for (auto& s : slots_)
        if (s.used && s.release_pending) s = AcrEntry{};
}

void Acr::limit(size_t size) { size_ = std::clamp<size_t>(size, 1, kMaxSize); }

size_t Acr::in_use() const {
    return static_cast<size_t>(std::count_if(slots_.begin(), slots_.end(), [](const AcrEntry& e) { return e.used; }));
}

}  // namespace srci_plc
