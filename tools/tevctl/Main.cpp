// tevctl: asks the vendor test service anything, in-process, on a simulated handset set up from a
// device profile. It obtains the root exactly as a client on the handset does (passthrough lookup
// of the -impl library and its factory) and reaches every area through the root.
#include <tevhost/Profile.h>

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <string>
#include <vector>

#include "Command.h"
#include "Output.h"
#include "Session.h"

namespace tevctl {
namespace {

const char kUsage[] =
        R"(usage: tevctl [--device DIR] [--json] [--log] [--real-time] [--in-place] COMMAND ...

Asks the vendor test service, loaded in-process as on the handset, on a simulated device.
Options may also stand after the command or among its arguments; -- ends them.

Commands:
  list                     the areas and every operation with its argument and result types
  report                   every reading operation without arguments, of every area
  debug [OPTION...]        the root's debug call with OPTIONs, as lshal debug makes it
  diff A B                 the reports of profiles A and B: only the operations that differ
                           (exit status 0 equal, 1 different)
  products                 for every product the library's per-product lists and tables name
                           (and one they do not), the answers of every operation that depends
                           on the product name, each product in a process of its own
  call AREA OP [ARG...]    one operation
  run [FILE]               steps from FILE (or standard input), one per line, in one process:
                             call AREA OP [ARG...]
                             client                the root obtained again, as by a second
                                                   client: areas are built anew when requested
                             prop KEY [VALUE]      set a property; without VALUE unset it
                             node PATH [CONTENT]   write a node
                             rmnode PATH           remove a node
                             folder PATH           put an empty folder in a node's place
                             deny PATH             refuse the node's opens (EACCES)
                             full PATH             refuse the node's writes (ENOSPC)
                             allow PATH            undo deny and full
                             respond PATH WORD [REPLY]  after WORD is written to PATH, it reads
                                                   REPLY
                           A step's words are separated by blanks. Every word takes the C
                           escapes \n \t \r \\ \" \0 \xHH; in double quotes it may hold blanks
                           ("a b", and "" is empty). Blank lines and lines starting with # are
                           skipped.
  help                     this text

AREA is root (the property and node pass-throughs) or one of version, leds, flashlife, camera,
charger, nfc, usb, battery, sensor, display, fp, audio. Arguments: integers in decimal (an
optional - and digits), booleans true/false/1/0, strings as given, string lists comma-separated,
enums by member name or number.

Options:
  --device DIR   the device profile: a folder with properties, fs/ and optionally drivers, or the
                 name of a bundled profile (qab, marskol, lumbret); default: the bundled qab.
                 The node tree is used from a scratch copy, so the profile is never changed
  --in-place     the service writes through to DIR/fs instead of a scratch copy
  --json         one JSON object per call (report: one object for the whole report)
  --log          add the log lines of each call
  --real-time    sleeps really pass (progress on stderr); otherwise the virtual clock only
                 records them

Exit status: 0 done; 1 the service could not answer (area not available, library missing) or the
output could not be written; 2 a usage error (one line on stderr); 134 the service ended the
process during a call.
)";

int run(int argc, char** argv) {
    Options o;
    bool deviceGiven = false;
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
            fputs(kUsage, stdout);
            return finishOutput(0);
        } else if (arg == "--device") {
            if (++i == argc) throw UsageError("--device needs a profile folder");
            o.device = argv[i];
            deviceGiven = true;
        } else if (arg.rfind("--device=", 0) == 0) {
            o.device = arg.substr(9);
            deviceGiven = true;
        } else if (arg == "--json") {
            o.json = true;
        } else if (arg == "--log") {
            o.log = true;
        } else if (arg == "--real-time") {
            o.realTime = true;
        } else if (arg == "--in-place") {
            o.inPlace = true;
        } else {
            throw UsageError("unknown option '" + arg +
                             "' (see tevctl --help; -- ends the options)");
        }
    }
    if (words.empty()) throw UsageError("no command (list, report, call, run; see tevctl --help)");
    std::string command = words[0];
    std::vector<std::string> rest(words.begin() + 1, words.end());
    if (command == "help") {
        fputs(kUsage, stdout);
        return finishOutput(0);
    }
    CallRequest request{};
    if (command == "call") {
        request = parseCall(rest);
    } else if (command == "list" || command == "report") {
        if (!rest.empty()) throw UsageError(command + " takes no arguments");
    } else if (command == "debug") {
        // Every word is the service's.
    } else if (command == "diff") {
        if (rest.size() != 2) throw UsageError("diff needs two profiles A B");
        return commandDiff(o, rest[0], rest[1]);
    } else if (command == "products") {
        if (!rest.empty()) throw UsageError("products takes no arguments");
        if (o.inPlace) throw UsageError("products runs on scratch copies only, not --in-place");
        return finishOutput(commandProducts(o, deviceGiven ? tevhost::profile::resolve(o.device)
                                                           : tevhost::profile::defaultDir()));
    } else if (command == "run") {
        if (rest.size() > 1) throw UsageError("run takes at most one FILE");
    } else {
        throw UsageError("unknown command '" + command + "' (list, report, call, run, help)");
    }
    if (o.inPlace && !deviceGiven) throw UsageError("--in-place needs --device DIR");

    std::string profile =
            deviceGiven ? tevhost::profile::resolve(o.device) : tevhost::profile::defaultDir();
    tevhost::profile::Profile device;
    device.onWait([](const std::string& why) { fprintf(stderr, "tevctl: %s\n", why.c_str()); });
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
        status = commandList(session, o);
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
