// Fingerprint: identity and FOD geometry are read; the screen effect writes the display node.
#include <vendor/quoril/hardware/tevvendorservice/1.0/IFPCheckService.h>

#include <tevcatalog/Catalog.h>

namespace tevcatalog {

const Area& fpArea() {
    using I = ::vendor::quoril::hardware::tevvendorservice::V1_0::IFPCheckService;
    using ::vendor::quoril::hardware::tevvendorservice::V1_0::NitMode;
    static const Area area{
            "fp",
            "IFPCheckService",
            getter(&ITevVendorService::getExtensionFPCheckService),
            {
                    withText("getFpType", &I::getFpType),
                    plain("isSupportCalibration", &I::isSupportCalibration),
                    {"setScreenEffectNew",
                     {enumeration<NitMode>("mode", "NitMode")},
                     Type::kBool,
                     Type::kVoid,
                     kDrives,
                     on<I>([](I& s, const Args& a, Outcome& o) {
                         o.ret(s.setScreenEffectNew(a.en<NitMode>(0)));
                     })},
                    plain("getFaculaColor", &I::getFaculaColor),
                    plain("isRectFP", &I::isRectFP),
                    withInts("getFaculaParas", &I::getFaculaParas),
                    plain("getFodPressureSensorMarginLeft", &I::getFodPressureSensorMarginLeft),
                    plain("getFodPressureSensorMarginTop", &I::getFodPressureSensorMarginTop),
                    withTexts("getFPSensorStartPkgInfo", &I::getFPSensorStartPkgInfo),
                    withTexts("getFPFodCalStartPkgInfo", &I::getFPFodCalStartPkgInfo),
                    extFun<I>(),
            }};
    return area;
}

}  // namespace tevcatalog
