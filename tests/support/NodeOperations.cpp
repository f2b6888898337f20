#include "NodeOperations.h"

#include "OperationCalls.h"

#include <cutils/properties.h>
#include <dirent.h>
#include <fcntl.h>
#include <malloc.h>
#include <sys/wait.h>
#include <tevhost/Log.h>
#include <tevhost/Properties.h>
#include <tevhost/Sandbox.h>
#include <tevhost/SensorCal.h>
#include <tevhost/Services.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
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
    std::string error;
    mDenied.erase(devicePath);
    mMarked.erase(devicePath);
    // From whatever it held, through absent, into |state|.
    bool ok = sandbox::allowNode(devicePath, &error) && sandbox::removeNode(devicePath, &error);
    if (ok && state == kFolder) {
        ok = sandbox::makeFolder(devicePath, &error);
    } else if (ok && state != kAbsent) {
        const bool marked = state == kDenied || state == kFull || state == kStuck;
        ok = sandbox::writeNode(devicePath, marked ? "" : state, &error);
        if (ok && state == kDenied) ok = sandbox::denyNode(devicePath, &error);
        if (ok && state == kFull) ok = sandbox::makeFull(devicePath, &error);
        if (ok && state == kStuck) ok = sandbox::makeStuck(devicePath, &error);
        if (marked) mMarked.insert(devicePath);
        if (state == kDenied) mDenied.insert(devicePath);
    }
    if (!ok) throw std::runtime_error(devicePath + ": " + error);
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
    std::string ignored;  // a path that was marked is a device path
    for (const std::string& path : mMarked) sandbox::allowNode(path, &ignored);
    mDenied.clear();
    mMarked.clear();
}

bool endsTheProcess(const std::function<void()>& call) {
    fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        // The ending is the service's own, not a finding of a fuzzer's or a test's handler; what
        // it prints is not this program's output.
        signal(SIGABRT, SIG_DFL);
        const int null = open("/dev/null", O_WRONLY);
        if (null >= 0) dup2(null, STDERR_FILENO);
        try {
            call();
        } catch (...) {
            abort();  // in the service host nothing catches it
        }
        _exit(0);
    }
    int status = 0;
    if (child < 0 || waitpid(child, &status, 0) != child) return false;
    return WIFSIGNALED(status) && WTERMSIG(status) == SIGABRT;
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
    (void)takeLookups();
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
