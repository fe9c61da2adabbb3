// SPDX-License-Identifier: Apache-2.0
#include "itf_commu/commuitf.h"

#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "itf_rc/srci_errcode.h"
#include "itf_rc/srci_log.h"

namespace srci {
namespace {

constexpr const char* kCommuTag = "SRCI_COMMU_ITF";
// The attach messages carry the source path in place of a function name.
constexpr const char* kCommuSource = "srci/itf_commu/commuitf";
constexpr unsigned int kExpectedAttachments = 2;
// Two cycles: an I/O manager that holds the semaphore longer has stalled, and waiting for it
// would stop motion supervision with it. A timeout counts as a failed wait.
constexpr long kSemWaitNs = 2 * 4 * 1000 * 1000L;

int semStep(int id, short op) {
    sembuf step{};
    step.sem_num = 0;
    step.sem_op = op;
    step.sem_flg = SEM_UNDO;                                // the kernel gives it back if we die inside the copy
    if (op >= 0) return semop(id, &step, 1) == 0 ? 0 : -1;  // giving back never waits
    const timespec bound{0, kSemWaitNs};
    return semtimedop(id, &step, 1, &bound) == 0 ? 0 : -1;
}

}  // namespace

int sem_get(int key) { return semget(key, 1, IPC_CREAT | 0666); }
int sem_p(int id) { return semStep(id, -1); }
int sem_v(int id) { return semStep(id, +1); }

CommuItf::CommuItf() : m_data(nullptr), m_shmId(-1), sem1(-1) {
    std::memset(plcData, 0, sizeof plcData);
    std::memset(rcData, 0, sizeof rcData);
}

CommuItf::~CommuItf() {
    if (m_data) {
        shmdt(m_data);
        m_data = nullptr;
    }
}

void CommuItf::init(unsigned int retries) {
    auto* log = zlog::ZLogClient::get();
    m_shmId = shmget(PNDEV_SHM_KEY, PNDEV_SHM_SIZE, 0);
    if (m_shmId < 0) {
        log->do_log(zlog::ZLogLvError, kCommuTag, kCommuSource, __LINE__, "[Profinet-IO_mgr]:>> shmget failed\n");
        throw static_cast<int>(err_commuitf_init);
    }
    shmid_ds ds{};
    while (ds.shm_nattch != kExpectedAttachments && retries-- != 0) {
        sleep(1);
        shmctl(m_shmId, IPC_STAT, &ds);
    }
    if (ds.shm_nattch != kExpectedAttachments) {
        log->do_log(zlog::ZLogLvError, kCommuTag, kCommuSource, __LINE__, "[Profinet-IO_mgr]:>> shm_nattch=%d\n",
                    static_cast<int>(ds.shm_nattch));
        throw static_cast<int>(err_commuitf_init);
    }
    void* mapped = shmat(m_shmId, nullptr, 0);
    // A failed shmat returns (void*)-1, which would pass a test against null only; we refuse
    // it as well rather than write through an invalid pointer.
    if (mapped == nullptr || mapped == reinterpret_cast<void*>(-1)) {
        log->do_log(zlog::ZLogLvError, kCommuTag, kCommuSource, __LINE__, "get ptr error\n");
        throw static_cast<int>(err_commuitf_init);
    }
    m_data = static_cast<CommuDataPtr>(mapped);
    sem1 = sem_get(PNDEV_SEM_KEY);
    if (sem1 == -1) {
        log->do_log(zlog::ZLogLvError, "commuitf_error", "init", __LINE__, std::string("\nget sem error...\n"));
        throw static_cast<int>(err_commuitf_init);
    }
}

int CommuItf::recvFromPlc(uint8_t* buf, size_t len) {
    if (!m_data) throw static_cast<int>(err_commuitf_recv);
    if (sem_p(sem1) == 0) {
        std::memcpy(plcData, m_data->srci.srci_out, SRCI_COMMUDATA_SIZE);
        sem_v(sem1);
    } else {
        std::fputs("sem_p error, ", stdout);  // stale data this cycle, not an error
    }
    const size_t n = std::min(len, SRCI_COMMUDATA_SIZE);
    std::memcpy(buf, plcData, n);
    return static_cast<int>(n);
}

int CommuItf::sendToPlc(const uint8_t* buf, size_t len) {
    if (!m_data) throw static_cast<int>(err_commuitf_send);
    const size_t n = std::min(len, SRCI_COMMUDATA_SIZE);
    std::memcpy(rcData, buf, n);
    if (sem_p(sem1) == 0) {
        std::memcpy(m_data->srci.srci_in, rcData, SRCI_COMMUDATA_SIZE);
        sem_v(sem1);
    } else {
        std::fputs("sem_p error, ", stdout);
    }
    return static_cast<int>(n);
}

}  // namespace srci
