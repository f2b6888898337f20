// The simulated handset is a sealed root: nothing the service names reaches a file outside the
// device root, its nodes behave as the kernel's, and the tool's own paths stay its own.
//
// Every handset here lives in a temporary folder next to a decoy tree: TEMP/root is the device
// root, TEMP/decoy the host files an escape would reach ("/sys/../../decoy/secret" joined as text
// onto the root lands on TEMP/decoy/secret). Each escape attempt must leave the decoy tree as it
// was and must not read it.
#include <dirent.h>
#include <fcntl.h>
#include <stdio.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <thread>

#include "AreaTest.h"

#include "ChildProcess.h"

namespace fs = std::filesystem;

namespace tevhost {
namespace {

using ::vendor::quoril::hardware::tevvendorservice::V1_0::ITevVendorService;

constexpr const char* kSecret = "secret";

std::string errnoName(int error) {
    const char* name = strerrorname_np(error);
    return name ? name : "errno " + std::to_string(error);
}

// What an open of |path| with |flags| gave: the bytes read (up to 64 kB), "written" or the error.
std::string tryOpen(const std::string& path, int flags, const std::string& data = "X") {
    int fd = open(path.c_str(), flags, 0644);
    if (fd < 0) return errnoName(errno);
    std::string out;
    if ((flags & O_ACCMODE) == O_RDONLY) {
        char buf[65536];
        ssize_t n;
        while ((n = read(fd, buf, sizeof(buf))) > 0) out.append(buf, static_cast<size_t>(n));
    } else {
        out = write(fd, data.data(), data.size()) == static_cast<ssize_t>(data.size())
                      ? "written"
                      : errnoName(errno);
    }
    close(fd);
    return out;
}

class SealedRootTest : public AreaTest {
  protected:
    void SetUp() override {
        AreaTest::SetUp();
        const char* tmp = getenv("TMPDIR");
        std::string pattern = std::string(tmp && *tmp ? tmp : "/tmp") + "/tevsealed.XXXXXX";
        ASSERT_NE(mkdtemp(&pattern[0]), nullptr);
        mTemp = pattern;
        mDevice = mTemp + "/root";
        mDecoy = mTemp + "/decoy";
        fs::create_directories(mDecoy + "/dir");
        std::ofstream(mDecoy + "/secret") << kSecret;
        std::ofstream(mDecoy + "/dir/file") << "file";
        for (const char* tree : {"/sys", "/proc", "/d", "/data"}) {
            fs::create_directories(mDevice + tree);
        }
        sandbox::setRoot(mDevice);
        put("/sys/class/leds/red/brightness", "255");
        // Links a profile could hold: each leaves the root if followed on the host.
        fs::create_symlink(mDecoy + "/secret", mDevice + "/sys/abs");
        fs::create_symlink("../../decoy/secret", mDevice + "/sys/up");
        fs::create_symlink(mDecoy, mDevice + "/sys/dirlink");
        fs::create_symlink("/sys/class/leds/red/brightness", mDevice + "/sys/inside");
        ASSERT_EQ(mkfifo((mDevice + "/sys/fifo").c_str(), 0600), 0);
        mDecoyBefore = decoyTree();
    }
    void TearDown() override {
        EXPECT_EQ(decoyTree(), mDecoyBefore) << "the decoy tree changed";
        AreaTest::TearDown();
        std::error_code ignored;
        fs::remove_all(mTemp, ignored);
    }

    // Every entry under TEMP but the root, with the content of every file: what an escape changes.
    std::map<std::string, std::string> decoyTree() {
        sandbox::HostScope host;
        std::map<std::string, std::string> tree;
        for (auto it = fs::recursive_directory_iterator(mTemp); it != fs::end(it); ++it) {
            std::string path = it->path().string();
            if (path.rfind(mDevice, 0) == 0) {
                if (it->is_directory() && !it->is_symlink()) it.disable_recursion_pending();
                continue;
            }
            std::ifstream in(path, std::ios::binary);
            tree[path] = it->is_regular_file() ? std::string(std::istreambuf_iterator<char>(in), {})
                                               : "<not a file>";
        }
        return tree;
    }
    void put(const std::string& devicePath, const std::string& content) {
        std::string error;
        ASSERT_TRUE(sandbox::writeNode(devicePath, content, &error)) << error;
    }
    std::string held(const std::string& devicePath) {
        sandbox::HostScope host;
        std::ifstream in(mDevice + devicePath, std::ios::binary);
        if (!in) return kAbsent;
        return std::string(std::istreambuf_iterator<char>(in), {});
    }
    std::string expand(std::string path) const {
        for (auto [key, value] : {std::pair<std::string, std::string>{"{D}", mDecoy},
                                  {"{P}", std::to_string(getpid())}}) {
            for (size_t at; (at = path.find(key)) != std::string::npos;) path.replace(at, 3, value);
        }
        return path;
    }

    std::string mTemp;
    std::string mDevice;
    std::string mDecoy;
    std::map<std::string, std::string> mDecoyBefore;
};

// Each path form an escape can take, and what a read of it gives. Every row is also written to,
// created, accessed and stat'ed; none of it may reach the decoy tree.
struct Escape {
    const char* path;
    bool serviceOnly;  // outside the service the path is the tool's own, by design
    const char* read;  // what reading it gives
};
const Escape kEscapes[] = {
        {"/sys/../../decoy/secret", false, "ENOENT"},
        {"sys/../../decoy/secret", false, "ENOENT"},
        {"/d/../../decoy/secret", false, "ENOENT"},
        {"/proc/../../decoy/secret", false, "ENOENT"},
        {"//sys//class/../../../../decoy/secret", false, "ENOENT"},
        {"/sys/abs", false, "ENOENT"},             // absolute link to the decoy
        {"/sys/up", false, "ENOENT"},              // relative link that climbs out
        {"/sys/dirlink/secret", false, "ENOENT"},  // a linked folder
        {"/sys/dirlink/dir/../secret", false, "ENOENT"},
        {"/sys/fifo", false, "EACCES"},                // never read, never hangs
        {"/sys/inside", false, "255"},                 // an absolute link resolves in the root
        {"{D}/secret", true, "ENOENT"},                // any absolute path is the handset's
        {"../decoy/secret", true, "ENOENT"},           // relative paths start at the handset's "/"
        {"/proc/self/root{D}/secret", true, "ELOOP"},  // magic links are not followed
        {"/proc/{P}/root{D}/secret", true, "ELOOP"},
        {"/proc/self/cwd/../decoy/secret", true, "ELOOP"},
        {"/proc/self/../../decoy/secret", true, "ENOENT"},
};

// qemu-user answers the process's own /proc entries itself: a magic link there is refused all the
// same, but as absent.
bool refusedAlike(const std::string& got, const std::string& want) {
    return got == want || (want == "ELOOP" && got == "ENOENT" && !tevhost::emulator().empty());
}

TEST_F(SealedRootTest, NoPathFormReachesTheDecoys) {
    for (bool service : {false, true}) {
        std::optional<sandbox::ServiceScope> scope;
        if (service) scope.emplace();
        for (const Escape& e : kEscapes) {
            if (e.serviceOnly && !service) continue;
            std::string path = expand(e.path);
            SCOPED_TRACE(path + (service ? " in the service" : " outside the service"));
            EXPECT_PRED2(refusedAlike, tryOpen(path, O_RDONLY), e.read);
            EXPECT_PRED2(refusedAlike, tryOpen(path, O_RDONLY | O_NONBLOCK), e.read);
            const bool inside = std::string(e.read) == "255";
            if (!inside) {
                EXPECT_NE(tryOpen(path, O_WRONLY | O_TRUNC), "written") << "wrote through";
                EXPECT_NE(tryOpen(path, O_WRONLY | O_CREAT | O_TRUNC), "written");
                std::ofstream(path) << "X";
            }
            if (std::string(e.read) != "EACCES") {
                EXPECT_EQ(access(path.c_str(), F_OK) == 0, inside);
            }
            // The kernel's trees lose no nodes and take no folders; elsewhere there is nothing.
            EXPECT_NE(unlink(path.c_str()), 0);
            EXPECT_NE(rmdir(path.c_str()), 0);
            EXPECT_NE(remove(path.c_str()), 0);
            EXPECT_NE(mkdir((path + "/new").c_str(), 0755), 0);
            FILE* f = fopen(path.c_str(), "r");
            EXPECT_EQ(f == nullptr, !inside);
            if (f) fclose(f);
            std::ifstream in(path);
            EXPECT_NE(std::string(std::istreambuf_iterator<char>(in), {}), kSecret);
            struct stat st;
            if (stat(path.c_str(), &st) == 0) {
                EXPECT_NE(st.st_size, 6) << "stat saw the decoy";
            }
            EXPECT_EQ(decoyTree(), mDecoyBefore);
        }
    }
    EXPECT_EQ(held("/sys/class/leds/red/brightness"), "255");
}

// The pass-throughs are the service's widest door: any path, any value.
TEST_F(SealedRootTest, PassThroughsStayInTheHandset) {
    auto service = root();
    sandbox::ServiceScope scope;
    for (const Escape& e : kEscapes) {
        std::string path = expand(e.path);
        SCOPED_TRACE(path);
        std::string got;
        service->getVendorFileValue(path, [&](const auto& v) { got = v; });
        EXPECT_EQ(got, std::string(e.read) == "255" ? "255" : "");
        service->setVendorFileValue(path, "7", [](const auto&) {});
        EXPECT_EQ(decoyTree(), mDecoyBefore);
    }
    // The handset has a /data of its own; what is written there is journaled like any write.
    sandbox::clearWrites();
    std::string result;
    service->setVendorFileValue("/data/note", "7", [&](const auto& v) { result = v; });
    EXPECT_EQ(result, "success");
    EXPECT_EQ(held("/data/note"), "7");
    ASSERT_EQ(writes().size(), 1u);
    EXPECT_EQ(writes()[0].path, "/data/note");
    EXPECT_EQ(mkdir("/data/folder", 0755), 0);
    {
        sandbox::HostScope host;  // the test's own look at the root
        EXPECT_TRUE(fs::is_directory(mDevice + "/data/folder"));
    }
    EXPECT_EQ(remove("/data/note"), 0);
    EXPECT_EQ(held("/data/note"), kAbsent);
}

// Where each path lands, in the service and outside it.
TEST_F(SealedRootTest, WhoCallsDecidesWhatIsRedirected) {
    const std::string own = "/proc/" + std::to_string(getpid()) + "/status";
    struct Row {
        std::string path;
        std::string inService;  // "" : the path itself
        std::string outside;
    };
    const Row rows[] = {
            {"/sys/x", "/sys/x", "/sys/x"},
            {"/sys/../sys/./x", "/sys/x", "/sys/x"},
            {"/sys/../../etc/x", "/etc/x", "/etc/x"},  // began in the device's tree
            {"sys/x", "/sys/x", "/sys/x"},
            {"d/steps", "/d/steps", "/d/steps"},
            {"/data/x", "/data/x", ""},
            {"/vendor/etc/x", "/vendor/etc/x", ""},
            {"notes/x", "/notes/x", ""},
            {"../x", "/x", ""},
            {"/proc/self/status", "", ""},
            {"/proc/thread-self/status", "", ""},
            {own, "", ""},
            {"/proc/1/status", "/proc/1/status", "/proc/1/status"},
            {"/proc/self/../1/status", "/proc/1/status", ""},
            {"/proc/self/../../etc/x", "/etc/x", ""},
            {"/sysfoo", "/sysfoo", ""},
    };
    auto landing = [&](const std::string& expected, const std::string& path) {
        return expected.empty() ? path : mDevice + expected;
    };
    for (const Row& row : rows) {
        EXPECT_EQ(sandbox::hostPath(row.path), landing(row.outside, row.path)) << row.path;
        {
            sandbox::ServiceScope scope;
            EXPECT_TRUE(sandbox::inService());
            EXPECT_EQ(sandbox::hostPath(row.path), landing(row.inService, row.path)) << row.path;
            sandbox::HostScope host;
            EXPECT_FALSE(sandbox::inService());
            EXPECT_EQ(sandbox::hostPath(row.path), landing(row.outside, row.path)) << row.path;
        }
    }
    // A scope is the calling thread's alone.
    sandbox::ServiceScope scope;
    std::string other;
    std::thread([&] { other = sandbox::hostPath("/data/x"); }).join();
    EXPECT_EQ(other, "/data/x");
}

TEST_F(SealedRootTest, FoldersOpenedInTheRootKeepRelativePathsThere) {
    int dir = open("/sys/class", O_RDONLY | O_DIRECTORY);
    ASSERT_GE(dir, 0);
    int fd = openat(dir, "leds/red/brightness", O_RDONLY);
    EXPECT_GE(fd, 0);
    if (fd >= 0) close(fd);
    EXPECT_EQ(openat(dir, "../../../decoy/secret", O_RDONLY), -1);
    struct stat st;
    EXPECT_EQ(fstatat(dir, "leds/red/brightness", &st, 0), 0);
    EXPECT_EQ(st.st_size, 3);
    close(dir);
    EXPECT_EQ(opendir("/sys/dirlink"), nullptr);
    DIR* listing = opendir("/sys/class");
    ASSERT_NE(listing, nullptr);
    std::vector<std::string> names;
    while (struct dirent* e = readdir(listing)) names.push_back(e->d_name);
    closedir(listing);
    EXPECT_THAT(names, Contains("leds"));
    // In the service, a folder opened elsewhere is not a way out.
    int host = open(mDecoy.c_str(), O_RDONLY | O_DIRECTORY);
    ASSERT_GE(host, 0);
    {
        sandbox::ServiceScope scope;
        EXPECT_EQ(openat(host, "secret", O_RDONLY), -1);
        EXPECT_EQ(errno, EXDEV);
    }
    close(host);
}

// A store replaces the node's value; a session is the bytes between one open and its close.
struct Session {
    int flags;  // -1: an ofstream with trunc, -2: fopen "a", -3: fopen "r+"
    std::vector<std::string> writes;
};
struct NodeCase {
    const char* name;
    const char* before;
    std::vector<Session> sessions;
    const char* after;
};
const NodeCase kNodeCases[] = {
        {"a shorter value replaces a longer one", "255", {{O_RDWR, {"0"}}}, "0"},
        {"writes of one session add up", "255", {{O_WRONLY, {"1", "2"}}}, "12"},
        {"each session starts afresh", "255", {{O_WRONLY, {"100"}}, {O_WRONLY, {"7"}}}, "7"},
        {"a session without writes keeps the value", "255", {{O_RDWR, {}}}, "255"},
        {"a node is never appended to", "255", {{O_WRONLY | O_APPEND, {"7"}}}, "7"},
        {"a stream opened for appending replaces too", "255", {{-2, {"9"}}}, "9"},
        {"a truncating stream replaces", "255", {{-1, {"1"}}}, "1"},
};

TEST_F(SealedRootTest, AWriteReplacesTheValue) {
    const std::string node = "/sys/class/leds/red/brightness";
    for (const NodeCase& c : kNodeCases) {
        SCOPED_TRACE(c.name);
        put(node, c.before);
        sandbox::clearWrites();
        std::vector<std::string> journaled;
        for (const Session& s : c.sessions) {
            if (s.flags == -1) {
                std::ofstream out(node, std::ios::out | std::ios::trunc);
                for (const auto& w : s.writes) out << w << std::flush;
            } else if (s.flags == -2) {
                FILE* f = fopen(node.c_str(), "a");
                ASSERT_NE(f, nullptr);
                for (const auto& w : s.writes) fwrite(w.data(), 1, w.size(), f);
                fclose(f);
                continue;  // a stream's writes go through glibc's own write(): not journaled
            } else {
                int fd = open(node.c_str(), s.flags);
                for (const auto& w : s.writes) {
                    EXPECT_EQ(write(fd, w.data(), w.size()), static_cast<ssize_t>(w.size()));
                }
                close(fd);
            }
            journaled.insert(journaled.end(), s.writes.begin(), s.writes.end());
        }
        EXPECT_EQ(held(node), c.after);
        EXPECT_EQ(writesTo(node), journaled);
    }
}

TEST_F(SealedRootTest, ReadsAreBoundedAsTheKernelsAre) {
    const struct {
        const char* path;
        size_t size;
        size_t readable;
    } cases[] = {
            {"/sys/big", 10000, 4096},  // a sysfs attribute shows one page
            {"/sys/page", 4096, 4096},   {"/sys/small", 10, 10},
            {"/proc/big", 10000, 10000},  // a seq file is as long as it is
            {"/d/big", 10000, 10000},
    };
    for (const auto& c : cases) {
        put(c.path, std::string(c.size, 'x'));
        EXPECT_EQ(tryOpen(c.path, O_RDONLY).size(), c.readable) << c.path;
        std::ifstream in(c.path);
        EXPECT_EQ(std::string(std::istreambuf_iterator<char>(in), {}).size(), c.readable) << c.path;
    }
}

TEST_F(SealedRootTest, OnlyFilesAndFoldersOpen) {
    const std::string fifo = "/sys/fifo";
    for (int flags : {O_RDONLY, O_WRONLY, O_RDWR, O_RDONLY | O_NONBLOCK}) {
        EXPECT_EQ(tryOpen(fifo, flags), "EACCES") << flags;
    }
    EXPECT_EQ(access(fifo.c_str(), F_OK), 0);  // it is there, it just is not the host's to read
    if (mknod((mDevice + "/sys/null").c_str(), S_IFCHR | 0600, makedev(1, 3)) == 0) {
        EXPECT_EQ(tryOpen("/sys/null", O_RDONLY), "EACCES");
    }
    EXPECT_EQ(tryOpen("/sys/class", O_RDONLY | O_DIRECTORY), "");
}

// Descriptors are forgotten before they are closed: a number another thread gets right after the
// close must keep its own session. Threads write their own nodes; every write is journaled.
TEST_F(SealedRootTest, ClosingDoesNotLoseAnotherThreadsSession) {
    constexpr int kRounds = 5000;
    const std::string nodes[] = {"/sys/a", "/sys/b", "/sys/c", "/sys/d"};
    for (const auto& node : nodes) put(node, "");
    std::vector<std::thread> threads;
    for (const auto& node : nodes) {
        threads.emplace_back([&node] {
            for (int i = 0; i < kRounds; ++i) {
                int fd = open(node.c_str(), O_WRONLY);
                if (write(fd, "1", 1) != 1) return;
                close(fd);
            }
        });
    }
    for (auto& t : threads) t.join();
    for (const auto& node : nodes) {
        EXPECT_EQ(writesTo(node).size(), static_cast<size_t>(kRounds)) << node;
    }
}

// What run steps do to the node tree: inside the root or refused, whatever the path says.
TEST_F(SealedRootTest, NodeEditsStayInTheRoot) {
    fs::create_directories(mDevice + "/sys/ro/inner");
    put("/sys/ro/inner/x", "1");
    fs::permissions(mDevice + "/sys/ro/inner", fs::perms::owner_read | fs::perms::owner_exec);
    const std::string notDevice = " is not a device path (/sys, /proc or /d)";
    const struct {
        char edit;  // writeNode, removeNode, makeFolder, denyNode
        const char* path;
        const char* error;  // empty: done
        const char* node;   // what the (normalized) node holds afterwards
    } cases[] = {
            {'w', "/sys/new/deep/x", "", "/sys/new/deep/x=7"},
            {'w', "sys/../sys/rel", "", "/sys/rel=7"},
            {'w', "/sys/inside", "", "/sys/class/leds/red/brightness=7"},
            {'w', "/sys/../../decoy/secret", "'/sys/../../decoy/secret'", ""},
            {'w', "/proc/self/status", "'/proc/self/status'", ""},
            {'w', "/sys/abs", "cannot write /sys/abs", ""},
            {'w', "/sys/up", "cannot write /sys/up", ""},
            {'w', "/sys/dirlink/new", "cannot write /sys/dirlink/new", ""},
            {'w', "/sys/fifo", "cannot write /sys/fifo", ""},
            // A folder that holds nodes is not replaced by one; an empty one is.
            {'w', "/sys/class",
             "/sys/class is a folder that holds nodes; rmnode it first to replace it",
             "/sys/class/leds/red/brightness=7"},
            {'w', "/sys", "/sys is a folder that holds nodes; rmnode it first to replace it", ""},
            {'f', "/sys/placed", "", ""},
            {'w', "/sys/placed", "", "/sys/placed=7"},
            {'r', "/sys/../..", "'/sys/../..'", ""},
            {'r', "/d/../..", "'/d/../..'", ""},
            {'r', "/sys/dirlink", "", "/sys/dirlink=<absent>"},  // the link, not what it names
            {'r', "/sys/up", "", "/sys/up=<absent>"},
            {'r', "/sys/absent/node", "", "/sys/absent/node=<absent>"},
            {'r', "/sys/ro", "", "/sys/ro/inner/x=<absent>"},  // a folder without write permission
            {'r', "/sys/class", "", "/sys/class/leds/red/brightness=<absent>"},
            {'f', "/sys/../../decoy/dir", "'/sys/../../decoy/dir'", ""},
            {'f', "/sys/abs/new", "cannot make the folder /sys/abs/new", ""},
            {'f', "/sys/abs", "", "/sys/abs/x=<absent>"},  // the link goes, a folder stands there
            {'d', "/proc/../../decoy/secret", "'/proc/../../decoy/secret'", ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.path);
        std::string error;
        bool done = c.edit == 'w'   ? sandbox::writeNode(c.path, "7", &error)
                    : c.edit == 'r' ? sandbox::removeNode(c.path, &error)
                    : c.edit == 'f' ? sandbox::makeFolder(c.path, &error)
                                    : sandbox::denyNode(c.path, &error);
        EXPECT_EQ(done, *c.error == '\0');
        if (*c.error == '\'') {
            EXPECT_EQ(error, c.error + notDevice);
        } else {
            EXPECT_EQ(error, c.error);
        }
        if (*c.node) {
            std::string node = c.node;
            EXPECT_EQ(node.substr(0, node.find('=')) + "=" + held(node.substr(0, node.find('='))),
                      node);
        }
        EXPECT_EQ(decoyTree(), mDecoyBefore);
    }
}

// What a profile's fs/ may hold; the first file that is anything else is named.
TEST_F(SealedRootTest, ARootHoldsOnlyFilesFoldersAndLinksInside) {
    const std::string fsDir = mTemp + "/profile/fs";
    const struct {
        const char* name;
        std::function<void(const std::string&)> make;  // makes fsDir + "/sys/x"
        const char* what;                              // empty: accepted
    } cases[] = {
            {"file", [](const std::string& p) { std::ofstream(p) << "1"; }, ""},
            {"folder", [](const std::string& p) { fs::create_directory(p); }, ""},
            {"link inside", [](const std::string& p) { fs::create_symlink("../d/y", p); }, ""},
            {"dangling link inside", [](const std::string& p) { fs::create_symlink("none", p); },
             ""},
            {"link that climbs out",
             [](const std::string& p) { fs::create_symlink("../../../decoy/secret", p); },
             "a link out of it (../../../decoy/secret)"},
            {"link to the fs/ folder's parent",
             [](const std::string& p) { fs::create_symlink("../..", p); },
             "a link out of it (../..)"},
            {"absolute link", [](const std::string& p) { fs::create_symlink("/sys/y", p); },
             "a link to an absolute path (/sys/y)"},
            {"FIFO", [](const std::string& p) { mkfifo(p.c_str(), 0600); }, "a FIFO"},
            {"device", [](const std::string& p) { mknod(p.c_str(), S_IFCHR | 0600, makedev(1, 3)); },
             "a device file"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        fs::remove_all(mTemp + "/profile");
        fs::create_directories(fsDir + "/sys");
        fs::create_directories(fsDir + "/d");
        c.make(fsDir + "/sys/x");
        if (!fs::exists(fs::symlink_status(fsDir + "/sys/x"))) continue;  // mknod needs root
        std::string error;
        EXPECT_EQ(sandbox::checkRoot(fsDir, &error), *c.what == '\0');
        EXPECT_EQ(error, *c.what ? fsDir + "/sys/x: " + c.what +
                                           "; a profile's fs/ holds only folders, files and links "
                                           "that stay inside it"
                                 : "");
    }
    fs::remove_all(mTemp + "/profile");
}

}  // namespace
}  // namespace tevhost
