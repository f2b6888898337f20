// Descriptors and memory: every operation gives back every descriptor it opened, whatever state
// its nodes are in, and reading over and over (as the test station does for hours) does not grow
// the heap.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <tevhost/Log.h>
#include <tevhost/Profile.h>
#include <tevhost/Properties.h>
#include <tevhost/Sandbox.h>
#include <tevhost/SensorCal.h>
#include <tevhost/Services.h>

#include <cstdio>
#include <fstream>
#include <set>

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
    NodeState state;
    const std::string* content;  // nullptr: what the profile holds (or "1\n")
};
const std::string kEmpty;
const StateCase kStates[] = {
        {"success", NodeState::kContent, nullptr},     {"empty", NodeState::kContent, &kEmpty},
        {"overlong", NodeState::kContent, &kOverlong}, {"absent", NodeState::kAbsent, nullptr},
        {"denied", NodeState::kDenied, nullptr},       {"folder", NodeState::kFolder, nullptr},
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

    std::string call(const Call& c) { return answer(*mRoot, c); }

    // Every operation on every state of its nodes; what leaked, and (in |skipped|) the states on
    // which the service ends the process, which are not called.
    std::vector<std::string> descriptorProblems(std::vector<std::string>* skipped) {
        std::vector<std::string> problems;
        // First calls may set up what the process keeps for good (the library's own statics).
        for (const Call& c : everyOperation(mProduct, false)) call(c);

        // Every operation on the device as the profile has it (those without nodes included).
        for (const Call& c : everyOperation(mProduct, false)) {
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
                    tree.set(node, s.state, contentFor(node, s));
                }
                for (const std::string& word : entry.driverWords) {
                    if (s.state == NodeState::kContent) {
                        sandbox::respond(entry.nodes[0], word, s.content ? *s.content : "2\n");
                    }
                }
                const std::string where = c.name() + ": " + s.name;
                if (!terminationOf(entry.area, entry.op, [&](const std::string& p) {
                         return tree.denied(p);
                     }).empty()) {
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
        if (s.state != NodeState::kContent) return "";
        if (s.content) return *s.content;
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
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
            {
                std::vector<std::string> problems;
                std::vector<std::string> skipped;
                {
                    Audit audit;
                    std::string error;
                    if (!audit.open(kEmmcProduct, &error)) {
                        problems.push_back(error);
                    } else {
                        problems = audit.descriptorProblems(&skipped);
                        if (audit.call(plainCall(
                                               tevcatalog::flashLifeArea(),
                                               *tevcatalog::flashLifeArea().find("readVendorName")))
                                    .find("CID_MANFID") == std::string::npos) {
                            problems.push_back("the storage area does not read the eMMC nodes");
                        }
                    }
                }
                if (skipped != kEndingStates) problems.push_back("other states ended the process");
                for (const std::string& p : problems) fprintf(stderr, "leaked: %s\n", p.c_str());
                fflush(stderr);
                std::_Exit(problems.empty() ? 0 : 1);
            },
            ::testing::ExitedWithCode(0), "");
}

// Every node the service touches has its row in the table the audit and the fuzzers work from.
TEST(AuditTest, EveryServiceNodeIsInTheNodeTable) {
    std::set<std::string> tabled;
    for (const Product& product : {kUfsProduct, kEmmcProduct}) {
        for (const NodeOperation& entry : nodeOperations(product)) {
            tabled.insert(entry.nodes.begin(), entry.nodes.end());
        }
    }
    std::ifstream list(TEV_SOURCE_DIR "/tools/device-nodes.txt");
    ASSERT_TRUE(list.is_open());
    std::vector<std::string> missing;
    std::string line;
    while (std::getline(list, line)) {
        if (!line.empty() && line[0] == '/' && tabled.count(line) == 0) missing.push_back(line);
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

// The log sink and the calibration library stand-in keep what they were given; only the service's
// own memory is under test.
void forgetHostRecords() {
    log::clear();
    sensorcal::Answers answers = sensorcal::answers();
    sensorcal::reset();
    sensorcal::setAnswers(answers);
}

TEST(AuditTest, ReadingOverAndOverLeavesTheHeapFlat) {
    Audit audit;
    std::string error;
    ASSERT_TRUE(audit.open(kUfsProduct, &error)) << error;
    const std::vector<Call> reads = everyOperation(kUfsProduct, true);
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
            EXPECT_NE(area->get(*root), nullptr) << area->name;
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
