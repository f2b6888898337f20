// The line format shared by device profile files and tevctl run scripts: blank-separated words,
// and texts that take C escapes; and the one way integers are read from text.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace tevhost::text {

// Decodes the C escapes \n, \t, \r, \\, \", \0 and \xHH; false with |error| on any other.
bool decodeEscapes(const std::string& in, std::string* out, std::string* error);

// The first blank-separated word of |line| and the rest after the blanks that follow it.
void firstWord(const std::string& line, std::string* word, std::string* rest);

// Splits |line| into words at runs of blanks. Every word takes the C escapes above; a word in
// double quotes may also hold blanks (and is empty as ""). False with |error| on a bad escape, a
// quote that is not closed, or a closing quote that does not end its word.
bool splitWords(const std::string& line, std::vector<std::string>* words, std::string* error);

// An integer is an optional '-' and decimal digits, nothing else (no '+', no blanks) within the
// range of int32_t.
bool parseInt32(const std::string& text, int32_t* value);

}  // namespace tevhost::text
