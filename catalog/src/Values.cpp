#include <tevcatalog/Values.h>
#include <tevhost/Text.h>

#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>

namespace tevcatalog {

namespace {

bool isBlank(char c) {
    return c == ' ' || c == '\t';
}

bool parseInt32(const std::string& text, int32_t* value) {
    if (text.empty() || isBlank(text[0])) return false;
    errno = 0;
    char* end = nullptr;
    long long v = strtoll(text.c_str(), &end, 10);
    if (errno != 0 || *end != '\0') return false;
    if (v < std::numeric_limits<int32_t>::min() || v > std::numeric_limits<int32_t>::max()) {
        return false;
    }
    *value = static_cast<int32_t>(v);
    return true;
}

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

}  // namespace

bool splitWords(const std::string& line, std::vector<std::string>* words, std::string* error) {
    words->clear();
    size_t i = 0;
    while (true) {
        while (i < line.size() && isBlank(line[i])) ++i;
        if (i == line.size()) return true;
        if (line[i] != '"') {
            size_t start = i;
            while (i < line.size() && !isBlank(line[i])) ++i;
            words->push_back(line.substr(start, i - start));
            continue;
        }
        // A quoted word: up to the next quote that is not escaped.
        size_t start = ++i;
        while (i < line.size() && line[i] != '"') i += line[i] == '\\' ? 2 : 1;
        if (i >= line.size()) {
            *error = "a quote is not closed";
            return false;
        }
        std::string word;
        if (!tevhost::text::decodeEscapes(line.substr(start, i - start), &word, error))
            return false;
        words->push_back(word);
        ++i;
        if (i < line.size() && !isBlank(line[i])) {
            *error = "a closing quote must end its word";
            return false;
        }
    }
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

std::string resultNotation(const Operation& op) {
    if (op.callback != Type::kVoid) return "cb(" + typeName(op.callback) + ")";
    return typeName(op.result);
}

}  // namespace tevcatalog
