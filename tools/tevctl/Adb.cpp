// --adb: the handset's tevctl run through adb shell, its output passed on unchanged.
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <sstream>

#include "Command.h"
#include "Output.h"

namespace tevctl {

namespace {

// Where the handset's tevctl is installed (Android.bp: tevctl, a vendor binary).
constexpr char kHandsetTool[] = "/vendor/bin/tevctl";

// |word| for the handset's shell: in single quotes, a quote in it closed, escaped and reopened.
std::string shellQuoted(const std::string& word) {
    std::string quoted = "'";
    for (char c : word) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return quoted + "'";
}

bool adbOnPath() {
    const char* path = getenv("PATH");
    std::istringstream folders(path != nullptr ? path : "");
    for (std::string folder; std::getline(folders, folder, ':');) {
        if (access(((folder.empty() ? "." : folder) + "/adb").c_str(), X_OK) == 0) return true;
    }
    return false;
}

// Runs adb with |args|: its standard output into |out| (null: passed on), its exit status.
int runAdb(const std::vector<std::string>& args, std::string* out) {
    int pipeFds[2] = {-1, -1};
    if (out != nullptr && pipe(pipeFds) != 0) return 1;
    fflush(stdout);
    const pid_t child = fork();
    if (child == 0) {
        if (out != nullptr) {
            dup2(pipeFds[1], STDOUT_FILENO);
            close(pipeFds[0]);
            close(pipeFds[1]);
        }
        std::vector<char*> argv;
        static char adb[] = "adb";
        argv.push_back(adb);
        for (const std::string& a : args) argv.push_back(const_cast<char*>(a.c_str()));
        argv.push_back(nullptr);
        execvp(adb, argv.data());
        _exit(127);
    }
    if (out != nullptr) {
        close(pipeFds[1]);
        char buffer[4096];
        for (ssize_t n; (n = read(pipeFds[0], buffer, sizeof(buffer))) > 0;) out->append(buffer, n);
        close(pipeFds[0]);
    }
    int status = 0;
    if (child < 0 || waitpid(child, &status, 0) != child) return 1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

std::vector<std::string> shellArgs(const std::string& serial, const std::vector<std::string>& args) {
    std::string command = kHandsetTool;
    for (const std::string& a : args) command += " " + shellQuoted(a);
    return {"-s", serial, "shell", command};
}

}  // namespace

std::string needHandset(const std::string& serial) {
    if (!adbOnPath()) throw UsageError("--adb: adb is not installed (no adb on PATH)");
    if (!serial.empty()) return serial;
    std::string listing;
    if (runAdb({"devices"}, &listing) != 0) throw UsageError("--adb: adb devices failed");
    std::vector<std::string> handsets;
    std::istringstream lines(listing);
    for (std::string line; std::getline(lines, line);) {
        std::istringstream words(line);
        std::string name, state;
        if (words >> name >> state && state == "device") handsets.push_back(name);
    }
    if (handsets.empty()) throw UsageError("--adb: no handset connected (adb devices lists none)");
    if (handsets.size() > 1) {
        std::string names;
        for (const std::string& h : handsets) names += (names.empty() ? "" : ", ") + h;
        throw UsageError("--adb: several handsets connected (" + names +
                         "): name one, --adb SERIAL");
    }
    return handsets[0];
}

int commandAdb(const std::string& serial, const std::vector<std::string>& args) {
    return runAdb(shellArgs(needHandset(serial), args), nullptr);
}

std::pair<std::string, int> adbOutput(const std::string& serial,
                                      const std::vector<std::string>& args) {
    std::string out;
    const int status = runAdb(shellArgs(serial, args), &out);
    return {out, status};
}

}  // namespace tevctl
