// SPDX-License-Identifier: Apache-2.0
#pragma once
// Process image shared between the PROFINET I/O manager (here: pnio-sim) and
// the robot adapter. Native byte order, no padding beyond what is listed.
//
// How pnio-sim fills the fields it owns:
//   control.enable       1 while pnio-sim runs, 0 once it is shutting down
//   control.srci_active  1 while a PLC client is connected
//   state.state          kStateStopped / kStateNoPlc / kStatePlcConnected
//   state.adapter_name   "pnio-sim"
//   state.name           "pnio-sim <bind address>:<port>"
//   state.ip             bound IPv4 address, host byte order
//   state.mac            0 (no real interface)
//   state.version        kImageVersion
//   state.led_state      1 while a PLC client is connected
//   state.srci_state     1 while a PLC client is connected
// The generic pnio area is left zero; srci_out is zero while no PLC is
// connected so the robot sees no lifesign.
#include <cstddef>
#include <cstdint>

namespace pnio_sim {

constexpr int kShmKey = 204;
constexpr int kSemKey = 5001;
constexpr size_t kShmSize = 1860;
constexpr size_t kTelegramSize = 256;
constexpr size_t kSrciOutOffset = 1348;  // PLC -> robot
constexpr size_t kSrciInOffset = 1604;   // robot -> PLC

constexpr int32_t kStateStopped = 0;
constexpr int32_t kStateNoPlc = 1;
constexpr int32_t kStatePlcConnected = 2;
constexpr uint32_t kImageVersion = 0x00010000;

#pragma pack(push, 1)
struct PNDevControl {
    char enable;
    char srci_active;
};

struct PNDevState {
    int32_t state;
    char adapter_name[32];
    char name[128];
    uint32_t ip;
    uint32_t mac;
    uint32_t version;
    char led_state;
    char srci_state;
};

struct PNDevData {
    int16_t DI[64];
    int32_t AI_INT[32];
    float AI_FLOAT[32];
    int16_t DO[64];
    int32_t AO_INT[32];
    float AO_FLOAT[32];
    int32_t JOINT_INT[6];
    float JOINT_FLOAT[48];
    uint8_t JOINT_UINT8[4];
    float TCP_FLOAT[30];
    float BASE_FLOAT[6];
    int32_t ROBOT_OUT_INT[2];
    float ROBOT_OUT_FLOAT[3];
    uint8_t ROBOT_OUT_UINT8[4];
    int32_t SAFETY_OUT_INT[2];
    uint8_t SAFETY_OUT_UINT8[4];
};

struct PNDevSrciData {
    uint8_t srci_out[kTelegramSize];
    uint8_t srci_in[kTelegramSize];
};

struct PNDevShm {
    PNDevControl control;
    PNDevState state;
    PNDevData pnio;
    PNDevSrciData srci;
};
#pragma pack(pop)

static_assert(sizeof(PNDevControl) == 2);
static_assert(sizeof(PNDevState) == 178);
static_assert(offsetof(PNDevState, adapter_name) == 4);
static_assert(offsetof(PNDevState, name) == 36);
static_assert(offsetof(PNDevState, ip) == 164);
static_assert(offsetof(PNDevState, mac) == 168);
static_assert(offsetof(PNDevState, version) == 172);
static_assert(offsetof(PNDevState, led_state) == 176);
static_assert(offsetof(PNDevState, srci_state) == 177);
static_assert(sizeof(PNDevData) == 1168);
static_assert(offsetof(PNDevData, AI_INT) == 128);
static_assert(offsetof(PNDevData, AI_FLOAT) == 256);
static_assert(offsetof(PNDevData, DO) == 384);
static_assert(offsetof(PNDevData, AO_INT) == 512);
static_assert(offsetof(PNDevData, AO_FLOAT) == 640);
static_assert(offsetof(PNDevData, JOINT_INT) == 768);
static_assert(offsetof(PNDevData, JOINT_FLOAT) == 792);
static_assert(offsetof(PNDevData, JOINT_UINT8) == 984);
static_assert(offsetof(PNDevData, TCP_FLOAT) == 988);
static_assert(offsetof(PNDevData, BASE_FLOAT) == 1108);
static_assert(offsetof(PNDevData, ROBOT_OUT_INT) == 1132);
static_assert(offsetof(PNDevData, ROBOT_OUT_FLOAT) == 1140);
static_assert(offsetof(PNDevData, ROBOT_OUT_UINT8) == 1152);
static_assert(offsetof(PNDevData, SAFETY_OUT_INT) == 1156);
static_assert(offsetof(PNDevData, SAFETY_OUT_UINT8) == 1164);
static_assert(offsetof(PNDevShm, state) == 2);
static_assert(offsetof(PNDevShm, pnio) == 180);
static_assert(offsetof(PNDevShm, srci) == 1348);
static_assert(offsetof(PNDevShm, srci) + offsetof(PNDevSrciData, srci_out) == kSrciOutOffset);
static_assert(offsetof(PNDevShm, srci) + offsetof(PNDevSrciData, srci_in) == kSrciInOffset);
static_assert(sizeof(PNDevShm) == kShmSize);

}  // namespace pnio_sim
