// SPDX-License-Identifier: Apache-2.0
#include "cyclic.h"

#include <cstring>

#include "context.h"
#include "log_queue.h"
#include "record_tables.h"
#include "registry.h"
#include "srl/srl_api.h"

namespace srl {
namespace {

void write_cartesian(Cyclic& c, uint8_t* block) {
    LRob_typeServerAxesGroupOptionalCyclicServerClientCartesianPos_Data host{};
    const auto fn = reinterpret_cast<srl_handler_fn>(handler_address(ctx().reg, Slot::CyclicPos));
    bool filled = false;
    if (fn != nullptr) {
        uint8_t in[SRL_TELEGRAM_SIZE] = {};
        uint8_t out[SRL_TELEGRAM_SIZE] = {};
        in[0] = c.requested_tool;
        in[1] = c.requested_frame;
        int err = 0;
        try {
            fn(in, out, &err);
            std::memcpy(&host, out, sizeof host);
            filled = true;
        } catch (...) {
            logf("srl: cyclic position handler threw");
        }
        if (err != 0) logf("srl: cyclic position handler answered 0x%X", static_cast<unsigned>(err));
    }
    if (!filled) {  // no handler: the pushed position in the currently used tool and frame
        std::memcpy(&host, c.cartesian, sizeof c.cartesian);  // X..RZ lead the record
        host.CoordinateSystem = {c.current_tool, c.current_frame};
        host.CurrentCoordinateSystem = {c.current_tool, c.current_frame};
    }
    host_to_wire(rec::kCyclicCartesian, reinterpret_cast<const uint8_t*>(&host), block);
}

void write_joints(const Cyclic& c, uint8_t* block) {
    for (int i = 0; i < 6; ++i) {
        uint32_t v;
        std::memcpy(&v, &c.joints[i], 4);
        put_be32(block + 4 * i, v);
    }
    // E1 and the two reserved bytes stay 0: the arm has no external axis.
}

}  // namespace

uint32_t status_word(const Cyclic& c, bool error_pending, SequenceState seq) {
    uint32_t w = c.adapter_status & status::kAdapterOwned;
    if (c.sequence_interrupted) w |= status::PrimarySequencePaused;
    if (c.active_sequence == 2) w |= status::SecondarySequenceActive;
    if (error_pending) w |= status::ErrorPending;
    if (c.ra_enabled) w |= status::Enabled;
    w |= static_cast<uint32_t>(seq) << 8;
    w |= static_cast<uint32_t>(c.operation_mode & 0x07) << 10;
    return w;
}

bool arm_moving(const Cyclic& c) { return (c.adapter_status & status::IsMoving) != 0; }

void write_cyclic_blocks(Cyclic& c, const Layout& layout, uint8_t* send) {
    uint16_t off = 10;
    if (layout.r2p_words & kR2PCartesianBit) {
        write_cartesian(c, send + off);
        off = static_cast<uint16_t>(off + kCartesianBlockLen);
    }
    if (layout.r2p_words & kR2PJointBit) write_joints(c, send + off);
}

void refresh_system_state(Cyclic& c, uint8_t telegram_state, SequenceState seq, bool motion_live) {
    LRob_typeHfsm& s = c.system.state;
    s.telegramState = telegram_state;
    if (telegram_state == 255) s.riState = c.ra_enabled ? 'H' : 'G';
    else if (telegram_state == 254) s.riState = 'A';  // waiting for INITIALIZE
    else s.riState = 'E';                             // interface error 161..173
    s.rcSequenceState = static_cast<uint8_t>(91 + static_cast<int>(seq));
    s.rcPowerState = c.ra_enabled ? 1 : 0;
    c.system.operationMode = c.operation_mode;
    LRob_typeSequenceInfo& q = c.system.taskManager.sequencing.sequence;
    q.activeSequence = c.active_sequence;
    for (uint8_t& a : q.activeCMD) a = 0;
    if (c.active_sequence < 3) q.activeCMD[c.active_sequence] = motion_live ? 1 : 0;
}

}  // namespace srl
