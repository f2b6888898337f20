#include "Output.h"

#include <charconv>
#include <cmath>
#include <cstdio>

namespace tevctl {

namespace {

// The length of the valid UTF-8 sequence of two or more bytes at |i|, or 0.
size_t utf8Sequence(const std::string& s, size_t i) {
    auto byte = [&](size_t k) { return static_cast<unsigned char>(s[k]); };
    unsigned char c = byte(i);
    size_t length = c >= 0xF0 && c <= 0xF4 ? 4 : c >= 0xE0 ? 3 : c >= 0xC2 && c <= 0xDF ? 2 : 0;
    if (c >= 0xF5) length = 0;
    if (length == 0 || i + length > s.size()) return 0;
    for (size_t k = 1; k < length; ++k) {
        if ((byte(i + k) & 0xC0) != 0x80) return 0;
    }
    // Overlong three- and four-byte forms, surrogates, and code points past U+10FFFF.
    if (c == 0xE0 && byte(i + 1) < 0xA0) return 0;
    if (c == 0xED && byte(i + 1) >= 0xA0) return 0;
    if (c == 0xF0 && byte(i + 1) < 0x90) return 0;
    if (c == 0xF4 && byte(i + 1) >= 0x90) return 0;
    return length;
}

std::string hexEscape(const char* prefix, unsigned char c) {
    char buffer[8];
    snprintf(buffer, sizeof(buffer), "%s%02x", prefix, c);
    return buffer;
}

// Escapes |s| for a C-like or JSON string; |keepUtf8| keeps valid multi-byte sequences.
std::string escape(const std::string& s, bool keepUtf8, bool json) {
    std::string out;
    for (size_t i = 0; i < s.size(); ++i) {
        unsigned char c = static_cast<unsigned char>(s[i]);
        if (c == '"' || c == '\\') {
            out += '\\';
            out += static_cast<char>(c);
        } else if (c >= 0x20 && c < 0x7f) {
            out += static_cast<char>(c);
        } else if (size_t n = keepUtf8 && c >= 0x80 ? utf8Sequence(s, i) : 0) {
            out.append(s, i, n);
            i += n - 1;
        } else if (json) {
            out += hexEscape("\\u00", c);
        } else if (c == '\n') {
            out += "\\n";
        } else if (c == '\t') {
            out += "\\t";
        } else if (c == '\r') {
            out += "\\r";
        } else {
            out += hexEscape("\\x", c);
        }
    }
    return out;
}

std::string number(double d) {
    char buffer[64];
    auto result = std::to_chars(buffer, buffer + sizeof(buffer), d);
    return std::string(buffer, result.ptr);
}

std::string jsonNumber(double d) {
    return std::isfinite(d) ? number(d) : "null";
}

std::string jsonValue(const Value& v) {
    switch (v.type) {
        case Type::kBool:
            return v.number ? "true" : "false";
        case Type::kInt32:
        case Type::kEnum:
            return std::to_string(v.number);
        case Type::kDouble:
            return jsonNumber(v.real);
        case Type::kString:
            return jsonText(v.text);
        case Type::kIntList: {
            std::string s = "[";
            for (size_t i = 0; i < v.ints.size(); ++i)
                s += (i ? "," : "") + std::to_string(v.ints[i]);
            return s + "]";
        }
        case Type::kStringList: {
            std::string s = "[";
            for (size_t i = 0; i < v.texts.size(); ++i) s += (i ? "," : "") + jsonText(v.texts[i]);
            return s + "]";
        }
        case Type::kVoid:
            break;
    }
    return "null";
}

}  // namespace

std::string jsonBytes(const std::string& bytes) {
    return "\"" + escape(bytes, false, true) + "\"";
}

std::string jsonText(const std::string& text) {
    return "\"" + escape(text, true, true) + "\"";
}

std::string textValue(const Value& v) {
    switch (v.type) {
        case Type::kBool:
            return v.number ? "true" : "false";
        case Type::kInt32:
            return std::to_string(v.number);
        case Type::kEnum:
            for (const auto& member : v.info->members) {
                if (member.second == v.number) return member.first;
            }
            return std::to_string(v.number);
        case Type::kDouble:
            return number(v.real);
        case Type::kString:
            return "\"" + escape(v.text, true, false) + "\"";
        case Type::kIntList: {
            std::string s = "[";
            for (size_t i = 0; i < v.ints.size(); ++i) {
                s += (i ? ", " : "") + std::to_string(v.ints[i]);
            }
            return s + "]";
        }
        case Type::kStringList: {
            std::string s = "[";
            for (size_t i = 0; i < v.texts.size(); ++i) {
                s += (i ? ", \"" : "\"") + escape(v.texts[i], true, false) + "\"";
            }
            return s + "]";
        }
        case Type::kVoid:
            break;
    }
    return "";
}

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

std::string resultNotation(const Operation& op) {
    if (op.callback != Type::kVoid) return "cb(" + typeName(op.callback) + ")";
    return typeName(op.result);
}

}  // namespace tevctl
