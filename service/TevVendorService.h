#pragma once

#include <vendor/quoril/hardware/tevvendorservice/1.0/ITevVendorService.h>

namespace vendor::quoril::hardware::tevvendorservice::implementation {

using ::android::sp;
using ::android::hardware::hidl_string;
using ::android::hardware::Return;
using ::vendor::quoril::hardware::tevvendorservice::V1_0::IAudioCheckService;
using ::vendor::quoril::hardware::tevvendorservice::V1_0::IBatteryCheckService;
using ::vendor::quoril::hardware::tevvendorservice::V1_0::ICameraCheckService;
using ::vendor::quoril::hardware::tevvendorservice::V1_0::IChargerCheckService;
using ::vendor::quoril::hardware::tevvendorservice::V1_0::IDisplayCheckService;
using ::vendor::quoril::hardware::tevvendorservice::V1_0::IFlashLifeCheckService;
using ::vendor::quoril::hardware::tevvendorservice::V1_0::IFPCheckService;
using ::vendor::quoril::hardware::tevvendorservice::V1_0::ILedsCheckService;
using ::vendor::quoril::hardware::tevvendorservice::V1_0::INfcCheckService;
using ::vendor::quoril::hardware::tevvendorservice::V1_0::ISensorCheckService;
using ::vendor::quoril::hardware::tevvendorservice::V1_0::ITevVendorService;
using ::vendor::quoril::hardware::tevvendorservice::V1_0::IUsbCheckService;
using ::vendor::quoril::hardware::tevvendorservice::V1_0::IVersionCheckService;

// The root object: creates each area object on its first request and keeps it for its own
// lifetime; passes properties and nodes through to the test application.
class TevVendorService : public ITevVendorService {
  public:
    TevVendorService() = default;
    ~TevVendorService() override;

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

  private:
    sp<IVersionCheckService> mVersionCheckService;
    sp<ILedsCheckService> mLedsCheckService;
    sp<IFlashLifeCheckService> mFlashLifeCheckService;
    sp<ICameraCheckService> mCameraCheckService;
    sp<IChargerCheckService> mChargerCheckService;
    sp<INfcCheckService> mNfcCheckService;
    sp<IUsbCheckService> mUsbCheckService;
    sp<IBatteryCheckService> mBatteryCheckService;
    sp<ISensorCheckService> mSensorCheckService;
    sp<IDisplayCheckService> mDisplayCheckService;
    sp<IFPCheckService> mFPCheckService;
    sp<IAudioCheckService> mAudioCheckService;
};

extern "C" ITevVendorService* HIDL_FETCH_ITevVendorService(const char* name);

}  // namespace vendor::quoril::hardware::tevvendorservice::implementation
