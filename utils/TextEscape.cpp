#include "TextEscape.h"

#include <cstdio>

namespace vendor::quoril::hardware::tevvendorservice::implementation {

size_t utf8SequenceAt(const std::string& s, size_t i) {
    auto byte = [&s](size_t k) { return static_cast<unsigned char>(s[k]); };
    const unsigned char lead = byte(i);
    const size_t length = lead >= 0xC2 && lead <= 0xDF   ? 2
                          : lead >= 0xE0 && lead <= 0xEF ? 3
                          : lead >= 0xF0 && lead <= 0xF4 ? 4
                                                         : 0;
    if (length == 0 || i + length > s.size()) return 0;
    for (size_t k = 1; k < length; ++k) {
        if ((byte(i + k) & 0xC0) != 0x80) return 0;
    }
    const unsigned char second = byte(i + 1);
    if ((lead == 0xE0 && second < 0xA0) || (lead == 0xED && second >= 0xA0) ||
        (lead == 0xF0 && second < 0x90) || (lead == 0xF4 && second >= 0x90)) {
        return 0;
    }
    return length;
}

std::string escapeText(const std::string& s, bool keepUtf8, bool json) {
    std::string out;
    for (size_t i = 0; i < s.size(); ++i) {
        const unsigned char c = static_cast<unsigned char>(s[i]);
        char escaped[8];
        if (c == '"' || c == '\\') {
            out += '\\';
            out += static_cast<char>(c);
        } else if (c >= 0x20 && c < 0x7F) {
            out += static_cast<char>(c);
        } else if (const size_t length = keepUtf8 && c >= 0x80 ? utf8SequenceAt(s, i) : 0) {
            out.append(s, i, length);
            i += length - 1;
        } else if (json) {
            snprintf(escaped, sizeof(escaped), "\\u00%02x", c);
            out += escaped;
        } else if (c == '\n') {
            out += "\\n";
        } else if (c == '\t') {
            out += "\\t";
        } else if (c == '\r') {
            out += "\\r";
        } else {
            snprintf(escaped, sizeof(escaped), "\\x%02x", c);
            out += escaped;
        }
    }
    return out;
}

}  // namespace vendor::quoril::hardware::tevvendorservice::implementation
