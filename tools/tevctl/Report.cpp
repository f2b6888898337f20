// report: every reading operation without arguments, area by area, as a table or one JSON object.
#include <tevcatalog/Values.h>

#include <algorithm>
#include <cstdio>

#include "Command.h"
#include "Output.h"

namespace tevctl {

namespace {

// The report: every reading operation without arguments, area by area, streamed so that a
// process that ends during a call has printed everything before it.
class Report {
  public:
    Report(Session& session, const Options& o, const std::string& device)
        : mSession(session), mOptions(o), mDevice(device) {}

    int run() {
        for (const Area* area : allAreas()) {
            if (area == &rootArea()) continue;
            mAreaWidth = std::max(mAreaWidth, area->name.size());
            for (const Operation& op : area->ops) {
                if (reported(op)) mOpWidth = std::max(mOpWidth, op.name.size());
            }
        }
        mSession.onTermination([this](const CallRecord& r) { terminated(r); });
        if (mOptions.json) {
            printf("{\"device\":%s,\"areas\":[", jsonText(mDevice).c_str());
        } else {
            row("AREA", "OPERATION", "ANSWER");
        }
        bool firstArea = true;
        for (const Area* area : allAreas()) {
            if (area == &rootArea()) continue;
            reportArea(*area, firstArea);
            firstArea = false;
        }
        if (mOptions.json) printf("]}\n");
        fflush(stdout);
        return 0;
    }

  private:
    static bool reported(const Operation& op) { return op.reads && op.params.empty(); }

    void row(const std::string& area, const std::string& op, const std::string& answer) {
        printf("%-*s  %-*s  %s\n", static_cast<int>(mAreaWidth), area.c_str(),
               static_cast<int>(mOpWidth), op.c_str(), answer.c_str());
    }

    void textCall(const CallRecord& r) {
        std::vector<std::string> answer = answerLines(r);
        std::string joined;
        for (const std::string& a : answer) joined += (joined.empty() ? "" : "  ") + a;
        row(r.area->name, r.op->name, joined);
        printLines(effectLines(r, mOptions.log), "    ");
    }

    void reportArea(const Area& area, bool first) {
        if (mOptions.json) {
            printf("%s{\"area\":%s,\"interface\":%s,\"calls\":[", first ? "" : ",",
                   jsonText(area.name).c_str(), jsonText(area.interface).c_str());
        }
        bool available = true;
        mCallsInArea = 0;
        bool any = false;
        for (const Operation& op : area.ops) {
            if (!reported(op)) continue;
            any = true;
            CallRecord r = mSession.call(area, op, Args());
            if (!r.available) {
                available = false;
                break;
            }
            if (mOptions.json) {
                printf("%s%s", mCallsInArea ? "," : "", jsonCall(r, mOptions.log).c_str());
            } else {
                textCall(r);
            }
            ++mCallsInArea;
            fflush(stdout);
        }
        if (!any) available = mSession.available(area);
        if (mOptions.json) {
            printf("],\"available\":%s}", available ? "true" : "false");
        } else if (!available) {
            row(area.name, "-", "(not available)");
        } else if (!any) {
            row(area.name, "-", "(no reading operations)");
        }
        fflush(stdout);
    }

    void terminated(const CallRecord& r) {
        if (mOptions.json) {
            printf("%s%s],\"available\":true}]}\n", mCallsInArea ? "," : "",
                   jsonCall(r, mOptions.log).c_str());
        } else {
            textCall(r);
        }
    }

    Session& mSession;
    const Options& mOptions;
    std::string mDevice;
    size_t mAreaWidth = 4;
    size_t mOpWidth = 9;
    int mCallsInArea = 0;
};

}  // namespace

int commandReport(Session& session, const Options& o, const std::string& device) {
    return Report(session, o, device).run();
}

}  // namespace tevctl
