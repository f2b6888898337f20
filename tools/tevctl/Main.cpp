// tevctl: asks the vendor test service anything, in-process, on a simulated handset set up from a
// device profile. It obtains the root exactly as a client on the handset does (passthrough lookup
// of the -impl library and its factory) and reaches every area through the root.
#include <tevhost/Profile.h>

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "Command.h"
#include "Output.h"
#include "Session.h"

namespace tevctl {
namespace {

// The options, as bits of what a command takes.
enum Option : unsigned {
    kDevice = 1 << 0,
    kJson = 1 << 1,
    kLog = 1 << 2,
    kRealTime = 1 << 3,
    kInPlace = 1 << 4,  // --force goes with it
};
constexpr unsigned kAll = kDevice | kJson | kLog | kRealTime | kInPlace;

struct OptionName {
    Option bit;
    const char* name;
};
constexpr OptionName kOptionNames[] = {{kDevice, "--device"},
                                       {kJson, "--json"},
                                       {kLog, "--log"},
                                       {kRealTime, "--real-time"},
                                       {kInPlace, "--in-place"}};

struct CommandHelp {
    const char* name;
    const char* synopsis;  // after "tevctl"
    const char* summary;   // the overview's lines after the synopsis
    const char* details;   // what "tevctl help NAME" adds
    unsigned options;      // the options it takes; any other is refused
};

const CommandHelp kCommands[] = {
        {"list", "list [AREA...]",
         "the areas (or those named) and every operation with its\n"
         "argument and result types",
         "Each operation is marked reads (it only reads) or drives. An area the root hands out no\n"
         "object for is marked (not available) on this profile.\n",
         kDevice | kJson},
        {"report", "report", "every reading operation without arguments, of every area",
         "The service's own report (its debug call, as lshal debug makes it), a line per call,\n"
         "headed by the profile, with what each call wrote, slept and (--log) logged under it.\n",
         kAll},
        {"debug", "debug [OPTION...]", "the root's debug call with OPTIONs, as lshal debug makes it",
         "Prints what the service writes, byte for byte. Every word after debug is the service's\n"
         "(debug --json is its JSON report), so tevctl's own options go before it.\n",
         kDevice | kRealTime | kInPlace},
        {"diff", "diff A B", "the reports of profiles A and B: only the operations that differ",
         "Each report runs in a process of its own. Wide answers are folded. Exit status: 0 "
         "equal,\n"
         "1 different, 2 a usage error or output that cannot be written, 134 when the service\n"
         "ended one side's process (the side is named).\n"
         "diff A --adb: B is the handset (the report of its own tevctl, through adb), named\n"
         "adb:SERIAL: how closely profile A, a capture of it say, answers as the handset does.\n",
         kJson},
        {"products", "products [NAME...]",
         "for every product the library's per-product lists and tables name\n"
         "(or those named), the answers of every operation that depends on it",
         "Each product runs in a process of its own, on a scratch copy of the profile; unlisted\n"
         "stands for a product in none of the lists.\n",
         kDevice | kJson},
        {"call", "call AREA OP [ARG...]", "one operation",
         "Prints the return value, each value the callback received (or (no callback)), then a\n"
         "line per node write, sleep and (--log) log line. With --json, one object per call.\n",
         kAll},
        {"run", "run [FILE]", "steps from FILE (or standard input), one per line, in one process",
         "Steps:\n"
         "  call AREA OP [ARG...]\n"
         "  client                the root obtained again, as by a second client: areas are\n"
         "                        built anew when requested\n"
         "  prop KEY [VALUE]      set a property; without VALUE unset it\n"
         "  node PATH [CONTENT]   write a node\n"
         "  rmnode PATH           remove a node\n"
         "  folder PATH           put an empty folder in a node's place\n"
         "  deny PATH             refuse the node's opens (EACCES)\n"
         "  full PATH             refuse the node's writes (ENOSPC)\n"
         "  allow PATH            undo deny and full\n"
         "  respond PATH WORD [REPLY]  after WORD is written to PATH, it reads REPLY\n"
         "A step's words are separated by blanks. Every word takes the C escapes\n"
         "\\n \\t \\r \\\\ \\\" \\0 \\xHH; in double quotes it may hold blanks (\"a b\", and \"\" "
         "is\n"
         "empty). Blank lines and lines starting with # are skipped. In text each call is headed\n"
         "by \"> AREA OP ARGS\"; with --json each call object starts with \"line\", its step's "
         "line.\n"
         "Everything a step changes lives until the run ends: the way to switch an LED and "
         "read it\n"
         "back is one run (or --in-place on a copy of the profile).\n",
         kAll},
        {"help", "help [COMMAND]", "this text, or what COMMAND does (also: tevctl COMMAND --help)",
         "", kAll},
};

const char kOverview[] =
        R"(Asks the vendor test service, loaded in-process as on the handset, on a simulated device.

Every command runs on a scratch copy of the profile's nodes, made afresh and removed when it
ends: what one call writes (an LED switched on) is gone for the next call. Keep it with one
run of several steps, or with --in-place on a copy of the profile.
Options may also stand after the command or among its arguments; -- ends them.

Commands:
)";

const char kReference[] = R"(
AREA is root (the property and node pass-throughs) or one of version, leds, flashlife, camera,
charger, nfc, usb, battery, sensor, display, fp, audio. Arguments: integers in decimal (an
optional - and digits), booleans true/false/1/0, strings as given, string lists comma-separated,
enums by member name or number.

Options (a command refuses the ones it does not take):
  --device DIR   the device profile: a folder with properties, fs/ and optionally drivers,
                 sensorcal, hall; or the name of a bundled profile (qab, marskol, lumbret);
                 default: the bundled qab. A local folder of a bundled name is used, and said so.
                 Its own entries must not be links; fs/ holds folders, files of at most 1 MiB
                 and relative links that stay inside it
  --in-place     the service writes through to DIR/fs instead of a scratch copy; a file there
                 with another name (a hard link) is refused, and so is a bundled profile
  --force        with --in-place: change a bundled profile all the same (the tests compare
                 against them; better: cp -r devices/qab mine and --device mine)
  --json         one JSON object per call (report, list, diff, products: one object)
  --log          add the log lines of each call
  --real-time    sleeps really pass (progress on stderr); otherwise the virtual clock only
                 records them
  --adb [SERIAL] run the command on the handset SERIAL (or the one connected) through adb
                 shell: its tevctl (userdebug builds) takes list, call, run (call and client
                 steps), report and debug, with --json; diff A --adb compares profile A with
                 the handset

Environment:
  TEVHOST_LOG      when set, every log line of the service is echoed to stderr as logcat shows
                   it, as it happens
  TMPDIR           where scratch copies go (default /tmp); one left by a killed tevctl is
                   removed by the next
  TEVCTL_DEVICES   the folder of the bundled profiles (default: the source tree's devices/)
  TEVHOST_HAL_DIR  the folder of the service library (default: the build's lib/)

Exit status: 0 done; 1 the service could not answer (area not available, library missing) or the
output could not be written; 2 a usage error (one line on stderr); 134 the service ended the
process during a call. diff: 0 equal, 1 different, 2 a usage or output error.
)";

const char kUsageLine[] =
        "usage: tevctl [--device DIR] [--json] [--log] [--real-time] [--in-place [--force]] "
        "[--adb [SERIAL]] COMMAND ...\n";

std::string commandNames() {
    std::string names;
    for (const CommandHelp& c : kCommands)
        names += (names.empty() ? "" : ", ") + std::string(c.name);
    return names;
}

const CommandHelp* findCommand(const std::string& name) {
    for (const CommandHelp& c : kCommands) {
        if (name == c.name) return &c;
    }
    return nullptr;
}

std::string optionNames(unsigned options) {
    std::string names;
    for (const OptionName& o : kOptionNames) {
        if (options & o.bit) names += (names.empty() ? "" : ", ") + std::string(o.name);
    }
    if (options & kInPlace) names += ", --force";
    return names.empty() ? "none" : names;
}

// The whole help, or one command's.
int printHelp(const CommandHelp* command) {
    if (command == nullptr || std::string(command->name) == "help") {
        std::string text = std::string(kUsageLine) + "\n" + kOverview;
        for (const CommandHelp& c : kCommands) {
            std::string summary = c.summary;
            for (size_t at = 0; (at = summary.find('\n', at)) != std::string::npos; at += 26) {
                summary.insert(at + 1, std::string(25, ' '));
            }
            char line[64];
            snprintf(line, sizeof(line), "  %-23s", c.synopsis);
            text += std::string(line) +
                    (strlen(c.synopsis) > 23 ? "\n" + std::string(25, ' ') : "") + summary + "\n";
        }
        text += "See tevctl help COMMAND for one command (the run steps: tevctl help run).\n";
        fputs((text + kReference).c_str(), stdout);
    } else {
        printf("usage: tevctl [OPTION...] %s\n\n%s.\n\n%sOptions it takes: %s (see tevctl "
               "--help)\n",
               command->synopsis, command->summary, command->details,
               optionNames(command->options).c_str());
    }
    return finishOutput(0);
}

int run(int argc, char** argv) {
    Options o;
    // --adb [SERIAL] is taken out first: every other word goes to the handset's tevctl as it
    // stands, and diff takes the handset for its B. A word after --adb that is not a command is
    // the serial. Words after "--" or "debug" are not looked at.
    std::vector<char*> kept = {argv[0]};
    std::string first;  // the command, or "debug" once nothing more is looked at
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        const bool scanning = first != "debug";
        if (scanning && arg == "--adb") {
            o.adb = true;
            if (i + 1 < argc && argv[i + 1][0] != '-' && findCommand(argv[i + 1]) == nullptr) {
                o.adbSerial = argv[++i];
            }
            continue;
        }
        if (scanning && arg.rfind("--adb=", 0) == 0) {
            o.adb = true;
            o.adbSerial = arg.substr(6);
            continue;
        }
        if (arg == "--") first = "debug";  // nothing after it is looked at
        if (first.empty() && arg[0] != '-') first = arg;
        kept.push_back(argv[i]);
    }
    if (o.adb && first != "diff") {
        return commandAdb(o.adbSerial, std::vector<std::string>(kept.begin() + 1, kept.end()));
    }
    argc = static_cast<int>(kept.size());
    argv = kept.data();
    unsigned given = 0;
    bool force = false;
    bool help = false;
    // Options may stand anywhere on the line; "--" ends them, so that a word after it that starts
    // with "--" is an argument. Every word after "debug" is the service's, as lshal passes it.
    std::vector<std::string> words;
    bool optionsEnded = false;
    for (int i = 1; i < argc; ++i) {
        std::string arg = argv[i];
        if (!words.empty() && words[0] == "debug") optionsEnded = true;
        if (optionsEnded || (arg.rfind("--", 0) != 0 && arg != "-h")) {
            words.push_back(arg);
        } else if (arg == "--") {
            optionsEnded = true;
        } else if (arg == "--help" || arg == "-h") {
            help = true;
        } else if (arg == "--device") {
            if (++i == argc) throw UsageError("--device needs a profile folder");
            o.device = argv[i];
            given |= kDevice;
        } else if (arg.rfind("--device=", 0) == 0) {
            o.device = arg.substr(9);
            given |= kDevice;
        } else if (arg == "--json") {
            o.json = true;
            given |= kJson;
        } else if (arg == "--log") {
            o.log = true;
            given |= kLog;
        } else if (arg == "--real-time") {
            o.realTime = true;
            given |= kRealTime;
        } else if (arg == "--in-place") {
            o.inPlace = true;
            given |= kInPlace;
        } else if (arg == "--force") {
            force = true;
        } else {
            throw UsageError("unknown option '" + arg +
                             "' (see tevctl --help; -- ends the options)");
        }
    }
    const CommandHelp* known = words.empty() ? nullptr : findCommand(words[0]);
    if (help) return printHelp(known);
    if (words.empty()) throw UsageError("no command (" + commandNames() + "; see tevctl --help)");
    std::string command = words[0];
    std::vector<std::string> rest(words.begin() + 1, words.end());
    if (known == nullptr) {
        throw UsageError("unknown command '" + command + "' (" + commandNames() +
                         "; see tevctl --help)");
    }
    if (command == "help") {
        if (rest.size() > 1) throw UsageError("help takes at most one COMMAND");
        const CommandHelp* about = rest.empty() ? nullptr : findCommand(rest[0]);
        if (!rest.empty() && about == nullptr) {
            throw UsageError("no command '" + rest[0] + "' (" + commandNames() + ")");
        }
        return printHelp(about);
    }
    for (const OptionName& option : kOptionNames) {
        if ((given & option.bit) && !(known->options & option.bit)) {
            throw UsageError(command + " does not take " + option.name + " (it takes " +
                             optionNames(known->options) + ")");
        }
    }
    if (force && !o.inPlace) throw UsageError("--force goes with --in-place");
    CallRequest request{};
    std::vector<const Area*> areas;
    if (command == "call") {
        request = parseCall(rest);
    } else if (command == "list") {
        for (const std::string& name : rest) areas.push_back(&needArea(name));
    } else if (command == "report") {
        if (!rest.empty()) throw UsageError(command + " takes no arguments");
    } else if (command == "debug") {
        // Every word is the service's.
    } else if (command == "diff") {
        if (o.adb && rest.size() != 1) {
            throw UsageError("diff --adb needs one profile A (B is the handset)");
        }
        if (!o.adb && rest.size() != 2) throw UsageError("diff needs two profiles A B");
        if (o.adb) return finishOutput(commandDiff(o, rest[0], ""), kDiffOutputFailed);
        return finishOutput(commandDiff(o, rest[0], rest[1]), kDiffOutputFailed);
    } else if (command == "run") {
        if (rest.size() > 1) throw UsageError("run takes at most one FILE");
    }
    if (o.inPlace && !(given & kDevice)) throw UsageError("--in-place needs --device DIR");

    std::string notice;
    std::string profile = (given & kDevice) ? tevhost::profile::resolve(o.device, &notice)
                                            : tevhost::profile::defaultDir();
    if (!notice.empty()) printError(notice);
    if (command == "products") return finishOutput(commandProducts(o, profile, rest));
    if (o.inPlace && !force && tevhost::profile::isBundled(profile)) {
        throw UsageError("--in-place would change the bundled profile " + profile +
                         ", which the tests compare against: run on a copy (cp -r " + profile +
                         " mine; tevctl --device mine --in-place ...), or add --force");
    }
    tevhost::profile::Profile device;
    device.onWait([](const std::string& why) { printError(why); });
    std::string error;
    if (!device.open(profile, o.inPlace, &error)) throw UsageError(error);
    Session session(o.realTime);
    if (!session.start(&error)) {
        printError(error);
        return 1;
    }
    session.onTermination([&o](const CallRecord& r) { printCall(r, o); });
    session.atTermination([&device] { device.close(); });
    int status = 0;
    if (command == "list") {
        status = commandList(session, o, areas);
    } else if (command == "report") {
        status = commandReport(session, o, profile);
    } else if (command == "debug") {
        status = commandDebug(session, o, rest);
    } else if (command == "call") {
        CallRecord r = session.call(*request.area, *request.op, request.args);
        if (!r.available) {
            printError(unavailable(*request.area));
            status = 1;
        } else {
            printCall(r, o);
        }
    } else {
        try {
            status = commandRun(session, o, rest.empty() ? "" : rest[0]);
        } catch (const StepError& e) {
            printError(e.message);
            status = e.status;
        }
    }
    return finishOutput(status);
}

}  // namespace
}  // namespace tevctl

namespace tevctl {

int runTool(int argc, char** argv) {
    // With standard output closed, a file the run opens would take its place and receive the
    // output.
    if (fcntl(STDOUT_FILENO, F_GETFD) == -1) {
        printError("cannot write the output: standard output is closed");
        return 1;
    }
    // A reader that stopped reading (tevctl report | head -1) is told by EPIPE, not by a signal
    // that would end the process at a random point: the output is then dropped, and the exit
    // status is the command's own.
    signal(SIGPIPE, SIG_IGN);
    try {
        return run(argc, argv);
    } catch (const UsageError& e) {
        printError(e.message);
        return finishOutput(2);
    }
}

}  // namespace tevctl

int main(int argc, char** argv) {
    return tevctl::runTool(argc, argv);
}
