// Storage: eMMC or UFS, chosen once per process from the product name, and answers that the
// process remembers from one call to the next.
//
// Both facts are process-wide, so the tests are arranged to pass in any order:
// - this process never builds the area for an eMMC product, so it stays a UFS process; every test
//   that runs here first makes the calls that set up the remembered values it relies on;
// - the eMMC scenarios, and those that need the untouched state of a freshly started service,
//   run in a new process of this program (gtest's re-executing death-test child).
#include <gtest/gtest-spi.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <optional>

#include "HandsetTest.h"

namespace tevhost {
namespace {

using ::android::sp;
using ::android::hardware::hidl_string;
using ::android::hardware::hidl_vec;
using ::android::hardware::Return;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::EndsWith;
using ::vendor::quoril::hardware::tevvendorservice::V1_0::IFlashLifeCheckService;
using ::vendor::quoril::hardware::tevvendorservice::V1_0::ITevVendorService;

using Lines = std::vector<std::string>;
using StringOp = Return<void> (IFlashLifeCheckService::*)(std::function<void(const hidl_string&)>);

constexpr const char* kTag = "TevFlashLifeCheck-test";

constexpr const char* kHealthDump = "/d/1d84000.ufshc/dump_health_desc";
constexpr const char* kDeviceDump = "/d/1d84000.ufshc/dump_device_desc";
constexpr const char* kUfsSize = "/sys/class/block/sda/size";
constexpr const char* kUfsRev = "/sys/class/block/sda/device/rev";
constexpr const char* kUfsVendor = "/sys/class/block/sda/device/vendor";
constexpr const char* kEmmcLifeA = "/sys/block/mmcblk0/device/life_time_est_typ_a";
constexpr const char* kEmmcLifeB = "/sys/block/mmcblk0/device/life_time_est_typ_b";
constexpr const char* kEmmcDate = "/sys/block/mmcblk0/device/date";
constexpr const char* kEmmcSize = "/sys/class/block/mmcblk0/size";
constexpr const char* kEmmcFwrev = "/sys/class/block/mmcblk0/device/fwrev";
constexpr const char* kEmmcManfid = "/sys/class/block/mmcblk0/device/manfid";

// One line of the UFS host controller's descriptor dumps, as its driver prints it.
std::string ufsLine(int offset, const std::string& field, const std::string& value) {
    char prefix[64];
    snprintf(prefix, sizeof(prefix), "Device Descriptor[Byte offset 0x%x]: ", offset);
    return prefix + field + " = " + value + "\n";
}
std::string estA(const std::string& value) {
    return ufsLine(0x3, "bDeviceLifeTimeEstA", value);
}
std::string estB(const std::string& value) {
    return ufsLine(0x4, "bDeviceLifeTimeEstB", value);
}
std::string dateLine(const std::string& value) {
    return ufsLine(0x12, "wManufactureDate", value);
}
const std::string kHealthHead = ufsLine(0x0, "bLength", "0x25") +
                                ufsLine(0x1, "bDescriptorIDN", "0x9") +
                                ufsLine(0x2, "bPreEOLInfo", "0x1");
const std::string kHealthTail = ufsLine(0x5, "bVendorPropInfo", "0x0");
const std::string kDeviceHead = ufsLine(0x0, "bLength", "0x40") +
                                ufsLine(0x1, "bDescriptorIDN", "0x0") +
                                ufsLine(0x10, "wSpecVersion", "0x210");
const std::string kDeviceTail =
        ufsLine(0x14, "iManufacturerName", "0x0") + ufsLine(0x18, "wManufacturerID", "0x1ce");

// The log of a scan over |dump|: |label| and each line, in order.
Lines scanned(const std::string& label, const std::string& dump) {
    Lines log;
    size_t start = 0;
    for (size_t end; (end = dump.find('\n', start)) != std::string::npos; start = end + 1) {
        log.push_back(label + dump.substr(start, end - start) + ".\n");
    }
    return log;
}

Lines lifeTimeAnswer(const std::string& a, const std::string& b) {
    return {"lifeEstA =" + a, "lifeEstB =" + b};
}

class FlashLifeTest : public HandsetTest {
  protected:
    void TearDown() override {
        checkAllAtError();
        HandsetTest::TearDown();
    }

    void checkAllAtError() { EXPECT_EQ(logged(kTag), logged(kTag, ANDROID_LOG_ERROR)); }

    // The area's log since it was last cleared, its lines run together.
    std::string logText() const {
        std::string text;
        for (const std::string& line : logged(kTag)) text += line;
        return text;
    }

    // The storage area of a fresh root on a device named |product| (nullptr: name unset); the
    // area's constructor runs here.
    sp<IFlashLifeCheckService> area(const char* product) {
        if (product) {
            prop("ro.product.name", product);
        } else {
            unsetProp("ro.product.name");
        }
        sp<IFlashLifeCheckService> flash = root()->getExtensionFlashLifeCheckService();
        EXPECT_NE(flash, nullptr);
        return flash;
    }

    // Writes |content| to the node, or removes it (nullptr).
    void nodeOrNone(const char* path, const char* content) {
        content ? node(path, content) : removeNode(path);
    }

    // What the operation handed to its callback; nullopt when it returned without calling it.
    static std::optional<std::string> answer(const sp<IFlashLifeCheckService>& flash, StringOp op) {
        std::optional<std::string> out;
        int calls = 0;
        Return<void> ret = ((*flash).*op)([&](const hidl_string& v) {
            out = std::string(v);
            ++calls;
        });
        EXPECT_TRUE(ret.isOk());
        EXPECT_LE(calls, 1);
        return out;
    }
    static std::optional<Lines> lifeTime(const sp<IFlashLifeCheckService>& flash) {
        std::optional<Lines> out;
        int calls = 0;
        Return<void> ret = flash->getFlashLifeTime([&](const hidl_vec<hidl_string>& v) {
            out = Lines(v.begin(), v.end());
            ++calls;
        });
        EXPECT_TRUE(ret.isOk());
        EXPECT_LE(calls, 1);
        return out;
    }

    // Runs |scenario| in a new process of this program, where the storage kind and the
    // remembered answers are as a freshly started service has them, and which takes whatever
    // the scenario sets with it when it ends. Failures inside are written to the child's stderr
    // and fail the test here.
    void inFreshProcess(const std::function<void()>& scenario) {
        GTEST_FLAG_SET(death_test_style, "threadsafe");
        EXPECT_EXIT(
                {
                    ::testing::TestPartResultArray results;
                    {
                        using Intercept = ::testing::ScopedFakeTestPartResultReporter;
                        Intercept intercept(Intercept::INTERCEPT_ONLY_CURRENT_THREAD, &results);
                        scenario();
                        checkAllAtError();
                    }
                    int failures = 0;
                    for (int i = 0; i < results.size(); ++i) {
                        const ::testing::TestPartResult& r = results.GetTestPartResult(i);
                        if (r.failed()) {
                            ++failures;
                            fprintf(stderr, "%s:%d: %s\n", r.file_name() ? r.file_name() : "?",
                                    r.line_number(), r.message());
                        }
                    }
                    std::error_code ignored;
                    std::filesystem::remove_all(hostPath(""), ignored);
                    std::_Exit(failures == 0 ? 0 : 1);
                },
                ::testing::ExitedWithCode(0), "");
    }
};

// A device whose product is not on the eMMC list: every test here runs on UFS.
class FlashLifeUfsTest : public FlashLifeTest {
  protected:
    void SetUp() override {
        FlashLifeTest::SetUp();
        flash = area("qab");
        // Storage nodes of the other kind, which a UFS device must never report.
        node(kEmmcLifeA, "0x0b\n");
        node(kEmmcLifeB, "0x0b\n");
        node(kEmmcDate, "01/2000\n");
        node(kEmmcSize, "1\n");
        node(kEmmcFwrev, "0x1\n");
        node(kEmmcManfid, "0x000015\n");
        log::clear();
    }
    sp<IFlashLifeCheckService> flash;
};

using FlashLifeFreshProcessTest = FlashLifeTest;

TEST_F(FlashLifeTest, RootBuildsTheAreaOnceOnItsFirstRequest) {
    prop("ro.product.name", "qab");
    sp<ITevVendorService> service = root();
    EXPECT_THAT(logged(kTag), ElementsAre());
    sp<IFlashLifeCheckService> first = service->getExtensionFlashLifeCheckService();
    EXPECT_NE(first, nullptr);
    EXPECT_EQ(value(service->getExtensionFlashLifeCheckService()), first);
    EXPECT_EQ(logged(kTag).size(), 2u);  // one construction: the name and the storage kind
}

TEST_F(FlashLifeTest, OnlyTheWholeNameOfAnEmmcProductMeansEmmc) {
    // "marskol" itself is shown in a fresh process below: this process must stay on UFS.
    const char* names[] = {"qab", "MARSKOL", "marskolpro", "xmarskol", "", nullptr};
    node(kUfsSize, "488308736\n");
    node(kEmmcSize, "122142720\n");
    for (const char* name : names) {
        log::clear();
        sp<IFlashLifeCheckService> flash = area(name);
        const std::string shown = name ? name : "";
        EXPECT_THAT(logged(kTag), ElementsAre("this product name is " + shown + ".\n",
                                              "The flash of this product is UFS.\n"));
        EXPECT_EQ(answer(flash, &IFlashLifeCheckService::readFlashSize), "488308736") << shown;
    }
}

TEST_F(FlashLifeUfsTest, LifeTimeReportsWhatEarlierCallsFoundWhenLinesAreMissing) {
    // The values stand at a fixed position, right after the field name; the scan ends at B.
    EXPECT_EQ(estA("0x1"), "Device Descriptor[Byte offset 0x3]: bDeviceLifeTimeEstA = 0x1\n");
    node(kHealthDump, kHealthHead + estA("0x1") + estB("0x2") + kHealthTail);
    EXPECT_EQ(lifeTime(flash), lifeTimeAnswer("0x1", "0x2"));
    Lines log = scanned("readUfsLifeTime line: ", kHealthHead + estA("0x1"));
    log.push_back("lifeEstA:0x1.\n");
    log.push_back(scanned("readUfsLifeTime line: ", estB("0x2"))[0]);
    log.push_back("lifeEstB:0x2.\n");
    EXPECT_THAT(logged(kTag), ElementsAreArray(log));

    const struct {
        const char* what;
        std::optional<std::string> dump;  // nullopt: absent
        std::optional<Lines> expected;    // nullopt: no callback
    } steps[] = {
            {"neither line", kHealthHead + kHealthTail, lifeTimeAnswer("0x1", "0x2")},
            {"empty dump", "", lifeTimeAnswer("0x1", "0x2")},
            {"only B", kHealthHead + estB("0x3"), lifeTimeAnswer("0x1", "0x3")},
            {"B before A", kHealthHead + estB("0x4") + estA("0x5"), lifeTimeAnswer("0x1", "0x4")},
            {"only A, on a last line without line feed",
             kHealthHead + "Device Descriptor[Byte offset 0x3]: bDeviceLifeTimeEstA = 0x6",
             lifeTimeAnswer("0x6", "0x4")},
            {"untrimmed values", kHealthHead + estA("0x7 \r") + estB(" 0x8"),
             lifeTimeAnswer("0x7 \r", " 0x8")},
            {"dump absent", std::nullopt, std::nullopt},
            {"dump back without the lines", kHealthHead, lifeTimeAnswer("0x7 \r", " 0x8")},
    };
    for (const auto& step : steps) {
        step.dump ? node(kHealthDump, *step.dump) : removeNode(kHealthDump);
        log::clear();
        EXPECT_EQ(lifeTime(flash), step.expected) << step.what;
        if (!step.dump) {
            EXPECT_THAT(logged(kTag),
                        ElementsAre("fs open failed, path = /d/1d84000.ufshc/dump_health_desc.\n"));
        }
    }
}

TEST_F(FlashLifeUfsTest, DumpLineShorterThanItsValuePositionGivesAnEmptyValue) {
    const std::string shortB = "Device Descriptor[Byte offset 0x4]: bDeviceLifeTimeEstB\n";
    const std::string bareA = "Device Descriptor[Byte offset 0x3]\n";
    const std::string shortDate = "Device Descriptor[Byte offset 0x12]: wManufactureDate =\n";
    const struct {
        const char* what;
        std::string dump;
        std::optional<Lines> expected;
        const char* message;
    } steps[] = {
            {"both values", estA("0x1") + estB("0x2"), lifeTimeAnswer("0x1", "0x2"),
             "lifeEstB:0x2.\n"},
            {"B too short", estA("0x1") + shortB, lifeTimeAnswer("0x1", ""), "lifeEstB:.\n"},
            {"A too short", bareA + estB("0x2"), std::nullopt, "lifeEstA:.\n"},
            {"then no A line: the empty A stays", kHealthHead + estB("0x2"), std::nullopt,
             "ufsLifeTime read failed, it is empty!\n"},
    };
    for (const auto& step : steps) {
        node(kHealthDump, step.dump);
        log::clear();
        EXPECT_EQ(lifeTime(flash), step.expected) << step.what;
        EXPECT_THAT(logged(kTag), Contains(step.message)) << step.what;
    }

    node(kDeviceDump, kDeviceHead + dateLine("0x1907"));
    EXPECT_EQ(answer(flash, &IFlashLifeCheckService::getFactoryDate), "0x1907");
    node(kDeviceDump, kDeviceHead + shortDate + kDeviceTail);
    log::clear();
    EXPECT_EQ(answer(flash, &IFlashLifeCheckService::getFactoryDate), std::nullopt);
    EXPECT_THAT(logged(kTag), Contains("factoryDate: .\n"));
    EXPECT_THAT(logText(), EndsWith("FactoryDate read failed, it is empty!.\n"));
}

TEST_F(FlashLifeUfsTest, FactoryDateReportsWhatEarlierCallsFoundWhenTheLineIsMissing) {
    EXPECT_EQ(dateLine("0x1907"),
              "Device Descriptor[Byte offset 0x12]: wManufactureDate = 0x1907\n");
    node(kDeviceDump, kDeviceHead + dateLine("0x1907") + kDeviceTail);
    EXPECT_EQ(answer(flash, &IFlashLifeCheckService::getFactoryDate), "0x1907");
    // The scan ends at the date line.
    Lines log = scanned("readFactoryDate line: ", kDeviceHead + dateLine("0x1907"));
    log.push_back("factoryDate: 0x1907.\n");
    EXPECT_THAT(logged(kTag), ElementsAreArray(log));

    const struct {
        const char* what;
        std::optional<std::string> dump;
        std::optional<std::string> expected;
    } steps[] = {
            {"no date line", kDeviceHead + kDeviceTail, "0x1907"},
            {"untrimmed, on a last line without line feed",
             kDeviceHead + "Device Descriptor[Byte offset 0x12]: wManufactureDate = 0x2011 \r",
             "0x2011 \r"},
            {"dump absent", std::nullopt, std::nullopt},
            {"empty dump", "", "0x2011 \r"},
    };
    for (const auto& step : steps) {
        step.dump ? node(kDeviceDump, *step.dump) : removeNode(kDeviceDump);
        log::clear();
        EXPECT_EQ(answer(flash, &IFlashLifeCheckService::getFactoryDate), step.expected)
                << step.what;
        if (!step.dump) {
            EXPECT_THAT(logged(kTag),
                        ElementsAre("fs open failed, path = /d/1d84000.ufshc/dump_device_desc.\n"));
        }
    }
}

TEST_F(FlashLifeUfsTest, SizeRevisionAndVendorAreTheFirstLineOfTheirSdaNodes) {
    const StringOp size = &IFlashLifeCheckService::readFlashSize;
    const StringOp rev = &IFlashLifeCheckService::readFirmwareVersion;
    const StringOp vendor = &IFlashLifeCheckService::readVendorName;
    // An empty node after a value: every read replaces the remembered text.
    const struct {
        StringOp op;
        const char* path;
        const char* content;  // nullptr: absent
        std::optional<std::string> expected;
        const char* log;  // the whole log of the call
    } cases[] = {
            {size, kUfsSize, "244285440\n", "244285440", "flashSize: 244285440.\n"},
            {size, kUfsSize, "", std::nullopt,
             "flashSize: .\n"
             "FlashSize read failed, it is empty!\n"},
            {size, kUfsSize, nullptr, std::nullopt,
             "fs open failed, path = /sys/class/block/sda/size.\n"},
            {rev, kUfsRev, "0600 \nsecond line\n", "0600 ", "firmwareVersion: 0600 .\n"},
            {rev, kUfsRev, "\n", std::nullopt,
             "firmwareVersion: .\n"
             "FirmwareVersion read failed, it is empty!\n"},
            {rev, kUfsRev, nullptr, std::nullopt,
             "fs open failed, path = /sys/class/block/sda/device/rev.\n"},
            {vendor, kUfsVendor, "SAMSUNG \n", "SAMSUNG ", "readVendorName line: SAMSUNG .\n"},
            {vendor, kUfsVendor, "", std::nullopt,
             "readVendorName line: .\n"
             "VendorName read failed, it is empty!\n"},
            {vendor, kUfsVendor, "SKhynix", "SKhynix", "readVendorName line: SKhynix.\n"},
            {vendor, kUfsVendor, nullptr, std::nullopt,
             "fs open failed, path = /sys/class/block/sda/device/vendor.\n"},
    };
    for (const auto& c : cases) {
        nodeOrNone(c.path, c.content);
        log::clear();
        EXPECT_EQ(answer(flash, c.op), c.expected) << c.log;
        EXPECT_EQ(logText(), c.log);
    }
    node(kUfsSize, "488308736\n");
    denyNode(kUfsSize);
    EXPECT_EQ(answer(flash, size), std::nullopt);
}

TEST_F(FlashLifeUfsTest, ExtFunNeverAnswers) {
    bool called = false;
    flash->extFun("getFlashLifeTime", {"a"}, [&](const hidl_vec<hidl_string>&) { called = true; });
    EXPECT_FALSE(called);
}

TEST_F(FlashLifeFreshProcessTest, EmmcProductReadsTheMmcblk0Nodes) {
    inFreshProcess([this] {
        sp<IFlashLifeCheckService> flash = area("marskol");
        EXPECT_THAT(logged(kTag), ElementsAre("this product name is marskol.\n",
                                              "The flash of this product is eMMC.\n"));
        // The UFS sources, which an eMMC device must never report.
        node(kHealthDump, estA("0x9") + estB("0x9"));
        node(kDeviceDump, dateLine("0x9999"));
        node(kUfsSize, "9\n");
        node(kUfsRev, "9999\n");
        node(kUfsVendor, "UFSVENDOR\n");

        // Each log below is the whole log of the call, its lines run together.
        const struct {
            const char* a;  // nullptr: absent
            const char* b;
            std::optional<Lines> expected;
            const char* log;
        } lifeCases[] = {
                {"0x01\n", "0x02\n", lifeTimeAnswer("0x01", "0x02"),
                 "lifeEstA:0x01.\nlifeEstB:0x02.\n"},
                {"0x03 \r\n", "", lifeTimeAnswer("0x03 \r", ""), "lifeEstA:0x03 \r.\nlifeEstB:.\n"},
                {"", "0x02\n", std::nullopt,
                 "lifeEstA:.\n"
                 "eMMCLifeTime read failed, it is empty!\n"},
                {"\n", "0x02\n", std::nullopt,
                 "lifeEstA:.\n"
                 "eMMCLifeTime read failed, it is empty!\n"},
                {"0x04\n", nullptr, std::nullopt,
                 "lifeEstA:0x04.\nfs open failed, path = "
                 "/sys/block/mmcblk0/device/life_time_est_typ_b.\n"},
                {nullptr, "0x02\n", std::nullopt,
                 "fs open failed, path = /sys/block/mmcblk0/device/life_time_est_typ_a.\n"},
        };
        for (const auto& c : lifeCases) {
            nodeOrNone(kEmmcLifeA, c.a);
            nodeOrNone(kEmmcLifeB, c.b);
            log::clear();
            EXPECT_EQ(lifeTime(flash), c.expected) << c.log;
            EXPECT_EQ(logText(), c.log);
        }

        const StringOp date = &IFlashLifeCheckService::getFactoryDate;
        const StringOp size = &IFlashLifeCheckService::readFlashSize;
        const StringOp rev = &IFlashLifeCheckService::readFirmwareVersion;
        const StringOp vendor = &IFlashLifeCheckService::readVendorName;
        const struct {
            StringOp op;
            const char* path;
            const char* content;
            std::optional<std::string> expected;
            const char* log;
        } cases[] = {
                {date, kEmmcDate, "07/2019\n", "07/2019", "readFactoryDate line: 07/2019.\n"},
                {date, kEmmcDate, "", std::nullopt,
                 "readFactoryDate line: .\nFactoryDate read failed, it is empty!.\n"},
                {date, kEmmcDate, nullptr, std::nullopt,
                 "fs open failed, path = /sys/block/mmcblk0/device/date.\n"},
                {size, kEmmcSize, "122142720\n", "122142720", "flashSize: 122142720.\n"},
                {rev, kEmmcFwrev, "0x0200000000000000\n", "0x0200000000000000",
                 "firmwareVersion: 0x0200000000000000.\n"},
                {rev, kEmmcFwrev, nullptr, std::nullopt,
                 "fs open failed, path = /sys/class/block/mmcblk0/device/fwrev.\n"},
                {vendor, kEmmcManfid, "0x000015\n", "CID_MANFID_SAMSUNG",
                 "readVendorName line: 0x000015.\nreadVendorName: CID_MANFID_SAMSUNG.\n"},
                {vendor, kEmmcManfid, nullptr, std::nullopt,
                 "fs open failed, path = /sys/class/block/mmcblk0/device/manfid.\n"},
        };
        for (const auto& c : cases) {
            nodeOrNone(c.path, c.content);
            log::clear();
            EXPECT_EQ(answer(flash, c.op), c.expected) << c.log;
            EXPECT_EQ(logText(), c.log);
        }

        // A later object, built for a UFS name, does not turn the process back to UFS.
        log::clear();
        sp<IFlashLifeCheckService> again = area("qab");
        EXPECT_THAT(logged(kTag), ElementsAre("this product name is qab.\n",
                                              "The flash of this product is UFS.\n"));
        EXPECT_EQ(answer(again, &IFlashLifeCheckService::readFlashSize), "122142720");
    });
}

TEST_F(FlashLifeFreshProcessTest, EmmcVendorNameFromTheManufacturerId) {
    inFreshProcess([this] {
        sp<IFlashLifeCheckService> flash = area("mylbrosk");
        node(kUfsVendor, "SAMSUNG\n");
        // In order: an unknown identifier keeps the name an earlier call found.
        const struct {
            const char* manfid;
            std::optional<std::string> expected;
        } steps[] = {
                {"0x000045\n", std::nullopt},  // the first call of the process: no name yet
                {"0x000015\n", "CID_MANFID_SAMSUNG"},
                {"0x000045\n", "CID_MANFID_SAMSUNG"},
                {"0x000002\n", "CID_MANFID_SANDISK"},
                {"0x000011\n", "CID_MANFID_TOSHIBA"},
                {"0x000013\n", "CID_MANFID_MICRON"},
                {"0x0000fe\n", "CID_MANFID_NUMONYX_MICRON"},
                {"0x000090\n", "CID_MANFID_HYNIX"},
                // No number after the first two characters, or one too large for an int: an
                // unknown identifier, not a crash and not a number cut down to 32 bits.
                {"0x100000015\n", "CID_MANFID_HYNIX"},
                {"0xffffffffffffffffffffffff\n", "CID_MANFID_HYNIX"},
                {"0xzz15\n", "CID_MANFID_HYNIX"},
                {"0x\n", "CID_MANFID_HYNIX"},
                {"\n", "CID_MANFID_HYNIX"},
                // The first two characters go whatever they are; the number ends at a non-digit.
                {"ID15\n", "CID_MANFID_SAMSUNG"},
                {"0x 0x11 \r\n", "CID_MANFID_TOSHIBA"},
        };
        for (const auto& step : steps) {
            node(kEmmcManfid, step.manfid);
            log::clear();
            EXPECT_EQ(answer(flash, &IFlashLifeCheckService::readVendorName), step.expected)
                    << step.manfid;
            const std::string line(step.manfid, strcspn(step.manfid, "\n"));
            EXPECT_EQ(logText(),
                      "readVendorName line: " + line +
                              ".\nreadVendorName: " + step.expected.value_or("") + ".\n" +
                              (step.expected ? "" : "VendorName read failed, it is empty!\n"));
        }
    });
}

TEST_F(FlashLifeFreshProcessTest, UfsFirstCallsHaveNoEarlierValueToFallBackOn) {
    inFreshProcess([this] {
        sp<IFlashLifeCheckService> flash = area("qab");

        // Estimate B is taken even though the call fails for want of A, and reported later.
        node(kHealthDump, kHealthHead + estB("0x2") + kHealthTail);
        log::clear();
        EXPECT_EQ(lifeTime(flash), std::nullopt);
        EXPECT_THAT(logged(kTag), Contains("lifeEstB:0x2.\n"));
        EXPECT_THAT(logText(), EndsWith("ufsLifeTime read failed, it is empty!\n"));
        node(kHealthDump, kHealthHead + estA("0x1"));
        EXPECT_EQ(lifeTime(flash), lifeTimeAnswer("0x1", "0x2"));

        // The read that meets the end of the dump is logged too, as an empty line.
        node(kDeviceDump, kDeviceHead + kDeviceTail);
        log::clear();
        EXPECT_EQ(answer(flash, &IFlashLifeCheckService::getFactoryDate), std::nullopt);
        Lines log = scanned("readFactoryDate line: ", kDeviceHead + kDeviceTail + "\n");
        log.push_back("FactoryDate read failed, it is empty!.\n");
        EXPECT_THAT(logged(kTag), ElementsAreArray(log));
    });
}

}  // namespace
}  // namespace tevhost
