// SPDX-License-Identifier: Apache-2.0
// The cycle of a running connection allocates nothing on the heap: this binary replaces the
// global operator new and counts calls made while the interpreter runs.
#include <gtest/gtest.h>

#include <atomic>
#include <memory>

#include "counted_new.h"
#include "srl/srl_api.h"
#include "srl/srl_config.h"
#include "srl_harness.h"

namespace {
std::atomic<bool> g_counting{false};
std::atomic<long> g_allocations{0};
}  // namespace

void noteAllocation() {
    if (g_counting.load(std::memory_order_relaxed)) g_allocations.fetch_add(1);
}

namespace srltest {
namespace {

int g_last_move_id = 0;
void accept(unsigned char*, unsigned char*, int* err) { *err = 0; }
void move(unsigned char* in, unsigned char*, int* err) {
    g_last_move_id = in[255];
    *err = 0;
}

// Runs `fn` with allocation counting switched on.
template <typename F>
void counted(F fn) {
    g_counting = true;
    fn();
    g_counting = false;
}

TEST(Allocation, RunningConnectionWithCommandsInFlightAllocatesNothing) {
    counted([] {  // the counter itself works
        static volatile size_t n = 64;
        std::unique_ptr<char[]> p(new char[n]);
        asm volatile("" : : "r"(p.get()) : "memory");
    });
    ASSERT_EQ(g_allocations.exchange(0), 1);
    srl_config_reset();
    srl_config_set_clock(fake_clock);
    srl_config cfg;
    cfg.always_tool_frame = true;
    srl_config_set(cfg);
    for (auto reg :
         {srl_set_exchange_configuration_funs, srl_set_read_tool_data_funs, srl_set_group_stop_funs,
          srl_set_robot_enable_funs, srl_set_read_actual_position_cyclic_funs, srl_set_move_joint_relative_funs}) {
        reg(reinterpret_cast<void*>(accept));
    }
    srl_set_move_axes_absolute_funs(reinterpret_cast<void*>(move));

    Plc plc;
    plc.r2p_words = 0x06;
    plc.connect();
    const std::string text = "short text";  // the adapter's string is built outside the cycle

    // Telegrams are prepared before counting; the harness itself allocates.
    std::vector<Tel> script;
    for (int i = 0; i < 400; ++i) {
        plc.life = static_cast<uint8_t>(plc.life % 15 + 1);
        plc.seq = static_cast<uint16_t>(plc.seq % 254 + 1);
        std::vector<Frag> frags;
        if (i % 10 == 0) frags.push_back(command(3 + (i / 10) % 20, payload(2101, Bytes(76, 0), 0)));
        if (i % 7 == 0) frags.push_back(command(30, payload(5107, {1})));
        if (i == 50) frags.push_back(command(40, payload(1000, {1, 0, 0, 0})));
        if (i == 60) frags.push_back(command(41, payload(2100, Bytes(19, 0), 7)));
        if (i == 300) frags.push_back(command(42, payload(2003)));
        script.push_back(plc.build(frags));
    }
    Tel out{};
    std::string msg = text;
    for (size_t i = 0; i < script.size(); ++i) {
        counted([&] {
            if (i % 10 == 5) srl_set_robot_motion_state_1(g_last_move_id, i % 20 == 5 ? 3 : 1, 0, 0);
            if (i % 50 == 0) {
                int8_t id = -1;
                srl_report_error_warning(id, false, 0x8C03, 28, std::move(msg));
            }
            srl_set_ra_state(i % 100 < 50 ? 209 : 217);
            srl_interpreter(script[i].data(), out.data());
        });
        msg = text;
        g_now_ms += 4;
    }
    EXPECT_EQ(out[3], 255);
    EXPECT_EQ(g_allocations.load(), 0);
}

}  // namespace
}  // namespace srltest
