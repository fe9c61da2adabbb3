// SPDX-License-Identifier: Apache-2.0
#pragma once
// Records every telegram of the lockstep exchange, both directions, into a pcapng file.
//
// The gateway calls the tap on its own thread between receiving and answering, so the tap only
// copies the two telegrams into a preallocated queue; a writer thread turns them into pcapng
// blocks and writes whole blocks about four times a second. A killed pnio-sim therefore leaves a
// valid file that lacks at most the last quarter second. When the queue is full (the disk stalls)
// exchanges are skipped, never waited for, and the trace says how many.
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "pnio_sim/telegram_tap.hpp"

namespace pnio_sim {

class TraceError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

class TraceRecorder : public TelegramTap {
public:
    using Log = std::function<void(const std::string&)>;

    static constexpr size_t kQueueSlots = 4096;  // 16 s of exchanges at 4 ms

    // max_bytes 0: one file without limit. Otherwise the file is rotated before it would grow
    // past max_bytes: path becomes rotated_path(path) (replacing the older one) and a fresh path
    // is started, so at most two files exist. Throws TraceError if path cannot be created.
    TraceRecorder(std::string path, uint64_t max_bytes, Log log);
    ~TraceRecorder() override;  // writes what is queued
    TraceRecorder(const TraceRecorder&) = delete;
    TraceRecorder& operator=(const TraceRecorder&) = delete;

    void on_exchange(const TapExchange& exchange) override;
    void on_connection(bool connected, const std::string& why, std::chrono::system_clock::time_point when) override;

    // "trace.pcapng" -> "trace.1.pcapng"; "trace" -> "trace.1".
    static std::string rotated_path(const std::string& path);

private:
    struct Slot {
        uint8_t event = 0xFF;  // 0xFF: an exchange; otherwise a trace_format event kind
        uint64_t received_us = 0;
        uint64_t answered_us = 0;
        uint8_t plc_to_robot[256];
        uint8_t robot_to_plc[256];
        std::string text;
    };

    void writer_loop();
    void write_batch(std::vector<Slot>& batch);
    void open_file();
    bool write_all(const std::vector<uint8_t>& bytes);

    const std::string path_;
    const uint64_t max_bytes_;
    Log log_;
    int fd_ = -1;
    uint64_t file_bytes_ = 0;
    uint16_t ip_id_ = 0;
    bool failed_ = false;

    std::mutex mutex_;
    std::condition_variable wake_;
    std::vector<Slot> pending_;  // guarded by mutex_
    std::vector<Slot> spare_;    // writer thread only
    uint64_t skipped_ = 0;       // guarded by mutex_
    bool stop_ = false;          // guarded by mutex_
    std::vector<uint8_t> out_;   // writer thread only
    std::thread writer_;
};

}  // namespace pnio_sim
