#include <tevcatalog/Catalog.h>

#include "Operations.h"

namespace tevcatalog {

namespace impl = ::vendor::quoril::hardware::tevvendorservice::implementation;

namespace {

namespace calling = impl::calling;

// A type carried as a value, for the folds over an operation's parameters.
template <typename T>
struct Tag {
    using type = T;
};

template <typename T>
const EnumInfo* enumInfoOf() {
    if constexpr (std::is_enum_v<T>) {
        return impl::enumInfo<T>();
    } else {
        return nullptr;
    }
}

// The parameter of C++ type |P| named |name|.
template <typename P>
Param param(const char* name) {
    using T = std::decay_t<P>;
    return {name, calling::typeOf<T>(), enumInfoOf<T>()};
}

template <typename... P>
Type callbackType() {
    Type type = Type::kVoid;
    [[maybe_unused]] auto note = [&type](auto tag) {
        using T = typename decltype(tag)::type;
        if constexpr (calling::Callback<T>::value) {
            type = calling::typeOf<typename calling::Callback<T>::Value>();
        }
    };
    (note(Tag<std::decay_t<P>>()), ...);
    return type;
}

// The catalogue as the service's list hands it over.
class Catalogue {
  public:
    template <typename I>
    void area(const char* name, const char* interface, Return<sp<I>> (ITevVendorService::*get)()) {
        AreaGetter getter = [](ITevVendorService& root) -> sp<IBase> { return &root; };
        if (get != nullptr) {
            getter = [get](ITevVendorService& root) -> sp<IBase> {
                sp<I> area = (root.*get)();
                return area;
            };
        }
        mAreas.push_back({name, interface, getter, {}});
    }

    template <typename I, typename R, typename... P>
    void operation(const char* name, Return<R> (I::*fn)(P...), impl::Effect effect,
                   std::initializer_list<const char*> argumentNames = {},
                   std::initializer_list<const char*> byProduct = {}) {
        Operation op{name,
                     {},
                     calling::typeOf<R>(),
                     callbackType<P...>(),
                     effect == impl::Effect::kReads,
                     [fn](IBase& service, const Args& args, Answer& out) {
                         calling::call(static_cast<I&>(service), fn, args.values(), &out);
                     },
                     {byProduct.begin(), byProduct.end()}};
        [[maybe_unused]] const char* const* names = argumentNames.begin();
        [[maybe_unused]] size_t i = 0;
        [[maybe_unused]] auto add = [&](auto tag) {
            using T = typename decltype(tag)::type;
            if constexpr (!calling::Callback<T>::value) op.params.push_back(param<T>(names[i++]));
        };
        (add(Tag<std::decay_t<P>>()), ...);
        mAreas.back().ops.push_back(std::move(op));
    }

    const std::vector<Area>& areas() const { return mAreas; }

  private:
    std::vector<Area> mAreas;
};

const std::vector<Area>& areas() {
    static const std::vector<Area> kAreas = [] {
        Catalogue catalogue;
        impl::listOperations(catalogue);
        return catalogue.areas();
    }();
    return kAreas;
}

}  // namespace

std::string typeName(Type type, const EnumInfo* info) {
    switch (type) {
        case Type::kVoid:
            return "void";
        case Type::kBool:
            return "bool";
        case Type::kInt32:
            return "int32_t";
        case Type::kDouble:
            return "double";
        case Type::kString:
            return "string";
        case Type::kIntList:
            return "vec<int32_t>";
        case Type::kStringList:
            return "vec<string>";
        case Type::kEnum:
            return info ? info->name : "enum";
    }
    return "?";
}

const Operation* Area::find(const std::string& op) const {
    for (const Operation& o : ops) {
        if (o.name == op) return &o;
    }
    return nullptr;
}

const std::vector<const Area*>& allAreas() {
    static const std::vector<const Area*> kAll = [] {
        std::vector<const Area*> all;
        for (const Area& area : areas()) all.push_back(&area);
        return all;
    }();
    return kAll;
}

const Area* findArea(const std::string& name) {
    for (const Area* area : allAreas()) {
        if (area->name == name) return area;
    }
    return nullptr;
}

const Area& rootArea() {
    return *allAreas().front();
}

}  // namespace tevcatalog
