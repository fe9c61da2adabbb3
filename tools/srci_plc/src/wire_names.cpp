// SPDX-License-Identifier: Apache-2.0
#include "srci_plc/wire_constants.hpp"

namespace srci_plc {

const char* telegram_state_name(uint8_t s) {
    switch (s) {
        case 0:
            return "UNDEFINED";
        case 161:
            return "CONTROL_REQUEST_INCONSISTENT";
        case 162:
            return "INITIALIZATION_LOST";
        case 163:
            return "TELEGRAM_LENGTH_MISMATCH";
        case 164:
            return "VERSION_MISMATCH";
        case 165:
            return "CLIENT_LIFESIGN_TIMEOUT";
        case 166:
            return "CYCLIC_DATA_TOO_LARGE";
        case 167:
            return "RESET_WHILE_INITIALIZED";
        case 168:
            return "SEQUENCE_TIMEOUT";
        case 169:
            return "TELEGRAM_NUMBER_CHANGED";
        case 170:
            return "AXES_GROUP_NOT_ACCEPTED";
        case 171:
            return "TELEGRAM_NUMBER_INCONSISTENT";
        case 172:
            return "TELEGRAM_NUMBER_UNSUPPORTED";
        case 173:
            return "SERVER_CONNECTION_LOST";
        case 253:
            return "NOT_INITIALIZED_RESUMABLE";
        case 254:
            return "READY_FOR_INITIALIZE";
        case 255:
            return "INITIALIZED";
        default:
            return "UNKNOWN";
    }
}

const char* cmd_state_name(uint8_t s) {
    switch (s) {
        case cmd_state::kEmpty:
            return "Empty";
        case cmd_state::kCreated:
            return "Created";
        case cmd_state::kBuffered:
            return "Buffered";
        case cmd_state::kBufferedInPlanner:
            return "BufferedInPlanner";
        case cmd_state::kActive:
            return "Active";
        case cmd_state::kInterrupted:
            return "Interrupted";
        case cmd_state::kAbortRequested:
            return "AbortRequested";
        case cmd_state::kDone:
            return "Done";
        case cmd_state::kAborted:
            return "Aborted";
        case cmd_state::kError:
            return "Error";
        default:
            return "Unknown";
    }
}

const char* severity_name(int s) {
    switch (s) {
        case 0:
            return "none";
        case 4:
            return "debug";
        case 5:
            return "info";
        case 20:
            return "warning";
        case 28:
            return "error";
        case 29:
            return "fatal";
        default:
            return "unknown";
    }
}

}  // namespace srci_plc
