// A gtest fixture that gives every test a fresh simulated handset: an empty device root, no
// properties, an empty log, write journal and sleep record, and the virtual clock.
#pragma once

#include <android/log.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <tevhost/Log.h>
#include <tevhost/Properties.h>
#include <tevhost/Sandbox.h>
#include <vendor/quoril/hardware/tevvendorservice/1.0/ITevVendorService.h>

#include <functional>
#include <string>
#include <vector>

namespace tevhost {

class HandsetTest : public ::testing::Test {
  protected:
    void SetUp() override;
    void TearDown() override;

    // Writes |content| (any bytes) to the node at |devicePath| ("/sys/..."), creating folders.
    void node(const std::string& devicePath, const std::string& content);
    // Other node states: AreaTest's setNode.
    // What the node holds now, or "<absent>".
    std::string nodeContent(const std::string& devicePath);
    std::string hostPath(const std::string& devicePath) const { return mRoot + devicePath; }

    void prop(const std::string& key, const std::string& value) { props::set(key, value); }
    void unsetProp(const std::string& key) { props::unset(key); }

    // Every write to a device node since the test began, in order.
    std::vector<sandbox::Write> writes() const { return sandbox::writes(); }
    // The bytes written to |devicePath| in order, one entry per write call.
    std::vector<std::string> writesTo(const std::string& devicePath) const;
    std::vector<double> sleeps() const { return sandbox::sleeps(); }

    // The texts logged under |tag|, in order (all priorities, or one).
    std::vector<std::string> logged(const std::string& tag, int priority = -1) const;

    // The root service, obtained as a client does (passthrough lookup of the -impl library).
    ::android::sp<::vendor::quoril::hardware::tevvendorservice::V1_0::ITevVendorService> root();

    // Calls debug on |service| with a descriptor to a fresh file and returns what was written to
    // it.
    static std::string debugReport(
            const ::android::sp<
                    ::vendor::quoril::hardware::tevvendorservice::V1_0::ITevVendorService>& service,
            const ::android::hardware::hidl_vec<::android::hardware::hidl_string>& options = {});

  private:
    std::string mRoot;
};

MATCHER_P3(LogLine, priority, tag, text,
           std::string("a log line ") + ::tevhost::log::priorityLetter(priority) + "/" + tag +
                   ": \"" + text + "\"") {
    return arg.priority == priority && arg.tag == tag && arg.text == text;
}

// The value a Return carries (aborts, as on the device, if the call failed).
template <typename T>
T value(::android::hardware::Return<T> ret) {
    return ret;
}

// Runs |scenario| in a new process of this program, where whatever the service decides once per
// process (the storage kind, remembered answers) is as a freshly started service has it. Failures
// inside are written to the child's stderr and fail the test here.
void inFreshProcess(const std::function<void()>& scenario);

// The log so far, for EXPECT_THAT(logLines(), Contains(LogLine(...))).
inline std::vector<log::Line> logLines() {
    return log::lines();
}

}  // namespace tevhost
