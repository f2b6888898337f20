#include "HandsetTest.h"

namespace tevhost {
namespace {

using ::android::sp;
using ::android::hardware::hidl_string;
using ::android::hardware::Return;
using ::testing::Contains;
using ::testing::Not;
using ::vendor::quoril::hardware::tevvendorservice::V1_0::IVersionCheckService;

constexpr const char* kUtilsTag = "vendor.quoril.hardware.tevvendorservice@1.0-TevVendorUtils";

class VersionCheckServiceTest : public HandsetTest {
  protected:
    void SetUp() override {
        HandsetTest::SetUp();
        version = root()->getExtensionVersionCheckService();
        ASSERT_NE(version, nullptr);
    }
    // Calls a string operation and returns what its callback got.
    template <typename Op>
    std::string answer(Op op) {
        std::string out = "<no callback>";
        int calls = 0;
        Return<void> ret = ((*version).*op)([&](const hidl_string& v) {
            out = v;
            ++calls;
        });
        EXPECT_TRUE(ret.isOk());
        EXPECT_EQ(calls, 1);
        return out;
    }
    sp<IVersionCheckService> version;
};

TEST_F(VersionCheckServiceTest, SingleSimOnlyForExactlyOne) {
    const struct {
        const char* value;  // nullptr: unset
        bool expected;
    } cases[] = {{"1", true},   {"0", false},  {"true", false}, {" 1", false},
                 {"1 ", false}, {"01", false}, {"", false},     {nullptr, false}};
    for (const auto& c : cases) {
        if (c.value) {
            prop("ro.orvu.singlesim", c.value);
        } else {
            unsetProp("ro.orvu.singlesim");
        }
        EXPECT_EQ(static_cast<bool>(version->isSingleSim()), c.expected)
                << (c.value ? c.value : "unset");
    }
}

TEST_F(VersionCheckServiceTest, PropertyAnswersAndTheirDefaults) {
    using Op = Return<void> (IVersionCheckService::*)(std::function<void(const hidl_string&)>);
    const struct {
        Op op;
        const char* key;
        const char* unsetAnswer;
    } cases[] = {
            {&IVersionCheckService::getFSN, "ro.ril.oem.sno", ""},
            {&IVersionCheckService::getPhoneSerialNo, "ro.ril.oem.psno", ""},
            {&IVersionCheckService::getBasebandVersion, "gsm.version.baseband", "unknown"},
            {&IVersionCheckService::getHardwareVersion, "ro.boot.hwlevel", ""},
            {&IVersionCheckService::getSecureBootStatus, "ro.boot.secureboot", ""},
            {&IVersionCheckService::getRpmbStatus, "vendor.sys.rpmb_state", ""},
            {&IVersionCheckService::getVerifiedBootState, "ro.boot.verifiedbootstate", ""},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(answer(c.op), c.unsetAnswer) << c.key;
        prop(c.key, " value with blanks ");
        EXPECT_EQ(answer(c.op), " value with blanks ") << c.key;
    }
}

TEST_F(VersionCheckServiceTest, KernelVersionIsTheNodeWithoutItsFinalLineFeed) {
    node("/proc/version", "Linux version 4.19.157-perf (builder@host) #1 SMP PREEMPT\n");
    EXPECT_EQ(answer(&IVersionCheckService::getKernelVersion),
              "Linux version 4.19.157-perf (builder@host) #1 SMP PREEMPT");
    removeNode("/proc/version");
    EXPECT_EQ(answer(&IVersionCheckService::getKernelVersion), "");
    EXPECT_THAT(logLines(), Contains(LogLine(ANDROID_LOG_ERROR, kUtilsTag,
                                             "Failed to open node /proc/version")));
}

TEST_F(VersionCheckServiceTest, CpuIdFallsBackToTheSerialNode) {
    node("/proc/serial_num", "12ab\n");
    prop("ro.boot.cpuid", "abc");
    EXPECT_EQ(answer(&IVersionCheckService::getCpuId), "abc");
    EXPECT_THAT(logLines(), Not(Contains(LogLine(ANDROID_LOG_INFO, kUtilsTag,
                                                 "ReadFilePathValue path = /proc/serial_num "
                                                 "value = 12ab"))));
    unsetProp("ro.boot.cpuid");
    EXPECT_EQ(answer(&IVersionCheckService::getCpuId), "12ab");
    prop("ro.boot.cpuid", "");
    EXPECT_EQ(answer(&IVersionCheckService::getCpuId), "12ab");
    removeNode("/proc/serial_num");
    EXPECT_EQ(answer(&IVersionCheckService::getCpuId), "");
}

TEST_F(VersionCheckServiceTest, ExtFunNeverAnswers) {
    bool called = false;
    EXPECT_TRUE(version->extFun("x", {"a"}, [&](const auto&) { called = true; }).isOk());
    EXPECT_FALSE(called);
}

}  // namespace
}  // namespace tevhost
