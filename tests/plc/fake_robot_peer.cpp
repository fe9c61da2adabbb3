// SPDX-License-Identifier: Apache-2.0
#include "fake_robot_peer.hpp"

#include <gtest/gtest.h>

#include "srci_plc/byte_order.hpp"
#include "srci_plc/plc_telegram.hpp"
#include "telegram_pairs.hpp"

void FakeRobotPeer::respond(uint16_t cmd_id, uint8_t state, uint8_t par_seq, std::vector<uint8_t> body, int8_t severity,
                            uint16_t code) {
    pending_.push_back(
        telegram_pairs::response(cmd_id, static_cast<uint8_t>((par_seq << 4) | state), severity, code, body));
}

void FakeRobotPeer::exchange(const std::vector<uint8_t>& tx, std::vector<uint8_t>& rx) {
    sent_by_client.push_back(tx);
    srci_plc::PlcTelegram t;
    std::string error;
    if (!srci_plc::decode_plc_telegram(tx.data(), tx.size(), false, t, error)) ADD_FAILURE() << error;
    const auto control = static_cast<uint8_t>(t.control);
    controls.push_back(control);
    seqs.push_back(t.seq);

    if (control == 3) telegram_state = 254;
    else if (control == 1 && telegram_state == 254) telegram_state = 255;

    if (acknowledging && t.seq != last_seq_) {
        last_seq_ = t.seq;
        for (const srci_plc::Fragment& f : t.fragments) {
            ReceivedCommand& c = partial_[f.cmd_id];
            if (f.action & 0x06) c = ReceivedCommand{f.cmd_id, f.action, {}};
            c.payload.insert(c.payload.end(), f.data.begin(), f.data.end());
            if (f.action & 0x01) {
                const ReceivedCommand done = c;
                partial_.erase(f.cmd_id);
                received.push_back(done);
                if (telegram_state == 255 && on_command) on_command(*this, done);
            }
        }
    }

    telegram_pairs::Robot robot;
    lifesign_ = static_cast<uint8_t>(lifesign_ % 15 + 1);
    robot.lifesign = lifesign_;
    robot.state = telegram_state;
    robot.status = status;
    robot.tn = t.tn_rob_to_plc;
    robot.ack = last_seq_;
    if (last_sent_ack_ != last_seq_) {
        last_sent_ack_ = last_seq_;
        sequence_area_.clear();
        // What is left for fragments after the header, the cyclic blocks, the sequence header and the footer.
        size_t room = 255 - (10 + ((robot.tn & 0x2) ? 40 : 0) + ((robot.tn & 0x4) ? 30 : 0) + 4);
        while (!pending_.empty() && 8 + pending_.front().data.size() <= room) {
            room -= 8 + pending_.front().data.size();
            sequence_area_.push_back(pending_.front());
            pending_.erase(pending_.begin());
        }
    }
    robot.fragments = sequence_area_;
    rx = robot.bytes();
    if (tear_next > 0) {
        --tear_next;
        rx[255] = static_cast<uint8_t>(rx[1] ^ 0x10);
    }
}

void answer_startup(FakeRobotPeer& peer, const ReceivedCommand& c, uint16_t length_acr) {
    switch (c.cmd_type()) {
        case 9001: {  // ReadMessages: Active, Enabled, no message
            std::vector<uint8_t> body(16, 0);
            body[1] = 0x01;
            peer.respond(c.cmd_id, 4, c.par_seq(), body);
            break;
        }
        case 9000: {  // ExchangeConfiguration: Active, Enabled, LengthACR
            std::vector<uint8_t> body(26, 0);
            body[0] = 0x01;
            srci_plc::put_u16be(&body[2], length_acr);
            peer.respond(c.cmd_id, 4, c.par_seq(), body);
            break;
        }
        case 9002: {  // ReadRobotData: Done, bitmap at payload byte 96
            std::vector<uint8_t> body(130, 0);
            body[0] = 'S';
            body[92] = 0xFE;
            body[93] = 0x01;
            peer.respond(c.cmd_id, 10, c.par_seq(), body);
            break;
        }
        default:
            break;
    }
}
