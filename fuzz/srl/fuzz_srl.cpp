// SPDX-License-Identifier: Apache-2.0
// Input: one mode byte, then records of one adapter-action byte and up to 256 telegram bytes.
// Mode bit 0 performs a valid handshake first and repairs each telegram's lengths and footer,
// so that fuzzed content reaches the command layer instead of being ignored as torn.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string>

#include "srl/srl_api.h"
#include "srl/srl_config.h"

namespace {

uint64_t g_ms = 0;
uint64_t fuzz_clock() { return g_ms; }
uint8_t g_mode = 0;
int g_last_id = 0;
unsigned g_calls = 0;

void handler(unsigned char* in, unsigned char* out, int* err) {
    ++g_calls;
    if (in[255] != 0) g_last_id = in[255];
    out[4] = static_cast<uint8_t>(g_calls);
    if ((g_mode & 0x04) && g_calls % 3 == 0) *err = static_cast<int>(0x8D00 + g_calls % 0x40);
    if ((g_mode & 0x08) && g_calls % 5 == 0) *err = 0x1FFFF;
    if ((g_mode & 0x10) && g_calls % 7 == 0) throw std::runtime_error("fuzz");
}

void enable_param(bool, LRob_typeServerCmdEnableRobot*, LRob_typeSystemState* s, unsigned short,
                  unsigned short* result) {
    *result = (g_mode & 0x20) ? 35841 : 255;
    s->cmdMemory.enableRobot.lastStepMode = 0;
}

LRob_typePersistentData g_persistent{};
LRob_typeServerAxesGroupParameter g_axes{};

void setup() {
    srl_config_reset();
    g_ms = 0;
    g_last_id = 0;
    g_calls = 0;
    srl_config_set_clock(fuzz_clock);
    srl_config cfg;
    cfg.always_tool_frame = (g_mode & 0x02) != 0;
    cfg.drop_grace_cycles = 3;
    cfg.message_ack_timeout_ms = 100;
    cfg.stop_timeout_ms = 200;
    srl_config_set(cfg);
    g_axes.RC.LengthACR = static_cast<uint16_t>((g_mode & 0x40) ? 5 : 50);
    g_persistent.generalConfiguration.LifeSignTimeOut = 100;
    srl_set_init_parameter(&g_persistent, &g_axes);
    void* h = reinterpret_cast<void*>(handler);
    for (auto reg : {srl_set_robot_enable_funs,
                     srl_set_read_tool_data_funs,
                     srl_set_write_tool_data_funs,
                     srl_set_read_frame_data_funs,
                     srl_set_write_frame_data_funs,
                     srl_set_write_load_data_funs,
                     srl_set_read_load_data_funs,
                     srl_set_write_robot_reference_dynamic_funs,
                     srl_set_read_robot_reference_dynamic_funs,
                     srl_set_write_robot_defualt_dynamic_funs,
                     srl_set_read_robot_defualt_dynamics_funs,
                     srl_set_write_robot_software_limit_funs,
                     srl_set_read_robot_software_limit_funs,
                     srl_set_read_actual_position_funs,
                     srl_set_move_axes_absolute_funs,
                     srl_set_group_reset_funs,
                     srl_set_robot_read_data_funs,
                     srl_set_move_linear_absolute_funs,
                     srl_set_move_direct_absolute_funs,
                     srl_set_set_operate_mode_funs,
                     srl_set_change_speed_override_funs,
                     srl_set_group_continue_funs,
                     srl_set_group_pause_funs,
                     srl_set_group_stop_funs,
                     srl_set_read_digital_input,
                     srl_set_read_digital_output,
                     srl_set_write_digital_output,
                     srl_set_exchange_configuration_funs,
                     srl_set_move_linear_relative_funs,
                     srl_set_move_linear_relative_tools_funs,
                     srl_set_move_joint_relative_funs,
                     srl_set_robot_disable_funs,
                     srl_set_read_workarea_funs,
                     srl_set_write_workarea_funs,
                     srl_set_read_actual_position_cyclic_funs,
                     srl_set_set_sequence_funs,
                     srl_set_forward_kinematics_funs,
                     srl_set_inverse_kinematics_funs,
                     srl_set_clear_cmd_in_rc_buffer_funs}) {
        reg(h);
    }
    srl_set_enable_robot_param_funs(reinterpret_cast<void*>(enable_param));
}

struct Handshake {
    uint8_t tel[256] = {};
    uint8_t life = 0;
    uint16_t seq = 0;
    uint16_t cp() const { return (g_mode & 0x02) ? 20 : 18; }
    void send(uint8_t control, uint16_t id, const uint8_t* p, uint16_t len) {
        uint8_t out[256];
        std::memset(tel, 0, sizeof tel);
        life = static_cast<uint8_t>(life % 15 + 1);
        seq = static_cast<uint16_t>(seq % 254 + 1);
        tel[0] = 0x23;
        tel[1] = life;
        tel[2] = 1;
        tel[4] = 1;
        tel[6] = control;
        const uint16_t c = cp();
        tel[c] = static_cast<uint8_t>(seq >> 8);
        tel[c + 1] = static_cast<uint8_t>(seq);
        if (p != nullptr) {
            tel[c + 3] = static_cast<uint8_t>(8 + len);
            tel[c + 5] = static_cast<uint8_t>(id);
            tel[c + 7] = 0x03;
            tel[c + 11] = static_cast<uint8_t>(len);
            std::memcpy(tel + c + 12, p, len);
        }
        tel[255] = life;
        srl_interpreter(tel, out);
        g_ms += 4;
    }
};

void adapter_action(uint8_t a) {
    switch (a & 0x0F) {
        case 0:
            break;
        case 1:
            srl_set_robot_motion_state_1(g_last_id, (a >> 4) % 7 - 1, 0x6C03, 0);
            break;
        case 2:
            srl_set_ra_state((a & 0x10) ? 209 : 217);
            break;
        case 3: {
            uint8_t block[6];
            srl_get_cyclic_parameter(block);
            block[0] = static_cast<uint8_t>((block[0] & ~1u) | ((a >> 4) & 1u));
            srl_set_cyclic_parameter(block);
            break;
        }
        case 4: {
            int8_t id = static_cast<int8_t>(a);
            srl_report_error_warning(id, (a & 0x10) != 0, static_cast<uint16_t>(0x8C00 | a),
                                     static_cast<int8_t>((a >> 3) & 0x1F), "fuzz");
            break;
        }
        case 5:
            srl_set_jog_distance_togo(a >> 7);
            break;
        case 6:
            srl_rl_server_state((a & 0x10) ? 113 : 115);
            break;
        case 7:
            srl_set_stop_completed();
            srl_set_interrupt_completed();
            break;
        case 8:
            srl_set_sync_item_parameters((a >> 4) & 3, a >> 6, nullptr);
            break;
        case 9: {
            uint8_t pos[104] = {};
            pos[102] = a;
            srl_set_current_pos(pos, static_cast<float>(a) / 100.0f);
            break;
        }
        case 10: {
            LRob_typeSystemState s;
            srl_get_system_state(&s);
            break;
        }
        case 11: {
            char line[256];
            srl_get_log(line);
            break;
        }
        default:
            g_ms += static_cast<uint64_t>(a >> 4) * 50;
            break;  // time passes
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 1) return 0;
    g_mode = data[0];
    setup();
    ++data;
    --size;
    if (g_mode & 0x01) {
        Handshake h;
        h.send(1, 0, nullptr, 0);
        const uint8_t rm[] = {0x23, 0x29, 0x02, 0x13, 0x00, 0x01, 0x00};
        h.send(0, 1, rm, sizeof rm);
        const uint8_t ec[] = {0x23, 0x28, 0x02, 0x13, 0x00, 0x02, 0, 0, 0, 0, 0, 100};
        h.send(0, 2, ec, sizeof ec);
    }
    uint8_t tel[256];
    uint8_t out[256];
    while (size > 0) {
        adapter_action(data[0]);
        ++data;
        --size;
        const size_t n = size < 256 ? size : 256;
        std::memset(tel, 0, sizeof tel);
        std::memcpy(tel, data, n);
        data += n;
        size -= n;
        if (g_mode & 0x01) {  // keep the header plausible
            tel[0] = 0x23;
            tel[2] = 1;
            tel[3] = 0;
            tel[4] = 1;
            tel[5] = 0;
            tel[255] = tel[1] & 0x0F;
        }
        srl_interpreter(tel, out);
        g_ms += 4;
    }
    return 0;
}
