// The device sandbox: interposes the libc entry points through which the product (and libstdc++
// on its behalf) reaches device nodes, resolves the paths it names inside the device root as a
// chroot would, gives the nodes there the kernel's semantics, journals what is written, plays
// declared drivers, and runs sleep on a virtual clock.
// Interposed definitions must not meet glibc's fortified inline wrappers.
#undef _FORTIFY_SOURCE

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <linux/openat2.h>
#include <stdio.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <tevhost/Sandbox.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdarg>
#include <cstring>
#include <deque>
#include <filesystem>
#include <map>
#include <mutex>
#include <set>
#include <unordered_map>

namespace tevhost {
namespace sandbox {
namespace {

// A sysfs attribute shows at most one page.
constexpr size_t kSysfsPage = 4096;
// Inside the root: ".." stops at it, links resolve in it, magic links are not followed.
constexpr uint64_t kInRoot = RESOLVE_IN_ROOT | RESOLVE_NO_MAGICLINKS;
// The process's own /proc entries are the host's, but never through a magic link.
constexpr uint64_t kOwnProc = RESOLVE_NO_MAGICLINKS;
// The file status flags fcntl(F_SETFL) can change.
constexpr int kStatusFlags = O_APPEND | O_ASYNC | O_DIRECT | O_NOATIME | O_NONBLOCK;

// Which of the kernel's trees a path (without its leading '/') is in.
enum class Tree { kNone, kSys, kProc, kDebug, kOwnProc };

// Where a path the caller named resolves.
enum class Where {
    kHost,     // the caller's own path, untouched
    kOwnProc,  // the process's own /proc entry on the host, without magic links
    kRoot,     // inside the device root
    kRefused,  // relative to a folder outside the root, from the service
};

struct OpenNode {
    std::string devicePath;  // "/sys/...", "." and ".." taken: journal, drivers
    std::string resolve;     // the path as resolved from the root: what *at() calls join onto
    bool node = false;       // in /sys, /proc or /d
    bool full = false;       // refuses every write
    std::string written;     // every byte written in this open-to-close session
};

struct Driver {
    std::string word;
    std::string reply;
};

struct State {
    std::mutex lock;
    std::string root;
    std::vector<Write> journal;
    bool recordReached = false;
    std::vector<std::string> reached;
    std::set<std::string> denied;
    std::set<std::string> full;
    std::multimap<std::string, Driver> drivers;
    std::unordered_map<int, OpenNode> fds;
    bool virtualClock = false;
    std::vector<double> sleeps;
    double now = 0;
    std::function<void(double)> hook;
    std::function<void(double, bool)> notifier;
    std::function<void(const std::string&)> watcher;
};

State& state() {
    static State* s = new State;  // never destroyed: libc calls may arrive during exit
    return *s;
}

std::atomic<bool> gActive{false};
std::atomic<int> gRootFd{-1};
std::atomic<int> gTracked{0};
std::atomic<bool> gVirtual{false};

thread_local int tServiceDepth = 0;
thread_local int tHostDepth = 0;

template <typename Fn>
Fn real(const char* name) {
    return reinterpret_cast<Fn>(dlsym(RTLD_NEXT, name));
}

int realClose(int fd) {
    static auto fn = real<int (*)(int)>("close");
    return fn(fd);
}

bool followedByEnd(const char* p) {
    return *p == '\0' || *p == '/';
}

bool isOwnPid(const char* digits, size_t length) {
    std::string pid = std::to_string(getpid());
    return length == pid.size() && strncmp(digits, pid.data(), length) == 0;
}

// The tree of |rel|, a path without its leading '/' ("sys/...", "proc/self/...").
Tree treeOf(const char* rel) {
    while (*rel == '/') ++rel;
    if (strncmp(rel, "sys", 3) == 0 && followedByEnd(rel + 3)) return Tree::kSys;
    if (strncmp(rel, "d", 1) == 0 && followedByEnd(rel + 1)) return Tree::kDebug;
    if (strncmp(rel, "proc", 4) != 0 || !followedByEnd(rel + 4)) return Tree::kNone;
    const char* rest = rel + 4;
    while (*rest == '/') ++rest;
    if (strncmp(rest, "self", 4) == 0 && followedByEnd(rest + 4)) return Tree::kOwnProc;
    if (strncmp(rest, "thread-self", 11) == 0 && followedByEnd(rest + 11)) return Tree::kOwnProc;
    const char* digits = rest;
    while (*digits >= '0' && *digits <= '9') ++digits;
    if (digits != rest && followedByEnd(digits) && isOwnPid(rest, digits - rest)) {
        return Tree::kOwnProc;
    }
    return Tree::kProc;
}

bool isNodeTree(Tree tree) {
    return tree == Tree::kSys || tree == Tree::kProc || tree == Tree::kDebug;
}

// |path| as an absolute path on the handset, taken from |base| when relative: empty and "."
// components dropped, ".." stopping at "/". Symbolic links are not followed.
std::string normalize(const std::string& base, const char* path) {
    std::string out;
    std::string joined = path[0] == '/' ? std::string(path) : base + "/" + path;
    const char* p = joined.c_str();
    while (*p != '\0') {
        while (*p == '/') ++p;
        const char* start = p;
        while (*p != '\0' && *p != '/') ++p;
        size_t length = static_cast<size_t>(p - start);
        if (length == 0 || (length == 1 && start[0] == '.')) continue;
        if (length == 2 && start[0] == '.' && start[1] == '.') {
            out.erase(out.rfind('/') == std::string::npos ? 0 : out.rfind('/'));
            continue;
        }
        out += '/';
        out.append(start, length);
    }
    return out.empty() ? "/" : out;
}

bool inServiceNow() {
    return tServiceDepth > 0 && tHostDepth == 0;
}

struct Mapped {
    Where where = Where::kHost;
    bool node = false;   // a kernel node: in /sys, /proc or /d
    bool sysfs = false;  // in /sys
    bool denied = false;
    bool full = false;
    std::string devicePath;      // the path on the handset, "." and ".." taken
    std::string resolve;         // what openat2 resolves (from the root, or on the host)
    const char* path = nullptr;  // the caller's own path, for kHost
};

void placeInRoot(Mapped* m, std::string devicePath, std::string resolve) {
    Tree tree = treeOf(devicePath.c_str() + 1);
    m->where = Where::kRoot;
    m->node = isNodeTree(tree);
    m->sysfs = tree == Tree::kSys;
    m->devicePath = std::move(devicePath);
    m->resolve = std::move(resolve);
}

// Where |path| (relative to |dirfd| when that is not AT_FDCWD) resolves for the calling thread.
Mapped map(int dirfd, const char* path) {
    Mapped m;
    m.path = path;
    if (!gActive.load(std::memory_order_acquire) || path == nullptr || path[0] == '\0') return m;
    bool service = inServiceNow();
    if (path[0] != '/' && dirfd != AT_FDCWD) {
        // Relative to a folder: one opened in the root keeps the path there.
        if (gTracked.load() > 0) {
            State& s = state();
            std::lock_guard<std::mutex> guard(s.lock);
            auto it = s.fds.find(dirfd);
            if (it != s.fds.end()) {
                placeInRoot(&m, normalize(it->second.devicePath, path),
                            it->second.resolve + "/" + path);
            }
        }
        if (m.where == Where::kHost && service) m.where = Where::kRefused;
        if (m.where != Where::kRoot) return m;
    } else {
        Tree named = treeOf(path);  // the tree the path starts in, before ".." is taken
        if (!service && (named == Tree::kNone || named == Tree::kOwnProc)) return m;
        std::string device = normalize("", path);
        Tree tree = treeOf(device.c_str() + 1);
        if (tree == Tree::kOwnProc) {
            // The host's, and for the tool as it named it.
            if (!service) return m;
            m.where = Where::kOwnProc;
            m.devicePath = device;
            m.resolve = path[0] == '/' ? std::string(path) : device;
            return m;
        }
        // A path that left the process's own entries through ".." resolves from where it landed.
        placeInRoot(&m, device, named == Tree::kOwnProc ? device : std::string(path));
    }
    State& s = state();
    std::lock_guard<std::mutex> guard(s.lock);
    if (s.root.empty()) return Mapped{Where::kHost, false, false, false, false, {}, {}, path};
    m.denied = s.denied.count(m.devicePath) > 0;
    m.full = s.full.count(m.devicePath) > 0;
    if (s.recordReached) s.reached.push_back(m.devicePath);
    return m;
}

int failWith(int error) {
    errno = error;
    return -1;
}

// Where the kernel has no openat2 (or an emulator such as qemu-user does not pass it on), the same
// walk done here: every component is looked up from the root's descriptor with no link in the
// part already walked, ".." stops at the root, and a symbolic link is replaced by its target, an
// absolute one read from the root. Raw system calls: the interposed entry points are ours.
// With |ownProc| the walk is on the host, through the process's own /proc entries: there only
// "self" and "thread-self" are followed, every other link there may be a magic one (fd/N, cwd,
// root) and is refused.
int openInRoot(int rootFd, const std::string& path, int flags, mode_t mode, bool ownProc = false) {
    std::deque<std::string> todo;
    auto prepend = [&todo](const std::string& text) {
        std::vector<std::string> parts;
        size_t start = 0;
        for (size_t slash; (slash = text.find('/', start)) != std::string::npos; start = slash + 1) {
            parts.push_back(text.substr(start, slash - start));
        }
        parts.push_back(text.substr(start));
        todo.insert(todo.begin(), parts.begin(), parts.end());
    };
    std::vector<std::string> walked;
    auto joined = [&walked] {
        std::string p;
        for (const std::string& part : walked) p += (p.empty() ? "" : "/") + part;
        return p.empty() ? std::string(".") : p;
    };
    prepend(path);
    int links = 0;
    while (!todo.empty()) {
        std::string part = todo.front();
        todo.pop_front();
        if (part.empty() || part == ".") continue;
        if (part == "..") {
            if (!walked.empty()) walked.pop_back();
            continue;
        }
        walked.push_back(part);
        if (todo.empty() && (flags & O_NOFOLLOW)) break;
        struct stat st;
        std::string here = joined();
        if (syscall(SYS_newfstatat, rootFd, here.c_str(), &st, AT_SYMLINK_NOFOLLOW) != 0 ||
            !S_ISLNK(st.st_mode)) {
            continue;
        }
        if (++links > 40) return failWith(ELOOP);
        if (ownProc && here != "proc/self" && here != "proc/thread-self") return failWith(ELOOP);
        char target[PATH_MAX];
        long n = syscall(SYS_readlinkat, rootFd, here.c_str(), target, sizeof(target) - 1);
        if (n < 0) return -1;
        target[n] = '\0';
        walked.pop_back();
        if (target[0] == '/') walked.clear();
        prepend(target);
    }
    return static_cast<int>(syscall(SYS_openat, rootFd, joined().c_str(), flags | O_NOFOLLOW, mode));
}

// openat2 on the root (or, for the process's own entries, on the host); where the kernel has no
// openat2, the same walk by hand.
int resolveOpen(const Mapped& m, int flags, mode_t mode) {
    struct open_how how = {};
    how.flags = static_cast<uint64_t>(static_cast<unsigned>(flags));
    how.mode = (flags & O_CREAT) || (flags & O_TMPFILE) == O_TMPFILE ? (mode & 07777) : 0;
    int dirfd = AT_FDCWD;
    if (m.where == Where::kOwnProc) {
        how.resolve = kOwnProc;
    } else {
        how.resolve = kInRoot;
        dirfd = gRootFd.load();
        if (dirfd < 0) return failWith(ENOENT);
    }
    // TEVHOST_NO_OPENAT2 takes the walk by hand on any kernel, so that it is tested too.
    static const bool kNoOpenat2 = getenv("TEVHOST_NO_OPENAT2") != nullptr;
    int fd = kNoOpenat2 ? failWith(ENOSYS)
                        : static_cast<int>(syscall(SYS_openat2, dirfd, m.resolve.c_str(), &how,
                                                   sizeof(how)));
    if (fd >= 0 || errno != ENOSYS) return fd;
    if (m.where == Where::kOwnProc) {
        int host = static_cast<int>(syscall(SYS_openat, AT_FDCWD, "/", O_PATH | O_CLOEXEC));
        if (host < 0) return -1;
        fd = openInRoot(host, m.resolve, flags, static_cast<mode_t>(how.mode), true);
        int saved = errno;
        realClose(host);
        errno = saved;
        return fd;
    }
    return openInRoot(dirfd, m.resolve, flags, static_cast<mode_t>(how.mode));
}

// A copy of the first page of |fd| (a sysfs attribute shows no more), or |fd| when it fits.
int boundToOnePage(int fd, const struct stat& st, int flags) {
    if (static_cast<size_t>(st.st_size) <= kSysfsPage) return fd;
    int page = memfd_create("tevhost-node", (flags & O_CLOEXEC) ? MFD_CLOEXEC : 0);
    if (page < 0) return fd;
    char bytes[kSysfsPage];
    ssize_t n = pread(fd, bytes, sizeof(bytes), 0);
    if (n < 0 || pwrite(page, bytes, static_cast<size_t>(n), 0) != n) {
        realClose(page);
        return fd;
    }
    realClose(fd);
    return page;
}

void track(int fd, const Mapped& m) {
    State& s = state();
    std::lock_guard<std::mutex> guard(s.lock);
    auto it = s.fds.find(fd);
    if (m.where == Where::kRoot) {
        if (it == s.fds.end()) gTracked.fetch_add(1);
        OpenNode& node = s.fds[fd];
        node.devicePath = m.devicePath;
        node.resolve = m.resolve;
        node.node = m.node;
        node.full = m.full;
        node.written.clear();
    } else if (it != s.fds.end()) {
        // The number was reused behind our back (a descriptor closed by a path we do not see).
        s.fds.erase(it);
        gTracked.fetch_sub(1);
    }
}

std::atomic<int> gWatchedFd{-1};

// Hands the bytes written to the watched descriptor to its watcher, outside the lock: the watcher
// may write itself.
void tellWatcher(int fd, const void* data, size_t size) {
    if (fd != gWatchedFd.load() || size == 0) return;
    std::function<void(const std::string&)> watcher;
    {
        std::lock_guard<std::mutex> guard(state().lock);
        watcher = state().watcher;
    }
    if (watcher) watcher(std::string(static_cast<const char*>(data), size));
}

void trackNew(int fd, const Mapped& m) {
    if (fd >= 0 && (m.where == Where::kRoot || gTracked.load() > 0)) track(fd, m);
}

// Opens what |m| names with |flags|. Nodes are never created nor appended to; only regular files
// and folders open (a FIFO would hang the caller, a device would be the host's).
int openMapped(const Mapped& m, int flags, mode_t mode) {
    if (m.where == Where::kRefused) return failWith(EXDEV);
    if (m.denied) return failWith(EACCES);
    if (m.node) flags &= ~(O_CREAT | O_APPEND);
    int fd = resolveOpen(m, flags | O_NONBLOCK | O_NOCTTY, mode);
    // A FIFO without a reader or a socket: refused like any other node that is not a file.
    if (fd < 0) return errno == ENXIO ? failWith(EACCES) : -1;
    struct stat st;
    bool ok = fstat(fd, &st) == 0 && (S_ISREG(st.st_mode) || S_ISDIR(st.st_mode) ||
                                      ((flags & O_PATH) && S_ISLNK(st.st_mode)));
    if (!ok) {
        realClose(fd);
        return failWith(EACCES);
    }
    if (!(flags & (O_NONBLOCK | O_PATH))) fcntl(fd, F_SETFL, flags & kStatusFlags);
    if (m.sysfs && S_ISREG(st.st_mode) && (flags & O_ACCMODE) == O_RDONLY && !(flags & O_PATH)) {
        fd = boundToOnePage(fd, st, flags);
    }
    trackNew(fd, m);
    return fd;
}

// True when |fd| is a node that refuses every write (as /dev/full does).
bool refusesWrites(int fd) {
    if (gTracked.load() == 0) return false;
    State& s = state();
    std::lock_guard<std::mutex> guard(s.lock);
    auto it = s.fds.find(fd);
    return it != s.fds.end() && it->second.full;
}

// Records a write of |size| bytes to |fd|; true when |fd| is a node, whose value is then what was
// written since it opened.
bool journal(int fd, const void* data, size_t size) {
    if (gTracked.load() == 0 || size == 0) return false;
    State& s = state();
    std::lock_guard<std::mutex> guard(s.lock);
    auto it = s.fds.find(fd);
    if (it == s.fds.end()) return false;
    std::string bytes(static_cast<const char*>(data), size);
    if (it->second.node) it->second.written += bytes;
    s.journal.push_back({it->second.devicePath, std::move(bytes)});
    return it->second.node;
}

// A store replaces the node's value: what lies beyond what this session wrote goes.
void endValueAtOffset(int fd) {
    off_t end = lseek(fd, 0, SEEK_CUR);
    if (end >= 0 && ftruncate(fd, end) != 0) {
        // a node that takes no truncation keeps its tail; nothing to report
    }
}

// Forgets |fd|; returns true with |reply| when a declared driver answers what was written to it.
bool untrack(int fd, std::string* reply) {
    if (gTracked.load() == 0) return false;
    State& s = state();
    std::lock_guard<std::mutex> guard(s.lock);
    auto it = s.fds.find(fd);
    if (it == s.fds.end()) return false;
    OpenNode session = std::move(it->second);
    s.fds.erase(it);
    gTracked.fetch_sub(1);
    if (session.written.empty()) return false;
    auto range = s.drivers.equal_range(session.devicePath);
    for (auto d = range.first; d != range.second; ++d) {
        if (d->second.word == session.written) {
            *reply = d->second.reply;
            return true;
        }
    }
    return false;
}

// The driver's answer becomes the node's value, through the session's own descriptor (it was
// written to, so it is open for writing).
void playDriver(int fd, const std::string& reply) {
    size_t done = 0;
    while (done < reply.size()) {
        ssize_t n = pwrite(fd, reply.data() + done, reply.size() - done, static_cast<off_t>(done));
        if (n <= 0) break;
        done += static_cast<size_t>(n);
    }
    if (ftruncate(fd, static_cast<off_t>(done)) != 0) {
        // as above: the node keeps its tail
    }
}

// Untracks |fd| before it is really closed: once closed, another thread may get its number.
void beforeClose(int fd) {
    std::string reply;
    if (untrack(fd, &reply)) playDriver(fd, reply);
}

// Tells the notifier about the sleep; on the virtual clock also records it, calls the hook and
// returns true (the caller then returns at once), else returns false (the caller really sleeps).
bool sleepVirtually(double seconds) {
    bool virtualSleep = gVirtual.load();
    std::function<void(double, bool)> notifier;
    std::function<void(double)> hook;
    {
        State& s = state();
        std::lock_guard<std::mutex> guard(s.lock);
        notifier = s.notifier;
        if (virtualSleep) {
            s.sleeps.push_back(seconds);
            s.now += seconds;
            hook = s.hook;
        }
    }
    // The notifier and the hook are the host's code (a tool, a test acting as the driver).
    HostScope host;
    if (notifier) notifier(seconds, !virtualSleep);
    if (!virtualSleep) return false;
    if (hook) hook(seconds);
    return true;
}

bool wantsAccess(int mode) {
    return (mode & (R_OK | W_OK | X_OK)) != 0;
}

// An O_PATH descriptor of what |m| names (the link itself when |follow| is false), for the calls
// that take a path but open nothing.
int pathFd(const Mapped& m, bool follow) {
    if (m.where == Where::kRefused) return failWith(EXDEV);
    return resolveOpen(m, O_PATH | O_CLOEXEC | (follow ? 0 : O_NOFOLLOW), 0);
}

// A descriptor of |devicePath| ("/sys/...", no "." or ".." left) opened in the root.
int openInRoot(const std::string& devicePath, int flags, mode_t mode = 0) {
    Mapped m;
    m.where = Where::kRoot;
    m.resolve = devicePath;
    return resolveOpen(m, flags | O_CLOEXEC, mode);
}

// Makes every folder of |folder| (a device path) that is missing, resolving each in the root.
bool makeFolders(const std::string& folder) {
    if (folder.empty()) return true;
    size_t end = 0;
    while (end != std::string::npos) {
        end = folder.find('/', end + 1);
        std::string prefix = folder.substr(0, end);
        int fd = openInRoot(prefix, O_PATH | O_DIRECTORY);
        if (fd < 0 && errno == ENOENT) {
            size_t slash = prefix.rfind('/');
            int parent =
                    openInRoot(slash == 0 ? "/" : prefix.substr(0, slash), O_PATH | O_DIRECTORY);
            if (parent < 0) return false;
            static auto realMkdirat = real<int (*)(int, const char*, mode_t)>("mkdirat");
            int made = realMkdirat(parent, prefix.c_str() + slash + 1, 0755);
            realClose(parent);
            if (made != 0 && errno != EEXIST) return false;
            fd = openInRoot(prefix, O_PATH | O_DIRECTORY);
        }
        if (fd < 0) return false;
        realClose(fd);
    }
    return true;
}

// Removes |name| in the folder |parent| and, if it is a folder, all it holds, never following a
// link; folders that took away their own write permission are given it back first.
bool removeAt(int parent, const char* name) {
    static auto realOpenat = real<int (*)(int, const char*, int, ...)>("openat");
    static auto unlinkat = real<int (*)(int, const char*, int)>("unlinkat");
    if (unlinkat(parent, name, 0) == 0 || errno == ENOENT) return true;
    if (errno != EISDIR && errno != EPERM) return false;
    int dir = realOpenat(parent, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (dir < 0) return false;
    struct stat st;
    if (fstat(dir, &st) == 0 && !(st.st_mode & S_IWUSR)) fchmod(dir, st.st_mode | S_IRWXU);
    DIR* entries = fdopendir(dir);
    if (entries == nullptr) {
        realClose(dir);
        return false;
    }
    bool ok = true;
    while (struct dirent* e = readdir(entries)) {
        if (strcmp(e->d_name, ".") != 0 && strcmp(e->d_name, "..") != 0) {
            ok = removeAt(dirfd(entries), e->d_name) && ok;
        }
    }
    closedir(entries);
    return ok && unlinkat(parent, name, AT_REMOVEDIR) == 0;
}

}  // namespace

ServiceScope::ServiceScope() {
    ++tServiceDepth;
}

ServiceScope::~ServiceScope() {
    --tServiceDepth;
}

HostScope::HostScope() {
    ++tHostDepth;
}

HostScope::~HostScope() {
    --tHostDepth;
}

bool inService() {
    return inServiceNow();
}

void setRoot(const std::string& rootDir) {
    static auto realOpen = real<int (*)(const char*, int, ...)>("open");
    State& s = state();
    std::lock_guard<std::mutex> guard(s.lock);
    s.root = rootDir;
    while (s.root.size() > 1 && s.root.back() == '/') s.root.pop_back();
    int fd = s.root.empty() ? -1 : realOpen(s.root.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
    int old = gRootFd.exchange(fd);
    if (old >= 0) realClose(old);
    gActive.store(!s.root.empty(), std::memory_order_release);
}

std::string root() {
    std::lock_guard<std::mutex> guard(state().lock);
    return state().root;
}

std::string hostPath(const std::string& path) {
    Mapped m = map(AT_FDCWD, path.c_str());
    if (m.where != Where::kRoot) return path;
    std::lock_guard<std::mutex> guard(state().lock);
    return state().root + (m.devicePath == "/" ? "" : m.devicePath);
}

std::string devicePath(const std::string& path) {
    if (path.empty()) return "";
    std::string device = normalize("", path.c_str());
    return isNodeTree(treeOf(device.c_str() + 1)) ? device : std::string();
}

bool checkRoot(const std::string& dir, std::string* error) {
    namespace fs = std::filesystem;
    HostScope host;  // the tool's own look at the profile
    std::error_code ec;
    fs::path top = fs::path(dir).lexically_normal();
    for (auto it = fs::recursive_directory_iterator(top, ec); !ec && it != fs::end(it);
         it.increment(ec)) {
        fs::file_status st = it->symlink_status(ec);
        if (ec) break;
        std::string what;
        if (fs::is_symlink(st)) {
            fs::path target = fs::read_symlink(it->path(), ec);
            if (ec) break;
            fs::path landing = (it->path().parent_path() / target).lexically_normal();
            fs::path within = landing.lexically_relative(top);
            if (target.is_absolute()) {
                what = "a link to an absolute path (" + target.string() + ")";
            } else if (within.empty() || *within.begin() == "..") {
                what = "a link out of it (" + target.string() + ")";
            }
        } else if (fs::is_fifo(st)) {
            what = "a FIFO";
        } else if (fs::is_socket(st)) {
            what = "a socket";
        } else if (fs::is_block_file(st) || fs::is_character_file(st)) {
            what = "a device file";
        } else if (!fs::is_regular_file(st) && !fs::is_directory(st)) {
            what = "neither a file nor a folder";
        }
        if (!what.empty()) {
            *error = it->path().string() + ": " + what +
                     "; a profile's fs/ holds only folders, files and links that stay inside it";
            return false;
        }
    }
    if (ec) {
        *error = "cannot read " + dir + ": " + ec.message();
        return false;
    }
    return true;
}

namespace {
// The device path of a run-script edit's |path|, or "" with |error| when it leaves the node trees.
std::string nodePathOf(const std::string& path, std::string* error) {
    std::string device = devicePath(path);
    if (device.empty()) *error = "'" + path + "' is not a device path (/sys, /proc or /d)";
    return device;
}
}  // namespace

bool writeNode(const std::string& path, const std::string& content, std::string* error) {
    std::string device = nodePathOf(path, error);
    if (device.empty()) return false;
    size_t slash = device.rfind('/');
    int fd = -1;
    const int how = O_WRONLY | O_CREAT | O_TRUNC | O_NONBLOCK | O_NOCTTY;
    if (makeFolders(device.substr(0, slash))) fd = openInRoot(device, how, 0644);
    // A folder standing where the node goes is replaced, as any content is.
    if (fd < 0 && errno == EISDIR && removeNode(device, error)) fd = openInRoot(device, how, 0644);
    struct stat st;
    bool ok = fd >= 0 && fstat(fd, &st) == 0 && S_ISREG(st.st_mode);
    for (size_t done = 0; ok && done < content.size();) {
        ssize_t n =
                pwrite(fd, content.data() + done, content.size() - done, static_cast<off_t>(done));
        ok = n > 0;
        done += ok ? static_cast<size_t>(n) : 0;
    }
    if (fd >= 0) realClose(fd);
    if (!ok) *error = "cannot write " + device;
    return ok;
}

bool removeNode(const std::string& path, std::string* error) {
    std::string device = nodePathOf(path, error);
    if (device.empty()) return false;
    size_t slash = device.rfind('/');
    int parent = openInRoot(slash == 0 ? "/" : device.substr(0, slash), O_PATH | O_DIRECTORY);
    if (parent < 0 && errno == ENOENT) return true;  // nothing there to remove
    bool ok = parent >= 0 && removeAt(parent, device.c_str() + slash + 1);
    if (parent >= 0) realClose(parent);
    if (!ok) *error = "cannot remove " + device;
    return ok;
}

bool makeFolder(const std::string& path, std::string* error) {
    std::string device = nodePathOf(path, error);
    if (device.empty() || !removeNode(device, error)) return false;
    if (makeFolders(device)) return true;
    *error = "cannot make the folder " + device;
    return false;
}

namespace {
// Marks the node at a run script's |path| with |mark|: deny, refuseWrites or allow.
bool markNode(const std::string& path, std::string* error, void (*mark)(const std::string&)) {
    std::string device = nodePathOf(path, error);
    if (!device.empty()) mark(device);
    return !device.empty();
}
}  // namespace

bool denyNode(const std::string& path, std::string* error) {
    return markNode(path, error, deny);
}

bool fillNode(const std::string& path, std::string* error) {
    return markNode(path, error, refuseWrites);
}

bool allowNode(const std::string& path, std::string* error) {
    return markNode(path, error, allow);
}

std::vector<Write> writes() {
    std::lock_guard<std::mutex> guard(state().lock);
    return state().journal;
}

size_t writeCount() {
    std::lock_guard<std::mutex> guard(state().lock);
    return state().journal.size();
}

void clearWrites() {
    std::lock_guard<std::mutex> guard(state().lock);
    state().journal.clear();
}

void recordReached(bool on) {
    std::lock_guard<std::mutex> guard(state().lock);
    state().recordReached = on;
    if (on) state().reached.clear();
}

std::vector<std::string> reached() {
    std::lock_guard<std::mutex> guard(state().lock);
    return state().reached;
}

std::vector<Write> takeWrites() {
    std::vector<Write> taken;
    std::lock_guard<std::mutex> guard(state().lock);
    taken.swap(state().journal);
    return taken;
}

void deny(const std::string& path) {
    std::lock_guard<std::mutex> guard(state().lock);
    state().denied.insert(normalize("", path.c_str()));
}

void allow(const std::string& path) {
    std::lock_guard<std::mutex> guard(state().lock);
    state().denied.erase(normalize("", path.c_str()));
    state().full.erase(normalize("", path.c_str()));
}

void refuseWrites(const std::string& path) {
    std::lock_guard<std::mutex> guard(state().lock);
    state().full.insert(normalize("", path.c_str()));
}

void respond(const std::string& path, const std::string& word, const std::string& reply) {
    std::lock_guard<std::mutex> guard(state().lock);
    const std::string device = normalize("", path.c_str());
    auto range = state().drivers.equal_range(device);
    for (auto d = range.first; d != range.second; ++d) {
        if (d->second.word == word) {
            d->second.reply = reply;
            return;
        }
    }
    state().drivers.emplace(device, Driver{word, reply});
}

void setVirtualClock(bool on) {
    gVirtual.store(on);
}

bool virtualClock() {
    return gVirtual.load();
}

std::vector<double> sleeps() {
    std::lock_guard<std::mutex> guard(state().lock);
    return state().sleeps;
}

double now() {
    std::lock_guard<std::mutex> guard(state().lock);
    return state().now;
}

void setSleepHook(std::function<void(double)> hook) {
    std::lock_guard<std::mutex> guard(state().lock);
    state().hook = std::move(hook);
}

void setSleepNotifier(std::function<void(double, bool)> notifier) {
    std::lock_guard<std::mutex> guard(state().lock);
    state().notifier = std::move(notifier);
}

void watchWrites(int fd, std::function<void(const std::string&)> watcher) {
    std::lock_guard<std::mutex> guard(state().lock);
    state().watcher = std::move(watcher);
    gWatchedFd = state().watcher ? fd : -1;
}

void reset() {
    State& s = state();
    std::lock_guard<std::mutex> guard(s.lock);
    s.watcher = nullptr;
    gWatchedFd = -1;
    s.journal.clear();
    s.denied.clear();
    s.full.clear();
    s.drivers.clear();
    s.sleeps.clear();
    s.now = 0;
    s.hook = nullptr;
    s.notifier = nullptr;
}

}  // namespace sandbox
}  // namespace tevhost

using namespace tevhost::sandbox;

namespace {

mode_t modeArg(int flags, va_list ap) {
    return (flags & O_CREAT) || (flags & O_TMPFILE) == O_TMPFILE ? va_arg(ap, mode_t) : 0;
}

int openVia(int (*fn)(const char*, int, ...), const char* path, int flags, mode_t mode) {
    Mapped m = map(AT_FDCWD, path);
    if (m.where == Where::kHost) {
        int fd = fn(path, flags, mode);
        trackNew(fd, m);
        return fd;
    }
    return openMapped(m, flags, mode);
}

int openatVia(int (*fn)(int, const char*, int, ...), int dirfd, const char* path, int flags,
              mode_t mode) {
    Mapped m = map(dirfd, path);
    if (m.where == Where::kHost) {
        int fd = fn(dirfd, path, flags, mode);
        trackNew(fd, m);
        return fd;
    }
    return openMapped(m, flags, mode);
}

// The open flags of an fopen mode ("r", "w+", "ab", "re", "wx"...); -1 when it is not one.
int fopenFlags(const char* mode) {
    int flags;
    switch (mode[0]) {
        case 'r':
            flags = O_RDONLY;
            break;
        case 'w':
            flags = O_WRONLY | O_CREAT | O_TRUNC;
            break;
        case 'a':
            flags = O_WRONLY | O_CREAT | O_APPEND;
            break;
        default:
            return -1;
    }
    for (const char* c = mode + 1; *c != '\0' && *c != ','; ++c) {
        if (*c == '+') flags = (flags & ~O_ACCMODE) | O_RDWR;
        if (*c == 'e') flags |= O_CLOEXEC;
        if (*c == 'x') flags |= O_EXCL;
    }
    return flags;
}

FILE* fopenVia(FILE* (*fn)(const char*, const char*), const char* path, const char* mode) {
    Mapped m = map(AT_FDCWD, path);
    if (m.where == Where::kHost) {
        FILE* f = fn(path, mode);
        if (f != nullptr) trackNew(fileno(f), m);
        return f;
    }
    int flags = mode != nullptr ? fopenFlags(mode) : -1;
    if (flags < 0) {
        errno = EINVAL;
        return nullptr;
    }
    // A stream writes through glibc's own write(), which is not seen here: a node a stream opens
    // for appending is emptied at the open instead, so that what it writes replaces the value.
    if (m.node && mode[0] == 'a') flags |= O_TRUNC;
    int fd = openMapped(m, flags, 0666);
    if (fd < 0) return nullptr;
    // The descriptor is opened, truncated and placed as the mode asks; fdopen only wraps it (a
    // node is never appended to).
    char wrap[3] = {m.node && mode[0] == 'a' ? 'w' : mode[0], '\0', '\0'};
    if ((flags & O_ACCMODE) == O_RDWR) wrap[1] = '+';
    FILE* f = fdopen(fd, wrap);
    if (f == nullptr) {
        int error = errno;
        beforeClose(fd);
        realClose(fd);
        errno = error;
    }
    return f;
}

// mkdir, unlink and rmdir and their *at forms: |op| runs on the folder that holds what |m| names
// (resolved in the root) with its last name. The kernel's trees take no new folders and lose no
// nodes.
int changeMapped(const Mapped& m, const std::function<int(int, const char*)>& op) {
    if (m.where == Where::kRefused) return failWith(EXDEV);
    if (m.where == Where::kOwnProc || m.node) return failWith(EPERM);
    if (m.devicePath == "/") return failWith(EBUSY);
    size_t slash = m.devicePath.rfind('/');
    int parent = openInRoot(slash == 0 ? "/" : m.devicePath.substr(0, slash), O_PATH | O_DIRECTORY);
    if (parent < 0) return -1;
    int ret = op(parent, m.devicePath.c_str() + slash + 1);
    int error = errno;
    realClose(parent);
    errno = error;
    return ret;
}

int unlinkVia(int dirfd, const char* path, int flags) {
    static auto fn = real<int (*)(int, const char*, int)>("unlinkat");
    Mapped m = map(dirfd, path);
    if (m.where == Where::kHost) return fn(dirfd, path, flags);
    return changeMapped(m,
                        [flags](int parent, const char* name) { return fn(parent, name, flags); });
}

int mkdirVia(int dirfd, const char* path, mode_t mode) {
    static auto fn = real<int (*)(int, const char*, mode_t)>("mkdirat");
    Mapped m = map(dirfd, path);
    if (m.where == Where::kHost) return fn(dirfd, path, mode);
    return changeMapped(m, [mode](int parent, const char* name) { return fn(parent, name, mode); });
}

int accessVia(int dirfd, const char* path, int mode, int flags) {
    static auto fn = real<int (*)(int, const char*, int, int)>("faccessat");
    Mapped m = map(dirfd, path);
    if (m.where == Where::kHost) return fn(dirfd, path, mode, flags);
    if (m.denied && wantsAccess(mode)) return failWith(EACCES);
    int fd = pathFd(m, !(flags & AT_SYMLINK_NOFOLLOW));
    if (fd < 0) return -1;
    int ret = static_cast<int>(
            syscall(SYS_faccessat2, fd, "", mode, (flags & AT_EACCESS) | AT_EMPTY_PATH));
    int error = errno;
    realClose(fd);
    errno = error;
    return ret;
}

// stat and its kin: |statAt| is the real fstatat-like call used on the resolved descriptor.
template <typename StatAt>
int statVia(int dirfd, const char* path, int flags, StatAt statAt) {
    Mapped m = map(dirfd, path);
    if (m.where == Where::kHost) return statAt(dirfd, path, flags);
    int fd = pathFd(m, !(flags & AT_SYMLINK_NOFOLLOW));
    if (fd < 0) return -1;
    int ret = statAt(fd, "", flags | AT_EMPTY_PATH);
    int error = errno;
    realClose(fd);
    errno = error;
    return ret;
}

}  // namespace

extern "C" {

int open(const char* path, int flags, ...) {
    static auto fn = real<int (*)(const char*, int, ...)>("open");
    va_list ap;
    va_start(ap, flags);
    mode_t mode = modeArg(flags, ap);
    va_end(ap);
    return openVia(fn, path, flags, mode);
}

int open64(const char* path, int flags, ...) {
    static auto fn = real<int (*)(const char*, int, ...)>("open64");
    va_list ap;
    va_start(ap, flags);
    mode_t mode = modeArg(flags, ap);
    va_end(ap);
    return openVia(fn, path, flags, mode);
}

int __open_2(const char* path, int flags) {
    static auto fn = real<int (*)(const char*, int, ...)>("open");
    return openVia(fn, path, flags, 0);
}

int __open64_2(const char* path, int flags) {
    static auto fn = real<int (*)(const char*, int, ...)>("open64");
    return openVia(fn, path, flags, 0);
}

int openat(int dirfd, const char* path, int flags, ...) {
    static auto fn = real<int (*)(int, const char*, int, ...)>("openat");
    va_list ap;
    va_start(ap, flags);
    mode_t mode = modeArg(flags, ap);
    va_end(ap);
    return openatVia(fn, dirfd, path, flags, mode);
}

int openat64(int dirfd, const char* path, int flags, ...) {
    static auto fn = real<int (*)(int, const char*, int, ...)>("openat64");
    va_list ap;
    va_start(ap, flags);
    mode_t mode = modeArg(flags, ap);
    va_end(ap);
    return openatVia(fn, dirfd, path, flags, mode);
}

int __openat_2(int dirfd, const char* path, int flags) {
    static auto fn = real<int (*)(int, const char*, int, ...)>("openat");
    return openatVia(fn, dirfd, path, flags, 0);
}

int __openat64_2(int dirfd, const char* path, int flags) {
    static auto fn = real<int (*)(int, const char*, int, ...)>("openat64");
    return openatVia(fn, dirfd, path, flags, 0);
}

FILE* fopen(const char* path, const char* mode) {
    static auto fn = real<FILE* (*)(const char*, const char*)>("fopen");
    return fopenVia(fn, path, mode);
}

FILE* fopen64(const char* path, const char* mode) {
    static auto fn = real<FILE* (*)(const char*, const char*)>("fopen64");
    return fopenVia(fn, path, mode);
}

int fclose(FILE* stream) {
    static auto fn = real<int (*)(FILE*)>("fclose");
    int fd = stream ? fileno(stream) : -1;
    if (fd >= 0 && gTracked.load() > 0) {
        // What the stream still holds belongs to the session a driver answers.
        fflush(stream);
        beforeClose(fd);
    }
    return fn(stream);
}

int close(int fd) {
    beforeClose(fd);
    return realClose(fd);
}

ssize_t write(int fd, const void* buf, size_t count) {
    static auto fn = real<ssize_t (*)(int, const void*, size_t)>("write");
    if (refusesWrites(fd)) return failWith(ENOSPC);
    ssize_t ret = fn(fd, buf, count);
    if (ret > 0) {
        if (journal(fd, buf, static_cast<size_t>(ret))) endValueAtOffset(fd);
        tellWatcher(fd, buf, static_cast<size_t>(ret));
    }
    return ret;
}

ssize_t writev(int fd, const struct iovec* iov, int iovcnt) {
    static auto fn = real<ssize_t (*)(int, const struct iovec*, int)>("writev");
    if (refusesWrites(fd)) return failWith(ENOSPC);
    ssize_t ret = fn(fd, iov, iovcnt);
    size_t left = ret > 0 ? static_cast<size_t>(ret) : 0;
    bool node = false;
    std::string watched;
    for (int i = 0; i < iovcnt && left > 0; ++i) {
        size_t n = std::min(left, iov[i].iov_len);
        node = journal(fd, iov[i].iov_base, n) || node;
        if (fd == gWatchedFd.load()) watched.append(static_cast<const char*>(iov[i].iov_base), n);
        left -= n;
    }
    if (node) endValueAtOffset(fd);
    tellWatcher(fd, watched.data(), watched.size());
    return ret;
}

int unlink(const char* path) {
    return unlinkVia(AT_FDCWD, path, 0);
}

int rmdir(const char* path) {
    return unlinkVia(AT_FDCWD, path, AT_REMOVEDIR);
}

int unlinkat(int dirfd, const char* path, int flags) {
    return unlinkVia(dirfd, path, flags);
}

int remove(const char* path) {
    if (unlinkVia(AT_FDCWD, path, 0) == 0) return 0;
    return errno == EISDIR ? unlinkVia(AT_FDCWD, path, AT_REMOVEDIR) : -1;
}

int mkdir(const char* path, mode_t mode) {
    return mkdirVia(AT_FDCWD, path, mode);
}

int mkdirat(int dirfd, const char* path, mode_t mode) {
    return mkdirVia(dirfd, path, mode);
}

DIR* opendir(const char* path) {
    static auto fn = real<DIR* (*)(const char*)>("opendir");
    Mapped m = map(AT_FDCWD, path);
    if (m.where == Where::kHost) return fn(path);
    int fd = openMapped(m, O_RDONLY | O_DIRECTORY | O_CLOEXEC, 0);
    if (fd < 0) return nullptr;
    DIR* dir = fdopendir(fd);
    if (dir == nullptr) {
        int error = errno;
        close(fd);
        errno = error;
    }
    return dir;
}

int closedir(DIR* dir) {
    static auto fn = real<int (*)(DIR*)>("closedir");
    if (gTracked.load() > 0) beforeClose(dirfd(dir));
    return fn(dir);
}

int access(const char* path, int mode) {
    return accessVia(AT_FDCWD, path, mode, 0);
}

int faccessat(int dirfd, const char* path, int mode, int flags) {
    return accessVia(dirfd, path, mode, flags);
}

#define TEVHOST_STAT(NAME, STRUCT, AT, NOFOLLOW)                                         \
    int NAME(const char* path, struct STRUCT* buf) {                                     \
        static auto fn = real<int (*)(int, const char*, struct STRUCT*, int)>(#AT);      \
        return statVia(AT_FDCWD, path, NOFOLLOW,                                         \
                       [buf](int d, const char* p, int f) { return fn(d, p, buf, f); }); \
    }
TEVHOST_STAT(stat, stat, fstatat, 0)
TEVHOST_STAT(lstat, stat, fstatat, AT_SYMLINK_NOFOLLOW)
TEVHOST_STAT(stat64, stat64, fstatat64, 0)
TEVHOST_STAT(lstat64, stat64, fstatat64, AT_SYMLINK_NOFOLLOW)
#undef TEVHOST_STAT

#define TEVHOST_FSTATAT(NAME, STRUCT)                                                    \
    int NAME(int dirfd, const char* path, struct STRUCT* buf, int flags) {               \
        static auto fn = real<int (*)(int, const char*, struct STRUCT*, int)>(#NAME);    \
        return statVia(dirfd, path, flags,                                               \
                       [buf](int d, const char* p, int f) { return fn(d, p, buf, f); }); \
    }
TEVHOST_FSTATAT(fstatat, stat)
TEVHOST_FSTATAT(fstatat64, stat64)
#undef TEVHOST_FSTATAT

int statx(int dirfd, const char* path, int flags, unsigned int mask, struct statx* buf) {
    static auto fn = real<int (*)(int, const char*, int, unsigned int, struct statx*)>("statx");
    return statVia(dirfd, path, flags,
                   [mask, buf](int d, const char* p, int f) { return fn(d, p, f, mask, buf); });
}

unsigned int sleep(unsigned int seconds) {
    static auto fn = real<unsigned int (*)(unsigned int)>("sleep");
    if (sleepVirtually(seconds)) return 0;
    return fn(seconds);
}

int usleep(useconds_t usec) {
    static auto fn = real<int (*)(useconds_t)>("usleep");
    if (sleepVirtually(usec / 1e6)) return 0;
    return fn(usec);
}

int nanosleep(const struct timespec* req, struct timespec* rem) {
    static auto fn = real<int (*)(const struct timespec*, struct timespec*)>("nanosleep");
    if (req != nullptr && sleepVirtually(req->tv_sec + req->tv_nsec / 1e9)) {
        if (rem != nullptr) *rem = {0, 0};
        return 0;
    }
    return fn(req, rem);
}

int clock_nanosleep(clockid_t clock, int flags, const struct timespec* req, struct timespec* rem) {
    static auto fn = real<int (*)(clockid_t, int, const struct timespec*, struct timespec*)>(
            "clock_nanosleep");
    if (flags == 0 && req != nullptr && sleepVirtually(req->tv_sec + req->tv_nsec / 1e9)) {
        if (rem != nullptr) *rem = {0, 0};
        return 0;
    }
    return fn(clock, flags, req, rem);
}

}  // extern "C"
