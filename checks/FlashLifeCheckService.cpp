#define LOG_TAG "TevFlashLifeCheck-test"

#include "FlashLifeCheckService.h"

#include <log/log.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <fstream>
#include <string>

#include "Vocabulary.h"

namespace vendor::quoril::hardware::tevvendorservice::implementation {

using ::android::hardware::Void;

// Every message of this area goes out at ERROR, the informational ones included.

namespace {

// The storage kind (eMMC from the first object built for an eMMC product on, never turned back)
// and the last value of each answer. They belong to the process, not to an object: a call that
// finds no new value reports the one an earlier call found.
bool bEmmc = false;
std::string lifeEstA;
std::string lifeEstB;
std::string factoryDate;
std::string flashSize;
std::string firmwareVer;
std::string vendorName;

// UFS: the SCSI disk sda and the descriptor dumps of the UFS host controller in debugfs.
const std::string ufsHealthDescPath = "/d/1d84000.ufshc/dump_health_desc";
const std::string ufsDeviceDescPath = "/d/1d84000.ufshc/dump_device_desc";
const std::string ufsSizePath = "/sys/class/block/sda/size";
const std::string ufsRevPath = "/sys/class/block/sda/device/rev";
const std::string ufsVendorPath = "/sys/class/block/sda/device/vendor";
// eMMC: life time and date under /sys/block, size, revision and maker under /sys/class/block.
const std::string emmcLifeTimeAPath = "/sys/block/mmcblk0/device/life_time_est_typ_a";
const std::string emmcLifeTimeBPath = "/sys/block/mmcblk0/device/life_time_est_typ_b";
const std::string emmcDatePath = "/sys/block/mmcblk0/device/date";
const std::string emmcSizePath = "/sys/class/block/mmcblk0/size";
const std::string emmcFwrevPath = "/sys/class/block/mmcblk0/device/fwrev";
const std::string emmcManfidPath = "/sys/class/block/mmcblk0/device/manfid";

// Products whose flash is eMMC, compared whole; every other name means UFS.
const ProductList kEmmcProducts = {
        "mopvel",  "mardusk", "marskol",  "mevrot",  "mulgash",  "mobrinte",
        "mizzarv", "mokkel",  "murtaven", "mesquor", "mylbrosk",
};

// Lines of the UFS dumps that carry a value, and where the value starts in them: the driver
// prints "<prefix>: <field name> = <value>", so the position follows from the field name.
constexpr const char* kLifeEstAPrefix = "Device Descriptor[Byte offset 0x3]";  // bDeviceLifeTimeEstA
constexpr const char* kLifeEstBPrefix = "Device Descriptor[Byte offset 0x4]";  // bDeviceLifeTimeEstB
constexpr size_t kLifeEstValuePos = 58;
constexpr const char* kDatePrefix = "Device Descriptor[Byte offset 0x12]";  // wManufactureDate
constexpr size_t kDateValuePos = 56;

// eMMC manufacturer identifiers (CID MID) and the names reported for them.
constexpr struct {
    int id;
    const char* name;
} kManufacturers[] = {
        {0x02, "CID_MANFID_SANDISK"}, {0x11, "CID_MANFID_TOSHIBA"},
        {0x13, "CID_MANFID_MICRON"},  {0x15, "CID_MANFID_SAMSUNG"},
        {0x90, "CID_MANFID_HYNIX"},   {0xFE, "CID_MANFID_NUMONYX_MICRON"},
};

// Reads the node's first line (the line feed dropped, nothing else trimmed) into |target|,
// replacing what it held. When the node does not open, logs it and leaves |target| untouched.
bool readFirstLine(const std::string& path, std::string& target) {
    std::ifstream node(path, std::ios::in);
    if (!node.is_open()) {
        ALOGE("fs open failed, path = %s.\n", path.c_str());
        return false;
    }
    std::string line;
    std::getline(node, line);
    target = line;
    return true;
}

// The rest of a dump line from |position| on; a line that ends before it has no value.
std::string valueFrom(const std::string& line, size_t position) {
    return line.size() > position ? line.substr(position) : std::string();
}

// The manfid node writes the identifier behind a "0x" prefix ("0x000015"): the two leading
// characters are skipped whatever they are and the rest is read as a hexadecimal int. False
// when there is no number there or it does not fit an int.
bool manufacturerId(const std::string& line, int* id) {
    const std::string digits = line.size() > 2 ? line.substr(2) : std::string();
    const char* begin = digits.c_str();
    char* end = nullptr;
    errno = 0;
    long long value = strtoll(begin, &end, 16);
    if (end == begin || errno == ERANGE || value < INT_MIN || value > INT_MAX) return false;
    *id = static_cast<int>(value);
    return true;
}

}  // namespace

FlashLifeCheckService::FlashLifeCheckService() {
    // Read straight from the platform: the area logs the name itself.
    std::string product;
    readProductNameUnlogged(&product);
    ALOGE("this product name is %s.\n", product.c_str());
    if (productIsOneOf(product, kEmmcProducts)) {
        bEmmc = true;
        ALOGE("The flash of this product is eMMC.\n");
    } else {
        ALOGE("The flash of this product is UFS.\n");
    }
}

Return<void> FlashLifeCheckService::getFlashLifeTime(getFlashLifeTime_cb _hidl_cb) {
    if (bEmmc) {
        if (!readFirstLine(emmcLifeTimeAPath, lifeEstA)) return Void();
        ALOGE("lifeEstA:%s.\n", lifeEstA.c_str());
        if (lifeEstA.empty()) {
            ALOGE("eMMCLifeTime read failed, it is empty!\n");
            return Void();
        }
        if (!readFirstLine(emmcLifeTimeBPath, lifeEstB)) return Void();
        ALOGE("lifeEstB:%s.\n", lifeEstB.c_str());
    } else {
        std::ifstream dump(ufsHealthDescPath, std::ios::in);
        if (!dump.is_open()) {
            ALOGE("fs open failed, path = %s.\n", ufsHealthDescPath.c_str());
            return Void();
        }
        // A dump that lacks a line leaves the value an earlier call found; the scan ends at
        // estimate B, so an estimate A printed after it is not seen.
        std::string line;
        while (!dump.eof() && !dump.fail()) {
            std::getline(dump, line);
            ALOGE("readUfsLifeTime line: %s.\n", line.c_str());
            if (beginsWith(line, kLifeEstAPrefix)) {
                lifeEstA = valueFrom(line, kLifeEstValuePos);
                ALOGE("lifeEstA:%s.\n", lifeEstA.c_str());
            }
            if (beginsWith(line, kLifeEstBPrefix)) {
                lifeEstB = valueFrom(line, kLifeEstValuePos);
                ALOGE("lifeEstB:%s.\n", lifeEstB.c_str());
                break;
            }
        }
        dump.close();
        if (lifeEstA.empty()) {
            ALOGE("ufsLifeTime read failed, it is empty!\n");
            return Void();
        }
    }
    hidl_vec<hidl_string> lifeTime;
    lifeTime.resize(2);
    lifeTime[0] = "lifeEstA =" + lifeEstA;
    lifeTime[1] = "lifeEstB =" + lifeEstB;
    _hidl_cb(lifeTime);
    return Void();
}

Return<void> FlashLifeCheckService::getFactoryDate(getFactoryDate_cb _hidl_cb) {
    if (bEmmc) {
        if (!readFirstLine(emmcDatePath, factoryDate)) return Void();
        ALOGE("readFactoryDate line: %s.\n", factoryDate.c_str());
    } else {
        std::ifstream dump(ufsDeviceDescPath, std::ios::in);
        if (!dump.is_open()) {
            ALOGE("fs open failed, path = %s.\n", ufsDeviceDescPath.c_str());
            return Void();
        }
        // Without the date line the value an earlier call found stays.
        std::string line;
        bool found = false;
        while (!found && !dump.eof() && !dump.fail()) {
            std::getline(dump, line);
            ALOGE("readFactoryDate line: %s.\n", line.c_str());
            found = beginsWith(line, kDatePrefix);
        }
        if (found) {
            factoryDate = valueFrom(line, kDateValuePos);
            ALOGE("factoryDate: %s.\n", factoryDate.c_str());
        }
    }
    if (factoryDate.empty()) {
        ALOGE("FactoryDate read failed, it is empty!.\n");
        return Void();
    }
    _hidl_cb(factoryDate);
    return Void();
}

Return<void> FlashLifeCheckService::readFlashSize(readFlashSize_cb _hidl_cb) {
    // The size node's text as it is: a decimal count of 512-byte sectors.
    if (!readFirstLine(bEmmc ? emmcSizePath : ufsSizePath, flashSize)) return Void();
    ALOGE("flashSize: %s.\n", flashSize.c_str());
    if (flashSize.empty()) {
        ALOGE("FlashSize read failed, it is empty!\n");
        return Void();
    }
    _hidl_cb(flashSize);
    return Void();
}

Return<void> FlashLifeCheckService::readFirmwareVersion(readFirmwareVersion_cb _hidl_cb) {
    if (!readFirstLine(bEmmc ? emmcFwrevPath : ufsRevPath, firmwareVer)) return Void();
    ALOGE("firmwareVersion: %s.\n", firmwareVer.c_str());
    if (firmwareVer.empty()) {
        ALOGE("FirmwareVersion read failed, it is empty!\n");
        return Void();
    }
    _hidl_cb(firmwareVer);
    return Void();
}

Return<void> FlashLifeCheckService::readVendorName(readVendorName_cb _hidl_cb) {
    if (bEmmc) {
        std::string line;
        if (!readFirstLine(emmcManfidPath, line)) return Void();
        ALOGE("readVendorName line: %s.\n", line.c_str());
        // An identifier without a name keeps the name an earlier call found.
        int id = 0;
        if (manufacturerId(line, &id)) {
            for (const auto& manufacturer : kManufacturers) {
                if (manufacturer.id == id) vendorName = manufacturer.name;
            }
        }
        ALOGE("readVendorName: %s.\n", vendorName.c_str());
    } else {
        // The SCSI vendor text is the answer as it is.
        if (!readFirstLine(ufsVendorPath, vendorName)) return Void();
        ALOGE("readVendorName line: %s.\n", vendorName.c_str());
    }
    if (vendorName.empty()) {
        ALOGE("VendorName read failed, it is empty!\n");
        return Void();
    }
    _hidl_cb(vendorName);
    return Void();
}

Return<void> FlashLifeCheckService::extFun(const hidl_string& /* name */,
                                           const hidl_vec<hidl_string>& /* args */,
                                           extFun_cb /* _hidl_cb */) {
    return Void();
}

}  // namespace vendor::quoril::hardware::tevvendorservice::implementation
