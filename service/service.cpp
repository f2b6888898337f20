// The service host: loads the passthrough implementation and registers, as "default", a root that
// forwards to it and lets several binder threads call at once (ServingRoot.h).
#define LOG_TAG "vendor.quoril.hardware.tevvendorservice@1.0-service"

#include <hidl/HidlTransportSupport.h>
#include <log/log.h>

#include <cstdlib>

#include "ServingRoot.h"

using ::android::OK;
using ::android::sp;
using ::android::status_t;
using ::android::hardware::configureRpcThreadpool;
using ::android::hardware::joinRpcThreadpool;
using ::vendor::quoril::hardware::tevvendorservice::implementation::ServingRoot;
using ::vendor::quoril::hardware::tevvendorservice::V1_0::ITevVendorService;

// Binder threads, the main thread included. Four kinds of call hold a thread for long: the
// touch-panel self-test (12 s when it passes), the Hall poll (as long as the sibling sensor test
// service's poll; and a Hall call waits, without end, for a sibling that the manifest declares but
// that is not running), a calibration in the closed sensor library (its own time), and lshal
// debug. With one of each under way, two threads are left for the application's other calls and
// for a second client. The driver starts a thread only when a call finds none waiting, so an idle
// service holds the main thread alone.
constexpr size_t kBinderThreads = 6;

int main() {
    configureRpcThreadpool(kBinderThreads, true /* callerWillJoin */);
    sp<ITevVendorService> library = ITevVendorService::getService("default", true /* getStub */);
    if (library == nullptr) {
        ALOGE("Could not load the passthrough implementation of %s", ITevVendorService::descriptor);
        return EXIT_FAILURE;
    }
    sp<ITevVendorService> root = new ServingRoot(library);
    status_t status = root->registerAsService("default");
    if (status != OK) {
        ALOGE("Could not register %s/default (%d)", ITevVendorService::descriptor, status);
        return EXIT_FAILURE;
    }
    joinRpcThreadpool();
    return EXIT_FAILURE;  // joinRpcThreadpool does not return
}
