// How tevctl prints values and calls: as text for people, as one JSON object per call for scripts.
#pragma once

#include <string>
#include <vector>

#include "Session.h"

namespace tevctl {

// A value as text: strings quoted with C escapes (UTF-8 kept), lists in brackets.
std::string textValue(const Value& value);

// The answer of a call as text lines: the return value, then each callback value, or
// "(no callback)" when the operation has a callback that was not called; "(void)" for an
// operation with neither.
std::vector<std::string> answerLines(const CallRecord& record);

// The lines that follow the answer: "write PATH DATA", "sleep S s" and, with |withLog|,
// "log P/TAG: TEXT".
std::vector<std::string> effectLines(const CallRecord& record, bool withLog);

// The call as one JSON object (no line end).
std::string jsonCall(const CallRecord& record, bool withLog);

// JSON string literals: |bytes| escapes every byte outside printable ASCII as \u00XX (node
// data, exact bytes); the text form keeps valid UTF-8 and escapes only control and invalid bytes.
std::string jsonBytes(const std::string& bytes);
std::string jsonText(const std::string& text);

// The result notation of an operation: "bool", "void", "cb(vec<int32_t>)".
std::string resultNotation(const Operation& op);

}  // namespace tevctl
