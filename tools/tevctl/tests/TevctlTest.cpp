// tevctl driven as a user drives it: a process with arguments, standard input, output and exit
// status, on device profiles made by each test.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <sstream>

#include "ChildProcess.h"

namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

struct Result {
    int status;
    std::string out, err;
};

std::string quote(const std::string& s) {
    std::string q = "'";
    for (char c : s) q += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return q + "'";
}

std::string readFile(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

void writeFile(const fs::path& path, const std::string& content) {
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << content;
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

std::vector<std::string> lines(const std::string& text) {
    std::vector<std::string> result;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) result.push_back(line);
    return result;
}

class TevctlTest : public ::testing::Test {
  protected:
    void SetUp() override {
        char pattern[] = "/tmp/tevctltest.XXXXXX";
        ASSERT_NE(mkdtemp(pattern), nullptr);
        mDir = pattern;
        mProfile = mDir / "profile";
        mTmp = mDir / "tmp";
        fs::create_directories(mProfile / "fs");
        fs::create_directories(mTmp);
    }
    void TearDown() override { fs::remove_all(mDir); }

    void node(const std::string& path, const std::string& content) {
        writeFile(mProfile / "fs" / path.substr(1), content);
    }

    // The shell words that run tevctl with |args| on this test's profile (unless the arguments
    // name another device, or two to diff), its scratch copies in DIR/tmp.
    std::string commandLine(std::vector<std::string> args) const {
        if (std::find(args.begin(), args.end(), "--device") == args.end() &&
            std::find(args.begin(), args.end(), "diff") == args.end()) {
            args.insert(args.begin(), {"--device", mProfile.string()});
        }
        std::string command = "TMPDIR=" + quote(mTmp.string()) + " " + mEnv;
        for (const auto& word : tevhost::childCommand(TEVCTL_PATH)) command += " " + quote(word);
        for (const auto& a : args) command += " " + quote(a);
        return command;
    }

    // Runs tevctl with |args|, with its standard output in a file, or redirected as |stdoutTo|
    // says (">/dev/full", ">&-").
    Result tevctl(const std::vector<std::string>& args, const std::string& input = "",
                  const std::string& stdoutTo = "") {
        writeFile(mDir / "stdin", input);
        const std::string command = commandLine(args);
        const std::string io =
                " <" + quote((mDir / "stdin").string()) +
                (stdoutTo.empty() ? " >" + quote((mDir / "stdout").string()) : " " + stdoutTo) +
                " 2>" + quote((mDir / "stderr").string());
        fs::remove(mDir / "stdout");
        int status = std::system((command + io).c_str());
        return {WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status),
                readFile(mDir / "stdout"), readFile(mDir / "stderr")};
    }

    void useFakeService() { mEnv = std::string("TEVHOST_HAL_DIR=") + TEVCTL_FAKE_HAL_DIR; }

    // The profile becomes a copy of the bundled qab, beside a decoy tree: joined as text onto
    // either device root (the profile's or its scratch copy's), "/sys/../../../decoy/secret"
    // lands on the decoy.
    void useQabBesideADecoy() {
        fs::remove_all(mProfile);
        fs::copy(fs::path(TEV_SOURCE_DIR) / "devices/qab", mProfile, fs::copy_options::recursive);
        writeFile(mDir / "decoy/secret", "secret");
        writeFile(mDir / "decoy/dir/file", "file");
    }

    // Starts tevctl on this test's profile in a child of its own, reading |input| (if given); its
    // stdout goes to DIR/stdout, its stderr to DIR/stderr.
    pid_t start(const std::vector<std::string>& args, int input = -1) {
        fs::remove(mDir / "stderr");
        const std::string line = "exec env " + commandLine(args) + " >" +
                                 quote((mDir / "stdout").string()) + " 2>" +
                                 quote((mDir / "stderr").string());
        pid_t child = fork();
        if (child == 0) {
            if (input >= 0) dup2(input, STDIN_FILENO);
            const struct rlimit noCore = {0, 0};
            setrlimit(RLIMIT_CORE, &noCore);  // SIGQUIT and SIGXCPU would dump one
            execl("/bin/sh", "sh", "-c", line.c_str(), static_cast<char*>(nullptr));
            _exit(127);
        }
        return child;
    }
    // Waits (up to 20 s) until |ready| holds.
    template <typename F>
    bool await(F ready) {
        for (int i = 0; i < 2000 && !ready(); ++i) poll(nullptr, 0, 10);
        return ready();
    }

    fs::path mDir, mProfile, mTmp;
    std::string mEnv;
};

TEST_F(TevctlTest, UsageErrorsAreOneLineNamingWhatWasWrong) {
    const std::pair<std::vector<std::string>, const char*> cases[] = {
            {{}, "no command (list, report, debug, diff, products, call, run, help;"},
            {{"frob"}, "unknown command 'frob' (list, report, debug, diff, products, call, run,"},
            {{"help", "frob"}, "no command 'frob'"},
            // An option a command would ignore is refused, the same way for every command.
            {{"diff", "qab", "marskol", "--in-place"}, "diff does not take --in-place"},
            {{"diff", "qab", "marskol", "--log"}, "diff does not take --log"},
            {{"products", "--in-place"}, "products does not take --in-place"},
            {{"list", "--log"}, "list does not take --log (it takes --device, --json)"},
            {{"--force", "call", "usb", "isMicroUsbDevice"}, "--force goes with --in-place"},
            {{"list", "lamp"}, "unknown area 'lamp'"},
            {{"products", "sirnk"}, "no product 'sirnk'"},
            {{"--device", "nosuch", "list"}, "bundled: lumbret, marskol, qab)"},
            {{"--frob", "list"}, "unknown option '--frob'"},
            {{"report", "x"}, "report takes no arguments"},
            {{"call", "usb"}, "call needs AREA and OP"},
            {{"call", "lamp", "x"}, "unknown area 'lamp'"},
            {{"call", "usb", "getUsbStatus"}, "usb has no operation 'getUsbStatus'"},
            {{"call", "usb", "isMicroUsbDevice", "1"}, "takes 0 arguments (), not 1"},
            {{"call", "leds", "controlLed", "1"}, "takes 2 arguments (int32_t type, bool isOn)"},
            {{"call", "leds", "getLedBrightness", "x1", "true"}, "argument type must be"},
            {{"call", "leds", "getLedBrightness", "2147483648", "1"}, "argument type must be"},
            {{"call", "leds", "controlLed", "1", "yes"}, "argument isOn must be true, false"},
            {{"call", "fp", "setScreenEffectNew", "NIT_999"}, "NIT_DEFAULT, NIT_300"},
            {{"call", "charger", "controlReverseWirelessCharge", "on"}, "control must be"},
            {{"--device", "/nonexistent/profile", "list"}, "no device profile at"},
            // Options anywhere; after "--" a word is an argument.
            {{"list", "--frob"}, "unknown option '--frob'"},
            {{"report", "--device"}, "--device needs a profile folder"},
            {{"call", "version", "getFSN", "--", "--json"}, "takes 0 arguments (), not 1"},
            {{"call", "leds", "getLedBrightness", "+5", "1"}, "not '+5'"},
            // What the user typed comes back with its control bytes escaped, on one line.
            {{"call", "la\nmp\x1b[2J", "x"}, "unknown area 'la\\nmp\\x1b[2J'"},
    };
    for (const auto& [args, says] : cases) {
        Result r = tevctl(args);
        std::string what = ::testing::PrintToString(args);
        EXPECT_EQ(r.status, 2) << what;
        EXPECT_EQ(r.out, "") << what;
        EXPECT_THAT(lines(r.err), ElementsAre(StartsWith("tevctl: "))) << what;
        EXPECT_THAT(r.err, HasSubstr(says)) << what;
    }
}

TEST_F(TevctlTest, CallPrintsTheAnswerAsTextOrOneJsonObject) {
    writeFile(mProfile / "properties", "[ro.orvu.singlesim]: [1]\n");
    node("/sys/class/x/node", "old");
    // Each output ends with a line feed.
    const std::pair<std::vector<std::string>, const char*> cases[] = {
            {{"call", "version", "isSingleSim"}, "true"},
            {{"call", "version", "getBasebandVersion"}, "\"unknown\""},
            {{"call", "nfc", "getNfcChipModule"}, "(no callback)"},
            {{"--json", "call", "version", "isSingleSim"},
             R"({"area":"version","op":"isSingleSim","args":[],"return":true,"callbacks":[],)"
             R"("writes":[],"sleeps":[]})"},
            {{"--json", "call", "nfc", "getNfcChipModule"},
             R"({"area":"nfc","op":"getNfcChipModule","args":[],"callbacks":[],"writes":[],)"
             R"("sleeps":[]})"},
            {{"--json", "call", "usb", "extFun", "x", "a,,b"},
             R"({"area":"usb","op":"extFun","args":["x",["a","","b"]],"callbacks":[],)"
             R"("writes":[],"sleeps":[]})"},
            // The exact bytes of a node write; non-ASCII callback text stays UTF-8.
            {{"call", "root", "setVendorFileValue", "/sys/class/x/node", "\xc3\xa9\t1"},
             "\"success\"\nwrite /sys/class/x/node \"\\xc3\\xa9\\t1\""},
            {{"--json", "call", "root", "setVendorFileValue", "/sys/class/x/node", "\xc3\xa9\t1"},
             R"({"area":"root","op":"setVendorFileValue","args":["/sys/class/x/node","é\u00091"],)"
             R"("callbacks":["success"],"writes":[{"path":"/sys/class/x/node",)"
             R"("data":"\u00c3\u00a9\u00091"}],"sleeps":[]})"},
            // DEL, a byte that is not UTF-8 and a line feed, in text and in exact bytes.
            {{"--json", "call", "root", "setVendorFileValue", "/sys/class/x/node", "a\x7f\xff\n"},
             R"({"area":"root","op":"setVendorFileValue","args":["/sys/class/x/node",)"
             R"("a\u007f\u00ff\u000a"],"callbacks":["success"],"writes":[{"path":)"
             R"("/sys/class/x/node","data":"a\u007f\u00ff\u000a"}],"sleeps":[]})"},
            // Options after the command, and "--" before words that look like options.
            {{"call", "version", "isSingleSim", "--json"},
             R"({"area":"version","op":"isSingleSim","args":[],"return":true,"callbacks":[],)"
             R"("writes":[],"sleeps":[]})"},
            {{"call", "root", "getVendorProperty", "--log", "--", "--x", "-1"},
             "\"-1\"\nlog I/vendor.quoril.hardware.tevvendorservice@1.0-TevVendorUtils: "
             "Getprop key = --x , value = -1, ret = 2"},
    };
    for (const auto& [args, out] : cases) {
        Result r = tevctl(args);
        EXPECT_EQ(r.status, 0) << r.err;
        EXPECT_EQ(r.out, std::string(out) + "\n") << ::testing::PrintToString(args);
    }
}

TEST_F(TevctlTest, RunStepErrorsNameTheirLine) {
    const std::tuple<const char*, const char*> cases[] = {
            {"call usb", "call needs AREA and OP"},
            {"call usb getUsbPluginStatus \"open", "a quote is not closed"},
            {"node /etc/passwd x", "'/etc/passwd' is not a device path"},
            {"node /sys/x a\\qb", "unknown escape \\q"},
            {"respond /sys/x", "respond needs PATH WORD REPLY"},
            // One rule for every step's words: a text with blanks is one word only in quotes.
            {"prop persist.vendor.x a b", "prop takes KEY [VALUE] (a VALUE with blanks in quotes)"},
            {"node /sys/x a b", "node takes PATH [CONTENT] (a CONTENT with blanks in quotes)"},
            {"rmnode /sys/x /sys/y", "rmnode takes exactly PATH"},
            {"deny /etc/passwd", "'/etc/passwd' is not a device path"},
            {"full /sys/x /sys/y", "full takes exactly PATH"},
            {"client now", "client takes no words"},
            {"respond /sys/x w a b", "needs PATH WORD REPLY (a REPLY with blanks in quotes)"},
            {"prop persist.vendor.x \"a", "a quote is not closed"},
            {"respond /sys/x \"w\"x r", "a closing quote must end its word"},
    };
    for (const auto& [step, says] : cases) {
        writeFile(mDir / "steps", std::string("call usb getUsbPluginStatus\n") + step + "\n");
        Result r = tevctl({"run", (mDir / "steps").string()});
        EXPECT_NE(r.status, 0) << step;
        EXPECT_EQ(lines(r.out).size(), 2u) << step;  // the first call ran: "> ..." and -1
        EXPECT_THAT(r.err, StartsWith("tevctl: " + (mDir / "steps").string() + ":2: ")) << step;
        EXPECT_THAT(r.err, HasSubstr(says)) << step;
    }
}

TEST_F(TevctlTest, ProfileFilesAreReadOneWayAndTheirErrorsSayWhereAndWhat) {
    // file | its content (a folder for "/", a link to nowhere for "->", a pipe for "|") | the
    // answer of the call below, or the error (PROFILE: the profile's folder)
    const std::tuple<const char*, const char*, const char*> cases[] = {
            {"properties", "persist.vendor.x=7\r\n", R"("7")"},
            {"properties", "persist.vendor.x = 7 \n", R"("7")"},
            {"properties", "[persist.vendor.x]: [7]\r\n", R"("7")"},
            {"sensorcal", "isOrientsensor = true\r\n", R"("7")"},
            {"properties", "\njunk\n", "/properties:2: neither '[key]: [value]' nor 'key=value'"},
            {"sensorcal", "isOrientsensor=maybe\n",
             "/sensorcal:1: isOrientsensor: expected true, false, 1 or 0, not 'maybe'"},
            {"sensorcal", "# what the library says\nbogus=1\n", "/sensorcal:2: unknown key 'bogus'"},
            {"sensorcal", "sensor_calibrate=99999999999\n",
             "/sensorcal:1: sensor_calibrate: expected a 32-bit decimal integer, not "
             "'99999999999'"},
            {"sensorcal", "sensor_calibrate=+5\n",
             "/sensorcal:1: sensor_calibrate: expected a 32-bit decimal integer, not '+5'"},
            {"hall", "pollHallEvent=1,x\n",
             "/hall:1: pollHallEvent: expected comma-separated 32-bit decimal integers, not '1,x'"},
            {"drivers", "/proc/x w a b\n",
             "/drivers:1: a driver needs PATH WORD REPLY (a REPLY with blanks in quotes)"},
            {"properties", "/", "/properties is a folder, where a file of the profile is expected"},
            {"sensorcal", "/", "/sensorcal is a folder, where a file of the profile is expected"},
            {"fs", "x", "/fs is a file, where the nodes' folder of the profile is expected"},
            // A profile's own entries are never links: not to nowhere, not to a host file.
            {"drivers", "->", "PROFILE/drivers is a link, where a file of the profile is expected"},
            {"hall", "->", "PROFILE/hall is a link, where a file of the profile is expected"},
            {"properties", "=>", "PROFILE/properties is a link, where a file of the profile is"},
            {"fs/sys/pipe", "|",
             "PROFILE/fs/sys/pipe: a FIFO; a profile's fs/ holds only folders, files and links"},
    };
    for (const auto& [file, content, says] : cases) {
        fs::remove_all(mProfile);
        fs::create_directories(mProfile);
        if (std::string(file) != "properties") {
            writeFile(mProfile / "properties", "persist.vendor.x=7\n");
        }
        fs::path path = mProfile / file;
        if (std::string(content) == "/") {
            fs::create_directories(path);
        } else if (std::string(content) == "->") {
            fs::create_symlink(mDir / "nowhere", path);
        } else if (std::string(content) == "=>") {
            writeFile(mDir / "decoy", "persist.vendor.x=secret\n");
            fs::create_symlink(mDir / "decoy", path);
        } else if (std::string(content) == "|") {
            fs::create_directories(path.parent_path());
            ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
        } else {
            writeFile(path, content);
        }
        std::string what = std::string(file) + " " + ::testing::PrintToString(std::string(content));
        Result r = tevctl({"call", "root", "getVendorProperty", "persist.vendor.x", "-"});
        if (says[0] == '"') {
            EXPECT_EQ(r.status, 0) << what << ": " << r.err;
            EXPECT_EQ(r.out, std::string(says) + "\n") << what;
        } else {
            std::string expected = says;
            size_t at = expected.find("PROFILE");
            if (at != std::string::npos) expected.replace(at, 7, mProfile.string());
            EXPECT_EQ(r.status, 2) << what;
            EXPECT_THAT(lines(r.err), ElementsAre(HasSubstr(expected))) << what;
        }
    }
}

TEST_F(TevctlTest, OutputThatCannotBeWrittenIsAnError) {
    fs::create_directories(mDir / "steps");
    // arguments | where standard output goes | exit status | the line on stderr
    const std::tuple<std::vector<std::string>, const char*, int, const char*> cases[] = {
            {{"--device", "qab", "report"},
             ">/dev/full",
             1,
             "tevctl: cannot write the output: No space left on device"},
            {{"--json", "list"},
             ">/dev/full",
             1,
             "tevctl: cannot write the output: No space left on device"},
            {{"call", "usb", "getUsbPluginStatus"},
             ">&-",
             1,
             "tevctl: cannot write the output: standard output is closed"},
            {{"run", (mDir / "steps").string()}, "", 2, "it is a folder"},
            // diff's 1 says "different": its output error is a 2.
            {{"diff", "qab", "marskol"},
             ">/dev/full",
             2,
             "tevctl: cannot write the output: No space left on device"},
    };
    for (const auto& [args, stdoutTo, status, says] : cases) {
        Result r = tevctl(args, "", stdoutTo);
        std::string what = ::testing::PrintToString(args) + " " + stdoutTo;
        EXPECT_EQ(r.status, status) << what;
        EXPECT_THAT(lines(r.err), ElementsAre(HasSubstr(says))) << what;
    }
}

TEST_F(TevctlTest, ScratchCopyKeepsTheProfileInPlaceWritesThrough) {
    node("/sys/class/x/node", "old");
    Result scratch = tevctl({"call", "root", "setVendorFileValue", "/sys/class/x/node", "new"});
    EXPECT_EQ(scratch.status, 0);
    EXPECT_EQ(readFile(mProfile / "fs/sys/class/x/node"), "old");
    EXPECT_TRUE(fs::is_empty(mTmp)) << "the scratch copy is removed";
    Result inPlace =
            tevctl({"--in-place", "call", "root", "setVendorFileValue", "/sys/class/x/node", "new"});
    EXPECT_EQ(inPlace.status, 0);
    EXPECT_EQ(readFile(mProfile / "fs/sys/class/x/node"), "new");
}

TEST_F(TevctlTest, SleepsAndWritesOfACallAreReportedOnEitherClock) {
    useFakeService();
    node("/proc/tp_selftest", "");
    const char* expected =
            R"({"area":"display","op":"doSelfTestAndGetResult","args":[],"return":true,)"
            R"("callbacks":[],"writes":[{"path":"/proc/tp_selftest","data":"short"},)"
            R"({"path":"/proc/tp_selftest","data":"open"}],"sleeps":[0.02,0.01]})"
            "\n";
    Result virtualClock = tevctl({"--json", "call", "display", "doSelfTestAndGetResult"});
    EXPECT_EQ(virtualClock.out, expected);
    EXPECT_EQ(virtualClock.err, "");
    Result realTime = tevctl({"--real-time", "--json", "call", "display", "doSelfTestAndGetResult"});
    EXPECT_EQ(realTime.out, expected);
    EXPECT_THAT(lines(realTime.err),
                ElementsAre("tevctl: display doSelfTestAndGetResult: sleeping 0.02 s",
                            "tevctl: display doSelfTestAndGetResult: sleeping 0.01 s"));
}

TEST_F(TevctlTest, UnavailableAreasAreAOneLineErrorAndLogTextKeepsUtf8) {
    useFakeService();
    Result r = tevctl({"--json", "call", "version", "getFSN"});
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.out, "");
    EXPECT_THAT(lines(r.err), ElementsAre("tevctl: area version is not available: the root hands "
                                          "out no IVersionCheckService"));
    // Callback bytes outside printable ASCII are escaped.
    r = tevctl({"--json", "--log", "call", "display", "getLcmInfo"});
    EXPECT_THAT(r.out, HasSubstr(R"("callbacks":["panel\u0001é\u00ff"])"));
    EXPECT_THAT(r.out, HasSubstr(R"({"prio":"I","tag":"FakeDisplay",)"
                                 R"("msg":"630尼特绿斑亮度测试\u000a"})"));
}

TEST_F(TevctlTest, AProcessEndedDuringACallPrintsWhatItHad) {
    useFakeService();
    node("/sys/class/leds/lcd-backlight/brightness", "0\n");
    Result call = tevctl({"--json", "call", "display", "getBacklightValue"});
    EXPECT_NE(call.status, 0);
    EXPECT_THAT(call.out, StartsWith(R"({"area":"display","op":"getBacklightValue","args":[],)"
                                     R"("callbacks":[],"writes":[{"path":"/sys/class/leds/)"
                                     R"(lcd-backlight/brightness","data":"1"}],"sleeps":[],)"
                                     R"("terminated":"uncaught std::invalid_argument: stoi"})"));
    EXPECT_THAT(call.err, HasSubstr("the process ended during display getBacklightValue"));
    EXPECT_TRUE(fs::is_empty(mTmp)) << "the scratch copy is removed";

    // The report has printed every area before, and closes its JSON object.
    Result report = tevctl({"--json", "report"});
    EXPECT_NE(report.status, 0);
    EXPECT_THAT(report.out, StartsWith(R"({"device":)"));
    EXPECT_THAT(report.out, HasSubstr(R"({"area":"version","interface":"IVersionCheckService",)"
                                      R"("calls":[],"available":false})"));
    EXPECT_THAT(report.out, HasSubstr(R"("op":"getLcmInfo")"));
    EXPECT_THAT(report.out, HasSubstr(R"("terminated":)"));
    EXPECT_EQ(lines(report.out).size(), 1u);
    EXPECT_THAT(report.out, ::testing::EndsWith("],\"available\":true}]}\n"));
    // The report is the service's own (its debug call): the text report, with the log of each
    // call under its row, names the call in flight as the operation after the last row.
    Result text = tevctl({"--log", "report"});
    EXPECT_EQ(text.status, 134);
    EXPECT_THAT(text.out,
                HasSubstr("display    getLcmInfo                       \"panel\\x01é\\xff\"\n"
                          "    log I/FakeDisplay: 630尼特绿斑亮度测试\\n\n"
                          "display    getBacklightValue                (terminated: "));
    Result debug = tevctl({"debug", "--json"});
    EXPECT_EQ(debug.status, 134);
    EXPECT_THAT(debug.out, StartsWith(R"({"areas":[)"));
    EXPECT_THAT(debug.out, Not(HasSubstr("terminated")));
}

TEST_F(TevctlTest, DiffAndProductsPrintTablesOrData) {
    const struct {
        std::vector<std::string> args;
        int status;
        std::vector<std::string> has, hasNot;
    } cases[] = {
            {{"diff", "qab", "qab"}, 0, {}, {"AREA"}},
            {{"diff", "qab", "marskol"},
             1,
             {"AREA       OPERATION                        qab ",
              "\nleds       getLedsList                      [1, 2, 3, 4, 5, 6, 7] ", "  []\n"},
             {"getElectricThreshold", "audio"}},
            {{"--json", "diff", "qab", "lumbret"},
             1,
             {R"("differences":[{"area":"version","op":"getFSN","a":{"callbacks":["QB7A2C0041"]},)"
              R"("b":{"callbacks":["LB1A00772"]}})",
              R"({"area":"leds","op":"getLedsList","a":{"callbacks":[[1,2,3,4,5,6,7]]},)"},
             {"isSingleSim"}},
            {{"diff", "qab"}, 2, {}, {"AREA"}},
            // Each product in a process of its own: the storage kind follows the product.
            {{"--json", "products"},
             0,
             {R"({"product":"sirnak","calls":[{"area":"leds","op":"getLedsList","args":[],)"
              R"("callbacks":[[0]],)",
              R"({"product":"marskol","calls":[{"area":"leds","op":"getLedsList","args":[],)"
              R"("callbacks":[[]],"writes":[],"sleeps":[]},{"area":"flashlife",)"
              R"("op":"getFlashLifeTime","args":[],"callbacks":[],)"},
             {"\n{"}},
            {{"products", "--in-place"}, 2, {}, {"PRODUCT"}},
            {{"products", "sirnak", "unlisted"}, 0, {"\nsirnak ", "\nunlisted "}, {"\nqab "}},
            {{"list", "leds"}, 0, {"leds  ILedsCheckService"}, {"version"}},
            {{"report"}, 0, {"device: " + std::string(TEV_SOURCE_DIR) + "/devices/qab\nAREA "}, {}},
            // A side that cannot be reported is named on stderr; nothing is compared.
            {{"diff", "qab", "nosuch"}, 2, {}, {"AREA"}},
    };
    for (const auto& c : cases) {
        std::vector<std::string> args = c.args;
        if (std::find(args.begin(), args.end(), "diff") == args.end()) {
            args.insert(args.begin(), {"--device", "qab"});
        }
        Result r = tevctl(args);
        EXPECT_EQ(r.status, c.status) << c.args[1] << r.err;
        for (const std::string& text : c.has) EXPECT_THAT(r.out, HasSubstr(text));
        for (const std::string& text : c.hasNot) EXPECT_THAT(r.out, Not(HasSubstr(text)));
    }
}

// No step and no pass-through reaches a file outside the profile (in place) or its scratch copy.
TEST_F(TevctlTest, NoStepOrPassThroughLeavesTheProfile) {
    useQabBesideADecoy();
    const std::string decoy = (mDir / "decoy/secret").string();
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
            {"rmnode /proc/self", 2, "steps:1: '/proc/self'" + notDevice},
            {"folder /sys/../../../decoy", 2, "steps:1: '/sys/../../../decoy'" + notDevice},
            {"call root getVendorFileValue /sys/../../../decoy/secret", 0, "\"\""},
            {"call root getVendorFileValue " + decoy, 0, "\"\""},
            {"call root getVendorFileValue ../../decoy/secret", 0, "\"\""},
            {"call root setVendorFileValue /sys/../../../decoy/secret 7", 0, ""},
            {"call root setVendorFileValue " + decoy + " 7", 0, ""},
            {"rmnode /sys", 0, ""},  // the handset's own /sys: allowed, and only there
            {"node /sys/class/leds/red/brightness 7", 0, ""},
    };
    const auto decoyBefore = tree(mDir / "decoy");
    for (bool inPlace : {false, true}) {
        const auto profileBefore = tree(mProfile);
        for (const auto& c : cases) {
            SCOPED_TRACE(c.step + (inPlace ? " in place" : " on a scratch copy"));
            writeFile(mDir / "steps", c.step + "\n");
            std::vector<std::string> args = {"run", (mDir / "steps").string()};
            if (inPlace) args.insert(args.begin(), "--in-place");
            Result r = tevctl(args);
            EXPECT_EQ(r.status, c.status) << r.err;
            if (c.status == 2) {
                EXPECT_EQ(r.err, "tevctl: " + (mDir / c.said).string() + "\n");
            } else {
                EXPECT_THAT(r.out, HasSubstr(c.said));
            }
            EXPECT_EQ(tree(mDir / "decoy"), decoyBefore);
            EXPECT_TRUE(fs::is_empty(mTmp));  // no scratch copy left behind
            if (!inPlace) {
                EXPECT_EQ(tree(mProfile), profileBefore);
            }
        }
    }
    // In place, the steps changed the profile itself, and only there.
    EXPECT_FALSE(fs::exists(mProfile / "fs/sys/class/power_supply"));
    EXPECT_EQ(readFile(mProfile / "fs/sys/class/leds/red/brightness"), "7");
}

// tevctl's own files are the host's: a script in a local folder named d is not the handset's /d.
TEST_F(TevctlTest, AScriptInALocalFolderNamedDIsRead) {
    useQabBesideADecoy();
    writeFile(mDir / "d/steps", "call version getCpuId\n");
    const std::string line = "cd " + quote(mDir.string()) + " && " +
                             commandLine({"run", "d/steps"}) + " >" +
                             quote((mDir / "stdout").string()) + " 2>&1";
    ASSERT_EQ(std::system(line.c_str()), 0) << readFile(mDir / "stdout");
    EXPECT_EQ(readFile(mDir / "stdout"), "> version getCpuId\n\"0x8b3e71d5\"\n");
}

// A reader that went away after one line is no error, whenever it goes; the scratch copy goes.
TEST_F(TevctlTest, TheScratchCopyGoesWhenTheReaderGoes) {
    const std::string line = "{ " + commandLine({"--device", "qab", "report"}) + "; echo $? >" +
                             quote((mDir / "status").string()) + "; } | head -1 >/dev/null";
    for (int i = 0; i < 5; ++i) {
        std::system(line.c_str());
        EXPECT_EQ(readFile(mDir / "status"), "0\n");
        EXPECT_TRUE(fs::is_empty(mTmp));
    }
}

// A profile from a stranger: every way it points outside itself is refused at load with one line
// (or, for a hard link on a scratch copy, copied), and the decoys beside it stay as they were.
TEST_F(TevctlTest, AHostileProfileReachesNothingOutsideIt) {
    const fs::path decoy = mDir / "decoy";
    const std::string link = "a file with 2 names (hard links)";
    const struct {
        const char* row;
        std::function<void()> make;
        std::vector<std::string> args;
        int status;
        std::string says;  // on stderr (status 2) or standard output
    } cases[] = {
            {"N1 fs/ is a link",
             [&] {
                 fs::remove_all(mProfile / "fs"), fs::create_symlink("../decoy", mProfile / "fs");
             },
             {"call", "root", "getVendorFileValue", "/secret"},
             2,
             "/fs is a link"},
            {"N1 in place",
             [&] {
                 fs::remove_all(mProfile / "fs"), fs::create_symlink("../decoy", mProfile / "fs");
             },
             {"--in-place", "call", "root", "setVendorFileValue", "/secret", "X"},
             2,
             "/fs is a link"},
            {"N2 hard link in place",
             [&] { fs::create_hard_link(decoy / "secret", mProfile / "fs/sys/hard"); },
             {"--in-place", "call", "root", "setVendorFileValue", "/sys/hard", "X"},
             2,
             link},
            {"N2 hard link copied",
             [&] { fs::create_hard_link(decoy / "secret", mProfile / "fs/sys/hard"); },
             {"call", "root", "setVendorFileValue", "/sys/hard", "X"},
             0,
             "write /sys/hard \"X\""},
            {"N4 a sparse node of 8 MiB",
             [&] { fs::resize_file(mProfile / "fs/sys/class/leds/red/brightness", 8 << 20); },
             {"call", "leds", "getLedsList"},
             2,
             "/brightness: over 1 MiB"},
            {"N5 a big node under /proc",
             [&] { fs::resize_file(mProfile / "fs/proc/version", 4 << 20); },
             {"--in-place", "call", "root", "getVendorFileValue", "/proc/version"},
             2,
             "/version: over 1 MiB"},
            {"N7 a tree 70 folders deep",
             [&] {
                 fs::path deep = mProfile / "fs/sys";
                 for (int i = 0; i < 70; ++i) deep /= "d";
                 fs::create_directories(deep);
             },
             {"call", "leds", "getLedsList"},
             2,
             "folders nested more than 64 deep"},
            {"N8 in place on a bundled profile",
             [] {},
             {"--device", "qab", "--in-place", "call", "root", "setVendorFileValue",
              "/sys/class/leds/red/brightness", "9"},
             2,
             "--in-place would change the bundled profile"},
    };
    fs::create_directories(mDir / "devices");
    fs::copy(fs::path(TEV_SOURCE_DIR) / "devices/qab", mDir / "devices/qab",
             fs::copy_options::recursive);
    mEnv = "TEVCTL_DEVICES=" + quote((mDir / "devices").string());
    for (const auto& c : cases) {
        SCOPED_TRACE(c.row);
        useQabBesideADecoy();
        c.make();
        const auto decoyBefore = tree(decoy);
        Result r = tevctl(c.args);
        EXPECT_EQ(r.status, c.status) << r.err;
        if (c.status == 2) {
            EXPECT_THAT(lines(r.err), ElementsAre(HasSubstr(c.says)));
        } else {
            EXPECT_THAT(r.out, HasSubstr(c.says));
        }
        EXPECT_THAT(r.out, Not(HasSubstr("secret")));
        EXPECT_EQ(tree(decoy), decoyBefore);
        EXPECT_TRUE(fs::is_empty(mTmp)) << "no scratch copy left behind";
    }
    EXPECT_EQ(readFile(mDir / "devices/qab/fs/sys/class/leds/red/brightness"),
              readFile(fs::path(TEV_SOURCE_DIR) / "devices/qab/fs/sys/class/leds/red/brightness"));
    // Asked twice, it is done.
    Result forced = tevctl({"--device", "qab", "--in-place", "--force", "call", "root",
                            "setVendorFileValue", "/sys/class/leds/red/brightness", "9"});
    EXPECT_EQ(forced.status, 0) << forced.err;
    EXPECT_EQ(readFile(mDir / "devices/qab/fs/sys/class/leds/red/brightness"), "9");
}

// No control byte of a profile (a node's name, a profile's name) reaches the terminal.
TEST_F(TevctlTest, EverythingPrintedIsEscaped) {
    useQabBesideADecoy();
    const std::string name = "a\nb\x1b[2J";
    writeFile(mProfile / "fs/sys" / name, "0");
    const fs::path odd = mDir / ("odd\x1b[31m\n");
    fs::copy(mProfile, odd, fs::copy_options::recursive);
    std::string properties = readFile(mProfile / "properties");
    properties.replace(properties.find("QB7A2C0041"), 10, "odd\x1b[31m");
    writeFile(odd / "properties", properties);
    const std::vector<std::string> commands[] = {
            {"call", "root", "setVendorFileValue", "/sys/" + name, "1"},
            {"--device", odd.string(), "report"},
            {"diff", mProfile.string(), odd.string()},
    };
    for (const auto& args : commands) {
        Result r = tevctl(args);
        SCOPED_TRACE(::testing::PrintToString(args));
        EXPECT_LE(r.status, 1) << r.err;
        EXPECT_FALSE(r.out.empty());
        for (char c : r.out) EXPECT_TRUE(c == '\n' || static_cast<unsigned char>(c) >= 0x20);
    }
    EXPECT_THAT(tevctl(commands[0]).out, HasSubstr("write /sys/a\\nb\\x1b[2J \"1\""));
}

// The scratch copy goes on every signal that ends the process and can be caught; one that cannot
// (KILL) leaves it to the next run, which removes it.
TEST_F(TevctlTest, EverySignalLeavesNoScratchCopyForLong) {
    for (int signal : {SIGQUIT, SIGUSR1, SIGUSR2, SIGALRM, SIGXCPU, SIGVTALRM, SIGKILL}) {
        SCOPED_TRACE(strsignal(signal));
        int input[2];
        ASSERT_EQ(pipe(input), 0);
        pid_t child = start({"run"}, input[0]);
        close(input[0]);
        ASSERT_TRUE(await([&] { return !fs::is_empty(mTmp); }));
        kill(child, signal);
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        close(input[1]);
        EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == signal) << status;
        if (signal == SIGKILL) {
            EXPECT_FALSE(fs::is_empty(mTmp));
            EXPECT_EQ(tevctl({"list"}).status, 0);
        }
        EXPECT_TRUE(fs::is_empty(mTmp));
    }
}

// tevctl explains itself one command at a time.
TEST_F(TevctlTest, EachCommandHasItsOwnHelp) {
    const std::vector<std::string> asks[] = {
            {"help", "run"}, {"run", "--help"}, {"diff", "--help"}, {"help", "products"}};
    for (const auto& args : asks) {
        Result r = tevctl(args);
        EXPECT_EQ(r.status, 0);
        EXPECT_THAT(r.out, StartsWith("usage: tevctl [OPTION...] " + args[args[0] == "help"]));
        EXPECT_LT(lines(r.out).size(), 30u);
    }
    Result all = tevctl({"--help"});
    for (const char* says : {"scratch copy", "TEVHOST_LOG", "--force", "debug [OPTION...]"}) {
        EXPECT_THAT(all.out, HasSubstr(says));
    }
}

TEST_F(TevctlTest, ASecondInPlaceRunSaysThatItWaits) {
    useQabBesideADecoy();
    int held = open(mProfile.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    ASSERT_GE(held, 0);
    ASSERT_EQ(flock(held, LOCK_EX), 0);  // as a first --in-place run would
    writeFile(mDir / "steps", "node /sys/class/leds/red/brightness 9\n");
    pid_t child = start({"--in-place", "run", (mDir / "steps").string()});
    ASSERT_TRUE(await([&] { return !readFile(mDir / "stderr").empty(); }));
    EXPECT_EQ(readFile(mDir / "stderr"),
              "tevctl: " + mProfile.string() +
                      " is in use by an --in-place run; waiting for it to end\n");
    EXPECT_NE(readFile(mProfile / "fs/sys/class/leds/red/brightness"), "9");
    close(held);
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
    EXPECT_EQ(readFile(mProfile / "fs/sys/class/leds/red/brightness"), "9");
}

// What was checked is what is copied: fs/ swapped for a link while the load waits for the
// profile (an --in-place run holds it) brings nothing from outside into the scratch copy.
TEST_F(TevctlTest, ASwapWhileTheLoadWaitsBringsNothingIn) {
    useQabBesideADecoy();
    int held = open(mProfile.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    ASSERT_GE(held, 0);
    ASSERT_EQ(flock(held, LOCK_EX), 0);
    pid_t child = start({"call", "root", "getVendorFileValue", "/secret"});
    ASSERT_TRUE(await([&] { return !readFile(mDir / "stderr").empty(); }));
    fs::rename(mProfile / "fs", mDir / "fs");
    fs::create_symlink("../decoy", mProfile / "fs");
    close(held);
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_THAT(readFile(mDir / "stdout"), Not(HasSubstr("secret")));
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 2) << status;
    EXPECT_THAT(readFile(mDir / "stderr"), HasSubstr("/fs is not a folder of the profile"));
    EXPECT_TRUE(fs::is_empty(mTmp));
}

}  // namespace
