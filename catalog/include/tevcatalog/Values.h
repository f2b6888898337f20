// Values as text: the arguments of a call parsed from words, and answers printed for people
// (C-like escapes) as the service's debug report prints them; tevctl writes them as JSON.
#pragma once

#include <string>
#include <vector>

#include <tevcatalog/Catalog.h>

namespace tevcatalog {

using ::vendor::quoril::hardware::tevvendorservice::implementation::answerTexts;
using ::vendor::quoril::hardware::tevvendorservice::implementation::decimal;
using ::vendor::quoril::hardware::tevvendorservice::implementation::oneLine;
using ::vendor::quoril::hardware::tevvendorservice::implementation::textOf;

// An integer is an optional '-' and decimal digits, nothing else (no '+', no blanks), within the
// range of int32_t.
bool parseInt32(const std::string& text, int32_t* value);

// The arguments of |op| from their texts: integers as parseInt32 reads them,
// booleans true/false/1/0, strings as given, string lists comma-separated, enums by member name or
// number. False with an |error| naming the argument.
bool parseArgs(const Area& area, const Operation& op, const std::vector<std::string>& texts,
               Args* args, std::string* error);

// "(int32_t type, bool isOn)"
std::string signature(const Operation& op);

// The result notation of an operation: "bool", "void", "cb(vec<int32_t>)".
std::string resultNotation(const Operation& op);

// Escapes |s| for a C-like (|json| false) or JSON string literal, without the quotes: every byte
// outside printable ASCII is escaped, but valid multi-byte UTF-8 is kept with |keepUtf8|.
std::string escape(const std::string& s, bool keepUtf8, bool json);

// |s| for a message that quotes it: control bytes and bytes that are not valid UTF-8 C-escaped
// (\n, \t, \r, \xHH), everything else kept, so that it stays on its line and cannot drive the
// terminal.
std::string printable(const std::string& s);

}  // namespace tevcatalog
