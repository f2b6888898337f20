// tevctl: asks the vendor test service anything, in-process, on a simulated handset set up from a
// device profile. It obtains the root exactly as a client on the handset does (passthrough lookup
// of the -impl library and its factory) and reaches every area through the root.
#include <tevhost/Profile.h>

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

Commands:
  list                     the areas and every operation with its argument and result types
  report                   every reading operation without arguments, of every area
  call AREA OP [ARG...]    one operation
  run [FILE]               steps from FILE (or standard input), one per line, in one process:
                             call AREA OP [ARG...]
                             prop KEY VALUE        set a property     prop KEY    unset it
                             node PATH CONTENT     write a node (CONTENT takes \n \t \\ \0 \xHH)
                             rmnode PATH           remove a node
                             respond PATH WORD REPLY   after WORD is written to PATH, it reads REPLY
                           blank lines and lines starting with # are skipped
  help                     this text

AREA is root (the property and node pass-throughs) or one of version, leds, flashlife, camera,
charger, nfc, usb, battery, sensor, display, fp, audio. Arguments: integers in decimal, booleans
true/false/1/0, strings as given (in run steps a "quoted" word takes C escapes), string lists
comma-separated, enums by member name or number.

Options:
  --device DIR   the device profile: a folder with properties, fs/ and optionally drivers, or the
                 name of a bundled profile (qab, marskol, lumbret); default: the bundled qab.
                 The node tree is used from a scratch copy, so the profile is never changed
  --in-place     the service writes through to DIR/fs instead of a scratch copy
  --json         one JSON object per call (report: one object for the whole report)
  --log          add the log lines of each call
  --real-time    sleeps really pass (progress on stderr); otherwise the virtual clock only
                 records them

Exit status: 0 done; 1 the service could not answer (area not available, library missing);
2 a usage error (one line on stderr); 134 the service ended the process during a call.
)";

int run(int argc, char** argv) {
    Options o;
    bool deviceGiven = false;
    int i = 1;
    for (; i < argc; ++i) {
        std::string arg = argv[i];
        if (arg.rfind("--", 0) != 0 && arg != "-h") break;
        if (arg == "--help" || arg == "-h") {
            fputs(kUsage, stdout);
            return 0;
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
            throw UsageError("unknown option '" + arg + "' (see tevctl --help)");
        }
    }
    if (i == argc) throw UsageError("no command (list, report, call, run; see tevctl --help)");
    std::string command = argv[i++];
    std::vector<std::string> rest(argv + i, argv + argc);
    if (command == "help") {
        fputs(kUsage, stdout);
        return 0;
    }
    CallRequest request{};
    if (command == "call") {
        request = parseCall(rest);
    } else if (command == "list" || command == "report") {
        if (!rest.empty()) throw UsageError(command + " takes no arguments");
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
        fprintf(stderr, "tevctl: %s\n", error.c_str());
        return 1;
    }
    session.onTermination([&o](const CallRecord& r) { printCall(r, o); });
    session.atTermination([&device] { device.close(); });
    int status = 0;
    if (command == "list") {
        status = commandList(session, o);
    } else if (command == "report") {
        status = commandReport(session, o, profile);
    } else if (command == "call") {
        CallRecord r = session.call(*request.area, *request.op, request.args);
        if (!r.available) {
            fprintf(stderr, "tevctl: %s\n", unavailable(*request.area).c_str());
            status = 1;
        } else {
            printCall(r, o);
        }
    } else {
        try {
            status = commandRun(session, device, o, rest.empty() ? "" : rest[0]);
        } catch (const StepError& e) {
            fflush(stdout);
            fprintf(stderr, "tevctl: %s\n", e.message.c_str());
            status = e.status;
        }
    }
    return status;
}

}  // namespace
}  // namespace tevctl

int main(int argc, char** argv) {
    try {
        return tevctl::run(argc, argv);
    } catch (const tevctl::UsageError& e) {
        fflush(stdout);
        fprintf(stderr, "tevctl: %s\n", e.message.c_str());
        return 2;
    }
}
