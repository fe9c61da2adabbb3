// SPDX-License-Identifier: Apache-2.0
#pragma once
// The live view's state as JSON, the form the page and the event stream use. The fast part (link
// and robot) goes out with every update; the slow part (commands, messages, limits) only after it
// changed.
#include <array>
#include <memory>
#include <optional>
#include <string>

#include <nlohmann/json.hpp>

#include "pnio_sim/web_live_state.hpp"

namespace pnio_sim::web {

// What the arm's control channel said last; used where the PLC did not request the cyclic blocks.
struct ArmSample {
    std::string path;  // empty: no control channel configured
    std::optional<std::array<double, 6>> joints;
    std::optional<std::array<double, 6>> pose;
    int tool = -1;
    int frame = -1;
    Millis at = 0;
    std::string error;
};

struct ViewSnapshot {
    LinkState link;
    CyclicRobot cyclic;
    std::shared_ptr<const SlowState> slow;
    uint64_t slow_version = 0;
    ArmSample arm;
};

// A lifesign counts as alive while it changed within this time.
constexpr Millis kLifesignAliveMs = 1500;
// Arm samples older than this are not shown as the current pose.
constexpr Millis kArmSampleMaxAgeMs = 1000;

nlohmann::json link_json(const LinkState& link, Millis now);
nlohmann::json robot_json(const CyclicRobot& cyclic, const ArmSample& arm, const SlowState* slow, Millis now);
nlohmann::json slow_json(const SlowState& slow);

}  // namespace pnio_sim::web
