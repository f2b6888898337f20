#pragma once

#include <vendor/quoril/hardware/tevvendorservice/1.0/IChargerCheckService.h>

#include <string>

namespace vendor::quoril::hardware::tevvendorservice::implementation {

using ::android::hardware::hidl_string;
using ::android::hardware::hidl_vec;
using ::android::hardware::Return;
using ::vendor::quoril::hardware::tevvendorservice::V1_0::IChargerCheckService;
using ::vendor::quoril::hardware::tevvendorservice::V1_0::RevWireChargeControl;

// Charging current, fast-charge standards of the product, charger type and reverse wireless
// charging, straight from the power-supply nodes.
class ChargerCheckService : public IChargerCheckService {
  public:
    ChargerCheckService();

    Return<bool> needTestElectric() override;
    Return<int32_t> getElectricThreshold() override;
    Return<int32_t> getCurrentElectrical() override;
    Return<bool> isSupportHvdcpCharger() override;
    Return<bool> isSupportPDCharger() override;
    Return<void> getChargerType(getChargerType_cb _hidl_cb) override;
    Return<bool> controlReverseWirelessCharge(RevWireChargeControl control) override;
    Return<int32_t> checkReverseWirelessChargeState() override;
    Return<void> extFun(const hidl_string& name, const hidl_vec<hidl_string>& args,
                        extFun_cb _hidl_cb) override;

  private:
    // The product name as it was when the object was created; empty if it could not be read.
    std::string mProductName;
};

}  // namespace vendor::quoril::hardware::tevvendorservice::implementation
