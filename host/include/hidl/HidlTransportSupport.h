// Host stand-in: the binder thread pool is not simulated; calls run on the caller's thread.
#pragma once

#include <hidl/HidlSupport.h>

#include <cstddef>

namespace android {
namespace hardware {

inline void configureRpcThreadpool(size_t /* maxThreads */, bool /* callerWillJoin */) {}
void joinRpcThreadpool();

}  // namespace hardware
}  // namespace android
