// SPDX-License-Identifier: Apache-2.0
#include "safety.h"

#include "srciport/codes.h"

namespace srciport {

int Safety::requestPower(double now) {
    if (estop_ || pstop_) return kErrSafetyStop;
    if (powerRefuse) return kErrPowerFailed;
    if (powered_ || powerDue_ >= 0) return 0;
    powerDue_ = now + powerDelay;
    return 0;
}

void Safety::powerOff() {
    powered_ = false;
    enabled_ = false;
    powerDue_ = -1;
    enableDue_ = -1;
}

int Safety::requestEnable(double now) {
    if (estop_ || pstop_) return kErrSafetyStop;
    if (!powered_) return kErrNotPowered;
    if (enabled_ || enableDue_ >= 0) return 0;
    enableDue_ = now + enableDelay;
    return 0;
}

void Safety::disable() {
    enabled_ = false;
    enableDue_ = -1;
}

void Safety::tick(double now) {
    if (powerDue_ >= 0 && !powerHang && now >= powerDue_) {
        powered_ = true;
        powerDue_ = -1;
    }
    if (enableDue_ >= 0 && now >= enableDue_) {
        enabled_ = true;
        enableDue_ = -1;
    }
}

bool Safety::setEStop(bool on) {
    estopInput_ = on;
    if (on) {
        estop_ = true;
        powerOff();
    }
    return on;
}

bool Safety::setPStop(bool on) {
    pstopInput_ = on;
    if (on) {
        pstop_ = true;
        // Pending requests do not survive a protective stop; power and enable stay.
        powerDue_ = -1;
        enableDue_ = -1;
    }
    return on;
}

bool Safety::resetStops() {
    // Like a real controller: releasing the button is not enough, the stop must be acknowledged.
    if (!estopInput_) estop_ = false;
    if (!pstopInput_) pstop_ = false;
    return !estop_ && !pstop_;
}

void Safety::raise(int32_t code) {
    errCode_ = code;
    errType_ = code ? -1 : 0;
}

void Safety::clearError() {
    errCode_ = 0;
    errType_ = 0;
}

int Safety::motionRefusal() const {
    if (estop_ || pstop_) return kErrSafetyStop;
    if (errType_ != 0) return kErrFaultActive;
    if (!enabled_) return kErrNotEnabled;
    return 0;
}

}  // namespace srciport
