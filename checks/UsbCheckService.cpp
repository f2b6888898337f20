#define LOG_TAG "UsbCheckService"

#include "UsbCheckService.h"

#include <log/log.h>

#include "TevVendorUtils.h"

namespace vendor::quoril::hardware::tevvendorservice::implementation {

using ::android::hardware::Void;

// Every message of this area goes out at ERROR, the successful ones included.
namespace {

const std::string typecCcOrientationPath = "/sys/class/power_supply/usb/typec_cc_orientation";
const std::string typecOnPath = "/sys/module/usb20_host/parameters/typec_on";

}  // namespace

Return<int32_t> UsbCheckService::getUsbPluginStatus() {
    std::string value = TevVendorUtils::getInstance().readFilePathValue(typecCcOrientationPath);
    if (!value.empty()) {
        switch (value[0]) {
            case '0':
            case '1':
            case '2':
                ALOGE("Read typec_cc_orientation sysfs node successful.");
                return value[0] - '0';
            default:
                break;
        }
    }
    ALOGE("Read typec_cc_orientation sysfs node failed.");
    return -1;
}

Return<bool> UsbCheckService::isMicroUsbDevice() {
    std::string value = TevVendorUtils::getInstance().readFilePathValue(typecOnPath);
    if (value.empty()) {
        ALOGE("read typec_on sysfs node failed.");
        return false;
    }
    ALOGE("read typec_on sysfs node successful.");
    return value[0] == '1';
}

Return<void> UsbCheckService::extFun(const hidl_string& /* name */,
                                     const hidl_vec<hidl_string>& /* args */,
                                     extFun_cb /* _hidl_cb */) {
    return Void();
}

}  // namespace vendor::quoril::hardware::tevvendorservice::implementation
