// The root as the service host loads it: a fresh root per lookup, and the area objects it owns.
// Its property and node pass-throughs are in tests/cases/qab/root-passthrough.case.
#include <tevhost/Services.h>

#include "AreaTest.h"

namespace vendor::quoril::hardware::tevvendorservice::implementation::test {
namespace {

using namespace ::tevhost;

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

}  // namespace
}  // namespace vendor::quoril::hardware::tevvendorservice::implementation::test
