// Descriptors and memory: every operation gives back every descriptor it opened, whatever state
// its nodes are in, and reading over and over (as the test station does for hours) does not grow
// the heap.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <tevhost/Log.h>
#include <tevhost/Profile.h>
#include <tevhost/Properties.h>
#include <tevhost/Sandbox.h>
#include <tevhost/Services.h>

#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <set>

#include "HandsetTest.h"
#include "NodeOperations.h"
#include "OperationCalls.h"

namespace tevhost {
namespace stress {
namespace {

using ::android::sp;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::vendor::quoril::hardware::tevvendorservice::V1_0::ITevVendorService;

// More than any operation reads: the fixed buffers take 4 to 20 bytes, the streams a line or all.
// It starts with a digit, so that the backlight query still finds its number.
const std::string kOverlong = "1" + std::string(70000, 'x') + "\n";

struct StateCase {
    const char* name;
    std::string state;  // content or a node state; with |fromProfile|, what the profile holds
    bool fromProfile;
};
const StateCase kStates[] = {
        {"success", "", true},      {"empty", "", false},       {"overlong", kOverlong, false},
        {"absent", kAbsent, false}, {"denied", kDenied, false}, {"folder", kFolder, false},
};

class Audit {
  public:
    // Sets up the bundled profile of |product| with "ro.boot.cpuid" unset, so that getCpuId reads
    // its node too.
    bool open(const Product& product, std::string* error) {
        mProduct = product;
        mProfile = tevhost::profile::resolve(product.name);
        if (!mDevice.open(mProfile, false, error)) return false;
        sandbox::setVirtualClock(true);
        props::unset("ro.boot.cpuid");
        mRoot = ITevVendorService::getService();
        if (mRoot == nullptr) *error = "no root service";
        return mRoot != nullptr;
    }
    ~Audit() {
        mRoot.clear();
        mDevice.close();
        sandbox::reset();
        clearServices();
    }

    std::string call(const Call& c) { return answerInService(*mRoot, c); }

    // Every operation on every state of its nodes; what leaked, and (in |skipped|) the states on
    // which the service ends the process (as a call in a child process shows), which are not
    // called here.
    std::vector<std::string> descriptorProblems(std::vector<std::string>* skipped) {
        std::vector<std::string> problems;
        // First calls may set up what the process keeps for good (the library's own statics).
        for (const Call& c : everyOperation(false)) call(c);

        // Every operation on the device as the profile has it (those without nodes included).
        for (const Call& c : everyOperation(false)) {
            size_t before = openDescriptors();
            call(c);
            if (openDescriptors() != before) problems.push_back(c.name() + ": profile");
        }
        NodeTree tree;
        for (const NodeOperation& entry : nodeOperations(mProduct)) {
            const Call c = tableCall(entry);
            for (const StateCase& s : kStates) {
                sandbox::reset();
                tree.allowAll();
                for (const std::string& node : entry.nodes) {
                    tree.set(node, contentFor(node, s));
                }
                for (const std::string& word : entry.driverWords) {
                    if (s.state.empty() || s.state[0] != '<') {
                        sandbox::respond(entry.nodes[0], word, s.fromProfile ? "2\n" : s.state);
                    }
                }
                const std::string where = c.name() + ": " + s.name;
                if (endsTheProcess([&] { call(c); })) {
                    skipped->push_back(where);
                    continue;
                }
                size_t before = openDescriptors();
                call(c);
                if (openDescriptors() != before) problems.push_back(where);
                log::clear();
            }
            tree.allowAll();
            for (const std::string& node : entry.nodes) tree.restore(node, mProfile);
        }
        return problems;
    }

  private:
    std::string contentFor(const std::string& node, const StateCase& s) const {
        if (!s.fromProfile) return s.state;
        std::ifstream in(mProfile + "/fs" + node, std::ios::binary);
        if (!in) return "1\n";
        return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    }

    Product mProduct;
    std::string mProfile;
    tevhost::profile::Profile mDevice;
    sp<ITevVendorService> mRoot;
};

// The backlight query converts its node's text with a conversion that ends the process when
// there is no number: an empty node, and a folder (which opens but reads nothing).
const std::vector<std::string> kEndingStates = {
        "display.getBacklightValue: empty",
        "display.getBacklightValue: folder",
};

TEST(AuditTest, EveryOperationGivesBackItsDescriptorsOnEveryNodeState) {
    Audit audit;
    std::string error;
    ASSERT_TRUE(audit.open(kUfsProduct, &error)) << error;
    std::vector<std::string> skipped;
    EXPECT_THAT(audit.descriptorProblems(&skipped), IsEmpty());
    EXPECT_EQ(skipped, kEndingStates);
}

// The storage kind is decided once per process: the eMMC product gets a process of its own.
TEST(AuditTest, EmmcProductGivesBackItsDescriptorsOnEveryNodeState) {
    inFreshProcess([] {
        Audit audit;
        std::string error;
        ASSERT_TRUE(audit.open(kEmmcProduct, &error)) << error;
        std::vector<std::string> skipped;
        EXPECT_THAT(audit.descriptorProblems(&skipped), IsEmpty());
        EXPECT_EQ(skipped, kEndingStates);
        EXPECT_THAT(
                audit.call(plainCall(*tevcatalog::findArea("flashlife"),
                                     *tevcatalog::findArea("flashlife")->find("readVendorName"))),
                ::testing::HasSubstr("CID_MANFID"))
                << "the storage area does not read the eMMC nodes";
    });
}

// Every node the service touches is reached by a call of the table the audit and the fuzzers
// work from, on one bundled product or the other. The storage kind is decided once per process:
// the eMMC product's nodes are seen in a process of its own and handed back in a file.
TEST(AuditTest, EveryServiceNodeIsReachedByACallOfTheTable) {
    const char* kFileVar = "TEV_AUDIT_EMMC_NODES";
    if (getenv(kFileVar) == nullptr) {
        std::string name = ::testing::TempDir() + "tev_audit_nodes.XXXXXX";
        int fd = mkstemp(&name[0]);
        ASSERT_GE(fd, 0);
        close(fd);
        setenv(kFileVar, name.c_str(), 1);
    }
    const std::string file = getenv(kFileVar);
    inFreshProcess([&] {
        std::ofstream out(file);
        for (const NodeOperation& entry : nodeOperations(kEmmcProduct)) {
            for (const std::string& node : entry.nodes) out << node << "\n";
        }
    });
    std::set<std::string> reached;
    std::string line;
    for (std::ifstream in(file); std::getline(in, line);) reached.insert(line);
    unlink(file.c_str());
    for (const NodeOperation& entry : nodeOperations(kUfsProduct)) {
        reached.insert(entry.nodes.begin(), entry.nodes.end());
    }
    std::ifstream list(TEV_SOURCE_DIR "/tools/device-nodes.txt");
    ASSERT_TRUE(list.is_open());
    std::vector<std::string> missing;
    while (std::getline(list, line)) {
        const std::string node = line.substr(0, line.find_first_of(" \t"));  // then its access
        if (!node.empty() && node[0] == '/' && reached.count(node) == 0) missing.push_back(node);
    }
    EXPECT_THAT(missing, IsEmpty());
}

// Bytes of heap a long run may differ by without anything kept per call: a leak of the smallest
// allocation in every round would be 32 kB over the rounds below.
constexpr size_t kSlack = 8 * 1024;
constexpr int kWarmRounds = 50;
constexpr int kRounds = 1000;

long heapGrowth(int warmRounds, int rounds, const std::function<void()>& round) {
    for (int i = 0; i < warmRounds; ++i) round();
    long before = static_cast<long>(heapInUse());
    for (int i = 0; i < rounds; ++i) round();
    return static_cast<long>(heapInUse()) - before;
}

TEST(AuditTest, ReadingOverAndOverLeavesTheHeapFlat) {
    Audit audit;
    std::string error;
    ASSERT_TRUE(audit.open(kUfsProduct, &error)) << error;
    const std::vector<Call> reads = everyOperation(true);
    ASSERT_GT(reads.size(), 60u);
    long growth = heapGrowth(kWarmRounds, kRounds, [&] {
        for (const Call& c : reads) {
            audit.call(c);
            forgetHostRecords();
        }
    });
    EXPECT_LT(growth, static_cast<long>(kSlack));
}

TEST(AuditTest, MakingAndDroppingRootsAndTheirAreasLeavesNothingBehind) {
    Audit audit;
    std::string error;
    ASSERT_TRUE(audit.open(kUfsProduct, &error)) << error;
    auto cycle = [] {
        sp<ITevVendorService> root = ITevVendorService::getService();
        for (const tevcatalog::Area* area : tevcatalog::allAreas()) {
            EXPECT_NE(stress::areaOf(*root, *area), nullptr) << area->name;
        }
        forgetHostRecords();
    };
    cycle();
    size_t descriptors = openDescriptors();
    long growth = heapGrowth(kWarmRounds, kRounds, cycle);
    EXPECT_EQ(openDescriptors(), descriptors);
    EXPECT_LT(growth, static_cast<long>(kSlack));
}

}  // namespace
}  // namespace stress
}  // namespace tevhost
