// The device sandbox: while a device root is set, the paths the service names resolve inside that
// root, as they would in a chroot, and the nodes there behave as the kernel's do. The libc entry
// points that the product and libstdc++ use are interposed here, so a library that knows nothing of
// the sandbox is redirected too. Writes are journaled; sleep runs on a virtual clock.
//
// Who is calling decides what is redirected. A thread is in the service between the construction
// and the destruction of a ServiceScope (made around every call into the service, and while the
// root and its areas are made), unless a HostScope made later on the same thread suspends it.
//
//   path                                         in the service           outside it
//   /sys/..., /d/..., /proc/...                  the root                 the root
//   /proc/self, /proc/thread-self, /proc/<pid>   the host's, no magic     the host's
//     (the process's own, after ".." is taken)   links (fd/N, cwd, root)
//   any other absolute path (/data, /vendor)     the root                 the host's
//   relative sys/..., proc/..., d/...            the root, from "/"       the root, from "/" (*)
//   any other relative path                      the root, from "/"       the host's
//   *at() relative to a folder opened in the     the root                 the root
//     root
//   *at() relative to any other folder           refused (EXDEV)          the host's
//
// (*) The product names some nodes relative to "/", its working directory on the handset; a
// caller that does not make ServiceScopes yet still reaches them.
//
// Inside the root, paths resolve as in a chroot (openat2 with RESOLVE_IN_ROOT on a descriptor of
// the root): ".." stops at the root, symbolic links, absolute ones too, resolve inside it, and the
// process's magic links are not followed. Where openat2 is missing (an old kernel, qemu-user), the
// sandbox walks the path component by component from the root itself, to the same effect
// (TEVHOST_NO_OPENAT2 forces that walk, for its tests). Only regular files and folders open there;
// anything else (a FIFO, a device, a socket) is refused with EACCES and never read.
//
// Nodes (the /sys, /proc and /d trees) behave as the kernel's: opening one never creates it; after
// every write it holds the bytes written since it was opened (a store replaces the value: "0"
// written over "255" reads "0"), unless a declared driver answers the session otherwise when it is
// closed; a /sys node opened for reading only reads at most one page, as a sysfs attribute does;
// the trees take no new folders and lose no nodes (mkdir, unlink, rmdir: EPERM). Other files in
// the root behave as files.
//
// This is a simulator, not a security boundary: code running in the process can reach the host
// through entry points that are not interposed (syscall(), the loader, glibc's internal calls).
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace tevhost {
namespace sandbox {

// Sets the device root (an existing directory); an empty root switches the mapping off. Set it
// while no other thread calls into the service.
void setRoot(const std::string& root);
std::string root();
// Where |path| lands for this thread, as text ("." and ".." taken, symbolic links not followed):
// the host path in the root, or |path| itself when it is the host's.
std::string hostPath(const std::string& path);
// The node path of |path| ("/sys/...", "." and ".." taken), or empty when it is not in /sys,
// /proc or /d (or is the process's own /proc entry).
std::string devicePath(const std::string& path);

// Whether the folder |dir| can be a device root: it holds only folders, regular files and
// relative links that stay inside it. False with |error|, one line naming the first file that is
// anything else (a device file, a FIFO, a socket, a link that leaves or is absolute).
bool checkRoot(const std::string& dir, std::string* error);

// Edits of the node tree, the one way a run script, a test or a tool puts a node into a state:
// |path| is a node path ("." and ".." taken; one that leaves /sys, /proc and /d is refused,
// "/sys/../etc" among them), resolved in the root as the service's paths are. Each state has one
// edit:
//   content  writeNode makes the missing folders and replaces the node's content, or an empty
//            folder in its place (a folder that holds nodes is refused: removeNode it first);
//   absent   removeNode removes the node or folder and all it holds, never following a link out
//            of it (a node that is not there is removed already);
//   folder   makeFolder puts an empty folder where the node was (opens of it succeed, reads fail);
//   denied   denyNode makes the node's opens fail with EACCES from now on, after the first
//            |opensFirst| (a node whose second open fails: 1);
//   full     makeFull makes every write fail with ENOSPC, the open succeeding (as /dev/full);
//   stuck    makeStuck makes every write answer 0, taking nothing and failing nothing;
// and allowNode undoes denied, full and stuck. False with |error| (one line) when refused or
// failed.
bool writeNode(const std::string& path, const std::string& content, std::string* error);
bool removeNode(const std::string& path, std::string* error);
bool makeFolder(const std::string& path, std::string* error);
bool denyNode(const std::string& path, std::string* error, int opensFirst = 0);
bool makeFull(const std::string& path, std::string* error);
bool makeStuck(const std::string& path, std::string* error);
bool allowNode(const std::string& path, std::string* error);

// Marks the current thread as being in the service for its lifetime (scopes nest).
class ServiceScope {
  public:
    ServiceScope();
    ~ServiceScope();
    ServiceScope(const ServiceScope&) = delete;
    ServiceScope& operator=(const ServiceScope&) = delete;
};

// Suspends the ServiceScopes of the current thread for its lifetime: a test helper that edits the
// root through host paths, a hook acting as the kernel driver.
class HostScope {
  public:
    HostScope();
    ~HostScope();
    HostScope(const HostScope&) = delete;
    HostScope& operator=(const HostScope&) = delete;
};

// Whether the current thread is in the service now.
bool inService();

struct Write {
    std::string path;  // the path on the handset, absolute ("/sys/...", "/data/...")
    std::string data;  // the exact bytes, NULs included
};
// Every write since the journal was last cleared or taken.
std::vector<Write> writes();
void clearWrites();
// Hands over the journal and empties it: a caller that drains it after each call keeps the
// journal's cost and memory to one call's writes.
std::vector<Write> takeWrites();

// While on, every path in the root the process reaches (an open, access or stat, whether it
// succeeds or not) is recorded in order, and every open there with the flags it was asked with and
// the descriptor it got: which nodes an operation touches, and how, is then seen, not restated.
// Switching it on forgets both records.
void recordReached(bool on);
std::vector<std::string> reached();
struct Open {
    std::string path;  // the path on the handset
    int flags;         // as the caller gave them
    int fd;            // the descriptor it got (0 is one), or -1
};
std::vector<Open> opened();

// A driver: once |word| has been written to |devicePath| (the bytes of one open-to-close session,
// exactly), the node reads |reply| from its next open on. A later answer to the same word replaces
// the earlier one.
void respond(const std::string& devicePath, const std::string& word, const std::string& reply);

// Virtual clock. While on, sleep/usleep/nanosleep return at once, advance the clock, record the
// duration and call the hook (where a test may act as the kernel driver).
void setVirtualClock(bool on);
bool virtualClock();
std::vector<double> sleeps();  // seconds, in order
double now();                  // virtual seconds slept so far
void setSleepHook(std::function<void(double seconds)> hook);
// Called at the start of every sleep (sleep, usleep, nanosleep, relative clock_nanosleep), on the
// virtual clock (|real| false) and off it (|real| true), before the sleep passes: a tool shows
// progress or records the sleeps of a real-time run through it.
void setSleepNotifier(std::function<void(double seconds, bool real)> notifier);

// Hands |watcher| the bytes of every write (or writev) to |fd| that reached it, on the writer's
// thread, once the write is done: a tool reads a report call by call through it. A null watcher
// stops watching.
void watchWrites(int fd, std::function<void(const std::string& bytes)> watcher);

// Forgets journal, drivers, node states (denied, full, stuck), sleeps, hook, notifier and watcher;
// keeps the root and the clock mode.
void reset();

}  // namespace sandbox
}  // namespace tevhost
