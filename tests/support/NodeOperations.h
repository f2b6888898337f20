// What the stress checks (descriptor and memory audit, fuzzers, benchmarks) need to know about the
// service from outside: which operation opens which kernel nodes and how, how to put a node into
// each state a handset can present, and whether a call ends the service's process.
#pragma once

#include <tevhost/Profile.h>

#include "NodeStates.h"

#include <functional>
#include <set>
#include <string>
#include <vector>

namespace tevhost {
namespace stress {

// How an operation reaches its nodes.
enum class Access {
    kDescriptor,  // open/read/write/close (or access) on the descriptor
    kStream,      // C++ file streams
};

// One call of an operation, with the arguments that make it reach nodes.
struct NodeOperation {
    std::string area;               // the catalogue's area name ("battery", "root", ...)
    std::string op;                 // the operation ("getBatteryTemp")
    std::vector<std::string> args;  // as tevctl takes them on its command line
    Access access;
    bool readsContent;  // false: it only writes the nodes, or tests that they exist
    // Seen, not stated: the device paths the call reaches, in the order it first reaches them.
    std::vector<std::string> nodes;
    // Seen too: what it writes to nodes[0] before it reads it back, each a word the driver answers
    // by the text of the next read (the touch-panel self-test).
    std::vector<std::string> driverWords;

    std::string name() const { return area + "." + op; }
};

// A bundled product: its profile name. The storage kind and panel node follow from it.
struct Product {
    std::string name;
};
// A UFS product with the DRM panel node (the bundled qab profile).
extern const Product kUfsProduct;
// An eMMC product with the frame-buffer panel node (the bundled marskol profile).
extern const Product kEmmcProduct;

// The calls that reach nodes, without their nodes: enough to make them.
std::vector<NodeOperation> nodeCalls();
// The same with the nodes each reaches on |product|, seen through the sandbox: every call is made
// on the product's profile (the device now, or opened for the while when no device is), then made
// again with the nodes seen so far absent, until no new one shows (the backlight query tries three
// in turn). Nodes, properties and log are as they were afterwards.
std::vector<NodeOperation> nodeOperations(const Product& product);

// The node tree of the current device root, with the states of its nodes.
class NodeTree {
  public:
    // Puts the node at |devicePath| ("/sys/...") into |state|: one of the states of NodeStates.h,
    // else the content it is to hold, through the sandbox's edits. Throws std::runtime_error
    // when an edit fails.
    void set(const std::string& devicePath, const std::string& state);
    // Gives the node back the content it has in the profile folder |profileDir| (or removes it
    // when the profile has none).
    void restore(const std::string& devicePath, const std::string& profileDir);
    bool denied(const std::string& devicePath) const { return mDenied.count(devicePath) > 0; }
    // Forgets every refusal of opens and writes (in the sandbox too).
    void allowAll();

  private:
    std::set<std::string> mDenied;
    std::set<std::string> mMarked;  // denied, full or stuck
};

// Whether |call| ends the process as the service ends it on the inputs it cannot answer (it
// aborts, or leaves an exception uncaught), learnt by making the call in a child process of this
// one: a fork, which sees the nodes, properties and areas as they are now. Any other ending (a
// crash, a sanitizer's report) is false, so that the caller makes the call itself and the fault
// shows there. Of what the call does in the child only its node writes (to the device tree both
// processes share) are seen here.
bool endsTheProcess(const std::function<void()>& call);

using profile::declare;
using profile::Driver;
// The drivers the profile at |profileDir| declares, to declare again after a sandbox reset;
// throws std::runtime_error when its "drivers" file does not parse.
std::vector<Driver> profileDrivers(const std::string& profileDir);

// The number of descriptors the process has open.
size_t openDescriptors();
// Forgets what the host stand-ins recorded (log lines, calibration library calls), keeping the
// calibration library's answers: only the service's own memory is then left to grow.
void forgetHostRecords();
// Bytes of heap in use: the sanitizer allocator's count in a sanitizer build, else malloc's.
size_t heapInUse();

}  // namespace stress
}  // namespace tevhost
