// SPDX-License-Identifier: Apache-2.0
// The adapter's process-wide singletons. Both are defined here, in this order, so static
// initialisation builds the motion manager before the store: the store's constructor talks
// to the controller and must find the manager already in place.
#include <atomic>
#include <mutex>

#include "srl/edk_helper.h"
#include "srl/veld_motion_manager.h"

std::atomic<bool> enable_thread_running{false};
std::mutex enable_poweron_locker;

MotionManager motionManagerTemp;
EDK_Helper helper;
