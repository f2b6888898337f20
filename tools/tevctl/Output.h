// How tevctl prints calls: as text for people, as one JSON object per call for scripts.
#pragma once

#include <string>
#include <vector>

#include "Command.h"
#include "Session.h"

namespace tevctl {

// The answer of a call as text lines: the return value, then each callback value, or
// "(no callback)" when the operation has a callback that was not called; "(void)" for an
// operation with neither.
std::vector<std::string> answerLines(const CallRecord& record);

// The lines that follow the answer: "write PATH DATA", "sleep S s" and, with |withLog|,
// "log P/TAG: TEXT".
std::vector<std::string> effectLines(const CallRecord& record, bool withLog);

// The call as one JSON object (no line end).
std::string jsonCall(const CallRecord& record, bool withLog);

// Prints |lines|, each after |indent|.
void printLines(const std::vector<std::string>& lines, const char* indent = "");

// Prints one call as the options ask: one JSON line, or the answer and effect lines (headed by
// "> AREA OP ARGS" in a run).
void printCall(const CallRecord& record, const Options& o);

}  // namespace tevctl
