// SPDX-License-Identifier: Apache-2.0
#pragma once
// How pnio-sim's telegram trace is laid out, shared by the recorder and every reader.
//
// Each telegram is one Ethernet/IPv4/UDP frame on 127.0.0.1 in a pcapng file: the PLC side sends
// from kPlcPort to kRobotPort, the robot answers from kRobotPort to kPlcPort. Plain UDP was
// chosen over Exported PDU because every Wireshark and tshark opens it without options or
// plug-ins, the direction is visible in the ports even without the SRCI dissector, and the
// dissector attaches through the ordinary udp.port table. Gateway events (a PLC client connects
// or is dropped, the recorder had to skip exchanges) travel as frames from and to kEventPort:
// one kind byte, then ASCII text.
#include <cstdint>

namespace srci_plc::trace_format {

constexpr uint16_t kRobotPort = 46256;
constexpr uint16_t kPlcPort = 46257;
constexpr uint16_t kEventPort = 46258;

constexpr uint8_t kEventClientDropped = 0;
constexpr uint8_t kEventClientConnected = 1;
constexpr uint8_t kEventExchangesSkipped = 2;  // text says how many the recorder could not keep

constexpr uint32_t kLinkTypeEthernet = 1;

}  // namespace srci_plc::trace_format
