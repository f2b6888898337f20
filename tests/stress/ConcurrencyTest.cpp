// Several binder threads calling the reading operations at once get the answers one thread gets.
// Built on its own with ThreadSanitizer too (tests/stress/tsan.supp names the races the service
// accepts, which this scenario keeps out: the root's unguarded creation of its areas, and the
// storage area's process-wide answers).
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <tevhost/Profile.h>
#include <tevhost/Sandbox.h>
#include <tevhost/Services.h>

#include <mutex>
#include <thread>

#include "OperationCalls.h"

namespace tevhost {
namespace stress {
namespace {

using ::android::sp;
using ::testing::IsEmpty;
using ::vendor::quoril::hardware::tevvendorservice::V1_0::ITevVendorService;

constexpr int kThreads = 4;
constexpr int kRounds = 50;

TEST(ConcurrencyTest, ThreadsReadingAtOnceGetTheAnswersOfOneThread) {
    tevhost::profile::Profile device;
    std::string error;
    ASSERT_TRUE(device.open(tevhost::profile::resolve(kUfsProduct.name), false, &error)) << error;
    sandbox::setVirtualClock(true);
    sp<ITevVendorService> root = ITevVendorService::getService();
    ASSERT_NE(root, nullptr);

    // Every area is created here, before any thread runs: the root creates them unguarded.
    for (const tevcatalog::Area* area : tevcatalog::allAreas())
        ASSERT_NE(stress::areaOf(*root, *area), nullptr);

    std::vector<Call> calls;
    for (const Call& c : everyOperation(true)) {
        // Every storage call rewrites the area's process-wide answers.
        if (c.area->name != "flashlife") calls.push_back(c);
    }
    std::vector<std::string> expected;
    for (const Call& c : calls) expected.push_back(answerInService(*root, c));

    std::mutex lock;
    std::vector<std::string> mismatches;
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            for (int round = 0; round < kRounds; ++round) {
                for (size_t i = 0; i < calls.size(); ++i) {
                    // Each thread walks the operations from its own starting point.
                    size_t k = (i + static_cast<size_t>(t) * calls.size() / kThreads) % calls.size();
                    std::string got = answerInService(*root, calls[k]);
                    if (got != expected[k]) {
                        std::lock_guard<std::mutex> guard(lock);
                        mismatches.push_back(calls[k].name() + ": " + got + " instead of " +
                                             expected[k]);
                    }
                }
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_THAT(mismatches, IsEmpty());
    root.clear();
    device.close();
    clearServices();
}

}  // namespace
}  // namespace stress
}  // namespace tevhost
