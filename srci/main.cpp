// SPDX-License-Identifier: Apache-2.0
// srci_server: lets a PLC command the robot through SRCI. Started in its working directory with
// no arguments; runs until killed.
#include <pthread.h>
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <thread>

#include "itf_commu/commuitf.h"
#include "itf_rc/srci_log.h"
#include "runtime.h"
#include "zlog/zlogsvr.h"

int main(int, char**) {
    const std::string logDir = std::string("./") + "log";
    [[maybe_unused]] int ignored = std::system(("rm -rf " + logDir).c_str());

    zlog::ZLogSvr logServer("errorlog", "rvodbg.log", "bus", "./");
    auto* log = zlog::ZLogClient::get();
    log->enableStdout(true);
    log->set_lv_filter(zlog::ZLogLvTrace);
    log->set_tag_lv_filter(SRCI_LOG_TAG, zlog::ZLogLvDebug, true);

    std::thread logServerThread([&logServer] {
        pthread_setname_np(pthread_self(), "logsvr");
        for (;;) {
            logServer.update();
            usleep(5000);
        }
    });
    std::thread edkLogThread(EDKLogThread);
    edkLogThread.detach();

    srci::CommuItf commu;
    commu.init(10);
    CommuPlcLink plc(commu);

    startUp();
    CycleState cycle;
    for (;;) {
        usleep(srci_communication_loop_time_ms * 1000u);
        runCycle(plc, cycle);
    }
}
