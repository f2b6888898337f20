// diff: the report of two device profiles, and only the operations whose answers differ.
#include <tevcatalog/Values.h>

#include <algorithm>
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

// An answer wider than this is folded onto the lines below its row.
constexpr size_t kFoldAt = 32;

// The rows of a text report, its device line and header left out. The columns are as wide as the
// header says.
std::vector<Row> rows(const std::string& report) {
    std::vector<Row> result;
    std::istringstream in(report);
    std::string line;
    while (std::getline(in, line) && line.rfind("AREA ", 0) != 0) {
    }
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

// |text| in pieces of at most kFoldAt bytes, each cut after the last ", " that fits, else where
// no UTF-8 character is split.
std::vector<std::string> fold(const std::string& text) {
    std::vector<std::string> pieces;
    size_t at = 0;
    while (text.size() - at > kFoldAt) {
        size_t cut = text.rfind(", ", at + kFoldAt - 2);
        if (cut == std::string::npos || cut < at) {
            cut = at + kFoldAt;
            while (cut > at + 1 && (static_cast<unsigned char>(text[cut]) & 0xc0) == 0x80) --cut;
        } else {
            cut += 2;
        }
        pieces.push_back(text.substr(at, cut - at));
        at = cut;
    }
    pieces.push_back(text.substr(at));
    return pieces;
}

// Names the side whose report could not be made; the exit status of the diff.
int sideFailed(int side, const std::string& profile, int status) {
    printError(std::string("diff: the report of ") + (side == 0 ? "A" : "B") + " (" + profile +
               ") " +
               (status == 134 ? "ended: the service ended its process during a call"
                              : "failed with exit status " + std::to_string(status)) +
               "; nothing was compared");
    return status == 134 ? status : 2;
}

}  // namespace

int commandDiff(const Options& o, const std::string& a, const std::string& b) {
    // With --adb, B is the handset, reported by its own tevctl.
    const std::string serial = o.adb ? needHandset(o.adbSerial) : "";
    const std::string profiles[] = {a, o.adb ? "adb:" + serial : b};
    auto report = [&](int side, bool json) {
        std::vector<std::string> args = {"report"};
        if (json) args.insert(args.begin(), "--json");
        if (side == 1 && o.adb) return adbOutput(serial, args);
        args.insert(args.begin(), {"--device", profiles[side]});
        return runSelf(args);
    };
    auto named = [&](int side) {
        return side == 1 && o.adb ? profiles[side] : tevhost::profile::resolve(profiles[side]);
    };
    std::vector<Row> texts[2];
    std::map<std::string, Json> data[2];
    for (int side = 0; side < 2; ++side) {
        auto [text, status] = report(side, false);
        if (status != 0) return sideFailed(side, profiles[side], status);
        texts[side] = rows(text);
        if (o.json) {
            auto [json, jsonStatus] = report(side, true);
            if (jsonStatus != 0) return sideFailed(side, profiles[side], jsonStatus);
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
        Json out = {{"a", named(0)}, {"b", named(1)}, {"differences", Json::array()}};
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
        std::vector<std::vector<std::string>> table = {
                {"AREA", "OPERATION", printable(profiles[0]), printable(profiles[1])}};
        for (const std::string& key : differing) {
            const size_t blank = key.find(' ');
            const std::vector<std::string> sides[] = {
                    fold(answer[0].count(key) ? answer[0][key] : "-"),
                    fold(answer[1].count(key) ? answer[1][key] : "-")};
            for (size_t i = 0; i < std::max(sides[0].size(), sides[1].size()); ++i) {
                table.push_back({i == 0 ? key.substr(0, blank) : "",
                                 i == 0 ? key.substr(blank + 1) : "",
                                 i < sides[0].size() ? sides[0][i] : "",
                                 i < sides[1].size() ? sides[1][i] : ""});
            }
        }
        printColumns(table);
    }
    return differing.empty() ? 0 : 1;
}

}  // namespace tevctl
