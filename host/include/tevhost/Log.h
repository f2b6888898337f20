// The host's Android log sink: every line the product logs through liblog is kept here, and echoed
// to stderr in logcat's brief form ("E/Tag(  123): text") when TEVHOST_LOG is set in the
// environment or echo is switched on.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace tevhost {
namespace log {

struct Line {
    int priority;  // android_LogPriority: 2 VERBOSE ... 7 FATAL
    std::string tag;
    std::string text;
};

// Every line since the log was last cleared or taken.
std::vector<Line> lines();
size_t count();
void clear();
// Hands over the lines and empties the log: a caller that drains it after each call keeps the
// log's cost and memory to one call's lines.
std::vector<Line> takeLines();
void setEcho(bool echo);
// The one-letter name of a priority: V, D, I, W, E, F (or '?').
char priorityLetter(int priority);

}  // namespace log
}  // namespace tevhost
