#include "NfcCheckService.h"

namespace vendor::quoril::hardware::tevvendorservice::implementation {

using ::android::hardware::Void;

Return<void> NfcCheckService::getNfcChipModule(getNfcChipModule_cb /* _hidl_cb */) {
    return Void();
}

Return<bool> NfcCheckService::isSupportEse() {
    return false;
}

Return<void> NfcCheckService::extFun(const hidl_string& /* name */,
                                     const hidl_vec<hidl_string>& /* args */,
                                     extFun_cb /* _hidl_cb */) {
    return Void();
}

}  // namespace vendor::quoril::hardware::tevvendorservice::implementation
