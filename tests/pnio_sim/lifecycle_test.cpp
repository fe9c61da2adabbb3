// SPDX-License-Identifier: Apache-2.0
// Start-up and shutdown of pnio-sim around the fixed IPC keys.
#include <grp.h>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>
#include <unistd.h>

#include <memory>

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
    for (const auto& args : std::vector<std::vector<std::string>>{
             {"--port", "70000"}, {"--port", "x"}, {"--bogus"}, {"--bind", "not-an-ip", "--port", "0"}}) {
        PnioSimProcess sim(args);
        EXPECT_FALSE(sim.started());
        EXPECT_NE(sim.wait_exit(10000), 0);
        EXPECT_FALSE(sim.error_output().empty());
        EXPECT_FALSE(ipc_segment_exists());
        EXPECT_FALSE(ipc_semaphore_exists());
    }
}

// A restarted gateway takes over the image the adapter still uses; only the last one out removes it.
TEST_F(PnioSimTest, RestartUnderAnAttachedAdapterKeepsTheImage) {
    auto first = std::make_unique<PnioSimProcess>();
    ASSERT_TRUE(first->started()) << first->error_output();
    const int shm = shmget(kShmKey, 0, 0);
    auto adapter = std::make_unique<AdapterView>();
    ASSERT_TRUE(adapter->ok());
    EXPECT_EQ(first->terminate(), 0);
    EXPECT_NE(first->error_output().find("left for 1 attached process"), std::string::npos) << first->error_output();
    ASSERT_TRUE(ipc_segment_exists());
    ASSERT_TRUE(ipc_semaphore_exists());

    PnioSimProcess second;
    ASSERT_TRUE(second.started()) << second.error_output();
    EXPECT_EQ(shmget(kShmKey, 0, 0), shm) << "the adapter's segment was replaced";
    const int plc = tcp_connect(second.port());
    ASSERT_GE(plc, 0);
    std::vector<uint8_t> answer;
    adapter->write_robot_input(pattern(7));
    ASSERT_TRUE(send_bytes(plc, pattern(3)));
    ASSERT_TRUE(recv_exact(plc, answer, kTelegramSize, 5000));
    EXPECT_EQ(answer, pattern(7));
    EXPECT_EQ(adapter->plc_output(), pattern(3));
    close(plc);

    adapter.reset();
    EXPECT_EQ(second.terminate(), 0);
    EXPECT_FALSE(ipc_segment_exists());
    EXPECT_FALSE(ipc_semaphore_exists());
}

TEST_F(PnioSimTest, ImageIsOwnerOnlyUnlessAGroupIsGiven) {
    const group* own = getgrgid(getgid());
    ASSERT_NE(own, nullptr);
    const struct {
        std::vector<std::string> args;
        unsigned mode;
    } cases[] = {
        {{"--port", "0"}, 0600},
        {{"--port", "0", "--group", own->gr_name}, 0660},
    };
    for (const auto& c : cases) {
        PnioSimProcess sim(c.args);
        ASSERT_TRUE(sim.started()) << sim.error_output();
        shmid_ds ds{};
        ASSERT_EQ(shmctl(shmget(kShmKey, 0, 0), IPC_STAT, &ds), 0);
        EXPECT_EQ(ds.shm_perm.mode & 0777, c.mode);
        EXPECT_EQ(ds.shm_perm.gid, own->gr_gid);
        semid_ds sds{};
        union {
            semid_ds* buf;
        } arg{&sds};
        ASSERT_EQ(semctl(semget(kSemKey, 0, 0), 0, IPC_STAT, arg), 0);
        EXPECT_EQ(sds.sem_perm.mode & 0777, c.mode);
        EXPECT_EQ(sim.terminate(), 0);
    }
    PnioSimProcess unknown({"--port", "0", "--group", "no-such-group-here"});
    EXPECT_FALSE(unknown.started());
    EXPECT_EQ(unknown.wait_exit(10000), 2);
    EXPECT_FALSE(ipc_segment_exists());
}
