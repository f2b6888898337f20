// Host stand-in for the HIDL transport status and Return<T> of libhidlbase. As on the device, a
// Return holding a failed status aborts the process when its value is taken or when it is
// destroyed without having been checked.
#pragma once

#include <hidl/HidlSupport.h>

#include <cstdint>
#include <string>
#include <utility>

namespace android {
namespace hardware {

class Status final {
  public:
    enum Exception : int32_t {
        EX_NONE = 0,
        EX_SECURITY = -1,
        EX_BAD_PARCELABLE = -2,
        EX_ILLEGAL_ARGUMENT = -3,
        EX_NULL_POINTER = -4,
        EX_ILLEGAL_STATE = -5,
        EX_NETWORK_MAIN_THREAD = -6,
        EX_UNSUPPORTED_OPERATION = -7,
        EX_HAS_REPLY_HEADER = -128,
        EX_TRANSACTION_FAILED = -129,
    };

    Status() = default;
    static Status ok() { return Status(); }
    static Status fromExceptionCode(int32_t exceptionCode, const char* message = nullptr);
    static Status fromStatusT(status_t status);

    bool isOk() const { return mException == EX_NONE; }
    int32_t exceptionCode() const { return mException; }
    status_t transactionError() const { return mErrorCode; }
    const std::string& exceptionMessage() const { return mMessage; }
    std::string description() const;

  private:
    int32_t mException = EX_NONE;
    status_t mErrorCode = OK;
    std::string mMessage;
};

namespace details {

class return_status {
  public:
    return_status() = default;
    return_status(const Status& status) : mStatus(status) {}
    return_status(const return_status&) = delete;
    return_status& operator=(const return_status&) = delete;
    return_status(return_status&& other) noexcept { *this = std::move(other); }
    return_status& operator=(return_status&& other) noexcept;
    ~return_status();

    bool isOk() const {
        mCheckedStatus = true;
        return mStatus.isOk();
    }
    bool isOkUnchecked() const { return mStatus.isOk(); }
    bool isDeadObject() const {
        mCheckedStatus = true;
        return mStatus.exceptionCode() == Status::EX_TRANSACTION_FAILED &&
               mStatus.transactionError() == DEAD_OBJECT;
    }
    std::string description() const { return mStatus.description(); }

  protected:
    void assertOk() const;

  private:
    Status mStatus;
    mutable bool mCheckedStatus = false;
};

}  // namespace details

template <typename T>
class Return : public details::return_status {
  public:
    Return(T value) : details::return_status(), mValue(std::move(value)) {}
    template <typename U, typename = std::enable_if_t<std::is_convertible<U, T>::value &&
                                                      !std::is_same<std::decay_t<U>, T>::value>>
    Return(U&& value) : details::return_status(), mValue(std::forward<U>(value)) {}
    Return(const Status& status) : details::return_status(status), mValue() {}
    Return(Return&& other) = default;
    Return& operator=(Return&& other) = default;

    T withDefault(T defaultValue) { return isOk() ? mValue : defaultValue; }
    operator T() const {
        assertOk();
        return mValue;
    }

  private:
    T mValue;
};

template <>
class Return<void> : public details::return_status {
  public:
    Return() : details::return_status() {}
    Return(const Status& status) : details::return_status(status) {}
    Return(Return&& other) = default;
    Return& operator=(Return&& other) = default;
};

inline Return<void> Void() {
    return Return<void>();
}

}  // namespace hardware
}  // namespace android
