// What tevctl's commands share: the options, usage errors, a call given in words, and the
// commands themselves (list, report, run; call is made by main).
#pragma once

#include <tevhost/Profile.h>

#include <string>
#include <vector>

#include "Session.h"

namespace tevctl {

// What the command line asked for, besides the command.
struct Options {
    bool steps = false;  // run: each call's text output is headed by the call
    std::string device;
    bool json = false;
    bool log = false;
    bool realTime = false;
    bool inPlace = false;
    int line = 0;           // run: the line of the step being run
    bool adb = false;       // --adb: the command runs on a handset, through adb
    std::string adbSerial;  // --adb SERIAL: that handset; else the one connected
};

// A usage error: one line on stderr, exit status 2.
class UsageError {
  public:
    explicit UsageError(std::string message) : message(std::move(message)) {}
    std::string message;
};

// A call as given in words: AREA OP ARG...
struct CallRequest {
    const Area* area;
    const Operation* op;
    Args args;
};

// The area named |name|; throws UsageError naming the areas there are.
const Area& needArea(const std::string& name);

// Parses AREA OP ARG...; throws UsageError naming what is wrong.
CallRequest parseCall(const std::vector<std::string>& words);

// The one line that says the root hands out no object for |area|.
std::string unavailable(const Area& area);

// list: the areas (|areas|, or all when empty) and every operation with its argument and result
// types.
int commandList(Session& session, const Options& o, const std::vector<const Area*>& areas);
// report: every reading operation without arguments, of every area, on the profile |device|.
int commandReport(Session& session, const Options& o, const std::string& device);
// debug: the root's debug call with |options|, its output as the service writes it (what lshal
// debug prints on the handset).
int commandDebug(Session& session, const Options& o, const std::vector<std::string>& options);
// diff: the reports of the profiles |a| and |b| (each in a process of its own; with --adb, |b| is
// the handset, reported by its own tevctl), and only the operations whose answers differ; 0 when
// none does, 1 when some do, 2 when a side could not be reported (or the child's 134 when the
// service ended its process), naming the side.
int commandDiff(const Options& o, const std::string& a, const std::string& b);
// The exit status of a diff whose output could not be written: 1 says "different".
constexpr int kDiffOutputFailed = 2;

// A bad run step: "FILE:LINE: what", and the exit status it gives.
class StepError {
  public:
    StepError(std::string message, int status) : message(std::move(message)), status(status) {}
    std::string message;
    int status;
};

// run: the steps of |file| (standard input when empty or "-"), one per line, in one process.
int commandRun(Session& session, Options& o, const std::string& file);

// products: for every product name the library's per-product lists and tables hold, and one
// they do not (or for the |names| given, each one of those), the answers of every operation that
// depends on the product name (each product in a process of its own, on the profile |device|).
int commandProducts(const Options& o, const std::string& device,
                    const std::vector<std::string>& names);

// --adb: the serial of the handset to use, |serial| or else the one handset adb lists; throws
// UsageError when adb is missing or no handset, or several, are connected.
std::string needHandset(const std::string& serial);
// Runs the handset's tevctl with |args| on the handset |serial| (or the one connected) through adb
// shell, its output and exit status passed on unchanged.
int commandAdb(const std::string& serial, const std::vector<std::string>& args);
// What the handset's tevctl prints on standard output for |args| on the handset |serial|, and
// its exit status.
std::pair<std::string, int> adbOutput(const std::string& serial,
                                      const std::vector<std::string>& args);

// The whole tool on |argv|, as main runs it; its exit status.
int runTool(int argc, char** argv);

// What the tool prints on standard output for |args| with |input| on standard input, and its exit
// status. It runs in a child process of its own, so that whatever the service decides once per
// process starts afresh (a fork, not an exec: under an emulator an exec of the tool would not
// run). |input| must fit a pipe's buffer.
std::pair<std::string, int> runSelf(const std::vector<std::string>& args,
                                    const std::string& input = "");

}  // namespace tevctl
