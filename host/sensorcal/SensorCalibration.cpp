// Host stand-in for the closed sensor calibration library, built under the library's own name
// (libsensor_cal_for_tevvendorservice.so) from the service's declaration of its class. Every method
// answers what tevhost/SensorCal.h scripts and is recorded there with its arguments.
#include "SensorCalibration.h"

#include <tevhost/SensorCal.h>

#include <string>

namespace sensorcal = tevhost::sensorcal;

namespace {

std::string call(const char* method, std::initializer_list<int> args = {}) {
    std::string text = std::string(method) + "(";
    for (int arg : args) {
        if (text.back() != '(') text += ", ";
        text += std::to_string(arg);
    }
    return text + ")";
}

}  // namespace

SensorCalibration::SensorCalibration() {
    sensorcal::constructed(this);
}

SensorCalibration::~SensorCalibration() {
    sensorcal::destroyed(this);
}

bool SensorCalibration::isOrientsensor() {
    return sensorcal::called(call(__func__)).isOrientsensor;
}

bool SensorCalibration::isHallTestFullScreen() {
    return sensorcal::called(call(__func__)).isHallTestFullScreen;
}

void SensorCalibration::getHallPosition(int* x, int* y) {
    auto position = sensorcal::called(call(__func__)).hallPosition;
    if (position) {
        *x = position->first;
        *y = position->second;
    }
}

int SensorCalibration::sensor_calibrate(int type, int para) {
    return sensorcal::called(call(__func__, {type, para})).sensorCalibrate;
}

bool SensorCalibration::sensor_enable(int type) {
    return sensorcal::called(call(__func__, {type})).sensorEnable;
}

bool SensorCalibration::sensor_disable(int type) {
    return sensorcal::called(call(__func__, {type})).sensorDisable;
}

double SensorCalibration::sensor_getconfig(int type, int axis) {
    return sensorcal::called(call(__func__, {type, axis})).sensorGetconfig;
}

int SensorCalibration::getSarSensorMode() {
    return sensorcal::called(call(__func__)).sarSensorMode;
}

int SensorCalibration::getSarSensorNumber() {
    return sensorcal::called(call(__func__)).sarSensorNumber;
}

bool SensorCalibration::isUltrasoundSensor() {
    return sensorcal::called(call(__func__)).isUltrasoundSensor;
}
