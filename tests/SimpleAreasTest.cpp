// USB, NFC and audio.
#include "HandsetTest.h"

namespace tevhost {
namespace {

using ::android::sp;
using ::testing::ElementsAre;
using ::vendor::quoril::hardware::tevvendorservice::V1_0::IAudioCheckService;
using ::vendor::quoril::hardware::tevvendorservice::V1_0::INfcCheckService;
using ::vendor::quoril::hardware::tevvendorservice::V1_0::IUsbCheckService;

constexpr const char* kUsbTag = "UsbCheckService";
constexpr const char* kOrientation = "/sys/class/power_supply/usb/typec_cc_orientation";
constexpr const char* kTypecOn = "/sys/module/usb20_host/parameters/typec_on";

class SimpleAreasTest : public HandsetTest {
  protected:
    void SetUp() override {
        HandsetTest::SetUp();
        auto service = root();
        usb = service->getExtensionUsbCheckService();
        nfc = service->getExtensionNfcCheckService();
        audio = service->getExtensionAudioCheckService();
        ASSERT_TRUE(usb && nfc && audio);
    }
    sp<IUsbCheckService> usb;
    sp<INfcCheckService> nfc;
    sp<IAudioCheckService> audio;
};

TEST_F(SimpleAreasTest, PlugStatusLooksAtTheFirstCharacterOnly) {
    const struct {
        const char* content;  // nullptr: absent
        int32_t expected;
        const char* message;
    } cases[] = {
            {"0\n", 0, "Read typec_cc_orientation sysfs node successful."},
            {"1", 1, "Read typec_cc_orientation sysfs node successful."},
            {"2\n", 2, "Read typec_cc_orientation sysfs node successful."},
            {"12", 1, "Read typec_cc_orientation sysfs node successful."},
            {"3", -1, "Read typec_cc_orientation sysfs node failed."},
            {" 1", -1, "Read typec_cc_orientation sysfs node failed."},
            {"\n", -1, "Read typec_cc_orientation sysfs node failed."},
            {"", -1, "Read typec_cc_orientation sysfs node failed."},
            {nullptr, -1, "Read typec_cc_orientation sysfs node failed."},
    };
    for (const auto& c : cases) {
        c.content ? node(kOrientation, c.content) : removeNode(kOrientation);
        log::clear();
        EXPECT_EQ(static_cast<int32_t>(usb->getUsbPluginStatus()), c.expected)
                << (c.content ? c.content : "absent");
        EXPECT_THAT(logged(kUsbTag), ElementsAre(c.message));
        EXPECT_THAT(logged(kUsbTag, ANDROID_LOG_ERROR), ElementsAre(c.message));
    }
}

TEST_F(SimpleAreasTest, MicroUsbWhenTheSwitchBeginsWithOne) {
    const struct {
        const char* content;
        bool expected;
        const char* message;
    } cases[] = {
            {"1\n", true, "read typec_on sysfs node successful."},
            {"10", true, "read typec_on sysfs node successful."},
            {"0", false, "read typec_on sysfs node successful."},
            {"2", false, "read typec_on sysfs node successful."},
            {"\n", false, "read typec_on sysfs node successful."},  // a lone line feed is text
            {"", false, "read typec_on sysfs node failed."},
            {nullptr, false, "read typec_on sysfs node failed."},
    };
    for (const auto& c : cases) {
        c.content ? node(kTypecOn, c.content) : removeNode(kTypecOn);
        log::clear();
        EXPECT_EQ(static_cast<bool>(usb->isMicroUsbDevice()), c.expected)
                << (c.content ? c.content : "absent");
        EXPECT_THAT(logged(kUsbTag, ANDROID_LOG_ERROR), ElementsAre(c.message));
    }
}

TEST_F(SimpleAreasTest, FixedStubsNeverAnswerThroughTheirCallbacks) {
    int calls = 0;
    auto count = [&](const auto&) { ++calls; };
    EXPECT_TRUE(nfc->getNfcChipModule(count).isOk());
    EXPECT_FALSE(static_cast<bool>(nfc->isSupportEse()));
    EXPECT_EQ(static_cast<int32_t>(audio->smartPACali()), 0);
    EXPECT_TRUE(audio->speakerCali(count).isOk());
    EXPECT_TRUE(usb->extFun("", {}, count).isOk());
    EXPECT_TRUE(nfc->extFun("n", {"a", "b"}, count).isOk());
    EXPECT_TRUE(audio->extFun("n", {}, count).isOk());
    EXPECT_EQ(calls, 0);
    EXPECT_TRUE(logLines().empty());  // none of them touches a node or a property
}

}  // namespace
}  // namespace tevhost
