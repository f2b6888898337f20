// The root the service host serves, called from several threads as binder threads call it: the long
// calls (the touch-panel self-test in its waits, a Hall poll held by the sibling) leave an ordinary
// call and lshal debug free to finish, and two first requests for the sensor area at once make one
// area, with one calibration object. Built with ThreadSanitizer too (tev_concurrency).
#include <sys/syscall.h>
#include <tevhost/FakeSensorService.h>
#include <tevhost/Profile.h>
#include <tevhost/SensorCal.h>
#include <unistd.h>

#include <atomic>
#include <fstream>
#include <functional>
#include <future>
#include <iterator>
#include <thread>

#include "HandsetTest.h"
#include "ServingRoot.h"

namespace tevhost {
namespace {

using ::android::sp;
using ::testing::ElementsAre;
using ::vendor::quoril::hardware::tevvendorservice::implementation::ServingRoot;
using ::vendor::quoril::hardware::tevvendorservice::V1_0::IDisplayCheckService;
using ::vendor::quoril::hardware::tevvendorservice::V1_0::ISensorCheckService;
using ::vendor::quoril::hardware::tevvendorservice::V1_0::ITevVendorService;

constexpr const char* kDiag = "/proc/tp_selftest";

// How many looks in a row must find a thread asleep before it counts as blocked: a thread that
// only waits for a moment (a lock another thread holds briefly) is running again long before.
constexpr int kLooksAsleep = 100;

pid_t threadId() {
    return static_cast<pid_t>(syscall(SYS_gettid));
}

// Whether thread |tid| of this process is asleep (state S in its stat line) at this moment.
bool asleepNow(pid_t tid) {
    std::ifstream stat("/proc/self/task/" + std::to_string(tid) + "/stat");
    std::string line((std::istreambuf_iterator<char>(stat)), std::istreambuf_iterator<char>());
    size_t end = line.rfind(')');
    return end != std::string::npos && end + 2 < line.size() && line[end + 2] == 'S';
}

bool blocked(pid_t tid) {
    for (int look = 0; look < kLooksAsleep; ++look) {
        if (!asleepNow(tid)) return false;
        std::this_thread::yield();
    }
    return true;
}

// On the bundled qab handset: its touch controller passes the self-test, and every area answers
// lshal debug.
class ServingRootTest : public HandsetTest {
  protected:
    void SetUp() override {
        HandsetTest::SetUp();
        std::string error;
        ASSERT_TRUE(mDevice.open(profile::resolve("qab"), false, &error)) << error;
    }
    void TearDown() override {
        mDevice.close();
        sensorcal::reset();
        HandsetTest::TearDown();
    }

    // A serving root over a fresh root of the library, as the service host makes it.
    sp<ITevVendorService> serving() { return new ServingRoot(root()); }

  private:
    profile::Profile mDevice;
};

TEST_F(ServingRootTest, AnOrdinaryCallAndDebugFinishWhileTheSelfTestAndAHallPollWait) {
    sp<FakeSensorService> sibling = new FakeSensorService;
    sibling->holdPolls();
    ASSERT_EQ(sibling->registerAsService("default"), ::android::OK);
    sp<ITevVendorService> root = serving();
    sp<IDisplayCheckService> display = root->getExtensionDisplayCheckService();
    sp<ISensorCheckService> sensor = root->getExtensionSensorCheckService();

    // The self-test stays in its first wait (6 s, the short check) until the other calls are done.
    std::promise<void> selfTestWaits;
    std::promise<void> othersDone;
    std::shared_future<void> othersDoneFuture = othersDone.get_future().share();
    sandbox::setSleepHook([&](double seconds) {
        if (seconds != 6) return;
        selfTestWaits.set_value();
        othersDoneFuture.wait();
    });
    auto selfTest = std::async(std::launch::async,
                               [&] { return value(display->doSelfTestAndGetResult()); });
    auto poll = std::async(std::launch::async, [&] { return value(sensor->hallEventListener()); });
    selfTestWaits.get_future().wait();
    ASSERT_TRUE(sibling->awaitHeldPolls(1));

    std::string product;
    EXPECT_TRUE(root->getVendorProperty("ro.product.name", "", [&](const auto& v) {
                        product = v;
                    }).isOk());
    EXPECT_EQ(product, "qab");
    EXPECT_NE(debugReport(root).find("getBatteryTemp"), std::string::npos);

    othersDone.set_value();
    sibling->releasePolls();
    EXPECT_TRUE(selfTest.get());
    EXPECT_EQ(poll.get(), 0);
    EXPECT_THAT(writesTo(kDiag), ElementsAre("short", "open", "i2c"));
    EXPECT_THAT(sleeps(), ElementsAre(6, 4, 2));
}

TEST_F(ServingRootTest, TwoFirstRequestsForTheSensorAreaAtOnceMakeOneArea) {
    // The second caller: another first request, or lshal debug, which requests every area of the
    // library's root itself.
    const struct {
        const char* second;
        std::function<void(const sp<ITevVendorService>&)> call;
    } cases[] = {
            {"getExtensionSensorCheckService",
             [](const sp<ITevVendorService>& root) {
                 EXPECT_NE(value(root->getExtensionSensorCheckService()), nullptr);
             }},
            {"debug", [](const sp<ITevVendorService>& root) { EXPECT_NE(debugReport(root), ""); }},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.second);
        sensorcal::reset();
        sp<ITevVendorService> root = serving();
        std::promise<void> firstInside;
        std::atomic<pid_t> second{0};
        // The first construction waits until the second caller is blocked, or constructs too.
        sensorcal::setConstructionHook([&] {
            if (sensorcal::constructions() > 1) return;
            firstInside.set_value();
            while (sensorcal::constructions() == 1 && !(second != 0 && blocked(second))) {
                std::this_thread::yield();
            }
        });
        sp<ISensorCheckService> first;
        std::thread firstCaller([&] { first = value(root->getExtensionSensorCheckService()); });
        firstInside.get_future().wait();
        std::thread secondCaller([&] {
            second = threadId();
            c.call(root);
        });
        firstCaller.join();
        secondCaller.join();
        sensorcal::setConstructionHook(nullptr);

        EXPECT_EQ(sensorcal::constructions(), 1);
        EXPECT_EQ(sensorcal::destructions(), 0);
        EXPECT_EQ(value(root->getExtensionSensorCheckService()), first);
        first.clear();
        root.clear();
        EXPECT_EQ(sensorcal::destructions(), 1);
    }
}

}  // namespace
}  // namespace tevhost
