// SPDX-License-Identifier: Apache-2.0
// The PLC link against a process image created here, standing in for the I/O manager.
#include <gtest/gtest.h>
#include <sys/sem.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <future>
#include <string>
#include <thread>

#include "itf_commu/commuitf.h"
#include "itf_rc/srci_errcode.h"
#include "process_image.h"

using namespace srci;

namespace {

using srci_test::ProcessImage;

PNDevShm& image(ProcessImage& p) { return *reinterpret_cast<PNDevShm*>(p.bytes()); }

int initCode(CommuItf& commu, unsigned retries) {
    try {
        commu.init(retries);
    } catch (int code) {
        return code;
    }
    return 0;
}

// Another thread takes the semaphore and keeps it until let go, or 1 s at most, so an exchange
// that blocks on it still ends and the test can fail.
struct SemaphoreHolder {
    explicit SemaphoreHolder(int sem)
        : thread([this, sem] {
              sembuf take{0, -1, 0}, give{0, 1, 0};
              semop(sem, &take, 1);
              taken.set_value();
              release.get_future().wait_for(std::chrono::seconds(1));
              holding = false;
              semop(sem, &give, 1);
          }) {
        taken.get_future().wait();
    }
    ~SemaphoreHolder() {
        release.set_value();
        thread.join();
    }
    std::promise<void> taken, release;
    std::atomic<bool> holding{true};
    std::thread thread;  // last: it starts once the rest exists
};

// A link that could not attach refuses to exchange rather than write through no image.
TEST(CommuItf, RefusesMissingImageAndWrongAttachmentCountAndThenEveryExchange) {
    ProcessImage::removeStale();
    CommuItf missing;
    EXPECT_EQ(initCode(missing, 10), err_commuitf_init);
    uint8_t buf[256] = {};
    EXPECT_THROW(missing.recvFromPlc(buf, sizeof buf), int);
    EXPECT_THROW(missing.sendToPlc(buf, sizeof buf), int);

    ProcessImage lonely(1);
    CommuItf early;
    EXPECT_EQ(initCode(early, 1), err_commuitf_init) << "one attachment is not the I/O manager's two";
}

TEST(CommuItf, CopiesTheSrciAreasOnly) {
    ProcessImage pnio(2);
    CommuItf commu;
    ASSERT_EQ(initCode(commu, 10), 0);

    for (int i = 0; i < 256; ++i) image(pnio).srci.srci_out[i] = static_cast<uint8_t>(i);
    image(pnio).pnio.DI[0] = 0x1234;
    uint8_t in[300];
    std::memset(in, 0xEE, sizeof in);
    EXPECT_EQ(commu.recvFromPlc(in, 300), 256);
    EXPECT_EQ(in[255], 255);
    EXPECT_EQ(in[256], 0xEE) << "never more than one telegram";

    // A short read still refreshes the whole telegram from the image.
    image(pnio).srci.srci_out[200] = 7;
    EXPECT_EQ(commu.recvFromPlc(in, 18), 18);
    image(pnio).srci.srci_out[200] = 9;
    EXPECT_EQ(commu.recvFromPlc(in, 256), 256);
    EXPECT_EQ(in[200], 9);

    uint8_t out[256];
    std::memset(out, 0xAA, sizeof out);
    EXPECT_EQ(commu.sendToPlc(out, 256), 256);
    std::memset(out, 0x11, sizeof out);
    EXPECT_EQ(commu.sendToPlc(out, 10), 10);
    EXPECT_EQ(image(pnio).srci.srci_in[9], 0x11);
    EXPECT_EQ(image(pnio).srci.srci_in[10], 0xAA) << "bytes past a short send keep the older answer";
    EXPECT_EQ(image(pnio).pnio.DI[0], 0x1234) << "other areas untouched";
}

// A stalled I/O manager holding the semaphore must not stop the cycle: each exchange gives up
// after a bounded wait and goes on with the telegram it already has.
TEST(CommuItf, ExchangesGoOnWithStaleDataWhileTheSemaphoreIsHeld) {
    ProcessImage pnio(2);
    CommuItf commu;
    ASSERT_EQ(initCode(commu, 10), 0);
    image(pnio).srci.srci_out[7] = 0x11;
    uint8_t telegram[256] = {}, answer[256];
    commu.recvFromPlc(telegram, sizeof telegram);
    std::memset(answer, 0x44, sizeof answer);
    {
        SemaphoreHolder holder(pnio.semaphore());
        image(pnio).srci.srci_out[7] = 0x22;  // written behind the stalled holder's back
        image(pnio).srci.srci_in[3] = 0x33;
        testing::internal::CaptureStdout();
        for (int i = 0; i < 20; ++i) {
            commu.recvFromPlc(telegram, sizeof telegram);
            commu.sendToPlc(answer, sizeof answer);
        }
        EXPECT_TRUE(holder.holding) << "the exchanges waited for the holder to let go";
        std::string expected;
        for (int i = 0; i < 40; ++i) expected += "sem_p error, ";
        EXPECT_EQ(testing::internal::GetCapturedStdout(), expected);
        EXPECT_EQ(telegram[7], 0x11) << "a failed wait keeps the previous telegram";
        EXPECT_EQ(image(pnio).srci.srci_in[3], 0x33) << "a failed wait skips the copy into the image";
    }
    commu.recvFromPlc(telegram, sizeof telegram);
    EXPECT_EQ(telegram[7], 0x22) << "fresh data once the semaphore is free again";
}

}  // namespace
