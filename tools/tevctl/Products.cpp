// products: the answers of every operation that depends on the product name, for every product
// the library's per-product lists and tables name.
#include <tevcatalog/Catalog.h>
#include <algorithm>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <sstream>

#include "Command.h"
#include "Json.h"
#include "Output.h"

namespace tevctl {

namespace {

using Json = nlohmann::ordered_json;

// Every product name written in the library's per-product lists and tables (a test keeps this
// list and the sources in step), then one name that none of them holds.
const char* const kProducts[] = {
        "dolv",      "drenn_sprig", "fand",      "fenrow",      "gavrk",    "halbrin", "helvr",
        "jostari",   "kalt",        "kelsivabo", "kibbt",       "kossimer", "lurnap",  "mardusk",
        "marskol",   "mesquor",     "mevrot",    "mizzarv",     "mobrinte", "mokkel",  "mopvel",
        "morquet",   "morquetin",   "mulgash",   "murtaven",    "mylbrosk", "nemquis", "nubk",
        "ombrelle",  "ostrelg",     "pallun",    "palvo_sprig", "pibrand",  "pif",     "qab",
        "quenrath",  "ruvaloq",     "sirnak",    "sorbel",      "tascaron", "tessov",  "trovask",
        "trovaskin", "tuvreck",     "wemb",      "wembin",      "wilmet",   "yut",     "zemtr",
        "zob",       "unlisted",
};

// The calls whose answers follow from the product name, as run steps, in the catalogue's order.
// Besides the lists, the storage kind (which nodes the flash area reads) and the panel node follow
// from it, and so do the torch and light-spot nodes written and the words written to them; those
// calls only write to the profile's scratch copy.
std::string productSteps() {
    std::string steps;
    for (const tevcatalog::Area* area : tevcatalog::allAreas()) {
        for (const tevcatalog::Operation& op : area->ops) {
            for (const std::string& args : op.byProduct) {
                steps += "call " + area->name + " " + op.name + (args.empty() ? "" : " " + args) +
                         "\n";
            }
        }
    }
    return steps;
}

// One row of the table: the call as "AREA OP ARGS", and its answer and effects on one line.
struct Row {
    std::string area;
    std::string call;
    std::string answer;
};

// The rows of a text run: each call's head "> AREA OP ARGS", then its answer and effect lines.
std::vector<Row> rows(const std::string& run) {
    std::vector<Row> result;
    std::istringstream in(run);
    for (std::string line; std::getline(in, line);) {
        if (line.rfind("> ", 0) == 0) {
            const size_t blank = line.find(' ', 2);
            result.push_back({line.substr(2, blank - 2), line.substr(blank + 1), ""});
        } else if (!result.empty()) {
            std::string& answer = result.back().answer;
            answer += (answer.empty() ? "" : "; ") + line;
        }
    }
    return result;
}

}  // namespace

int commandProducts(const Options& o, const std::string& device,
                    const std::vector<std::string>& names) {
    std::vector<std::string> products(std::begin(kProducts), std::end(kProducts));
    for (const std::string& name : names) {
        if (std::find(products.begin(), products.end(), name) == products.end()) {
            throw UsageError("no product '" + name +
                             "' in the library's lists (tevctl products shows them all; "
                             "unlisted stands for one in none)");
        }
    }
    if (!names.empty()) products = names;
    const std::string steps = "prop ro.product.name %s\n" + productSteps();
    std::vector<std::string> args = {"--device", device, "run"};
    if (o.json) args.insert(args.begin(), "--json");
    std::vector<std::pair<std::string, std::vector<Row>>> table;
    Json out = {{"device", device}, {"products", Json::array()}};
    for (const std::string& product : products) {
        std::string script = steps;
        script.replace(script.find("%s"), 2, product);
        auto [printed, status] = runSelf(args, script);
        if (status != 0) {
            printError("products: the run for " + product + " ended with status " +
                       std::to_string(status));
            return status;
        }
        if (o.json) {
            Json calls = Json::array();
            std::istringstream in(printed);
            for (std::string line; std::getline(in, line);) {
                Json call = Json::parse(line);
                call.erase("line");  // each call as call --json prints it
                calls.push_back(call);
            }
            out["products"].push_back({{"product", product}, {"calls", calls}});
        } else {
            table.emplace_back(product, rows(printed));
        }
    }
    if (o.json) {
        printf("%s\n", json::write(out).c_str());
        return 0;
    }
    std::vector<std::vector<std::string>> lines = {{"PRODUCT", "AREA", "OPERATION", "ANSWER"}};
    for (const auto& [product, productRows] : table) {
        for (const Row& r : productRows) lines.push_back({product, r.area, r.call, r.answer});
    }
    printColumns(lines);
    return 0;
}

}  // namespace tevctl
