// srci_server: lets a PLC command the robot through SRCI. Started in its working directory with
// no arguments; runs until killed.
#include <pthread.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <string>
#include <thread>

#include "itf_commu/commuitf.h"
#include "itf_rc/rcitf.h"
#include "itf_rc/srci_log.h"
#include "runtime.h"
#include "srl/edk_helper.h"
#include "srl/handler_codec.h"
#include "srl/srl_api.h"
#include "srl/srl_define_function.h"
#include "srl/veld_motion_manager.h"
#include "zlog/zlogsvr.h"

namespace {

void startController() {
    try {
        srci::RcItf::get(true)->robotPower(true);
        srci::RcItf::get(true)->robotKineInit();
    } catch (int code) {
        SRCI_LOG(zlog::ZLogLvError, handler::text("fail to init controller: ", code));
        EDK_Helper::logErr(code);
        throw;
    }
}

SystemTime now() { return std::chrono::system_clock::now(); }

}  // namespace

void monitorTime(SystemTime t0, SystemTime t1, SystemTime t2, int32_t limitMs) {
    using std::chrono::duration_cast;
    using std::chrono::milliseconds;
    const auto d1 = duration_cast<milliseconds>(t1 - t0).count();
    const auto d2 = duration_cast<milliseconds>(t2 - t1).count();
    if (limitMs >= d1 && limitMs >= d2) return;
    SRCI_LOG(zlog::ZLogLvDebug, handler::text("d1: ", d1, ", d2: ", d2, "\n"));
}

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
    std::memset(recvBuff, 0, sizeof recvBuff);
    std::memset(sendBuff, 0, sizeof sendBuff);

    startController();
    srl_data_function_init();
    const unsigned char behaviours[2] = {0x11, 0x01};
    srl_set_return_to_primary_behaviors(behaviours, 1, 2);
    bool lastAppConnected = false;

    for (;;) {
        usleep(srci_communication_loop_time_ms * 1000u);
        const bool appConnected = srci::RcItf::get(true)->isAppConnected();
        if (appConnected != lastAppConnected) {
            SRCI_LOG(zlog::ZLogLvError, handler::text("APP connection state: ", appConnected ? 1 : 0));
            lastAppConnected = appConnected;
            if (appConnected) motionManagerTemp.disableStop();
        }
        // While the controller's own application holds the robot, the PLC image is left alone.
        if (appConnected) continue;
        try {
            prepareRecvData(commu);
            const SystemTime t0 = now();
            on_update_robot_control_data();
            const SystemTime t1 = now();
            srl_interpreter(recvBuff, sendBuff);
            const SystemTime t2 = now();
            monitorTime(t0, t1, t2, 50);
            commu.sendToPlc(sendBuff, sizeof sendBuff);
        } catch (const std::exception& e) {
            SRCI_LOG(zlog::ZLogLvError, std::string("error-try-catch-in-main-loop...") + e.what());
        }
    }
}
