// run: the run-step interpreter. Every step runs in the one process, so the area objects and
// what they remember live on from call to call, as in the service host.
#include <tevhost/Properties.h>
#include <tevhost/Sandbox.h>
#include <tevhost/Text.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>

#include "Command.h"
#include "Output.h"

namespace tevctl {
namespace {

// The steps that take one node path, and what each does to the node.
const std::map<std::string, bool (*)(const std::string& path, std::string* error)> kNodeSteps = {
        {"rmnode", tevhost::sandbox::removeNode}, {"folder", tevhost::sandbox::makeFolder},
        {"deny", tevhost::sandbox::denyNode},     {"full", tevhost::sandbox::fillNode},
        {"allow", tevhost::sandbox::allowNode},
};

}  // namespace

int commandRun(Session& session, Options& o, const std::string& file) {
    o.steps = true;
    std::ifstream in;
    std::istream* input = &std::cin;
    std::string name = "<stdin>";
    if (!file.empty() && file != "-") {
        // The script is tevctl's own file: named absolutely, a relative "d/steps" is never taken
        // for a node of the handset's /d.
        std::error_code ec;
        std::filesystem::path script = std::filesystem::absolute(file, ec);
        if (std::filesystem::is_directory(script, ec)) {
            throw UsageError("cannot read " + file + ": it is a folder");
        }
        in.open(script);
        if (!in) throw UsageError("cannot read " + file + ": " + strerror(errno));
        input = &in;
        name = file;
    }
    std::string line;
    int number = 0;
    while (std::getline(*input, line)) {
        ++number;
        if (!line.empty() && line.back() == '\r') line.pop_back();
        std::string step, rest, error;
        tevhost::text::firstWord(line, &step, &rest);
        if (step.empty() || step[0] == '#') continue;
        auto fail = [&](const std::string& message, int status = 2) {
            throw StepError(name + ":" + std::to_string(number) + ": " + message, status);
        };
        // Every step's words follow one rule: blank-separated, C escapes, "quoted" to hold blanks.
        std::vector<std::string> words;
        if (!tevhost::text::splitWords(rest, &words, &error)) fail(error);
        if (step == "call") {
            CallRequest request{};
            try {
                request = parseCall(words);
            } catch (const UsageError& e) {
                fail(e.message);
            }
            o.line = number;  // a call that ends the process is printed with it too
            CallRecord r = session.call(*request.area, *request.op, request.args);
            if (!r.available) fail(unavailable(*request.area), 1);
            printCall(r, o);
        } else if (step == "prop") {
            if (words.empty() || words.size() > 2) {
                fail("prop takes KEY [VALUE] (a VALUE with blanks in quotes)");
            }
            if (words.size() == 1 || words[1].empty()) {
                tevhost::props::unset(words[0]);
            } else {
                tevhost::props::set(words[0], words[1]);
            }
        } else if (step == "node") {
            if (words.empty() || words.size() > 2) {
                fail("node takes PATH [CONTENT] (a CONTENT with blanks in quotes)");
            }
            const std::string content = words.size() == 2 ? words[1] : "";
            if (!tevhost::sandbox::writeNode(words[0], content, &error)) fail(error);
        } else if (auto edit = kNodeSteps.find(step); edit != kNodeSteps.end()) {
            if (words.size() != 1) fail(step + " takes exactly PATH");
            if (!edit->second(words[0], &error)) fail(error);
        } else if (step == "client") {
            // A second client: the root is obtained again, and its areas are built anew on their
            // first request, from the properties as they are then. What the process keeps stays.
            if (!words.empty()) fail("client takes no words");
            if (!session.start(&error)) fail(error, 1);
        } else if (step == "respond") {
            tevhost::profile::Driver driver;
            if (!tevhost::profile::parseDriver(rest, "respond", &driver, &error)) fail(error);
            tevhost::profile::declare({driver});
        } else {
            fail("unknown step '" + step +
                 "' (call, client, prop, node, rmnode, folder, deny, full, allow, respond)");
        }
    }
    if (input->bad())
        throw StepError("cannot read " + name + " after line " + std::to_string(number), 2);
    return 0;
}

}  // namespace tevctl
