// SPDX-License-Identifier: Apache-2.0
// Reference dynamics (linear, absolute values) and default dynamics (rates) read and written
// through the parameter store. Only the linear reference dynamics can be written.
#include "itf_rc/srci_log.h"
#include "srl/edk_helper.h"
#include "srl/handler_codec.h"
#include "srl/srl_define_function.h"

using namespace srci;

namespace {

constexpr UInt kRateNotUsed = 65535;
constexpr UInt kLargestRate = 32767;

void putReference(LRob_typeServerRobotReferenceDynamicsValues& v, const ReferenceDynamic& rd) {
    v.VelocityReference = static_cast<float>(rd.vel);
    v.AccelerationReference = static_cast<float>(rd.acc);
    v.DecelerationReference = static_cast<float>(rd.dec);
    v.JerkReference = static_cast<float>(rd.jerk);
}

// A stored rate as telegram units, truncated to 16 bits: -1 (not used) reads back as 55536.
UInt rateUnits(double rate) { return static_cast<UInt>(static_cast<int32_t>(rate * helper.percentageConvertFactor)); }

// A telegram value above 32767 means "keep the stored rate".
double rateFromTelegram(UInt value) { return value > kLargestRate ? -1.0 : value / 10000.0; }

}  // namespace

void srl_write_robot_reference_dynamic_funs(HandlerIn in, HandlerOut out, int* err) {
    const auto cmd = handler::decode<LRob_typeServerCmdWriteRobotReferenceDynamics>(in);
    LRob_typeServerRspWriteRobotReferenceDynamics rsp{};
    try {
        const auto& d = cmd.ReferenceDynamics.Data;
        helper.setStoredRefDyn_linear(
            ReferenceDynamic{d.VelocityReference, d.AccelerationReference, d.DecelerationReference, d.JerkReference});
        const ReferenceDynamic stored = helper.getStoredRefDyn_linear();
        putReference(rsp.ReferenceDynamicValues, stored);
        SRCI_LOG(zlog::ZLogLvInfo, handler::text(stored));
        *err = 0;
    } catch (int code) {
        EDK_Helper::logErr(code);
        rsp = LRob_typeServerRspWriteRobotReferenceDynamics{};
        *err = code;
    }
    handler::encode(rsp, out);
}

void srl_read_robot_reference_dynamic_funs(HandlerIn in, HandlerOut out, int* err) {
    (void)handler::decode<LRob_typeServerCmdReadRobotReferenceDynamics>(in);
    LRob_typeServerRspReadRobotReferenceDynamics rsp{};
    try {
        const ReferenceDynamic stored = helper.getStoredRefDyn_linear();
        putReference(rsp.ReferenceDynamics.Data, stored);
        SRCI_LOG(zlog::ZLogLvInfo, handler::text(stored));
    } catch (int code) {
        EDK_Helper::logErr(code);  // the answer stays 0 on purpose
    }
    *err = 0;
    handler::encode(rsp, out);
}

void srl_write_robot_defualt_dynamic_funs(HandlerIn in, HandlerOut out, int* err) {
    const auto cmd = handler::decode<LRob_typeServerCmdWriteRobotDefaultDynamics>(in);
    LRob_typeServerRspWriteRobotDefaultDynamics rsp{};
    try {
        const auto& d = cmd.DefaultDynamics.Data;
        if (d.DecelerationRate != kRateNotUsed) throw static_cast<int>(err_dec);
        if (d.JerkRate != kRateNotUsed) throw static_cast<int>(err_jerk);
        const DefaultDynamic requested{rateFromTelegram(d.VelocityRate), rateFromTelegram(d.AccelerationRate), -1.0,
                                       -1.0};
        const DefaultDynamic stored = helper.getStoredDefaultDyn();
        DefaultDynamic merged;
        merged.vel_rate = requested.vel_rate >= 0 ? requested.vel_rate : stored.vel_rate;
        merged.acc_rate = requested.acc_rate >= 0 ? requested.acc_rate : stored.acc_rate;
        merged.dec_rate = requested.dec_rate > 0 ? requested.dec_rate : stored.dec_rate;
        merged.jerk_rate = requested.jerk_rate > 0 ? requested.jerk_rate : stored.jerk_rate;
        if (merged.dec_rate >= 0) throw static_cast<int>(err_dec);
        if (merged.jerk_rate >= 0) throw static_cast<int>(err_jerk);
        helper.setStoredDefaultDyn(merged);
        rsp.DefaultDynamicValues.VelocityRate = rateUnits(merged.vel_rate);
        rsp.DefaultDynamicValues.AccelerationRate = rateUnits(merged.acc_rate);
        SRCI_LOG(zlog::ZLogLvInfo, handler::text(merged));
        *err = 0;
    } catch (int code) {
        EDK_Helper::logErr(code);
        *err = code;
    }
    handler::encode(rsp, out);
}

void srl_read_robot_defualt_dynamics_funs(HandlerIn in, HandlerOut out, int* err) {
    (void)handler::decode<LRob_typeServerCmdReadRobotDefaultDynamics>(in);
    LRob_typeServerRspReadRobotDefaultDynamics rsp{};
    try {
        const DefaultDynamic stored = helper.getStoredDefaultDyn();
        auto& d = rsp.DefaultDynamics.Data;
        d.VelocityRate = rateUnits(stored.vel_rate);
        d.AccelerationRate = rateUnits(stored.acc_rate);
        d.DecelerationRate = rateUnits(stored.dec_rate);
        d.JerkRate = rateUnits(stored.jerk_rate);
        SRCI_LOG(zlog::ZLogLvInfo, handler::text(stored));
    } catch (int code) {
        EDK_Helper::logErr(code);
    }
    *err = 0;
    handler::encode(rsp, out);
}
