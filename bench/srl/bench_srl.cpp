// SPDX-License-Identifier: Apache-2.0
// Cost of one srl_interpreter call on a running connection: an idle telegram, and a telegram
// that carries a new MoveAxesAbsolute (with the adapter's Done report for the previous one).
#include <benchmark/benchmark.h>

#include <array>
#include <cstdint>
#include <cstring>

#include "srl/srl_api.h"
#include "srl/srl_config.h"

namespace {

using Tel = std::array<uint8_t, 256>;

int g_last_move = 0;
void accept(unsigned char*, unsigned char*, int* err) { *err = 0; }
void move(unsigned char* in, unsigned char*, int* err) {
    g_last_move = in[255];
    *err = 0;
}

struct Client {
    Tel tel{};
    uint8_t life = 0;
    uint16_t seq = 0;

    Client(uint16_t r2p_words) {
        tel[0] = 0x23;
        tel[2] = 1;  // 256 / 256
        tel[4] = 1;
        tel[10] = static_cast<uint8_t>(r2p_words >> 8);
        tel[11] = static_cast<uint8_t>(r2p_words);
    }
    // Next telegram: new lifesign, new SEQ, `payload` as one Reset+Complete fragment.
    void next(uint16_t cmd_id = 0, const uint8_t* payload = nullptr, uint16_t len = 0) {
        life = static_cast<uint8_t>(life % 15 + 1);
        seq = static_cast<uint16_t>(seq % 254 + 1);
        tel[1] = life;
        tel[255] = life;
        tel[20] = static_cast<uint8_t>(seq >> 8);
        tel[21] = static_cast<uint8_t>(seq);
        const uint16_t total = payload ? static_cast<uint16_t>(8 + len) : 0;
        tel[22] = static_cast<uint8_t>(total >> 8);
        tel[23] = static_cast<uint8_t>(total);
        if (payload != nullptr) {
            uint8_t* f = &tel[24];
            std::memset(f, 0, 8);
            f[0] = static_cast<uint8_t>(cmd_id >> 8);
            f[1] = static_cast<uint8_t>(cmd_id);
            f[3] = 0x03;
            f[6] = static_cast<uint8_t>(len >> 8);
            f[7] = static_cast<uint8_t>(len);
            std::memcpy(f + 8, payload, len);
        }
    }
    void exchange(Tel& out) { srl_interpreter(tel.data(), out.data()); }
};

uint64_t g_ms = 0;
uint64_t bench_clock() { return g_ms; }

void connect(Client& c, Tel& out) {
    srl_config_reset();
    srl_config_set_clock(bench_clock);
    srl_config cfg;
    cfg.always_tool_frame = true;
    srl_config_set(cfg);
    srl_set_exchange_configuration_funs(reinterpret_cast<void*>(accept));
    srl_set_read_actual_position_cyclic_funs(reinterpret_cast<void*>(accept));
    srl_set_move_axes_absolute_funs(reinterpret_cast<void*>(move));
    c.tel[6] = 1;  // INITIALIZE
    c.next();
    c.exchange(out);
    c.tel[6] = 0;
    const uint8_t read_messages[] = {0x23, 0x29, 0x02, 0x13, 0x00, 0x01, 0x14};
    c.next(1, read_messages, sizeof read_messages);
    c.exchange(out);
    const uint8_t exchange_cfg[] = {0x23, 0x28, 0x02, 0x13, 20, 0x02, 0, 0, 0, 0, 0xFF, 0xFF};
    c.next(2, exchange_cfg, sizeof exchange_cfg);
    c.exchange(out);
}

void BM_IdleTelegram(benchmark::State& state) {
    Client c(static_cast<uint16_t>(state.range(0)));
    Tel out{};
    connect(c, out);
    for (auto _ : state) {
        c.next();
        g_ms += 4;
        c.exchange(out);
        benchmark::DoNotOptimize(out.data());
    }
    if (out[3] != 255) state.SkipWithError("connection not running");
}
BENCHMARK(BM_IdleTelegram)->Arg(0)->Arg(6);  // without / with Cartesian + joint blocks

void BM_NewMoveCommand(benchmark::State& state) {
    Client c(static_cast<uint16_t>(state.range(0)));
    Tel out{};
    connect(c, out);
    uint8_t move_payload[80] = {0x08, 0x35, 0x00, 0x13};
    move_payload[28] = 0x41;  // J1 10.0
    move_payload[29] = 0x20;
    uint16_t id = 3;
    for (auto _ : state) {
        c.next(id, move_payload, sizeof move_payload);
        g_ms += 4;
        c.exchange(out);
        srl_set_robot_motion_state_1(g_last_move, 1, 0, 0);  // done before the next one
        id = static_cast<uint16_t>(id % 40 + 3);
        benchmark::DoNotOptimize(out.data());
    }
    if (out[3] != 255) state.SkipWithError("connection not running");
}
BENCHMARK(BM_NewMoveCommand)->Arg(0)->Arg(6);

}  // namespace

BENCHMARK_MAIN();
