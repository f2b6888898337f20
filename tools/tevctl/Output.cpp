#include "Output.h"

#include <tevcatalog/Values.h>

#include <cstdio>

namespace tevctl {

std::vector<std::string> answerLines(const CallRecord& r) {
    std::vector<std::string> lines;
    if (r.outcome.result) lines.push_back(textValue(*r.outcome.result));
    for (const Value& v : r.outcome.callbacks) lines.push_back(textValue(v));
    if (r.op->callback != Type::kVoid && r.outcome.callbacks.empty() && r.terminated.empty()) {
        lines.push_back("(no callback)");
    }
    if (r.op->result == Type::kVoid && r.op->callback == Type::kVoid && r.terminated.empty()) {
        lines.push_back("(void)");
    }
    if (!r.outcome.transportError.empty()) {
        lines.push_back("(transport error: " + r.outcome.transportError + ")");
    }
    if (!r.terminated.empty()) lines.push_back("(terminated: " + r.terminated + ")");
    return lines;
}

std::vector<std::string> effectLines(const CallRecord& r, bool withLog) {
    std::vector<std::string> lines;
    for (const auto& w : r.writes) {
        lines.push_back("write " + w.path + " \"" + escape(w.data, false, false) + "\"");
    }
    for (double s : r.sleeps) lines.push_back("sleep " + number(s) + " s");
    if (withLog) {
        for (const auto& l : r.log) {
            lines.push_back(std::string("log ") + tevhost::log::priorityLetter(l.priority) + "/" +
                            l.tag + ": " + escape(l.text, true, false));
        }
    }
    return lines;
}

std::string jsonCall(const CallRecord& r, bool withLog) {
    std::string s = "{\"area\":" + jsonText(r.area->name) + ",\"op\":" + jsonText(r.op->name) +
                    ",\"args\":[";
    const std::vector<Value>& args = r.args.values();
    for (size_t i = 0; i < args.size(); ++i) s += (i ? "," : "") + jsonValue(args[i]);
    s += "]";
    if (r.outcome.result) s += ",\"return\":" + jsonValue(*r.outcome.result);
    s += ",\"callbacks\":[";
    for (size_t i = 0; i < r.outcome.callbacks.size(); ++i) {
        s += (i ? "," : "") + jsonValue(r.outcome.callbacks[i]);
    }
    s += "],\"writes\":[";
    for (size_t i = 0; i < r.writes.size(); ++i) {
        s += std::string(i ? "," : "") + "{\"path\":" + jsonText(r.writes[i].path) +
             ",\"data\":" + jsonBytes(r.writes[i].data) + "}";
    }
    s += "],\"sleeps\":[";
    for (size_t i = 0; i < r.sleeps.size(); ++i) s += (i ? "," : "") + jsonNumber(r.sleeps[i]);
    s += "]";
    if (withLog) {
        s += ",\"log\":[";
        for (size_t i = 0; i < r.log.size(); ++i) {
            const auto& l = r.log[i];
            s += std::string(i ? "," : "") + "{\"prio\":\"" +
                 tevhost::log::priorityLetter(l.priority) + "\",\"tag\":" + jsonText(l.tag) +
                 ",\"msg\":" + jsonText(l.text) + "}";
        }
        s += "]";
    }
    if (!r.outcome.transportError.empty()) {
        s += ",\"transportError\":" + jsonText(r.outcome.transportError);
    }
    if (!r.terminated.empty()) s += ",\"terminated\":" + jsonText(r.terminated);
    return s + "}";
}

void printLines(const std::vector<std::string>& lines, const char* indent) {
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

}  // namespace tevctl
