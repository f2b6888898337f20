// Storage: eMMC or UFS health, date, size, firmware and maker. Only reads, though the area keeps
// the last value of each answer for the life of the process.
#include <vendor/quoril/hardware/tevvendorservice/1.0/IFlashLifeCheckService.h>

#include <tevcatalog/Catalog.h>

namespace tevcatalog {

const Area& flashLifeArea() {
    using I = ::vendor::quoril::hardware::tevvendorservice::V1_0::IFlashLifeCheckService;
    static const Area area{"flashlife",
                           "IFlashLifeCheckService",
                           getter(&ITevVendorService::getExtensionFlashLifeCheckService),
                           {
                                   withTexts("getFlashLifeTime", &I::getFlashLifeTime),
                                   withText("getFactoryDate", &I::getFactoryDate),
                                   withText("readFlashSize", &I::readFlashSize),
                                   withText("readFirmwareVersion", &I::readFirmwareVersion),
                                   withText("readVendorName", &I::readVendorName),
                                   extFun<I>(),
                           }};
    return area;
}

}  // namespace tevcatalog
