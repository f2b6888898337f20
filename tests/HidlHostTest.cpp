// The host's HIDL runtime, property store and log must behave as the device's do, or the product
// tests prove nothing.
#include <cutils/properties.h>
#include <hidl/Status.h>
#include <tevhost/Services.h>

#include <cstdio>
#include <fstream>

#include "HandsetTest.h"

namespace tevhost {
namespace {

using ::android::hardware::Return;
using ::android::hardware::Status;
using ::testing::ElementsAre;

using HidlHostTest = HandsetTest;
using HidlHostDeathTest = HandsetTest;

TEST_F(HidlHostDeathTest, FailedReturnAbortsWhenReadOrDroppedUnchecked) {
    auto failed = [] {
        return Return<int32_t>(Status::fromExceptionCode(Status::EX_TRANSACTION_FAILED));
    };
    EXPECT_DEATH(
            {
                int32_t v = failed();
                (void)v;
            },
            "retrieve value from failed HIDL call");
    EXPECT_DEATH({ failed(); }, "Failed HIDL return status not checked");
    // Checked, it may be dropped.
    Return<int32_t> ret = failed();
    EXPECT_FALSE(ret.isOk());
    Return<int32_t> ok = 5;
    EXPECT_EQ(static_cast<int32_t>(ok), 5);
}

TEST_F(HidlHostTest, PropertyGetFollowsAndroidRules) {
    char value[PROPERTY_VALUE_MAX];
    props::set("a", "xyz");
    props::set("empty", "");
    EXPECT_EQ(property_get("a", value, "d"), 3);
    EXPECT_STREQ(value, "xyz");
    EXPECT_EQ(property_get("empty", value, "dd"), 2);
    EXPECT_STREQ(value, "dd");
    EXPECT_EQ(property_get("unset", value, nullptr), 0);
    EXPECT_STREQ(value, "");
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

TEST_F(HidlHostTest, LogKeepsPriorityTagAndUtf8Text) {
    __android_log_print(ANDROID_LOG_INFO, "T", "%s %d", "300尼特绿斑亮度测试", 7);
    __android_log_write(ANDROID_LOG_ERROR, "U", "line\n");
    EXPECT_THAT(logLines(), ElementsAre(LogLine(ANDROID_LOG_INFO, "T", "300尼特绿斑亮度测试 7"),
                                        LogLine(ANDROID_LOG_ERROR, "U", "line\n")));
}

TEST_F(HidlHostTest, PassthroughLookupNeedsBothLibraryAndFactory) {
    EXPECT_NE(passthroughFactory("vendor.quoril.hardware.tevvendorservice@1.0::ITevVendorService"),
              nullptr);
    // The library exists but exports no factory for an area interface.
    EXPECT_EQ(passthroughFactory("vendor.quoril.hardware.tevvendorservice@1.0::IUsbCheckService"),
              nullptr);
    EXPECT_EQ(passthroughFactory("vendor.quoril.hardware.none@1.0::INone"), nullptr);
    EXPECT_EQ(passthroughFactory("garbage"), nullptr);
}

}  // namespace
}  // namespace tevhost
