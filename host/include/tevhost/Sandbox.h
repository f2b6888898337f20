// The device sandbox: while a device root is set, every path under /sys, /proc (except
// /proc/self, /proc/thread-self and /proc/<pid>) and /d, and every relative path that begins with
// sys/, proc/ or d/, is mapped into that root. The libc entry points that the product and
// libstdc++ use are interposed here, so a library that knows nothing of the sandbox is redirected
// too. Writes to device nodes are journaled; sleep runs on a virtual clock.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace tevhost {
namespace sandbox {

// Sets the device root (an existing directory); an empty root switches the mapping off.
void setRoot(const std::string& root);
std::string root();
// The mapped host path of |path|, or |path| itself when it is not a device path.
std::string hostPath(const std::string& path);
// The device path of |path| ("/sys/..."), or empty when it is not a device path.
std::string devicePath(const std::string& path);

struct Write {
    std::string path;  // device path, absolute ("/sys/...")
    std::string data;  // the exact bytes, NULs included
};
std::vector<Write> writes();
void clearWrites();

// While on, every device path the process reaches (an open, access or stat, whether it succeeds
// or not) is recorded in order: which nodes an operation touches is then seen, not restated.
// Switching it on forgets the record.
void recordReached(bool on);
std::vector<std::string> reached();

// Makes the open of a device path fail with EACCES (as a node the service may not read would).
void deny(const std::string& devicePath);
void allow(const std::string& devicePath);

// A driver: once |word| has been written to |devicePath| (the bytes of one open-to-close session,
// exactly), the node reads |reply| from its next open on.
void respond(const std::string& devicePath, const std::string& word, const std::string& reply);

// Virtual clock. While on, sleep/usleep/nanosleep return at once, advance the clock, record the
// duration and call the hook (where a test may act as the kernel driver).
void setVirtualClock(bool on);
bool virtualClock();
std::vector<double> sleeps();  // seconds, in order
double now();                  // virtual seconds slept so far
void setSleepHook(std::function<void(double seconds)> hook);
// Called at the start of every sleep (sleep, usleep, nanosleep, relative clock_nanosleep), on the
// virtual clock (|real| false) and off it (|real| true), before the sleep passes: a tool shows
// progress or records the sleeps of a real-time run through it.
void setSleepNotifier(std::function<void(double seconds, bool real)> notifier);

// Forgets journal, drivers, denials, sleeps, hook and notifier; keeps the root and the clock mode.
void reset();

}  // namespace sandbox
}  // namespace tevhost
