#include "Command.h"

#include <sys/wait.h>
#include <tevcatalog/Values.h>
#include <unistd.h>

namespace tevctl {

namespace {

std::string areaNames() {
    std::string names;
    for (const Area* area : allAreas()) names += (names.empty() ? "" : ", ") + area->name;
    return names;
}

const Operation& needOperation(const Area& area, const std::string& name) {
    const Operation* op = area.find(name);
    if (op == nullptr) {
        throw UsageError(area.name + " has no operation '" + name + "' (see tevctl list)");
    }
    return *op;
}

}  // namespace

const Area& needArea(const std::string& name) {
    const Area* area = findArea(name);
    if (area == nullptr)
        throw UsageError("unknown area '" + name + "' (areas: " + areaNames() + ")");
    return *area;
}

CallRequest parseCall(const std::vector<std::string>& words) {
    if (words.size() < 2) throw UsageError("call needs AREA and OP");
    CallRequest request;
    request.area = &needArea(words[0]);
    request.op = &needOperation(*request.area, words[1]);
    std::string error;
    std::vector<std::string> texts(words.begin() + 2, words.end());
    if (!parseArgs(*request.area, *request.op, texts, &request.args, &error)) {
        throw UsageError(error);
    }
    return request;
}

std::string unavailable(const Area& area) {
    return "area " + area.name + " is not available: the root hands out no " + area.interface;
}

std::pair<std::string, int> runSelf(const std::vector<std::string>& args, const std::string& input) {
    int out[2];
    int in[2];
    if (pipe(out) != 0) return {"", 1};
    if (pipe(in) != 0) {
        close(out[0]);
        close(out[1]);
        return {"", 1};
    }
    if (write(in[1], input.data(), input.size()) != static_cast<ssize_t>(input.size())) {
        for (int fd : {out[0], out[1], in[0], in[1]}) close(fd);
        return {"", 1};
    }
    close(in[1]);
    fflush(stdout);
    const pid_t child = fork();
    if (child == 0) {
        dup2(out[1], STDOUT_FILENO);
        dup2(in[0], STDIN_FILENO);
        for (int fd : {out[0], out[1], in[0]}) close(fd);
        std::vector<char*> argv;
        static char self[] = "tevctl";
        argv.push_back(self);
        for (const std::string& a : args) argv.push_back(const_cast<char*>(a.c_str()));
        argv.push_back(nullptr);
        const int status = runTool(static_cast<int>(argv.size()) - 1, argv.data());
        fflush(stdout);
        _exit(status);
    }
    close(out[1]);
    close(in[0]);
    std::string text;
    char buffer[4096];
    for (ssize_t n; (n = read(out[0], buffer, sizeof(buffer))) > 0;) text.append(buffer, n);
    close(out[0]);
    int status = 0;
    waitpid(child, &status, 0);
    return {text, WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status)};
}

}  // namespace tevctl
