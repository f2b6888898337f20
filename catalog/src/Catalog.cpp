#include <tevcatalog/Catalog.h>

namespace tevcatalog {

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

hidl_vec<hidl_string> Args::strs(size_t i) const {
    const std::vector<std::string>& texts = mValues.at(i).texts;
    hidl_vec<hidl_string> list(texts.size());
    for (size_t k = 0; k < texts.size(); ++k) list[k] = texts[k];
    return list;
}

bool Outcome::check(const ::android::hardware::details::return_status& r) {
    if (r.isOk()) return true;
    transportError = r.description();
    return false;
}

void Outcome::ret(Return<bool> r) {
    if (!check(r)) return;
    Value v{Type::kBool};
    v.number = static_cast<bool>(r) ? 1 : 0;
    result = v;
}

void Outcome::ret(Return<int32_t> r) {
    if (!check(r)) return;
    Value v{Type::kInt32};
    v.number = static_cast<int32_t>(r);
    result = v;
}

void Outcome::ret(Return<double> r) {
    if (!check(r)) return;
    Value v{Type::kDouble};
    v.real = static_cast<double>(r);
    result = v;
}

std::function<void(const hidl_string&)> Outcome::text() {
    return [this](const hidl_string& s) {
        Value v{Type::kString};
        v.text.assign(s.c_str(), s.size());
        callbacks.push_back(std::move(v));
    };
}

std::function<void(const hidl_vec<int32_t>&)> Outcome::ints() {
    return [this](const hidl_vec<int32_t>& list) {
        Value v{Type::kIntList};
        v.ints.assign(list.begin(), list.end());
        callbacks.push_back(std::move(v));
    };
}

std::function<void(const hidl_vec<hidl_string>&)> Outcome::texts() {
    return [this](const hidl_vec<hidl_string>& list) {
        Value v{Type::kStringList};
        for (const hidl_string& s : list) v.texts.emplace_back(s.c_str(), s.size());
        callbacks.push_back(std::move(v));
    };
}

const Operation* Area::find(const std::string& op) const {
    for (const Operation& o : ops) {
        if (o.name == op) return &o;
    }
    return nullptr;
}

const std::vector<const Area*>& allAreas() {
    static const std::vector<const Area*> areas = {
            &rootArea(),    &versionArea(), &ledsArea(),  &flashLifeArea(), &cameraArea(),
            &chargerArea(), &nfcArea(),     &usbArea(),   &batteryArea(),   &sensorArea(),
            &displayArea(), &fpArea(),      &audioArea(),
    };
    return areas;
}

const Area* findArea(const std::string& name) {
    for (const Area* area : allAreas()) {
        if (area->name == name) return area;
    }
    return nullptr;
}

}  // namespace tevcatalog
