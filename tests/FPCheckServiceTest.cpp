// Fingerprint identity, FOD display modes, light-spot colour and geometry.
#include <climits>

#include "AreaTest.h"

namespace tevhost {
namespace {

using ::vendor::quoril::hardware::tevvendorservice::V1_0::IFPCheckService;
using ::vendor::quoril::hardware::tevvendorservice::V1_0::NitMode;

constexpr const char* kTag = "FPCheckService-TevVendor";
constexpr const char* kDispParam = "/sys/class/drm/card0-DSI-1/disp_param";
constexpr const char* kLocation = "persist.vendor.sys.fp.fod.location.X_Y";
constexpr const char* kSize = "persist.vendor.sys.fp.fod.size.width_height";

class FPCheckServiceTest : public AreaTest {
  protected:
    // The fingerprint area of a fresh root, built for |product| (nullptr: unset), with an empty
    // log.
    sp<IFPCheckService> fpFor(const char* product) {
        prop("ro.product.name", product);
        sp<IFPCheckService> fp = root()->getExtensionFPCheckService();
        EXPECT_NE(fp, nullptr);
        log::clear();
        return fp;
    }
};

TEST_F(FPCheckServiceTest, ProductNameIsReadOnceOnTheFirstRequest) {
    prop("ro.product.name", "qab");
    auto service = root();
    sp<IFPCheckService> fp = service->getExtensionFPCheckService();
    prop("ro.product.name", "helvr");
    EXPECT_EQ(value(service->getExtensionFPCheckService()), fp);
    EXPECT_TRUE(value(fp->isSupportCalibration()));
    EXPECT_THAT(logOf(kTag), ElementsAre("I FPCheckService mProductName = qab ",
                                         "I isSupportCalibration result = 1 "));
}

TEST_F(FPCheckServiceTest, CalibrationListMatchesByContainment) {
    for (const auto& [product, expected] : {std::pair("xpifx", true), {"PIF", false}}) {
        sp<IFPCheckService> fp = fpFor(product);
        EXPECT_EQ(value(fp->isSupportCalibration()), expected) << product;
        EXPECT_FALSE(value(fp->isRectFP())) << product;
    }
}

TEST_F(FPCheckServiceTest, FodModesWriteTheDriversWords) {
    // The words written (none: the mode is refused) and the label logged first.
    const std::tuple<const char*, int32_t, Lines, const char*> cases[] = {
            {"dolv", 0, {"0x0D01000", "0x2000000"}, nullptr},
            {"dolv", 1, {"0x1000000", "0xD00690"}, "300尼特绿斑亮度测试"},
            {"tascaron", 2, {"0x1000000", "0xD007FF"}, "400尼特绿斑亮度测试"},
            {"dolv", 3, {"0x20000"}, "630尼特绿斑亮度测试"},
            {"tascaronpro", 3, {"0xD003FF"}, "630尼特绿斑亮度测试"},
            {"dolv", 4, {}, nullptr},
            {"dolv", INT32_MIN, {}, nullptr},
    };
    for (const auto& [product, mode, words, label] : cases) {
        SCOPED_TRACE(std::string(product) + " mode " + std::to_string(mode));
        sp<IFPCheckService> fp = fpFor(product);
        node(kDispParam, "");
        sandbox::clearWrites();
        bool expected = !words.empty();
        EXPECT_EQ(value(fp->setScreenEffectNew(static_cast<NitMode>(mode))), expected);
        EXPECT_EQ(writesTo(kDispParam), words);
        Lines log;
        if (label) log.push_back(label);
        log.push_back(expected ? "setScreenEffectNew result = 1 "
                               : "setScreenEffectNew result = 0 ");
        EXPECT_EQ(logged(kTag, ANDROID_LOG_INFO), log);
    }

    // Without the node the mode fails, but every word is tried.
    sp<IFPCheckService> fp = fpFor("dolv");
    removeNode(kDispParam);
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
    // The location and size properties (null: unset) and the answer.
    const std::tuple<const char*, const char*, std::vector<int32_t>> cases[] = {
            {"540,900", "120,120", {540, 900, 120, 120}},
            {"540abc,900", " -12, +7", {540, 900, -12, 7}},
            {"a,1e3,9", "x,5,", {0, 1, 0, 5}},
            {"540,900", nullptr, {}},
            {"", "120,120", {}},
            {",900", "120,120", {}},
            {"540,900", "120", {}},
            {"540,900", "120,,5", {}},
    };
    sp<IFPCheckService> fp = fpFor("dolv");
    for (const auto& [location, size, expected] : cases) {
        prop(kLocation, location);
        prop(kSize, size);
        SCOPED_TRACE(std::string(location) + " / " + (size ? size : "unset"));
        log::clear();
        EXPECT_EQ(answer<std::vector<int32_t>>(fp, &IFPCheckService::getFaculaParas), expected);
        Lines log = {"I **can get facula paras prop**"};
        if (!*location || !size) log = {"E **can not get facula paras**"};
        if (!expected.empty()) log.push_back("I **can get facula paras x y w h**");
        EXPECT_EQ(logOf(kTag), log);
    }
}

TEST_F(FPCheckServiceTest, SpotColourAndPressureSensorMarginsLogTheirAnswers) {
    const std::tuple<const char*, uint32_t, int32_t, int32_t> cases[] = {
            {"dolvkalt", 0xFF00FFFF, 157, 410}, {"xpifin", 0xFFFFFFFF, 0, 0}, {"", 0xFF00FF00, 0, 0}};
    for (const auto& [product, color, left, top] : cases) {
        sp<IFPCheckService> fp = fpFor(product);
        EXPECT_EQ(static_cast<uint32_t>(value(fp->getFaculaColor())), color) << product;
        EXPECT_EQ(value(fp->getFodPressureSensorMarginLeft()), left) << product;
        EXPECT_EQ(value(fp->getFodPressureSensorMarginTop()), top) << product;
        char colorLine[64];
        snprintf(colorLine, sizeof(colorLine), "I getFaculaColor result = %x ", color);
        Lines log = {colorLine, "E **No matching data found**", "E **No matching data found**"};
        if (left) {
            log = {colorLine, "I **FodPressureSensorMarginLeft data of ombrelle&kalt is 157**",
                   "I **FodPressureSensorMarginTop data of ombrelle&kalt is 410**"};
        }
        EXPECT_EQ(logOf(kTag), log);
    }
}

TEST_F(FPCheckServiceTest, TypeAndEmptyPackageLists) {
    sp<IFPCheckService> fp = fpFor("kalt");
    prop("persist.vendor.sys.fp.vendor", " goodix ");
    EXPECT_EQ(answer<std::string>(fp, &IFPCheckService::getFpType), " goodix ");
    EXPECT_EQ(answer<Lines>(fp, &IFPCheckService::getFPSensorStartPkgInfo), Lines{});
    EXPECT_EQ(answer<Lines>(fp, &IFPCheckService::getFPFodCalStartPkgInfo), Lines{});
    EXPECT_THAT(logged(kTag), ElementsAre("getFpType type =  goodix  ",
                                          "getFPSensorStartPkgInfo packages = null ",
                                          "getFPFodCalStartPkgInfo packages = null "));
}

}  // namespace
}  // namespace tevhost
