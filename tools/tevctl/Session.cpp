#include "Session.h"

#include <cutils/native_handle.h>
#include <tevhost/Services.h>

#include <cxxabi.h>
#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <typeinfo>

namespace tevctl {

namespace {

using namespace tevhost;
using ::android::hardware::hidl_handle;

// The call in flight, reached from the sleep notifier and the termination handlers.
struct InFlight {
    CallRecord* record = nullptr;
    std::function<void(const CallRecord&)> print;
    std::function<void()> cleanUp;
};

InFlight gFlight;

// "AREA OP" of a call; the debug call is the root's "debug".
std::string callName(const CallRecord& record) {
    return record.area->name + " " + (record.op ? record.op->name : "debug");
}

// What the call did: the journal and the log are emptied before each call and drained after it,
// so a run costs the same per call however long it is, and keeps no call's records past it.
void collect(CallRecord& record) {
    record.writes = sandbox::takeWrites();
    record.log = log::takeLines();
}

std::string describeCurrentException() {
    std::exception_ptr e = std::current_exception();
    if (!e) return "the process was aborted";
    try {
        std::rethrow_exception(e);
    } catch (const std::exception& ex) {
        int status = 0;
        char* name = abi::__cxa_demangle(typeid(ex).name(), nullptr, nullptr, &status);
        std::string type = status == 0 && name ? name : typeid(ex).name();
        free(name);
        return "uncaught " + type + ": " + ex.what();
    } catch (...) {
        return "an uncaught exception";
    }
}

void reportTermination(const std::string& why) {
    fflush(stdout);
    CallRecord* record = gFlight.record;
    gFlight.record = nullptr;  // once only
    if (record == nullptr) return;
    collect(*record);
    record->terminated = why;
    if (gFlight.print) gFlight.print(*record);
    fflush(stdout);
    fprintf(stderr, "tevctl: the process ended during %s: %s\n", callName(*record).c_str(),
            why.c_str());
    if (gFlight.cleanUp) gFlight.cleanUp();
}

[[noreturn]] void onTerminate() {
    reportTermination(describeCurrentException());
    _exit(134);
}

void onAbort(int) {
    // Best effort: the product aborted (a failed Return, an explicit abort) during the call.
    reportTermination("the process was aborted");
    _exit(134);
}

}  // namespace

Session::Session(bool realTime) {
    sandbox::setVirtualClock(!realTime);
    sandbox::setSleepNotifier([](double seconds, bool real) {
        if (gFlight.record == nullptr) return;
        gFlight.record->sleeps.push_back(seconds);
        if (real) {
            fprintf(stderr, "tevctl: %s: sleeping %g s\n", callName(*gFlight.record).c_str(),
                    seconds);
        }
    });
    std::set_terminate(onTerminate);
    signal(SIGABRT, onAbort);
}

Session::~Session() {
    sandbox::setSleepNotifier(nullptr);
    mRoot.clear();
}

bool Session::start(std::string* error) {
    mRoot = ITevVendorService::getService("default");
    if (mRoot == nullptr) {
        *error = "cannot load the service library from " + halLibraryDir() +
                 " (set TEVHOST_HAL_DIR to the folder of "
                 "vendor.quoril.hardware.tevvendorservice@1.0-impl.so)";
        return false;
    }
    return true;
}

bool Session::available(const Area& area) {
    return area.get(*mRoot) != nullptr;
}

CallRecord Session::call(const Area& area, const Operation& op, const Args& args) {
    CallRecord record;
    record.area = &area;
    record.op = &op;
    record.args = args;
    sandbox::clearWrites();
    log::clear();
    gFlight.record = &record;
    {
        sandbox::ServiceScope scope;
        // The area object is asked for inside the call, so that what its constructor logs on the
        // first request belongs to the call that caused it.
        sp<IBase> service = area.get(*mRoot);
        if (service == nullptr) {
            record.available = false;
        } else {
            op.call(*service, args, record.outcome);
        }
    }
    gFlight.record = nullptr;
    collect(record);
    return record;
}

bool Session::debug(const std::vector<std::string>& options,
                    const std::function<void(const std::string&)>& written) {
    // The call in flight is the debug call itself: what it does is not told row by row.
    CallRecord record;
    record.area = &rootArea();
    gFlight.record = &record;
    const int fd = open("/dev/null", O_WRONLY | O_CLOEXEC);
    sandbox::watchWrites(fd, [&](const std::string& bytes) {
        sandbox::HostScope tool;  // what tevctl does with the bytes is not the service's
        written(bytes);
    });
    native_handle_t* nativeHandle = native_handle_create(1, 0);
    nativeHandle->data[0] = fd;
    hidl_handle handle;
    handle.setTo(nativeHandle, true /* shouldOwn */);
    bool ok;
    {
        sandbox::ServiceScope scope;
        ok = mRoot->debug(handle, hidl_vec<hidl_string>(options.begin(), options.end())).isOk();
    }
    sandbox::watchWrites(-1, nullptr);
    gFlight.record = nullptr;
    return ok;
}

void Session::inService(const Area& area, const Operation* op, const std::function<void()>& work) {
    if (op != nullptr) {
        mGathered.area = &area;
        mGathered.op = op;
    }
    gFlight.record = &mGathered;
    {
        sandbox::ServiceScope scope;
        work();
    }
    gFlight.record = nullptr;
}

CallRecord Session::takeGathered() {
    collect(mGathered);
    CallRecord gathered = mGathered;
    mGathered.sleeps.clear();
    return gathered;
}

void Session::onTermination(std::function<void(const CallRecord&)> print) {
    gFlight.print = std::move(print);
}

void Session::atTermination(std::function<void()> cleanUp) {
    gFlight.cleanUp = std::move(cleanUp);
}

}  // namespace tevctl
