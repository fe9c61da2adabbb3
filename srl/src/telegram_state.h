// SPDX-License-Identifier: Apache-2.0
// TelegramState machine driven by the client's Control nibble, and the telegram layout that the
// latched TelegramNumber words define.
#pragma once

#include <cstdint>

#include "srl/srl_config.h"

namespace srl {

namespace tstate {
enum : uint8_t {
    ControlMismatch = 161,
    LengthMismatch = 163,
    VersionMismatch = 164,
    LifesignLost = 165,
    OptionalTooLarge = 166,
    NumberChanged = 169,
    AxesGroupRejected = 170,
    NumbersInconsistent = 171,
    Unsupported = 172,
    NotInitialized = 254,
    Initialized = 255,
};
}  // namespace tstate

namespace control {
enum : uint8_t { None = 0, Initialize = 1, Resume = 2, Reset = 3, AckError = 4, ClientError = 5 };
}  // namespace control

struct Layout {
    uint16_t lpr = 256;       // P->R length in use
    uint16_t lrp = 256;       // R->P length in use
    uint16_t r2p_words = 0;   // TelegramNumberRobToPlc
    bool tool_frame = false;  // P->R bytes 18-19 present
    uint16_t cp = 18;         // P->R sequence header
    uint16_t crp = 10;        // R->P sequence header
};

struct TelegramStateMachine {
    uint8_t state = tstate::NotInitialized;
    uint16_t latched_p2r = 0;
    uint16_t latched_r2p = 0;
};

enum class Transition : uint8_t {
    None,
    Initialized,  // 254 -> 255
    Reset,        // back to 254: stop motion, clear everything
    Lost,         // 255 -> an error state: stop motion, finalise what runs
};

// INITIALIZE checks in the order the SRCI standard gives; 255 when everything is acceptable.
uint8_t validate_initialize(const uint8_t* tel, const srl_config& cfg);
Transition telegram_state_step(TelegramStateMachine& m, const uint8_t* tel, const srl_config& cfg);
// Layout for the given TelegramNumber words (unsupported words fall back to no optional data).
Layout make_layout(uint16_t p2r_words, uint16_t r2p_words, const srl_config& cfg);
// Layout for this telegram: latched words once initialised, before that what the client asks for.
Layout current_layout(const TelegramStateMachine& m, const uint8_t* tel, const srl_config& cfg);

inline constexpr uint16_t kR2PCartesianBit = 1u << 1;
inline constexpr uint16_t kR2PJointBit = 1u << 2;
inline constexpr uint16_t kCartesianBlockLen = 40;
inline constexpr uint16_t kJointBlockLen = 30;

}  // namespace srl
