// Behaviour of vendor.quoril.hardware.tevvendorservice@1.0 that holds on every handset. Nothing
// here switches hardware, writes a node, enables a sensor, or blocks on the touch or Hall driver.
#define LOG_TAG "VtsHalTevVendorServiceV1_0TargetTest"

#include <cutils/native_handle.h>
#include <gtest/gtest.h>
#include <hidl/GtestPrinter.h>
#include <hidl/ServiceManagement.h>
#include <log/log.h>
#include <unistd.h>
#include <vendor/quoril/hardware/tevvendorservice/1.0/ITevVendorService.h>

#include <algorithm>
#include <functional>
#include <set>
#include <string>
#include <thread>

using ::android::sp;
using ::android::hardware::hidl_handle;
using ::android::hardware::hidl_string;
using ::android::hardware::hidl_vec;
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

namespace {

// Counts how often a callback ran.
struct Calls {
    int count = 0;
    template <typename T>
    std::function<void(const T&)> of() {
        return [this](const T&) { ++count; };
    }
};

template <typename T>
T valueOf(Return<T> ret) {
    EXPECT_TRUE(ret.isOk()) << ret.description();
    return ret;
}

}  // namespace

class TevVendorServiceHidlTest : public ::testing::TestWithParam<std::string> {
  public:
    void SetUp() override {
        service = ITevVendorService::getService(GetParam());
        ASSERT_NE(service, nullptr);
        version = valueOf(service->getExtensionVersionCheckService());
        leds = valueOf(service->getExtensionLedsCheckService());
        flashLife = valueOf(service->getExtensionFlashLifeCheckService());
        camera = valueOf(service->getExtensionCameraCheckService());
        charger = valueOf(service->getExtensionChargerCheckService());
        nfc = valueOf(service->getExtensionNfcCheckService());
        usb = valueOf(service->getExtensionUsbCheckService());
        battery = valueOf(service->getExtensionBatteryCheckService());
        sensor = valueOf(service->getExtensionSensorCheckService());
        display = valueOf(service->getExtensionDisplayCheckService());
        fp = valueOf(service->getExtensionFPCheckService());
        audio = valueOf(service->getExtensionAudioCheckService());
    }

    sp<ITevVendorService> service;
    sp<IVersionCheckService> version;
    sp<ILedsCheckService> leds;
    sp<IFlashLifeCheckService> flashLife;
    sp<ICameraCheckService> camera;
    sp<IChargerCheckService> charger;
    sp<INfcCheckService> nfc;
    sp<IUsbCheckService> usb;
    sp<IBatteryCheckService> battery;
    sp<ISensorCheckService> sensor;
    sp<IDisplayCheckService> display;
    sp<IFPCheckService> fp;
    sp<IAudioCheckService> audio;
};

TEST_P(TevVendorServiceHidlTest, EveryAreaIsHandedOut) {
    EXPECT_NE(version, nullptr);
    EXPECT_NE(leds, nullptr);
    EXPECT_NE(flashLife, nullptr);
    EXPECT_NE(camera, nullptr);
    EXPECT_NE(charger, nullptr);
    EXPECT_NE(nfc, nullptr);
    EXPECT_NE(usb, nullptr);
    EXPECT_NE(battery, nullptr);
    EXPECT_NE(sensor, nullptr);
    EXPECT_NE(display, nullptr);
    EXPECT_NE(fp, nullptr);
    EXPECT_NE(audio, nullptr);
}

TEST_P(TevVendorServiceHidlTest, EveryAreaIsTheSameObjectOnASecondCall) {
    EXPECT_EQ(valueOf(service->getExtensionVersionCheckService()), version);
    EXPECT_EQ(valueOf(service->getExtensionLedsCheckService()), leds);
    EXPECT_EQ(valueOf(service->getExtensionFlashLifeCheckService()), flashLife);
    EXPECT_EQ(valueOf(service->getExtensionCameraCheckService()), camera);
    EXPECT_EQ(valueOf(service->getExtensionChargerCheckService()), charger);
    EXPECT_EQ(valueOf(service->getExtensionNfcCheckService()), nfc);
    EXPECT_EQ(valueOf(service->getExtensionUsbCheckService()), usb);
    EXPECT_EQ(valueOf(service->getExtensionBatteryCheckService()), battery);
    EXPECT_EQ(valueOf(service->getExtensionSensorCheckService()), sensor);
    EXPECT_EQ(valueOf(service->getExtensionDisplayCheckService()), display);
    EXPECT_EQ(valueOf(service->getExtensionFPCheckService()), fp);
    EXPECT_EQ(valueOf(service->getExtensionAudioCheckService()), audio);
}

TEST_P(TevVendorServiceHidlTest, ExtFunNeverCallsBack) {
    Calls calls;
    const hidl_vec<hidl_string> args = {"a", "b"};
    auto cb = calls.of<hidl_vec<hidl_string>>();
    EXPECT_TRUE(version->extFun("x", args, cb).isOk());
    EXPECT_TRUE(leds->extFun("x", args, cb).isOk());
    EXPECT_TRUE(flashLife->extFun("x", args, cb).isOk());
    EXPECT_TRUE(camera->extFun("x", args, cb).isOk());
    EXPECT_TRUE(charger->extFun("x", args, cb).isOk());
    EXPECT_TRUE(nfc->extFun("x", args, cb).isOk());
    EXPECT_TRUE(usb->extFun("x", args, cb).isOk());
    EXPECT_TRUE(battery->extFun("x", args, cb).isOk());
    EXPECT_TRUE(sensor->extFun("x", args, cb).isOk());
    EXPECT_TRUE(display->extFun("x", args, cb).isOk());
    EXPECT_TRUE(fp->extFun("x", args, cb).isOk());
    EXPECT_TRUE(audio->extFun("x", args, cb).isOk());
    EXPECT_EQ(calls.count, 0);
}

TEST_P(TevVendorServiceHidlTest, FixedStubsAnswerTheirFixedValues) {
    Calls calls;
    EXPECT_TRUE(nfc->getNfcChipModule(calls.of<hidl_string>()).isOk());
    EXPECT_TRUE(sensor->getSarParams(0, calls.of<hidl_vec<hidl_string>>()).isOk());
    EXPECT_TRUE(audio->speakerCali(calls.of<hidl_string>()).isOk());
    EXPECT_EQ(calls.count, 0);
    EXPECT_FALSE(valueOf(nfc->isSupportEse()));
    EXPECT_EQ(valueOf(audio->smartPACali()), 0);
    EXPECT_FALSE(valueOf(camera->popCamera()));
    EXPECT_FALSE(valueOf(camera->pushCamera()));
    EXPECT_FALSE(valueOf(camera->getPreviewOrCapture(0)));
    EXPECT_FALSE(valueOf(fp->isRectFP()));
    EXPECT_EQ(valueOf(charger->getElectricThreshold()), 1);
}

TEST_P(TevVendorServiceHidlTest, AnsweringOperationsCallBackExactlyOnce) {
    const std::vector<std::pair<const char*, std::function<Return<void>(Calls&)>>> operations = {
            {"getFSN", [&](Calls& c) { return version->getFSN(c.of<hidl_string>()); }},
            {"getPhoneSerialNo",
             [&](Calls& c) { return version->getPhoneSerialNo(c.of<hidl_string>()); }},
            {"getBasebandVersion",
             [&](Calls& c) { return version->getBasebandVersion(c.of<hidl_string>()); }},
            {"getKernelVersion",
             [&](Calls& c) { return version->getKernelVersion(c.of<hidl_string>()); }},
            {"getCpuId", [&](Calls& c) { return version->getCpuId(c.of<hidl_string>()); }},
            {"getHardwareVersion",
             [&](Calls& c) { return version->getHardwareVersion(c.of<hidl_string>()); }},
            {"getSecureBootStatus",
             [&](Calls& c) { return version->getSecureBootStatus(c.of<hidl_string>()); }},
            {"getRpmbStatus", [&](Calls& c) { return version->getRpmbStatus(c.of<hidl_string>()); }},
            {"getVerifiedBootState",
             [&](Calls& c) { return version->getVerifiedBootState(c.of<hidl_string>()); }},
            {"getLedsList", [&](Calls& c) { return leds->getLedsList(c.of<hidl_vec<int32_t>>()); }},
            {"getTorchList",
             [&](Calls& c) { return camera->getTorchList(c.of<hidl_vec<int32_t>>()); }},
            {"getChargerType",
             [&](Calls& c) { return charger->getChargerType(c.of<hidl_string>()); }},
            {"getBatteryId", [&](Calls& c) { return battery->getBatteryId(c.of<hidl_string>()); }},
            {"getBatteryVendor",
             [&](Calls& c) { return battery->getBatteryVendor(c.of<hidl_string>()); }},
            {"getHallPosition",
             [&](Calls& c) { return sensor->getHallPosition(c.of<hidl_vec<int32_t>>()); }},
            {"getSarSensorIDs",
             [&](Calls& c) { return sensor->getSarSensorIDs(c.of<hidl_vec<int32_t>>()); }},
            {"getLcmInfo", [&](Calls& c) { return display->getLcmInfo(c.of<hidl_string>()); }},
            {"getTpColor", [&](Calls& c) { return display->getTpColor(c.of<hidl_string>()); }},
            {"getFpType", [&](Calls& c) { return fp->getFpType(c.of<hidl_string>()); }},
            {"getFaculaParas",
             [&](Calls& c) { return fp->getFaculaParas(c.of<hidl_vec<int32_t>>()); }},
            {"getFPSensorStartPkgInfo",
             [&](Calls& c) { return fp->getFPSensorStartPkgInfo(c.of<hidl_vec<hidl_string>>()); }},
            {"getFPFodCalStartPkgInfo",
             [&](Calls& c) { return fp->getFPFodCalStartPkgInfo(c.of<hidl_vec<hidl_string>>()); }},
            {"getVendorFileValue",
             [&](Calls& c) {
                 return service->getVendorFileValue("/proc/version", c.of<hidl_string>());
             }},
    };
    for (const auto& [name, call] : operations) {
        Calls calls;
        EXPECT_TRUE(call(calls).isOk()) << name;
        EXPECT_EQ(calls.count, 1) << name;
    }
}

TEST_P(TevVendorServiceHidlTest, UnsetPropertyReadsAsTheDefault) {
    std::string value;
    int calls = 0;
    EXPECT_TRUE(service->getVendorProperty("vendor.tevvendorservice.vts.never.set", "fallback",
                                           [&](const hidl_string& v) {
                                               value = v;
                                               ++calls;
                                           })
                        .isOk());
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(value, "fallback");
}

TEST_P(TevVendorServiceHidlTest, IntegerAnswersStayWithinTheirSets) {
    EXPECT_EQ((std::set<int32_t>{-1, 0, 1, 2}).count(valueOf(usb->getUsbPluginStatus())), 1u);
    EXPECT_EQ((std::set<int32_t>{-1, 0, 1, 2}).count(valueOf(battery->checkChipOK())), 1u);
    EXPECT_EQ((std::set<int32_t>{0, 1}).count(valueOf(battery->checkDualConnector())), 1u);
    EXPECT_EQ((std::set<int32_t>{-1, 1, 2}).count(valueOf(camera->getCameraCalFlag())), 1u);
    EXPECT_EQ((std::set<int32_t>{0, 157}).count(valueOf(fp->getFodPressureSensorMarginLeft())), 1u);
    EXPECT_EQ((std::set<int32_t>{0, 410}).count(valueOf(fp->getFodPressureSensorMarginTop())), 1u);
    EXPECT_EQ((std::set<uint32_t>{0xFF00FFFF, 0xFFFFFFFF, 0xFF00FF00})
                      .count(static_cast<uint32_t>(valueOf(fp->getFaculaColor()))),
              1u);
}

TEST_P(TevVendorServiceHidlTest, ListAnswersHoldOnlyKnownMembers) {
    hidl_vec<int32_t> ledList, torchList, sarIds, facula;
    leds->getLedsList([&](const hidl_vec<int32_t>& v) { ledList = v; });
    camera->getTorchList([&](const hidl_vec<int32_t>& v) { torchList = v; });
    sensor->getSarSensorIDs([&](const hidl_vec<int32_t>& v) { sarIds = v; });
    fp->getFaculaParas([&](const hidl_vec<int32_t>& v) { facula = v; });
    for (int32_t type : ledList) EXPECT_TRUE(type >= 0 && type <= 7) << type;
    for (int32_t type : torchList) EXPECT_TRUE(type >= 1 && type <= 5) << type;
    ASSERT_TRUE(sarIds.size() == 1 || sarIds.size() == 2);
    EXPECT_EQ(sarIds[0], 33171015);
    if (sarIds.size() == 2) {
        EXPECT_EQ(sarIds[1], 33171016);
    }
    EXPECT_TRUE(facula.size() == 0 || facula.size() == 4);
    flashLife->getFlashLifeTime([&](const hidl_vec<hidl_string>& v) {
        ASSERT_EQ(v.size(), 2u);
        EXPECT_EQ(std::string(v[0]).rfind("lifeEstA =", 0), 0u);
        EXPECT_EQ(std::string(v[1]).rfind("lifeEstB =", 0), 0u);
    });
}

// What lshal debug prints: the report comes through the descriptor handed over, and an unknown
// option is named before it.
TEST_P(TevVendorServiceHidlTest, DebugWritesTheReportToTheHandle) {
    const struct {
        hidl_vec<hidl_string> options;
        std::string begins;
        std::string ends;
    } cases[] = {
            {{}, "AREA", "\n"},
            {{"--json"}, "{\"areas\":[{\"area\":\"version\"", "]}\n"},
            {{"--vts-no-such-option"},
             "ignoring unknown option \"--vts-no-such-option\"\nAREA",
             "\n"},
    };
    for (const auto& c : cases) {
        int fds[2];
        ASSERT_EQ(pipe(fds), 0);
        std::string out;
        std::thread reader([&out, fd = fds[0]] {
            char buffer[4096];
            for (ssize_t n; (n = read(fd, buffer, sizeof(buffer))) > 0;) out.append(buffer, n);
        });
        {
            native_handle_t* nativeHandle = native_handle_create(1, 0);
            nativeHandle->data[0] = fds[1];
            hidl_handle handle;
            handle.setTo(nativeHandle, true /* shouldOwn */);
            EXPECT_TRUE(service->debug(handle, c.options).isOk()) << c.begins;
        }
        reader.join();
        close(fds[0]);
        EXPECT_EQ(out.rfind(c.begins, 0), 0u) << out.substr(0, 200);
        EXPECT_GT(out.size(), c.begins.size() + c.ends.size());
        EXPECT_EQ(out.substr(out.size() - std::min(out.size(), c.ends.size())), c.ends);
    }
    // Without a descriptor there is nothing to write to, and nothing breaks.
    EXPECT_TRUE(service->debug(hidl_handle(), {}).isOk());
}

// Newer googletest fails a suite with no instance (a handset without the service); Android 11's
// has neither the check nor this macro.
#ifdef GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(TevVendorServiceHidlTest);
#endif
INSTANTIATE_TEST_SUITE_P(
        PerInstance, TevVendorServiceHidlTest,
        testing::ValuesIn(android::hardware::getAllHalInstanceNames(ITevVendorService::descriptor)),
        android::hardware::PrintInstanceNameToString);
