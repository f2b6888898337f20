// How tevctl prints calls: as text for people, as one JSON object per call for scripts.
#pragma once

#include <string>
#include <vector>

#include "Command.h"
#include "Json.h"
#include "Session.h"

namespace tevctl {

// The answer of a call as text lines: the return value, then each callback value, or
// "(no callback)" when the operation has a callback that was not called; "(void)" for an
// operation with neither.
std::vector<std::string> answerLines(const CallRecord& record);

// The lines that follow the answer: "write PATH DATA", "sleep S s" and, with |withLog|,
// "log P/TAG: TEXT".
std::vector<std::string> effectLines(const CallRecord& record, bool withLog);

// The call as one JSON object: {"area", "op", "args", "return" (absent for void operations),
// "callbacks", "writes" ([{"path", "data"}]), "sleeps", "log" (with |withLog|: [{"prio", "tag",
// "msg"}]), "transportError" and "terminated" (when there was one)}.
json::Json callJson(const CallRecord& record, bool withLog);

// Prints |rows| as a table: every column but the last padded to its widest cell, two blanks
// between columns.
void printColumns(const std::vector<std::vector<std::string>>& rows);

// Prints |lines|, each after |indent|.
void printLines(const std::vector<std::string>& lines, const char* indent = "");

// Prints one call as the options ask: one JSON line, or the answer and effect lines (headed by
// "> AREA OP ARGS" in a run).
void printCall(const CallRecord& record, const Options& o);

// Standard output is flushed after each call, so that what a call printed is out before the next
// one (or the end of the process during it). A failed write is remembered; finishOutput() names
// it on stderr and makes a |status| of 0 |failed|, unless the reader merely stopped reading
// (EPIPE).
void flushOutput();
int finishOutput(int status, int failed = 1);

// "tevctl: MESSAGE" on stderr, after what standard output holds; control bytes and invalid UTF-8
// in |message| shown as C escapes.
void printError(const std::string& message);

}  // namespace tevctl
