#include <tevhost/Services.h>

#include "HandsetTest.h"

namespace tevhost {
namespace {

using ::android::sp;
using ::android::wp;
using ::android::hardware::hidl_string;
using ::testing::Contains;
using ::vendor::quoril::hardware::tevvendorservice::V1_0::ITevVendorService;
using ::vendor::quoril::hardware::tevvendorservice::V1_0::IVersionCheckService;

constexpr const char* kUtilsTag = "vendor.quoril.hardware.tevvendorservice@1.0-TevVendorUtils";

class RootServiceTest : public HandsetTest {
  protected:
    void SetUp() override {
        HandsetTest::SetUp();
        service = root();
        ASSERT_NE(service, nullptr);
    }
    std::string get(const std::string& key, const std::string& defaultValue) {
        std::string out = "<no callback>";
        service->getVendorProperty(key, defaultValue, [&](const hidl_string& v) { out = v; });
        return out;
    }
    std::string set(const std::string& key, const std::string& value) {
        std::string out = "<no callback>";
        service->setVendorProperty(key, value, [&](const hidl_string& v) { out = v; });
        return out;
    }
    std::string readNode(const std::string& path) {
        std::string out = "<no callback>";
        service->getVendorFileValue(path, [&](const hidl_string& v) { out = v; });
        return out;
    }
    std::string writeNode(const std::string& path, const std::string& value) {
        std::string out = "<no callback>";
        service->setVendorFileValue(path, value, [&](const hidl_string& v) { out = v; });
        return out;
    }
    sp<ITevVendorService> service;
};

TEST_F(RootServiceTest, PassthroughLookupLoadsAFreshRootEachTime) {
    sp<ITevVendorService> other = root();
    ASSERT_NE(other, nullptr);
    EXPECT_NE(other.get(), service.get());
    EXPECT_FALSE(service->isRemote());
    std::string descriptor;
    service->interfaceDescriptor([&](const hidl_string& d) { descriptor = d; });
    EXPECT_EQ(descriptor, "vendor.quoril.hardware.tevvendorservice@1.0::ITevVendorService");
}

TEST_F(RootServiceTest, RegisteredServiceIsReturnedAsIs) {
    ASSERT_EQ(service->registerAsService("default"), ::android::OK);
    EXPECT_EQ(ITevVendorService::getService("default").get(), service.get());
    EXPECT_EQ(IVersionCheckService::getService("default"), nullptr);  // not castable, no factory
}

TEST_F(RootServiceTest, AreaObjectsAreCreatedOnceAndLiveAsLongAsTheRoot) {
    sp<IVersionCheckService> first = service->getExtensionVersionCheckService();
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(value(service->getExtensionVersionCheckService()), first);
    EXPECT_NE(value(root()->getExtensionVersionCheckService()), first);
    EXPECT_EQ(value(service->getExtensionUsbCheckService()),
              value(service->getExtensionUsbCheckService()));
    wp<IVersionCheckService> weak = first;
    first.clear();
    EXPECT_NE(weak.promote(), nullptr);  // the root still holds it
    service.clear();
    EXPECT_EQ(weak.promote(), nullptr);  // released with the root
}

TEST_F(RootServiceTest, PropertyPassThroughs) {
    prop("ro.product.name", "qab");
    EXPECT_EQ(get("ro.product.name", "x"), "qab");
    EXPECT_EQ(get("unset.key", "fallback"), "fallback");
    EXPECT_EQ(get("unset.key", ""), "");
    EXPECT_EQ(set("persist.vendor.x", "1"), "success");
    EXPECT_EQ(get("persist.vendor.x", ""), "1");
    EXPECT_EQ(set("ro.product.name", "zob"), "fail");  // read-only and already set
    EXPECT_EQ(set("persist.vendor.x", std::string(92, 'v')), "fail");
    EXPECT_THAT(logLines(),
                Contains(LogLine(ANDROID_LOG_ERROR, kUtilsTag, "Getprop unset.key erro\n")));
}

TEST_F(RootServiceTest, NodePassThroughs) {
    node("/sys/class/leds/red/brightness", "128\n");
    EXPECT_EQ(readNode("/sys/class/leds/red/brightness"), "128");
    EXPECT_EQ(readNode("/sys/absent"), "");
    EXPECT_EQ(writeNode("/sys/class/leds/red/brightness", "255"), "success");
    EXPECT_EQ(nodeContent("/sys/class/leds/red/brightness"), "255");
    EXPECT_EQ(writeNode("/sys/no/such/node", "1"), "fail");
    denyNode("/sys/denied");
    EXPECT_EQ(writeNode("/sys/denied", "1"), "fail");
    EXPECT_EQ(readNode("/sys/denied"), "");
}

TEST_F(RootServiceTest, EveryAreaIsHandedOutAsTheSameObjectTwice) {
    auto same = [](auto get) {
        auto first = value(get());
        return first != nullptr && first == value(get());
    };
    EXPECT_TRUE(same([&] { return service->getExtensionVersionCheckService(); }));
    EXPECT_TRUE(same([&] { return service->getExtensionNfcCheckService(); }));
    EXPECT_TRUE(same([&] { return service->getExtensionUsbCheckService(); }));
    EXPECT_TRUE(same([&] { return service->getExtensionAudioCheckService(); }));
}

}  // namespace
}  // namespace tevhost
