// Property values: the fuzzer's bytes become the properties an operation reads. Operations that
// read a property per call are called on the root's area objects; the areas that read the product
// name once, when they are built (camera, charger, storage, fingerprint), are built afresh from the
// fuzzed name and every reading operation of theirs is called.
//
// Input: [case][for each property: state (even: set, odd: unset), text][integer argument]
//
// The device is the bundled qab profile (its nodes and its other properties).
#include <tevhost/Profile.h>
#include <tevhost/Properties.h>
#include <tevhost/Sandbox.h>
#include <tevhost/Services.h>

#include <cstdint>
#include <filesystem>

#include "CameraCheckService.h"
#include "ChargerCheckService.h"
#include "FPCheckService.h"
#include "FlashLifeCheckService.h"
#include "FuzzSupport.h"

namespace {

using namespace tevhost;
using namespace tevhost::stress;
using ::android::sp;
using ::android::hidl::base::V1_0::IBase;
using ::vendor::quoril::hardware::tevvendorservice::V1_0::ITevVendorService;
namespace impl = ::vendor::quoril::hardware::tevvendorservice::implementation;

constexpr const char* kProductName = "ro.product.name";

// Which object the operations are called on: the root's area, or one built after the fuzzed
// properties are set.
using Build = sp<IBase> (*)();
template <typename Area>
sp<IBase> build() {
    return sp<IBase>(new Area());
}

struct Case {
    const char* area;
    std::vector<const char*> ops;  // empty: every reading operation of the area
    std::vector<const char*> properties;
    Build fresh = nullptr;
};

const std::vector<Case> kCases = {
        {"version",
         {},
         {"ro.orvu.singlesim", "ro.ril.oem.sno", "ro.ril.oem.psno", "gsm.version.baseband",
          "ro.boot.cpuid", "ro.boot.hwlevel", "ro.boot.secureboot", "vendor.sys.rpmb_state",
          "ro.boot.verifiedbootstate"}},
        {"leds", {"getLedsList"}, {kProductName}},
        {"camera", {}, {kProductName}, build<impl::CameraCheckService>},
        {"camera",
         {"getCameraModuleInfo"},
         {"persist.vendor.camera.qo.module.info", "persist.vendor.camera.qo.module.infoext",
          "persist.vendor.camera.qo.module.infoext2", "ro.boot.hwversion",
          "persist.camera.module.info", "persist.camera.module.infoext",
          "persist.camera.module.infoext2"}},
        {"camera",
         {"getCameraCalFlag"},
         {"persist.vendor.camera.qo.dualcal.state", "persist.camera.dualcal.state"}},
        {"charger", {}, {kProductName}, build<impl::ChargerCheckService>},
        {"flashlife", {}, {kProductName}, build<impl::FlashLifeCheckService>},
        {"fp", {}, {kProductName}, build<impl::FPCheckService>},
        {"fp", {"getFpType"}, {"persist.vendor.sys.fp.vendor"}},
        {"fp",
         {"getFaculaParas"},
         {"persist.vendor.sys.fp.fod.location.X_Y", "persist.vendor.sys.fp.fod.size.width_height"}},
        {"display", {"getLcmInfo"}, {kProductName}},
        {"display", {"getBacklightValue"}, {"ro.product.device"}},
        {"display", {"getTpColor"}, {"sys.panel.color", "vendor.panel.color"}},
        {"root", {"getVendorProperty"}, {"vendor.fuzz.value"}},
};

struct Harness {
    tevhost::profile::Profile device;
    std::string profile;
    std::map<std::string, std::string> properties;
    sp<ITevVendorService> root;
};
Harness* gHarness = nullptr;

// The operations a case calls.
std::vector<const tevcatalog::Operation*> operationsOf(const Case& c) {
    const tevcatalog::Area* area = tevcatalog::findArea(c.area);
    std::vector<const tevcatalog::Operation*> ops;
    for (const tevcatalog::Operation& op : area->ops) {
        bool named = c.ops.empty() ? op.reads : false;
        for (const char* name : c.ops) named = named || op.name == name;
        if (named) ops.push_back(&op);
    }
    return ops;
}

tevcatalog::Args argsFor(const tevcatalog::Operation& op, int32_t number) {
    std::vector<tevcatalog::Value> values;
    for (const tevcatalog::Param& p : op.params) {
        tevcatalog::Value v(p.type);
        v.info = p.info;
        v.number = p.type == tevcatalog::Type::kBool ? number & 1 : number;
        // getVendorProperty reads the fuzzed property, with the number as its default.
        if (p.type == tevcatalog::Type::kString) {
            v.text = p.name == "key" ? "vendor.fuzz.value" : std::to_string(number);
        }
        values.push_back(v);
    }
    return tevcatalog::Args(values);
}

void writeSeeds(const std::string& dir) {
    for (const std::string& profile : tevfuzz::bundledProfiles()) {
        std::map<std::string, std::string> properties = tevfuzz::profileProperties(profile);
        for (size_t i = 0; i < kCases.size(); ++i) {
            tevfuzz::Seed seed;
            seed.byte(static_cast<uint8_t>(i));
            for (const char* key : kCases[i].properties) {
                auto it = properties.find(key);
                seed.byte(it == properties.end() ? 1 : 0);
                seed.text(it == properties.end() ? "" : it->second);
            }
            seed.i32(1);
            seed.save(dir,
                      std::filesystem::path(profile).filename().string() + "-" + std::to_string(i));
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
    h.root = tevfuzz::rootWithEveryArea();
    tevfuzz::forgetHostRecords();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Harness& h = *gHarness;
    tevfuzz::Input in(data, size);
    const Case& c = kCases[in.byte() % kCases.size()];
    tevfuzz::setProperties(h.properties);
    for (const char* key : c.properties) {
        bool unset = in.byte() & 1;
        std::string value = in.text();
        unset ? props::unset(key) : props::set(key, value);
    }
    const int32_t number = in.i32();

    const tevcatalog::Area& area = *tevcatalog::findArea(c.area);
    sp<IBase> service = c.fresh ? c.fresh() : areaOf(*h.root, area);
    for (const tevcatalog::Operation* op : operationsOf(c)) {
        Call call{&area, op, argsFor(*op, number)};
        // On the inputs that end the service's process, as the call in a child shows, it is not
        // made.
        if (endsTheProcess([&] { tevfuzz::callWithClock(*service, call); })) continue;
        tevfuzz::checkOutcome(call, tevfuzz::callWithClock(*service, call));
    }
    service.clear();
    for (const sandbox::Write& w : sandbox::writes()) NodeTree().restore(w.path, h.profile);
    sandbox::clearWrites();
    tevfuzz::forgetHostRecords();
    return 0;
}
