// SPDX-License-Identifier: Apache-2.0
// Below the handlers, failures are thrown as bare int codes; tests compare the code.
#pragma once

namespace srci_test {

// The int code a call throws, or 0 when it returns.
template <typename Fn>
int thrownCode(Fn fn) {
    try {
        fn();
    } catch (int code) {
        return code;
    }
    return 0;
}

}  // namespace srci_test
