// SPDX-License-Identifier: Apache-2.0
// PLC dynamics rates (0.01 % units) turned into absolute values for the controller, and the
// stored reference dynamics re-applied before each kind of motion.
#include <string>

#include "itf_rc/rcitf.h"
#include "itf_rc/srci_log.h"
#include "srl/edk_helper.h"

namespace {

// Above 32768 the rate means "use the stored default"; 0 means 1 %, never standstill. There is
// no upper cap below that: the controller checks its own limits.
double scaleRate(unsigned int rate, double reference, double defaultRate, double factor, int bound,
                 const char* boundText) {
    double result;
    if (rate >= 32769) result = reference * defaultRate;
    else if (rate == 0) result = 0.01 * reference;
    else result = rate / factor * reference;
    if (bound > result) {
        result = bound;
        SRCI_LOG(zlog::ZLogLvInfo, boundText + std::to_string(bound) + "\n");
    }
    return result;
}

void applyReferenceDynamic(const srci::ReferenceDynamic& rd, const char* failText) {
    try {
        srci::RcItf::get(true)->setReferenceDynamic(rd);
    } catch (int code) {
        SRCI_LOG(zlog::ZLogLvError, failText);
        throw code;
    }
}

}  // namespace

double EDK_Helper::calAxesVel(unsigned int rate) {
    return scaleRate(rate, getStoredRefDyn_joint().vel, getStoredDefaultDyn().vel_rate, percentageConvertFactor,
                     MinVelocity, "use MinVelocity: ");
}

double EDK_Helper::calLinearVel(unsigned int rate) {
    return scaleRate(rate, getStoredRefDyn_linear().vel, getStoredDefaultDyn().vel_rate, percentageConvertFactor,
                     MinVelocity, "use MinVelocity: ");
}

double EDK_Helper::calAxesAcc(unsigned int rate) {
    return scaleRate(rate, getStoredRefDyn_joint().acc, getStoredDefaultDyn().acc_rate, percentageConvertFactor, MinAcc,
                     "use MinAcc: ");
}

double EDK_Helper::calLinearAcc(unsigned int rate) {
    return scaleRate(rate, getStoredRefDyn_linear().acc, getStoredDefaultDyn().acc_rate, percentageConvertFactor,
                     MinAcc, "use MinAcc: ");
}

void EDK_Helper::UseReferenceDynamicLinear() {
    applyReferenceDynamic(refDynamicStored_linear, "fail to reset refdyn_linear");
}

void EDK_Helper::UseReferenceDynamicJoint() {
    applyReferenceDynamic(refDynamicStored_joint, "fail to reset refdyn_joint");
}
