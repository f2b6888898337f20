// The device sandbox's entry points: the libc calls through which the product (and libstdc++ on
// its behalf) reaches device nodes, interposed and redirected into the root; the watcher of a
// descriptor's writes; and sleep on the virtual clock.
// Interposed definitions must not meet glibc's fortified inline wrappers.
#undef _FORTIFY_SOURCE

#include <dirent.h>
#include <stdio.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cstdarg>

#include "SandboxState.h"

namespace tevhost {
namespace sandbox {

std::atomic<int> gWatchedFd{-1};

namespace {

std::atomic<bool> gVirtual{false};

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

}  // namespace

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
    if (Takes takes = takenBy(fd); takes != Takes::kAll)
        return takes == Takes::kNothing ? 0 : failWith(ENOSPC);
    ssize_t ret = fn(fd, buf, count);
    if (ret > 0) {
        if (journal(fd, buf, static_cast<size_t>(ret))) endValueAtOffset(fd);
        tellWatcher(fd, buf, static_cast<size_t>(ret));
    }
    return ret;
}

ssize_t writev(int fd, const struct iovec* iov, int iovcnt) {
    static auto fn = real<ssize_t (*)(int, const struct iovec*, int)>("writev");
    if (Takes takes = takenBy(fd); takes != Takes::kAll)
        return takes == Takes::kNothing ? 0 : failWith(ENOSPC);
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
