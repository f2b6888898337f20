// Values as text: the arguments of a call parsed from words, and answers printed for people
// (C-like escapes) or for scripts (JSON).
#pragma once

#include <string>
#include <vector>

#include <tevcatalog/Catalog.h>

namespace tevcatalog {

// Splits |line| at runs of blanks; a word in double quotes may hold blanks and takes C escapes.
bool splitWords(const std::string& line, std::vector<std::string>* words, std::string* error);

// The arguments of |op| from their texts: integers in decimal, booleans true/false/1/0, strings
// as given, string lists comma-separated, enums by member name or number. False with an |error|
// naming the argument.
bool parseArgs(const Area& area, const Operation& op, const std::vector<std::string>& texts,
               Args* args, std::string* error);

// "(int32_t type, bool isOn)"
std::string signature(const Operation& op);

// The result notation of an operation: "bool", "void", "cb(vec<int32_t>)".
std::string resultNotation(const Operation& op);

// Escapes |s| for a C-like (|json| false) or JSON string literal, without the quotes: every byte
// outside printable ASCII is escaped, but valid multi-byte UTF-8 is kept with |keepUtf8|.
std::string escape(const std::string& s, bool keepUtf8, bool json);

// The shortest decimal text that reads back as |d|; JSON has "null" for what is not finite.
std::string number(double d);
std::string jsonNumber(double d);

// A value as text: strings quoted with C escapes (UTF-8 kept), lists in brackets, enum members by
// name.
std::string textValue(const Value& value);
// A value as JSON.
std::string jsonValue(const Value& value);

// JSON string literals: |bytes| escapes every byte outside printable ASCII as \u00XX (node
// data, exact bytes); the text form keeps valid UTF-8 and escapes only control and invalid bytes.
std::string jsonBytes(const std::string& bytes);
std::string jsonText(const std::string& text);

}  // namespace tevcatalog
