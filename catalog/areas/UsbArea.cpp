// USB: plug state and the Type-C switch, both read from nodes.
#include <vendor/quoril/hardware/tevvendorservice/1.0/IUsbCheckService.h>

#include <tevcatalog/Catalog.h>

namespace tevcatalog {

const Area& usbArea() {
    using I = ::vendor::quoril::hardware::tevvendorservice::V1_0::IUsbCheckService;
    static const Area area{"usb",
                           "IUsbCheckService",
                           getter(&ITevVendorService::getExtensionUsbCheckService),
                           {
                                   plain("getUsbPluginStatus", &I::getUsbPluginStatus),
                                   plain("isMicroUsbDevice", &I::isMicroUsbDevice),
                                   extFun<I>(),
                           }};
    return area;
}

}  // namespace tevcatalog
