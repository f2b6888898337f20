#pragma once

#include <vendor/quoril/hardware/tevvendorservice/1.0/IAudioCheckService.h>

namespace vendor::quoril::hardware::tevvendorservice::implementation {

using ::android::hardware::hidl_string;
using ::android::hardware::hidl_vec;
using ::android::hardware::Return;
using ::vendor::quoril::hardware::tevvendorservice::V1_0::IAudioCheckService;

// The audio calibrations are done elsewhere; these entry points only reserve the interface.
class AudioCheckService : public IAudioCheckService {
  public:
    Return<int32_t> smartPACali() override;
    Return<void> speakerCali(speakerCali_cb _hidl_cb) override;
    Return<void> extFun(const hidl_string& name, const hidl_vec<hidl_string>& args,
                        extFun_cb _hidl_cb) override;
};

}  // namespace vendor::quoril::hardware::tevvendorservice::implementation
