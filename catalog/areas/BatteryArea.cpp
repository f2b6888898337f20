// Battery: identity, health, resistance, capacity and temperature, all read from power-supply
// nodes.
#include <vendor/quoril/hardware/tevvendorservice/1.0/IBatteryCheckService.h>

#include <tevcatalog/Catalog.h>

namespace tevcatalog {

const Area& batteryArea() {
    using I = ::vendor::quoril::hardware::tevvendorservice::V1_0::IBatteryCheckService;
    static const Area area{"battery",
                           "IBatteryCheckService",
                           getter(&ITevVendorService::getExtensionBatteryCheckService),
                           {
                                   withText("getBatteryId", &I::getBatteryId),
                                   plain("checkBatteryAuthentic", &I::checkBatteryAuthentic),
                                   plain("checkDualConnector", &I::checkDualConnector),
                                   plain("checkChipOK", &I::checkChipOK),
                                   plain("isSupportDualConnect", &I::isSupportDualConnect),
                                   withText("getBatteryVendor", &I::getBatteryVendor),
                                   plain("getBatteryResistance", &I::getBatteryResistance),
                                   plain("getBatteryFullChargeValue", &I::getBatteryFullChargeValue),
                                   plain("getBatteryTemp", &I::getBatteryTemp),
                                   extFun<I>(),
                           }};
    return area;
}

}  // namespace tevcatalog
