#pragma once

#include <vendor/quoril/hardware/tevvendorservice/1.0/IFPCheckService.h>

#include <string>

namespace vendor::quoril::hardware::tevvendorservice::implementation {

using ::android::hardware::hidl_string;
using ::android::hardware::hidl_vec;
using ::android::hardware::Return;
using ::vendor::quoril::hardware::tevvendorservice::V1_0::IFPCheckService;
using ::vendor::quoril::hardware::tevvendorservice::V1_0::NitMode;

// Fingerprint sensor identity and, for under-display (FOD) sensors, the display mode, light-spot
// colour and geometry of the spot test. Every per-product answer keys on the product name read
// once when the object is built.
class FPCheckService : public IFPCheckService {
  public:
    FPCheckService();

    Return<void> getFpType(getFpType_cb _hidl_cb) override;
    Return<bool> isSupportCalibration() override;
    Return<bool> setScreenEffectNew(NitMode mode) override;
    Return<int32_t> getFaculaColor() override;
    Return<bool> isRectFP() override;
    Return<void> getFaculaParas(getFaculaParas_cb _hidl_cb) override;
    Return<int32_t> getFodPressureSensorMarginLeft() override;
    Return<int32_t> getFodPressureSensorMarginTop() override;
    Return<void> getFPSensorStartPkgInfo(getFPSensorStartPkgInfo_cb _hidl_cb) override;
    Return<void> getFPFodCalStartPkgInfo(getFPFodCalStartPkgInfo_cb _hidl_cb) override;
    Return<void> extFun(const hidl_string& name, const hidl_vec<hidl_string>& args,
                        extFun_cb _hidl_cb) override;

  private:
    std::string mProductName;
};

}  // namespace vendor::quoril::hardware::tevvendorservice::implementation
