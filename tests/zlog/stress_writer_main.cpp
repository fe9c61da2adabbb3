// SPDX-License-Identifier: Apache-2.0
// Second process of the stress test: writes numbered records into a channel and reports
// the ones the channel refused.
// usage: zlog_stress_writer <scope> <channel> <writer-id> <count> <dropped-list-file>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "qxutil/dualbuff.h"
#include "stress_record.h"

int main(int argc, char** argv) {
    if (argc != 6) {
        fprintf(stderr, "usage: %s <scope> <channel> <writer-id> <count> <dropped-list-file>\n", argv[0]);
        return 2;
    }
    qxutil::setShmScope(argv[1]);
    qxutil::DualBuffWriter writer(argv[2]);
    if (!writer.attached()) {
        fprintf(stderr, "cannot attach channel %s\n", argv[2]);
        return 1;
    }
    int id = atoi(argv[3]);
    auto count = static_cast<uint32_t>(strtoul(argv[4], nullptr, 10));
    auto dropped = zlog_test::writeStressRecords(writer, id, count);
    FILE* out = fopen(argv[5], "w");
    if (!out) {
        return 1;
    }
    for (uint32_t seq : dropped) {
        fprintf(out, "%u\n", seq);
    }
    return fclose(out) == 0 ? 0 : 1;
}
