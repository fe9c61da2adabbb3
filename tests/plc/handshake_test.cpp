// SPDX-License-Identifier: Apache-2.0
// Session logic of the client against a scripted robot peer: start-up,
// SEQ/ACK stop-and-wait, the command register, messages and FastStop.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <memory>

#include "fake_robot_peer.hpp"
#include "plc_test.hpp"
#include "srci_plc/client.hpp"

using namespace srci_plc;

namespace {

ClientOptions fast_options() {
    ClientOptions o;
    o.cycle_ms = 0;  // no pacing: the peer answers in-process
    o.lifesign_timeout_ms = 250;
    return o;
}

// Peer that finishes start-up and routes everything else to `rest`.
void script(FakeRobotPeer& peer, FakeRobotPeer::Handler rest = {}, uint16_t length_acr = 50) {
    peer.on_command = [rest, length_acr](FakeRobotPeer& p, const ReceivedCommand& c) {
        if (c.cmd_type() >= 9000) answer_startup(p, c, length_acr);
        else if (rest) rest(p, c);
    };
}

// A client through the start-up with `peer` scripted as above.
std::unique_ptr<Client> connected(FakeRobotPeer& peer, FakeRobotPeer::Handler rest = {},
                                  ClientOptions o = fast_options()) {
    script(peer, std::move(rest));
    auto client = std::make_unique<Client>(peer, o);
    client->connect();
    return client;
}

const ReceivedCommand* find_received(const FakeRobotPeer& peer, uint16_t type, size_t nth = 0) {
    for (const auto& c : peer.received)
        if (c.cmd_type() == type && nth-- == 0) return &c;
    return nullptr;
}

}  // namespace

TEST(ClientHandshake, ResetsAnOldSessionThenInitializesAndStartsTheMandatoryCommands) {
    FakeRobotPeer peer;
    peer.telegram_state = 255;  // a previous client left the robot initialized
    script(peer, {}, 5);
    Client client(peer, fast_options());
    client.connect();

    // Control: RESET while 255, INITIALIZE while 254, then NONE.
    // The very first telegram goes out before any robot state is known.
    std::vector<uint8_t> changes;
    for (uint8_t c : std::vector<uint8_t>(peer.controls.begin() + 1, peer.controls.end()))
        if (changes.empty() || changes.back() != c) changes.push_back(c);
    ASSERT_GE(changes.size(), 3u);
    EXPECT_EQ((std::vector<uint8_t>(changes.begin(), changes.begin() + 3)), (std::vector<uint8_t>{3, 1, 0}));

    ASSERT_EQ(peer.received.size(), 3u);
    EXPECT_EQ(peer.received[0].payload, (std::vector<uint8_t>{0x23, 0x29, 0x02, 0x13, 0x00, 0x01, 0x14}));
    EXPECT_EQ(peer.received[0].cmd_id, 1);
    EXPECT_EQ(peer.received[0].first_action, 0x03);
    const ReceivedCommand& cfg = peer.received[1];
    EXPECT_EQ(cfg.cmd_type(), 9000);
    EXPECT_EQ(cfg.cmd_id, 2);
    ASSERT_GE(cfg.payload.size(), 12u);
    EXPECT_EQ(cfg.payload[5] & 0x02, 0x02);                    // Enable
    EXPECT_EQ((cfg.payload[10] << 8) | cfg.payload[11], 250);  // LifeSignTimeOut
    EXPECT_EQ(peer.received[2].cmd_type(), 9002);
    EXPECT_EQ(peer.received[2].cmd_id, 3);

    EXPECT_TRUE(client.initialized());
    EXPECT_EQ(client.acr().size(), 5u);  // limited by the robot's LengthACR
    ASSERT_EQ(client.supported_functions().size(), 19u);
    EXPECT_EQ(client.supported_functions()[0], 0xFE);
    EXPECT_TRUE(client.supports(*find_command("enable")));      // byte 0 bit 2
    EXPECT_FALSE(client.supports(*find_command("move-axes")));  // byte 3 bit 0 not announced
    // Every telegram's version byte announces 1.5 and the lifesign never returns to 0.
    for (const auto& t : peer.sent_by_client) {
        EXPECT_EQ(t[0], 0x25);
        EXPECT_NE(t[1] & 0x0F, 0);
        EXPECT_EQ(t[255], t[1] & 0x0F);
    }
}

TEST(ClientHandshake, FailsClearlyWhenTheRobotDoesNotCooperate) {
    FakeRobotPeer silent;
    silent.telegram_state = 0;
    ClientOptions o = fast_options();
    o.step_timeout_ms = 100;
    Client a(silent, o);
    EXPECT_NE(error_of<ClientError>([&] { a.connect(); }).find("UNDEFINED"), std::string::npos);

    FakeRobotPeer refusing;
    refusing.on_command = [](FakeRobotPeer& p, const ReceivedCommand& c) {
        p.respond(c.cmd_id, 15, c.par_seq(), {}, 28, 0x8F11);
    };
    Client b(refusing, o);
    EXPECT_NE(error_of<ClientError>([&] { b.connect(); }).find("8F11"), std::string::npos);
}

TEST(ClientSequence, StopAndWaitRepeatsContentUntilAcknowledgedAndWrapsAt254) {
    FakeRobotPeer peer;
    auto client = connected(peer);
    peer.acknowledging = false;
    client->submit(*find_command("reset"), {});
    for (int i = 0; i < 10; ++i) client->cycle();
    const size_t n = peer.sent_by_client.size();
    const auto& last = peer.sent_by_client[n - 1];
    // The ten telegrams after the one carrying the command repeat SEQ and fragments.
    for (size_t i = n - 9; i < n; ++i) {
        EXPECT_EQ(peer.seqs[i], peer.seqs[n - 1]);
        EXPECT_TRUE(std::equal(last.begin() + 20, last.end() - 1, peer.sent_by_client[i].begin() + 20));
    }
    peer.acknowledging = true;
    for (int i = 0; i < 300; ++i) client->cycle();
    ASSERT_EQ(peer.received.back().cmd_type(), 1001);
    EXPECT_EQ(std::count_if(peer.received.begin(), peer.received.end(),
                            [](const ReceivedCommand& c) { return c.cmd_type() == 1001; }),
              1);  // processed once although sent eleven times

    bool wrapped = false;
    for (size_t i = 1; i < peer.seqs.size(); ++i) {
        EXPECT_NE(peer.seqs[i], 255);
        const uint16_t a = peer.seqs[i - 1], b = peer.seqs[i];
        EXPECT_TRUE(b == a || b == (a == 254 ? 0 : a + 1)) << a << " -> " << b;
        wrapped = wrapped || (a == 254 && b == 0);
    }
    EXPECT_TRUE(wrapped);
}

// A PLC program reads the answer, decides, and its new command leaves with the next telegram,
// not one stop-and-wait round later.
TEST(ClientSequence, CommandSubmittedBetweenCyclesLeavesWithTheNextTelegram) {
    FakeRobotPeer peer;
    auto client = connected(peer);
    for (int i = 0; i < 5; ++i) client->cycle();
    const size_t before = peer.received.size();
    client->submit(*find_command("reset"), {});
    client->cycle();
    ASSERT_EQ(peer.received.size(), before + 1);
    EXPECT_EQ(peer.received.back().cmd_type(), 1001);
}

TEST(ClientCommands, LowestFreeSlotsAnswersOnlyOnNewAckAndErrorCodes) {
    FakeRobotPeer peer;
    std::vector<ReceivedCommand> moves;
    auto client = connected(peer, [&](FakeRobotPeer& p, const ReceivedCommand& c) {
        if (c.cmd_type() == 2101) {
            moves.push_back(c);
            p.respond(c.cmd_id, 2, c.par_seq(), std::vector<uint8_t>(6, 0));  // Buffered
        } else if (c.cmd_type() == 5100) {
            p.respond(c.cmd_id, 15, c.par_seq(), {}, 28, 0x8F11);
        }
    });

    const CommandDef& move = *find_command("move-axes");
    const uint16_t a = client->submit(move, {{"j1", 1}});
    const uint16_t b = client->submit(move, {{"j1", 2}});
    EXPECT_EQ(a, 4);  // 1..3 belong to the start-up commands
    EXPECT_EQ(b, 5);
    const CommandResult ra = client->wait(a, WaitFor::Answer, 5000);
    EXPECT_EQ(ra.header.state, cmd_state::kBuffered);

    // The robot keeps repeating the Buffered answers under an unchanged ACK:
    // they must count once.
    peer.acknowledging = false;
    for (int i = 0; i < 20; ++i) client->cycle();
    ASSERT_NE(client->acr().find(a), nullptr);
    EXPECT_EQ(client->acr().find(a)->responses, 1u);
    peer.acknowledging = true;

    std::vector<uint8_t> done(6, 0);
    done[4] = 0x27;
    done[5] = 0x10;
    peer.respond(a, 10, 1, done);
    const CommandResult fin = client->wait(a, WaitFor::Final, 5000);
    EXPECT_TRUE(fin.ok());
    EXPECT_EQ(fin.header.state, cmd_state::kDone);
    client->cycle();                                  // slots free one cycle after their final answer
    EXPECT_EQ(client->submit(move, {{"j1", 3}}), 3);  // ReadRobotData's slot, now free

    const CommandResult err = client->execute(*find_command("read-position"), {}, WaitFor::Final, 5000);
    EXPECT_FALSE(err.ok());
    EXPECT_EQ(err.header.code, 0x8F11);
    EXPECT_EQ(err.cmd_id, a);
    ASSERT_EQ(moves.size(), 3u);
    EXPECT_EQ(moves[0].first_action, 0x03);
}

TEST(ClientMessages, AcknowledgesEachMessageWithAParameterUpdate) {
    FakeRobotPeer peer;
    std::vector<RobotMessage> seen;
    ClientOptions o = fast_options();
    o.on_message = [&](const RobotMessage& m) { seen.push_back(m); };
    auto client = connected(peer, {}, o);

    std::vector<uint8_t> body(40, 0);
    body[0] = 7;     // MsgID
    body[1] = 0x01;  // Enabled
    body[10] = 3;    // MsgType RA
    body[11] = 28;   // severity error
    body[14] = 0x8C;
    body[15] = 0x04;
    const char text[] = "drive fault";
    std::copy(text, text + 11, body.begin() + 16);
    peer.respond(1, 4, 1, body);
    for (int i = 0; i < 20; ++i) client->cycle();

    ASSERT_EQ(seen.size(), 1u);
    EXPECT_EQ(seen[0].msg_id, 7);
    EXPECT_EQ(seen[0].error_code, 0x8C04u);
    EXPECT_EQ(seen[0].text, "drive fault");
    const ReceivedCommand* ack = find_received(peer, 9001, 1);
    ASSERT_NE(ack, nullptr);
    EXPECT_EQ(ack->cmd_id, 1);
    EXPECT_EQ(ack->first_action, 0x05);  // Clear + Complete
    EXPECT_EQ(ack->payload, (std::vector<uint8_t>{0x23, 0x29, 0x02, 0x23, 0x07, 0x01, 0x14}));
    EXPECT_EQ(find_received(peer, 9001, 2), nullptr);  // acknowledged once
}

TEST(ClientFastStop, CountsStopsAndInterruptsAndClearsOnGroupResetDone) {
    FakeRobotPeer peer;
    auto client =
        connected(peer, [](FakeRobotPeer& p, const ReceivedCommand& c) { p.respond(c.cmd_id, 10, c.par_seq(), {0}); });
    const auto fast_stop = [&] { return peer.sent_by_client.back()[1] >> 4; };

    EXPECT_EQ(fast_stop(), 0);
    EXPECT_TRUE(client->execute(*find_command("stop"), {}, WaitFor::Final, 5000).ok());
    EXPECT_EQ(fast_stop(), 1);
    EXPECT_TRUE(client->execute(*find_command("pause"), {}, WaitFor::Final, 5000).ok());
    EXPECT_EQ(fast_stop(), 2);
    EXPECT_TRUE(client->execute(*find_command("continue"), {}, WaitFor::Final, 5000).ok());
    EXPECT_EQ(fast_stop(), 2);
    EXPECT_TRUE(client->execute(*find_command("reset"), {}, WaitFor::Final, 5000).ok());
    client->cycle();
    EXPECT_EQ(fast_stop(), 0);
}

TEST(ClientSession, LosingInitializationEndsWaitsWithAnError) {
    FakeRobotPeer peer;
    auto client = connected(peer);
    const uint16_t id = client->submit(*find_command("move-axes"), {});
    peer.telegram_state = 165;
    EXPECT_THROW(client->wait(id, WaitFor::Final, 5000), ClientError);
    EXPECT_THROW(client->submit(*find_command("reset"), {}), ClientError);
}

TEST(ClientCommands, SplitsQueuedPayloadsAcrossTelegramsAndSurvivesTornAnswers) {
    FakeRobotPeer peer;
    auto client =
        connected(peer, [](FakeRobotPeer& p, const ReceivedCommand& c) { p.respond(c.cmd_id, 10, c.par_seq(), {}); });

    // Two 154-byte work-area records cannot share one 231-byte sequence area.
    const CommandDef& write = *find_command("write-workarea");
    const uint16_t a = client->submit(write, {{"area", 1}, {"radius", 10}});
    const uint16_t b = client->submit(write, {{"area", 2}, {"radius", 20}});
    peer.tear_next = 3;  // the first answers arrive torn and must be ignored, not lost
    EXPECT_TRUE(client->wait(a, WaitFor::Final, 5000).ok());
    EXPECT_TRUE(client->wait(b, WaitFor::Final, 5000).ok());

    std::vector<const ReceivedCommand*> writes;
    for (const auto& c : peer.received)
        if (c.cmd_type() == 7503) writes.push_back(&c);
    ASSERT_EQ(writes.size(), 2u);
    for (const auto* w : writes) ASSERT_EQ(w->payload.size(), 154u);
    EXPECT_EQ((writes[0]->payload[4] << 8) | writes[0]->payload[5], 1);  // WorkAreaNo is a UINT when writing
    EXPECT_EQ((writes[1]->payload[4] << 8) | writes[1]->payload[5], 2);
    EXPECT_EQ(writes[1]->first_action, fragment_action::kReset);  // split: Reset first, Complete last
    EXPECT_EQ(writes[1]->payload[53], 0x41);                      // Radius 20.0 = 41 A0 00 00
    EXPECT_EQ(writes[1]->payload[54], 0xA0);
}

namespace {

// Stamps when each half of an exchange happens; the answer is all zeros (no robot yet).
class StampingTransport : public Transport {
public:
    using Clock = std::chrono::steady_clock;
    void exchange(const std::vector<uint8_t>&, std::vector<uint8_t>& rx) override {
        std::fill(rx.begin(), rx.end(), 0);
    }
    void send(const std::vector<uint8_t>&) override { sent.push_back(Clock::now()); }
    void receive(std::vector<uint8_t>& rx) override {
        received.push_back(Clock::now());
        std::fill(rx.begin(), rx.end(), 0);
    }
    std::vector<Clock::time_point> sent, received;
};

}  // namespace

// The sleep to the end of a cycle's period is a lower bound; the in-process answer comes at once, so
// only where the sleep sits decides on which side of the period's end the receive lands.
TEST(ClientPacing, AnAnswerIsReadAfterThePeriodOrAtOnceAndTelegramsKeepThePeriodEitherWay) {
    for (const bool at_once : {false, true}) {
        SCOPED_TRACE(at_once ? "answer at once" : "answer at the next period");
        StampingTransport transport;
        ClientOptions o;
        o.cycle_ms = 60;
        o.answer_at_once = at_once;
        Client client(transport, o);
        for (int k = 0; k < 3; ++k) client.cycle();
        ASSERT_EQ(transport.sent.size(), 3u);
        ASSERT_EQ(transport.received.size(), 3u);
        // The grid starts a moment before the first send: a millisecond covers that.
        const auto period = std::chrono::milliseconds(o.cycle_ms);
        const auto slack = std::chrono::milliseconds(1);
        for (size_t k = 0; k < 3; ++k) {
            const int n = static_cast<int>(k);
            EXPECT_GE(transport.sent[k] - transport.sent[0], period * n - slack) << "cycle " << k;
            EXPECT_EQ(transport.received[k] >= transport.sent[0] + period * (n + 1) - slack, !at_once) << "cycle " << k;
        }
        // The client's stamps bracket the transport's halves of the last exchange.
        EXPECT_LE(client.last_sent_at(), transport.sent.back());
        EXPECT_GE(client.last_answer_at(), transport.received.back());
    }
}
