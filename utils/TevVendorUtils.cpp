#define LOG_TAG "vendor.quoril.hardware.tevvendorservice@1.0-TevVendorUtils"

#include "TevVendorUtils.h"

#include <cutils/properties.h>
#include <log/log.h>

#include <cstring>
#include <fstream>

namespace vendor::quoril::hardware::tevvendorservice::implementation {

namespace {
constexpr const char* kSuccess = "success";
constexpr const char* kFail = "fail";
}  // namespace

TevVendorUtils& TevVendorUtils::getInstance() {
    static TevVendorUtils instance;
    return instance;
}

std::string TevVendorUtils::getPropertyValue(const std::string& key,
                                             const std::string& defaultValue) {
    char value[PROPERTY_VALUE_MAX];
    memset(value, 0, sizeof(value));
    int ret = property_get(key.c_str(), value, defaultValue.c_str());
    ALOGI("Getprop key = %s , value = %s, ret = %d", key.c_str(), value, ret);
    if (ret == 0) {
        ALOGE("Getprop %s erro\n", key.c_str());
    }
    return std::string(value);
}

std::string TevVendorUtils::setPropertyValue(const std::string& key, const std::string& value) {
    std::string result = kSuccess;
    int ret = property_set(key.c_str(), value.c_str());
    ALOGI("Setprop key = %s , value = %s, ret = %d", key.c_str(), value.c_str(), ret);
    if (ret != 0) {
        result = kFail;
        ALOGE("Setprop %s erro\n", key.c_str());
    }
    return result;
}

std::string TevVendorUtils::readFilePathValue(const std::string& path) {
    std::string result;
    std::ifstream node(path, std::ios::in);
    if (!node.is_open()) {
        ALOGE("Failed to open node %s", path.c_str());
    } else {
        std::string line;
        while (std::getline(node, line)) {
            result += line;
            result += '\n';
        }
        // Only the final line feed goes; a node holding nothing but "\n" keeps it.
        if (result.size() >= 2) {
            result.pop_back();
        }
        node.close();
    }
    ALOGI("ReadFilePathValue path = %s value = %s", path.c_str(), result.c_str());
    return result;
}

std::string TevVendorUtils::writeFilePathValue(const std::string& path, const std::string& value) {
    std::string result = kFail;
    std::ofstream node(path, std::ios::out | std::ios::trunc);
    if (!node.is_open()) {
        ALOGE("Failed to open node %s", path.c_str());
    } else {
        std::vector<std::string> pieces = splitStr(value, "\n");
        if (pieces.size() == 1) {
            node << value;
        } else {
            for (const std::string& piece : pieces) {
                node << piece << '\n';
            }
        }
        node.flush();
        node.close();
        // A node that takes the open but refuses the data is still reported as written.
        result = kSuccess;
    }
    ALOGI("WriteFilePathValue path = %s value = %s result = %s", path.c_str(), value.c_str(),
          result.c_str());
    return result;
}

std::vector<std::string> TevVendorUtils::splitStr(std::string str, std::string separators) {
    std::vector<std::string> pieces;
    while (!str.empty()) {
        size_t pos = str.find_first_of(separators);
        if (pos == std::string::npos) {
            pieces.push_back(str);
            break;
        }
        pieces.push_back(str.substr(0, pos));
        str = str.substr(pos + 1);
    }
    return pieces;
}

bool TevVendorUtils::startswith(const std::string& str, const std::string& prefix) {
    if (static_cast<int32_t>(str.size()) < static_cast<int32_t>(prefix.size())) {
        return false;
    }
    return str.compare(0, prefix.size(), prefix) == 0;
}

bool TevVendorUtils::checkProductInList(std::string product, std::vector<std::string> list) {
    for (const std::string& entry : list) {
        if (entry.empty() || product.find(entry) != std::string::npos) {
            return true;
        }
    }
    return false;
}

}  // namespace vendor::quoril::hardware::tevvendorservice::implementation
