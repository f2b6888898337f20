// list: the catalogue as a table for people, or as one JSON object.
#include <tevcatalog/Values.h>

#include <algorithm>
#include <cstdio>

#include "Command.h"

namespace tevctl {

int commandList(Session& session, const Options& o) {
    if (o.json) {
        std::string s = "{\"areas\":[";
        bool firstArea = true;
        for (const Area* area : allAreas()) {
            s += std::string(firstArea ? "" : ",") + "{\"area\":" + jsonText(area->name) +
                 ",\"interface\":" + jsonText(area->interface) +
                 ",\"available\":" + (session.available(*area) ? "true" : "false") +
                 ",\"operations\":[";
            firstArea = false;
            for (size_t i = 0; i < area->ops.size(); ++i) {
                const Operation& op = area->ops[i];
                s += std::string(i ? "," : "") + "{\"op\":" + jsonText(op.name) + ",\"args\":[";
                for (size_t k = 0; k < op.params.size(); ++k) {
                    s += std::string(k ? "," : "") + "{\"name\":" + jsonText(op.params[k].name) +
                         ",\"type\":" + jsonText(typeName(op.params[k].type, op.params[k].info)) +
                         "}";
                }
                s += "],\"return\":" + jsonText(typeName(op.result)) + ",\"callback\":" +
                     (op.callback == Type::kVoid ? "null" : jsonText(typeName(op.callback))) +
                     ",\"reads\":" + (op.reads ? "true" : "false") + "}";
            }
            s += "]}";
        }
        printf("%s]}\n", s.c_str());
        return 0;
    }
    size_t width = 0;
    for (const Area* area : allAreas()) {
        for (const Operation& op : area->ops) {
            width = std::max(width,
                             op.name.size() + signature(op).size() + resultNotation(op).size() + 4);
        }
    }
    for (const Area* area : allAreas()) {
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
