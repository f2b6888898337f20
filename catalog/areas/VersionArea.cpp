// Version and identity: properties and two /proc nodes, all only read.
#include <vendor/quoril/hardware/tevvendorservice/1.0/IVersionCheckService.h>

#include <tevcatalog/Catalog.h>

namespace tevcatalog {

const Area& versionArea() {
    using I = ::vendor::quoril::hardware::tevvendorservice::V1_0::IVersionCheckService;
    static const Area area{"version",
                           "IVersionCheckService",
                           getter(&ITevVendorService::getExtensionVersionCheckService),
                           {
                                   plain("isSingleSim", &I::isSingleSim),
                                   withText("getFSN", &I::getFSN),
                                   withText("getPhoneSerialNo", &I::getPhoneSerialNo),
                                   withText("getBasebandVersion", &I::getBasebandVersion),
                                   withText("getKernelVersion", &I::getKernelVersion),
                                   withText("getCpuId", &I::getCpuId),
                                   withText("getHardwareVersion", &I::getHardwareVersion),
                                   withText("getSecureBootStatus", &I::getSecureBootStatus),
                                   withText("getRpmbStatus", &I::getRpmbStatus),
                                   withText("getVerifiedBootState", &I::getVerifiedBootState),
                                   extFun<I>(),
                           }};
    return area;
}

}  // namespace tevcatalog
