#pragma once

#include <mutex>

#include "TevVendorService.h"

namespace vendor::quoril::hardware::tevvendorservice::implementation {

// The root the service host registers: it forwards every operation, on the caller's binder
// thread, to the root the library made. That root makes each area on its first request without a
// lock, and a second area of one kind must never exist (the sensor area's destructor frees the
// process-wide calibration object). So the twelve requests for an area, and lshal debug (which
// requests every area of the library's root itself), take one lock here; every other operation,
// and every call on an area, runs as it comes, beside any other.
class ServingRoot : public ITevVendorService {
  public:
    explicit ServingRoot(const sp<ITevVendorService>& root) : mRoot(root) {}

    Return<sp<IVersionCheckService>> getExtensionVersionCheckService() override;
    Return<sp<ILedsCheckService>> getExtensionLedsCheckService() override;
    Return<sp<IFlashLifeCheckService>> getExtensionFlashLifeCheckService() override;
    Return<sp<ICameraCheckService>> getExtensionCameraCheckService() override;
    Return<sp<IChargerCheckService>> getExtensionChargerCheckService() override;
    Return<sp<INfcCheckService>> getExtensionNfcCheckService() override;
    Return<sp<IUsbCheckService>> getExtensionUsbCheckService() override;
    Return<sp<IBatteryCheckService>> getExtensionBatteryCheckService() override;
    Return<sp<ISensorCheckService>> getExtensionSensorCheckService() override;
    Return<sp<IDisplayCheckService>> getExtensionDisplayCheckService() override;
    Return<sp<IFPCheckService>> getExtensionFPCheckService() override;
    Return<sp<IAudioCheckService>> getExtensionAudioCheckService() override;

    Return<void> getVendorProperty(const hidl_string& key, const hidl_string& defaultValue,
                                   getVendorProperty_cb _hidl_cb) override;
    Return<void> setVendorProperty(const hidl_string& key, const hidl_string& value,
                                   setVendorProperty_cb _hidl_cb) override;
    Return<void> getVendorFileValue(const hidl_string& path,
                                    getVendorFileValue_cb _hidl_cb) override;
    Return<void> setVendorFileValue(const hidl_string& path, const hidl_string& value,
                                    setVendorFileValue_cb _hidl_cb) override;

    Return<void> debug(const hidl_handle& handle, const hidl_vec<hidl_string>& options) override;

  private:
    // The library root's request for one area, under the lock.
    template <typename Area>
    Return<sp<Area>> area(Return<sp<Area>> (ITevVendorService::*request)());

    const sp<ITevVendorService> mRoot;
    std::mutex mAreasLock;
};

}  // namespace vendor::quoril::hardware::tevvendorservice::implementation
