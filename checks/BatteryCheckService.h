#pragma once

#include <vendor/quoril/hardware/tevvendorservice/1.0/IBatteryCheckService.h>

namespace vendor::quoril::hardware::tevvendorservice::implementation {

using ::android::hardware::hidl_string;
using ::android::hardware::hidl_vec;
using ::android::hardware::Return;
using ::vendor::quoril::hardware::tevvendorservice::V1_0::IBatteryCheckService;

// Battery identity, authenticity, management chip, dual-connector charge pump, resistance and
// temperature, each from one power-supply node.
class BatteryCheckService : public IBatteryCheckService {
  public:
    Return<void> getBatteryId(getBatteryId_cb _hidl_cb) override;
    Return<bool> checkBatteryAuthentic() override;
    Return<int32_t> checkDualConnector() override;
    Return<int32_t> checkChipOK() override;
    Return<bool> isSupportDualConnect() override;
    Return<void> getBatteryVendor(getBatteryVendor_cb _hidl_cb) override;
    Return<int32_t> getBatteryResistance() override;
    Return<int32_t> getBatteryFullChargeValue() override;
    Return<int32_t> getBatteryTemp() override;
    Return<void> extFun(const hidl_string& name, const hidl_vec<hidl_string>& args,
                        extFun_cb _hidl_cb) override;
};

}  // namespace vendor::quoril::hardware::tevvendorservice::implementation
