// Host stand-in for the value types of the HIDL runtime (libhidlbase). In-process only: there is
// no wire format, so the types hold ordinary standard-library containers.
#pragma once

#include <cutils/native_handle.h>
#include <utils/Errors.h>
#include <utils/RefBase.h>
#include <utils/StrongPointer.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <iomanip>
#include <ostream>
#include <sstream>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace android {
namespace hidl {
namespace base {
namespace V1_0 {
struct IBase;
}  // namespace V1_0
}  // namespace base
}  // namespace hidl

namespace hardware {

namespace details {
// Tag type used by the generated interface classes.
struct i_tag {};
}  // namespace details

class hidl_string {
  public:
    hidl_string() = default;
    hidl_string(const char* s) : mText(s ? s : "") {}
    hidl_string(const char* s, size_t length) : mText(s, length) {}
    hidl_string(const std::string& s) : mText(s) {}
    hidl_string(std::string&& s) : mText(std::move(s)) {}

    hidl_string& operator=(const char* s) {
        mText = s ? s : "";
        return *this;
    }
    hidl_string& operator=(const std::string& s) {
        mText = s;
        return *this;
    }

    const char* c_str() const { return mText.c_str(); }
    size_t size() const { return mText.size(); }
    bool empty() const { return mText.empty(); }
    void clear() { mText.clear(); }
    void setToExternal(const char* data, size_t size) { mText.assign(data, size); }
    operator std::string() const { return mText; }
    const std::string& str() const { return mText; }

    friend bool operator==(const hidl_string& a, const hidl_string& b) {
        return a.mText == b.mText;
    }
    friend bool operator!=(const hidl_string& a, const hidl_string& b) { return !(a == b); }
    friend bool operator<(const hidl_string& a, const hidl_string& b) { return a.mText < b.mText; }
    friend bool operator==(const hidl_string& a, const char* b) { return a.mText == (b ? b : ""); }
    friend bool operator!=(const hidl_string& a, const char* b) { return !(a == b); }
    friend bool operator==(const char* a, const hidl_string& b) { return b == a; }
    friend bool operator!=(const char* a, const hidl_string& b) { return !(b == a); }
    friend bool operator==(const hidl_string& a, const std::string& b) { return a.mText == b; }
    friend bool operator!=(const hidl_string& a, const std::string& b) { return !(a == b); }
    friend bool operator==(const std::string& a, const hidl_string& b) { return b == a; }
    friend bool operator!=(const std::string& a, const hidl_string& b) { return !(b == a); }
    friend std::ostream& operator<<(std::ostream& os, const hidl_string& s) {
        return os << s.mText;
    }

  private:
    std::string mText;
};

template <typename T>
class hidl_vec {
  public:
    using value_type = T;
    using iterator = typename std::vector<T>::iterator;
    using const_iterator = typename std::vector<T>::const_iterator;

    hidl_vec() = default;
    explicit hidl_vec(size_t size) : mItems(size) {}
    hidl_vec(std::initializer_list<T> items) : mItems(items) {}
    hidl_vec(const std::vector<T>& items) : mItems(items) {}
    hidl_vec(std::vector<T>&& items) : mItems(std::move(items)) {}
    template <typename It>
    hidl_vec(It begin, It end) : mItems(begin, end) {}

    hidl_vec& operator=(const std::vector<T>& items) {
        mItems = items;
        return *this;
    }
    operator std::vector<T>() const { return mItems; }

    size_t size() const { return mItems.size(); }
    void resize(size_t size) { mItems.resize(size); }
    T* data() { return mItems.data(); }
    const T* data() const { return mItems.data(); }
    T& operator[](size_t i) { return mItems[i]; }
    const T& operator[](size_t i) const { return mItems[i]; }
    iterator begin() { return mItems.begin(); }
    iterator end() { return mItems.end(); }
    const_iterator begin() const { return mItems.begin(); }
    const_iterator end() const { return mItems.end(); }
    void setToExternal(T* data, size_t size, bool /* shouldOwn */ = false) {
        mItems.assign(data, data + size);
    }

    friend bool operator==(const hidl_vec& a, const hidl_vec& b) { return a.mItems == b.mItems; }
    friend bool operator!=(const hidl_vec& a, const hidl_vec& b) { return !(a == b); }

  private:
    std::vector<T> mItems;
};

template <typename T, size_t N>
class hidl_array {
  public:
    hidl_array() : mItems{} {}
    T& operator[](size_t i) { return mItems[i]; }
    const T& operator[](size_t i) const { return mItems[i]; }
    T* data() { return mItems.data(); }
    const T* data() const { return mItems.data(); }
    static constexpr size_t size() { return N; }
    friend bool operator==(const hidl_array& a, const hidl_array& b) {
        return a.mItems == b.mItems;
    }
    friend bool operator!=(const hidl_array& a, const hidl_array& b) { return !(a == b); }

  private:
    std::array<T, N> mItems;
};

// A native handle. As on the device, a copy clones the handle (every descriptor dup()ed) and owns
// the clone, and a handle that is owned is closed and freed with its hidl_handle. The host never
// sends one to another process.
class hidl_handle {
  public:
    hidl_handle() = default;
    hidl_handle(const native_handle_t* handle) : mHandle(handle) {}
    hidl_handle(const hidl_handle& other) { *this = other; }
    hidl_handle(hidl_handle&& other) noexcept { *this = std::move(other); }
    ~hidl_handle() { freeHandle(); }

    hidl_handle& operator=(const hidl_handle& other) {
        if (this != &other) {
            freeHandle();
            if (other.mHandle != nullptr) {
                mHandle = native_handle_clone(other.mHandle);
                mOwnsHandle = true;
            }
        }
        return *this;
    }
    hidl_handle& operator=(hidl_handle&& other) noexcept {
        if (this != &other) {
            freeHandle();
            std::swap(mHandle, other.mHandle);
            std::swap(mOwnsHandle, other.mOwnsHandle);
        }
        return *this;
    }
    hidl_handle& operator=(const native_handle_t* handle) {
        freeHandle();
        mHandle = handle;
        return *this;
    }
    void setTo(native_handle_t* handle, bool shouldOwn = false) {
        freeHandle();
        mHandle = handle;
        mOwnsHandle = shouldOwn;
    }

    const native_handle_t* getNativeHandle() const { return mHandle; }
    operator const native_handle_t*() const { return mHandle; }
    const native_handle_t* operator->() const { return mHandle; }

  private:
    void freeHandle() {
        if (mOwnsHandle && mHandle != nullptr) {
            native_handle_t* handle = const_cast<native_handle_t*>(mHandle);
            native_handle_close(handle);
            native_handle_delete(handle);
        }
        mHandle = nullptr;
        mOwnsHandle = false;
    }

    const native_handle_t* mHandle = nullptr;
    bool mOwnsHandle = false;
};

struct hidl_death_recipient : virtual public RefBase {
    virtual void serviceDied(uint64_t cookie, const wp<::android::hidl::base::V1_0::IBase>& who) = 0;
};

template <typename Enum>
using hidl_bitfield = typename std::underlying_type<Enum>::type;

namespace details {

// Specialised by the generated headers for every enum, without "inline". The unnamed inline
// namespace gives the template, and so every specialisation, internal linkage: each translation
// unit keeps its own copy instead of clashing at link time.
inline namespace {
template <typename T, typename = std::enable_if_t<std::is_enum<T>::value>>
constexpr std::array<T, 0> hidl_enum_values = {};
}  // namespace

template <typename T, bool = std::is_enum<T>::value>
struct integer_of {
    using type = T;
};
template <typename T>
struct integer_of<T, true> {
    using type = std::underlying_type_t<T>;
};

template <typename T>
std::string toHexString(T value, bool prefix = true) {
    using U = std::make_unsigned_t<typename integer_of<T>::type>;
    std::ostringstream os;
    if (prefix) os << "0x";
    os << std::hex << static_cast<uint64_t>(static_cast<U>(value));
    return os.str();
}

}  // namespace details

template <typename T, typename = std::enable_if_t<std::is_enum<T>::value>>
struct hidl_enum_range {
    constexpr auto begin() const { return std::begin(details::hidl_enum_values<T>); }
    constexpr auto end() const { return std::end(details::hidl_enum_values<T>); }
};

template <typename T, typename = std::enable_if_t<std::is_arithmetic<T>::value>>
inline std::string toString(T value) {
    return std::to_string(value);
}

inline std::string toString(const hidl_string& s) {
    return "\"" + s.str() + "\"";
}

template <typename T>
inline std::string toString(const hidl_vec<T>& v) {
    std::string os = "[";
    for (size_t i = 0; i < v.size(); ++i) {
        if (i > 0) os += ", ";
        os += toString(v[i]);
    }
    return os + "]";
}

}  // namespace hardware
}  // namespace android
