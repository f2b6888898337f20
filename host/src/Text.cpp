#include <tevhost/Text.h>

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

}  // namespace tevhost::text
