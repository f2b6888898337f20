#include "AreaTest.h"

namespace tevhost {
namespace {

using ::testing::Not;
using V = ::vendor::quoril::hardware::tevvendorservice::V1_0::IVersionCheckService;

class VersionCheckServiceTest : public AreaTest {
  protected:
    void SetUp() override {
        AreaTest::SetUp();
        version = root()->getExtensionVersionCheckService();
        ASSERT_NE(version, nullptr);
    }
    std::optional<std::string> text(decltype(&V::getFSN) op) {
        return answer<std::string>(version, op);
    }
    sp<V> version;
};

TEST_F(VersionCheckServiceTest, SingleSimOnlyForExactlyOne) {
    for (const char* value : {"0", "true", " 1", "1 ", "01", "", (const char*)nullptr}) {
        prop("ro.orvu.singlesim", value);
        EXPECT_FALSE(tevhost::value(version->isSingleSim())) << (value ? value : "unset");
    }
    prop("ro.orvu.singlesim", "1");
    EXPECT_TRUE(value(version->isSingleSim()));
}

TEST_F(VersionCheckServiceTest, PropertyAnswersAndTheirDefaults) {
    const std::tuple<decltype(&V::getFSN), const char*, const char*> cases[] = {
            {&V::getFSN, "ro.ril.oem.sno", ""},
            {&V::getPhoneSerialNo, "ro.ril.oem.psno", ""},
            {&V::getBasebandVersion, "gsm.version.baseband", "unknown"},
            {&V::getHardwareVersion, "ro.boot.hwlevel", ""},
            {&V::getSecureBootStatus, "ro.boot.secureboot", ""},
            {&V::getRpmbStatus, "vendor.sys.rpmb_state", ""},
            {&V::getVerifiedBootState, "ro.boot.verifiedbootstate", ""},
    };
    for (const auto& [op, key, unsetAnswer] : cases) {
        EXPECT_EQ(text(op), unsetAnswer) << key;
        prop(key, " value with blanks ");
        EXPECT_EQ(text(op), " value with blanks ") << key;
    }
}

TEST_F(VersionCheckServiceTest, KernelVersionAndCpuIdComeFromTheirNodes) {
    node("/proc/version", "Linux version 4.19.157-perf (builder@host) #1 SMP PREEMPT\n");
    EXPECT_EQ(text(&V::getKernelVersion),
              "Linux version 4.19.157-perf (builder@host) #1 SMP PREEMPT");
    removeNode("/proc/version");
    EXPECT_EQ(text(&V::getKernelVersion), "");
    EXPECT_THAT(logLines(), Contains(LogLine(ANDROID_LOG_ERROR, kUtilsTag,
                                             "Failed to open node /proc/version")));

    // The CPU id falls back to the serial node, which is not read while the property is set.
    node("/proc/serial_num", "12ab\n");
    prop("ro.boot.cpuid", "abc");
    EXPECT_EQ(text(&V::getCpuId), "abc");
    EXPECT_THAT(logged(kUtilsTag), Not(Contains("ReadFilePathValue path = /proc/serial_num "
                                                "value = 12ab")));
    unsetProp("ro.boot.cpuid");
    EXPECT_EQ(text(&V::getCpuId), "12ab");
    prop("ro.boot.cpuid", "");
    EXPECT_EQ(text(&V::getCpuId), "12ab");
    removeNode("/proc/serial_num");
    EXPECT_EQ(text(&V::getCpuId), "");
}

}  // namespace
}  // namespace tevhost
