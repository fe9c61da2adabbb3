// SPDX-License-Identifier: Apache-2.0
// Starting, watching and stopping the processes of a bench stack, and what /proc says about them.
#pragma once

#include <sys/types.h>

#include <map>
#include <string>
#include <vector>

namespace cycle_bench {

// Starts argv[0] with the given working directory, output file and extra environment entries.
pid_t spawn(const std::vector<std::string>& argv, const std::string& cwd, const std::string& outFile,
            const std::vector<std::string>& env = {});
void stop(pid_t pid, int signal);  // sends the signal and reaps the child
bool alive(pid_t pid);
pid_t spawnHog();  // a CPU-bound child (busy loop) until stopped

// CPU time in clock ticks of each thread of a process, by "tid name".
std::map<std::string, double> threadCpuSeconds(pid_t pid);
double ownThreadCpuSeconds();
long rssKiB(pid_t pid);

bool waitForPort(int port, int timeoutMs);

}  // namespace cycle_bench
