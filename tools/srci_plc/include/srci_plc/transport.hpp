// SPDX-License-Identifier: Apache-2.0
#pragma once
// How telegrams reach the robot side. The TCP implementation speaks the raw
// lockstep gateway protocol: send one telegram, receive exactly one answer.
#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

namespace srci_plc {

class TransportError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

class Transport {
public:
    virtual ~Transport() = default;
    // Sends tx and fills rx with the answer (rx.size() bytes are expected).
    virtual void exchange(const std::vector<uint8_t>& tx, std::vector<uint8_t>& rx) = 0;
    // The same exchange in two halves, so that the caller can sleep in between while the answer
    // waits for it. A transport that cannot split runs the whole exchange in receive().
    virtual void send(const std::vector<uint8_t>& tx) { pending_ = tx; }
    virtual void receive(std::vector<uint8_t>& rx) { exchange(pending_, rx); }

private:
    std::vector<uint8_t> pending_;
};

class TcpTransport : public Transport {
public:
    TcpTransport(const std::string& host, uint16_t port, int answer_timeout_ms);
    ~TcpTransport() override;
    TcpTransport(const TcpTransport&) = delete;
    TcpTransport& operator=(const TcpTransport&) = delete;
    void exchange(const std::vector<uint8_t>& tx, std::vector<uint8_t>& rx) override;
    void send(const std::vector<uint8_t>& tx) override;
    void receive(std::vector<uint8_t>& rx) override;

private:
    int fd_ = -1;
    int timeout_ms_;
};

}  // namespace srci_plc
