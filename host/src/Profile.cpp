#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <tevhost/Cleanup.h>
#include <tevhost/FakeSensorService.h>
#include <tevhost/Profile.h>
#include <tevhost/Properties.h>
#include <tevhost/Sandbox.h>
#include <tevhost/SensorCal.h>
#include <tevhost/Text.h>

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <utility>

#ifndef TEVHOST_DEVICES_DIR
#define TEVHOST_DEVICES_DIR "devices"
#endif

namespace fs = std::filesystem;

namespace tevhost::profile {

namespace {

// The largest node or profile file that loads: a kernel node is a page or a few, and a bound here
// bounds every read of a node and the scratch copy (a sparse node of gigabytes is refused, not
// copied densely).
constexpr off_t kMaxFileBytes = 1 << 20;

// A descriptor that is closed when it goes.
class Fd {
  public:
    explicit Fd(int fd = -1) : mFd(fd) {}
    ~Fd() {
        if (mFd >= 0) ::close(mFd);
    }
    Fd(const Fd&) = delete;
    Fd& operator=(Fd&& other) noexcept {
        std::swap(mFd, other.mFd);
        return *this;
    }
    int get() const { return mFd; }
    int release() { return std::exchange(mFd, -1); }

  private:
    int mFd;
};

// The path through which |fd| opens again: the same file, whatever its name now names.
std::string reopenPath(int fd) {
    return "/proc/self/fd/" + std::to_string(fd);
}

// Opens the entry |name| of the folder |dir| without following a link: an O_PATH descriptor of
// the entry itself, which is then checked, and read or copied through reopenPath(), so that no
// swap of the name between the check and the copy changes what is copied.
int openEntry(int dir, const char* name) {
    return openat(dir, name, O_PATH | O_NOFOLLOW | O_CLOEXEC);
}

std::string kindOf(const struct stat& st) {
    if (S_ISLNK(st.st_mode)) return "a link";
    if (S_ISDIR(st.st_mode)) return "a folder";
    if (S_ISFIFO(st.st_mode)) return "a FIFO";
    if (S_ISSOCK(st.st_mode)) return "a socket";
    if (S_ISCHR(st.st_mode) || S_ISBLK(st.st_mode)) return "a device file";
    return S_ISREG(st.st_mode) ? "a file" : "neither a file nor a folder";
}

std::string tooBig(const std::string& file) {
    return file + ": over " + std::to_string(kMaxFileBytes >> 20) +
           " MiB; a profile's nodes and files are at most that";
}

// The profile's own file |name| (properties, drivers, sensorcal, hall): a plain file of the
// profile, never a link. |path| is where it reads from (a descriptor's reopenPath()), empty when
// the profile has none; |held| keeps the descriptor open.
bool profileFile(int profile, const fs::path& file, Fd* held, std::string* path,
                 std::string* error) {
    path->clear();
    Fd entry(openEntry(profile, file.filename().c_str()));
    if (entry.get() < 0 && errno == ENOENT) return true;
    struct stat st;
    if (entry.get() < 0 || fstat(entry.get(), &st) != 0) {
        *error = "cannot read " + file.string() + ": " + strerror(errno);
        return false;
    }
    if (!S_ISREG(st.st_mode)) {
        *error = file.string() + " is " + kindOf(st) + ", where a file of the profile is expected";
        return false;
    }
    if (st.st_size > kMaxFileBytes) {
        *error = tooBig(file.string());
        return false;
    }
    *path = reopenPath(entry.get());
    *held = std::move(entry);
    return true;
}

// Checks the node tree |from| (named |top| in messages) and, when |to| is a folder, copies it
// there, both from descriptors opened once per entry, never through a link: only folders, files
// and relative links that stay in the tree, folders nested at most as deeply as the scratch
// copy's removal reaches, files of at most kMaxFileBytes. With |inPlace| the service writes the
// files themselves, so a file with another name elsewhere (a hard link) is refused.
class TreeWalk {
  public:
    TreeWalk(const fs::path& top, bool inPlace, std::string* error)
        : mTop(top), mInPlace(inPlace), mError(error) {}

    bool folder(int from, int to, const fs::path& at, int depth) {
        if (depth >= cleanup::kMaxDepth) {
            return fail(at,
                        "folders nested more than " + std::to_string(cleanup::kMaxDepth) + " deep");
        }
        DIR* listing = fdopendir(dup(from));
        if (listing == nullptr) return fail(at, strerror(errno));
        std::vector<std::string> names;
        while (struct dirent* e = readdir(listing)) {
            if (strcmp(e->d_name, ".") != 0 && strcmp(e->d_name, "..") != 0) {
                names.emplace_back(e->d_name);
            }
        }
        closedir(listing);
        for (const std::string& name : names) {
            if (!entry(from, to, name, at / name, depth)) return false;
        }
        return true;
    }

  private:
    bool fail(const fs::path& at, const std::string& what) {
        *mError = (mTop / at).string() + ": " + what;
        return false;
    }
    // An entry no node tree holds.
    bool refuse(const fs::path& at, const std::string& what) {
        return fail(at, what + "; a profile's fs/ holds only folders, files and links that stay "
                               "inside it");
    }

    bool entry(int from, int to, const std::string& name, const fs::path& at, int depth) {
        Fd entry(openEntry(from, name.c_str()));
        struct stat st;
        if (entry.get() < 0 || fstat(entry.get(), &st) != 0) return fail(at, strerror(errno));
        if (S_ISDIR(st.st_mode)) {
            Fd inner(::open(reopenPath(entry.get()).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
            if (inner.get() < 0) return fail(at, strerror(errno));
            Fd copy;
            if (to >= 0) {
                if (mkdirat(to, name.c_str(), 0755) != 0) return fail(at, strerror(errno));
                copy = Fd(openat(to, name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
                if (copy.get() < 0) return fail(at, strerror(errno));
            }
            return folder(inner.get(), copy.get(), at, depth + 1);
        }
        if (S_ISLNK(st.st_mode)) return link(entry.get(), to, name, at);
        if (!S_ISREG(st.st_mode)) {
            return refuse(at, kindOf(st));
        }
        if (st.st_size > kMaxFileBytes) {
            *mError = tooBig((mTop / at).string());
            return false;
        }
        if (mInPlace && st.st_nlink > 1) {
            return fail(at, "a file with " + std::to_string(st.st_nlink) +
                                    " names (hard links), which --in-place would change "
                                    "everywhere; run on a copy of the profile");
        }
        return to < 0 || copyFile(entry.get(), to, name, st, at);
    }

    // A relative link whose target stays in the tree, copied as the link it is.
    bool link(int entry, int to, const std::string& name, const fs::path& at) {
        char target[PATH_MAX];
        const ssize_t n = readlinkat(entry, "", target, sizeof(target) - 1);
        if (n < 0) return fail(at, strerror(errno));
        target[n] = '\0';
        const fs::path landing = (at.parent_path() / target).lexically_normal();
        if (target[0] == '/') {
            return refuse(at, std::string("a link to an absolute path (") + target + ")");
        }
        if (landing.empty() || *landing.begin() == "..") {
            return refuse(at, std::string("a link out of it (") + target + ")");
        }
        if (to >= 0 && symlinkat(target, to, name.c_str()) != 0) return fail(at, strerror(errno));
        return true;
    }

    // The bytes of the file |entry| as they are read now, at most kMaxFileBytes of them.
    bool copyFile(int entry, int to, const std::string& name, const struct stat& st,
                  const fs::path& at) {
        Fd in(::open(reopenPath(entry).c_str(), O_RDONLY | O_CLOEXEC));
        Fd out(openat(to, name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
        if (in.get() < 0 || out.get() < 0) return fail(at, strerror(errno));
        char buffer[65536];
        off_t copied = 0;
        for (ssize_t n; (n = read(in.get(), buffer, sizeof(buffer))) != 0;) {
            if (n < 0) return fail(at, strerror(errno));
            copied += n;
            if (copied > kMaxFileBytes) {
                *mError = tooBig((mTop / at).string());
                return false;
            }
            if (write(out.get(), buffer, static_cast<size_t>(n)) != n) {
                return fail(at, "cannot copy it: " + std::string(strerror(errno)));
            }
        }
        fchmod(out.get(), st.st_mode & 07777);
        return true;
    }

    const fs::path mTop;
    const bool mInPlace;
    std::string* mError;
};

// The properties, and the answers of the closed calibration library and the sibling sensor
// service (a profile without a "hall" file has no sibling service at all): "FILE:LINE: what".
bool loadKeyValues(int profile, const fs::path& file,
                   bool (*load)(const std::string&, int*, std::string*), std::string* error) {
    Fd held;
    std::string path;
    if (!profileFile(profile, file, &held, &path, error)) return false;
    if (path.empty()) return true;
    int badLine = 0;
    std::string problem;
    if (load(path, &badLine, &problem)) return true;
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

std::string bundledNames() {
    std::vector<std::string> names;
    std::error_code ec;
    for (fs::directory_iterator it(bundledDir(), ec); !ec && it != fs::directory_iterator();
         it.increment(ec)) {
        if (it->is_directory(ec)) names.push_back(it->path().filename().string());
    }
    std::sort(names.begin(), names.end());
    std::string joined;
    for (const std::string& name : names) joined += (joined.empty() ? "" : ", ") + name;
    return joined.empty() ? "none" : joined;
}

std::string resolve(const std::string& arg, std::string* notice) {
    std::error_code ec;
    const bool local = fs::is_directory(arg, ec);
    std::string bundled = bundledDir() + "/" + arg;
    const bool named = arg.find('/') == std::string::npos && fs::is_directory(bundled, ec);
    if (local && named && notice) {
        *notice = "the folder ./" + arg + " is used, not the bundled profile " + arg + " (" +
                  bundled + ")";
    }
    if (local) return arg;
    return named ? bundled : arg;
}

bool isBundled(const std::string& dir) {
    std::error_code ec;
    const fs::path parent = fs::weakly_canonical(fs::absolute(dir, ec), ec).parent_path();
    return !ec && fs::equivalent(parent, bundledDir(), ec);
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

namespace {

// The drivers of the profile's "drivers" file, read from the descriptor of the profile folder.
bool loadDriversAt(int profile, const fs::path& file, std::vector<Driver>* drivers,
                   std::string* error) {
    Fd held;
    std::string path;
    if (!profileFile(profile, file, &held, &path, error)) return false;
    if (path.empty()) return true;  // the file is optional
    std::ifstream in(path);
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
            *error = file.string() + ":" + std::to_string(number) + ": " + problem;
            return false;
        }
        drivers->push_back(std::move(driver));
    }
    if (in.bad()) {
        *error = "cannot read " + file.string() + " after line " + std::to_string(number);
        return false;
    }
    return true;
}

}  // namespace

bool loadDrivers(const std::string& file, std::vector<Driver>* drivers, std::string* error) {
    const fs::path path(file);
    Fd profile(::open(path.parent_path().empty() ? "." : path.parent_path().c_str(),
                      O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (profile.get() < 0) {
        *error = "cannot read " + file + ": " + strerror(errno);
        return false;
    }
    return loadDriversAt(profile.get(), path, drivers, error);
}

void declare(const std::vector<Driver>& drivers) {
    for (const Driver& d : drivers) sandbox::respond(d.path, d.word, d.reply);
}

Profile::~Profile() {
    close();
}

bool Profile::open(const std::string& dir, bool inPlace, std::string* error) {
    close();
    std::error_code ec;
    mDir = dir;
    fs::path profile = fs::absolute(dir, ec);
    fs::path nodesName = profile / "fs";
    Fd top(::open(profile.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    struct stat st;
    const bool hasNodes = top.get() >= 0 && fstatat(top.get(), "fs", &st, AT_SYMLINK_NOFOLLOW) == 0;
    if (top.get() < 0 ||
        (!hasNodes && fstatat(top.get(), "properties", &st, AT_SYMLINK_NOFOLLOW) != 0)) {
        *error = "no device profile at " + dir +
                 " (it needs a properties file or an fs folder; bundled: " + bundledNames() + ")";
        return false;
    }
    if (hasNodes && !S_ISDIR(st.st_mode)) {
        *error = nodesName.string() + " is " + kindOf(st) +
                 ", where the nodes' folder of the profile is expected";
        return false;
    }
    // An in-place run keeps the profile for itself; a copy waits until none writes to it.
    if (!lock(profile.string(), inPlace ? LOCK_EX : LOCK_SH, error)) return false;
    props::clear();
    if (!loadKeyValues(top.get(), profile / "properties", props::loadFile, error)) return false;
    if (inPlace && !hasNodes) mkdirat(top.get(), "fs", 0755);
    Fd nodes(openat(top.get(), "fs", O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (nodes.get() < 0 && (inPlace || hasNodes)) {
        // Made a link since it was looked at (while the load waited for the profile, say).
        *error = errno == ELOOP || errno == ENOTDIR
                         ? nodesName.string() + " is not a folder of the profile"
                         : "cannot read " + nodesName.string() + ": " + strerror(errno);
        return false;
    }
    TreeWalk walk(nodesName, inPlace, error);
    std::string root;
    if (inPlace) {
        if (!walk.folder(nodes.get(), -1, "", 0)) return false;
        // The folder just checked, whatever its name names from now on.
        root = reopenPath(nodes.get());
        mNodes = nodes.release();
    } else {
        const char* tmp = getenv("TMPDIR");
        mScratch = cleanup::makeScratch(tmp && *tmp ? tmp : "/tmp", "tevctl", error);
        if (mScratch.empty()) return false;
        root = mScratch;
        Fd scratch(::open(mScratch.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
        if (scratch.get() < 0) {
            *error = "cannot open the scratch folder " + mScratch + ": " + strerror(errno);
            return false;
        }
        if (nodes.get() >= 0 && !walk.folder(nodes.get(), scratch.get(), "", 0)) return false;
        unlock();
    }
    sandbox::reset();
    sandbox::setRoot(root);
    std::vector<Driver> drivers;
    if (!loadDriversAt(top.get(), profile / "drivers", &drivers, error)) return false;
    declare(drivers);
    return loadKeyValues(top.get(), profile / "sensorcal", sensorcal::loadFile, error) &&
           loadKeyValues(top.get(), profile / "hall", hall::loadFile, error);
}

void Profile::close() {
    unlock();
    if (mScratch.empty() && mNodes < 0) return;
    sandbox::setRoot("");
    if (mNodes >= 0) ::close(mNodes);
    mNodes = -1;
    if (mScratch.empty()) return;
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
