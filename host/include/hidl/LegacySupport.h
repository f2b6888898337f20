// Host stand-in for the platform's default passthrough service host: fetches the implementation
// through the passthrough loader, registers it, and serves until the process ends.
#pragma once

#include <string>

#include <hidl/HidlTransportSupport.h>
#include <utils/Errors.h>
#include <utils/StrongPointer.h>

namespace android {
namespace hardware {

template <class Interface>
status_t registerPassthroughServiceImplementation(const std::string& name = "default") {
    sp<Interface> service = Interface::getService(name, true /* getStub */);
    if (service == nullptr) return EXIT_FAILURE;
    return service->registerAsService(name);
}

template <class Interface>
status_t defaultPassthroughServiceImplementation(const std::string& name = "default",
                                                 size_t maxThreads = 1) {
    configureRpcThreadpool(maxThreads, true);
    status_t result = registerPassthroughServiceImplementation<Interface>(name);
    if (result != OK) return result;
    joinRpcThreadpool();
    return UNKNOWN_ERROR;
}

}  // namespace hardware
}  // namespace android
