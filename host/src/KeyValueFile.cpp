#include "KeyValueFile.h"

#include <tevhost/Text.h>

#include <cctype>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <limits>

namespace tevhost {
namespace kv {

std::string trim(const std::string& s) {
    size_t b = s.find_first_not_of(" \t\r");
    if (b == std::string::npos) return "";
    size_t e = s.find_last_not_of(" \t\r");
    return s.substr(b, e - b + 1);
}

bool read(const std::string& path, std::vector<Entry>* entries, int* badLine, std::string* problem) {
    std::ifstream in(path);
    if (!in) {
        if (problem) *problem = std::string("cannot read it: ") + strerror(errno);
        return false;
    }
    std::string line;
    int number = 0;
    while (std::getline(in, line)) {
        ++number;
        std::string text = trim(line);
        if (text.empty() || text[0] == '#') continue;
        size_t eq = text.find('=');
        std::string key = trim(text.substr(0, eq == std::string::npos ? 0 : eq));
        if (eq == std::string::npos || key.empty()) {
            if (badLine) *badLine = number;
            if (problem) *problem = "not a key=value line";
            return false;
        }
        entries->push_back({number, key, trim(text.substr(eq + 1))});
    }
    if (in.bad()) {
        if (problem) *problem = "cannot read it after line " + std::to_string(number);
        return false;
    }
    return true;
}

void badEntry(const Entry& entry, const std::string& expected, int* badLine, std::string* problem) {
    if (badLine) *badLine = entry.line;
    if (!problem) return;
    *problem = expected.empty()
                       ? "unknown key '" + entry.key + "'"
                       : entry.key + ": expected " + expected + ", not '" + entry.value + "'";
}

bool toInt(const std::string& text, int32_t* value) {
    return text::parseInt32(text, value);
}

bool toBool(const std::string& text, bool* value) {
    if (text == "true" || text == "1") {
        *value = true;
    } else if (text == "false" || text == "0") {
        *value = false;
    } else {
        return false;
    }
    return true;
}

bool toDouble(const std::string& text, double* value) {
    if (text.empty() || isspace(static_cast<unsigned char>(text[0]))) return false;
    char* end = nullptr;
    errno = 0;
    double parsed = strtod(text.c_str(), &end);
    if (errno != 0 || *end != '\0' || !std::isfinite(parsed)) return false;
    *value = parsed;
    return true;
}

bool toIntList(const std::string& text, std::vector<int32_t>* values) {
    std::vector<int32_t> parsed;
    size_t start = 0;
    while (true) {
        size_t comma = text.find(',', start);
        int32_t item;
        if (!toInt(trim(text.substr(start, comma - start)), &item)) return false;
        parsed.push_back(item);
        if (comma == std::string::npos) break;
        start = comma + 1;
    }
    *values = std::move(parsed);
    return true;
}

}  // namespace kv
}  // namespace tevhost
