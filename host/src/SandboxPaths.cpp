// The device sandbox's path resolution: where a path the caller names lands (the root, the host,
// the process's own /proc entries), resolved inside the root as a chroot would, with openat2 or,
// where it is missing, a walk of our own; the scopes that tell who is calling; and the check of a
// folder that is to become a root.
#include <linux/openat2.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <climits>
#include <cstring>
#include <deque>
#include <filesystem>

#include "SandboxState.h"

namespace tevhost {
namespace sandbox {

std::atomic<bool> gActive{false};
std::atomic<int> gRootFd{-1};

namespace {

// Inside the root: ".." stops at it, links resolve in it, magic links are not followed.
constexpr uint64_t kInRoot = RESOLVE_IN_ROOT | RESOLVE_NO_MAGICLINKS;
// The process's own /proc entries are the host's, but never through a magic link.
constexpr uint64_t kOwnProc = RESOLVE_NO_MAGICLINKS;

// Which of the kernel's trees a path (without its leading '/') is in.
enum class Tree { kNone, kSys, kProc, kDebug, kOwnProc };

thread_local int tServiceDepth = 0;
thread_local int tHostDepth = 0;

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

void placeInRoot(Mapped* m, std::string devicePath, std::string resolve) {
    Tree tree = treeOf(devicePath.c_str() + 1);
    m->where = Where::kRoot;
    m->node = isNodeTree(tree);
    m->sysfs = tree == Tree::kSys;
    m->devicePath = std::move(devicePath);
    m->resolve = std::move(resolve);
}

// Where the kernel has no openat2 (or an emulator such as qemu-user does not pass it on), the same
// walk done here: every component is looked up from the root's descriptor with no link in the
// part already walked, ".." stops at the root, and a symbolic link is replaced by its target, an
// absolute one read from the root. Raw system calls: the interposed entry points are ours.
// With |ownProc| the walk is on the host, through the process's own /proc entries: there only
// "self" and "thread-self" are followed, every other link there may be a magic one (fd/N, cwd,
// root) and is refused.
int walkInRoot(int rootFd, const std::string& path, int flags, mode_t mode, bool ownProc = false) {
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

}  // namespace

int realClose(int fd) {
    static auto fn = real<int (*)(int)>("close");
    return fn(fd);
}

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
    if (s.root.empty()) {
        Mapped host;
        host.path = path;
        return host;
    }
    auto mark = s.marks.find(m.devicePath);
    if (mark != s.marks.end()) {
        m.denied = mark->second.denied && mark->second.opensFirst == 0;
        m.takes = mark->second.takes;
    }
    if (s.recordReached) s.reached.push_back(m.devicePath);
    return m;
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
        fd = walkInRoot(host, m.resolve, flags, static_cast<mode_t>(how.mode), true);
        int saved = errno;
        realClose(host);
        errno = saved;
        return fd;
    }
    return walkInRoot(dirfd, m.resolve, flags, static_cast<mode_t>(how.mode));
}

int pathFd(const Mapped& m, bool follow) {
    if (m.where == Where::kRefused) return failWith(EXDEV);
    return resolveOpen(m, O_PATH | O_CLOEXEC | (follow ? 0 : O_NOFOLLOW), 0);
}

int openInRoot(const std::string& devicePath, int flags, mode_t mode) {
    Mapped m;
    m.where = Where::kRoot;
    m.resolve = devicePath;
    return resolveOpen(m, flags | O_CLOEXEC, mode);
}

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

}  // namespace sandbox
}  // namespace tevhost
