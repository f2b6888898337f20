// Removal of the scratch folder on every exit the process can catch. The removal runs in signal
// handlers too: it calls the kernel directly (no allocation, no lock, none of the sandbox's
// interposed entry points) and keeps what it needs in fixed buffers.
#include <dirent.h>
#include <fcntl.h>
#include <pthread.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <tevhost/Cleanup.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <mutex>
#include <vector>

namespace tevhost {
namespace cleanup {
namespace {

// The signals whose default is to end the process and that a handler can catch, but for SIGABRT
// and the faults (SIGSEGV, SIGBUS, SIGFPE, SIGILL), which stay with their own handlers (the
// sanitizers', tevctl's): the real-time signals are added at run time.
constexpr int kSignals[] = {SIGINT,  SIGTERM, SIGHUP,  SIGPIPE, SIGQUIT,   SIGUSR1,
                            SIGUSR2, SIGALRM, SIGXCPU, SIGXFSZ, SIGVTALRM, SIGPROF,
                            SIGIO,   SIGPWR,  SIGSYS,  SIGTRAP, SIGSTKFLT};

// The folder: a descriptor of the folder that holds it and its name there; and a descriptor of
// the folder itself, whose lock tells a later process that this one is alive.
char gName[256];
std::atomic<int> gParent{-1};
std::atomic<int> gHold{-1};
std::atomic<bool> gKeepSignals{false};

std::vector<int> endingSignals() {
    std::vector<int> signals(std::begin(kSignals), std::end(kSignals));
    for (int rt = SIGRTMIN; rt <= SIGRTMAX; ++rt) signals.push_back(rt);
    return signals;
}

struct Dirent64 {
    ino64_t ino;
    off64_t off;
    unsigned short reclen;
    unsigned char type;
    char name[];
};

int sysOpenat(int dirfd, const char* path, int flags) {
    return static_cast<int>(syscall(SYS_openat, dirfd, path, flags, 0));
}

int sysUnlinkat(int dirfd, const char* path, int flags) {
    return static_cast<int>(syscall(SYS_unlinkat, dirfd, path, flags));
}

void sysClose(int fd) {
    syscall(SYS_close, fd);
}

bool removeAt(int parent, const char* name, int depth) {
    if (sysUnlinkat(parent, name, 0) == 0 || errno == ENOENT) return true;
    if ((errno != EISDIR && errno != EPERM) || depth > kMaxDepth) return false;
    int dir = sysOpenat(parent, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (dir < 0) return false;
    struct stat st;
    if (fstat(dir, &st) == 0 && (st.st_mode & S_IRWXU) != S_IRWXU)
        fchmod(dir, st.st_mode | S_IRWXU);
    // Entries removed while the folder is read may hide others: read it again until a pass
    // finds nothing left.
    bool ok = true;
    for (bool found = true; found;) {
        found = false;
        lseek(dir, 0, SEEK_SET);
        alignas(8) char buffer[2048];
        long n;
        while ((n = syscall(SYS_getdents64, dir, buffer, sizeof(buffer))) > 0) {
            for (long at = 0; at < n;) {
                auto* entry = reinterpret_cast<Dirent64*>(buffer + at);
                at += entry->reclen;
                if (strcmp(entry->name, ".") == 0 || strcmp(entry->name, "..") == 0) continue;
                if (!removeAt(dir, entry->name, depth + 1)) {
                    ok = false;
                    continue;
                }
                found = true;
            }
        }
        if (!ok) break;
    }
    sysClose(dir);
    return ok && sysUnlinkat(parent, name, AT_REMOVEDIR) == 0;
}

// Splits |dir| into a descriptor of the folder that holds it and its last name.
int openParent(const std::string& dir, std::string* name) {
    std::string path = dir;
    while (path.size() > 1 && path.back() == '/') path.pop_back();
    size_t slash = path.rfind('/');
    *name = slash == std::string::npos ? path : path.substr(slash + 1);
    std::string parent = slash == std::string::npos ? "."
                         : slash == 0               ? "/"
                                                    : path.substr(0, slash);
    if (name->empty() || *name == "." || *name == "..") return -1;
    return sysOpenat(AT_FDCWD, parent.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
}

void removeHeld() {
    int parent = gParent.exchange(-1);
    int hold = gHold.exchange(-1);
    if (parent >= 0) removeAt(parent, gName, 0);
    if (parent >= 0) sysClose(parent);
    if (hold >= 0) sysClose(hold);
}

void onSignal(int signal) {
    int saved = errno;
    removeHeld();  // the other signals are blocked while this runs
    errno = saved;
    // End the process as the signal would have.
    struct sigaction fallback = {};
    fallback.sa_handler = SIG_DFL;
    sigaction(signal, &fallback, nullptr);
    raise(signal);
}

void installOnce() {
    static std::once_flag once;
    std::call_once(once, [] {
        atexit([] { removeNow(); });
        // A signal the process ignores or handles itself stays as it is.
        if (gKeepSignals) return;
        for (int signal : endingSignals()) {
            struct sigaction old = {};
            sigaction(signal, nullptr, &old);
            if ((old.sa_flags & SA_SIGINFO) || old.sa_handler != SIG_DFL) continue;
            struct sigaction action = {};
            action.sa_handler = onSignal;
            sigfillset(&action.sa_mask);
            sigaction(signal, &action, nullptr);
        }
    });
}

}  // namespace

void keepSignals() {
    gKeepSignals = true;
}

void removeAtExit(const std::string& dir) {
    installOnce();
    std::string name;
    int parent = openParent(dir, &name);
    if (parent < 0 || name.size() >= sizeof(gName)) {
        if (parent >= 0) sysClose(parent);
        return;
    }
    removeNow();  // one folder at a time
    memcpy(gName, name.c_str(), name.size() + 1);
    gParent.store(parent);
}

void removeNow() {
    // A signal arriving half-way must not find the folder forgotten but not yet removed.
    sigset_t block, old;
    sigfillset(&block);
    pthread_sigmask(SIG_BLOCK, &block, &old);
    removeHeld();
    pthread_sigmask(SIG_SETMASK, &old, nullptr);
}

bool removeTree(const std::string& dir) {
    std::string name;
    int parent = openParent(dir, &name);
    if (parent < 0) return false;
    bool ok = removeAt(parent, name.c_str(), 0);
    sysClose(parent);
    return ok;
}

namespace {

// Whether the scratch folder |name| in |parent|, named PREFIX.PID.XXXXXX, was left by a process
// that is gone: the process PID is not running, the folder is this user's, and nobody holds it.
bool leftBehind(int parent, const char* name, size_t prefixLength) {
    const char* digits = name + prefixLength;
    char* end = nullptr;
    const long pid = strtol(digits, &end, 10);
    if (end == digits || *end != '.' || pid <= 0 || pid == getpid()) return false;
    if (kill(static_cast<pid_t>(pid), 0) == 0 || errno != ESRCH) return false;
    const int dir = sysOpenat(parent, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (dir < 0) return false;
    struct stat st;
    const bool gone =
            fstat(dir, &st) == 0 && st.st_uid == geteuid() && flock(dir, LOCK_EX | LOCK_NB) == 0;
    sysClose(dir);
    return gone;
}

void sweep(const std::string& parent, const std::string& prefix) {
    const int dir = sysOpenat(AT_FDCWD, parent.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (dir < 0) return;
    DIR* listing = fdopendir(dir);
    if (listing == nullptr) {
        sysClose(dir);
        return;
    }
    const std::string head = prefix + ".";
    std::vector<std::string> stale;
    while (struct dirent* entry = readdir(listing)) {
        if (strncmp(entry->d_name, head.c_str(), head.size()) == 0 &&
            leftBehind(dir, entry->d_name, head.size())) {
            stale.emplace_back(entry->d_name);
        }
    }
    for (const std::string& name : stale) removeAt(dir, name.c_str(), 0);
    closedir(listing);
}

}  // namespace

std::string makeScratch(const std::string& parent, const std::string& prefix, std::string* error) {
    sweep(parent, prefix);
    std::string dir = parent + "/" + prefix + "." + std::to_string(getpid()) + ".XXXXXX";
    // A signal arriving between the folder's making and its holding waits until it is held.
    installOnce();
    sigset_t block, old;
    sigfillset(&block);
    pthread_sigmask(SIG_BLOCK, &block, &old);
    const bool made = mkdtemp(&dir[0]) != nullptr;
    const int saved = errno;
    if (made) removeAtExit(dir);
    pthread_sigmask(SIG_SETMASK, &old, nullptr);
    if (!made) {
        *error = "cannot make a scratch folder in " + parent + ": " + strerror(saved);
        return "";
    }
    const int hold =
            sysOpenat(AT_FDCWD, dir.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (hold >= 0 && flock(hold, LOCK_SH) == 0) {
        const int old = gHold.exchange(hold);
        if (old >= 0) sysClose(old);
    } else if (hold >= 0) {
        sysClose(hold);
    }
    return dir;
}

}  // namespace cleanup
}  // namespace tevhost
