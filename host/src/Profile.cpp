#include <fcntl.h>
#include <sys/file.h>
#include <tevhost/Cleanup.h>
#include <tevhost/FakeSensorService.h>
#include <tevhost/Profile.h>
#include <tevhost/Properties.h>
#include <tevhost/Sandbox.h>
#include <tevhost/SensorCal.h>
#include <tevhost/Text.h>

#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>

#ifndef TEVHOST_DEVICES_DIR
#define TEVHOST_DEVICES_DIR "devices"
#endif

namespace fs = std::filesystem;

namespace tevhost::profile {

namespace {

// The closed calibration library and the sibling sensor service answer as the profile says; a
// profile without a "hall" file has no sibling service at all.
bool loadOptional(const fs::path& file, bool (*load)(const std::string&, int*), std::string* error) {
    std::error_code ec;
    if (!fs::exists(file, ec)) return true;
    int badLine = 0;
    if (load(file.string(), &badLine)) return true;
    *error = badLine == 0
                     ? "cannot read " + file.string()
                     : file.string() + ":" + std::to_string(badLine) + ": not a key=value line";
    return false;
}

}  // namespace

std::string bundledDir() {
    const char* dir = getenv("TEVCTL_DEVICES");
    return dir && *dir ? dir : TEVHOST_DEVICES_DIR;
}

std::string defaultDir() {
    return bundledDir() + "/qab";
}

std::string resolve(const std::string& arg) {
    std::error_code ec;
    if (fs::is_directory(arg, ec)) return arg;
    if (arg.find('/') == std::string::npos) {
        std::string bundled = bundledDir() + "/" + arg;
        if (fs::is_directory(bundled, ec)) return bundled;
    }
    return arg;
}

bool parseDriver(const std::string& line, const std::string& what, Driver* driver,
                 std::string* error) {
    std::string path, rest, rawWord, rawReply;
    text::firstWord(line, &path, &rest);
    text::firstWord(rest, &rawWord, &rawReply);
    if (rawWord.empty()) {
        *error = what + " needs PATH WORD REPLY";
        return false;
    }
    driver->path = sandbox::devicePath(path);
    if (driver->path.empty()) {
        *error = "'" + path + "' is not a device path (/sys, /proc or /d)";
        return false;
    }
    return text::decodeEscapes(rawWord, &driver->word, error) &&
           text::decodeEscapes(rawReply, &driver->reply, error);
}

bool loadDrivers(const std::string& file, std::vector<Driver>* drivers, std::string* error) {
    std::ifstream in(file);
    if (!in) return true;  // the file is optional
    std::string line;
    int number = 0;
    while (std::getline(in, line)) {
        ++number;
        if (!line.empty() && line.back() == '\r') line.pop_back();
        std::string first, rest, problem;
        text::firstWord(line, &first, &rest);
        if (first.empty() || first[0] == '#') continue;
        Driver driver;
        if (!parseDriver(line, "a driver", &driver, &problem)) {
            *error = file + ":" + std::to_string(number) + ": " + problem;
            return false;
        }
        drivers->push_back(std::move(driver));
    }
    return true;
}

void declare(const std::vector<Driver>& drivers) {
    for (const Driver& d : drivers) sandbox::respond(d.path, d.word, d.reply);
}

Profile::~Profile() {
    close();
}

bool Profile::open(const std::string& dir, bool inPlace, std::string* error) {
    std::error_code ec;
    mDir = dir;
    fs::path profile = fs::absolute(dir, ec);
    fs::path properties = profile / "properties";
    fs::path nodes = profile / "fs";
    if (!fs::is_directory(profile, ec) ||
        (!fs::exists(properties, ec) && !fs::is_directory(nodes, ec))) {
        *error = "no device profile at " + dir + " (it needs a properties file or an fs folder)";
        return false;
    }
    if (fs::is_directory(nodes, ec) && !sandbox::checkRoot(nodes.string(), error)) return false;
    // An in-place run keeps the profile for itself; a copy waits until none writes to it.
    if (!lock(profile.string(), inPlace ? LOCK_EX : LOCK_SH, error)) return false;
    props::clear();
    int badLine = 0;
    if (fs::exists(properties, ec) && !props::loadFile(properties, &badLine)) {
        *error = properties.string() + ":" + std::to_string(badLine) +
                 ": neither '[key]: [value]' nor 'key=value'";
        if (badLine == 0) *error = "cannot read " + properties.string();
        return false;
    }
    std::string root;
    if (inPlace) {
        fs::create_directories(nodes, ec);
        root = nodes.string();
    } else {
        const char* tmp = getenv("TMPDIR");
        std::string pattern = std::string(tmp && *tmp ? tmp : "/tmp") + "/tevctl.XXXXXX";
        if (mkdtemp(&pattern[0]) == nullptr) {
            *error = "cannot make a scratch folder in " + pattern;
            return false;
        }
        mScratch = pattern;
        cleanup::removeAtExit(mScratch);
        root = mScratch;
        if (fs::is_directory(nodes, ec)) {
            fs::copy(nodes, root, fs::copy_options::recursive | fs::copy_options::copy_symlinks, ec);
            if (ec) {
                *error = "cannot copy " + nodes.string() + ": " + ec.message();
                return false;
            }
        }
        unlock();
    }
    sandbox::reset();
    sandbox::setRoot(root);
    std::vector<Driver> drivers;
    if (!loadDrivers((profile / "drivers").string(), &drivers, error)) return false;
    declare(drivers);
    return loadOptional(profile / "sensorcal", sensorcal::loadFile, error) &&
           loadOptional(profile / "hall", hall::loadFile, error);
}

void Profile::close() {
    unlock();
    if (mScratch.empty()) return;
    sandbox::setRoot("");
    cleanup::removeNow();
    mScratch.clear();
}

bool Profile::lock(const std::string& profile, int how, std::string* error) {
    unlock();
    mLock = ::open(profile.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (mLock < 0) {
        *error = "cannot open " + profile + ": " + strerror(errno);
        return false;
    }
    if (flock(mLock, how | LOCK_NB) == 0) return true;
    if (errno == EWOULDBLOCK && mOnWait) {
        mOnWait(mDir + " is in use by an --in-place run; waiting for it to end");
    }
    while (flock(mLock, how) != 0) {
        if (errno != EINTR) {
            *error = "cannot lock " + profile + ": " + strerror(errno);
            unlock();
            return false;
        }
    }
    return true;
}

void Profile::unlock() {
    if (mLock < 0) return;
    ::close(mLock);  // lets go of the lock
    mLock = -1;
}

bool Profile::writeNode(const std::string& path, const std::string& content, std::string* error) {
    return sandbox::writeNode(path, content, error);
}

bool Profile::removeNode(const std::string& path, std::string* error) {
    return sandbox::removeNode(path, error);
}

}  // namespace tevhost::profile
