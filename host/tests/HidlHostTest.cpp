// The host's HIDL runtime and property store must behave as the device's do, or the product
// tests prove nothing.
#include <cutils/properties.h>
#include <hidl/Status.h>
#include <tevhost/Services.h>

#include <cstdio>
#include <cstring>
#include <fstream>

#include "HandsetTest.h"

namespace tevhost {
namespace {

using ::android::hardware::Return;
using ::android::hardware::Status;

using HidlHostTest = HandsetTest;
using HidlHostDeathTest = HandsetTest;

TEST_F(HidlHostDeathTest, FailedReturnAbortsWhenReadOrDroppedUnchecked) {
    auto failed = [] {
        return Return<int32_t>(Status::fromExceptionCode(Status::EX_TRANSACTION_FAILED));
    };
    EXPECT_DEATH((void)static_cast<int32_t>(failed()), "retrieve value from failed HIDL call");
    EXPECT_DEATH({ failed(); }, "Failed HIDL return status not checked");
    EXPECT_FALSE(failed().isOk());  // checked, it may be dropped
    EXPECT_EQ(value(Return<int32_t>(5)), 5);
}

TEST_F(HidlHostTest, PropertyGetFollowsAndroidRules) {
    char value[PROPERTY_VALUE_MAX];
    props::set("a", "xyz");
    props::set("empty", "");
    for (auto [key, fallback, text] :
         {std::tuple("a", "d", "xyz"), {"empty", "dd", "dd"}, {"unset", nullptr, ""}}) {
        EXPECT_EQ(property_get(key, value, fallback), static_cast<int>(strlen(text)));
        EXPECT_STREQ(value, text);
    }
    std::string longDefault(200, 'd');
    EXPECT_EQ(property_get("unset", value, longDefault.c_str()), PROPERTY_VALUE_MAX - 1);
}

TEST_F(HidlHostTest, PropertyFileLoadsBothForms) {
    std::string path = hostPath("/props");
    std::ofstream(path) << "[ro.product.name]: [qab]\n[empty]: []\n# comment\n\n"
                        << "persist.x=a b\n[gsm.version.baseband]: [MPSS.1]\n";
    ASSERT_TRUE(props::loadFile(path));
    EXPECT_EQ(props::get("ro.product.name"), "qab");
    EXPECT_EQ(props::get("empty"), "");
    EXPECT_EQ(props::get("persist.x"), "a b");
    EXPECT_EQ(props::get("gsm.version.baseband"), "MPSS.1");
    std::ofstream(path) << "[ok]: [1]\nnot a property\n";
    int bad = 0;
    EXPECT_FALSE(props::loadFile(path, &bad));
    EXPECT_EQ(bad, 2);
}

TEST_F(HidlHostTest, PassthroughLookupNeedsBothLibraryAndFactory) {
    const std::string package = "vendor.quoril.hardware.tevvendorservice@1.0::";
    EXPECT_NE(passthroughFactory(package + "ITevVendorService"), nullptr);
    // The library exists but exports no factory for an area interface.
    EXPECT_EQ(passthroughFactory(package + "IUsbCheckService"), nullptr);
    EXPECT_EQ(passthroughFactory("vendor.quoril.hardware.none@1.0::INone"), nullptr);
    EXPECT_EQ(passthroughFactory("garbage"), nullptr);
}

}  // namespace
}  // namespace tevhost
