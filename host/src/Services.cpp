// Service registry and passthrough loader of the host HIDL stand-in.
#define LOG_TAG "HidlServiceManagement"

#include <android/hidl/base/1.0/IBase.h>
#include <dlfcn.h>
#include <hidl/ServiceManagement.h>
#include <log/log.h>
#include <tevhost/Services.h>

#include <map>
#include <mutex>
#include <utility>

#ifndef TEVHOST_DEFAULT_HAL_DIR
#define TEVHOST_DEFAULT_HAL_DIR "."
#endif

namespace tevhost {
namespace {

struct Registry {
    std::mutex lock;
    std::map<std::pair<std::string, std::string>, sp<IBase>> services;
    std::vector<Lookup> lookups;
};

Registry& registry() {
    static Registry* r = new Registry;
    return *r;
}

}  // namespace

void registerService(const std::string& descriptor, const std::string& name,
                     const sp<IBase>& service) {
    std::lock_guard<std::mutex> guard(registry().lock);
    registry().services[{descriptor, name}] = service;
}

sp<IBase> registeredService(const std::string& descriptor, const std::string& name) {
    std::lock_guard<std::mutex> guard(registry().lock);
    auto it = registry().services.find({descriptor, name});
    return it == registry().services.end() ? nullptr : it->second;
}

void clearServices() {
    std::map<std::pair<std::string, std::string>, sp<IBase>> dropped;
    {
        std::lock_guard<std::mutex> guard(registry().lock);
        dropped.swap(registry().services);
        registry().lookups.clear();
    }
    // |dropped| releases the services outside the lock.
}

void recordLookup(const std::string& descriptor, const std::string& name, bool getStub) {
    std::lock_guard<std::mutex> guard(registry().lock);
    registry().lookups.push_back({descriptor, name, getStub});
}

std::vector<Lookup> takeLookups() {
    std::vector<Lookup> taken;
    std::lock_guard<std::mutex> guard(registry().lock);
    taken.swap(registry().lookups);
    return taken;
}

std::string halLibraryDir() {
    const char* dir = getenv("TEVHOST_HAL_DIR");
    return dir && *dir ? dir : TEVHOST_DEFAULT_HAL_DIR;
}

void* passthroughFactory(const std::string& descriptor) {
    size_t sep = descriptor.find("::");
    if (sep == std::string::npos) return nullptr;
    std::string package = descriptor.substr(0, sep);  // "pkg@1.0"
    std::string interface = descriptor.substr(sep + 2);
    std::string library = halLibraryDir() + "/" + package + "-impl.so";
    void* handle = dlopen(library.c_str(), RTLD_NOW);
    if (handle == nullptr) {
        ALOGW("Passthrough lookup of %s: %s", descriptor.c_str(), dlerror());
        return nullptr;
    }
    std::string symbol = "HIDL_FETCH_" + interface;
    void* factory = dlsym(handle, symbol.c_str());
    if (factory == nullptr) {
        ALOGW("Passthrough lookup of %s: %s has no %s", descriptor.c_str(), library.c_str(),
              symbol.c_str());
    }
    return factory;
}

}  // namespace tevhost

namespace android {
namespace hardware {

std::vector<std::string> getAllHalInstanceNames(const std::string& descriptor) {
    std::vector<std::string> names;
    {
        std::lock_guard<std::mutex> guard(tevhost::registry().lock);
        for (const auto& entry : tevhost::registry().services) {
            if (entry.first.first == descriptor) names.push_back(entry.first.second);
        }
    }
    if (names.empty() && tevhost::passthroughFactory(descriptor) != nullptr) {
        names.push_back("default");
    }
    return names;
}

}  // namespace hardware
}  // namespace android
