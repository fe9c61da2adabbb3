// SPDX-License-Identifier: Apache-2.0
#pragma once
// Follows the SRCI link as an observer: decodes each exchange with the PLC client library's
// decoders and keeps the link state, the PLC's commands with their state history and the robot's
// messages. Single-threaded: the gateway thread feeds it.
#include <map>
#include <optional>

#include "pnio_sim/web_live_state.hpp"
#include "srci_plc/plc_telegram.hpp"
#include "srci_plc/response.hpp"

namespace pnio_sim::web {

class LinkMonitor {
public:
    void exchange(const uint8_t* plc_to_robot, const uint8_t* robot_to_plc, size_t len, Millis now);
    void connection(bool connected, const std::string& why, Millis now);

    const LinkState& link() const { return link_; }
    const CyclicRobot& cyclic() const { return cyclic_; }
    const SlowState& slow() const { return slow_; }
    uint64_t slow_version() const { return slow_version_; }

private:
    void plc_fragment(const srci_plc::Fragment& f, Millis now);
    void robot_fragment(const srci_plc::Fragment& f, Millis now);
    void start_command(uint16_t id, std::vector<uint8_t> payload, Millis now);
    void finish(size_t in_flight_index, Millis now, const std::string& note);
    void response(CommandRecord& c, const std::vector<uint8_t>& payload, Millis now);
    void forget_transfers();

    LinkState link_;
    CyclicRobot cyclic_;
    SlowState slow_;
    uint64_t slow_version_ = 0;
    int last_seq_ = -1;
    int last_ack_ = -1;
    bool tool_frame_always_ = false;
    uint16_t robot_layout_ = 0;               // TelegramNumberRobToPlc of the last robot telegram decoded
    std::optional<uint16_t> init_layout_;     // asked for by the PLC's INITIALIZE
    std::optional<uint16_t> latched_layout_;  // in force since the robot reported INITIALIZED
    uint8_t previous_robot_state_ = 0;
    std::map<uint16_t, uint8_t> first_action_;  // FragmentAction of the first fragment per CmdID
    srci_plc::ResponseAssembler plc_parts_;
    srci_plc::ResponseAssembler robot_parts_;
};

}  // namespace pnio_sim::web
