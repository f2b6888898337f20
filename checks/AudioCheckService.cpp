#include "AudioCheckService.h"

namespace vendor::quoril::hardware::tevvendorservice::implementation {

using ::android::hardware::Void;

Return<int32_t> AudioCheckService::smartPACali() {
    return 0;
}

Return<void> AudioCheckService::speakerCali(speakerCali_cb /* _hidl_cb */) {
    return Void();
}

Return<void> AudioCheckService::extFun(const hidl_string& /* name */,
                                       const hidl_vec<hidl_string>& /* args */,
                                       extFun_cb /* _hidl_cb */) {
    return Void();
}

}  // namespace vendor::quoril::hardware::tevvendorservice::implementation
