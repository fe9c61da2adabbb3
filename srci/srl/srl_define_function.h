// SPDX-License-Identifier: Apache-2.0
// The SRCI command handlers the adapter registers with the interpreter, and the robot's
// initialisation parameters. Handler contract: (in, out, err) — decode the host-order command
// record from `in`, act, encode the response record into `out`, result code in `*err`.
// No error escapes a handler: thrown codes are caught, logged and turned into `*err`.
#pragma once

#include "srl/srl_types.h"

using HandlerIn = unsigned char*;
using HandlerOut = unsigned char*;

// registration and initialisation
void srl_data_function_init();
void srl_set_robot_init_parameter();

// motion
void srl_move_axes_absolute_funs(HandlerIn in, HandlerOut out, int* err);
void srl_move_linear_absolute_funs(HandlerIn in, HandlerOut out, int* err);
void srl_move_direct_absolute_funs(HandlerIn in, HandlerOut out, int* err);
void srl_move_linear_relative_funs(HandlerIn in, HandlerOut out, int* err);
void srl_move_joint_relative_funs(HandlerIn in, HandlerOut out, int* err);
void srl_move_linear_relative_tools_funs(HandlerIn in, HandlerOut out, int* err);

// robot state and group commands
void srl_robot_enable(HandlerIn in, HandlerOut out, int* err);
void srl_disable_robot_funs(HandlerIn in, HandlerOut out, int* err);
void srl_group_reset_funs(HandlerIn in, HandlerOut out, int* err);
void srl_group_stop_funs(HandlerIn in, HandlerOut out, int* err);
void srl_group_pause_funs(HandlerIn in, HandlerOut out, int* err);
void srl_group_continue_funs(HandlerIn in, HandlerOut out, int* err);
void srl_set_operate_mode_funs(HandlerIn in, HandlerOut out, int* err);
void srl_change_speed_override_funs(HandlerIn in, HandlerOut out, int* err);
void srl_clear_cmd_in_rc_buffer_funs(HandlerIn in, HandlerOut out, int* err);
void srl_set_sequence_funs(HandlerIn in, HandlerOut out, int* err);
void srl_enable_robot_with_param_funs(bool newCmd, LRob_typeServerCmdEnableRobot* cmd, LRob_typeSystemState* state,
                                      unsigned short secondFlag, unsigned short* result);

// tool, frame, load
void srl_read_tool_data_funs(HandlerIn in, HandlerOut out, int* err);
void srl_write_tool_data_funs(HandlerIn in, HandlerOut out, int* err);
void srl_read_frame_data_funs(HandlerIn in, HandlerOut out, int* err);
void srl_write_frame_data_funs(HandlerIn in, HandlerOut out, int* err);
void srl_read_load_data_funs(HandlerIn in, HandlerOut out, int* err);
void srl_write_load_data_funs(HandlerIn in, HandlerOut out, int* err);

// dynamics
void srl_write_robot_reference_dynamic_funs(HandlerIn in, HandlerOut out, int* err);
void srl_read_robot_reference_dynamic_funs(HandlerIn in, HandlerOut out, int* err);
void srl_write_robot_defualt_dynamic_funs(HandlerIn in, HandlerOut out, int* err);
void srl_read_robot_defualt_dynamics_funs(HandlerIn in, HandlerOut out, int* err);

// position, I/O, kinematics, robot data, configuration exchange
void srl_exchange_configure_funs(HandlerIn in, HandlerOut out, int* err);
void srl_robot_read_data_funs(HandlerIn in, HandlerOut out, int* err);
void srl_read_actual_position_funs(HandlerIn in, HandlerOut out, int* err);
void srl_read_actual_position_cyclic_funs(HandlerIn in, HandlerOut out, int* err);
void srl_forward_kinematics_funs(HandlerIn in, HandlerOut out, int* err);
void srl_inverse_kinematics_funs(HandlerIn in, HandlerOut out, int* err);
void srl_read_digital_io_input_funs(HandlerIn in, HandlerOut out, int* err);
void srl_read_digital_io_output_funs(HandlerIn in, HandlerOut out, int* err);
void srl_write_digital_io_output_funs(HandlerIn in, HandlerOut out, int* err);

// software limits and work areas
void srl_read_robot_software_limit_funs(HandlerIn in, HandlerOut out, int* err);
void srl_write_robot_software_limit_funs(HandlerIn in, HandlerOut out, int* err);
void srl_read_workarea_data_funs(HandlerIn in, HandlerOut out, int* err);
void srl_write_workarea_data_funs(HandlerIn in, HandlerOut out, int* err);
