// SPDX-License-Identifier: Apache-2.0
// Test stand-in for the PROFINET I/O manager's side of the process image: the shared segment
// (key 204) held with a chosen number of attachments and the semaphore (key 5001) set free.
// Tests using it take the CTest resource lock ipc_204_5001.
#pragma once

#include <cstdint>

struct PNDevShmView;

namespace srci_test {

class ProcessImage {
public:
    static constexpr int kShmKey = 204;
    static constexpr int kShmSize = 1860;
    static constexpr int kSemKey = 5001;
    static constexpr int kPlcToRobot = 1348;
    static constexpr int kRobotToPlc = 1604;

    explicit ProcessImage(int attachments);
    ~ProcessImage();
    ProcessImage(const ProcessImage&) = delete;
    ProcessImage& operator=(const ProcessImage&) = delete;

    uint8_t* bytes() { return base_; }
    uint8_t* plcToRobot() { return base_ + kPlcToRobot; }
    uint8_t* robotToPlc() { return base_ + kRobotToPlc; }
    int semaphore() const { return sem_; }
    // Copies under the semaphore, as the I/O manager does.
    void writePlcTelegram(const uint8_t* telegram);
    void readRobotTelegram(uint8_t* telegram);

    // Removes a segment/semaphore left by a crashed run, saying so on stderr.
    static void removeStale();

private:
    int id_ = -1;
    int sem_ = -1;
    uint8_t* base_ = nullptr;
    uint8_t* extra_ = nullptr;
};

}  // namespace srci_test
