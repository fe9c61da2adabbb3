// SPDX-License-Identifier: Apache-2.0
// Building blocks of the command register shared by dispatch and the cyclic work: answers,
// rolling ids, handler calls, ending and dooming commands.
#pragma once

#include <cstdint>

#include "commands.h"
#include "context.h"
#include "wire_codec.h"

namespace srl::detail {

namespace state {
enum : uint8_t { Buffered = 2, Active = 4, Interrupted = 5, Done = 10, Aborted = 14, Error = 15 };
}
namespace code {
inline constexpr uint16_t AbortedByStop = 0x6C05, AbortedByOther = 0x6C06, JogStopped = 0x6C14, JogByRaState = 0x6C15,
                          InvalidMode = 0x8D21, InvalidIndex = 0x8D47, InvalidOverride = 0x8D23,
                          InvalidTargetSequence = 0x8D31, InvalidOperationMode = 0x8D32, InvalidExecMode = 0x8F10,
                          NotImplemented = 0x8F11, OneInstance = 0x8F12, NotInStateMachine = 0x8F18,
                          TypeOutOfRange = 0x8F20, Internal = 0x8FFF, TypeChanged = 0x9A05, PayloadLength = 0x9A09;
}
inline constexpr uint16_t kMotionDoneProgress = 10000;
inline constexpr uint8_t kOrphanRid = 0xFF;  // rid_owner mark: no CmdID, still in the adapter
static_assert(kMaxAcr < kOrphanRid);

inline Commands& C() { return ctx().cmds; }
// Builds the wire payload (header + table conversion of `host`) and queues it for `id`.
// `host`, when given, holds at least rsp->host_len bytes; severity -1 derives it from the code.
void queue(uint16_t id, uint8_t parseq, uint8_t st, uint16_t alarm, const RecordDesc* rsp, const uint8_t* host,
           int8_t severity = -1, const uint8_t* wire_patch = nullptr, uint16_t patch_off = 0, uint16_t patch_len = 0);
uint16_t wire_code(int err);
uint8_t alloc_rid(uint16_t id);
void free_rid(uint8_t rid);
int call_handler(Slot slot, const uint8_t* host, uint16_t host_len, uint8_t rid, uint8_t* out);
// Ends the entry without an answer. `adapter_may_hold`: the client forgot a command the adapter
// may still run; its id stays reserved until the adapter reports it final.
void release(uint16_t id, bool adapter_may_hold = false);
void finalize(uint16_t id, uint8_t st, uint16_t alarm, const uint8_t* host = nullptr);
void error_answer(uint16_t id, uint8_t parseq, uint16_t alarm, const RecordDesc* rsp = nullptr,
                  const uint8_t* host = nullptr);
void doom_motion(uint16_t motion_code, uint16_t jog_code, uint16_t except);
void decode(const RecordDesc& desc, const uint8_t* payload, uint16_t len, uint8_t* host);
void send_enable_robot(uint16_t id, uint8_t st, bool enabled, uint16_t alarm = 0, int8_t severity = -1);
void send_jog(uint16_t id, uint8_t st, uint16_t alarm = 0);
void send_exchange(uint16_t id);

}  // namespace srl::detail
