// NFC: fixed answers.
#include <vendor/quoril/hardware/tevvendorservice/1.0/INfcCheckService.h>

#include <tevcatalog/Catalog.h>

namespace tevcatalog {

const Area& nfcArea() {
    using I = ::vendor::quoril::hardware::tevvendorservice::V1_0::INfcCheckService;
    static const Area area{"nfc",
                           "INfcCheckService",
                           getter(&ITevVendorService::getExtensionNfcCheckService),
                           {
                                   withText("getNfcChipModule", &I::getNfcChipModule),
                                   plain("isSupportEse", &I::isSupportEse),
                                   extFun<I>(),
                           }};
    return area;
}

}  // namespace tevcatalog
