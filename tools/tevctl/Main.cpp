// tevctl: asks the vendor test service anything, in-process, on a simulated handset set up from a
// device profile. It obtains the root exactly as a client on the handset does (passthrough lookup
// of the -impl library and its factory) and reaches every area through the root.
#include <tevhost/Properties.h>
#include <tevhost/Sandbox.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <sstream>

#include "Catalog.h"
#include "Device.h"
#include "Output.h"
#include "Parse.h"
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

struct Options {
    bool steps = false;  // run: each call's text output is headed by the call
    std::string device;
    bool json = false;
    bool log = false;
    bool realTime = false;
    bool inPlace = false;
};

class UsageError {
  public:
    explicit UsageError(std::string message) : message(std::move(message)) {}
    std::string message;
};

std::string areaNames() {
    std::string names;
    for (const Area* area : allAreas()) names += (names.empty() ? "" : ", ") + area->name;
    return names;
}

const Area& needArea(const std::string& name) {
    const Area* area = findArea(name);
    if (area == nullptr)
        throw UsageError("unknown area '" + name + "' (areas: " + areaNames() + ")");
    return *area;
}

const Operation& needOperation(const Area& area, const std::string& name) {
    const Operation* op = area.find(name);
    if (op == nullptr) {
        throw UsageError(area.name + " has no operation '" + name + "' (see tevctl list)");
    }
    return *op;
}

// A call as given in words: AREA OP ARG...
struct CallRequest {
    const Area* area;
    const Operation* op;
    Args args;
};

CallRequest parseCall(const std::vector<std::string>& words) {
    if (words.size() < 2) throw UsageError("call needs AREA and OP");
    CallRequest request;
    request.area = &needArea(words[0]);
    request.op = &needOperation(*request.area, words[1]);
    std::string error;
    std::vector<std::string> texts(words.begin() + 2, words.end());
    if (!parseArgs(*request.area, *request.op, texts, &request.args, &error)) {
        throw UsageError(error);
    }
    return request;
}

void printLines(const std::vector<std::string>& lines, const char* indent = "") {
    for (const std::string& line : lines) printf("%s%s\n", indent, line.c_str());
}

void printCall(const CallRecord& record, const Options& o) {
    if (o.json) {
        printf("%s\n", jsonCall(record, o.log).c_str());
    } else {
        if (o.steps) {
            std::string head = "> " + record.area->name + " " + record.op->name;
            for (const Value& v : record.args.values()) head += " " + textValue(v);
            printf("%s\n", head.c_str());
        }
        printLines(answerLines(record));
        printLines(effectLines(record, o.log));
    }
    fflush(stdout);
}

std::string unavailable(const Area& area) {
    return "area " + area.name + " is not available: the root hands out no " + area.interface;
}

int commandList(Session& session, const Options& o) {
    if (o.json) {
        std::string s = "{\"areas\":[";
        bool firstArea = true;
        for (const Area* area : allAreas()) {
            s += std::string(firstArea ? "" : ",") + "{\"area\":" + jsonText(area->name) +
                 ",\"interface\":" + jsonText(area->interface) +
                 ",\"available\":" + (session.available(*area) ? "true" : "false") +
                 ",\"operations\":[";
            firstArea = false;
            for (size_t i = 0; i < area->ops.size(); ++i) {
                const Operation& op = area->ops[i];
                s += std::string(i ? "," : "") + "{\"op\":" + jsonText(op.name) + ",\"args\":[";
                for (size_t k = 0; k < op.params.size(); ++k) {
                    s += std::string(k ? "," : "") + "{\"name\":" + jsonText(op.params[k].name) +
                         ",\"type\":" + jsonText(typeName(op.params[k].type, op.params[k].info)) +
                         "}";
                }
                s += "],\"return\":" + jsonText(typeName(op.result)) + ",\"callback\":" +
                     (op.callback == Type::kVoid ? "null" : jsonText(typeName(op.callback))) +
                     ",\"reads\":" + (op.reads ? "true" : "false") + "}";
            }
            s += "]}";
        }
        printf("%s]}\n", s.c_str());
        return 0;
    }
    size_t width = 0;
    for (const Area* area : allAreas()) {
        for (const Operation& op : area->ops) {
            width = std::max(width,
                             op.name.size() + signature(op).size() + resultNotation(op).size() + 4);
        }
    }
    for (const Area* area : allAreas()) {
        printf("%s  %s%s\n", area->name.c_str(), area->interface.c_str(),
               session.available(*area) ? "" : "  (not available)");
        for (const Operation& op : area->ops) {
            std::string line = op.name + signature(op) + " -> " + resultNotation(op);
            printf("  %-*s  %s\n", static_cast<int>(width), line.c_str(),
                   op.reads ? "reads" : "drives");
        }
    }
    return 0;
}

// The report: every reading operation without arguments, area by area, streamed so that a
// process that ends during a call has printed everything before it.
class Report {
  public:
    Report(Session& session, const Options& o, const std::string& device)
        : mSession(session), mOptions(o), mDevice(device) {}

    int run() {
        for (const Area* area : allAreas()) {
            if (area == &rootArea()) continue;
            mAreaWidth = std::max(mAreaWidth, area->name.size());
            for (const Operation& op : area->ops) {
                if (reported(op)) mOpWidth = std::max(mOpWidth, op.name.size());
            }
        }
        mSession.onTermination([this](const CallRecord& r) { terminated(r); });
        if (mOptions.json) {
            printf("{\"device\":%s,\"areas\":[", jsonText(mDevice).c_str());
        } else {
            row("AREA", "OPERATION", "ANSWER");
        }
        bool firstArea = true;
        for (const Area* area : allAreas()) {
            if (area == &rootArea()) continue;
            reportArea(*area, firstArea);
            firstArea = false;
        }
        if (mOptions.json) printf("]}\n");
        fflush(stdout);
        return 0;
    }

  private:
    static bool reported(const Operation& op) { return op.reads && op.params.empty(); }

    void row(const std::string& area, const std::string& op, const std::string& answer) {
        printf("%-*s  %-*s  %s\n", static_cast<int>(mAreaWidth), area.c_str(),
               static_cast<int>(mOpWidth), op.c_str(), answer.c_str());
    }

    void textCall(const CallRecord& r) {
        std::vector<std::string> answer = answerLines(r);
        std::string joined;
        for (const std::string& a : answer) joined += (joined.empty() ? "" : "  ") + a;
        row(r.area->name, r.op->name, joined);
        printLines(effectLines(r, mOptions.log), "    ");
    }

    void reportArea(const Area& area, bool first) {
        if (mOptions.json) {
            printf("%s{\"area\":%s,\"interface\":%s,\"calls\":[", first ? "" : ",",
                   jsonText(area.name).c_str(), jsonText(area.interface).c_str());
        }
        bool available = true;
        mCallsInArea = 0;
        bool any = false;
        for (const Operation& op : area.ops) {
            if (!reported(op)) continue;
            any = true;
            CallRecord r = mSession.call(area, op, Args());
            if (!r.available) {
                available = false;
                break;
            }
            if (mOptions.json) {
                printf("%s%s", mCallsInArea ? "," : "", jsonCall(r, mOptions.log).c_str());
            } else {
                textCall(r);
            }
            ++mCallsInArea;
            fflush(stdout);
        }
        if (!any) available = mSession.available(area);
        if (mOptions.json) {
            printf("],\"available\":%s}", available ? "true" : "false");
        } else if (!available) {
            row(area.name, "-", "(not available)");
        } else if (!any) {
            row(area.name, "-", "(no reading operations)");
        }
        fflush(stdout);
    }

    void terminated(const CallRecord& r) {
        if (mOptions.json) {
            printf("%s%s],\"available\":true}]}\n", mCallsInArea ? "," : "",
                   jsonCall(r, mOptions.log).c_str());
        } else {
            textCall(r);
        }
    }

    Session& mSession;
    const Options& mOptions;
    std::string mDevice;
    size_t mAreaWidth = 4;
    size_t mOpWidth = 9;
    int mCallsInArea = 0;
};

class StepError {
  public:
    StepError(std::string message, int status) : message(std::move(message)), status(status) {}
    std::string message;
    int status;
};

int commandRun(Session& session, Device& device, Options& o, const std::string& file) {
    o.steps = true;
    std::ifstream in;
    std::istream* input = &std::cin;
    std::string name = "<stdin>";
    if (!file.empty() && file != "-") {
        in.open(file);
        if (!in) throw UsageError("cannot read " + file);
        input = &in;
        name = file;
    }
    std::string line;
    int number = 0;
    while (std::getline(*input, line)) {
        ++number;
        if (!line.empty() && line.back() == '\r') line.pop_back();
        std::string step, rest, error;
        firstWord(line, &step, &rest);
        if (step.empty() || step[0] == '#') continue;
        auto fail = [&](const std::string& message, int status = 2) {
            throw StepError(name + ":" + std::to_string(number) + ": " + message, status);
        };
        if (step == "call") {
            std::vector<std::string> words;
            if (!splitWords(rest, &words, &error)) fail(error);
            CallRequest request{};
            try {
                request = parseCall(words);
            } catch (const UsageError& e) {
                fail(e.message);
            }
            CallRecord r = session.call(*request.area, *request.op, request.args);
            if (!r.available) fail(unavailable(*request.area), 1);
            printCall(r, o);
        } else if (step == "prop") {
            std::string key, value;
            firstWord(rest, &key, &value);
            if (key.empty()) fail("prop needs KEY [VALUE]");
            if (value.empty()) {
                tevhost::props::unset(key);
            } else {
                tevhost::props::set(key, value);
            }
        } else if (step == "node") {
            std::string path, raw, content;
            firstWord(rest, &path, &raw);
            if (path.empty()) fail("node needs PATH [CONTENT]");
            if (!decodeEscapes(raw, &content, &error) || !device.writeNode(path, content, &error)) {
                fail(error);
            }
        } else if (step == "rmnode") {
            std::string path, extra;
            firstWord(rest, &path, &extra);
            if (path.empty() || !extra.empty()) fail("rmnode needs exactly PATH");
            if (!device.removeNode(path, &error)) fail(error);
        } else if (step == "respond") {
            std::string path, tail, rawWord, rawReply, word, reply;
            firstWord(rest, &path, &tail);
            firstWord(tail, &rawWord, &rawReply);
            if (rawWord.empty()) fail("respond needs PATH WORD REPLY");
            std::string devicePath = tevhost::sandbox::devicePath(path);
            if (devicePath.empty()) fail("'" + path + "' is not a device path (/sys, /proc or /d)");
            if (!decodeEscapes(rawWord, &word, &error) || !decodeEscapes(rawReply, &reply, &error)) {
                fail(error);
            }
            tevhost::sandbox::respond(devicePath, word, reply);
        } else {
            fail("unknown step '" + step + "' (call, prop, node, rmnode, respond)");
        }
    }
    return 0;
}

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

    std::string profile = deviceGiven ? resolveProfile(o.device) : defaultProfile();
    Device device;
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
        status = Report(session, o, profile).run();
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
