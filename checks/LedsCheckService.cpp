#define LOG_TAG "LedsCheckService-hal"

#include "LedsCheckService.h"

#include <fcntl.h>
#include <log/log.h>

#include <string>
#include <vector>

#include "NodeIo.h"
#include "Vocabulary.h"

namespace vendor::quoril::hardware::tevvendorservice::implementation {

using ::android::hardware::Void;

namespace {

// The node that switches each LED type, by type number. The button backlight (type 7) is three
// LEDs; its first node is here, the other two below.
constexpr const char* kBrightnessNodes[] = {
        "/sys/class/leds/white/brightness",             // 0 white
        "/sys/class/leds/red/brightness",               // 1 red
        "/sys/class/leds/green/brightness",             // 2 green
        "/sys/class/leds/blue/brightness",              // 3 blue
        "/sys/class/leds/red-right/brightness",         // 4 second red
        "/sys/class/leds/green-right/brightness",       // 5 second green
        "/sys/class/leds/blue-right/brightness",        // 6 second blue
        "/sys/class/leds/button-backlight/brightness",  // 7 button backlight
};
constexpr const char* kButtonBacklight1Node = "/sys/class/leds/button-backlight1/brightness";
constexpr const char* kButtonBacklight2Node = "/sys/class/leds/button-backlight2/brightness";
constexpr uint32_t kButtonBacklight = 7;

// Only the four single LEDs (types 0 to 3) can be read back.
constexpr const char* kMaxBrightnessNodes[] = {
        "/sys/class/leds/white/max_brightness",
        "/sys/class/leds/red/max_brightness",
        "/sys/class/leds/green/max_brightness",
        "/sys/class/leds/blue/max_brightness",
};
constexpr uint32_t kReadableLeds = 4;

// A brightness is a few digits; anything past this many bytes is not read.
constexpr size_t kBrightnessReadSize = 10;

constexpr const char* kLevelOn = "255";
constexpr const char* kLevelOff = "0";

constexpr const char* kControlFailed = "ControlLed failed to open led node for type = %d";
// The lines of a brightness read, with the type and isMax (0 or 1) as arguments.
constexpr NodeLogLine kBrightnessOpenFailed = {
        "GetLedBrightness failed to open led node for type = %d"};
constexpr NodeLogLine kBrightnessReadFailed = {
        "GetLedBrightness failed to read led node for type = %d  isMax = %d", ANDROID_LOG_INFO};

// The LEDs each product has; the first product found in the name decides.
const struct {
    const char* product;
    std::vector<int32_t> leds;
} kLedSets[] = {
        {"qab", {1, 2, 3, 4, 5, 6, 7}},
        {"sirnak", {0}},
};

NodeDescriptor openLedNode(const char* path) {
    return NodeDescriptor(path, O_RDWR | O_NONBLOCK);
}

int writeLevel(const NodeDescriptor& node, const std::string& level) {
    return node.write(level.data(), level.size());
}

}  // namespace

Return<void> LedsCheckService::controlLed(int32_t type, bool isOn) {
    // Type numbers are unsigned to the driver: a negative type is as out of range as 8.
    const uint32_t led = static_cast<uint32_t>(type);
    if (led > kButtonBacklight) {
        ALOGE(kControlFailed, type);
        return Void();
    }
    // All of the button backlight's nodes are opened before the first one is looked at.
    NodeDescriptor node = openLedNode(kBrightnessNodes[led]);
    NodeDescriptor node1 =
            led == kButtonBacklight ? openLedNode(kButtonBacklight1Node) : NodeDescriptor();
    NodeDescriptor node2 =
            led == kButtonBacklight ? openLedNode(kButtonBacklight2Node) : NodeDescriptor();
    if (!node.isOpen()) {
        ALOGE(kControlFailed, type);
        return Void();
    }

    const std::string level = isOn ? kLevelOn : kLevelOff;
    int ret = writeLevel(node, level);
    int ret1 = 0;
    int ret2 = 0;
    // The other two backlight LEDs follow the first only when both of their nodes are open. A
    // descriptor of 0 is taken as not open here, on purpose.
    if (led == kButtonBacklight && node1.get() >= 1 && node2.get() >= 1) {
        ret1 = writeLevel(node1, level);
        ret2 = writeLevel(node2, level);
    }
    ALOGI("ControlLed for type = %d  isOn = %d  ret = %d  ret1 = %d  ret2 = %d", type, isOn ? 1 : 0,
          ret, ret1, ret2);
    return Void();
}

Return<int32_t> LedsCheckService::getLedBrightness(int32_t type, bool isMax) {
    const uint32_t led = static_cast<uint32_t>(type);
    if (led >= kReadableLeds) {
        ALOGE(kBrightnessOpenFailed.format, type);
        return -1;
    }
    const LoggedNode node = {isMax ? kMaxBrightnessNodes[led] : kBrightnessNodes[led],
                             kBrightnessReadSize, kBrightnessOpenFailed, kBrightnessReadFailed};
    std::string text;
    if (!readLoggedNode(LOG_TAG, node, &text, type, isMax ? 1 : 0)) {
        return -1;
    }
    int32_t value = decimalValue(text);
    ALOGI("GetLedBrightness for type = %d  isMax = %d  value = %d", type, isMax ? 1 : 0, value);
    return value;
}

Return<void> LedsCheckService::getLedsList(getLedsList_cb _hidl_cb) {
    std::string product = productName();
    std::vector<int32_t> leds;
    bool found = false;
    for (const auto& set : kLedSets) {
        if (contains(product, set.product)) {
            leds = set.leds;
            found = true;
            break;
        }
    }
    if (!found) {
        ALOGI("Product %s have no led", product.c_str());
    }
    _hidl_cb(leds);
    return Void();
}

Return<void> LedsCheckService::extFun(const hidl_string& /* name */,
                                      const hidl_vec<hidl_string>& /* args */,
                                      extFun_cb /* _hidl_cb */) {
    return Void();
}

}  // namespace vendor::quoril::hardware::tevvendorservice::implementation
