#pragma once

#include <string>

namespace vendor::quoril::hardware::tevvendorservice::implementation {

// |s| for a C-like (|json| false) or JSON string literal, without the quotes: '"' and '\' behind
// a backslash, printable ASCII as it is, valid multi-byte UTF-8 as it is with |keepUtf8|, and
// every other byte as \u00XX in JSON, else as \n, \t, \r or \xXX. The debug report and the host
// tools print answers through this one function, so that the two never differ.
std::string escapeText(const std::string& s, bool keepUtf8, bool json);

// The length of the valid UTF-8 sequence of two or more bytes at |i| of |s|, or 0 (overlong
// forms, surrogates and code points past U+10FFFF are not valid).
size_t utf8SequenceAt(const std::string& s, size_t i);

}  // namespace vendor::quoril::hardware::tevvendorservice::implementation
