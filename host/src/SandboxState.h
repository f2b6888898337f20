// What the parts of the device sandbox share: its state, where a path the caller named resolves,
// and the real libc calls behind the interposed ones. SandboxPaths.cpp resolves paths in the root,
// SandboxNodes.cpp gives the nodes there the kernel's semantics and makes the run-script edits,
// SandboxCalls.cpp interposes the libc entry points and runs the virtual clock.
#pragma once

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <tevhost/Sandbox.h>

#include <atomic>
#include <cerrno>
#include <functional>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

namespace tevhost {
namespace sandbox {

// Where a path the caller named resolves.
enum class Where {
    kHost,     // the caller's own path, untouched
    kOwnProc,  // the process's own /proc entry on the host, without magic links
    kRoot,     // inside the device root
    kRefused,  // relative to a folder outside the root, from the service
};

// What a node does with the bytes written to it.
enum class Takes {
    kAll,      // every byte: the value is what was written since the open
    kNothing,  // write() answers 0: nothing taken, no error
    kNoSpace,  // write() fails with ENOSPC, as /dev/full
};

// The states a run script or a test put a node in, beside its content.
struct Mark {
    bool denied = false;
    int opensFirst = 0;  // while denied: the opens that still succeed before the refusals
    Takes takes = Takes::kAll;
};

struct OpenNode {
    std::string devicePath;  // "/sys/...", "." and ".." taken: journal, drivers
    std::string resolve;     // the path as resolved from the root: what *at() calls join onto
    bool node = false;       // in /sys, /proc or /d
    Takes takes = Takes::kAll;
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
    std::vector<Open> opened;
    std::map<std::string, Mark> marks;
    std::multimap<std::string, Driver> drivers;
    std::unordered_map<int, OpenNode> fds;
    std::vector<double> sleeps;
    double now = 0;
    std::function<void(double)> hook;
    std::function<void(double, bool)> notifier;
    std::function<void(const std::string&)> watcher;
};

// Never destroyed: libc calls may arrive during exit.
State& state();

extern std::atomic<bool> gActive;    // a root is set
extern std::atomic<int> gRootFd;     // an O_PATH descriptor of the root
extern std::atomic<int> gTracked;    // descriptors in State::fds
extern std::atomic<int> gWatchedFd;  // the descriptor watchWrites() watches, or -1

// Where a path the caller named resolves, and the states of the node there.
struct Mapped {
    Where where = Where::kHost;
    bool node = false;   // a kernel node: in /sys, /proc or /d
    bool sysfs = false;  // in /sys
    bool denied = false;
    Takes takes = Takes::kAll;
    std::string devicePath;      // the path on the handset, "." and ".." taken
    std::string resolve;         // what openat2 resolves (from the root, or on the host)
    const char* path = nullptr;  // the caller's own path, for kHost
};

template <typename Fn>
Fn real(const char* name) {
    return reinterpret_cast<Fn>(dlsym(RTLD_NEXT, name));
}

int realClose(int fd);

inline int failWith(int error) {
    errno = error;
    return -1;
}

// Resolution (SandboxPaths.cpp).

// |path| as an absolute path on the handset, taken from |base| when relative: empty and "."
// components dropped, ".." stopping at "/". Symbolic links are not followed.
std::string normalize(const std::string& base, const char* path);
// Whether the calling thread is in the service now.
bool inServiceNow();
// Where |path| (relative to |dirfd| when that is not AT_FDCWD) resolves for the calling thread.
Mapped map(int dirfd, const char* path);
// Opens what |m| names inside the root (or the process's own /proc entry), as openat2 would.
int resolveOpen(const Mapped& m, int flags, mode_t mode);
// An O_PATH descriptor of what |m| names (the link itself when |follow| is false), for the calls
// that take a path but open nothing.
int pathFd(const Mapped& m, bool follow);
// A descriptor of |devicePath| ("/sys/...", no "." or ".." left) opened in the root.
int openInRoot(const std::string& devicePath, int flags, mode_t mode = 0);

// Node semantics (SandboxNodes.cpp).

// Opens what |m| names with |flags|. Nodes are never created nor appended to; only regular files
// and folders open.
int openMapped(const Mapped& m, int flags, mode_t mode);
// Tracks |fd|, just opened on the host, when a descriptor of the root may have had its number.
void trackNew(int fd, const Mapped& m);
// What the node open on |fd| takes of a write (everything when it is not one).
Takes takenBy(int fd);
// Records a write of |size| bytes to |fd|; true when |fd| is a node, whose value is then what was
// written since it opened.
bool journal(int fd, const void* data, size_t size);
// A store replaces the node's value: what lies beyond what this session wrote goes.
void endValueAtOffset(int fd);
// Untracks |fd| before it is really closed (once closed, another thread may get its number), and
// plays the driver that answers what the session wrote.
void beforeClose(int fd);

}  // namespace sandbox
}  // namespace tevhost
