// SPDX-License-Identifier: Apache-2.0
// Controller command and status port.
//
// The adapter reaches the robot controller only through these two classes: SrciPortStat is a
// snapshot of the controller's status, refreshed by poll(); SrciPortCmd sends one command per
// method and returns 0 when the controller accepted it, a controller code otherwise.
//
// This build ships a simulated six-axis arm behind the port (see srciport/sim_arm.h). The
// interface is kept to exactly what the adapter calls so a controller vendor's library with
// the same classes can replace it at link time.
//
// Units: lengths in millimetres, angles in degrees, velocities per second, accelerations per
// second squared. Joint moves take deg/s and deg/s^2, linear moves mm/s and mm/s^2.
// Cartesian poses are six doubles x, y, z, rx, ry, rz. The orientation convention used
// everywhere (kinematics, tools, frames, jogs) is documented in srciport/euler.h.
#pragma once

#include <cstdint>

inline constexpr int SRCIPORT_JOINT_NUM = 6;
inline constexpr int SRCIPORT_TOOL_NUM = 16;
inline constexpr int SRCIPORT_FRAME_NUM = 16;
inline constexpr int SRCIPORT_PROFINET_RUNNING = 101;

struct SrciPortPayload {
    double m;     // mass
    double p[3];  // centre of mass
};

class SrciPortStat {
public:
    SrciPortStat();
    // Connects the snapshot to the controller (starts the simulated arm on first use).
    int init();
    // Takes one consistent snapshot of the controller status into the fields below.
    int poll();

    uint32_t cur_tool_id = 0;
    uint32_t cur_usrframe_id = 0;
    double usr_tools[SRCIPORT_TOOL_NUM][6] = {};
    double usr_frames[SRCIPORT_FRAME_NUM][6] = {};
    SrciPortPayload usr_payload = {};
    int32_t profinet_state = 0;
    int32_t errCode = 0;
    int32_t errType = 0;
    uint8_t isEStop = 0;
    uint8_t isPStop = 0;
    uint8_t isAppConnected = 0;
    double reference_vel = 0;
    double reference_acc = 0;
    double reference_dec = 0;
    double reference_jerk = 0;
    double default_vel = 0;
    double default_acc = 0;
    double default_dec = 0;
    double default_jerk = 0;
    double speed_ratio = 0;
    uint8_t ra_is_moving = 0;
    int32_t ra_power_stat = 0;
    int32_t ra_enable_stat = 0;
    double act_jpos[SRCIPORT_JOINT_NUM] = {};
    double target_jpos[SRCIPORT_JOINT_NUM] = {};
    double ra_dh_param[SRCIPORT_JOINT_NUM][4] = {};   // per joint: alpha(deg), a(mm), d(mm), theta offset(deg)
    double soft_limits[2 * SRCIPORT_JOINT_NUM] = {};  // (min, max) per joint, joint 1 first
    double hard_limits[2 * SRCIPORT_JOINT_NUM] = {};
    uint8_t ra_operation_mode = 0;
    // TCP of the active tool expressed in the active user frame (what moves are commanded in).
    double act_cartpos[6] = {};
    double act_tcs_in_ucs[6] = {};  // same pose; kept for readers that use this name
    double installationAngle[3] = {};
    int32_t cur_trajId = -1;
    uint8_t ra_is_inst_done = 1;
    int32_t is_inst_paused = 0;
    uint8_t is_inst_queue_full = 0;
    int32_t task_mode = 0;
    uint8_t isSCBLocked = 0;
    uint8_t isTCPConnected = 0;
    uint32_t rc_serial_num = 0;
    uint32_t ra_serial_num = 0;
    char rc_order_id[32] = {};
    char rc_version[32] = {};
};

class SrciPortCmd {
public:
    SrciPortCmd();
    int init();

    // power and enable; the controller takes its time, poll ra_power_stat / ra_enable_stat
    int powerOnRobot();
    int powerOffRobot();
    int enableRobot();
    int disableRobot();
    int exitProtect(unsigned char type);
    int updateErrInfo(int& errCode, int& errType);

    // motion queue
    int movjAbs(const double joints[6], double vel, double acc, uint32_t trajId, double tol);
    int movl(const double pose[6], double vel, double acc, uint32_t trajId, double tol);
    int motionStop();
    int motionPause();
    int motionContinue();

    // jogs: mode 0 user frame, 1 tool, 2 axes; direction +-1..+-6 (axis or x,y,z,rx,ry,rz)
    int jogIncr(int mode, int direction, double speed, double distance);
    int jogCont(int mode, int direction, double speed, double distance);
    int jogStop(int mode, int direction);

    // tools, frames, payload, limits, dynamics
    int setToolOffset(const double pose[6], int id, const char* name);
    int setUsrFrame(const double pose[6], int id, const char* name);
    int setToolId(int id);
    int setFrameId(int id);
    int setLoad(const double load[4]);  // mass, x, y, z
    // Soft limits of joint index 0..5, within the hard limits. The two bounds may be written in
    // either order: a bound that would cross the other one is held until the other bound is
    // written, and the pair then takes effect together or is refused with kErrLimitPair. A
    // joint left outside new limits may move back toward them, never further out.
    int setMinLimit(int joint, double value);
    int setMaxLimit(int joint, double value);
    int setReferenceDynamic(double vel, double acc, double dec, double jerk);
    int setSpeedRatio(double ratio);  // 0..1 (values above 1 are clamped)

    // kinematics; config bit 0 shoulder, bit 1 elbow, bit 2 wrist
    int kineInit(const double dh[6][4], int flags);
    int fkine(const double joints[6], double pose[6], unsigned char* config, const double tool[6],
              const double frame[6]);
    // joints: in = seed (reference) position, out = solution nearest the seed with the
    // requested configuration; turn numbers beyond +-180 deg follow the seed.
    int ikine(const double pose[6], double joints[6], unsigned char config, const double tool[6],
              const double frame[6]);
    int calFrameWorldToUser(const double pose[6], const double frame[6], double out[6]);
    int calFrameUserToWorld(const double pose[6], const double frame[6], double out[6]);
};
