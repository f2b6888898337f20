// The sandbox must redirect every libc entry point the product reaches, from a library that does
// not link it, and leave every other path alone. Its journal, denials, folders, drivers and clock
// are exercised by every area's tests.
#include <fcntl.h>
#include <sys/uio.h>
#include <unistd.h>

#include "HandsetTest.h"
#include "probe/SandboxProbe.h"

namespace tevhost {
namespace {

using probe::Entry;

using SandboxTest = HandsetTest;

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

}  // namespace
}  // namespace tevhost
