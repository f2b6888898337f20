// Audio: the two calibration entry points. They are calibrations, not queries, so nothing of
// this area is reported as reading.
#include <vendor/quoril/hardware/tevvendorservice/1.0/IAudioCheckService.h>

#include <tevcatalog/Catalog.h>

namespace tevcatalog {

const Area& audioArea() {
    using I = ::vendor::quoril::hardware::tevvendorservice::V1_0::IAudioCheckService;
    static const Area area{"audio",
                           "IAudioCheckService",
                           getter(&ITevVendorService::getExtensionAudioCheckService),
                           {
                                   plain("smartPACali", &I::smartPACali, kDrives),
                                   withText("speakerCali", &I::speakerCali, kDrives),
                                   extFun<I>(),
                           }};
    return area;
}

}  // namespace tevcatalog
