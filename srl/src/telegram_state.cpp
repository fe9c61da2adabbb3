// SPDX-License-Identifier: Apache-2.0
#include "telegram_state.h"

#include <algorithm>

#include "wire_codec.h"

namespace srl {
namespace {

constexpr uint16_t kTwoSequencesBit = 1u << 8;
// Block sizes per TelegramNumber bit, for the fit check (0 = reserved bit).
constexpr uint16_t kP2RSizes[16] = {26, 34, 28, 24, 0, 0, 0, 0, 0, 20, 20, 24, 0, 0, 0, 0};
constexpr uint16_t kR2PSizes[16] = {26, 40, 30, 24, 24, 0, 0, 0, 0, 20, 20, 24, 24, 0, 0, 0};
// What this server fills: R->P Cartesian and joint blocks. No P->R block is used.
constexpr uint16_t kP2RSupported = 0;
constexpr uint16_t kR2PSupported = kR2PCartesianBit | kR2PJointBit;
// Smallest useful sequence area: header, one fragment header, a payload header, footer.
constexpr uint16_t kMinSequenceArea = 4 + 8 + 4 + 1;

uint16_t blocks_size(uint16_t words, const uint16_t (&sizes)[16]) {
    uint16_t n = 0;
    for (int bit = 0; bit < 16; ++bit) {
        if (words & (1u << bit)) n = static_cast<uint16_t>(n + sizes[bit]);
    }
    return n;
}

bool lengths_ok(const uint8_t* tel, const srl_config& cfg) {
    return be16(tel + 2) == cfg.length_plc_to_rob && be16(tel + 4) == cfg.length_rob_to_plc;
}

bool tool_frame_present(uint16_t r2p_words, const srl_config& cfg) {
    return cfg.always_tool_frame || (r2p_words & kR2PCartesianBit) != 0;
}

}  // namespace

uint8_t validate_initialize(const uint8_t* tel, const srl_config& cfg) {
    if ((tel[0] >> 5) != 1) return tstate::VersionMismatch;
    const uint8_t group = tel[6] >> 4;
    if (group != 0 && group != cfg.axes_group_id) return tstate::AxesGroupRejected;
    if (!lengths_ok(tel, cfg)) return tstate::LengthMismatch;
    const uint16_t p2r = be16(tel + 8);
    const uint16_t r2p = be16(tel + 10);
    if ((p2r & kTwoSequencesBit) != (r2p & kTwoSequencesBit)) return tstate::NumbersInconsistent;
    if ((p2r & ~kP2RSupported) != 0 || (r2p & ~kR2PSupported) != 0) return tstate::Unsupported;
    const uint32_t p2r_used = 18u + (tool_frame_present(r2p, cfg) ? 2u : 0u) + blocks_size(p2r, kP2RSizes);
    const uint32_t r2p_used = 10u + blocks_size(r2p, kR2PSizes);
    if (p2r_used + kMinSequenceArea > cfg.length_plc_to_rob || r2p_used + kMinSequenceArea > cfg.length_rob_to_plc) {
        return tstate::OptionalTooLarge;
    }
    return tstate::Initialized;
}

constexpr int kHeaderLength = 18;

Transition telegram_state_step(TelegramStateMachine& m, const uint8_t* tel, const srl_config& cfg) {
    const uint8_t ctl = tel[6] & 0x0F;
    const bool in_error = m.state >= 161 && m.state <= 173;

    if (m.state == tstate::NotInitialized) {
        switch (ctl) {
            case control::Initialize: {
                const uint8_t result = validate_initialize(tel, cfg);
                m.state = result;
                if (result != tstate::Initialized) return Transition::None;
                m.latched_p2r = be16(tel + 8);
                m.latched_r2p = be16(tel + 10);
                return Transition::Initialized;
            }
            case control::Resume:
                m.state = tstate::ControlMismatch;
                return Transition::None;
            default:  // NONE, a RESET still held by the client, ACK_ERROR, CLIENT_ERROR
                return Transition::None;
        }
    }

    if (m.state == tstate::Initialized) {
        switch (ctl) {
            case control::None:
            case control::Initialize:  // still held by the client after it saw 255
                break;
            case control::Reset:
            case control::ClientError:
                m.state = tstate::NotInitialized;
                return Transition::Reset;
            default:
                m.state = tstate::ControlMismatch;
                return Transition::Lost;
        }
        // An all-zero header is no PLC at all (link down, I/O manager without a client), not a
        // client with a wrong header: lifesign supervision reports that as 165.
        if (std::all_of(tel, tel + kHeaderLength, [](uint8_t b) { return b == 0; })) return Transition::None;
        uint8_t error = 0;
        if ((tel[0] >> 5) != 1) error = tstate::VersionMismatch;
        else if (!lengths_ok(tel, cfg)) error = tstate::LengthMismatch;
        else if (be16(tel + 8) != m.latched_p2r || be16(tel + 10) != m.latched_r2p) error = tstate::NumberChanged;
        if (error == 0) return Transition::None;
        m.state = error;
        return Transition::Lost;
    }

    if (in_error) {
        switch (ctl) {
            case control::Reset:
            case control::AckError:
                m.state = tstate::NotInitialized;
                return Transition::Reset;
            case control::None:
            case control::ClientError:
                return Transition::None;
            default:
                m.state = tstate::ControlMismatch;
                return Transition::None;
        }
    }
    // Unknown state value: recover through 254.
    m.state = tstate::NotInitialized;
    return Transition::Reset;
}

Layout make_layout(uint16_t p2r_words, uint16_t r2p_words, const srl_config& cfg) {
    Layout l;
    l.lpr = cfg.length_plc_to_rob;
    l.lrp = cfg.length_rob_to_plc;
    if ((p2r_words & ~kP2RSupported) != 0 || (r2p_words & ~kR2PSupported) != 0) r2p_words = 0;
    l.r2p_words = r2p_words;
    l.tool_frame = tool_frame_present(r2p_words, cfg);
    l.cp = static_cast<uint16_t>(18 + (l.tool_frame ? 2 : 0));
    l.crp = static_cast<uint16_t>(10 + blocks_size(r2p_words, kR2PSizes));
    if (l.crp + kMinSequenceArea > l.lrp) {  // keep the sequence area usable whatever is asked
        l.r2p_words = 0;
        l.crp = 10;
    }
    return l;
}

Layout current_layout(const TelegramStateMachine& m, const uint8_t* tel, const srl_config& cfg) {
    if (m.state == tstate::NotInitialized) return make_layout(be16(tel + 8), be16(tel + 10), cfg);
    return make_layout(m.latched_p2r, m.latched_r2p, cfg);
}

}  // namespace srl
