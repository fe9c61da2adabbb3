// SPDX-License-Identifier: Apache-2.0
// The interpreter's own diagnostics: a bounded queue drained by srl_get_log from another thread.
#pragma once

#include <cstddef>

namespace srl {

inline constexpr size_t kLogLines = 64;
inline constexpr size_t kLogLineLen = 256;

// printf-style; never allocates. On overflow the oldest line is dropped and counted.
void logf(const char* fmt, ...) __attribute__((format(printf, 1, 2)));
// Copies the oldest line (zero-terminated) into `buffer` (256 bytes) or leaves it empty.
void log_pop(char* buffer);
void log_clear();

}  // namespace srl
