// SPDX-License-Identifier: Apache-2.0
// Small fake handlers that record what the interpreter hands them.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <map>
#include <stdexcept>
#include <string>
#include <utility>
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
        return static_cast<int>(std::count_if(calls.begin(), calls.end(), [&](const Call& k) { return k.name == n; }));
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

// Every handler the interpreter knows and the name its fake records calls under; a list, kept as written.
using Setter = void (*)(void*);
struct Registration {
    Setter set;
    const char* name;
};
// clang-format off
inline constexpr Registration kHandlers[] = {
    {srl_set_robot_enable_funs, "robot_enable"}, {srl_set_robot_disable_funs, "robot_disable"},
    {srl_set_group_reset_funs, "group_reset"}, {srl_set_group_stop_funs, "group_stop"},
    {srl_set_group_pause_funs, "group_pause"}, {srl_set_group_continue_funs, "group_continue"},
    {srl_set_set_sequence_funs, "set_sequence"}, {srl_set_set_operate_mode_funs, "set_opmode"},
    {srl_set_change_speed_override_funs, "change_override"}, {srl_set_move_axes_absolute_funs, "move_axes"},
    {srl_set_move_linear_absolute_funs, "move_linear"}, {srl_set_move_direct_absolute_funs, "move_direct"},
    {srl_set_move_linear_relative_funs, "jog_frame"}, {srl_set_move_linear_relative_tools_funs, "jog_tool"},
    {srl_set_move_joint_relative_funs, "jog_joint"}, {srl_set_read_actual_position_funs, "read_position"},
    {srl_set_read_tool_data_funs, "read_tool"}, {srl_set_write_tool_data_funs, "write_tool"},
    {srl_set_read_frame_data_funs, "read_frame"}, {srl_set_write_frame_data_funs, "write_frame"},
    {srl_set_read_load_data_funs, "read_load"}, {srl_set_write_load_data_funs, "write_load"},
    {srl_set_read_robot_reference_dynamic_funs, "read_refdyn"},
    {srl_set_write_robot_reference_dynamic_funs, "write_refdyn"},
    {srl_set_read_robot_defualt_dynamics_funs, "read_defdyn"},
    {srl_set_write_robot_defualt_dynamic_funs, "write_defdyn"},
    {srl_set_read_robot_software_limit_funs, "read_swlimit"},
    {srl_set_write_robot_software_limit_funs, "write_swlimit"}, {srl_set_read_digital_input, "read_di"},
    {srl_set_read_digital_output, "read_do"}, {srl_set_write_digital_output, "write_do"},
    {srl_set_exchange_configuration_funs, "exchange_config"}, {srl_set_robot_read_data_funs, "robot_data"},
    {srl_set_read_workarea_funs, "read_workarea"}, {srl_set_write_workarea_funs, "write_workarea"},
    {srl_set_read_actual_position_cyclic_funs, "cyclic_position"}, {srl_set_forward_kinematics_funs, "forward_kin"},
    {srl_set_inverse_kinematics_funs, "inverse_kin"}, {srl_set_clear_cmd_in_rc_buffer_funs, "clear_cmd"}
};
// clang-format on

template <size_t I>
void fake(unsigned char* in, unsigned char* out, int* err) {
    fake_call(kHandlers[I].name, in, out, err);
}
template <size_t... I>
void register_fakes(std::index_sequence<I...>) {
    (kHandlers[I].set(reinterpret_cast<void*>(fake<I>)), ...);
}

inline void enable_param(bool newCmd, LRob_typeServerCmdEnableRobot*, LRob_typeSystemState*, unsigned short,
                         unsigned short* result) {
    Fakes& f = fakes();
    ++f.enable_param_calls;
    f.last_enable_param_new = newCmd;
    *result = newCmd ? f.enable_param_result : 255;
}

// The host record a fake handler answers with.
template <typename T>
void answer(const char* handler, const T& record) {
    const auto* p = reinterpret_cast<const uint8_t*>(&record);
    fakes().answer[handler].assign(p, p + sizeof record);
}

// A value of the host record the last call of `handler` received, at byte `off`.
template <typename T>
T received(const char* handler, size_t off = 0) {
    T v{};
    if (const Call* c = fakes().last(handler)) std::memcpy(&v, c->in.data() + off, sizeof v);
    else ADD_FAILURE() << handler << " was not called";
    return v;
}

// The adapter's init parameters; the interpreter keeps pointers to them.
inline LRob_typePersistentData g_persistent;
inline LRob_typeServerAxesGroupParameter g_axes;

// Fresh interpreter with every fake registered, the adapter's init parameters
// and a fake clock.
inline void reset_interpreter() {
    srl_config_reset();
    fakes() = Fakes{};
    g_now_ms = 1000;
    srl_config_set_clock(fake_clock);
    srl_config cfg;
    cfg.always_tool_frame = true;
    srl_config_set(cfg);
    g_persistent = LRob_typePersistentData{};
    g_persistent.generalConfiguration.LifeSignTimeOut = 1000;
    g_axes = LRob_typeServerAxesGroupParameter{};
    g_axes.RC.LengthACR = 50;
    g_axes.RC.UbTool = g_axes.RC.UbFrame = g_axes.RC.UbLoad = 19;
    srl_set_init_parameter(&g_persistent, &g_axes);
    srl_robot_init_complete_set_operation_mode_to_edk(4);
    srl_set_open_callback_funs(1);
    register_fakes(std::make_index_sequence<std::size(kHandlers)>());
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
