#include <tevhost/Services.h>

#include "AreaTest.h"

namespace tevhost {
namespace {

using ::android::wp;
using ::vendor::quoril::hardware::tevvendorservice::V1_0::ITevVendorService;
using ::vendor::quoril::hardware::tevvendorservice::V1_0::IVersionCheckService;

class RootServiceTest : public AreaTest {
  protected:
    void SetUp() override {
        AreaTest::SetUp();
        service = root();
        ASSERT_NE(service, nullptr);
    }
    // What a pass-through operation hands its callback.
    template <typename Op, typename... A>
    std::optional<std::string> pass(Op op, const A&... args) {
        return answer<std::string>(service, op, std::string(args)...);
    }
    sp<ITevVendorService> service;
};

TEST_F(RootServiceTest, PassthroughLookupLoadsAFreshRootEachTime) {
    sp<ITevVendorService> other = root();
    ASSERT_NE(other, nullptr);
    EXPECT_NE(other.get(), service.get());
    EXPECT_FALSE(service->isRemote());
    EXPECT_EQ(answer<std::string>(service, &ITevVendorService::interfaceDescriptor),
              "vendor.quoril.hardware.tevvendorservice@1.0::ITevVendorService");
    ASSERT_EQ(service->registerAsService("default"), ::android::OK);
    EXPECT_EQ(ITevVendorService::getService("default").get(), service.get());
    EXPECT_EQ(IVersionCheckService::getService("default"), nullptr);  // not castable, no factory
}

TEST_F(RootServiceTest, AreaObjectsAreCreatedOnceAndLiveAsLongAsTheRoot) {
    sp<IVersionCheckService> first = service->getExtensionVersionCheckService();
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(value(service->getExtensionVersionCheckService()), first);
    EXPECT_NE(value(root()->getExtensionVersionCheckService()), first);
    auto same = [](auto get) { return value(get()) != nullptr && value(get()) == value(get()); };
    EXPECT_TRUE(same([&] { return service->getExtensionNfcCheckService(); }));
    EXPECT_TRUE(same([&] { return service->getExtensionUsbCheckService(); }));
    EXPECT_TRUE(same([&] { return service->getExtensionAudioCheckService(); }));
    wp<IVersionCheckService> weak = first;
    first.clear();
    EXPECT_NE(weak.promote(), nullptr);  // the root still holds it
    service.clear();
    EXPECT_EQ(weak.promote(), nullptr);  // released with the root
}

// The pass-throughs forward to the helpers (their failures are tested with them).
TEST_F(RootServiceTest, PropertyAndNodePassThroughs) {
    const auto get = &ITevVendorService::getVendorProperty;
    const auto set = &ITevVendorService::setVendorProperty;
    prop("ro.product.name", "qab");
    EXPECT_EQ(pass(get, "ro.product.name", "x"), "qab");
    EXPECT_EQ(pass(get, "unset.key", "fallback"), "fallback");
    EXPECT_EQ(pass(set, "persist.vendor.x", "1"), "success");
    EXPECT_EQ(pass(get, "persist.vendor.x", ""), "1");
    EXPECT_EQ(pass(set, "ro.product.name", "zob"), "fail");  // read-only and already set

    const auto read = &ITevVendorService::getVendorFileValue;
    const auto write = &ITevVendorService::setVendorFileValue;
    node("/sys/class/leds/red/brightness", "128\n");
    EXPECT_EQ(pass(read, "/sys/class/leds/red/brightness"), "128");
    EXPECT_EQ(pass(read, "/sys/absent"), "");
    EXPECT_EQ(pass(write, "/sys/class/leds/red/brightness", "255"), "success");
    EXPECT_EQ(nodeContent("/sys/class/leds/red/brightness"), "255");
    EXPECT_EQ(pass(write, "/sys/no/such/node", "1"), "fail");
}

}  // namespace
}  // namespace tevhost
