// SPDX-License-Identifier: Apache-2.0
// The baseline the adapter's cycle is compared with: a main loop that only sleeps 4 ms, the same
// call the adapter makes, recorded by the same preloaded recorder. Runs until killed.
#include <unistd.h>

int main() {
    for (;;) usleep(4000);
}
