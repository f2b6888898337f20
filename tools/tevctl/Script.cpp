// run: the run-step interpreter. Every step runs in the one process, so the area objects and
// what they remember live on from call to call, as in the service host.
#include <tevcatalog/Values.h>
#include <tevhost/Properties.h>
#include <tevhost/Sandbox.h>
#include <tevhost/Text.h>

#include <fstream>
#include <iostream>

#include "Command.h"
#include "Output.h"

namespace tevctl {

int commandRun(Session& session, tevhost::profile::Profile& device, Options& o,
               const std::string& file) {
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
        tevhost::text::firstWord(line, &step, &rest);
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
            tevhost::text::firstWord(rest, &key, &value);
            if (key.empty()) fail("prop needs KEY [VALUE]");
            if (value.empty()) {
                tevhost::props::unset(key);
            } else {
                tevhost::props::set(key, value);
            }
        } else if (step == "node") {
            std::string path, raw, content;
            tevhost::text::firstWord(rest, &path, &raw);
            if (path.empty()) fail("node needs PATH [CONTENT]");
            if (!tevhost::text::decodeEscapes(raw, &content, &error) ||
                !device.writeNode(path, content, &error)) {
                fail(error);
            }
        } else if (step == "rmnode") {
            std::string path, extra;
            tevhost::text::firstWord(rest, &path, &extra);
            if (path.empty() || !extra.empty()) fail("rmnode needs exactly PATH");
            if (!device.removeNode(path, &error)) fail(error);
        } else if (step == "respond") {
            tevhost::profile::Driver driver;
            if (!tevhost::profile::parseDriver(rest, "respond", &driver, &error)) fail(error);
            tevhost::profile::declare({driver});
        } else {
            fail("unknown step '" + step + "' (call, prop, node, rmnode, respond)");
        }
    }
    return 0;
}

}  // namespace tevctl
