// The simulated handset of one tevctl run, set up from a device profile: a folder with
// "properties" (getprop output or key=value lines), "fs/" (the nodes at their device paths) and
// optionally "drivers" (PATH WORD REPLY lines: after WORD is written to PATH, PATH reads REPLY).
#pragma once

#include <string>

namespace tevctl {

// The folder of the bundled profiles: $TEVCTL_DEVICES, else the source tree's devices/.
std::string bundledDevicesDir();
// The profile used without --device.
std::string defaultProfile();
// |arg| as a profile folder: an existing folder, or the name of a bundled profile.
std::string resolveProfile(const std::string& arg);

class Device {
  public:
    Device() = default;
    ~Device();
    Device(const Device&) = delete;
    Device& operator=(const Device&) = delete;

    // Loads the profile at |dir|: its properties into the property store, its nodes as the device
    // root (a scratch copy, or |dir|/fs itself when |inPlace|), its drivers into the sandbox.
    bool open(const std::string& dir, bool inPlace, std::string* error);
    // Removes the scratch copy (if any); safe to call twice.
    void close();

    const std::string& dir() const { return mDir; }

    // Run-script edits of the node tree; |path| is a device path ("/sys/...").
    bool writeNode(const std::string& path, const std::string& content, std::string* error);
    bool removeNode(const std::string& path, std::string* error);

  private:
    std::string mDir;
    std::string mScratch;
};

}  // namespace tevctl
