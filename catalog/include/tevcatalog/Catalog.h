// The catalogue of the interface's operations: the areas the root hands out, and for each its
// operations with argument and result types, whether the operation only reads, and an adapter
// that makes the call through the generated interface. One table file per area (areas/).
#pragma once

#include <tevhost/Sandbox.h>
#include <vendor/quoril/hardware/tevvendorservice/1.0/ITevVendorService.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tevcatalog {

using ::android::sp;
using ::android::hardware::hidl_enum_range;
using ::android::hardware::hidl_string;
using ::android::hardware::hidl_vec;
using ::android::hardware::Return;
using ::android::hidl::base::V1_0::IBase;
using ::vendor::quoril::hardware::tevvendorservice::V1_0::ITevVendorService;

enum class Type { kVoid, kBool, kInt32, kDouble, kString, kIntList, kStringList, kEnum };

// An enum of the package: its name and members, as the generated header lists them.
struct EnumInfo {
    std::string name;
    std::vector<std::pair<std::string, int32_t>> members;
};

// The HIDL spelling of a type ("int32_t", "vec<string>", ...); an enum gives its own name.
std::string typeName(Type type, const EnumInfo* info = nullptr);

template <typename E>
const EnumInfo* enumInfo(const char* name) {
    static const EnumInfo info = [name] {
        EnumInfo i{name, {}};
        for (E e : hidl_enum_range<E>()) {
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

// The parsed arguments of one call, in declaration order.
class Args {
  public:
    Args() = default;
    explicit Args(std::vector<Value> values) : mValues(std::move(values)) {}
    const std::vector<Value>& values() const { return mValues; }

    int32_t i32(size_t i) const { return static_cast<int32_t>(mValues.at(i).number); }
    bool b(size_t i) const { return mValues.at(i).number != 0; }
    hidl_string str(size_t i) const { return mValues.at(i).text; }
    hidl_vec<hidl_string> strs(size_t i) const;
    template <typename E>
    E en(size_t i) const {
        return static_cast<E>(static_cast<int32_t>(mValues.at(i).number));
    }

  private:
    std::vector<Value> mValues;
};

// What one call answered: its return value and every value its callback received.
class Outcome {
  public:
    void ret(Return<void> r) { check(r); }
    void ret(Return<bool> r);
    void ret(Return<int32_t> r);
    void ret(Return<double> r);

    // Result callbacks that keep what they receive.
    std::function<void(const hidl_string&)> text();
    std::function<void(const hidl_vec<int32_t>&)> ints();
    std::function<void(const hidl_vec<hidl_string>&)> texts();

    std::optional<Value> result;
    std::vector<Value> callbacks;
    std::string transportError;  // set when a Return carried a failed status

  private:
    bool check(const ::android::hardware::details::return_status& r);
};

using CallFn = std::function<void(IBase& service, const Args& args, Outcome& out)>;

// Makes a call adapter from a function of the area's own interface. The call runs in the
// service: every path it names resolves inside the device root.
template <typename I, typename F>
CallFn on(F f) {
    return [f](IBase& service, const Args& args, Outcome& out) {
        ::tevhost::sandbox::ServiceScope scope;
        f(static_cast<I&>(service), args, out);
    };
}

struct Param {
    std::string name;
    Type type;
    const EnumInfo* info = nullptr;
};

inline Param int32(const char* name) {
    return {name, Type::kInt32};
}
inline Param boolean(const char* name) {
    return {name, Type::kBool};
}
inline Param text(const char* name) {
    return {name, Type::kString};
}
inline Param textList(const char* name) {
    return {name, Type::kStringList};
}
template <typename E>
Param enumeration(const char* name, const char* enumName) {
    return {name, Type::kEnum, enumInfo<E>(enumName)};
}

// Whether an operation only reads (properties, nodes, fixed answers) or drives the hardware.
constexpr bool kReads = true;
constexpr bool kDrives = false;

struct Operation {
    std::string name;
    std::vector<Param> params;
    Type result;    // the Return<T> value, kVoid for Return<void>
    Type callback;  // the value handed to the result callback, kVoid when there is none
    bool reads;
    CallFn call;
};

template <typename T>
constexpr Type typeOf();
template <>
constexpr Type typeOf<bool>() {
    return Type::kBool;
}
template <>
constexpr Type typeOf<int32_t>() {
    return Type::kInt32;
}
template <>
constexpr Type typeOf<double>() {
    return Type::kDouble;
}

// The shapes most operations share.

// No arguments, the answer in the Return value.
template <typename I, typename T>
Operation plain(const char* name, Return<T> (I::*fn)(), bool reads = kReads) {
    return {name,        {},    typeOf<T>(),
            Type::kVoid, reads, on<I>([fn](I& s, const Args&, Outcome& o) { o.ret((s.*fn)()); })};
}

// No arguments, the answer handed to the callback as a string.
template <typename I>
Operation withText(const char* name, Return<void> (I::*fn)(std::function<void(const hidl_string&)>),
                   bool reads = kReads) {
    return {name,        {},
            Type::kVoid, Type::kString,
            reads,       on<I>([fn](I& s, const Args&, Outcome& o) { o.ret((s.*fn)(o.text())); })};
}

// No arguments, the answer handed to the callback as a list of integers.
template <typename I>
Operation withInts(const char* name,
                   Return<void> (I::*fn)(std::function<void(const hidl_vec<int32_t>&)>),
                   bool reads = kReads) {
    return {name,        {},
            Type::kVoid, Type::kIntList,
            reads,       on<I>([fn](I& s, const Args&, Outcome& o) { o.ret((s.*fn)(o.ints())); })};
}

// No arguments, the answer handed to the callback as a list of strings.
template <typename I>
Operation withTexts(const char* name,
                    Return<void> (I::*fn)(std::function<void(const hidl_vec<hidl_string>&)>),
                    bool reads = kReads) {
    return {name,        {},
            Type::kVoid, Type::kStringList,
            reads,       on<I>([fn](I& s, const Args&, Outcome& o) { o.ret((s.*fn)(o.texts())); })};
}

// The reserved extension point every area ends with.
template <typename I>
Operation extFun() {
    return {"extFun",
            {text("name"), textList("args")},
            Type::kVoid,
            Type::kStringList,
            kReads,
            on<I>([](I& s, const Args& a, Outcome& o) {
                o.ret(s.extFun(a.str(0), a.strs(1), o.texts()));
            })};
}

using AreaGetter = std::function<sp<IBase>(ITevVendorService& root)>;

// The getter of an area: the root's getExtension<Area>Service.
template <typename I>
AreaGetter getter(Return<sp<I>> (ITevVendorService::*fn)()) {
    return [fn](ITevVendorService& root) -> sp<IBase> {
        ::tevhost::sandbox::ServiceScope scope;  // the area is made by the service
        sp<I> service = (root.*fn)();
        return service;
    };
}

struct Area {
    std::string name;       // the short name used on the command line
    std::string interface;  // the interface it implements
    AreaGetter get;
    std::vector<Operation> ops;

    const Operation* find(const std::string& op) const;
};

// The root and the twelve areas, in the order of the root interface.
const std::vector<const Area*>& allAreas();
const Area* findArea(const std::string& name);

const Area& rootArea();
const Area& versionArea();
const Area& ledsArea();
const Area& flashLifeArea();
const Area& cameraArea();
const Area& chargerArea();
const Area& nfcArea();
const Area& usbArea();
const Area& batteryArea();
const Area& sensorArea();
const Area& displayArea();
const Area& fpArea();
const Area& audioArea();

}  // namespace tevcatalog
