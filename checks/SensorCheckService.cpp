#define LOG_TAG "SensorCheckService-hal"

#include "SensorCheckService.h"

#include <log/log.h>
#include <vendor/quoril/hardware/tevsensorservice/1.1/ITevSensorService.h>

namespace vendor::quoril::hardware::tevvendorservice::implementation {

using ::android::sp;
using ::android::hardware::Void;
using ::vendor::quoril::hardware::tevsensorservice::V1_1::ITevSensorService;

SensorCalibration* g_mSensorCalibration = nullptr;

namespace {

// The SAR sensors' type codes; a device with two SAR sensors has both.
constexpr int32_t kSarSensorTypeFirst = 33171015;
constexpr int32_t kSarSensorTypeSecond = kSarSensorTypeFirst + 1;

// The sibling sensor test service owns the Hall events; it is looked up afresh on every call.
constexpr const char* kSensorServiceInstance = "default";

// The sibling's answer to opening or closing the Hall event connection when it worked.
constexpr int32_t kHallServiceOk = 1;

// The Hall event kinds the test application tells apart; any other poll answer is an error.
constexpr int32_t kHallEventError = -1;

sp<ITevSensorService> sensorService() {
    return ITevSensorService::getService(kSensorServiceInstance, false);
}

}  // namespace

SensorCheckService::SensorCheckService() {
    g_mSensorCalibration = new SensorCalibration();
    ALOGI("%s: new SensorCalibration()", __func__);
}

SensorCheckService::~SensorCheckService() {
    if (g_mSensorCalibration != nullptr) {
        delete g_mSensorCalibration;
    }
    ALOGI("%s: delete SensorCalibration()", __func__);
}

Return<bool> SensorCheckService::isOrientsensor() {
    return g_mSensorCalibration->isOrientsensor();
}

Return<bool> SensorCheckService::isHallTestFullScreen() {
    return g_mSensorCalibration->isHallTestFullScreen();
}

Return<void> SensorCheckService::getHallPosition(getHallPosition_cb _hidl_cb) {
    int x = 0;
    int y = 0;
    g_mSensorCalibration->getHallPosition(&x, &y);
    ALOGI("%s: x_pos=%d,y_pos = %d", __func__, x, y);
    hidl_vec<int32_t> position = {x, y};
    _hidl_cb(position);
    return Void();
}

Return<bool> SensorCheckService::calibrateSensor(int32_t type, int32_t para) {
    ALOGI("%s: enter type=%d,para = %d", __func__, type, para);
    if (g_mSensorCalibration == nullptr) {
        ALOGI("g_mSensorCalibration is NULL");
        return false;
    }
    // The library answers 0 for a good calibration.
    bool result = g_mSensorCalibration->sensor_calibrate(type, para) == 0;
    ALOGI("%s: calibrateSensor end result = %d", __func__, result);
    return result;
}

Return<bool> SensorCheckService::enableSensor(int32_t type) {
    bool result = g_mSensorCalibration->sensor_enable(type);
    ALOGI("%s: enableSensor type = %d result = %d", __func__, type, result);
    return result;
}

Return<bool> SensorCheckService::disableSensor(int32_t type) {
    bool result = g_mSensorCalibration->sensor_disable(type);
    ALOGI("%s: disableSensor type = %d result = %d", __func__, type, result);
    return result;
}

Return<double> SensorCheckService::getSensorConfig(int32_t type, int32_t axis) {
    if (g_mSensorCalibration == nullptr) {
        ALOGI("g_mSensorCalibration is NULL");
        return 0.0;
    }
    double value = g_mSensorCalibration->sensor_getconfig(type, axis);
    ALOGI("%s: enter type=%d, axis=%d,value=%f", __func__, type, axis, value);
    return value;
}

Return<int32_t> SensorCheckService::initHallSocket(HallConnect connect) {
    ALOGD("com_quoril_sensor_nativeInitHallSocket start...");
    sp<ITevSensorService> service = sensorService();
    if (service == nullptr) {
        ALOGD("com_quoril_sensor_nativeInitHallSocket NULL...");
        return 0;
    }
    // A failed transaction is not caught: taking the value of the call ends the process.
    int32_t result;
    if (connect == HallConnect::DISCONNECT) {
        result = service->deinitHallService();
        ALOGD("com_quoril_sensor_nativeInitHallSocket deinitService :%d", result);
    } else if (connect == HallConnect::CONNECT) {
        result = service->initHallService();
        ALOGD("com_quoril_sensor_nativeInitHallSocket initService :%d", result);
    } else {
        ALOGI("%s: initHallSocket result = %d", __func__, 0);
        return 0;
    }
    ALOGI("%s: initHallSocket result = %d", __func__, result);
    // Only the sibling's own success code counts; every other answer becomes 0.
    return result == kHallServiceOk ? 1 : 0;
}

Return<int32_t> SensorCheckService::hallEventListener() {
    ALOGD("com_quoril_sensor_nativeHallEventListener start");
    sp<ITevSensorService> service = sensorService();
    if (service == nullptr) {
        ALOGD("com_quoril_sensor_nativeInitHallSocket NULL...");
        return kHallEventError;
    }
    // Blocks on this caller's thread until the sibling has a Hall event.
    int32_t event = service->pollHallEvent();
    ALOGI("%s: ret = %d", __func__, event);
    ALOGD("com_quoril_sensor_nativeHallEventListener pollonce :%d", event);
    switch (event) {
        case 0:
        case 1:
        case 3:
            return event;
        default:
            return kHallEventError;
    }
}

Return<int32_t> SensorCheckService::getSarSensorMode() {
    return g_mSensorCalibration->getSarSensorMode();
}

Return<void> SensorCheckService::getSarSensorIDs(getSarSensorIDs_cb _hidl_cb) {
    std::vector<int32_t> ids = {kSarSensorTypeFirst};
    if (g_mSensorCalibration->getSarSensorNumber() == 2) {
        ids.push_back(kSarSensorTypeSecond);
    }
    _hidl_cb(ids);
    return Void();
}

Return<void> SensorCheckService::getSarParams(int32_t /* type */, getSarParams_cb /* _hidl_cb */) {
    return Void();
}

Return<bool> SensorCheckService::isUltrasoundSensor() {
    return g_mSensorCalibration->isUltrasoundSensor();
}

Return<void> SensorCheckService::extFun(const hidl_string& /* name */,
                                        const hidl_vec<hidl_string>& /* args */,
                                        extFun_cb /* _hidl_cb */) {
    return Void();
}

}  // namespace vendor::quoril::hardware::tevvendorservice::implementation
