// How the areas open and write their nodes where a run script cannot show it, seen through the
// sandbox's record of opens and its node states: the open flags, a write that takes no bytes, a
// node whose second open fails.
#include <fcntl.h>

#include "AreaTest.h"
#include "OperationCalls.h"

namespace vendor::quoril::hardware::tevvendorservice::implementation::test {
namespace {

using namespace ::tevhost;

using ::vendor::quoril::hardware::tevvendorservice::V1_0::IChargerCheckService;
using ::vendor::quoril::hardware::tevvendorservice::V1_0::IFPCheckService;
using ::vendor::quoril::hardware::tevvendorservice::V1_0::NitMode;
using ::vendor::quoril::hardware::tevvendorservice::V1_0::RevWireChargeControl;

// A node read or driven through a descriptor is opened non-blocking: read-only to read it,
// read-write to drive it.
TEST_F(AreaTest, DescriptorNodesOpenNonBlockingForWhatTheCallDoes) {
    auto service = root();
    for (const stress::NodeOperation& entry : stress::nodeCalls()) {
        if (entry.access != stress::Access::kDescriptor) continue;
        sandbox::recordReached(true);
        stress::answerInService(*service, stress::tableCall(entry));
        sandbox::recordReached(false);
        const int expected = (entry.readsContent ? O_RDONLY : O_RDWR) | O_NONBLOCK;
        for (const sandbox::Open& o : sandbox::opened()) {
            EXPECT_EQ(o.flags & (O_ACCMODE | O_NONBLOCK), expected) << entry.name() << " " << o.path;
        }
    }
}

// A write that takes no bytes has not failed: the switch answers true and logs the 0 bytes.
TEST_F(AreaTest, AWriteThatTakesNothingIsNoFailure) {
    setNode("/sys/class/power_supply/wireless/reverse_chg_mode", kStuck);
    sp<IChargerCheckService> charger = root()->getExtensionChargerCheckService();
    EXPECT_TRUE(value(charger->controlReverseWirelessCharge(RevWireChargeControl::ON)));
    EXPECT_THAT(logOf("ChargerCheckService-hal"),
                Contains("I controlReverseWirelessCharge control = 1 result = 0"));
}

// Both words of a screen effect must reach the node: the second one failing fails the effect.
TEST_F(AreaTest, AScreenEffectFailsWhenItsSecondWriteFails) {
    const std::string node = "/sys/class/drm/card0-DSI-1/disp_param";
    setNode(node, "");
    std::string error;
    ASSERT_TRUE(sandbox::denyNode(node, &error, 1)) << error;
    sp<IFPCheckService> fp = root()->getExtensionFPCheckService();
    EXPECT_FALSE(value(fp->setScreenEffectNew(NitMode::NIT_300)));
    EXPECT_THAT(writesTo(node), ElementsAre("0x1000000"));
}

}  // namespace
}  // namespace vendor::quoril::hardware::tevvendorservice::implementation::test
