#include <tevhost/Text.h>

#include <limits>

namespace tevhost::text {

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

void firstWord(const std::string& line, std::string* word, std::string* rest) {
    size_t i = 0;
    while (i < line.size() && isBlank(line[i])) ++i;
    size_t start = i;
    while (i < line.size() && !isBlank(line[i])) ++i;
    *word = line.substr(start, i - start);
    while (i < line.size() && isBlank(line[i])) ++i;
    *rest = line.substr(i);
}

bool splitWords(const std::string& line, std::vector<std::string>* words, std::string* error) {
    words->clear();
    size_t i = 0;
    while (true) {
        while (i < line.size() && isBlank(line[i])) ++i;
        if (i == line.size()) return true;
        size_t start = i;
        bool quoted = line[i] == '"';
        if (quoted) {
            // Up to the next quote that is not escaped.
            ++start;
            ++i;
            while (i < line.size() && line[i] != '"') i += line[i] == '\\' ? 2 : 1;
            if (i >= line.size()) {
                *error = "a quote is not closed";
                return false;
            }
        } else {
            while (i < line.size() && !isBlank(line[i])) ++i;
        }
        std::string word;
        if (!decodeEscapes(line.substr(start, i - start), &word, error)) return false;
        words->push_back(std::move(word));
        if (quoted && ++i < line.size() && !isBlank(line[i])) {
            *error = "a closing quote must end its word";
            return false;
        }
    }
}

bool parseInt32(const std::string& text, int32_t* value) {
    size_t digits = !text.empty() && text[0] == '-' ? 1 : 0;
    if (digits == text.size()) return false;
    int64_t v = 0;
    for (size_t i = digits; i < text.size(); ++i) {
        if (text[i] < '0' || text[i] > '9') return false;
        v = v * 10 + (text[i] - '0');
        if (v > int64_t{std::numeric_limits<int32_t>::max()} + 1) return false;
    }
    if (digits) v = -v;
    if (v > std::numeric_limits<int32_t>::max()) return false;
    *value = static_cast<int32_t>(v);
    return true;
}

}  // namespace tevhost::text
