#pragma once

#include <vendor/quoril/hardware/tevvendorservice/1.0/IDisplayCheckService.h>

namespace vendor::quoril::hardware::tevvendorservice::implementation {

using ::android::hardware::hidl_string;
using ::android::hardware::hidl_vec;
using ::android::hardware::Return;
using ::vendor::quoril::hardware::tevvendorservice::V1_0::IDisplayCheckService;

// Touch-panel self-test through the touch driver's diagnostic node (DisplaySelfTest.cpp), the
// display panel's name, the backlight level and the touch-panel colour.
class DisplayCheckService : public IDisplayCheckService {
  public:
    Return<bool> doSelfTestAndGetResult() override;
    Return<void> getLcmInfo(getLcmInfo_cb _hidl_cb) override;
    Return<int32_t> getBacklightValue() override;
    Return<void> getTpColor(getTpColor_cb _hidl_cb) override;
    Return<void> extFun(const hidl_string& name, const hidl_vec<hidl_string>& args,
                        extFun_cb _hidl_cb) override;
};

}  // namespace vendor::quoril::hardware::tevvendorservice::implementation
