// The touch-panel self-test while its node changes under it, which a run script cannot stage: the
// node acts as the driver at the 6, 4 and 2 s waits. The self-test's answers to the driver's
// words, and the rest of the area, are in tests/cases/qab/display-*.case.
#include "AreaTest.h"

namespace vendor::quoril::hardware::tevvendorservice::implementation::test {
namespace {

using namespace ::tevhost;

using ::vendor::quoril::hardware::tevvendorservice::V1_0::IDisplayCheckService;

constexpr const char* kDiag = "/proc/tp_selftest";

class DisplayCheckServiceTest : public AreaTest {};

TEST_F(DisplayCheckServiceTest, SelfTestWhileTheNodeChangesUnderIt) {
    const struct {
        const char* atSleep[3];  // the node's state from the 6, 4 and 2 s waits on; nullptr: kept
        bool expected;
        Lines written;
        std::string message;
    } cases[] = {
            // Gone while the open check runs: the i2c word cannot be written, and the driver's
            // node is back by the time it is read.
            {{"2", kAbsent, "1"},
             false,
             {"short", "open"},
             "The result of TOUCH_PANEL_CHECK_I2C is 1."},
            // Refused from the open check's read on: the i2c check is neither written nor read.
            {{"2", kDenied, nullptr}, true, {"short", "open"}, "doSelfTestAndGetResult pass."},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.message);
        sandbox::reset();
        setNode(kDiag, "");
        sandbox::setSleepHook([&](double s) {
            const char* state = c.atSleep[s == 6 ? 0 : s == 4 ? 1 : 2];
            if (state) setNode(kDiag, state);
        });
        log::clear();
        sp<IDisplayCheckService> display = root()->getExtensionDisplayCheckService();
        EXPECT_EQ(value(display->doSelfTestAndGetResult()), c.expected);
        EXPECT_EQ(writesTo(kDiag), c.written);
        EXPECT_THAT(sleeps(), ElementsAre(6, 4, 2));
        EXPECT_THAT(logOf("DisplayCheckService"), ElementsAre("E " + c.message));
    }
}

}  // namespace
}  // namespace vendor::quoril::hardware::tevvendorservice::implementation::test
