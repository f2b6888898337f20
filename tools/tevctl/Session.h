// One tevctl process as a client of the service: the root obtained by passthrough lookup, and
// calls made through the catalogue with everything they caused captured (answers, node writes,
// sleeps, log lines).
#pragma once

#include <tevcatalog/Catalog.h>
#include <tevhost/Log.h>
#include <tevhost/Sandbox.h>

#include <functional>
#include <string>
#include <vector>

namespace tevctl {

// The tool speaks the catalogue's vocabulary throughout.
using namespace ::tevcatalog;

struct CallRecord {
    const Area* area = nullptr;
    const Operation* op = nullptr;
    Args args;
    bool available = true;  // false when the root handed out no object for the area
    Answer outcome;
    std::vector<tevhost::sandbox::Write> writes;
    std::vector<double> sleeps;
    std::vector<tevhost::log::Line> log;
    std::string terminated;  // why the process ended during the call, if it did
};

class Session {
  public:
    // |realTime|: sleeps really pass, with a progress line on stderr for each.
    explicit Session(bool realTime);
    ~Session();

    // Obtains the root as a client does; false with |error| when the library cannot be loaded.
    bool start(std::string* error);

    // Whether the root hands out an object for |area| (the root itself always is one).
    bool available(const Area& area);

    CallRecord call(const Area& area, const Operation& op, const Args& args);

    // The root's debug call, as lshal debug makes it, with |options|. Each write of the report
    // reaches |written| as the service makes it. False if the call failed.
    bool debug(const std::vector<std::string>& options,
               const std::function<void(const std::string& bytes)>& written);

    // For calls that tevctl makes through the service's own code (the report's rows): the root,
    // and |work| made as the call of |op| of |area| (null: the request of the area for its first
    // row), in the service's scope, so that a process end or a real sleep during it is told as
    // that call's. What the service does is gathered until takeGathered().
    ITevVendorService& root() { return *mRoot; }
    void inService(const Area& area, const Operation* op, const std::function<void()>& work);
    // What the service did since the previous take (node writes, sleeps, log lines), as the
    // record of the call made last.
    CallRecord takeGathered();

    // Called with what the call in flight had done when the process ends during it; the
    // callee prints it. The process then exits with status 134.
    void onTermination(std::function<void(const CallRecord&)> print);
    // Called last when the process ends during a call (removing the scratch copy, for instance).
    void atTermination(std::function<void()> cleanUp);

  private:
    sp<ITevVendorService> mRoot;
    CallRecord mGathered;
};

}  // namespace tevctl
