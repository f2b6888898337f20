// The scriptable sibling sensor test service.
#include <tevhost/FakeSensorService.h>

#include <hidl/Status.h>

#include <chrono>

#include "KeyValueFile.h"

namespace tevhost {

using ::android::sp;
using ::android::hardware::Return;
using ::android::hardware::Status;

namespace {

Return<int32_t> failedTransaction() {
    return Return<int32_t>(Status::fromExceptionCode(Status::EX_TRANSACTION_FAILED));
}

}  // namespace

void FakeSensorService::setInitAnswer(int32_t answer) {
    std::lock_guard<std::mutex> guard(mLock);
    mInitAnswer = answer;
}

void FakeSensorService::setDeinitAnswer(int32_t answer) {
    std::lock_guard<std::mutex> guard(mLock);
    mDeinitAnswer = answer;
}

void FakeSensorService::setPollAnswers(const std::vector<int32_t>& answers) {
    if (answers.empty()) return;
    std::lock_guard<std::mutex> guard(mLock);
    mPollAnswers = answers;
    mNextPoll = 0;
}

void FakeSensorService::failTransport(Operation op) {
    std::lock_guard<std::mutex> guard(mLock);
    mFails[op] = true;
}

void FakeSensorService::holdPolls() {
    std::lock_guard<std::mutex> guard(mLock);
    mHold = true;
}

void FakeSensorService::releasePolls() {
    std::lock_guard<std::mutex> guard(mLock);
    mHold = false;
    mChanged.notify_all();
}

bool FakeSensorService::awaitHeldPolls(int count) {
    std::unique_lock<std::mutex> guard(mLock);
    return mChanged.wait_for(guard, std::chrono::seconds(10), [&] { return mHeldPolls >= count; });
}

int FakeSensorService::calls(Operation op) const {
    std::lock_guard<std::mutex> guard(mLock);
    return mCalls[op];
}

bool FakeSensorService::enter(Operation op) {
    std::lock_guard<std::mutex> guard(mLock);
    ++mCalls[op];
    return !mFails[op];
}

Return<int32_t> FakeSensorService::initHallService() {
    if (!enter(kInitHallService)) return failedTransaction();
    std::lock_guard<std::mutex> guard(mLock);
    return mInitAnswer;
}

Return<int32_t> FakeSensorService::deinitHallService() {
    if (!enter(kDeinitHallService)) return failedTransaction();
    std::lock_guard<std::mutex> guard(mLock);
    return mDeinitAnswer;
}

Return<int32_t> FakeSensorService::pollHallEvent() {
    if (!enter(kPollHallEvent)) return failedTransaction();
    std::unique_lock<std::mutex> guard(mLock);
    if (mHold) {
        ++mHeldPolls;
        mChanged.notify_all();
        mChanged.wait(guard, [&] { return !mHold; });
        --mHeldPolls;
    }
    int32_t answer = mPollAnswers[mNextPoll];
    if (mNextPoll + 1 < mPollAnswers.size()) ++mNextPoll;
    return answer;
}

namespace hall {

bool loadFile(const std::string& path, int* badLine, std::string* problem) {
    std::vector<kv::Entry> entries;
    if (!kv::read(path, &entries, badLine, problem)) return false;
    sp<FakeSensorService> service = new FakeSensorService();
    bool present = true;
    for (const auto& entry : entries) {
        bool ok = true;
        const char* expected = "";
        int32_t answer = 0;
        std::vector<int32_t> answers;
        if (entry.key == "present") {
            expected = "true, false, 1 or 0";
            ok = kv::toBool(entry.value, &present);
        } else if (entry.key == "initHallService") {
            expected = "a 32-bit decimal integer";
            ok = kv::toInt(entry.value, &answer);
            service->setInitAnswer(answer);
        } else if (entry.key == "deinitHallService") {
            expected = "a 32-bit decimal integer";
            ok = kv::toInt(entry.value, &answer);
            service->setDeinitAnswer(answer);
        } else if (entry.key == "pollHallEvent") {
            expected = "comma-separated 32-bit decimal integers";
            ok = kv::toIntList(entry.value, &answers);
            service->setPollAnswers(answers);
        } else if (entry.key == "fail") {
            // The operations whose transactions fail, comma-separated.
            expected =
                    "comma-separated operations (initHallService, deinitHallService, "
                    "pollHallEvent)";
            size_t start = 0;
            while (ok) {
                size_t comma = entry.value.find(',', start);
                std::string name = entry.value.substr(start, comma - start);
                name.erase(0, name.find_first_not_of(" \t"));
                name.erase(name.find_last_not_of(" \t") + 1);
                if (name == "initHallService") {
                    service->failTransport(FakeSensorService::kInitHallService);
                } else if (name == "deinitHallService") {
                    service->failTransport(FakeSensorService::kDeinitHallService);
                } else if (name == "pollHallEvent") {
                    service->failTransport(FakeSensorService::kPollHallEvent);
                } else {
                    ok = false;
                }
                if (comma == std::string::npos) break;
                start = comma + 1;
            }
        } else {
            ok = false;
        }
        if (!ok) {
            kv::badEntry(entry, expected, badLine, problem);
            return false;
        }
    }
    if (present && service->registerAsService("default") != ::android::OK) {
        if (problem) *problem = "the sibling service cannot be registered";
        return false;
    }
    return true;
}

}  // namespace hall
}  // namespace tevhost
