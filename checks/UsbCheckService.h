#pragma once

#include <vendor/quoril/hardware/tevvendorservice/1.0/IUsbCheckService.h>

namespace vendor::quoril::hardware::tevvendorservice::implementation {

using ::android::hardware::hidl_string;
using ::android::hardware::hidl_vec;
using ::android::hardware::Return;
using ::vendor::quoril::hardware::tevvendorservice::V1_0::IUsbCheckService;

// USB Type-C plug state and the USB 2.0 host driver's Type-C switch.
class UsbCheckService : public IUsbCheckService {
  public:
    Return<int32_t> getUsbPluginStatus() override;
    Return<bool> isMicroUsbDevice() override;
    Return<void> extFun(const hidl_string& name, const hidl_vec<hidl_string>& args,
                        extFun_cb _hidl_cb) override;
};

}  // namespace vendor::quoril::hardware::tevvendorservice::implementation
