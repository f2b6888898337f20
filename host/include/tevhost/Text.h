// The line format shared by device profile files and tevctl run scripts: blank-separated words,
// and texts that take C escapes.
#pragma once

#include <string>

namespace tevhost::text {

// Decodes the C escapes \n, \t, \r, \\, \", \0 and \xHH; false with |error| on any other.
bool decodeEscapes(const std::string& in, std::string* out, std::string* error);

// The first blank-separated word of |line| and the rest after the blanks that follow it.
void firstWord(const std::string& line, std::string* word, std::string* rest);

}  // namespace tevhost::text
