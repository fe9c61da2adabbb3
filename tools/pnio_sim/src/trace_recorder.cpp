// SPDX-License-Identifier: Apache-2.0
#include "pnio_sim/trace_recorder.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "pnio_sim/trace_pcapng.hpp"
#include "srci_plc/trace_format.hpp"

namespace pnio_sim {

namespace fmt = srci_plc::trace_format;

namespace {

uint64_t micros(std::chrono::system_clock::time_point t) {
    return static_cast<uint64_t>(std::chrono::duration_cast<std::chrono::microseconds>(t.time_since_epoch()).count());
}

constexpr auto kWriteInterval = std::chrono::milliseconds(250);

}  // namespace

std::string TraceRecorder::rotated_path(const std::string& path) {
    const size_t slash = path.find_last_of('/');
    const size_t dot = path.find_last_of('.');
    if (dot == std::string::npos || (slash != std::string::npos && dot < slash) || dot == slash + 1) return path + ".1";
    return path.substr(0, dot) + ".1" + path.substr(dot);
}

TraceRecorder::TraceRecorder(std::string path, uint64_t max_bytes, Log log)
    : path_(std::move(path)), max_bytes_(max_bytes), log_(std::move(log)) {
    pending_.reserve(kQueueSlots);
    spare_.reserve(kQueueSlots);
    open_file();
    if (fd_ < 0) throw TraceError("cannot create trace file " + path_ + ": " + std::strerror(errno));
    writer_ = std::thread([this] { writer_loop(); });
}

TraceRecorder::~TraceRecorder() {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        stop_ = true;
    }
    wake_.notify_one();
    writer_.join();
    if (fd_ >= 0) ::close(fd_);
}

void TraceRecorder::on_exchange(const TapExchange& exchange) {
    std::lock_guard<std::mutex> lock(mutex_);
    if (pending_.size() >= kQueueSlots) {
        ++skipped_;
        return;
    }
    // resize within the reserved capacity never allocates; the text stays empty.
    pending_.resize(pending_.size() + 1);
    Slot& s = pending_.back();
    s.event = 0xFF;
    s.received_us = micros(exchange.received);
    s.answered_us = micros(exchange.answered);
    std::memcpy(s.plc_to_robot, exchange.plc_to_robot, sizeof s.plc_to_robot);
    std::memcpy(s.robot_to_plc, exchange.robot_to_plc, sizeof s.robot_to_plc);
}

void TraceRecorder::on_connection(bool connected, const std::string& why, std::chrono::system_clock::time_point when) {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (pending_.size() >= kQueueSlots) {
            ++skipped_;
            return;
        }
        pending_.resize(pending_.size() + 1);
        Slot& s = pending_.back();
        s.event = connected ? fmt::kEventClientConnected : fmt::kEventClientDropped;
        s.received_us = micros(when);
        s.text = why;
    }
    wake_.notify_one();  // rare: write it out promptly
}

void TraceRecorder::writer_loop() {
    std::unique_lock<std::mutex> lock(mutex_);
    for (;;) {
        wake_.wait_for(lock, kWriteInterval, [this] { return stop_; });
        const bool stopping = stop_;
        uint64_t skipped = skipped_;
        skipped_ = 0;
        spare_.swap(pending_);
        lock.unlock();
        if (skipped) {
            Slot s;
            s.event = fmt::kEventExchangesSkipped;
            s.received_us = micros(std::chrono::system_clock::now());
            s.text = std::to_string(skipped) + " exchanges not recorded (trace queue full)";
            spare_.push_back(std::move(s));
        }
        write_batch(spare_);
        spare_.clear();
        lock.lock();
        if (stopping) return;
    }
}

void TraceRecorder::write_batch(std::vector<Slot>& batch) {
    if (failed_ || batch.empty()) return;
    out_.clear();
    for (const Slot& s : batch) {
        const size_t before = out_.size();
        if (s.event == 0xFF) {
            trace::append_udp_packet(out_, s.received_us, fmt::kPlcPort, fmt::kRobotPort, s.plc_to_robot, 256,
                                     ip_id_++);
            trace::append_udp_packet(out_, s.answered_us, fmt::kRobotPort, fmt::kPlcPort, s.robot_to_plc, 256,
                                     ip_id_++);
        } else {
            std::vector<uint8_t> payload{s.event};
            payload.insert(payload.end(), s.text.begin(), s.text.end());
            trace::append_udp_packet(out_, s.received_us, fmt::kEventPort, fmt::kEventPort, payload.data(),
                                     payload.size(), ip_id_++);
        }
        if (max_bytes_ != 0 && file_bytes_ + out_.size() > max_bytes_ && file_bytes_ + before > 0) {
            // Flush what precedes this record into the old file, then start a new one with it.
            std::vector<uint8_t> tail(out_.begin() + static_cast<long>(before), out_.end());
            out_.resize(before);
            if (!write_all(out_)) return;
            ::close(fd_);
            const std::string older = rotated_path(path_);
            if (std::rename(path_.c_str(), older.c_str()) != 0)
                log_("trace: cannot rename " + path_ + " to " + older + ": " + std::strerror(errno));
            open_file();
            if (fd_ < 0) {
                log_("trace: cannot create " + path_ + ": " + std::strerror(errno) + "; recording stopped");
                failed_ = true;
                return;
            }
            log_("trace: " + path_ + " reached " + std::to_string(max_bytes_ >> 20) + " MiB; previous part kept as " +
                 older);
            out_ = std::move(tail);
        }
    }
    write_all(out_);
}

void TraceRecorder::open_file() {
    fd_ = ::open(path_.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    file_bytes_ = 0;
    if (fd_ < 0) return;
    std::vector<uint8_t> head;
    trace::append_section_header(head, "pnio-sim telegram trace");
    trace::append_interface(head);
    write_all(head);
}

bool TraceRecorder::write_all(const std::vector<uint8_t>& bytes) {
    size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t n = ::write(fd_, bytes.data() + done, bytes.size() - done);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) {
            log_("trace: writing " + path_ + " failed: " + std::strerror(errno) + "; recording stopped");
            failed_ = true;
            return false;
        }
        done += static_cast<size_t>(n);
    }
    file_bytes_ += bytes.size();
    return true;
}

}  // namespace pnio_sim
