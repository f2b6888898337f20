// Storage: what a case cannot show, since a run builds each area once. The storage kind is chosen
// once per process, by the first area built, and later areas built for another product keep it.
// The node-by-node behaviour of both kinds is in tests/cases/*/flashlife-*.case.
#include <filesystem>

#include "AreaTest.h"

namespace vendor::quoril::hardware::tevvendorservice::implementation::test {
namespace {

using namespace ::tevhost;

using F = ::vendor::quoril::hardware::tevvendorservice::V1_0::IFlashLifeCheckService;

constexpr const char* kTag = "TevFlashLifeCheck-test";

class FlashLifeTest : public AreaTest {
  protected:
    // The storage area of a fresh root on a device named |product|; its constructor runs here.
    sp<F> area(const char* product) {
        prop("ro.product.name", product);
        sp<F> flash = root()->getExtensionFlashLifeCheckService();
        EXPECT_NE(flash, nullptr);
        return flash;
    }
};

TEST_F(FlashLifeTest, TheFirstAreaOfTheProcessChoosesTheStorageForGood) {
    inFreshProcess([this] {
        node("/sys/class/block/sda/size", "488308736\n");
        node("/sys/class/block/mmcblk0/size", "122142720\n");
        sp<F> emmc = area("marskol");
        auto service = root();
        EXPECT_EQ(value(service->getExtensionFlashLifeCheckService()),
                  value(service->getExtensionFlashLifeCheckService()));
        log::clear();
        // Built for a UFS product, it says UFS and still reads the eMMC nodes.
        sp<F> later = area("qab");
        EXPECT_THAT(logged(kTag), ElementsAre("this product name is qab.\n",
                                              "The flash of this product is UFS.\n"));
        EXPECT_EQ(answer<std::string>(later, &F::readFlashSize), "122142720");
        std::error_code ignored;
        std::filesystem::remove_all(hostPath(""), ignored);  // the child skips TearDown
    });
}

}  // namespace
}  // namespace vendor::quoril::hardware::tevvendorservice::implementation::test
