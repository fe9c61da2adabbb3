-- SPDX-License-Identifier: Apache-2.0
-- SRCI telegram dissector for the pcapng traces of `pnio-sim --trace`.
--
-- Decodes both cyclic telegrams of the SRCI wire protocol: the PLC's telegram (header, FastStop,
-- lifesign, control request, cyclic data, sequence, fragments, commands with their parameters)
-- and the robot's answer (TelegramState, status word, override, cyclic position, acknowledgement,
-- responses with state, severity, message code and result fields). Commands split over several
-- telegrams are reassembled. Install: copy this file to ~/.local/lib/wireshark/plugins/ (or run
-- `wireshark -X lua_script:srci.lua`). The trace frames are UDP on 127.0.0.1: the PLC sends from
-- port 46257 to 46256, the robot answers from 46256, gateway events use 46258.

local PORT_ROBOT, PORT_PLC, PORT_EVENT = 46256, 46257, 46258

-- Wireshark 4.0 embeds Lua 5.2: no integer division or bit operators in the language.
local band, rshift = bit32.band, bit32.rshift
local function idiv(a, b) return math.floor(a / b) end

local srci = Proto("srci", "SRCI Standard Robot Command Interface")
srci.prefs.tool_frame_always = Pref.bool("ToolNo/FrameNo always in PLC telegram", false,
    "Some PLC clients send the cyclic ToolNo/FrameNo bytes 18-19 whatever the configuration; by the SRCI " ..
    "standard they are present only when the robot reports the cyclic Cartesian position.")

------------------------------------------------------------------------------------------------
-- Vocabulary
------------------------------------------------------------------------------------------------

local CMD_TYPES = {
    [1000] = "EnableRobot", [1001] = "GroupReset", [1003] = "SetOperationMode", [1004] = "SetSequence",
    [1005] = "SwitchLanguage", [1006] = "UserLogin", [1101] = "RestartController",
    [2000] = "ChangeSpeedOverride", [2001] = "GroupContinue", [2002] = "GroupInterrupt", [2003] = "GroupStop",
    [2100] = "GroupJog", [2101] = "MoveAxesAbsolute", [2102] = "MoveDirectAbsolute", [2103] = "MoveLinearAbsolute",
    [2104] = "ReturnToPrimary", [2105] = "MoveAxesRelative", [2106] = "MoveCircularAbsolute",
    [2107] = "MoveCircularRelative", [2108] = "MoveDirectRelative", [2109] = "MoveLinearAbsoluteJ",
    [2110] = "MoveLinearRelative", [2111] = "MoveDirectOffset", [2112] = "MoveLinearOffset",
    [2200] = "MoveApproachDirect", [2201] = "MoveApproachLinear", [2202] = "MoveDepartDirect",
    [2203] = "MoveDepartLinear", [2204] = "MovePickPlaceDirect", [2205] = "MovePickPlaceLinear",
    [2300] = "ActivateConveyorTracking", [2301] = "ConfigureConveyor", [2302] = "RedefineTrackingPos",
    [2303] = "SyncToConveyor", [2400] = "MoveCircularCam", [2401] = "MoveDirectCam", [2402] = "MoveLinearCam",
    [2500] = "SearchHardStop", [2501] = "SearchHardStopJ", [2502] = "MoveSuperImposed",
    [2503] = "MoveSuperImposedDynamic", [2600] = "CreateSpline", [2601] = "DeleteSpline", [2602] = "DynamicSpline",
    [2603] = "MoveSpline", [3000] = "ReactAtTrigger", [3001] = "SetTriggerError", [3002] = "SetTriggerLimit",
    [3003] = "SetTriggerMotion", [3004] = "SetTriggerRegister", [3005] = "SetTriggerUser", [3006] = "WaitForTrigger",
    [5100] = "ReadActualPosition", [5101] = "ReadDHParameter", [5102] = "ReadFrameData", [5103] = "ReadLoadData",
    [5104] = "ReadRobotDefaultDynamics", [5105] = "ReadRobotReferenceDynamics", [5106] = "ReadRobotSWLimits",
    [5107] = "ReadToolData", [5109] = "ReadSystemVariable", [5110] = "ReadActualForce",
    [5111] = "ReadActualTCPVelocity", [5200] = "WriteFrameData", [5201] = "WriteLoadData",
    [5202] = "WriteRobotDefaultDynamics", [5203] = "WriteRobotReferenceDynamics", [5204] = "WriteRobotSWLimits",
    [5205] = "WriteToolData", [5206] = "WriteSystemVariable", [6000] = "AbortMeasuringInput",
    [6001] = "MeasuringInput", [6100] = "ReadDigitalInputs", [6101] = "ReadDigitalOutputs", [6102] = "ReadIntegers",
    [6103] = "ReadReals", [6104] = "WriteDigitalOutputs", [6105] = "WriteIntegers", [6106] = "WriteReals",
    [6107] = "ReadAnalogInput", [6108] = "ReadAnalogOutput", [6109] = "WriteAnalogOutput",
    [7000] = "ActivateNextCommand", [7001] = "CallSubprogram", [7002] = "FreeDrive", [7003] = "CollisionDetection",
    [7004] = "UnitMeasurement", [7005] = "WaitTime", [7006] = "LoadMeasurementAutomatic",
    [7007] = "LoadMeasurementSequential", [7008] = "StopSubprogram", [7009] = "ReadSafeReferencePosition",
    [7010] = "SafeReferencing", [7100] = "OpenBrake", [7101] = "BrakeTest", [7200] = "CalculateCartesianPosition",
    [7201] = "CalculateFrame", [7202] = "CalculateTool", [7203] = "CalculateForwardKinematic",
    [7204] = "CalculateInverseKinematic", [7205] = "ShiftPosition", [7300] = "SoftSwitchTCP", [7301] = "ForceControl",
    [7302] = "ForceLimit", [7400] = "AvoidSingularity", [7401] = "PathAccuracyMode", [7500] = "ActivateWorkArea",
    [7501] = "MonitorWorkArea", [7502] = "ReadWorkArea", [7503] = "WriteWorkArea", [9000] = "ExchangeConfiguration",
    [9001] = "ReadMessages", [9002] = "ReadRobotData", [9003] = "CreateServerLog", [9004] = "ReadServerLog",
}

local TELEGRAM_STATES = {
    [0] = "Undefined", [161] = "Control request inconsistent with state", [162] = "Initialization lost",
    [163] = "Telegram lengths differ from configuration", [164] = "SRCI major versions differ",
    [165] = "Client lifesign stopped", [166] = "Optional cyclic data too large", [167] = "Interface reset while initialized",
    [168] = "Sequence (SEQ/ACK) timeout", [169] = "TelegramNumber changed while initialized",
    [170] = "AxesGroupID not accepted", [171] = "TelegramNumber words inconsistent",
    [172] = "TelegramNumber feature unsupported", [173] = "Server lost its own connection",
    [253] = "Not initialized, resumable", [254] = "Not initialized, ready for INITIALIZE", [255] = "Initialized",
}
local CONTROLS = { [0] = "NONE", [1] = "INITIALIZE", [2] = "RESUME", [3] = "RESET", [4] = "ACK_ERROR", [5] = "CLIENT_ERROR" }
local CMD_STATES = { [0] = "Empty", [1] = "Created", [2] = "Buffered", [3] = "BufferedInPlanner", [4] = "Active",
    [5] = "Interrupted", [6] = "AbortRequested", [10] = "Done", [14] = "Aborted", [15] = "Error" }
local SEVERITIES = { [0] = "none", [4] = "debug", [5] = "info", [20] = "warning", [28] = "error", [29] = "fatal error" }
local EXEC_MODES = { [0] = "sequence primary", [1] = "sequence primary, abort others", [2] = "parallel",
    [3] = "continuous", [5] = "trigger multiple", [7] = "sequence secondary", [8] = "sequence secondary, abort others",
    [9] = "stop parallel/continuous/trigger" }
local PRIORITIES = { [1] = "very high", [2] = "high", [3] = "normal", [4] = "low" }
local SEQ_STATES = { [0] = "Idle", [1] = "Executing", [2] = "Interrupted" }
local OP_MODES = { [1] = "T1 local", [2] = "T2 local", [3] = "Auto", [4] = "Auto external", [5] = "T1 external",
    [6] = "T2 external" }
local BLENDING_MODES = { [0] = "exact stop", [2] = "defined velocity", [3] = "corner distance",
    [4] = "max corner deviation", [10] = "corner distance, 2 radii", [11] = "ramp overlap",
    [12] = "corner distance, 1 radius" }
local ORI_MODES = { [1] = "linear interpolated", [2] = "joint interpolated", [3] = "fixed", [4] = "path" }
local TURN_MODES = { [0] = "use turn numbers", [1] = "keep same", [2] = "free" }
local JOG_MODES = { [0] = "frame", [1] = "tool", [2] = "joints" }
local STEP_MODES = { [0] = "off", [1] = "blending", [2] = "exact stop" }
local SEQUENCES = { [1] = "primary", [2] = "secondary" }
local REFERENCE_TYPES = { [0] = "tool coordinates", [1] = "frame coordinates" }
local SYNC_REACTIONS = { [0] = "none", [1] = "no automatic disable", [2] = "interrupt when sequence empty",
    [3] = "immediate interrupt" }
local MSG_TYPES = { [1] = "RI (interface)", [2] = "RC (controller)", [3] = "RA (arm)", [4] = "CMD (command)" }
local AREA_TYPES = { [0] = "axes", [1] = "box", [2] = "cylinder", [3] = "sphere" }
local REACTION_MODES = { [0] = "none", [1] = "abort", [2] = "interrupt" }
local CONFIG_MODES = { [0] = "use config of position", [1] = "keep same", [2] = "free", [3] = "back/down/flip",
    [4] = "front/up/non-flip" }
local EVENT_KINDS = { [0] = "PLC client dropped", [1] = "PLC client connected", [2] = "exchanges not recorded" }

-- Message codes: the SRCI standard's list, the codes the wire protocol names, and this adapter's
-- own codes (small values, and the parameter-file codes above 16 bits that reach ReadMessages).
local CODES = {
    [0x0000] = "ERR_CMD_NONE (no message)",
    [0x0001] = "err_commuitf_init",
    [0x0002] = "err_commuitf_recv",
    [0x0003] = "err_commuitf_send",
    [0x0011] = "err_joints_index",
    [0x0012] = "err_tools_index",
    [0x0013] = "err_frames_index",
    [0x0014] = "err_load_index",
    [0x0015] = "err_tools_setting",
    [0x0016] = "err_frames_setting",
    [0x0020] = "err_move",
    [0x0021] = "err_move_joint",
    [0x0022] = "err_move_linear",
    [0x0023] = "err_move_direct",
    [0x0030] = "err_disable_when_moving",
    [0x0031] = "err_pause",
    [0x0032] = "err_stop",
    [0x0033] = "err_continue",
    [0x0041] = "err_kine_init",
    [0x0043] = "err_io",
    [0x0044] = "err_ikine",
    [0x0045] = "err_fkine",
    [0x0052] = "err_joints_outofrange",
    [0x0053] = "err_joints_turnnumber",
    [0x0055] = "err_frame_ref",
    [0x0056] = "err_manipulation",
    [0x0057] = "err_vel_too_low",
    [0x0058] = "err_acc_too_low",
    [0x0071] = "err_power_on",
    [0x0072] = "err_power_off",
    [0x0073] = "err_disable",
    [0x0074] = "err_enable",
    [0x0075] = "err_pstop_estop",
    [0x00A1] = "ERR_RI_TEL_CMD_DOES_NOT_MATCH_STATE",
    [0x00A2] = "ERR_RI_TEL_INITIALIZATION_LOST",
    [0x00A3] = "ERR_RI_TEL_INVALID_TELEGRAM_LENGTH",
    [0x00A4] = "ERR_RI_TEL_VERSION_MISMATCH",
    [0x00A5] = "ERR_RI_TEL_LIFESIGN_TIMEOUT",
    [0x00A6] = "ERR_RI_TEL_NOT_ENOUGH_SPACE_FOR_OPT_CYCLIC_DATA",
    [0x00A7] = "ERR_RI_TEL_RESET_AFTER_INITIALIZED",
    [0x00A8] = "ERR_RI_TEL_SEQUENCE_TIMEOUT",
    [0x00A9] = "ERR_RI_TEL_TELEGRAM_NR_CHANGED_AFTER_INIT",
    [0x00AA] = "ERR_RI_TEL_INVALID_AXES_GROUP_ID",
    [0x00AB] = "ERR_RI_TEL_INVALID_TELEGRAM_NUMBER",
    [0x00AC] = "ERR_RI_TEL_TELEGRAM_NUMBER_NOT_SUPPORTED",
    [0x00AD] = "ERR_RI_TEL_CONNECTION_LOST",
    [0x00FF] = "INFO_RESET_WARNINGS",
    [0x6A01] = "INFO_RA_DISABLED_BY_OPMODE_CHANGE",
    [0x6A02] = "INFO_OPERATION_MODE_CHANGED",
    [0x6A03] = "INFO_SERVER_STATE_RESET_BY_CLIENT",
    [0x6A07] = "INFO_OVERRIDE_REDUCED",
    [0x6C01] = "INFO_ERR_SIM_COLLISSION_DETECTED",
    [0x6C02] = "INFO_ERR_SIM_ERROR_DURING_MOTION",
    [0x6C03] = "INFO_ERR_SIM_POSITION_NOT_REACHABLE",
    [0x6C04] = "INFO_ERR_SIM_SW_LIMIT_AXIS",
    [0x6C05] = "INFO_ABORTED_BY_GROUP_STOP",
    [0x6C06] = "INFO_ABORTED_BY_OTHER_MOTION",
    [0x6C07] = "INFO_LIMITS_ACTIVE_AFTER_RESTART",
    [0x6C13] = "INFO_WAITING_AT_BLEND_ZONE",
    [0x6C14] = "INFO_JOG_INTERRUPTED_BY_GROUP_STOP",
    [0x6C15] = "INFO_JOG_INTERRUPTED_BY_RA_STATE",
    [0x6C19] = "INFO_MANUAL_START_IGNORED",
    [0x6D51] = "INFO_DIGITAL_IO_INDEX_HINT_1",
    [0x6D52] = "INFO_DIGITAL_IO_INDEX_HINT_2",
    [0x6D53] = "INFO_DIGITAL_IO_INDEX_HINT_3",
    [0x6F01] = "INFO_INTERRUPTED_RA_STATE",
    [0x6F02] = "INFO_INTERRUPTED_RA_NOT_ENABLED",
    [0x6F03] = "INFO_INTERRUPTED_STEP_MODE",
    [0x7605] = "WARN_CLIENT_ACR_ALMOST_FULL",
    [0x7A01] = "WARN_SERVER_ACR_ALMOST_FULL",
    [0x7C03] = "WARN_FRAME_IN_USE_BY_SEQUENCE",
    [0x7C04] = "WARN_TOOL_IN_USE_BY_SEQUENCE",
    [0x7C06] = "WARN_LOAD_IN_USE_BY_SEQUENCE",
    [0x7C14] = "WARN_MONITORING_NOT_FOR_BUFFERED_CMDS",
    [0x8001] = "ERR_CMD_EMITTER_NOT_IMPLEMENTED",
    [0x8002] = "ERR_CMD_MANIPULATION_NOT_IMPLEMENTED",
    [0x8A01] = "ERR_RI_ACR_FULL",
    [0x8A02] = "ERR_RI_MANDATORY_CMD_STOPPED",
    [0x8A03] = "ERR_WRONG_LAST_LIFESIGN",
    [0x8AAD] = "ERR_CONNECTION_LOST",
    [0x8C01] = "ERR_CMD_SPECIFIC_CONTINUE_NOT_ENABLED",
    [0x8C02] = "ERR_CMD_SPECIFIC_CONTINUE_NOT_ON_PATH",
    [0x8C03] = "ERR_CMD_SPECIFIC_ENABLE_ROBOT_DISABLED_BY_RC",
    [0x8C04] = "ERR_CMD_SPECIFIC_ENABLE_ROBOT_DISABLED_BY_RC_DUE_TO_ERROR",
    [0x8C05] = "ERR_CMD_SPECIFIC_ENABLE_ROBOT_MANDATORY_CMDS_NOT_CALLED",
    [0x8C06] = "ERR_CMD_SPECIFIC_ENABLE_ROBOT_NOT_SYNCHRONIZED",
    [0x8C07] = "ERR_CMD_SPECIFIC_RETURN_TO_PATH_LIMIT_EXCEEDED",
    [0x8C08] = "ERR_CMD_SPECIFIC_SETOPMODE_MUST_T1",
    [0x8C09] = "ERR_CMD_SPECIFIC_WRITE_FRAME_DATA_DYNAMIC_FRAME",
    [0x8C12] = "ERR_CMD_SPECIFIC_WRITE_FRAME_NESTED_REFERENCE_NOT_ALLOWED",
    [0x8C13] = "ERR_CMD_SPECIFIC_WRITE_FRAME_REFERENCE_INVALID",
    [0x8C14] = "ERR_CMD_SPECIFIC_CURR_TOOL_ID_DIFFERS_FROM_RETURN_POS",
    [0x8C15] = "ERR_CMD_SPECIFIC_WRITE_FRAME_NOT_ALLOWED_DURING_ACTIVE_MOVEMENT",
    [0x8C16] = "ERR_CMD_SPECIFIC_WRITE_TOOL_NOT_ALLOWED_DURING_ACTIVE_MOVEMENT",
    [0x8C17] = "ERR_CMD_SPECIFIC_WRITE_LOAD_NOT_ALLOWED_DURING_ACTIVE_MOVEMENT",
    [0x8C20] = "ERR_CMD_SPECIFIC_MANUAL_STEP_NOT_ALLOWED_IN_AUTO_EXT",
    [0x8C21] = "ERR_CMD_SPECIFIC_MANUAL_STEP_ONLY_ALLOWED_IN_WHEN_STEPMODE_IS_ACTIVE",
    [0x8C22] = "ERR_CMD_SPECIFIC_TOOL_DATA_DIFFERS_FROM_RETURN_TOOL_DATA",
    [0x8C23] = "ERR_CMD_SPECIFIC_LOAD_DATA_DIFFERS_FROM_RETURN_LOAD_DATA",
    [0x8C24] = "ERR_CMD_SPECIFIC_FRAME_DATA_DIFFERS_FROM_RETURN_FRAME_DATA",
    [0x8C25] = "ERR_CMD_SPECIFIC_REF_FRAME_DATA_DIFFERS_FROM_RETURN_REF_FRAME_DATA",
    [0x8C26] = "ERR_CMD_SPECIFIC_TOOL_NO_DIFFERS_FROM_RETURN_TOOL_NO",
    [0x8C27] = "ERR_CMD_SPECIFIC_FRAME_NO_DIFFERS_FROM_RETURN_FRAME_NO",
    [0x8C29] = "ERR_CMD_SPECIFIC_SOFTWARELIMIT_AXES_DOES_NOT_EXIST",
    [0x8C30] = "ERR_CMD_SPECIFIC_CONTINUE_NOT_POSSIBLE_DUE_TO_SYNC_REACTION",
    [0x8C31] = "ERR_NO_ENABLING_DEVICE",
    [0x8C32] = "ERR_MANUAL_START_WITH_ROBOT_DISABLED",
    [0x8C33] = "ERR_JOG_DURING_ACTIVE_MOVE",
    [0x8C34] = "ERR_COMMANDED_AXIS_DOES_NOT_EXIST",
    [0x8C35] = "ERR_JOG_INVALID",
    [0x8C36] = "ERR_JOG_ROTATION_ON_SEVERAL_AXES",
    [0x8C37] = "ERR_CMD_SPECIFIC_CALLSUBPROGRAM_PROG_NR_INVALID",
    [0x8C38] = "ERR_CMD_SPECIFIC_CALLSUBPROG_MOTION_OUTSIDE_SEQ",
    [0x8C39] = "ERR_CMD_SPECIFIC_CALLSUBPROG_ALREADY_RUNNING",
    [0x8C40] = "ERR_CMD_SPECIFIC_STOPSUBPROG_PROG_NR_NOT_FOUND",
    [0x8C41] = "ERR_CMD_SPECIFIC_STOPSUBPROG_INSTANCE_ID_NOT_FOUND",
    [0x8C42] = "ERR_CMD_SPECIFIC_CALLSUBPROGRAM_JOB_ID_CHANGE_NOT_POSSIBLE",
    [0x8C43] = "ERR_CMD_SPECIFIC_CONTINUE_NOT_POSSIBLE_DURING_TRANSITION",
    [0x8C52] = "ERR_CMD_JOG_ENABLE_SWITCH_WAS_RESET",
    [0x8C53] = "ERR_CMD_SPECIFIC_LIMIT_CHANGE_NOT_POSSIBLE",
    [0x8C54] = "ERR_CMD_SPECIFIC_LIMIT_NOT_ALLOWED",
    [0x8C56] = "ERR_CMD_SPECIFIC_SETOPMODE_NOT_POSSIBLE",
    [0x8C62] = "ERR_CMD_SPECIFIC_IK_NO_SOLUTION",
    [0x8C63] = "ERR_CMD_SPECIFIC_IK_OUTSIDE_LIMITS",
    [0x8D00] = "ERR_CMD_SPECIFIC_INVALID_PARAMETER_VELOCITY_RATE",
    [0x8D01] = "ERR_CMD_SPECIFIC_INVALID_PARAMETER_ACCELERATION_RATE",
    [0x8D02] = "ERR_CMD_SPECIFIC_INVALID_PARAMETER_BLENDING_BEHAVIOR",
    [0x8D03] = "ERR_CMD_SPECIFIC_INVALID_PARAMETER_BLENDING_MODE",
    [0x8D04] = "ERR_CMD_SPECIFIC_INVALID_PARAMETER_BLENDING_PARAMETER",
    [0x8D05] = "ERR_CMD_SPECIFIC_INVALID_PARAMETER_CONFIG_MODE_ELBOW",
    [0x8D06] = "ERR_CMD_SPECIFIC_INVALID_PARAMETER_DECELERATION_RATE",
    [0x8D07] = "ERR_CMD_SPECIFIC_INVALID_PARAMETER_DEF_DYNAMICS",
    [0x8D08] = "ERR_CMD_SPECIFIC_INVALID_PARAMETER_FRAME_NR",
    [0x8D09] = "ERR_CMD_SPECIFIC_INVALID_PARAMETER_INCREMENTAL_ROTATION",
    [0x8D10] = "ERR_CMD_SPECIFIC_INVALID_PARAMETER_INCREMENTAL_TRANSLATION",
    [0x8D11] = "ERR_CMD_SPECIFIC_INVALID_PARAMETER_JERK_RATE",
    [0x8D12] = "ERR_CMD_SPECIFIC_INVALID_PARAMETER_JOG_POS_AND_NEG_PRESSED",
    [0x8D13] = "ERR_CMD_SPECIFIC_INVALID_PARAMETER_JOINT_POSITION",
    [0x8D14] = "ERR_CMD_SPECIFIC_INVALID_PARAMETER_LIFESIGN_TIMEOUT",
    [0x8D15] = "ERR_CMD_SPECIFIC_INVALID_PARAMETER_LIMIT_ALL_ZERO",
    [0x8D16] = "ERR_CMD_SPECIFIC_INVALID_PARAMETER_LIMIT_OUT_OF_BOUNDS",
    [0x8D17] = "ERR_CMD_SPECIFIC_INVALID_PARAMETER_LOAD_NR",
    [0x8D18] = "ERR_CMD_SPECIFIC_INVALID_PARAMETER_LOG_LEVEL",
    [0x8D19] = "ERR_CMD_SPECIFIC_INVALID_PARAMETER_MANUAL_START_PATH",
    [0x8D20] = "ERR_CMD_SPECIFIC_INVALID_PARAMETER_MANUAL_START_SINGLE",
    [0x8D21] = "ERR_CMD_SPECIFIC_INVALID_PARAMETER_MODE",
    [0x8D22] = "ERR_CMD_SPECIFIC_INVALID_PARAMETER_ORI_MODE",
    [0x8D23] = "ERR_CMD_SPECIFIC_INVALID_PARAMETER_OVERRIDE",
    [0x8D24] = "ERR_CMD_SPECIFIC_INVALID_PARAMETER_POSITION",
    [0x8D25] = "ERR_CMD_SPECIFIC_INVALID_PARAMETER_REF_DYNAMICS",
    [0x8D26] = "ERR_CMD_SPECIFIC_INVALID_PARAMETER_REF_DYNAMICS_ACC",
    [0x8D27] = "ERR_CMD_SPECIFIC_INVALID_PARAMETER_REF_DYNAMICS_DEC",
    [0x8D28] = "ERR_CMD_SPECIFIC_INVALID_PARAMETER_REF_DYNAMICS_JERK",
    [0x8D29] = "ERR_CMD_SPECIFIC_INVALID_PARAMETER_REF_DYNAMICS_VEL",
    [0x8D30] = "ERR_CMD_SPECIFIC_INVALID_PARAMETER_RETURN_MODE",
    [0x8D31] = "ERR_CMD_SPECIFIC_INVALID_PARAMETER_SEQUENCE",
    [0x8D32] = "ERR_CMD_SPECIFIC_INVALID_PARAMETER_SETOPMODE_MODE",
    [0x8D33] = "ERR_CMD_SPECIFIC_INVALID_PARAMETER_SYNC_REACTION",
    [0x8D34] = "ERR_CMD_SPECIFIC_INVALID_PARAMETER_TIME",
    [0x8D35] = "ERR_CMD_SPECIFIC_INVALID_PARAMETER_TOOL_NR",
    [0x8D36] = "ERR_CMD_SPECIFIC_INVALID_PARAMETER_TRAJECTORY_MODE",
    [0x8D37] = "ERR_CMD_SPECIFIC_INVALID_PARAMETER_TURN_MODE",
    [0x8D39] = "ERR_CMD_SPECIFIC_INVALID_PARAMETER_WAIT_FOR_NO_OF_CMDS",
    [0x8D40] = "ERR_CMD_SPECIFIC_INVALID_PARAMETER_CONFIG_MODE_SHOULDER",
    [0x8D41] = "ERR_CMD_SPECIFIC_INVALID_PARAMETER_CONFIG_MODE_WRIST",
    [0x8D42] = "ERR_CMD_SPECIFIC_INVALID_PARAMETER_STEP_MODE",
    [0x8D43] = "ERR_CMD_SPECIFIC_STOPSUBPROG_MODE_INVALID",
    [0x8D44] = "ERR_CMD_SPECIFIC_STOPSUBPROG_TARGET_ID_MUST_BE_EMPTY",
    [0x8D45] = "ERR_CMD_SPECIFIC_STOPSUBPROG_PROG_NR_INVALID",
    [0x8D46] = "ERR_CMD_SPECIFIC_STOPSUBPROG_INSTANCE_ID_INVALID",
    [0x8D47] = "ERR_CMD_SPECIFIC_INVALID_PARAMETER_INDEX_OUT_OF_BOUNDS",
    [0x8D48] = "ERR_CMD_SPECIFIC_INVALID_PARAMETER_INDEX_DUPLICATE",
    [0x8D50] = "ERR_CMD_SPECIFIC_INVALID_PARAMETER_INDEX_ALL_ZERO",
    [0x8D51] = "ERR_CMD_SPECIFIC_INVALID_PARAMETER_MESSAGE_LEVEL",
    [0x8DFF] = "ERR_CMD_SPECIFIC_INVALID_PARAMETER_LISTENERID",
    [0x8E01] = "ERR_CMD_PARAMETER_NOT_SUPORTED_MANUAL_START_SINGLE",
    [0x8E02] = "ERR_CMD_PARAMETER_NOT_SUPORTED_MANUAL_START_PATH",
    [0x8E03] = "ERR_CMD_PARAMETER_NOT_SUPORTED_DEC_RATE",
    [0x8E04] = "ERR_CMD_PARAMETER_NOT_SUPORTED_JERK_RATE",
    [0x8E05] = "ERR_CMD_PARAMETER_NOT_SUPORTED_BLENDING_MODE",
    [0x8E06] = "ERR_CMD_PARAMETER_NOT_SUPORTED_TIME",
    [0x8E07] = "ERR_CMD_PARAMETER_NOT_SUPORTED_POSITION",
    [0x8E08] = "ERR_CMD_PARAMETER_NOT_SUPORTED_ORI_MODE",
    [0x8E09] = "ERR_CMD_PARAMETER_NOT_SUPORTED_CONFIG_MODE",
    [0x8E10] = "ERR_CMD_PARAMETER_NOT_SUPORTED_TURN_MODE",
    [0x8E11] = "ERR_CMD_PARAMETER_NOT_SUPORTED_TRAJECTORY_MODE",
    [0x8E12] = "ERR_CMD_PARAMETER_NOT_SUPORTED_OPERATION_MODE",
    [0x8E13] = "ERR_CMD_PARAMETER_NOT_SUPORTED_INCREMENTAL_ROTATION",
    [0x8E14] = "ERR_CMD_PARAMETER_NOT_SUPORTED_INCREMENTAL_TRABSLATION",
    [0x8E16] = "ERR_CMD_PARAMETER_NOT_SUPORTED_STEP_MODE_EXACT",
    [0x8E17] = "ERR_CMD_PARAMETER_NOT_SUPORTED_STEP_MODE_BLENDING",
    [0x8E18] = "ERR_CMD_SPECIFIC_JOG_IN_AUTO_EXT_NOT_SUPPORTED",
    [0x8E19] = "ERR_CMD_SPECIFIC_NOT_SUPPORTED_UNIDENTICAL_CONFIG_MODE",
    [0x8E20] = "ERR_CMD_PARAMETER_NOT_SUPPORTED_READ_DH_PARAMETERS_MODIFIED",
    [0x8E21] = "ERR_CMD_PARAMETER_NOT_SUPPORTED_WAIT_AT_BLENDING_ZONE",
    [0x8E22] = "ERR_CMD_PARAMETER_NOT_SUPPORTED_EXTERNAL_TCP",
    [0x8F04] = "ERR_CMD_EMITTER_ID_ZERO",
    [0x8F10] = "ERR_CMD_INVALID_EXECUTION_MODE",
    [0x8F11] = "ERR_CMD_NOT_IMPLEMENTED",
    [0x8F12] = "ERR_CMD_ONLY_ONE_INSTANCE_ALLOWED",
    [0x8F13] = "ERR_CMD_REQUIRES_ACTIVE_INTERRUPT",
    [0x8F14] = "ERR_CMD_REQUIRES_NO_ACTIVE_INTERRUPT",
    [0x8F15] = "ERR_CMD_SECBUFFER_MAGIC_ONGOING",
    [0x8F16] = "ERR_CMD_SECBUFFER_NOT_ACTIVE",
    [0x8F17] = "ERR_SEC_SEQ_NOT_EMPTY",
    [0x8F18] = "ERR_STATE_TRANSACTION_NOT_POSSIBLE",
    [0x8F19] = "ERR_CMD_NOT_POSSIBLE_IN_LOCAL_MODE",
    [0x8F20] = "ERR_INVALID_CMD_TYPE",
    [0x8F21] = "ERR_CMD_COMMON_SEQUENCE_CHANGE_NOT_POSSIBLE",
    [0x8F36] = "ERR_CMD_SEE_MESSAGE_LOG",
    [0x8FFF] = "ERR_CMD_INTERNAL_ERROR",
    [0x9001] = "CLIENT_FATAL",
    [0x9A01] = "ERR_FAT_RI_INTERNAL_ERROR",
    [0x9A02] = "ERR_FAT_RI_INTERNAL_ERROR_DESERIALIZE",
    [0x9A03] = "ERR_FAT_RI_INVALID_CMD_ID",
    [0x9A04] = "ERR_FAT_RI_INVALID_FRAGEMENT_LENGTH",
    [0x9A05] = "ERR_FAT_RI_PRIO_OR_TYPE_CHANGED_DURING_CMD_RUNTIME",
    [0x9A06] = "ERR_FAT_RI_TRIED_TO_RESET_NON_EMPTY_ACR_ENTRY",
    [0x9A07] = "ERR_FAT_RI_INVALID_SEQUENCE_PAYLOAD_LENGTH",
    [0x9A08] = "ERR_FAT_RI_INVALID_ACTION_BYTE",
    [0x9A09] = "ERR_FAT_RI_INVALID_PAYLOAD_LENGTH",
    [0x9A10] = "ERR_FAT_RI_INVALID_PAYLOAD_POINTER",
    [0x9A14] = "ERR_FAT_RI_INVALID_EXECUTION_MODE_CHANGE",
    [0x10001] = "err_ini_no_file",
    [0x10002] = "err_ini_no_section",
    [0x10003] = "err_ini_no_key",
    [0x10004] = "err_ini_read",
    [0x10005] = "err_ini_write",
    [0x10006] = "err_ini_value_type",
}

------------------------------------------------------------------------------------------------
-- Fields
------------------------------------------------------------------------------------------------

local hf = {
    direction = ProtoField.string("srci.direction", "Direction"),
    version = ProtoField.uint8("srci.version", "SRCIVersion", base.HEX),
    version_major = ProtoField.uint8("srci.version.major", "Major version", base.DEC, nil, 0xE0),
    version_minor = ProtoField.uint8("srci.version.minor", "Minor version", base.DEC, nil, 0x1F),
    faststop = ProtoField.uint8("srci.faststop", "FastStop counter", base.DEC, nil, 0xF0),
    lifesign = ProtoField.uint8("srci.lifesign", "LifeSign"),
    footer_lifesign = ProtoField.uint8("srci.footer_lifesign", "Footer LifeSign"),
    len_p2r = ProtoField.uint16("srci.length_plc_to_rob", "TelegramLengthPlcToRob"),
    len_r2p = ProtoField.uint16("srci.length_rob_to_plc", "TelegramLengthRobToPlc"),
    axes_group = ProtoField.uint8("srci.axes_group", "AxesGroupID", base.DEC, nil, 0xF0),
    control = ProtoField.uint8("srci.control", "Control", base.DEC, CONTROLS, 0x0F),
    tn_p2r = ProtoField.uint16("srci.tn_plc_to_rob", "TelegramNumberPlcToRob", base.HEX),
    tn_r2p = ProtoField.uint16("srci.tn_rob_to_plc", "TelegramNumberRobToPlc", base.HEX),
    client_date = ProtoField.uint16("srci.client_date", "ClientDate [days since 1990-01-01]"),
    client_time = ProtoField.uint32("srci.client_time", "ClientTime [ms since midnight]"),
    tool_no = ProtoField.uint8("srci.tool_no", "ToolNo (cyclic position)"),
    frame_no = ProtoField.uint8("srci.frame_no", "FrameNo (cyclic position)"),
    tel_state = ProtoField.uint8("srci.telegram_state", "TelegramState", base.DEC, TELEGRAM_STATES),
    status = ProtoField.uint32("srci.status", "StatusRobotArm", base.HEX),
    override = ProtoField.uint16("srci.override", "Override [% x 100]"),
    seq = ProtoField.uint16("srci.seq", "SEQ"),
    ack = ProtoField.uint16("srci.ack", "ACK"),
    seq_len = ProtoField.uint16("srci.seq.payload_length", "Sequence PayloadLength"),
    seq_new = ProtoField.bool("srci.seq.new", "New content (first telegram with this SEQ/ACK)"),
    frag_cmd_id = ProtoField.uint16("srci.frag.cmd_id", "CmdID"),
    frag_action = ProtoField.uint8("srci.frag.action", "FragmentAction", base.HEX),
    frag_complete = ProtoField.bool("srci.frag.complete", "Complete", 8, nil, 0x01),
    frag_reset = ProtoField.bool("srci.frag.reset", "Reset", 8, nil, 0x02),
    frag_clear = ProtoField.bool("srci.frag.clear", "Clear", 8, nil, 0x04),
    frag_pointer = ProtoField.uint16("srci.frag.pointer", "PayloadPointer"),
    frag_length = ProtoField.uint16("srci.frag.length", "PayloadLength"),
    frag_data = ProtoField.bytes("srci.frag.data", "Payload bytes"),
    reassembled = ProtoField.uint16("srci.reassembled.fragments", "Reassembled from fragments"),
    reassembled_len = ProtoField.uint16("srci.reassembled.length", "Reassembled payload length"),
    cmd_type = ProtoField.string("srci.cmd.type", "CmdType"),
    cmd_type_code = ProtoField.uint16("srci.cmd.type_code", "CmdType code", base.DEC, CMD_TYPES),
    cmd_exec_mode = ProtoField.uint8("srci.cmd.exec_mode", "ExecutionMode", base.DEC, EXEC_MODES, 0x0F),
    cmd_priority = ProtoField.uint8("srci.cmd.priority", "Priority", base.DEC, PRIORITIES, 0x0F),
    cmd_parseq = ProtoField.uint8("srci.cmd.parseq", "ParSeq", base.DEC, nil, 0xF0),
    missing = ProtoField.uint16("srci.missing", "Trailing bytes not sent (count as zero)"),
    rsp_cmd_type = ProtoField.string("srci.rsp.cmd_type", "Answer to"),
    rsp_state = ProtoField.uint8("srci.rsp.state", "State", base.DEC, CMD_STATES, 0x0F),
    rsp_parseq = ProtoField.uint8("srci.rsp.parseq", "ParSeq", base.DEC, nil, 0xF0),
    rsp_severity = ProtoField.int8("srci.rsp.severity", "AlarmMessageSeverity", base.DEC, SEVERITIES),
    rsp_code = ProtoField.uint16("srci.rsp.code", "AlarmMessageCode", base.HEX, CODES),
    event_kind = ProtoField.uint8("srci.event.kind", "Gateway event", base.DEC, EVENT_KINDS),
    event_text = ProtoField.string("srci.event.text", "Text"),
}

local STATUS_BITS = {
    { "is_moving", "IsMoving", 0x1 }, { "primary_paused", "PrimarySequencePaused", 0x2 },
    { "in_primary_pos", "InPrimaryPos", 0x4 }, { "secondary_active", "SecondarySequenceActive", 0x8 },
    { "is_blending", "IsBlending", 0x10 }, { "error_pending", "ErrorPending", 0x20 },
    { "restart_in_progress", "RestartInProgress", 0x40 }, { "enabled", "Enabled", 0x80 },
    { "collision", "CollisionDetected", 0x2000 }, { "restart_requested", "RestartRequested", 0x4000 },
    { "accelerating", "Accelerating", 0x8000 }, { "decelerating", "Decelerating", 0x10000 },
    { "constant_velocity", "ConstantVelocity", 0x20000 },
}
local status_fields = {}
for _, b in ipairs(STATUS_BITS) do
    status_fields[#status_fields + 1] = ProtoField.bool("srci.status." .. b[1], b[2], 32, nil, b[3])
    hf["status_" .. b[1]] = status_fields[#status_fields]
end
hf.status_seq_state = ProtoField.uint32("srci.status.sequence_state", "RA sequence state", base.DEC, SEQ_STATES, 0x300)
hf.status_op_mode = ProtoField.uint32("srci.status.operation_mode", "Operation mode", base.DEC, OP_MODES, 0x1C00)

local ef = {
    lifesign = ProtoExpert.new("srci.expert.lifesign_mismatch", "Header and footer lifesign differ (torn telegram)",
        expert.group.PROTOCOL, expert.severity.WARN),
    length = ProtoExpert.new("srci.expert.length", "Lengths do not add up", expert.group.PROTOCOL, expert.severity.WARN),
    overrun = ProtoExpert.new("srci.expert.overrun", "Fragment overruns its sequence", expert.group.PROTOCOL,
        expert.severity.ERROR),
    pointer = ProtoExpert.new("srci.expert.pointer", "Fragment does not continue the previous one",
        expert.group.SEQUENCE, expert.severity.WARN),
    unknown_cmd = ProtoExpert.new("srci.expert.unknown_cmd", "Unknown command type", expert.group.PROTOCOL,
        expert.severity.WARN),
    error_severity = ProtoExpert.new("srci.expert.error_severity",
        "Error response with severity below 28 or no code: the PLC shows the error for one cycle only",
        expert.group.PROTOCOL, expert.severity.WARN),
    cmd_error = ProtoExpert.new("srci.expert.cmd_error", "Command ended in Error", expert.group.RESPONSE_CODE,
        expert.severity.NOTE),
    tel_error = ProtoExpert.new("srci.expert.telegram_state", "Interface error state", expert.group.RESPONSE_CODE,
        expert.severity.WARN),
    reserved = ProtoExpert.new("srci.expert.reserved_bit", "Reserved TelegramNumber bit set", expert.group.PROTOCOL,
        expert.severity.WARN),
    reassembled = ProtoExpert.new("srci.expert.reassembled", "Command reassembled from several telegrams",
        expert.group.REASSEMBLE, expert.severity.CHAT),
    no_command = ProtoExpert.new("srci.expert.unknown_cmd_id", "Answer to a CmdID whose command is not in this capture",
        expert.group.SEQUENCE, expert.severity.NOTE),
}

------------------------------------------------------------------------------------------------
-- Payload layouts: {offset, key, type, label, extra}; the field abbreviation is
-- srci.cmd.<key> for commands, srci.rsp.<key> for responses, srci.cyclic.<key> for cyclic blocks.
------------------------------------------------------------------------------------------------

local SIZES = { u8 = 1, i8 = 1, bit = 1, config = 1, u16 = 2, i16 = 2, pct = 2, date = 2, u32 = 4, tod = 4, f32 = 4,
    turns = 4, cfgmode = 2, jogdir = 3, ver3 = 3 }
local registry = {}

local function field_for(area, e)
    local abbr = "srci." .. area .. "." .. e.k
    local f = registry[abbr]
    if f then return f end
    local t, label = e.t, e.l
    if t == "f32" then f = ProtoField.float(abbr, label)
    elseif t == "i8" or t == "i16" then f = ProtoField.int32(abbr, label, base.DEC, e.vs)
    elseif t == "bit" then f = ProtoField.bool(abbr, label)
    elseif t == "chars" or t == "jogdir" then f = ProtoField.string(abbr, label)
    elseif t == "bytes" or t == "turns" or t == "ver3" then f = ProtoField.bytes(abbr, label)
    else f = ProtoField.uint32(abbr, label, e.hex and base.HEX or base.DEC, e.vs) end
    registry[abbr] = f
    return f
end

-- Entries are copied: the same table pieces serve commands and responses, which have fields of
-- their own.
local function layout(area, entries)
    local out = {}
    for i, e in ipairs(entries) do
        local c = {}
        for k, v in pairs(e) do c[k] = v end
        c.f = field_for(area, c)
        out[i] = c
    end
    return out
end

local function E(o, k, t, l, extra)
    local e = { o = o, k = k, t = t, l = l }
    if type(extra) == "table" and extra.vs == nil and extra.hex == nil then e.vs = extra
    elseif type(extra) == "table" then e.vs, e.hex = extra.vs, extra.hex
    elseif t == "bit" then e.bit = extra or 0
    elseif extra then e.n = extra end
    return e
end

local function concat(...)
    local out = {}
    for _, list in ipairs({ ... }) do for _, e in ipairs(list) do out[#out + 1] = e end end
    return out
end

local POSE_NAMES = { { "x", "X [mm]" }, { "y", "Y [mm]" }, { "z", "Z [mm]" }, { "rx", "RX [deg]" }, { "ry", "RY [deg]" },
    { "rz", "RZ [deg]" } }
local function pose(o, prefix, what)
    local out = {}
    for i, p in ipairs(POSE_NAMES) do
        out[i] = E(o + 4 * (i - 1), (prefix or "") .. p[1], "f32", (what and (what .. " ") or "") .. p[2])
    end
    return out
end
local function reals(o, keyfmt, labelfmt, first, count)
    local out = {}
    for i = 0, count - 1 do
        out[#out + 1] = E(o + 4 * i, string.format(keyfmt, first + i), "f32", string.format(labelfmt, first + i))
    end
    return out
end
local function joints(o, prefix, what)
    return reals(o, (prefix or "") .. "j%d", (what and (what .. " ") or "") .. "J%d [deg or mm]", 1, 6)
end
local function stamp(o)
    return { E(o, "date", "date", "Date of last change"), E(o + 2, "time", "tod", "Time of last change") }
end
local EMIT = { E(4, "emitter_id", "bytes", "EmitterID[0..3]", 4), E(8, "listener_id", "i8", "ListenerID") }
local function rates(o)
    return { E(o, "vel_rate", "pct", "VelocityRate"), E(o + 2, "acc_rate", "pct", "AccelerationRate"),
        E(o + 4, "dec_rate", "pct", "DecelerationRate"), E(o + 6, "jerk_rate", "pct", "JerkRate") }
end
local MOTION_RSP = { E(4, "invocation_counter", "u8", "InvocationCounter"), E(6, "origin_id", "i16", "OriginID"),
    E(8, "progress", "pct", "Progress") }
local DATA_CHANGED = function(o) return E(o, "data_changed", "bit", "DataChanged") end

local move_axes = concat(EMIT, rates(10), {
    E(18, "tool_no", "u8", "ToolNo"), E(19, "blending_mode", "u8", "BlendingMode", BLENDING_MODES),
    E(20, "blending_param0", "f32", "BlendingParameter[0]"), E(24, "blending_param1", "f32", "BlendingParameter[1]") },
    joints(28), { E(52, "e1", "f32", "E1 [deg or mm]"), E(56, "manipulation", "bit", "Manipulation"),
    E(58, "move_time", "u16", "Time [ms]") }, reals(60, "e%d", "E%d [deg or mm]", 2, 5))

local function move_cartesian(linear, relative)
    local head = concat(EMIT, rates(10), {
        E(18, "tool_no", "u8", "ToolNo"), E(19, "frame_no", "u8", "FrameNo"),
        E(20, "blending_mode", "u8", "BlendingMode", BLENDING_MODES) })
    if linear then head[#head + 1] = E(21, "ori_mode", "u8", "OriMode", ORI_MODES) end
    local tail = { E(22, "blending_param0", "f32", "BlendingParameter[0]"),
        E(26, "blending_param1", "f32", "BlendingParameter[1]") }
    local target = pose(30, nil, relative and "Distance" or nil)
    local rest = { E(54, "config", "config", "Config"), E(56, "turns", "turns", "Turn numbers"),
        E(60, "e1", "f32", "E1 [deg or mm]"), E(64, "manipulation", "bit", "Manipulation") }
    if not relative then
        rest = concat(rest, { E(65, "turn_mode", "u8", "TurnMode", TURN_MODES), E(66, "config_mode", "cfgmode", "ConfigMode") })
    elseif linear then
        rest = concat(rest, { E(65, "config_mode", "cfgmode", "ConfigMode"),
            E(67, "reference_type", "u8", "ReferenceType", REFERENCE_TYPES), E(68, "turn_mode", "u8", "TurnMode", TURN_MODES) })
    else
        rest = concat(rest, { E(66, "config_mode", "cfgmode", "ConfigMode"),
            E(68, "reference_type", "u8", "ReferenceType", REFERENCE_TYPES), E(69, "turn_mode", "u8", "TurnMode", TURN_MODES) })
    end
    return concat(head, tail, target, rest, { E(70, "move_time", "u16", "Time [ms]") }, reals(72, "e%d", "E%d [deg or mm]", 2, 5))
end
local move_cart_rsp = concat(MOTION_RSP, { E(10, "remaining_distance", "f32", "RemainingDistance [mm]") })

local sw_limits = concat(stamp(4), reals(10, "min_j%d", "Lower limit J%d [deg or mm]", 1, 6),
    { E(34, "min_e1", "f32", "Lower limit E1") }, reals(38, "max_j%d", "Upper limit J%d [deg or mm]", 1, 6),
    { E(62, "max_e1", "f32", "Upper limit E1") }, reals(66, "min_e%d", "Lower limit E%d", 2, 5),
    reals(86, "max_e%d", "Upper limit E%d", 2, 5))
local work_area_body = concat(stamp(6), {
    E(12, "area_type", "u8", "AreaType", AREA_TYPES), E(13, "area_mode", "bit", "AreaMode"),
    E(14, "reaction_mode", "u8", "ReactionMode", REACTION_MODES), E(15, "active_modification", "bit", "ActiveModification"),
    E(16, "frame_no", "u8", "FrameNo"), E(17, "zero_x", "f32", "ZeroPoint X [mm]"), E(21, "zero_y", "f32", "ZeroPoint Y [mm]"),
    E(25, "zero_z", "f32", "ZeroPoint Z [mm]"), E(29, "x1", "f32", "X1 [mm]"), E(33, "x2", "f32", "X2 [mm]"),
    E(37, "y1", "f32", "Y1 [mm]"), E(41, "y2", "f32", "Y2 [mm]"), E(45, "z1", "f32", "Z1 [mm]"), E(49, "z2", "f32", "Z2 [mm]"),
    E(53, "radius", "f32", "Radius [mm]") }, reals(57, "min_j%d", "Lower limit J%d [deg or mm]", 1, 6),
    { E(81, "min_e1", "f32", "Lower limit E1") }, reals(85, "max_j%d", "Upper limit J%d [deg or mm]", 1, 6),
    { E(109, "max_e1", "f32", "Upper limit E1") }, reals(113, "min_e%d", "Lower limit E%d", 2, 5),
    reals(133, "max_e%d", "Upper limit E%d", 2, 5), { DATA_CHANGED(153) })
local ref_dyn = function(o, step)
    return { E(o, "vel_ref", "f32", "VelocityReference [mm/s]"), E(o + step, "acc_ref", "f32", "AccelerationReference [mm/s2]"),
        E(o + 2 * step, "dec_ref", "f32", "DecelerationReference [mm/s2]"), E(o + 3 * step, "jerk_ref", "f32", "JerkReference [mm/s3]") }
end
local load_body = concat(stamp(4), pose(10, nil, "Centre of gravity"), { E(34, "mass", "f32", "Mass [kg]"),
    E(38, "ix", "f32", "IX [kg m2]"), E(42, "iy", "f32", "IY [kg m2]"), E(46, "iz", "f32", "IZ [kg m2]"),
    E(50, "load_no", "u8", "LoadNo") })
local tool_body = concat(stamp(4), pose(10, nil, "TCP"), { E(34, "tool_id", "u8", "ID (physical tool)"),
    E(35, "load_no", "u8", "LoadNo"), E(36, "external_tcp", "bit", "ExternalTCP"), E(38, "tool_no", "u8", "ToolNo") })
local frame_body = concat(stamp(4), { E(10, "reference_frame", "u8", "ReferenceFrame") }, pose(12),
    { E(36, "frame_no", "u8", "FrameNo") })
local kin_ext = function(o) return reals(o, "e%d", "E%d [deg or mm]", 1, 6) end
local dio_req = concat(EMIT, { E(10, "index", "bytes", "Index[0..4]", 5) })
local dio_rsp = { E(4, "invocation_counter", "u8", "InvocationCounter"), E(6, "origin_id", "i16", "OriginID"),
    E(8, "values", "bytes", "Values[0..4]", 5) }

local REQUESTS = {
    [1000] = { E(4, "enable", "bit", "Enable"), E(5, "step_mode", "u8", "StepMode", STEP_MODES),
        E(6, "hold_to_run", "bit", "HoldToRun"), E(6, "manual_step", "bit", "ManualStep", 1),
        E(7, "manual_step_byte7", "bit", "ManualStep (some clients send it in byte 7)") },
    [1003] = { E(4, "operation_mode", "u8", "OperationMode", OP_MODES) },
    [1004] = { E(4, "target_sequence", "u8", "TargetSequence", SEQUENCES) },
    [2000] = { E(4, "override", "pct", "Override") },
    [2100] = { E(4, "enable", "bit", "Enable"), E(6, "tool_no", "u8", "ToolNo"), E(7, "frame_no", "u8", "FrameNo"),
        E(8, "jog_mode", "u8", "Mode", JOG_MODES), E(10, "inc_translation", "f32", "IncrementalTranslation [mm]"),
        E(14, "inc_rotation", "f32", "IncrementalRotation [deg]"), E(18, "override", "pct", "Override"),
        E(20, "jog_directions", "jogdir", "Directions") },
    [2101] = move_axes, [2105] = move_axes,
    [2102] = move_cartesian(false, false), [2103] = move_cartesian(true, false),
    [2108] = move_cartesian(false, true), [2110] = move_cartesian(true, true),
    [5100] = concat(EMIT, { E(10, "tool_no", "u8", "ToolNo"), E(11, "frame_no", "u8", "FrameNo") }),
    [5102] = { E(4, "frame_no", "u8", "FrameNo") }, [5103] = { E(4, "load_no", "u8", "LoadNo") },
    [5107] = { E(4, "tool_no", "u8", "ToolNo") },
    [5200] = frame_body, [5201] = load_body, [5205] = tool_body,
    [5202] = concat(stamp(4), rates(10)),
    [5203] = concat(stamp(4), ref_dyn(10, 4)),
    [5204] = concat(sw_limits, { E(106, "reset_to_factory", "bit", "ResetToFactoryDefault") }),
    [6100] = dio_req, [6101] = dio_req,
    [6104] = concat(dio_req, { E(16, "bitmask", "bytes", "OutputBitmask[0..4]", 5), E(22, "values", "bytes", "Values[0..4]", 5) }),
    [7203] = concat({ E(4, "tool_no", "u8", "ToolNo"), E(5, "frame_no", "u8", "FrameNo") }, joints(6), kin_ext(30)),
    [7204] = concat({ E(4, "tool_no", "u8", "ToolNo"), E(5, "frame_no", "u8", "FrameNo") }, pose(6),
        { E(30, "config", "config", "Config"), E(32, "turns", "turns", "Turn numbers") }, kin_ext(36)),
    [7502] = { E(4, "work_area_no", "u8", "WorkAreaNo") },
    [7503] = concat({ E(4, "work_area_no", "u16", "WorkAreaNo") }, work_area_body),
    [9000] = { E(4, "log_level", "u8", "LogLevel", SEVERITIES), E(5, "wait_at_blending", "bit", "WaitAtBlendingZone"),
        E(5, "enable", "bit", "Enable", 1), E(5, "allow_sec_seq", "bit", "AllowSecSeqWhileSubprogram", 2),
        E(5, "allow_dynamic_blending", "bit", "AllowDynamicBlending", 3), E(6, "delay_time", "u16", "DelayTime [ms]"),
        E(8, "wait_for_nr_of_cmd", "u16", "WaitForNrOfCmd"), E(10, "lifesign_timeout", "u16", "LifeSignTimeOut [ms]"),
        E(12, "sync_delay", "u16", "SyncDelay [ms]"), E(14, "sync_reaction", "u8", "SyncReaction", SYNC_REACTIONS),
        E(15, "data_in_sync", "u8", "DataInSync (client)", { hex = true }),
        E(17, "data_enable_sync", "u8", "DataEnableSync", { hex = true }) },
    [9001] = { E(4, "msg_id", "u8", "MsgID (acknowledged)"), E(5, "enable", "bit", "Enable"),
        E(6, "message_level", "u8", "MessageLevel", SEVERITIES) },
}

local RESPONSES = {
    [1000] = { E(4, "enabled", "bit", "Enabled") },
    [2003] = { E(4, "aborted_sequence", "i8", "AbortedSequence") },
    [2100] = { E(4, "enabled", "bit", "Enabled"), E(4, "distance_reached", "bit", "DistanceReached", 1),
        E(4, "motion_active", "bit", "MotionActive", 2) },
    [2101] = MOTION_RSP, [2105] = MOTION_RSP,
    [2102] = move_cart_rsp, [2103] = move_cart_rsp, [2108] = move_cart_rsp, [2110] = move_cart_rsp,
    [5100] = concat({ E(4, "invocation_counter", "u8", "InvocationCounter"), E(6, "origin_id", "i16", "OriginID"),
        E(8, "tool_no", "u8", "ToolNoReturn"), E(9, "frame_no", "u8", "FrameNoReturn") }, pose(10),
        { E(34, "config", "config", "Config"), E(36, "turns", "turns", "Turn numbers"), E(40, "e1", "f32", "E1 [deg or mm]") },
        joints(44), reals(68, "e%d", "E%d [deg or mm]", 2, 5), reals(88, "je%d", "Joint E%d [deg or mm]", 1, 6)),
    [5102] = concat(frame_body, { DATA_CHANGED(37) }),
    [5103] = concat(load_body, { DATA_CHANGED(51) }),
    [5107] = concat(tool_body, { DATA_CHANGED(39) }),
    [5104] = concat(stamp(4), rates(10), { DATA_CHANGED(18) }),
    [5105] = concat(stamp(4), ref_dyn(10, 4), { DATA_CHANGED(26) }),
    [5106] = concat(sw_limits, { DATA_CHANGED(106) }),
    [5202] = rates(4),
    [5203] = ref_dyn(4, 4),
    [5204] = { E(4, "restart_requested", "bit", "RestartRequested") },
    [6100] = dio_rsp, [6101] = dio_rsp,
    [6104] = { E(4, "invocation_counter", "u8", "InvocationCounter"), E(6, "origin_id", "i16", "OriginID") },
    [7203] = concat({ E(4, "tool_no", "u8", "ToolNoReturn"), E(5, "frame_no", "u8", "FrameNoReturn") }, pose(6),
        { E(30, "config", "config", "Config"), E(32, "turns", "turns", "Turn numbers") }, kin_ext(36)),
    [7204] = concat(joints(4), kin_ext(28)),
    [7502] = concat({ E(4, "work_area_no", "u8", "WorkAreaNo") }, work_area_body),
    [9000] = { E(4, "enabled", "bit", "Enabled"), E(6, "length_acr", "u16", "LengthACR"),
        E(8, "highest_tool_index", "u8", "HighestToolIndex"), E(9, "highest_frame_index", "u8", "HighestFrameIndex"),
        E(10, "highest_load_index", "u8", "HighestLoadIndex"), E(11, "highest_work_area_index", "u8", "HighestWorkAreaIndex"),
        E(12, "data_in_sync", "u8", "DataInSync (robot)", { hex = true }),
        E(14, "change_index_tool", "u8", "ChangeIndexTool"), E(15, "change_index_frame", "u8", "ChangeIndexFrame"),
        E(16, "change_index_load", "u8", "ChangeIndexLoad"), E(17, "change_index_work_area", "u8", "ChangeIndexWorkArea"),
        E(18, "ra_working_hours", "u32", "RA working hours [h]"),
        E(22, "brake_test_required", "bit", "BrakeTestRequired"), E(22, "step_exact_active", "bit", "StepModeExactStopActive", 1),
        E(22, "step_blending_active", "bit", "StepModeBlendingActive", 2), E(22, "path_accuracy_mode", "bit", "PathAccuracyMode", 3),
        E(22, "avoid_singularity", "bit", "AvoidSingularity", 4), E(22, "collision_detection", "bit", "CollisionDetectionEnabled", 5),
        E(22, "accelerating_supported", "bit", "AcceleratingSupported", 6),
        E(22, "decelerating_supported", "bit", "DeceleratingSupported", 7),
        E(23, "constant_velocity_supported", "bit", "ConstantVelocitySupported"),
        E(23, "safe_referencing_required", "bit", "SafeReferencingRequired", 1),
        E(24, "rc_working_hours", "u32", "RC working hours [h]"), E(28, "server_logs", "u16", "NumberOfServerLogs") },
    [9001] = { E(4, "msg_id", "u8", "MsgID"), E(5, "enabled", "bit", "Enabled"),
        E(6, "active_errors", "u8", "NumberOfActiveErrors"), E(7, "active_warnings", "u8", "NumberOfActiveWarnings"),
        E(8, "date", "date", "Message date"), E(10, "time", "tod", "Message time"), E(14, "msg_type", "u8", "MsgType", MSG_TYPES),
        E(15, "msg_severity", "i8", "Severity", SEVERITIES), E(16, "error_code", "u32", "ErrorCode", { vs = CODES, hex = true }),
        E(20, "text", "chars", "Text", 150) },
    [9002] = { E(4, "manufacturer", "chars", "RCManufacturer", 20), E(24, "order_id", "chars", "RCOrderID", 20),
        E(44, "rc_serial", "chars", "RCSerialNumber", 16), E(60, "ra_serial", "chars", "RASerialNumber", 16),
        E(76, "firmware", "chars", "RCFirmwareVersion", 12), E(88, "interpreter_version", "ver3", "RCInterpreterVersion"),
        E(92, "axis_joint_used", "u8", "AxisJointUsed", { hex = true }),
        E(93, "axis_external_used", "u8", "AxisExternalUsed", { hex = true }),
        E(94, "axis_joint_unit", "u8", "AxisJointUnit (1 = mm)", { hex = true }),
        E(95, "axis_external_unit", "u8", "AxisExternalUnit (1 = mm)", { hex = true }),
        E(96, "supported_functions", "bytes", "RCSupportedFunctions", 19), E(116, "robot_id", "chars", "RobotID", 16),
        E(132, "cycle_time", "u16", "InterpreterCycleTime [ms]") },
}
for k, v in pairs(REQUESTS) do REQUESTS[k] = layout("cmd", v) end
for k, v in pairs(RESPONSES) do RESPONSES[k] = layout("rsp", v) end

-- Optional cyclic blocks by TelegramNumber bit: {size, name, layout}.
local function cyc(entries) return layout("cyclic", entries) end
local CART_P2R = concat(pose(0), { E(24, "config", "config", "Config"), E(26, "turns", "turns", "Turn numbers"),
    E(30, "e1", "f32", "E1 [deg or mm]") })
local BLOCKS_P2R = {
    [0] = { 26, "SubProgramData", cyc({ E(0, "subprogram_data", "bytes", "SubProgramData", 26) }) },
    [1] = { 34, "CartesianPosition", cyc(CART_P2R) },
    [2] = { 28, "JointPosition", cyc(concat(joints(0), { E(24, "je1", "f32", "Joint E1 [deg or mm]") })) },
    [3] = { 24, "Force", cyc(reals(0, "force%d", "Force/torque %d [N or Nm]", 1, 6)) },
    [9] = { 20, "CartesianPositionExt", cyc(reals(0, "e%d", "E%d [deg or mm]", 2, 5)) },
    [10] = { 20, "JointPositionExt", cyc(reals(0, "je%d", "Joint E%d [deg or mm]", 2, 5)) },
}
local BLOCKS_R2P = {
    [0] = BLOCKS_P2R[0],
    [1] = { 40, "CartesianPosition", cyc(concat(CART_P2R, { E(34, "tool_no", "u8", "ToolNo"), E(35, "frame_no", "u8", "FrameNo"),
        E(36, "used_tool_no", "u8", "CurrentlyUsedToolNo"), E(37, "used_frame_no", "u8", "CurrentlyUsedFrameNo") })) },
    [2] = { 30, "JointPosition", BLOCKS_P2R[2][3] },
    [3] = BLOCKS_P2R[3],
    [4] = { 24, "Current", cyc(reals(0, "current%d", "Current J%d [A]", 1, 6)) },
    [9] = BLOCKS_P2R[9], [10] = BLOCKS_P2R[10],
    [11] = { 24, "ForceExt", cyc(reals(0, "force_e%d", "Force E%d", 1, 6)) },
    [12] = { 24, "CurrentExt", cyc(reals(0, "current_e%d", "Current E%d [A]", 1, 6)) },
}

------------------------------------------------------------------------------------------------
-- Value formatting
------------------------------------------------------------------------------------------------

local function percent_text(raw)
    if raw == 0xFFFF then return "not set (robot default)" end
    return string.format("%.2f %%", raw / 100)
end
local function date_text(days) return os.date("!%Y-%m-%d", 631152000 + days * 86400) end
local function tod_text(ms)
    return string.format("%02d:%02d:%02d.%03d", idiv(ms, 3600000), idiv(ms, 60000) % 60, idiv(ms, 1000) % 60, ms % 1000)
end
local function config_text(b)
    return string.format("shoulder %s, elbow %s, wrist %s", band(b, 1) ~= 0 and "back" or "front",
        band(b, 2) ~= 0 and "down" or "up", band(b, 4) ~= 0 and "flip" or "non-flip")
end
local function turn_value(nibble) -- sign and magnitude per the SRCI standard
    local m = band(nibble, 7)
    return band(nibble, 8) ~= 0 and -m or m
end
local function turns_text(r)
    local b0, b1, b2, b3 = r(0, 1):uint(), r(1, 1):uint(), r(2, 1):uint(), r(3, 1):uint()
    local e1 = band(b3, 0x7F) * ((band(b3, 0x80) ~= 0) and -1 or 1)
    return string.format("J1 %d J2 %d J3 %d J4 %d J5 %d J6 %d E1 %d", turn_value(band(b0, 15)), turn_value(rshift(b0, 4)),
        turn_value(band(b1, 15)), turn_value(rshift(b1, 4)), turn_value(band(b2, 15)), turn_value(rshift(b2, 4)), e1)
end
local JOG_BITS = { "X/J1+", "Y/J2+", "Z/J3+", "RX/J4+", "RY/J5+", "RZ/J6+", "X/J1-", "Y/J2-", "Z/J3-", "RX/J4-", "RY/J5-",
    "RZ/J6-", "E1+", "E2+", "E3+", "E4+", "E5+", "E6+", "E1-", "E2-", "E3-", "E4-", "E5-", "E6-" }
local function jog_text(r)
    local out = {}
    for i = 0, 23 do
        if band(rshift(r(idiv(i, 8), 1):uint(), i % 8), 1) ~= 0 then out[#out + 1] = JOG_BITS[i + 1] end
    end
    return #out > 0 and table.concat(out, " ") or "none"
end
local function code_name(code) return CODES[code] or "unknown code" end

------------------------------------------------------------------------------------------------
-- Decoding
------------------------------------------------------------------------------------------------

-- Adds every field of entries that lies completely inside ptvb; returns the number of bytes of the
-- full table that were not sent (a client may cut zero tails).
local function add_fields(tree, ptvb, entries)
    local len, missing_to = ptvb:len(), 0
    for _, e in ipairs(entries) do
        local size = SIZES[e.t] or e.n
        if e.o + size > len then
            missing_to = math.max(missing_to, e.o + size)
        else
            local r = ptvb(e.o, size)
            local t = e.t
            if t == "bit" then
                tree:add(e.f, r, band(rshift(r:uint(), e.bit), 1) ~= 0)
            elseif t == "pct" then
                tree:add(e.f, r):append_text(" (" .. percent_text(r:uint()) .. ")")
            elseif t == "date" then
                tree:add(e.f, r):append_text(" (" .. date_text(r:uint()) .. ")")
            elseif t == "tod" then
                tree:add(e.f, r):append_text(" (" .. tod_text(r:uint()) .. ")")
            elseif t == "config" then
                tree:add(e.f, r):append_text(" (" .. config_text(r:uint()) .. ")")
            elseif t == "cfgmode" then
                local v = r:uint()
                tree:add(e.f, r):append_text(string.format(" (shoulder: %s, elbow: %s, wrist: %s)",
                    CONFIG_MODES[band(rshift(v, 8), 15)] or "?", CONFIG_MODES[rshift(v, 12)] or "?", CONFIG_MODES[band(v, 15)] or "?"))
            elseif t == "turns" then
                tree:add(e.f, r):append_text(" (" .. turns_text(r) .. ")")
            elseif t == "jogdir" then
                tree:add(e.f, r, jog_text(r))
            elseif t == "ver3" then
                tree:add(e.f, r):append_text(string.format(" (%d.%d.%d)", r(0, 1):uint(), r(1, 1):uint(), r(2, 1):uint()))
            elseif t == "chars" then
                tree:add(e.f, r, r:stringz())
            elseif t == "i8" or t == "i16" then
                tree:add(e.f, r, r:int())
            else
                tree:add(e.f, r)
            end
        end
    end
    return math.max(0, missing_to - len)
end

local frames = {}        -- per frame number: what the first pass learned
local st = {}            -- running state of the first pass

function srci.init()
    frames = {}
    st = { last_seq = nil, last_ack = nil, tn_r2p = 6, len_r2p = 256, cmd_types = {}, partial = { cmd = {}, rsp = {} },
        assembled = {}, seq_busy = {} }
end

-- Collects split payloads per CmdID (first pass only). Returns the complete payload as a
-- ByteArray when a fragment finishes one that spans several fragments.
local function reassemble(kind, key, cmd_id, action, pointer, range)
    local parts = st.partial[kind]
    if pointer == 0 then parts[cmd_id] = { data = ByteArray.new(), n = 0 } end
    local p = parts[cmd_id]
    if not p or p.data:len() ~= pointer then
        parts[cmd_id] = nil
        return nil, true
    end
    if range then p.data:append(range:bytes()) end
    p.n = p.n + 1
    if band(action, 1) ~= 0 then
        parts[cmd_id] = nil
        if p.n > 1 then st.assembled[kind .. key .. ":" .. cmd_id] = p end
    end
    return nil, false
end

local function dissect_command(ptvb, tree, cmd_id, info)
    local len = ptvb:len()
    if len < 4 then
        tree:add(hf.missing, ptvb(0, len), 4 - len)
        return
    end
    local code = ptvb(0, 2):uint()
    local name = CMD_TYPES[code]
    tree:add(hf.cmd_type, ptvb(0, 2), name or ("unknown (" .. code .. ")"))
    local ti = tree:add(hf.cmd_type_code, ptvb(0, 2))
    if not name then ti:add_proto_expert_info(ef.unknown_cmd, "Unknown command type " .. code) end
    tree:add(hf.cmd_exec_mode, ptvb(2, 1))
    tree:add(hf.cmd_priority, ptvb(3, 1))
    tree:add(hf.cmd_parseq, ptvb(3, 1))
    tree:append_text(string.format(": %s (CmdID %d)", name or code, cmd_id))
    info[#info + 1] = string.format("%s #%d", name or code, cmd_id)
    local entries = REQUESTS[code]
    if entries then
        local missing = add_fields(tree, ptvb, entries)
        if missing > 0 then tree:add(hf.missing, ptvb(len - 1, 1), missing):set_generated() end
    end
end

local function dissect_response(ptvb, tree, cmd_id, code, info)
    local len = ptvb:len()
    if code then
        tree:add(hf.rsp_cmd_type, CMD_TYPES[code] or tostring(code)):set_generated()
    else
        tree:add_proto_expert_info(ef.no_command)
    end
    if len < 4 then
        tree:add(hf.missing, ptvb(0, len), 4 - len)
        return
    end
    local state = band(ptvb(0, 1):uint(), 15)
    local severity = ptvb(1, 1):int()
    local alarm = ptvb(2, 2):uint()
    tree:add(hf.rsp_state, ptvb(0, 1))
    tree:add(hf.rsp_parseq, ptvb(0, 1))
    tree:add(hf.rsp_severity, ptvb(1, 1))
    tree:add(hf.rsp_code, ptvb(2, 2))
    local sname = CMD_STATES[state] or tostring(state)
    tree:append_text(string.format(": %s #%d %s", code and CMD_TYPES[code] or "?", cmd_id, sname))
    if state == 15 then
        tree:add_proto_expert_info(ef.cmd_error, string.format("%s #%d ended in Error: 0x%04X %s",
            code and CMD_TYPES[code] or "command", cmd_id, alarm, code_name(alarm)))
        if severity < 28 or alarm == 0 then
            tree:add_proto_expert_info(ef.error_severity, string.format(
                "Error response with severity %d and code 0x%04X: the PLC shows the error for one cycle only", severity, alarm))
        end
    end
    local text = string.format("#%d %s", cmd_id, sname)
    if alarm ~= 0 then text = text .. string.format(" 0x%04X", alarm) end
    info[#info + 1] = text
    local entries = code and RESPONSES[code]
    if entries then add_fields(tree, ptvb, entries) end
end

local function add_cyclic(tvb, tree, pos, tn, blocks, limit)
    for bit = 0, 15 do
        if band(rshift(tn, bit), 1) ~= 0 and bit ~= 8 then
            local b = blocks[bit]
            if not b then
                tree:add_proto_expert_info(ef.reserved, "Reserved TelegramNumber bit " .. bit .. " set")
                return nil
            end
            if pos + b[1] > limit then
                tree:add_proto_expert_info(ef.length, "Cyclic block " .. b[2] .. " does not fit the telegram")
                return nil
            end
            local sub = tree:add(srci, tvb(pos, b[1]), b[2])
            add_fields(sub, tvb(pos, b[1]):tvb(), b[3])
            pos = pos + b[1]
        end
    end
    return pos
end

-- One sequence area: header, then fragments back to back until PayloadLength is used up.
local function dissect_sequence(tvb, tree, pinfo, from_plc, pos, area_end, label, fi, info)
    if pos + 4 > area_end then
        tree:add_proto_expert_info(ef.length, "No room for the sequence header")
        return
    end
    local seq = tvb(pos, 2):uint()
    local plen = tvb(pos + 2, 2):uint()
    local stree = tree:add(srci, tvb(pos, math.min(4 + plen, area_end - pos)), label)
    stree:add(from_plc and hf.seq or hf.ack, tvb(pos, 2))
    local lti = stree:add(hf.seq_len, tvb(pos + 2, 2))
    local key = (from_plc and "S" or "A") .. label .. seq
    if not pinfo.visited then
        local last = st.seq_busy[label .. tostring(from_plc)]
        fi.new[label] = (last ~= seq)
        st.seq_busy[label .. tostring(from_plc)] = seq
    end
    local is_new = fi.new[label]
    stree:add(hf.seq_new, is_new):set_generated()
    stree:append_text(string.format(" %s %d, %d bytes", from_plc and "SEQ" or "ACK", seq, plen))
    info.seq = string.format("%s %d", from_plc and "SEQ" or "ACK", seq)
    pos = pos + 4
    local seq_end = pos + plen
    if seq_end > area_end then
        lti:add_proto_expert_info(ef.length, string.format("Sequence PayloadLength %d exceeds the telegram (%d bytes left)",
            plen, area_end - pos))
        seq_end = area_end
    end
    local kind = from_plc and "cmd" or "rsp"
    while pos < seq_end do
        if seq_end - pos < 8 then
            stree:add_proto_expert_info(ef.length, string.format("%d bytes left in the sequence, less than a fragment header",
                seq_end - pos))
            return
        end
        local cmd_id = tvb(pos, 2):uint()
        local action = tvb(pos + 3, 1):uint()
        local pointer = tvb(pos + 4, 2):uint()
        local n = tvb(pos + 6, 2):uint()
        local avail = math.min(n, seq_end - pos - 8)
        local ftree = stree:add(srci, tvb(pos, 8 + avail), "Fragment")
        ftree:add(hf.frag_cmd_id, tvb(pos, 2))
        local at = ftree:add(hf.frag_action, tvb(pos + 3, 1))
        at:add(hf.frag_complete, tvb(pos + 3, 1))
        at:add(hf.frag_reset, tvb(pos + 3, 1))
        at:add(hf.frag_clear, tvb(pos + 3, 1))
        ftree:add(hf.frag_pointer, tvb(pos + 4, 2))
        local nti = ftree:add(hf.frag_length, tvb(pos + 6, 2))
        ftree:append_text(string.format(" CmdID %d, action 0x%02X, pointer %d, %d bytes", cmd_id, action, pointer, n))
        local data = avail > 0 and tvb(pos + 8, avail) or nil
        if data then ftree:add(hf.frag_data, data) end
        if n > avail then
            nti:add_proto_expert_info(ef.overrun, string.format("Fragment of CmdID %d claims %d bytes, the sequence has %d left",
                cmd_id, n, avail))
            return
        end
        if not pinfo.visited then
            if is_new then
                if from_plc and pointer == 0 and n >= 2 then st.cmd_types[cmd_id] = tvb(pos + 8, 2):uint() end
                local _, broken = reassemble(kind, key, cmd_id, action, pointer, data)
                if broken then fi.broken[key .. ":" .. cmd_id .. ":" .. pointer] = true end
            end
            if not from_plc then fi.types[cmd_id] = st.cmd_types[cmd_id] end
        end
        if fi.broken[key .. ":" .. cmd_id .. ":" .. pointer] then
            ftree:add_proto_expert_info(ef.pointer, string.format(
                "PayloadPointer %d does not continue the payload received so far for CmdID %d", pointer, cmd_id))
        end
        local whole = nil
        if band(action, 1) ~= 0 then
            if pointer == 0 then
                whole = data and data:tvb() or tvb(pos, 0):tvb()
            else
                local p = st.assembled[kind .. key .. ":" .. cmd_id]
                if p then
                    whole = p.data:tvb(from_plc and "Reassembled SRCI command" or "Reassembled SRCI response")
                    local rt = ftree:add(hf.reassembled, whole(0, whole:len()), p.n):set_generated()
                    ftree:add(hf.reassembled_len, whole(0, whole:len()), whole:len()):set_generated()
                    rt:add_proto_expert_info(ef.reassembled, string.format("Payload of CmdID %d reassembled from %d fragments",
                        cmd_id, p.n))
                end
            end
        elseif pointer == 0 and data then
            whole = data:tvb() -- the first part of a split payload: decode what is already there
            ftree:append_text(" (first part, continues in a later telegram)")
        else
            ftree:append_text(" (middle part)")
        end
        if whole then
            if from_plc then
                dissect_command(whole, ftree, cmd_id, info)
            else
                dissect_response(whole, ftree, cmd_id, fi.types[cmd_id], info)
            end
        end
        pos = pos + 8 + n
    end
end

local function dissect_plc(tvb, tree, pinfo, fi, info)
    local len = tvb:len()
    if len < 19 then
        tree:add_proto_expert_info(ef.length, "Telegram shorter than its header")
        return
    end
    tree:add(hf.direction, "PLC -> robot"):set_generated()
    local vt = tree:add(hf.version, tvb(0, 1))
    vt:add(hf.version_major, tvb(0, 1))
    vt:add(hf.version_minor, tvb(0, 1))
    tree:add(hf.faststop, tvb(1, 1))
    local ls = band(tvb(1, 1):uint(), 15)
    tree:add(hf.lifesign, tvb(1, 1), ls)
    local lp2r = tvb(2, 2):uint()
    local lt = tree:add(hf.len_p2r, tvb(2, 2))
    tree:add(hf.len_r2p, tvb(4, 2))
    tree:add(hf.axes_group, tvb(6, 1))
    tree:add(hf.control, tvb(6, 1))
    local tn_p2r, tn_r2p = tvb(8, 2):uint(), tvb(10, 2):uint()
    tree:add(hf.tn_p2r, tvb(8, 2))
    tree:add(hf.tn_r2p, tvb(10, 2))
    tree:add(hf.client_date, tvb(12, 2)):append_text(" (" .. date_text(tvb(12, 2):uint()) .. ")")
    tree:add(hf.client_time, tvb(14, 4)):append_text(" (" .. tod_text(tvb(14, 4):uint()) .. ")")
    local footer = band(tvb(len - 1, 1):uint(), 15)
    -- The robot's answer is laid out by the TelegramNumber the PLC asked for; a torn or damaged
    -- telegram must not redefine it.
    if not pinfo.visited and footer == ls and lp2r == len then
        st.tn_r2p = tn_r2p
        st.len_r2p = tvb(4, 2):uint()
    end
    local fti = tree:add(hf.footer_lifesign, tvb(len - 1, 1), footer)
    if footer ~= ls then
        fti:add_proto_expert_info(ef.lifesign, string.format("Header lifesign %d, footer lifesign %d", ls, footer))
    end
    if lp2r ~= len then
        lt:add_proto_expert_info(ef.length, string.format("TelegramLengthPlcToRob %d, but the telegram has %d bytes", lp2r, len))
    end
    local control = band(tvb(6, 1):uint(), 15)
    info.head = string.format("PLC->robot LS %d%s", ls, control ~= 0 and (" " .. (CONTROLS[control] or control)) or "")
    local pos = 18
    if band(tn_r2p, 2) ~= 0 or srci.prefs.tool_frame_always then
        if len < 21 then
            tree:add_proto_expert_info(ef.length, "No room for ToolNo/FrameNo before the footer")
            return
        end
        tree:add(hf.tool_no, tvb(18, 1))
        tree:add(hf.frame_no, tvb(19, 1))
        pos = 20
    end
    pos = add_cyclic(tvb, tree, pos, tn_p2r, BLOCKS_P2R, len - 1)
    if not pos then return end
    if band(tn_p2r, 0x100) ~= 0 then
        local half = pos + idiv(len - 1 - pos, 2)
        dissect_sequence(tvb, tree, pinfo, true, pos, half, "Primary sequence", fi, info)
        dissect_sequence(tvb, tree, pinfo, true, half, len - 1, "Secondary sequence", fi, info)
    else
        dissect_sequence(tvb, tree, pinfo, true, pos, len - 1, "Sequence", fi, info)
    end
end

local function dissect_robot(tvb, tree, pinfo, fi, info)
    local len = tvb:len()
    if len < 15 then
        tree:add_proto_expert_info(ef.length, "Telegram shorter than its header")
        return
    end
    if not pinfo.visited then
        fi.tn = st.tn_r2p
        fi.len_r2p = st.len_r2p
    end
    tree:add(hf.direction, "robot -> PLC"):set_generated()
    local vt = tree:add(hf.version, tvb(0, 1))
    vt:add(hf.version_major, tvb(0, 1))
    vt:add(hf.version_minor, tvb(0, 1))
    local ls = rshift(tvb(1, 1):uint(), 4)
    tree:add(hf.lifesign, tvb(1, 1), ls)
    local ts = tvb(3, 1):uint()
    local tti = tree:add(hf.tel_state, tvb(3, 1))
    if ts >= 161 and ts <= 173 then
        tti:add_proto_expert_info(ef.tel_error, string.format("TelegramState %d: %s", ts, TELEGRAM_STATES[ts]))
    end
    local status = tree:add_le(hf.status, tvb(4, 4))
    for _, f in ipairs(status_fields) do status:add_le(f, tvb(4, 4)) end
    status:add_le(hf.status_seq_state, tvb(4, 4))
    status:add_le(hf.status_op_mode, tvb(4, 4))
    tree:add(hf.override, tvb(8, 2)):append_text(" (" .. percent_text(tvb(8, 2):uint()) .. ")")
    local footer = rshift(tvb(len - 1, 1):uint(), 4)
    local fti = tree:add(hf.footer_lifesign, tvb(len - 1, 1), footer)
    if footer ~= ls then
        fti:add_proto_expert_info(ef.lifesign, string.format("Header lifesign %d, footer lifesign %d", ls, footer))
    end
    if fi.len_r2p ~= len then
        tree:add_proto_expert_info(ef.length, string.format(
            "The PLC asked for %d bytes (TelegramLengthRobToPlc), the answer has %d", fi.len_r2p, len))
    end
    info.head = string.format("robot->PLC LS %d TS %d", ls, ts)
    local tn = fi.tn
    local tnti = tree:add(hf.tn_r2p, tn):set_generated()
    tnti:append_text(" (from the PLC's telegram before)")
    local pos = add_cyclic(tvb, tree, 10, tn, BLOCKS_R2P, len - 1)
    if not pos then return end
    if band(tn, 0x100) ~= 0 then
        local half = pos + idiv(len - 1 - pos, 2)
        dissect_sequence(tvb, tree, pinfo, false, pos, half, "Primary sequence", fi, info)
        dissect_sequence(tvb, tree, pinfo, false, half, len - 1, "Secondary sequence", fi, info)
    else
        dissect_sequence(tvb, tree, pinfo, false, pos, len - 1, "Sequence", fi, info)
    end
end

function srci.dissector(tvb, pinfo, tree)
    pinfo.cols.protocol = "SRCI"
    local root = tree:add(srci, tvb())
    local fi = frames[pinfo.number]
    if not fi then
        fi = { new = {}, broken = {}, types = {} }
        frames[pinfo.number] = fi
    end
    if pinfo.src_port == PORT_EVENT then
        if not pinfo.visited then -- a new client starts its own sequence numbers
            st.seq_busy, st.partial = {}, { cmd = {}, rsp = {} }
        end
        if tvb:len() >= 1 then
            root:add(hf.event_kind, tvb(0, 1))
            local text = tvb:len() > 1 and tvb(1):string() or ""
            root:add(hf.event_text, tvb(1), text)
            pinfo.cols.info = (EVENT_KINDS[tvb(0, 1):uint()] or "gateway event") .. ": " .. text
        end
        return
    end
    local info = {}
    if pinfo.dst_port == PORT_ROBOT then
        dissect_plc(tvb, root, pinfo, fi, info)
    else
        dissect_robot(tvb, root, pinfo, fi, info)
    end
    local text = (info.head or "") .. (info.seq and (" " .. info.seq) or "")
    if #info > 0 then text = text .. " [" .. table.concat(info, ", ") .. "]" end
    pinfo.cols.info = text
    root:append_text(", " .. text)
end

local fields = {}
for _, f in pairs(hf) do fields[#fields + 1] = f end
for _, f in pairs(registry) do fields[#fields + 1] = f end
srci.fields = fields
local experts = {}
for _, e in pairs(ef) do experts[#experts + 1] = e end
srci.experts = experts

local udp = DissectorTable.get("udp.port")
udp:add(PORT_ROBOT, srci)
udp:add(PORT_PLC, srci)
udp:add(PORT_EVENT, srci)
