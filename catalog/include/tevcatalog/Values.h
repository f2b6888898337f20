// Text parsing shared by the command line, run scripts and device profiles.
#pragma once

#include <string>
#include <vector>

#include "Catalog.h"

namespace tevctl {

// Decodes the C escapes \n, \t, \r, \\, \", \0 and \xHH; false with |error| on any other.
bool decodeEscapes(const std::string& in, std::string* out, std::string* error);

// Splits |line| at runs of blanks; a word in double quotes may hold blanks and takes C escapes.
bool splitWords(const std::string& line, std::vector<std::string>* words, std::string* error);

// The first blank-separated word of |line| and the rest after the blanks that follow it.
void firstWord(const std::string& line, std::string* word, std::string* rest);

// The arguments of |op| from their texts: integers in decimal, booleans true/false/1/0, strings
// as given, string lists comma-separated, enums by member name or number. False with an |error|
// naming the argument.
bool parseArgs(const Area& area, const Operation& op, const std::vector<std::string>& texts,
               Args* args, std::string* error);

// "(int32_t type, bool isOn)"
std::string signature(const Operation& op);

}  // namespace tevctl
