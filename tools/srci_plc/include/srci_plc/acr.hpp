// SPDX-License-Identifier: Apache-2.0
#pragma once
// The client's Active Command Register: one slot per CmdID.
#include <cstddef>
#include <cstdint>
#include <vector>

#include "srci_plc/command_catalog.hpp"
#include "srci_plc/response.hpp"

namespace srci_plc {

struct AcrEntry {
    bool used = false;
    const CommandDef* def = nullptr;
    ParamValues values;  // parameters of the last transmitted payload
    uint8_t par_seq = 1;
    unsigned responses = 0;  // answers since the last (re)transmission
    ResponseHeader last;     // latest answer
    std::vector<uint8_t> last_payload;
    bool release_pending = false;  // final answer seen; slot frees next cycle
    int sent_seq = -1;             // SEQ that carried the last fragment of the payload
    bool transmitted = false;      // that SEQ has been acknowledged
};

class Acr {
public:
    static constexpr size_t kMaxSize = 50;

    // Lowest free CmdID, or 0 when the register is full.
    uint16_t allocate(const CommandDef& def, const ParamValues& values);
    AcrEntry* find(uint16_t cmd_id);
    const AcrEntry* find(uint16_t cmd_id) const { return const_cast<Acr*>(this)->find(cmd_id); }
    // Frees slots whose final answer arrived in an earlier cycle.
    void release_finished();
    void limit(size_t size);
    size_t size() const { return size_; }
    size_t in_use() const;

    template <class F>
    void for_each_used(F f) {
        for (size_t id = 1; id <= kMaxSize; ++id)
            if (slots_[id].used) f(static_cast<uint16_t>(id), slots_[id]);
    }

private:
    size_t size_ = kMaxSize;
    std::vector<AcrEntry> slots_ = std::vector<AcrEntry>(kMaxSize + 1);  // index = CmdID
};

}  // namespace srci_plc
