// Display: the touch-panel self-test writes the diagnostic node and waits 12 s; the panel name,
// backlight and touch-panel colour are only read.
#include <vendor/quoril/hardware/tevvendorservice/1.0/IDisplayCheckService.h>

#include <tevcatalog/Catalog.h>

namespace tevcatalog {

const Area& displayArea() {
    using I = ::vendor::quoril::hardware::tevvendorservice::V1_0::IDisplayCheckService;
    static const Area area{
            "display",
            "IDisplayCheckService",
            getter(&ITevVendorService::getExtensionDisplayCheckService),
            {
                    plain("doSelfTestAndGetResult", &I::doSelfTestAndGetResult, kDrives),
                    withText("getLcmInfo", &I::getLcmInfo),
                    plain("getBacklightValue", &I::getBacklightValue),
                    withText("getTpColor", &I::getTpColor),
                    extFun<I>(),
            }};
    return area;
}

}  // namespace tevcatalog
