#define LOG_TAG "ChargerCheckService-hal"

#include "ChargerCheckService.h"

#include <fcntl.h>
#include <log/log.h>

#include "NodeIo.h"
#include "Vocabulary.h"

namespace vendor::quoril::hardware::tevvendorservice::implementation {

using ::android::hardware::Void;

namespace {

// clang-format off
constexpr LoggedNode kCurrentNowNode = {"/sys/class/power_supply/battery/current_now", 10,
        {"Failed to open current_now node."}, {"read current_now sysfs node failed."}};
// Up to 10 bytes of the type name.
constexpr LoggedNode kRealTypeNode = {"/sys/class/power_supply/usb/real_type", 10,
        {"Failed to open charge_type node."}, {"read charge_type sysfs node failed."}};
constexpr LoggedNode kReverseStateNode = {"/sys/class/power_supply/wireless/reverse_chg_state", 10,
        {"Failed to open reverse_state node."}, {"read reverse_state sysfs node failed."}};
// clang-format on
constexpr const char* kReverseModeNode = "/sys/class/power_supply/wireless/reverse_chg_mode";
constexpr const char* kReadFailedAnswer = "-1";

// Products whose charging current the factory test measures; the whole name must match.
const ProductList kCurrentTestProducts = {"quenrath", "kelsivabo", "halbrin",
                                          "fand",     "morquet",   "kibbt"};
// Fragments of product names; a name that contains one anywhere matches, so one entry covers
// the regional and edition variants of a product.
const ProductList kHvdcpProducts = {"qab", "zob", "yut"};
const ProductList kPdChargerProducts = {"tuvreck", "ruvaloq", "yut", "zob", "sirnak", "pif"};

}  // namespace

ChargerCheckService::ChargerCheckService() {
    if (readProductNameUnlogged(&mProductName)) {
        ALOGI("ChargerCheckService mProductName = %s", mProductName.c_str());
    } else {
        ALOGE("ChargerCheckService can not get productName");
    }
}

Return<bool> ChargerCheckService::needTestElectric() {
    bool result = productIsOneOf(mProductName, kCurrentTestProducts);
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
    if (!readLoggedNode(LOG_TAG, kCurrentNowNode, &text)) {
        return -1;
    }
    // Passed on in the kernel's unit and sign convention.
    return decimalValue(text);
}

Return<bool> ChargerCheckService::isSupportHvdcpCharger() {
    bool result = productContainsOneOf(mProductName, kHvdcpProducts);
    ALOGI("isSupportHvdcpCharger result = %d", result ? 1 : 0);
    return result;
}

Return<bool> ChargerCheckService::isSupportPDCharger() {
    bool result = productContainsOneOf(mProductName, kPdChargerProducts);
    ALOGI("isSupportPDCharger result = %d", result ? 1 : 0);
    return result;
}

Return<void> ChargerCheckService::getChargerType(getChargerType_cb _hidl_cb) {
    std::string text;
    if (!readLoggedNode(LOG_TAG, kRealTypeNode, &text)) {
        _hidl_cb(kReadFailedAnswer);
        return Void();
    }
    // The type as the driver gives it, line feed included, up to the first zero byte.
    _hidl_cb(text.c_str());
    ALOGI("getChargerType result = %s", text.c_str());
    return Void();
}

Return<bool> ChargerCheckService::controlReverseWirelessCharge(RevWireChargeControl control) {
    NodeDescriptor node(kReverseModeNode, O_RDWR | O_NONBLOCK);
    if (!node.isOpen()) {
        ALOGE("Failed to open wireless_reverse node.");
        return false;
    }
    // Only ON switches it on; every other value switches it off.
    const char* mode = control == RevWireChargeControl::ON ? "1" : "0";
    int written = node.write(mode, 1);
    if (written < 0) {
        ALOGE("Write wireless_reverse sysfs node failed.");
        return false;
    }
    ALOGI("controlReverseWirelessCharge control = %d result = %d", static_cast<int32_t>(control),
          written);
    return true;
}

Return<int32_t> ChargerCheckService::checkReverseWirelessChargeState() {
    std::string text;
    if (!readLoggedNode(LOG_TAG, kReverseStateNode, &text)) {
        return -1;
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
