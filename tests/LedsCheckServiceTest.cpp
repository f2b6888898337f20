#include <unistd.h>

#include <climits>
#include <filesystem>

#include "HandsetTest.h"

namespace tevhost {
namespace {

using ::android::sp;
using ::android::hardware::hidl_vec;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::vendor::quoril::hardware::tevvendorservice::V1_0::ILedsCheckService;
using ::vendor::quoril::hardware::tevvendorservice::V1_0::ITevVendorService;

constexpr const char* kTag = "LedsCheckService-hal";
// The LED switched by each type number; the button backlight (7) has two more.
const std::string kLeds[] = {"white",
                             "red",
                             "green",
                             "blue",
                             "red-right",
                             "green-right",
                             "blue-right",
                             "button-backlight",
                             "button-backlight1",
                             "button-backlight2"};
std::string brightness(const std::string& led) {
    return "/sys/class/leds/" + led + "/brightness";
}

size_t openDescriptors() {
    size_t count = 0;
    for ([[maybe_unused]] const auto& fd : std::filesystem::directory_iterator("/proc/self/fd")) {
        ++count;
    }
    return count;
}

class LedsCheckServiceTest : public HandsetTest {
  protected:
    void SetUp() override {
        HandsetTest::SetUp();
        service = root();
        leds = service->getExtensionLedsCheckService();
        ASSERT_NE(leds, nullptr);
    }
    // Switches |type| with a fresh journal and log; the call must leave no descriptor open.
    void control(int32_t type, bool isOn) {
        sandbox::clearWrites();
        log::clear();
        const size_t before = openDescriptors();
        leds->controlLed(type, isOn);
        EXPECT_EQ(openDescriptors(), before) << "type " << type;
    }
    // Every write as "led=bytes", in order.
    std::vector<std::string> journal() const {
        std::vector<std::string> out;
        for (const auto& w : writes()) {
            std::string led = w.path.substr(0, w.path.rfind('/'));
            out.push_back(led.substr(led.rfind('/') + 1) + "=" + w.data);
        }
        return out;
    }
    sp<ITevVendorService> service;
    sp<ILedsCheckService> leds;
};

TEST_F(LedsCheckServiceTest, SingleLedsGetTheBareLevel) {
    for (int32_t type = 0; type <= 6; ++type) {
        node(brightness(kLeds[type]), "7");
        for (bool isOn : {true, false}) {
            control(type, isOn);
            const std::string level = isOn ? "255" : "0";
            EXPECT_THAT(journal(), ElementsAre(kLeds[type] + "=" + level));
            EXPECT_THAT(logged(kTag, ANDROID_LOG_INFO),
                        ElementsAre("ControlLed for type = " + std::to_string(type) + "  isOn = " +
                                    (isOn ? "1" : "0") + "  ret = " + std::to_string(level.size()) +
                                    "  ret1 = 0  ret2 = 0"));
        }
    }
}

TEST_F(LedsCheckServiceTest, ButtonBacklightFollowsOnlyWhenBothOtherNodesOpen) {
    const struct {
        const char* present;  // of the three backlight nodes
        bool isOn;
        const char* log;  // nullptr: the failure line
    } cases[] = {
            {"111", true, "isOn = 1  ret = 3  ret1 = 3  ret2 = 3"},
            {"111", false, "isOn = 0  ret = 1  ret1 = 1  ret2 = 1"},
            {"100", true, "isOn = 1  ret = 3  ret1 = 0  ret2 = 0"},
            {"110", true, "isOn = 1  ret = 3  ret1 = 0  ret2 = 0"},
            {"101", false, "isOn = 0  ret = 1  ret1 = 0  ret2 = 0"},
            {"011", true, nullptr},
    };
    for (const auto& c : cases) {
        for (int i = 0; i < 3; ++i) {
            const std::string path = brightness(kLeds[7 + i]);
            c.present[i] == '1' ? node(path, "") : removeNode(path);
        }
        control(7, c.isOn);
        std::vector<std::string> expected;
        const int written = c.log == nullptr ? 0 : std::string(c.present) == "111" ? 3 : 1;
        for (int i = 0; i < written; ++i) {
            expected.push_back(kLeds[7 + i] + (c.isOn ? "=255" : "=0"));
        }
        EXPECT_EQ(journal(), expected) << c.present;
        EXPECT_THAT(logged(kTag),
                    ElementsAre(c.log ? std::string("ControlLed for type = 7  ") + c.log
                                      : "ControlLed failed to open led node for type = 7"));
    }
}

TEST_F(LedsCheckServiceTest, OutOfRangeTypeOrUnopenableNodeWritesNothing) {
    for (const auto& led : kLeds) node(brightness(led), "");
    removeNode(brightness("green"));
    denyNode(brightness("blue"));
    for (int32_t type : {8, -1, INT_MIN, INT_MAX, 2, 3}) {
        control(type, true);
        EXPECT_THAT(logged(kTag, ANDROID_LOG_ERROR),
                    ElementsAre("ControlLed failed to open led node for type = " +
                                std::to_string(type)));
    }
    EXPECT_THAT(writes(), IsEmpty());
}

TEST_F(LedsCheckServiceTest, FirstNodeOnDescriptorZeroCountsAsOpen) {
    for (const auto& led : kLeds) node(brightness(led), "");
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
    const struct {
        int32_t type;
        bool isMax;
        const char* content;  // nullptr: absent; "/": a folder, whose read fails
        int32_t expected;
    } cases[] = {{1, false, "128\n", 128},
                 {3, true, "255", 255},
                 {0, false, "", 0},
                 {0, true, " -7 mA", -7},
                 {2, false, "12345678901234", 1234567890},
                 {2, true, "0000000000123", 0},
                 {1, false, nullptr, -1},
                 {1, true, "/", -1},
                 {4, false, "5", -1},  // switchable, but not readable
                 {-1, false, "5", -1}};
    for (const auto& c : cases) {
        const std::string led = "/sys/class/leds/" + kLeds[c.type < 0 ? 0 : c.type];
        const std::string path = led + (c.isMax ? "/max_brightness" : "/brightness");
        removeNode(led);
        if (c.content && std::string(c.content) == "/") {
            folderNode(path);
        } else if (c.content) {
            node(path, c.content);
        }
        log::clear();
        const size_t before = openDescriptors();
        EXPECT_EQ(value(leds->getLedBrightness(c.type, c.isMax)), c.expected) << path;
        EXPECT_EQ(openDescriptors(), before) << path;

        const std::string what =
                "for type = " + std::to_string(c.type) + "  isMax = " + (c.isMax ? "1" : "0");
        std::string line = "GetLedBrightness ";
        int priority = ANDROID_LOG_INFO;
        if (c.expected != -1) {
            line += what + "  value = " + std::to_string(c.expected);
        } else if (c.content && std::string(c.content) == "/") {
            line += "failed to read led node " + what;
        } else {
            priority = ANDROID_LOG_ERROR;
            line += "failed to open led node for type = " + std::to_string(c.type);
        }
        EXPECT_THAT(logLines(), ElementsAre(LogLine(priority, kTag, line)));
    }
}

TEST_F(LedsCheckServiceTest, LedListFollowsTheProductName) {
    const std::vector<int32_t> kQab = {1, 2, 3, 4, 5, 6, 7};
    const struct {
        const char* product;  // nullptr: unset
        std::vector<int32_t> expected;
    } cases[] = {{"qabglobal", kQab}, {"sirnak_qab", kQab}, {"sirnak", {0}},
                 {"xsirnakin", {0}},  {"Qab", {}},          {"", {}},
                 {nullptr, {}}};
    for (const auto& c : cases) {
        c.product ? prop("ro.product.name", c.product) : unsetProp("ro.product.name");
        log::clear();
        std::vector<int32_t> list = {-99};
        leds->getLedsList([&](const hidl_vec<int32_t>& l) { list = l; });
        EXPECT_EQ(list, c.expected) << (c.product ? c.product : "unset");
        std::vector<std::string> log;
        if (c.expected.empty()) {
            log.push_back(std::string("Product ") + (c.product ? c.product : "") + " have no led");
        }
        EXPECT_EQ(logged(kTag, ANDROID_LOG_INFO), log);
    }
}

TEST_F(LedsCheckServiceTest, OneObjectPerRootAndExtFunNeverAnswers) {
    EXPECT_EQ(value(service->getExtensionLedsCheckService()), leds);
    bool called = false;
    EXPECT_TRUE(leds->extFun("x", {"a"}, [&](const auto&) { called = true; }).isOk());
    EXPECT_FALSE(called);
}

}  // namespace
}  // namespace tevhost
