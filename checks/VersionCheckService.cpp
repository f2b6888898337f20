#include "VersionCheckService.h"

#include "TevVendorUtils.h"
#include "Vocabulary.h"

namespace vendor::quoril::hardware::tevvendorservice::implementation {

using ::android::hardware::Void;

namespace {

constexpr const char* kSingleSimProp = "ro.orvu.singlesim";
constexpr const char* kFsnProp = "ro.ril.oem.sno";
constexpr const char* kPhoneSerialNoProp = "ro.ril.oem.psno";
constexpr const char* kBasebandProp = "gsm.version.baseband";
constexpr const char* kCpuIdProp = "ro.boot.cpuid";
constexpr const char* kHardwareVersionProp = "ro.boot.hwlevel";
constexpr const char* kSecureBootProp = "ro.boot.secureboot";
constexpr const char* kRpmbProp = "vendor.sys.rpmb_state";
constexpr const char* kVerifiedBootProp = "ro.boot.verifiedbootstate";
constexpr const char* kKernelVersionNode = "/proc/version";
constexpr const char* kSerialNumNode = "/proc/serial_num";
constexpr const char* kUnknown = "unknown";

}  // namespace

Return<bool> VersionCheckService::isSingleSim() {
    std::string value = prop(kSingleSimProp);
    return !value.empty() && value == "1";
}

Return<void> VersionCheckService::getFSN(getFSN_cb _hidl_cb) {
    _hidl_cb(prop(kFsnProp));
    return Void();
}

Return<void> VersionCheckService::getPhoneSerialNo(getPhoneSerialNo_cb _hidl_cb) {
    _hidl_cb(prop(kPhoneSerialNoProp));
    return Void();
}

Return<void> VersionCheckService::getBasebandVersion(getBasebandVersion_cb _hidl_cb) {
    _hidl_cb(prop(kBasebandProp, kUnknown));
    return Void();
}

Return<void> VersionCheckService::getKernelVersion(getKernelVersion_cb _hidl_cb) {
    _hidl_cb(TevVendorUtils::getInstance().readFilePathValue(kKernelVersionNode));
    return Void();
}

Return<void> VersionCheckService::getCpuId(getCpuId_cb _hidl_cb) {
    std::string cpuId = prop(kCpuIdProp);
    if (cpuId.empty()) {
        cpuId = TevVendorUtils::getInstance().readFilePathValue(kSerialNumNode);
    }
    _hidl_cb(cpuId);
    return Void();
}

Return<void> VersionCheckService::getHardwareVersion(getHardwareVersion_cb _hidl_cb) {
    _hidl_cb(prop(kHardwareVersionProp));
    return Void();
}

Return<void> VersionCheckService::getSecureBootStatus(getSecureBootStatus_cb _hidl_cb) {
    _hidl_cb(prop(kSecureBootProp));
    return Void();
}

Return<void> VersionCheckService::getRpmbStatus(getRpmbStatus_cb _hidl_cb) {
    _hidl_cb(prop(kRpmbProp));
    return Void();
}

Return<void> VersionCheckService::getVerifiedBootState(getVerifiedBootState_cb _hidl_cb) {
    _hidl_cb(prop(kVerifiedBootProp));
    return Void();
}

Return<void> VersionCheckService::extFun(const hidl_string& /* name */,
                                         const hidl_vec<hidl_string>& /* args */,
                                         extFun_cb /* _hidl_cb */) {
    return Void();
}

}  // namespace vendor::quoril::hardware::tevvendorservice::implementation
