// USB plug status and connector kind; the NFC and audio stubs are run by every-area.steps.
#include "AreaTest.h"

namespace tevhost {
namespace {

using ::vendor::quoril::hardware::tevvendorservice::V1_0::IUsbCheckService;

constexpr const char* kUsbTag = "UsbCheckService";
constexpr const char* kOrientation = "/sys/class/power_supply/usb/typec_cc_orientation";
constexpr const char* kTypecOn = "/sys/module/usb20_host/parameters/typec_on";

class SimpleAreasTest : public AreaTest {
  protected:
    void SetUp() override {
        AreaTest::SetUp();
        usb = root()->getExtensionUsbCheckService();
        ASSERT_NE(usb, nullptr);
    }
    sp<IUsbCheckService> usb;
};

TEST_F(SimpleAreasTest, PlugStatusLooksAtTheFirstCharacterOnly) {
    const std::string kRead = "E Read typec_cc_orientation sysfs node ";
    const std::tuple<const char*, int32_t> cases[] = {{"0\n", 0}, {"1", 1},  {"2\n", 2},
                                                      {"12", 1},  {"3", -1}, {" 1", -1},
                                                      {"\n", -1}, {"", -1},  {kAbsent, -1}};
    for (const auto& [content, expected] : cases) {
        setNode(kOrientation, content);
        log::clear();
        EXPECT_EQ(value(usb->getUsbPluginStatus()), expected) << content;
        EXPECT_THAT(logOf(kUsbTag), ElementsAre(kRead + (expected < 0 ? "failed." : "successful.")));
    }
}

TEST_F(SimpleAreasTest, MicroUsbWhenTheSwitchBeginsWithOne) {
    const std::tuple<const char*, bool, bool> cases[] = {
            {"1\n", true, true}, {"10", true, true},     {"0", false, true},
            {"2", false, true},  {"\n", false, true},  // a lone line feed is text
            {"", false, false},  {kAbsent, false, false}};
    for (const auto& [content, expected, read] : cases) {
        setNode(kTypecOn, content);
        log::clear();
        EXPECT_EQ(value(usb->isMicroUsbDevice()), expected) << content;
        EXPECT_THAT(logged(kUsbTag, ANDROID_LOG_ERROR),
                    ElementsAre(std::string("read typec_on sysfs node ") +
                                (read ? "successful." : "failed.")));
    }
}

}  // namespace
}  // namespace tevhost
