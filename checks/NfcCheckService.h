#pragma once

#include <vendor/quoril/hardware/tevvendorservice/1.0/INfcCheckService.h>

namespace vendor::quoril::hardware::tevvendorservice::implementation {

using ::android::hardware::hidl_string;
using ::android::hardware::hidl_vec;
using ::android::hardware::Return;
using ::vendor::quoril::hardware::tevvendorservice::V1_0::INfcCheckService;

// NFC answers nothing of its own on these products.
class NfcCheckService : public INfcCheckService {
  public:
    Return<void> getNfcChipModule(getNfcChipModule_cb _hidl_cb) override;
    Return<bool> isSupportEse() override;
    Return<void> extFun(const hidl_string& name, const hidl_vec<hidl_string>& args,
                        extFun_cb _hidl_cb) override;
};

}  // namespace vendor::quoril::hardware::tevvendorservice::implementation
