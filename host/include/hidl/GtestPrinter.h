// Host stand-in: names parameterised HAL tests after their instance.
#pragma once

#include <string>

#include <gtest/gtest.h>

namespace android {
namespace hardware {

inline std::string PrintInstanceNameToString(const ::testing::TestParamInfo<std::string>& info) {
    std::string name = info.param;
    for (char& c : name) {
        if (!isalnum(static_cast<unsigned char>(c))) c = '_';
    }
    return std::to_string(info.index) + "_" + name;
}

}  // namespace hardware
}  // namespace android
