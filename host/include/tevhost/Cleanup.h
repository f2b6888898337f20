// A folder the process must not leave behind (the scratch copy of a device profile): removed on
// every exit the process can catch, and by the next process when this one could not (SIGKILL).
#pragma once

#include <string>

namespace tevhost {
namespace cleanup {

// How deeply nested a folder can be and still be removed: the removal runs in signal handlers,
// on the stack, one level at a time.
constexpr int kMaxDepth = 64;

// Removes |dir| and all it holds (a link is removed, never followed; a folder without write
// permission is given it back first) when the process exits (exit(), a return from main) or is
// ended by any signal whose default is to end it and that can be caught (SIGINT, SIGTERM, SIGHUP,
// SIGPIPE, SIGQUIT, SIGUSR1, SIGUSR2, SIGALRM, SIGXCPU, SIGXFSZ, SIGVTALRM, SIGPROF, SIGIO,
// SIGPWR, SIGSYS, SIGTRAP, SIGSTKFLT, the real-time signals), which then end it as they would have
// (a signal the process ignores stays ignored; SIGABRT and the faults are left to their own
// handlers and to the sweep below). One folder at a time: a second call removes the first folder.
void removeAtExit(const std::string& dir);
// Leaves every signal's handling as the program has it: the folder is then removed at exit, and by
// the next process's sweep when the process is ended by a signal. For a program that handles the
// ending signals itself, as a libFuzzer harness does (it times each input with SIGALRM). Call it
// before the first folder is made.
void keepSignals();
// Removes the folder now, if there is one, and forgets it. Safe in a signal handler.
void removeNow();
// Removes |dir| and all it holds, as above; false when something could not be removed.
bool removeTree(const std::string& dir);

// Makes a fresh folder PARENT/PREFIX.PID.XXXXXX (PID: this process), holds it for the process
// (an flock(2) the kernel lets go of however the process ends) and removes it as removeAtExit()
// does. First it sweeps PARENT of the folders PREFIX.PID.* that a process ended by SIGKILL left:
// this user's folders whose process is gone and whose hold is free. Empty with |error| when the
// folder cannot be made.
std::string makeScratch(const std::string& parent, const std::string& prefix, std::string* error);

}  // namespace cleanup
}  // namespace tevhost
