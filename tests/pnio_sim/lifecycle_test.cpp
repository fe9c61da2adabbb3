// SPDX-License-Identifier: Apache-2.0
// Start-up and shutdown of pnio-sim around the fixed IPC keys.
#include <grp.h>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>
#include <unistd.h>

#include <csignal>
#include <memory>

#include "ipc_helpers.hpp"

using namespace pnio_sim;

TEST_F(PnioSimTest, RefusesASecondInstanceAndCleansUpOnSigterm) {
    PnioSim first;
    ASSERT_TRUE(first.started()) << first.output();
    EXPECT_EQ(semctl(semget(kSemKey, 1, 0), 0, GETVAL), 1);

    PnioSim second;
    EXPECT_FALSE(second.started());
    EXPECT_EQ(second.wait_exit(10000), 1);
    EXPECT_NE(second.output().find("in use"), std::string::npos) << second.output();
    EXPECT_TRUE(ipc_segment_exists());  // the refusal left the running instance alone

    EXPECT_EQ(first.terminate(), 0);
    EXPECT_FALSE(ipc_segment_exists());
    EXPECT_FALSE(ipc_semaphore_exists());
}

TEST_F(PnioSimTest, RemovesAStaleSegmentAndSemaphoreLeftByACrash) {
    ASSERT_GE(shmget(kShmKey, kShmSize, IPC_CREAT | IPC_EXCL | 0666), 0);
    // value 0: would block everyone
    ASSERT_GE(semget(kSemKey, 1, IPC_CREAT | IPC_EXCL | 0666), 0);
    PnioSim sim;
    ASSERT_TRUE(sim.started()) << sim.output();
    EXPECT_NE(sim.output().find("stale shared memory"), std::string::npos) << sim.output();
    EXPECT_EQ(semctl(semget(kSemKey, 1, 0), 0, GETVAL), 1);
    AdapterView adapter;
    EXPECT_TRUE(adapter.ok());
    EXPECT_EQ(adapter.attachments_seen_before_attach(), 2);
}

TEST_F(PnioSimTest, RejectsBadOptionsWithoutTouchingIpc) {
    const struct {
        std::vector<std::string> args;
        int status;  // -1: any failure
    } cases[] = {
        {{"--port", "70000"}, -1},
        {{"--port", "x"}, -1},
        {{"--bogus"}, -1},
        {{"--bind", "not-an-ip", "--port", "0"}, -1},
        {{"--port", "0", "--group", "no-such-group-here"}, 2},
    };
    for (const auto& c : cases) {
        PnioSim sim(c.args);
        EXPECT_FALSE(sim.started());
        const int status = sim.wait_exit(10000);
        if (c.status < 0) EXPECT_NE(status, 0) << c.args[0];
        else EXPECT_EQ(status, c.status);
        EXPECT_FALSE(sim.output().empty());
        EXPECT_FALSE(ipc_segment_exists());
        EXPECT_FALSE(ipc_semaphore_exists());
    }
}

// A restarted gateway takes over the image the adapter still uses; only the last one out removes it.
TEST_F(PnioSimTest, RestartUnderAnAttachedAdapterKeepsTheImage) {
    auto first = std::make_unique<PnioSim>();
    ASSERT_TRUE(first->started()) << first->output();
    const int shm = shmget(kShmKey, 0, 0);
    const int sem = semget(kSemKey, 0, 0);
    auto adapter = std::make_unique<AdapterView>();
    ASSERT_TRUE(adapter->ok());
    EXPECT_EQ(first->terminate(), 0);
    EXPECT_NE(first->output().find("left for 1 attached process"), std::string::npos) << first->output();
    ASSERT_TRUE(ipc_segment_exists());
    ASSERT_TRUE(ipc_semaphore_exists());

    PnioSim second;
    ASSERT_TRUE(second.started()) << second.output();
    EXPECT_NE(second.output().find("reusing the shared memory segment of the running adapter"), std::string::npos)
        << second.output();
    EXPECT_EQ(shmget(kShmKey, 0, 0), shm) << "the adapter's segment was replaced";
    EXPECT_EQ(semget(kSemKey, 0, 0), sem) << "the adapter's semaphore was replaced";
    auto plc = connect_plc(second.port());
    adapter->write_robot_input(pattern(7));
    EXPECT_EQ(round_trip(plc, pattern(3)), pattern(7));
    EXPECT_EQ(adapter->plc_output(), pattern(3));

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
        PnioSim sim(c.args);
        ASSERT_TRUE(sim.started()) << sim.output();
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
}

// Without --no-status pnio-sim reports the link on standard output once a second.
TEST_F(PnioSimTest, ReportsTheLinkOnStandardOutputEverySecond) {
    srci_test::TempDir dir;
    srci_test::ChildProcess sim(PNIO_SIM_PATH, {"--port", "0"}, dir.path(), dir.file("pnio.out"));
    EXPECT_TRUE(srci_test::eventually(
        [&] { return srci_test::readFile(dir.file("pnio.out")).find("pnio-sim: disconnected") != std::string::npos; },
        5000))
        << srci_test::readFile(dir.file("pnio.out"));
    sim.signal(SIGTERM);
    EXPECT_TRUE(sim.waitExit(10000));
}
