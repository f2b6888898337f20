#include <tevcatalog/Values.h>

#include "TextEscape.h"

#include <charconv>

namespace tevcatalog {

using ::vendor::quoril::hardware::tevvendorservice::implementation::escapeText;
using ::vendor::quoril::hardware::tevvendorservice::implementation::utf8SequenceAt;

namespace {

std::vector<std::string> splitCommas(const std::string& text) {
    std::vector<std::string> pieces;
    if (text.empty()) return pieces;
    size_t start = 0;
    while (true) {
        size_t comma = text.find(',', start);
        if (comma == std::string::npos) {
            pieces.push_back(text.substr(start));
            return pieces;
        }
        pieces.push_back(text.substr(start, comma - start));
        start = comma + 1;
    }
}

}  // namespace

bool parseInt32(const std::string& text, int32_t* value) {
    const char* end = text.data() + text.size();
    int32_t n = 0;
    const auto [stop, error] = std::from_chars(text.data(), end, n);
    if (error != std::errc() || stop != end) return false;
    *value = n;
    return true;
}

bool parseArgs(const Area& area, const Operation& op, const std::vector<std::string>& texts,
               Args* args, std::string* error) {
    if (texts.size() != op.params.size()) {
        *error = area.name + " " + op.name + " takes " + std::to_string(op.params.size()) +
                 (op.params.size() == 1 ? " argument " : " arguments ") + signature(op) + ", not " +
                 std::to_string(texts.size());
        return false;
    }
    std::vector<Value> values;
    for (size_t i = 0; i < texts.size(); ++i) {
        const Param& p = op.params[i];
        const std::string& t = texts[i];
        Value v{p.type};
        std::string expected;
        switch (p.type) {
            case Type::kInt32: {
                int32_t n = 0;
                if (!parseInt32(t, &n)) expected = "a 32-bit decimal integer";
                v.number = n;
                break;
            }
            case Type::kBool:
                if (t == "true" || t == "1") {
                    v.number = 1;
                } else if (t == "false" || t == "0") {
                    v.number = 0;
                } else {
                    expected = "true, false, 1 or 0";
                }
                break;
            case Type::kString:
                v.text = t;
                break;
            case Type::kStringList:
                v.texts = splitCommas(t);
                break;
            case Type::kEnum: {
                v.info = p.info;
                bool found = false;
                for (const auto& member : p.info->members) {
                    if (member.first == t) {
                        v.number = member.second;
                        found = true;
                    }
                }
                int32_t n = 0;
                if (!found && parseInt32(t, &n)) {
                    v.number = n;
                    found = true;
                }
                if (!found) {
                    expected = "a member of " + p.info->name + " (";
                    for (size_t m = 0; m < p.info->members.size(); ++m) {
                        expected += (m ? ", " : "") + p.info->members[m].first;
                    }
                    expected += ") or a number";
                }
                break;
            }
            default:
                expected = "nothing";  // no operation takes other types
                break;
        }
        if (!expected.empty()) {
            *error = area.name + " " + op.name + ": argument " + p.name + " must be " + expected +
                     ", not '" + t + "'";
            return false;
        }
        values.push_back(std::move(v));
    }
    *args = Args(std::move(values));
    return true;
}

std::string signature(const Operation& op) {
    std::string s = "(";
    for (size_t i = 0; i < op.params.size(); ++i) {
        if (i) s += ", ";
        s += typeName(op.params[i].type, op.params[i].info) + " " + op.params[i].name;
    }
    return s + ")";
}

std::string escape(const std::string& s, bool keepUtf8, bool json) {
    return escapeText(s, keepUtf8, json);
}

std::string printable(const std::string& s) {
    std::string out;
    for (size_t i = 0; i < s.size(); ++i) {
        unsigned char c = static_cast<unsigned char>(s[i]);
        size_t n = c >= 0x80 ? utf8SequenceAt(s, i) : 0;
        if (n > 0) {
            out.append(s, i, n);
            i += n - 1;
        } else if (c == '"' || c == '\\' || (c >= 0x20 && c < 0x7f)) {
            out += static_cast<char>(c);
        } else {
            out += escape(std::string(1, static_cast<char>(c)), false, false);
        }
    }
    return out;
}

std::string resultNotation(const Operation& op) {
    if (op.callback != Type::kVoid) return "cb(" + typeName(op.callback) + ")";
    return typeName(op.result);
}

}  // namespace tevcatalog
