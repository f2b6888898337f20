#include "NodeOperations.h"

#include "OperationCalls.h"

#include <cutils/properties.h>
#include <dirent.h>
#include <malloc.h>
#include <tevhost/Log.h>
#include <tevhost/Properties.h>
#include <tevhost/Sandbox.h>
#include <tevhost/SensorCal.h>
#include <tevhost/Services.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

// Present in a sanitizer build only: the sanitizer allocator's own count of bytes in use.
extern "C" size_t __sanitizer_get_current_allocated_bytes() __attribute__((weak));

namespace fs = std::filesystem;
using ::vendor::quoril::hardware::tevvendorservice::V1_0::ITevVendorService;

namespace tevhost {
namespace stress {

const Product kUfsProduct{"qab"};
const Product kEmmcProduct{"marskol"};

namespace {

std::string property(const char* key) {
    char value[PROPERTY_VALUE_MAX] = {};
    property_get(key, value, "");
    return value;
}

std::string fileBytes(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// The backlight nodes in the order the service tries them.
const char* const kBacklightNodes[] = {
        "/sys/class/backlight/panel0-backlight/brightness_clone",
        "/sys/class/leds/lcd-backlight/brightness",
        "/sys/class/backlight/panel0-backlight/brightness",
};

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

void addNew(const std::vector<std::string>& paths, std::vector<std::string>* nodes) {
    for (const std::string& path : paths) {
        if (std::find(nodes->begin(), nodes->end(), path) == nodes->end()) nodes->push_back(path);
    }
}

// The device paths |call| reaches.
std::vector<std::string> reachedBy(ITevVendorService& root, const Call& call) {
    sandbox::recordReached(true);
    answerInService(root, call);
    sandbox::recordReached(false);
    return sandbox::reached();
}

void observe(const std::string& profileDir, std::vector<NodeOperation>* ops) {
    const bool wasVirtual = sandbox::virtualClock();
    sandbox::setVirtualClock(true);  // the self-test waits 12 s
    const std::string cpuid = property("ro.boot.cpuid");
    props::unset("ro.boot.cpuid");  // getCpuId reads its node only while it is empty
    ::android::sp<ITevVendorService> root = ITevVendorService::getService();
    NodeTree tree;
    for (NodeOperation& entry : *ops) {
        const Call call = tableCall(entry);
        sandbox::clearWrites();
        addNew(reachedBy(*root, call), &entry.nodes);
        if (entry.readsContent && !entry.nodes.empty()) {
            for (const sandbox::Write& w : sandbox::writes()) {
                if (w.path == entry.nodes[0]) entry.driverWords.push_back(w.data);
            }
        }
        for (size_t seen = 0; seen != entry.nodes.size();) {
            seen = entry.nodes.size();
            for (const std::string& node : entry.nodes) tree.set(node, kAbsent);
            addNew(reachedBy(*root, call), &entry.nodes);
        }
        for (const std::string& node : entry.nodes) tree.restore(node, profileDir);
    }
    sandbox::clearWrites();
    forgetHostRecords();
    sandbox::setVirtualClock(wasVirtual);
    if (!cpuid.empty()) props::set("ro.boot.cpuid", cpuid);
    ops->erase(std::remove_if(ops->begin(), ops->end(),
                              [](const NodeOperation& e) { return e.nodes.empty(); }),
               ops->end());
}

}  // namespace

std::vector<NodeOperation> nodeCalls() {
    constexpr Access D = Access::kDescriptor;
    constexpr Access S = Access::kStream;
    std::vector<NodeOperation> ops = {
            {"version", "getKernelVersion", {}, S, true, {}, {}},
            {"version", "getCpuId", {}, S, true, {}, {}},
            {"camera", "controlTorch", {"1", "true"}, D, false, {}, {}},
            {"camera", "controlTorch", {"3", "true"}, D, false, {}, {}},
            {"camera", "controlTorch", {"4", "true"}, D, false, {}, {}},
            {"camera", "controlTorch", {"5", "true"}, D, false, {}, {}},
            {"camera", "updateTorchBrightness", {"100"}, D, false, {}, {}},
            {"charger", "getCurrentElectrical", {}, D, true, {}, {}},
            {"charger", "getChargerType", {}, D, true, {}, {}},
            {"charger", "controlReverseWirelessCharge", {"1"}, D, false, {}, {}},
            {"charger", "checkReverseWirelessChargeState", {}, D, true, {}, {}},
            {"battery", "getBatteryId", {}, D, true, {}, {}},
            {"battery", "checkBatteryAuthentic", {}, D, true, {}, {}},
            {"battery", "checkDualConnector", {}, D, true, {}, {}},
            {"battery", "checkChipOK", {}, D, true, {}, {}},
            {"battery", "isSupportDualConnect", {}, D, false, {}, {}},
            {"battery", "getBatteryVendor", {}, D, true, {}, {}},
            {"battery", "getBatteryResistance", {}, D, true, {}, {}},
            {"battery", "getBatteryFullChargeValue", {}, D, true, {}, {}},
            {"battery", "getBatteryTemp", {}, D, true, {}, {}},
            {"usb", "getUsbPluginStatus", {}, S, true, {}, {}},
            {"usb", "isMicroUsbDevice", {}, S, true, {}, {}},
            {"display", "doSelfTestAndGetResult", {}, S, true, {}, {}},
            {"display", "getLcmInfo", {}, S, true, {}, {}},
            {"display", "getBacklightValue", {}, S, true, {}, {}},
            {"fp", "setScreenEffectNew", {"NIT_300"}, S, false, {}, {}},
            {"fp", "setScreenEffectNew", {"NIT_630"}, S, false, {}, {}},
            {"root", "getVendorFileValue", {"/sys/class/power_supply/battery/temp"}, S, true, {}, {}},
            {"root", "setVendorFileValue", {"/sys/class/leds/red/brightness", "255"}, S, false, {}, {}},
            {"flashlife", "getFlashLifeTime", {}, S, true, {}, {}},
            {"flashlife", "getFactoryDate", {}, S, true, {}, {}},
            {"flashlife", "readFlashSize", {}, S, true, {}, {}},
            {"flashlife", "readFirmwareVersion", {}, S, true, {}, {}},
            {"flashlife", "readVendorName", {}, S, true, {}, {}},
    };
    // Every LED type (the last, the button backlight, drives three nodes); the first four can be
    // read back, as brightness or as its maximum.
    for (int type = 0; type < 8; ++type) {
        const std::string t = std::to_string(type);
        ops.push_back({"leds", "controlLed", {t, "true"}, D, false, {}, {}});
        if (type >= 4) continue;
        ops.push_back({"leds", "getLedBrightness", {t, "false"}, D, true, {}, {}});
        ops.push_back({"leds", "getLedBrightness", {t, "true"}, D, true, {}, {}});
    }
    return ops;
}

std::vector<NodeOperation> nodeOperations(const Product& product) {
    std::vector<NodeOperation> ops = nodeCalls();
    const std::string profileDir = profile::resolve(product.name);
    if (!sandbox::root().empty()) {
        observe(profileDir, &ops);
        return ops;
    }
    profile::Profile device;
    std::string error;
    if (!device.open(profileDir, false, &error)) throw std::runtime_error(error);
    observe(profileDir, &ops);
    clearServices();  // the areas made on the profile's properties go with it
    device.close();
    return ops;
}

void NodeTree::set(const std::string& devicePath, const std::string& state) {
    fs::path host = sandbox::hostPath(devicePath);
    std::error_code ignored;
    fs::remove_all(host, ignored);
    sandbox::allow(devicePath);
    mDenied.erase(devicePath);
    mFull.erase(devicePath);
    if (state == kAbsent) return;
    if (state == kFolder) {
        fs::create_directories(host, ignored);
        return;
    }
    fs::create_directories(host.parent_path(), ignored);
    if (state == kFull) {
        sandbox::refuseWrites(devicePath);
        mFull.insert(devicePath);
    }
    if (state == kDenied) {
        sandbox::deny(devicePath);
        mDenied.insert(devicePath);
    }
    std::ofstream out(host, std::ios::binary | std::ios::trunc);
    out << (state == kDenied || state == kFull ? "" : state);
}

void NodeTree::restore(const std::string& devicePath, const std::string& profileDir) {
    fs::path original = fs::path(profileDir) / "fs" / devicePath.substr(1);
    std::error_code ec;
    if (fs::is_regular_file(original, ec)) {
        set(devicePath, fileBytes(original));
    } else {
        set(devicePath, kAbsent);
    }
}

void NodeTree::allowAll() {
    for (const std::string& path : mDenied) sandbox::allow(path);
    for (const std::string& path : mFull) sandbox::allow(path);
    mDenied.clear();
    mFull.clear();
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

void forgetHostRecords() {
    log::clear();
    sensorcal::Answers answers = sensorcal::answers();
    sensorcal::reset();
    sensorcal::setAnswers(answers);
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
