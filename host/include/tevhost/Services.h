// Service lookup of the host stand-in for the HIDL runtime: a registry of in-process services and
// the passthrough loader that opens "<package>@<version>-impl.so" and calls its
// HIDL_FETCH_<Interface> factory, as the device's passthrough service manager does.
#pragma once

#include <cstdint>  // before utils/StrongPointer.h, which needs uintptr_t
#include <string>
#include <vector>

#include <utils/StrongPointer.h>

namespace android {
namespace hidl {
namespace base {
namespace V1_0 {
struct IBase;
}  // namespace V1_0
}  // namespace base
}  // namespace hidl
}  // namespace android

namespace tevhost {

using ::android::sp;
using ::android::hidl::base::V1_0::IBase;

// Registers |service| under |descriptor|/|name|, replacing any earlier registration.
void registerService(const std::string& descriptor, const std::string& name,
                     const sp<IBase>& service);
// The registered service, or null.
sp<IBase> registeredService(const std::string& descriptor, const std::string& name);
// Forgets every registration, and the lookups made so far.
void clearServices();

// A getService call: the interface, the instance, and whether the caller asked for the
// passthrough stub (getStub true) rather than the binderized service.
struct Lookup {
    std::string descriptor;
    std::string name;
    bool getStub;
};
void recordLookup(const std::string& descriptor, const std::string& name, bool getStub);
// Hands over the lookups made since the last clearServices() or takeLookups(), in order.
std::vector<Lookup> takeLookups();

// Looks up the factory "HIDL_FETCH_<Interface>" of the passthrough library that implements
// |descriptor| ("pkg@1.0::IFoo" -> "pkg@1.0-impl.so"), in the folder named by the environment
// variable TEVHOST_HAL_DIR or else the folder the build put the libraries in. Null when the
// library or the symbol is missing. The library stays loaded.
void* passthroughFactory(const std::string& descriptor);

// The folder searched by passthroughFactory.
std::string halLibraryDir();

}  // namespace tevhost
