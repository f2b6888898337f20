#define LOG_TAG "DisplayCheckService"

#include "DisplayCheckService.h"

#include <log/log.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <fstream>
#include <string>

#include "Vocabulary.h"

namespace vendor::quoril::hardware::tevvendorservice::implementation {

using ::android::hardware::Void;

// Every message of this area goes out at ERROR, the successful ones included.
namespace {

constexpr const char* kProductDeviceProp = "ro.product.device";
constexpr const char* kFbPanelInfoPath = "/sys/class/graphics/fb0/msm_fb_panel_info";
constexpr const char* kDrmPanelInfoPath = "/sys/class/drm/card0-DSI-1/panel_info";
// Products whose panel is described by the frame-buffer node.
const ProductList kFbPanelProducts = {"mardusk", "marskol"};
constexpr const char* kPanelNameKey = "panel_name";
constexpr size_t kPanelNameKeyLength = 10;
// The key and its one separator character ('=', ':', ...).
constexpr size_t kPanelNameValueStart = kPanelNameKeyLength + 1;

// Relative on purpose: the service runs with "/" as its working directory.
constexpr const char* kOledBacklightClonePath =
        "sys/class/backlight/panel0-backlight/brightness_clone";
constexpr const char* kLcdBacklightPath = "sys/class/leds/lcd-backlight/brightness";
constexpr const char* kOledBacklightPath = "sys/class/backlight/panel0-backlight/brightness";
// Devices whose backlight node may report more than the panel takes.
constexpr const char* kCappedBacklightDevice = "pif";
constexpr int kBacklightCeiling = 4095;

constexpr const char* kSysPanelColorProp = "sys.panel.color";
constexpr const char* kVendorPanelColorProp = "vendor.panel.color";

std::string asciiLower(std::string text) {
    for (char& c : text) {
        if (c >= 'A' && c <= 'Z') {
            c = static_cast<char>(c - 'A' + 'a');
        }
    }
    return text;
}

// The level in the backlight text as the standard decimal conversion (std::stoi) reads it:
// leading white space, a sign, digits up to the first other byte. False when there is no number,
// or one beyond int.
bool backlightLevel(const std::string& content, int* level) {
    const char* begin = content.c_str();
    char* end = nullptr;
    errno = 0;
    long value = strtol(begin, &end, 10);
    if (end == begin || errno == ERANGE || value < INT_MIN || value > INT_MAX) {
        return false;
    }
    *level = static_cast<int>(value);
    return true;
}

// Without a level in the backlight text (no number, or one beyond int) there is nothing to
// report, and the service does not make one up: the standard conversion's own error (invalid
// argument, out of range) escapes the call, and the service host, which catches nothing, ends.
[[noreturn]] void unusableBacklightText(const std::string& content) {
    (void)std::stoi(content);
    abort();  // not reached: the conversion refuses |content|
}

}  // namespace

Return<void> DisplayCheckService::getLcmInfo(getLcmInfo_cb _hidl_cb) {
    std::string result;
    const char* path = productContainsOneOf(productName(), kFbPanelProducts) ? kFbPanelInfoPath
                                                                             : kDrmPanelInfoPath;
    ALOGE("open %s", path);
    std::ifstream node(path, std::ios::in);
    std::string line;
    // The panel name is searched for up to the first empty line only.
    while (std::getline(node, line) && !line.empty()) {
        if (beginsWith(line, kPanelNameKey)) {
            ALOGE("The result of getLcmInfo is %s", line.c_str());
            // A bare "panel_name" has no value after it.
            if (line.size() >= kPanelNameValueStart) {
                result = line.substr(kPanelNameValueStart);
            }
            break;
        }
    }
    node.close();
    _hidl_cb(result);
    return Void();
}

Return<int32_t> DisplayCheckService::getBacklightValue() {
    std::ifstream node(kOledBacklightClonePath, std::ios::in);
    ALOGE("Open OLED_BACKLIGHT_CLONE.");
    if (!node.is_open()) {
        ALOGE("Open LCD_BACKLIGHT.");
        node.open(kLcdBacklightPath, std::ios::in);
    }
    if (!node.is_open()) {
        ALOGE("Open OLED_BACKLIGHT.");
        node.open(kOledBacklightPath, std::ios::in);
    }
    if (!node.is_open()) {
        ALOGE("Failed to open BACK_LIGHT");
        return -1;
    }

    std::string content;
    std::string line;
    while (std::getline(node, line)) {
        if (line.empty()) {
            break;
        }
        content += line;
        content += '\n';
    }

    std::string device = asciiLower(prop(kProductDeviceProp));
    // The conversion comes before any test of the content: empty content holds no number either.
    int value;
    if (!backlightLevel(content, &value)) {
        unusableBacklightText(content);
    }
    if (contains(device, kCappedBacklightDevice) && value > kBacklightCeiling) {
        value = kBacklightCeiling;
    }
    node.close();
    ALOGE("The result of getBacklightValue is %d.", value);
    return value;
}

Return<void> DisplayCheckService::getTpColor(getTpColor_cb _hidl_cb) {
    std::string color = prop(kSysPanelColorProp);
    if (color.empty()) {
        color = prop(kVendorPanelColorProp);
    }
    ALOGE("The result of getTpColor is %s", color.c_str());
    _hidl_cb(color);
    return Void();
}

Return<void> DisplayCheckService::extFun(const hidl_string& /* name */,
                                         const hidl_vec<hidl_string>& /* args */,
                                         extFun_cb /* _hidl_cb */) {
    return Void();
}

}  // namespace vendor::quoril::hardware::tevvendorservice::implementation
