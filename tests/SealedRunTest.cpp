// tevctl runs a sealed handset: no step and no pass-through reaches a file outside the profile
// (in place) or its scratch copy, the scratch copy goes on every exit the process can catch, and
// two in-place runs of one profile do not interleave.
//
// Everything lives in one temporary folder TEMP: TEMP/profile (a copy of the bundled qab),
// TEMP/tmp (TMPDIR: scratch copies land in TEMP/tmp/tevctl.XXXXXX) and TEMP/decoy. Joined as
// text onto either device root, "/sys/../../../decoy/secret" lands on TEMP/decoy/secret.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <map>

#include "ChildProcess.h"

namespace fs = std::filesystem;

namespace {

std::string readFile(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

std::string quote(const std::string& s) {
    std::string out = "'";
    for (char c : s) out += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return out + "'";
}

// Every entry under |top| with the content of every file.
std::map<std::string, std::string> tree(const fs::path& top) {
    std::map<std::string, std::string> entries;
    if (!fs::exists(top)) return entries;
    for (const auto& e : fs::recursive_directory_iterator(top)) {
        entries[e.path().string()] = e.is_regular_file() ? readFile(e.path()) : "<folder>";
    }
    return entries;
}

struct Result {
    int status;
    std::string out;
    std::string err;
};

class SealedRunTest : public ::testing::Test {
  protected:
    void SetUp() override {
        const char* tmp = getenv("TMPDIR");
        std::string pattern = std::string(tmp && *tmp ? tmp : "/tmp") + "/tevsealedrun.XXXXXX";
        ASSERT_NE(mkdtemp(&pattern[0]), nullptr);
        mTemp = pattern;
        fs::copy(fs::path(TEV_SOURCE_DIR) / "devices/qab", mTemp / "profile",
                 fs::copy_options::recursive);
        fs::create_directories(mTemp / "tmp");
        fs::create_directories(mTemp / "decoy/dir");
        std::ofstream(mTemp / "decoy/secret") << "secret";
        std::ofstream(mTemp / "decoy/dir/file") << "file";
    }
    void TearDown() override { fs::remove_all(mTemp); }

    std::string command(const std::vector<std::string>& args) const {
        std::string line = "TMPDIR=" + quote((mTemp / "tmp").string());
        for (const auto& word : tevhost::childCommand(TEVCTL_PATH)) line += " " + quote(word);
        line += " --device " + quote((mTemp / "profile").string());
        for (const auto& a : args) line += " " + quote(a);
        return line;
    }
    Result run(const std::vector<std::string>& args) {
        std::string io =
                " >" + quote((mTemp / "out").string()) + " 2>" + quote((mTemp / "err").string());
        int status = std::system((command(args) + io).c_str());
        return {WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status),
                readFile(mTemp / "out"), readFile(mTemp / "err")};
    }
    Result runSteps(const std::string& steps, bool inPlace) {
        std::ofstream(mTemp / "steps") << steps << "\n";
        std::vector<std::string> args = {"run", (mTemp / "steps").string()};
        if (inPlace) args.insert(args.begin(), "--in-place");
        return run(args);
    }
    // Starts tevctl with |args| in a child of its own; its stderr goes to TEMP/err.
    pid_t start(const std::vector<std::string>& args) {
        fs::remove(mTemp / "err");
        std::string line =
                "exec env " + command(args) + " >/dev/null 2>" + quote((mTemp / "err").string());
        pid_t child = fork();
        if (child == 0) {
            execl("/bin/sh", "sh", "-c", line.c_str(), static_cast<char*>(nullptr));
            _exit(127);
        }
        return child;
    }
    // Waits (up to 20 s) until |ready| holds. poll() passes real time: sleep() may be on the
    // sandbox's virtual clock in this process.
    template <typename F>
    bool await(F ready) {
        for (int i = 0; i < 2000 && !ready(); ++i) poll(nullptr, 0, 10);
        return ready();
    }

    fs::path mTemp;
};

TEST_F(SealedRunTest, NoStepOrPassThroughLeavesTheProfile) {
    const std::string decoy = (mTemp / "decoy/secret").string();
    const std::string notDevice = " is not a device path (/sys, /proc or /d)";
    const struct {
        std::string step;
        int status;
        std::string said;  // stdout of a call, or the one line on stderr
    } cases[] = {
            {"node /sys/../../../decoy/secret X", 2,
             "steps:1: '/sys/../../../decoy/secret'" + notDevice},
            {"node /d/../../../tmp/x X", 2, "steps:1: '/d/../../../tmp/x'" + notDevice},
            {"rmnode /sys/../..", 2, "steps:1: '/sys/../..'" + notDevice},
            {"rmnode /d/../..", 2, "steps:1: '/d/../..'" + notDevice},
            {"rmnode /proc/self", 2, "steps:1: '/proc/self'" + notDevice},
            {"call root getVendorFileValue /sys/../../../decoy/secret", 0, "\"\""},
            {"call root getVendorFileValue " + decoy, 0, "\"\""},
            {"call root getVendorFileValue ../../decoy/secret", 0, "\"\""},
            {"call root setVendorFileValue /sys/../../../decoy/secret 7", 0, ""},
            {"call root setVendorFileValue " + decoy + " 7", 0, ""},
            {"rmnode /sys", 0, ""},  // the handset's own /sys: allowed, and only there
            {"node /sys/class/leds/red/brightness 7", 0, ""},
    };
    const auto decoyBefore = tree(mTemp / "decoy");
    for (bool inPlace : {false, true}) {
        const auto profileBefore = tree(mTemp / "profile");
        for (const auto& c : cases) {
            SCOPED_TRACE(c.step + (inPlace ? " in place" : " on a scratch copy"));
            Result r = runSteps(c.step, inPlace);
            EXPECT_EQ(r.status, c.status) << r.err;
            if (c.status == 2) {
                EXPECT_EQ(r.err, "tevctl: " + (mTemp / c.said).string() + "\n");
            } else if (!c.said.empty()) {
                EXPECT_NE(r.out.find(c.said), std::string::npos) << r.out;
            }
            EXPECT_EQ(tree(mTemp / "decoy"), decoyBefore);
            EXPECT_TRUE(fs::is_empty(mTemp / "tmp"));  // no scratch copy left behind
            if (!inPlace) {
                EXPECT_EQ(tree(mTemp / "profile"), profileBefore);
            }
        }
    }
    // In place, the steps changed the profile itself, and only there.
    EXPECT_FALSE(fs::exists(mTemp / "profile/fs/sys/class/power_supply"));
    EXPECT_EQ(readFile(mTemp / "profile/fs/sys/class/leds/red/brightness"), "7");
}

// tevctl's own files are the host's: a script in a local folder named d is not the handset's /d.
TEST_F(SealedRunTest, AScriptInALocalFolderNamedDIsRead) {
    fs::create_directories(mTemp / "d");
    std::ofstream(mTemp / "d/steps") << "call version getCpuId\n";
    std::string line = "cd " + quote(mTemp.string()) + " && " + command({"run", "d/steps"}) + " >" +
                       quote((mTemp / "out").string()) + " 2>&1";
    ASSERT_EQ(std::system(line.c_str()), 0) << readFile(mTemp / "out");
    EXPECT_EQ(readFile(mTemp / "out"), "> version getCpuId\n\"0x8b3e71d5\"\n");
}

TEST_F(SealedRunTest, AProfileHoldingWhatANodeTreeCannotIsRefused) {
    const fs::path node = mTemp / "profile/fs/sys/class/leds/red/brightness";
    const struct {
        const char* name;
        void (*make)(const fs::path&);
        const char* what;
    } cases[] = {
            {"absolute link", [](const fs::path& p) { fs::create_symlink("/sys/x", p); },
             "a link to an absolute path (/sys/x)"},
            {"link out", [](const fs::path& p) { fs::create_symlink("../../../../../../x", p); },
             "a link out of it (../../../../../../x)"},
            {"FIFO", [](const fs::path& p) { mkfifo(p.c_str(), 0600); }, "a FIFO"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        fs::remove(node);
        c.make(node);
        Result r = run({"report"});
        EXPECT_EQ(r.status, 2);
        EXPECT_EQ(r.err, "tevctl: " + node.string() + ": " + c.what +
                                 "; a profile's fs/ holds only folders, files and links that stay "
                                 "inside it\n");
        EXPECT_EQ(r.out, "");
    }
}

TEST_F(SealedRunTest, TheScratchCopyGoesOnEveryCatchableExit) {
    for (int signal : {SIGINT, SIGTERM, SIGHUP}) {
        SCOPED_TRACE(signal);
        // The touch-panel self-test really sleeps 6 s with --real-time: the run is caught in it.
        pid_t child = start({"--real-time", "call", "display", "doSelfTestAndGetResult"});
        ASSERT_GT(child, 0);
        ASSERT_TRUE(await(
                [&] { return readFile(mTemp / "err").find("sleeping") != std::string::npos; }));
        EXPECT_FALSE(fs::is_empty(mTemp / "tmp"));
        kill(child, signal);
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == signal) << status;
        EXPECT_TRUE(fs::is_empty(mTemp / "tmp"));
    }
    // SIGPIPE: the reader went away after one line.
    std::string line = command({"report"}) + " | head -1 >/dev/null";
    EXPECT_EQ(std::system(line.c_str()), 0);
    EXPECT_TRUE(fs::is_empty(mTemp / "tmp"));
}

TEST_F(SealedRunTest, ASecondInPlaceRunSaysThatItWaits) {
    int held = open((mTemp / "profile").c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    ASSERT_GE(held, 0);
    ASSERT_EQ(flock(held, LOCK_EX), 0);  // as a first --in-place run would
    std::ofstream(mTemp / "steps") << "node /sys/class/leds/red/brightness 9\n";
    pid_t child = start({"--in-place", "run", (mTemp / "steps").string()});
    ASSERT_TRUE(await([&] { return !readFile(mTemp / "err").empty(); }));
    EXPECT_EQ(readFile(mTemp / "err"), "tevctl: " + (mTemp / "profile").string() +
                                               " is in use by an --in-place run; waiting for it to "
                                               "end\n");
    EXPECT_NE(readFile(mTemp / "profile/fs/sys/class/leds/red/brightness"), "9");
    close(held);
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
    EXPECT_EQ(readFile(mTemp / "profile/fs/sys/class/leds/red/brightness"), "9");
}

}  // namespace
