// SPDX-License-Identifier: Apache-2.0
// Uses one public entry of each installed library; prints what it got.
#include <cstdio>

#include "srci_plc/error_names.hpp"
#include "srciport/euler.h"
#include "srl/srl_api.h"

int main() {
    const double pose[6] = {100, 0, 0, 0, 0, 90};
    double back[6] = {};
    srciport::transformToPose(srciport::poseToTransform(pose), back);
    srl_set_open_callback_funs(0);  // links against the interpreter
    std::printf("%s %.0f\n", srci_plc::error_code_name(0x8F11), back[5]);
    return 0;
}
