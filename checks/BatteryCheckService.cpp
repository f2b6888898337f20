#define LOG_TAG "BatteryCheckService-hal"

#include "BatteryCheckService.h"

#include <log/log.h>
#include <unistd.h>

#include <string>

#include "NodeIo.h"

namespace vendor::quoril::hardware::tevvendorservice::implementation {

using ::android::hardware::Void;

namespace {

// The power-supply nodes, how much of each is read, and what is logged when one cannot be read.
// clang-format off
constexpr LoggedNode kResistanceId = {"/sys/class/power_supply/bms/resistance_id", 10,
        {"Failed to open resistance_id node."}, {"read resistance_id sysfs node failed."}};
constexpr LoggedNode kAuthentic = {"/sys/class/power_supply/bms/authentic", 4,
        {"Failed to open authentic node."}, {"read authentic sysfs node failed."}};
constexpr LoggedNode kTiBatteryPresent = {
        "/sys/class/power_supply/bq2597x-slave/ti_battery_present", 4,
        {"Failed to open battery_ti_present node."},
        {"read battery_ti_present sysfs node failed."}};
constexpr LoggedNode kChipOk = {"/sys/class/power_supply/bms/chip_ok", 4,
        {"Failed to open chip_ok node."}, {"read chip_ok sysfs node failed."}};
constexpr LoggedNode kBatteryType = {"/sys/class/power_supply/bms/battery_type", 20,
        {"Failed to open battery_type node."}, {"read battery_type sysfs node failed."}};
constexpr LoggedNode kResistance = {"/sys/class/power_supply/bms/resistance", 20,
        {"Failed to open resistance node."}, {"read resistance sysfs node failed."}};
constexpr LoggedNode kChargeFullDesign = {"/sys/class/power_supply/bms/charge_full_design", 15,
        {"Failed to open chargefull node."}, {"read chargefull sysfs node failed."}};
constexpr LoggedNode kTemp = {"/sys/class/power_supply/battery/temp", 10,
        {"Failed to open battery_temp node."}, {"read battery_temp sysfs node failed."}};
// clang-format on

constexpr const char* kBatteryIdFailedAnswer = "-1";
constexpr const char* kBatteryVendorFailedAnswer = "";

}  // namespace

Return<void> BatteryCheckService::getBatteryId(getBatteryId_cb _hidl_cb) {
    std::string text;
    if (!readLoggedNode(LOG_TAG, kResistanceId, &text)) {
        _hidl_cb(kBatteryIdFailedAnswer);
        return Void();
    }
    // The reading as the driver gives it, line feed included.
    _hidl_cb(text.c_str());
    ALOGI("getBatteryId successful result = %s ", text.c_str());
    return Void();
}

Return<bool> BatteryCheckService::checkBatteryAuthentic() {
    std::string text;
    if (!readLoggedNode(LOG_TAG, kAuthentic, &text)) {
        return false;
    }
    ALOGI("checkBatteryAuthentic successful result = %s", text.c_str());
    return decimalValue(text) == 1;
}

Return<int32_t> BatteryCheckService::checkDualConnector() {
    std::string text;
    if (!readLoggedNode(LOG_TAG, kTiBatteryPresent, &text)) {
        return 0;
    }
    ALOGI("checkDualConnector successful result = %s", text.c_str());
    return !text.empty() && text[0] == '1' ? 1 : 0;
}

Return<int32_t> BatteryCheckService::checkChipOK() {
    std::string text;
    if (!readLoggedNode(LOG_TAG, kChipOk, &text)) {
        return -1;
    }
    ALOGI("checkChipOK successful result = %s", text.c_str());
    switch (text.empty() ? '\0' : text[0]) {
        case '2':
            return 2;
        case '1':
            return 1;
        case '0':
            return 0;
        default:
            return -1;
    }
}

Return<bool> BatteryCheckService::isSupportDualConnect() {
    // Only dual-connector products have the secondary charge pump.
    if (access(kTiBatteryPresent.path, F_OK) == 0) {
        ALOGI("product is support DualConnect ");
        return true;
    }
    ALOGI("product is not support DualConnect ");
    return false;
}

Return<void> BatteryCheckService::getBatteryVendor(getBatteryVendor_cb _hidl_cb) {
    std::string text;
    if (!readLoggedNode(LOG_TAG, kBatteryType, &text)) {
        _hidl_cb(kBatteryVendorFailedAnswer);
        return Void();
    }
    _hidl_cb(text.c_str());
    ALOGI("getBatteryVendor successful result = %s", text.c_str());
    return Void();
}

Return<int32_t> BatteryCheckService::getBatteryResistance() {
    std::string text;
    if (!readLoggedNode(LOG_TAG, kResistance, &text)) {
        return -1;
    }
    ALOGI("getBatteryResistance successful result = %s", text.c_str());
    return decimalValue(text);
}

Return<int32_t> BatteryCheckService::getBatteryFullChargeValue() {
    std::string text;
    if (!readLoggedNode(LOG_TAG, kChargeFullDesign, &text)) {
        return -1;
    }
    ALOGI("getBatteryFullChargeValue successful result = %s", text.c_str());
    return decimalValue(text);
}

Return<int32_t> BatteryCheckService::getBatteryTemp() {
    std::string text;
    if (!readLoggedNode(LOG_TAG, kTemp, &text)) {
        return -1;
    }
    // The node gives tenths of a degree Celsius; whole degrees, truncated toward zero.
    int32_t degrees = decimalValue(text) / 10;
    ALOGI("getBatteryTemp successful result = %d", degrees);
    return degrees;
}

Return<void> BatteryCheckService::extFun(const hidl_string& /* name */,
                                         const hidl_vec<hidl_string>& /* args */,
                                         extFun_cb /* _hidl_cb */) {
    return Void();
}

}  // namespace vendor::quoril::hardware::tevvendorservice::implementation
