// Arguments: any operation of any area (and the root's pass-throughs) with fuzzed arguments: LED
// and torch types, brightness levels, sensor types, the package enums (NitMode, HallConnect,
// RevWireChargeControl) as raw integers, property keys and values, node paths and values. A
// short sequence of calls per input, so that a pass-through write can meet a later read.
//
// Input: up to kMaxCalls times [area][operation][its arguments, see tevfuzz::readArgs]
//
// The device is the bundled qab profile. Paths are kept inside the device root: a path that is not
// a device path is put under /sys/, and one with a ".." component is not passed on; nodes the calls
// wrote and properties they set are put back after every input.
#include <tevhost/Profile.h>
#include <tevhost/Properties.h>
#include <tevhost/Sandbox.h>
#include <tevhost/Services.h>

#include <cstdint>
#include <filesystem>
#include <sstream>

#include "FuzzSupport.h"

namespace {

using namespace tevhost;
using namespace tevhost::stress;
using ::android::sp;
using ::vendor::quoril::hardware::tevvendorservice::V1_0::ITevVendorService;

constexpr int kMaxCalls = 4;

struct Harness {
    tevhost::profile::Profile device;
    std::string profile;
    std::map<std::string, std::string> properties;
    std::vector<Driver> drivers;
    sp<ITevVendorService> root;
};
Harness* gHarness = nullptr;

// |raw| as a path inside the device root, or empty when it is not to be passed on.
std::string insideDeviceRoot(const std::string& raw) {
    // The service hands the path on as a C string: it ends at the first NUL.
    std::string path = raw.substr(0, raw.find('\0'));
    if (sandbox::devicePath(path).empty()) path = "/sys/" + path;
    if (sandbox::devicePath(path).empty()) return "";
    std::stringstream components(path);
    std::string component;
    while (std::getline(components, component, '/')) {
        if (component == "..") return "";
    }
    return path;
}

size_t indexOf(const tevcatalog::Area* area) {
    const auto& areas = tevcatalog::allAreas();
    return static_cast<size_t>(std::find(areas.begin(), areas.end(), area) - areas.begin());
}

void writeSeeds(const std::string& dir) {
    const auto& areas = tevcatalog::allAreas();
    int n = 0;
    auto save = [&](const Call& call) {
        tevfuzz::Seed seed;
        seed.byte(static_cast<uint8_t>(indexOf(call.area)));
        seed.byte(static_cast<uint8_t>(call.op - call.area->ops.data()));
        tevfuzz::writeArgs(call.args, seed);
        seed.save(dir, "call-" + std::to_string(n++));
    };
    // Every operation with plain arguments, and with the arguments that reach its nodes.
    for (const tevcatalog::Area* area : areas) {
        for (const tevcatalog::Operation& op : area->ops) save(plainCall(*area, op));
    }
    for (const NodeOperation& entry : nodeCalls()) save(tableCall(entry));
    // The pass-throughs on every node and property of the bundled profiles.
    const tevcatalog::Area& root = tevcatalog::rootArea();
    for (const std::string& profile : tevfuzz::bundledProfiles()) {
        for (const auto& [key, value] : tevfuzz::profileProperties(profile)) {
            for (const char* name : {"getVendorProperty", "setVendorProperty"}) {
                const tevcatalog::Operation* op = root.find(name);
                tevfuzz::Seed seed;
                seed.byte(static_cast<uint8_t>(indexOf(&root)));
                seed.byte(static_cast<uint8_t>(op - root.ops.data()));
                seed.text(key).text(value);
                seed.save(dir, "property-" + std::to_string(n++));
            }
        }
        std::error_code ec;
        for (const auto& entry :
             std::filesystem::recursive_directory_iterator(profile + "/fs", ec)) {
            if (!entry.is_regular_file()) continue;
            std::string path = "/" + entry.path().lexically_relative(profile + "/fs").string();
            for (const char* name : {"getVendorFileValue", "setVendorFileValue"}) {
                const tevcatalog::Operation* op = root.find(name);
                tevfuzz::Seed seed;
                seed.byte(static_cast<uint8_t>(indexOf(&root)));
                seed.byte(static_cast<uint8_t>(op - root.ops.data()));
                seed.text(path);
                if (op->params.size() > 1) seed.text(tevfuzz::profileNode(profile, path).value());
                seed.save(dir, "node-" + std::to_string(n++));
            }
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    tevfuzz::start(argc, argv, writeSeeds);
    gHarness = new Harness;
    Harness& h = *gHarness;
    h.profile = tevfuzz::openProfile(h.device, kUfsProduct.name);
    h.properties = props::all();
    h.drivers = profileDrivers(h.profile);
    h.root = tevfuzz::rootWithEveryArea();
    tevfuzz::forgetHostRecords();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Harness& h = *gHarness;
    const auto& areas = tevcatalog::allAreas();
    tevfuzz::Input in(data, size);
    for (int n = 0; n < kMaxCalls; ++n) {
        // After the first call, a zero byte (or the end of the input) ends the sequence.
        if (n > 0 && in.byte() == 0) break;
        const tevcatalog::Area& area = *areas[in.byte() % areas.size()];
        const tevcatalog::Operation& op = area.ops[in.byte() % area.ops.size()];
        Call call{&area, &op, tevfuzz::readArgs(op, in)};
        if (area.name == "root" && op.name.find("FileValue") != std::string::npos) {
            std::vector<tevcatalog::Value> values = call.args.values();
            values[0].text = insideDeviceRoot(values[0].text);
            if (values[0].text.empty()) continue;
            call.args = tevcatalog::Args(values);
        }
        sp<::android::hidl::base::V1_0::IBase> service = areaOf(*h.root, area);
        // On the inputs that end the service's process, as the call in a child shows, it is not
        // made.
        if (endsTheProcess([&] { tevfuzz::callWithClock(*service, call); })) continue;
        size_t descriptors = openDescriptors();
        tevfuzz::checkOutcome(call, tevfuzz::callWithClock(*service, call));
        tevfuzz::check(openDescriptors() == descriptors, call.name() + ": a descriptor leaked");
    }

    for (const sandbox::Write& w : sandbox::writes()) NodeTree().restore(w.path, h.profile);
    tevfuzz::setProperties(h.properties);
    sandbox::reset();
    declare(h.drivers);
    tevfuzz::forgetHostRecords();
    return 0;
}
