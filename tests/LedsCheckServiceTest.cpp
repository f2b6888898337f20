#include <unistd.h>

#include <climits>

#include "AreaTest.h"

namespace tevhost {
namespace {

using ::vendor::quoril::hardware::tevvendorservice::V1_0::ILedsCheckService;

constexpr const char* kTag = "LedsCheckService-hal";
// The LED switched by each type number; the button backlight (7) has two more.
const std::string kLeds[] = {"white",     "red",         "green",      "blue",
                             "red-right", "green-right", "blue-right", "button-backlight"};
std::string backlight(int i) {
    return kLeds[7] + (i > 0 ? std::to_string(i) : "");
}
std::string brightness(const std::string& led) {
    return "/sys/class/leds/" + led + "/brightness";
}

class LedsCheckServiceTest : public AreaTest {
  protected:
    void SetUp() override {
        AreaTest::SetUp();
        auto service = root();
        leds = service->getExtensionLedsCheckService();
        ASSERT_NE(leds, nullptr);
        EXPECT_EQ(value(service->getExtensionLedsCheckService()), leds);
    }
    // Switches |type| with a fresh journal and log; returns every write as "led=bytes", in order.
    Lines control(int32_t type, bool isOn) {
        sandbox::clearWrites();
        log::clear();
        leds->controlLed(type, isOn);
        return journal();
    }
    // Every write as "led=bytes", in order.
    Lines journal() const {
        Lines out;
        for (const auto& w : writes()) {
            std::string led = w.path.substr(0, w.path.rfind('/'));
            out.push_back(led.substr(led.rfind('/') + 1) + "=" + w.data);
        }
        return out;
    }
    sp<ILedsCheckService> leds;
};

TEST_F(LedsCheckServiceTest, SingleLedsGetTheBareLevel) {
    for (int32_t type = 0; type <= 6; ++type) {
        node(brightness(kLeds[type]), "7");
        for (bool isOn : {true, false}) {
            const std::string level = isOn ? "255" : "0";
            EXPECT_THAT(control(type, isOn), ElementsAre(kLeds[type] + "=" + level));
            EXPECT_THAT(logOf(kTag), ElementsAre("I ControlLed for type = " + std::to_string(type) +
                                                 "  isOn = " + (isOn ? "1" : "0") +
                                                 "  ret = " + std::to_string(level.size()) +
                                                 "  ret1 = 0  ret2 = 0"));
        }
    }
}

TEST_F(LedsCheckServiceTest, ButtonBacklightFollowsOnlyWhenBothOtherNodesOpen) {
    // Which of the three backlight nodes exist, and the log (null: the failure line).
    const std::tuple<const char*, bool, const char*> cases[] = {
            {"111", true, "isOn = 1  ret = 3  ret1 = 3  ret2 = 3"},
            {"111", false, "isOn = 0  ret = 1  ret1 = 1  ret2 = 1"},
            {"110", true, "isOn = 1  ret = 3  ret1 = 0  ret2 = 0"},
            {"101", false, "isOn = 0  ret = 1  ret1 = 0  ret2 = 0"},
            {"011", true, nullptr},
    };
    for (const auto& [present, isOn, log] : cases) {
        const int written = log == nullptr ? 0 : std::string(present) == "111" ? 3 : 1;
        Lines expected;
        for (int i = 0; i < 3; ++i) {
            setNode(brightness(backlight(i)), present[i] == '1' ? "" : kAbsent);
            if (i < written) expected.push_back(backlight(i) + (isOn ? "=255" : "=0"));
        }
        EXPECT_EQ(control(7, isOn), expected) << present;
        EXPECT_THAT(logged(kTag),
                    ElementsAre(log ? std::string("ControlLed for type = 7  ") + log
                                    : "ControlLed failed to open led node for type = 7"));
    }
}

TEST_F(LedsCheckServiceTest, OutOfRangeTypeOrUnopenableNodeWritesNothing) {
    for (int i = 0; i < 10; ++i) node(brightness(i < 8 ? kLeds[i] : backlight(i - 7)), "");
    removeNode(brightness("green"));
    denyNode(brightness("blue"));
    for (int32_t type : {8, -1, INT_MIN, INT_MAX, 2, 3}) {
        EXPECT_THAT(control(type, true), IsEmpty());
        EXPECT_THAT(logOf(kTag), ElementsAre("E ControlLed failed to open led node for type = " +
                                             std::to_string(type)));
    }
}

TEST_F(LedsCheckServiceTest, FirstNodeOnDescriptorZeroCountsAsOpen) {
    for (int i = 0; i < 10; ++i) node(brightness(i < 8 ? kLeds[i] : backlight(i - 7)), "");
    const int savedStdin = dup(0);
    ASSERT_GE(savedStdin, 0);
    for (int32_t type : {1, 7}) {
        close(0);  // the first LED node opens on descriptor 0
        leds->controlLed(type, true);
        ASSERT_EQ(dup2(savedStdin, 0), 0);
    }
    close(savedStdin);
    EXPECT_THAT(journal(), ElementsAre("red=255", "button-backlight=255", "button-backlight1=255",
                                       "button-backlight2=255"));
}

TEST_F(LedsCheckServiceTest, BrightnessIsTheLeadingNumberOfAtMostTenBytes) {
    // The node's content or state, the answer and the log line.
    const std::tuple<int32_t, bool, const char*, int32_t, const char*> cases[] = {
            {1, false, "128\n", 128, "I for type = 1  isMax = 0  value = 128"},
            {3, true, "255", 255, "I for type = 3  isMax = 1  value = 255"},
            {0, false, "", 0, "I for type = 0  isMax = 0  value = 0"},
            {0, true, " -7 mA", -7, "I for type = 0  isMax = 1  value = -7"},
            {2, false, "12345678901234", 1234567890,
             "I for type = 2  isMax = 0  value = 1234567890"},
            {2, true, "0000000000123", 0, "I for type = 2  isMax = 1  value = 0"},
            {1, false, kAbsent, -1, "E failed to open led node for type = 1"},
            {1, true, kFolder, -1, "I failed to read led node for type = 1  isMax = 1"},
            {4, false, "5", -1, "E failed to open led node for type = 4"},  // switchable only
            {-1, false, "5", -1, "E failed to open led node for type = -1"},
    };
    for (const auto& [type, isMax, content, expected, log] : cases) {
        const std::string led = "/sys/class/leds/" + kLeds[type < 0 ? 0 : type];
        removeNode(led);
        setNode(led + (isMax ? "/max_brightness" : "/brightness"), content);
        log::clear();
        EXPECT_EQ(value(leds->getLedBrightness(type, isMax)), expected) << log;
        EXPECT_THAT(logOf(kTag), ElementsAre(std::string(log).insert(2, "GetLedBrightness ")));
    }
}

TEST_F(LedsCheckServiceTest, LedListLogsWhenAProductHasNone) {
    // A null product leaves the name unset.
    const std::tuple<const char*, std::vector<int32_t>> cases[] = {
            {"sirnak_qab", {1, 2, 3, 4, 5, 6, 7}}, {"Qab", {}}, {nullptr, {}}};
    for (const auto& [product, expected] : cases) {
        prop("ro.product.name", product);
        log::clear();
        EXPECT_EQ(answer<std::vector<int32_t>>(leds, &ILedsCheckService::getLedsList), expected)
                << (product ? product : "unset");
        Lines log;
        if (expected.empty()) {
            log.push_back(std::string("I Product ") + (product ? product : "") + " have no led");
        }
        EXPECT_EQ(logOf(kTag), log);
    }
}

}  // namespace
}  // namespace tevhost
