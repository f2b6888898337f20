#include "PowerNodeTest.h"

namespace tevhost {
namespace {

using ::android::sp;
using ::android::hardware::hidl_string;
using ::android::hardware::Return;
using ::testing::ElementsAre;
using ::vendor::quoril::hardware::tevvendorservice::V1_0::IBatteryCheckService;

constexpr const char* kTag = "BatteryCheckService-hal";
constexpr const char* kResistanceId = "/sys/class/power_supply/bms/resistance_id";
constexpr const char* kAuthentic = "/sys/class/power_supply/bms/authentic";
constexpr const char* kTiPresent = "/sys/class/power_supply/bq2597x-slave/ti_battery_present";
constexpr const char* kChipOk = "/sys/class/power_supply/bms/chip_ok";
constexpr const char* kBatteryType = "/sys/class/power_supply/bms/battery_type";
constexpr const char* kResistance = "/sys/class/power_supply/bms/resistance";
constexpr const char* kChargeFull = "/sys/class/power_supply/bms/charge_full_design";
constexpr const char* kTemp = "/sys/class/power_supply/battery/temp";

class BatteryCheckServiceTest : public PowerNodeTest {
  protected:
    void SetUp() override {
        PowerNodeTest::SetUp();
        battery = root()->getExtensionBatteryCheckService();
        ASSERT_NE(battery, nullptr);
    }
    sp<IBatteryCheckService> battery;
};

std::string ok(const char* op, const std::string& text) {
    return std::string(op) + " successful result = " + text;
}

TEST_F(BatteryCheckServiceTest, NumericNodesConvertWithinTheirBuffers) {
    using Op = int32_t (*)(IBatteryCheckService&);
    Op authentic = [](IBatteryCheckService& b) -> int32_t {
        return static_cast<bool>(b.checkBatteryAuthentic());
    };
    Op dual = [](IBatteryCheckService& b) -> int32_t { return b.checkDualConnector(); };
    Op chip = [](IBatteryCheckService& b) -> int32_t { return b.checkChipOK(); };
    Op resistance = [](IBatteryCheckService& b) -> int32_t { return b.getBatteryResistance(); };
    Op full = [](IBatteryCheckService& b) -> int32_t { return b.getBatteryFullChargeValue(); };
    Op temp = [](IBatteryCheckService& b) -> int32_t { return b.getBatteryTemp(); };
    constexpr int I = ANDROID_LOG_INFO;
    constexpr int E = ANDROID_LOG_ERROR;
    const struct {
        Op op;
        const char* path;
        std::string content;
        int32_t expected;
        int priority;
        std::string message;
    } cases[] = {
            {authentic, kAuthentic, "1\n", 1, I, ok("checkBatteryAuthentic", "1\n")},
            {authentic, kAuthentic, "0", 0, I, ok("checkBatteryAuthentic", "0")},
            {authentic, kAuthentic, "", 0, I, ok("checkBatteryAuthentic", "")},
            {authentic, kAuthentic, "11", 0, I, ok("checkBatteryAuthentic", "11")},
            {authentic, kAuthentic, "00012", 1, I, ok("checkBatteryAuthentic", "0001")},
            {authentic, kAuthentic, kAbsent, 0, E, "Failed to open authentic node."},
            {authentic, kAuthentic, kFolder, 0, E, "read authentic sysfs node failed."},
            // Only the first byte counts.
            {dual, kTiPresent, "1\n", 1, I, ok("checkDualConnector", "1\n")},
            {dual, kTiPresent, "10", 1, I, ok("checkDualConnector", "10")},
            {dual, kTiPresent, "0", 0, I, ok("checkDualConnector", "0")},
            {dual, kTiPresent, " 1", 0, I, ok("checkDualConnector", " 1")},
            {dual, kTiPresent, "", 0, I, ok("checkDualConnector", "")},
            {dual, kTiPresent, kAbsent, 0, E, "Failed to open battery_ti_present node."},
            {dual, kTiPresent, kDenied, 0, E, "Failed to open battery_ti_present node."},
            {dual, kTiPresent, kFolder, 0, E, "read battery_ti_present sysfs node failed."},
            {chip, kChipOk, "2\n", 2, I, ok("checkChipOK", "2\n")},
            {chip, kChipOk, "1", 1, I, ok("checkChipOK", "1")},
            {chip, kChipOk, "0", 0, I, ok("checkChipOK", "0")},
            {chip, kChipOk, "3", -1, I, ok("checkChipOK", "3")},
            {chip, kChipOk, "-1", -1, I, ok("checkChipOK", "-1")},
            {chip, kChipOk, "", -1, I, ok("checkChipOK", "")},
            {chip, kChipOk, "123456", 1, I, ok("checkChipOK", "1234")},
            {chip, kChipOk, kAbsent, -1, E, "Failed to open chip_ok node."},
            {chip, kChipOk, kFolder, -1, E, "read chip_ok sysfs node failed."},
            // Unscaled, as the kernel gives them; a node filling the buffer stops at its end.
            {resistance, kResistance, "123456\n", 123456, I, ok("getBatteryResistance", "123456\n")},
            {resistance, kResistance, "-42", -42, I, ok("getBatteryResistance", "-42")},
            {resistance, kResistance, "0000000000000000000123", 1, I,
             ok("getBatteryResistance", "00000000000000000001")},
            {resistance, kResistance, kDenied, -1, E, "Failed to open resistance node."},
            {resistance, kResistance, kFolder, -1, E, "read resistance sysfs node failed."},
            {full, kChargeFull, "4500000\n", 4500000, I,
             ok("getBatteryFullChargeValue", "4500000\n")},
            {full, kChargeFull, "junk", 0, I, ok("getBatteryFullChargeValue", "junk")},
            {full, kChargeFull, "00000000000000123", 1, I,
             ok("getBatteryFullChargeValue", "000000000000001")},
            {full, kChargeFull, kAbsent, -1, E, "Failed to open chargefull node."},
            {full, kChargeFull, kFolder, -1, E, "read chargefull sysfs node failed."},
            // Tenths of a degree to whole degrees, truncated toward zero.
            {temp, kTemp, "253\n", 25, I, "getBatteryTemp successful result = 25"},
            {temp, kTemp, "-253\n", -25, I, "getBatteryTemp successful result = -25"},
            {temp, kTemp, "-15", -1, I, "getBatteryTemp successful result = -1"},
            {temp, kTemp, "-9", 0, I, "getBatteryTemp successful result = 0"},
            {temp, kTemp, "9", 0, I, "getBatteryTemp successful result = 0"},
            {temp, kTemp, "", 0, I, "getBatteryTemp successful result = 0"},
            {temp, kTemp, "12345678901", 123456789, I,
             "getBatteryTemp successful result = 123456789"},
            {temp, kTemp, kAbsent, -1, E, "Failed to open battery_temp node."},
            {temp, kTemp, kDenied, -1, E, "Failed to open battery_temp node."},
            {temp, kTemp, kFolder, -1, E, "read battery_temp sysfs node failed."},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.path) + " [" + c.content + "]");
        setNode(c.path, c.content);
        log::clear();
        size_t before = openDescriptors();
        EXPECT_EQ(c.op(*battery), c.expected);
        EXPECT_EQ(openDescriptors(), before);
        EXPECT_THAT(logLines(), ElementsAre(LogLine(c.priority, kTag, c.message)));
    }
}

TEST_F(BatteryCheckServiceTest, TextNodesAnswerOnceWithTheBytesRead) {
    using Op = Return<void> (IBatteryCheckService::*)(std::function<void(const hidl_string&)>);
    Op id = &IBatteryCheckService::getBatteryId;
    Op vendor = &IBatteryCheckService::getBatteryVendor;
    constexpr int I = ANDROID_LOG_INFO;
    constexpr int E = ANDROID_LOG_ERROR;
    const struct {
        Op op;
        const char* path;
        std::string content;
        const char* expected;
        int priority;
        std::string message;
    } cases[] = {
            {id, kResistanceId, "100000\n", "100000\n", I, ok("getBatteryId", "100000\n ")},
            {id, kResistanceId, "12345678901234", "1234567890", I,
             ok("getBatteryId", "1234567890 ")},
            {id, kResistanceId, "", "", I, ok("getBatteryId", " ")},
            {id, kResistanceId, kAbsent, "-1", E, "Failed to open resistance_id node."},
            {id, kResistanceId, kDenied, "-1", E, "Failed to open resistance_id node."},
            {id, kResistanceId, kFolder, "-1", E, "read resistance_id sysfs node failed."},
            {vendor, kBatteryType, "ATL_4500\n", "ATL_4500\n", I,
             ok("getBatteryVendor", "ATL_4500\n")},
            {vendor, kBatteryType, "ATL_4500mAh_Battery_Pack\n", "ATL_4500mAh_Battery_", I,
             ok("getBatteryVendor", "ATL_4500mAh_Battery_")},
            {vendor, kBatteryType, std::string("SDI\0x", 5), "SDI", I,
             ok("getBatteryVendor", "SDI")},
            {vendor, kBatteryType, kAbsent, "", E, "Failed to open battery_type node."},
            {vendor, kBatteryType, kFolder, "", E, "read battery_type sysfs node failed."},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.path) + " [" + c.content + "]");
        setNode(c.path, c.content);
        log::clear();
        size_t before = openDescriptors();
        std::vector<std::string> answers;
        EXPECT_TRUE(((*battery).*c.op)([&](const hidl_string& v) { answers.push_back(v); }).isOk());
        EXPECT_EQ(openDescriptors(), before);
        EXPECT_THAT(answers, ElementsAre(c.expected));
        EXPECT_THAT(logLines(), ElementsAre(LogLine(c.priority, kTag, c.message)));
    }
}

TEST_F(BatteryCheckServiceTest, DualConnectSupportIsTheChargePumpNodeExisting) {
    const struct {
        const char* state;
        bool expected;
    } cases[] = {{"0", true}, {"", true}, {kDenied, true}, {kFolder, true}, {kAbsent, false}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.state);
        setNode(kTiPresent, c.state);
        log::clear();
        EXPECT_EQ(static_cast<bool>(battery->isSupportDualConnect()), c.expected);
        EXPECT_THAT(logLines(),
                    ElementsAre(LogLine(ANDROID_LOG_INFO, kTag,
                                        c.expected ? "product is support DualConnect "
                                                   : "product is not support DualConnect ")));
    }
}

TEST_F(BatteryCheckServiceTest, HandedOutOnceAndExtFunNeverAnswers) {
    auto service = root();
    EXPECT_EQ(value(service->getExtensionBatteryCheckService()),
              value(service->getExtensionBatteryCheckService()));
    bool called = false;
    EXPECT_TRUE(battery->extFun("x", {"a"}, [&](const auto&) { called = true; }).isOk());
    EXPECT_FALSE(called);
}

}  // namespace
}  // namespace tevhost
