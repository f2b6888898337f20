// The sibling sensor test service (vendor.quoril.hardware.tevsensorservice@1.1::ITevSensorService)
// as a test or a device profile scripts it. Register it with registerAsService("default") for the
// sensor area to find it.
#pragma once

#include <vendor/quoril/hardware/tevsensorservice/1.1/ITevSensorService.h>

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

namespace tevhost {

class FakeSensorService
    : public ::vendor::quoril::hardware::tevsensorservice::V1_1::ITevSensorService {
  public:
    enum Operation { kInitHallService, kDeinitHallService, kPollHallEvent, kOperations };

    // What opening and closing the Hall event connection answer (1, success, until set).
    void setInitAnswer(int32_t answer);
    void setDeinitAnswer(int32_t answer);
    // The poll answers in order; the last one repeats once the others are used up ({0} until set;
    // an empty list keeps the current answers).
    void setPollAnswers(const std::vector<int32_t>& answers);
    // From now on every transaction of |op| fails with EX_TRANSACTION_FAILED.
    void failTransport(Operation op);

    // While polls are held, every poll waits on its caller's thread until releasePolls().
    void holdPolls();
    void releasePolls();
    // Waits until at least |count| polls are waiting at the hold. Gives up after 10 s (a guard
    // against a hung test, not a speed target) and returns false then.
    bool awaitHeldPolls(int count);

    // How often |op| has been called.
    int calls(Operation op) const;

    ::android::hardware::Return<int32_t> initHallService() override;
    ::android::hardware::Return<int32_t> deinitHallService() override;
    ::android::hardware::Return<int32_t> pollHallEvent() override;

  private:
    // Counts the call; false when its transaction is to fail.
    bool enter(Operation op);

    mutable std::mutex mLock;
    std::condition_variable mChanged;
    int32_t mInitAnswer = 1;
    int32_t mDeinitAnswer = 1;
    std::vector<int32_t> mPollAnswers = {0};
    size_t mNextPoll = 0;
    bool mFails[kOperations] = {};
    int mCalls[kOperations] = {};
    bool mHold = false;
    int mHeldPolls = 0;
};

namespace hall {

// Sets up the sibling from the `hall` file of a device profile (format in README.md): unless the
// file says present=0, a FakeSensorService configured from it is registered as "default". Returns
// false when the file cannot be read or, with |badLine| (1-based) set, has a bad line; nothing is
// registered then. |problem| says what was wrong ("KEY: expected WHAT, not 'VALUE'").
bool loadFile(const std::string& path, int* badLine = nullptr, std::string* problem = nullptr);

}  // namespace hall
}  // namespace tevhost
