// Start-up and shutdown of pnio-sim around the fixed IPC keys.
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>

#include "pnio_sim_fixture.hpp"
#include "pnio_sim_process.hpp"

using namespace pnio_sim;

TEST_F(PnioSimTest, RefusesASecondInstanceAndCleansUpOnSigterm) {
    PnioSimProcess first;
    ASSERT_TRUE(first.started()) << first.error_output();
    const int sem = semget(kSemKey, 1, 0);
    ASSERT_GE(sem, 0);
    EXPECT_EQ(semctl(sem, 0, GETVAL), 1);

    PnioSimProcess second;
    EXPECT_FALSE(second.started());
    EXPECT_EQ(second.wait_exit(10000), 1);
    EXPECT_NE(second.error_output().find("in use"), std::string::npos) << second.error_output();
    EXPECT_TRUE(ipc_segment_exists());  // the refusal left the running instance alone

    EXPECT_EQ(first.terminate(), 0);
    EXPECT_FALSE(ipc_segment_exists());
    EXPECT_FALSE(ipc_semaphore_exists());
}

TEST_F(PnioSimTest, RemovesAStaleSegmentAndSemaphoreLeftByACrash) {
    ASSERT_GE(shmget(kShmKey, kShmSize, IPC_CREAT | IPC_EXCL | 0666), 0);
    ASSERT_GE(semget(kSemKey, 1, IPC_CREAT | IPC_EXCL | 0666), 0);  // value 0: would block everyone
    PnioSimProcess sim;
    ASSERT_TRUE(sim.started()) << sim.error_output();
    EXPECT_NE(sim.error_output().find("stale shared memory"), std::string::npos) << sim.error_output();
    EXPECT_EQ(semctl(semget(kSemKey, 1, 0), 0, GETVAL), 1);
    AdapterView adapter;
    EXPECT_TRUE(adapter.ok());
    EXPECT_EQ(adapter.attachments_seen_before_attach(), 2);
}

TEST_F(PnioSimTest, RejectsBadOptionsWithoutTouchingIpc) {
    for (const auto& args : std::vector<std::vector<std::string>>{{"--port", "70000"}, {"--port", "x"}, {"--bogus"},
                                                                   {"--bind", "not-an-ip", "--port", "0"}}) {
        PnioSimProcess sim(args);
        EXPECT_FALSE(sim.started());
        EXPECT_NE(sim.wait_exit(10000), 0);
        EXPECT_FALSE(sim.error_output().empty());
        EXPECT_FALSE(ipc_segment_exists());
        EXPECT_FALSE(ipc_semaphore_exists());
    }
}
