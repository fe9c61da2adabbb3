// SPDX-License-Identifier: Apache-2.0
#include "fake_robot_peer.hpp"

#include <gtest/gtest.h>

#include "srci_plc/byte_order.hpp"
#include "srci_plc/plc_telegram.hpp"

namespace {

void put_be16(std::vector<uint8_t>& v, size_t off, uint16_t x) { srci_plc::put_u16be(&v[off], x); }

}  // namespace

void FakeRobotPeer::respond(uint16_t cmd_id, uint8_t state, uint8_t par_seq, std::vector<uint8_t> body, int8_t severity,
                            uint16_t code) {
    std::vector<uint8_t> f(8 + 4, 0);
    put_be16(f, 0, cmd_id);
    f[3] = 0x05;  // Complete + Clear
    put_be16(f, 6, static_cast<uint16_t>(4 + body.size()));
    f[8] = static_cast<uint8_t>((par_seq << 4) | state);
    f[9] = static_cast<uint8_t>(severity);
    put_be16(f, 10, code);
    f.insert(f.end(), body.begin(), body.end());
    pending_.push_back(std::move(f));
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

    rx.assign(256, 0);
    lifesign_ = static_cast<uint8_t>(lifesign_ % 15 + 1);
    rx[0] = 0x25;
    rx[1] = static_cast<uint8_t>(lifesign_ << 4);
    rx[3] = telegram_state;
    for (int i = 0; i < 4; ++i) rx[4 + static_cast<size_t>(i)] = static_cast<uint8_t>(status >> (8 * i));
    put_be16(rx, 8, 10000);
    const size_t ack_off = 10 + ((t.tn_rob_to_plc & 0x2) ? 40 : 0) + ((t.tn_rob_to_plc & 0x4) ? 30 : 0);
    if (last_sent_ack_ != last_seq_) {
        last_sent_ack_ = last_seq_;
        sequence_area_.clear();
        const size_t room = 255 - (ack_off + 4);
        while (!pending_.empty() && sequence_area_.size() + pending_.front().size() <= room) {
            sequence_area_.insert(sequence_area_.end(), pending_.front().begin(), pending_.front().end());
            pending_.erase(pending_.begin());
        }
    }
    put_be16(rx, ack_off, last_seq_);
    put_be16(rx, ack_off + 2, static_cast<uint16_t>(sequence_area_.size()));
    std::copy(sequence_area_.begin(), sequence_area_.end(), rx.begin() + static_cast<long>(ack_off + 4));
    rx[255] = rx[1];
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
            put_be16(body, 2, length_acr);
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
