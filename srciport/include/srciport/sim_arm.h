// SPDX-License-Identifier: Apache-2.0
// The simulated six-axis arm behind the controller port.
//
// One process-wide instance. SrciPortStat::init / SrciPortCmd::init start it on its own
// thread (real time, one tick every kTick seconds) together with the control channel
// "srciport.sock" in the working directory. Tests select manual mode first: then nothing is
// started and the test advances simulated time with step(), deterministically.
//
// All methods are thread-safe; each takes the simulator's lock once.
#pragma once

#include "srciport/srciport.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace srciport {

class SimArm {
public:
    static constexpr double kTick = 0.002;  // s

    static SimArm& instance();

    // --- lifecycle -------------------------------------------------------------------
    // Called by the port's init(): starts the tick thread and the control channel once,
    // unless manual mode was selected.
    void ensureStarted();
    // Manual mode: ensureStarted() starts nothing; the caller drives step().
    void setManual(bool manual);
    void startThread();
    void stopThread();
    bool threadRunning() const;
    // Serves control requests on a Unix stream socket at `path` (a stale socket file is
    // replaced). Returns false when the socket cannot be bound.
    bool startControlChannel(const std::string& path);
    void stopControlChannel();
    // Advances simulated time by `seconds` in ticks of kTick (the remainder as one shorter
    // tick). Deterministic; meant for manual mode.
    void step(double seconds);
    double time() const;
    // Back to the state after start-up: home position, power off, no faults, default
    // tables, limits, dynamics and delays. Keeps the thread and channel running.
    void reset();

    // --- status ----------------------------------------------------------------------
    void snapshot(SrciPortStat& out) const;
    size_t queuedMoves() const;  // accepted, not yet started
    size_t activeSegments() const;

    // --- fault injection and timing knobs ------------------------------------------------
    void setEStop(bool on);  // also drops enable and power
    void setPStop(bool on);
    void injectError(int32_t code);  // 0 clears
    void setAppConnected(bool on);
    void setProfinetState(int32_t state);
    void setPowerDelay(double seconds);
    void setEnableDelay(double seconds);
    void setPowerRefuse(bool on);  // power-on is refused
    void setPowerHang(bool on);    // power-on is accepted but never completes
    // One control-channel request line -> one answer line ("ok ..." or "error: ...").
    std::string request(std::string_view line);

    // --- commands (SrciPortCmd forwards to these; same results) ---------------------------
    int powerOn();
    int powerOff();
    int enable();
    int disable();
    int exitProtect(unsigned char type);
    void errorInfo(int& code, int& type) const;
    int moveJoint(const double joints[6], double vel, double acc, uint32_t trajId, double tol);
    int moveLinear(const double pose[6], double vel, double acc, uint32_t trajId, double tol);
    int stop();
    int pause();
    int resume();
    int jog(int mode, int direction, double speed, double distance, bool continuous);
    int jogStop(int mode, int direction);
    int setToolOffset(const double pose[6], int id);
    int setUserFrame(const double pose[6], int id);
    int setToolId(int id);
    int setFrameId(int id);
    int setLoad(const double load[4]);
    int setMinLimit(int joint, double value);
    int setMaxLimit(int joint, double value);
    int setReferenceDynamic(double vel, double acc, double dec, double jerk);
    int setSpeedRatio(double ratio);
    int kineInit(const double dh[6][4]);
    int fkine(const double joints[6], double pose[6], unsigned char* config, const double tool[6],
              const double frame[6]) const;
    int ikine(const double pose[6], double joints[6], unsigned char config, const double tool[6],
              const double frame[6]) const;

    SimArm(const SimArm&) = delete;
    SimArm& operator=(const SimArm&) = delete;

private:
    int storeTableEntry(const double pose[6], int id, bool tool);
    SimArm();
    ~SimArm();
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace srciport
