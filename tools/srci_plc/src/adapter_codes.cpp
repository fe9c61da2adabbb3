// SPDX-License-Identifier: Apache-2.0
#include "srci_plc/adapter_codes.hpp"

namespace srci_plc {

const char* adapter_code_name(uint32_t code) {
    switch (code) {
        case 0x0001:
            return "err_commuitf_init: PLC link could not be attached";
        case 0x0002:
            return "err_commuitf_recv: PLC link receive failed";
        case 0x0003:
            return "err_commuitf_send: PLC link send failed";
        case 0x0011:
            return "err_joints_index: joint index outside 1..6";
        case 0x0012:
            return "err_tools_index: tool number out of range";
        case 0x0013:
            return "err_frames_index: user frame number out of range";
        case 0x0014:
            return "err_load_index: payload number out of range";
        case 0x0015:
            return "err_tools_setting: the controller refused a tool";
        case 0x0016:
            return "err_frames_setting: the controller refused a user frame";
        case 0x0020:
            return "err_move: a move could not be issued";
        case 0x0021:
            return "err_move_joint: joint move refused by the controller";
        case 0x0022:
            return "err_move_linear: linear move refused by the controller";
        case 0x0023:
            return "err_move_direct: direct move refused by the controller";
        case 0x0030:
            return "err_disable_when_moving: disable requested while the robot moves";
        case 0x0031:
            return "err_pause: pause refused";
        case 0x0032:
            return "err_stop: stop refused";
        case 0x0033:
            return "err_continue: continue refused";
        case 0x0041:
            return "err_kine_init: kinematics initialisation failed";
        case 0x0043:
            return "err_io: digital I/O access failed";
        case 0x0044:
            return "err_ikine: inverse kinematics failed";
        case 0x0045:
            return "err_fkine: forward kinematics failed";
        case 0x0052:
            return "err_joints_outofrange: joint target outside the limits";
        case 0x0053:
            return "err_joints_turnnumber: turn number cannot be met";
        case 0x0055:
            return "err_frame_ref: invalid frame reference";
        case 0x0056:
            return "err_manipulation: manipulation not possible";
        case 0x0057:
            return "err_vel_too_low: velocity too low";
        case 0x0058:
            return "err_acc_too_low: acceleration too low";
        case 0x0071:
            return "err_power_on: power-on failed";
        case 0x0072:
            return "err_power_off: power-off failed";
        case 0x0073:
            return "err_disable: disable failed";
        case 0x0074:
            return "err_enable: enable failed";
        case 0x0075:
            return "err_pstop_estop: protective or emergency stop active";
        case 0x10001:
            return "err_ini_no_file: parameter file missing";
        case 0x10002:
            return "err_ini_no_section: parameter file section missing";
        case 0x10003:
            return "err_ini_no_key: parameter file key missing";
        case 0x10004:
            return "err_ini_read: parameter file read failed";
        case 0x10005:
            return "err_ini_write: parameter file write failed";
        case 0x10006:
            return "err_ini_value_type: parameter file value of the wrong type";
        default:
            return nullptr;
    }
}

}  // namespace srci_plc
