#pragma once

#include <vendor/quoril/hardware/tevvendorservice/1.0/IVersionCheckService.h>

namespace vendor::quoril::hardware::tevvendorservice::implementation {

using ::android::hardware::hidl_string;
using ::android::hardware::hidl_vec;
using ::android::hardware::Return;
using ::vendor::quoril::hardware::tevvendorservice::V1_0::IVersionCheckService;

// SIM configuration, serial numbers, versions and boot states, straight from properties and nodes.
class VersionCheckService : public IVersionCheckService {
  public:
    Return<bool> isSingleSim() override;
    Return<void> getFSN(getFSN_cb _hidl_cb) override;
    Return<void> getPhoneSerialNo(getPhoneSerialNo_cb _hidl_cb) override;
    Return<void> getBasebandVersion(getBasebandVersion_cb _hidl_cb) override;
    Return<void> getKernelVersion(getKernelVersion_cb _hidl_cb) override;
    Return<void> getCpuId(getCpuId_cb _hidl_cb) override;
    Return<void> getHardwareVersion(getHardwareVersion_cb _hidl_cb) override;
    Return<void> getSecureBootStatus(getSecureBootStatus_cb _hidl_cb) override;
    Return<void> getRpmbStatus(getRpmbStatus_cb _hidl_cb) override;
    Return<void> getVerifiedBootState(getVerifiedBootState_cb _hidl_cb) override;
    Return<void> extFun(const hidl_string& name, const hidl_vec<hidl_string>& args,
                        extFun_cb _hidl_cb) override;
};

}  // namespace vendor::quoril::hardware::tevvendorservice::implementation
