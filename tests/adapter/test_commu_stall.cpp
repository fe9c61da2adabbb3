// SPDX-License-Identifier: Apache-2.0
// A stalled I/O manager holding the semaphore must not stop the cycle: each exchange gives up
// after a bounded wait and goes on with the telegram it already has.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/sem.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <string>

#include "child_process.h"
#include "itf_commu/commuitf.h"
#include "process_image.h"

namespace {

using srci_test::ProcessImage;

// A second process takes the semaphore and keeps it until told to let go (or 1 s at most
// after the word, so a blocking exchange in the parent still ends and the test can fail).
class SemaphoreHolder {
public:
    explicit SemaphoreHolder(int semId) {
        int ready[2], release[2];
        if (pipe(ready) != 0 || pipe(release) != 0) return;
        pid_ = fork();
        if (pid_ == 0) {
            close(ready[0]);
            close(release[1]);
            sembuf take{0, -1, SEM_UNDO};
            if (semop(semId, &take, 1) != 0) _exit(2);
            char c = 1;
            if (write(ready[1], &c, 1) != 1) _exit(3);
            fd_set fds;
            FD_ZERO(&fds);
            FD_SET(release[0], &fds);
            timeval hold{1, 0};
            select(release[0] + 1, &fds, nullptr, nullptr, &hold);
            _exit(0);  // SEM_UNDO gives the semaphore back
        }
        close(ready[1]);
        close(release[0]);
        release_ = release[1];
        char c = 0;
        held_ = read(ready[0], &c, 1) == 1;
        close(ready[0]);
    }
    ~SemaphoreHolder() {
        if (pid_ > 0) {
            letGo();
            waitpid(pid_, nullptr, 0);
        }
    }
    bool held() const { return held_; }
    bool stillHolding() const { return pid_ > 0 && waitpid(pid_, nullptr, WNOHANG) == 0; }
    void letGo() {
        if (release_ >= 0) close(release_);
        release_ = -1;
    }

private:
    pid_t pid_ = -1;
    int release_ = -1;
    bool held_ = false;
};

TEST(CommuItfStall, ExchangesGoOnWithStaleDataWhileTheSemaphoreIsHeld) {
    ProcessImage pnio(2);
    srci::CommuItf commu;
    ASSERT_NO_THROW(commu.init(10));
    auto& image = *reinterpret_cast<srci::PNDevShm*>(pnio.bytes());
    image.srci.srci_out[7] = 0x11;
    uint8_t telegram[256] = {};
    ASSERT_EQ(commu.recvFromPlc(telegram, sizeof telegram), 256);
    ASSERT_EQ(telegram[7], 0x11);

    SemaphoreHolder holder(pnio.semaphore());
    ASSERT_TRUE(holder.held());
    image.srci.srci_out[7] = 0x22;  // written behind the stalled holder's back
    image.srci.srci_in[3] = 0x33;

    testing::internal::CaptureStdout();
    constexpr int kCycles = 20;
    for (int i = 0; i < kCycles; ++i) {
        commu.recvFromPlc(telegram, sizeof telegram);
        uint8_t answer[256];
        std::memset(answer, 0x44, sizeof answer);
        commu.sendToPlc(answer, sizeof answer);
    }
    const bool heldThroughout = holder.stillHolding();
    const std::string printed = testing::internal::GetCapturedStdout();

    EXPECT_TRUE(heldThroughout) << "the exchanges waited for the holder to let go";
    EXPECT_EQ(telegram[7], 0x11) << "a failed wait keeps the previous telegram";
    EXPECT_EQ(image.srci.srci_in[3], 0x33) << "a failed wait skips the copy into the image";
    std::string expected;
    for (int i = 0; i < 2 * kCycles; ++i) expected += "sem_p error, ";
    EXPECT_EQ(printed, expected);

    holder.letGo();
    ASSERT_TRUE(srci_test::eventually([&] { return !holder.stillHolding(); }, 5000));
    commu.recvFromPlc(telegram, sizeof telegram);
    EXPECT_EQ(telegram[7], 0x22) << "fresh data once the semaphore is free again";
}

}  // namespace
