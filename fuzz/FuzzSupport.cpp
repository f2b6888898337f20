#include "FuzzSupport.h"

#include <tevhost/Cleanup.h>
#include <tevhost/Log.h>
#include <tevhost/Properties.h>
#include <tevhost/Sandbox.h>
#include <tevhost/SensorCal.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace fs = std::filesystem;

namespace tevfuzz {

uint8_t Input::byte() {
    if (mLeft == 0) return 0;
    --mLeft;
    return *mData++;
}

int32_t Input::i32() {
    uint32_t value = 0;
    for (int i = 0; i < 4; ++i) value |= static_cast<uint32_t>(byte()) << (8 * i);
    return static_cast<int32_t>(value);
}

std::string Input::text() {
    size_t size = byte();
    size |= static_cast<size_t>(byte()) << 8;
    size = std::min(size, mLeft);
    std::string value(reinterpret_cast<const char*>(mData), size);
    mData += size;
    mLeft -= size;
    return value;
}

Seed& Seed::byte(uint8_t value) {
    mBytes.push_back(static_cast<char>(value));
    return *this;
}

Seed& Seed::i32(int32_t value) {
    uint32_t bits = static_cast<uint32_t>(value);
    for (int i = 0; i < 4; ++i) byte(static_cast<uint8_t>(bits >> (8 * i)));
    return *this;
}

Seed& Seed::text(const std::string& value) {
    size_t size = std::min<size_t>(value.size(), 0xffff);
    byte(static_cast<uint8_t>(size & 0xff));
    byte(static_cast<uint8_t>(size >> 8));
    mBytes.append(value, 0, size);
    return *this;
}

void Seed::save(const std::string& dir, const std::string& name) const {
    std::ofstream out(fs::path(dir) / name, std::ios::binary | std::ios::trunc);
    out << mBytes;
}

tevcatalog::Args readArgs(const tevcatalog::Operation& op, Input& in) {
    std::vector<tevcatalog::Value> values;
    for (const tevcatalog::Param& p : op.params) {
        tevcatalog::Value v(p.type);
        v.info = p.info;
        switch (p.type) {
            case tevcatalog::Type::kInt32:
            case tevcatalog::Type::kEnum:
                v.number = in.i32();
                break;
            case tevcatalog::Type::kBool:
                v.number = in.byte() & 1;
                break;
            case tevcatalog::Type::kString:
                v.text = in.text();
                break;
            case tevcatalog::Type::kStringList:
                for (int n = in.byte() % 4; n > 0; --n) v.texts.push_back(in.text());
                break;
            default:
                break;
        }
        values.push_back(v);
    }
    return tevcatalog::Args(values);
}

void writeArgs(const tevcatalog::Args& args, Seed& seed) {
    for (const tevcatalog::Value& v : args.values()) {
        switch (v.type) {
            case tevcatalog::Type::kInt32:
            case tevcatalog::Type::kEnum:
                seed.i32(static_cast<int32_t>(v.number));
                break;
            case tevcatalog::Type::kBool:
                seed.byte(v.number ? 1 : 0);
                break;
            case tevcatalog::Type::kString:
                seed.text(v.text);
                break;
            case tevcatalog::Type::kStringList:
                seed.byte(static_cast<uint8_t>(v.texts.size()));
                for (const std::string& t : v.texts) seed.text(t);
                break;
            default:
                break;
        }
    }
}

std::string openProfile(tevhost::profile::Profile& device, const std::string& name) {
    std::string dir = tevhost::profile::resolve(name);
    std::string error;
    check(device.open(dir, false, &error), error);
    return dir;
}

std::string scratchFolder(const char* name) {
    const char* tmp = getenv("TMPDIR");
    std::string pattern = std::string(tmp && *tmp ? tmp : "/tmp") + "/" + name + ".XXXXXX";
    check(mkdtemp(&pattern[0]) != nullptr, "cannot make a scratch folder");
    static std::vector<std::string>* folders = new std::vector<std::string>;
    folders->push_back(pattern);
    static bool registered = false;
    if (!registered) {
        registered = true;
        atexit([] {
            std::error_code ignored;
            for (const std::string& f : *folders) fs::remove_all(f, ignored);
        });
    }
    return pattern;
}

void start(int* argc, char*** argv, const std::function<void(const std::string&)>& write) {
    tevhost::cleanup::keepSignals();
    if (*argc < 3 || strcmp((*argv)[1], "--write-seeds") != 0) return;
    std::string dir = (*argv)[2];
    std::error_code ec;
    fs::create_directories(dir, ec);
    write(dir);
    exit(0);
}

std::vector<std::string> bundledProfiles() {
    std::vector<std::string> dirs;
    std::error_code ec;
    for (const auto& entry : fs::directory_iterator(TEV_DEVICES_DIR, ec)) {
        if (entry.is_directory()) dirs.push_back(entry.path().string());
    }
    std::sort(dirs.begin(), dirs.end());
    return dirs;
}

std::map<std::string, std::string> profileProperties(const std::string& profileDir) {
    std::map<std::string, std::string> saved = tevhost::props::all();
    tevhost::props::clear();
    tevhost::props::loadFile(profileDir + "/properties");
    std::map<std::string, std::string> loaded = tevhost::props::all();
    setProperties(saved);
    return loaded;
}

std::optional<std::string> profileNode(const std::string& profileDir,
                                       const std::string& devicePath) {
    std::ifstream in(profileDir + "/fs" + devicePath, std::ios::binary);
    if (!in) return std::nullopt;
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

void setProperties(const std::map<std::string, std::string>& properties) {
    tevhost::props::clear();
    for (const auto& [key, value] : properties) tevhost::props::set(key, value);
}

void check(bool ok, const std::string& what) {
    if (ok) return;
    fprintf(stderr, "tevfuzz: %s\n", what.c_str());
    abort();
}

void checkOutcome(const tevhost::stress::Call& call, const tevcatalog::Answer& outcome) {
    check(outcome.transportError.empty(), call.name() + ": transport error");
    check(outcome.callbacks.size() <= 1, call.name() + ": callback called more than once");
    check(call.op->name != "extFun" || outcome.callbacks.empty(),
          call.name() + ": extFun called its callback");
}

tevcatalog::Answer callWithClock(::android::hidl::base::V1_0::IBase& service,
                                 const tevhost::stress::Call& call) {
    const bool sleeps = call.area->name == "display" && call.op->name == "doSelfTestAndGetResult";
    tevhost::sandbox::setVirtualClock(sleeps);
    tevcatalog::Answer outcome = tevhost::stress::callInService(service, call);
    tevhost::sandbox::setVirtualClock(false);
    return outcome;
}

}  // namespace tevfuzz

namespace tevfuzz {

::android::sp<::vendor::quoril::hardware::tevvendorservice::V1_0::ITevVendorService>
rootWithEveryArea() {
    auto root = ::vendor::quoril::hardware::tevvendorservice::V1_0::ITevVendorService::getService();
    check(root != nullptr, "no root service");
    for (const tevcatalog::Area* area : tevcatalog::allAreas())
        tevhost::stress::areaOf(*root, *area);
    return root;
}

}  // namespace tevfuzz
