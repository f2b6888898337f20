// Charger: current, type, fast-charge support; switching reverse wireless charging drives a node.
#include <vendor/quoril/hardware/tevvendorservice/1.0/IChargerCheckService.h>

#include <tevcatalog/Catalog.h>

namespace tevcatalog {

const Area& chargerArea() {
    using I = ::vendor::quoril::hardware::tevvendorservice::V1_0::IChargerCheckService;
    using ::vendor::quoril::hardware::tevvendorservice::V1_0::RevWireChargeControl;
    static const Area area{
            "charger",
            "IChargerCheckService",
            getter(&ITevVendorService::getExtensionChargerCheckService),
            {
                    plain("needTestElectric", &I::needTestElectric),
                    plain("getElectricThreshold", &I::getElectricThreshold),
                    plain("getCurrentElectrical", &I::getCurrentElectrical),
                    plain("isSupportHvdcpCharger", &I::isSupportHvdcpCharger),
                    plain("isSupportPDCharger", &I::isSupportPDCharger),
                    withText("getChargerType", &I::getChargerType),
                    {"controlReverseWirelessCharge",
                     {enumeration<RevWireChargeControl>("control", "RevWireChargeControl")},
                     Type::kBool,
                     Type::kVoid,
                     kDrives,
                     on<I>([](I& s, const Args& a, Outcome& o) {
                         o.ret(s.controlReverseWirelessCharge(a.en<RevWireChargeControl>(0)));
                     })},
                    plain("checkReverseWirelessChargeState", &I::checkReverseWirelessChargeState),
                    extFun<I>(),
            }};
    return area;
}

}  // namespace tevcatalog
