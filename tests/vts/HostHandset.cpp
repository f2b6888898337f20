// On the host, the target test runs against the passthrough library on the bundled default
// device, set up once for the whole run as a handset would be.
#include <gtest/gtest.h>
#include <tevhost/Profile.h>
#include <tevhost/Sandbox.h>

#include <cstdlib>
#include <string>

namespace {

class HostHandset : public ::testing::Environment {
  public:
    void SetUp() override {
        std::string error;
        tevhost::sandbox::setVirtualClock(true);
        if (!mDevice.open(tevhost::profile::defaultDir(), false, &error)) {
            fprintf(stderr, "host handset: %s\n", error.c_str());
            abort();
        }
    }
    void TearDown() override { mDevice.close(); }

  private:
    tevhost::profile::Profile mDevice;
};

const auto* const kHandset = ::testing::AddGlobalTestEnvironment(new HostHandset);

}  // namespace
