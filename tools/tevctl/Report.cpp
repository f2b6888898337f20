#include <tevcatalog/Values.h>

#include <algorithm>
#include <cstdio>

#include "Command.h"
#include "DebugReport.h"
#include "Json.h"
#include "Output.h"

namespace tevctl {

namespace {

namespace impl = ::vendor::quoril::hardware::tevvendorservice::implementation;

// The members of the call's JSON object that tell what it did ("writes", "sleeps", "log", ...),
// each after a comma.
std::string effectsJson(const CallRecord& r, bool withLog) {
    json::Json call = callJson(r, withLog);
    for (const char* key : {"area", "op", "args", "return", "callbacks"}) call.erase(key);
    std::string text = json::write(call);
    return "," + text.substr(1, text.size() - 2);
}

// The report is the service's own: its debug report's rows (what lshal debug prints on the
// handset), made here by the service's report code through the session, row by row. Each call's
// row (JSON: object) is followed by what the call logged, wrote and slept, and the JSON report
// begins with the "device". A process that ends during a call has printed every row before it,
// and the call in flight is shown as terminated.
class Report : public impl::DebugReport {
  public:
    Report(Session& session, const Options& o, const std::string& device)
        : impl::DebugReport(o.json), mSession(session), mOptions(o), mDevice(device) {}

    int run() {
        mSession.onTermination([this](const CallRecord& r) { terminated(r); });
        if (!mJson) printf("device: %s\n", printable(mDevice).c_str());
        mSession.takeGathered();  // the report starts afresh
        impl::DebugReport::run(mSession.root());
        flushOutput();
        return 0;
    }

  private:
    bool write(const std::string& text) override {
        fputs(text.c_str(), stdout);
        flushOutput();
        mSession.takeGathered();  // what comes next belongs to the next row
        return true;
    }

    void calling(const char* area, const char* op, const std::function<void()>& work) override {
        const tevcatalog::Area& a = *findArea(area);
        mSession.inService(a, op ? a.find(op) : nullptr, work);
    }

    std::string effects() override {
        const CallRecord r = mSession.takeGathered();
        if (mJson) return effectsJson(r, mOptions.log);
        std::string lines;
        for (const std::string& line : effectLines(r, mOptions.log)) lines += "    " + line + "\n";
        return lines;
    }

    std::string jsonHead() override { return "\"device\":" + json::write(mDevice) + ","; }

    void terminated(const CallRecord& r) {
        if (mJson) {
            printf("%s%s],\"available\":true}]}\n", mCallsInArea ? "," : "",
                   json::write(callJson(r, mOptions.log)).c_str());
            return;
        }
        fputs(row(r.area->name, r.op->name, oneLine(answerLines(r))).c_str(), stdout);
        printLines(effectLines(r, mOptions.log), "    ");
    }

    Session& mSession;
    const Options& mOptions;
    const std::string mDevice;
};

}  // namespace

int commandReport(Session& session, const Options& o, const std::string& device) {
    return Report(session, o, device).run();
}

int commandDebug(Session& session, const Options&, const std::vector<std::string>& options) {
    session.onTermination([](const CallRecord&) {});  // what the service wrote is all there is
    const bool ok = session.debug(options, [](const std::string& bytes) {
        fputs(bytes.c_str(), stdout);
        flushOutput();
    });
    flushOutput();
    return ok ? 0 : 1;
}

}  // namespace tevctl
