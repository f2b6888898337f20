// Touch-panel self-test, panel name, backlight and touch-panel colour.
#include <algorithm>

#include "AreaTest.h"

namespace tevhost {
namespace {

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

class DisplayCheckServiceTest : public AreaTest {
  protected:
    void SetUp() override {
        AreaTest::SetUp();
        display = root()->getExtensionDisplayCheckService();
        ASSERT_NE(display, nullptr);
    }
    std::optional<std::string> lcmInfo() {
        return answer<std::string>(display, &IDisplayCheckService::getLcmInfo);
    }
    sp<IDisplayCheckService> display;
};
using DisplayCheckServiceDeathTest = DisplayCheckServiceTest;

TEST_F(DisplayCheckServiceTest, SelfTestRunsTheChecksInOrderUntilOneFails) {
    const std::string kShort = "The result of TOUCH_PANEL_CHECK_SHORT is ";
    const std::string kOpen = "The result of TOUCH_PANEL_CHECK_OPEN is ";
    const std::string kI2c = "The result of TOUCH_PANEL_CHECK_I2C is ";
    const std::string kNoNode = "Failed to open TOUCH_PANEL_DIAG_HANDLE.";
    const struct {
        const char* node;        // before the test
        const char* replies[3];  // the driver's answer to short, open, i2c; nullptr: none
        const char* atSleep[3];  // the node's state from the 6, 4 and 2 s waits on; nullptr: kept
        bool expected;
        size_t written, slept;
        std::string message;
    } cases[] = {
            {"", {"2", "2", "2"}, {}, true, 3, 3, kPass},
            {"", {"2\n", " 2", "\t2 \n"}, {}, true, 3, 3, kPass},
            {"", {"2 1", "2\n0", "2"}, {}, true, 3, 3, kPass},  // only the first word counts
            {"", {"1", "2", "2"}, {}, false, 1, 1, kShort + "1."},
            {"", {"", "2", "2"}, {}, false, 1, 1, kShort + "."},
            {"", {nullptr, "2", "2"}, {}, false, 1, 1, kShort + "short."},
            {"", {"2", "22", "2"}, {}, false, 2, 2, kOpen + "22."},
            {"", {"2", "2", "x2"}, {}, false, 3, 3, kI2c + "x2."},
            // Nothing to extract: the short check's word is judged again.
            {"", {"2", " \n", "1"}, {}, false, 3, 3, kI2c + "1."},
            {"", {"2", "", "2"}, {}, true, 3, 3, kPass},
            // Gone while the open check runs: the i2c word cannot be written, and the driver's
            // node is back by the time it is read.
            {"", {}, {"2", kAbsent, "1"}, false, 2, 3, kI2c + "1."},
            // Refused from the open check's read on: the i2c check is neither written nor read.
            {"", {}, {"2", kDenied, nullptr}, true, 2, 3, kPass},
            {kAbsent, {}, {}, false, 0, 0, kNoNode},
            {kDenied, {}, {}, false, 0, 0, kNoNode},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.message);
        sandbox::reset();
        setNode(kDiag, c.node);
        for (size_t i = 0; i < 3; ++i) {
            if (c.replies[i]) sandbox::respond(kDiag, kAllWords[i], c.replies[i]);
        }
        sandbox::setSleepHook([&](double s) {
            const char* state = c.atSleep[s == 6 ? 0 : s == 4 ? 1 : 2];
            if (state) setNode(kDiag, state);
        });
        log::clear();
        EXPECT_EQ(value(display->doSelfTestAndGetResult()), c.expected);
        EXPECT_THAT(writesTo(kDiag),
                    ElementsAreArray(kAllWords.begin(), kAllWords.begin() + c.written));
        EXPECT_THAT(sleeps(), ElementsAreArray(kAllSleeps.begin(), kAllSleeps.begin() + c.slept));
        EXPECT_THAT(logOf(kTag), ElementsAre("E " + c.message));
    }
}

TEST_F(DisplayCheckServiceTest, PanelNodeFollowsTheProductName) {
    node(kFbPanel, "panel_name=fb\n");
    node(kDrmPanel, "panel_name=drm\n");
    // A null product leaves the name unset.
    const std::tuple<const char*, const char*> cases[] = {
            {"xmarduskx", "fb"}, {"marsko", "drm"}, {nullptr, "drm"}};
    for (const auto& [product, expected] : cases) {
        prop("ro.product.name", product);
        log::clear();
        EXPECT_EQ(lcmInfo(), expected) << (product ? product : "unset");
        const char* path = expected == std::string("fb") ? kFbPanel : kDrmPanel;
        EXPECT_THAT(
                logOf(kTag),
                ElementsAre(std::string("E open ") + path,
                            std::string("E The result of getLcmInfo is panel_name=") + expected));
    }
}

TEST_F(DisplayCheckServiceTest, PanelNameIsTakenFromTheTwelfthCharacter) {
    const std::tuple<const char*, const char*> cases[] = {
            {"panel_type=1\npanel_id=2\npanel_name=ABC\n", "ABC"},
            {"panel_type=1\n\npanel_name=ABC\n", ""},  // the search ends at an empty line
            {"panel_name: X", " X"},
            {"panel_namexyz", "yz"},
            {"panel_name", ""},
            {"panel_name=", ""},
            {"panel_name=A\r\npanel_name=B\n", "A\r"},
            {kAbsent, ""}};
    for (const auto& [content, expected] : cases) {
        setNode(kDrmPanel, content);
        EXPECT_EQ(lcmInfo(), expected) << content;
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
    const std::tuple<const char*, const char*, int32_t> cases[] = {
            {"PIF", "5000", 4095},  {"xpifpro", "4096\n", 4095}, {"pif", "4095", 4095},
            {"pif", "100\n", 100},  {"pif", "-5", -5},           {"dolv", "5000", 5000},
            {"qab", " 255\n", 255}, {"qab", "255abc", 255},      {"qab", "12\n34\n\n56", 12},
            {"qab", "+7 nits\n", 7}};
    for (const auto& [device, content, expected] : cases) {
        prop("ro.product.device", device);
        node(kLcd, content);
        EXPECT_EQ(value(display->getBacklightValue()), expected) << device << " " << content;
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
    // The sys and vendor properties (null: unset) and the colour.
    const std::tuple<const char*, const char*, const char*> cases[] = {
            {"white", "black", "white"}, {"", "black", "black"}, {nullptr, nullptr, ""}};
    for (const auto& [sys, vendor, expected] : cases) {
        prop("sys.panel.color", sys);
        prop("vendor.panel.color", vendor);
        log::clear();
        EXPECT_EQ(answer<std::string>(display, &IDisplayCheckService::getTpColor), expected);
        EXPECT_THAT(logged(kTag, ANDROID_LOG_ERROR),
                    ElementsAre(std::string("The result of getTpColor is ") + expected));
    }
}

}  // namespace
}  // namespace tevhost
