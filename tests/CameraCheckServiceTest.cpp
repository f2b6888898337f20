#include "CameraCheckService.h"

#include <algorithm>
#include <climits>

#include "AreaTest.h"

namespace tevhost {
namespace {

using ::vendor::quoril::hardware::tevvendorservice::implementation::CameraCheckService;
using ::vendor::quoril::hardware::tevvendorservice::V1_0::ICameraCheckService;

constexpr const char* kTag = "CameraCheckService-hal";
const char* const kTorchLeds[] = {"led:torch_0",      "led:torch_1",  "led:torch_2",
                                  "led:switch_0",     "led:switch_1", "softlight_torch_0",
                                  "softlight_torch_1"};
const auto brightness = [](const std::string& led) {
    return "/sys/class/leds/" + led + "/brightness";
};
// "75" and "60" go out with their NUL; a brightness level as an 8-byte NUL-padded field.
const std::string k75("75", 3);
const std::string k60("60", 3);
const auto field = [](const std::string& digits) {
    return digits + std::string(8 - digits.size(), '\0');
};

class CameraCheckServiceTest : public AreaTest {
  protected:
    // The camera object of a device named |product| (nullptr: unset), as a client gets it, with
    // an empty log and write journal.
    sp<ICameraCheckService> cameraOn(const char* product) {
        prop("ro.product.name", product);
        sp<ICameraCheckService> camera = root()->getExtensionCameraCheckService();
        EXPECT_NE(camera, nullptr);
        log::clear();
        sandbox::clearWrites();
        return camera;
    }
    // Every write as "led=bytes", in order ("torch_0", "switch_1", "softlight_torch_0", ...).
    Lines journal() const {
        Lines out;
        for (const auto& w : writes()) {
            std::string led = w.path.substr(0, w.path.rfind('/'));
            led = led.substr(led.rfind('/') + 1);
            out.push_back((led.rfind("led:", 0) == 0 ? led.substr(4) : led) + "=" + w.data);
        }
        return out;
    }
    // Sets the info, infoext and infoext2 properties under |prefix| from "info|infoext|infoext2".
    void setModuleProps(const std::string& prefix, std::string parts) {
        for (const char* key : {"info", "infoext", "infoext2"}) {
            size_t bar = parts.find('|');
            prop(prefix + key, parts.substr(0, bar));
            parts = bar == std::string::npos ? "" : parts.substr(bar + 1);
        }
    }
    static auto moduleInfo(const sp<ICameraCheckService>& camera) {
        return answer<std::string>(camera, &ICameraCheckService::getCameraModuleInfo);
    }
};
using CameraCheckServiceDeathTest = CameraCheckServiceTest;

// Each listed product's own row is pinned by tevctl products. Variants without a row of their
// own fall back to the last row whose key their name contains: "pifqab" answers as "qab",
// "sirnakyut" as "yut", "qabzob" as "zob".
TEST_F(CameraCheckServiceTest, CameraIdComesFromTheProductsRow) {
    // A null product leaves the name unset.
    const std::tuple<const char*, int32_t, int32_t> cases[] = {
            {"qab_global", 8, 63}, {"pifqab", 12, 22}, {"pifqab", 14, -1}, {"sirnakyut", 12, 20},
            {"qabzob", 13, -1},    {"Qab", 1, -1},     {nullptr, 1, -1}};
    for (const auto& [product, type, expected] : cases) {
        EXPECT_EQ(value(cameraOn(product)->getCameraId(type)), expected)
                << (product ? product : "unset") << " type " << type;
    }
    // The search through the rows is logged.
    const std::string row = "this cameraIdMap name  ";
    const Lines rows = {row + "zob \n", row + "helvr \n", row + "qab \n"};
    cameraOn("qab")->getCameraId(1);
    EXPECT_THAT(logged(kTag, ANDROID_LOG_INFO), ElementsAre("GetCameraId = 0  for type = 1"));
    cameraOn("qab_global")->getCameraId(21);
    Lines log = rows;
    log.insert(log.end(), {"find cameraIdMap for product qab_global \n",
                           "Can't find cameraID for type = 21  at produce qab_global \n",
                           "GetCameraId = -1  for type = 21"});
    EXPECT_THAT(logged(kTag, ANDROID_LOG_INFO), ElementsAreArray(log));
    cameraOn("moto")->getCameraId(1);
    log = rows;
    log.insert(log.end(),
               {row + "yut \n", row + "pif \n", row + "sirnak \n",
                "Can't find cameraIdMap for product moto \n", "GetCameraId = -1  for type = 1"});
    EXPECT_THAT(logged(kTag, ANDROID_LOG_INFO), ElementsAreArray(log));
}

TEST_F(CameraCheckServiceTest, ProductIsReadOnceWhenTheAreaIsFirstRequested) {
    auto service = root();
    prop("ro.product.name", "pif");  // after the root exists, before the first request
    sp<ICameraCheckService> camera = service->getExtensionCameraCheckService();
    prop("ro.product.name", "zob");
    EXPECT_EQ(value(service->getExtensionCameraCheckService()), camera);
    EXPECT_EQ(value(camera->getCameraId(8)), 63);
}

TEST_F(CameraCheckServiceTest, CapabilitiesFollowTheProductLists) {
    // Every list entry is pinned by tevctl products; here the rule (a fragment anywhere in the
    // name, case and all) and the log texts.
    const std::tuple<const char*, bool, bool, bool, bool> cases[] = {
            {"xtrovaskin", true, true, true, true},
            {"qab", false, false, true, true},
            {"Trovask", false, false, false, false},
            {"", false, false, false, false}};
    for (const auto& [product, popUp, zoomFocus, justTakePic, calibration] : cases) {
        auto camera = cameraOn(product);
        log::clear();
        EXPECT_EQ(value(camera->isSupportPopCamera()), popUp) << product;
        EXPECT_EQ(value(camera->needAutopushCamera()), popUp) << product;
        // The two texts of each pair are spaced differently around '='.
        const std::string p = product;
        EXPECT_THAT(logged(kTag, ANDROID_LOG_INFO),
                    popUp ? ElementsAre("product_name = " + p + ",is Support PopCamera",
                                        "product_name = " + p + ",need Autopush Camera")
                          : ElementsAre("product_name=" + p + ",is not Support PopCamera",
                                        "product_name=" + p + ",not need Autopush Camera"));
        EXPECT_EQ(value(camera->isDualCameraCanZoomFocus(5)), zoomFocus) << product;
        EXPECT_EQ(value(camera->isDualCameraJustTakePic(1)), justTakePic) << product;
        EXPECT_EQ(value(camera->needCameraCalibration()), calibration) << product;
    }
    auto camera = cameraOn("qab");
    camera->isDualCameraJustTakePic(0);  // a normal answer, logged at ERROR
    EXPECT_THAT(logLines(),
                ElementsAre(LogLine(ANDROID_LOG_ERROR, kTag, "qab isDualCameraJustTakePic.")));
}

TEST_F(CameraCheckServiceTest, ModuleInfoShowsOneEntryPerLine) {
    // Module properties as "info|infoext|infoext2", current and old.
    const std::tuple<const char*, const char*, const char*, const char*> cases[] = {
            {"back_camera=a;front_camera=b||x", "", "", "back_camera=a\nfront_camera=b"},
            {"p;|q;|r", "o;", "9", "p\nq\nr"},
            {"|x;|y", "back_camera=s5k;|front_camera=imx", "1.0",
             "back_camera=s5k\nfront_camera=imx"},
            {"", "b=1;||w=3", "19", "b=1\n"},
            // Hardware 9 repeats the back module as the back sub-camera at every separator and
            // leaves the other parts out; twelve characters are cut, whatever they are.
            {"", "back_camera=s5k;front_camera=imx|x;|y", "9.1",
             "back_camera=s5k\nback_subcamera=s5k\nfront_camera=imx"},
            {"", "back_camera=s;f;w", "9",
             "back_camera=s\nback_subcamera=s\nf\nback_subcamera=s\nw"},
            {"", "back_camera=;f", "9", "back_camera=\nback_subcamera=\nf"},
            {"|x;|y", "rear_camera1=imx;f", "9", "rear_camera1=imx\nback_subcamera==imx\nf"},
    };
    for (const auto& [current, old, hwversion, expected] : cases) {
        setModuleProps("persist.vendor.camera.qo.module.", current);
        setModuleProps("persist.camera.module.", old);
        prop("ro.boot.hwversion", hwversion);
        EXPECT_EQ(moduleInfo(cameraOn("qab")), expected) << expected;
    }
    EXPECT_THAT(logged(kTag, ANDROID_LOG_INFO),
                ElementsAre("CameraInfo <persist.camera.module.info>--->NULL",
                            "CameraInfo <persist.camera.module.infoext>--->x;",
                            "CameraInfo <persist.camera.module.infoext2>--->y",
                            "*** use old camera system properity ***",
                            "getCameraModuleInfo  rear_camera1=imx\nback_subcamera==imx\nf "));
}

TEST_F(CameraCheckServiceDeathTest, OldModuleInfoWithoutItsLayoutStopsTheService) {
    // A null hardware version is unset.
    const std::tuple<const char*, const char*> cases[] = {
            {"back_camera=s5k;front_camera=imx", nullptr},
            {"back_camera=s5k", "9.1"},  // no separator: the back entry is empty
            {"back_cam=x;front_camera=imx", "9"},
            {";front_camera=imx", "9"}};
    for (const auto& [info, hwversion] : cases) {
        prop("persist.camera.module.info", info);
        prop("ro.boot.hwversion", hwversion);
        auto camera = cameraOn("qab");
        EXPECT_DEATH(moduleInfo(camera), "") << info;
    }
}

TEST_F(CameraCheckServiceTest, CalibrationFlag) {
    // The current and the old state (null: unset), and the flag.
    const std::tuple<const char*, const char*, int32_t> cases[] = {
            {"0", "3", 1},         {"3", "0", 2},     {"1", "", -1}, {"00", "0", -1}, {"", "", 2},
            {nullptr, nullptr, 2}, {nullptr, "0", 1}, {"", "3", -1}, {"", "00", -1}};
    for (const auto& [current, old, expected] : cases) {
        prop("persist.vendor.camera.qo.dualcal.state", current);
        prop("persist.camera.dualcal.state", old);
        EXPECT_EQ(value(cameraOn("qab")->getCameraCalFlag()), expected);
        EXPECT_THAT(logged(kTag, ANDROID_LOG_INFO),
                    ElementsAre(std::string("Dual camera calibration status: ") +
                                        (current ? current : ""),
                                "getCameraCalFlag result is " + std::to_string(expected) + "."));
    }
}

class CameraTorchTest : public CameraCheckServiceTest {
  protected:
    void SetUp() override {
        CameraCheckServiceTest::SetUp();
        for (const char* led : kTorchLeds) node(brightness(led), "");
    }
    // Runs |call| on the camera of |product|; returns its writes.
    Lines journalOf(const char* product, const std::function<void(ICameraCheckService&)>& call) {
        call(*cameraOn(product));
        return journal();
    }
};

TEST_F(CameraTorchTest, ControlTorchWritesWhatEachProductNeeds) {
    const std::tuple<const char*, int32_t, bool, Lines> cases[] = {
            // Torches 1 and 2 of every listed product are pinned by tevctl products. A name with
            // both a switch-per-torch fragment and the yellow-only one: yellow, on both switches.
            {"yutsirnak", 1, true, {"torch_1=" + k75, "switch_0=0", "switch_1=1"}},
            {"moto", 3, true, {"torch_2=" + k60, "switch_1=1"}},
            {"moto", 3, false, {"switch_1=0"}},
            {"sirnak", 4, true, {"softlight_torch_0=1"}},
            {"qab", 5, false, {"softlight_torch_1=0"}},
            {"qab", 0, true, {}},
            {"qab", 6, true, {}},
    };
    for (const auto& [product, type, on, journal] : cases) {
        EXPECT_EQ(journalOf(product, [type = type,
                                      on = on](auto& camera) { camera.controlTorch(type, on); }),
                  journal)
                << product << " type " << type;
        if (journal.empty()) {
            EXPECT_THAT(logLines(), IsEmpty());
        }
    }
}

TEST_F(CameraTorchTest, ControlTorchLogsEveryWriteResult) {
    cameraOn("sirnak")->controlTorch(1, true);
    EXPECT_THAT(logged(kTag, ANDROID_LOG_INFO),
                ElementsAre("product is sirnak change torch from TORCH_BLUE to  TORCH_YELLOW",
                            "Open TORCH_YELLOW",
                            "Write TORCH_BLUE or TORCH_YELLOW retTorch0 = 0   retTorch1 = 3   "
                            "retTorch_switch0 = 0   retTorch_switch1 =1"));
    auto camera = cameraOn("qab");
    for (auto [type, on] : {std::pair(1, false), {3, true}, {4, false}, {5, true}}) {
        camera->controlTorch(type, on);
    }
    EXPECT_THAT(logged(kTag, ANDROID_LOG_INFO),
                ElementsAre("Close TORCH_BLUE or TORCH_YELLOW",
                            "Write TORCH_BLUE or TORCH_YELLOW retTorch0 = 0   retTorch1 = 0   "
                            "retTorch_switch0 = 1   retTorch_switch1 =1",
                            "Write TORCH_SOFT_FLASH retTorch2 = 3  retTorch_switch1 = 1",
                            "Write TORCH_SOFT_1 retSoft1 = 1", "Write TORCH_SOFT_2 retSoft2 = 1"));
}

TEST_F(CameraTorchTest, NothingIsWrittenUnlessEveryNodeOpens) {
    const std::string kFailed = "Failed to open ";
    const std::string kSome = "Failed to open some nodes, so return Void";
    // Type 0: updateTorchBrightness(100).
    const std::tuple<int32_t, std::vector<std::string>, Lines> cases[] = {
            {1, {"led:torch_0"}, {kFailed + "flash_led_torch_0 node.", kSome}},
            {2, {"led:torch_1"}, {kFailed + "flash_led_torch_1 node.", kSome}},
            {1, {"led:switch_0"}, {kFailed + "flash_led_switch_0 node.", kSome}},
            {1,
             {"led:torch_0", "led:switch_1"},
             {kFailed + "flash_led_torch_0 node.", kFailed + "flash_led_switch_1 node.", kSome}},
            {0, {"led:switch_1"}, {kFailed + "flash_led_switch_1 node.", kSome}},
            {3, {"led:torch_2"}, {kFailed + "flash_led_torch_2 node.", kSome}},
            {3, {"led:switch_1"}, {kFailed + "flash_led_switch_1 node.", kSome}},
            {4, {"softlight_torch_0"}, {kFailed + "soft_light_torch_1 node."}},
            {5, {"softlight_torch_1"}, {kFailed + "soft_light_torch_2 node."}},
    };
    for (const auto& [type, missing, errors] : cases) {
        for (const char* led : kTorchLeds) {
            bool gone = std::find(missing.begin(), missing.end(), led) != missing.end();
            setNode(brightness(led), !gone ? "" : type == 1 ? kDenied : kAbsent);
        }
        EXPECT_THAT(journalOf("qab",
                              [type = type](auto& camera) {
                                  type == 0 ? camera.updateTorchBrightness(100)
                                            : camera.controlTorch(type, true);
                              }),
                    IsEmpty());
        EXPECT_THAT(logged(kTag, ANDROID_LOG_ERROR), ElementsAreArray(errors));
    }
}

TEST_F(CameraTorchTest, BrightnessGoesOutAsAnEightByteField) {
    // Levels 100 and 0 of every listed product are pinned by tevctl products.
    const std::tuple<const char*, int32_t, Lines> cases[] = {
            {"sirnak", 7, {"torch_1=" + field("7"), "switch_1=1"}},
            {"moto", -5, {"torch_0=" + field("-5"), "torch_1=" + field("-5"), "switch_0=1"}},
            {"moto", 123456789, {"torch_0=12345678", "torch_1=12345678", "switch_0=1"}},
            {"moto", INT_MIN, {"torch_0=-2147483", "torch_1=-2147483", "switch_0=1"}},
    };
    for (const auto& [product, level, journal] : cases) {
        EXPECT_EQ(journalOf(product,
                            [level = level](auto& camera) { camera.updateTorchBrightness(level); }),
                  journal)
                << product << " " << level;
    }
    EXPECT_THAT(logged(kTag),
                ElementsAre("updateTorchBrightness to -2147483648   retTorch0 = 8  "
                            "retTorch1 = 8  retTorch_switch0 = 1  retTorch_switch1 = 0"));
}

TEST_F(CameraTorchTest, TorchListFollowsTheProductName) {
    // Each listed product's list is pinned by tevctl products: here the first row found in the
    // name decides.
    const std::tuple<const char*, std::vector<int32_t>> cases[] = {
            {"yutsirnak", {1, 2}}, {"qab_in", {1, 2}}, {"", {}}};
    for (const auto& [product, expected] : cases) {
        using List = std::vector<int32_t>;
        EXPECT_EQ(answer<List>(cameraOn(product), &ICameraCheckService::getTorchList), expected)
                << product;
        EXPECT_THAT(logged(kTag), ElementsAre(std::string("GetTorchList of ") + product +
                                              "  size = " + std::to_string(expected.size())));
    }
}

TEST(CameraReplaceTest, EveryOccurrenceIsReplacedSearchingFromTheStartAgain) {
    sp<CameraCheckService> camera = new CameraCheckService();
    EXPECT_EQ(camera->replaceCamera("a=x\nb=x", "x", "yy"), "a=yy\nb=yy");
    EXPECT_EQ(camera->replaceCamera("aab", "ab", "b"), "b");  // the first makes a new "ab"
    EXPECT_EQ(camera->replaceCamera("a;b", ";;", "\n"), "a;b");
}

}  // namespace
}  // namespace tevhost
