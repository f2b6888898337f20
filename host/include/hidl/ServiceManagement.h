// Host stand-in: the instances a client can reach are the registered ones, or "default" when the
// passthrough library provides the interface.
#pragma once

#include <string>
#include <vector>

namespace android {
namespace hardware {

std::vector<std::string> getAllHalInstanceNames(const std::string& descriptor);

}  // namespace hardware
}  // namespace android
