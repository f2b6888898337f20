#define LOG_TAG "CameraCheckService-hal"

#include "CameraCheckService.h"

#include <fcntl.h>
#include <log/log.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iterator>

#include "TevVendorUtils.h"

namespace vendor::quoril::hardware::tevvendorservice::implementation {

using ::android::hardware::Void;

namespace {

constexpr const char* kProductNameProp = "ro.product.name";

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
constexpr const char* kTorchSwitchProducts[] = {
        "halbrin", "morquet", "trovask", "kossimer", "dolv",  "fenrow",  "wemb",
        "jostari", "yut",     "tuvreck", "qab",      "gavrk", "ostrelg", "pif",
};

// Products with a camera that pops out for use and is pushed back afterwards.
const std::vector<std::string> kPopCameraProducts = {"trovask", "morquet"};

// Products whose dual rear camera can zoom and focus.
const std::vector<std::string> kZoomFocusProducts = {
        "pif",    "kelsivabo", "fand",      "sorbel",  "nubk",     "morquetin",
        "fenrow", "morquet",   "tessov",    "halbrin", "pallun",   "nemquis",
        "lurnap", "trovask",   "trovaskin", "dolv",    "quenrath",
};

// Products whose dual rear camera only takes pictures.
const std::vector<std::string> kJustTakePicProducts = {
        "sorbel",  "nubk",   "halbrin",     "trovask",     "morquet", "dolv",
        "fenrow",  "zemtr",  "jostari",     "tuvreck",     "yut",     "zob",
        "qab",     "gavrk",  "ostrelg",     "wemb",        "wembin",  "pif",
        "pibrand", "sirnak", "drenn_sprig", "palvo_sprig", "helvr",
};

// Products whose dual rear camera is calibrated on the production line.
const std::vector<std::string> kCalibrationProducts = {
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

// Torch types of the test application.
constexpr int32_t kTorchBlue = 1;
constexpr int32_t kTorchYellow = 2;
constexpr int32_t kTorchSoftFlash = 3;
constexpr int32_t kTorchSoft1 = 4;
constexpr int32_t kTorchSoft2 = 5;

constexpr const char* kTorch0Node = "/sys/class/leds/led:torch_0/brightness";
constexpr const char* kTorch1Node = "/sys/class/leds/led:torch_1/brightness";
constexpr const char* kTorch2Node = "/sys/class/leds/led:torch_2/brightness";
constexpr const char* kSwitch0Node = "/sys/class/leds/led:switch_0/brightness";
constexpr const char* kSwitch1Node = "/sys/class/leds/led:switch_1/brightness";
constexpr const char* kSoftTorch0Node = "/sys/class/leds/softlight_torch_0/brightness";
constexpr const char* kSoftTorch1Node = "/sys/class/leds/softlight_torch_1/brightness";

// Torch currents go to the flash driver as C strings, their terminating NUL included.
constexpr char kTorchOnLevel[] = "75";
constexpr char kSoftFlashOnLevel[] = "60";
// A brightness level goes to the torch nodes as a NUL-padded field of this many bytes.
constexpr size_t kTorchLevelSize = 8;

// The torches each product has, the first product found in the name decides.
const struct {
    const char* product;
    std::vector<int32_t> torches;
} kTorchLists[] = {
        {"yut", {kTorchBlue, kTorchYellow}},
        {"zob", {kTorchBlue}},
        {"helvr", {kTorchBlue}},
        {"qab", {kTorchBlue, kTorchYellow}},
        {"pif", {kTorchBlue, kTorchYellow}},
        {"sirnak", {kTorchBlue}},
};

// This product's one torch is wired as the yellow torch, on switch 1; a request for the blue torch
// goes to it.
constexpr const char* kYellowOnlyProduct = "sirnak";

std::string prop(const char* key) {
    return TevVendorUtils::getInstance().getPropertyValue(key, "");
}

bool contains(const std::string& productName, const char* key) {
    return productName.find(key) != std::string::npos;
}

bool productIn(const std::string& productName, const std::vector<std::string>& products) {
    return TevVendorUtils::getInstance().checkProductInList(productName, products);
}

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

// An LED class node opened read-write for the length of one call.
class LedNode {
  public:
    explicit LedNode(const char* path) : mFd(open(path, O_RDWR | O_NONBLOCK)) {}
    ~LedNode() {
        if (mFd >= 0) {
            close(mFd);
        }
    }
    LedNode(const LedNode&) = delete;
    LedNode& operator=(const LedNode&) = delete;

    bool isOpen() const { return mFd >= 0; }
    int write(const void* data, size_t size) const {
        return static_cast<int>(::write(mFd, data, size));
    }
    // Switch and soft-light nodes take one digit, without a NUL.
    int writeSwitch(bool on) const { return write(on ? "1" : "0", 1); }

  private:
    const int mFd;
};

// The blue and yellow torches and both switches: all four are opened for every change.
struct FlashNodes {
    LedNode torch0{kTorch0Node};
    LedNode torch1{kTorch1Node};
    LedNode switch0{kSwitch0Node};
    LedNode switch1{kSwitch1Node};

    // Logs each node that did not open; false when any did not.
    bool allOpen() const {
        bool opened = true;
        if (!torch0.isOpen()) {
            ALOGE("Failed to open flash_led_torch_0 node.");
            opened = false;
        }
        if (!torch1.isOpen()) {
            ALOGE("Failed to open flash_led_torch_1 node.");
            opened = false;
        }
        if (!switch0.isOpen()) {
            ALOGE("Failed to open flash_led_switch_0 node.");
            opened = false;
        }
        if (!switch1.isOpen()) {
            ALOGE("Failed to open flash_led_switch_1 node.");
            opened = false;
        }
        if (!opened) {
            ALOGE("Failed to open some nodes, so return Void");
        }
        return opened;
    }
};

// The soft flash: torch 2, switched through switch 1.
void controlSoftFlash(bool on) {
    bool opened = true;
    LedNode torch2(kTorch2Node);
    if (!torch2.isOpen()) {
        ALOGE("Failed to open flash_led_torch_2 node.");
        opened = false;
    }
    LedNode switch1(kSwitch1Node);
    if (!switch1.isOpen()) {
        ALOGE("Failed to open flash_led_switch_1 node.");
        opened = false;
    }
    if (!opened) {
        ALOGE("Failed to open some nodes, so return Void");
        return;
    }
    int retTorch2 = on ? torch2.write(kSoftFlashOnLevel, sizeof(kSoftFlashOnLevel)) : 0;
    int retSwitch1 = switch1.writeSwitch(on);
    ALOGI("Write TORCH_SOFT_FLASH retTorch2 = %d  retTorch_switch1 = %d", retTorch2, retSwitch1);
}

}  // namespace

CameraCheckService::CameraCheckService() {
    torchSwitchProducts.assign(std::begin(kTorchSwitchProducts), std::end(kTorchSwitchProducts));
    product_name = prop(kProductNameProp);
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
    if (productIn(product_name, kPopCameraProducts)) {
        ALOGI("product_name = %s,is Support PopCamera", product_name.c_str());
        return true;
    }
    ALOGI("product_name=%s,is not Support PopCamera", product_name.c_str());
    return false;
}

Return<bool> CameraCheckService::needAutopushCamera() {
    if (productIn(product_name, kPopCameraProducts)) {
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
    if (productIn(product_name, kZoomFocusProducts)) {
        ALOGI("product_name = %s can zoom focus", product_name.c_str());
        return true;
    }
    ALOGI("product_name = %s can't zoom focus", product_name.c_str());
    return false;
}

Return<bool> CameraCheckService::isDualCameraJustTakePic(int32_t /* type */) {
    if (productIn(product_name, kJustTakePicProducts)) {
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
    return productIn(product_name, kCalibrationProducts);
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

Return<void> CameraCheckService::controlTorch(int32_t type, bool on) {
    switch (type) {
        case kTorchSoft1: {
            LedNode soft(kSoftTorch0Node);
            if (!soft.isOpen()) {
                ALOGE("Failed to open soft_light_torch_1 node.");
                return Void();
            }
            int retSoft1 = soft.writeSwitch(on);
            ALOGI("Write TORCH_SOFT_1 retSoft1 = %d", retSoft1);
            return Void();
        }
        case kTorchSoft2: {
            LedNode soft(kSoftTorch1Node);
            if (!soft.isOpen()) {
                ALOGE("Failed to open soft_light_torch_2 node.");
                return Void();
            }
            int retSoft2 = soft.writeSwitch(on);
            ALOGI("Write TORCH_SOFT_2 retSoft2 = %d", retSoft2);
            return Void();
        }
        case kTorchSoftFlash:
            controlSoftFlash(on);
            return Void();
        case kTorchBlue:
        case kTorchYellow:
            break;
        default:
            return Void();
    }

    int32_t torch = type;
    const bool yellowOnly = contains(product_name, kYellowOnlyProduct);
    if (yellowOnly) {
        ALOGI("product is %s change torch from TORCH_BLUE to  TORCH_YELLOW", product_name.c_str());
        torch = kTorchYellow;
    }
    FlashNodes nodes;
    if (!nodes.allOpen()) {
        return Void();
    }

    int retTorch0 = 0;
    int retTorch1 = 0;
    if (!on) {
        ALOGI("Close TORCH_BLUE or TORCH_YELLOW");
    } else if (torch == kTorchBlue) {
        ALOGI("Open TORCH_BLUE");
        retTorch0 = nodes.torch0.write(kTorchOnLevel, sizeof(kTorchOnLevel));
    } else {
        ALOGI("Open TORCH_YELLOW");
        retTorch1 = nodes.torch1.write(kTorchOnLevel, sizeof(kTorchOnLevel));
    }

    int retSwitch0 = 0;
    int retSwitch1 = 0;
    if (productIn(product_name, torchSwitchProducts)) {
        // Each torch has its own switch; the other torch's switch is turned off.
        retSwitch0 = nodes.switch0.writeSwitch(on && torch == kTorchBlue);
        retSwitch1 = nodes.switch1.writeSwitch(on && torch == kTorchYellow);
    } else if (yellowOnly) {
        retSwitch1 = nodes.switch1.writeSwitch(on);
    } else {
        retSwitch0 = nodes.switch0.writeSwitch(on);
    }
    ALOGI("Write TORCH_BLUE or TORCH_YELLOW retTorch0 = %d   retTorch1 = %d   retTorch_switch0 = "
          "%d   retTorch_switch1 =%d",
          retTorch0, retTorch1, retSwitch0, retSwitch1);
    return Void();
}

Return<void> CameraCheckService::updateTorchBrightness(int32_t level) {
    const std::string text = std::to_string(level);
    FlashNodes nodes;
    if (!nodes.allOpen()) {
        return Void();
    }

    const bool on = level != 0;
    const bool yellowOnly = contains(product_name, kYellowOnlyProduct);
    int retTorch0 = 0;
    int retTorch1 = 0;
    if (on) {
        char field[kTorchLevelSize] = {};
        memcpy(field, text.data(), std::min(text.size(), sizeof(field)));
        if (!yellowOnly) {
            retTorch0 = nodes.torch0.write(field, sizeof(field));
        }
        retTorch1 = nodes.torch1.write(field, sizeof(field));
    }

    int retSwitch0 = 0;
    int retSwitch1 = 0;
    if (productIn(product_name, torchSwitchProducts)) {
        retSwitch0 = nodes.switch0.writeSwitch(on);
        retSwitch1 = nodes.switch1.writeSwitch(on);
    } else if (yellowOnly) {
        retSwitch1 = nodes.switch1.writeSwitch(on);
    } else {
        retSwitch0 = nodes.switch0.writeSwitch(on);
    }
    ALOGI("updateTorchBrightness to %d   retTorch0 = %d  retTorch1 = %d  retTorch_switch0 = %d  "
          "retTorch_switch1 = %d",
          level, retTorch0, retTorch1, retSwitch0, retSwitch1);
    return Void();
}

Return<void> CameraCheckService::getTorchList(getTorchList_cb _hidl_cb) {
    std::vector<int32_t> torches;
    for (const auto& row : kTorchLists) {
        if (contains(product_name, row.product)) {
            torches = row.torches;
            break;
        }
    }
    ALOGI("GetTorchList of %s  size = %d", product_name.c_str(), static_cast<int>(torches.size()));
    _hidl_cb(torches);
    return Void();
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
