// SPDX-License-Identifier: Apache-2.0
// pnio-sim as the robot adapter and a PLC client see it.
#include <memory>

#include "ipc_helpers.hpp"

using namespace pnio_sim;

namespace {

// A running gateway with the adapter attached.
class Gateway : public PnioSimTest {
protected:
    void SetUp() override {
        PnioSimTest::SetUp();
        sim = std::make_unique<PnioSim>();
        ASSERT_TRUE(sim->started()) << sim->output();
        adapter = std::make_unique<AdapterView>();
        ASSERT_TRUE(adapter->ok());
    }

    std::unique_ptr<PnioSim> sim;
    std::unique_ptr<AdapterView> adapter;
    const std::vector<uint8_t> zeros = std::vector<uint8_t>(kTelegramSize, 0);
};

}  // namespace

TEST_F(Gateway, BridgesTelegramsBothWaysThroughTheProcessImage) {
    EXPECT_EQ(adapter->attachments_seen_before_attach(), 2);
    PNDevShm idle = adapter->snapshot();
    EXPECT_EQ(idle.control.enable, 1);
    EXPECT_EQ(idle.control.srci_active, 0);
    EXPECT_EQ(int32_t{idle.state.state}, kStateNoPlc);
    EXPECT_STREQ(idle.state.adapter_name, "pnio-sim");
    EXPECT_EQ(adapter->plc_output(), zeros);

    auto plc = connect_plc(sim->port());
    EXPECT_EQ(receive_error(plc), "no complete answer within 1000 ms");  // never sends unasked

    EXPECT_EQ(round_trip(plc, pattern(1)), zeros);
    EXPECT_EQ(adapter->plc_output(), pattern(1));
    const PNDevShm busy = adapter->snapshot();
    EXPECT_EQ(busy.control.srci_active, 1);
    EXPECT_EQ(int32_t{busy.state.state}, kStatePlcConnected);

    adapter->write_robot_input(pattern(50));
    EXPECT_EQ(round_trip(plc, pattern(2)), pattern(50));
    EXPECT_EQ(adapter->plc_output(), pattern(2));

    // While the adapter holds the semaphore the gateway must not touch the image.
    adapter->hold_semaphore();
    plc.send(pattern(3));
    EXPECT_EQ(receive_error(plc), "no complete answer within 1000 ms");
    adapter->release_semaphore();
    std::vector<uint8_t> held_back(kTelegramSize);
    plc.receive(held_back);
    EXPECT_EQ(held_back, pattern(50));
    EXPECT_EQ(adapter->plc_output(), pattern(3));

    // A telegram split over several writes is still one telegram.
    const std::vector<uint8_t> t = pattern(4);
    plc.send(std::vector<uint8_t>(t.begin(), t.begin() + 100));
    EXPECT_EQ(round_trip(plc, std::vector<uint8_t>(t.begin() + 100, t.end())), pattern(50));
    EXPECT_EQ(adapter->plc_output(), t);
}

TEST_F(Gateway, PartialTelegramDropsTheClientWithoutDisturbingTheImage) {
    adapter->write_robot_input(pattern(60));
    auto plc = connect_plc(sim->port());
    EXPECT_EQ(round_trip(plc, pattern(5)), pattern(60));

    const std::vector<uint8_t> whole = pattern(6);
    plc.send(std::vector<uint8_t>(whole.begin(), whole.begin() + 100));
    EXPECT_EQ(receive_error(plc), "connection closed by the gateway");

    // The half telegram never reached the robot; without a PLC the output is zero.
    EXPECT_EQ(adapter->plc_output(), zeros);
    EXPECT_EQ(adapter->robot_input(), pattern(60));
    EXPECT_EQ(int32_t{adapter->snapshot().state.state}, kStateNoPlc);
    EXPECT_NE(sim->output().find("partial telegram"), std::string::npos) << sim->output();

    auto again = connect_plc(sim->port());
    EXPECT_EQ(round_trip(again, pattern(7)), pattern(60));
}

TEST_F(Gateway, NewClientReplacesTheOldOne) {
    auto first = connect_plc(sim->port());
    EXPECT_EQ(round_trip(first, pattern(8)), zeros);
    auto second = connect_plc(sim->port());
    EXPECT_EQ(round_trip(second, pattern(9)), zeros);
    EXPECT_EQ(adapter->plc_output(), pattern(9));
    EXPECT_EQ(receive_error(first), "connection closed by the gateway");
}
