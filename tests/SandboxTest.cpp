// The sandbox must redirect every libc entry point the product reaches, from a library that does
// not link it, and leave every other path alone.
#include <fcntl.h>
#include <unistd.h>

#include <fstream>

#include "HandsetTest.h"
#include "probe/SandboxProbe.h"

namespace tevhost {
namespace {

using probe::Entry;
using ::testing::ElementsAre;

class SandboxTest : public HandsetTest {};

TEST_F(SandboxTest, EveryOpenEntryPointReadsTheDeviceRoot) {
    node("/sys/class/x/value", "sys");
    node("/proc/tp_selftest", "proc");
    node("/d/1d84000.ufshc/dump", "debugfs");
    const Entry entries[] = {Entry::kOpen,   Entry::kOpen64,   Entry::kOpen2,   Entry::kOpen64_2,
                             Entry::kOpenat, Entry::kOpenat64, Entry::kOpenat2, Entry::kOpenat64_2,
                             Entry::kFopen,  Entry::kFopen64,  Entry::kIfstream};
    const struct {
        const char* path;
        const char* content;
    } cases[] = {
            {"/sys/class/x/value", "sys"},
            {"/proc/tp_selftest", "proc"},
            {"/d/1d84000.ufshc/dump", "debugfs"},
            {"sys/class/x/value", "sys"},  // relative to "/", the service's working directory
            {"proc/tp_selftest", "proc"},
            {"d/1d84000.ufshc/dump", "debugfs"},
    };
    for (Entry entry : entries) {
        for (const auto& c : cases) {
            EXPECT_EQ(probe::readWith(entry, c.path), c.content)
                    << "entry " << static_cast<int>(entry) << " path " << c.path;
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
    std::string self = probe::readWith(Entry::kOpen, "/proc/self/stat");
    EXPECT_NE(self, "<open failed>");
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
    // Paths are joined as text, never resolved.
    EXPECT_EQ(sandbox::hostPath("/sys/../etc"), hostPath("/sys/../etc"));
}

TEST_F(SandboxTest, NothingIsMappedWithoutARoot) {
    sandbox::setRoot("");
    EXPECT_EQ(sandbox::hostPath("/sys/x"), "/sys/x");
    EXPECT_EQ(probe::accessPath("/proc/version", F_OK), 0);  // the host's own
}

TEST_F(SandboxTest, JournalKeepsEveryWriteWithItsExactBytes) {
    node("/sys/n", "");
    ASSERT_TRUE(probe::writeWithFd("/sys/n", std::string("75\0", 3)));
    ASSERT_TRUE(probe::writeWithOfstream("sys/n", "0x1000000"));
    ASSERT_TRUE(probe::writeWithOfstream("/sys/n", "0xD00690"));
    EXPECT_THAT(writesTo("/sys/n"), ElementsAre(std::string("75\0", 3), "0x1000000", "0xD00690"));
    EXPECT_EQ(nodeContent("/sys/n"), "0xD00690");  // the file keeps only the last
    // Writes to host files are not journaled.
    std::string hostFile = hostPath("/host.txt");
    ASSERT_TRUE(probe::writeWithOfstream(hostFile.c_str(), "x"));
    EXPECT_EQ(writes().size(), 3u);
}

TEST_F(SandboxTest, DeviceNodesAreNeverCreatedByWriting) {
    folderNode("/sys/class/leds/red");
    EXPECT_FALSE(probe::writeWithOfstream("/sys/class/leds/red/brightness", "1"));
    EXPECT_FALSE(probe::writeWithFd("/sys/class/leds/red/brightness", "1"));
    EXPECT_EQ(nodeContent("/sys/class/leds/red/brightness"), "<absent>");
    EXPECT_TRUE(writes().empty());
}

TEST_F(SandboxTest, NodesCanBeRefusedFoldersOrAbsent) {
    denyNode("/sys/denied");
    folderNode("/sys/folder");
    EXPECT_EQ(probe::readWith(Entry::kOpen, "/sys/denied"), "<open failed>");
    EXPECT_EQ(probe::readWith(Entry::kIfstream, "/sys/denied"), "<open failed>");
    EXPECT_EQ(probe::accessPath("/sys/denied", R_OK), -1);
    EXPECT_EQ(errno, EACCES);
    EXPECT_EQ(probe::accessPath("/sys/denied", F_OK), 0);
    EXPECT_FALSE(probe::writeWithFd("/sys/denied", "1"));
    EXPECT_EQ(probe::readWith(Entry::kOpen, "/sys/folder"), "<read failed>");
    EXPECT_EQ(probe::readWith(Entry::kOpen, "/sys/absent"), "<open failed>");
}

TEST_F(SandboxTest, DriverAnswersTheWordWrittenToIt) {
    node("/proc/tp_selftest", "");
    sandbox::respond("/proc/tp_selftest", "short", "2\n");
    sandbox::respond("/proc/tp_selftest", "open", "1");
    ASSERT_TRUE(probe::writeWithOfstream("/proc/tp_selftest", "short"));
    EXPECT_EQ(probe::readWith(Entry::kIfstream, "/proc/tp_selftest"), "2\n");
    ASSERT_TRUE(probe::writeWithOfstream("/proc/tp_selftest", "open"));
    EXPECT_EQ(probe::readWith(Entry::kIfstream, "/proc/tp_selftest"), "1");
    ASSERT_TRUE(probe::writeWithOfstream("/proc/tp_selftest", "i2c"));  // no driver for it
    EXPECT_EQ(probe::readWith(Entry::kIfstream, "/proc/tp_selftest"), "i2c");
}

TEST_F(SandboxTest, SleepRunsOnTheVirtualClockAndCallsTheHook) {
    std::vector<double> seen;
    sandbox::setSleepHook([&](double s) {
        seen.push_back(s);
        node("/proc/tp_selftest", "2");  // acting as the driver while the caller sleeps
    });
    probe::sleepSeconds(6);
    usleep(500000);
    EXPECT_THAT(sleeps(), ElementsAre(6.0, 0.5));
    EXPECT_THAT(seen, ElementsAre(6.0, 0.5));
    EXPECT_DOUBLE_EQ(sandbox::now(), 6.5);
    EXPECT_EQ(nodeContent("/proc/tp_selftest"), "2");
}

TEST_F(SandboxTest, NotifierSeesEverySleepVirtualOrReal) {
    std::vector<std::pair<double, bool>> seen;
    sandbox::setSleepNotifier([&](double s, bool real) { seen.emplace_back(s, real); });
    usleep(1000);
    sandbox::setVirtualClock(false);
    usleep(1000);  // passes for real
    sandbox::setVirtualClock(true);
    EXPECT_THAT(seen, ElementsAre(std::make_pair(0.001, false), std::make_pair(0.001, true)));
    EXPECT_THAT(sleeps(), ElementsAre(0.001));  // only the virtual one is on the clock
}

}  // namespace
}  // namespace tevhost
