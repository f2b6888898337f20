#define LOG_TAG "CameraCheckService-hal"

#include "CameraCheckService.h"

#include <log/log.h>

#include <algorithm>
#include <cstdlib>
#include <iterator>

#include "Vocabulary.h"

namespace vendor::quoril::hardware::tevvendorservice::implementation {

using ::android::hardware::Void;

namespace {

// Camera types of the test application, in the column order of the table below.
constexpr int32_t kCameraTypes[] = {1, 2, 3, 8, 11, 12, 13, 14, 15};
// The product has no camera of this type.
constexpr int32_t kNone = -1;

struct CameraIdRow {
    const char* product;
    int32_t ids[std::size(kCameraTypes)];
};

// The framework's camera id for each camera type, per product. The fallback search walks these
// rows from the last one up, so their order matters. "helvr" and "zob" share one layout.
// clang-format off
constexpr CameraIdRow kCameraIdTable[] = {
    // type:        1      2      3      8     11     12     13     14     15
    {"sirnak", {    0,     1,    61, kNone,    21,    22, kNone, kNone, kNone}},
    {"pif",    {    0,     1,    61,    63,    21, kNone,    20,    23, kNone}},
    {"yut",    {    0,     1,    61, kNone,    21,    20,    23, kNone, kNone}},
    {"qab",    {    0,     1,    61,    63,    21,    22,    20, kNone,    25}},
    {"helvr",  {    0,     1,    61, kNone,    21,    24, kNone, kNone,    25}},
    {"zob",    {    0,     1,    61, kNone,    21,    24, kNone, kNone,    25}},
};
// clang-format on

// Products whose blue and yellow torches each have their own switch node.
const ProductList kTorchSwitchProducts = {
        "halbrin", "morquet", "trovask", "kossimer", "dolv",  "fenrow",  "wemb",
        "jostari", "yut",     "tuvreck", "qab",      "gavrk", "ostrelg", "pif",
};

// Products with a camera that pops out for use and is pushed back afterwards.
const ProductList kPopCameraProducts = {"trovask", "morquet"};

// Products whose dual rear camera can zoom and focus.
const ProductList zoomFocusProducts = {
        "pif",    "kelsivabo", "fand",      "sorbel",  "nubk",     "morquetin",
        "fenrow", "morquet",   "tessov",    "halbrin", "pallun",   "nemquis",
        "lurnap", "trovask",   "trovaskin", "dolv",    "quenrath",
};

// Products whose dual rear camera only takes pictures.
const ProductList justTakePicProducts = {
        "sorbel",  "nubk",   "halbrin",     "trovask",     "morquet", "dolv",
        "fenrow",  "zemtr",  "jostari",     "tuvreck",     "yut",     "zob",
        "qab",     "gavrk",  "ostrelg",     "wemb",        "wembin",  "pif",
        "pibrand", "sirnak", "drenn_sprig", "palvo_sprig", "helvr",
};

// Products whose dual rear camera is calibrated on the production line.
const ProductList calibrationProducts = {
        "fand",  "sorbel",  "trovask", "morquet", "nubk",    "tuvreck", "jostari", "zob",   "qab",
        "gavrk", "ostrelg", "wemb",    "sirnak",  "pibrand", "wilmet",  "kibbt",   "helvr",
};

// Camera module descriptions: the driver stack's current properties, and the older ones that
// are read when the current ones are empty.
constexpr const char* kModuleInfoProp = "persist.vendor.camera.qo.module.info";
constexpr const char* kModuleInfoExtProp = "persist.vendor.camera.qo.module.infoext";
constexpr const char* kModuleInfoExt2Prop = "persist.vendor.camera.qo.module.infoext2";
constexpr const char* kOldModuleInfoProp = "persist.camera.module.info";
constexpr const char* kOldModuleInfoExtProp = "persist.camera.module.infoext";
constexpr const char* kOldModuleInfoExt2Prop = "persist.camera.module.infoext2";
constexpr const char* kHwVersionProp = "ro.boot.hwversion";
constexpr const char* kDualCalStateProp = "persist.vendor.camera.qo.dualcal.state";
constexpr const char* kOldDualCalStateProp = "persist.camera.dualcal.state";

// Hardware version 9 uses its back camera module as the back sub-camera too.
constexpr char kSharedBackModuleHardware = '9';
// The back camera entry leads the description: "back_camera=<module>".
constexpr size_t kBackCameraPrefixLength = sizeof("back_camera=") - 1;

const char* orNull(const std::string& value) {
    return value.empty() ? "NULL" : value.c_str();
}

// The description parts in order; a third part counts only after a non-empty second one.
std::string joinParts(const std::string& info, const std::string& infoext,
                      const std::string& infoext2) {
    if (infoext.empty()) {
        return info;
    }
    return infoext2.empty() ? info + infoext : info + infoext + infoext2;
}

// Without a hardware version, or without a back camera entry long enough to carry a module name,
// the old description cannot be laid out; the service stops here rather than guess.
[[noreturn]] void unusableModuleDescription() {
    abort();
}

}  // namespace

CameraCheckService::CameraCheckService() {
    torchSwitchProducts = kTorchSwitchProducts;
    product_name = productName();
    for (const CameraIdRow& row : kCameraIdTable) {
        std::map<int32_t, int32_t> ids;
        for (size_t i = 0; i < std::size(kCameraTypes); ++i) {
            if (row.ids[i] != kNone) {
                ids[kCameraTypes[i]] = row.ids[i];
            }
        }
        bool known = std::any_of(cameraIdMap.begin(), cameraIdMap.end(),
                                 [&](const auto& entry) { return entry.first == row.product; });
        if (!known) {
            cameraIdMap.emplace_back(row.product, std::move(ids));
        }
    }
}

Return<int32_t> CameraCheckService::getCameraId(int32_t type) {
    const std::map<int32_t, int32_t>* ids = nullptr;
    auto exact = std::find_if(cameraIdMap.begin(), cameraIdMap.end(),
                              [&](const auto& entry) { return entry.first == product_name; });
    if (exact != cameraIdMap.end()) {
        ids = &exact->second;
    } else {
        // A regional or edition variant carries its base product's key in its name.
        for (auto row = cameraIdMap.rbegin(); row != cameraIdMap.rend(); ++row) {
            ALOGI("this cameraIdMap name  %s \n", row->first.c_str());
            if (contains(product_name, row->first.c_str())) {
                ids = &row->second;
                ALOGI("find cameraIdMap for product %s \n", product_name.c_str());
                break;
            }
        }
    }

    int32_t cameraId = -1;
    if (ids == nullptr || ids->empty()) {
        ALOGI("Can't find cameraIdMap for product %s \n", product_name.c_str());
    } else {
        auto id = ids->find(type);
        if (id != ids->end()) {
            cameraId = id->second;
        } else {
            ALOGI("Can't find cameraID for type = %d  at produce %s \n", type, product_name.c_str());
        }
    }
    ALOGI("GetCameraId = %d  for type = %d", cameraId, type);
    return cameraId;
}

Return<bool> CameraCheckService::isSupportPopCamera() {
    if (productContainsOneOf(product_name, kPopCameraProducts)) {
        ALOGI("product_name = %s,is Support PopCamera", product_name.c_str());
        return true;
    }
    ALOGI("product_name=%s,is not Support PopCamera", product_name.c_str());
    return false;
}

Return<bool> CameraCheckService::needAutopushCamera() {
    if (productContainsOneOf(product_name, kPopCameraProducts)) {
        ALOGI("product_name = %s,need Autopush Camera", product_name.c_str());
        return true;
    }
    ALOGI("product_name=%s,not need Autopush Camera", product_name.c_str());
    return false;
}

Return<bool> CameraCheckService::popCamera() {
    return false;
}

Return<bool> CameraCheckService::pushCamera() {
    return false;
}

Return<bool> CameraCheckService::isDualCameraCanZoomFocus(int32_t /* type */) {
    if (productContainsOneOf(product_name, zoomFocusProducts)) {
        ALOGI("product_name = %s can zoom focus", product_name.c_str());
        return true;
    }
    ALOGI("product_name = %s can't zoom focus", product_name.c_str());
    return false;
}

Return<bool> CameraCheckService::isDualCameraJustTakePic(int32_t /* type */) {
    if (productContainsOneOf(product_name, justTakePicProducts)) {
        // A normal answer, logged at ERROR all the same.
        ALOGE("%s isDualCameraJustTakePic.", product_name.c_str());
        return true;
    }
    ALOGI("product_name = %s is not isDualCameraJustTakePic", product_name.c_str());
    return false;
}

Return<bool> CameraCheckService::getPreviewOrCapture(int32_t /* type */) {
    return false;
}

Return<void> CameraCheckService::getCameraModuleInfo(getCameraModuleInfo_cb _hidl_cb) {
    std::string info = prop(kModuleInfoProp);
    std::string infoext = prop(kModuleInfoExtProp);
    std::string infoext2 = prop(kModuleInfoExt2Prop);
    std::string hwversion = prop(kHwVersionProp);
    ALOGI("CameraInfo <persist.camera.module.info>--->%s", orNull(info));
    ALOGI("CameraInfo <persist.camera.module.infoext>--->%s", orNull(infoext));
    ALOGI("CameraInfo <persist.camera.module.infoext2>--->%s", orNull(infoext2));

    std::string result;
    if (!info.empty()) {
        ALOGI("*** use new camera system properity ***");
        result = replaceCamera(joinParts(info, infoext, infoext2), ";", "\n");
    } else {
        ALOGI("*** use old camera system properity ***");
        info = prop(kOldModuleInfoProp);
        infoext = prop(kOldModuleInfoExtProp);
        infoext2 = prop(kOldModuleInfoExt2Prop);
        if (hwversion.empty()) {
            unusableModuleDescription();
        }
        if (hwversion[0] != kSharedBackModuleHardware) {
            result = replaceCamera(joinParts(info, infoext, infoext2), ";", "\n");
        } else {
            // Every entry separator also repeats the back camera's module as the sub-camera's.
            size_t separator = info.find(';');
            std::string backEntry = separator == std::string::npos ? "" : info.substr(0, separator);
            if (backEntry.size() < kBackCameraPrefixLength) {
                unusableModuleDescription();
            }
            std::string backModule = backEntry.substr(kBackCameraPrefixLength);
            result = replaceCamera(info, ";", "\nback_subcamera=" + backModule + "\n");
        }
    }
    ALOGI("getCameraModuleInfo  %s ", result.c_str());
    _hidl_cb(result);
    return Void();
}

Return<bool> CameraCheckService::needCameraCalibration() {
    return productContainsOneOf(product_name, calibrationProducts);
}

Return<int32_t> CameraCheckService::getCameraCalFlag() {
    // 1: calibrated ("0"); 2: state "3" in the current property, or no old property at all;
    // -1: anything else. The old property never knew the state "3".
    std::string state = prop(kDualCalStateProp);
    ALOGI("Dual camera calibration status: %s", state.c_str());
    int32_t flag;
    if (state.size() == 1) {
        flag = state == "0" ? 1 : state == "3" ? 2 : -1;
    } else if (!state.empty()) {
        flag = -1;
    } else {
        state = prop(kOldDualCalStateProp);
        flag = state.empty() ? 2 : state == "0" ? 1 : -1;
    }
    ALOGI("getCameraCalFlag result is %d.", flag);
    return flag;
}

Return<void> CameraCheckService::extFun(const hidl_string& /* name */,
                                        const hidl_vec<hidl_string>& /* args */,
                                        extFun_cb /* _hidl_cb */) {
    return Void();
}

std::string CameraCheckService::replaceCamera(std::string text, std::string from, std::string to) {
    for (size_t pos = text.find(from); pos != std::string::npos; pos = text.find(from)) {
        text.replace(pos, from.size(), to);
    }
    return text;
}

}  // namespace vendor::quoril::hardware::tevvendorservice::implementation
