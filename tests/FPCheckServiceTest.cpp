// Fingerprint identity, FOD display modes, light-spot colour and geometry.
#include <climits>

#include "HandsetTest.h"

namespace tevhost {
namespace {

using ::android::sp;
using ::android::hardware::hidl_string;
using ::android::hardware::hidl_vec;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::vendor::quoril::hardware::tevvendorservice::V1_0::IFPCheckService;
using ::vendor::quoril::hardware::tevvendorservice::V1_0::ITevVendorService;
using ::vendor::quoril::hardware::tevvendorservice::V1_0::NitMode;

constexpr const char* kTag = "FPCheckService-TevVendor";
constexpr const char* kUtilsTag = "vendor.quoril.hardware.tevvendorservice@1.0-TevVendorUtils";
constexpr const char* kDispParam = "/sys/class/drm/card0-DSI-1/disp_param";
constexpr const char* kLocation = "persist.vendor.sys.fp.fod.location.X_Y";
constexpr const char* kSize = "persist.vendor.sys.fp.fod.size.width_height";

class FPCheckServiceTest : public HandsetTest {
  protected:
    // The fingerprint area of a fresh root, built for |product| (nullptr: unset).
    sp<IFPCheckService> fpFor(const char* product) {
        product ? prop("ro.product.name", product) : unsetProp("ro.product.name");
        sp<IFPCheckService> fp = root()->getExtensionFPCheckService();
        EXPECT_NE(fp, nullptr);
        return fp;
    }
};

TEST_F(FPCheckServiceTest, ProductNameIsReadOnceOnTheFirstRequest) {
    prop("ro.product.name", "qab");
    sp<ITevVendorService> service = root();
    sp<IFPCheckService> fp = service->getExtensionFPCheckService();
    ASSERT_NE(fp, nullptr);
    prop("ro.product.name", "helvr");
    EXPECT_EQ(value(service->getExtensionFPCheckService()), fp);
    EXPECT_TRUE(value(fp->isSupportCalibration()));
    EXPECT_THAT(logged(kTag), ElementsAre("FPCheckService mProductName = qab ",
                                          "isSupportCalibration result = 1 "));
}

TEST_F(FPCheckServiceTest, CalibrationListMatchesByContainment) {
    const struct {
        const char* product;  // nullptr: unset
        bool expected;
    } cases[] = {{"trovaskin", true}, {"dolvx", true},   {"fenrowpro", true}, {"halbrin", true},
                 {"xpifx", true},     {"ostrelg", true}, {"trovas", false},   {"PIF", false},
                 {"helvr", false},    {"", false},       {nullptr, false}};
    for (const auto& c : cases) {
        sp<IFPCheckService> fp = fpFor(c.product);
        EXPECT_EQ(value(fp->isSupportCalibration()), c.expected) << c.product;
        EXPECT_FALSE(value(fp->isRectFP())) << c.product;
    }
}

TEST_F(FPCheckServiceTest, FodModesWriteTheDriversWords) {
    const struct {
        const char* product;
        int32_t mode;
        std::vector<std::string> words;  // none: the mode is refused
        const char* label;
    } cases[] = {
            {"dolv", 0, {"0x0D01000", "0x2000000"}, nullptr},
            {"dolv", 1, {"0x1000000", "0xD00690"}, "300尼特绿斑亮度测试"},
            {"tascaron", 2, {"0x1000000", "0xD007FF"}, "400尼特绿斑亮度测试"},
            {"dolv", 3, {"0x20000"}, "630尼特绿斑亮度测试"},
            {"", 3, {"0x20000"}, "630尼特绿斑亮度测试"},
            {"tascaronpro", 3, {"0xD003FF"}, "630尼特绿斑亮度测试"},
            {"dolv", 4, {}, nullptr},
            {"dolv", -1, {}, nullptr},
            {"dolv", INT32_MIN, {}, nullptr},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.product) + " mode " + std::to_string(c.mode));
        sp<IFPCheckService> fp = fpFor(c.product);
        node(kDispParam, "");
        sandbox::clearWrites();
        log::clear();
        bool expected = !c.words.empty();
        EXPECT_EQ(value(fp->setScreenEffectNew(static_cast<NitMode>(c.mode))), expected);
        EXPECT_EQ(writesTo(kDispParam), c.words);
        std::vector<std::string> messages;
        if (c.label) messages.push_back(c.label);
        messages.push_back(expected ? "setScreenEffectNew result = 1 "
                                    : "setScreenEffectNew result = 0 ");
        EXPECT_EQ(logged(kTag, ANDROID_LOG_INFO), messages);
    }
}

TEST_F(FPCheckServiceTest, FodModeFailsWhenTheNodeDoesNotOpenButTriesEveryWord) {
    sp<IFPCheckService> fp = fpFor("dolv");
    log::clear();
    EXPECT_FALSE(value(fp->setScreenEffectNew(NitMode::NIT_DEFAULT)));
    std::string prefix = std::string("WriteFilePathValue path = ") + kDispParam + " value = ";
    EXPECT_THAT(
            logged(kUtilsTag, ANDROID_LOG_INFO),
            ElementsAre(prefix + "0x0D01000 result = fail", prefix + "0x2000000 result = fail"));
    denyNode(kDispParam);
    EXPECT_FALSE(value(fp->setScreenEffectNew(NitMode::NIT_630)));
    EXPECT_THAT(writes(), IsEmpty());
    EXPECT_THAT(logged(kTag), Contains("setScreenEffectNew result = 0 "));
}

TEST_F(FPCheckServiceTest, FaculaParasFromTheTwoProperties) {
    const struct {
        const char* location;  // nullptr: unset
        const char* size;
        std::vector<int32_t> expected;
    } cases[] = {
            {"540,900", "120,120", {540, 900, 120, 120}},
            {"540abc,900", " -12, +7", {540, 900, -12, 7}},
            {"a,1e3,9", "x,5,", {0, 1, 0, 5}},
            {"540,900", nullptr, {}},
            {nullptr, "120,120", {}},
            {"", "120,120", {}},
            {",900", "120,120", {}},
            {"540,", "120,120", {}},
            {"540,900", "120", {}},
            {"540,900", "120,,5", {}},
    };
    sp<IFPCheckService> fp = fpFor("dolv");
    for (const auto& c : cases) {
        c.location ? prop(kLocation, c.location) : unsetProp(kLocation);
        c.size ? prop(kSize, c.size) : unsetProp(kSize);
        SCOPED_TRACE(std::string(c.location ? c.location : "unset") + " / " +
                     (c.size ? c.size : "unset"));
        log::clear();
        std::vector<int32_t> paras = {-99};
        int calls = 0;
        fp->getFaculaParas([&](const hidl_vec<int32_t>& v) {
            paras = v;
            ++calls;
        });
        EXPECT_EQ(calls, 1);
        EXPECT_EQ(paras, c.expected);
        bool bothSet = c.location && *c.location && c.size && *c.size;
        if (!bothSet) {
            EXPECT_THAT(logged(kTag, ANDROID_LOG_ERROR),
                        ElementsAre("**can not get facula paras**"));
        } else if (c.expected.empty()) {
            EXPECT_THAT(logged(kTag), ElementsAre("**can get facula paras prop**"));
        } else {
            EXPECT_THAT(logged(kTag, ANDROID_LOG_INFO),
                        ElementsAre("**can get facula paras prop**",
                                    "**can get facula paras x y w h**"));
        }
    }
}

TEST_F(FPCheckServiceTest, SpotColourAndPressureSensorMarginsPerProduct) {
    const struct {
        const char* product;
        uint32_t color;
        int32_t left, top;
    } cases[] = {
            {"kaltpro", 0xFF00FFFF, 157, 410},  {"ombrelle", 0xFF00FFFF, 157, 410},
            {"dolvkalt", 0xFF00FFFF, 157, 410}, {"dolv", 0xFFFFFFFF, 0, 0},
            {"xpifin", 0xFFFFFFFF, 0, 0},       {"trovask", 0xFF00FF00, 0, 0},
            {"helvr", 0xFF00FF00, 0, 0},        {"", 0xFF00FF00, 0, 0},
    };
    for (const auto& c : cases) {
        sp<IFPCheckService> fp = fpFor(c.product);
        log::clear();
        EXPECT_EQ(static_cast<uint32_t>(value(fp->getFaculaColor())), c.color) << c.product;
        EXPECT_EQ(value(fp->getFodPressureSensorMarginLeft()), c.left) << c.product;
        EXPECT_EQ(value(fp->getFodPressureSensorMarginTop()), c.top) << c.product;
        char colorLine[64];
        snprintf(colorLine, sizeof(colorLine), "getFaculaColor result = %x ", c.color);
        if (c.left != 0) {
            EXPECT_THAT(logged(kTag, ANDROID_LOG_INFO),
                        ElementsAre(colorLine,
                                    "**FodPressureSensorMarginLeft data of ombrelle&kalt is 157**",
                                    "**FodPressureSensorMarginTop data of ombrelle&kalt is 410**"));
        } else {
            EXPECT_THAT(logged(kTag, ANDROID_LOG_INFO), ElementsAre(colorLine));
            EXPECT_THAT(logged(kTag, ANDROID_LOG_ERROR),
                        ElementsAre("**No matching data found**", "**No matching data found**"));
        }
    }
}

TEST_F(FPCheckServiceTest, TypeAndEmptyPackageLists) {
    sp<IFPCheckService> fp = fpFor("kalt");
    prop("persist.vendor.sys.fp.vendor", " goodix ");
    std::string type = "<no callback>";
    fp->getFpType([&](const hidl_string& v) { type = v; });
    EXPECT_EQ(type, " goodix ");

    int calls = 0;
    auto none = [&](const hidl_vec<hidl_string>& v) {
        EXPECT_EQ(v.size(), 0u);
        ++calls;
    };
    fp->getFPSensorStartPkgInfo(none);
    fp->getFPFodCalStartPkgInfo(none);
    EXPECT_EQ(calls, 2);
    EXPECT_TRUE(fp->extFun("x", {"a"}, none).isOk());
    EXPECT_EQ(calls, 2);
    EXPECT_THAT(logged(kTag), Contains("getFpType type =  goodix  "));
    EXPECT_THAT(logged(kTag), Contains("getFPSensorStartPkgInfo packages = null "));
    EXPECT_THAT(logged(kTag), Contains("getFPFodCalStartPkgInfo packages = null "));
}

}  // namespace
}  // namespace tevhost
