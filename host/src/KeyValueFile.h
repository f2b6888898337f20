// Reading the small "key=value" files of a device profile that configure the host's stand-ins.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace tevhost {
namespace kv {

struct Entry {
    int line;  // 1-based
    std::string key;
    std::string value;
};

// |s| without the blanks, tabs and carriage returns around it.
std::string trim(const std::string& s);

// Reads "key=value" lines (CRLF or LF), blanks around key and value trimmed; blank lines and lines
// starting with '#' are skipped. False when the file cannot be read, or (with |badLine| set) when a
// line has no '=' or an empty key; |problem| (when given) then says which.
bool read(const std::string& path, std::vector<Entry>* entries, int* badLine,
          std::string* problem = nullptr);

// Sets |badLine| and |problem| (either may be null) for a bad value at |entry|: "KEY: expected
// WHAT, not 'VALUE'", or for an unknown key when |expected| is empty: "unknown key 'KEY'".
void badEntry(const Entry& entry, const std::string& expected, int* badLine, std::string* problem);

// Whole-text conversions; false for anything else (blanks, trailing text, out of range).
bool toInt(const std::string& text, int32_t* value);    // as tevhost::text::parseInt32
bool toBool(const std::string& text, bool* value);      // true, false, 1, 0
bool toDouble(const std::string& text, double* value);  // finite decimal number
// A comma-separated list of decimal integers, blanks around each allowed; at least one.
bool toIntList(const std::string& text, std::vector<int32_t>* values);

}  // namespace kv
}  // namespace tevhost
