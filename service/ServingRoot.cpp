#include "ServingRoot.h"

namespace vendor::quoril::hardware::tevvendorservice::implementation {

template <typename Area>
Return<sp<Area>> ServingRoot::area(Return<sp<Area>> (ITevVendorService::*request)()) {
    std::lock_guard<std::mutex> guard(mAreasLock);
    return (mRoot.get()->*request)();
}

Return<sp<IVersionCheckService>> ServingRoot::getExtensionVersionCheckService() {
    return area(&ITevVendorService::getExtensionVersionCheckService);
}

Return<sp<ILedsCheckService>> ServingRoot::getExtensionLedsCheckService() {
    return area(&ITevVendorService::getExtensionLedsCheckService);
}

Return<sp<IFlashLifeCheckService>> ServingRoot::getExtensionFlashLifeCheckService() {
    return area(&ITevVendorService::getExtensionFlashLifeCheckService);
}

Return<sp<ICameraCheckService>> ServingRoot::getExtensionCameraCheckService() {
    return area(&ITevVendorService::getExtensionCameraCheckService);
}

Return<sp<IChargerCheckService>> ServingRoot::getExtensionChargerCheckService() {
    return area(&ITevVendorService::getExtensionChargerCheckService);
}

Return<sp<INfcCheckService>> ServingRoot::getExtensionNfcCheckService() {
    return area(&ITevVendorService::getExtensionNfcCheckService);
}

Return<sp<IUsbCheckService>> ServingRoot::getExtensionUsbCheckService() {
    return area(&ITevVendorService::getExtensionUsbCheckService);
}

Return<sp<IBatteryCheckService>> ServingRoot::getExtensionBatteryCheckService() {
    return area(&ITevVendorService::getExtensionBatteryCheckService);
}

Return<sp<ISensorCheckService>> ServingRoot::getExtensionSensorCheckService() {
    return area(&ITevVendorService::getExtensionSensorCheckService);
}

Return<sp<IDisplayCheckService>> ServingRoot::getExtensionDisplayCheckService() {
    return area(&ITevVendorService::getExtensionDisplayCheckService);
}

Return<sp<IFPCheckService>> ServingRoot::getExtensionFPCheckService() {
    return area(&ITevVendorService::getExtensionFPCheckService);
}

Return<sp<IAudioCheckService>> ServingRoot::getExtensionAudioCheckService() {
    return area(&ITevVendorService::getExtensionAudioCheckService);
}

Return<void> ServingRoot::getVendorProperty(const hidl_string& key, const hidl_string& defaultValue,
                                            getVendorProperty_cb _hidl_cb) {
    return mRoot->getVendorProperty(key, defaultValue, _hidl_cb);
}

Return<void> ServingRoot::setVendorProperty(const hidl_string& key, const hidl_string& value,
                                            setVendorProperty_cb _hidl_cb) {
    return mRoot->setVendorProperty(key, value, _hidl_cb);
}

Return<void> ServingRoot::getVendorFileValue(const hidl_string& path,
                                             getVendorFileValue_cb _hidl_cb) {
    return mRoot->getVendorFileValue(path, _hidl_cb);
}

Return<void> ServingRoot::setVendorFileValue(const hidl_string& path, const hidl_string& value,
                                             setVendorFileValue_cb _hidl_cb) {
    return mRoot->setVendorFileValue(path, value, _hidl_cb);
}

Return<void> ServingRoot::debug(const hidl_handle& handle, const hidl_vec<hidl_string>& options) {
    // The report requests every area of the library's root, so it makes the ones not made yet.
    std::lock_guard<std::mutex> guard(mAreasLock);
    return mRoot->debug(handle, options);
}

}  // namespace vendor::quoril::hardware::tevvendorservice::implementation
