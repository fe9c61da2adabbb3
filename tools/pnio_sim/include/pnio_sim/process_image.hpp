// SPDX-License-Identifier: Apache-2.0
#pragma once
// Owner side of the shared process image: creates the segment and the
// semaphore, keeps the two attachments the robot adapter waits for, and
// copies telegrams in and out under the semaphore.
#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>

#include "pnio_sim/pndev_shm.hpp"

namespace pnio_sim {

class ImageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Who may open the segment and the semaphore: the owner only, or also one group.
struct ImageAccess {
    int mode = 0600;
    int gid = -1;  // >= 0: this group gets read/write (mode 0660)
};

class ProcessImage {
public:
    using Log = std::function<void(const std::string&)>;

    // A segment of the right size that only the adapter (or nobody) still uses
    // is taken over together with its semaphore, so a running adapter sees the
    // new gateway. Throws ImageError if another gateway holds the key, the
    // segment has the wrong size while attached, or IPC fails. Leftovers of a
    // wrong size are removed first and reported through log.
    ProcessImage(int shm_key, int sem_key, const Log& log, ImageAccess access = {});
    ~ProcessImage();
    ProcessImage(const ProcessImage&) = delete;
    ProcessImage& operator=(const ProcessImage&) = delete;

    // PLC telegram into srci_out, answer from srci_in, under one lock.
    bool exchange(const uint8_t* plc_out, uint8_t* robot_in);
    bool clear_plc_output();
    bool set_connection_state(bool plc_connected);
    bool describe(const std::string& name, uint32_t ip);

    // Detaches; removes segment and semaphore only when no other process is
    // attached any more (also done by the destructor). Says what it did.
    std::string remove();
    bool reused() const { return reused_; }

private:
    bool lock();
    void unlock();

    int shm_id_ = -1;
    int sem_id_ = -1;
    PNDevShm* image_ = nullptr;
    void* second_attach_ = nullptr;
    bool reused_ = false;
};

}  // namespace pnio_sim
