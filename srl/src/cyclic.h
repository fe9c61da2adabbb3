// SPDX-License-Identifier: Apache-2.0
// Cyclic data: the RA status word, the override, the R->P position blocks and the system state
// the adapter reads back.
#pragma once

#include <cstdint>

#include "srl/srl_types.h"
#include "telegram_state.h"

namespace srl {

namespace status {
enum : uint32_t {
    IsMoving = 1u << 0,
    PrimarySequencePaused = 1u << 1,
    SecondarySequenceActive = 1u << 3,
    ErrorPending = 1u << 5,
    Enabled = 1u << 7,
};
// Bits the adapter maintains through srl_set_cyclic_parameter; the others are the interpreter's.
inline constexpr uint32_t kAdapterOwned = (1u << 0) | (1u << 2) | (1u << 4) | (1u << 6) | (0x1Fu << 13);
}  // namespace status

struct Cyclic {
    uint32_t adapter_status = 0;
    uint16_t override_value = 10000;
    float cartesian[6] = {};
    float joints[6] = {};
    uint8_t current_tool = 0;
    uint8_t current_frame = 0;
    bool ra_enabled = false;
    bool sequence_interrupted = false;
    uint8_t operation_mode = 4;
    uint8_t active_sequence = 1;
    uint8_t requested_tool = 255;
    uint8_t requested_frame = 255;
    LRob_typeSystemState system{};
};

enum class SequenceState : uint8_t { Idle = 0, Executing = 1, Interrupted = 2 };

uint32_t status_word(const Cyclic& c, bool error_pending, SequenceState seq);
bool arm_moving(const Cyclic& c);
// Fills the R->P optional blocks selected by the layout into `send` (starting at byte 10).
void write_cyclic_blocks(Cyclic& c, const Layout& layout, uint8_t* send);
// The state handed to srl_enable_robot_with_param_funs and srl_get_system_state.
void refresh_system_state(Cyclic& c, uint8_t telegram_state, SequenceState seq, bool motion_live);

}  // namespace srl
