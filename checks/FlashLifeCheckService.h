#pragma once

#include <vendor/quoril/hardware/tevvendorservice/1.0/IFlashLifeCheckService.h>

namespace vendor::quoril::hardware::tevvendorservice::implementation {

using ::android::hardware::hidl_string;
using ::android::hardware::hidl_vec;
using ::android::hardware::Return;
using ::vendor::quoril::hardware::tevvendorservice::V1_0::IFlashLifeCheckService;

// Health, age, size, firmware and maker of the flash chip: eMMC (mmcblk0) or UFS (sda and the
// UFS host controller's descriptor dumps in debugfs). Which of the two is decided once, from the
// product name, when the first object is built; the last value of each answer is kept for the
// whole process and reported again when a later call finds none.
class FlashLifeCheckService : public IFlashLifeCheckService {
  public:
    FlashLifeCheckService();

    Return<void> getFlashLifeTime(getFlashLifeTime_cb _hidl_cb) override;
    Return<void> getFactoryDate(getFactoryDate_cb _hidl_cb) override;
    Return<void> readFlashSize(readFlashSize_cb _hidl_cb) override;
    Return<void> readFirmwareVersion(readFirmwareVersion_cb _hidl_cb) override;
    Return<void> readVendorName(readVendorName_cb _hidl_cb) override;
    Return<void> extFun(const hidl_string& name, const hidl_vec<hidl_string>& args,
                        extFun_cb _hidl_cb) override;
};

}  // namespace vendor::quoril::hardware::tevvendorservice::implementation
