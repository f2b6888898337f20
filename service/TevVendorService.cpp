#include "TevVendorService.h"

#include "AudioCheckService.h"
#include "BatteryCheckService.h"
#include "CameraCheckService.h"
#include "ChargerCheckService.h"
#include "DebugReport.h"
#include "DisplayCheckService.h"
#include "FPCheckService.h"
#include "FlashLifeCheckService.h"
#include "LedsCheckService.h"
#include "NfcCheckService.h"
#include "SensorCheckService.h"
#include "TevVendorUtils.h"
#include "UsbCheckService.h"
#include "VersionCheckService.h"

namespace vendor::quoril::hardware::tevvendorservice::implementation {

using ::android::hardware::Void;

namespace {

// Creates the area object on the first request; every later request gets the same object.
template <typename Area, typename Interface>
sp<Interface> lazyArea(sp<Interface>& member) {
    if (member == nullptr) {
        member = new Area();
    }
    return member;
}

}  // namespace

TevVendorService::~TevVendorService() {
    // Released in reverse order of the members: audio first, version last.
    mAudioCheckService.clear();
    mFPCheckService.clear();
    mDisplayCheckService.clear();
    mSensorCheckService.clear();
    mBatteryCheckService.clear();
    mUsbCheckService.clear();
    mNfcCheckService.clear();
    mChargerCheckService.clear();
    mCameraCheckService.clear();
    mFlashLifeCheckService.clear();
    mLedsCheckService.clear();
    mVersionCheckService.clear();
}

Return<sp<IVersionCheckService>> TevVendorService::getExtensionVersionCheckService() {
    return lazyArea<VersionCheckService>(mVersionCheckService);
}

Return<sp<ILedsCheckService>> TevVendorService::getExtensionLedsCheckService() {
    return lazyArea<LedsCheckService>(mLedsCheckService);
}

Return<sp<IFlashLifeCheckService>> TevVendorService::getExtensionFlashLifeCheckService() {
    return lazyArea<FlashLifeCheckService>(mFlashLifeCheckService);
}

Return<sp<ICameraCheckService>> TevVendorService::getExtensionCameraCheckService() {
    return lazyArea<CameraCheckService>(mCameraCheckService);
}

Return<sp<IChargerCheckService>> TevVendorService::getExtensionChargerCheckService() {
    return lazyArea<ChargerCheckService>(mChargerCheckService);
}

Return<sp<INfcCheckService>> TevVendorService::getExtensionNfcCheckService() {
    return lazyArea<NfcCheckService>(mNfcCheckService);
}

Return<sp<IUsbCheckService>> TevVendorService::getExtensionUsbCheckService() {
    return lazyArea<UsbCheckService>(mUsbCheckService);
}

Return<sp<IBatteryCheckService>> TevVendorService::getExtensionBatteryCheckService() {
    return lazyArea<BatteryCheckService>(mBatteryCheckService);
}

Return<sp<ISensorCheckService>> TevVendorService::getExtensionSensorCheckService() {
    return lazyArea<SensorCheckService>(mSensorCheckService);
}

Return<sp<IDisplayCheckService>> TevVendorService::getExtensionDisplayCheckService() {
    return lazyArea<DisplayCheckService>(mDisplayCheckService);
}

Return<sp<IFPCheckService>> TevVendorService::getExtensionFPCheckService() {
    return lazyArea<FPCheckService>(mFPCheckService);
}

Return<sp<IAudioCheckService>> TevVendorService::getExtensionAudioCheckService() {
    return lazyArea<AudioCheckService>(mAudioCheckService);
}

Return<void> TevVendorService::getVendorProperty(const hidl_string& key,
                                                 const hidl_string& defaultValue,
                                                 getVendorProperty_cb _hidl_cb) {
    std::string value = TevVendorUtils::getInstance().getPropertyValue(key, defaultValue);
    _hidl_cb(value);
    return Void();
}

Return<void> TevVendorService::setVendorProperty(const hidl_string& key, const hidl_string& value,
                                                 setVendorProperty_cb _hidl_cb) {
    _hidl_cb(TevVendorUtils::getInstance().setPropertyValue(key, value));
    return Void();
}

Return<void> TevVendorService::getVendorFileValue(const hidl_string& path,
                                                  getVendorFileValue_cb _hidl_cb) {
    _hidl_cb(TevVendorUtils::getInstance().readFilePathValue(path));
    return Void();
}

Return<void> TevVendorService::setVendorFileValue(const hidl_string& path, const hidl_string& value,
                                                  setVendorFileValue_cb _hidl_cb) {
    _hidl_cb(TevVendorUtils::getInstance().writeFilePathValue(path, value));
    return Void();
}

Return<void> TevVendorService::debug(const hidl_handle& handle,
                                     const hidl_vec<hidl_string>& options) {
    writeDebugReport(*this, handle, options);
    return Void();
}

ITevVendorService* HIDL_FETCH_ITevVendorService(const char* /* name */) {
    return new TevVendorService();
}

}  // namespace vendor::quoril::hardware::tevvendorservice::implementation
