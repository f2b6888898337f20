#include "Output.h"

#include <tevcatalog/Values.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "handset/Live.h"

namespace tevctl {

namespace {

int gOutputError = 0;  // the first error writing standard output

}  // namespace

void flushOutput() {
    // A print that wrote through (a line longer than the buffer) may have failed already; errno
    // still says why, as nothing comes between it and this flush.
    if (ferror(stdout) && gOutputError == 0) gOutputError = errno != 0 ? errno : EIO;
    errno = 0;
    if (fflush(stdout) != 0 && gOutputError == 0) gOutputError = errno != 0 ? errno : EIO;
}

int finishOutput(int status, int failed) {
    flushOutput();
    if (gOutputError == 0 && ferror(stdout)) gOutputError = EIO;
    // A reader that stopped reading (tevctl ... | head) is no failure of ours.
    if (gOutputError == 0 || gOutputError == EPIPE) return status;
    printError(std::string("cannot write the output: ") + strerror(gOutputError));
    return status == 0 || status == 1 ? failed : status;
}

void printError(const std::string& message) {
    flushOutput();
    fprintf(stderr, "tevctl: %s\n", printable(message).c_str());
}

std::vector<std::string> answerLines(const CallRecord& r) {
    return live::answerLines(*r.op, r.outcome, r.terminated);
}

std::vector<std::string> effectLines(const CallRecord& r, bool withLog) {
    std::vector<std::string> lines;
    for (const auto& w : r.writes) {
        lines.push_back("write " + printable(w.path) + " \"" + escape(w.data, false, false) + "\"");
    }
    for (double s : r.sleeps) lines.push_back("sleep " + decimal(s) + " s");
    if (withLog) {
        for (const auto& l : r.log) {
            lines.push_back(std::string("log ") + tevhost::log::priorityLetter(l.priority) + "/" +
                            printable(l.tag) + ": " + escape(l.text, true, false));
        }
    }
    return lines;
}

json::Json callJson(const CallRecord& r, bool withLog) {
    json::Json call;
    call["area"] = r.area->name;
    call["op"] = r.op->name;
    call["args"] = json::Json::array();
    for (const Value& v : r.args.values()) call["args"].push_back(json::value(v));
    if (r.outcome.result) call["return"] = json::value(*r.outcome.result);
    call["callbacks"] = json::Json::array();
    for (const Value& v : r.outcome.callbacks) call["callbacks"].push_back(json::value(v));
    call["writes"] = json::Json::array();
    for (const auto& w : r.writes) {
        call["writes"].push_back({{"path", w.path}, {"data", json::bytes(w.data)}});
    }
    call["sleeps"] = r.sleeps;
    if (withLog) {
        call["log"] = json::Json::array();
        for (const auto& l : r.log) {
            call["log"].push_back(
                    {{"prio", std::string(1, tevhost::log::priorityLetter(l.priority))},
                     {"tag", l.tag},
                     {"msg", l.text}});
        }
    }
    if (!r.outcome.transportError.empty()) call["transportError"] = r.outcome.transportError;
    if (!r.terminated.empty()) call["terminated"] = r.terminated;
    return call;
}

void printColumns(const std::vector<std::vector<std::string>>& rows) {
    std::vector<size_t> widths;
    for (const auto& row : rows) {
        widths.resize(std::max(widths.size(), row.size()));
        for (size_t i = 0; i + 1 < row.size(); ++i) widths[i] = std::max(widths[i], row[i].size());
    }
    for (const auto& row : rows) {
        std::string line;
        for (size_t i = 0; i < row.size(); ++i) {
            line += row[i];
            if (i + 1 < row.size()) line += std::string(widths[i] - row[i].size() + 2, ' ');
        }
        printf("%s\n", line.c_str());
    }
}

void printLines(const std::vector<std::string>& lines, const char* indent) {
    for (const std::string& line : lines) printf("%s%s\n", indent, line.c_str());
}

void printCall(const CallRecord& record, const Options& o) {
    if (o.json) {
        json::Json call = callJson(record, o.log);
        if (o.line > 0) {
            json::Json numbered = {{"line", o.line}};
            numbered.update(call);
            call = std::move(numbered);
        }
        printf("%s\n", json::write(call).c_str());
    } else {
        if (o.steps) {
            std::string head = "> " + record.area->name + " " + record.op->name;
            for (const Value& v : record.args.values()) head += " " + textOf(v);
            printf("%s\n", head.c_str());
        }
        printLines(answerLines(record));
        printLines(effectLines(record, o.log));
    }
    flushOutput();
}

}  // namespace tevctl
