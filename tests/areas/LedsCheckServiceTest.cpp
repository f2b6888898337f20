// A node that opens on descriptor 0 is open, and is closed after the call: a run script cannot
// stage that. What the area answers and writes for each type and node state is in
// tests/cases/qab/leds.case.
#include <fcntl.h>
#include <unistd.h>

#include "AreaTest.h"

namespace vendor::quoril::hardware::tevvendorservice::implementation::test {
namespace {

using namespace ::tevhost;

using ::vendor::quoril::hardware::tevvendorservice::V1_0::ILedsCheckService;

TEST_F(AreaTest, LedNodeOnDescriptorZeroCountsAsOpen) {
    const std::string leds = "/sys/class/leds/";
    for (const char* led : {"red", "button-backlight", "button-backlight1", "button-backlight2"}) {
        node(leds + led + "/brightness", "");
    }
    sp<ILedsCheckService> service = root()->getExtensionLedsCheckService();
    const int savedStdin = dup(0);
    ASSERT_GE(savedStdin, 0);
    for (int32_t type : {1, 7}) {
        close(0);  // the first LED node opens on descriptor 0
        sandbox::recordReached(true);
        service->controlLed(type, true);
        sandbox::recordReached(false);
        ASSERT_FALSE(sandbox::opened().empty());
        EXPECT_EQ(sandbox::opened()[0].fd, 0);
        EXPECT_EQ(fcntl(0, F_GETFD), -1) << "the node on descriptor 0 was left open";
        ASSERT_EQ(dup2(savedStdin, 0), 0);
    }
    close(savedStdin);
    std::vector<std::string> written;
    for (const auto& w : writes()) written.push_back(w.path.substr(leds.size()) + "=" + w.data);
    EXPECT_THAT(written, ElementsAre("red/brightness=255", "button-backlight/brightness=255",
                                     "button-backlight1/brightness=255",
                                     "button-backlight2/brightness=255"));
}

}  // namespace
}  // namespace vendor::quoril::hardware::tevvendorservice::implementation::test
