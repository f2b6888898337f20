// tev_debug PROFILE [OPTION...]: the service's debug call on a device profile, made as lshal debug
// makes it on the handset, with standard output as the descriptor.
#include <cutils/native_handle.h>
#include <tevhost/Sandbox.h>
#include <unistd.h>
#include <vendor/quoril/hardware/tevvendorservice/1.0/ITevVendorService.h>

#include <cstdio>
#include <string>

#include "Device.h"

using ::android::sp;
using ::android::hardware::hidl_handle;
using ::android::hardware::hidl_string;
using ::android::hardware::hidl_vec;
using ::vendor::quoril::hardware::tevvendorservice::V1_0::ITevVendorService;

int main(int argc, char** argv) {
    if (argc < 2) {
        fprintf(stderr, "usage: tev_debug PROFILE [OPTION...]\n");
        return 2;
    }
    tevctl::Device device;
    std::string error;
    if (!device.open(tevctl::resolveProfile(argv[1]), false, &error)) {
        fprintf(stderr, "tev_debug: %s\n", error.c_str());
        return 2;
    }
    tevhost::sandbox::setVirtualClock(true);
    sp<ITevVendorService> root = ITevVendorService::getService("default");
    if (root == nullptr) {
        fprintf(stderr, "tev_debug: the service library cannot be loaded\n");
        return 1;
    }
    native_handle_t* handle = native_handle_create(1, 0);
    handle->data[0] = STDOUT_FILENO;
    const bool ok =
            root->debug(hidl_handle(handle), hidl_vec<hidl_string>(argv + 2, argv + argc)).isOk();
    native_handle_delete(handle);
    return ok ? 0 : 1;
}
