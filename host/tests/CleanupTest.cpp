// The scratch folder goes on every exit the process can catch, folders it made unwritable
// included, and the signal still ends the process as it would have.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <tevhost/Cleanup.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace fs = std::filesystem;

namespace tevhost {
namespace {

// A scratch folder as a profile's copy can leave it: nested folders, a link out of it (never
// followed), a folder without any permission.
std::string makeScratch(const std::string& parent) {
    std::string dir = parent + "/scratch";
    fs::create_directories(dir + "/sys/class/leds/red");
    std::ofstream(dir + "/sys/class/leds/red/brightness") << "255";
    fs::create_symlink(parent + "/keep", dir + "/sys/out");
    fs::create_directories(dir + "/sys/locked/inner");
    std::ofstream(dir + "/sys/locked/inner/node") << "1";
    fs::permissions(dir + "/sys/locked/inner", fs::perms::none);
    fs::permissions(dir + "/sys/locked", fs::perms::owner_read | fs::perms::owner_exec);
    return dir;
}

class CleanupTest : public ::testing::Test {
  protected:
    void SetUp() override {
        const char* tmp = getenv("TMPDIR");
        std::string pattern = std::string(tmp && *tmp ? tmp : "/tmp") + "/tevcleanup.XXXXXX";
        ASSERT_NE(mkdtemp(&pattern[0]), nullptr);
        mTemp = pattern;
        fs::create_directories(mTemp + "/keep");
        std::ofstream(mTemp + "/keep/file") << "keep";
    }
    void TearDown() override { cleanup::removeTree(mTemp); }
    std::string mTemp;
};

TEST_F(CleanupTest, EveryCatchableExitRemovesTheScratchCopy) {
    const struct {
        const char* how;
        int signal;  // 0: exit(3)
    } cases[] = {{"exit", 0},
                 {"SIGINT", SIGINT},
                 {"SIGTERM", SIGTERM},
                 {"SIGHUP", SIGHUP},
                 {"SIGPIPE", SIGPIPE}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.how);
        std::string scratch = makeScratch(mTemp);
        pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            // The child inherits the test run's exit handlers; one removes the folder that
            // $TEVHOST_SCRATCH names, the run's own, which the child must leave alone.
            setenv("TEVHOST_SCRATCH", (mTemp + "/child").c_str(), 1);
            cleanup::removeAtExit(scratch);
            if (c.signal != 0) kill(getpid(), c.signal);
            exit(3);
        }
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        if (c.signal == 0) {
            EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 3) << status;
        } else {
            EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == c.signal) << status;
        }
        EXPECT_FALSE(fs::exists(fs::symlink_status(scratch)));
        EXPECT_TRUE(fs::exists(mTemp + "/keep/file"));  // what the link named stays
    }
}

TEST_F(CleanupTest, AnIgnoredSignalStaysIgnored) {
    std::string scratch = makeScratch(mTemp);
    pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        signal(SIGHUP, SIG_IGN);  // as under nohup
        cleanup::removeAtExit(scratch);
        kill(getpid(), SIGHUP);
        _exit(fs::exists(scratch) ? 0 : 1);  // _exit: no exit handlers
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
}

TEST_F(CleanupTest, RemovingNowForgetsTheFolder) {
    std::string first = makeScratch(mTemp);
    cleanup::removeAtExit(first);
    cleanup::removeNow();
    EXPECT_FALSE(fs::exists(first));
    cleanup::removeNow();  // nothing held: nothing happens
    EXPECT_TRUE(fs::exists(mTemp + "/keep/file"));
}

}  // namespace
}  // namespace tevhost
