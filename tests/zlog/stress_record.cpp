// SPDX-License-Identifier: Apache-2.0
#include "stress_record.h"

#include <unistd.h>

#include <cstdio>
#include <sstream>

namespace zlog_test {
namespace {

std::string payload(int writer, uint32_t seq) {
    size_t len = 8 + (seq * 7u + static_cast<uint32_t>(writer)) % 48;
    std::string p(len, ' ');
    for (size_t i = 0; i < len; ++i) {
        p[i] = static_cast<char>('a' + (seq + i * (static_cast<uint32_t>(writer) + 1)) % 26);
    }
    return p;
}

}  // namespace

std::string stressText(int writer, uint32_t seq) {
    return "@S " + std::to_string(writer) + " " + std::to_string(seq) + " " + payload(writer, seq);
}

bool parseStressText(std::string_view line, int& writer, uint32_t& seq) {
    size_t at = line.find("@S ");
    if (at == std::string_view::npos) {
        return false;
    }
    std::string rest(line.substr(at + 3));
    char tail[128] = {};
    unsigned s = 0;
    if (sscanf(rest.c_str(), "%d %u %127s", &writer, &s, tail) != 3) {
        return false;
    }
    seq = s;
    return line.substr(at) == stressText(writer, seq);
}

std::vector<uint32_t> writeStressRecords(qxutil::DualBuffWriter& out, int writer, uint32_t count) {
    std::vector<uint32_t> dropped;
    for (uint32_t seq = 0; seq < count; ++seq) {
        std::string rec = stressText(writer, seq) + "\n";
        if (out.write(rec.data(), rec.size()) != 0) {
            dropped.push_back(seq);
        }
        if (seq < count / 2 && seq % 100 == 99) {
            usleep(100);
        }
    }
    return dropped;
}

void StressTally::addText(const std::string& text) {
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) {
        int writer = 0;
        uint32_t seq = 0;
        if (parseStressText(line, writer, seq)) {
            seen[writer].push_back(seq);
        } else {
            ++damaged;
        }
    }
}

}  // namespace zlog_test
