// NFC: fixed answers.
#include <vendor/quoril/hardware/tevvendorservice/1.0/INfcCheckService.h>

#include "Catalog.h"

namespace tevctl {

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

}  // namespace tevctl
