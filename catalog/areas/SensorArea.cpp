// Sensors: facts of the calibration library are read; calibrating, enabling and disabling a
// sensor, and the Hall connection and poll, act on the hardware or block, so they do not count as
// reading.
#include <vendor/quoril/hardware/tevvendorservice/1.0/ISensorCheckService.h>

#include <tevcatalog/Catalog.h>

namespace tevcatalog {

const Area& sensorArea() {
    using I = ::vendor::quoril::hardware::tevvendorservice::V1_0::ISensorCheckService;
    using ::vendor::quoril::hardware::tevvendorservice::V1_0::HallConnect;
    static const Area area{"sensor",
                           "ISensorCheckService",
                           getter(&ITevVendorService::getExtensionSensorCheckService),
                           {
                                   plain("isOrientsensor", &I::isOrientsensor),
                                   plain("isHallTestFullScreen", &I::isHallTestFullScreen),
                                   withInts("getHallPosition", &I::getHallPosition),
                                   {"calibrateSensor",
                                    {int32("type"), int32("para")},
                                    Type::kBool,
                                    Type::kVoid,
                                    kDrives,
                                    on<I>([](I& s, const Args& a, Outcome& o) {
                                        o.ret(s.calibrateSensor(a.i32(0), a.i32(1)));
                                    })},
                                   {"enableSensor",
                                    {int32("type")},
                                    Type::kBool,
                                    Type::kVoid,
                                    kDrives,
                                    on<I>([](I& s, const Args& a, Outcome& o) {
                                        o.ret(s.enableSensor(a.i32(0)));
                                    })},
                                   {"disableSensor",
                                    {int32("type")},
                                    Type::kBool,
                                    Type::kVoid,
                                    kDrives,
                                    on<I>([](I& s, const Args& a, Outcome& o) {
                                        o.ret(s.disableSensor(a.i32(0)));
                                    })},
                                   {"getSensorConfig",
                                    {int32("type"), int32("axis")},
                                    Type::kDouble,
                                    Type::kVoid,
                                    kReads,
                                    on<I>([](I& s, const Args& a, Outcome& o) {
                                        o.ret(s.getSensorConfig(a.i32(0), a.i32(1)));
                                    })},
                                   {"initHallSocket",
                                    {enumeration<HallConnect>("connect", "HallConnect")},
                                    Type::kInt32,
                                    Type::kVoid,
                                    kDrives,
                                    on<I>([](I& s, const Args& a, Outcome& o) {
                                        o.ret(s.initHallSocket(a.en<HallConnect>(0)));
                                    })},
                                   plain("hallEventListener", &I::hallEventListener, kDrives),
                                   plain("getSarSensorMode", &I::getSarSensorMode),
                                   withInts("getSarSensorIDs", &I::getSarSensorIDs),
                                   {"getSarParams",
                                    {int32("type")},
                                    Type::kVoid,
                                    Type::kStringList,
                                    kReads,
                                    on<I>([](I& s, const Args& a, Outcome& o) {
                                        o.ret(s.getSarParams(a.i32(0), o.texts()));
                                    })},
                                   plain("isUltrasoundSensor", &I::isUltrasoundSensor),
                                   extFun<I>(),
                           }};
    return area;
}

}  // namespace tevcatalog
