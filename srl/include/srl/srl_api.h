// SPDX-License-Identifier: Apache-2.0
// The SRCI interpreter's interface toward the robot adapter.
//
// The adapter calls srl_interpreter once per cycle with the PLC's 256-byte telegram and gets the
// 256-byte answer. Inside that call the interpreter decodes the SRCI commands and calls the
// handlers registered below, synchronously on the caller's thread.
//
// Handler contract: void handler(unsigned char* in, unsigned char* out, int* err).
//   `in` is a 256-byte buffer holding the host-order command record (srl_types.h) at the start,
//   zero-filled to the record's full size, and at byte 255 the command id the adapter uses for
//   this command (a rolling id 1..255, never one still alive in the adapter's queues).
//   `out` is a 256-byte buffer for the host-order response record. `*err` is 0 or an SRCI error
//   code (a code above 0xFFFF is logged and sent as 0x8FFF).
// Registration functions take the handler as an untyped function address.
//
// Everything here is called from the adapter's main thread only, except srl_get_log, which is
// safe to call from another thread while the interpreter runs.
#pragma once

#include <cstdint>
#include <string>

#include "srl/srl_types.h"

inline constexpr int SRL_TELEGRAM_SIZE = 256;
inline constexpr int SRL_CMD_ID_OFFSET = 255;

using srl_handler_fn = void (*)(unsigned char* in, unsigned char* out, int* err);
using srl_enable_param_fn = void (*)(bool newCmd, LRob_typeServerCmdEnableRobot* cmd, LRob_typeSystemState* state,
                                     unsigned short secondFlag, unsigned short* result);

// ---- the cycle
void srl_interpreter(unsigned char* recv, unsigned char* send);

// ---- registration (a null address unregisters)
void srl_set_open_callback_funs(int enable);
void srl_set_robot_enable_funs(void* fn);
void srl_set_read_tool_data_funs(void* fn);
void srl_set_write_tool_data_funs(void* fn);
void srl_set_read_frame_data_funs(void* fn);
void srl_set_write_frame_data_funs(void* fn);
void srl_set_write_load_data_funs(void* fn);
void srl_set_read_load_data_funs(void* fn);
void srl_set_write_robot_reference_dynamic_funs(void* fn);
void srl_set_read_robot_reference_dynamic_funs(void* fn);
void srl_set_write_robot_defualt_dynamic_funs(void* fn);
void srl_set_read_robot_defualt_dynamics_funs(void* fn);
void srl_set_write_robot_software_limit_funs(void* fn);
void srl_set_read_robot_software_limit_funs(void* fn);
void srl_set_read_actual_position_funs(void* fn);
void srl_set_move_axes_absolute_funs(void* fn);
void srl_set_group_reset_funs(void* fn);
void srl_set_robot_read_data_funs(void* fn);
void srl_set_move_linear_absolute_funs(void* fn);
void srl_set_move_direct_absolute_funs(void* fn);
void srl_set_set_operate_mode_funs(void* fn);
void srl_set_change_speed_override_funs(void* fn);
void srl_set_group_continue_funs(void* fn);
void srl_set_group_pause_funs(void* fn);
void srl_set_group_stop_funs(void* fn);
void srl_set_read_digital_input(void* fn);
void srl_set_read_digital_output(void* fn);
void srl_set_write_digital_output(void* fn);
void srl_set_exchange_configuration_funs(void* fn);
void srl_set_move_linear_relative_funs(void* fn);
void srl_set_move_linear_relative_tools_funs(void* fn);
void srl_set_move_joint_relative_funs(void* fn);
void srl_set_robot_disable_funs(void* fn);
void srl_set_read_workarea_funs(void* fn);
void srl_set_write_workarea_funs(void* fn);
void srl_set_read_actual_position_cyclic_funs(void* fn);
void srl_set_set_sequence_funs(void* fn);
void srl_set_forward_kinematics_funs(void* fn);
void srl_set_inverse_kinematics_funs(void* fn);
void srl_set_enable_robot_param_funs(void* fn);  // srl_enable_param_fn
void srl_set_clear_cmd_in_rc_buffer_funs(void* fn);

// ---- initialisation
// The interpreter keeps the two pointers; the records must live as long as the process.
void srl_set_init_parameter(LRob_typePersistentData* persistent, LRob_typeServerAxesGroupParameter* axesGroup);
void srl_set_return_to_primary_behaviors(const unsigned char* behaviours, int count, int mode);
void srl_robot_init_complete_set_operation_mode_to_edk(int operationMode);

// ---- record coding (host order; the wire conversion happens inside the interpreter)
// Both copy exactly `size` bytes (at most 255) and return the number copied, or -1 on a bad size.
int srl_serialize(const void* record, unsigned char* buffer, int size);
int srl_deserialize(const unsigned char* buffer, void* record, int size);

// ---- state pushes, once per cycle before srl_interpreter
// 104-byte block: floats X..RZ at 0..23, joints 1..6 at 54..77, tool number at 102, frame at 103.
void srl_set_current_pos(void* block, float speedRatio);
void srl_set_ra_state(int raState);  // 209 drives enabled, 217 not enabled
// 6-byte block: RA status word (little-endian, bit 0 IsMoving ...) and override (percent x 100).
void srl_get_cyclic_parameter(void* block);
void srl_set_cyclic_parameter(void* block);
// itemType 0 tool, 1 frame; record is a serialised LRob_typeRobotServerToolData / FrameData.
void srl_set_sync_item_parameters(int itemType, int index, unsigned char* record);
void srl_get_system_state(LRob_typeSystemState* state);

// ---- motion reports
// id: the command id the handler got at byte 255; state: LRob_typeServerMotionStateEnum.
void srl_set_robot_motion_state_1(int id, int state, int errorCode, int reserved);
void srl_set_interrupt_completed();
void srl_set_stop_completed();
void srl_set_jog_distance_togo(int distanceReached);
void srl_rl_server_state(int state);  // 113 sequence interrupted, 115 running again

// ---- errors and the interpreter's own log
// A new error (isProcessed false) gets a message id written back into `id`; reporting the same
// id as processed removes it. Returns 0, or -1 when the message could not be queued.
int srl_report_error_warning(int8_t& id, bool isProcessed, uint16_t code, int8_t severity, std::string info);
// Copies the oldest pending diagnostic line (at most 255 characters, zero-terminated) into a
// 256-byte buffer, or leaves it empty when nothing is pending. Thread-safe.
void srl_get_log(char* buffer);
