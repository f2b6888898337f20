// A device profile: a folder with "properties" (getprop output or key=value lines), "fs/" (the
// nodes at their device paths) and optionally "drivers" (PATH WORD REPLY lines: after WORD is
// written to PATH, PATH reads REPLY), "sensorcal" (the closed calibration library's answers) and
// "hall" (the sibling sensor test service). Loading one sets up the simulated handset.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace tevhost::profile {

// The folder of the bundled profiles: $TEVCTL_DEVICES, else the source tree's devices/.
std::string bundledDir();
// The profile used when none is named: the bundled qab.
std::string defaultDir();
// The names of the bundled profiles, comma-separated.
std::string bundledNames();
// |arg| as a profile folder: an existing folder, or the name of a bundled profile. When a local
// folder of that name hides a bundled profile, |notice| (if given) says so.
std::string resolve(const std::string& arg, std::string* notice = nullptr);
// Whether |dir| is one of the bundled profiles (the tests compare against them).
bool isBundled(const std::string& dir);

// A driver of the node at |path|: after |word| is written to it in one open-to-close session, it
// reads |reply|.
struct Driver {
    std::string path;  // the device path ("/proc/...")
    std::string word;
    std::string reply;
};

// One "PATH WORD REPLY" line: WORD and REPLY take C escapes, REPLY is the rest of the line (it may
// be empty). False with |error| when WORD is missing ("|what| needs PATH WORD REPLY"), PATH is not
// a device path, or an escape is wrong.
bool parseDriver(const std::string& line, const std::string& what, Driver* driver,
                 std::string* error);
// The drivers of a "drivers" file; blank lines and lines whose first word starts with '#' are
// skipped. A missing file declares none. False with |error| ("FILE:LINE: what") on a bad line.
bool loadDrivers(const std::string& file, std::vector<Driver>* drivers, std::string* error);
// Declares |drivers| in the sandbox.
void declare(const std::vector<Driver>& drivers);

// The simulated handset set up from one profile; the scratch copy of its nodes lives as long as
// this object (or until close()).
class Profile {
  public:
    Profile() = default;
    ~Profile();
    Profile(const Profile&) = delete;
    Profile& operator=(const Profile&) = delete;

    // Loads the profile at |dir|: its properties into the property store, its nodes as the device
    // root (a scratch copy, or |dir|/fs itself when |inPlace|), its drivers into the sandbox, and
    // the calibration library's and the sibling service's answers. A profile is untrusted input:
    // its own entries (fs/, properties, drivers, sensorcal, hall) must be files and folders, not
    // links; fs/ may hold only folders, files of at most 1 MiB and relative links that stay
    // inside it, nested at most cleanup::kMaxDepth deep, and with |inPlace| no file with another
    // name (a hard link). Everything is checked and copied from descriptors opened once, never
    // through a link, so a name swapped during the load changes nothing. An in-place run holds the
    // profile for itself until close(); a copy is made while no in-place run holds it (the wait
    // is announced through |onWait|, if set). The scratch copy is removed on every exit the
    // process can catch, and by a later load after one it cannot (tevhost/Cleanup.h).
    bool open(const std::string& dir, bool inPlace, std::string* error);
    // Removes the scratch copy (if any) and lets go of the profile; safe to call twice.
    void close();
    // Called with one line when open() has to wait for another run on the same profile.
    void onWait(std::function<void(const std::string& why)> notice) { mOnWait = std::move(notice); }

    const std::string& dir() const { return mDir; }

  private:
    // Takes the profile's lock (flock(2) on its folder), waiting if another run holds it.
    bool lock(const std::string& profile, int how, std::string* error);
    void unlock();

    std::string mDir;
    std::string mScratch;
    int mNodes = -1;  // in place: the nodes' folder, the device root
    int mLock = -1;
    std::function<void(const std::string&)> mOnWait;
};

}  // namespace tevhost::profile
