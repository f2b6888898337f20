// diff: the report of two device profiles, and only the operations whose answers differ.
#include <cstdio>
#include <map>
#include <nlohmann/json.hpp>
#include <sstream>

#include "Command.h"
#include "Json.h"
#include "Output.h"

namespace tevctl {

namespace {

using Json = nlohmann::ordered_json;

// One row of a text report: the area, the operation ("-" for the area itself) and the answer.
struct Row {
    std::string area;
    std::string op;
    std::string answer;
};

// The rows of a text report, its header left out. The columns are as wide as the header says.
std::vector<Row> rows(const std::string& report) {
    std::vector<Row> result;
    std::istringstream in(report);
    std::string line;
    std::getline(in, line);
    const size_t opAt = line.find("OPERATION");
    const size_t answerAt = line.find("ANSWER");
    if (opAt == std::string::npos || answerAt == std::string::npos) return result;
    auto trimmed = [](std::string s) { return s.erase(s.find_last_not_of(' ') + 1); };
    while (std::getline(in, line)) {
        if (line.rfind("    ", 0) == 0 || line.size() < answerAt) continue;  // effects
        result.push_back({trimmed(line.substr(0, opAt)),
                          trimmed(line.substr(opAt, answerAt - opAt)), line.substr(answerAt)});
    }
    return result;
}

// The call objects of a JSON report by "AREA OP", and each area by "AREA -".
std::map<std::string, Json> answers(const std::string& report) {
    std::map<std::string, Json> byKey;
    const Json json = Json::parse(report, nullptr, false);
    if (json.is_discarded()) return byKey;
    for (const Json& area : json["areas"]) {
        byKey[area["area"].get<std::string>() + " -"] = Json{{"available", area["available"]}};
        for (const Json& call : area["calls"]) {
            Json answer = Json::object();
            if (call.contains("return")) answer["return"] = call["return"];
            answer["callbacks"] = call["callbacks"];
            byKey[area["area"].get<std::string>() + " " + call["op"].get<std::string>()] = answer;
        }
    }
    return byKey;
}

}  // namespace

int commandDiff(const Options& o, const std::string& a, const std::string& b) {
    const std::string profiles[] = {a, b};
    std::vector<Row> texts[2];
    std::map<std::string, Json> data[2];
    for (int side = 0; side < 2; ++side) {
        auto [text, status] = runSelf({"--device", profiles[side], "report"});
        if (status != 0) return status;
        texts[side] = rows(text);
        if (o.json) {
            auto [json, jsonStatus] = runSelf({"--device", profiles[side], "--json", "report"});
            if (jsonStatus != 0) return jsonStatus;
            data[side] = answers(json);
        }
    }
    // Area by area, in report order, the rows of either side; a row one side lacks (its area is
    // not available there) is missing on that side.
    std::vector<std::string> keys;
    std::map<std::string, std::string> answer[2];
    for (const Area* area : allAreas()) {
        for (int side = 0; side < 2; ++side) {
            for (const Row& r : texts[side]) {
                if (r.area != area->name) continue;
                const std::string key = r.area + " " + r.op;
                if (answer[0].count(key) + answer[1].count(key) == 0) keys.push_back(key);
                answer[side][key] = r.answer;
            }
        }
    }
    std::vector<std::string> differing;
    for (const std::string& key : keys) {
        if (answer[0].count(key) != answer[1].count(key) || answer[0][key] != answer[1][key]) {
            differing.push_back(key);
        }
    }
    if (o.json) {
        Json out = {{"a", tevhost::profile::resolve(a)},
                    {"b", tevhost::profile::resolve(b)},
                    {"differences", Json::array()}};
        for (const std::string& key : differing) {
            const size_t blank = key.find(' ');
            Json entry = {{"area", key.substr(0, blank)}, {"op", key.substr(blank + 1)}};
            for (int side = 0; side < 2; ++side) {
                auto it = data[side].find(key);
                entry[side == 0 ? "a" : "b"] = it == data[side].end() ? Json() : it->second;
            }
            out["differences"].push_back(entry);
        }
        printf("%s\n", json::write(out).c_str());
    } else if (!differing.empty()) {
        std::vector<std::vector<std::string>> table = {{"AREA", "OPERATION", a, b}};
        for (const std::string& key : differing) {
            const size_t blank = key.find(' ');
            table.push_back({key.substr(0, blank), key.substr(blank + 1),
                             answer[0].count(key) ? answer[0][key] : "-",
                             answer[1].count(key) ? answer[1][key] : "-"});
        }
        printColumns(table);
    }
    return differing.empty() ? 0 : 1;
}

}  // namespace tevctl
