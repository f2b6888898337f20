// The device sandbox: interposes the libc entry points through which the product (and libstdc++
// on its behalf) reaches device nodes, maps device paths into the device root, journals what is
// written to them, plays declared drivers, and runs sleep on a virtual clock.
// Interposed definitions must not meet glibc's fortified inline wrappers.
#undef _FORTIFY_SOURCE

#include <dlfcn.h>
#include <fcntl.h>
#include <stdio.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <tevhost/Sandbox.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstring>
#include <map>
#include <mutex>
#include <set>
#include <unordered_map>

namespace tevhost {
namespace sandbox {
namespace {

struct OpenNode {
    std::string devicePath;
    std::string hostPath;
    std::string written;  // every byte written in this open-to-close session
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
    std::multimap<std::string, Driver> drivers;
    std::unordered_map<int, OpenNode> fds;
    bool virtualClock = false;
    std::vector<double> sleeps;
    double now = 0;
    std::function<void(double)> hook;
    std::function<void(double, bool)> notifier;
};

State& state() {
    static State* s = new State;  // never destroyed: libc calls may arrive during exit
    return *s;
}

std::atomic<bool> gActive{false};
std::atomic<int> gTracked{0};
std::atomic<bool> gVirtual{false};

bool followedByEnd(const char* p) {
    return *p == '\0' || *p == '/';
}

// True when |rel| ("sys/...", "proc/...", "d/...", without the leading '/') is a device path.
bool isDeviceRelative(const char* rel) {
    if (strncmp(rel, "sys", 3) == 0 && followedByEnd(rel + 3)) return true;
    if (strncmp(rel, "d", 1) == 0 && followedByEnd(rel + 1)) return true;
    if (strncmp(rel, "proc", 4) == 0 && followedByEnd(rel + 4)) {
        const char* rest = rel + 4;
        if (*rest == '\0') return true;
        ++rest;  // past '/'
        if (strncmp(rest, "self", 4) == 0 && followedByEnd(rest + 4)) return false;
        if (strncmp(rest, "thread-self", 11) == 0 && followedByEnd(rest + 11)) return false;
        const char* digits = rest;
        while (*digits >= '0' && *digits <= '9') ++digits;
        if (digits != rest && followedByEnd(digits)) return false;
        return true;
    }
    return false;
}

// The device path of |path| ("/sys/..."), or false when |path| is not one. Absolute paths
// qualify as they are; relative ones are taken from "/", the service's working directory.
bool toDevicePath(const char* path, std::string* device) {
    if (path == nullptr) return false;
    if (path[0] == '/') {
        if (!isDeviceRelative(path + 1)) return false;
        *device = path;
        return true;
    }
    // A relative path must begin with "sys/", "proc/" or "d/".
    if ((strncmp(path, "sys/", 4) == 0 || strncmp(path, "proc/", 5) == 0 ||
         strncmp(path, "d/", 2) == 0) &&
        isDeviceRelative(path)) {
        *device = std::string("/") + path;
        return true;
    }
    return false;
}

struct Mapped {
    bool device = false;
    bool denied = false;
    std::string devicePath;
    std::string hostPath;
    const char* path = nullptr;  // what to hand to libc
};

Mapped map(const char* path) {
    Mapped m;
    m.path = path;
    if (!gActive.load(std::memory_order_acquire)) return m;
    std::string device;
    if (!toDevicePath(path, &device)) return m;
    State& s = state();
    std::lock_guard<std::mutex> guard(s.lock);
    if (s.root.empty()) return m;
    m.device = true;
    m.devicePath = device;
    m.hostPath = s.root + device;
    m.denied = s.denied.count(device) > 0;
    if (s.recordReached) s.reached.push_back(device);
    m.path = m.hostPath.c_str();
    return m;
}

void track(int fd, const Mapped& m) {
    if (fd < 0) return;
    State& s = state();
    std::lock_guard<std::mutex> guard(s.lock);
    auto it = s.fds.find(fd);
    if (m.device) {
        if (it == s.fds.end()) gTracked.fetch_add(1);
        OpenNode& node = s.fds[fd];
        node.devicePath = m.devicePath;
        node.hostPath = m.hostPath;
        node.written.clear();
    } else if (it != s.fds.end()) {
        s.fds.erase(it);
        gTracked.fetch_sub(1);
    }
}

void trackNew(int fd, const Mapped& m) {
    if (m.device || gTracked.load() > 0) track(fd, m);
}

template <typename Fn>
Fn real(const char* name) {
    return reinterpret_cast<Fn>(dlsym(RTLD_NEXT, name));
}

void journal(int fd, const void* data, size_t size) {
    if (gTracked.load() == 0 || size == 0) return;
    State& s = state();
    std::lock_guard<std::mutex> guard(s.lock);
    auto it = s.fds.find(fd);
    if (it == s.fds.end()) return;
    std::string bytes(static_cast<const char*>(data), size);
    it->second.written += bytes;
    s.journal.push_back({it->second.devicePath, bytes});
}

// Forgets |fd|; returns the session when a declared driver answers what was written to it.
bool untrack(int fd, OpenNode* session, std::string* reply) {
    if (gTracked.load() == 0) return false;
    State& s = state();
    std::lock_guard<std::mutex> guard(s.lock);
    auto it = s.fds.find(fd);
    if (it == s.fds.end()) return false;
    *session = std::move(it->second);
    s.fds.erase(it);
    gTracked.fetch_sub(1);
    if (session->written.empty()) return false;
    auto range = s.drivers.equal_range(session->devicePath);
    for (auto d = range.first; d != range.second; ++d) {
        if (d->second.word == session->written) {
            *reply = d->second.reply;
            return true;
        }
    }
    return false;
}

void playDriver(const OpenNode& session, const std::string& reply) {
    static auto realOpen = real<int (*)(const char*, int, ...)>("open");
    static auto realWrite = real<ssize_t (*)(int, const void*, size_t)>("write");
    static auto realClose = real<int (*)(int)>("close");
    int fd = realOpen(session.hostPath.c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC);
    if (fd < 0) return;
    size_t done = 0;
    while (done < reply.size()) {
        ssize_t n = realWrite(fd, reply.data() + done, reply.size() - done);
        if (n <= 0) break;
        done += static_cast<size_t>(n);
    }
    realClose(fd);
}

void afterClose(int fd) {
    OpenNode session;
    std::string reply;
    if (untrack(fd, &session, &reply)) playDriver(session, reply);
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
    if (notifier) notifier(seconds, !virtualSleep);
    if (!virtualSleep) return false;
    if (hook) hook(seconds);
    return true;
}

int denyWith(int error) {
    errno = error;
    return -1;
}

bool wantsAccess(int mode) {
    return (mode & (R_OK | W_OK | X_OK)) != 0;
}

}  // namespace

void setRoot(const std::string& rootDir) {
    State& s = state();
    std::lock_guard<std::mutex> guard(s.lock);
    s.root = rootDir;
    while (s.root.size() > 1 && s.root.back() == '/') s.root.pop_back();
    gActive.store(!s.root.empty(), std::memory_order_release);
}

std::string root() {
    std::lock_guard<std::mutex> guard(state().lock);
    return state().root;
}

std::string hostPath(const std::string& path) {
    Mapped m = map(path.c_str());
    return m.device ? m.hostPath : path;
}

std::string devicePath(const std::string& path) {
    std::string device;
    return toDevicePath(path.c_str(), &device) ? device : std::string();
}

std::vector<Write> writes() {
    std::lock_guard<std::mutex> guard(state().lock);
    return state().journal;
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

void deny(const std::string& path) {
    std::lock_guard<std::mutex> guard(state().lock);
    state().denied.insert(path);
}

void allow(const std::string& path) {
    std::lock_guard<std::mutex> guard(state().lock);
    state().denied.erase(path);
}

void respond(const std::string& path, const std::string& word, const std::string& reply) {
    std::lock_guard<std::mutex> guard(state().lock);
    state().drivers.emplace(path, Driver{word, reply});
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

void reset() {
    State& s = state();
    std::lock_guard<std::mutex> guard(s.lock);
    s.journal.clear();
    s.denied.clear();
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

// The kernel's node trees do not let a process create nodes: a device path opens only if the node
// is there.
int deviceFlags(const Mapped& m, int flags) {
    return m.device ? flags & ~O_CREAT : flags;
}

int openVia(int (*fn)(const char*, int, ...), const char* path, int flags, mode_t mode) {
    Mapped m = map(path);
    if (m.denied) return denyWith(EACCES);
    int fd = fn(m.path, deviceFlags(m, flags), mode);
    trackNew(fd, m);
    return fd;
}

// Paths relative to a folder descriptor other than the working directory are left alone.
Mapped mapAt(int dirfd, const char* path) {
    if (path != nullptr && (path[0] == '/' || dirfd == AT_FDCWD)) return map(path);
    Mapped m;
    m.path = path;
    return m;
}

int openatVia(int (*fn)(int, const char*, int, ...), int dirfd, const char* path, int flags,
              mode_t mode) {
    Mapped m = mapAt(dirfd, path);
    if (m.denied) return denyWith(EACCES);
    int fd = fn(dirfd, m.path, deviceFlags(m, flags), mode);
    trackNew(fd, m);
    return fd;
}

FILE* fopenVia(FILE* (*fn)(const char*, const char*), const char* path, const char* mode) {
    Mapped m = map(path);
    if (m.denied) {
        errno = EACCES;
        return nullptr;
    }
    static auto realAccess = real<int (*)(const char*, int)>("access");
    if (m.device && mode != nullptr && (mode[0] == 'w' || mode[0] == 'a') &&
        realAccess(m.path, F_OK) != 0) {
        errno = ENOENT;
        return nullptr;
    }
    FILE* f = fn(m.path, mode);
    if (f != nullptr) trackNew(fileno(f), m);
    return f;
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
    int ret = fn(stream);
    if (fd >= 0) afterClose(fd);
    return ret;
}

int close(int fd) {
    static auto fn = real<int (*)(int)>("close");
    int ret = fn(fd);
    afterClose(fd);
    return ret;
}

ssize_t write(int fd, const void* buf, size_t count) {
    static auto fn = real<ssize_t (*)(int, const void*, size_t)>("write");
    ssize_t ret = fn(fd, buf, count);
    if (ret > 0) journal(fd, buf, static_cast<size_t>(ret));
    return ret;
}

ssize_t writev(int fd, const struct iovec* iov, int iovcnt) {
    static auto fn = real<ssize_t (*)(int, const struct iovec*, int)>("writev");
    ssize_t ret = fn(fd, iov, iovcnt);
    size_t left = ret > 0 ? static_cast<size_t>(ret) : 0;
    for (int i = 0; i < iovcnt && left > 0; ++i) {
        size_t n = std::min(left, iov[i].iov_len);
        journal(fd, iov[i].iov_base, n);
        left -= n;
    }
    return ret;
}

int access(const char* path, int mode) {
    static auto fn = real<int (*)(const char*, int)>("access");
    Mapped m = map(path);
    if (m.denied && wantsAccess(mode)) return denyWith(EACCES);
    return fn(m.path, mode);
}

int faccessat(int dirfd, const char* path, int mode, int flags) {
    static auto fn = real<int (*)(int, const char*, int, int)>("faccessat");
    Mapped m = mapAt(dirfd, path);
    if (m.denied && wantsAccess(mode)) return denyWith(EACCES);
    return fn(dirfd, m.path, mode, flags);
}

#define TEVHOST_STAT(NAME, STRUCT)                                          \
    int NAME(const char* path, struct STRUCT* buf) {                        \
        static auto fn = real<int (*)(const char*, struct STRUCT*)>(#NAME); \
        return fn(map(path).path, buf);                                     \
    }
TEVHOST_STAT(stat, stat)
TEVHOST_STAT(lstat, stat)
TEVHOST_STAT(stat64, stat64)
TEVHOST_STAT(lstat64, stat64)
#undef TEVHOST_STAT

#define TEVHOST_FSTATAT(NAME, STRUCT)                                                 \
    int NAME(int dirfd, const char* path, struct STRUCT* buf, int flags) {            \
        static auto fn = real<int (*)(int, const char*, struct STRUCT*, int)>(#NAME); \
        return fn(dirfd, mapAt(dirfd, path).path, buf, flags);                        \
    }
TEVHOST_FSTATAT(fstatat, stat)
TEVHOST_FSTATAT(fstatat64, stat64)
#undef TEVHOST_FSTATAT

int statx(int dirfd, const char* path, int flags, unsigned int mask, struct statx* buf) {
    static auto fn = real<int (*)(int, const char*, int, unsigned int, struct statx*)>("statx");
    return fn(dirfd, mapAt(dirfd, path).path, flags, mask, buf);
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
