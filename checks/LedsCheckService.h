#pragma once

#include <vendor/quoril/hardware/tevvendorservice/1.0/ILedsCheckService.h>

namespace vendor::quoril::hardware::tevvendorservice::implementation {

using ::android::hardware::hidl_string;
using ::android::hardware::hidl_vec;
using ::android::hardware::Return;
using ::vendor::quoril::hardware::tevvendorservice::V1_0::ILedsCheckService;

// Indicator LEDs and the button backlight: switched and read on their LED class nodes with plain
// descriptor I/O; the product name decides which LEDs there are.
class LedsCheckService : public ILedsCheckService {
  public:
    Return<void> controlLed(int32_t type, bool isOn) override;
    Return<int32_t> getLedBrightness(int32_t type, bool isMax) override;
    Return<void> getLedsList(getLedsList_cb _hidl_cb) override;
    Return<void> extFun(const hidl_string& name, const hidl_vec<hidl_string>& args,
                        extFun_cb _hidl_cb) override;
};

}  // namespace vendor::quoril::hardware::tevvendorservice::implementation
