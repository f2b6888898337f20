// Cameras and torches. popCamera and pushCamera would move the pop-up camera, and the torch
// operations drive the flash LED nodes: none of them counts as reading.
#include <vendor/quoril/hardware/tevvendorservice/1.0/ICameraCheckService.h>

#include <tevcatalog/Catalog.h>

namespace tevcatalog {

namespace {

using I = ::vendor::quoril::hardware::tevvendorservice::V1_0::ICameraCheckService;

// An operation taking one camera type, answering a bool or an int32_t.
template <typename T>
Operation byType(const char* name, Return<T> (I::*fn)(int32_t)) {
    return {name,
            {int32("type")},
            typeOf<T>(),
            Type::kVoid,
            kReads,
            on<I>([fn](I& s, const Args& a, Outcome& o) { o.ret((s.*fn)(a.i32(0))); })};
}

}  // namespace

const Area& cameraArea() {
    static const Area area{"camera",
                           "ICameraCheckService",
                           getter(&ITevVendorService::getExtensionCameraCheckService),
                           {
                                   byType("getCameraId", &I::getCameraId),
                                   plain("isSupportPopCamera", &I::isSupportPopCamera),
                                   plain("needAutopushCamera", &I::needAutopushCamera),
                                   plain("popCamera", &I::popCamera, kDrives),
                                   plain("pushCamera", &I::pushCamera, kDrives),
                                   byType("isDualCameraCanZoomFocus", &I::isDualCameraCanZoomFocus),
                                   byType("isDualCameraJustTakePic", &I::isDualCameraJustTakePic),
                                   byType("getPreviewOrCapture", &I::getPreviewOrCapture),
                                   withText("getCameraModuleInfo", &I::getCameraModuleInfo),
                                   plain("needCameraCalibration", &I::needCameraCalibration),
                                   plain("getCameraCalFlag", &I::getCameraCalFlag),
                                   {"controlTorch",
                                    {int32("type"), boolean("on")},
                                    Type::kVoid,
                                    Type::kVoid,
                                    kDrives,
                                    on<I>([](I& s, const Args& a, Outcome& o) {
                                        o.ret(s.controlTorch(a.i32(0), a.b(1)));
                                    })},
                                   {"updateTorchBrightness",
                                    {int32("level")},
                                    Type::kVoid,
                                    Type::kVoid,
                                    kDrives,
                                    on<I>([](I& s, const Args& a, Outcome& o) {
                                        o.ret(s.updateTorchBrightness(a.i32(0)));
                                    })},
                                   withInts("getTorchList", &I::getTorchList),
                                   extFun<I>(),
                           }};
    return area;
}

}  // namespace tevcatalog
