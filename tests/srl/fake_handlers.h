// SPDX-License-Identifier: Apache-2.0
// Small fake handlers that record what the interpreter hands them.
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include "srl/srl_api.h"
#include "srl/srl_config.h"
#include "srl_harness.h"

namespace srltest {

struct Call {
    std::string name;
    std::array<uint8_t, 256> in;
};

struct Fakes {
    std::vector<Call> calls;
    std::map<std::string, int> err;                      // result code per handler
    std::map<std::string, bool> throws;                  // handler throws
    std::map<std::string, std::vector<uint8_t>> answer;  // host response record per handler
    unsigned short enable_param_result = 255;
    int enable_param_calls = 0;
    bool last_enable_param_new = false;

    int count(const std::string& n) const {
        int c = 0;
        for (const Call& k : calls) c += k.name == n;
        return c;
    }
    const Call* last(const std::string& n) const {
        for (auto it = calls.rbegin(); it != calls.rend(); ++it)
            if (it->name == n) return &*it;
        return nullptr;
    }
};

inline Fakes& fakes() {
    static Fakes f;
    return f;
}

inline void fake_call(const char* name, unsigned char* in, unsigned char* out, int* err) {
    Fakes& f = fakes();
    Call c{name, {}};
    std::memcpy(c.in.data(), in, 256);
    f.calls.push_back(c);
    if (f.throws[name]) throw std::runtime_error("fake handler failure");
    const auto& a = f.answer[name];
    if (!a.empty()) std::memcpy(out, a.data(), a.size());
    *err = f.err[name];
}

// One fake per handler; a list, kept as written.
// clang-format off
#define SRL_FAKE(fn) \
    inline void fn(unsigned char* in, unsigned char* out, int* err) { fake_call(#fn, in, out, err); }
SRL_FAKE(robot_enable) SRL_FAKE(robot_disable) SRL_FAKE(group_reset) SRL_FAKE(group_stop)
SRL_FAKE(group_pause) SRL_FAKE(group_continue) SRL_FAKE(set_sequence) SRL_FAKE(set_opmode)
SRL_FAKE(change_override) SRL_FAKE(move_axes) SRL_FAKE(move_linear) SRL_FAKE(move_direct)
SRL_FAKE(jog_frame) SRL_FAKE(jog_tool) SRL_FAKE(jog_joint) SRL_FAKE(read_position)
SRL_FAKE(read_tool) SRL_FAKE(write_tool) SRL_FAKE(read_frame) SRL_FAKE(write_frame)
SRL_FAKE(read_load) SRL_FAKE(write_load) SRL_FAKE(read_refdyn) SRL_FAKE(write_refdyn)
SRL_FAKE(read_defdyn) SRL_FAKE(write_defdyn) SRL_FAKE(read_swlimit) SRL_FAKE(write_swlimit)
SRL_FAKE(read_di) SRL_FAKE(read_do) SRL_FAKE(write_do) SRL_FAKE(exchange_config)
SRL_FAKE(robot_data) SRL_FAKE(read_workarea) SRL_FAKE(write_workarea) SRL_FAKE(cyclic_position)
SRL_FAKE(forward_kin) SRL_FAKE(inverse_kin) SRL_FAKE(clear_cmd)
#undef SRL_FAKE
    // clang-format on

    inline void enable_param(bool newCmd, LRob_typeServerCmdEnableRobot*, LRob_typeSystemState*, unsigned short,
                             unsigned short* result) {
    Fakes& f = fakes();
    ++f.enable_param_calls;
    f.last_enable_param_new = newCmd;
    *result = newCmd ? f.enable_param_result : 255;
}

inline LRob_typePersistentData& persistent() {
    static LRob_typePersistentData p{};
    return p;
}
inline LRob_typeServerAxesGroupParameter& axes() {
    static LRob_typeServerAxesGroupParameter a{};
    return a;
}

// Fresh interpreter with every fake registered, the adapter's init parameters and a fake clock.
inline void reset_interpreter(bool register_all = true) {
    srl_config_reset();
    fakes() = Fakes{};
    g_now_ms = 1000;
    srl_config_set_clock(fake_clock);
    srl_config cfg;
    cfg.always_tool_frame = true;
    srl_config_set(cfg);
    persistent() = LRob_typePersistentData{};
    persistent().generalConfiguration.LifeSignTimeOut = 1000;
    axes() = LRob_typeServerAxesGroupParameter{};
    axes().RC.LengthACR = 50;
    axes().RC.UbTool = axes().RC.UbFrame = axes().RC.UbLoad = 19;
    srl_set_init_parameter(&persistent(), &axes());
    srl_robot_init_complete_set_operation_mode_to_edk(4);
    if (!register_all) return;
    srl_set_open_callback_funs(1);
    srl_set_robot_enable_funs(reinterpret_cast<void*>(robot_enable));
    srl_set_robot_disable_funs(reinterpret_cast<void*>(robot_disable));
    srl_set_group_reset_funs(reinterpret_cast<void*>(group_reset));
    srl_set_group_stop_funs(reinterpret_cast<void*>(group_stop));
    srl_set_group_pause_funs(reinterpret_cast<void*>(group_pause));
    srl_set_group_continue_funs(reinterpret_cast<void*>(group_continue));
    srl_set_set_sequence_funs(reinterpret_cast<void*>(set_sequence));
    srl_set_set_operate_mode_funs(reinterpret_cast<void*>(set_opmode));
    srl_set_change_speed_override_funs(reinterpret_cast<void*>(change_override));
    srl_set_move_axes_absolute_funs(reinterpret_cast<void*>(move_axes));
    srl_set_move_linear_absolute_funs(reinterpret_cast<void*>(move_linear));
    srl_set_move_direct_absolute_funs(reinterpret_cast<void*>(move_direct));
    srl_set_move_linear_relative_funs(reinterpret_cast<void*>(jog_frame));
    srl_set_move_linear_relative_tools_funs(reinterpret_cast<void*>(jog_tool));
    srl_set_move_joint_relative_funs(reinterpret_cast<void*>(jog_joint));
    srl_set_read_actual_position_funs(reinterpret_cast<void*>(read_position));
    srl_set_read_tool_data_funs(reinterpret_cast<void*>(read_tool));
    srl_set_write_tool_data_funs(reinterpret_cast<void*>(write_tool));
    srl_set_read_frame_data_funs(reinterpret_cast<void*>(read_frame));
    srl_set_write_frame_data_funs(reinterpret_cast<void*>(write_frame));
    srl_set_read_load_data_funs(reinterpret_cast<void*>(read_load));
    srl_set_write_load_data_funs(reinterpret_cast<void*>(write_load));
    srl_set_read_robot_reference_dynamic_funs(reinterpret_cast<void*>(read_refdyn));
    srl_set_write_robot_reference_dynamic_funs(reinterpret_cast<void*>(write_refdyn));
    srl_set_read_robot_defualt_dynamics_funs(reinterpret_cast<void*>(read_defdyn));
    srl_set_write_robot_defualt_dynamic_funs(reinterpret_cast<void*>(write_defdyn));
    srl_set_read_robot_software_limit_funs(reinterpret_cast<void*>(read_swlimit));
    srl_set_write_robot_software_limit_funs(reinterpret_cast<void*>(write_swlimit));
    srl_set_read_digital_input(reinterpret_cast<void*>(read_di));
    srl_set_read_digital_output(reinterpret_cast<void*>(read_do));
    srl_set_write_digital_output(reinterpret_cast<void*>(write_do));
    srl_set_exchange_configuration_funs(reinterpret_cast<void*>(exchange_config));
    srl_set_robot_read_data_funs(reinterpret_cast<void*>(robot_data));
    srl_set_read_workarea_funs(reinterpret_cast<void*>(read_workarea));
    srl_set_write_workarea_funs(reinterpret_cast<void*>(write_workarea));
    srl_set_read_actual_position_cyclic_funs(reinterpret_cast<void*>(cyclic_position));
    srl_set_forward_kinematics_funs(reinterpret_cast<void*>(forward_kin));
    srl_set_inverse_kinematics_funs(reinterpret_cast<void*>(inverse_kin));
    srl_set_clear_cmd_in_rc_buffer_funs(reinterpret_cast<void*>(clear_cmd));
    srl_set_enable_robot_param_funs(reinterpret_cast<void*>(enable_param));
}

inline Bytes move_axes(uint8_t exec = 0) { return payload(2101, Bytes(76, 0), exec); }

// A fresh interpreter with every fake registered and the PLC connected.
class ConnectedPlc : public ::testing::Test {
protected:
    void SetUp() override {
        reset_interpreter();
        plc.connect();
    }
    int rid_of(const char* handler) { return fakes().last(handler)->in[255]; }  // the id at byte 255
    Plc plc;
};

// The adapter's per-cycle push of the moving bit (status bit 0).
inline void set_moving(bool moving) {
    uint8_t block[6];
    srl_get_cyclic_parameter(block);
    block[0] = static_cast<uint8_t>((block[0] & ~1u) | (moving ? 1u : 0u));
    srl_set_cyclic_parameter(block);
}

}  // namespace srltest
