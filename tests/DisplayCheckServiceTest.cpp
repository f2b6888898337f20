// Touch-panel self-test, panel name, backlight and touch-panel colour.
#include <algorithm>
#include <functional>

#include "HandsetTest.h"

namespace tevhost {
namespace {

using ::android::sp;
using ::android::hardware::hidl_string;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;
using ::vendor::quoril::hardware::tevvendorservice::V1_0::IDisplayCheckService;

constexpr const char* kTag = "DisplayCheckService";
constexpr const char* kDiag = "/proc/tp_selftest";
constexpr const char* kPass = "doSelfTestAndGetResult pass.";
constexpr const char* kFbPanel = "/sys/class/graphics/fb0/msm_fb_panel_info";
constexpr const char* kDrmPanel = "/sys/class/drm/card0-DSI-1/panel_info";
constexpr const char* kClone = "/sys/class/backlight/panel0-backlight/brightness_clone";
constexpr const char* kLcd = "/sys/class/leds/lcd-backlight/brightness";
constexpr const char* kOled = "/sys/class/backlight/panel0-backlight/brightness";

const std::vector<std::string> kAllWords = {"short", "open", "i2c"};
const std::vector<double> kAllSleeps = {6, 4, 2};

class DisplayCheckServiceTest : public HandsetTest {
  protected:
    void SetUp() override {
        HandsetTest::SetUp();
        display = root()->getExtensionDisplayCheckService();
        ASSERT_NE(display, nullptr);
    }
    std::string lcmInfo() {
        std::string out = "<no callback>";
        display->getLcmInfo([&](const hidl_string& v) { out = v; });
        return out;
    }
    std::string tpColor() {
        std::string out = "<no callback>";
        display->getTpColor([&](const hidl_string& v) { out = v; });
        return out;
    }
    sp<IDisplayCheckService> display;
};
using DisplayCheckServiceDeathTest = DisplayCheckServiceTest;

TEST_F(DisplayCheckServiceTest, SelfTestRunsTheChecksInOrderUntilOneFails) {
    const struct {
        const char* replies[3];  // the driver's answer to short, open, i2c; nullptr: none
        bool expected;
        size_t cycles;
        const char* message;
    } cases[] = {
            {{"2", "2", "2"}, true, 3, kPass},
            {{"2\n", " 2", "\t2 \n"}, true, 3, kPass},
            {{"2 1", "2\n0", "2"}, true, 3, kPass},  // only the first word counts
            {{"1", "2", "2"}, false, 1, "The result of TOUCH_PANEL_CHECK_SHORT is 1."},
            {{"", "2", "2"}, false, 1, "The result of TOUCH_PANEL_CHECK_SHORT is ."},
            {{nullptr, "2", "2"}, false, 1, "The result of TOUCH_PANEL_CHECK_SHORT is short."},
            {{"2", "22", "2"}, false, 2, "The result of TOUCH_PANEL_CHECK_OPEN is 22."},
            {{"2", "0", "2"}, false, 2, "The result of TOUCH_PANEL_CHECK_OPEN is 0."},
            {{"2", "2", "x2"}, false, 3, "The result of TOUCH_PANEL_CHECK_I2C is x2."},
            // Nothing to extract: the short check's word is judged again.
            {{"2", " \n", "1"}, false, 3, "The result of TOUCH_PANEL_CHECK_I2C is 1."},
            {{"2", "", "2"}, true, 3, kPass},
    };
    for (const auto& c : cases) {
        sandbox::reset();
        log::clear();
        node(kDiag, "");
        for (size_t i = 0; i < 3; ++i) {
            if (c.replies[i]) sandbox::respond(kDiag, kAllWords[i], c.replies[i]);
        }
        SCOPED_TRACE(c.message);
        EXPECT_EQ(value(display->doSelfTestAndGetResult()), c.expected);
        EXPECT_THAT(writesTo(kDiag),
                    ElementsAreArray(kAllWords.begin(), kAllWords.begin() + c.cycles));
        EXPECT_THAT(sleeps(), ElementsAreArray(kAllSleeps.begin(), kAllSleeps.begin() + c.cycles));
        EXPECT_THAT(logged(kTag, ANDROID_LOG_ERROR), ElementsAre(c.message));
    }
}

TEST_F(DisplayCheckServiceTest, ANodeThatCannotBeReopenedKeepsThePreviousWord) {
    const struct {
        std::function<void(double)> driver;  // acts at each sleep
        bool expected;
        std::vector<std::string> written;
        const char* message;
    } cases[] = {
            // Gone while the open check runs: the i2c word cannot be written, and the driver's
            // node is back by the time it is read.
            {[&](double s) {
                 if (s == 6) node(kDiag, "2");
                 if (s == 4) removeNode(kDiag);
                 if (s == 2) node(kDiag, "1");
             },
             false,
             {"short", "open"},
             "The result of TOUCH_PANEL_CHECK_I2C is 1."},
            // Refused from the open check's read on: the i2c check is neither written nor read.
            {[&](double s) {
                 if (s == 6) node(kDiag, "2");
                 if (s == 4) denyNode(kDiag);
             },
             true,
             {"short", "open"},
             kPass},
    };
    for (const auto& c : cases) {
        sandbox::reset();
        log::clear();
        node(kDiag, "");
        sandbox::setSleepHook(c.driver);
        SCOPED_TRACE(c.message);
        EXPECT_EQ(value(display->doSelfTestAndGetResult()), c.expected);
        EXPECT_EQ(writesTo(kDiag), c.written);
        EXPECT_EQ(sleeps(), kAllSleeps);
        EXPECT_THAT(logged(kTag), ElementsAre(c.message));
    }
}

TEST_F(DisplayCheckServiceTest, SelfTestWithoutTheNodeFailsAtOnce) {
    for (bool denied : {false, true}) {
        if (denied) denyNode(kDiag);
        log::clear();
        EXPECT_FALSE(value(display->doSelfTestAndGetResult()));
        EXPECT_THAT(logged(kTag), ElementsAre("Failed to open TOUCH_PANEL_DIAG_HANDLE."));
        EXPECT_THAT(sleeps(), IsEmpty());
        EXPECT_THAT(writes(), IsEmpty());
    }
}

TEST_F(DisplayCheckServiceTest, PanelNodeFollowsTheProductName) {
    node(kFbPanel, "panel_name=fb\n");
    node(kDrmPanel, "panel_name=drm\n");
    const struct {
        const char* product;  // nullptr: unset
        const char* expected;
    } cases[] = {{"marskol", "fb"}, {"marskolpro", "fb"}, {"xmarduskx", "fb"},
                 {"marsko", "drm"}, {"qab", "drm"},       {nullptr, "drm"}};
    for (const auto& c : cases) {
        c.product ? prop("ro.product.name", c.product) : unsetProp("ro.product.name");
        log::clear();
        EXPECT_EQ(lcmInfo(), c.expected) << (c.product ? c.product : "unset");
        const char* path = c.expected == std::string("fb") ? kFbPanel : kDrmPanel;
        EXPECT_THAT(
                logged(kTag, ANDROID_LOG_ERROR),
                ElementsAre(std::string("open ") + path,
                            std::string("The result of getLcmInfo is panel_name=") + c.expected));
    }
}

TEST_F(DisplayCheckServiceTest, PanelNameIsTakenFromTheTwelfthCharacter) {
    const struct {
        const char* content;  // nullptr: absent
        const char* expected;
    } cases[] = {
            {"panel_type=1\npanel_id=2\npanel_name=ABC\n", "ABC"},
            {"panel_type=1\n\npanel_name=ABC\n", ""},  // the search ends at an empty line
            {"panel_name: X", " X"},
            {"panel_namexyz", "yz"},
            {"panel_name", ""},
            {"panel_name=", ""},
            {"panel_name=A\r\npanel_name=B\n", "A\r"},
            {nullptr, ""},
    };
    for (const auto& c : cases) {
        c.content ? node(kDrmPanel, c.content) : removeNode(kDrmPanel);
        EXPECT_EQ(lcmInfo(), c.expected) << (c.content ? c.content : "absent");
    }
    node(kDrmPanel, "x=1\npanel_name:dsi_panel\nlast\n");
    log::clear();
    EXPECT_EQ(lcmInfo(), "dsi_panel");
    EXPECT_THAT(logged(kTag), ElementsAre(std::string("open ") + kDrmPanel,
                                          "The result of getLcmInfo is panel_name:dsi_panel"));
}

TEST_F(DisplayCheckServiceTest, BacklightNodesAreTriedInOrder) {
    const char* paths[] = {kClone, kLcd, kOled};
    const std::vector<std::string> attempts = {"Open OLED_BACKLIGHT_CLONE.", "Open LCD_BACKLIGHT.",
                                               "Open OLED_BACKLIGHT."};
    for (int opens = 0; opens <= 3; ++opens) {  // the first node that opens; 3: none
        for (int i = 0; i < 3; ++i) {
            if (i >= opens) node(paths[i], std::to_string(100 * (i + 1)) + "\n");
        }
        log::clear();
        std::vector<std::string> expected(attempts.begin(),
                                          attempts.begin() + std::min(opens + 1, 3));
        expected.push_back(opens < 3 ? "The result of getBacklightValue is " +
                                               std::to_string(100 * (opens + 1)) + "."
                                     : "Failed to open BACK_LIGHT");
        EXPECT_EQ(value(display->getBacklightValue()), opens < 3 ? 100 * (opens + 1) : -1);
        EXPECT_EQ(logged(kTag, ANDROID_LOG_ERROR), expected);
        if (opens == 0) denyNode(kClone);  // refused counts as absent
        if (opens == 1 || opens == 2) removeNode(paths[opens]);
    }
}

TEST_F(DisplayCheckServiceTest, BacklightCeilingOnlyForPifDevices) {
    prop("ro.product.name", "pif");  // the device name decides, not the product name
    const struct {
        const char* device;
        const char* content;
        int32_t expected;
    } cases[] = {
            {"PIF", "5000", 4095},   {"xpifpro", "4096\n", 4095}, {"pif", "4095", 4095},
            {"pif", "100\n", 100},   {"pif", "-5", -5},           {"dolv", "5000", 5000},
            {"qab", " 255\n", 255},  {"qab", "255abc", 255},      {"qab", "12\n34\n\n56", 12},
            {"qab", "+7 nits\n", 7},
    };
    for (const auto& c : cases) {
        prop("ro.product.device", c.device);
        node(kLcd, c.content);
        EXPECT_EQ(value(display->getBacklightValue()), c.expected) << c.device << " " << c.content;
    }
}

TEST_F(DisplayCheckServiceDeathTest, BacklightWithoutANumberEndsTheService) {
    // The service host has no handler for an exception escaping an operation.
    auto asServiceHost = [&]() noexcept { (void)value(display->getBacklightValue()); };
    for (const char* content : {"abc\n", "", "\n255\n"}) {
        node(kClone, content);
        EXPECT_DEATH(asServiceHost(), "invalid_argument") << content;
    }
}

TEST_F(DisplayCheckServiceTest, TouchPanelColourPrefersTheSystemProperty) {
    const struct {
        const char* sys;  // nullptr: unset
        const char* vendor;
        const char* expected;
    } cases[] = {{"white", "black", "white"}, {"", "black", "black"}, {nullptr, nullptr, ""}};
    for (const auto& c : cases) {
        c.sys ? prop("sys.panel.color", c.sys) : unsetProp("sys.panel.color");
        c.vendor ? prop("vendor.panel.color", c.vendor) : unsetProp("vendor.panel.color");
        log::clear();
        EXPECT_EQ(tpColor(), c.expected);
        EXPECT_THAT(logged(kTag, ANDROID_LOG_ERROR),
                    ElementsAre(std::string("The result of getTpColor is ") + c.expected));
    }
}

}  // namespace
}  // namespace tevhost
