// SPDX-License-Identifier: Apache-2.0
// Power, enable, safety inputs and the controller error latch.
// Times are simulator seconds; requests complete when tick() sees their due time.
#pragma once

#include <cstdint>

namespace srciport {

class Safety {
public:
    static constexpr double kDefaultPowerDelay = 0.4;
    static constexpr double kDefaultEnableDelay = 0.25;

    double powerDelay = kDefaultPowerDelay;
    double enableDelay = kDefaultEnableDelay;
    bool powerRefuse = false;  // drives refuse power-on
    bool powerHang = false;    // power-on accepted but never completes

    bool powered() const { return powered_; }
    bool enabled() const { return enabled_; }
    // A stop stays latched after its input is released, until resetStops() acknowledges it.
    bool estop() const { return estop_; }
    bool pstop() const { return pstop_; }
    int32_t errCode() const { return errCode_; }
    int32_t errType() const { return errType_; }
    // A power or enable request waits for its due time, so time must keep running.
    bool pending() const { return powerDue_ >= 0 || enableDue_ >= 0; }

    int requestPower(double now);
    void powerOff();
    int requestEnable(double now);
    void disable();
    void tick(double now);

    // Inputs. Returns true when the change must stop the motion.
    bool setEStop(bool on);
    bool setPStop(bool on);
    // Releases each latched stop whose input is off; true when no stop remains.
    bool resetStops();

    void raise(int32_t code);
    void clearError();
    // 0 when motion commands may be accepted, else the refusal code.
    int motionRefusal() const;

private:
    bool powered_ = false;
    bool enabled_ = false;
    bool estop_ = false;  // latched
    bool pstop_ = false;  // latched
    bool estopInput_ = false;
    bool pstopInput_ = false;
    double powerDue_ = -1;
    double enableDue_ = -1;
    int32_t errCode_ = 0;
    int32_t errType_ = 0;
};

}  // namespace srciport
