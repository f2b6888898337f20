// A stand-in service library for the tevctl tests: a root that hands out only a display area whose
// operations do, on purpose, what no merged area may be relied on to do (sleep, write, log UTF-8
// text, end the process), so that tevctl's capture of them can be tested on its own.
#define LOG_TAG "FakeDisplay"

#include <log/log.h>
#include <unistd.h>
#include <vendor/quoril/hardware/tevvendorservice/1.0/ITevVendorService.h>

#include <fstream>
#include <stdexcept>

#include "DebugReport.h"

namespace fake {

using ::android::sp;
using ::android::hardware::hidl_handle;
using ::android::hardware::hidl_string;
using ::android::hardware::hidl_vec;
using ::android::hardware::Return;
using ::android::hardware::Void;
using namespace ::vendor::quoril::hardware::tevvendorservice::V1_0;

void writeNode(const char* path, const char* text) {
    std::ofstream out(path);
    out << text;
}

class Display : public IDisplayCheckService {
  public:
    Return<bool> doSelfTestAndGetResult() override {
        writeNode("/proc/tp_selftest", "short");
        usleep(20000);
        writeNode("/proc/tp_selftest", "open");
        usleep(10000);
        return true;
    }
    Return<void> getLcmInfo(getLcmInfo_cb cb) override {
        ALOGI("630尼特绿斑亮度测试\n");
        cb(std::string("panel\x01\xc3\xa9\xff", 9));
        return Void();
    }
    Return<int32_t> getBacklightValue() override {
        writeNode("/sys/class/leds/lcd-backlight/brightness", "1");
        throw std::invalid_argument("stoi");
    }
    Return<void> getTpColor(getTpColor_cb) override { return Void(); }
    Return<void> extFun(const hidl_string&, const hidl_vec<hidl_string>&, extFun_cb) override {
        return Void();
    }
};

class Root : public ITevVendorService {
  public:
    Return<sp<IVersionCheckService>> getExtensionVersionCheckService() override { return nullptr; }
    Return<sp<ILedsCheckService>> getExtensionLedsCheckService() override { return nullptr; }
    Return<sp<IFlashLifeCheckService>> getExtensionFlashLifeCheckService() override {
        return nullptr;
    }
    Return<sp<ICameraCheckService>> getExtensionCameraCheckService() override { return nullptr; }
    Return<sp<IChargerCheckService>> getExtensionChargerCheckService() override { return nullptr; }
    Return<sp<INfcCheckService>> getExtensionNfcCheckService() override { return nullptr; }
    Return<sp<IUsbCheckService>> getExtensionUsbCheckService() override { return nullptr; }
    Return<sp<IBatteryCheckService>> getExtensionBatteryCheckService() override { return nullptr; }
    Return<sp<ISensorCheckService>> getExtensionSensorCheckService() override { return nullptr; }
    Return<sp<IDisplayCheckService>> getExtensionDisplayCheckService() override {
        if (mDisplay == nullptr) mDisplay = new Display();
        return mDisplay;
    }
    Return<sp<IFPCheckService>> getExtensionFPCheckService() override { return nullptr; }
    Return<sp<IAudioCheckService>> getExtensionAudioCheckService() override { return nullptr; }
    Return<void> getVendorProperty(const hidl_string&, const hidl_string&,
                                   getVendorProperty_cb) override {
        return Void();
    }
    Return<void> setVendorProperty(const hidl_string&, const hidl_string&,
                                   setVendorProperty_cb) override {
        return Void();
    }
    Return<void> getVendorFileValue(const hidl_string&, getVendorFileValue_cb) override {
        return Void();
    }
    Return<void> setVendorFileValue(const hidl_string&, const hidl_string&,
                                    setVendorFileValue_cb) override {
        return Void();
    }

    // The service's own report, over this root's one area.
    Return<void> debug(const hidl_handle& handle, const hidl_vec<hidl_string>& options) override {
        ::vendor::quoril::hardware::tevvendorservice::implementation::writeDebugReport(
                *this, handle, options);
        return Void();
    }

  private:
    sp<IDisplayCheckService> mDisplay;
};

}  // namespace fake

extern "C" ::vendor::quoril::hardware::tevvendorservice::V1_0::ITevVendorService*
HIDL_FETCH_ITevVendorService(const char*) {
    return new fake::Root();
}
