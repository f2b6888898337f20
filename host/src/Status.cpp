// Transport status of the host HIDL stand-in. A failed Return that is read or dropped unchecked
// ends the process, as libhidlbase does on the device.
#define LOG_TAG "HidlStatus"

#include <hidl/Status.h>
#include <log/log.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

namespace android {
namespace hardware {

Status Status::fromExceptionCode(int32_t exceptionCode, const char* message) {
    Status status;
    status.mException = exceptionCode;
    status.mMessage = message ? message : "";
    return status;
}

Status Status::fromStatusT(status_t status) {
    Status result;
    if (status == OK) return result;
    result.mException = EX_TRANSACTION_FAILED;
    result.mErrorCode = status;
    return result;
}

std::string Status::description() const {
    if (mException == EX_NONE) return "No error";
    std::string text = "Status(" + std::to_string(mException) + ", " +
                       (mException == EX_TRANSACTION_FAILED ? "EX_TRANSACTION_FAILED" : "EX") +
                       "): '" + mMessage + "'";
    if (mErrorCode != OK) text += " (status_t " + std::to_string(mErrorCode) + ")";
    return text;
}

namespace details {

static void fatal(const char* what, const Status& status) {
    std::string text = std::string(what) + ": " + status.description();
    ALOGE("%s", text.c_str());
    fprintf(stderr, "%s\n", text.c_str());
    abort();
}

return_status& return_status::operator=(return_status&& other) noexcept {
    mStatus = other.mStatus;
    mCheckedStatus = other.mCheckedStatus;
    other.mCheckedStatus = true;
    return *this;
}

return_status::~return_status() {
    if (!mCheckedStatus && !mStatus.isOk()) {
        fatal("Failed HIDL return status not checked", mStatus);
    }
}

void return_status::assertOk() const {
    mCheckedStatus = true;
    if (!mStatus.isOk()) {
        fatal("Attempted to retrieve value from failed HIDL call", mStatus);
    }
}

}  // namespace details

void joinRpcThreadpool() {
    // Nothing calls in from another process on the host; the caller's thread is all there is.
    for (;;) pause();
}

}  // namespace hardware
}  // namespace android
