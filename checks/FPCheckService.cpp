#define LOG_TAG "FPCheckService-TevVendor"

#include "FPCheckService.h"

#include <log/log.h>

#include <cstdlib>
#include <vector>

#include "TevVendorUtils.h"
#include "Vocabulary.h"

namespace vendor::quoril::hardware::tevvendorservice::implementation {

using ::android::hardware::Void;

namespace {

constexpr const char* kFpVendorProp = "persist.vendor.sys.fp.vendor";
constexpr const char* kFodLocationProp = "persist.vendor.sys.fp.fod.location.X_Y";
constexpr const char* kFodSizeProp = "persist.vendor.sys.fp.fod.size.width_height";
constexpr const char* kDispParamPath = "/sys/class/drm/card0-DSI-1/disp_param";
constexpr const char* kSuccess = "success";

// Products whose sensor can be calibrated.
const ProductList kCalibrationProducts = {
        "halbrin", "fand", "sorbel", "trovask", "morquet", "nubk",  "fenrow",  "dolv",
        "zemtr",   "yut",  "zob",    "qab",     "wemb",    "gavrk", "ostrelg", "pif"};
// Products with a rectangular sensor: none at present.
const ProductList kRectSensorProducts = {};
// Products whose light spot is white rather than green.
const ProductList kWhiteSpotProducts = {"zemtr", "dolv", "fenrow", "yut",     "zob",
                                        "qab",   "wemb", "gavrk",  "ostrelg", "pif"};

// The display driver's command words for the light-spot brightness modes, sent exactly as the
// driver spells them.
struct NitCommand {
    const char* label;  // logged when the mode is set; none for the default mode
    const char* first;
    const char* second;
};
constexpr NitCommand kNitCommands[] = {
        {nullptr, "0x0D01000", "0x2000000"},
        {"300尼特绿斑亮度测试", "0x1000000", "0xD00690"},
        {"400尼特绿斑亮度测试", "0x1000000", "0xD007FF"},
};
// The 630-nit mode takes one word, which depends on the product.
constexpr uint32_t kNit630 = static_cast<uint32_t>(NitMode::NIT_630);
constexpr const char* kNit630Label = "630尼特绿斑亮度测试";
constexpr const char* kNit630TascaronWord = "0xD003FF";
constexpr const char* kNit630Word = "0x20000";
constexpr const char* kNit630TascaronProduct = "tascaron";

constexpr int32_t kCyanSpot = static_cast<int32_t>(0xFF00FFFFu);
constexpr int32_t kWhiteSpot = static_cast<int32_t>(0xFFFFFFFFu);
constexpr int32_t kGreenSpot = static_cast<int32_t>(0xFF00FF00u);

// Products whose light spot is cyan, whatever the white-spot list says.
const ProductList kCyanSpotProducts = {"kalt", "ombrelle"};

// Products with a pressure sensor beside the fingerprint sensor, and where it sits.
const ProductList kPressureSensorProducts = {"ombrelle", "kalt"};
constexpr int32_t kPressureSensorMarginLeft = 157;
constexpr int32_t kPressureSensorMarginTop = 410;

std::string writeDispParam(const char* word) {
    std::string path = kDispParamPath;
    return TevVendorUtils::getInstance().writeFilePathValue(path, word);
}

}  // namespace

FPCheckService::FPCheckService() {
    mProductName = productName();
    ALOGI("FPCheckService mProductName = %s ", mProductName.c_str());
}

Return<void> FPCheckService::getFpType(getFpType_cb _hidl_cb) {
    std::string type = prop(kFpVendorProp);
    _hidl_cb(type);
    ALOGI("getFpType type = %s ", type.c_str());
    return Void();
}

Return<bool> FPCheckService::isSupportCalibration() {
    bool result = productContainsOneOf(mProductName, kCalibrationProducts);
    ALOGI("isSupportCalibration result = %d ", result);
    return result;
}

Return<bool> FPCheckService::setScreenEffectNew(NitMode mode) {
    bool result = false;
    uint32_t index = static_cast<uint32_t>(mode);
    if (index < kNit630) {
        const NitCommand& command = kNitCommands[index];
        if (command.label != nullptr) {
            ALOGI("%s", command.label);
        }
        // Both words go out even when the first could not be written.
        std::string first = writeDispParam(command.first);
        std::string second = writeDispParam(command.second);
        result = first == kSuccess && second == kSuccess;
    } else if (index == kNit630) {
        ALOGI("%s", kNit630Label);
        const char* word =
                contains(mProductName, kNit630TascaronProduct) ? kNit630TascaronWord : kNit630Word;
        result = writeDispParam(word) == kSuccess;
    }
    ALOGI("setScreenEffectNew result = %d ", result);
    return result;
}

Return<int32_t> FPCheckService::getFaculaColor() {
    // The white list is always tested, the cyan products win over it.
    bool white = productContainsOneOf(mProductName, kWhiteSpotProducts);
    int32_t color;
    if (productContainsOneOf(mProductName, kCyanSpotProducts)) {
        color = kCyanSpot;
    } else {
        color = white ? kWhiteSpot : kGreenSpot;
    }
    ALOGI("getFaculaColor result = %x ", static_cast<uint32_t>(color));
    return color;
}

Return<bool> FPCheckService::isRectFP() {
    bool result = productContainsOneOf(mProductName, kRectSensorProducts);
    ALOGI("isRectFP result = %d ", result);
    return result;
}

Return<void> FPCheckService::getFaculaParas(getFaculaParas_cb _hidl_cb) {
    TevVendorUtils& utils = TevVendorUtils::getInstance();
    std::vector<int32_t> paras;
    std::string location = prop(kFodLocationProp);
    std::string size = prop(kFodSizeProp);
    if (location.empty() || size.empty()) {
        ALOGE("**can not get facula paras**");
    } else {
        ALOGI("**can get facula paras prop**");
        std::vector<std::string> xy = utils.splitStr(location, ",");
        std::vector<std::string> wh = utils.splitStr(size, ",");
        // A text without its second number counts as one with an empty second number.
        xy.resize(2);
        wh.resize(2);
        if (!xy[0].empty() && !xy[1].empty() && !wh[0].empty() && !wh[1].empty()) {
            ALOGI("**can get facula paras x y w h**");
            paras = {atoi(xy[0].c_str()), atoi(xy[1].c_str()), atoi(wh[0].c_str()),
                     atoi(wh[1].c_str())};
        }
    }
    _hidl_cb(paras);
    return Void();
}

Return<int32_t> FPCheckService::getFodPressureSensorMarginLeft() {
    if (productContainsOneOf(mProductName, kPressureSensorProducts)) {
        ALOGI("**FodPressureSensorMarginLeft data of ombrelle&kalt is 157**");
        return kPressureSensorMarginLeft;
    }
    ALOGE("**No matching data found**");
    return 0;
}

Return<int32_t> FPCheckService::getFodPressureSensorMarginTop() {
    if (productContainsOneOf(mProductName, kPressureSensorProducts)) {
        ALOGI("**FodPressureSensorMarginTop data of ombrelle&kalt is 410**");
        return kPressureSensorMarginTop;
    }
    ALOGE("**No matching data found**");
    return 0;
}

Return<void> FPCheckService::getFPSensorStartPkgInfo(getFPSensorStartPkgInfo_cb _hidl_cb) {
    // No product has packages to start.
    std::vector<std::string> packages;
    _hidl_cb(hidl_vec<hidl_string>(packages.begin(), packages.end()));
    ALOGI("getFPSensorStartPkgInfo packages = %s ", packages.empty() ? "null" : packages[0].c_str());
    return Void();
}

Return<void> FPCheckService::getFPFodCalStartPkgInfo(getFPFodCalStartPkgInfo_cb _hidl_cb) {
    std::vector<std::string> packages;
    _hidl_cb(hidl_vec<hidl_string>(packages.begin(), packages.end()));
    ALOGI("getFPFodCalStartPkgInfo packages = %s ", packages.empty() ? "null" : packages[0].c_str());
    return Void();
}

Return<void> FPCheckService::extFun(const hidl_string& /* name */,
                                    const hidl_vec<hidl_string>& /* args */,
                                    extFun_cb /* _hidl_cb */) {
    return Void();
}

}  // namespace vendor::quoril::hardware::tevvendorservice::implementation
