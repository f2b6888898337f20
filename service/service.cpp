// The service host: loads the passthrough implementation and registers it as "default".
#define LOG_TAG "vendor.quoril.hardware.tevvendorservice@1.0-service"

#include <hidl/LegacySupport.h>
#include <vendor/quoril/hardware/tevvendorservice/1.0/ITevVendorService.h>

using ::android::hardware::defaultPassthroughServiceImplementation;
using ::vendor::quoril::hardware::tevvendorservice::V1_0::ITevVendorService;

int main() {
    return defaultPassthroughServiceImplementation<ITevVendorService>();
}
