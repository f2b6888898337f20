#pragma once

#include <vendor/quoril/hardware/tevvendorservice/1.0/ISensorCheckService.h>

#include "SensorCalibration.h"

namespace vendor::quoril::hardware::tevvendorservice::implementation {

using ::android::hardware::hidl_string;
using ::android::hardware::hidl_vec;
using ::android::hardware::Return;
using ::vendor::quoril::hardware::tevvendorservice::V1_0::HallConnect;
using ::vendor::quoril::hardware::tevvendorservice::V1_0::ISensorCheckService;

// The calibration library's object. Every SensorCheckService constructor replaces it with a fresh
// one (without freeing the old one) and the destructor frees the one it then points to, leaving the
// address behind: the root makes only one sensor area per process.
extern SensorCalibration* g_mSensorCalibration;

// Sensor calibration, enabling and configuration through the closed calibration library, the SAR
// sensor identifiers, and the Hall sensor events through the sibling sensor test service.
class SensorCheckService : public ISensorCheckService {
  public:
    SensorCheckService();
    ~SensorCheckService() override;

    Return<bool> isOrientsensor() override;
    Return<bool> isHallTestFullScreen() override;
    Return<void> getHallPosition(getHallPosition_cb _hidl_cb) override;
    Return<bool> calibrateSensor(int32_t type, int32_t para) override;
    Return<bool> enableSensor(int32_t type) override;
    Return<bool> disableSensor(int32_t type) override;
    Return<double> getSensorConfig(int32_t type, int32_t axis) override;
    Return<int32_t> initHallSocket(HallConnect connect) override;
    Return<int32_t> hallEventListener() override;
    Return<int32_t> getSarSensorMode() override;
    Return<void> getSarSensorIDs(getSarSensorIDs_cb _hidl_cb) override;
    Return<void> getSarParams(int32_t type, getSarParams_cb _hidl_cb) override;
    Return<bool> isUltrasoundSensor() override;
    Return<void> extFun(const hidl_string& name, const hidl_vec<hidl_string>& args,
                        extFun_cb _hidl_cb) override;
};

}  // namespace vendor::quoril::hardware::tevvendorservice::implementation
