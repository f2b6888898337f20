#define LOG_TAG "ChargerCheckService-hal"

#include "ChargerCheckService.h"

#include <cutils/properties.h>
#include <fcntl.h>
#include <log/log.h>
#include <unistd.h>

#include <cstring>

#include "NodeIo.h"

namespace vendor::quoril::hardware::tevvendorservice::implementation {

using ::android::hardware::Void;

namespace {

constexpr const char* kProductNameProp = "ro.product.name";
constexpr const char* kCurrentNowNode = "/sys/class/power_supply/battery/current_now";
constexpr const char* kRealTypeNode = "/sys/class/power_supply/usb/real_type";
constexpr const char* kReverseModeNode = "/sys/class/power_supply/wireless/reverse_chg_mode";
constexpr const char* kReverseStateNode = "/sys/class/power_supply/wireless/reverse_chg_state";
constexpr size_t kCurrentNowSize = 10;
constexpr size_t kRealTypeSize = 10;
constexpr size_t kReverseStateSize = 10;
constexpr const char* kReadFailedAnswer = "-1";

// Products whose charging current the factory test measures; the whole name must match.
const char* const kCurrentTestProducts[] = {"quenrath", "kelsivabo", "halbrin",
                                            "fand",     "morquet",   "kibbt"};
// Fragments of product names; a name that contains one anywhere matches, so one entry covers
// the regional and edition variants of a product.
const char* const kHvdcpProducts[] = {"qab", "zob", "yut"};
const char* const kPdChargerProducts[] = {"tuvreck", "ruvaloq", "yut", "zob", "sirnak", "pif"};

}  // namespace

ChargerCheckService::ChargerCheckService() {
    char value[PROPERTY_VALUE_MAX];
    memset(value, 0, sizeof(value));
    if (property_get(kProductNameProp, value, "") >= 0) {
        mProductName = value;
        ALOGI("ChargerCheckService mProductName = %s", mProductName.c_str());
    } else {
        ALOGE("ChargerCheckService can not get productName");
    }
}

Return<bool> ChargerCheckService::needTestElectric() {
    bool result = false;
    for (const char* product : kCurrentTestProducts) {
        if (mProductName == product) {
            result = true;
            break;
        }
    }
    ALOGI("needTestElectric result = %d", result ? 1 : 0);
    return result;
}

Return<int32_t> ChargerCheckService::getElectricThreshold() {
    // One threshold for every product.
    ALOGI("getElectricThreshold result = %d", 1);
    return 1;
}

Return<int32_t> ChargerCheckService::getCurrentElectrical() {
    std::string text;
    switch (readNodeOnce(kCurrentNowNode, kCurrentNowSize, &text)) {
        case NodeRead::kOpenFailed:
            ALOGE("Failed to open current_now node.");
            return -1;
        case NodeRead::kReadFailed:
            ALOGE("read current_now sysfs node failed.");
            return -1;
        case NodeRead::kOk:
            break;
    }
    // Passed on in the kernel's unit and sign convention.
    return decimalValue(text);
}

Return<bool> ChargerCheckService::isSupportHvdcpCharger() {
    for (const char* fragment : kHvdcpProducts) {
        if (mProductName.find(fragment) != std::string::npos) {
            ALOGI("isSupportHvdcpCharger result = %d", 1);
            return true;
        }
    }
    ALOGI("isSupportHvdcpCharger result = %d", 0);
    return false;
}

Return<bool> ChargerCheckService::isSupportPDCharger() {
    for (const char* fragment : kPdChargerProducts) {
        if (mProductName.find(fragment) != std::string::npos) {
            ALOGI("isSupportPDCharger result = %d", 1);
            return true;
        }
    }
    ALOGI("isSupportPDCharger result = %d", 0);
    return false;
}

Return<void> ChargerCheckService::getChargerType(getChargerType_cb _hidl_cb) {
    std::string text;
    switch (readNodeOnce(kRealTypeNode, kRealTypeSize, &text)) {
        case NodeRead::kOpenFailed:
            ALOGE("Failed to open charge_type node.");
            _hidl_cb(kReadFailedAnswer);
            return Void();
        case NodeRead::kReadFailed:
            ALOGE("read charge_type sysfs node failed.");
            _hidl_cb(kReadFailedAnswer);
            return Void();
        case NodeRead::kOk:
            break;
    }
    // The type as the driver gives it, line feed included, up to the first zero byte.
    _hidl_cb(text.c_str());
    ALOGI("getChargerType result = %s", text.c_str());
    return Void();
}

Return<bool> ChargerCheckService::controlReverseWirelessCharge(RevWireChargeControl control) {
    int fd = open(kReverseModeNode, O_RDWR | O_NONBLOCK);
    if (fd < 0) {
        ALOGE("Failed to open wireless_reverse node.");
        return false;
    }
    // Only ON switches it on; every other value switches it off.
    const char* mode = control == RevWireChargeControl::ON ? "1" : "0";
    ssize_t written = write(fd, mode, 1);
    if (written < 0) {
        ALOGE("Write wireless_reverse sysfs node failed.");
        close(fd);
        return false;
    }
    close(fd);
    ALOGI("controlReverseWirelessCharge control = %d result = %d", static_cast<int32_t>(control),
          static_cast<int>(written));
    return true;
}

Return<int32_t> ChargerCheckService::checkReverseWirelessChargeState() {
    std::string text;
    switch (readNodeOnce(kReverseStateNode, kReverseStateSize, &text)) {
        case NodeRead::kOpenFailed:
            ALOGE("Failed to open reverse_state node.");
            return -1;
        case NodeRead::kReadFailed:
            ALOGE("read reverse_state sysfs node failed.");
            return -1;
        case NodeRead::kOk:
            break;
    }
    ALOGI("checkReverseWirelessChargeState result = %s", text.c_str());
    return decimalValue(text);
}

Return<void> ChargerCheckService::extFun(const hidl_string& /* name */,
                                         const hidl_vec<hidl_string>& /* args */,
                                         extFun_cb /* _hidl_cb */) {
    return Void();
}

}  // namespace vendor::quoril::hardware::tevvendorservice::implementation
