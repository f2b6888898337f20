// What an operation answered, as values, and those values as text: the one way answers are
// written, by the lshal debug report and by the host's tools alike.
#pragma once

#include <hidl/HidlSupport.h>
#include <hidl/Status.h>
#include <vendor/quoril/hardware/tevvendorservice/1.0/types.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace vendor::quoril::hardware::tevvendorservice::implementation {

enum class Type { kVoid, kBool, kInt32, kDouble, kString, kIntList, kStringList, kEnum };

// An enum of the package: its name and members, as the generated header lists them.
struct EnumInfo {
    std::string name;
    std::vector<std::pair<std::string, int32_t>> members;
};

// The name of an enum of the package, as the interface spells it.
template <typename E>
const char* enumName();
template <>
inline const char* enumName<V1_0::NitMode>() {
    return "NitMode";
}
template <>
inline const char* enumName<V1_0::HallConnect>() {
    return "HallConnect";
}
template <>
inline const char* enumName<V1_0::RevWireChargeControl>() {
    return "RevWireChargeControl";
}

template <typename E>
const EnumInfo* enumInfo() {
    static const EnumInfo info = [] {
        EnumInfo i{enumName<E>(), {}};
        for (E e : ::android::hardware::hidl_enum_range<E>()) {
            i.members.emplace_back(toString(e), static_cast<int32_t>(e));
        }
        return i;
    }();
    return &info;
}

// One argument or answer value.
struct Value {
    Value() = default;
    explicit Value(Type t) : type(t) {}

    Type type = Type::kVoid;
    int64_t number = 0;  // kBool (0 or 1), kInt32, kEnum
    double real = 0;     // kDouble
    std::string text;    // kString
    std::vector<int32_t> ints;
    std::vector<std::string> texts;
    const EnumInfo* info = nullptr;  // kEnum
};

Value valueOf(bool b);
Value valueOf(int32_t i);
Value valueOf(double d);
Value valueOf(const ::android::hardware::hidl_string& s);
Value valueOf(const ::android::hardware::hidl_vec<int32_t>& list);
Value valueOf(const ::android::hardware::hidl_vec<::android::hardware::hidl_string>& list);

// What one call answered: its return value and every value its callback received.
struct Answer {
    std::optional<Value> result;
    std::vector<Value> callbacks;
    std::string transportError;  // set when the Return carried a failed status

    void take(::android::hardware::Return<void> r) { check(r); }
    template <typename T>
    void take(::android::hardware::Return<T> r) {
        if (check(r)) result = valueOf(static_cast<T>(r));
    }
    // A result callback that keeps what it receives.
    template <typename T>
    std::function<void(const T&)> receiver() {
        return [this](const T& value) { callbacks.push_back(valueOf(value)); };
    }

  private:
    bool check(const ::android::hardware::details::return_status& r) {
        if (!r.isOk()) transportError = r.description();
        return r.isOk();
    }
};

// The shortest decimal text that reads back as |d|.
std::string decimal(double d);

// |value| as text: strings quoted with C escapes (valid UTF-8 kept), lists in brackets, enum
// members by name.
std::string textOf(const Value& value);

// |value| as JSON: strings keep valid UTF-8 and write every other byte outside printable ASCII
// as \u00XX; enum members by number.
std::string jsonOf(const Value& value);

// An answer as text: the return value, then each value the callback received, or "(no callback)"
// when the operation |answersThroughCallback| and it was not called.
std::vector<std::string> answerTexts(const Answer& answer, bool answersThroughCallback);

// Answer texts on one line, as the debug report's ANSWER column shows them: two blanks apart.
std::string oneLine(const std::vector<std::string>& texts);

}  // namespace vendor::quoril::hardware::tevvendorservice::implementation
