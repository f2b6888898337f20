// The one list of the interface's operations: the root's pass-throughs and the twelve areas the
// root hands out, each operation with whether it only reads and the names of its arguments. The
// lshal debug report and the host's catalogue (tevctl, tests, fuzzers, benchmarks) are both made
// from it; the types of arguments and answers come from the generated interface itself.
#pragma once

#include <vendor/quoril/hardware/tevvendorservice/1.0/ITevVendorService.h>

#include <cstddef>
#include <functional>
#include <initializer_list>
#include <type_traits>
#include <utility>
#include <vector>

#include "Answer.h"

namespace vendor::quoril::hardware::tevvendorservice::implementation {

// Whether an operation only reads (properties, nodes, fixed answers) or drives the hardware:
// writes a node, switches a torch, LED or the reverse charging, enables, disables or calibrates a
// sensor, opens or polls the Hall connection, runs the touch-panel self-test, sets a screen effect
// or moves the pop-up camera.
enum class Effect { kReads, kDrives };

// Hands |list| every area, in the order of the root interface, and after each area its
// operations, in the order of the area's interface:
//   list.template area<I>(name, interface, getter)  getter: the root's getExtension...Service, or
//                                                    nullptr for the root's own operations
//   list.operation(name, &I::operation, effect, {argument names}, {product argument sets})
// The product argument sets, each as the words of a call's arguments, are the calls whose answers
// (and the nodes they write) follow from the product name, the library's per-product lists and
// tables; the debug report passes them by, the catalogue keeps them for tevctl products.
template <typename List>
void listOperations(List& list) {
    using namespace ::vendor::quoril::hardware::tevvendorservice::V1_0;
    constexpr Effect kReads = Effect::kReads;
    constexpr Effect kDrives = Effect::kDrives;
    // The product argument set of an operation without arguments.
    const std::initializer_list<const char*> kByProduct = {""};
    // The reserved extension point every area ends with.
    auto extFun = [&list](auto fn) { list.operation("extFun", fn, kReads, {"name", "args"}); };

    using Root = ITevVendorService;
    list.template area<Root>("root", "ITevVendorService", nullptr);
    list.operation("getVendorProperty", &Root::getVendorProperty, kReads, {"key", "defaultValue"});
    list.operation("setVendorProperty", &Root::setVendorProperty, kDrives, {"key", "value"});
    list.operation("getVendorFileValue", &Root::getVendorFileValue, kReads, {"path"});
    list.operation("setVendorFileValue", &Root::setVendorFileValue, kDrives, {"path", "value"});

    using Version = IVersionCheckService;
    list.area("version", "IVersionCheckService", &Root::getExtensionVersionCheckService);
    list.operation("isSingleSim", &Version::isSingleSim, kReads);
    list.operation("getFSN", &Version::getFSN, kReads);
    list.operation("getPhoneSerialNo", &Version::getPhoneSerialNo, kReads);
    list.operation("getBasebandVersion", &Version::getBasebandVersion, kReads);
    list.operation("getKernelVersion", &Version::getKernelVersion, kReads);
    list.operation("getCpuId", &Version::getCpuId, kReads);
    list.operation("getHardwareVersion", &Version::getHardwareVersion, kReads);
    list.operation("getSecureBootStatus", &Version::getSecureBootStatus, kReads);
    list.operation("getRpmbStatus", &Version::getRpmbStatus, kReads);
    list.operation("getVerifiedBootState", &Version::getVerifiedBootState, kReads);
    extFun(&Version::extFun);

    using Leds = ILedsCheckService;
    list.area("leds", "ILedsCheckService", &Root::getExtensionLedsCheckService);
    list.operation("controlLed", &Leds::controlLed, kDrives, {"type", "isOn"});
    list.operation("getLedBrightness", &Leds::getLedBrightness, kReads, {"type", "isMax"});
    list.operation("getLedsList", &Leds::getLedsList, kReads, {}, kByProduct);
    extFun(&Leds::extFun);

    // Only reads, though the area keeps the last value of each answer for the life of the process.
    using FlashLife = IFlashLifeCheckService;
    list.area("flashlife", "IFlashLifeCheckService", &Root::getExtensionFlashLifeCheckService);
    list.operation("getFlashLifeTime", &FlashLife::getFlashLifeTime, kReads, {}, kByProduct);
    list.operation("getFactoryDate", &FlashLife::getFactoryDate, kReads, {}, kByProduct);
    list.operation("readFlashSize", &FlashLife::readFlashSize, kReads, {}, kByProduct);
    list.operation("readFirmwareVersion", &FlashLife::readFirmwareVersion, kReads, {}, kByProduct);
    list.operation("readVendorName", &FlashLife::readVendorName, kReads, {}, kByProduct);
    extFun(&FlashLife::extFun);

    using Camera = ICameraCheckService;
    list.area("camera", "ICameraCheckService", &Root::getExtensionCameraCheckService);
    // The test application asks for the types 1 to 15; 0 and 16 are no type.
    list.operation("getCameraId", &Camera::getCameraId, kReads, {"type"},
                   {"0", "1", "2", "3", "4", "5", "6", "7", "8", "9", "10", "11", "12", "13", "14",
                    "15", "16"});
    list.operation("isSupportPopCamera", &Camera::isSupportPopCamera, kReads, {}, kByProduct);
    list.operation("needAutopushCamera", &Camera::needAutopushCamera, kReads, {}, kByProduct);
    list.operation("popCamera", &Camera::popCamera, kDrives);
    list.operation("pushCamera", &Camera::pushCamera, kDrives);
    list.operation("isDualCameraCanZoomFocus", &Camera::isDualCameraCanZoomFocus, kReads, {"type"},
                   {"1"});
    list.operation("isDualCameraJustTakePic", &Camera::isDualCameraJustTakePic, kReads, {"type"},
                   {"1"});
    list.operation("getPreviewOrCapture", &Camera::getPreviewOrCapture, kReads, {"type"});
    list.operation("getCameraModuleInfo", &Camera::getCameraModuleInfo, kReads);
    list.operation("needCameraCalibration", &Camera::needCameraCalibration, kReads, {}, kByProduct);
    list.operation("getCameraCalFlag", &Camera::getCameraCalFlag, kReads);
    list.operation("controlTorch", &Camera::controlTorch, kDrives, {"type", "on"},
                   {"1 true", "2 true", "1 false"});
    list.operation("updateTorchBrightness", &Camera::updateTorchBrightness, kDrives, {"level"},
                   {"100", "0"});
    list.operation("getTorchList", &Camera::getTorchList, kReads, {}, kByProduct);
    extFun(&Camera::extFun);

    using Charger = IChargerCheckService;
    list.area("charger", "IChargerCheckService", &Root::getExtensionChargerCheckService);
    list.operation("needTestElectric", &Charger::needTestElectric, kReads, {}, kByProduct);
    list.operation("getElectricThreshold", &Charger::getElectricThreshold, kReads, {}, kByProduct);
    list.operation("getCurrentElectrical", &Charger::getCurrentElectrical, kReads);
    list.operation("isSupportHvdcpCharger", &Charger::isSupportHvdcpCharger, kReads, {}, kByProduct);
    list.operation("isSupportPDCharger", &Charger::isSupportPDCharger, kReads, {}, kByProduct);
    list.operation("getChargerType", &Charger::getChargerType, kReads);
    list.operation("controlReverseWirelessCharge", &Charger::controlReverseWirelessCharge, kDrives,
                   {"control"});
    list.operation("checkReverseWirelessChargeState", &Charger::checkReverseWirelessChargeState,
                   kReads);
    extFun(&Charger::extFun);

    using Nfc = INfcCheckService;
    list.area("nfc", "INfcCheckService", &Root::getExtensionNfcCheckService);
    list.operation("getNfcChipModule", &Nfc::getNfcChipModule, kReads);
    list.operation("isSupportEse", &Nfc::isSupportEse, kReads);
    extFun(&Nfc::extFun);

    using Usb = IUsbCheckService;
    list.area("usb", "IUsbCheckService", &Root::getExtensionUsbCheckService);
    list.operation("getUsbPluginStatus", &Usb::getUsbPluginStatus, kReads);
    list.operation("isMicroUsbDevice", &Usb::isMicroUsbDevice, kReads);
    extFun(&Usb::extFun);

    using Battery = IBatteryCheckService;
    list.area("battery", "IBatteryCheckService", &Root::getExtensionBatteryCheckService);
    list.operation("getBatteryId", &Battery::getBatteryId, kReads);
    list.operation("checkBatteryAuthentic", &Battery::checkBatteryAuthentic, kReads);
    list.operation("checkDualConnector", &Battery::checkDualConnector, kReads);
    list.operation("checkChipOK", &Battery::checkChipOK, kReads);
    list.operation("isSupportDualConnect", &Battery::isSupportDualConnect, kReads);
    list.operation("getBatteryVendor", &Battery::getBatteryVendor, kReads);
    list.operation("getBatteryResistance", &Battery::getBatteryResistance, kReads);
    list.operation("getBatteryFullChargeValue", &Battery::getBatteryFullChargeValue, kReads);
    list.operation("getBatteryTemp", &Battery::getBatteryTemp, kReads);
    extFun(&Battery::extFun);

    using Sensor = ISensorCheckService;
    list.area("sensor", "ISensorCheckService", &Root::getExtensionSensorCheckService);
    list.operation("isOrientsensor", &Sensor::isOrientsensor, kReads);
    list.operation("isHallTestFullScreen", &Sensor::isHallTestFullScreen, kReads);
    list.operation("getHallPosition", &Sensor::getHallPosition, kReads);
    list.operation("calibrateSensor", &Sensor::calibrateSensor, kDrives, {"type", "para"});
    list.operation("enableSensor", &Sensor::enableSensor, kDrives, {"type"});
    list.operation("disableSensor", &Sensor::disableSensor, kDrives, {"type"});
    list.operation("getSensorConfig", &Sensor::getSensorConfig, kReads, {"type", "axis"});
    list.operation("initHallSocket", &Sensor::initHallSocket, kDrives, {"connect"});
    list.operation("hallEventListener", &Sensor::hallEventListener, kDrives);
    list.operation("getSarSensorMode", &Sensor::getSarSensorMode, kReads);
    list.operation("getSarSensorIDs", &Sensor::getSarSensorIDs, kReads);
    list.operation("getSarParams", &Sensor::getSarParams, kReads, {"type"});
    list.operation("isUltrasoundSensor", &Sensor::isUltrasoundSensor, kReads);
    extFun(&Sensor::extFun);

    using Display = IDisplayCheckService;
    list.area("display", "IDisplayCheckService", &Root::getExtensionDisplayCheckService);
    list.operation("doSelfTestAndGetResult", &Display::doSelfTestAndGetResult, kDrives);
    list.operation("getLcmInfo", &Display::getLcmInfo, kReads, {}, kByProduct);
    list.operation("getBacklightValue", &Display::getBacklightValue, kReads);
    list.operation("getTpColor", &Display::getTpColor, kReads);
    extFun(&Display::extFun);

    using Fp = IFPCheckService;
    list.area("fp", "IFPCheckService", &Root::getExtensionFPCheckService);
    list.operation("getFpType", &Fp::getFpType, kReads);
    list.operation("isSupportCalibration", &Fp::isSupportCalibration, kReads, {}, kByProduct);
    list.operation("setScreenEffectNew", &Fp::setScreenEffectNew, kDrives, {"mode"}, {"NIT_630"});
    list.operation("getFaculaColor", &Fp::getFaculaColor, kReads, {}, kByProduct);
    list.operation("isRectFP", &Fp::isRectFP, kReads, {}, kByProduct);
    list.operation("getFaculaParas", &Fp::getFaculaParas, kReads, {}, kByProduct);
    list.operation("getFodPressureSensorMarginLeft", &Fp::getFodPressureSensorMarginLeft, kReads,
                   {}, kByProduct);
    list.operation("getFodPressureSensorMarginTop", &Fp::getFodPressureSensorMarginTop, kReads, {},
                   kByProduct);
    list.operation("getFPSensorStartPkgInfo", &Fp::getFPSensorStartPkgInfo, kReads);
    list.operation("getFPFodCalStartPkgInfo", &Fp::getFPFodCalStartPkgInfo, kReads);
    extFun(&Fp::extFun);

    // Its two operations are calibrations.
    using Audio = IAudioCheckService;
    list.area("audio", "IAudioCheckService", &Root::getExtensionAudioCheckService);
    list.operation("smartPACali", &Audio::smartPACali, kDrives);
    list.operation("speakerCali", &Audio::speakerCali, kDrives);
    extFun(&Audio::extFun);
}

// Making a call of a listed operation from values.
namespace calling {

// Whether a parameter is the result callback, and the type it hands over.
template <typename P>
struct Callback : std::false_type {};
template <typename T>
struct Callback<std::function<void(const T&)>> : std::true_type {
    using Value = T;
};

// The arguments an operation of parameters |P| takes, its result callback left out.
template <typename... P>
constexpr size_t kArguments = (size_t{0} + ... + (Callback<std::decay_t<P>>::value ? 0 : 1));

template <typename... P>
constexpr bool kCallsBack = (false || ... || Callback<std::decay_t<P>>::value);

// The type a value of C++ type |T| has.
template <typename T>
constexpr Type typeOf() {
    using ::android::hardware::hidl_string;
    using ::android::hardware::hidl_vec;
    if constexpr (std::is_same_v<T, void>) return Type::kVoid;
    if constexpr (std::is_same_v<T, bool>) return Type::kBool;
    if constexpr (std::is_same_v<T, int32_t>) return Type::kInt32;
    if constexpr (std::is_same_v<T, double>) return Type::kDouble;
    if constexpr (std::is_same_v<T, hidl_string>) return Type::kString;
    if constexpr (std::is_same_v<T, hidl_vec<int32_t>>) return Type::kIntList;
    if constexpr (std::is_same_v<T, hidl_vec<hidl_string>>) return Type::kStringList;
    if constexpr (std::is_enum_v<T>) return Type::kEnum;
    return Type::kVoid;
}

// The argument of C++ type |T| that |value| holds.
template <typename T>
T argument(const Value& value) {
    if constexpr (std::is_same_v<T, bool>) {
        return value.number != 0;
    } else if constexpr (std::is_same_v<T, ::android::hardware::hidl_string>) {
        return value.text;
    } else if constexpr (std::is_same_v<
                                 T, ::android::hardware::hidl_vec<::android::hardware::hidl_string>>) {
        T list(value.texts.size());
        for (size_t i = 0; i < value.texts.size(); ++i) list[i] = value.texts[i];
        return list;
    } else {
        return static_cast<T>(static_cast<int32_t>(value.number));  // int32_t and the enums
    }
}

template <typename P>
std::decay_t<P> pass(const std::vector<Value>& args, size_t i, Answer* answer) {
    using T = std::decay_t<P>;
    if constexpr (Callback<T>::value) {
        return answer->receiver<typename Callback<T>::Value>();
    } else {
        return argument<T>(args.at(i));
    }
}

template <typename I, typename R, typename... P, size_t... k>
void call(I& area, ::android::hardware::Return<R> (I::*operation)(P...),
          const std::vector<Value>& args, Answer* answer, std::index_sequence<k...>) {
    answer->take((area.*operation)(pass<P>(args, k, answer)...));
}

// Calls |operation| on |area| with |args| (one value per argument, in order), and keeps what it
// answered in |answer|.
template <typename I, typename R, typename... P>
void call(I& area, ::android::hardware::Return<R> (I::*operation)(P...),
          const std::vector<Value>& args, Answer* answer) {
    call(area, operation, args, answer, std::index_sequence_for<P...>());
}

}  // namespace calling

}  // namespace vendor::quoril::hardware::tevvendorservice::implementation
