#include <tevcatalog/Values.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <optional>
#include <sstream>

#include "Command.h"
#include "Json.h"
#include "Output.h"

namespace tevctl {

namespace {

// How the service's JSON report begins, and how it ends each call: it sees no node write or
// sleep, and nothing of the host's log.
constexpr char kServiceReportStart[] = "{\"areas\":[";
constexpr char kServiceEffects[] = "\"writes\":[],\"sleeps\":[]}";

// The members of the call's JSON object that tell what it did ("writes", "sleeps", "log", ...),
// without braces.
std::string effectsJson(const CallRecord& r, bool withLog) {
    json::Json call = callJson(r, withLog);
    for (const char* key : {"area", "op", "args", "return", "callbacks"}) call.erase(key);
    const std::string text = json::write(call);
    return text.substr(1, text.size() - 2);
}

bool reported(const Operation& op) {
    return op.reads && op.params.empty();
}

// The reported operations of every area but the root, in the order the service reports them.
std::vector<std::pair<const Area*, const Operation*>> reportedOperations() {
    std::vector<std::pair<const Area*, const Operation*>> ops;
    for (const Area* area : allAreas()) {
        if (area == &rootArea()) continue;
        for (const Operation& op : area->ops) {
            if (reported(op)) ops.emplace_back(area, &op);
        }
    }
    return ops;
}

// The names at the start of a JSON object {"area":"A" or {"area":"A","op":"O".
bool jsonNames(const std::string& object, std::string* area, std::string* op) {
    auto field = [&object](const std::string& key, size_t at, std::string* value) {
        const std::string head = "\"" + key + "\":\"";
        if (object.compare(at, head.size(), head) != 0) return std::string::npos;
        const size_t end = object.find('"', at + head.size());
        if (end == std::string::npos) return std::string::npos;
        *value = object.substr(at + head.size(), end - at - head.size());
        return end + 1;
    };
    if (object.rfind("{", 0) != 0) return false;
    const size_t after = field("area", 1, area);
    if (after == std::string::npos) return false;
    if (object.compare(after, 1, ",") == 0) field("op", after + 1, op);
    return true;
}

// The report is the service's own: the root's debug call (what lshal debug prints on the handset),
// read write by write as the service makes it. Each call's row (JSON: object) comes in one write,
// and what the call logged, wrote and slept is added to it here, with the JSON report's "device".
// A process that ends during a call has printed everything before it, and the call in flight
// (the reported operation after the last one printed) is shown as terminated.
class Report {
  public:
    // |serviceOptions| given: the service's own output (tevctl debug), nothing added.
    Report(Session& session, const Options& o, const std::string& device,
           std::optional<std::vector<std::string>> serviceOptions = std::nullopt)
        : mSession(session),
          mOptions(o),
          mDevice(device),
          mRaw(serviceOptions.has_value()),
          mServiceOptions(mRaw     ? *serviceOptions
                          : o.json ? std::vector<std::string>{"--json"}
                                   : std::vector<std::string>{}),
          mJson(std::find(mServiceOptions.begin(), mServiceOptions.end(), "--json") !=
                mServiceOptions.end()),
          mOps(reportedOperations()) {
        for (const auto& [area, op] : mOps) {
            mAreaWidth = std::max(mAreaWidth, area->name.size());
            mOpWidth = std::max(mOpWidth, op->name.size());
        }
    }

    int run() {
        mSession.onTermination([this](const CallRecord& r) { terminated(r); });
        if (!mRaw && !mJson) printf("device: %s\n", printable(mDevice).c_str());
        expect(0);
        const bool ok = mSession.debug(mServiceOptions, [this](const std::string& bytes,
                                                               const CallRecord& since) {
            const std::string out = mJson ? jsonWritten(bytes, since) : textWritten(bytes, since);
            fputs((mRaw ? bytes : out).c_str(), stdout);
            flushOutput();
        });
        flushOutput();
        return ok ? 0 : 1;
    }

  private:
    // The service makes the |i|th reported operation next.
    void expect(size_t i) {
        mNext = std::min(i, mOps.size());
        if (mNext < mOps.size()) mSession.expect(*mOps[mNext].first, *mOps[mNext].second);
    }

    // Past every operation of |area|.
    void expectAfter(const Area* area) {
        size_t i = mNext;
        while (i < mOps.size() && mOps[i].first != area) ++i;
        while (i < mOps.size() && mOps[i].first == area) ++i;
        expect(i);
    }

    size_t position(const std::string& area, const std::string& op) const {
        for (size_t i = 0; i < mOps.size(); ++i) {
            if (mOps[i].first->name == area && mOps[i].second->name == op) return i;
        }
        return std::string::npos;
    }

    CallRecord callAt(size_t i, const CallRecord& since) const {
        CallRecord r = since;
        r.area = mOps[i].first;
        r.op = mOps[i].second;
        return r;
    }

    // A row "AREA OPERATION ANSWER"; a call's row is followed by what the call did.
    std::string textWritten(const std::string& row, const CallRecord& since) {
        std::string out = row;
        std::istringstream words(row);
        std::string area, op;
        words >> area >> op;
        const size_t i = position(area, op);
        if (i != std::string::npos) {
            for (const std::string& line : effectLines(callAt(i, since), mOptions.log)) {
                out += "    " + line + "\n";
            }
            expect(i + 1);
        } else if (const Area* a = findArea(area)) {
            expectAfter(a);  // "(not available)" or "(no reading operations)"
        }
        return out;
    }

    std::string jsonWritten(const std::string& bytes, const CallRecord& since) {
        if (bytes.rfind(kServiceReportStart, 0) == 0) {
            return "{\"device\":" + json::write(mDevice) + "," + bytes.substr(1);
        }
        const bool comma = bytes.rfind(",", 0) == 0;
        const std::string object = bytes.substr(comma ? 1 : 0);
        const size_t effects = strlen(kServiceEffects);
        std::string area, op;
        if (jsonNames(object, &area, &op) && !op.empty()) {
            const size_t i = position(area, op);
            if (i != std::string::npos && object.size() >= effects &&
                object.compare(object.size() - effects, effects, kServiceEffects) == 0) {
                ++mCallsInArea;
                expect(i + 1);
                return (comma ? "," : "") + object.substr(0, object.size() - effects) +
                       effectsJson(callAt(i, since), mOptions.log) + "}";
            }
        } else if (!area.empty()) {
            // An area begins; its calls follow.
            mCallsInArea = 0;
            const Area* a = findArea(area);
            size_t i = 0;
            while (i < mOps.size() && mOps[i].first != a) ++i;
            expect(i);
        }
        return bytes;
    }

    void terminated(const CallRecord& r) {
        if (mRaw) return;
        if (mJson) {
            printf("%s%s],\"available\":true}]}\n", mCallsInArea ? "," : "",
                   json::write(callJson(r, mOptions.log)).c_str());
            return;
        }
        std::string joined;
        for (const std::string& a : answerLines(r)) joined += (joined.empty() ? "" : "  ") + a;
        printf("%-*s  %-*s  %s\n", static_cast<int>(mAreaWidth), r.area->name.c_str(),
               static_cast<int>(mOpWidth), r.op->name.c_str(), joined.c_str());
        printLines(effectLines(r, mOptions.log), "    ");
    }

    Session& mSession;
    const Options& mOptions;
    std::string mDevice;
    const bool mRaw;
    const std::vector<std::string> mServiceOptions;
    const bool mJson;
    const std::vector<std::pair<const Area*, const Operation*>> mOps;
    size_t mAreaWidth = strlen("AREA");
    size_t mOpWidth = strlen("OPERATION");
    size_t mNext = 0;
    int mCallsInArea = 0;
};

}  // namespace

int commandReport(Session& session, const Options& o, const std::string& device) {
    return Report(session, o, device).run();
}

int commandDebug(Session& session, const Options& o, const std::vector<std::string>& options) {
    return Report(session, o, "", options).run();
}

}  // namespace tevctl
