// lshal debug on the root: the report is written through the descriptor it is handed and nothing
// else; what it does with bad handles and missing areas, and that it only reads. The report itself,
// in text and JSON, is pinned by ctest debug_report and debug_report_json.
#include <cutils/native_handle.h>
#include <fcntl.h>
#include <signal.h>
#include <tevhost/FakeSensorService.h>
#include <tevhost/Profile.h>
#include <tevhost/SensorCal.h>
#include <tevhost/Services.h>
#include <unistd.h>

#include <regex>
#include <set>

#include "HandsetTest.h"
#include "TevVendorService.h"

namespace vendor::quoril::hardware::tevvendorservice::implementation::test {
namespace {

using namespace ::tevhost;

using ::android::sp;
using ::android::hardware::hidl_handle;
using ::android::hardware::hidl_string;
using ::android::hardware::hidl_vec;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::vendor::quoril::hardware::tevvendorservice::V1_0::IAudioCheckService;
using ::vendor::quoril::hardware::tevvendorservice::V1_0::INfcCheckService;
using ::vendor::quoril::hardware::tevvendorservice::V1_0::ITevVendorService;
using Root = TevVendorService;

constexpr const char* kTag = "TevVendorService-debug";

// On the bundled qab handset, where every reading operation answers without ending the process.
class DebugReportTest : public HandsetTest {
  protected:
    void SetUp() override {
        HandsetTest::SetUp();
        std::string error;
        ASSERT_TRUE(mDevice.open(tevhost::profile::resolve("qab"), false, &error)) << error;
    }
    void TearDown() override {
        mDevice.close();
        HandsetTest::TearDown();
    }

    std::string debug(const sp<ITevVendorService>& service, const hidl_vec<hidl_string>& options) {
        return debugReport(service, options);
    }
    std::string debug(const hidl_vec<hidl_string>& options = {}) { return debug(root(), options); }

  private:
    tevhost::profile::Profile mDevice;
};

TEST_F(DebugReportTest, NothingToWriteToEndsTheCallWithOneErrorLine) {
    const int readOnly = open("/dev/null", O_RDONLY);
    native_handle_t* noDescriptor = native_handle_create(0, 1);
    native_handle_t* refusing = native_handle_create(1, 0);
    refusing->data[0] = readOnly;
    const struct {
        const native_handle_t* handle;
        const char* logged;
    } cases[] = {
            {nullptr, "debug: the handle holds no file descriptor"},
            {noDescriptor, "debug: the handle holds no file descriptor"},
            {refusing, "debug: the report cannot be written: Bad file descriptor"},
    };
    for (const auto& c : cases) {
        log::clear();
        EXPECT_TRUE(root()->debug(hidl_handle(c.handle), {"--json"}).isOk());
        // No operation ran: nothing else logged.
        EXPECT_THAT(logLines(), ElementsAre(LogLine(ANDROID_LOG_ERROR, kTag, c.logged)));
    }
    native_handle_delete(noDescriptor);
    native_handle_delete(refusing);
    close(readOnly);
}

// A reader that closes after the heading and the first row: the call whose row is refused is the
// last one asked, and the refusal is logged once.
TEST_F(DebugReportTest, AReaderThatClosesMidReportEndsIt) {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    const sighandler_t previous = signal(SIGPIPE, SIG_IGN);
    int rows = 0;
    sandbox::watchWrites(ends[1], [&](const std::string&) {
        if (++rows == 2) close(ends[0]);
    });
    native_handle_t* handle = native_handle_create(1, 0);
    handle->data[0] = ends[1];
    log::clear();
    EXPECT_TRUE(root()->debug(hidl_handle(handle), {}).isOk());
    sandbox::watchWrites(-1, nullptr);
    signal(SIGPIPE, previous);
    native_handle_delete(handle);
    close(ends[1]);

    std::vector<std::string> read;  // the properties the asked operations read
    for (const log::Line& line : logLines()) {
        const std::string head = "Getprop key = ";
        if (line.text.rfind(head, 0) == 0) {
            read.push_back(
                    line.text.substr(head.size(), line.text.find(' ', head.size()) - head.size()));
        }
    }
    EXPECT_THAT(read, ElementsAre("ro.orvu.singlesim", "ro.ril.oem.sno"));  // isSingleSim, getFSN
    EXPECT_THAT(logged(kTag), ElementsAre("debug: the report cannot be written: Broken pipe"));
    EXPECT_THAT(logLines().back(), LogLine(ANDROID_LOG_ERROR, kTag,
                                           "debug: the report cannot be written: Broken pipe"));
}

TEST_F(DebugReportTest, AreasTheRootDoesNotHandOutAreReportedSo) {
    // A root without an NFC area (which has reading operations) and without an audio area (which
    // has none).
    struct PartialRoot : Root {
        ::android::hardware::Return<sp<INfcCheckService>> getExtensionNfcCheckService() override {
            return sp<INfcCheckService>();
        }
        ::android::hardware::Return<sp<IAudioCheckService>> getExtensionAudioCheckService() override {
            return sp<IAudioCheckService>();
        }
    };
    const struct {
        const char* option;
        std::vector<std::string> fragments;
    } cases[] = {
            {"",
             {"\nnfc        -                                (not available)\n",
              "\naudio      -                                (not available)\n"}},
            {"--json",
             {R"({"area":"nfc","interface":"INfcCheckService","calls":[],"available":false})",
              R"({"area":"audio","interface":"IAudioCheckService","calls":[],"available":false})"}},
    };
    for (const auto& c : cases) {
        const std::string out = debug(new PartialRoot(), {c.option});
        for (const std::string& fragment : c.fragments) EXPECT_THAT(out, HasSubstr(fragment));
        EXPECT_THAT(out, Not(HasSubstr("getNfcChipModule")));
        EXPECT_THAT(out, HasSubstr("isUltrasoundSensor"));
    }
}

// Text rows escape with the same function as tevctl; JSON keeps valid UTF-8 and nothing else.
TEST_F(DebugReportTest, JsonAnswersKeepOnlyValidUtf8) {
    const struct {
        std::string value;
        const char* json;
    } cases[] = {
            {R"(q"b\s)", R"("q\"b\\s")"},
            {"\n\t\r\x01\x7f", R"("\u000a\u0009\u000d\u0001\u007f")"},
            {"caf\xc3\xa9 \xe2\x82\xac \xf0\x9f\x98\x80",
             "\"caf\xc3\xa9 \xe2\x82\xac \xf0\x9f\x98\x80\""},
            {"\xff\xc3", R"("\u00ff\u00c3")"},  // invalid byte, cut sequence
            {"\xc0\xaf\xe0\x80\xaf", R"("\u00c0\u00af\u00e0\u0080\u00af")"},  // overlong
            {"\xed\xa0\x80", R"("\u00ed\u00a0\u0080")"},                      // surrogate
            {"\xf4\x90\x80\x80", R"("\u00f4\u0090\u0080\u0080")"},            // past U+10FFFF
    };
    const std::regex call(R"("op":"getFSN","args":\[\],"callbacks":\[(.*?)\],"writes")");
    for (const auto& c : cases) {
        prop("ro.ril.oem.sno", c.value);
        std::smatch match;
        const std::string json = debug({"--json"});
        ASSERT_TRUE(std::regex_search(json, match, call)) << json;
        EXPECT_EQ(match[1], c.json);
    }
}

TEST_F(DebugReportTest, OnlyReads) {
    sp<FakeSensorService> hall = static_cast<FakeSensorService*>(
            registeredService(FakeSensorService::descriptor, "default").get());
    ASSERT_NE(hall, nullptr);
    sensorcal::reset();
    debug();
    debug({"--json"});
    EXPECT_THAT(writes(), IsEmpty());
    EXPECT_THAT(sleeps(), IsEmpty());
    const std::set<std::string> reading = {"isOrientsensor",     "isHallTestFullScreen",
                                           "getHallPosition",    "getSarSensorMode",
                                           "getSarSensorNumber", "isUltrasoundSensor"};
    for (const std::string& call : sensorcal::calls()) {
        EXPECT_EQ(reading.count(call.substr(0, call.find('('))), 1u) << call;
    }
    for (int op = 0; op < FakeSensorService::kOperations; ++op) {
        EXPECT_EQ(hall->calls(static_cast<FakeSensorService::Operation>(op)), 0) << op;
    }
}

}  // namespace
}  // namespace vendor::quoril::hardware::tevvendorservice::implementation::test
