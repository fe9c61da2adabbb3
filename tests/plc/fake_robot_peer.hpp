// SPDX-License-Identifier: Apache-2.0
#pragma once
// A scripted robot side for client tests. It reads P->R telegrams with the client library's
// decoder (whose encoder counterpart is pinned byte by byte against the SRCI standard's tables)
// and answers like a robot that follows the wire rules:
// ACK = last new SEQ, fresh responses only with a new ACK, repeats otherwise.
#include <cstdint>
#include <functional>
#include <map>
#include <vector>

#include "srci_plc/plc_telegram.hpp"
#include "srci_plc/transport.hpp"

struct ReceivedCommand {
    uint16_t cmd_id = 0;
    uint8_t first_action = 0;  // FragmentAction of the first fragment
    std::vector<uint8_t> payload;
    uint16_t cmd_type() const {
        return static_cast<uint16_t>(payload.size() >= 2 ? (payload[0] << 8) | payload[1] : 0);
    }
    uint8_t par_seq() const { return payload.size() > 3 ? payload[3] >> 4 : 0; }
};

class FakeRobotPeer : public srci_plc::Transport {
public:
    using Handler = std::function<void(FakeRobotPeer&, const ReceivedCommand&)>;

    uint8_t telegram_state = 254;
    bool acknowledging = true;  // false: ACK freezes, as with a stalled robot
    uint32_t status = 0;
    Handler on_command;
    int tear_next = 0;  // next N answers get a footer lifesign that differs from byte 1

    std::vector<uint8_t> controls;  // Control nibble of every telegram
    std::vector<uint16_t> seqs;     // SEQ of every telegram
    std::vector<std::vector<uint8_t>> sent_by_client;
    std::vector<ReceivedCommand> received;

    // Queues a response for the next new ACK.
    void respond(uint16_t cmd_id, uint8_t state, uint8_t par_seq, std::vector<uint8_t> body, int8_t severity = 0,
                 uint16_t code = 0);

    void exchange(const std::vector<uint8_t>& tx, std::vector<uint8_t>& rx) override;

private:
    uint16_t last_seq_ = 0;
    int last_sent_ack_ = -1;
    uint8_t lifesign_ = 0;
    std::vector<srci_plc::Fragment> pending_;
    std::vector<srci_plc::Fragment> sequence_area_;  // repeated while the ACK stays
    std::map<uint16_t, ReceivedCommand> partial_;
};

// Answers the three start-up commands the way a cooperative robot does.
void answer_startup(FakeRobotPeer& peer, const ReceivedCommand& c, uint16_t length_acr = 50);
