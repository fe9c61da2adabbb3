// SPDX-License-Identifier: Apache-2.0
#include "registry.h"

#include "context.h"
#include "srl/srl_api.h"

namespace srl {

bool registered(const Registry& r, Slot s) { return handler_address(r, s) != nullptr; }

void* handler_address(const Registry& r, Slot s) {
    if (s >= Slot::Count || !r.callbacks_open) return nullptr;
    return r.fns[static_cast<int>(s)];
}

}  // namespace srl

namespace {
void reg(srl::Slot s, void* fn) { srl::ctx().reg.fns[static_cast<int>(s)] = fn; }
}  // namespace

using srl::Slot;

void srl_set_open_callback_funs(int enable) { srl::ctx().reg.callbacks_open = enable != 0; }
void srl_set_robot_enable_funs(void* fn) { reg(Slot::RobotEnable, fn); }
void srl_set_read_tool_data_funs(void* fn) { reg(Slot::ReadTool, fn); }
void srl_set_write_tool_data_funs(void* fn) { reg(Slot::WriteTool, fn); }
void srl_set_read_frame_data_funs(void* fn) { reg(Slot::ReadFrame, fn); }
void srl_set_write_frame_data_funs(void* fn) { reg(Slot::WriteFrame, fn); }
void srl_set_write_load_data_funs(void* fn) { reg(Slot::WriteLoad, fn); }
void srl_set_read_load_data_funs(void* fn) { reg(Slot::ReadLoad, fn); }
void srl_set_write_robot_reference_dynamic_funs(void* fn) { reg(Slot::WriteRefDyn, fn); }
void srl_set_read_robot_reference_dynamic_funs(void* fn) { reg(Slot::ReadRefDyn, fn); }
void srl_set_write_robot_defualt_dynamic_funs(void* fn) { reg(Slot::WriteDefDyn, fn); }
void srl_set_read_robot_defualt_dynamics_funs(void* fn) { reg(Slot::ReadDefDyn, fn); }
void srl_set_write_robot_software_limit_funs(void* fn) { reg(Slot::WriteSWLimit, fn); }
void srl_set_read_robot_software_limit_funs(void* fn) { reg(Slot::ReadSWLimit, fn); }
void srl_set_read_actual_position_funs(void* fn) { reg(Slot::ReadActualPos, fn); }
void srl_set_move_axes_absolute_funs(void* fn) { reg(Slot::MoveAxesAbs, fn); }
void srl_set_group_reset_funs(void* fn) { reg(Slot::GroupReset, fn); }
void srl_set_robot_read_data_funs(void* fn) { reg(Slot::ReadRobotData, fn); }
void srl_set_move_linear_absolute_funs(void* fn) { reg(Slot::MoveLinAbs, fn); }
void srl_set_move_direct_absolute_funs(void* fn) { reg(Slot::MoveDirectAbs, fn); }
void srl_set_set_operate_mode_funs(void* fn) { reg(Slot::SetOpMode, fn); }
void srl_set_change_speed_override_funs(void* fn) { reg(Slot::ChangeOverride, fn); }
void srl_set_group_continue_funs(void* fn) { reg(Slot::GroupContinue, fn); }
void srl_set_group_pause_funs(void* fn) { reg(Slot::GroupPause, fn); }
void srl_set_group_stop_funs(void* fn) { reg(Slot::GroupStop, fn); }
void srl_set_read_digital_input(void* fn) { reg(Slot::ReadDI, fn); }
void srl_set_read_digital_output(void* fn) { reg(Slot::ReadDO, fn); }
void srl_set_write_digital_output(void* fn) { reg(Slot::WriteDO, fn); }
void srl_set_exchange_configuration_funs(void* fn) { reg(Slot::ExchangeConfig, fn); }
void srl_set_move_linear_relative_funs(void* fn) { reg(Slot::JogFrame, fn); }
void srl_set_move_linear_relative_tools_funs(void* fn) { reg(Slot::JogTool, fn); }
void srl_set_move_joint_relative_funs(void* fn) { reg(Slot::JogJoint, fn); }
void srl_set_robot_disable_funs(void* fn) { reg(Slot::Disable, fn); }
void srl_set_read_workarea_funs(void* fn) { reg(Slot::ReadWorkArea, fn); }
void srl_set_write_workarea_funs(void* fn) { reg(Slot::WriteWorkArea, fn); }
void srl_set_read_actual_position_cyclic_funs(void* fn) { reg(Slot::CyclicPos, fn); }
void srl_set_set_sequence_funs(void* fn) { reg(Slot::SetSequence, fn); }
void srl_set_forward_kinematics_funs(void* fn) { reg(Slot::ForwardKin, fn); }
void srl_set_inverse_kinematics_funs(void* fn) { reg(Slot::InverseKin, fn); }
void srl_set_enable_robot_param_funs(void* fn) { reg(Slot::EnableParam, fn); }
void srl_set_clear_cmd_in_rc_buffer_funs(void* fn) { reg(Slot::ClearCmd, fn); }
