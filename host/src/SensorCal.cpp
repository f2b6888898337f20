// State of the stand-in for the closed sensor calibration library.
#include <tevhost/SensorCal.h>

#include <functional>
#include <map>
#include <mutex>
#include <utility>

#include "KeyValueFile.h"

namespace tevhost {
namespace sensorcal {
namespace {

struct State {
    std::mutex lock;
    Answers answers;
    int constructions = 0;
    int destructions = 0;
    const void* lastConstructed = nullptr;
    const void* lastDestroyed = nullptr;
    std::vector<std::string> calls;
    std::function<void()> constructionHook;
};

State& state() {
    static State* s = new State;  // never destroyed: a service may outlive static destruction
    return *s;
}

// How a key's value is read, and what it must look like.
struct Setter {
    std::function<bool(const std::string&, Answers*)> set;
    const char* expected;
};

constexpr char kBool[] = "true, false, 1 or 0";
constexpr char kInt[] = "a 32-bit decimal integer";

Setter boolAnswer(bool Answers::*field) {
    return {[field](const std::string& text, Answers* a) { return kv::toBool(text, &(a->*field)); },
            kBool};
}

Setter intAnswer(int Answers::*field) {
    return {[field](const std::string& text, Answers* a) { return kv::toInt(text, &(a->*field)); },
            kInt};
}

bool hallPosition(const std::string& text, Answers* a) {
    if (text == "untouched") {
        a->hallPosition.reset();
        return true;
    }
    std::vector<int32_t> xy;
    if (!kv::toIntList(text, &xy) || xy.size() != 2) return false;
    a->hallPosition = std::make_pair(xy[0], xy[1]);
    return true;
}

// The file's keys: the library's method names.
const std::map<std::string, Setter>& setters() {
    static const auto* s = new std::map<std::string, Setter>{
            {"isOrientsensor", boolAnswer(&Answers::isOrientsensor)},
            {"isHallTestFullScreen", boolAnswer(&Answers::isHallTestFullScreen)},
            {"getHallPosition", {hallPosition, "X,Y (integers) or untouched"}},
            {"sensor_calibrate", intAnswer(&Answers::sensorCalibrate)},
            {"sensor_enable", boolAnswer(&Answers::sensorEnable)},
            {"sensor_disable", boolAnswer(&Answers::sensorDisable)},
            {"sensor_getconfig",
             {[](const std::string& text, Answers* a) {
                  return kv::toDouble(text, &a->sensorGetconfig);
              },
              "a decimal number"}},
            {"getSarSensorMode", intAnswer(&Answers::sarSensorMode)},
            {"getSarSensorNumber", intAnswer(&Answers::sarSensorNumber)},
            {"isUltrasoundSensor", boolAnswer(&Answers::isUltrasoundSensor)},
    };
    return *s;
}

}  // namespace

void reset() {
    std::lock_guard<std::mutex> guard(state().lock);
    state().answers = Answers();
    state().constructions = 0;
    state().destructions = 0;
    state().lastConstructed = nullptr;
    state().lastDestroyed = nullptr;
    state().calls.clear();
    state().constructionHook = nullptr;
}

Answers answers() {
    std::lock_guard<std::mutex> guard(state().lock);
    return state().answers;
}

void setAnswers(const Answers& answers) {
    std::lock_guard<std::mutex> guard(state().lock);
    state().answers = answers;
}

int constructions() {
    std::lock_guard<std::mutex> guard(state().lock);
    return state().constructions;
}

int destructions() {
    std::lock_guard<std::mutex> guard(state().lock);
    return state().destructions;
}

const void* lastConstructed() {
    std::lock_guard<std::mutex> guard(state().lock);
    return state().lastConstructed;
}

const void* lastDestroyed() {
    std::lock_guard<std::mutex> guard(state().lock);
    return state().lastDestroyed;
}

std::vector<std::string> calls() {
    std::lock_guard<std::mutex> guard(state().lock);
    return state().calls;
}

bool loadFile(const std::string& path, int* badLine, std::string* problem) {
    std::vector<kv::Entry> entries;
    if (!kv::read(path, &entries, badLine, problem)) return false;
    Answers loaded = answers();
    for (const auto& entry : entries) {
        auto setter = setters().find(entry.key);
        if (setter == setters().end()) {
            kv::badEntry(entry, "", badLine, problem);
            return false;
        }
        if (!setter->second.set(entry.value, &loaded)) {
            kv::badEntry(entry, setter->second.expected, badLine, problem);
            return false;
        }
    }
    setAnswers(loaded);
    return true;
}

void setConstructionHook(std::function<void()> hook) {
    std::lock_guard<std::mutex> guard(state().lock);
    state().constructionHook = std::move(hook);
}

void constructed(const void* object) {
    std::function<void()> hook;
    {
        std::lock_guard<std::mutex> guard(state().lock);
        ++state().constructions;
        state().lastConstructed = object;
        hook = state().constructionHook;
    }
    if (hook) hook();
}

void destroyed(const void* object) {
    std::lock_guard<std::mutex> guard(state().lock);
    ++state().destructions;
    state().lastDestroyed = object;
}

Answers called(const std::string& call) {
    std::lock_guard<std::mutex> guard(state().lock);
    state().calls.push_back(call);
    return state().answers;
}

}  // namespace sensorcal
}  // namespace tevhost
