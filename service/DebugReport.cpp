#define LOG_TAG "TevVendorService-debug"

#include "DebugReport.h"

#include "TextEscape.h"

#include <errno.h>
#include <log/log.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace vendor::quoril::hardware::tevvendorservice::implementation {

using ::android::sp;
using ::android::hardware::hidl_handle;
using ::android::hardware::hidl_string;
using ::android::hardware::hidl_vec;
using ::android::hardware::Return;
using ::android::hidl::base::V1_0::IBase;
using ::vendor::quoril::hardware::tevvendorservice::V1_0::IAudioCheckService;
using ::vendor::quoril::hardware::tevvendorservice::V1_0::IBatteryCheckService;
using ::vendor::quoril::hardware::tevvendorservice::V1_0::ICameraCheckService;
using ::vendor::quoril::hardware::tevvendorservice::V1_0::IChargerCheckService;
using ::vendor::quoril::hardware::tevvendorservice::V1_0::IDisplayCheckService;
using ::vendor::quoril::hardware::tevvendorservice::V1_0::IFlashLifeCheckService;
using ::vendor::quoril::hardware::tevvendorservice::V1_0::IFPCheckService;
using ::vendor::quoril::hardware::tevvendorservice::V1_0::ILedsCheckService;
using ::vendor::quoril::hardware::tevvendorservice::V1_0::INfcCheckService;
using ::vendor::quoril::hardware::tevvendorservice::V1_0::ISensorCheckService;
using ::vendor::quoril::hardware::tevvendorservice::V1_0::ITevVendorService;
using ::vendor::quoril::hardware::tevvendorservice::V1_0::IUsbCheckService;
using ::vendor::quoril::hardware::tevvendorservice::V1_0::IVersionCheckService;

namespace {

constexpr char kJsonOption[] = "--json";
constexpr char kAreaHeading[] = "AREA";
constexpr char kOperationHeading[] = "OPERATION";
constexpr char kAnswerHeading[] = "ANSWER";
constexpr char kColumnGap[] = "  ";
constexpr char kAnswerGap[] = "  ";
constexpr char kNoOperation[] = "-";
constexpr char kNotAvailable[] = "(not available)";
constexpr char kNoReadingOperations[] = "(no reading operations)";
constexpr char kNoCallback[] = "(no callback)";

// One answered value, as the table shows it and as JSON.
struct Value {
    std::string text;
    std::string json;
};

// What one call answered: its return value, and every value its callback received.
struct Answer {
    std::optional<Value> returned;
    std::vector<Value> callbacks;
};

struct ReadingOperation {
    const char* name;
    bool answersThroughCallback;
    std::function<void(IBase& area, Answer* answer)> call;
};

struct ReportedArea {
    const char* name;
    const char* interface;
    std::function<sp<IBase>(ITevVendorService& root)> get;
    std::vector<ReadingOperation> operations;
};

// |s| in double quotes, escaped as the table or as JSON has it.
std::string quote(const std::string& s, bool json) {
    return "\"" + escapeText(s, true, json) + "\"";
}

Value valueOf(bool b) {
    return {b ? "true" : "false", b ? "true" : "false"};
}

Value valueOf(int32_t i) {
    return {std::to_string(i), std::to_string(i)};
}

Value valueOf(const hidl_string& s) {
    return {quote(s, false), quote(s, true)};
}

template <typename T>
Value valueOf(const hidl_vec<T>& items) {
    Value list{"[", "["};
    for (size_t i = 0; i < items.size(); ++i) {
        const Value item = valueOf(items[i]);
        list.text += (i > 0 ? ", " : "") + item.text;
        list.json += (i > 0 ? "," : "") + item.json;
    }
    list.text += "]";
    list.json += "]";
    return list;
}

// An operation that answers in its return value.
template <typename I, typename T>
ReadingOperation returning(const char* name, Return<T> (I::*operation)()) {
    return {name, false, [operation](IBase& area, Answer* answer) {
                T value = (static_cast<I&>(area).*operation)();
                answer->returned = valueOf(value);
            }};
}

// An operation that hands its answer to its result callback, if it answers at all.
template <typename I, typename T>
ReadingOperation callingBack(const char* name,
                             Return<void> (I::*operation)(std::function<void(const T&)>)) {
    return {name, true, [operation](IBase& area, Answer* answer) {
                (static_cast<I&>(area).*operation)(
                        [answer](const T& value) { answer->callbacks.push_back(valueOf(value)); });
            }};
}

template <typename I>
std::function<sp<IBase>(ITevVendorService&)> getter(Return<sp<I>> (ITevVendorService::*get)()) {
    return [get](ITevVendorService& root) -> sp<IBase> {
        sp<I> area = (root.*get)();
        return area;
    };
}

// The areas in the order the root hands them out, each with its operations that only read and
// take no arguments, in the order of its interface. Left out: whatever writes a node, switches a
// torch, LED or the reverse charging, enables, disables or calibrates a sensor, opens or polls the
// Hall connection, runs the touch-panel self-test, sets a screen effect or moves the pop-up camera.
const std::vector<ReportedArea>& reportedAreas() {
    using Version = IVersionCheckService;
    using Camera = ICameraCheckService;
    using Charger = IChargerCheckService;
    using Battery = IBatteryCheckService;
    using Sensor = ISensorCheckService;
    using Fp = IFPCheckService;
    static const std::vector<ReportedArea> kAreas = {
            {"version",
             "IVersionCheckService",
             getter(&ITevVendorService::getExtensionVersionCheckService),
             {
                     returning("isSingleSim", &Version::isSingleSim),
                     callingBack("getFSN", &Version::getFSN),
                     callingBack("getPhoneSerialNo", &Version::getPhoneSerialNo),
                     callingBack("getBasebandVersion", &Version::getBasebandVersion),
                     callingBack("getKernelVersion", &Version::getKernelVersion),
                     callingBack("getCpuId", &Version::getCpuId),
                     callingBack("getHardwareVersion", &Version::getHardwareVersion),
                     callingBack("getSecureBootStatus", &Version::getSecureBootStatus),
                     callingBack("getRpmbStatus", &Version::getRpmbStatus),
                     callingBack("getVerifiedBootState", &Version::getVerifiedBootState),
             }},
            {"leds",
             "ILedsCheckService",
             getter(&ITevVendorService::getExtensionLedsCheckService),
             {
                     callingBack("getLedsList", &ILedsCheckService::getLedsList),
             }},
            {"flashlife",
             "IFlashLifeCheckService",
             getter(&ITevVendorService::getExtensionFlashLifeCheckService),
             {
                     callingBack("getFlashLifeTime", &IFlashLifeCheckService::getFlashLifeTime),
                     callingBack("getFactoryDate", &IFlashLifeCheckService::getFactoryDate),
                     callingBack("readFlashSize", &IFlashLifeCheckService::readFlashSize),
                     callingBack("readFirmwareVersion", &IFlashLifeCheckService::readFirmwareVersion),
                     callingBack("readVendorName", &IFlashLifeCheckService::readVendorName),
             }},
            {"camera",
             "ICameraCheckService",
             getter(&ITevVendorService::getExtensionCameraCheckService),
             {
                     returning("isSupportPopCamera", &Camera::isSupportPopCamera),
                     returning("needAutopushCamera", &Camera::needAutopushCamera),
                     callingBack("getCameraModuleInfo", &Camera::getCameraModuleInfo),
                     returning("needCameraCalibration", &Camera::needCameraCalibration),
                     returning("getCameraCalFlag", &Camera::getCameraCalFlag),
                     callingBack("getTorchList", &Camera::getTorchList),
             }},
            {"charger",
             "IChargerCheckService",
             getter(&ITevVendorService::getExtensionChargerCheckService),
             {
                     returning("needTestElectric", &Charger::needTestElectric),
                     returning("getElectricThreshold", &Charger::getElectricThreshold),
                     returning("getCurrentElectrical", &Charger::getCurrentElectrical),
                     returning("isSupportHvdcpCharger", &Charger::isSupportHvdcpCharger),
                     returning("isSupportPDCharger", &Charger::isSupportPDCharger),
                     callingBack("getChargerType", &Charger::getChargerType),
                     returning("checkReverseWirelessChargeState",
                               &Charger::checkReverseWirelessChargeState),
             }},
            {"nfc",
             "INfcCheckService",
             getter(&ITevVendorService::getExtensionNfcCheckService),
             {
                     callingBack("getNfcChipModule", &INfcCheckService::getNfcChipModule),
                     returning("isSupportEse", &INfcCheckService::isSupportEse),
             }},
            {"usb",
             "IUsbCheckService",
             getter(&ITevVendorService::getExtensionUsbCheckService),
             {
                     returning("getUsbPluginStatus", &IUsbCheckService::getUsbPluginStatus),
                     returning("isMicroUsbDevice", &IUsbCheckService::isMicroUsbDevice),
             }},
            {"battery",
             "IBatteryCheckService",
             getter(&ITevVendorService::getExtensionBatteryCheckService),
             {
                     callingBack("getBatteryId", &Battery::getBatteryId),
                     returning("checkBatteryAuthentic", &Battery::checkBatteryAuthentic),
                     returning("checkDualConnector", &Battery::checkDualConnector),
                     returning("checkChipOK", &Battery::checkChipOK),
                     returning("isSupportDualConnect", &Battery::isSupportDualConnect),
                     callingBack("getBatteryVendor", &Battery::getBatteryVendor),
                     returning("getBatteryResistance", &Battery::getBatteryResistance),
                     returning("getBatteryFullChargeValue", &Battery::getBatteryFullChargeValue),
                     returning("getBatteryTemp", &Battery::getBatteryTemp),
             }},
            {"sensor",
             "ISensorCheckService",
             getter(&ITevVendorService::getExtensionSensorCheckService),
             {
                     returning("isOrientsensor", &Sensor::isOrientsensor),
                     returning("isHallTestFullScreen", &Sensor::isHallTestFullScreen),
                     callingBack("getHallPosition", &Sensor::getHallPosition),
                     returning("getSarSensorMode", &Sensor::getSarSensorMode),
                     callingBack("getSarSensorIDs", &Sensor::getSarSensorIDs),
                     returning("isUltrasoundSensor", &Sensor::isUltrasoundSensor),
             }},
            {"display",
             "IDisplayCheckService",
             getter(&ITevVendorService::getExtensionDisplayCheckService),
             {
                     callingBack("getLcmInfo", &IDisplayCheckService::getLcmInfo),
                     returning("getBacklightValue", &IDisplayCheckService::getBacklightValue),
                     callingBack("getTpColor", &IDisplayCheckService::getTpColor),
             }},
            {"fp",
             "IFPCheckService",
             getter(&ITevVendorService::getExtensionFPCheckService),
             {
                     callingBack("getFpType", &Fp::getFpType),
                     returning("isSupportCalibration", &Fp::isSupportCalibration),
                     returning("getFaculaColor", &Fp::getFaculaColor),
                     returning("isRectFP", &Fp::isRectFP),
                     callingBack("getFaculaParas", &Fp::getFaculaParas),
                     returning("getFodPressureSensorMarginLeft", &Fp::getFodPressureSensorMarginLeft),
                     returning("getFodPressureSensorMarginTop", &Fp::getFodPressureSensorMarginTop),
                     callingBack("getFPSensorStartPkgInfo", &Fp::getFPSensorStartPkgInfo),
                     callingBack("getFPFodCalStartPkgInfo", &Fp::getFPFodCalStartPkgInfo),
             }},
            // Its two operations are calibrations.
            {"audio",
             "IAudioCheckService",
             getter(&ITevVendorService::getExtensionAudioCheckService),
             {}},
    };
    return kAreas;
}

class Report {
  public:
    Report(int fd, bool json) : mFd(fd), mJson(json) {
        for (const ReportedArea& area : reportedAreas()) {
            mAreaWidth = std::max(mAreaWidth, strlen(area.name));
            for (const ReadingOperation& operation : area.operations) {
                mOperationWidth = std::max(mOperationWidth, strlen(operation.name));
            }
        }
    }

    void ignoredOption(const std::string& option) {
        emit("ignoring unknown option " + quote(option, false) + "\n");
    }

    void run(ITevVendorService& root) {
        emit(mJson ? "{\"areas\":[" : row(kAreaHeading, kOperationHeading, kAnswerHeading));
        bool first = true;
        for (const ReportedArea& area : reportedAreas()) {
            if (!mWritable) return;
            reportArea(root, area, first);
            first = false;
        }
        if (mJson) emit("]}\n");
    }

  private:
    void reportArea(ITevVendorService& root, const ReportedArea& area, bool first) {
        if (mJson) {
            emit(std::string(first ? "" : ",") + "{\"area\":" + quote(area.name, true) +
                 ",\"interface\":" + quote(area.interface, true) + ",\"calls\":[");
        }
        const sp<IBase> service = area.get(root);
        for (size_t i = 0; service != nullptr && i < area.operations.size() && mWritable; ++i) {
            const ReadingOperation& operation = area.operations[i];
            Answer answer;
            operation.call(*service, &answer);
            emit(mJson ? jsonCall(area, operation, answer, i == 0)
                       : row(area.name, operation.name, textAnswer(operation, answer)));
        }
        if (mJson) {
            emit(std::string("],\"available\":") + (service != nullptr ? "true" : "false") + "}");
        } else if (service == nullptr) {
            emit(row(area.name, kNoOperation, kNotAvailable));
        } else if (area.operations.empty()) {
            emit(row(area.name, kNoOperation, kNoReadingOperations));
        }
    }

    std::string row(const std::string& area, const std::string& operation,
                    const std::string& answer) const {
        return padded(area, mAreaWidth) + kColumnGap + padded(operation, mOperationWidth) +
               kColumnGap + answer + "\n";
    }

    static std::string padded(const std::string& text, size_t width) {
        return text + std::string(width - std::min(width, text.size()), ' ');
    }

    // The return value, then every value the callback received, or "(no callback)".
    static std::string textAnswer(const ReadingOperation& operation, const Answer& answer) {
        std::vector<std::string> parts;
        if (answer.returned) parts.push_back(answer.returned->text);
        for (const Value& value : answer.callbacks) parts.push_back(value.text);
        if (operation.answersThroughCallback && answer.callbacks.empty()) {
            parts.push_back(kNoCallback);
        }
        std::string text;
        for (size_t i = 0; i < parts.size(); ++i) text += (i > 0 ? kAnswerGap : "") + parts[i];
        return text;
    }

    static std::string jsonCall(const ReportedArea& area, const ReadingOperation& operation,
                                const Answer& answer, bool first) {
        std::string json = std::string(first ? "" : ",") + "{\"area\":" + quote(area.name, true) +
                           ",\"op\":" + quote(operation.name, true) + ",\"args\":[]";
        if (answer.returned) json += ",\"return\":" + answer.returned->json;
        json += ",\"callbacks\":[";
        for (size_t i = 0; i < answer.callbacks.size(); ++i) {
            json += (i > 0 ? "," : "") + answer.callbacks[i].json;
        }
        return json + "],\"writes\":[],\"sleeps\":[]}";
    }

    // Writes |text| whole; after a failed write nothing more is written or asked.
    void emit(const std::string& text) {
        for (size_t done = 0; mWritable && done < text.size();) {
            const ssize_t written =
                    TEMP_FAILURE_RETRY(write(mFd, text.data() + done, text.size() - done));
            if (written <= 0) {
                ALOGE("debug: the report cannot be written: %s", strerror(errno));
                mWritable = false;
            } else {
                done += static_cast<size_t>(written);
            }
        }
    }

    const int mFd;
    const bool mJson;
    bool mWritable = true;
    size_t mAreaWidth = strlen(kAreaHeading);
    size_t mOperationWidth = strlen(kOperationHeading);
};

}  // namespace

void writeDebugReport(ITevVendorService& root, const hidl_handle& handle,
                      const hidl_vec<hidl_string>& options) {
    if (handle == nullptr || handle->numFds < 1) {
        ALOGE("debug: the handle holds no file descriptor");
        return;
    }
    const bool json = std::find(options.begin(), options.end(), kJsonOption) != options.end();
    Report report(handle->data[0], json);
    for (const hidl_string& option : options) {
        if (option != kJsonOption) report.ignoredOption(option);
    }
    report.run(root);
}

}  // namespace vendor::quoril::hardware::tevvendorservice::implementation
