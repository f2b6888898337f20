#include "Live.h"

#include <cutils/native_handle.h>
#include <fcntl.h>
#include <tevcatalog/Values.h>
#include <unistd.h>

#include "DebugReport.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <sstream>
#include <thread>

namespace tevctl::live {

namespace {

namespace impl = ::vendor::quoril::hardware::tevvendorservice::implementation;
using ::android::hardware::hidl_handle;

// What the handset cannot do: the profile options and the staging steps of the simulated one.
constexpr const char* kProfileOptions[] = {"--device", "--in-place", "--force", "--log",
                                           "--real-time"};
constexpr const char* kStagingSteps[] = {"prop", "node", "rmnode", "folder",
                                         "deny", "full", "allow",  "respond"};
constexpr char kNotOnHandset[] = " needs a simulated handset; not on a live one";

// A usage error: one line on stderr, exit status 2.
struct UsageError {
    std::string message;
    int status = 2;
};

void printError(const std::string& message) {
    fflush(stdout);
    fprintf(stderr, "tevctl: %s\n", printable(message).c_str());
}

std::string quote(const std::string& s) {
    return "\"" + escape(s, true, true) + "\"";
}

std::string jsonValue(const Value& v) {
    if (v.type == Type::kDouble && !std::isfinite(v.real)) return "null";
    return impl::jsonOf(v);
}

// The call as one JSON object, as tevctl writes it: the handset tells no writes and no sleeps.
std::string callJson(const Area& area, const Operation& op, const Args& args, const Answer& answer,
                     int line) {
    std::string json = "{";
    if (line > 0) json += "\"line\":" + std::to_string(line) + ",";
    json += "\"area\":" + quote(area.name) + ",\"op\":" + quote(op.name) + ",\"args\":[";
    for (size_t i = 0; i < args.values().size(); ++i) {
        json += (i > 0 ? "," : "") + jsonValue(args.values()[i]);
    }
    json += "]";
    if (answer.result) json += ",\"return\":" + jsonValue(*answer.result);
    json += ",\"callbacks\":[";
    for (size_t i = 0; i < answer.callbacks.size(); ++i) {
        json += (i > 0 ? "," : "") + jsonValue(answer.callbacks[i]);
    }
    json += "],\"writes\":[],\"sleeps\":[]";
    if (!answer.transportError.empty())
        json += ",\"transportError\":" + quote(answer.transportError);
    return json + "}";
}

// The report as the service makes it, on standard output, headed as tevctl heads it.
class Report : public impl::DebugReport {
  public:
    Report(bool json, const Scope& scope) : impl::DebugReport(json), mScope(scope) {}

  private:
    bool write(const std::string& text) override {
        fputs(text.c_str(), stdout);
        return fflush(stdout) == 0;
    }
    void calling(const char*, const char*, const std::function<void()>& work) override {
        mScope(work);
    }
    std::string jsonHead() override { return mHead; }

  public:
    std::string mHead;

  private:
    const Scope& mScope;
};

class Tool {
  public:
    Tool(const Scope& scope, const std::string& device) : mScope(scope), mDevice(device) {}

    int run(const std::vector<std::string>& argv) {
        std::vector<std::string> words;
        bool ended = false;
        for (const std::string& arg : argv) {
            if (!words.empty() && words[0] == "debug") ended = true;
            if (ended || arg.rfind("--", 0) != 0) {
                words.push_back(arg);
            } else if (arg == "--") {
                ended = true;
            } else if (arg == "--json") {
                mJson = true;
            } else if (std::find_if(std::begin(kProfileOptions), std::end(kProfileOptions),
                                    [&arg](const char* o) {
                                        return arg == o || arg.rfind(std::string(o) + "=", 0) == 0;
                                    }) != std::end(kProfileOptions)) {
                throw UsageError{arg.substr(0, arg.find('=')) + kNotOnHandset};
            } else {
                throw UsageError{"unknown option '" + arg + "' (on the handset: --json, --)"};
            }
        }
        if (words.empty()) throw UsageError{"no command (list, call, run, report, debug)"};
        const std::string command = words[0];
        const std::vector<std::string> rest(words.begin() + 1, words.end());
        if (command == "diff" || command == "products") {
            throw UsageError{command + kNotOnHandset};
        }
        std::vector<const Area*> areas;
        if (command == "list") {
            for (const std::string& name : rest) areas.push_back(&needArea(name));
        } else if (command == "call") {
            parseCall(rest);
        } else if (command == "report") {
            if (!rest.empty()) throw UsageError{"report takes no arguments"};
        } else if (command == "run") {
            if (rest.size() > 1) throw UsageError{"run takes at most one FILE"};
        } else if (command != "debug") {
            throw UsageError{"unknown command '" + command +
                             "' (on the handset: list, call, run, report, debug)"};
        }
        start();
        if (command == "list") {
            printList(
                    areas.empty() ? allAreas() : areas,
                    [this](const Area& area) { return get(area) != nullptr; }, mJson);
        } else if (command == "call") {
            return call(parseCall(rest), 0);
        } else if (command == "report") {
            return report();
        } else if (command == "debug") {
            return debug(rest);
        } else {
            return runSteps(rest.empty() ? "" : rest[0]);
        }
        return 0;
    }

  private:
    struct Request {
        const Area* area;
        const Operation* op;
        Args args;
    };

    const Area& needArea(const std::string& name) {
        const Area* area = findArea(name);
        if (area == nullptr) throw UsageError{"unknown area '" + name + "'"};
        return *area;
    }

    Request parseCall(const std::vector<std::string>& words) {
        if (words.size() < 2) throw UsageError{"call needs AREA and OP"};
        Request request{&needArea(words[0]), nullptr, {}};
        request.op = request.area->find(words[1]);
        if (request.op == nullptr) {
            throw UsageError{words[0] + " has no operation '" + words[1] + "' (see tevctl list)"};
        }
        std::string error;
        const std::vector<std::string> texts(words.begin() + 2, words.end());
        if (!parseArgs(*request.area, *request.op, texts, &request.args, &error)) {
            throw UsageError{error};
        }
        return request;
    }

    void start() {
        mScope([this] { mRoot = ITevVendorService::getService("default"); });
        if (mRoot == nullptr) {
            throw UsageError{"cannot get ITevVendorService/default: is the service running?", 1};
        }
    }

    sp<IBase> get(const Area& area) {
        sp<IBase> service;
        mScope([&] { service = area.get(*mRoot); });
        return service;
    }

    int call(const Request& request, int line) {
        sp<IBase> service = get(*request.area);
        if (service == nullptr) {
            throw UsageError{"area " + request.area->name +
                                     " is not available: the root hands out no " +
                                     request.area->interface,
                             1};
        }
        Answer answer;
        mScope([&] { request.op->call(*service, request.args, answer); });
        if (mJson) {
            printf("%s\n", callJson(*request.area, *request.op, request.args, answer, line).c_str());
        } else {
            if (line > 0) {
                std::string head = "> " + request.area->name + " " + request.op->name;
                for (const Value& v : request.args.values()) head += " " + textOf(v);
                printf("%s\n", head.c_str());
            }
            for (const std::string& text : answerLines(*request.op, answer, "")) {
                printf("%s\n", text.c_str());
            }
        }
        fflush(stdout);
        return 0;
    }

    int report() {
        Report report(mJson, mScope);
        if (mJson) {
            report.mHead = "\"device\":" + quote(mDevice) + ",";
        } else {
            printf("device: %s\n", printable(mDevice).c_str());
        }
        report.run(*mRoot);
        return 0;
    }

    // The service writes into a pipe of ours (the policy lets it write to the shell's pipes),
    // copied to standard output as it comes.
    int debug(const std::vector<std::string>& options) {
        int fds[2];
        if (pipe2(fds, O_CLOEXEC) != 0) throw UsageError{"cannot make a pipe for the report", 1};
        fflush(stdout);
        std::thread copier([in = fds[0]] {
            char buffer[4096];
            for (ssize_t n; (n = read(in, buffer, sizeof(buffer))) > 0;) {
                fwrite(buffer, 1, static_cast<size_t>(n), stdout);
            }
            close(in);
        });
        bool ok = false;
        {
            native_handle_t* nativeHandle = native_handle_create(1, 0);
            nativeHandle->data[0] = fds[1];
            hidl_handle handle;
            handle.setTo(nativeHandle, true /* shouldOwn: closed after the call */);
            mScope([&] {
                ok = mRoot->debug(handle, hidl_vec<hidl_string>(options.begin(), options.end()))
                             .isOk();
            });
        }
        copier.join();
        return ok ? 0 : 1;
    }

    int runSteps(const std::string& file) {
        std::ifstream in;
        std::istream* input = &std::cin;
        std::string name = "<stdin>";
        if (!file.empty() && file != "-") {
            in.open(file);
            if (!in) throw UsageError{"cannot read " + file};
            input = &in;
            name = file;
        }
        std::string line;
        for (int number = 1; std::getline(*input, line); ++number) {
            if (!line.empty() && line.back() == '\r') line.pop_back();
            std::istringstream split(line);
            std::vector<std::string> words;
            for (std::string word; split >> word;) words.push_back(word);
            if (words.empty() || words[0][0] == '#') continue;
            const std::string where = name + ":" + std::to_string(number) + ": ";
            const std::string step = words[0];
            words.erase(words.begin());
            try {
                if (step == "call") {
                    call(parseCall(words), number);
                } else if (step == "client") {
                    if (!words.empty()) throw UsageError{"client takes no words"};
                    start();
                } else if (std::find(std::begin(kStagingSteps), std::end(kStagingSteps), step) !=
                           std::end(kStagingSteps)) {
                    throw UsageError{"the step " + step + kNotOnHandset};
                } else {
                    throw UsageError{"unknown step '" + step + "' (on the handset: call, client)"};
                }
            } catch (const UsageError& e) {
                throw UsageError{where + e.message, e.status};
            }
        }
        return 0;
    }

    const Scope& mScope;
    const std::string mDevice;
    bool mJson = false;
    sp<ITevVendorService> mRoot;
};

}  // namespace

std::vector<std::string> answerLines(const Operation& op, const Answer& answer,
                                     const std::string& terminated) {
    std::vector<std::string> lines =
            answerTexts(answer, op.callback != Type::kVoid && terminated.empty());
    if (op.result == Type::kVoid && op.callback == Type::kVoid && terminated.empty()) {
        lines.push_back("(void)");
    }
    if (!answer.transportError.empty()) {
        lines.push_back("(transport error: " + printable(answer.transportError) + ")");
    }
    if (!terminated.empty()) lines.push_back("(terminated: " + printable(terminated) + ")");
    return lines;
}

void printList(const std::vector<const Area*>& areas,
               const std::function<bool(const Area&)>& available, bool json) {
    if (json) {
        std::string out = "{\"areas\":[";
        for (const Area* area : areas) {
            out += std::string(area == areas.front() ? "" : ",") +
                   "{\"area\":" + quote(area->name) + ",\"interface\":" + quote(area->interface) +
                   ",\"available\":" + (available(*area) ? "true" : "false") + ",\"operations\":[";
            for (const Operation& op : area->ops) {
                out += std::string(&op == &area->ops.front() ? "" : ",") +
                       "{\"op\":" + quote(op.name) + ",\"args\":[";
                for (const Param& p : op.params) {
                    out += std::string(&p == &op.params.front() ? "" : ",") +
                           "{\"name\":" + quote(p.name) +
                           ",\"type\":" + quote(typeName(p.type, p.info)) + "}";
                }
                out += "],\"return\":" + quote(typeName(op.result)) + ",\"callback\":" +
                       (op.callback == Type::kVoid ? "null" : quote(typeName(op.callback))) +
                       ",\"reads\":" + (op.reads ? "true" : "false") + "}";
            }
            out += "]}";
        }
        printf("%s]}\n", out.c_str());
        return;
    }
    size_t width = 0;
    for (const Area* area : areas) {
        for (const Operation& op : area->ops) {
            width = std::max(width,
                             op.name.size() + signature(op).size() + resultNotation(op).size() + 4);
        }
    }
    for (const Area* area : areas) {
        printf("%s  %s%s\n", area->name.c_str(), area->interface.c_str(),
               available(*area) ? "" : "  (not available)");
        for (const Operation& op : area->ops) {
            std::string line = op.name + signature(op) + " -> " + resultNotation(op);
            printf("  %-*s  %s\n", static_cast<int>(width), line.c_str(),
                   op.reads ? "reads" : "drives");
        }
    }
}

int runTool(int argc, char** argv, const Scope& scope, const std::string& device) {
    try {
        const int status = Tool(scope, device).run(std::vector<std::string>(argv + 1, argv + argc));
        return fflush(stdout) == 0 ? status : 1;
    } catch (const UsageError& e) {
        printError(e.message);
        return e.status;
    }
}

}  // namespace tevctl::live
