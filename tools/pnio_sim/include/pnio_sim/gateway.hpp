// SPDX-License-Identifier: Apache-2.0
#pragma once
// Raw lockstep TCP bridge: the PLC client sends exactly one 256-byte telegram,
// the gateway copies it into the process image and answers with exactly one
// telegram read back from it. One client at a time; a new one replaces it.
#include <chrono>
#include <csignal>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "pnio_sim/process_image.hpp"
#include "pnio_sim/telegram_tap.hpp"

namespace pnio_sim {

struct GatewayStats {
    bool connected = false;
    uint64_t telegrams = 0;  // answered telegrams since start
    unsigned clients = 0;    // accepted connections since start
    uint8_t plc_lifesign = 0;
    uint8_t robot_lifesign = 0;
};

class Gateway {
public:
    using Log = std::function<void(const std::string&)>;
    using Tick = std::function<void(const GatewayStats&)>;

    static constexpr std::chrono::milliseconds kPartialTimeout{200};

    // Throws std::runtime_error if the address cannot be bound.
    Gateway(ProcessImage& image, const std::string& bind_address, uint16_t port, Log log);
    ~Gateway();
    Gateway(const Gateway&) = delete;
    Gateway& operator=(const Gateway&) = delete;

    uint16_t port() const { return port_; }
    uint32_t address() const { return address_; }  // host byte order

    // Taps see every exchange and connection change from then on; the gateway does not own them.
    void add_tap(TelegramTap* tap) { taps_.push_back(tap); }

    // Serves until stop becomes non-zero; tick is called about once a second.
    void run(const volatile std::sig_atomic_t& stop, const Tick& tick);

private:
    void accept_client();
    void read_client();
    void drop_client(const std::string& why);

    ProcessImage& image_;
    Log log_;
    int listen_fd_ = -1;
    int client_fd_ = -1;
    uint16_t port_ = 0;
    uint32_t address_ = 0;
    uint8_t buffer_[kTelegramSize] = {};
    size_t filled_ = 0;
    std::chrono::steady_clock::time_point partial_since_;
    GatewayStats stats_;
    std::vector<TelegramTap*> taps_;
};

}  // namespace pnio_sim
