// SPDX-License-Identifier: Apache-2.0
#pragma once
// An observer of the lockstep exchange: the trace recorder and the live view hang here. Taps run
// on the gateway's thread between receiving a telegram and answering it, so they must be quick
// and must never block; they see the bytes exactly as they were moved and cannot change them.
#include <chrono>
#include <cstdint>
#include <string>

namespace pnio_sim {

struct TapExchange {
    const uint8_t* plc_to_robot;                     // 256 bytes as received from the client
    const uint8_t* robot_to_plc;                     // 256 bytes as answered
    std::chrono::system_clock::time_point received;  // the client's telegram was complete
    std::chrono::system_clock::time_point answered;  // the answer was read back from the image
};

class TelegramTap {
public:
    virtual ~TelegramTap() = default;
    virtual void on_exchange(const TapExchange& exchange) = 0;
    // A client connected (true) or was dropped (false); why says who and why.
    virtual void on_connection(bool connected, const std::string& why, std::chrono::system_clock::time_point when) = 0;
};

}  // namespace pnio_sim
