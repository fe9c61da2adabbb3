// SPDX-License-Identifier: Apache-2.0
// The PLC link: the PROFINET I/O manager's System V shared-memory process image and the
// semaphore that serialises access to it. Telegram bytes are opaque here.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>

namespace srci {

inline constexpr size_t SRCI_COMMUDATA_SIZE = 256;
inline constexpr key_t PNDEV_SHM_KEY = 204;
inline constexpr size_t PNDEV_SHM_SIZE = 1860;
inline constexpr key_t PNDEV_SEM_KEY = 5001;

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
    uint8_t srci_out[SRCI_COMMUDATA_SIZE];  // PLC -> robot
    uint8_t srci_in[SRCI_COMMUDATA_SIZE];   // robot -> PLC
};
struct PNDevShm {
    PNDevControl control;
    PNDevState state;
    PNDevData pnio;
    PNDevSrciData srci;
};
#pragma pack(pop)

static_assert(sizeof(PNDevState) == 178);
static_assert(sizeof(PNDevData) == 1168);
static_assert(offsetof(PNDevShm, srci) == 1348);
static_assert(offsetof(PNDevShm, srci) + offsetof(PNDevSrciData, srci_in) == 1604);
static_assert(sizeof(PNDevShm) == PNDEV_SHM_SIZE);

using CommuDataPtr = PNDevShm*;

int sem_get(int key);
// Waits at most two cycles (8 ms); a stalled holder makes it fail like any failed semop.
int sem_p(int id);
int sem_v(int id);

class CommuItf {
public:
    CommuItf();
    ~CommuItf();
    CommuItf(const CommuItf&) = delete;
    CommuItf& operator=(const CommuItf&) = delete;

    // Attaches the process image once the I/O manager holds it (exactly two attachments),
    // waiting at most `retries` seconds. Throws err_commuitf_init on any failure.
    void init(unsigned int retries);
    int recvFromPlc(uint8_t* buf, size_t len);
    int sendToPlc(const uint8_t* buf, size_t len);

private:
    uint8_t plcData[SRCI_COMMUDATA_SIZE];
    uint8_t rcData[SRCI_COMMUDATA_SIZE];
    CommuDataPtr m_data;
    int m_shmId;
    key_t sem1;
};

}  // namespace srci
