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
#include "srci_plc/transport.hpp"

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

// A PLC's connection is the client library's transport; it waits 1 s for an answer, which is also
// how long "nothing arrives" is watched.
inline srci_plc::TcpTransport connect_plc(uint16_t port) { return {"127.0.0.1", port, 1000}; }
std::vector<uint8_t> round_trip(srci_plc::Transport& plc, const std::vector<uint8_t>& telegram);
// Why no whole telegram arrives ("no complete answer ...", "connection closed ..."); "" when one does.
std::string receive_error(srci_plc::Transport& plc);
std::vector<uint8_t> pattern(uint8_t seed);
