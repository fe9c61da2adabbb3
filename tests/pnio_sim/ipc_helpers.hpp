// SPDX-License-Identifier: Apache-2.0
#pragma once
// pnio-sim as a child process, the robot adapter's view of its process image, and a PLC's socket.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "child_process.h"
#include "pnio_sim/pndev_shm.hpp"
#include "process_image.h"

// Every test starts without the fixed IPC keys in use.
class PnioSimTest : public ::testing::Test {
protected:
    void SetUp() override { srci_test::ProcessImage::removeStale(); }
};

bool ipc_segment_exists();
bool ipc_semaphore_exists();

// pnio-sim with --no-status and `args`; started() once it said where it listens.
class PnioSim {
public:
    explicit PnioSim(const std::vector<std::string>& args = {"--port", "0"});
    ~PnioSim() { terminate(); }  // SIGTERM, so that it cleans up as in normal use

    bool started() const { return port_ != 0; }
    uint16_t port() const { return port_; }
    // Its standard output and error so far.
    std::string output() const { return srci_test::readFile(dir_.file("pnio.out")); }
    // Exit status after SIGTERM (or -1 if it did not exit normally).
    int terminate();
    // Exit status once it ends by itself; -1 if it still runs after timeout_ms.
    int wait_exit(int timeout_ms);

private:
    srci_test::TempDir dir_;
    srci_test::ChildProcess process_;
    uint16_t port_ = 0;
};

// Attaches like the adapter: waits for exactly two attachments, then attaches.
class AdapterView {
public:
    AdapterView();
    ~AdapterView();
    AdapterView(const AdapterView&) = delete;
    AdapterView& operator=(const AdapterView&) = delete;

    bool ok() const { return image_ != nullptr && sem_id_ >= 0; }
    int attachments_seen_before_attach() const { return nattch_before_; }
    std::vector<uint8_t> plc_output();  // srci_out under the semaphore
    std::vector<uint8_t> robot_input();
    void write_robot_input(const std::vector<uint8_t>& t);
    pnio_sim::PNDevShm snapshot();
    void hold_semaphore();
    void release_semaphore();

private:
    std::vector<uint8_t> read(size_t offset);
    int sem_id_ = -1;
    int nattch_before_ = -1;
    pnio_sim::PNDevShm* image_ = nullptr;
};

// A PLC's connection; every receive gives up after 5 s.
int tcp_connect(uint16_t port);
bool send_bytes(int fd, const std::vector<uint8_t>& data);
// One whole telegram; empty when it does not arrive.
std::vector<uint8_t> receive(int fd);
std::vector<uint8_t> round_trip(int fd, const std::vector<uint8_t>& telegram);
// True when the peer closed the connection.
bool closed_by_peer(int fd);
// True when nothing arrives within timeout_ms.
bool stays_silent(int fd, int timeout_ms);
std::vector<uint8_t> pattern(uint8_t seed);
