#include "PowerNodeTest.h"

namespace tevhost {
namespace {

using ::android::sp;
using ::android::hardware::hidl_string;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::vendor::quoril::hardware::tevvendorservice::V1_0::IChargerCheckService;
using ::vendor::quoril::hardware::tevvendorservice::V1_0::RevWireChargeControl;

constexpr const char* kTag = "ChargerCheckService-hal";
constexpr const char* kCurrentNow = "/sys/class/power_supply/battery/current_now";
constexpr const char* kRealType = "/sys/class/power_supply/usb/real_type";
constexpr const char* kReverseMode = "/sys/class/power_supply/wireless/reverse_chg_mode";
constexpr const char* kReverseState = "/sys/class/power_supply/wireless/reverse_chg_state";

class ChargerCheckServiceTest : public PowerNodeTest {
  protected:
    // The charger area of a fresh root, built while "ro.product.name" is |product| (or unset).
    sp<IChargerCheckService> charger(const char* product = "qab") {
        if (product) {
            prop("ro.product.name", product);
        } else {
            unsetProp("ro.product.name");
        }
        sp<IChargerCheckService> area = root()->getExtensionChargerCheckService();
        EXPECT_NE(area, nullptr);
        log::clear();
        return area;
    }
};

TEST_F(ChargerCheckServiceTest, ProductListsMatchWholeNamesOrFragments) {
    const struct {
        const char* product;  // nullptr: unset
        bool needTest, hvdcp, pd;
    } cases[] = {
            {"fand", true, false, false},     {"kibbt", true, false, false},
            {"fandpro", false, false, false}, {"Fand", false, false, false},
            {"qabxyz", false, true, false},   {"zob", false, true, true},
            {"inyut", false, true, true},     {"mypifx", false, false, true},
            {"QAB", false, false, false},     {"", false, false, false},
            {nullptr, false, false, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.product ? c.product : "unset");
        auto area = charger(c.product);
        EXPECT_EQ(static_cast<bool>(area->needTestElectric()), c.needTest);
        EXPECT_EQ(static_cast<bool>(area->isSupportHvdcpCharger()), c.hvdcp);
        EXPECT_EQ(static_cast<bool>(area->isSupportPDCharger()), c.pd);
        EXPECT_EQ(static_cast<int32_t>(area->getElectricThreshold()), 1);
        EXPECT_THAT(
                logLines(),
                ElementsAre(LogLine(ANDROID_LOG_INFO, kTag,
                                    "needTestElectric result = " + std::to_string(c.needTest)),
                            LogLine(ANDROID_LOG_INFO, kTag,
                                    "isSupportHvdcpCharger result = " + std::to_string(c.hvdcp)),
                            LogLine(ANDROID_LOG_INFO, kTag,
                                    "isSupportPDCharger result = " + std::to_string(c.pd)),
                            LogLine(ANDROID_LOG_INFO, kTag, "getElectricThreshold result = 1")));
    }
}

TEST_F(ChargerCheckServiceTest, ProductNameIsTakenOnceWhenTheRootFirstHandsItOut) {
    prop("ro.product.name", "qab");
    auto service = root();
    EXPECT_THAT(logLines(), IsEmpty());  // the root alone builds no area
    sp<IChargerCheckService> area = service->getExtensionChargerCheckService();
    EXPECT_EQ(value(service->getExtensionChargerCheckService()), area);
    EXPECT_THAT(logLines(), ElementsAre(LogLine(ANDROID_LOG_INFO, kTag,
                                                "ChargerCheckService mProductName = qab")));
    prop("ro.product.name", "zob");
    EXPECT_FALSE(static_cast<bool>(area->isSupportPDCharger()));
    sp<IChargerCheckService> fresh = root()->getExtensionChargerCheckService();
    EXPECT_TRUE(static_cast<bool>(fresh->isSupportPDCharger()));

    unsetProp("ro.product.name");
    log::clear();
    root()->getExtensionChargerCheckService();
    EXPECT_THAT(logLines(),
                ElementsAre(LogLine(ANDROID_LOG_INFO, kTag, "ChargerCheckService mProductName = ")));
}

TEST_F(ChargerCheckServiceTest, NumericNodesAndTheirFailures) {
    using Op = int32_t (*)(IChargerCheckService&);
    Op current = [](IChargerCheckService& c) -> int32_t { return c.getCurrentElectrical(); };
    Op state = [](IChargerCheckService& c) -> int32_t {
        return c.checkReverseWirelessChargeState();
    };
    const char* stateOk = "checkReverseWirelessChargeState result = ";
    const struct {
        Op op;
        const char* path;
        std::string content;
        int32_t expected;
        int priority;  // of the one line logged; -1: nothing logged
        std::string message;
    } cases[] = {
            // The current goes out as the kernel gives it, sign included, and is not logged.
            {current, kCurrentNow, "-123456\n", -123456, -1, ""},
            {current, kCurrentNow, " +2500", 2500, -1, ""},
            {current, kCurrentNow, "", 0, -1, ""},
            {current, kCurrentNow, "n/a", 0, -1, ""},
            {current, kCurrentNow, "-12345678901", -123456789, -1, ""},  // first 10 bytes
            {current, kCurrentNow, "-1", -1, -1, ""},
            {current, kCurrentNow, kAbsent, -1, ANDROID_LOG_ERROR,
             "Failed to open current_now node."},
            {current, kCurrentNow, kDenied, -1, ANDROID_LOG_ERROR,
             "Failed to open current_now node."},
            {current, kCurrentNow, kFolder, -1, ANDROID_LOG_ERROR,
             "read current_now sysfs node failed."},
            {state, kReverseState, "1\n", 1, ANDROID_LOG_INFO, std::string(stateOk) + "1\n"},
            {state, kReverseState, "0", 0, ANDROID_LOG_INFO, std::string(stateOk) + "0"},
            {state, kReverseState, "", 0, ANDROID_LOG_INFO, stateOk},
            {state, kReverseState, "00000000012", 1, ANDROID_LOG_INFO,
             std::string(stateOk) + "0000000001"},
            {state, kReverseState, kAbsent, -1, ANDROID_LOG_ERROR,
             "Failed to open reverse_state node."},
            {state, kReverseState, kDenied, -1, ANDROID_LOG_ERROR,
             "Failed to open reverse_state node."},
            {state, kReverseState, kFolder, -1, ANDROID_LOG_ERROR,
             "read reverse_state sysfs node failed."},
    };
    auto area = charger();
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.path) + " [" + c.content + "]");
        setNode(c.path, c.content);
        log::clear();
        size_t before = openDescriptors();
        EXPECT_EQ(c.op(*area), c.expected);
        EXPECT_EQ(openDescriptors(), before);
        if (c.priority < 0) {
            EXPECT_THAT(logLines(), IsEmpty());
        } else {
            EXPECT_THAT(logLines(), ElementsAre(LogLine(c.priority, kTag, c.message)));
        }
    }
}

TEST_F(ChargerCheckServiceTest, ChargerTypeIsTheTextAsReadCutAtTenBytes) {
    const struct {
        std::string content;
        const char* expected;
        int priority;
        std::string message;
    } cases[] = {
            {"USB_PD\n", "USB_PD\n", ANDROID_LOG_INFO, "getChargerType result = USB_PD\n"},
            {"USB_FLOAT\n", "USB_FLOAT\n", ANDROID_LOG_INFO, "getChargerType result = USB_FLOAT\n"},
            {"USB_HVDCP_3\n", "USB_HVDCP_", ANDROID_LOG_INFO, "getChargerType result = USB_HVDCP_"},
            {"", "", ANDROID_LOG_INFO, "getChargerType result = "},
            {std::string("DCP\0junk", 8), "DCP", ANDROID_LOG_INFO, "getChargerType result = DCP"},
            {kAbsent, "-1", ANDROID_LOG_ERROR, "Failed to open charge_type node."},
            {kDenied, "-1", ANDROID_LOG_ERROR, "Failed to open charge_type node."},
            {kFolder, "-1", ANDROID_LOG_ERROR, "read charge_type sysfs node failed."},
    };
    auto area = charger();
    for (const auto& c : cases) {
        SCOPED_TRACE("[" + c.content + "]");
        setNode(kRealType, c.content);
        log::clear();
        size_t before = openDescriptors();
        std::vector<std::string> answers;
        EXPECT_TRUE(
                area->getChargerType([&](const hidl_string& t) { answers.push_back(t); }).isOk());
        EXPECT_EQ(openDescriptors(), before);
        EXPECT_THAT(answers, ElementsAre(c.expected));
        EXPECT_THAT(logLines(), ElementsAre(LogLine(c.priority, kTag, c.message)));
    }
}

TEST_F(ChargerCheckServiceTest, ReverseWirelessChargingIsSwitchedOnOnlyByOne) {
    const struct {
        const char* state;
        int32_t control;
        bool expected;
        const char* written;  // nullptr: nothing
        int priority;
        const char* message;
    } cases[] = {
            {"0", 1, true, "1", ANDROID_LOG_INFO,
             "controlReverseWirelessCharge control = 1 result = 1"},
            {"1", 0, true, "0", ANDROID_LOG_INFO,
             "controlReverseWirelessCharge control = 0 result = 1"},
            {"1", 2, true, "0", ANDROID_LOG_INFO,
             "controlReverseWirelessCharge control = 2 result = 1"},
            {"1", -1, true, "0", ANDROID_LOG_INFO,
             "controlReverseWirelessCharge control = -1 result = 1"},
            {kAbsent, 1, false, nullptr, ANDROID_LOG_ERROR, "Failed to open wireless_reverse node."},
            {kDenied, 1, false, nullptr, ANDROID_LOG_ERROR, "Failed to open wireless_reverse node."},
            {kFolder, 1, false, nullptr, ANDROID_LOG_ERROR, "Failed to open wireless_reverse node."},
            {kFull, 1, false, nullptr, ANDROID_LOG_ERROR,
             "Write wireless_reverse sysfs node failed."},
    };
    auto area = charger();
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.state) + " control " + std::to_string(c.control));
        setNode(kReverseMode, c.state);
        sandbox::clearWrites();
        log::clear();
        size_t before = openDescriptors();
        EXPECT_EQ(static_cast<bool>(area->controlReverseWirelessCharge(
                          static_cast<RevWireChargeControl>(c.control))),
                  c.expected);
        EXPECT_EQ(openDescriptors(), before);
        if (c.written) {
            EXPECT_THAT(writesTo(kReverseMode), ElementsAre(c.written));
            EXPECT_EQ(nodeContent(kReverseMode), c.written);
        } else {
            EXPECT_THAT(writes(), IsEmpty());
        }
        EXPECT_THAT(logLines(), ElementsAre(LogLine(c.priority, kTag, c.message)));
    }
}

TEST_F(ChargerCheckServiceTest, ExtFunNeverAnswers) {
    bool called = false;
    EXPECT_TRUE(charger()->extFun("x", {"a"}, [&](const auto&) { called = true; }).isOk());
    EXPECT_FALSE(called);
}

}  // namespace
}  // namespace tevhost
