// SPDX-License-Identifier: Apache-2.0
#include "srci_plc/error_names.hpp"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdio>
#include <iterator>
#include <string_view>

namespace srci_plc {

namespace {

struct NamedCode {
    uint32_t code;
    const char* name;
};

// Sorted by code. Lower-case names are the adapter's own codes (0x0001..0x0075 and the
// srci.ini store above 0xFFFF); the others follow the SRCI standard's error list (spelling kept).
constexpr NamedCode kCodes[] = {
    {0x0001, "err_commuitf_init"},
    {0x0002, "err_commuitf_recv"},
    {0x0003, "err_commuitf_send"},
    {0x0011, "err_joints_index"},
    {0x0012, "err_tools_index"},
    {0x0013, "err_frames_index"},
    {0x0014, "err_load_index"},
    {0x0015, "err_tools_setting"},
    {0x0016, "err_frames_setting"},
    {0x0020, "err_move"},
    {0x0021, "err_move_joint"},
    {0x0022, "err_move_linear"},
    {0x0023, "err_move_direct"},
    {0x0030, "err_disable_when_moving"},
    {0x0031, "err_pause"},
    {0x0032, "err_stop"},
    {0x0033, "err_continue"},
    {0x0041, "err_kine_init"},
    {0x0043, "err_io"},
    {0x0044, "err_ikine"},
    {0x0045, "err_fkine"},
    {0x0052, "err_joints_outofrange"},
    {0x0053, "err_joints_turnnumber"},
    {0x0055, "err_frame_ref"},
    {0x0056, "err_manipulation"},
    {0x0057, "err_vel_too_low"},
    {0x0058, "err_acc_too_low"},
    {0x0071, "err_power_on"},
    {0x0072, "err_power_off"},
    {0x0073, "err_disable"},
    {0x0074, "err_enable"},
    {0x0075, "err_pstop_estop"},
    {0x00A1, "ERR_RI_TEL_CMD_DOES_NOT_MATCH_STATE"},
    {0x00A2, "ERR_RI_TEL_INITIALIZATION_LOST"},
    {0x00A3, "ERR_RI_TEL_INVALID_TELEGRAM_LENGTH"},
    {0x00A4, "ERR_RI_TEL_VERSION_MISMATCH"},
    {0x00A5, "ERR_RI_TEL_LIFESIGN_TIMEOUT"},
    {0x00A6, "ERR_RI_TEL_NOT_ENOUGH_SPACE_FOR_OPT_CYCLIC_DATA"},
    {0x00A7, "ERR_RI_TEL_RESET_AFTER_INITIALIZED"},
    {0x00A8, "ERR_RI_TEL_SEQUENCE_TIMEOUT"},
    {0x00A9, "ERR_RI_TEL_TELEGRAM_NR_CHANGED_AFTER_INIT"},
    {0x00AA, "ERR_RI_TEL_INVALID_AXES_GROUP_ID"},
    {0x00AB, "ERR_RI_TEL_INVALID_TELEGRAM_NUMBER"},
    {0x00AC, "ERR_RI_TEL_TELEGRAM_NUMBER_NOT_SUPPORTED"},
    {0x00AD, "ERR_RI_TEL_CONNECTION_LOST"},
    {0x6A01, "INFO_RA_DISABLED_BY_OPMODE_CHANGE"},
    {0x6A02, "INFO_OPERATION_MODE_CHANGED"},
    {0x6A03, "INFO_SERVER_STATE_RESET_BY_CLIENT"},
    {0x6A07, "INFO_OVERRIDE_REDUCED"},
    {0x6C01, "INFO_ERR_SIM_COLLISSION_DETECTED"},
    {0x6C02, "INFO_ERR_SIM_ERROR_DURING_MOTION"},
    {0x6C03, "INFO_ERR_SIM_POSITION_NOT_REACHABLE"},
    {0x6C04, "INFO_ERR_SIM_SW_LIMIT_AXIS"},
    {0x6C05, "INFO_ABORTED_BY_GROUP_STOP"},
    {0x6C06, "INFO_ABORTED_BY_OTHER_MOTION"},
    {0x6C07, "INFO_LIMITS_ACTIVE_AFTER_RESTART"},
    {0x6C13, "INFO_WAITING_AT_BLEND_ZONE"},
    {0x6C14, "INFO_JOG_INTERRUPTED_BY_GROUP_STOP"},
    {0x6C15, "INFO_JOG_INTERRUPTED_BY_RA_STATE"},
    {0x6C19, "INFO_MANUAL_START_IGNORED"},
    {0x6F01, "INFO_INTERRUPTED_RA_STATE"},
    {0x6F02, "INFO_INTERRUPTED_RA_NOT_ENABLED"},
    {0x6F03, "INFO_INTERRUPTED_STEP_MODE"},
    {0x7A01, "WARN_SERVER_ACR_ALMOST_FULL"},
    {0x8001, "ERR_CMD_EMITTER_NOT_IMPLEMENTED"},
    {0x8002, "ERR_CMD_MANIPULATION_NOT_IMPLEMENTED"},
    {0x8A01, "ERR_RI_ACR_FULL"},
    {0x8A02, "ERR_RI_MANDATORY_CMD_STOPPED"},
    {0x8A03, "ERR_WRONG_LAST_LIFESIGN"},
    {0x8AAD, "ERR_CONNECTION_LOST"},
    {0x8C01, "ERR_CMD_SPECIFIC_CONTINUE_NOT_ENABLED"},
    {0x8C02, "ERR_CMD_SPECIFIC_CONTINUE_NOT_ON_PATH"},
    {0x8C03, "ERR_CMD_SPECIFIC_ENABLE_ROBOT_DISABLED_BY_RC"},
    {0x8C04, "ERR_CMD_SPECIFIC_ENABLE_ROBOT_DISABLED_BY_RC_DUE_TO_ERROR"},
    {0x8C05, "ERR_CMD_SPECIFIC_ENABLE_ROBOT_MANDATORY_CMDS_NOT_CALLED"},
    {0x8C06, "ERR_CMD_SPECIFIC_ENABLE_ROBOT_NOT_SYNCHRONIZED"},
    {0x8C07, "ERR_CMD_SPECIFIC_RETURN_TO_PATH_LIMIT_EXCEEDED"},
    {0x8C08, "ERR_CMD_SPECIFIC_SETOPMODE_MUST_T1"},
    {0x8C09, "ERR_CMD_SPECIFIC_WRITE_FRAME_DATA_DYNAMIC_FRAME"},
    {0x8C12, "ERR_CMD_SPECIFIC_WRITE_FRAME_NESTED_REFERENCE_NOT_ALLOWED"},
    {0x8C13, "ERR_CMD_SPECIFIC_WRITE_FRAME_REFERENCE_INVALID"},
    {0x8C14, "ERR_CMD_SPECIFIC_CURR_TOOL_ID_DIFFERS_FROM_RETURN_POS"},
    {0x8C15, "ERR_CMD_SPECIFIC_WRITE_FRAME_NOT_ALLOWED_DURING_ACTIVE_MOVEMENT"},
    {0x8C16, "ERR_CMD_SPECIFIC_WRITE_TOOL_NOT_ALLOWED_DURING_ACTIVE_MOVEMENT"},
    {0x8C17, "ERR_CMD_SPECIFIC_WRITE_LOAD_NOT_ALLOWED_DURING_ACTIVE_MOVEMENT"},
    {0x8C20, "ERR_CMD_SPECIFIC_MANUAL_STEP_NOT_ALLOWED_IN_AUTO_EXT"},
    {0x8C21, "ERR_CMD_SPECIFIC_MANUAL_STEP_ONLY_ALLOWED_IN_WHEN_STEPMODE_IS_ACTIVE"},
    {0x8C22, "ERR_CMD_SPECIFIC_TOOL_DATA_DIFFERS_FROM_RETURN_TOOL_DATA"},
    {0x8C23, "ERR_CMD_SPECIFIC_LOAD_DATA_DIFFERS_FROM_RETURN_LOAD_DATA"},
    {0x8C24, "ERR_CMD_SPECIFIC_FRAME_DATA_DIFFERS_FROM_RETURN_FRAME_DATA"},
    {0x8C25, "ERR_CMD_SPECIFIC_REF_FRAME_DATA_DIFFERS_FROM_RETURN_REF_FRAME_DATA"},
    {0x8C26, "ERR_CMD_SPECIFIC_TOOL_NO_DIFFERS_FROM_RETURN_TOOL_NO"},
    {0x8C27, "ERR_CMD_SPECIFIC_FRAME_NO_DIFFERS_FROM_RETURN_FRAME_NO"},
    {0x8C29, "ERR_CMD_SPECIFIC_SOFTWARELIMIT_AXES_DOES_NOT_EXIST"},
    {0x8C30, "ERR_CMD_SPECIFIC_CONTINUE_NOT_POSSIBLE_DUE_TO_SYNC_REACTION"},
    {0x8C31, "ERR_NO_ENABLING_DEVICE"},
    {0x8C32, "ERR_MANUAL_START_WITH_ROBOT_DISABLED"},
    {0x8C33, "ERR_JOG_DURING_ACTIVE_MOVE"},
    {0x8C34, "ERR_COMMANDED_AXIS_DOES_NOT_EXIST"},
    {0x8C35, "ERR_JOG_INVALID"},
    {0x8C36, "ERR_JOG_ROTATION_ON_SEVERAL_AXES"},
    {0x8C37, "ERR_CMD_SPECIFIC_CALLSUBPROGRAM_PROG_NR_INVALID"},
    {0x8C38, "ERR_CMD_SPECIFIC_CALLSUBPROG_MOTION_OUTSIDE_SEQ"},
    {0x8C39, "ERR_CMD_SPECIFIC_CALLSUBPROG_ALREADY_RUNNING"},
    {0x8C40, "ERR_CMD_SPECIFIC_STOPSUBPROG_PROG_NR_NOT_FOUND"},
    {0x8C41, "ERR_CMD_SPECIFIC_STOPSUBPROG_INSTANCE_ID_NOT_FOUND"},
    {0x8C42, "ERR_CMD_SPECIFIC_CALLSUBPROGRAM_JOB_ID_CHANGE_NOT_POSSIBLE"},
    {0x8C43, "ERR_CMD_SPECIFIC_CONTINUE_NOT_POSSIBLE_DURING_TRANSITION"},
    {0x8C52, "ERR_CMD_JOG_ENABLE_SWITCH_WAS_RESET"},
    {0x8C53, "ERR_CMD_SPECIFIC_LIMIT_CHANGE_NOT_POSSIBLE"},
    {0x8C54, "ERR_CMD_SPECIFIC_LIMIT_NOT_ALLOWED"},
    {0x8C56, "ERR_CMD_SPECIFIC_SETOPMODE_NOT_POSSIBLE"},
    {0x8C62, "ERR_CMD_SPECIFIC_IK_NO_SOLUTION"},
    {0x8C63, "ERR_CMD_SPECIFIC_IK_OUTSIDE_LIMITS"},
    {0x8D00, "ERR_CMD_SPECIFIC_INVALID_PARAMETER_VELOCITY_RATE"},
    {0x8D01, "ERR_CMD_SPECIFIC_INVALID_PARAMETER_ACCELERATION_RATE"},
    {0x8D02, "ERR_CMD_SPECIFIC_INVALID_PARAMETER_BLENDING_BEHAVIOR"},
    {0x8D03, "ERR_CMD_SPECIFIC_INVALID_PARAMETER_BLENDING_MODE"},
    {0x8D04, "ERR_CMD_SPECIFIC_INVALID_PARAMETER_BLENDING_PARAMETER"},
    {0x8D05, "ERR_CMD_SPECIFIC_INVALID_PARAMETER_CONFIG_MODE_ELBOW"},
    {0x8D06, "ERR_CMD_SPECIFIC_INVALID_PARAMETER_DECELERATION_RATE"},
    {0x8D07, "ERR_CMD_SPECIFIC_INVALID_PARAMETER_DEF_DYNAMICS"},
    {0x8D08, "ERR_CMD_SPECIFIC_INVALID_PARAMETER_FRAME_NR"},
    {0x8D09, "ERR_CMD_SPECIFIC_INVALID_PARAMETER_INCREMENTAL_ROTATION"},
    {0x8D10, "ERR_CMD_SPECIFIC_INVALID_PARAMETER_INCREMENTAL_TRANSLATION"},
    {0x8D11, "ERR_CMD_SPECIFIC_INVALID_PARAMETER_JERK_RATE"},
    {0x8D12, "ERR_CMD_SPECIFIC_INVALID_PARAMETER_JOG_POS_AND_NEG_PRESSED"},
    {0x8D13, "ERR_CMD_SPECIFIC_INVALID_PARAMETER_JOINT_POSITION"},
    {0x8D14, "ERR_CMD_SPECIFIC_INVALID_PARAMETER_LIFESIGN_TIMEOUT"},
    {0x8D15, "ERR_CMD_SPECIFIC_INVALID_PARAMETER_LIMIT_ALL_ZERO"},
    {0x8D16, "ERR_CMD_SPECIFIC_INVALID_PARAMETER_LIMIT_OUT_OF_BOUNDS"},
    {0x8D17, "ERR_CMD_SPECIFIC_INVALID_PARAMETER_LOAD_NR"},
    {0x8D18, "ERR_CMD_SPECIFIC_INVALID_PARAMETER_LOG_LEVEL"},
    {0x8D19, "ERR_CMD_SPECIFIC_INVALID_PARAMETER_MANUAL_START_PATH"},
    {0x8D20, "ERR_CMD_SPECIFIC_INVALID_PARAMETER_MANUAL_START_SINGLE"},
    {0x8D21, "ERR_CMD_SPECIFIC_INVALID_PARAMETER_MODE"},
    {0x8D22, "ERR_CMD_SPECIFIC_INVALID_PARAMETER_ORI_MODE"},
    {0x8D23, "ERR_CMD_SPECIFIC_INVALID_PARAMETER_OVERRIDE"},
    {0x8D24, "ERR_CMD_SPECIFIC_INVALID_PARAMETER_POSITION"},
    {0x8D25, "ERR_CMD_SPECIFIC_INVALID_PARAMETER_REF_DYNAMICS"},
    {0x8D26, "ERR_CMD_SPECIFIC_INVALID_PARAMETER_REF_DYNAMICS_ACC"},
    {0x8D27, "ERR_CMD_SPECIFIC_INVALID_PARAMETER_REF_DYNAMICS_DEC"},
    {0x8D28, "ERR_CMD_SPECIFIC_INVALID_PARAMETER_REF_DYNAMICS_JERK"},
    {0x8D29, "ERR_CMD_SPECIFIC_INVALID_PARAMETER_REF_DYNAMICS_VEL"},
    {0x8D30, "ERR_CMD_SPECIFIC_INVALID_PARAMETER_RETURN_MODE"},
    {0x8D31, "ERR_CMD_SPECIFIC_INVALID_PARAMETER_SEQUENCE"},
    {0x8D32, "ERR_CMD_SPECIFIC_INVALID_PARAMETER_SETOPMODE_MODE"},
    {0x8D33, "ERR_CMD_SPECIFIC_INVALID_PARAMETER_SYNC_REACTION"},
    {0x8D34, "ERR_CMD_SPECIFIC_INVALID_PARAMETER_TIME"},
    {0x8D35, "ERR_CMD_SPECIFIC_INVALID_PARAMETER_TOOL_NR"},
    {0x8D36, "ERR_CMD_SPECIFIC_INVALID_PARAMETER_TRAJECTORY_MODE"},
    {0x8D37, "ERR_CMD_SPECIFIC_INVALID_PARAMETER_TURN_MODE"},
    {0x8D39, "ERR_CMD_SPECIFIC_INVALID_PARAMETER_WAIT_FOR_NO_OF_CMDS"},
    {0x8D40, "ERR_CMD_SPECIFIC_INVALID_PARAMETER_CONFIG_MODE_SHOULDER"},
    {0x8D41, "ERR_CMD_SPECIFIC_INVALID_PARAMETER_CONFIG_MODE_WRIST"},
    {0x8D42, "ERR_CMD_SPECIFIC_INVALID_PARAMETER_STEP_MODE"},
    {0x8D43, "ERR_CMD_SPECIFIC_STOPSUBPROG_MODE_INVALID"},
    {0x8D44, "ERR_CMD_SPECIFIC_STOPSUBPROG_TARGET_ID_MUST_BE_EMPTY"},
    {0x8D45, "ERR_CMD_SPECIFIC_STOPSUBPROG_PROG_NR_INVALID"},
    {0x8D46, "ERR_CMD_SPECIFIC_STOPSUBPROG_INSTANCE_ID_INVALID"},
    {0x8D47, "ERR_CMD_SPECIFIC_INVALID_PARAMETER_INDEX_OUT_OF_BOUNDS"},
    {0x8D48, "ERR_CMD_SPECIFIC_INVALID_PARAMETER_INDEX_DUPLICATE"},
    {0x8D50, "ERR_CMD_SPECIFIC_INVALID_PARAMETER_INDEX_ALL_ZERO"},
    {0x8D51, "ERR_CMD_SPECIFIC_INVALID_PARAMETER_MESSAGE_LEVEL"},
    {0x8DFF, "ERR_CMD_SPECIFIC_INVALID_PARAMETER_LISTENERID"},
    {0x8E01, "ERR_CMD_PARAMETER_NOT_SUPORTED_MANUAL_START_SINGLE"},
    {0x8E02, "ERR_CMD_PARAMETER_NOT_SUPORTED_MANUAL_START_PATH"},
    {0x8E03, "ERR_CMD_PARAMETER_NOT_SUPORTED_DEC_RATE"},
    {0x8E04, "ERR_CMD_PARAMETER_NOT_SUPORTED_JERK_RATE"},
    {0x8E05, "ERR_CMD_PARAMETER_NOT_SUPORTED_BLENDING_MODE"},
    {0x8E06, "ERR_CMD_PARAMETER_NOT_SUPORTED_TIME"},
    {0x8E07, "ERR_CMD_PARAMETER_NOT_SUPORTED_POSITION"},
    {0x8E08, "ERR_CMD_PARAMETER_NOT_SUPORTED_ORI_MODE"},
    {0x8E09, "ERR_CMD_PARAMETER_NOT_SUPORTED_CONFIG_MODE"},
    {0x8E10, "ERR_CMD_PARAMETER_NOT_SUPORTED_TURN_MODE"},
    {0x8E11, "ERR_CMD_PARAMETER_NOT_SUPORTED_TRAJECTORY_MODE"},
    {0x8E12, "ERR_CMD_PARAMETER_NOT_SUPORTED_OPERATION_MODE"},
    {0x8E13, "ERR_CMD_PARAMETER_NOT_SUPORTED_INCREMENTAL_ROTATION"},
    {0x8E14, "ERR_CMD_PARAMETER_NOT_SUPORTED_INCREMENTAL_TRABSLATION"},
    {0x8E16, "ERR_CMD_PARAMETER_NOT_SUPORTED_STEP_MODE_EXACT"},
    {0x8E17, "ERR_CMD_PARAMETER_NOT_SUPORTED_STEP_MODE_BLENDING"},
    {0x8E18, "ERR_CMD_SPECIFIC_JOG_IN_AUTO_EXT_NOT_SUPPORTED"},
    {0x8E19, "ERR_CMD_SPECIFIC_NOT_SUPPORTED_UNIDENTICAL_CONFIG_MODE"},
    {0x8E20, "ERR_CMD_PARAMETER_NOT_SUPPORTED_READ_DH_PARAMETERS_MODIFIED"},
    {0x8E21, "ERR_CMD_PARAMETER_NOT_SUPPORTED_WAIT_AT_BLENDING_ZONE"},
    {0x8E22, "ERR_CMD_PARAMETER_NOT_SUPPORTED_EXTERNAL_TCP"},
    {0x8F04, "ERR_CMD_EMITTER_ID_ZERO"},
    {0x8F10, "ERR_CMD_INVALID_EXECUTION_MODE"},
    {0x8F11, "ERR_CMD_NOT_IMPLEMENTED"},
    {0x8F12, "ERR_CMD_ONLY_ONE_INSTANCE_ALLOWED"},
    {0x8F13, "ERR_CMD_REQUIRES_ACTIVE_INTERRUPT"},
    {0x8F14, "ERR_CMD_REQUIRES_NO_ACTIVE_INTERRUPT"},
    {0x8F15, "ERR_CMD_SECBUFFER_MAGIC_ONGOING"},
    {0x8F16, "ERR_CMD_SECBUFFER_NOT_ACTIVE"},
    {0x8F17, "ERR_SEC_SEQ_NOT_EMPTY"},
    {0x8F18, "ERR_STATE_TRANSACTION_NOT_POSSIBLE"},
    {0x8F19, "ERR_CMD_NOT_POSSIBLE_IN_LOCAL_MODE"},
    {0x8F20, "ERR_INVALID_CMD_TYPE"},
    {0x8F21, "ERR_CMD_COMMON_SEQUENCE_CHANGE_NOT_POSSIBLE"},
    {0x8F36, "ERR_CMD_SEE_MESSAGE_LOG"},
    {0x8FFF, "ERR_CMD_INTERNAL_ERROR"},
    {0x9A01, "ERR_FAT_RI_INTERNAL_ERROR"},
    {0x9A02, "ERR_FAT_RI_INTERNAL_ERROR_DESERIALIZE"},
    {0x9A03, "ERR_FAT_RI_INVALID_CMD_ID"},
    {0x9A04, "ERR_FAT_RI_INVALID_FRAGEMENT_LENGTH"},
    {0x9A05, "ERR_FAT_RI_PRIO_OR_TYPE_CHANGED_DURING_CMD_RUNTIME"},
    {0x9A06, "ERR_FAT_RI_TRIED_TO_RESET_NON_EMPTY_ACR_ENTRY"},
    {0x9A07, "ERR_FAT_RI_INVALID_SEQUENCE_PAYLOAD_LENGTH"},
    {0x9A08, "ERR_FAT_RI_INVALID_ACTION_BYTE"},
    {0x9A09, "ERR_FAT_RI_INVALID_PAYLOAD_LENGTH"},
    {0x9A10, "ERR_FAT_RI_INVALID_PAYLOAD_POINTER"},
    {0x9A14, "ERR_FAT_RI_INVALID_EXECUTION_MODE_CHANGE"},
    {0x10001, "err_ini_no_file"},
    {0x10002, "err_ini_no_section"},
    {0x10003, "err_ini_no_key"},
    {0x10004, "err_ini_read"},
    {0x10005, "err_ini_write"},
    {0x10006, "err_ini_value_type"},
};

struct Explained {
    uint32_t code;
    const char* meaning;
    const char* hint;  // what to do; empty when nothing typical helps
};

// Codes whose name alone does not tell an operator enough.
constexpr Explained kExplained[] = {
    {0x0001, "controller link could not be set up", "check that the simulated arm (srciport) runs"},
    {0x0002, "no answer from the controller", "check that the simulated arm (srciport) runs"},
    {0x0003, "command could not be sent to the controller", "check that the simulated arm (srciport) runs"},
    {0x0011, "joint index outside 1..6", ""},
    {0x0012, "tool number outside the controller's tool table", "tools are numbered 1..15 (0 = flange)"},
    {0x0013, "frame number outside the controller's frame table", "frames are numbered 1..15 (0 = world)"},
    {0x0014, "load number outside the load table", ""},
    {0x0015, "controller refused the tool data", ""},
    {0x0016, "controller refused the frame data", ""},
    {0x0020, "controller refused the move", "check the target with `srci-plc fk`/`ik` and `srci-plc read-limits`"},
    {0x0021, "controller refused the joint move",
     "target outside the software limits? compare it with `srci-plc read-limits`"},
    {0x0022, "controller refused the linear move",
     "target unreachable on a straight line or outside the limits; check it with `srci-plc ik`"},
    {0x0023, "controller refused the direct move", "target unreachable; check it with `srci-plc ik`"},
    {0x0030, "the robot was disabled while it moved, and the motion was dropped",
     "drives off by a stop, the controller's own application, or a disable; then `srci-plc reset` and "
     "`srci-plc enable`"},
    {0x0031, "controller refused to pause", ""},
    {0x0032, "controller refused to stop", ""},
    {0x0033, "controller refused to continue", "only a paused motion can continue"},
    {0x0041, "kinematics could not be initialised", "restart the adapter"},
    {0x0043, "controller I/O failed", ""},
    {0x0044, "no inverse kinematic solution for this pose", "pose out of reach or in a singularity"},
    {0x0045, "forward kinematics failed", ""},
    {0x0052, "target outside the software limits", "compare the target with `srci-plc read-limits`"},
    {0x0053, "joint turn number out of range", ""},
    {0x0055, "frame reference invalid", "a frame refers to the world (0) or to a frame that does, never to itself"},
    {0x0056, "manipulation not possible", ""},
    {0x0057, "velocity too low", "give vel= above 0"},
    {0x0058, "acceleration too low", "give acc= above 0"},
    {0x0071, "arm could not be powered on", "release the emergency stop, then `srci-plc reset` and `srci-plc enable`"},
    {0x0072, "arm could not be powered off", ""},
    {0x0073, "arm could not be disabled", ""},
    {0x0074, "arm could not be enabled", "check the emergency stop, then `srci-plc reset` and `srci-plc enable`"},
    {0x0075, "protective or emergency stop active",
     "release the emergency stop, then run `srci-plc reset` and `srci-plc enable`"},
    {0x00A5, "telegram: lifesign timeout", "raise --lifesign-timeout on a loaded host"},
    {0x6F02, "motion interrupted: robot not enabled", "run `srci-plc enable`"},
    {0x8A01, "command register full", "wait for running commands (`srci-plc wait-done`)"},
    {0x8C01, "continue refused: robot not enabled", "run `srci-plc enable`"},
    {0x8C03, "enable refused by the robot controller", "release the emergency stop, then `srci-plc reset`"},
    {0x8C04, "enable refused: controller error pending", "acknowledge it with `srci-plc reset`"},
    {0x8C13, "write frame reference invalid",
     "reference=0 (world) or a frame that refers to the world, never the frame itself"},
    {0x8D35, "invalid tool number", "tools are numbered 1..15 (0 = flange, 255 = current)"},
    {0x8D08, "invalid frame number", "frames are numbered 1..15 (0 = world, 255 = current)"},
    {0x8D23, "invalid override", "override is 0..100 %"},
    {0x8F11, "command not implemented by this robot", ""},
    {0x10001, "srci.ini missing", "the adapter creates it on the first write"},
    {0x10002, "section missing in srci.ini", "write the record first (e.g. `srci-plc write-tool`)"},
    {0x10003, "key missing in srci.ini", "write the record again to complete it"},
    {0x10004, "srci.ini could not be read", "check the file's permissions in the adapter's directory"},
    {0x10005, "srci.ini could not be written", "check free space and permissions in the adapter's directory"},
    {0x10006, "value in srci.ini has the wrong type", "fix or remove the line in srci.ini"},
};

// "ERR_CMD_SPECIFIC_INVALID_PARAMETER_TOOL_NR" -> "invalid parameter: tool nr".
std::string meaning_from_name(std::string_view name) {
    static constexpr std::pair<std::string_view, std::string_view> kPrefixes[] = {
        {"ERR_CMD_SPECIFIC_INVALID_PARAMETER_", "invalid parameter: "},
        {"ERR_CMD_PARAMETER_NOT_SUPORTED_", "parameter not supported: "},
        {"ERR_CMD_PARAMETER_NOT_SUPPORTED_", "parameter not supported: "},
        {"ERR_CMD_SPECIFIC_", ""},
        {"ERR_RI_TEL_", "telegram: "},
        {"ERR_FAT_RI_", "fatal interpreter error: "},
        {"ERR_RI_", "interpreter: "},
        {"ERR_CMD_", "command: "},
        {"INFO_ERR_SIM_", "simulation: "},
        {"INFO_", ""},
        {"WARN_", "warning: "},
        {"ERR_", ""},
    };
    std::string out;
    for (const auto& [prefix, text] : kPrefixes) {
        if (name.substr(0, prefix.size()) == prefix) {
            out = text;
            name.remove_prefix(prefix.size());
            break;
        }
    }
    for (char c : name) out += c == '_' ? ' ' : static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return out;
}

const Explained* explained(uint32_t code) {
    for (const auto& e : kExplained)
        if (e.code == code) return &e;
    return nullptr;
}

}  // namespace

const char* error_code_name(uint32_t code) {
    const auto it = std::lower_bound(std::begin(kCodes), std::end(kCodes), code,
                                     [](const NamedCode& c, uint32_t v) { return c.code < v; });
    return (it != std::end(kCodes) && it->code == code) ? it->name : nullptr;
}

std::string error_code_meaning(uint32_t code) {
    if (const Explained* e = explained(code)) return e->meaning;
    if (const char* name = error_code_name(code)) return meaning_from_name(name);
    return "code unknown to this client";
}

std::string error_code_hint(uint32_t code) {
    const Explained* e = explained(code);
    return e != nullptr ? e->hint : "";
}

std::string describe_error_code(uint32_t code) {
    char hex[16];
    std::snprintf(hex, sizeof hex, code > 0xFFFF ? "0x%05X" : "0x%04X", static_cast<unsigned>(code));
    std::string out = hex;
    if (const char* name = error_code_name(code)) out += std::string(" ") + name;
    out += ": " + error_code_meaning(code);
    if (const std::string hint = error_code_hint(code); !hint.empty()) out += " (" + hint + ")";
    return out;
}

}  // namespace srci_plc
