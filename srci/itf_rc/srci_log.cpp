#include "itf_rc/srci_log.h"

const char* const SRCI_LOG_TAG = "SRCI";

namespace srci {
void logFramed(int level, const char* tag, const char* func, int line, const std::string& text) {
    zlog::ZLogClient::get()->do_log(level, tag, func, line, "\n" + text + "\n");
}
}  // namespace srci
