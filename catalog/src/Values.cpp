#include "Parse.h"

#include <cerrno>
#include <cstdlib>
#include <limits>

namespace tevctl {

namespace {

bool isBlank(char c) {
    return c == ' ' || c == '\t';
}

int hexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
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

}  // namespace

bool decodeEscapes(const std::string& in, std::string* out, std::string* error) {
    out->clear();
    for (size_t i = 0; i < in.size(); ++i) {
        if (in[i] != '\\') {
            out->push_back(in[i]);
            continue;
        }
        if (++i == in.size()) {
            *error = "a lone backslash at the end";
            return false;
        }
        switch (in[i]) {
            case 'n':
                out->push_back('\n');
                break;
            case 't':
                out->push_back('\t');
                break;
            case 'r':
                out->push_back('\r');
                break;
            case '0':
                out->push_back('\0');
                break;
            case '\\':
            case '"':
                out->push_back(in[i]);
                break;
            case 'x': {
                int hi = i + 1 < in.size() ? hexDigit(in[i + 1]) : -1;
                int lo = i + 2 < in.size() ? hexDigit(in[i + 2]) : -1;
                if (hi < 0 || lo < 0) {
                    *error = "\\x needs two hexadecimal digits";
                    return false;
                }
                out->push_back(static_cast<char>(hi * 16 + lo));
                i += 2;
                break;
            }
            default:
                *error = std::string("unknown escape \\") + in[i];
                return false;
        }
    }
    return true;
}

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
        if (!decodeEscapes(line.substr(start, i - start), &word, error)) return false;
        words->push_back(word);
        ++i;
        if (i < line.size() && !isBlank(line[i])) {
            *error = "a closing quote must end its word";
            return false;
        }
    }
}

void firstWord(const std::string& line, std::string* word, std::string* rest) {
    size_t i = 0;
    while (i < line.size() && isBlank(line[i])) ++i;
    size_t start = i;
    while (i < line.size() && !isBlank(line[i])) ++i;
    *word = line.substr(start, i - start);
    while (i < line.size() && isBlank(line[i])) ++i;
    *rest = line.substr(i);
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

}  // namespace tevctl
