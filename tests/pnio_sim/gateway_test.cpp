// SPDX-License-Identifier: Apache-2.0
// pnio-sim as the robot adapter and a PLC client see it.
#include <unistd.h>

#include "pnio_sim_fixture.hpp"
#include "pnio_sim_process.hpp"

using namespace pnio_sim;

TEST_F(PnioSimTest, BridgesTelegramsBothWaysThroughTheProcessImage) {
    PnioSimProcess sim;
    ASSERT_TRUE(sim.started()) << sim.error_output();
    AdapterView adapter;
    ASSERT_TRUE(adapter.ok());
    EXPECT_EQ(adapter.attachments_seen_before_attach(), 2);

    PNDevShm idle = adapter.snapshot();
    EXPECT_EQ(idle.control.enable, 1);
    EXPECT_EQ(idle.control.srci_active, 0);
    EXPECT_EQ(int32_t{idle.state.state}, kStateNoPlc);
    EXPECT_STREQ(idle.state.adapter_name, "pnio-sim");
    EXPECT_EQ(adapter.plc_output(), std::vector<uint8_t>(kTelegramSize, 0));

    const int plc = tcp_connect(sim.port());
    ASSERT_GE(plc, 0);
    EXPECT_TRUE(stays_silent(plc, 300));  // never sends unasked

    std::vector<uint8_t> answer;
    ASSERT_TRUE(send_bytes(plc, pattern(1)));
    ASSERT_TRUE(recv_exact(plc, answer, kTelegramSize, 5000));
    EXPECT_EQ(answer, std::vector<uint8_t>(kTelegramSize, 0));
    EXPECT_EQ(adapter.plc_output(), pattern(1));
    const PNDevShm busy = adapter.snapshot();
    EXPECT_EQ(busy.control.srci_active, 1);
    EXPECT_EQ(int32_t{busy.state.state}, kStatePlcConnected);

    adapter.write_robot_input(pattern(50));
    ASSERT_TRUE(send_bytes(plc, pattern(2)));
    ASSERT_TRUE(recv_exact(plc, answer, kTelegramSize, 5000));
    EXPECT_EQ(answer, pattern(50));
    EXPECT_EQ(adapter.plc_output(), pattern(2));

    // While the adapter holds the semaphore the gateway must not touch the image.
    adapter.hold_semaphore();
    ASSERT_TRUE(send_bytes(plc, pattern(3)));
    EXPECT_TRUE(stays_silent(plc, 300));
    adapter.release_semaphore();
    ASSERT_TRUE(recv_exact(plc, answer, kTelegramSize, 5000));
    EXPECT_EQ(adapter.plc_output(), pattern(3));

    // A telegram split over several writes is still one telegram.
    std::vector<uint8_t> t = pattern(4);
    ASSERT_TRUE(send_bytes(plc, std::vector<uint8_t>(t.begin(), t.begin() + 100)));
    ASSERT_TRUE(send_bytes(plc, std::vector<uint8_t>(t.begin() + 100, t.end())));
    ASSERT_TRUE(recv_exact(plc, answer, kTelegramSize, 5000));
    EXPECT_EQ(adapter.plc_output(), t);
    close(plc);
}

TEST_F(PnioSimTest, PartialTelegramDropsTheClientWithoutDisturbingTheImage) {
    PnioSimProcess sim;
    ASSERT_TRUE(sim.started()) << sim.error_output();
    AdapterView adapter;
    ASSERT_TRUE(adapter.ok());
    adapter.write_robot_input(pattern(60));

    const int plc = tcp_connect(sim.port());
    ASSERT_GE(plc, 0);
    std::vector<uint8_t> answer;
    ASSERT_TRUE(send_bytes(plc, pattern(5)));
    ASSERT_TRUE(recv_exact(plc, answer, kTelegramSize, 5000));

    const std::vector<uint8_t> whole = pattern(6);
    const std::vector<uint8_t> part(whole.begin(), whole.begin() + 100);
    ASSERT_TRUE(send_bytes(plc, part));
    EXPECT_TRUE(closed_by_peer(plc, 5000));
    close(plc);

    // The half telegram never reached the robot; without a PLC the output is zero.
    EXPECT_EQ(adapter.plc_output(), std::vector<uint8_t>(kTelegramSize, 0));
    EXPECT_EQ(adapter.robot_input(), pattern(60));
    EXPECT_EQ(int32_t{adapter.snapshot().state.state}, kStateNoPlc);
    EXPECT_NE(sim.error_output().find("partial telegram"), std::string::npos) << sim.error_output();

    const int again = tcp_connect(sim.port());
    ASSERT_TRUE(send_bytes(again, pattern(7)));
    ASSERT_TRUE(recv_exact(again, answer, kTelegramSize, 5000));
    EXPECT_EQ(answer, pattern(60));
    close(again);
}

TEST_F(PnioSimTest, NewClientReplacesTheOldOne) {
    PnioSimProcess sim;
    ASSERT_TRUE(sim.started()) << sim.error_output();
    AdapterView adapter;
    ASSERT_TRUE(adapter.ok());
    std::vector<uint8_t> answer;

    const int first = tcp_connect(sim.port());
    ASSERT_TRUE(send_bytes(first, pattern(8)));
    ASSERT_TRUE(recv_exact(first, answer, kTelegramSize, 5000));

    const int second = tcp_connect(sim.port());
    ASSERT_TRUE(send_bytes(second, pattern(9)));
    ASSERT_TRUE(recv_exact(second, answer, kTelegramSize, 5000));
    EXPECT_EQ(adapter.plc_output(), pattern(9));
    EXPECT_TRUE(closed_by_peer(first, 5000));
    close(first);
    close(second);
}
