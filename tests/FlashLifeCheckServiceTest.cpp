// Storage: eMMC or UFS, chosen once per process from the product name, and answers that the
// process remembers from one call to the next.
//
// Both facts are process-wide, so the tests are arranged to pass in any order:
// - this process never builds the area for an eMMC product, so it stays a UFS process; every test
//   that runs here first makes the calls that set up the remembered values it relies on;
// - the eMMC scenarios, and those that need the untouched state of a freshly started service,
//   run in a new process of this program (gtest's re-executing death-test child).

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>

#include "AreaTest.h"

namespace tevhost {
namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;
using F = ::vendor::quoril::hardware::tevvendorservice::V1_0::IFlashLifeCheckService;
using StringOp = decltype(&F::readFlashSize);

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
const auto estA = [](const std::string& v) { return ufsLine(0x3, "bDeviceLifeTimeEstA", v); };
const auto estB = [](const std::string& v) { return ufsLine(0x4, "bDeviceLifeTimeEstB", v); };
const auto dateLine = [](const std::string& v) { return ufsLine(0x12, "wManufactureDate", v); };
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

// The whole log of a call whose node did not open.
std::string noNode(const std::string& path) {
    return "fs open failed, path = " + path + ".\n";
}

// The answer of getFlashLifeTime.
Lines est(const std::string& a, const std::string& b) {
    return {"lifeEstA =" + a, "lifeEstB =" + b};
}

class FlashLifeTest : public AreaTest {
  protected:
    void TearDown() override {
        checkAllAtError();
        AreaTest::TearDown();
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
    sp<F> area(const char* product) {
        prop("ro.product.name", product);
        sp<F> flash = root()->getExtensionFlashLifeCheckService();
        EXPECT_NE(flash, nullptr);
        return flash;
    }

    // One call: the node at |path| holds |content| (nullptr: absent); the answer is |expected|
    // (nullopt: no callback) and the call's whole log is |log|.
    struct Case {
        StringOp op;
        const char* path;
        const char* content;
        std::optional<std::string> expected;
        std::string log;
    };
    void check(const sp<F>& flash, const std::vector<Case>& cases) {
        for (const Case& c : cases) {
            setNode(c.path, c.content ? c.content : kAbsent);
            log::clear();
            EXPECT_EQ(answer<std::string>(flash, c.op), c.expected) << c.log;
            EXPECT_EQ(logText(), c.log);
        }
    }

    // Steps through a dump's contents in order (nullopt: absent); the log of each call holds
    // |message|.
    template <typename T>
    struct Step {
        std::optional<std::string> dump;
        std::optional<T> expected;
        std::string message;
    };
    template <typename T, typename Op>
    void steps(const sp<F>& flash, Op op, const char* path, const std::vector<Step<T>>& steps) {
        for (const auto& [dump, expected, message] : steps) {
            setNode(path, dump.value_or(kAbsent));
            log::clear();
            EXPECT_EQ(answer<T>(flash, op), expected) << dump.value_or("absent");
            EXPECT_THAT(logText(), HasSubstr(message)) << dump.value_or("absent");
        }
    }

    // |scenario| in a fresh process; its handset is removed there, as the child skips TearDown.
    void inFresh(const std::function<void()>& scenario) {
        inFreshProcess([&] {
            scenario();
            checkAllAtError();
            std::error_code ignored;
            std::filesystem::remove_all(hostPath(""), ignored);
        });
    }
};

// A device whose product is not on the eMMC list, with eMMC nodes it must never report.
class FlashLifeUfsTest : public FlashLifeTest {
  protected:
    void SetUp() override {
        FlashLifeTest::SetUp();
        flash = area("qab");
        for (const char* path : {kEmmcLifeA, kEmmcLifeB, kEmmcDate, kEmmcSize, kEmmcFwrev}) {
            node(path, "0x0b\n");
        }
        node(kEmmcManfid, "0x000015\n");
        log::clear();
    }
    sp<F> flash;
};

using FlashLifeFreshProcessTest = FlashLifeTest;

TEST_F(FlashLifeTest, RootBuildsTheAreaOnceAndOnlyTheWholeNameOfAnEmmcProductMeansEmmc) {
    prop("ro.product.name", "qab");
    auto service = root();
    EXPECT_THAT(logged(kTag), ElementsAre());
    sp<F> first = service->getExtensionFlashLifeCheckService();
    EXPECT_EQ(value(service->getExtensionFlashLifeCheckService()), first);
    EXPECT_EQ(logged(kTag).size(), 2u);  // one construction: the name and the storage kind

    // "marskol" itself is shown in a fresh process below: this process must stay on UFS.
    node(kUfsSize, "488308736\n");
    node(kEmmcSize, "122142720\n");
    for (const char* name : {"qab", "MARSKOL", "marskolpro", "xmarskol", "", (const char*)nullptr}) {
        log::clear();
        sp<F> flash = area(name);
        const std::string shown = name ? name : "";
        EXPECT_THAT(logged(kTag), ElementsAre("this product name is " + shown + ".\n",
                                              "The flash of this product is UFS.\n"));
        EXPECT_EQ(answer<std::string>(flash, &F::readFlashSize), "488308736") << shown;
    }
}

TEST_F(FlashLifeUfsTest, LifeTimeReportsWhatEarlierCallsFoundWhenLinesAreMissing) {
    // The values stand at a fixed position, right after the field name; the scan ends at B.
    node(kHealthDump, kHealthHead + estA("0x1") + estB("0x2") + kHealthTail);
    EXPECT_EQ(answer<Lines>(flash, &F::getFlashLifeTime), est("0x1", "0x2"));
    Lines log = scanned("readUfsLifeTime line: ", kHealthHead + estA("0x1"));
    log.push_back("lifeEstA:0x1.\n");
    log.push_back(scanned("readUfsLifeTime line: ", estB("0x2"))[0]);
    log.push_back("lifeEstB:0x2.\n");
    EXPECT_THAT(logged(kTag), ElementsAreArray(log));

    const std::string lastA = "Device Descriptor[Byte offset 0x3]: bDeviceLifeTimeEstA = 0x6";
    const std::string shortB = "Device Descriptor[Byte offset 0x4]: bDeviceLifeTimeEstB\n";
    steps<Lines>(
            flash, &F::getFlashLifeTime, kHealthDump,
            {{kHealthHead + kHealthTail, est("0x1", "0x2"), ""},
             {"", est("0x1", "0x2"), ""},
             {kHealthHead + estB("0x3"), est("0x1", "0x3"), "lifeEstB:0x3.\n"},
             {kHealthHead + estB("0x4") + estA("0x5"), est("0x1", "0x4"), ""},
             // Only A, on a last line without line feed; then untrimmed values.
             {kHealthHead + lastA, est("0x6", "0x4"), ""},
             {kHealthHead + estA("0x7 \r") + estB(" 0x8"), est("0x7 \r", " 0x8"), ""},
             {std::nullopt, std::nullopt, noNode("/d/1d84000.ufshc/dump_health_desc")},
             {kHealthHead, est("0x7 \r", " 0x8"), ""},
             // A line shorter than its value's position gives an empty value; an empty A
             // stays when the next dump has no A line.
             {estA("0x1") + shortB, est("0x1", ""), "lifeEstB:.\n"},
             {"Device Descriptor[Byte offset 0x3]\n" + estB("0x2"), std::nullopt, "lifeEstA:.\n"},
             {kHealthHead + estB("0x2"), std::nullopt, "ufsLifeTime read failed, it is empty!\n"}});
}

TEST_F(FlashLifeUfsTest, FactoryDateReportsWhatEarlierCallsFoundWhenTheLineIsMissing) {
    node(kDeviceDump, kDeviceHead + dateLine("0x1907") + kDeviceTail);
    EXPECT_EQ(answer<std::string>(flash, &F::getFactoryDate), "0x1907");
    // The scan ends at the date line.
    Lines log = scanned("readFactoryDate line: ", kDeviceHead + dateLine("0x1907"));
    log.push_back("factoryDate: 0x1907.\n");
    EXPECT_THAT(logged(kTag), ElementsAreArray(log));

    const std::string date = "Device Descriptor[Byte offset 0x12]: wManufactureDate =";
    steps<std::string>(
            flash, &F::getFactoryDate, kDeviceDump,
            {{kDeviceHead + kDeviceTail, "0x1907", ""},
             // Untrimmed, on a last line without line feed.
             {kDeviceHead + date + " 0x2011 \r", "0x2011 \r", "factoryDate: 0x2011 \r.\n"},
             {std::nullopt, std::nullopt, noNode("/d/1d84000.ufshc/dump_device_desc")},
             {"", "0x2011 \r", ""},
             // A line shorter than the value's position gives an empty date.
             {kDeviceHead + date + "\n" + kDeviceTail, std::nullopt,
              "factoryDate: .\nFactoryDate read failed, it is empty!.\n"}});
}

TEST_F(FlashLifeUfsTest, SizeRevisionAndVendorAreTheFirstLineOfTheirSdaNodes) {
    // An empty node after a value: every read replaces the remembered text.
    const StringOp size = &F::readFlashSize, rev = &F::readFirmwareVersion,
                   vendor = &F::readVendorName;
    check(flash,
          {{size, kUfsSize, "244285440\n", "244285440", "flashSize: 244285440.\n"},
           {size, kUfsSize, "", std::nullopt, "flashSize: .\nFlashSize read failed, it is empty!\n"},
           {size, kUfsSize, nullptr, std::nullopt, noNode("/sys/class/block/sda/size")},
           {rev, kUfsRev, "0600 \nsecond line\n", "0600 ", "firmwareVersion: 0600 .\n"},
           {rev, kUfsRev, "\n", std::nullopt,
            "firmwareVersion: .\nFirmwareVersion read failed, it is empty!\n"},
           {rev, kUfsRev, nullptr, std::nullopt, noNode("/sys/class/block/sda/device/rev")},
           {vendor, kUfsVendor, "SAMSUNG \n", "SAMSUNG ", "readVendorName line: SAMSUNG .\n"},
           {vendor, kUfsVendor, "", std::nullopt,
            "readVendorName line: .\nVendorName read failed, it is empty!\n"},
           {vendor, kUfsVendor, nullptr, std::nullopt,
            noNode("/sys/class/block/sda/device/vendor")}});
    node(kUfsSize, "488308736\n");
    denyNode(kUfsSize);
    EXPECT_EQ(answer<std::string>(flash, size), std::nullopt);
}

TEST_F(FlashLifeFreshProcessTest, EmmcProductReadsTheMmcblk0Nodes) {
    inFresh([this] {
        sp<F> flash = area("marskol");
        EXPECT_THAT(logged(kTag), ElementsAre("this product name is marskol.\n",
                                              "The flash of this product is eMMC.\n"));
        // The UFS sources, which an eMMC device must never report.
        node(kHealthDump, estA("0x9") + estB("0x9"));
        node(kDeviceDump, dateLine("0x9999"));
        node(kUfsSize, "9\n");
        node(kUfsRev, "9999\n");
        node(kUfsVendor, "UFSVENDOR\n");

        // Estimates A and B (null: absent), the answer and the whole log of the call.
        const std::string emptyA = "lifeEstA:.\neMMCLifeTime read failed, it is empty!\n";
        const std::tuple<const char*, const char*, std::optional<Lines>, std::string> lifeCases[] = {
                {"0x01\n", "0x02\n", est("0x01", "0x02"), "lifeEstA:0x01.\nlifeEstB:0x02.\n"},
                {"0x03 \r\n", "", est("0x03 \r", ""), "lifeEstA:0x03 \r.\nlifeEstB:.\n"},
                {"\n", "0x02\n", std::nullopt, emptyA},
                {"0x04\n", nullptr, std::nullopt,
                 "lifeEstA:0x04.\n" + noNode("/sys/block/mmcblk0/device/life_time_est_typ_b")},
                {nullptr, "0x02\n", std::nullopt,
                 noNode("/sys/block/mmcblk0/device/life_time_est_typ_a")},
        };
        for (const auto& [a, b, expected, text] : lifeCases) {
            setNode(kEmmcLifeA, a ? a : kAbsent);
            setNode(kEmmcLifeB, b ? b : kAbsent);
            log::clear();
            EXPECT_EQ(answer<Lines>(flash, &F::getFlashLifeTime), expected) << text;
            EXPECT_EQ(logText(), text);
        }

        const StringOp date = &F::getFactoryDate, size = &F::readFlashSize,
                       rev = &F::readFirmwareVersion, vendor = &F::readVendorName;
        check(flash,
              {{date, kEmmcDate, "07/2019\n", "07/2019", "readFactoryDate line: 07/2019.\n"},
               {date, kEmmcDate, "", std::nullopt,
                "readFactoryDate line: .\nFactoryDate read failed, it is empty!.\n"},
               {date, kEmmcDate, nullptr, std::nullopt, noNode("/sys/block/mmcblk0/device/date")},
               {size, kEmmcSize, "122142720\n", "122142720", "flashSize: 122142720.\n"},
               {rev, kEmmcFwrev, "0x0200000000000000\n", "0x0200000000000000",
                "firmwareVersion: 0x0200000000000000.\n"},
               {rev, kEmmcFwrev, nullptr, std::nullopt,
                noNode("/sys/class/block/mmcblk0/device/fwrev")},
               {vendor, kEmmcManfid, "0x000015\n", "CID_MANFID_SAMSUNG",
                "readVendorName line: 0x000015.\nreadVendorName: CID_MANFID_SAMSUNG.\n"},
               {vendor, kEmmcManfid, nullptr, std::nullopt,
                noNode("/sys/class/block/mmcblk0/device/manfid")}});

        // A later object, built for a UFS name, does not turn the process back to UFS.
        log::clear();
        sp<F> again = area("qab");
        EXPECT_THAT(logged(kTag), ElementsAre("this product name is qab.\n",
                                              "The flash of this product is UFS.\n"));
        EXPECT_EQ(answer<std::string>(again, size), "122142720");
    });
}

TEST_F(FlashLifeFreshProcessTest, EmmcVendorNameFromTheManufacturerId) {
    inFresh([this] {
        sp<F> flash = area("mylbrosk");
        node(kUfsVendor, "SAMSUNG\n");
        // In order: an unknown identifier keeps the name an earlier call found, the first call
        // of the process has none yet. No number after the first two characters, or one too
        // large for an int, is an unknown identifier, not a crash and not a number cut down to
        // 32 bits; the first two characters go whatever they are; the number ends at a non-digit.
        const std::pair<const char*, const char*> steps[] = {
                {"0x000045", nullptr},
                {"0x000015", "CID_MANFID_SAMSUNG"},
                {"0x000045", "CID_MANFID_SAMSUNG"},
                {"0x000002", "CID_MANFID_SANDISK"},
                {"0x000011", "CID_MANFID_TOSHIBA"},
                {"0x000013", "CID_MANFID_MICRON"},
                {"0x0000fe", "CID_MANFID_NUMONYX_MICRON"},
                {"0x000090", "CID_MANFID_HYNIX"},
                {"0x100000015", "CID_MANFID_HYNIX"},
                {"0xffffffffffffffffffffffff", "CID_MANFID_HYNIX"},
                {"0xzz15", "CID_MANFID_HYNIX"},
                {"", "CID_MANFID_HYNIX"},
                {"ID15", "CID_MANFID_SAMSUNG"},
                {"0x 0x11 \r", "CID_MANFID_TOSHIBA"},
                {"0x2", "CID_MANFID_SANDISK"},
        };
        for (const auto& [manfid, name] : steps) {
            node(kEmmcManfid, manfid + std::string("\n"));
            log::clear();
            EXPECT_EQ(answer<std::string>(flash, &F::readVendorName),
                      name ? std::optional<std::string>(name) : std::nullopt)
                    << manfid;
            EXPECT_EQ(logText(), "readVendorName line: " + std::string(manfid) +
                                         ".\nreadVendorName: " + (name ? name : "") + ".\n" +
                                         (name ? "" : "VendorName read failed, it is empty!\n"));
        }
    });
}

TEST_F(FlashLifeFreshProcessTest, UfsFirstCallsHaveNoEarlierValueToFallBackOn) {
    inFresh([this] {
        sp<F> flash = area("qab");
        // Estimate B is taken even though the call fails for want of A, and reported later.
        node(kHealthDump, kHealthHead + estB("0x2") + kHealthTail);
        log::clear();
        EXPECT_EQ(answer<Lines>(flash, &F::getFlashLifeTime), std::nullopt);
        EXPECT_THAT(logged(kTag), Contains("lifeEstB:0x2.\n"));
        EXPECT_THAT(logText(), EndsWith("ufsLifeTime read failed, it is empty!\n"));
        node(kHealthDump, kHealthHead + estA("0x1"));
        EXPECT_EQ(answer<Lines>(flash, &F::getFlashLifeTime), est("0x1", "0x2"));

        // The read that meets the end of the dump is logged too, as an empty line.
        node(kDeviceDump, kDeviceHead + kDeviceTail);
        log::clear();
        EXPECT_EQ(answer<std::string>(flash, &F::getFactoryDate), std::nullopt);
        Lines log = scanned("readFactoryDate line: ", kDeviceHead + kDeviceTail + "\n");
        log.push_back("FactoryDate read failed, it is empty!.\n");
        EXPECT_THAT(logged(kTag), ElementsAreArray(log));
    });
}

}  // namespace
}  // namespace tevhost
