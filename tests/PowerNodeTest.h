// Fixture of the charger and battery tests: puts a power-supply node into one of the states a
// handset can present, and counts the process's open descriptors.
#pragma once

#include <filesystem>
#include <string>

#include "HandsetTest.h"

namespace tevhost {

// Node states besides plain content. A folder opens but cannot be read; /dev/full opens but
// refuses every write.
constexpr const char* kAbsent = "<absent>";
constexpr const char* kDenied = "<denied>";
constexpr const char* kFolder = "<folder>";
constexpr const char* kFull = "<full>";

class PowerNodeTest : public HandsetTest {
  protected:
    void setNode(const std::string& path, const std::string& state) {
        sandbox::allow(path);
        removeNode(path);
        if (state == kAbsent) return;
        if (state == kDenied) {
            denyNode(path);
        } else if (state == kFolder) {
            folderNode(path);
        } else if (state == kFull) {
            node(path, "");
            std::filesystem::remove(hostPath(path));
            std::filesystem::create_symlink("/dev/full", hostPath(path));
        } else {
            node(path, state);
        }
    }

    static size_t openDescriptors() {
        size_t count = 0;
        for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
            (void)entry;
            ++count;
        }
        return count;
    }
};

}  // namespace tevhost
