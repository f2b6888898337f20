// The device sandbox's nodes: the kernel's semantics of the nodes in the root (never created nor
// appended to, a write replaces the value, a sysfs attribute shows one page), the descriptors open
// there, the journal of writes, declared drivers, the states a node can be put in, and the
// run-script edits of the node tree.
#include <dirent.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstring>

#include "SandboxState.h"

namespace tevhost {
namespace sandbox {

std::atomic<int> gTracked{0};

State& state() {
    static State* s = new State;  // never destroyed: libc calls may arrive during exit
    return *s;
}

namespace {

// A sysfs attribute shows at most one page.
constexpr size_t kSysfsPage = 4096;
// The file status flags fcntl(F_SETFL) can change.
constexpr int kStatusFlags = O_APPEND | O_ASYNC | O_DIRECT | O_NOATIME | O_NONBLOCK;

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
        node.takes = m.takes;
        node.written.clear();
    } else if (it != s.fds.end()) {
        // The number was reused behind our back (a descriptor closed by a path we do not see).
        s.fds.erase(it);
        gTracked.fetch_sub(1);
    }
}

// Whether an open of |m| is refused as denied; an open that is let through counts down the opens
// a node denied later still allows.
bool refusedOpen(const Mapped& m) {
    if (m.denied) return true;
    State& s = state();
    std::lock_guard<std::mutex> guard(s.lock);
    auto mark = s.marks.find(m.devicePath);
    if (mark == s.marks.end() || !mark->second.denied) return false;
    if (mark->second.opensFirst == 0) return true;
    --mark->second.opensFirst;
    return false;
}

void recordOpen(const Mapped& m, int flags, int fd) {
    State& s = state();
    std::lock_guard<std::mutex> guard(s.lock);
    if (s.recordReached) s.opened.push_back({m.devicePath, flags, fd});
}

// Opens what |m| names with |flags|, in the root.
int openNode(const Mapped& m, int flags, mode_t mode) {
    if (m.where == Where::kRefused) return failWith(EXDEV);
    if (refusedOpen(m)) return failWith(EACCES);
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

// Calls |visit| with the folder's descriptor and the name of every entry of the folder open on
// |dir| ("." and ".." left out), and closes |dir|. False when it cannot be read.
bool eachEntry(int dir, const std::function<void(int folder, const char* name)>& visit) {
    if (dir < 0) return false;
    DIR* entries = fdopendir(dir);
    if (entries == nullptr) {
        realClose(dir);
        return false;
    }
    while (struct dirent* e = readdir(entries)) {
        if (strcmp(e->d_name, ".") != 0 && strcmp(e->d_name, "..") != 0) {
            visit(dirfd(entries), e->d_name);
        }
    }
    closedir(entries);
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
    struct stat st;
    if (dir >= 0 && fstat(dir, &st) == 0 && !(st.st_mode & S_IWUSR)) {
        fchmod(dir, st.st_mode | S_IRWXU);
    }
    bool ok = true;
    const bool listed = eachEntry(
            dir, [&ok](int folder, const char* entry) { ok = removeAt(folder, entry) && ok; });
    return listed && ok && unlinkat(parent, name, AT_REMOVEDIR) == 0;
}

// Whether the folder at |devicePath| in the root holds anything.
bool holdsEntries(const std::string& devicePath) {
    bool holds = false;
    eachEntry(openInRoot(devicePath, O_RDONLY | O_DIRECTORY),
              [&holds](int, const char*) { holds = true; });
    return holds;
}

// The device path of a run-script edit's |path|, or "" with |error| when it leaves the node trees.
std::string nodePathOf(const std::string& path, std::string* error) {
    std::string device = devicePath(path);
    if (device.empty()) *error = "'" + path + "' is not a device path (/sys, /proc or /d)";
    return device;
}

// Changes the mark of the node at a run script's |path| with |change|.
bool markNode(const std::string& path, std::string* error,
              const std::function<void(Mark*)>& change) {
    std::string device = nodePathOf(path, error);
    if (device.empty()) return false;
    std::lock_guard<std::mutex> guard(state().lock);
    change(&state().marks[device]);
    return true;
}

}  // namespace

int openMapped(const Mapped& m, int flags, mode_t mode) {
    int fd = openNode(m, flags, mode);
    recordOpen(m, flags, fd);
    return fd;
}

void trackNew(int fd, const Mapped& m) {
    if (fd >= 0 && (m.where == Where::kRoot || gTracked.load() > 0)) track(fd, m);
}

Takes takenBy(int fd) {
    if (gTracked.load() == 0) return Takes::kAll;
    State& s = state();
    std::lock_guard<std::mutex> guard(s.lock);
    auto it = s.fds.find(fd);
    return it != s.fds.end() ? it->second.takes : Takes::kAll;
}

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

void beforeClose(int fd) {
    std::string reply;
    if (untrack(fd, &reply)) playDriver(fd, reply);
}

bool writeNode(const std::string& path, const std::string& content, std::string* error) {
    std::string device = nodePathOf(path, error);
    if (device.empty()) return false;
    size_t slash = device.rfind('/');
    int fd = -1;
    const int how = O_WRONLY | O_CREAT | O_TRUNC | O_NONBLOCK | O_NOCTTY;
    if (makeFolders(device.substr(0, slash))) fd = openInRoot(device, how, 0644);
    // An empty folder standing where the node goes is replaced, as any content is; one that holds
    // nodes is kept from a slip that would take them all.
    if (fd < 0 && errno == EISDIR) {
        if (holdsEntries(device)) {
            *error = device + " is a folder that holds nodes; rmnode it first to replace it";
            return false;
        }
        if (removeNode(device, error)) fd = openInRoot(device, how, 0644);
    }
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

bool denyNode(const std::string& path, std::string* error, int opensFirst) {
    return markNode(path, error, [opensFirst](Mark* mark) {
        mark->denied = true;
        mark->opensFirst = opensFirst;
    });
}

bool makeFull(const std::string& path, std::string* error) {
    return markNode(path, error, [](Mark* mark) { mark->takes = Takes::kNoSpace; });
}

bool makeStuck(const std::string& path, std::string* error) {
    return markNode(path, error, [](Mark* mark) { mark->takes = Takes::kNothing; });
}

bool allowNode(const std::string& path, std::string* error) {
    return markNode(path, error, [](Mark* mark) { *mark = Mark(); });
}

std::vector<Write> writes() {
    std::lock_guard<std::mutex> guard(state().lock);
    return state().journal;
}

void clearWrites() {
    std::lock_guard<std::mutex> guard(state().lock);
    state().journal.clear();
}

std::vector<Write> takeWrites() {
    std::vector<Write> taken;
    std::lock_guard<std::mutex> guard(state().lock);
    taken.swap(state().journal);
    return taken;
}

void recordReached(bool on) {
    std::lock_guard<std::mutex> guard(state().lock);
    state().recordReached = on;
    if (!on) return;
    state().reached.clear();
    state().opened.clear();
}

std::vector<std::string> reached() {
    std::lock_guard<std::mutex> guard(state().lock);
    return state().reached;
}

std::vector<Open> opened() {
    std::lock_guard<std::mutex> guard(state().lock);
    return state().opened;
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

void reset() {
    State& s = state();
    std::lock_guard<std::mutex> guard(s.lock);
    s.watcher = nullptr;
    gWatchedFd = -1;
    s.journal.clear();
    s.marks.clear();
    s.drivers.clear();
    s.sleeps.clear();
    s.now = 0;
    s.hook = nullptr;
    s.notifier = nullptr;
}

}  // namespace sandbox
}  // namespace tevhost
