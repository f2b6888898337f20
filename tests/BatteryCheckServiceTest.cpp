#include "AreaTest.h"

namespace tevhost {
namespace {

using B = ::vendor::quoril::hardware::tevvendorservice::V1_0::IBatteryCheckService;

constexpr const char* kTag = "BatteryCheckService-hal";
constexpr const char* kResistanceId = "/sys/class/power_supply/bms/resistance_id";
constexpr const char* kAuthentic = "/sys/class/power_supply/bms/authentic";
constexpr const char* kTiPresent = "/sys/class/power_supply/bq2597x-slave/ti_battery_present";
constexpr const char* kChipOk = "/sys/class/power_supply/bms/chip_ok";
constexpr const char* kBatteryType = "/sys/class/power_supply/bms/battery_type";
constexpr const char* kResistance = "/sys/class/power_supply/bms/resistance";
constexpr const char* kChargeFull = "/sys/class/power_supply/bms/charge_full_design";
constexpr const char* kTemp = "/sys/class/power_supply/battery/temp";

class BatteryCheckServiceTest : public AreaTest {
  protected:
    void SetUp() override {
        AreaTest::SetUp();
        battery = root()->getExtensionBatteryCheckService();
        ASSERT_NE(battery, nullptr);
    }
    // Puts |path| into |state| and runs |call|, which must log exactly |line|.
    template <typename Call>
    auto run(const char* path, const std::string& state, const std::string& line, Call call) {
        SCOPED_TRACE(std::string(path) + " [" + state + "]");
        setNode(path, state);
        log::clear();
        auto result = call();
        EXPECT_THAT(logOf(kTag), ElementsAre(line));
        return result;
    }
    sp<B> battery;
};

// The line of a node read: "I <op> successful result = <text>".
std::string ok(const char* op, const std::string& text) {
    return "I " + std::string(op) + " successful result = " + text;
}

TEST_F(BatteryCheckServiceTest, NumericNodesConvertWithinTheirBuffers) {
    using Op = int32_t (*)(B&);
    Op authentic = [](B& b) -> int32_t { return value(b.checkBatteryAuthentic()); };
    Op dual = [](B& b) { return value(b.checkDualConnector()); };
    Op chip = [](B& b) { return value(b.checkChipOK()); };
    Op resistance = [](B& b) { return value(b.getBatteryResistance()); };
    Op full = [](B& b) { return value(b.getBatteryFullChargeValue()); };
    Op temp = [](B& b) { return value(b.getBatteryTemp()); };
    const std::tuple<Op, const char*, std::string, int32_t, std::string> cases[] = {
            {authentic, kAuthentic, "1\n", 1, ok("checkBatteryAuthentic", "1\n")},
            {authentic, kAuthentic, "11", 0, ok("checkBatteryAuthentic", "11")},
            {authentic, kAuthentic, "00012", 1, ok("checkBatteryAuthentic", "0001")},
            {authentic, kAuthentic, kAbsent, 0, "E Failed to open authentic node."},
            {authentic, kAuthentic, kFolder, 0, "E read authentic sysfs node failed."},
            // Only the first byte counts, of the four read.
            {dual, kTiPresent, "1234567", 1, ok("checkDualConnector", "1234")},
            {dual, kTiPresent, " 1", 0, ok("checkDualConnector", " 1")},
            {dual, kTiPresent, kDenied, 0, "E Failed to open battery_ti_present node."},
            {dual, kTiPresent, kFolder, 0, "E read battery_ti_present sysfs node failed."},
            {chip, kChipOk, "2\n", 2, ok("checkChipOK", "2\n")},
            {chip, kChipOk, "1", 1, ok("checkChipOK", "1")},
            {chip, kChipOk, "0", 0, ok("checkChipOK", "0")},
            {chip, kChipOk, "3", -1, ok("checkChipOK", "3")},
            {chip, kChipOk, "123456", 1, ok("checkChipOK", "1234")},
            {chip, kChipOk, kAbsent, -1, "E Failed to open chip_ok node."},
            {chip, kChipOk, kFolder, -1, "E read chip_ok sysfs node failed."},
            // Unscaled, as the kernel gives them; a node filling the buffer stops at its end.
            {resistance, kResistance, "-42", -42, ok("getBatteryResistance", "-42")},
            {resistance, kResistance, "0000000000000000000123", 1,
             ok("getBatteryResistance", "00000000000000000001")},
            {resistance, kResistance, kDenied, -1, "E Failed to open resistance node."},
            {resistance, kResistance, kFolder, -1, "E read resistance sysfs node failed."},
            {full, kChargeFull, "4500000\n", 4500000, ok("getBatteryFullChargeValue", "4500000\n")},
            {full, kChargeFull, "00000000000000123", 1,
             ok("getBatteryFullChargeValue", "000000000000001")},
            {full, kChargeFull, kAbsent, -1, "E Failed to open chargefull node."},
            {full, kChargeFull, kFolder, -1, "E read chargefull sysfs node failed."},
            // Tenths of a degree to whole degrees, truncated toward zero.
            {temp, kTemp, "253\n", 25, "I getBatteryTemp successful result = 25"},
            {temp, kTemp, "-15", -1, "I getBatteryTemp successful result = -1"},
            {temp, kTemp, "12345678901", 123456789,
             "I getBatteryTemp successful result = 123456789"},
            {temp, kTemp, kAbsent, -1, "E Failed to open battery_temp node."},
            {temp, kTemp, kFolder, -1, "E read battery_temp sysfs node failed."},
    };
    for (const auto& [op, path, content, expected, line] : cases) {
        EXPECT_EQ(run(path, content, line, [&, op = op] { return op(*battery); }), expected);
    }
}

TEST_F(BatteryCheckServiceTest, TextNodesAnswerOnceWithTheBytesRead) {
    const auto id = &B::getBatteryId, vendor = &B::getBatteryVendor;
    const std::tuple<decltype(id), const char*, std::string, const char*, std::string> cases[] = {
            {id, kResistanceId, "100000\n", "100000\n", ok("getBatteryId", "100000\n ")},
            {id, kResistanceId, "12345678901234", "1234567890", ok("getBatteryId", "1234567890 ")},
            {id, kResistanceId, "", "", ok("getBatteryId", " ")},
            {id, kResistanceId, kDenied, "-1", "E Failed to open resistance_id node."},
            {id, kResistanceId, kFolder, "-1", "E read resistance_id sysfs node failed."},
            {vendor, kBatteryType, "ATL_4500mAh_Battery_Pack\n", "ATL_4500mAh_Battery_",
             ok("getBatteryVendor", "ATL_4500mAh_Battery_")},
            {vendor, kBatteryType, std::string("SDI\0x", 5), "SDI", ok("getBatteryVendor", "SDI")},
            {vendor, kBatteryType, kAbsent, "", "E Failed to open battery_type node."},
            {vendor, kBatteryType, kFolder, "", "E read battery_type sysfs node failed."},
    };
    for (const auto& [op, path, content, expected, line] : cases) {
        auto read = [&, op = op] { return answer<std::string>(battery, op); };
        EXPECT_EQ(run(path, content, line, read), expected);
    }
}

TEST_F(BatteryCheckServiceTest, DualConnectSupportIsTheChargePumpNodeExisting) {
    for (const char* state : {"0", "", kDenied, kFolder, kAbsent}) {
        bool exists = state != kAbsent;
        EXPECT_EQ(run(kTiPresent, state,
                      exists ? "I product is support DualConnect "
                             : "I product is not support DualConnect ",
                      [&] { return value(battery->isSupportDualConnect()); }),
                  exists);
    }
    auto service = root();
    EXPECT_EQ(value(service->getExtensionBatteryCheckService()),
              value(service->getExtensionBatteryCheckService()));
}

}  // namespace
}  // namespace tevhost
