// The interface library of the host: what hidl-gen's generated sources give the device for each
// interface this HAL implements or calls.
#include <tevhost/InterfaceGlue.h>
#include <vendor/quoril/hardware/tevvendorservice/1.0/ITevVendorService.h>

#include <cstring>
#include <map>

namespace tevhost {

::android::hardware::hidl_array<uint8_t, 32> interfaceHash(const std::string& fqName) {
    // Generated at build time from "hidl-gen -L hash" over every package the host knows.
    static const std::map<std::string, std::string> kHashes = {
#include "tevhost_hashes.inc"
    };
    ::android::hardware::hidl_array<uint8_t, 32> hash;
    auto it = kHashes.find(fqName);
    if (it == kHashes.end() || it->second.size() != 64) return hash;
    for (size_t i = 0; i < 32; ++i) {
        hash[i] = static_cast<uint8_t>(std::stoi(it->second.substr(2 * i, 2), nullptr, 16));
    }
    return hash;
}

}  // namespace tevhost

#define BASE "android.hidl.base@1.0::IBase"
#define TEV "vendor.quoril.hardware.tevvendorservice@1.0::"

TEVHOST_INTERFACE(android::hidl::base::V1_0, IBase, BASE)
TEVHOST_INTERFACE(android::hidl::manager::V1_0, IServiceNotification,
                  "android.hidl.manager@1.0::IServiceNotification", BASE)
TEVHOST_SELF_CAST(android::hidl::manager::V1_0, IServiceNotification)

#define TEV_INTERFACE(I)                                                                 \
    TEVHOST_INTERFACE(vendor::quoril::hardware::tevvendorservice::V1_0, I, TEV #I, BASE) \
    TEVHOST_SELF_CAST(vendor::quoril::hardware::tevvendorservice::V1_0, I)

TEV_INTERFACE(ITevVendorService)
TEV_INTERFACE(IVersionCheckService)
TEV_INTERFACE(ILedsCheckService)
TEV_INTERFACE(IFlashLifeCheckService)
TEV_INTERFACE(ICameraCheckService)
TEV_INTERFACE(IChargerCheckService)
TEV_INTERFACE(INfcCheckService)
TEV_INTERFACE(IUsbCheckService)
TEV_INTERFACE(IBatteryCheckService)
TEV_INTERFACE(ISensorCheckService)
TEV_INTERFACE(IDisplayCheckService)
TEV_INTERFACE(IFPCheckService)
TEV_INTERFACE(IAudioCheckService)
