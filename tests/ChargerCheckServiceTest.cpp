#include "AreaTest.h"

namespace tevhost {
namespace {

using ::vendor::quoril::hardware::tevvendorservice::V1_0::IChargerCheckService;
using ::vendor::quoril::hardware::tevvendorservice::V1_0::RevWireChargeControl;

constexpr const char* kTag = "ChargerCheckService-hal";
constexpr const char* kCurrentNow = "/sys/class/power_supply/battery/current_now";
constexpr const char* kRealType = "/sys/class/power_supply/usb/real_type";
constexpr const char* kReverseMode = "/sys/class/power_supply/wireless/reverse_chg_mode";
constexpr const char* kReverseState = "/sys/class/power_supply/wireless/reverse_chg_state";

class ChargerCheckServiceTest : public AreaTest {
  protected:
    // The charger area of a fresh root, built while "ro.product.name" is |product| (or unset).
    sp<IChargerCheckService> charger(const char* product = "qab") {
        prop("ro.product.name", product);
        sp<IChargerCheckService> area = root()->getExtensionChargerCheckService();
        EXPECT_NE(area, nullptr);
        log::clear();
        return area;
    }
    // Puts |path| into |state| and runs |call|; the log of the call is then in logOf(kTag).
    template <typename Call>
    auto run(const char* path, const std::string& state, Call call) {
        SCOPED_TRACE(std::string(path) + " [" + state + "]");
        setNode(path, state);
        sandbox::clearWrites();
        log::clear();
        return call();
    }
};

TEST_F(ChargerCheckServiceTest, ProductListsMatchWholeNamesOrFragments) {
    // A null product leaves the name unset.
    const std::tuple<const char*, bool, bool, bool> cases[] = {{"fand", true, false, false},
                                                               {"fandpro", false, false, false},
                                                               {"inyut", false, true, true},
                                                               {nullptr, false, false, false}};
    for (const auto& [product, needTest, hvdcp, pd] : cases) {
        SCOPED_TRACE(product ? product : "unset");
        auto area = charger(product);
        EXPECT_EQ(value(area->needTestElectric()), needTest);
        EXPECT_EQ(value(area->isSupportHvdcpCharger()), hvdcp);
        EXPECT_EQ(value(area->isSupportPDCharger()), pd);
        EXPECT_EQ(value(area->getElectricThreshold()), 1);
        EXPECT_THAT(logOf(kTag),
                    ElementsAre("I needTestElectric result = " + std::to_string(needTest),
                                "I isSupportHvdcpCharger result = " + std::to_string(hvdcp),
                                "I isSupportPDCharger result = " + std::to_string(pd),
                                "I getElectricThreshold result = 1"));
    }
}

TEST_F(ChargerCheckServiceTest, ProductNameIsTakenOnceWhenTheRootFirstHandsItOut) {
    prop("ro.product.name", "qab");
    auto service = root();
    EXPECT_THAT(logLines(), ElementsAre());  // the root alone builds no area
    sp<IChargerCheckService> area = service->getExtensionChargerCheckService();
    EXPECT_EQ(value(service->getExtensionChargerCheckService()), area);
    EXPECT_THAT(logOf(kTag), ElementsAre("I ChargerCheckService mProductName = qab"));
    prop("ro.product.name", "zob");
    EXPECT_FALSE(value(area->isSupportPDCharger()));
    EXPECT_TRUE(value(value(root()->getExtensionChargerCheckService())->isSupportPDCharger()));

    unsetProp("ro.product.name");
    log::clear();
    root()->getExtensionChargerCheckService();
    EXPECT_THAT(logOf(kTag), ElementsAre("I ChargerCheckService mProductName = "));
}

TEST_F(ChargerCheckServiceTest, NumericNodesAreReadIntoTenBytes) {
    auto area = charger();
    // checkReverseWirelessChargeState (true) or getCurrentElectrical, the node, the answer, the log.
    const std::tuple<bool, std::string, int32_t, Lines> cases[] = {
            // The current goes out as the kernel gives it, sign included, and is not logged.
            {false, "-123456\n", -123456, {}},
            {false, "-12345678901", -123456789, {}},
            {false, kAbsent, -1, {"E Failed to open current_now node."}},
            {false, kFolder, -1, {"E read current_now sysfs node failed."}},
            {true, "1\n", 1, {"I checkReverseWirelessChargeState result = 1\n"}},
            {true, "", 0, {"I checkReverseWirelessChargeState result = "}},
            {true, "00000000012", 1, {"I checkReverseWirelessChargeState result = 0000000001"}},
            {true, kAbsent, -1, {"E Failed to open reverse_state node."}},
            {true, kFolder, -1, {"E read reverse_state sysfs node failed."}},
    };
    for (const auto& [state, content, expected, log] : cases) {
        EXPECT_EQ(run(state ? kReverseState : kCurrentNow, content,
                      [&, state = state] {
                          return state ? value(area->checkReverseWirelessChargeState())
                                       : value(area->getCurrentElectrical());
                      }),
                  expected);
        EXPECT_EQ(logOf(kTag), log);
    }
}

TEST_F(ChargerCheckServiceTest, ChargerTypeIsTheTextAsReadCutAtTenBytes) {
    auto area = charger();
    const std::tuple<std::string, const char*, const char*> cases[] = {
            {"USB_PD\n", "USB_PD\n", "I getChargerType result = USB_PD\n"},
            {"USB_HVDCP_3\n", "USB_HVDCP_", "I getChargerType result = USB_HVDCP_"},
            {"", "", "I getChargerType result = "},
            {std::string("DCP\0junk", 8), "DCP", "I getChargerType result = DCP"},
            {kAbsent, "-1", "E Failed to open charge_type node."},
            {kFolder, "-1", "E read charge_type sysfs node failed."},
    };
    for (const auto& [content, expected, log] : cases) {
        EXPECT_EQ(run(kRealType, content,
                      [&] {
                          return answer<std::string>(area, &IChargerCheckService::getChargerType);
                      }),
                  expected);
        EXPECT_THAT(logOf(kTag), ElementsAre(log));
    }
}

TEST_F(ChargerCheckServiceTest, ReverseWirelessChargingIsSwitchedOnOnlyByOne) {
    auto area = charger();
    // Nothing written (null): the call fails.
    const std::tuple<const char*, int32_t, const char*, const char*> cases[] = {
            {"0", 1, "1", "I controlReverseWirelessCharge control = 1 result = 1"},
            {"1", 0, "0", "I controlReverseWirelessCharge control = 0 result = 1"},
            {"1", 2, "0", "I controlReverseWirelessCharge control = 2 result = 1"},
            {kAbsent, 1, nullptr, "E Failed to open wireless_reverse node."},
            {kFolder, 1, nullptr, "E Failed to open wireless_reverse node."},
            {kFull, 1, nullptr, "E Write wireless_reverse sysfs node failed."},
    };
    for (const auto& [state, control, written, log] : cases) {
        auto mode = static_cast<RevWireChargeControl>(control);
        EXPECT_EQ(run(kReverseMode, state,
                      [&] { return value(area->controlReverseWirelessCharge(mode)); }),
                  written != nullptr);
        EXPECT_EQ(writesTo(kReverseMode), written ? Lines{written} : Lines{});
        if (written) {
            EXPECT_EQ(nodeContent(kReverseMode), written);
        }
        EXPECT_THAT(logOf(kTag), ElementsAre(log));
    }
}

}  // namespace
}  // namespace tevhost
