// SPDX-License-Identifier: Apache-2.0
// Software joint limits and work areas. The robot has one usable work area, number 0: the box
// of software joint limits. Limits are written only through that work area.
#include "itf_rc/rcitf.h"
#include "itf_rc/srci_log.h"
#include "srl/edk_helper.h"
#include "srl/handler_codec.h"
#include "srl/srl_define_function.h"

using namespace srci;

namespace {

constexpr int kLimitCount = 2 * RA_JOINT_NUM;

// Lower limits from the even, upper limits from the odd elements of the (min, max) pairs.
void putLimits(LRob_typeServerRobotShortJointPosition& lower, LRob_typeServerRobotShortJointPosition& upper,
               const double* limits) {
    handler::putJoints(lower, JOINTS(limits[0], limits[2], limits[4], limits[6], limits[8], limits[10]));
    handler::putJoints(upper, JOINTS(limits[1], limits[3], limits[5], limits[7], limits[9], limits[11]));
}

std::string limitLines(const double* limits) {
    std::string text;
    for (int j = 0; j < RA_JOINT_NUM; ++j)
        text += handler::text("j", j + 1, ": ", limits[2 * j], " ~ ", limits[2 * j + 1], "\n");
    return text;
}

}  // namespace

void srl_read_robot_software_limit_funs(HandlerIn in, HandlerOut out, int* err) {
    (void)handler::decode<LRob_typeServerCmdReadRobotSWLimit>(in);
    LRob_typeServerRspReadRobotSWLimit rsp{};
    try {
        double hard[kLimitCount], soft[kLimitCount];
        RcItf* rc = RcItf::get(true);
        rc->getHardLimits(hard);
        rc->getSoftLimits(soft);
        putLimits(rsp.SWLimit.Data.JointLowerLimit, rsp.SWLimit.Data.JointUpperLimit, soft);
        SRCI_LOG(zlog::ZLogLvInfo, "soft limits: \n" + limitLines(soft) + "hard limits: \n" + limitLines(hard));
    } catch (int code) {
        EDK_Helper::logErr(code);  // reaches the PLC only through the error report, by design
    }
    handler::encode(rsp, out);
    *err = 0;
}

void srl_write_robot_software_limit_funs(HandlerIn in, HandlerOut out, int* err) {
    (void)handler::decode<LRob_typeServerCmdWriteRobotSWLimit>(in);
    EDK_Helper::logErr(err_cmd_not_support);
    *err = err_cmd_not_support;
    handler::encode(LRob_typeServerRspWriteRobotSWLimit{}, out);
}

void srl_read_workarea_data_funs(HandlerIn in, HandlerOut out, int* err) {
    const auto cmd = handler::decode<LRob_typeServerCmdReadWorkArea>(in);
    LRob_typeServerRspReadWorkArea rsp{};
    try {
        if (cmd.WorkAreaNo == 0) {
            auto& area = rsp.WorkAreaData.Data;
            area.AreaType = 0;
            area.AreaMode = 0;
            area.ReactionMode = 2;
            area.ActiveModification = 0;
            double soft[kLimitCount];
            RcItf::get(true)->getSoftLimits(soft);
            putLimits(area.JointLowerLimit, area.JointUpperLimit, soft);
        }
        SRCI_LOG(zlog::ZLogLvInfo, handler::text("read work area ", int(cmd.WorkAreaNo)));
    } catch (int code) {
        EDK_Helper::logErr(code);
    }
    rsp.WorkAreaNo = cmd.WorkAreaNo;
    handler::encode(rsp, out);
    *err = 0;
}

void srl_write_workarea_data_funs(HandlerIn in, HandlerOut out, int* err) {
    const auto cmd = handler::decode<LRob_typeServerCmdWriteWorkArea>(in);
    SRCI_LOG(zlog::ZLogLvInfo, handler::text("write work area ", int(cmd.WorkAreaNo)));
    try {
        if (cmd.WorkAreaNo == 0) {
            const auto& lo = cmd.WorkAreaData.Data.JointLowerLimit;
            const auto& up = cmd.WorkAreaData.Data.JointUpperLimit;
            double limits[kLimitCount] = {lo.J1, up.J1, lo.J2, up.J2, lo.J3, up.J3,
                                          lo.J4, up.J4, lo.J5, up.J5, lo.J6, up.J6};
            RcItf::get(true)->setSoftLimits(limits);
        }
    } catch (int code) {
        EDK_Helper::logErr(code);
    }
    handler::encode(LRob_typeServerRspWriteWorkArea{}, out);
    *err = 0;
}
