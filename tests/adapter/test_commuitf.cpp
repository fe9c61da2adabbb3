// The PLC link against a process image created here, standing in for the I/O manager.
#include <gtest/gtest.h>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>

#include <cstdio>
#include <cstring>

#include "itf_commu/commuitf.h"
#include "itf_rc/srci_errcode.h"

using namespace srci;

namespace {

void removeStaleSegment() {
    const int id = shmget(PNDEV_SHM_KEY, 0, 0);
    if (id >= 0) {
        std::fprintf(stderr, "removing a stale process image (key %d) left by an earlier run\n", PNDEV_SHM_KEY);
        shmctl(id, IPC_RMID, nullptr);
    }
}

// Holds the segment with a chosen number of attachments and the semaphore free, like the
// I/O manager does.
class ProcessImage {
public:
    explicit ProcessImage(int attachments) {
        removeStaleSegment();
        id_ = shmget(PNDEV_SHM_KEY, PNDEV_SHM_SIZE, IPC_CREAT | 0666);
        EXPECT_GE(id_, 0);
        for (int i = 0; i < attachments; ++i) maps_[i] = static_cast<PNDevShm*>(shmat(id_, nullptr, 0));
        sem_ = semget(PNDEV_SEM_KEY, 1, IPC_CREAT | 0666);
        EXPECT_GE(sem_, 0);
        EXPECT_EQ(semctl(sem_, 0, SETVAL, 1), 0);
    }
    ~ProcessImage() {
        for (auto* m : maps_)
            if (m) shmdt(m);
        shmctl(id_, IPC_RMID, nullptr);
        semctl(sem_, 0, IPC_RMID);
    }
    PNDevShm& image() { return *maps_[0]; }

private:
    int id_ = -1;
    int sem_ = -1;
    PNDevShm* maps_[2] = {nullptr, nullptr};
};

int initCode(CommuItf& commu, unsigned retries) {
    try {
        commu.init(retries);
    } catch (int code) {
        return code;
    }
    return 0;
}

TEST(CommuItf, RefusesMissingImageAndWrongAttachmentCount) {
    removeStaleSegment();
    CommuItf missing;
    EXPECT_EQ(initCode(missing, 10), err_commuitf_init);

    ProcessImage lonely(1);
    CommuItf early;
    EXPECT_EQ(initCode(early, 1), err_commuitf_init) << "one attachment is not the I/O manager's two";
}

TEST(CommuItf, NotAttachedExchangesThrow) {
    CommuItf commu;
    uint8_t buf[256] = {};
    EXPECT_THROW(commu.recvFromPlc(buf, sizeof buf), int);
    EXPECT_THROW(commu.sendToPlc(buf, sizeof buf), int);
}

TEST(CommuItf, CopiesTheSrciAreasOnly) {
    ProcessImage pnio(2);
    CommuItf commu;
    ASSERT_EQ(initCode(commu, 10), 0);

    for (int i = 0; i < 256; ++i) pnio.image().srci.srci_out[i] = static_cast<uint8_t>(i);
    pnio.image().pnio.DI[0] = 0x1234;
    uint8_t in[300];
    std::memset(in, 0xEE, sizeof in);
    EXPECT_EQ(commu.recvFromPlc(in, 300), 256);
    EXPECT_EQ(in[255], 255);
    EXPECT_EQ(in[256], 0xEE) << "never more than one telegram";

    // A short read still refreshes the whole telegram from the image.
    pnio.image().srci.srci_out[200] = 7;
    EXPECT_EQ(commu.recvFromPlc(in, 18), 18);
    pnio.image().srci.srci_out[200] = 9;
    EXPECT_EQ(commu.recvFromPlc(in, 256), 256);
    EXPECT_EQ(in[200], 9);

    uint8_t out[256];
    std::memset(out, 0xAA, sizeof out);
    EXPECT_EQ(commu.sendToPlc(out, 256), 256);
    std::memset(out, 0x11, sizeof out);
    EXPECT_EQ(commu.sendToPlc(out, 10), 10);
    EXPECT_EQ(pnio.image().srci.srci_in[9], 0x11);
    EXPECT_EQ(pnio.image().srci.srci_in[10], 0xAA) << "bytes past a short send keep the older answer";
    EXPECT_EQ(pnio.image().pnio.DI[0], 0x1234) << "other areas untouched";
}

}  // namespace
