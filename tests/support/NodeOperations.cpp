#include "NodeOperations.h"

#include <cutils/properties.h>
#include <dirent.h>
#include <malloc.h>
#include <tevhost/Sandbox.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

// Present in a sanitizer build only: the sanitizer allocator's own count of bytes in use.
extern "C" size_t __sanitizer_get_current_allocated_bytes() __attribute__((weak));

namespace fs = std::filesystem;

namespace tevhost {
namespace stress {

const Product kUfsProduct{"qab", false, false};
const Product kEmmcProduct{"marskol", true, true};

namespace {

constexpr const char* kLeds = "/sys/class/leds/";
constexpr const char* kPower = "/sys/class/power_supply/";

std::string led(const std::string& name) {
    return kLeds + name + "/brightness";
}

std::string power(const std::string& node) {
    return kPower + node;
}

// The backlight nodes in the order the service tries them.
const char* const kBacklightNodes[] = {
        "/sys/class/backlight/panel0-backlight/brightness_clone",
        "/sys/class/leds/lcd-backlight/brightness",
        "/sys/class/backlight/panel0-backlight/brightness",
};

std::string property(const char* key) {
    char value[PROPERTY_VALUE_MAX] = {};
    property_get(key, value, "");
    return value;
}

std::string fileBytes(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// The text the backlight query converts: the lines of the first node that opens, each with its
// line feed, up to the first empty line. False when no node opens (the query answers -1 then).
bool backlightText(const std::function<bool(const std::string&)>& denied, std::string* text) {
    for (const char* node : kBacklightNodes) {
        if (denied(node)) continue;
        fs::path host = sandbox::hostPath(node);
        std::error_code ec;
        fs::file_status status = fs::status(host, ec);
        if (ec || !fs::exists(status)) continue;
        text->clear();
        if (fs::is_directory(status)) return true;  // opens, and every read fails
        std::string bytes = fileBytes(host);
        size_t pos = 0;
        while (pos < bytes.size()) {
            size_t end = bytes.find('\n', pos);
            std::string line = bytes.substr(pos, end == std::string::npos ? end : end - pos);
            pos = end == std::string::npos ? bytes.size() : end + 1;
            if (line.empty()) break;
            *text += line + "\n";
        }
        return true;
    }
    return false;
}

std::string backlightTermination(const std::function<bool(const std::string&)>& denied) {
    std::string text;
    if (!backlightText(denied, &text)) return "";
    try {
        (void)std::stoi(text);
    } catch (const std::invalid_argument&) {
        return "the backlight node's text holds no number";
    } catch (const std::out_of_range&) {
        return "the backlight node's number is out of the int range";
    }
    return "";
}

std::string moduleInfoTermination() {
    if (!property("persist.vendor.camera.qo.module.info").empty()) return "";
    std::string hardware = property("ro.boot.hwversion");
    if (hardware.empty()) return "old camera properties without a hardware version";
    if (hardware[0] != '9') return "";
    std::string info = property("persist.camera.module.info");
    size_t separator = info.find(';');
    if (separator == std::string::npos) return "hardware 9 and no ';' in the module description";
    if (separator < sizeof("back_camera=") - 1) return "hardware 9 and a short back camera entry";
    return "";
}

}  // namespace

std::vector<NodeOperation> nodeOperations(const Product& product) {
    using A = Access;
    const std::vector<std::string> flash = {led("led:torch_0"), led("led:torch_1"),
                                            led("led:switch_0"), led("led:switch_1")};
    std::vector<NodeOperation> ops = {
            {"version", "getKernelVersion", {}, A::kStream, true, {"/proc/version"}, {}},
            // Only while "ro.boot.cpuid" is empty.
            {"version", "getCpuId", {}, A::kStream, true, {"/proc/serial_num"}, {}},
            {"camera", "controlTorch", {"1", "true"}, A::kDescriptor, false, flash, {}},
            {"camera",
             "controlTorch",
             {"3", "true"},
             A::kDescriptor,
             false,
             {led("led:torch_2"), led("led:switch_1")},
             {}},
            {"camera",
             "controlTorch",
             {"4", "true"},
             A::kDescriptor,
             false,
             {led("softlight_torch_0")},
             {}},
            {"camera",
             "controlTorch",
             {"5", "true"},
             A::kDescriptor,
             false,
             {led("softlight_torch_1")},
             {}},
            {"camera", "updateTorchBrightness", {"100"}, A::kDescriptor, false, flash, {}},
            {"charger",
             "getCurrentElectrical",
             {},
             A::kDescriptor,
             true,
             {power("battery/current_now")},
             {}},
            {"charger", "getChargerType", {}, A::kDescriptor, true, {power("usb/real_type")}, {}},
            {"charger",
             "controlReverseWirelessCharge",
             {"1"},
             A::kDescriptor,
             false,
             {power("wireless/reverse_chg_mode")},
             {}},
            {"charger",
             "checkReverseWirelessChargeState",
             {},
             A::kDescriptor,
             true,
             {power("wireless/reverse_chg_state")},
             {}},
            {"battery", "getBatteryId", {}, A::kDescriptor, true, {power("bms/resistance_id")}, {}},
            {"battery",
             "checkBatteryAuthentic",
             {},
             A::kDescriptor,
             true,
             {power("bms/authentic")},
             {}},
            {"battery",
             "checkDualConnector",
             {},
             A::kDescriptor,
             true,
             {power("bq2597x-slave/ti_battery_present")},
             {}},
            {"battery", "checkChipOK", {}, A::kDescriptor, true, {power("bms/chip_ok")}, {}},
            {"battery",
             "isSupportDualConnect",
             {},
             A::kDescriptor,
             false,
             {power("bq2597x-slave/ti_battery_present")},
             {}},
            {"battery", "getBatteryVendor", {}, A::kDescriptor, true, {power("bms/battery_type")}, {}},
            {"battery",
             "getBatteryResistance",
             {},
             A::kDescriptor,
             true,
             {power("bms/resistance")},
             {}},
            {"battery",
             "getBatteryFullChargeValue",
             {},
             A::kDescriptor,
             true,
             {power("bms/charge_full_design")},
             {}},
            {"battery", "getBatteryTemp", {}, A::kDescriptor, true, {power("battery/temp")}, {}},
            {"usb",
             "getUsbPluginStatus",
             {},
             A::kStream,
             true,
             {power("usb/typec_cc_orientation")},
             {}},
            {"usb",
             "isMicroUsbDevice",
             {},
             A::kStream,
             true,
             {"/sys/module/usb20_host/parameters/typec_on"},
             {}},
            {"display",
             "doSelfTestAndGetResult",
             {},
             A::kStream,
             true,
             {"/proc/tp_selftest"},
             {"short", "open", "i2c"}},
            {"display",
             "getLcmInfo",
             {},
             A::kStream,
             true,
             {product.framebufferPanel ? "/sys/class/graphics/fb0/msm_fb_panel_info"
                                       : "/sys/class/drm/card0-DSI-1/panel_info"},
             {}},
            {"display",
             "getBacklightValue",
             {},
             A::kStream,
             true,
             {std::begin(kBacklightNodes), std::end(kBacklightNodes)},
             {}},
            {"fp",
             "setScreenEffectNew",
             {"NIT_300"},
             A::kStream,
             false,
             {"/sys/class/drm/card0-DSI-1/disp_param"},
             {}},
            {"fp",
             "setScreenEffectNew",
             {"NIT_630"},
             A::kStream,
             false,
             {"/sys/class/drm/card0-DSI-1/disp_param"},
             {}},
            {"root",
             "getVendorFileValue",
             {"/sys/class/power_supply/battery/temp"},
             A::kStream,
             true,
             {power("battery/temp")},
             {}},
            {"root",
             "setVendorFileValue",
             {"/sys/class/leds/red/brightness", "255"},
             A::kStream,
             false,
             {led("red")},
             {}},
    };
    // Every LED type: the ones that can be switched, and the four that can be read back.
    const char* const ledNames[] = {"white",     "red",         "green",      "blue",
                                    "red-right", "green-right", "blue-right", "button-backlight"};
    for (size_t type = 0; type < std::size(ledNames); ++type) {
        std::vector<std::string> nodes = {led(ledNames[type])};
        if (type == 7) {
            nodes.push_back(led("button-backlight1"));
            nodes.push_back(led("button-backlight2"));
        }
        const std::string t = std::to_string(type);
        ops.push_back({"leds", "controlLed", {t, "true"}, A::kDescriptor, false, nodes, {}});
        if (type < 4) {
            const std::string max = kLeds + std::string(ledNames[type]) + "/max_brightness";
            ops.push_back(
                    {"leds", "getLedBrightness", {t, "false"}, A::kDescriptor, true, {nodes[0]}, {}});
            ops.push_back(
                    {"leds", "getLedBrightness", {t, "true"}, A::kDescriptor, true, {max}, {}});
        }
    }
    if (product.emmc) {
        const std::string block = "/sys/block/mmcblk0/device/";
        const std::string classBlock = "/sys/class/block/mmcblk0/";
        ops.insert(
                ops.end(),
                {
                        {"flashlife",
                         "getFlashLifeTime",
                         {},
                         A::kStream,
                         true,
                         {block + "life_time_est_typ_a", block + "life_time_est_typ_b"},
                         {}},
                        {"flashlife", "getFactoryDate", {}, A::kStream, true, {block + "date"}, {}},
                        {"flashlife", "readFlashSize", {}, A::kStream, true, {classBlock + "size"}, {}},
                        {"flashlife",
                         "readFirmwareVersion",
                         {},
                         A::kStream,
                         true,
                         {classBlock + "device/fwrev"},
                         {}},
                        {"flashlife",
                         "readVendorName",
                         {},
                         A::kStream,
                         true,
                         {classBlock + "device/manfid"},
                         {}},
                });
    } else {
        const std::string dumps = "/d/1d84000.ufshc/";
        const std::string sda = "/sys/class/block/sda/";
        ops.insert(ops.end(),
                   {
                           {"flashlife",
                            "getFlashLifeTime",
                            {},
                            A::kStream,
                            true,
                            {dumps + "dump_health_desc"},
                            {}},
                           {"flashlife",
                            "getFactoryDate",
                            {},
                            A::kStream,
                            true,
                            {dumps + "dump_device_desc"},
                            {}},
                           {"flashlife", "readFlashSize", {}, A::kStream, true, {sda + "size"}, {}},
                           {"flashlife",
                            "readFirmwareVersion",
                            {},
                            A::kStream,
                            true,
                            {sda + "device/rev"},
                            {}},
                           {"flashlife",
                            "readVendorName",
                            {},
                            A::kStream,
                            true,
                            {sda + "device/vendor"},
                            {}},
                   });
    }
    return ops;
}

const char* stateName(NodeState state) {
    switch (state) {
        case NodeState::kContent:
            return "content";
        case NodeState::kAbsent:
            return "absent";
        case NodeState::kDenied:
            return "denied";
        case NodeState::kFolder:
            return "folder";
    }
    return "?";
}

void NodeTree::set(const std::string& devicePath, NodeState state, const std::string& content) {
    fs::path host = sandbox::hostPath(devicePath);
    std::error_code ignored;
    fs::remove_all(host, ignored);
    sandbox::allow(devicePath);
    mDenied.erase(devicePath);
    switch (state) {
        case NodeState::kAbsent:
            return;
        case NodeState::kFolder:
            fs::create_directories(host, ignored);
            return;
        case NodeState::kDenied:
            sandbox::deny(devicePath);
            mDenied.insert(devicePath);
            break;
        case NodeState::kContent:
            break;
    }
    fs::create_directories(host.parent_path(), ignored);
    std::ofstream out(host, std::ios::binary | std::ios::trunc);
    out << content;
}

void NodeTree::restore(const std::string& devicePath, const std::string& profileDir) {
    fs::path original = fs::path(profileDir) / "fs" / devicePath.substr(1);
    std::error_code ec;
    if (fs::is_regular_file(original, ec)) {
        set(devicePath, NodeState::kContent, fileBytes(original));
    } else {
        set(devicePath, NodeState::kAbsent);
    }
}

void NodeTree::allowAll() {
    for (const std::string& path : mDenied) sandbox::allow(path);
    mDenied.clear();
}

std::string terminationOf(const std::string& area, const std::string& op,
                          const std::function<bool(const std::string&)>& denied) {
    if (area == "camera" && op == "getCameraModuleInfo") return moduleInfoTermination();
    if (area == "display" && op == "getBacklightValue") return backlightTermination(denied);
    return "";
}

std::vector<Driver> profileDrivers(const std::string& profileDir) {
    std::vector<Driver> drivers;
    std::string error;
    if (!profile::loadDrivers((fs::path(profileDir) / "drivers").string(), &drivers, &error)) {
        throw std::runtime_error(error);
    }
    return drivers;
}

size_t openDescriptors() {
    size_t count = 0;
    DIR* dir = opendir("/proc/self/fd");
    if (dir == nullptr) return 0;
    while (dirent* entry = readdir(dir)) {
        if (entry->d_name[0] != '.') ++count;
    }
    closedir(dir);
    return count;
}

size_t heapInUse() {
    if (__sanitizer_get_current_allocated_bytes != nullptr) {
        return __sanitizer_get_current_allocated_bytes();
    }
    struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

}  // namespace stress
}  // namespace tevhost
