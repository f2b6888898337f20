// The sandbox must redirect every libc entry point the product reaches, from a library that does
// not link it, and leave every other path alone; and keep its own contract: the journal, drivers,
// denials, the nodes it will not create, and reset.
#include <fcntl.h>
#include <sys/uio.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <functional>

#include "HandsetTest.h"
#include "probe/SandboxProbe.h"

namespace tevhost {
namespace {

using probe::Entry;

class SandboxTest : public HandsetTest {
  public:
    using HandsetTest::node;
    using HandsetTest::nodeContent;
};

TEST_F(SandboxTest, EveryOpenEntryPointReadsTheDeviceRoot) {
    const std::pair<std::string, const char*> nodes[] = {{"sys/class/x/value", "sys"},
                                                         {"proc/tp_selftest", "proc"},
                                                         {"d/1d84000.ufshc/dump", "debugfs"}};
    for (const auto& [path, content] : nodes) node("/" + path, content);
    for (int entry = 0; entry <= static_cast<int>(Entry::kIfstream); ++entry) {
        for (const auto& [path, content] : nodes) {
            // Relative paths are relative to "/", the service's working directory.
            for (const std::string& p : {"/" + path, path}) {
                EXPECT_EQ(probe::readWith(Entry(entry), p.c_str()), content) << entry << " " << p;
            }
        }
    }
}

TEST_F(SandboxTest, AccessAndStatSeeTheDeviceRoot) {
    node("/sys/a/b", "12345");
    EXPECT_EQ(probe::accessPath("/sys/a/b", F_OK), 0);
    EXPECT_EQ(probe::faccessatPath("/sys/a/b", R_OK), 0);
    EXPECT_EQ(probe::accessPath("/sys/a/missing", F_OK), -1);
    EXPECT_EQ(probe::statSize("/sys/a/b"), 5);
    EXPECT_EQ(probe::lstatSize("/sys/a/b"), 5);
    EXPECT_EQ(probe::fstatatSize("sys/a/b"), 5);
    EXPECT_EQ(probe::statxSize("/sys/a/b"), 5);
}

TEST_F(SandboxTest, OtherPathsPassThrough) {
    // /proc/self, /proc/<pid> and paths that merely begin with the same letters stay on the host.
    EXPECT_NE(probe::readWith(Entry::kOpen, "/proc/self/stat"), "<open failed>");
    std::string pid = "/proc/" + std::to_string(getpid()) + "/stat";
    EXPECT_NE(probe::readWith(Entry::kOpen, pid.c_str()), "<open failed>");
    EXPECT_NE(probe::readWith(Entry::kFopen, "/proc/thread-self/stat"), "<open failed>");
    EXPECT_EQ(sandbox::hostPath("/system/etc/hosts"), "/system/etc/hosts");
    EXPECT_EQ(sandbox::hostPath("/dev/null"), "/dev/null");
    EXPECT_EQ(sandbox::hostPath("/sysfoo"), "/sysfoo");
    EXPECT_EQ(sandbox::hostPath("dx/y"), "dx/y");
    EXPECT_EQ(sandbox::hostPath("/sys"), hostPath("/sys"));
    EXPECT_EQ(sandbox::hostPath("/proc/12ab"), hostPath("/proc/12ab"));
    EXPECT_EQ(sandbox::devicePath("d/x"), "/d/x");
    // ".." stops at the device root.
    EXPECT_EQ(sandbox::hostPath("/sys/../../etc"), hostPath("/etc"));
}

TEST_F(SandboxTest, NothingIsMappedWithoutARoot) {
    sandbox::setRoot("");
    EXPECT_EQ(sandbox::hostPath("/sys/x"), "/sys/x");
    EXPECT_EQ(probe::accessPath("/proc/version", F_OK), 0);  // the host's own
}

TEST_F(SandboxTest, AWatchedDescriptorHandsOverEveryWrite) {
    const int watched = open("/dev/null", O_WRONLY);
    const int other = open("/dev/null", O_WRONLY);
    std::vector<std::string> seen;
    // The watcher may write itself (a tool prints what it is handed).
    sandbox::watchWrites(watched, [&](const std::string& bytes) {
        seen.push_back(bytes);
        EXPECT_EQ(write(other, "echo", 4), 4);
    });
    char second[] = "b\0c";
    struct iovec parts[] = {{second, 1}, {second + 1, 2}};
    EXPECT_EQ(write(watched, "a", 1), 1);
    EXPECT_EQ(writev(watched, parts, 2), 3);
    EXPECT_EQ(write(other, "z", 1), 1);
    sandbox::watchWrites(watched, nullptr);
    EXPECT_EQ(write(watched, "after", 5), 5);
    EXPECT_THAT(seen, ::testing::ElementsAre("a", std::string("b\0c", 3)));
    close(watched);
    close(other);
}

// Writes |words| to |path|, each in an open-to-close session of its own, and reads it back.
std::string sessionsThenRead(const char* path, const std::vector<std::string>& words) {
    for (const std::string& word : words) {
        int fd = open(path, O_WRONLY);
        if (fd < 0) return "<open failed>";
        for (char c : word) (void)!write(fd, &c, 1);  // a session of many writes is one word
        close(fd);
    }
    return probe::readWith(Entry::kOpen, path);
}

// Failure of an open as "errno name", or "opened".
std::string openOutcome(bool opened) {
    return opened ? "opened" : errno == ENOENT ? "ENOENT" : errno == EACCES ? "EACCES" : "other";
}

struct Contract {
    const char* what;
    std::function<std::string(SandboxTest&)> run;
    std::string expected;
};

// Each case starts from an empty device root. None depends on whether a write appends to a node
// or replaces its value.
const Contract kContract[] = {
        {"the journal keeps every byte written through write and writev, NULs included, in order",
         [](SandboxTest& t) {
             t.node("/sys/n", "");
             int fd = open("sys/n", O_WRONLY);  // relative to "/", as the service's paths
             (void)!write(fd, "ab", 2);
             iovec parts[] = {{const_cast<char*>("c\0"), 2}, {const_cast<char*>("d"), 1}};
             (void)!writev(fd, parts, 2);
             close(fd);
             // A writev may be one entry or one per part: what counts is every byte, in order.
             std::string out;
             for (const sandbox::Write& w : sandbox::writes()) {
                 out += w.path == "/sys/n" ? w.data : "<" + w.path + ">";
             }
             return out;
         },
         std::string("abc\0d", 5)},
        {"a driver answers its word written in one session, from the next open on, as last "
         "declared",
         [](SandboxTest& t) {
             t.node("/sys/t", "0\n");
             sandbox::respond("/sys/t", "short", "1\n");
             sandbox::respond("/sys/t", "short", "2\n");
             return sessionsThenRead("/sys/t", {"short"});
         },
         "2\n"},
        {"a word split over two sessions, or with more bytes, is not the driver's word",
         [](SandboxTest& t) {
             t.node("/sys/t", "0\n");
             sandbox::respond("/sys/t", "short", "2\n");
             std::string split = sessionsThenRead("/sys/t", {"sh", "ort"});
             std::string longer = sessionsThenRead("/sys/t", {"short\n"});
             return std::string(split == "2\n" ? "answered" : "silent") + " " +
                    (longer == "2\n" ? "answered" : "silent");
         },
         "silent silent"},
        {"opening an absent node, even to create it, fails and creates nothing",
         [](SandboxTest& t) {
             int fd = open("/sys/new", O_WRONLY | O_CREAT, 0644);
             std::string out = openOutcome(fd >= 0);
             if (fd >= 0) close(fd);
             return out + " " + t.nodeContent("/sys/new");
         },
         "ENOENT <absent>"},
        {"fopen for writing of an absent node fails and creates nothing",
         [](SandboxTest& t) {
             FILE* f = fopen("/sys/new", "w");
             std::string out = openOutcome(f != nullptr);
             if (f) fclose(f);
             return out + " " + t.nodeContent("/sys/new");
         },
         "ENOENT <absent>"},
        {"a denied node refuses every open with EACCES until allowed, and keeps its content",
         [](SandboxTest& t) {
             t.node("/sys/n", "1");
             std::string error;
             sandbox::denyNode("/sys/n", &error);
             int fd = open("/sys/n", O_RDONLY);
             std::string out = openOutcome(fd >= 0);
             FILE* f = fopen("/sys/n", "r");
             out += " " + openOutcome(f != nullptr);
             sandbox::allowNode("/sys/n", &error);
             return out + " " + probe::readWith(Entry::kFopen, "/sys/n");
         },
         "EACCES EACCES 1"},
        {"a full node opens but refuses every write with ENOSPC until allowed, and keeps its "
         "content",
         [](SandboxTest& t) {
             t.node("/sys/n", "1");
             std::string error;
             sandbox::makeFull("/sys/n", &error);
             int fd = open("/sys/n", O_WRONLY);
             std::string out = openOutcome(fd >= 0);
             out += write(fd, "2", 1) < 0 && errno == ENOSPC ? " ENOSPC " : " written ";
             close(fd);
             sandbox::allowNode("/sys/n", &error);
             return out + sessionsThenRead("/sys/n", {"3"});
         },
         "opened ENOSPC 3"},
        {"reset forgets journal, drivers, denials and sleeps, and keeps the root and the clock",
         [](SandboxTest& t) {
             t.node("/sys/t", "0");
             sandbox::respond("/sys/t", "w", "answered");
             sessionsThenRead("/sys/t", {"x"});
             std::string error;
             sandbox::denyNode("/sys/t", &error);
             sleep(3);
             const std::string root = sandbox::root();
             sandbox::reset();
             std::string out = std::to_string(sandbox::writes().size()) + " " +
                               std::to_string(sandbox::sleeps().size()) + " ";
             out += sessionsThenRead("/sys/t", {"w"}) == "answered" ? "answered" : "silent";
             return out + (sandbox::root() == root ? " root" : " no root") +
                    (sandbox::virtualClock() ? " virtual" : " real");
         },
         "0 0 silent root virtual"},
        {"while recorded, every device path reached is seen in order, failed opens included",
         [](SandboxTest& t) {
             t.node("/sys/a", "1");
             (void)access("/sys/a", F_OK);  // not recorded yet
             sandbox::recordReached(true);
             probe::readWith(Entry::kIfstream, "/sys/b");
             (void)access("/sys/a", F_OK);
             (void)probe::readWith(Entry::kOpen, "/proc/self/stat");
             sandbox::recordReached(false);
             probe::readWith(Entry::kOpen, "/sys/c");
             std::string out;
             for (const std::string& path : sandbox::reached()) out += path + " ";
             return out;
         },
         "/sys/b /sys/a "},
};

TEST_F(SandboxTest, KeepsItsContract) {
    for (const Contract& c : kContract) {
        sandbox::reset();
        std::string error;
        ASSERT_TRUE(sandbox::removeNode("/sys", &error)) << error;
        EXPECT_EQ(c.run(*this), c.expected) << c.what;
    }
}

}  // namespace
}  // namespace tevhost
