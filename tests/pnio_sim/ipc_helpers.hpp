// SPDX-License-Identifier: Apache-2.0
#pragma once
// The robot adapter's view of the process image, and TCP helpers for a PLC.
#include <cstdint>
#include <string>
#include <vector>

#include "pnio_sim/pndev_shm.hpp"

// Removes a segment/semaphore that a crashed run left behind (and says so on
// stderr). Returns false if the segment is attached by a live process.
bool remove_stale_ipc();
bool ipc_segment_exists();
bool ipc_semaphore_exists();

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
    int shm_id_ = -1;
    int sem_id_ = -1;
    int nattch_before_ = -1;
    pnio_sim::PNDevShm* image_ = nullptr;
};

int tcp_connect(uint16_t port);
bool send_bytes(int fd, const std::vector<uint8_t>& data);
// Reads exactly n bytes or fails after timeout_ms.
bool recv_exact(int fd, std::vector<uint8_t>& out, size_t n, int timeout_ms);
// True when the peer closed the connection within timeout_ms.
bool closed_by_peer(int fd, int timeout_ms);
// True when nothing arrives within timeout_ms.
bool stays_silent(int fd, int timeout_ms);
std::vector<uint8_t> pattern(uint8_t seed);
