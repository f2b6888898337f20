// list: the catalogue as a table for people, or as one JSON object.
#include <tevcatalog/Values.h>

#include <algorithm>
#include <cstdio>

#include "Command.h"
#include "Json.h"

namespace tevctl {

int commandList(Session& session, const Options& o, const std::vector<const Area*>& named) {
    const std::vector<const Area*>& shown = named.empty() ? allAreas() : named;
    if (o.json) {
        json::Json areas = json::Json::array();
        for (const Area* area : shown) {
            json::Json operations = json::Json::array();
            for (const Operation& op : area->ops) {
                json::Json params = json::Json::array();
                for (const Param& p : op.params) {
                    params.push_back({{"name", p.name}, {"type", typeName(p.type, p.info)}});
                }
                operations.push_back({{"op", op.name},
                                      {"args", params},
                                      {"return", typeName(op.result)},
                                      {"callback", op.callback == Type::kVoid
                                                           ? json::Json(nullptr)
                                                           : json::Json(typeName(op.callback))},
                                      {"reads", op.reads}});
            }
            areas.push_back({{"area", area->name},
                             {"interface", area->interface},
                             {"available", session.available(*area)},
                             {"operations", operations}});
        }
        printf("%s\n", json::write({{"areas", areas}}).c_str());
        return 0;
    }
    size_t width = 0;
    for (const Area* area : shown) {
        for (const Operation& op : area->ops) {
            width = std::max(width,
                             op.name.size() + signature(op).size() + resultNotation(op).size() + 4);
        }
    }
    for (const Area* area : shown) {
        printf("%s  %s%s\n", area->name.c_str(), area->interface.c_str(),
               session.available(*area) ? "" : "  (not available)");
        for (const Operation& op : area->ops) {
            std::string line = op.name + signature(op) + " -> " + resultNotation(op);
            printf("  %-*s  %s\n", static_cast<int>(width), line.c_str(),
                   op.reads ? "reads" : "drives");
        }
    }
    return 0;
}

}  // namespace tevctl
