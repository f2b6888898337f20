// What the stress checks (descriptor and memory audit, fuzzers, benchmarks) need to know about the
// service from outside: which operation opens which kernel nodes and how, how to put a node into
// each state a handset can present, and on which inputs the service ends its own process.
#pragma once

#include <tevhost/Profile.h>

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

// One call of an operation, with the arguments that make it open the nodes listed.
struct NodeOperation {
    std::string area;               // the catalogue's area name ("battery", "root", ...)
    std::string op;                 // the operation ("getBatteryTemp")
    std::vector<std::string> args;  // as tevctl takes them on its command line
    Access access;
    bool readsContent;               // false: it only writes the nodes, or tests that they exist
    std::vector<std::string> nodes;  // device paths, in the order the operation opens them
    // Words the operation writes to nodes[0], each of which the driver answers by the text that
    // the next read of the node gives (the touch-panel self-test).
    std::vector<std::string> driverWords;

    std::string name() const { return area + "." + op; }
};

// The product a table is for: which flash it has and which panel node describes it.
struct Product {
    std::string name;
    bool emmc;              // the storage area reads the mmcblk0 nodes, else the UFS ones
    bool framebufferPanel;  // the panel is described by the frame-buffer node, else the DRM one
};
// A UFS product with the DRM panel node (the bundled qab profile).
extern const Product kUfsProduct;
// An eMMC product with the frame-buffer panel node (the bundled marskol profile).
extern const Product kEmmcProduct;

// Every operation that opens a node, on |product|.
std::vector<NodeOperation> nodeOperations(const Product& product);

// The states a node can be in.
enum class NodeState {
    kContent,  // a file with the given bytes
    kAbsent,
    kDenied,  // there, but the open is refused with EACCES
    kFolder,  // opens for reading, but every read fails
};
const char* stateName(NodeState state);

// The node tree of the current device root, with the states of its nodes.
class NodeTree {
  public:
    // Puts the node at |devicePath| ("/sys/...") into |state|, with |content| for kContent.
    void set(const std::string& devicePath, NodeState state, const std::string& content = "");
    // Gives the node back the content it has in the profile folder |profileDir| (or removes it
    // when the profile has none).
    void restore(const std::string& devicePath, const std::string& profileDir);
    bool denied(const std::string& devicePath) const { return mDenied.count(devicePath) > 0; }
    // Forgets every refusal (in the sandbox too).
    void allowAll();

  private:
    std::set<std::string> mDenied;
};

// Why calling |area|.|op| now, with the properties and nodes as they are, would end the service
// process; empty when it would not. Only these end it: the camera module description on the old
// properties with no hardware version, or on hardware version 9 with a back camera entry shorter
// than its prefix (or no ';' at all); and a backlight node whose text holds no number, or one out
// of the int range. |denied| tells which nodes refuse their open.
std::string terminationOf(const std::string& area, const std::string& op,
                          const std::function<bool(const std::string&)>& denied);

using profile::declare;
using profile::Driver;
// The drivers the profile at |profileDir| declares, to declare again after a sandbox reset;
// throws std::runtime_error when its "drivers" file does not parse.
std::vector<Driver> profileDrivers(const std::string& profileDir);

// The number of descriptors the process has open.
size_t openDescriptors();
// Bytes of heap in use: the sanitizer allocator's count in a sanitizer build, else malloc's.
size_t heapInUse();

}  // namespace stress
}  // namespace tevhost
