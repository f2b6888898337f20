// The indicator LEDs and the button backlight: switching them drives LED class nodes.
#include <vendor/quoril/hardware/tevvendorservice/1.0/ILedsCheckService.h>

#include <tevcatalog/Catalog.h>

namespace tevcatalog {

const Area& ledsArea() {
    using I = ::vendor::quoril::hardware::tevvendorservice::V1_0::ILedsCheckService;
    static const Area area{"leds",
                           "ILedsCheckService",
                           getter(&ITevVendorService::getExtensionLedsCheckService),
                           {
                                   {"controlLed",
                                    {int32("type"), boolean("isOn")},
                                    Type::kVoid,
                                    Type::kVoid,
                                    kDrives,
                                    on<I>([](I& s, const Args& a, Outcome& o) {
                                        o.ret(s.controlLed(a.i32(0), a.b(1)));
                                    })},
                                   {"getLedBrightness",
                                    {int32("type"), boolean("isMax")},
                                    Type::kInt32,
                                    Type::kVoid,
                                    kReads,
                                    on<I>([](I& s, const Args& a, Outcome& o) {
                                        o.ret(s.getLedBrightness(a.i32(0), a.b(1)));
                                    })},
                                   withInts("getLedsList", &I::getLedsList),
                                   extFun<I>(),
                           }};
    return area;
}

}  // namespace tevcatalog
