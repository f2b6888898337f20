// The catalogue of the interface's operations: the root and the areas it hands out, and for each
// its operations with argument and result types, whether the operation only reads, and an adapter
// that makes the call through the generated interface. It is made from the service's own list of
// operations (service/Operations.h) and knows nothing of the simulated handset: a caller that
// calls into the service on the host places its own sandbox scope.
#pragma once

#include <vendor/quoril/hardware/tevvendorservice/1.0/ITevVendorService.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "Answer.h"

namespace tevcatalog {

using ::android::sp;
using ::android::hardware::hidl_string;
using ::android::hardware::hidl_vec;
using ::android::hardware::Return;
using ::android::hidl::base::V1_0::IBase;
using ::vendor::quoril::hardware::tevvendorservice::implementation::Answer;
using ::vendor::quoril::hardware::tevvendorservice::implementation::EnumInfo;
using ::vendor::quoril::hardware::tevvendorservice::implementation::Type;
using ::vendor::quoril::hardware::tevvendorservice::implementation::Value;
using ::vendor::quoril::hardware::tevvendorservice::V1_0::ITevVendorService;

// The HIDL spelling of a type ("int32_t", "vec<string>", ...); an enum gives its own name.
std::string typeName(Type type, const EnumInfo* info = nullptr);

// The parsed arguments of one call, in declaration order.
class Args {
  public:
    Args() = default;
    explicit Args(std::vector<Value> values) : mValues(std::move(values)) {}
    const std::vector<Value>& values() const { return mValues; }

  private:
    std::vector<Value> mValues;
};

// Makes the call on |service|, an object of the operation's area, and keeps what it answered.
using CallFn = std::function<void(IBase& service, const Args& args, Answer& out)>;

struct Param {
    std::string name;
    Type type;
    const EnumInfo* info = nullptr;
};

struct Operation {
    std::string name;
    std::vector<Param> params;
    Type result;    // the Return<T> value, kVoid for Return<void>
    Type callback;  // the value handed to the result callback, kVoid when there is none
    bool reads;     // only reads (properties, nodes, fixed answers), or drives the hardware
    CallFn call;
    // The argument sets, each as the words of a call's arguments ("" for none), whose answers
    // follow from the product name; none when the answer does not.
    std::vector<std::string> byProduct;
};

using AreaGetter = std::function<sp<IBase>(ITevVendorService& root)>;

struct Area {
    std::string name;       // the short name used on the command line
    std::string interface;  // the interface it implements
    AreaGetter get;         // the root's getExtension<Area>Service (the root itself for "root")
    std::vector<Operation> ops;

    const Operation* find(const std::string& op) const;
};

// The root's pass-throughs and the twelve areas, in the order of the root interface.
const std::vector<const Area*>& allAreas();
const Area* findArea(const std::string& name);
const Area& rootArea();

}  // namespace tevcatalog
