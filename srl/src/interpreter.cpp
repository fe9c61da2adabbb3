// SPDX-License-Identifier: Apache-2.0
// The cycle: one P->R telegram in, one R->P telegram out.
#include <chrono>
#include <cmath>
#include <cstring>
#include <new>

#include "context.h"
#include "log_queue.h"
#include "srl/srl_api.h"
#include "srl/srl_config.h"
#include "wire_codec.h"

namespace srl {

Context g_context;

namespace {

uint64_t monotonic_ms() {
    using namespace std::chrono;
    return static_cast<uint64_t>(duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count());
}

bool in_error_state(uint8_t s) { return s >= 161 && s <= 173; }

void on_transition(Context& x, Transition t, const uint8_t* recv) {
    switch (t) {
        case Transition::None:
            return;
        case Transition::Initialized:
            lifesign_rearm(x.life, x.now_ms);
            x.life.timeout_ms = default_lifesign_timeout();
            x.fast_stop = static_cast<uint8_t>(recv[1] >> 4);
            x.fast_stop_zero_is_reset = true;
            logf("srl: interface initialised");
            return;
        case Transition::Reset:
            commands_interface_stop(false);
            response_clear(x.rsp);
            sequence_clear_buffers(x.rx);
            x.life.timeout_ms = default_lifesign_timeout();
            x.fast_stop_zero_is_reset = true;
            logf("srl: interface reset by the client");
            return;
        case Transition::Lost:
            commands_interface_stop(true);
            sequence_clear_buffers(x.rx);
            logf("srl: interface lost, TelegramState %u", x.tsm.state);
            return;
    }
}

// Any change of the FastStop nibble asks for an immediate stop. The arm is held (pause), not
// aborted: the GroupStop or GroupInterrupt that follows decides what happens to the commands.
void check_fast_stop(Context& x, uint8_t nibble) {
    if (nibble == x.fast_stop) return;
    x.fast_stop = nibble;
    if (nibble == 0 && x.fast_stop_zero_is_reset) return;  // the client's counter reset
    x.fast_stop_zero_is_reset = false;
    logf("srl: fast stop requested");
    call_internal(Slot::GroupPause, 2002);
}

void read_telegram(Context& x, const uint8_t* recv, bool& ack_new) {
    lifesign_observe(x.life, recv[1] & 0x0F, x.now_ms);
    x.client_date = be16(recv + 12);
    x.client_time = be32(recv + 14);
    if (x.tsm.state == tstate::Initialized) check_fast_stop(x, static_cast<uint8_t>(recv[1] >> 4));
    on_transition(x, telegram_state_step(x.tsm, recv, x.cfg), recv);

    const Layout layout = current_layout(x.tsm, recv, x.cfg);
    if (layout.tool_frame) {
        x.cyc.requested_tool = recv[18];
        x.cyc.requested_frame = recv[19];
    }
    const uint16_t seq = be16(recv + layout.cp);
    if (seq == x.rx.last_seq) return;  // repeated telegram: processed already
    const uint16_t end = static_cast<uint16_t>(layout.lpr - 1);
    if (x.tsm.state == tstate::Initialized) {
        CommandSink sink;
        sequence_process(x.rx, recv, layout.cp, end, sink);
    } else if (in_error_state(x.tsm.state)) {
        RefusingSink sink;
        sequence_process(x.rx, recv, layout.cp, end, sink);
    }
    x.rx.last_seq = seq;
    ack_new = true;
}

void write_telegram(Context& x, const uint8_t* recv, bool ack_new, uint8_t* send) {
    const Layout layout = current_layout(x.tsm, recv, x.cfg);
    std::memset(send, 0, SRL_TELEGRAM_SIZE);
    const uint8_t life = lifesign_next_server(x.life);
    send[0] = x.cfg.version_byte;
    send[1] = static_cast<uint8_t>(life << 4);
    send[3] = x.tsm.state;

    const uint32_t status = status_word(x.cyc, message_error_pending(x.msgs), sequence_state());
    for (int i = 0; i < 4; ++i) send[4 + i] = static_cast<uint8_t>(status >> (8 * i));  // LE
    put_be16(send + 8, x.cyc.override_value);
    write_cyclic_blocks(x.cyc, layout, send);

    const uint16_t space = static_cast<uint16_t>(layout.lrp - 1 - layout.crp);
    if (ack_new) {
        x.area_len = response_build_area(x.rsp, x.rx.last_seq, x.area, space);
    } else if (x.area_len < 4 || x.area_len > space) {
        put_be16(x.area, x.rx.last_seq);
        put_be16(x.area + 2, 0);
        x.area_len = 4;
    }
    std::memcpy(send + layout.crp, x.area, x.area_len);
    send[layout.lrp - 1] = static_cast<uint8_t>(life << 4);
}

void run_cycle(const uint8_t* recv, uint8_t* send) {
    Context& x = g_context;
    x.now_ms = now_ms();
    ++x.cycle;
    bool ack_new = false;
    const auto stateBefore = x.tsm.state;

    // Header and footer lifesign differ: a torn telegram, not acted on.
    if ((recv[1] & 0x0F) != (recv[x.cfg.length_plc_to_rob - 1] & 0x0F)) {
        if (x.torn_telegrams++ % 100 == 0) logf("srl: torn telegram ignored (0x8A03)");
    } else {
        read_telegram(x, recv, ack_new);
    }

    if (x.tsm.state == tstate::Initialized && lifesign_expired(x.life, x.now_ms)) {
        x.tsm.state = tstate::LifesignLost;
        on_transition(x, Transition::Lost, recv);
    }
    // Every change of the interface state is worth a line: 165 is the PLC's lifesign lost.
    if (x.tsm.state != stateBefore)
        logf("srl: telegram state %u -> %u", static_cast<unsigned>(stateBefore), static_cast<unsigned>(x.tsm.state));
    if (x.tsm.state == tstate::Initialized) {
        commands_tick();
        messages_tick(x.msgs, x.now_ms, x.cfg.message_ack_timeout_ms);
    }
    write_telegram(x, recv, ack_new, send);
}

}  // namespace

uint64_t now_ms() { return g_context.clock != nullptr ? g_context.clock() : monotonic_ms(); }

namespace {

SequenceState sequence_state(const LiveKinds& live) {
    if (g_context.cyc.sequence_interrupted) return SequenceState::Interrupted;
    return live.motion || live.jog_running ? SequenceState::Executing : SequenceState::Idle;
}

}  // namespace

SequenceState sequence_state() { return sequence_state(commands_live_kinds()); }

// One scan of the register answers both what the sequence does and whether a motion is live.
void update_system_state() {
    Context& x = g_context;
    const LiveKinds live = commands_live_kinds();
    refresh_system_state(x.cyc, x.tsm.state, sequence_state(live), live.motion);
}

uint16_t default_lifesign_timeout() {
    const Context& x = g_context;
    if (x.persistent != nullptr && x.persistent->generalConfiguration.LifeSignTimeOut != 0)
        return x.persistent->generalConfiguration.LifeSignTimeOut;
    return x.cfg.default_lifesign_timeout_ms != 0 ? x.cfg.default_lifesign_timeout_ms : 1000;
}

}  // namespace srl

using srl::ctx;

void srl_interpreter(unsigned char* recv, unsigned char* send) {
    if (recv == nullptr || send == nullptr) return;
    // Own copy: callers may pass one buffer for both directions.
    unsigned char in[SRL_TELEGRAM_SIZE];
    std::memcpy(in, recv, sizeof in);
    try {
        srl::run_cycle(in, send);
    } catch (...) {  // handlers are wrapped already; nothing may leave the cycle
        srl::logf("srl: unexpected exception in the cycle");
    }
}

// ---------------------------------------------------------------- configuration
void srl_config_set(const srl_config& cfg) {
    srl_config c = cfg;
    auto clamp_len = [](uint16_t v) -> uint16_t { return v < 64 ? 64 : v > 256 ? 256 : v; };
    c.length_plc_to_rob = clamp_len(c.length_plc_to_rob);
    c.length_rob_to_plc = clamp_len(c.length_rob_to_plc);
    c.axes_group_id &= 0x0F;
    ctx().cfg = c;
}

srl_config srl_config_get() { return ctx().cfg; }

void srl_config_set_clock(srl_clock_fn fn) { ctx().clock = fn; }

void srl_config_reset() {
    srl::Context& x = ctx();
    x.~Context();
    new (&x) srl::Context();
    srl::log_clear();
}

// ---------------------------------------------------------------- initialisation
void srl_set_init_parameter(LRob_typePersistentData* persistent, LRob_typeServerAxesGroupParameter* axesGroup) {
    ctx().persistent = persistent;
    ctx().axes = axesGroup;
}

void srl_set_return_to_primary_behaviors(const unsigned char*, int count, int mode) {
    srl::logf("srl: return-to-primary behaviours (%d, mode %d) noted; ReturnToPrimary is not served", count, mode);
}

void srl_robot_init_complete_set_operation_mode_to_edk(int operationMode) {
    if (operationMode >= 1 && operationMode <= 6) ctx().cyc.operation_mode = static_cast<uint8_t>(operationMode);
}

// ---------------------------------------------------------------- record coding
int srl_serialize(const void* record, unsigned char* buffer, int size) {
    if (record == nullptr || buffer == nullptr || size < 0 || size > 255) return -1;
    std::memcpy(buffer, record, static_cast<size_t>(size));
    return size;
}

int srl_deserialize(const unsigned char* buffer, void* record, int size) {
    if (record == nullptr || buffer == nullptr || size < 0 || size > 255) return -1;
    std::memcpy(record, buffer, static_cast<size_t>(size));
    return size;
}

// ---------------------------------------------------------------- state pushes
void srl_set_current_pos(void* block, float speedRatio) {
    if (block == nullptr) return;
    srl::Cyclic& c = ctx().cyc;
    const auto* b = static_cast<const uint8_t*>(block);
    std::memcpy(c.cartesian, b, sizeof c.cartesian);
    std::memcpy(c.joints, b + 54, sizeof c.joints);
    c.current_tool = b[102];
    c.current_frame = b[103];
    float ratio = std::isfinite(speedRatio) ? speedRatio : 0.0f;
    ratio = ratio < 0.0f ? 0.0f : ratio > 1.0f ? 1.0f : ratio;
    c.override_value = static_cast<uint16_t>(std::lround(ratio * 10000.0f));
}

void srl_set_ra_state(int raState) {
    if (raState != 209 && raState != 217) {
        srl::logf("srl: unknown RA state %d ignored", raState);
        return;
    }
    const bool enabled = raState == 209;
    srl::Cyclic& c = ctx().cyc;
    if (c.ra_enabled && !enabled) srl::commands_power_changed(false);
    c.ra_enabled = enabled;
}

void srl_get_cyclic_parameter(void* block) {
    if (block == nullptr) return;
    srl::Context& x = ctx();
    const uint32_t status = srl::status_word(x.cyc, srl::message_error_pending(x.msgs), srl::sequence_state());
    auto* b = static_cast<uint8_t*>(block);
    std::memcpy(b, &status, 4);
    std::memcpy(b + 4, &x.cyc.override_value, 2);
}

void srl_set_cyclic_parameter(void* block) {
    if (block == nullptr) return;
    const auto* b = static_cast<const uint8_t*>(block);
    uint32_t status;
    uint16_t override_value;
    std::memcpy(&status, b, 4);
    std::memcpy(&override_value, b + 4, 2);
    srl::Cyclic& c = ctx().cyc;
    c.adapter_status = status & srl::status::kAdapterOwned;
    c.override_value = override_value > 10000 ? 10000 : override_value;
}

void srl_set_sync_item_parameters(int itemType, int index, unsigned char*) { srl::commands_sync_item(itemType, index); }

void srl_get_system_state(LRob_typeSystemState* state) {
    if (state == nullptr) return;
    srl::update_system_state();
    *state = ctx().cyc.system;
}

// ---------------------------------------------------------------- motion reports
void srl_set_robot_motion_state_1(int id, int state, int errorCode, int) {
    srl::commands_motion_report(id, state, errorCode);
}
void srl_set_interrupt_completed() { ctx().cmds.interrupt_completed = true; }
void srl_set_stop_completed() { ctx().cmds.stop_completed = true; }
void srl_set_jog_distance_togo(int distanceReached) { srl::commands_jog_distance(distanceReached != 0); }

void srl_rl_server_state(int state) {
    if (state == 113) ctx().cyc.sequence_interrupted = true;
    else if (state == 115) ctx().cyc.sequence_interrupted = false;
}

// ---------------------------------------------------------------- errors
int srl_report_error_warning(int8_t& id, bool isProcessed, uint16_t code, int8_t severity, std::string info) {
    srl::Context& x = ctx();
    return srl::message_report(x.msgs, id, isProcessed, code, severity, info.data(), info.size(),
                               srl::msgtype::Controller, severity >= 20, x.client_date, x.client_time);
}
