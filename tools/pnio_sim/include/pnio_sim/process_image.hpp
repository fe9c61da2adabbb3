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

class ProcessImage {
public:
    using Log = std::function<void(const std::string&)>;

    // Throws ImageError if the key is held by a live process or IPC fails.
    // A stale segment (no attachments) or a stale semaphore is removed first
    // and reported through log.
    ProcessImage(int shm_key, int sem_key, const Log& log);
    ~ProcessImage();
    ProcessImage(const ProcessImage&) = delete;
    ProcessImage& operator=(const ProcessImage&) = delete;

    // PLC telegram into srci_out, answer from srci_in, under one lock.
    bool exchange(const uint8_t* plc_out, uint8_t* robot_in);
    bool clear_plc_output();
    bool set_connection_state(bool plc_connected);
    bool describe(const std::string& name, uint32_t ip);

    // Detaches and removes segment and semaphore (also done by the destructor).
    void remove();

private:
    bool lock();
    void unlock();

    int shm_id_ = -1;
    int sem_id_ = -1;
    PNDevShm* image_ = nullptr;
    void* second_attach_ = nullptr;
};

}  // namespace pnio_sim
