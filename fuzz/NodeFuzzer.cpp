// Node contents: the fuzzer's bytes become the nodes an operation opens (and its driver's
// replies), and the operation is called through the root object, as a client calls it.
//
// Input: [operation][for each node: state (content, absent, refused, folder), text]
//        [for each driver word of the operation: the reply text]
//
// The storage area decides between eMMC and UFS once per process, from the product name, so this
// harness is built twice: fuzz_nodes_ufs (product qab: UFS dumps, DRM panel node) and
// fuzz_nodes_emmc (product marskol: mmcblk0 nodes, frame-buffer panel node).
#include <tevhost/Log.h>
#include <tevhost/Properties.h>
#include <tevhost/Sandbox.h>
#include <tevhost/Services.h>

#include <cstdint>
#include <filesystem>

#include "FuzzSupport.h"

namespace {

using namespace tevhost;
using namespace tevhost::stress;
using ::vendor::quoril::hardware::tevvendorservice::V1_0::ITevVendorService;

#if TEV_FUZZ_EMMC
const Product& kProduct = kEmmcProduct;
#else
const Product& kProduct = kUfsProduct;
#endif

// What the first byte of a node's input field makes of it: its text as content, or a state.
const char* const kStates[] = {nullptr, kAbsent, kDenied, kFolder};

struct Harness {
    ::android::sp<ITevVendorService> root;
    std::vector<NodeOperation> ops;
    std::vector<Call> calls;
    NodeTree tree;
};
Harness* gHarness = nullptr;

// A seed per operation and bundled profile: its nodes as the profile has them, its driver
// replies as the profile declares them (or a pass).
void writeSeeds(const std::string& dir) {
    const std::vector<NodeOperation> ops = nodeOperations(kProduct);
    for (const std::string& profile : tevfuzz::bundledProfiles()) {
        const std::vector<Driver> drivers = profileDrivers(profile);
        for (size_t i = 0; i < ops.size(); ++i) {
            tevfuzz::Seed seed;
            seed.byte(static_cast<uint8_t>(i));
            for (const std::string& node : ops[i].nodes) {
                std::optional<std::string> content = tevfuzz::profileNode(profile, node);
                seed.byte(content ? 0 : 1).text(content.value_or(""));
            }
            for (const std::string& word : ops[i].driverWords) {
                std::string reply = "2\n";
                for (const Driver& d : drivers) {
                    if (d.path == ops[i].nodes[0] && d.word == word) reply = d.reply;
                }
                seed.text(reply);
            }
            seed.save(dir,
                      std::filesystem::path(profile).filename().string() + "-" + std::to_string(i));
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    tevfuzz::start(argc, argv, writeSeeds);
    gHarness = new Harness;
    // Seen on the product's own profile, before the harness takes the device root over.
    gHarness->ops = nodeOperations(kProduct);
    sandbox::setRoot(tevfuzz::scratchFolder("tevfuzz-nodes"));
    props::clear();
    props::set("ro.product.name", kProduct.name);
    // Every area is created now: the storage area decides its kind from the product name.
    gHarness->root = tevfuzz::rootWithEveryArea();
    for (const NodeOperation& op : gHarness->ops) gHarness->calls.push_back(tableCall(op));
    tevfuzz::forgetHostRecords();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Harness& h = *gHarness;
    tevfuzz::Input in(data, size);
    const size_t index = in.byte() % h.ops.size();
    const NodeOperation& op = h.ops[index];
    const Call& call = h.calls[index];

    sandbox::reset();
    h.tree.allowAll();
    for (const std::string& node : op.nodes) {
        const char* state = kStates[in.byte() % std::size(kStates)];
        const std::string text = in.text();
        h.tree.set(node, state ? state : text);
    }
    for (const std::string& word : op.driverWords) sandbox::respond(op.nodes[0], word, in.text());

    ::android::sp<::android::hidl::base::V1_0::IBase> service = areaOf(*h.root, *call.area);
    // On the inputs that end the service's process, as the call in a child shows, it is not made.
    if (!endsTheProcess([&] { tevfuzz::callWithClock(*service, call); })) {
        size_t descriptors = openDescriptors();
        tevfuzz::checkOutcome(call, tevfuzz::callWithClock(*service, call));
        tevfuzz::check(openDescriptors() == descriptors, call.name() + ": a descriptor leaked");
    }

    // The next input starts from an empty tree.
    h.tree.allowAll();
    for (const std::string& node : op.nodes) h.tree.set(node, kAbsent);
    tevfuzz::forgetHostRecords();
    return 0;
}
