// The sensor area: the calibration library's object and the answers forwarded from it, and the Hall
// operations through the sibling sensor test service.
#include <tevhost/FakeSensorService.h>
#include <tevhost/SensorCal.h>
#include <tevhost/Services.h>

#include <chrono>
#include <fstream>
#include <future>
#include <thread>

#include "HandsetTest.h"
#include "SensorCheckService.h"

namespace tevhost {
namespace {

using ::android::sp;
using ::android::hardware::hidl_vec;
using ::android::hardware::Return;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;
using ::vendor::quoril::hardware::tevvendorservice::implementation::g_mSensorCalibration;
using ::vendor::quoril::hardware::tevvendorservice::implementation::SensorCheckService;
using ::vendor::quoril::hardware::tevvendorservice::V1_0::HallConnect;
using ::vendor::quoril::hardware::tevvendorservice::V1_0::ISensorCheckService;
using ::vendor::quoril::hardware::tevvendorservice::V1_0::ITevVendorService;

constexpr const char* kTag = "SensorCheckService-hal";
constexpr int D = ANDROID_LOG_DEBUG;
constexpr int I = ANDROID_LOG_INFO;

class SensorCheckServiceTest : public HandsetTest {
  protected:
    void SetUp() override {
        HandsetTest::SetUp();
        sensorcal::reset();
        service = root();
        ASSERT_NE(service, nullptr);
        sensor = service->getExtensionSensorCheckService();
        ASSERT_NE(sensor, nullptr);
        log::clear();
    }
    void script(const std::function<void(sensorcal::Answers&)>& change) {
        sensorcal::Answers answers = sensorcal::answers();
        change(answers);
        sensorcal::setAnswers(answers);
    }
    sp<FakeSensorService> registerSibling() {
        sp<FakeSensorService> fake = new FakeSensorService();
        EXPECT_EQ(fake->registerAsService("default"), ::android::OK);
        return fake;
    }
    // This area's log lines, with their priorities; the log is cleared.
    std::vector<log::Line> takeLog() {
        std::vector<log::Line> lines;
        for (const auto& line : log::lines()) {
            if (line.tag == kTag) lines.push_back(line);
        }
        log::clear();
        return lines;
    }
    template <typename T>
    std::vector<T> listAnswer(
            Return<void> (ISensorCheckService::*op)(std::function<void(const hidl_vec<T>&)>)) {
        std::vector<T> out;
        int calls = 0;
        ((*sensor).*op)([&](const hidl_vec<T>& v) {
            out = v;
            ++calls;
        });
        EXPECT_EQ(calls, 1);
        return out;
    }
    sp<ITevVendorService> service;
    sp<ISensorCheckService> sensor;
};

using SensorCheckServiceDeathTest = SensorCheckServiceTest;

TEST_F(SensorCheckServiceTest, LibraryObjectLivesFromTheFirstRequestUntilTheRootGoes) {
    sp<ITevVendorService> other = root();
    EXPECT_EQ(sensorcal::constructions(), 1);  // made by the first request, not by the root
    const void* object = sensorcal::lastConstructed();
    EXPECT_EQ(g_mSensorCalibration, object);
    EXPECT_EQ(value(service->getExtensionSensorCheckService()), sensor);
    EXPECT_EQ(sensorcal::constructions(), 1);

    sensor.clear();
    service.clear();
    EXPECT_EQ(sensorcal::destructions(), 1);
    EXPECT_EQ(sensorcal::lastDestroyed(), object);
    EXPECT_EQ(g_mSensorCalibration, object);  // the address stays behind
    EXPECT_THAT(takeLog(), ElementsAre(LogLine(I, kTag,
                                               "~SensorCheckService: "
                                               "delete SensorCalibration()")));

    // Another root makes its own area and object.
    ASSERT_NE(value(other->getExtensionSensorCheckService()), nullptr);
    EXPECT_EQ(sensorcal::constructions(), 2);
    EXPECT_EQ(g_mSensorCalibration, sensorcal::lastConstructed());
    EXPECT_THAT(takeLog(),
                ElementsAre(LogLine(I, kTag, "SensorCheckService: new SensorCalibration()")));
}

TEST_F(SensorCheckServiceTest, EveryConstructorMakesAFreshObjectAndLeavesTheOldOneAlone) {
    SensorCalibration* first = g_mSensorCalibration;
    sp<SensorCheckService> second = new SensorCheckService();
    EXPECT_EQ(sensorcal::constructions(), 2);
    EXPECT_EQ(sensorcal::destructions(), 0);
    SensorCalibration* replacement = g_mSensorCalibration;
    EXPECT_NE(replacement, first);
    EXPECT_EQ(replacement, sensorcal::lastConstructed());

    second.clear();
    EXPECT_EQ(sensorcal::destructions(), 1);
    EXPECT_EQ(sensorcal::lastDestroyed(), replacement);
    // The root's area would now free that address once more: the design relies on one sensor area
    // per process. Hand it back its own object before it goes.
    g_mSensorCalibration = first;
    sensor.clear();
    service.clear();
    EXPECT_EQ(sensorcal::destructions(), 2);
    EXPECT_EQ(sensorcal::lastDestroyed(), first);
}

TEST_F(SensorCheckServiceTest, CalibrationSucceedsExactlyWhenTheLibraryAnswersZero) {
    const struct {
        int library;
        bool expected;
        const char* endLog;
    } cases[] = {
            {0, true, "calibrateSensor: calibrateSensor end result = 1"},
            {1, false, "calibrateSensor: calibrateSensor end result = 0"},
            {-1, false, "calibrateSensor: calibrateSensor end result = 0"},
    };
    for (const auto& c : cases) {
        script([&](auto& a) { a.sensorCalibrate = c.library; });
        EXPECT_EQ(value(sensor->calibrateSensor(5, -2)), c.expected) << c.library;
        EXPECT_THAT(takeLog(),
                    ElementsAre(LogLine(I, kTag, "calibrateSensor: enter type=5,para = -2"),
                                LogLine(I, kTag, c.endLog)));
    }
    EXPECT_THAT(sensorcal::calls(), ElementsAre("sensor_calibrate(5, -2)", "sensor_calibrate(5, -2)",
                                                "sensor_calibrate(5, -2)"));
}

TEST_F(SensorCheckServiceTest, EnableDisableAndConfigHandTheLibraryAnswersBack) {
    for (bool on : {true, false}) {
        script([&](auto& a) {
            a.sensorEnable = on;
            a.sensorDisable = !on;
        });
        EXPECT_EQ(value(sensor->enableSensor(33171015)), on);
        EXPECT_EQ(value(sensor->disableSensor(-4)), !on);
        std::string enabled = on ? "1" : "0";
        std::string disabled = on ? "0" : "1";
        EXPECT_THAT(
                takeLog(),
                ElementsAre(
                        LogLine(I, kTag,
                                "enableSensor: enableSensor type = 33171015 result = " + enabled),
                        LogLine(I, kTag,
                                "disableSensor: disableSensor type = -4 result = " + disabled)));
    }
    script([](auto& a) { a.sensorGetconfig = -1234.0625; });
    EXPECT_EQ(value(sensor->getSensorConfig(1, 2)), -1234.0625);
    EXPECT_THAT(takeLog(), ElementsAre(LogLine(I, kTag,
                                               "getSensorConfig: enter type=1, "
                                               "axis=2,value=-1234.062500")));
    EXPECT_EQ(sensorcal::calls().back(), "sensor_getconfig(1, 2)");
}

TEST_F(SensorCheckServiceTest, WithoutALibraryObjectOnlyCalibrationAndConfigAreGuarded) {
    SensorCalibration* object = g_mSensorCalibration;
    g_mSensorCalibration = nullptr;
    EXPECT_FALSE(value(sensor->calibrateSensor(3, 4)));
    EXPECT_EQ(value(sensor->getSensorConfig(3, 0)), 0.0);
    g_mSensorCalibration = object;
    EXPECT_THAT(takeLog(), ElementsAre(LogLine(I, kTag, "calibrateSensor: enter type=3,para = 4"),
                                       LogLine(I, kTag, "g_mSensorCalibration is NULL"),
                                       LogLine(I, kTag, "g_mSensorCalibration is NULL")));
    EXPECT_THAT(sensorcal::calls(), IsEmpty());
}

TEST_F(SensorCheckServiceTest, SarIdsHoldTheSecondSensorOnlyForACountOfTwo) {
    const struct {
        int count;
        std::vector<int32_t> ids;
    } cases[] = {{2, {33171015, 33171016}},
                 {0, {33171015}},
                 {1, {33171015}},
                 {3, {33171015}},
                 {-2, {33171015}}};
    for (const auto& c : cases) {
        script([&](auto& a) { a.sarSensorNumber = c.count; });
        EXPECT_THAT(listAnswer(&ISensorCheckService::getSarSensorIDs), ElementsAreArray(c.ids))
                << c.count;
    }
    EXPECT_THAT(takeLog(), IsEmpty());
}

TEST_F(SensorCheckServiceTest, HallPositionIsXThenYAndZeroWhenUntouched) {
    EXPECT_THAT(listAnswer(&ISensorCheckService::getHallPosition), ElementsAre(0, 0));
    script([](auto& a) { a.hallPosition = std::make_pair(540, 2210); });
    EXPECT_THAT(listAnswer(&ISensorCheckService::getHallPosition), ElementsAre(540, 2210));
    EXPECT_THAT(takeLog(), ElementsAre(LogLine(I, kTag, "getHallPosition: x_pos=0,y_pos = 0"),
                                       LogLine(I, kTag, "getHallPosition: x_pos=540,y_pos = 2210")));
}

TEST_F(SensorCheckServiceTest, FactsComeStraightFromTheLibraryAndStubsNeverAnswer) {
    for (bool yes : {true, false}) {
        script([&](auto& a) {
            a.isOrientsensor = yes;
            a.isHallTestFullScreen = !yes;
            a.isUltrasoundSensor = yes;
            a.sarSensorMode = yes ? -7 : 2;
        });
        EXPECT_EQ(value(sensor->isOrientsensor()), yes);
        EXPECT_EQ(value(sensor->isHallTestFullScreen()), !yes);
        EXPECT_EQ(value(sensor->isUltrasoundSensor()), yes);
        EXPECT_EQ(value(sensor->getSarSensorMode()), yes ? -7 : 2);
    }
    int calls = 0;
    EXPECT_TRUE(sensor->getSarParams(1, [&](const auto&) { ++calls; }).isOk());
    EXPECT_TRUE(sensor->extFun("n", {"a"}, [&](const auto&) { ++calls; }).isOk());
    EXPECT_EQ(calls, 0);
    EXPECT_THAT(takeLog(), IsEmpty());
}

TEST_F(SensorCheckServiceTest, WithoutTheSiblingHallOperationsAnswerNeutrally) {
    EXPECT_EQ(value(sensor->initHallSocket(HallConnect::CONNECT)), 0);
    EXPECT_THAT(takeLog(),
                ElementsAre(LogLine(D, kTag, "com_quoril_sensor_nativeInitHallSocket start..."),
                            LogLine(D, kTag, "com_quoril_sensor_nativeInitHallSocket NULL...")));
    EXPECT_EQ(value(sensor->initHallSocket(HallConnect::DISCONNECT)), 0);
    takeLog();
    EXPECT_EQ(value(sensor->hallEventListener()), -1);
    EXPECT_THAT(takeLog(),
                ElementsAre(LogLine(D, kTag, "com_quoril_sensor_nativeHallEventListener start"),
                            LogLine(D, kTag, "com_quoril_sensor_nativeInitHallSocket NULL...")));
}

TEST_F(SensorCheckServiceTest, OpenAndCloseAnswerOneOnlyForTheSiblingsOne) {
    const struct {
        HallConnect connect;
        int32_t sibling;
        int32_t expected;
    } cases[] = {
            {HallConnect::CONNECT, 1, 1},    {HallConnect::CONNECT, 0, 0},
            {HallConnect::CONNECT, 2, 0},    {HallConnect::CONNECT, -5, 0},
            {HallConnect::DISCONNECT, 1, 1}, {HallConnect::DISCONNECT, 0, 0},
            {HallConnect::DISCONNECT, 2, 0}, {HallConnect::DISCONNECT, -5, 0},
    };
    for (const auto& c : cases) {
        sp<FakeSensorService> sibling = registerSibling();
        bool open = c.connect == HallConnect::CONNECT;
        open ? sibling->setInitAnswer(c.sibling) : sibling->setDeinitAnswer(c.sibling);
        EXPECT_EQ(value(sensor->initHallSocket(c.connect)), c.expected) << c.sibling;
        EXPECT_EQ(sibling->calls(FakeSensorService::kInitHallService), open ? 1 : 0);
        EXPECT_EQ(sibling->calls(FakeSensorService::kDeinitHallService), open ? 0 : 1);
        std::string word = open ? "initService" : "deinitService";
        std::string answer = std::to_string(c.sibling);
        EXPECT_THAT(
                takeLog(),
                ElementsAre(
                        LogLine(D, kTag, "com_quoril_sensor_nativeInitHallSocket start..."),
                        LogLine(D, kTag,
                                "com_quoril_sensor_nativeInitHallSocket " + word + " :" + answer),
                        LogLine(I, kTag, "initHallSocket: initHallSocket result = " + answer)));
    }
}

TEST_F(SensorCheckServiceTest, AnUnknownConnectValueCallsNothing) {
    sp<FakeSensorService> sibling = registerSibling();
    EXPECT_EQ(value(sensor->initHallSocket(static_cast<HallConnect>(2))), 0);
    EXPECT_EQ(sibling->calls(FakeSensorService::kInitHallService), 0);
    EXPECT_EQ(sibling->calls(FakeSensorService::kDeinitHallService), 0);
    EXPECT_THAT(takeLog(),
                ElementsAre(LogLine(D, kTag, "com_quoril_sensor_nativeInitHallSocket start..."),
                            LogLine(I, kTag, "initHallSocket: initHallSocket result = 0")));
}

TEST_F(SensorCheckServiceTest, PollAnswersOutsideTheEventKindsBecomeMinusOne) {
    sp<FakeSensorService> sibling = registerSibling();
    const struct {
        int32_t sibling;
        int32_t expected;
    } cases[] = {{0, 0}, {1, 1}, {3, 3}, {2, -1}, {4, -1}, {-2, -1}};
    std::vector<int32_t> answers;
    for (const auto& c : cases) answers.push_back(c.sibling);
    sibling->setPollAnswers(answers);
    for (const auto& c : cases) {
        EXPECT_EQ(value(sensor->hallEventListener()), c.expected) << c.sibling;
        std::string answer = std::to_string(c.sibling);
        EXPECT_THAT(takeLog(),
                    ElementsAre(LogLine(D, kTag, "com_quoril_sensor_nativeHallEventListener start"),
                                LogLine(I, kTag, "hallEventListener: ret = " + answer),
                                LogLine(D, kTag,
                                        "com_quoril_sensor_nativeHallEventListener pollonce :" +
                                                answer)));
    }
}

TEST_F(SensorCheckServiceTest, TheSiblingIsLookedUpAfreshOnEveryCall) {
    sp<FakeSensorService> first = registerSibling();
    EXPECT_EQ(value(sensor->initHallSocket(HallConnect::CONNECT)), 1);
    sp<FakeSensorService> second = registerSibling();
    second->setPollAnswers({3});
    EXPECT_EQ(value(sensor->hallEventListener()), 3);
    EXPECT_EQ(first->calls(FakeSensorService::kPollHallEvent), 0);
    clearServices();
    EXPECT_EQ(value(sensor->initHallSocket(HallConnect::DISCONNECT)), 0);
    EXPECT_EQ(first->calls(FakeSensorService::kDeinitHallService), 0);
    EXPECT_EQ(second->calls(FakeSensorService::kDeinitHallService), 0);
}

TEST_F(SensorCheckServiceDeathTest, AFailedTransactionWithTheSiblingEndsTheProcess) {
    const struct {
        FakeSensorService::Operation op;
        std::function<void(ISensorCheckService&)> call;
    } cases[] = {
            {FakeSensorService::kInitHallService,
             [](auto& s) { s.initHallSocket(HallConnect::CONNECT); }},
            {FakeSensorService::kDeinitHallService,
             [](auto& s) { s.initHallSocket(HallConnect::DISCONNECT); }},
            {FakeSensorService::kPollHallEvent, [](auto& s) { s.hallEventListener(); }},
    };
    for (const auto& c : cases) {
        sp<FakeSensorService> sibling = registerSibling();
        sibling->failTransport(c.op);
        EXPECT_DEATH(c.call(*sensor), "Attempted to retrieve value from failed HIDL call") << c.op;
    }
}

TEST_F(SensorCheckServiceTest, ABlockingPollHoldsOnlyItsCallersThread) {
    sp<FakeSensorService> sibling = registerSibling();
    sibling->setPollAnswers({3});
    sibling->holdPolls();
    script([](auto& a) { a.sensorCalibrate = 0; });
    int32_t firstEvent = 0;
    int32_t secondEvent = 0;
    std::thread first([&] { firstEvent = sensor->hallEventListener(); });
    ASSERT_TRUE(sibling->awaitHeldPolls(1));

    // While that caller waits, everyone else carries on, a second poll included. The waits are
    // bounded only so that a wrong lock fails the test instead of hanging it.
    auto others = std::async(std::launch::async, [&] {
        return std::make_pair(value(sensor->calibrateSensor(1, 0)),
                              value(sensor->initHallSocket(HallConnect::CONNECT)));
    });
    bool othersDone = others.wait_for(std::chrono::seconds(10)) == std::future_status::ready;
    std::thread second([&] { secondEvent = sensor->hallEventListener(); });
    bool bothHeld = sibling->awaitHeldPolls(2);

    sibling->releasePolls();
    first.join();
    second.join();
    EXPECT_TRUE(othersDone);
    EXPECT_TRUE(bothHeld);
    EXPECT_EQ(others.get(), std::make_pair(true, 1));
    EXPECT_EQ(firstEvent, 3);
    EXPECT_EQ(secondEvent, 3);
}

// The device-profile files that configure both stand-ins.
class SensorProfileFilesTest : public SensorCheckServiceTest {
  protected:
    std::string file(const std::string& text) {
        std::string path = hostPath("/profile-file");
        std::ofstream(path) << text;
        return path;
    }
};

TEST_F(SensorProfileFilesTest, SensorcalFileScriptsEveryMethod) {
    ASSERT_TRUE(sensorcal::loadFile(
            file("# calibration library\nisOrientsensor=true\nisHallTestFullScreen=1\n"
                 "getHallPosition = 540, 2210\n\nsensor_calibrate=0\nsensor_enable=1\n"
                 "sensor_disable=false\nsensor_getconfig=-0.5\ngetSarSensorMode=2\n"
                 "getSarSensorNumber=2\nisUltrasoundSensor=1\n")));
    EXPECT_TRUE(value(sensor->isOrientsensor()));
    EXPECT_TRUE(value(sensor->isHallTestFullScreen()));
    EXPECT_THAT(listAnswer(&ISensorCheckService::getHallPosition), ElementsAre(540, 2210));
    EXPECT_TRUE(value(sensor->calibrateSensor(1, 1)));
    EXPECT_TRUE(value(sensor->enableSensor(1)));
    EXPECT_FALSE(value(sensor->disableSensor(1)));
    EXPECT_EQ(value(sensor->getSensorConfig(1, 1)), -0.5);
    EXPECT_EQ(value(sensor->getSarSensorMode()), 2);
    EXPECT_THAT(listAnswer(&ISensorCheckService::getSarSensorIDs), ElementsAre(33171015, 33171016));
    EXPECT_TRUE(value(sensor->isUltrasoundSensor()));

    const struct {
        const char* text;
        int badLine;
    } bad[] = {{"sensor_enable=0\nsensor_enable=yes\n", 2},
               {"getHallPosition=1\n", 1},
               {"sensor_calibrate=0x1\n", 1},
               {"\nsensor_getconfig=nan\n", 2},
               {"no_such_method=1\n", 1},
               {"isOrientsensor\n", 1}};
    for (const auto& b : bad) {
        int line = 0;
        EXPECT_FALSE(sensorcal::loadFile(file(b.text), &line)) << b.text;
        EXPECT_EQ(line, b.badLine) << b.text;
    }
    EXPECT_TRUE(sensorcal::answers().sensorEnable);  // a bad file changes nothing
    EXPECT_FALSE(sensorcal::loadFile(hostPath("/absent")));
}

TEST_F(SensorProfileFilesTest, HallFileRegistersAScriptedSiblingUnlessAbsent) {
    ASSERT_TRUE(hall::loadFile(file("present=0\ninitHallService=1\n")));
    EXPECT_EQ(value(sensor->initHallSocket(HallConnect::CONNECT)), 0);  // not there

    ASSERT_TRUE(
            hall::loadFile(file("initHallService=2\ndeinitHallService=1\n"
                                "pollHallEvent=1, 0,3\n")));
    EXPECT_EQ(value(sensor->initHallSocket(HallConnect::CONNECT)), 0);
    EXPECT_EQ(value(sensor->initHallSocket(HallConnect::DISCONNECT)), 1);
    std::vector<int32_t> events;
    for (int i = 0; i < 4; ++i) events.push_back(value(sensor->hallEventListener()));
    EXPECT_THAT(events, ElementsAre(1, 0, 3, 3));  // the last answer repeats

    clearServices();
    int line = 0;
    EXPECT_FALSE(hall::loadFile(file("present=1\nfail=pollHallEvent,close\n"), &line));
    EXPECT_EQ(line, 2);
    EXPECT_FALSE(hall::loadFile(file("pollHallEvent=\n"), &line));
    EXPECT_EQ(line, 1);
    EXPECT_EQ(registeredService(FakeSensorService::descriptor, "default"), nullptr);
    EXPECT_FALSE(hall::loadFile(hostPath("/absent")));
}

using SensorProfileFilesDeathTest = SensorProfileFilesTest;

TEST_F(SensorProfileFilesDeathTest, HallFileCanBreakTheTransport) {
    ASSERT_TRUE(hall::loadFile(file("fail = initHallService, pollHallEvent\n")));
    EXPECT_EQ(value(sensor->initHallSocket(HallConnect::DISCONNECT)), 1);
    EXPECT_DEATH(sensor->hallEventListener(), "failed HIDL call");
}

}  // namespace
}  // namespace tevhost
