// Logging convention of the adapter: every text is framed by a line break before and after,
// and carries the tag SRCI_LOG_TAG, the function name and the source line.
#pragma once

#include <string>

#include "zlog/zlog_client.h"

extern const char* const SRCI_LOG_TAG;

namespace srci {
void logFramed(int level, const char* tag, const char* func, int line, const std::string& text);
}

#define SRCI_LOG(level, text) ::srci::logFramed((level), SRCI_LOG_TAG, __FUNCTION__, __LINE__, (text))
