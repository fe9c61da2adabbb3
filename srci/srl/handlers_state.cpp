// SPDX-License-Identifier: Apache-2.0
// Enable/disable, group reset/stop/pause/continue, operation mode, speed override, command
// buffer and sequence: commands that change the robot's or the group's state.
#include "itf_rc/rcitf.h"
#include "itf_rc/srci_log.h"
#include "srl/edk_helper.h"
#include "srl/handler_codec.h"
#include "srl/srl_define_function.h"
#include "srl/veld_motion_manager.h"

using namespace srci;

namespace {

constexpr int kSequenceExecuting = 92;
constexpr int kSequenceInterrupted = 93;
constexpr int kServerInterrupted = 113;
constexpr int kServerRunning = 115;

// Step modes are refused here although the value was stored first, deliberately.
int stepModeRefusal(unsigned stepMode) {
    if (stepMode == 1) return ERR_CMD_PARAMETER_NOT_SUPORTED_STEP_MODE_BLENDING;
    if (stepMode == 2) return ERR_CMD_PARAMETER_NOT_SUPORTED_STEP_MODE_EXACT;
    return ERR_CMD_SPECIFIC_INVALID_PARAMETER_STEP_MODE;
}

}  // namespace

void srl_robot_enable(HandlerIn in, HandlerOut out, int* err) {
    const auto cmd = handler::decode<LRob_typeServerCmdEnableRobot>(in);
    LRob_typeServerRspEnableRobot rsp{};
    try {
        helper.stepMode = cmd.StepMode;
        SRCI_LOG(zlog::ZLogLvInfo,
                 handler::text("tempCmd.Enable: ", int(cmd.Enable), ", holdToRun: ", int(cmd.HoldToRun),
                               ", manualStep: ", int(cmd.ManualStep), ", stepMode: ", int(cmd.StepMode)));
        if (cmd.ManualStep) throw static_cast<int>(ERR_CMD_SPECIFIC_MANUAL_STEP_NOT_ALLOWED_IN_AUTO_EXT);
        if (cmd.StepMode != 0) throw stepModeRefusal(cmd.StepMode);
        helper.requireEnable = cmd.Enable;
        rsp.Enabled = RcItf::get(true)->isRobotEnable();
        *err = 0;
    } catch (int code) {
        EDK_Helper::logErr(code);
        *err = code;
    }
    handler::encode(rsp, out);
}

void srl_disable_robot_funs(HandlerIn, HandlerOut, int* err) {
    SRCI_LOG(zlog::ZLogLvInfo, "");
    try {
        *err = RcItf::get(true)->isRcMoving() ? err_disable : 0;
        motionManagerTemp.groupStop(false);
    } catch (int code) {
        EDK_Helper::logErr(code);
    }
    helper.requireEnable = false;
    helper.disableTrigged = true;
}

void srl_group_reset_funs(HandlerIn in, HandlerOut out, int* err) {
    (void)handler::decode<LRob_typeServerCmdGroupReset>(in);
    const LRob_typeServerRspGroupReset rsp{};
    SRCI_LOG(zlog::ZLogLvInfo, "");
    try {
        RcItf::get(true)->exit_protect(0);
        helper.acknowledgePendingErrs();
    } catch (int code) {
        EDK_Helper::logErr(code);
    }
    handler::encode(rsp, out);
    *err = 0;
}

void srl_group_stop_funs(HandlerIn in, HandlerOut out, int* err) {
    (void)handler::decode<LRob_typeServerCmdGroupStop>(in);
    const LRob_typeServerRspGroupStop rsp{};
    SRCI_LOG(zlog::ZLogLvInfo, "call group stop");
    try {
        motionManagerTemp.groupStop(false);
    } catch (int code) {
        EDK_Helper::logErr(code);
    }
    handler::encode(rsp, out);
    *err = 0;
}

void srl_group_pause_funs(HandlerIn in, HandlerOut out, int* err) {
    (void)handler::decode<LRob_typeServerCmdGroupPause>(in);
    const LRob_typeServerRspGroupPause rsp{};
    SRCI_LOG(zlog::ZLogLvInfo, "call group pause");
    try {
        motionManagerTemp.groupPause();
    } catch (int code) {
        EDK_Helper::logErr(code);
    }
    handler::encode(rsp, out);
    *err = 0;
}

void srl_group_continue_funs(HandlerIn in, HandlerOut out, int* err) {
    (void)handler::decode<LRob_typeServerCmdGroupContinue>(in);
    const LRob_typeServerRspGroupContinue rsp{};
    SRCI_LOG(zlog::ZLogLvInfo, "call group continue");
    try {
        motionManagerTemp.groupContinue();
    } catch (int code) {
        EDK_Helper::logErr(code);
    }
    handler::encode(rsp, out);
    *err = 0;
}

void srl_set_operate_mode_funs(HandlerIn in, HandlerOut out, int* err) {
    const auto cmd = handler::decode<LRob_typeServerCmdSetOperationMode>(in);
    const LRob_typeServerRspSetOperationMode rsp{};
    // The mode byte is written as a raw character, as the operators' logs always showed it.
    SRCI_LOG(zlog::ZLogLvInfo, handler::text("opeartionMode: ", static_cast<char>(cmd.OperationMode), "\n"));
    try {
        RcItf::get(true)->setOperationMode(static_cast<OperationMode>(cmd.OperationMode));
        *err = 0;
    } catch (int code) {
        EDK_Helper::logErr(code);
        *err = code;
    }
    handler::encode(rsp, out);
}

void srl_change_speed_override_funs(HandlerIn in, HandlerOut out, int* err) {
    const auto cmd = handler::decode<LRob_typeServerCmdChangeSpeedOverride>(in);
    const LRob_typeServerRspChangeSpeedOverride rsp{};
    SRCI_LOG(zlog::ZLogLvInfo, handler::text("speedoverride: ", cmd.Override));
    try {
        RcItf::get(true)->SetSpeedRatio(cmd.Override / helper.percentageConvertFactor);
    } catch (int code) {
        EDK_Helper::logErr(code);
    }
    handler::encode(rsp, out);
    *err = 0;
}

void srl_clear_cmd_in_rc_buffer_funs(HandlerIn, HandlerOut, int* err) {
    SRCI_LOG(zlog::ZLogLvInfo, "clear cmd in buffer...");
    *err = 0;
}

void srl_set_sequence_funs(HandlerIn, HandlerOut, int* err) {
    try {
        motionManagerTemp.groupStop(true);
    } catch (int code) {
        EDK_Helper::logErr(code);
    }
    *err = 0;
}

void srl_enable_robot_with_param_funs(bool newCmd, LRob_typeServerCmdEnableRobot* cmd, LRob_typeSystemState* state,
                                      unsigned short secondFlag, unsigned short* result) {
    if (!cmd || !state || !result) return;
    auto& memory = state->cmdMemory.enableRobot;
    const auto& hfsm = state->state;
    const auto& seq = state->taskManager.sequencing.sequence;
    const unsigned activeSequence = seq.activeSequence < 3 ? seq.activeSequence : 0;
    const bool commandActive = seq.activeCMD[activeSequence] != 0;
    try {
        if (newCmd && cmd->StepMode != memory.lastStepMode) {
            helper.stepMode = cmd->StepMode;
            if (hfsm.rcSequenceState == kSequenceExecuting) {
                motionManagerTemp.groupPause();
                srl_rl_server_state(kServerInterrupted);
            }
        }
        state->sequenceExecutionSingleStep = cmd->StepMode == 1;
        if (newCmd && secondFlag == 0) {
            *result = 255;
            if (cmd->StepMode == 2) *result = err_stepmode_exact;
            else if (cmd->StepMode == 1) *result = err_stepmode_blending;
            else if (cmd->StepMode > 2) *result = err_stepmode_invalid;

            if (cmd->HoldToRun && memory.wasHoldToRunPressed != 1) {
                if (hfsm.rcPowerState == 0) {
                    *result = ERR_CMD_SPECIFIC_CONTINUE_NOT_ENABLED;
                } else if (activeSequence == 0 && state->taskManager.sequencing.path.isLeft) {
                    *result = ERR_CMD_SPECIFIC_CONTINUE_NOT_ON_PATH;
                } else if (commandActive && hfsm.rcSequenceState == kSequenceInterrupted) {
                    motionManagerTemp.groupContinue();
                    memory.isHoldToRunValid = 1;
                    srl_rl_server_state(kServerRunning);
                }
            } else if (!cmd->HoldToRun) {
                if (memory.wasHoldToRunPressed && memory.isHoldToRunValid && commandActive &&
                    hfsm.rcSequenceState != kSequenceInterrupted) {
                    motionManagerTemp.groupPause();
                    srl_rl_server_state(kServerInterrupted);
                }
                memory.isHoldToRunValid = 0;
            }

            if (cmd->ManualStep && memory.wasManualStepActive != 1) {
                if (state->operationMode == static_cast<USInt>(OperationMode::External_Automatic)) {
                    *result = err_manual_step;
                } else if (!state->sequenceExecutionSingleStep) {
                    *result = ERR_CMD_SPECIFIC_MANUAL_STEP_ONLY_ALLOWED_IN_WHEN_STEPMODE_IS_ACTIVE;
                } else if (hfsm.rcPowerState == 0) {
                    *result = ERR_MANUAL_START_WITH_ROBOT_DISABLED;
                } else if (hfsm.rcSequenceState == kSequenceInterrupted) {
                    srl_rl_server_state(kServerRunning);
                }
            }
        }
    } catch (int code) {
        EDK_Helper::logErr(code);
    }
    memory.wasHoldToRunPressed = cmd->HoldToRun;
    memory.wasManualStepActive = cmd->ManualStep;
    memory.lastStepMode = cmd->StepMode;
}
