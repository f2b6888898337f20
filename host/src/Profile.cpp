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

// Whether the profile has the file |file|: false when it has none; an error when it is there but
// is no file (a folder, say) or cannot be read.
bool hasFile(const fs::path& file, bool* present, std::string* error) {
    std::error_code ec;
    *present = fs::exists(fs::symlink_status(file, ec));
    if (!*present) return true;
    fs::file_status status = fs::status(file, ec);
    if (ec) {
        *error = "cannot read " + file.string() + ": " + ec.message();
        return false;
    }
    if (!fs::is_regular_file(status)) {
        *error = file.string() + " is " +
                 (fs::is_directory(status) ? "a folder" : "not a regular file") +
                 ", where a file is expected";
        return false;
    }
    std::ifstream in(file);
    if (!in) {
        *error = "cannot read " + file.string() + ": " + strerror(errno);
        return false;
    }
    return true;
}

// Copies the node tree |from| into the folder |to| (links as links), naming the entry that cannot
// be copied.
bool copyTree(const fs::path& from, const fs::path& to, std::string* error) {
    std::error_code ec;
    fs::recursive_directory_iterator entry(from, ec);
    for (; !ec && entry != fs::recursive_directory_iterator(); entry.increment(ec)) {
        fs::path target = to / entry->path().lexically_relative(from);
        fs::file_status status = entry->symlink_status(ec);
        std::string problem;
        if (ec) {
            problem = ec.message();
        } else if (fs::is_directory(status)) {
            fs::create_directory(target, ec);
        } else if (fs::is_symlink(status)) {
            fs::copy_symlink(entry->path(), target, ec);
        } else if (fs::is_regular_file(status)) {
            fs::copy_file(entry->path(), target, ec);
        } else {
            problem = "not a file, folder or link";
        }
        if (ec && problem.empty()) problem = ec.message();
        if (!problem.empty()) {
            *error = "cannot copy " + entry->path().string() + ": " + problem;
            return false;
        }
    }
    if (ec) {
        *error = "cannot copy " + from.string() + ": " + ec.message();
        return false;
    }
    return true;
}

// The properties, and the answers of the closed calibration library and the sibling sensor
// service (a profile without a "hall" file has no sibling service at all): "FILE:LINE: what".
bool loadKeyValues(const fs::path& file, bool (*load)(const std::string&, int*, std::string*),
                   std::string* error) {
    bool present = false;
    if (!hasFile(file, &present, error)) return false;
    if (!present) return true;
    int badLine = 0;
    std::string problem;
    if (load(file.string(), &badLine, &problem)) return true;
    *error = file.string() + (badLine == 0 ? "" : ":" + std::to_string(badLine)) + ": " + problem;
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
    std::vector<std::string> words;
    if (!text::splitWords(line, &words, error)) return false;
    if (words.size() < 2 || words.size() > 3) {
        *error = what + " needs PATH WORD REPLY" +
                 (words.size() > 3 ? " (a REPLY with blanks in quotes)" : "");
        return false;
    }
    driver->path = sandbox::devicePath(words[0]);
    if (driver->path.empty()) {
        *error = "'" + words[0] + "' is not a device path (/sys, /proc or /d)";
        return false;
    }
    driver->word = words[1];
    driver->reply = words.size() == 3 ? words[2] : "";
    return true;
}

bool loadDrivers(const std::string& file, std::vector<Driver>* drivers, std::string* error) {
    bool present = false;
    if (!hasFile(file, &present, error)) return false;
    if (!present) return true;  // the file is optional
    std::ifstream in(file);
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
    if (in.bad()) {
        *error = "cannot read " + file + " after line " + std::to_string(number);
        return false;
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
    std::error_code kind;
    if (fs::exists(fs::symlink_status(nodes, kind)) && !fs::is_directory(nodes, kind)) {
        *error = nodes.string() + " is not a folder, where the nodes' folder is expected";
        return false;
    }
    if (fs::is_directory(nodes, ec) && !sandbox::checkRoot(nodes.string(), error)) return false;
    // An in-place run keeps the profile for itself; a copy waits until none writes to it.
    if (!lock(profile.string(), inPlace ? LOCK_EX : LOCK_SH, error)) return false;
    props::clear();
    if (!loadKeyValues(properties, props::loadFile, error)) return false;
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
            if (!copyTree(nodes, root, error)) return false;
        }
        unlock();
    }
    sandbox::reset();
    sandbox::setRoot(root);
    std::vector<Driver> drivers;
    if (!loadDrivers((profile / "drivers").string(), &drivers, error)) return false;
    declare(drivers);
    return loadKeyValues(profile / "sensorcal", sensorcal::loadFile, error) &&
           loadKeyValues(profile / "hall", hall::loadFile, error);
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

}  // namespace tevhost::profile
