// Torch control of CameraCheckService: the flash LEDs driven on their LED class nodes with plain
// descriptor I/O, and the torches each product has.
#define LOG_TAG "CameraCheckService-hal"

#include "CameraCheckService.h"

#include <fcntl.h>
#include <log/log.h>

#include <algorithm>
#include <cstring>

#include "NodeIo.h"
#include "Vocabulary.h"

namespace vendor::quoril::hardware::tevvendorservice::implementation {

using ::android::hardware::Void;

namespace {

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

// A torch, switch or soft-light node, opened read-write for the length of one call.
NodeDescriptor openTorchNode(const char* path) {
    return NodeDescriptor(path, O_RDWR | O_NONBLOCK);
}

// Switch and soft-light nodes take one digit, without a NUL.
int writeSwitch(const NodeDescriptor& node, bool on) {
    return node.write(on ? "1" : "0", 1);
}

// The blue and yellow torches and both switches: all four are opened for every change.
struct FlashNodes {
    NodeDescriptor torch0 = openTorchNode(kTorch0Node);
    NodeDescriptor torch1 = openTorchNode(kTorch1Node);
    NodeDescriptor switch0 = openTorchNode(kSwitch0Node);
    NodeDescriptor switch1 = openTorchNode(kSwitch1Node);

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
    NodeDescriptor torch2 = openTorchNode(kTorch2Node);
    if (!torch2.isOpen()) {
        ALOGE("Failed to open flash_led_torch_2 node.");
        opened = false;
    }
    NodeDescriptor switch1 = openTorchNode(kSwitch1Node);
    if (!switch1.isOpen()) {
        ALOGE("Failed to open flash_led_switch_1 node.");
        opened = false;
    }
    if (!opened) {
        ALOGE("Failed to open some nodes, so return Void");
        return;
    }
    int retTorch2 = on ? torch2.write(kSoftFlashOnLevel, sizeof(kSoftFlashOnLevel)) : 0;
    int retSwitch1 = writeSwitch(switch1, on);
    ALOGI("Write TORCH_SOFT_FLASH retTorch2 = %d  retTorch_switch1 = %d", retTorch2, retSwitch1);
}

}  // namespace

Return<void> CameraCheckService::controlTorch(int32_t type, bool on) {
    switch (type) {
        case kTorchSoft1: {
            NodeDescriptor soft = openTorchNode(kSoftTorch0Node);
            if (!soft.isOpen()) {
                ALOGE("Failed to open soft_light_torch_1 node.");
                return Void();
            }
            int retSoft1 = writeSwitch(soft, on);
            ALOGI("Write TORCH_SOFT_1 retSoft1 = %d", retSoft1);
            return Void();
        }
        case kTorchSoft2: {
            NodeDescriptor soft = openTorchNode(kSoftTorch1Node);
            if (!soft.isOpen()) {
                ALOGE("Failed to open soft_light_torch_2 node.");
                return Void();
            }
            int retSoft2 = writeSwitch(soft, on);
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
    if (productContainsOneOf(product_name, torchSwitchProducts)) {
        // Each torch has its own switch; the other torch's switch is turned off.
        retSwitch0 = writeSwitch(nodes.switch0, on && torch == kTorchBlue);
        retSwitch1 = writeSwitch(nodes.switch1, on && torch == kTorchYellow);
    } else if (yellowOnly) {
        retSwitch1 = writeSwitch(nodes.switch1, on);
    } else {
        retSwitch0 = writeSwitch(nodes.switch0, on);
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
    if (productContainsOneOf(product_name, torchSwitchProducts)) {
        retSwitch0 = writeSwitch(nodes.switch0, on);
        retSwitch1 = writeSwitch(nodes.switch1, on);
    } else if (yellowOnly) {
        retSwitch1 = writeSwitch(nodes.switch1, on);
    } else {
        retSwitch0 = writeSwitch(nodes.switch0, on);
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

}  // namespace vendor::quoril::hardware::tevvendorservice::implementation
