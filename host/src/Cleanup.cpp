// Removal of the scratch folder on every exit the process can catch. The removal runs in signal
// handlers too: it calls the kernel directly (no allocation, no lock, none of the sandbox's
// interposed entry points) and keeps what it needs in fixed buffers.
#include <fcntl.h>
#include <pthread.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <tevhost/Cleanup.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <mutex>

namespace tevhost {
namespace cleanup {
namespace {

constexpr int kSignals[] = {SIGINT, SIGTERM, SIGHUP, SIGPIPE};
constexpr int kMaxDepth = 64;

// The folder: a descriptor of the folder that holds it and its name there.
char gName[256];
std::atomic<int> gParent{-1};

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
    if (parent < 0) return;
    removeAt(parent, gName, 0);
    sysClose(parent);
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
        for (int signal : kSignals) {
            struct sigaction old = {};
            sigaction(signal, nullptr, &old);
            if (old.sa_handler == SIG_IGN) continue;
            struct sigaction action = {};
            action.sa_handler = onSignal;
            sigemptyset(&action.sa_mask);
            for (int other : kSignals) sigaddset(&action.sa_mask, other);
            sigaction(signal, &action, nullptr);
        }
    });
}

}  // namespace

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
    sigemptyset(&block);
    for (int signal : kSignals) sigaddset(&block, signal);
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

}  // namespace cleanup
}  // namespace tevhost
