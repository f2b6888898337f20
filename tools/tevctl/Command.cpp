#include "Command.h"

#include <tevcatalog/Values.h>

namespace tevctl {

namespace {

std::string areaNames() {
    std::string names;
    for (const Area* area : allAreas()) names += (names.empty() ? "" : ", ") + area->name;
    return names;
}

const Area& needArea(const std::string& name) {
    const Area* area = findArea(name);
    if (area == nullptr)
        throw UsageError("unknown area '" + name + "' (areas: " + areaNames() + ")");
    return *area;
}

const Operation& needOperation(const Area& area, const std::string& name) {
    const Operation* op = area.find(name);
    if (op == nullptr) {
        throw UsageError(area.name + " has no operation '" + name + "' (see tevctl list)");
    }
    return *op;
}

}  // namespace

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

}  // namespace tevctl
