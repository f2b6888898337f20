// Control of the host's stand-in for the closed sensor calibration library
// (libsensor_cal_for_tevvendorservice.so): what each method of its SensorCalibration class answers,
// how many objects were made and destroyed, and which calls arrived. The stand-in library itself
// only forwards here, so any host binary can script it.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tevhost {
namespace sensorcal {

// One answer per method; the defaults are those of a library that finds nothing to test.
struct Answers {
    bool isOrientsensor = false;
    bool isHallTestFullScreen = false;
    std::optional<std::pair<int, int>> hallPosition;  // none: x and y are left untouched
    int sensorCalibrate = -1;                         // 0 is a good calibration
    bool sensorEnable = false;
    bool sensorDisable = false;
    double sensorGetconfig = 0.0;
    int sarSensorMode = 0;
    int sarSensorNumber = 0;
    bool isUltrasoundSensor = false;
};

// Default answers, counters at zero, no calls recorded, no construction hook.
void reset();
Answers answers();
void setAnswers(const Answers& answers);

// Objects constructed and destroyed since the last reset, and the last of each (null if none).
int constructions();
int destructions();
const void* lastConstructed();
const void* lastDestroyed();

// Called on the constructing thread each time an object is made, once it is counted: a test holds
// a construction there while other threads run.
void setConstructionHook(std::function<void()> hook);

// Every method called since the last reset, in order, written "sensor_calibrate(5, 1)".
std::vector<std::string> calls();

// Sets answers from a file of "method=answer" lines (the `sensorcal` file of a device profile;
// format in README.md); methods the file leaves out keep their answers. Returns false when the file
// cannot be read or, with |badLine| (1-based) set, when a line is not a known method with a valid
// answer; nothing is changed then. |problem| says what was wrong ("KEY: expected WHAT, not
// 'VALUE'").
bool loadFile(const std::string& path, int* badLine = nullptr, std::string* problem = nullptr);

// Used by the stand-in library: an object was made or destroyed; a method was called (the answers
// in force are returned).
void constructed(const void* object);
void destroyed(const void* object);
Answers called(const std::string& call);

}  // namespace sensorcal
}  // namespace tevhost
