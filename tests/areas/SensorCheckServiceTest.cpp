// The sensor area: the calibration library's object and the answers forwarded from it, and the Hall
// operations through the sibling sensor test service.
#include <tevhost/FakeSensorService.h>
#include <tevhost/SensorCal.h>
#include <tevhost/Services.h>

#include <chrono>
#include <fstream>
#include <future>
#include <thread>

#include "AreaTest.h"
#include "SensorCheckService.h"

namespace vendor::quoril::hardware::tevvendorservice::implementation::test {
namespace {

using namespace ::tevhost;

using ::vendor::quoril::hardware::tevvendorservice::V1_0::HallConnect;
using ::vendor::quoril::hardware::tevvendorservice::V1_0::ISensorCheckService;
using ::vendor::quoril::hardware::tevvendorservice::V1_0::ITevVendorService;
using Fake = FakeSensorService;
using Ids = std::vector<int32_t>;

constexpr const char* kTag = "SensorCheckService-hal";
const std::string kInitStart = "D com_quoril_sensor_nativeInitHallSocket start...";
const std::string kNoSibling = "D com_quoril_sensor_nativeInitHallSocket NULL...";
const std::string kPollStart = "D com_quoril_sensor_nativeHallEventListener start";

class SensorCheckServiceTest : public AreaTest {
  protected:
    void SetUp() override {
        AreaTest::SetUp();
        sensorcal::reset();
        service = root();
        sensor = service->getExtensionSensorCheckService();
        ASSERT_NE(sensor, nullptr);
        log::clear();
    }
    void script(const std::function<void(sensorcal::Answers&)>& change) {
        sensorcal::Answers answers = sensorcal::answers();
        change(answers);
        sensorcal::setAnswers(answers);
    }
    sp<Fake> registerSibling() {
        sp<Fake> fake = new Fake();
        EXPECT_EQ(fake->registerAsService("default"), ::android::OK);
        return fake;
    }
    // This area's log lines as "D text", "I text"; the log is cleared.
    std::vector<std::string> takeLog() {
        std::vector<std::string> lines = logOf(kTag);
        log::clear();
        return lines;
    }
    std::optional<Ids> ids(decltype(&ISensorCheckService::getSarSensorIDs) op) {
        return answer<Ids>(sensor, op);
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
    EXPECT_THAT(takeLog(), ElementsAre("I ~SensorCheckService: delete SensorCalibration()"));

    // Another root makes its own area and object.
    ASSERT_NE(value(other->getExtensionSensorCheckService()), nullptr);
    EXPECT_EQ(sensorcal::constructions(), 2);
    EXPECT_EQ(g_mSensorCalibration, sensorcal::lastConstructed());
    EXPECT_THAT(takeLog(), ElementsAre("I SensorCheckService: new SensorCalibration()"));
}

TEST_F(SensorCheckServiceTest, EveryConstructorMakesAFreshObjectAndLeavesTheOldOneAlone) {
    SensorCalibration* first = g_mSensorCalibration;
    sp<SensorCheckService> second = new SensorCheckService();
    SensorCalibration* replacement = g_mSensorCalibration;
    EXPECT_NE(replacement, first);
    EXPECT_EQ(replacement, sensorcal::lastConstructed());
    EXPECT_EQ(sensorcal::destructions(), 0);
    second.clear();
    EXPECT_EQ(sensorcal::lastDestroyed(), replacement);
    // The root's area would now free that address once more: the design relies on one sensor area
    // per process. Hand it back its own object before it goes.
    g_mSensorCalibration = first;
}

TEST_F(SensorCheckServiceTest, CalibrationSucceedsExactlyWhenTheLibraryAnswersZero) {
    for (auto [library, expected] : {std::pair(0, true), {1, false}, {-1, false}}) {
        script([library = library](auto& a) { a.sensorCalibrate = library; });
        EXPECT_EQ(value(sensor->calibrateSensor(5, -2)), expected) << library;
        EXPECT_THAT(takeLog(), ElementsAre("I calibrateSensor: enter type=5,para = -2",
                                           "I calibrateSensor: calibrateSensor end result = " +
                                                   std::to_string(expected)));
    }
    EXPECT_THAT(sensorcal::calls(), ElementsAre("sensor_calibrate(5, -2)", "sensor_calibrate(5, -2)",
                                                "sensor_calibrate(5, -2)"));
}

TEST_F(SensorCheckServiceTest, LibraryAnswersAreHandedBackAsTheyAre) {
    for (bool yes : {true, false}) {
        script([&](auto& a) {
            a.sensorEnable = a.isOrientsensor = a.isUltrasoundSensor = yes;
            a.sensorDisable = a.isHallTestFullScreen = !yes;
            a.sarSensorMode = yes ? -7 : 2;
        });
        EXPECT_EQ(value(sensor->enableSensor(33171015)), yes);
        EXPECT_EQ(value(sensor->disableSensor(-4)), !yes);
        const std::string on = std::to_string(yes), off = std::to_string(!yes);
        EXPECT_THAT(takeLog(),
                    ElementsAre("I enableSensor: enableSensor type = 33171015 result = " + on,
                                "I disableSensor: disableSensor type = -4 result = " + off));
        EXPECT_EQ(value(sensor->isOrientsensor()), yes);
        EXPECT_EQ(value(sensor->isHallTestFullScreen()), !yes);
        EXPECT_EQ(value(sensor->isUltrasoundSensor()), yes);
        EXPECT_EQ(value(sensor->getSarSensorMode()), yes ? -7 : 2);
        EXPECT_THAT(takeLog(), IsEmpty());
    }
    script([](auto& a) { a.sensorGetconfig = -1234.0625; });
    EXPECT_EQ(value(sensor->getSensorConfig(1, 2)), -1234.0625);
    EXPECT_THAT(takeLog(),
                ElementsAre("I getSensorConfig: enter type=1, axis=2,value=-1234.062500"));
    EXPECT_EQ(sensorcal::calls().back(), "sensor_getconfig(1, 2)");
}

TEST_F(SensorCheckServiceTest, WithoutALibraryObjectOnlyCalibrationAndConfigAreGuarded) {
    SensorCalibration* object = g_mSensorCalibration;
    g_mSensorCalibration = nullptr;
    EXPECT_FALSE(value(sensor->calibrateSensor(3, 4)));
    EXPECT_EQ(value(sensor->getSensorConfig(3, 0)), 0.0);
    g_mSensorCalibration = object;
    EXPECT_THAT(takeLog(),
                ElementsAre("I calibrateSensor: enter type=3,para = 4",
                            "I g_mSensorCalibration is NULL", "I g_mSensorCalibration is NULL"));
    EXPECT_THAT(sensorcal::calls(), IsEmpty());
}

TEST_F(SensorCheckServiceTest, SarIdsHoldTheSecondSensorOnlyForACountOfTwoAndHallPositionIsXY) {
    for (int count : {2, 0, 1, 3, -2}) {
        script([&](auto& a) { a.sarSensorNumber = count; });
        EXPECT_EQ(ids(&ISensorCheckService::getSarSensorIDs),
                  (count == 2 ? Ids{33171015, 33171016} : Ids{33171015}))
                << count;
    }
    EXPECT_THAT(takeLog(), IsEmpty());

    EXPECT_EQ(ids(&ISensorCheckService::getHallPosition), Ids({0, 0}));  // untouched
    script([](auto& a) { a.hallPosition = std::make_pair(540, 2210); });
    EXPECT_EQ(ids(&ISensorCheckService::getHallPosition), Ids({540, 2210}));
    EXPECT_THAT(takeLog(), ElementsAre("I getHallPosition: x_pos=0,y_pos = 0",
                                       "I getHallPosition: x_pos=540,y_pos = 2210"));
}

TEST_F(SensorCheckServiceTest, OpenAndCloseAnswerOneOnlyForTheSiblingsOne) {
    const std::tuple<HallConnect, int32_t, int32_t> cases[] = {
            {HallConnect::CONNECT, 1, 1},    {HallConnect::CONNECT, 0, 0},
            {HallConnect::CONNECT, 2, 0},    {HallConnect::DISCONNECT, 1, 1},
            {HallConnect::DISCONNECT, 0, 0}, {HallConnect::DISCONNECT, -5, 0}};
    for (const auto& [connect, reply, expected] : cases) {
        sp<Fake> sibling = registerSibling();
        bool open = connect == HallConnect::CONNECT;
        open ? sibling->setInitAnswer(reply) : sibling->setDeinitAnswer(reply);
        EXPECT_EQ(value(sensor->initHallSocket(connect)), expected) << reply;
        EXPECT_EQ(sibling->calls(Fake::kInitHallService), open ? 1 : 0);
        EXPECT_EQ(sibling->calls(Fake::kDeinitHallService), open ? 0 : 1);
        const std::string answer = std::to_string(reply);
        EXPECT_THAT(takeLog(),
                    ElementsAre(kInitStart,
                                std::string("D com_quoril_sensor_nativeInitHallSocket ") +
                                        (open ? "initService :" : "deinitService :") + answer,
                                "I initHallSocket: initHallSocket result = " + answer));
    }

    // A connect value outside the enum calls nothing.
    sp<Fake> sibling = registerSibling();
    EXPECT_EQ(value(sensor->initHallSocket(static_cast<HallConnect>(2))), 0);
    EXPECT_EQ(sibling->calls(Fake::kInitHallService) + sibling->calls(Fake::kDeinitHallService), 0);
    EXPECT_THAT(takeLog(), ElementsAre(kInitStart, "I initHallSocket: initHallSocket result = 0"));
}

TEST_F(SensorCheckServiceTest, PollAnswersOutsideTheEventKindsBecomeMinusOne) {
    sp<Fake> sibling = registerSibling();
    const std::pair<int32_t, int32_t> cases[] = {{0, 0},  {1, 1},  {3, 3},
                                                 {2, -1}, {4, -1}, {-2, -1}};
    std::vector<int32_t> answers;
    for (auto [answer, expected] : cases) answers.push_back(answer);
    sibling->setPollAnswers(answers);
    for (auto [answer, expected] : cases) {
        EXPECT_EQ(value(sensor->hallEventListener()), expected) << answer;
        const std::string text = std::to_string(answer);
        EXPECT_THAT(takeLog(),
                    ElementsAre(kPollStart, "I hallEventListener: ret = " + text,
                                "D com_quoril_sensor_nativeHallEventListener pollonce :" + text));
    }
}

TEST_F(SensorCheckServiceTest, TheSiblingIsLookedUpAfreshOnEveryCallAndMayBeAbsent) {
    sp<Fake> first = registerSibling();
    EXPECT_EQ(value(sensor->initHallSocket(HallConnect::CONNECT)), 1);
    sp<Fake> second = registerSibling();
    second->setPollAnswers({3});
    EXPECT_EQ(value(sensor->hallEventListener()), 3);
    EXPECT_EQ(first->calls(Fake::kPollHallEvent), 0);
    // Each time as the binderized service "default", never as the passthrough stub.
    std::vector<std::string> lookups;
    for (const Lookup& l : takeLookups()) {
        if (l.descriptor == Fake::descriptor)
            lookups.push_back(l.name + (l.getStub ? " stub" : ""));
    }
    EXPECT_THAT(lookups, ElementsAre("default", "default"));

    // Without it the Hall operations answer neutrally.
    clearServices();
    takeLog();
    for (HallConnect connect : {HallConnect::CONNECT, HallConnect::DISCONNECT}) {
        EXPECT_EQ(value(sensor->initHallSocket(connect)), 0);
        EXPECT_THAT(takeLog(), ElementsAre(kInitStart, kNoSibling));
    }
    EXPECT_EQ(first->calls(Fake::kDeinitHallService) + second->calls(Fake::kDeinitHallService), 0);
    EXPECT_EQ(value(sensor->hallEventListener()), -1);
    EXPECT_THAT(takeLog(), ElementsAre(kPollStart, kNoSibling));
}

TEST_F(SensorCheckServiceDeathTest, AFailedTransactionWithTheSiblingEndsTheProcess) {
    const std::tuple<Fake::Operation, std::function<void(ISensorCheckService&)>> cases[] = {
            {Fake::kInitHallService, [](auto& s) { s.initHallSocket(HallConnect::CONNECT); }},
            {Fake::kDeinitHallService, [](auto& s) { s.initHallSocket(HallConnect::DISCONNECT); }},
            {Fake::kPollHallEvent, [](auto& s) { s.hallEventListener(); }},
    };
    for (const auto& [op, call] : cases) {
        registerSibling()->failTransport(op);
        EXPECT_DEATH(call(*sensor), "Attempted to retrieve value from failed HIDL call") << op;
    }
}

TEST_F(SensorCheckServiceTest, ABlockingPollHoldsOnlyItsCallersThread) {
    sp<Fake> sibling = registerSibling();
    sibling->setPollAnswers({3});
    sibling->holdPolls();
    script([](auto& a) { a.sensorCalibrate = 0; });
    int32_t firstEvent = 0, secondEvent = 0;
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
    EXPECT_TRUE(othersDone && bothHeld);
    EXPECT_EQ(others.get(), std::make_pair(true, 1));
    EXPECT_EQ(std::make_pair(firstEvent, secondEvent), std::make_pair(3, 3));
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
using SensorProfileFilesDeathTest = SensorProfileFilesTest;

TEST_F(SensorProfileFilesTest, SensorcalFileScriptsEveryMethod) {
    ASSERT_TRUE(sensorcal::loadFile(
            file("# calibration library\nisOrientsensor=true\nisHallTestFullScreen=1\n"
                 "getHallPosition = 540, 2210\n\nsensor_calibrate=0\nsensor_enable=1\n"
                 "sensor_disable=false\nsensor_getconfig=-0.5\ngetSarSensorMode=2\n"
                 "getSarSensorNumber=2\nisUltrasoundSensor=1\n")));
    EXPECT_TRUE(value(sensor->isOrientsensor()) && value(sensor->isHallTestFullScreen()) &&
                value(sensor->isUltrasoundSensor()) && value(sensor->calibrateSensor(1, 1)) &&
                value(sensor->enableSensor(1)) && !value(sensor->disableSensor(1)));
    EXPECT_EQ(ids(&ISensorCheckService::getHallPosition), Ids({540, 2210}));
    EXPECT_EQ(value(sensor->getSensorConfig(1, 1)), -0.5);
    EXPECT_EQ(value(sensor->getSarSensorMode()), 2);
    EXPECT_EQ(ids(&ISensorCheckService::getSarSensorIDs), Ids({33171015, 33171016}));

    // What a bad file says is tevctl's test; a bad file changes nothing.
    int line = 0;
    EXPECT_FALSE(sensorcal::loadFile(file("sensor_enable=0\nsensor_enable=yes\n"), &line));
    EXPECT_EQ(line, 2);
    EXPECT_TRUE(sensorcal::answers().sensorEnable);
    EXPECT_FALSE(sensorcal::loadFile(hostPath("/absent")));
}

TEST_F(SensorProfileFilesTest, HallFileRegistersAScriptedSiblingUnlessAbsent) {
    ASSERT_TRUE(hall::loadFile(file("present=0\ninitHallService=1\n")));
    EXPECT_EQ(value(sensor->initHallSocket(HallConnect::CONNECT)), 0);  // not there

    ASSERT_TRUE(
            hall::loadFile(file("initHallService=2\ndeinitHallService=1\npollHallEvent=1, 0,3\n")));
    EXPECT_EQ(value(sensor->initHallSocket(HallConnect::CONNECT)), 0);
    EXPECT_EQ(value(sensor->initHallSocket(HallConnect::DISCONNECT)), 1);
    std::vector<int32_t> events;
    for (int i = 0; i < 4; ++i) events.push_back(value(sensor->hallEventListener()));
    EXPECT_THAT(events, ElementsAre(1, 0, 3, 3));  // the last answer repeats

    clearServices();
    EXPECT_FALSE(hall::loadFile(file("present=1\nfail=pollHallEvent,close\n")));
    EXPECT_EQ(registeredService(Fake::descriptor, "default"), nullptr);  // nothing registered
    EXPECT_FALSE(hall::loadFile(hostPath("/absent")));
}

TEST_F(SensorProfileFilesDeathTest, HallFileCanBreakTheTransport) {
    ASSERT_TRUE(hall::loadFile(file("fail = initHallService, pollHallEvent\n")));
    EXPECT_EQ(value(sensor->initHallSocket(HallConnect::DISCONNECT)), 1);
    EXPECT_DEATH(sensor->hallEventListener(), "failed HIDL call");
}

}  // namespace
}  // namespace vendor::quoril::hardware::tevvendorservice::implementation::test
